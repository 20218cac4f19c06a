// Each case is a slip that the compiler must catch, and the words that it must say; see misuse.sh.

#include <qvds/keyed_hash.hpp>
#include <qvds/list.hpp>
#include <qvds/qvcq.hpp>

#include <string>

struct session {
    int id;
};
struct hash {
    size_t operator()(const char *key) const { return static_cast<unsigned char>(*key); }
};
struct equal {
    bool operator()(const char *a, const char *b) const { return *a == *b; }
};
struct seeded_hash : hash {
    int seed = 1;
};
using table = qvds::keyed_hash<const char *, session, hash, equal>;

qvds::list<session> make_list();

void use(qvds::list<session> &sessions, const qvds::list<session> &constant, table &words,
         session &s) {
    (void)sessions.push_back(s);
    for (session &each : sessions.walk())
        each.id = 1;
    for (const session &each : constant.walk())
        (void)each;

#if MISUSE == 1
    // error: deleted function | deleted member function
    for (session &each : make_list().walk())
        each.id = 1;
#elif MISUSE == 2
    // error: deleted function | deleted member function
    for (auto each : table::make(1).walk())
        (void)each;
#elif MISUSE == 3
    // error: nodiscard
    sessions.push_back(s);
#elif MISUSE == 4
    // error: 'const | 'const
    for (session &each : constant.walk())
        each.id = 1;
#elif MISUSE == 5
    // error: qvds::list: name the type of the elements
    qvds::list<session *> pointers;
#elif MISUSE == 6
    // error: qvds::keyed_hash: C calls hash and equality
    (void)qvds::keyed_hash<const char *, session, seeded_hash, equal>::make(1);
#elif MISUSE == 7
    // error: qvds::keyed_hash: keys are stored as pointers
    (void)qvds::keyed_hash<int, session, hash, equal>::make(1);
#elif MISUSE == 8
    // error: nodiscard
    words.add("a", s);
#elif MISUSE == 9
    // error: qvds::ring_of: records are copied as bytes
    (void)qvds::ring_of<std::string>::make(1);
#elif MISUSE == 10
    // error: no viable 'begin' function | 'begin' was not declared
    for (session &each : sessions)
        each.id = 1;
#elif MISUSE == 11
    // error: deleted
    auto copied = sessions.walk();
    auto again = copied;
#endif
    (void)words;
}

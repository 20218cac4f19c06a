// Each case is a slip that the compiler must catch, and the words that it must say; see misuse.sh.

#include <qvds/hash.hpp>

struct user {
    user *next;
    qvds_list header;
    unsigned id;
    const char *name;
    struct {
    } unhashed;
};
struct other {
    other *next;
};
struct keyed_hash {
    size_t seed;
    size_t operator()(unsigned id) const { return id ^ seed; }
};

using table = qvds::hash<&user::next, &user::id>;
using growing = qvds::growing_hash<&user::next, &user::id>;

void use(table &users, const table &constant, growing &large,
         qvds::hash_view<&user::next, &user::id> view, user &elem, other &stranger,
         std::span<void *> array) {
    users.store(elem);
    (void)constant.find(7u);
    (void)view.find(elem);
    (void)stranger;
    large.grow(array);

#if MISUSE == 1
    // error: qvds::hash: the hook must name a link word or a qvds_node of the element
    qvds::hash<&user::header> headers;
#elif MISUSE == 2
    // error: unrelated type 'other' | cannot convert 'other' to | invalid initialization of reference
    users.store(stranger);
#elif MISUSE == 3
    // error: qvds::hash: the conversion to the key could change the value
    users.find(-1);
#elif MISUSE == 4
    // error: qvds::hash: what is looked for does not convert to the key
    users.extract("seven");
#elif MISUSE == 5
    // error: qvds: a pointer to characters would be hashed by address
    qvds::hash<&user::next, &user::name> by_name(array);
    by_name.store(elem);
#elif MISUSE == 6
    // error: qvds: there is no std::hash of this key
    qvds::hash<&user::next, &user::unhashed> unhashed(array);
    unhashed.store(elem);
#elif MISUSE == 7
    // error: qvds::hash: a hash with state can't be called from C
    qvds::hash<&user::next, &user::id, keyed_hash> seeded(array);
    seeded.c_record();
#elif MISUSE == 8
    // error: qvds::hash: a growing table may be in two arrays
    large.c_record();
#elif MISUSE == 9
    // error: qvds::hash: only a growing table
    users.step();
#elif MISUSE == 10
    // error: qvds::hash: a view that takes the hash from the record looks for an element
    view.find(7u);
#elif MISUSE == 11
    // error: qvds::hash: qvds::recorded_hash is for views of a table that C made
    qvds::hash<&user::next, &user::id, qvds::recorded_hash> recorded(array);
#elif MISUSE == 12
    // error: no matching function for call to | no matching constructor
    user *pointers[16] = {};
    table users_in_pointers(pointers);
#elif MISUSE == 13
    // error: no matching function for call to | no matching constructor
    table gone(qvds::buckets<16>{});
#elif MISUSE == 14
    // error: qvds::buckets: a table needs one bucket at least
    qvds::buckets<0> none;
#elif MISUSE == 15
    // error: discards qualifiers | but function is not marked const
    constant.store(elem);
#elif MISUSE == 16
    // error: invalid conversion from 'const | rvalue of type 'const
    user *found = constant.find(7u);
#elif MISUSE == 17
    // error: qvds::hash: the hash can't be called with the key
    qvds::hash<&user::next, &user::name, keyed_hash> wrongly_hashed(array);
    wrongly_hashed.store(elem);
#elif MISUSE == 18
    // error: is an rvalue | discards qualifiers
    table(array).cursor();
#endif
}

// Each case is a slip that the compiler must catch, and the words that it must say; see misuse.sh.

#include <qvds/hash2.hpp>

struct user {
    user *next;
    qvds_node link;
    unsigned id;
};

using table = qvds::hash2<&user::link, &user::id>;

void use(table &users, const table &constant, user &elem) {
    users.store(elem);
    (void)constant.find(7u);

#if MISUSE == 1
    // error: qvds::hash2: the hook must name a qvds_node of the element
    qvds::hash2<&user::next, &user::id> words;
#elif MISUSE == 2
    // error: cannot convert | could not convert | no viable conversion
    users.erase(constant.begin());
#elif MISUSE == 3
    // error: no member named 'cursor' | has no member named 'cursor'
    users.cursor();
#elif MISUSE == 4
    // error: unrelated type 'qvds_node' | cannot convert 'qvds_node' to | invalid initialization of reference
    users.unlink(elem.link);
#elif MISUSE == 5
    // error: use of deleted function | deleted
    table copy = users;
#endif
}

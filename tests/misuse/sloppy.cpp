// Each case is a slip that the compiler must catch, and the words that it must say; see misuse.sh.

#include <qvds/sloppy.hpp>

struct name {
    qvds_node alias;
    name *next;
};
struct late {
    int length;
    qvds_node alias;
};
using aliases = qvds::sloppy<&name::alias>;

void use(aliases &list, const aliases &constant, name &elem, const name &fixed, late *late_handle) {
    list.insert(elem);
    (void)constant.handle();
    (void)aliases::next(fixed);
    (void)late_handle;

#if MISUSE == 1
    // error: qvds::sloppy: the hook must name a qvds_node of the element
    qvds::sloppy<&name::next> words;
#elif MISUSE == 2
    // error: qvds::sloppy: a handle holds the address of a link
    qvds::sloppy_view<&late::alias> lates(late_handle);
#elif MISUSE == 3
    // error: qvds::sloppy: a handle holds the address of a link
    qvds::sloppy_view<&name::alias> names(late_handle);
#elif MISUSE == 4
    // error: no matching
    qvds::sloppy_view<&name::alias> names(elem);
#elif MISUSE == 5
    // error: discards qualifiers | but function is not marked const
    constant.insert(elem);
#elif MISUSE == 6
    // error: discards qualifiers | drops 'const' qualifier
    list.insert(fixed);
#elif MISUSE == 7
    // error: invalid conversion from 'const | rvalue of type 'const
    name *next = aliases::next(fixed);
#elif MISUSE == 8
    // error: nodiscard
    list.cut(elem);
#elif MISUSE == 9
    // error: deleted
    aliases copy = list;
#endif
}

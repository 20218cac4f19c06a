// Each case is a slip that the compiler must catch, and the words that it must say; see misuse.sh.

#include <qvds/lifo.hpp>

struct job {
    job *next;
    int priority;
};
struct late {
    int priority;
    late *next;
};
struct other {
    job *next;
};

void use(qvds::lifo<&job::next> &stack, const qvds::lifo<&job::next> &constant, job &elem,
         late &late_link, other &stranger) {
    stack.push(elem);
    (void)constant.top();
    (void)late_link;
    (void)stranger;

#if MISUSE == 1
    // error: qvds::lifo: the hook must name a link word or a qvds_node of the element
    qvds::lifo<&job::priority> numbers;
#elif MISUSE == 2
    // error: qvds: a link word holds the address of the next link, so it must be
    qvds::lifo<&late::next> lates;
    lates.push(late_link);
#elif MISUSE == 3
    // error: qvds: a link word holds the address of the next link, so it must be
    qvds::lifo<&other::next> others;
    others.push(stranger);
#elif MISUSE == 4
    // error: unrelated type 'other' | cannot convert 'other' to | invalid initialization of reference
    stack.push(stranger);
#elif MISUSE == 5
    // error: discards qualifiers | but function is not marked const
    constant.push(elem);
#elif MISUSE == 6
    // error: discards qualifiers | but function is not marked const
    constant.cursor();
#elif MISUSE == 7
    // error: discards qualifiers | is an rvalue
    qvds::lifo<&job::next>().cursor();
#elif MISUSE == 8
    // error: nodiscard
    stack.cut(elem);
#elif MISUSE == 9
    // error: nodiscard
    stack.cursor().cut();
#elif MISUSE == 10
    // error: deleted
    qvds::lifo<&job::next> copy = stack;
#endif
}

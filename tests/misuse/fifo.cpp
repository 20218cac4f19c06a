// Each case is a slip that the compiler must catch, and the words that it must say; see misuse.sh.

#include <qvds/fifo.hpp>

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

void use(qvds::fifo<&job::next> &queue, const qvds::fifo<&job::next> &constant, job &elem,
         late &late_link, other &stranger) {
    queue.push_back(elem);
    (void)constant.front();
    (void)late_link;
    (void)stranger;

#if MISUSE == 1
    // error: qvds::fifo: the hook must name a link word or a qvds_node of the element
    qvds::fifo<&job::priority> numbers;
#elif MISUSE == 2
    // error: qvds: a link word holds the address of the next link, so it must be
    qvds::fifo<&late::next> lates;
    lates.push_back(late_link);
#elif MISUSE == 3
    // error: qvds: a link word holds the address of the next link, so it must be
    qvds::fifo<&other::next> others;
    others.push_back(stranger);
#elif MISUSE == 4
    // error: unrelated type 'other' | cannot convert 'other' to | invalid initialization of reference
    queue.push_back(stranger);
#elif MISUSE == 5
    // error: discards qualifiers | but function is not marked const
    constant.push_back(elem);
#elif MISUSE == 6
    // error: discards qualifiers | but function is not marked const
    constant.cursor();
#elif MISUSE == 7
    // error: discards qualifiers | is an rvalue
    qvds::fifo<&job::next>().cursor();
#elif MISUSE == 8
    // error: nodiscard
    queue.cut(elem);
#elif MISUSE == 9
    // error: nodiscard
    queue.cursor_after(elem).cut();
#elif MISUSE == 10
    // error: deleted
    qvds::fifo<&job::next> copy = queue;
#endif
}

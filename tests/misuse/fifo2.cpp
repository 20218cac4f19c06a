// Each case is a slip that the compiler must catch, and the words that it must say; see misuse.sh.

#include <qvds/fifo2.hpp>

struct job {
    qvds_node link;
    qvds_list header;
    double weight;
    unsigned serial;
    const char *name;
};
struct other {
    qvds_node link;
};
struct base {
    qvds_node link;
};
struct derived : virtual base {};

void use(qvds::fifo2<&job::link> &queue, const qvds::fifo2<&job::link> &constant, job &elem,
         other &stranger) {
    queue.push_back(elem);
    (void)constant.front();
    (void)stranger;

#if MISUSE == 1
    // error: qvds::fifo2: the hook must name a qvds_node of the element
    qvds::fifo2<&job::header> headers;
#elif MISUSE == 2
    // error: qvds: a hook is a pointer to a data member
    qvds::fifo2<7> seven;
#elif MISUSE == 3
    // error: unrelated type 'other' | cannot convert 'other' to | invalid initialization of reference
    queue.push_back(stranger);
#elif MISUSE == 4
    // error: qvds: the link must not be a member of a virtual base of the element
    derived d;
    qvds::fifo2<qvds::hook<derived, &base::link>> bases;
    bases.push_back(d);
#elif MISUSE == 5
    // error: qvds: std::partial_ordering is no order to sort by
    queue.insert_sorted(elem, {}, &job::weight);
#elif MISUSE == 6
    // error: discards qualifiers | but function is not marked const
    constant.push_back(elem);
#elif MISUSE == 7
    // error: invalid conversion from 'const | rvalue of type 'const
    job *first = constant.front();
#elif MISUSE == 8
    // error: qvds: a comparison gives bool
    queue.insert_sorted(elem, [](const job &, const job &) { return 1; });
#elif MISUSE == 9
    // error: qvds: pointers to characters would be compared by address
    queue.insert_sorted(elem, {}, &job::name);
#elif MISUSE == 10
    // error: use of deleted function | deleted
    qvds::fifo2<&job::link> copy = queue;
#elif MISUSE == 11
    // error: nodiscard
    queue.cut(elem);
#elif MISUSE == 12
    // error: unrelated type 'qvds_node' | cannot convert 'qvds_node' to | invalid initialization of reference
    queue.push_back(elem.link);
#endif
}

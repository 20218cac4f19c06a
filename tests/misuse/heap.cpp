// Each case is a slip that the compiler must catch, and the words that it must say; see misuse.sh.

#include <qvds/heap.hpp>

#include <algorithm>
#include <vector>

struct task {
    uint32_t slot;
    int rank;
    double weight;
    const char *name;
    size_t wide_slot;
};
struct other {
    uint32_t slot;
    int rank;
};
struct by_table {
    const int *table;
    bool operator()(int a, int b) const { return table[a] < table[b]; }
};

using tracked = qvds::heap<task, &task::rank, &task::slot>;
using plain = qvds::heap<task, &task::rank>;

void use(tracked &heap, const tracked &constant, plain &slotless, task &elem, other &stranger,
         std::vector<void *> &room) {
    (void)heap.push(elem);
    (void)constant.top();
    (void)slotless.pop();
    (void)stranger;
    (void)room;

#if MISUSE == 1
    // error: qvds::heap: update, erase and contains need to know the slot of an element
    slotless.erase(elem);
#elif MISUSE == 2
    // error: qvds::heap: the third argument must be a uint32_t member of the element
    qvds::heap<task, &task::rank, &task::wide_slot> wide;
#elif MISUSE == 3
    // error: qvds::heap: the second argument must give the rank of an element
    qvds::heap<task, &other::rank> ranked_by_another;
#elif MISUSE == 4
    // error: qvds::heap: C can't call a comparison with state
    qvds::heap<task, &task::rank, nullptr, by_table> stateful(room, by_table{nullptr});
    (void)stateful.c_record();
#elif MISUSE == 5
    // error: qvds: std::partial_ordering is no order to sort by
    qvds::heap<task, &task::weight> weighted;
    weighted.pop();
#elif MISUSE == 6
    // error: qvds: pointers to characters would be compared by address
    qvds::heap<task, &task::name> named;
    named.pop();
#elif MISUSE == 7
    // error: unrelated type 'other' | cannot convert 'other' to | invalid initialization of reference
    (void)heap.push(stranger);
#elif MISUSE == 8
    // error: nodiscard
    heap.push(elem);
#elif MISUSE == 9
    // error: discards qualifiers | but function is not marked const
    (void)constant.push(elem);
#elif MISUSE == 10
    // error: assignment of member 'task::rank' in read-only object | returns a const value
    heap.begin()->rank = 7;
#elif MISUSE == 11
    // error: no matching function | no match for call
    std::ranges::sort(heap, {}, &task::rank);
#elif MISUSE == 12
    // error: use of deleted function | deleted
    tracked copy = heap;
#elif MISUSE == 13
    // error: no matching function | no matching constructor
    task *array[8];
    plain typed_array(array);
#elif MISUSE == 14
    // error: no matching function | no matching constructor
    plain gone(qvds::heap_slots<8>{});
#endif
}

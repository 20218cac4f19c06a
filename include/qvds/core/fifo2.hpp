// The doubly linked queue. See fifo2.h for the records and the invariants.
//
// The header closes the chain into a ring: its first word, `top`, lies where an element keeps its
// `next`, and its second, `bottom`, where an element keeps its `prev`. So wherever a neighbour is
// missing, the header stands for it, and one pair of stores serves the middle and both ends:
//
//      +--> header <--+          next of (predecessor or header) is elem
//      |              |          prev of (successor or header) is elem
//     top          bottom
//
// The links of the elements never name the header: at the ends they are null (I2).
//
// What takes out an element that the caller names does without the ring: it asks the header whether
// the element is at an end. A missing neighbour would say the same of an element in the queue; but
// one that has left already, and is taken out once more by a slip, has no neighbours either, and
// the others must not be lost for it.

#ifndef QVDS_CORE_FIFO2_HPP
#define QVDS_CORE_FIFO2_HPP

#include <qvds/core/chain.hpp>

namespace qvds::core {

// The neighbour, or the header in its place where there is none.
QVDS_HIDDEN inline void *or_header(void *neighbour, qvds_list *fifo) {
    return neighbour != nullptr ? neighbour : fifo;
}

QVDS_HIDDEN inline void fifo2_append(qvds_list *fifo, void *elem) {
    void *const last = bottom_of(fifo);
    next_of(elem) = nullptr;
    prev_of(elem) = last;
    next_of(or_header(last, fifo)) = elem;
    bottom_of(fifo) = elem;
}

QVDS_HIDDEN inline void fifo2_push(qvds_list *fifo, void *elem) {
    void *const first = top_of(fifo);
    next_of(elem) = first;
    prev_of(elem) = nullptr;
    prev_of(or_header(first, fifo)) = elem;
    top_of(fifo) = elem;
}

QVDS_HIDDEN inline void fifo2_insert(qvds_list *fifo, void *after, void *elem) {
    if (top_of(fifo) == nullptr || after == nullptr)
        return fifo2_push(fifo, elem);
    if (after == bottom_of(fifo))
        return fifo2_append(fifo, elem);
    void *const successor = next_of(after);
    prev_of(elem) = after;
    next_of(elem) = successor;
    prev_of(successor) = elem;
    next_of(after) = elem;
}

// goes_before(stored) says whether elem belongs in front of stored.
template <class Order>
QVDS_HIDDEN inline void fifo2_insert_sorted(qvds_list *fifo, void *elem, Order &&goes_before) {
    const place at = find_place(fifo, goes_before);
    link_word &back_link = prev_of(or_header(at.elem, fifo));
    next_of(elem) = at.elem;
    prev_of(elem) = back_link;
    next_of(at.predecessor) = elem;
    back_link = elem;
}

QVDS_HIDDEN inline void *fifo2_pop(qvds_list *fifo) {
    void *const elem = top_of(fifo);
    if (elem == nullptr)
        return nullptr;
    void *const successor = next_of(elem);
    top_of(fifo) = successor;
    prev_of(or_header(successor, fifo)) = nullptr;
    return elem;
}

QVDS_HIDDEN inline void *fifo2_pop_tail(qvds_list *fifo) {
    void *const elem = bottom_of(fifo);
    if (elem == nullptr)
        return nullptr;
    void *const predecessor = prev_of(elem);
    bottom_of(fifo) = predecessor;
    next_of(or_header(predecessor, fifo)) = nullptr;
    return elem;
}

QVDS_HIDDEN inline void fifo2_unlink(qvds_list *fifo, void *elem) {
    void *const predecessor = prev_of(elem);
    void *const successor = next_of(elem);
    if (elem == top_of(fifo))
        top_of(fifo) = successor;
    if (elem == bottom_of(fifo))
        bottom_of(fifo) = predecessor;
    if (predecessor != nullptr)
        next_of(predecessor) = successor;
    if (successor != nullptr)
        prev_of(successor) = predecessor;
}

QVDS_HIDDEN inline void fifo2_concat(qvds_list *dest, qvds_list *src) {
    if (void *const first = top_of(src)) {
        prev_of(first) = bottom_of(dest);
        next_of(or_header(bottom_of(dest), dest)) = first;
        bottom_of(dest) = bottom_of(src);
        clear(src);
    }
}

QVDS_HIDDEN inline void fifo2_cut(qvds_list *fifo, qvds_list *out, void *elem) {
    void *const predecessor = prev_of(elem);
    if (predecessor != nullptr)
        next_of(predecessor) = nullptr;
    top_of(out) = elem;
    bottom_of(out) = bottom_of(fifo);
    bottom_of(fifo) = predecessor;
    if (elem == top_of(fifo))
        top_of(fifo) = nullptr;
    prev_of(elem) = nullptr;
}

} // namespace qvds::core

#endif

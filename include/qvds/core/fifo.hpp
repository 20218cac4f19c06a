// The singly linked queue. See fifo.h for the records and the invariants.
//
// It is the stack with a second word in its header, which names the last element: there elements
// are added, and other queues are joined on. The header is the predecessor of the first element,
// and so the last predecessor of an empty queue:
//
//      top --> a --> b --> c --> null           top --> null
//      bottom -------------^                    bottom --> null
//
// What changes the chain at a place keeps `bottom` (I1, I2) where that place is the end, or comes
// to be. There a predecessor that is the header stands for null: the queue is empty.

#ifndef QVDS_CORE_FIFO_HPP
#define QVDS_CORE_FIFO_HPP

#include <qvds/core/chain.hpp>

namespace qvds::core {

// The last predecessor of the queue: its last element, or the header while it is empty. Writing
// its first word adds at the back in either case.
QVDS_HIDDEN inline void *last_predecessor(qvds_list *fifo) {
    void *const last = bottom_of(fifo);
    return last != nullptr ? last : fifo;
}

// What `bottom` has to be once predecessor is the last.
QVDS_HIDDEN inline void *bottom_at(const qvds_list *fifo, void *predecessor) {
    return predecessor != fifo ? predecessor : nullptr;
}

QVDS_HIDDEN inline void fifo_insert_at(qvds_list *fifo, place at, void *elem) {
    next_of(elem) = at.elem;
    next_of(at.predecessor) = elem;
    if (at.elem == nullptr)
        bottom_of(fifo) = elem;
}

// There must be an element at the place.
QVDS_HIDDEN inline void fifo_unlink_at(qvds_list *fifo, place at) {
    next_of(at.predecessor) = next_of(at.elem);
    if (at.elem == bottom_of(fifo))
        bottom_of(fifo) = bottom_at(fifo, at.predecessor);
}

// The element at the place, of which there must be one, and all behind it move to out.
QVDS_HIDDEN inline void fifo_cut_at(qvds_list *fifo, place at, qvds_list *out) {
    next_of(at.predecessor) = nullptr;
    top_of(out) = at.elem;
    bottom_of(out) = bottom_of(fifo);
    bottom_of(fifo) = bottom_at(fifo, at.predecessor);
}

QVDS_HIDDEN inline void fifo_append(qvds_list *fifo, void *elem) {
    next_of(elem) = nullptr;
    next_of(last_predecessor(fifo)) = elem;
    bottom_of(fifo) = elem;
}

QVDS_HIDDEN inline void fifo_push(qvds_list *fifo, void *elem) {
    void *const first = top_of(fifo);
    next_of(elem) = first;
    if (first == nullptr)
        bottom_of(fifo) = elem;
    top_of(fifo) = elem;
}

QVDS_HIDDEN inline void fifo_insert(qvds_list *fifo, void *after, void *elem) {
    if (top_of(fifo) == nullptr || after == nullptr)
        return fifo_push(fifo, elem);
    if (after == bottom_of(fifo))
        return fifo_append(fifo, elem);
    next_of(elem) = next_of(after);
    next_of(after) = elem;
}

// goes_before(stored) says whether elem belongs in front of stored.
template <class Order>
QVDS_HIDDEN inline void fifo_insert_sorted(qvds_list *fifo, void *elem, Order &&goes_before) {
    fifo_insert_at(fifo, find_place(fifo, goes_before), elem);
}

QVDS_HIDDEN inline void *fifo_pop(qvds_list *fifo) {
    void *const elem = top_of(fifo);
    if (elem == nullptr)
        return nullptr;
    void *const successor = next_of(elem);
    top_of(fifo) = successor;
    if (successor == nullptr)
        bottom_of(fifo) = nullptr;
    return elem;
}

// Unlinks the first element for which stop(element) is true.
template <class Stop>
QVDS_HIDDEN inline void *fifo_extract(qvds_list *fifo, Stop &&stop) {
    const place at = find_place(fifo, stop);
    if (at.elem != nullptr)
        fifo_unlink_at(fifo, at);
    return at.elem;
}

QVDS_HIDDEN inline void fifo_concat(qvds_list *dest, qvds_list *src) {
    if (top_of(src) != nullptr) {
        next_of(last_predecessor(dest)) = top_of(src);
        bottom_of(dest) = bottom_of(src);
        clear(src);
    }
}

// Whether elem was found; else nothing is changed.
QVDS_HIDDEN inline bool fifo_cut(qvds_list *fifo, qvds_list *out, const void *elem) {
    const place at = find_place_of(fifo, elem);
    if (at.elem == nullptr)
        return false;
    fifo_cut_at(fifo, at, out);
    return true;
}

} // namespace qvds::core

#endif

// The stack. See lifo.h for the record and the invariant.
//
// Its header is the one word that names the first element, and so a predecessor like any other: to
// push is to insert behind the header, and to pop is to unlink what stands behind it. Whoever knows
// the place of an element, with the predecessor, changes the chain there in constant time; nobody
// else can without a walk.
//
//      predecessor --> next         insert ->     predecessor --> elem --> next
//                                   <- unlink
//
// An element that is unlinked keeps its link.

#ifndef QVDS_CORE_LIFO_HPP
#define QVDS_CORE_LIFO_HPP

#include <qvds/core/chain.hpp>
#include <qvds/lifo.h>

namespace qvds::core {

static_assert(offsetof(qvds_lifo, top) == 0, "a stack's header is a predecessor like any other");

QVDS_HIDDEN inline void lifo_insert_at(place at, void *elem) {
    next_of(elem) = at.elem;
    next_of(at.predecessor) = elem;
}

// There must be an element at the place.
QVDS_HIDDEN inline void lifo_unlink_at(place at) {
    next_of(at.predecessor) = next_of(at.elem);
}

// Everything from the place on moves to out.
QVDS_HIDDEN inline void lifo_cut_at(place at, qvds_lifo *out) {
    next_of(at.predecessor) = nullptr;
    top_of(out) = at.elem;
}

QVDS_HIDDEN inline void lifo_push(qvds_lifo *lifo, void *elem) {
    lifo_insert_at({lifo, top_of(lifo)}, elem);
}

// goes_before(stored) says whether elem belongs in front of stored.
template <class Order>
QVDS_HIDDEN inline void lifo_insert_sorted(qvds_lifo *lifo, void *elem, Order &&goes_before) {
    lifo_insert_at(find_place(lifo, goes_before), elem);
}

QVDS_HIDDEN inline void *lifo_pop(qvds_lifo *lifo) {
    void *const elem = top_of(lifo);
    if (elem != nullptr)
        lifo_unlink_at({lifo, elem});
    return elem;
}

// Unlinks the first element for which stop(element) is true.
template <class Stop>
QVDS_HIDDEN inline void *lifo_extract(qvds_lifo *lifo, Stop &&stop) {
    const place at = find_place(lifo, stop);
    if (at.elem != nullptr)
        lifo_unlink_at(at);
    return at.elem;
}

QVDS_HIDDEN inline void lifo_concat(qvds_lifo *dest, qvds_lifo *src) {
    next_of(find_place_of(dest, nullptr).predecessor) = top_of(src);
    top_of(src) = nullptr;
}

// Whether elem, which may be null for the end, was found; else nothing is changed.
QVDS_HIDDEN inline bool lifo_cut(qvds_lifo *lifo, qvds_lifo *out, const void *elem) {
    const place at = find_place_of(lifo, elem);
    if (at.elem != elem)
        return false;
    lifo_cut_at(at, out);
    return true;
}

} // namespace qvds::core

#endif

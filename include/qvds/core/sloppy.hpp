// The headerless list. See sloppy.h for the handle and the invariants.
//
// Every operation starts from an element in hand and has two directions to go, so the walks are
// written once and told which link to follow. What changes the list comes down to linking two
// elements to each other (join) or to nothing. An operation takes the address of the handle if the
// handle may have to move, because there is none yet or because it names what comes or goes.

#ifndef QVDS_CORE_SLOPPY_HPP
#define QVDS_CORE_SLOPPY_HPP

#include <qvds/core/chain.hpp>

namespace qvds::core {

// The caller's handle variable is a pointer of a type of the caller's own: it is read and written
// like a link.
QVDS_HIDDEN inline link_word &sloppy_element(void *handle) {
    return next_of(handle);
}

QVDS_HIDDEN inline void *sloppy_forward(const void *elem) {
    return next_of(elem);
}
QVDS_HIDDEN inline void *sloppy_backward(const void *elem) {
    return prev_of(elem);
}

// The element at the end that step leads to. elem is not null.
template <void *step(const void *)>
QVDS_HIDDEN inline void *sloppy_end(void *elem) {
    while (void *const neighbour = step(elem))
        elem = neighbour;
    return elem;
}

// The first element for which stop(element) is true, from elem on, elem included, in the direction
// of step.
template <void *step(const void *), class Stop>
QVDS_HIDDEN inline void *sloppy_match(void *elem, Stop &stop) {
    while (elem != nullptr && !stop(elem))
        elem = step(elem);
    return elem;
}

// Makes first and second neighbours. What they were linked to on that side is the caller's matter.
QVDS_HIDDEN inline void sloppy_join(void *first, void *second) {
    next_of(first) = second;
    prev_of(second) = first;
}

// Both words of elem are written one after the other: beyond the caches, stores that alternate
// between records wait for each other.
QVDS_HIDDEN inline void sloppy_insert_after(void *place, void *elem) {
    void *const successor = next_of(place);
    next_of(elem) = successor;
    prev_of(elem) = place;
    next_of(place) = elem;
    if (successor != nullptr)
        prev_of(successor) = elem;
}

QVDS_HIDDEN inline void sloppy_start(void *handle, void *elem) {
    clear(elem);
    sloppy_element(handle) = elem;
}

QVDS_HIDDEN inline void sloppy_insert(void *handle, void *elem) {
    if (sloppy_element(handle) == nullptr)
        return sloppy_start(handle, elem);
    sloppy_insert_after(sloppy_element(handle), elem);
}

QVDS_HIDDEN inline void sloppy_append(void *handle, void *elem) {
    if (sloppy_element(handle) == nullptr)
        return sloppy_start(handle, elem);
    sloppy_insert_after(sloppy_end<sloppy_forward>(sloppy_element(handle)), elem);
}

QVDS_HIDDEN inline void sloppy_push(void *handle, void *elem) {
    if (sloppy_element(handle) == nullptr)
        return sloppy_start(handle, elem);
    void *const first = sloppy_end<sloppy_backward>(sloppy_element(handle));
    prev_of(elem) = nullptr;
    sloppy_join(elem, first);
    if (sloppy_element(handle) == first)
        sloppy_element(handle) = elem;
}

// Makes first and second neighbours, of which either may be missing.
QVDS_HIDDEN inline void sloppy_close_gap(void *first, void *second) {
    if (second != nullptr)
        prev_of(second) = first;
    if (first != nullptr)
        next_of(first) = second;
}

// For an element that no handle names.
QVDS_HIDDEN inline void sloppy_detach(void *elem) {
    sloppy_close_gap(prev_of(elem), next_of(elem));
    clear(elem);
}

// The handle is not null.
QVDS_HIDDEN inline void sloppy_unlink(void *handle, void *elem) {
    void *const predecessor = prev_of(elem);
    void *const successor = next_of(elem);
    sloppy_close_gap(predecessor, successor);
    if (sloppy_element(handle) == elem)
        sloppy_element(handle) = predecessor != nullptr ? predecessor : successor;
    clear(elem);
}

// Outwards: from elem back to the first, then from behind elem on to the last. Null for null.
template <class Stop>
QVDS_HIDDEN inline void *sloppy_find(void *elem, Stop &&stop) {
    if (elem == nullptr)
        return nullptr;
    if (void *const match = sloppy_match<sloppy_backward>(elem, stop))
        return match;
    return sloppy_match<sloppy_forward>(next_of(elem), stop);
}

// Starts at the handle's element.
template <class Stop>
QVDS_HIDDEN inline void *sloppy_extract(void *handle, Stop &&stop) {
    void *const elem = sloppy_find(sloppy_element(handle), stop);
    if (elem != nullptr)
        sloppy_unlink(handle, elem);
    return elem;
}

// The list of b behind that of a; neither is null.
QVDS_HIDDEN inline void sloppy_concat(void *a, void *b) {
    sloppy_join(sloppy_end<sloppy_forward>(a), sloppy_end<sloppy_backward>(b));
}

QVDS_HIDDEN inline void sloppy_cut(void *elem) {
    if (void *const predecessor = prev_of(elem)) {
        next_of(predecessor) = nullptr;
        prev_of(elem) = nullptr;
    }
}

// Moves the list of one handle behind that of another. The former ends null.
QVDS_HIDDEN inline void sloppy_take_over(void *dest, void *src) {
    if (sloppy_element(src) == nullptr)
        return;
    if (sloppy_element(dest) == nullptr)
        sloppy_element(dest) = sloppy_element(src);
    else
        sloppy_concat(sloppy_element(dest), sloppy_element(src));
    sloppy_element(src) = nullptr;
}

// Cuts the list of a handle before elem, which the other handle then names. The handle stays with
// what stood before elem, so it has to move if it named an element behind.
QVDS_HIDDEN inline void sloppy_cut_off(void *handle, void *out, void *elem) {
    const void *const named = sloppy_element(handle);
    const auto is_named = [named](const void *stored) { return stored == named; };
    if (sloppy_match<sloppy_forward>(elem, is_named) != nullptr)
        sloppy_element(handle) = prev_of(elem);
    sloppy_cut(elem);
    sloppy_element(out) = elem;
}

// Null for null.
QVDS_HIDDEN inline void *sloppy_first(const void *elem) {
    return elem != nullptr ? sloppy_end<sloppy_backward>(const_cast<void *>(elem)) : nullptr;
}
QVDS_HIDDEN inline void *sloppy_last(const void *elem) {
    return elem != nullptr ? sloppy_end<sloppy_forward>(const_cast<void *>(elem)) : nullptr;
}

// 0 for null.
QVDS_HIDDEN inline size_t sloppy_count(const void *elem) {
    if (elem == nullptr)
        return 0;
    size_t count = 1;
    for (const void *e = prev_of(elem); e != nullptr; e = prev_of(e))
        ++count;
    for (const void *e = next_of(elem); e != nullptr; e = next_of(e))
        ++count;
    return count;
}

} // namespace qvds::core

#endif

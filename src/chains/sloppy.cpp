// Every operation starts from an element in hand and has two directions to go, so the walks are
// written once and told which link to follow. What changes the list comes down to linking two
// elements to each other (join) or to nothing.

#include <qvds/sloppy.h>

#include <qvds/core/chain.hpp>

#include "callbacks.hpp"

using namespace qvds;
using namespace qvds::core;

namespace {

// The caller's handle variable is a pointer of a type of the caller's own: it is read and written
// like a link.
link_word &element_of(void *handle) {
    return next_of(handle);
}

void *forward(void *elem) {
    return next_of(elem);
}
void *backward(void *elem) {
    return prev_of(elem);
}

// The element at the end that step leads to. elem is not null.
template <void *step(void *)>
void *end_of(void *elem) {
    while (void *const neighbour = step(elem))
        elem = neighbour;
    return elem;
}

// The first match from elem on, elem included, in the direction of step.
template <void *step(void *)>
void *match_from(void *elem, const void *key, qvds_compare_fn compare) {
    while (elem != nullptr && compare(key, elem) != 0)
        elem = step(elem);
    return elem;
}

// Makes first and second neighbours. What they were linked to on that side is the caller's matter.
void join(void *first, void *second) {
    next_of(first) = second;
    prev_of(second) = first;
}

// Both words of elem are written one after the other: beyond the caches, stores that alternate
// between records wait for each other.
void insert_behind(void *place, void *elem) {
    void *const successor = next_of(place);
    next_of(elem) = successor;
    prev_of(elem) = place;
    next_of(place) = elem;
    if (successor != nullptr)
        prev_of(successor) = elem;
}

void *start_list(void *handle, void *elem) {
    clear(elem);
    element_of(handle) = elem;
    return elem;
}

} // namespace

void *qvds_sloppy_insert(void *handle, void *elem) {
    if (element_of(handle) == nullptr)
        return start_list(handle, elem);
    insert_behind(element_of(handle), elem);
    return elem;
}

void *qvds_sloppy_append(void *handle, void *elem) {
    if (element_of(handle) == nullptr)
        return start_list(handle, elem);
    insert_behind(end_of<forward>(element_of(handle)), elem);
    return elem;
}

void *qvds_sloppy_push(void *handle, void *elem) {
    if (element_of(handle) == nullptr)
        return start_list(handle, elem);
    void *const first = end_of<backward>(element_of(handle));
    prev_of(elem) = nullptr;
    join(elem, first);
    if (element_of(handle) == first)
        element_of(handle) = elem;
    return elem;
}

void *qvds_sloppy_extract_existing(void *handle, void *elem) {
    if (element_of(handle) == nullptr)
        return nullptr;
    void *const predecessor = prev_of(elem);
    void *const successor = next_of(elem);
    if (successor != nullptr)
        prev_of(successor) = predecessor;
    if (predecessor != nullptr)
        next_of(predecessor) = successor;
    if (element_of(handle) == elem)
        element_of(handle) = predecessor != nullptr ? predecessor : successor;
    clear(elem);
    return elem;
}

void *qvds_sloppy_extract(void *handle, const void *key, qvds_compare_fn compare) {
    void *const elem = qvds_sloppy_find(element_of(handle), key, compare);
    return elem != nullptr ? qvds_sloppy_extract_existing(handle, elem) : nullptr;
}

void *qvds_sloppy_concat(void *a, void *b) {
    if (a == nullptr || b == nullptr)
        return nullptr;
    join(end_of<forward>(a), end_of<backward>(b));
    return a;
}

void *qvds_sloppy_cut(void *elem) {
    if (elem == nullptr)
        return nullptr;
    if (void *const predecessor = prev_of(elem)) {
        next_of(predecessor) = nullptr;
        prev_of(elem) = nullptr;
    }
    return elem;
}

void *qvds_sloppy_first(const void *elem) {
    return elem != nullptr ? end_of<backward>(const_cast<void *>(elem)) : nullptr;
}

void *qvds_sloppy_last(const void *elem) {
    return elem != nullptr ? end_of<forward>(const_cast<void *>(elem)) : nullptr;
}

void *qvds_sloppy_find(const void *elem, const void *key, qvds_compare_fn compare) {
    if (elem == nullptr)
        return nullptr;
    void *const start = const_cast<void *>(elem);
    if (void *const match = match_from<backward>(start, key, compare))
        return match;
    return match_from<forward>(next_of(start), key, compare);
}

size_t qvds_sloppy_count(const void *elem) {
    if (elem == nullptr)
        return 0;
    size_t count = 1;
    for (const void *e = prev_of(elem); e != nullptr; e = prev_of(e))
        ++count;
    for (const void *e = next_of(elem); e != nullptr; e = next_of(e))
        ++count;
    return count;
}

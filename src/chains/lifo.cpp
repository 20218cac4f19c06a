#include <qvds/lifo.h>

#include <qvds/core/chain.hpp>

#include "callbacks.hpp"

using namespace qvds;
using namespace qvds::core;

static_assert(offsetof(qvds_lifo, top) == 0, "a stack's header is a predecessor like any other");

int qvds_lifo_init(qvds_lifo *lifo) {
    top_of(lifo) = nullptr;
    return 0;
}

void *qvds_lifo_push(qvds_lifo *lifo, void *elem) {
    next_of(elem) = top_of(lifo);
    top_of(lifo) = elem;
    return elem;
}

void *qvds_lifo_insert_sorted(qvds_lifo *lifo, void *elem, qvds_compare_fn compare) {
    const place at = find_place(lifo, goes_before(elem, compare));
    next_of(elem) = at.elem;
    next_of(at.predecessor) = elem;
    return elem;
}

void *qvds_lifo_pop(qvds_lifo *lifo) {
    void *const elem = top_of(lifo);
    if (elem != nullptr)
        top_of(lifo) = next_of(elem);
    return elem;
}

void *qvds_lifo_extract(qvds_lifo *lifo, const void *key, qvds_compare_fn compare) {
    const place at = find_place(lifo, matches(key, compare));
    if (at.elem != nullptr)
        next_of(at.predecessor) = next_of(at.elem);
    return at.elem;
}

qvds_lifo *qvds_lifo_concat(qvds_lifo *dest, qvds_lifo *src) {
    next_of(find_place_of(dest, nullptr).predecessor) = top_of(src);
    top_of(src) = nullptr;
    return dest;
}

qvds_lifo *qvds_lifo_cut(qvds_lifo *lifo, qvds_lifo *out, void *elem) {
    const place at = find_place_of(lifo, elem);
    if (at.elem != elem)
        return nullptr;
    next_of(at.predecessor) = nullptr;
    top_of(out) = elem;
    return out;
}

#include <qvds/fifo.h>

#include <qvds/core/chain.hpp>

#include "callbacks.hpp"

using namespace qvds;
using namespace qvds::core;

namespace {

// The last predecessor of the queue: its last element, or the header while it is empty. Writing
// its first word adds at the back in either case.
void *last_predecessor(qvds_list *fifo) {
    void *const last = bottom_of(fifo);
    return last != nullptr ? last : fifo;
}

} // namespace

int qvds_fifo_init(qvds_list *fifo) {
    clear(fifo);
    return 0;
}

void *qvds_fifo_append(qvds_list *fifo, void *elem) {
    next_of(elem) = nullptr;
    next_of(last_predecessor(fifo)) = elem;
    bottom_of(fifo) = elem;
    return elem;
}

void *qvds_fifo_push(qvds_list *fifo, void *elem) {
    void *const first = top_of(fifo);
    next_of(elem) = first;
    if (first == nullptr)
        bottom_of(fifo) = elem;
    top_of(fifo) = elem;
    return elem;
}

void *qvds_fifo_insert(qvds_list *fifo, void *after, void *elem) {
    if (top_of(fifo) == nullptr || after == nullptr)
        return qvds_fifo_push(fifo, elem);
    if (after == bottom_of(fifo))
        return qvds_fifo_append(fifo, elem);
    next_of(elem) = next_of(after);
    next_of(after) = elem;
    return elem;
}

void *qvds_fifo_insert_sorted(qvds_list *fifo, void *elem, qvds_compare_fn compare) {
    const place at = find_place(fifo, goes_before(elem, compare));
    next_of(elem) = at.elem;
    next_of(at.predecessor) = elem;
    if (at.elem == nullptr)
        bottom_of(fifo) = elem;
    return elem;
}

void *qvds_fifo_pop(qvds_list *fifo) {
    void *const elem = top_of(fifo);
    if (elem == nullptr)
        return nullptr;
    void *const successor = next_of(elem);
    top_of(fifo) = successor;
    if (successor == nullptr)
        bottom_of(fifo) = nullptr;
    return elem;
}

void *qvds_fifo_extract(qvds_list *fifo, const void *key, qvds_compare_fn compare) {
    const place at = find_place(fifo, matches(key, compare));
    if (at.elem == nullptr)
        return nullptr;
    next_of(at.predecessor) = next_of(at.elem);
    if (at.elem == bottom_of(fifo))
        bottom_of(fifo) = at.predecessor != fifo ? at.predecessor : nullptr;
    return at.elem;
}

qvds_list *qvds_fifo_concat(qvds_list *dest, qvds_list *src) {
    if (top_of(src) != nullptr) {
        next_of(last_predecessor(dest)) = top_of(src);
        bottom_of(dest) = bottom_of(src);
        clear(src);
    }
    return dest;
}

qvds_list *qvds_fifo_cut(qvds_list *fifo, qvds_list *out, void *elem) {
    const place at = find_place_of(fifo, elem);
    if (at.elem == nullptr)
        return nullptr;
    next_of(at.predecessor) = nullptr;
    top_of(out) = elem;
    bottom_of(out) = bottom_of(fifo);
    bottom_of(fifo) = at.predecessor != fifo ? at.predecessor : nullptr;
    return out;
}

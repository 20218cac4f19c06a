#include <qvds/core/fifo.hpp>
#include <qvds/fifo.h>

#include "callbacks.hpp"

using namespace qvds;

int qvds_fifo_init(qvds_list *fifo) {
    core::clear(fifo);
    return 0;
}

void *qvds_fifo_append(qvds_list *fifo, void *elem) {
    core::fifo_append(fifo, elem);
    return elem;
}

void *qvds_fifo_push(qvds_list *fifo, void *elem) {
    core::fifo_push(fifo, elem);
    return elem;
}

void *qvds_fifo_insert(qvds_list *fifo, void *after, void *elem) {
    core::fifo_insert(fifo, after, elem);
    return elem;
}

void *qvds_fifo_insert_sorted(qvds_list *fifo, void *elem, qvds_compare_fn compare) {
    core::fifo_insert_sorted(fifo, elem, goes_before(elem, compare));
    return elem;
}

void *qvds_fifo_pop(qvds_list *fifo) {
    return core::fifo_pop(fifo);
}

void *qvds_fifo_extract(qvds_list *fifo, const void *key, qvds_compare_fn compare) {
    return core::fifo_extract(fifo, matches(key, compare));
}

qvds_list *qvds_fifo_concat(qvds_list *dest, qvds_list *src) {
    core::fifo_concat(dest, src);
    return dest;
}

qvds_list *qvds_fifo_cut(qvds_list *fifo, qvds_list *out, void *elem) {
    return core::fifo_cut(fifo, out, elem) ? out : nullptr;
}

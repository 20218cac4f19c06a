#include <qvds/core/fifo2.hpp>
#include <qvds/fifo2.h>

#include "callbacks.hpp"

using namespace qvds;

void *qvds_fifo2_append(qvds_list *fifo, void *elem) {
    core::fifo2_append(fifo, elem);
    return elem;
}

void *qvds_fifo2_push(qvds_list *fifo, void *elem) {
    core::fifo2_push(fifo, elem);
    return elem;
}

void *qvds_fifo2_insert(qvds_list *fifo, void *after, void *elem) {
    core::fifo2_insert(fifo, after, elem);
    return elem;
}

void *qvds_fifo2_insert_sorted(qvds_list *fifo, void *elem, qvds_compare_fn compare) {
    core::fifo2_insert_sorted(fifo, elem, goes_before(elem, compare));
    return elem;
}

void *qvds_fifo2_pop(qvds_list *fifo) {
    return core::fifo2_pop(fifo);
}

void *qvds_fifo2_pop_tail(qvds_list *fifo) {
    return core::fifo2_pop_tail(fifo);
}

void *qvds_fifo2_extract(qvds_list *fifo, const void *key, qvds_compare_fn compare) {
    void *const elem = core::find_place(fifo, matches(key, compare)).elem;
    if (elem != nullptr)
        core::fifo2_unlink(fifo, elem);
    return elem;
}

void *qvds_fifo2_extract_existing(qvds_list *fifo, void *elem) {
    core::fifo2_unlink(fifo, elem);
    return elem;
}

qvds_list *qvds_fifo2_concat(qvds_list *dest, qvds_list *src) {
    core::fifo2_concat(dest, src);
    return dest;
}

qvds_list *qvds_fifo2_cut(qvds_list *fifo, qvds_list *out, void *elem) {
    core::fifo2_cut(fifo, out, elem);
    return out;
}

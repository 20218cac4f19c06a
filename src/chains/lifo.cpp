#include <qvds/core/lifo.hpp>
#include <qvds/lifo.h>

#include "callbacks.hpp"

using namespace qvds;

int qvds_lifo_init(qvds_lifo *lifo) {
    core::top_of(lifo) = nullptr;
    return 0;
}

void *qvds_lifo_push(qvds_lifo *lifo, void *elem) {
    core::lifo_push(lifo, elem);
    return elem;
}

void *qvds_lifo_insert_sorted(qvds_lifo *lifo, void *elem, qvds_compare_fn compare) {
    core::lifo_insert_sorted(lifo, elem, goes_before(elem, compare));
    return elem;
}

void *qvds_lifo_pop(qvds_lifo *lifo) {
    return core::lifo_pop(lifo);
}

void *qvds_lifo_extract(qvds_lifo *lifo, const void *key, qvds_compare_fn compare) {
    return core::lifo_extract(lifo, matches(key, compare));
}

qvds_lifo *qvds_lifo_concat(qvds_lifo *dest, qvds_lifo *src) {
    core::lifo_concat(dest, src);
    return dest;
}

qvds_lifo *qvds_lifo_cut(qvds_lifo *lifo, qvds_lifo *out, void *elem) {
    return core::lifo_cut(lifo, out, elem) ? out : nullptr;
}

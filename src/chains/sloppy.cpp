#include <qvds/core/sloppy.hpp>
#include <qvds/sloppy.h>

#include "callbacks.hpp"

using namespace qvds;

void *qvds_sloppy_insert(void *handle, void *elem) {
    core::sloppy_insert(handle, elem);
    return elem;
}

void *qvds_sloppy_append(void *handle, void *elem) {
    core::sloppy_append(handle, elem);
    return elem;
}

void *qvds_sloppy_push(void *handle, void *elem) {
    core::sloppy_push(handle, elem);
    return elem;
}

void *qvds_sloppy_extract_existing(void *handle, void *elem) {
    if (core::sloppy_element(handle) == nullptr)
        return nullptr;
    core::sloppy_unlink(handle, elem);
    return elem;
}

void *qvds_sloppy_extract(void *handle, const void *key, qvds_compare_fn compare) {
    return core::sloppy_extract(handle, matches(key, compare));
}

void *qvds_sloppy_concat(void *a, void *b) {
    if (a == nullptr || b == nullptr)
        return nullptr;
    core::sloppy_concat(a, b);
    return a;
}

void *qvds_sloppy_cut(void *elem) {
    if (elem != nullptr)
        core::sloppy_cut(elem);
    return elem;
}

void *qvds_sloppy_first(const void *elem) {
    return core::sloppy_first(elem);
}

void *qvds_sloppy_last(const void *elem) {
    return core::sloppy_last(elem);
}

void *qvds_sloppy_find(const void *elem, const void *key, qvds_compare_fn compare) {
    return core::sloppy_find(const_cast<void *>(elem), matches(key, compare));
}

size_t qvds_sloppy_count(const void *elem) {
    return core::sloppy_count(elem);
}

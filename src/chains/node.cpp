#include <qvds/node.h>

#include <qvds/core/chain.hpp>

#include "callbacks.hpp"

using namespace qvds;
using namespace qvds::core;

int qvds_list_init(void *list) {
    clear(list);
    return 0;
}

void *qvds_list_top(const qvds_list *list) {
    return top_of(list);
}

void *qvds_list_bottom(const qvds_list *list) {
    return bottom_of(list);
}

void *qvds_node_find(const void *list, const void *key, qvds_compare_fn compare) {
    // The walk writes nothing; its predecessor, which could, is not used.
    return find_place(const_cast<void *>(list), matches(key, compare)).elem;
}

int qvds_node_enum(const void *list, qvds_visit_fn visit, void *ctx) {
    for (void *elem = top_of(list), *following; elem != nullptr; elem = following) {
        following = next_of(elem);
        if (const int32_t result = visit(elem, ctx))
            return result;
    }
    return 0;
}

int qvds_node_reverse_enum(const qvds_list *list, qvds_visit_fn visit, void *ctx) {
    for (void *elem = bottom_of(list), *preceding; elem != nullptr; elem = preceding) {
        preceding = prev_of(elem);
        if (const int32_t result = visit(elem, ctx))
            return result;
    }
    return 0;
}

int qvds_node_iter_init(qvds_node_iter *iter, const void *list) {
    if (iter == nullptr || list == nullptr)
        return -1;
    iter->next = top_of(list);
    return 0;
}

void *qvds_node_iter_next(qvds_node_iter *iter) {
    if (iter == nullptr || iter->next == nullptr)
        return nullptr;
    void *const elem = iter->next;
    iter->next = next_of(elem);
    return elem;
}

void *qvds_node_iter_peek(const qvds_node_iter *iter) {
    if (iter == nullptr || iter->next == nullptr)
        return nullptr;
    return next_of(iter->next);
}

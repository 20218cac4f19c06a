#include <qvds/core/hash2.hpp>
#include <qvds/hash2.h>

#include "callbacks.hpp"

using namespace qvds;
using links = core::hash2_links;

void *qvds_hash2_store(qvds_hash *table, void *elem) {
    core::hash_store<links>(bucket_of_key(table, elem), elem);
    return elem;
}

void *qvds_hash2_storereplace(qvds_hash *table, void *elem, qvds_compare_fn compare) {
    void *const replaced = core::hash_store_or_replace<links>(bucket_of_key(table, elem), elem,
                                                              matches(elem, compare));
    return replaced != nullptr ? replaced : elem;
}

void *qvds_hash2_searchinsert(qvds_hash *table, void *elem, qvds_compare_fn compare) {
    void *const found =
        core::hash_find_or_insert<links>(bucket_of_key(table, elem), elem, matches(elem, compare));
    return found != nullptr ? found : elem;
}

void *qvds_hash2_extract(qvds_hash *table, const void *key, qvds_compare_fn compare) {
    return core::hash_extract<links>(bucket_of_key(table, key), matches(key, compare));
}

void *qvds_hash2_unlink(qvds_hash * /*table*/, void *elem) {
    core::hash2_unlink(elem);
    return elem;
}

int qvds_hash2_unroll(qvds_hash *table, qvds_visit_fn visit, void *ctx) {
    return core::hash_unroll<links>(table, [=](void *elem) { return visit(elem, ctx); });
}

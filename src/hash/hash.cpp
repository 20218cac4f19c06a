#include <qvds/core/hash.hpp>
#include <qvds/hash.h>

#include "callbacks.hpp"

using namespace qvds;
using links = core::hash_links;

void qvds_hash_init(qvds_hash *table, void **buckets, qvds_hash_fn hash, size_t size) {
    *table = {buckets, hash, size};
}

void *qvds_hash_store(qvds_hash *table, void *elem) {
    core::hash_store<links>(bucket_of_key(table, elem), elem);
    return elem;
}

void *qvds_hash_storereplace(qvds_hash *table, void *elem, qvds_compare_fn compare) {
    void *const replaced = core::hash_store_or_replace<links>(bucket_of_key(table, elem), elem,
                                                              matches(elem, compare));
    return replaced != nullptr ? replaced : elem;
}

void *qvds_hash_searchinsert(qvds_hash *table, void *elem, qvds_compare_fn compare) {
    void *const found =
        core::hash_find_or_insert<links>(bucket_of_key(table, elem), elem, matches(elem, compare));
    return found != nullptr ? found : elem;
}

void *qvds_hash_extract(qvds_hash *table, const void *key, qvds_compare_fn compare) {
    return core::hash_extract<links>(bucket_of_key(table, key), matches(key, compare));
}

void *qvds_hash_retrieve(const qvds_hash *table, const void *key, qvds_compare_fn compare) {
    return core::find_place(bucket_of_key(table, key), matches(key, compare)).elem;
}

int qvds_hash_enum(const qvds_hash *table, qvds_visit_fn visit, void *ctx) {
    for (size_t i = 0; i != table->size; ++i) {
        const void *const bucket = &table->buckets[i];
        if (core::next_of(bucket) == nullptr)
            continue;
        if (const int result = qvds_node_enum(bucket, visit, ctx))
            return result;
    }
    return 0;
}

int qvds_hash_chain_enum(const qvds_hash *table, qvds_visit_fn visit, void *ctx) {
    for (size_t i = 0; i != table->size; ++i) {
        void *const bucket = &table->buckets[i];
        if (const int32_t result = visit(core::next_of(bucket), ctx))
            return result;
    }
    return 0;
}

int qvds_hash_unroll(qvds_hash *table, qvds_visit_fn visit, void *ctx) {
    return core::hash_unroll<links>(table, [=](void *elem) { return visit(elem, ctx); });
}

#include <qvds/hash.h>

#include "bucket.hpp"

using namespace qvds;
using namespace qvds::core;

namespace {

void take_first(void *bucket, void *first) {
    next_of(bucket) = next_of(first);
}

} // namespace

void qvds_hash_init(qvds_hash *table, void **buckets, qvds_hash_fn hash, size_t size) {
    *table = {buckets, hash, size};
}

void *qvds_hash_store(qvds_hash *table, void *elem) {
    void *const bucket = bucket_of(table, elem);
    next_of(elem) = next_of(bucket);
    next_of(bucket) = elem;
    return elem;
}

void *qvds_hash_storereplace(qvds_hash *table, void *elem, qvds_compare_fn compare) {
    const place at = find_place(bucket_of(table, elem), matches(elem, compare));
    next_of(elem) = at.elem != nullptr ? next_of(at.elem) : nullptr;
    next_of(at.predecessor) = elem;
    return at.elem != nullptr ? at.elem : elem;
}

void *qvds_hash_searchinsert(qvds_hash *table, void *elem, qvds_compare_fn compare) {
    const place at = find_place(bucket_of(table, elem), matches(elem, compare));
    if (at.elem != nullptr)
        return at.elem;
    next_of(elem) = nullptr;
    next_of(at.predecessor) = elem;
    return elem;
}

void *qvds_hash_extract(qvds_hash *table, const void *key, qvds_compare_fn compare) {
    const place at = find_place(bucket_of(table, key), matches(key, compare));
    if (at.elem != nullptr)
        next_of(at.predecessor) = next_of(at.elem);
    return at.elem;
}

void *qvds_hash_retrieve(const qvds_hash *table, const void *key, qvds_compare_fn compare) {
    return find_place(bucket_of(table, key), matches(key, compare)).elem;
}

int qvds_hash_enum(const qvds_hash *table, qvds_visit_fn visit, void *ctx) {
    for (size_t i = 0; i != table->size; ++i) {
        const void *const bucket = &table->buckets[i];
        if (next_of(bucket) == nullptr)
            continue;
        if (const int result = qvds_node_enum(bucket, visit, ctx))
            return result;
    }
    return 0;
}

int qvds_hash_chain_enum(const qvds_hash *table, qvds_visit_fn visit, void *ctx) {
    for (size_t i = 0; i != table->size; ++i) {
        if (const int32_t result = visit(next_of(&table->buckets[i]), ctx))
            return result;
    }
    return 0;
}

int qvds_hash_unroll(qvds_hash *table, qvds_visit_fn visit, void *ctx) {
    return unroll<take_first>(table, visit, ctx);
}

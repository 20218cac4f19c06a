// What the singly and the doubly chained table share: the choice of the bucket, and the emptying
// walk. A bucket slot is the predecessor of its chain's first element (chains/chain.hpp), so all
// else is a walk that starts at the slot.

#ifndef QVDS_SRC_HASH_BUCKET_HPP
#define QVDS_SRC_HASH_BUCKET_HPP

#include <qvds/hash.h>

#include <qvds/core/chain.hpp>

#include "../chains/callbacks.hpp"

namespace qvds {

// The slot of key's chain: hash modulo size. A remainder by a power of two is a mask; to test for
// one costs less than the division that it saves.
[[gnu::visibility("hidden")]] inline void *bucket_of(const qvds_hash *table, const void *key) {
    const size_t hash = table->hash(key);
    const size_t size = table->size;
    const bool power_of_two = (size & (size - 1)) == 0;
    return &table->buckets[power_of_two ? hash & (size - 1) : hash % size];
}

// Empties the table, first chain first. take_first unlinks the first element of a chain and leaves
// the rest of the table sound before visit, which may do as it likes with the table, is called; so
// the slot is read afresh each time.
template <void take_first(void *bucket, void *first)>
[[gnu::visibility("hidden")]] inline int unroll(const qvds_hash *table, qvds_visit_fn visit,
                                                void *ctx) {
    for (size_t i = 0; i != table->size; ++i) {
        void *const bucket = &table->buckets[i];
        while (void *const first = core::next_of(bucket)) {
            take_first(bucket, first);
            if (const int32_t result = visit(first, ctx))
                return result;
        }
    }
    return 0;
}

} // namespace qvds

#endif

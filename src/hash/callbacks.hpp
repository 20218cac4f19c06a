// What the exports hand to the core: the slot that the table's hash callback gives, and, from the
// chains, the compare callback with its first argument bound.

#ifndef QVDS_SRC_HASH_CALLBACKS_HPP
#define QVDS_SRC_HASH_CALLBACKS_HPP

#include <qvds/core/hash.hpp>

#include "../chains/callbacks.hpp"

namespace qvds {

QVDS_HIDDEN inline void *bucket_of_key(const qvds_hash *table, const void *key) {
    return core::bucket_of(table, table->hash(key));
}

} // namespace qvds

#endif

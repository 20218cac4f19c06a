// What the keyed hash shares with the key functions, and its dumps, which the shared object keeps
// to itself.

#ifndef QVDS_SRC_OWNING_KEYED_HASH_INTERNAL_HPP
#define QVDS_SRC_OWNING_KEYED_HASH_INTERNAL_HPP

#include <qvds/keyed_hash.h>

namespace qvds {

// The slot that hash_mult_func gives. The product stays below 2^31 in size, so that truncating it
// to 32 bits keeps its whole part, and subtracting the whole part is exact: this is what modf
// gives, without the call. Where modf gives -0.0 and the subtraction 0.0, the slot is 0 either way.
[[gnu::visibility("hidden")]] inline int32_t mult_slot(int32_t key, int32_t size) {
    const double product = key * 0.6180339887;
    const double fraction = product - static_cast<int32_t>(product);
    const auto slot = static_cast<int32_t>(size * fraction);
    return slot >= 0 && slot < size ? slot : -1;
}

// Prints the table and its buckets to stderr, for use in a debugger; all: the empty ones too. Not
// while a bucket holds deleted links: their entries are released.
[[gnu::visibility("hidden")]] void hash_dump(const hashlist *table, int all);

// Prints the entry that hook is. Reads its key only where hash_func says what the key is. Both are
// untyped so that list_dump can call it.
[[gnu::visibility("hidden")]] void hash_dump_entry(const void *hook, const void *hash_func);

} // namespace qvds

#endif

// Whether a table keeps the invariants of hash.h and hash2.h.

#ifndef QVDS_TESTS_CHECK_HASH_HPP
#define QVDS_TESTS_CHECK_HASH_HPP

#include <qvds/hash.h>

#include "fault.hpp"

namespace qvds {

template <bool doubly>
fault check_table(const qvds_hash &table) {
    using word [[gnu::may_alias]] = void *;
    for (size_t i = 0; i != table.size; ++i) {
        const word *link = &table.buckets[i];
        // An element that the walk has passed, further and further on: a chain that comes round
        // comes by it.
        const void *passed = nullptr;
        for (size_t steps = 1; void *const elem = *link; ++steps) {
            if (elem == passed)
                return {1, elem}; // comes round
            if ((steps & (steps - 1)) == 0)
                passed = elem;
            if (table.hash(elem) % table.size != i)
                return {2, elem};
            word *const words = static_cast<word *>(elem); // next and prev
            if (doubly && words[1] != link)
                return {3, elem};
            link = words;
        }
    }
    return sound;
}

// Checks I1 and I2. A hash call for each element; bounded also where a chain is a cycle.
inline fault check_hash(const qvds_hash &table) {
    return check_table<false>(table);
}

// Checks I1, I2 and I3 in the same way.
inline fault check_hash2(const qvds_hash &table) {
    return check_table<true>(table);
}

} // namespace qvds

#endif

// Whether a ring keeps the invariants of qvcq.h.

#ifndef QVDS_TESTS_CHECK_QVCQ_HPP
#define QVDS_TESTS_CHECK_QVCQ_HPP

#include <qvds/qvcq.h>

#include "fault.hpp"

namespace qvds {

// Checks I1, I2 and I3. Linear in the number of blocks.
inline fault check_qvcq(const qvcq &ring) {
    const int64_t blocks = ring.blocks, head = ring.head, tail = ring.tail;
    if (head < 0 || head >= blocks || tail < 0 || tail >= blocks)
        return {1, &ring};
    if (ring.size != (head - tail + blocks) % blocks)
        return {2, &ring};
    const char *block = static_cast<const char *>(ring.storage);
    for (int64_t i = 0; i != blocks; ++i, block += ring.block_size)
        if (ring.entries[i].data != block)
            return {3, &ring.entries[i]};
    return sound;
}

} // namespace qvds

#endif

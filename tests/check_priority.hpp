// Validity predicates of heap and calendar queue. Each returns the first invariant that it finds
// broken, or `sound`.

#ifndef QVDS_TESTS_CHECK_PRIORITY_HPP
#define QVDS_TESTS_CHECK_PRIORITY_HPP

#include <qvds/cq.h>
#include <qvds/heap.h>

#include "fault.hpp"

namespace qvds {

// Calls the heap's own compare, once for each item but the first.
inline fault check_heap(const qvds_heap &heap) {
    if (heap.count > heap.capacity)
        return {1, nullptr};
    for (size_t k = 2; k <= heap.count; ++k)
        if (heap.compare(heap.slots[k / 2], heap.slots[k]) < 0)
            return {2, heap.slots[k]};
    return sound;
}

// Comes to an end whatever the links say, as long as they name entries: a walk whose back links
// agree can't come round, because the first entry has none and every other has one predecessor.
inline fault check_cq(const qvds_cq &cq) {
    uint32_t count = 0;
    for (uint32_t day = 0; day < cq.size; ++day) {
        const qvds_cq_entry *before = nullptr;
        for (const qvds_cq_entry *entry = cq.buckets[day]; entry != nullptr; entry = entry->next) {
            if (entry->prev != before)
                return {2, before != nullptr ? before : entry};
            if (entry->expires / cq.width % cq.size != day)
                return {1, entry};
            before = entry;
            ++count;
        }
    }
    return count == cq.count ? sound : fault{3, nullptr};
}

} // namespace qvds

#endif

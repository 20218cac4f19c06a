// The checkers of check.hpp, on C records. Each returns the first invariant that it finds broken and
// the link at which it is, and comes to an end whatever the links say, as long as they name
// elements.

#ifndef QVDS_CORE_CHECK_HPP
#define QVDS_CORE_CHECK_HPP

#include <qvds/core/chain.hpp>
#include <qvds/cq.h>
#include <qvds/heap.h>
#include <qvds/lifo.h>

namespace qvds {

/// What a check finds: false if all invariants hold.
struct fault {
    int invariant = 0;             ///< its number in the family's C header, 0 if all hold
    const void *element = nullptr; ///< where it is broken; null for the record itself
    const char *text = "";         ///< the invariant

    explicit operator bool() const noexcept { return invariant != 0; }
    /// The same invariant, broken at the same element.
    friend bool operator==(const fault &a, const fault &b) noexcept {
        return a.invariant == b.invariant && a.element == b.element;
    }
};

namespace core {

// Tells when a walk along single links has come round. It remembers one element, and a later one
// after each 1, 2, 4, ... steps: as soon as that lies on the ring, and the ring is no longer than
// the steps to come, the walk meets it again.
class lap {
  public:
    bool closes(const void *elem) noexcept {
        if (elem == mark_)
            return true;
        if (--left_ == 0) {
            mark_ = elem;
            left_ = length_ *= 2;
        }
        return false;
    }

  private:
    const void *mark_ = nullptr;
    size_t length_ = 1, left_ = 1;
};

QVDS_HIDDEN inline fault check_lifo(const qvds_lifo &lifo) noexcept {
    lap lap;
    for (const void *elem = top_of(&lifo); elem != nullptr; elem = next_of(elem))
        if (lap.closes(elem))
            return {1, elem, "following next from top reaches every element once"};
    return {};
}

QVDS_HIDDEN inline fault check_fifo(const qvds_list &fifo) noexcept {
    const void *const bottom = bottom_of(&fifo);
    if ((top_of(&fifo) == nullptr) != (bottom == nullptr))
        return {1, nullptr, "top and bottom are both null exactly when the queue is empty"};
    lap lap;
    const void *last = nullptr;
    for (const void *elem = top_of(&fifo); elem != nullptr && last != bottom;) {
        if (lap.closes(elem))
            return {2, elem, "following next from top reaches every element once"};
        last = elem;
        elem = next_of(elem);
    }
    if (last != bottom || (last != nullptr && next_of(last) != nullptr))
        return {2, last, "following next from top reaches bottom, whose next is null"};
    return {};
}

// A walk whose back links agree can't come round: the first element has none, and every other has
// one predecessor.
QVDS_HIDDEN inline fault check_fifo2(const qvds_list &fifo) noexcept {
    const void *const top = top_of(&fifo);
    const void *const bottom = bottom_of(&fifo);
    if ((top == nullptr) != (bottom == nullptr))
        return {1, nullptr, "top and bottom are both null exactly when the queue is empty"};
    if (top == nullptr)
        return {};
    if (prev_of(top) != nullptr)
        return {2, top, "the prev of top is null"};
    if (next_of(bottom) != nullptr)
        return {2, bottom, "the next of bottom is null"};
    for (const void *elem = top; elem != bottom; elem = next_of(elem)) {
        const void *const successor = next_of(elem);
        if (successor == nullptr || prev_of(successor) != elem)
            return {3, elem, "the prev of an element's next is the element itself"};
    }
    return {};
}

// The list of an element, or of a null handle. A ring whose links agree has no first element.
QVDS_HIDDEN inline fault check_sloppy(const void *handle) noexcept {
    constexpr const char *mutual = "the prev of an element's next is the element itself";
    if (handle == nullptr)
        return {};
    for (const void *elem = handle; const void *const before = prev_of(elem); elem = before) {
        if (next_of(before) != elem)
            return {2, before, mutual};
        if (before == handle)
            return {1, handle, "the first element's prev and the last element's next are null"};
    }
    for (const void *elem = handle; const void *const behind = next_of(elem); elem = behind)
        if (prev_of(behind) != elem)
            return {2, elem, mutual};
    return {};
}

// ranks_below(a, b) is asked once for each item but the first.
template <class RanksBelow>
QVDS_HIDDEN inline fault check_heap(const qvds_heap &heap, RanksBelow &&ranks_below) {
    if (heap.count > heap.capacity)
        return {1, nullptr, "count items stand in slots 1 to count"};
    for (size_t k = 2; k <= heap.count; ++k)
        if (ranks_below(heap.slots[k / 2], heap.slots[k]))
            return {2, heap.slots[k], "no item ranks above the one in slot k / 2"};
    return {};
}

// Asks the heap's own compare.
QVDS_HIDDEN inline fault check_heap(const qvds_heap &heap) {
    return check_heap(heap, [&](const void *a, const void *b) { return heap.compare(a, b) < 0; });
}

QVDS_HIDDEN inline fault check_cq(const qvds_cq &cq) noexcept {
    uint32_t count = 0;
    for (uint32_t day = 0; day < cq.size; ++day) {
        const qvds_cq_entry *before = nullptr;
        for (const qvds_cq_entry *entry = cq.buckets[day]; entry != nullptr; entry = entry->next) {
            if (entry->prev != before)
                return {2, before != nullptr ? before : entry,
                        "the prev of an entry's next is the entry itself, and the prev of a "
                        "bucket's first is null"};
            if (entry->expires / cq.width % cq.size != day)
                return {1, entry, "an entry is in the bucket that its expires names"};
            before = entry;
            ++count;
        }
    }
    if (count != cq.count)
        return {3, nullptr, "count is the number of entries in all buckets"};
    return {};
}

} // namespace core

} // namespace qvds

#endif

// The textbook heap: which compares are made, in which order, and what stands in the slots during
// each of them. What differs from the textbook is invisible but for the time.
//
// Which of two children ranks higher is as good as random, so a branch on it is guessed wrong half
// of the time. The outcome of the compare is added to the slot number instead. Without that branch,
// though, the processor can't guess its way ahead to the next level and waits for the items of
// each: beyond the caches that costs more than the wrong guesses did. So a large heap fetches the
// items of two levels down while the children are compared.
//
// What the heap must know of its items, each function is handed as `items`:
//     items.ranks_below(a, b)      whether item a ranks below item b; may throw
//     items.fetch(item)            starts to fetch what ranks_below will read of an item
//     items.exchange(slots, j, k)  exchanges the contents of two slots, which may be the same
// and as the class Items::moving, which stands for an item on its way up or down:
//     moving at(items, slots, k, item)   it is in slot k, or shall be
//     at.item(), at.k                    the item, and the slot that it has come to
//     at.trade_with(j)                   the item in slot j takes its place, and it goes to slot j
//
// C has the moving item in a slot at every compare: swap may want to see each exchange, and compare
// may leave by longjmp without losing an item. The typed classes leave a hole, which saves a store
// or two at each level, and fill it when `at` is destroyed, also on the way of an exception.

#ifndef QVDS_CORE_HEAP_HPP
#define QVDS_CORE_HEAP_HPP

#include <qvds/heap.h>

namespace qvds::core {

// The items of a heap smaller than this stay in the caches by themselves.
inline constexpr uint32_t first_cold_count = 4096;

// Starts to fetch the items of the four grandchildren of slot k, which lie side by side. To know
// them takes their slots, so those of the sixteen below the grandchildren are fetched as well, for
// the same step two levels on. Always inlined: g++ takes a function that only fetches for one
// without effect, and drops the call.
template <class Items>
[[gnu::always_inline]] QVDS_HIDDEN inline void heap_fetch_ahead(void *const *slots, uint32_t k,
                                                                uint32_t n, const Items &items) {
    const size_t grandchildren = size_t{k} * 4;
    if (grandchildren + 3 > n)
        return;
    items.fetch(slots[grandchildren]);
    items.fetch(slots[grandchildren + 1]);
    items.fetch(slots[grandchildren + 2]);
    items.fetch(slots[grandchildren + 3]);
    const size_t below = grandchildren * 4;
    if (below + 15 > n)
        return;
    __builtin_prefetch(&slots[below]);
    __builtin_prefetch(&slots[below + 8]);
}

// Lifts an item for as long as its parent ranks below it.
template <class Items>
QVDS_HIDDEN inline void heap_lift(typename Items::moving &at, void *const *slots,
                                  const Items &items) {
    while (at.k > 1) {
        const uint32_t p = at.k / 2;
        if (!items.ranks_below(slots[p], at.item()))
            return;
        at.trade_with(p);
    }
}

// Sinks an item for as long as it ranks below the higher of its children, with n as the last slot
// in play.
template <class Items>
QVDS_HIDDEN inline void heap_sink(typename Items::moving &at, void *const *slots, uint32_t n,
                                  const Items &items) {
    void *const item = at.item();
    for (uint32_t c = 2 * at.k; c <= n; c = 2 * at.k) {
        if (n >= first_cold_count)
            heap_fetch_ahead(slots, at.k, n, items);
        if (c < n)
            c += static_cast<uint32_t>(items.ranks_below(slots[c], slots[c + 1]));
        if (!items.ranks_below(item, slots[c]))
            return;
        at.trade_with(c);
    }
}

template <class Items>
QVDS_HIDDEN inline void heap_fix_up(const qvds_heap *heap, uint32_t k, const Items &items) {
    if (k <= 1)
        return; // and no slot is looked at
    void **const slots = heap->slots;
    typename Items::moving at(items, slots, k, slots[k]);
    heap_lift(at, slots, items);
}

template <class Items>
QVDS_HIDDEN inline void heap_fix_down(const qvds_heap *heap, uint32_t k, uint32_t n,
                                      const Items &items) {
    if (2 * k > n)
        return; // and slot k, which need not even exist, is not looked at
    void **const slots = heap->slots;
    typename Items::moving at(items, slots, k, slots[k]);
    heap_sink(at, slots, n, items);
}

// Finds the place of an item that comes to stand in slot k, and may rank higher or lower than what
// was there.
template <class Items>
QVDS_HIDDEN inline void heap_settle(const qvds_heap *heap, uint32_t k, void *item,
                                    const Items &items) {
    void **const slots = heap->slots;
    typename Items::moving at(items, slots, k, item);
    heap_lift(at, slots, items);
    if (at.k == k)
        heap_sink(at, slots, heap->count, items);
}

// Makes a heap of items that stand in any order.
template <class Items>
QVDS_HIDDEN inline void heap_build(const qvds_heap *heap, const Items &items) {
    for (uint32_t k = heap->count / 2; k > 0; --k)
        heap_fix_down(heap, k, heap->count, items);
}

template <class Items>
QVDS_HIDDEN inline void heap_insert(qvds_heap *heap, void *item, const Items &items) {
    const uint32_t last = ++heap->count;
    void **const slots = heap->slots;
    slots[last] = item;
    typename Items::moving at(items, slots, last, item);
    heap_lift(at, slots, items);
}

// The item is counted until it can be returned: were it not, and the comparison threw, the caller
// would never learn of it.
template <class Items>
QVDS_HIDDEN inline void *heap_remove_top(qvds_heap *heap, const Items &items) {
    const uint32_t last = heap->count;
    items.exchange(heap->slots, 1, last);
    heap_fix_down(heap, 1, last - 1, items);
    heap->count = last - 1;
    return heap->slots[last];
}

// Takes out the item in slot k, which the caller knows: so it is out whatever the comparison does.
template <class Items>
QVDS_HIDDEN inline void heap_erase(qvds_heap *heap, uint32_t k, const Items &items) {
    const uint32_t last = heap->count--;
    if (k != last)
        heap_settle(heap, k, heap->slots[last], items);
}

} // namespace qvds::core

#endif

// The textbook heap: which compares are made, in which order, and what stands in the slots during
// each of them. What differs from the textbook is invisible but for the time.
//
// Which of two children ranks higher is as good as random, so a branch on it is guessed wrong half
// of the time. The sign of the compare is added to the slot number instead. Without that branch,
// though, the processor can't guess its way ahead to the next level and waits for the items of
// each: beyond the caches that costs more than the wrong guesses did. So a large heap fetches the
// items of two levels down while the children are compared.
//
// Left out on purpose: to move a hole down or up and store the item once, at its end. It saves one
// store at each level, which is next to nothing, but the item would be in no slot meanwhile, and a
// compare callback that throws would lose it.

#include <qvds/heap.h>

namespace {

// The items of a heap smaller than this stay in the caches by themselves.
constexpr uint32_t first_cold_count = 4096;

// Starts to fetch the items of the four grandchildren of slot k, which lie side by side. To know
// them takes their slots, so those of the sixteen below the grandchildren are fetched as well, for
// the same step two levels on. Always inlined: g++ takes a function that only fetches for one
// without effect, and drops the call.
[[gnu::always_inline]] inline void fetch_ahead(void *const *slots, uint32_t k, uint32_t n) {
    const size_t grandchildren = size_t{k} * 4;
    if (grandchildren + 3 > n)
        return;
    for (size_t i = 0; i < 4; ++i)
        __builtin_prefetch(slots[grandchildren + i]);
    const size_t below = grandchildren * 4;
    if (below + 15 > n)
        return;
    __builtin_prefetch(&slots[below]);
    __builtin_prefetch(&slots[below + 8]);
}

// Exchanges the contents of two slots.
void exchange(const qvds_heap *heap, void **a, void **b) {
    if (heap->swap != nullptr) {
        heap->swap(a, b);
    } else {
        void *const item = *a;
        *a = *b;
        *b = item;
    }
}

} // namespace

void qvds_heap_init(qvds_heap *heap, void **slots, qvds_compare_fn compare, qvds_heap_swap_fn swap,
                    uint32_t capacity) {
    heap->slots = slots;
    heap->count = 0;
    heap->capacity = capacity;
    heap->compare = compare;
    heap->swap = swap;
}

int qvds_heap_empty(const qvds_heap *heap) {
    return heap->count == 0 ? 1 : 0;
}

int qvds_heap_full(const qvds_heap *heap) {
    return heap->count == heap->capacity ? 1 : 0;
}

void qvds_heap_fix_up(qvds_heap *heap, uint32_t k) {
    void **const slots = heap->slots;
    while (k > 1) {
        const uint32_t p = k / 2;
        if (heap->compare(slots[p], slots[k]) >= 0)
            return;
        exchange(heap, &slots[k], &slots[p]);
        k = p;
    }
}

void qvds_heap_fix_down(qvds_heap *heap, uint32_t k, uint32_t n) {
    uint32_t c = 2 * k;
    if (c > n)
        return; // and slot k, which need not even exist, is not looked at
    void **const slots = heap->slots;
    const qvds_compare_fn compare = heap->compare;
    void *const item = slots[k];
    // Slot k holds item, and c is its left child.
    for (; c <= n; c = 2 * k) {
        if (n >= first_cold_count)
            fetch_ahead(slots, k, n);
        if (c < n)
            c += static_cast<uint32_t>(compare(slots[c], slots[c + 1]) < 0);
        if (compare(item, slots[c]) >= 0)
            return;
        exchange(heap, &slots[k], &slots[c]);
        k = c;
    }
}

int qvds_heap_insert(qvds_heap *heap, void *item) {
    const uint32_t last = ++heap->count;
    heap->slots[last] = item;
    qvds_heap_fix_up(heap, last);
    return 0;
}

void *qvds_heap_find_top(const qvds_heap *heap) {
    return heap->slots[1];
}

void *qvds_heap_remove_top(qvds_heap *heap) {
    const uint32_t last = heap->count;
    exchange(heap, &heap->slots[1], &heap->slots[last]);
    qvds_heap_fix_down(heap, 1, last - 1);
    heap->count = last - 1;
    return heap->slots[last];
}

#include <qvds/core/heap.hpp>
#include <qvds/heap.h>

using namespace qvds;

namespace {

// What the core must know of the items, by the heap's own callbacks.
struct callbacks {
    const qvds_heap *heap;

    bool ranks_below(const void *a, const void *b) const { return heap->compare(a, b) < 0; }
    static void fetch(const void *item) { __builtin_prefetch(item); }
    void exchange(void **slots, uint32_t j, uint32_t k) const {
        if (heap->swap != nullptr) {
            heap->swap(&slots[j], &slots[k]);
        } else {
            void *const item = slots[j];
            slots[j] = slots[k];
            slots[k] = item;
        }
    }

    struct moving {
        const callbacks &items;
        void **slots;
        uint32_t k;

        moving(const callbacks &its_items, void **its_slots, uint32_t its_k, void * /*item*/)
            : items(its_items), slots(its_slots), k(its_k) {}
        void *item() const { return slots[k]; }
        void trade_with(uint32_t j) {
            items.exchange(slots, k, j);
            k = j;
        }
    };
};

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
    core::heap_fix_up(heap, k, callbacks{heap});
}

void qvds_heap_fix_down(qvds_heap *heap, uint32_t k, uint32_t n) {
    core::heap_fix_down(heap, k, n, callbacks{heap});
}

int qvds_heap_insert(qvds_heap *heap, void *item) {
    core::heap_insert(heap, item, callbacks{heap});
    return 0;
}

void *qvds_heap_find_top(const qvds_heap *heap) {
    return heap->slots[1];
}

void *qvds_heap_remove_top(qvds_heap *heap) {
    return core::heap_remove_top(heap, callbacks{heap});
}

#ifndef QVDS_HEAP_H
#define QVDS_HEAP_H

/** @file
 * Binary heap of pointers, over an array that the caller supplies.
 *
 * Choose it when items must come out strictly by rank, whatever the ranks are: the next event of a
 * simulation, the best candidate of a search. Adding and taking cost a logarithm of the number of
 * items. Where the rank is a time that only moves on, and a batch at a time is order enough, the
 * calendar queue (cq.h) does both in constant time.
 *
 * The heap never allocates and never checks: the caller asks qvds_heap_full before it adds and
 * qvds_heap_empty before it takes or looks. No argument may be null unless it says so. Set-up is
 * qvds_heap_init; there is no tear-down.
 *
 *     void *slots[CAPACITY + 1];                  // slot 0 stays unused
 *     qvds_heap heap;
 *     qvds_heap_init(&heap, slots, by_rank, NULL, CAPACITY);
 *     if (!qvds_heap_full(&heap))
 *         qvds_heap_insert(&heap, job);
 *
 * An item whose rank changes where it stands, or that must leave early, is reached through its
 * slot. The slot is known if the item records it and a swap callback keeps the record right:
 *
 *     struct job { uint32_t slot; int rank; };
 *
 *     static void swap_jobs(void **a, void **b) {
 *         struct job *const job = *a, *const other = *b;
 *         ptrdiff_t const distance = b - a;       // a and b may be the same slot
 *         job->slot += (uint32_t)distance;
 *         other->slot -= (uint32_t)distance;
 *         *a = other;
 *         *b = job;
 *     }
 *
 *     job->slot = heap.count + 1;                 // a new item is stored without a swap call
 *     qvds_heap_insert(&heap, job);
 *     ...
 *     job->rank = higher;
 *     qvds_heap_fix_up(&heap, job->slot);
 *     job->rank = lower;
 *     qvds_heap_fix_down(&heap, job->slot, heap.count);
 *
 *     uint32_t const k = job->slot, last = heap.count--;      // takes job out of the middle
 *     if (k != last) {                            // the last item comes to stand in its slot
 *         struct job *const moved = heap.slots[k] = heap.slots[last];
 *         moved->slot = k;
 *         qvds_heap_fix_up(&heap, k);             // one of the two has nothing to do
 *         qvds_heap_fix_down(&heap, k, heap.count);
 *     }
 *
 * The record may be written between calls. Set `slots` when the array has been moved by realloc,
 * `capacity` when it has grown. An array that is filled already becomes a heap in linear time:
 *
 *     heap.count = n;                             // items in slots 1 to n, in any order
 *     for (uint32_t k = n / 2; k > 0; --k)
 *         qvds_heap_fix_down(&heap, k, n);
 *
 * For items that stand from index 0 on, set `slots` to the array's address minus one. (The language
 * does not define that address, and gcc warns where it sees the array; but slot 0 is never touched,
 * and on this platform it works.)
 *
 * Invariants:
 * - I1 `count` items stand in slots 1 to `count`. The children of slot k are slots 2k and 2k + 1.
 * - I2 compare(slots[k / 2], slots[k]) is not negative for every k from 2 to `count`.
 *
 * An exception or longjmp may leave compare. I1 holds then, with every item in one slot and `count`
 * as it was, but for qvds_heap_insert, whose item is in. I2 may not: the loop above restores it.
 *
 * Items of equal rank come out in no particular order; if that matters, let compare decide by a
 * serial number.
 */

#include <qvds/base.h>

QVDS_BEGIN

/**
 * Exchanges the contents of two slots, and notes what the caller wants to note about it. Every
 * exchange goes through it when it is set; only the store of a new item does not. Both arguments
 * may be the same slot. It must do nothing else to the heap.
 */
typedef void (*qvds_heap_swap_fn)(void **a, void **b);

/** The heap. */
typedef struct qvds_heap {
    void **slots;      /**< the caller's array of capacity + 1 items; slot 0 is never touched */
    uint32_t count;    /**< items in the heap */
    uint32_t capacity; /**< the most that it may hold; qvds_heap_full alone looks at it */
    qvds_compare_fn compare; /**< takes two items, negative when the first ranks below the second;
                                  must leave the heap as it is */
    qvds_heap_swap_fn swap;  /**< or null: slots are exchanged directly */
} qvds_heap;

/**
 * Sets up an empty heap.
 * @param slots    an array of capacity + 1 pointers, whose content does not matter
 * @param compare  see the record; the item that ranks highest under it is the top
 * @param swap     may be null
 * @param capacity what qvds_heap_full goes by
 */
QVDS_API void qvds_heap_init(qvds_heap *heap, void **slots, qvds_compare_fn compare,
                             qvds_heap_swap_fn swap, uint32_t capacity);

/** Returns 1 if the heap holds nothing, else 0. */
QVDS_API int qvds_heap_empty(const qvds_heap *heap);

/** Returns 1 if the heap holds as many items as it may, else 0. */
QVDS_API int qvds_heap_full(const qvds_heap *heap);

/**
 * Restores I2 after the item in slot k has come to rank higher: lifts it for as long as its parent
 * ranks below it. A k of 0 or 1 does nothing. One compare for each level, compare(parent, item).
 */
QVDS_API void qvds_heap_fix_up(qvds_heap *heap, uint32_t k);

/**
 * Restores I2 after the item in slot k has come to rank lower: sinks it for as long as it ranks
 * below the higher of its children, which is the left one on a tie.
 * @param k the slot, from 1 up
 * @param n the last slot in play, normally `count`
 *
 * Two compares for each level, compare(left, right) and compare(item, child).
 */
QVDS_API void qvds_heap_fix_down(qvds_heap *heap, uint32_t k, uint32_t n);

/** Adds item to a heap that is not full. Returns 0. One compare for each level that it rises. */
QVDS_API int qvds_heap_insert(qvds_heap *heap, void *item);

/** Returns the item that ranks highest in a heap that is not empty, and leaves it there. */
QVDS_API void *qvds_heap_find_top(const qvds_heap *heap);

/**
 * Takes the item that ranks highest out of a heap that is not empty, and returns it. It is
 * exchanged with the last item, which then sinks; the slot that it leaves is not cleared. Two
 * compares for each level.
 */
QVDS_API void *qvds_heap_remove_top(qvds_heap *heap);

QVDS_END

#endif

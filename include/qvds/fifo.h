#ifndef QVDS_FIFO_H
#define QVDS_FIFO_H

/** @file
 * Queue: a singly linked chain that knows both its ends.
 *
 * Choose it for first-in-first-out work and for chains that are joined: adding at either end,
 * taking from the front and concatenation take constant time, with one link word in the element.
 * Whatever needs a predecessor walks from the front; where elements leave at the back or from the
 * middle, take fifo2.h.
 *
 * The header is a qvds_list, an element any record whose first word is its `next` link (node.h).
 * Walk a queue with qvds_node_find, qvds_node_enum and the cursor. Header and elements are the
 * caller's; nothing allocates; there is no tear-down. No argument may be null unless it says so.
 *
 * Invariants:
 * - I1 `top` and `bottom` are both null exactly when the queue is empty.
 * - I2 Otherwise following `next` from `top` reaches `bottom`, whose `next` is null.
 */

#include <qvds/node.h>

QVDS_BEGIN

/** Makes the queue empty. Returns 0. Serves the doubly linked queue (fifo2.h) as well. */
QVDS_API int qvds_fifo_init(qvds_list *fifo);

/** Adds elem at the back. Returns elem. Constant time. */
QVDS_API void *qvds_fifo_append(qvds_list *fifo, void *elem);

/** Adds elem at the front. Returns elem. Constant time. */
QVDS_API void *qvds_fifo_push(qvds_list *fifo, void *elem);

/**
 * Adds elem directly behind after, which is in the queue; at the front if after is null or the
 * queue empty. Returns elem. Constant time.
 */
QVDS_API void *qvds_fifo_insert(qvds_list *fifo, void *after, void *elem);

/**
 * Adds elem before the first element for which compare(elem, element) is zero or less, and at the
 * back if there is none. In a queue that was filled this way alone, elements stand in ascending
 * order, and of equal ones the newest comes first. Returns elem. Linear; compare must leave the
 * queue alone.
 */
QVDS_API void *qvds_fifo_insert_sorted(qvds_list *fifo, void *elem, qvds_compare_fn compare);

/** Takes the front element out and returns it, its `next` as it was, or null. Constant time. */
QVDS_API void *qvds_fifo_pop(qvds_list *fifo);

/**
 * Unlinks the first element for which compare(key, element) is zero.
 * @return the element, its `next` as it was, or null if none matches
 *
 * Linear; compare must leave the queue alone.
 */
QVDS_API void *qvds_fifo_extract(qvds_list *fifo, const void *key, qvds_compare_fn compare);

/**
 * Moves all of src behind dest. src, which must be another header, ends empty.
 * @return dest
 *
 * Constant time.
 */
QVDS_API qvds_list *qvds_fifo_concat(qvds_list *dest, qvds_list *src);

/**
 * Cuts the queue before elem: elem and all behind it move to out.
 * @param out another header; what it held is overwritten
 * @return out, or null if elem is not in the queue, with both headers as they were
 *
 * Walks to elem.
 */
QVDS_API qvds_list *qvds_fifo_cut(qvds_list *fifo, qvds_list *out, void *elem);

QVDS_END

#endif

#ifndef QVDS_FIFO2_H
#define QVDS_FIFO2_H

/** @file
 * Doubly linked queue: the twin of fifo.h for records that carry both link words.
 *
 * Choose it when elements leave at the back, or from the middle by their address: a least-recently
 * used order, a run queue with cancellation. The second link word buys constant time for removing
 * at the back, cutting at a known element and unlinking a known element; only searches and sorted
 * insertion walk. Where elements leave at the front alone, fifo.h does with one word.
 *
 * The header is a qvds_list, set up with qvds_fifo_init (fifo.h); an element begins with a
 * qvds_node. Walk a queue in either direction with the operations of node.h. Header and elements
 * are the caller's; nothing allocates; there is no tear-down. No argument may be null unless it
 * says so.
 *
 * Invariants:
 * - I1 `top` and `bottom` are both null exactly when the queue is empty.
 * - I2 The `prev` of `top` and the `next` of `bottom` are null.
 * - I3 For every other element, the `prev` of its `next` is the element itself.
 */

#include <qvds/node.h>

QVDS_BEGIN

/** Adds elem at the back. Returns elem. Constant time. */
QVDS_API void *qvds_fifo2_append(qvds_list *fifo, void *elem);

/** Adds elem at the front. Returns elem. Constant time. */
QVDS_API void *qvds_fifo2_push(qvds_list *fifo, void *elem);

/**
 * Adds elem directly behind after, which is in the queue; at the front if after is null or the
 * queue empty. Returns elem. Constant time.
 */
QVDS_API void *qvds_fifo2_insert(qvds_list *fifo, void *after, void *elem);

/**
 * Adds elem before the first element for which compare(elem, element) is zero or less, and at the
 * back if there is none. In a queue that was filled this way alone, elements stand in ascending
 * order, and of equal ones the newest comes first. Returns elem. Linear; compare must leave the
 * queue alone.
 */
QVDS_API void *qvds_fifo2_insert_sorted(qvds_list *fifo, void *elem, qvds_compare_fn compare);

/** Takes the front element out and returns it, its own links as they were, or null. Constant time.
 */
QVDS_API void *qvds_fifo2_pop(qvds_list *fifo);

/** Takes the back element out and returns it, its own links as they were, or null. Constant time.
 */
QVDS_API void *qvds_fifo2_pop_tail(qvds_list *fifo);

/**
 * Unlinks the first element, from the front, for which compare(key, element) is zero.
 * @return the element, its own links as they were, or null if none matches
 *
 * Linear; compare must leave the queue alone.
 */
QVDS_API void *qvds_fifo2_extract(qvds_list *fifo, const void *key, qvds_compare_fn compare);

/** Unlinks elem, which is in the queue, and leaves its own links. Returns elem. Constant time. */
QVDS_API void *qvds_fifo2_extract_existing(qvds_list *fifo, void *elem);

/**
 * Moves all of src behind dest. src, which must be another header, ends empty.
 * @return dest
 *
 * Constant time.
 */
QVDS_API qvds_list *qvds_fifo2_concat(qvds_list *dest, qvds_list *src);

/**
 * Cuts the queue before elem, which is in it: elem and all behind it move to out.
 * @param out another header; what it held is overwritten
 * @return out
 *
 * Constant time: elem is not looked for, so there is no not-found result as in qvds_fifo_cut.
 */
QVDS_API qvds_list *qvds_fifo2_cut(qvds_list *fifo, qvds_list *out, void *elem);

QVDS_END

#endif

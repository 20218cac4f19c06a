#ifndef QVDS_LIFO_H
#define QVDS_LIFO_H

/** @file
 * Stack: a singly linked chain with a header of one word.
 *
 * Choose it for free lists and last-in-first-out work: it is the smallest header and the cheapest
 * push and pop. Anything at the far end is a walk; where elements are added at the back or chains
 * are joined often, take fifo.h.
 *
 * An element is any record whose first word is its `next` link (node.h). Walk a stack with
 * qvds_node_find, qvds_node_enum and the cursor. Header and elements are the caller's; nothing
 * allocates; there is no tear-down. No argument may be null unless it says so.
 *
 * Invariant:
 * - I1 Following `next` from `top` reaches every element once and ends at null.
 */

#include <qvds/base.h>

QVDS_BEGIN

/** Header of a stack: the first word of a qvds_list and nothing more. */
typedef struct qvds_lifo {
    void *top; /**< the element that pop returns, null when the stack is empty */
} qvds_lifo;

/** Makes the stack empty. Returns 0. */
QVDS_API int qvds_lifo_init(qvds_lifo *lifo);

/** Puts elem on top. Returns elem. Constant time. */
QVDS_API void *qvds_lifo_push(qvds_lifo *lifo, void *elem);

/**
 * Puts elem before the first element for which compare(elem, element) is zero or less, and last if
 * there is none. On a stack that was filled this way alone, elements stand in ascending order, and
 * of equal ones the newest comes first. Returns elem. Linear; compare must leave the chain alone.
 */
QVDS_API void *qvds_lifo_insert_sorted(qvds_lifo *lifo, void *elem, qvds_compare_fn compare);

/** Takes the top element off and returns it, its `next` as it was, or null. Constant time. */
QVDS_API void *qvds_lifo_pop(qvds_lifo *lifo);

/**
 * Unlinks the first element for which compare(key, element) is zero.
 * @return the element, its `next` as it was, or null if none matches
 *
 * Linear; compare must leave the chain alone.
 */
QVDS_API void *qvds_lifo_extract(qvds_lifo *lifo, const void *key, qvds_compare_fn compare);

/**
 * Moves all of src to the far end of dest. src, which must be another header, ends empty.
 * @return dest
 *
 * Walks to the end of dest.
 */
QVDS_API qvds_lifo *qvds_lifo_concat(qvds_lifo *dest, qvds_lifo *src);

/**
 * Cuts the chain before elem: elem and all behind it move to out.
 * @param out  another header; what it held is overwritten
 * @param elem may be null: then nothing moves, and out becomes empty
 * @return out, or null if elem is not in the chain, with both headers as they were
 *
 * Walks to elem.
 */
QVDS_API qvds_lifo *qvds_lifo_cut(qvds_lifo *lifo, qvds_lifo *out, void *elem);

QVDS_END

#endif

#ifndef QVDS_NODE_H
#define QVDS_NODE_H

/** @file
 * Chain records and walking: the two records that all qvds_ chain families share, and the
 * operations that do not care which family built the chain.
 *
 * The records of a chain are the caller's, and the caller's record begins with its link:
 *
 *     struct job {
 *         qvds_node node;     // or just `struct job *next;` where one link word is enough
 *         int priority;
 *     };
 *
 * An element is passed and returned as `void *`, so no call needs a cast. It must outlive its
 * membership of the chain, and it can be on one chain at a time for each link that it carries.
 * For a chain through a link that is not the first member, that member is the element: its address
 * is what calls and callbacks take and give, and the way back to the record is the caller's.
 *
 *     struct job {
 *         qvds_node in_queue;         // first: in the queue the element is the job itself
 *         qvds_node in_table;
 *         int priority;
 *     };
 *
 *     static struct job *job_in_table(const void *link) {
 *         return (struct job *)((char *)link - offsetof(struct job, in_table));
 *     }
 *
 *     void *link = qvds_hash_retrieve(&table, &wanted.in_table, compare_links);
 *     struct job *job = link != NULL ? job_in_table(link) : NULL;     // null has no way back
 *
 * Nothing here allocates, and nothing here needs a header of its own family: choose the container
 * in lifo.h, fifo.h, fifo2.h or sloppy.h, and walk it with these. No argument may be null unless it
 * says so.
 *
 * Invariants:
 * - I1 The first word of a header holds the first element, the first word of an element the
 *   following one, and the first word of the last element is null.
 * - I2 Where a family keeps the second word, that of a header holds the last element, that of an
 *   element the preceding one, and that of the first element is null.
 *
 * Because of I1 a header can stand wherever an element can stand as predecessor.
 */

#include <qvds/base.h>

QVDS_BEGIN

/** Link of an element: the first member of the caller's record. */
typedef struct qvds_node {
    void *next; /**< the following element, null at the end */
    void *prev; /**< the preceding element, null at the start; singly linked families neither read
                     nor write it, so their elements need only the first word */
} qvds_node;

/** Header of a chain. */
typedef struct qvds_list {
    void *top;    /**< the first element, null when the chain is empty */
    void *bottom; /**< the last element, null when the chain is empty; families that keep no tail
                       leave it alone */
} qvds_list;

/** Cursor: the element that qvds_node_iter_next hands out next. The caller's variable. */
typedef struct qvds_node_iter {
    void *next; /**< the element handed out next, null at the end */
} qvds_node_iter;

/**
 * Clears both words of a header or of an element.
 * @param list a qvds_list or a qvds_node, or anything that starts with one
 * @return 0
 */
QVDS_API int qvds_list_init(void *list);

/** Returns the first element, or null. One load. */
QVDS_API void *qvds_list_top(const qvds_list *list);

/** Returns the last element of a chain that keeps its tail, or null. One load. */
QVDS_API void *qvds_list_bottom(const qvds_list *list);

/**
 * Finds the first element for which compare(key, element) is zero.
 * @param list any header: only its first word is read, so a qvds_lifo or a lone pointer will do
 * @param key  handed to compare as it is
 * @return the element, or null if none matches
 *
 * Linear. compare must leave the chain as it is: the link is read after it returns.
 */
QVDS_API void *qvds_node_find(const void *list, const void *key, qvds_compare_fn compare);

/**
 * Calls visit(element, ctx) on each element from the first to the last.
 * @param list as for qvds_node_find
 * @return the first non-zero result of visit, which ends the walk, or 0
 *
 * The successor is read before the call, so visit may unlink, release or requeue the element it is
 * given; it must leave that successor in the chain. Linear.
 */
QVDS_API int qvds_node_enum(const void *list, qvds_visit_fn visit, void *ctx);

/**
 * Does the same from the last element to the first, reading the predecessor before the call.
 * Serves only chains that keep both link words and the tail (fifo2.h).
 */
QVDS_API int qvds_node_reverse_enum(const qvds_list *list, qvds_visit_fn visit, void *ctx);

/**
 * Sets a cursor on the first element.
 * @param list as for qvds_node_find
 * @return 0, or -1 if either argument is null
 *
 * The cursor keeps no reference to the header. The element that it stands on must stay in the
 * chain until the cursor has passed it.
 */
QVDS_API int qvds_node_iter_init(qvds_node_iter *iter, const void *list);

/** Returns the element under the cursor and moves on, or null at the end or for a null cursor. */
QVDS_API void *qvds_node_iter_next(qvds_node_iter *iter);

/**
 * Returns the element *after* the one that qvds_node_iter_next would hand out, or null if there is
 * none or the cursor is null. Nothing moves.
 */
QVDS_API void *qvds_node_iter_peek(const qvds_node_iter *iter);

QVDS_END

#endif

#ifndef QVDS_HASH2_H
#define QVDS_HASH2_H

/** @file
 * Doubly chained hash table: the twin of hash.h for records that carry both link words.
 *
 * Choose it when elements leave by their address: entries that expire, caches that evict, objects
 * that deregister themselves. qvds_hash2_unlink needs no hash call, no comparison and not even the
 * table. Where elements only leave by a search, hash.h does with one word.
 *
 * The table is the qvds_hash of hash.h, set up with qvds_hash_init; an element begins with a
 * qvds_node. Look up and visit with qvds_hash_retrieve, qvds_hash_enum and qvds_hash_chain_enum,
 * which read `next` alone; but add and remove with the operations here only, or `prev` goes stale.
 *
 * Unlike on a queue, `prev` is not the preceding element but the address of the word that points at
 * this one. For the first element of a chain that word is the bucket slot, so that every element
 * has a `prev` to write through:
 *
 *      buckets[i]          a               b
 *     +----------+     +--------+      +--------+
 *     |     o----|---->| next o-|----->| next   | null
 *     |          |<----|-o prev |<-----|-o prev |
 *     +----------+     +--------+      +--------+
 *
 * Choose `size` as for hash.h, and move to a larger array in the same way, with qvds_hash2_unroll
 * and qvds_hash2_store. Copying or reallocating the array is wrong here even if `size` stays what
 * it is: the `prev` of each first element would still name a slot of the old array, and the next
 * qvds_hash2_unlink would write there and leave the copy pointing at an element that is gone. The
 * qvds_hash record itself may be copied. Arguments may be null where hash.h allows it or it is said.
 *
 * Invariants, beside those of hash.h:
 * - I3 For every element in a table, the word that its `prev` points at holds the element's
 *   address; this word is the bucket slot or the first word of the preceding element.
 */

#include <qvds/hash.h>

QVDS_BEGIN

/** Adds elem at the front of its chain, as qvds_hash_store does. Returns elem. Constant time. */
QVDS_API void *qvds_hash2_store(qvds_hash *table, void *elem);

/**
 * Puts elem in the place of the first match or at the end of the chain, as qvds_hash_storereplace
 * does.
 * @return the replaced element, both its links as they were, or elem if nothing was replaced
 */
QVDS_API void *qvds_hash2_storereplace(qvds_hash *table, void *elem, qvds_compare_fn compare);

/**
 * Adds elem at the end of its chain unless there is a match, as qvds_hash_searchinsert does.
 * @return elem if it was added; else the element already there, with elem not touched
 */
QVDS_API void *qvds_hash2_searchinsert(qvds_hash *table, void *elem, qvds_compare_fn compare);

/**
 * Unlinks the first match, as qvds_hash_extract does.
 * @return the element, both its links as they were, or null if none matches
 */
QVDS_API void *qvds_hash2_extract(qvds_hash *table, const void *key, qvds_compare_fn compare);

/**
 * Unlinks elem, which must be in a table.
 * @param table not used, may be null
 * @return elem, both its links as they were
 *
 * Constant time: no hash call, no comparison.
 */
QVDS_API void *qvds_hash2_unlink(qvds_hash *table, void *elem);

/**
 * Empties the table as qvds_hash_unroll does; whenever visit is called, all that is still in the
 * table satisfies I3, so visit may unlink any of it.
 * @return the first non-zero result of visit, or 0
 *
 * Each element is handed over with its `next` as it was and the bucket's address in `prev`.
 */
QVDS_API int qvds_hash2_unroll(qvds_hash *table, qvds_visit_fn visit, void *ctx);

QVDS_END

#endif

#ifndef QVDS_HASH_H
#define QVDS_HASH_H

/** @file
 * Hash table over a bucket array that the caller supplies, with one link word in the element.
 *
 * Choose it to look up records that exist anyway: the table allocates nothing, so storing cannot
 * fail, and nothing ever moves or is rehashed behind the caller's back. Elements leave by a search
 * (qvds_hash_extract). Where elements must leave by their address, with no hash call and no search,
 * take hash2.h, which costs a second link word. Where the records cannot carry a link, take the
 * keyed hash (keyed_hash.h), which allocates an entry for each.
 *
 *     struct user {
 *         struct user *next;      // the link comes first
 *         uint32_t id;
 *     };
 *
 *     qvds_hash users;
 *     qvds_hash_init(&users, calloc(1024, sizeof(void *)), hash_user, 1024);
 *     qvds_hash_store(&users, ada);
 *     struct user *found = qvds_hash_retrieve(&users, &wanted, compare_users);
 *
 * An element is any record whose first word is its `next` link (node.h). It must outlive its
 * membership and is in one table at a time for each link that it carries. One hash callback serves
 * elements and keys, so a key is whatever the callback can hash to the value of the element that
 * it is to find: most simply a record of the same type on the stack. A change to what the callback
 * reads, while the element is in the table, loses the element.
 *
 * Choosing `size`: the table never grows, and a search that finds nothing calls compare once for
 * each of the elements / `size` that share the chain on average. As many buckets as the elements
 * expected at the most, at a word each, is a good rule. A power of two spares every operation a
 * division, and takes a hash callback whose low bits are well mixed; take a prime where they are
 * not (multiples of eight, addresses). A hash beyond 32 bits counts in full.
 *
 * Moving to a larger array: make a second table, and unroll the first into it (whether calloc
 * succeeded is to be tested, of course; it is left out here).
 *
 *     int32_t move(void *elem, void *larger) {
 *         qvds_hash_store(larger, elem);
 *         return 0;
 *     }
 *     ...
 *     qvds_hash larger;
 *     qvds_hash_init(&larger, calloc(2 * users.size, sizeof(void *)), users.hash, 2 * users.size);
 *     qvds_hash_unroll(&users, move, &larger);
 *     free(users.buckets);
 *     users = larger;             // the record may be copied, the array may not
 *
 * Copying or reallocating the array instead is wrong: `size` decides which bucket an element
 * belongs to, so under another `size` most elements would stand where no search looks for them.
 * Elements that are equal come out of the move in the opposite order; where that matters, unroll
 * onto a stack (lifo.h) and store from there.
 *
 * One bucket is a table as well: `{buckets + i, hash, 1}` can be walked, and unrolled into a larger
 * one, so that a table grows a bucket at a time. How to do that, how to keep a count, how to find a
 * record or else make it, and what locks of their own buckets may have, is in docs/patterns.md.
 *
 * No argument may be null but a key that the callbacks can do with, and a context word.
 *
 * Invariants:
 * - I1 Bucket i holds the first element of chain i, or null; following `next` from there visits
 *   each element of the chain once and ends at null.
 * - I2 Every element is in the chain of the bucket hash(element) modulo `size`.
 */

#include <qvds/node.h>

QVDS_BEGIN

/**
 * Hashes an element or a key. Equal ones must hash alike, and the result for an element must not
 * change while it is in a table. The callback must leave the table as it is.
 */
typedef size_t (*qvds_hash_fn)(const void *key);

/** The table record. Set by qvds_hash_init, and only read from then on. */
typedef struct qvds_hash {
    void **buckets;    /**< `size` chain heads, the caller's, all null before the first use */
    qvds_hash_fn hash; /**< hashes elements and keys */
    size_t size;       /**< number of buckets, not zero; never changes */
} qvds_hash;

/**
 * Sets up the record. Neither touches the array nor allocates.
 * @param buckets size words, all null; released by the caller after the last use of the table
 * @param size    number of buckets, not zero
 */
QVDS_API void qvds_hash_init(qvds_hash *table, void **buckets, qvds_hash_fn hash, size_t size);

/**
 * Adds elem at the front of its chain, without looking for an equal one: of equal elements the
 * newest is found first. Returns elem. Constant time: one hash call.
 */
QVDS_API void *qvds_hash_store(qvds_hash *table, void *elem);

/**
 * Puts elem in the place of the first element of its chain for which compare(elem, element) is
 * zero, or at the end of the chain if there is none.
 * @return the replaced element, its `next` as it was, or elem if nothing was replaced
 *
 * One hash call and a walk along the chain; compare must leave the table alone.
 */
QVDS_API void *qvds_hash_storereplace(qvds_hash *table, void *elem, qvds_compare_fn compare);

/**
 * Adds elem at the end of its chain unless the chain holds an element for which
 * compare(elem, element) is zero.
 * @return elem if it was added; else the element already there, with elem not touched
 *
 * One hash call and a walk along the chain; compare must leave the table alone.
 */
QVDS_API void *qvds_hash_searchinsert(qvds_hash *table, void *elem, qvds_compare_fn compare);

/**
 * Unlinks the first element of key's chain for which compare(key, element) is zero.
 * @return the element, its `next` as it was, or null if none matches
 *
 * One hash call and a walk along the chain; compare must leave the table alone.
 */
QVDS_API void *qvds_hash_extract(qvds_hash *table, const void *key, qvds_compare_fn compare);

/**
 * Finds the first element of key's chain for which compare(key, element) is zero. Returns it, or
 * null. One hash call and a walk along the chain.
 */
QVDS_API void *qvds_hash_retrieve(const qvds_hash *table, const void *key, qvds_compare_fn compare);

/**
 * Calls visit(element, ctx) on each element, bucket by bucket in index order and each chain from
 * its front.
 * @return the first non-zero result of visit, which ends the walk, or 0
 *
 * The element's `next` is read before the call, so visit may unlink or release the element it is
 * given; it must leave the following one in its chain. Goes over all buckets; no hash call.
 */
QVDS_API int qvds_hash_enum(const qvds_hash *table, qvds_visit_fn visit, void *ctx);

/**
 * Calls visit(first element of the chain, ctx) once for each bucket in index order. For an empty
 * bucket the first argument is null. What visit is given is a chain: it may walk on along `next`.
 * @return the first non-zero result of visit, which ends the walk, or 0
 *
 * Goes over all buckets; no hash call. Tells how well the hash callback spreads its keys.
 */
QVDS_API int qvds_hash_chain_enum(const qvds_hash *table, qvds_visit_fn visit, void *ctx);

/**
 * Empties the table: takes out one element after the other, bucket by bucket in index order and
 * each chain from its front, and hands each to visit(element, ctx) once it is out, its `next` as it
 * was.
 * @return the first non-zero result of visit, or 0
 *
 * A non-zero result stops at once: the element just handed over has left the table, and those not
 * yet reached are still in it. visit may release the element or store it elsewhere, in this table
 * too: what it stores in the bucket being emptied or in a later one is met in turn, what it stores
 * in an earlier one stays. It must not go on storing what it is given ahead of the walk for ever.
 * Goes over all buckets; no hash call.
 */
QVDS_API int qvds_hash_unroll(qvds_hash *table, qvds_visit_fn visit, void *ctx);

QVDS_END

#endif

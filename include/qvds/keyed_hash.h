#ifndef QVDS_KEYED_HASH_H
#define QVDS_KEYED_HASH_H

/** @file
 * Keyed hash: a table of key, value and metadata with the caller's own hashing, one owning list
 * (list.h) for each bucket.
 *
 * Choose it when keys and values carry no link words, or when callbacks add, remove and look up in
 * the table that is being walked. It allocates an entry and a link for each element and never
 * resizes: the number of buckets is chosen once, at about the number of elements. Where the records
 * can carry a link, hash.h needs no allocation and is faster.
 *
 * Keys and values are the caller's: stored as they are, never copied, never released. A key must
 * stay valid and unchanged as long as its entry is in the table. Several entries may have equal
 * keys; the newest comes first.
 *
 * Walks are handed values alone. For one that needs the key, or has to release it, let the value be
 * a record that holds both, with the key in the record as key; searches go by the bare key as ever:
 *
 *     struct pair { int32_t key; void *value; };
 *
 *     hash_add(table, &pair->key, pair);
 *     struct pair *found = hash_find_element(table, &key);
 *
 * Release such a record when its entry is out, or in the visit of hash_iterate_del that removes it.
 *
 * The bucket of a key is slot_func(hash_func(key), size, lists). Any slot outside 0 ... size - 1 is
 * invalid: hash_add then fails and every other operation behaves as for a key that is not there.
 * The default slot function refuses most negative hash values, so a hash function of your own
 * should clear the sign bit. Only hash_add sets errno; what a slot function sets stays.
 *
 * Nothing here is safe against other threads.
 *
 * Invariants:
 * - I1 `size` is at least 1, and `lists` holds that many lists, each with the invariants of
 *   list.h.
 * - I2 The hook of every live link is an entry of this table, and of no other link.
 * - I3 With a slot function whose answer depends on its numbers only, every live entry is in the
 *   bucket of its key.
 */

#include <qvds/key_functions.h>
#include <qvds/list.h>

QVDS_BEGIN

/** Turns a key into a number. Must not change the table. */
typedef int32_t (*hash_key_fn)(const void *key);

/**
 * Turns that number into a bucket index, or a negative number to refuse it. It is given the bucket
 * array so that it can see which buckets are occupied, and must not change it.
 */
typedef int32_t (*hash_slot_fn)(int32_t hash, int32_t size, list_link *const *lists);

/** The table. The caller may read it; with lists[slot] one bucket can be read as a list. */
typedef struct hashlist {
    int32_t size;             /**< number of buckets */
    hash_key_fn hash_func;    /**< turns a key into a number */
    hash_slot_fn slot_func;   /**< turns that number into a bucket index; never null */
    qvds_compare_fn cmp_func; /**< called as cmp_func(key, stored key); zero for equal keys */
    list_link **lists;        /**< the heads of the buckets; every hook is a hash_entry */
} hashlist;

/** What the table allocates for each element. */
typedef struct hash_entry {
    void *key;      /**< the caller's, as given to hash_add */
    void *value;    /**< the caller's, likewise; what searches return and walks are given */
    void *metadata; /**< a word for the caller; null until hash_set_metadata */
} hash_entry;

/**
 * Makes an empty table.
 * @param size      number of buckets; 127 if it is 0 or less
 * @param slot_func null for hash_mult_func
 * @return the table, or null if hash_func or cmp_func is null or an allocation failed
 */
QVDS_API QVDS_NODISCARD hashlist *hash_create(int32_t size, hash_key_fn hash_func,
                                              hash_slot_fn slot_func, qvds_compare_fn cmp_func);

/**
 * Releases the table and its entries. Does nothing for null. Must not be called inside a walk of
 * the table; a walk that an exception has left counts as one until it is ended (see list_visit_fn).
 */
QVDS_API void hash_del(hashlist *table);

/**
 * Adds an entry at the front of its bucket, whether or not the key is there already. Its metadata
 * is null.
 * @return the slot, or -1: with errno EINVAL for a null table, EDOM for an invalid slot, and as the
 *         allocator left it for want of memory, with the table as it was
 *
 * Constant time after the calls of hash_func and slot_func.
 */
QVDS_API int hash_add(hashlist *table, void *key, void *value);

/**
 * Removes every entry whose key matches, and frees them; inside a walk of the bucket their links
 * stay until it ends. Returns 0, also for a null table or if nothing matches. Walks one bucket.
 */
QVDS_API int hash_del_element(hashlist *table, const void *key);

/**
 * Returns the value of the first entry whose key matches, or null; a stored null value looks like a
 * miss. Null for a null table. Walks the bucket up to the match.
 */
QVDS_API void *hash_find_element(const hashlist *table, const void *key);

/** Stores metadata in every entry whose key matches. Does nothing for a null table. */
QVDS_API void hash_set_metadata(hashlist *table, const void *key, void *metadata);

/** Returns the metadata of the first entry whose key matches, or null. Null for a null table. */
QVDS_API void *hash_get_metadata(const hashlist *table, const void *key);

/**
 * Calls visit(value, index, ctx) on every entry, bucket by bucket. index counts the links of the
 * bucket as list_iterate does, and starts at 0 in each.
 * @param visit null stands for a callback that returns null
 * @return the first non-null result of visit, which ends the walk, or null; null for a null table
 *
 * visit may call every operation but hash_del on this table, and release the value it is given.
 * Each bucket is a walk of its own: an entry added to a bucket not yet reached is visited, one
 * added to the current or an earlier bucket is not, and one removed is not visited from that moment
 * on.
 */
QVDS_API void *hash_iterate(hashlist *table, list_visit_fn visit, void *ctx);

/**
 * Calls visit(value, index, ctx, ctx2) on every entry likewise, and removes those for which the
 * result is not zero. Always visits every entry. Disposing of keys and values is visit's business.
 * @param visit null for no walk at all
 * @return 0
 *
 * visit may do what it may do in hash_iterate; if it has itself removed the entry it was given, it
 * must return 0.
 */
QVDS_API int hash_iterate_del(hashlist *table, list_visit_del_fn visit, void *ctx, void *ctx2);

/** Returns the number of entries, or -1 for a null table. Walks all buckets. */
QVDS_API int hash_length(const hashlist *table);

QVDS_END

#endif

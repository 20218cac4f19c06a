#ifndef QVDS_KEY_FUNCTIONS_H
#define QVDS_KEY_FUNCTIONS_H

/** @file
 * Ready-made callbacks for the keyed hash (keyed_hash.h): two hash functions, a comparison, and two
 * slot functions that turn a hash value into a bucket index.
 *
 * For integers take hash_int with hash_intcmp. For strings hash_atoi is cheap, but it is a sum: all
 * strings of one length whose bytes add up alike collide, anagrams among them. Where that hurts,
 * write a hash function of your own. hash_mult_func is the slot function to use; hash_double_func
 * is for tables that place keys and do not look for them again.
 *
 * All of them may be called by anybody, keep nothing and allocate nothing.
 */

#include <qvds/list.h>

QVDS_BEGIN

/** Returns the 32-bit integer at key. */
QVDS_API int32_t hash_int(const void *key);

/** Compares the 32-bit signed integers at a and b. Returns -1, 0 or 1. */
QVDS_API int32_t hash_intcmp(const void *a, const void *b);

/**
 * Returns the sum over the bytes of the zero-terminated string at key, each taken as a signed
 * number and increased by 65599, modulo 2^32: 0 for the empty string, -1 for a null key. The order
 * of the bytes does not matter.
 */
QVDS_API int32_t hash_atoi(const void *key);

/**
 * Multiplicative hashing: size times the fractional part of key * 0.6180339887, truncated.
 * @param buckets not looked at
 * @return the slot, or -1 if it is not in 0 ... size - 1
 *
 * The fractional part keeps the sign of key, so a negative key gives -1, but for the rare one whose
 * product truncates to slot 0. Leaves errno alone.
 */
QVDS_API int32_t hash_mult_func(int32_t key, int32_t size, list_link *const *buckets);

/**
 * Looks for an empty bucket: with h the remainder of key by size, tries h, and then
 * (h + (h + 1) * i) modulo size in wrapping 32-bit arithmetic for i from 1 to size - 1. The
 * sequence need not reach every bucket.
 * @param size    not 0
 * @param buckets size list heads
 * @return the first of these buckets that is empty, h if none is; or -1 with errno EDOM at the
 *         first number that is not in 0 ... size - 1, as h is for most negative keys
 *
 * The answer depends on which buckets are occupied when it is asked, and the table asks anew in
 * every operation: a key that was added is as a rule *not found again*, because its bucket is now
 * occupied.
 */
QVDS_API int32_t hash_double_func(int32_t key, int32_t size, list_link *const *buckets);

QVDS_END

#endif

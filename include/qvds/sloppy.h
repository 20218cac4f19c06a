#ifndef QVDS_SLOPPY_H
#define QVDS_SLOPPY_H

/** @file
 * Headerless list: a doubly linked list known by a pointer to any one of its elements.
 *
 * Choose it when there is no natural place for a header, or when the list is met through its
 * members: siblings, aliases, whatever sits around a record in hand. Adding beside an element,
 * cutting and unlinking take constant time; everything that must reach an end walks there, so
 * where the ends matter take fifo2.h.
 *
 * An element begins with a qvds_node (node.h). The handle is a pointer variable of the caller's
 * that names some element, not necessarily the first, or holds null for an empty list. Operations
 * that may change it take its *address*, `&handle`, whatever the type it points to; the others take
 * an element. Elements are the caller's; nothing allocates; set-up is a null handle, and there is
 * no tear-down.
 *
 * Null is tolerated where an operation says so. Beyond that, an element must be in the list that
 * the call says it is in, and an element to be added in none.
 *
 * Invariants:
 * - I1 The first element's `prev` and the last element's `next` are null.
 * - I2 For every other element, the `prev` of its `next` is the element itself.
 * - I3 The handle is null, or names an element of the list.
 */

#include <qvds/node.h>

QVDS_BEGIN

/**
 * Adds elem directly behind the handle's element, and leaves the handle there; to an empty list, as
 * its only element, which the handle then names. Returns elem. Constant time.
 * @param handle address of the handle variable
 */
QVDS_API void *qvds_sloppy_insert(void *handle, void *elem);

/** Adds elem at the very end. The handle moves only if it was null. Returns elem. Walks. */
QVDS_API void *qvds_sloppy_append(void *handle, void *elem);

/**
 * Adds elem at the very front. The handle moves to elem if it was null or named the former first
 * element, and stays where it is otherwise. Returns elem. Walks.
 */
QVDS_API void *qvds_sloppy_push(void *handle, void *elem);

/**
 * Unlinks elem and clears both its links, so that it can join another list at once. A handle that
 * named elem moves to the element before it, else to the one behind it, else becomes null.
 * @return elem, or null with nothing done if the handle is null
 *
 * Constant time.
 */
QVDS_API void *qvds_sloppy_extract_existing(void *handle, void *elem);

/**
 * Searches as qvds_sloppy_find does, starting at the handle's element, and unlinks the match as
 * qvds_sloppy_extract_existing does.
 * @return the element, or null if none matches or the handle is null
 */
QVDS_API void *qvds_sloppy_extract(void *handle, const void *key, qvds_compare_fn compare);

/**
 * Links the first element of b's list behind the last element of a's list. a and b are any elements
 * of two different lists.
 * @return a, or null with nothing done if either is null
 *
 * Walks to the end of one and to the start of the other.
 */
QVDS_API void *qvds_sloppy_concat(void *a, void *b);

/**
 * Cuts the list before elem, which becomes the first element of a list of its own. Handles stay
 * where they are.
 * @return elem, or null for a null elem
 *
 * Constant time.
 */
QVDS_API void *qvds_sloppy_cut(void *elem);

/** Returns the first element of elem's list; null for a null elem. Walks. */
QVDS_API void *qvds_sloppy_first(const void *elem);

/** Returns the last element of elem's list; null for a null elem. Walks. */
QVDS_API void *qvds_sloppy_last(const void *elem);

/**
 * Finds an element for which compare(key, element) is zero, searching outwards: from elem itself
 * back to the first element, then from behind elem on to the last. So what stands at or before elem
 * wins over what stands behind it, and the nearest of it wins.
 * @return the element; null if none matches, or for a null elem, which makes no call
 *
 * Linear; compare must leave the list alone.
 */
QVDS_API void *qvds_sloppy_find(const void *elem, const void *key, qvds_compare_fn compare);

/** Counts the elements of elem's list; 0 for a null elem. Linear. */
QVDS_API size_t qvds_sloppy_count(const void *elem);

QVDS_END

#endif

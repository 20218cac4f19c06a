#ifndef QVDS_AA_H
#define QVDS_AA_H

/** @file
 * AA tree: an ordered set of the caller's records that balances itself.
 *
 * Choose it for an index that is searched, updated and walked in order, where a record must keep
 * its address for as long as it is stored. One allocation holds a record and its links, and no
 * operation copies a payload from one node to another. Where ranks matter (the k-th item, how many
 * are smaller), or where the links must not live in the record, take the counted tree (qv_tree.h);
 * where order does not matter, a hash table.
 *
 * A node is the caller's record, which begins with an AA_node:
 *
 *     struct word {
 *         AA_node node;
 *         int count;
 *     };
 *     struct word *w = AA_new(sizeof(struct word) - sizeof(AA_node));
 *
 * The size that AA_new and AA_dup take is that of the payload, which is all that lies behind the
 * header. The payload starts 24 bytes into a block of malloc and so is aligned for types of
 * alignment up to 8; a record declared as above may hold wider ones, since the compiler then pads
 * it behind the header and its size counts the padding.
 *
 * A tree is a pointer to its root in the caller's variable: null for an empty tree, and replaced
 * with what the operations that change the tree return. Set-up is a null root, tear-down AA_free.
 * Arguments may be null where that is said.
 *
 * Compare callbacks are called as compare(new node or key, stored node), the whole node with its
 * header each time. They return exactly -1 for below and 1 for above: any other value, zero or not,
 * is a match. They must order all that they are given alike and leave the tree as it is.
 *
 * A key is never looked into. It is whatever compare can read in the place of a node: most often a
 * record on the stack, of the same type as the stored ones. Where AA_delete has found its node, it
 * goes on to search for the node's neighbour, with that stored node as key.
 *
 * The lower bound of a key, and the next and the previous node, cost a search each: AA_find with a
 * compare that never answers 0, and notes where it turned last (docs/patterns.md).
 *
 * Invariants:
 * - I1 In order, left to right, each node compares above the one before it; no two are equal.
 * - I2 In a tree built by insertions alone,
 *   - a. a left child is one level below its parent;
 *   - b. a right child is at its parent's level or one below;
 *   - c. a right grandchild is below its grandparent;
 *   - d. a node that lacks a child is at level 1.
 *
 * I2 keeps the height below 2 log2(n + 1). Deletion keeps I1, but may leave levels that are higher
 * than I2 has them: the tree is then somewhat higher than it need be, and all operations work on
 * it as on any other. Time follows the height, and so does the stack of AA_dup, AA_free and
 * AA_iterate; the others' hardly grows.
 */

#include <qvds/base.h>

QVDS_BEGIN

/** Header of a node: the first member of the caller's record. */
typedef struct AA_node {
    size_t level;          /**< 1 for a leaf, and at least 1 */
    struct AA_node *left;  /**< root of what compares below, or null */
    struct AA_node *right; /**< root of what compares above, or null */
} AA_node;

/**
 * Allocates a node with a payload of size bytes: level 1, links null, the payload not cleared.
 * @return the node, or null if out of memory, or if no block can be as large as that
 *
 * A node that is in no tree is released with `free`.
 */
QVDS_API QVDS_NODISCARD void *AA_new(size_t size);

/**
 * Releases all nodes, children before their parent. A null root is ignored. The nodes must come
 * from AA_new, or from elsewhere if `free` can release them. Linear.
 */
QVDS_API void AA_free(AA_node *root);

/**
 * Copies a tree: the same shape and levels, and of each payload the first size bytes, which every
 * node must have.
 * @return the root of the copy; null for a null root, or if out of memory, with nothing left over
 *
 * Linear.
 */
QVDS_API QVDS_NODISCARD AA_node *AA_dup(const AA_node *root, size_t size);

/**
 * Inserts a node that the caller has made, which must be in no tree.
 * @param node its header is reset first, to level 1 and null links, and need not be set up before
 * @param dup  where to put the stored node that matches, or null if there is none; may be null
 * @return the new root. Null if a stored node matches, or for a null node that compare does not
 *         find a match for: the tree, and its root, are then what they were, and null is not to be
 *         stored in the root's variable
 *
 * Calls compare once for each level on the way down, and changes the tree only after that.
 * Allocates nothing. Logarithmic (see above).
 */
QVDS_API QVDS_NODISCARD AA_node *AA_insert(AA_node *root, void *node, qvds_compare_fn compare,
                                           AA_node **dup);

/**
 * Takes out the node that matches key. All other nodes keep their addresses and payloads.
 * @param key as for AA_find
 * @param out where to put the removed node, its links null, which is then the caller's to release;
 *            null goes there if none matches. If out itself is null, the node is released with
 *            `free`
 * @return the new root, null if the tree is now empty; root itself for a null root or key
 *
 * In place of the removed node comes the next smaller one of its subtree, or if there is none the
 * next larger; it takes on the level of the node that it replaces, and is rebalanced like any
 * other. An absent key takes no node out, but nodes on the way to its place may be rebalanced.
 *
 * Calls compare once for each level on the way down, on to the replacement, and changes the tree
 * only after that. Logarithmic (see above).
 */
QVDS_API QVDS_NODISCARD AA_node *AA_delete(AA_node *root, const void *key, qvds_compare_fn compare,
                                           AA_node **out);

/**
 * Finds the node that matches key.
 * @param key what compare can read, or null to match nothing
 * @return the node; null if none matches, or for a null root or key, which makes no call
 *
 * Logarithmic (see above).
 */
QVDS_API void *AA_find(const AA_node *root, const void *key, qvds_compare_fn compare);

/** Returns the smallest node; null for a null root. Follows the height. */
QVDS_API void *AA_first(const AA_node *root);

/** Returns the largest node; null for a null root. Follows the height. */
QVDS_API void *AA_last(const AA_node *root);

/**
 * Calls visit(node, ctx) on each node in ascending order.
 * @return the node whose visit returned something other than zero, which ends the walk; null if
 *         none did, or for a null root or visit
 *
 * visit must leave the links of the tree alone; it may change payloads, as long as the order stays.
 * Linear.
 */
QVDS_API void *AA_iterate(const AA_node *root, qvds_visit_fn visit, void *ctx);

QVDS_END

#endif

#ifndef QVDS_QV_TREE_H
#define QVDS_QV_TREE_H

/** @file
 * Counted tree: a binary search tree whose nodes know how many nodes hang below them.
 *
 * Choose it for what the counts answer: the item of a given rank, the rank of an item, a tree cut
 * or joined at a rank. It does not balance itself. Items that arrive in random order keep it
 * shallow, about 2.7 log2 n levels; items that arrive sorted make it a chain, until
 * qv_tree_balance, in linear time, makes it as shallow as a tree can be. For a tree that stays
 * shallow by itself, and needs no ranks, take aa.h.
 *
 * Nodes are the library's, items the caller's: a node holds a pointer to its item, and nothing here
 * releases an item. A tree is a pointer to its root node in the caller's variable. An empty tree is
 * the address of qv_tree_null, which stands for every missing subtree. What can change the root
 * returns the new one, and the caller stores it:
 *
 *     qv_tree *root = &qv_tree_null;
 *     root = qv_tree_insert(root, by_name, item);
 *     root = qv_tree_partition(root, (int32_t)(root->count / 2));     // root->item is the median
 *
 * This cuts it in two, so that root keeps that item and what is greater:
 *
 *     qv_tree *less = root->left;
 *     root->left = &qv_tree_null;
 *     root->count -= less->count;
 *
 * Ranks can also be told with the tree left as it is: what a walk down from the root leaves behind
 * on the left, added up, is the rank of an item (docs/trees.md).
 *
 * Set-up is the first line above. Tear-down is qv_tree_delete of each item, or a walk in post-order
 * whose visit calls free() on the node that it is given. A subtree is a tree: every operation takes
 * one, and leaves what is above it alone.
 *
 * Comparing is calling compare(item, item of a node): negative sends the item left, positive right,
 * zero means equal. It is called once for each level on the way down, from the root on. A visit is
 * given the node, not its item; its result is ignored, and the walk cannot be stopped.
 *
 * Invariants:
 * - I1 `count` is 1 plus the counts of `left` and `right`.
 * - I2 All items in `left` compare less than the node's, all in `right` greater; no two are equal.
 * - I3 Each link is a node or the address of qv_tree_null. No operation writes to
 *   qv_tree_null: its `count` is 0, its other fields are null.
 *
 * A root must be a node or the address of qv_tree_null, never null; nor may a compare or visit
 * callback be null. Items are looked at by compare alone. Trees that are otherwise separate can be
 * used from separate threads.
 */

#include <stdio.h>

#include <qvds/base.h>

QVDS_BEGIN

/**
 * A node. Callers read it, and may write what keeps the invariants: another item in the same place
 * of the order; links, with the counts of the node and of all above it put right. qv_tree_null is
 * not to be written.
 */
typedef struct qv_tree {
    uint32_t count;        /**< nodes in this subtree, this one included; ranks read it as signed */
    void *item;            /**< the caller's */
    struct qv_tree *left;  /**< what compares less */
    struct qv_tree *right; /**< what compares greater */
} qv_tree;

/** The empty tree, at the end of every branch. All zero, and never written. */
extern QVDS_API qv_tree qv_tree_null;

/** Orders of a walk: when a node's turn comes among its subtrees. */
enum {
    QV_TREE_INORDER = 0,  /**< after the left, before the right: ascending */
    QV_TREE_PREORDER = 1, /**< before both */
    QV_TREE_POSTORDER = 2 /**< after both */
};

/** Prints one node of a dump, with the line end if there is to be one. */
typedef void (*qv_tree_print_fn)(const qv_tree *node, FILE *stream);

/** Allocates a tree of one node that holds item. Returns null if the allocation fails. */
QVDS_API QVDS_NODISCARD qv_tree *qv_tree_new(void *item);

/**
 * Adds item, in a new leaf, unless an equal item is there, which then stays.
 * @return the root; null if the tree was empty and the allocation failed
 *
 * The result doesn't tell whether the item went in: a root other than the sentinel is returned
 * unchanged, and its count grows by one if it did. If the count stays, either an equal item was
 * there, or an allocation failed, which leaves the tree as it was, and errno as malloc left it: set
 * errno to 0 before the call to tell the two apart. Costs the height, in constant stack.
 */
QVDS_API QVDS_NODISCARD qv_tree *qv_tree_insert(qv_tree *root, qvds_compare_fn compare, void *item);

/** Returns the node whose item compares equal, or null. Costs the height, in constant stack. */
QVDS_API qv_tree *qv_tree_find(const qv_tree *root, qvds_compare_fn compare, const void *item);

/**
 * Calls visit(node, ctx) on every node, in an order of the enumeration above; in any other order,
 * on none.
 *
 * In post-order nothing of a node is read after its visit, which may release it. In pre-order both
 * links are read after the visit, in order `right` is: a visit may change what is not yet read.
 *
 * Linear. Needs stack for the nodes whose turn is still to come: 48 bytes for each step to the left
 * on the way down (a step to the right costs nothing), in post-order for each step either way. A
 * tree that may be a chain of 100,000 nodes or more is better balanced first.
 */
QVDS_API void qv_tree_iter(qv_tree *root, qvds_visit_fn visit, int32_t order, void *ctx);

/**
 * Writes a line's beginning for every node, in the order of a walk: as many blanks as the node is
 * deep, and what print, if it is not null, adds to them. Writes nothing in an order that is none.
 * @param depth that of the root, not negative; a node's is one more than its parent's
 *
 * Needs stack as qv_tree_iter does, 64 bytes for a step. Ends a branch also at a null link.
 */
QVDS_API void qv_tree_dump(const qv_tree *root, qv_tree_print_fn print, int32_t order, FILE *stream,
                           int32_t depth);

/**
 * Rotates a node, which must not be the sentinel, below its left child. Constant time.
 * @return the child, the root of the same nodes in the same order, both counts right again; or
 *         root itself, unchanged, if there is no such child
 */
QVDS_API QVDS_NODISCARD qv_tree *qv_tree_rotate_right(qv_tree *root);

/** The mirror image: below its right child. */
QVDS_API QVDS_NODISCARD qv_tree *qv_tree_rotate_left(qv_tree *root);

/**
 * Brings the node of a rank to the root, keeping the order of all. Left of it hangs then what is
 * less, right of it what is greater: cut off the one or the other to cut the tree in two.
 * @param rank counted from 0, the smallest item; below 0 it means 0, beyond the end the largest
 * @return the new root; the sentinel for an empty tree
 *
 * Costs the depth of that node, in constant stack.
 */
QVDS_API QVDS_NODISCARD qv_tree *qv_tree_partition(qv_tree *root, int32_t rank);

/**
 * Gives a tree the least height: the root of each subtree of n nodes is the one of rank n / 2.
 * @return the new root
 *
 * Linear, in stack of the new height; the old one doesn't matter.
 */
QVDS_API QVDS_NODISCARD qv_tree *qv_tree_balance(qv_tree *root);

/**
 * Joins two trees. All items of a must compare less than all items of b.
 * @return the root: the other tree, as it is, if one is empty; else the smallest node of b, with a
 *         on its left and the rest of b on its right
 *
 * Costs the depth of that node, in constant stack.
 */
QVDS_API QVDS_NODISCARD qv_tree *qv_tree_join(qv_tree *a, qv_tree *b);

/**
 * Removes the node whose item compares equal, if there is one, and releases it, but not the item.
 * The join of its subtrees takes its place; all other nodes stay where they are in memory.
 * @return the new root, the sentinel if nothing is left
 *
 * Costs the height, in constant stack.
 */
QVDS_API QVDS_NODISCARD qv_tree *qv_tree_delete(qv_tree *root, qvds_compare_fn compare,
                                                const void *item);

QVDS_END

#endif

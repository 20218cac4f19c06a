// The counted tree. See qv_tree.h for the record and the invariants.
//
// The plain way to write every operation here is recursion: an insertion returns the changed
// subtree to its parent, which counts again; a partition rotates on the way back up. A tree that is
// a chain of millions of nodes would end that with the stack. So what is done on the way up in the
// recursion is done here on a second way down, or on the first, and the results are the same to the
// last link and count:
//
// - An insertion or deletion changes the counts of the nodes above it by one, but not before the
//   last call of compare, since the item may be a duplicate or absent. The nodes passed are
//   remembered in a window of fixed size. Those that have dropped out of it are found again by
//   rank: the number of items before the place tells the same way as compare did (counted_path).
//
// - A partition takes the path apart on the way down (counted_partition).
//
// - A balanced tree is determined by its number of nodes alone, so the old tree is read once, in
//   ascending order, and the new one made of what comes (counted_build).
//
// On the way down, the next node depends on what compare or a rank says, which no branch predictor
// can foretell, so none is asked. In a tree that lies in the cache, compare is what a step waits for:
// by the time it answers, both children and their items have been read, and counted_step picks. In a
// larger one, that would be to wait for the memory of both: they are only fetched meanwhile, and
// counted_link turns the answer into an address.
//
// Searches are handed a callable, with the key bound, that is asked about the items of nodes:
// order_of(item) is the turn to take there (order.hpp); is_before(item) says whether the item comes
// before the place that is sought.

#ifndef QVDS_CORE_QV_TREE_HPP
#define QVDS_CORE_QV_TREE_HPP

#include <qvds/core/order.hpp>
#include <qvds/qv_tree.h>

namespace qvds::core {

static_assert(offsetof(qv_tree, right) == offsetof(qv_tree, left) + sizeof(qv_tree *),
              "counted_link counts on the links being neighbours");

// The sentinel: one object for the library and for every program that compiles this.
inline constexpr qv_tree *counted_null = &qv_tree_null;

// Adds the answer to an address: compilers turn a choice between two links into a branch.
QVDS_HIDDEN inline qv_tree **counted_link(qv_tree *t, bool right) {
    char *const left = reinterpret_cast<char *>(t) + offsetof(qv_tree, left);
    return reinterpret_cast<qv_tree **>(left) + static_cast<size_t>(right);
}

QVDS_HIDDEN inline qv_tree *counted_child(const qv_tree *t, bool right) {
    return *counted_link(const_cast<qv_tree *>(t), right);
}

// The nodes of a tree no larger than this stay in the caches by themselves.
inline constexpr uint32_t counted_small = 4096;

// A node on the way down, and its item.
struct counted_stop {
    qv_tree *node;
    const void *item;
};

QVDS_HIDDEN inline void counted_prefetch_below(const qv_tree *t) {
    __builtin_prefetch(t->left);
    __builtin_prefetch(t->right);
}

// From t to one of its children.
QVDS_HIDDEN inline counted_stop counted_step(const qv_tree *t, bool right, bool large) {
    if (large) {
        qv_tree *const child = counted_child(t, right);
        return {child, child->item};
    }
    return {pick(!right, t->left, t->right), pick(!right, t->left->item, t->right->item)};
}

// -- Search ----------------------------------------------------------------------------------

// The node whose item matches, or null.
template <class Order>
QVDS_HIDDEN inline qv_tree *counted_find(const qv_tree *root, Order &&order_of) {
    const bool large = root->count > counted_small;
    counted_stop at = {const_cast<qv_tree *>(root), root->item};
    while (at.node != counted_null) {
        if (large)
            counted_prefetch_below(at.node);
        const auto turn = order_of(at.item);
        if (turn.found())
            return at.node;
        at = counted_step(at.node, !turn.left(), large);
    }
    return nullptr;
}

// A place in the order: how many items come before it, and the node of the next one, null at the
// end.
struct counted_place {
    qv_tree *node;
    uint32_t rank;
};

// Goes down to the end of a branch, so that no match is asked for on the way.
template <class Before>
QVDS_HIDDEN inline counted_place counted_find_place(const qv_tree *root, Before &&is_before) {
    const qv_tree *next = nullptr;
    uint32_t before = 0;
    const bool large = root->count > counted_small;
    counted_stop at = {const_cast<qv_tree *>(root), root->item};
    while (at.node != counted_null) {
        const qv_tree *const t = at.node;
        if (large)
            counted_prefetch_below(t);
        const bool right = is_before(at.item);
        // What a step to the right leaves behind: t and its left subtree.
        before += (t->left->count + 1) & -static_cast<uint32_t>(right);
        next = right ? next : t;
        at = counted_step(t, right, large);
    }
    return {const_cast<qv_tree *>(next), before};
}

// The node of a rank, or null if there are not as many.
QVDS_HIDDEN inline qv_tree *counted_nth(const qv_tree *root, uint32_t rank) {
    if (rank >= root->count)
        return nullptr;
    const qv_tree *t = root;
    for (uint32_t own = t->left->count; own != rank; own = t->left->count) {
        // As in counted_partition.
        __builtin_prefetch(t->left->left);
        __builtin_prefetch(t->right->left);
        const bool right = own < rank;
        rank -= right ? own + 1 : 0;
        t = counted_child(t, right);
    }
    return const_cast<qv_tree *>(t);
}

// The way from a root to the place of an item. A tree of random items up to millions has fewer
// levels than the window.
struct counted_path {
    static constexpr uint32_t window = 64;

    qv_tree **link;        // leads to the node with an equal item, or to where it would be
    uint32_t depth;        // nodes passed
    uint32_t before;       // items that compare less than all below the link
    qv_tree *last[window]; // the last nodes passed, that at depth d in slot d % window
};

template <class Order>
QVDS_HIDDEN inline counted_path counted_find_path(qv_tree **root, Order &&order_of) {
    counted_path way;
    qv_tree **link = root;
    uint32_t depth = 0;
    uint32_t before = 0;
    const bool large = (*root)->count > counted_small;
    counted_stop at = {*root, (*root)->item};
    while (at.node != counted_null) {
        qv_tree *const t = at.node;
        if (large)
            counted_prefetch_below(t);
        const auto turn = order_of(at.item);
        if (turn.found())
            break;
        const bool right = !turn.left();
        way.last[depth++ % counted_path::window] = t;
        link = counted_link(t, right);
        before += (t->left->count + 1) & -static_cast<uint32_t>(right);
        at = counted_step(t, right, large);
    }
    way.link = link;
    way.depth = depth;
    way.before = before;
    return way;
}

// The way to the node of a rank, which must be below the count.
QVDS_HIDDEN inline counted_path counted_path_to(qv_tree **root, uint32_t rank) {
    counted_path way;
    way.link = root;
    way.depth = 0;
    way.before = rank;
    for (qv_tree *t = *root; t->left->count != rank; t = *way.link) {
        const bool right = t->left->count < rank;
        rank -= right ? t->left->count + 1 : 0;
        way.last[way.depth++ % counted_path::window] = t;
        way.link = counted_link(t, right);
    }
    return way;
}

// -- Add and take out ------------------------------------------------------------------------

// Adds difference to the count of every node passed.
QVDS_HIDDEN inline void counted_add_to_counts(const counted_path &way, qv_tree *root,
                                              uint32_t difference) {
    uint32_t before = way.before;
    uint32_t remaining = way.depth;
    for (qv_tree *t = root; remaining > counted_path::window; --remaining) {
        t->count += difference;
        const uint32_t smaller = t->left->count;
        const bool right = before > smaller;
        before -= right ? smaller + 1 : 0;
        t = counted_child(t, right);
    }
    for (uint32_t i = 0; i < remaining; ++i)
        way.last[i]->count += difference;
}

// Hangs a leaf on a way that has led to no node.
QVDS_HIDDEN inline void counted_add(const counted_path &way, qv_tree *root, qv_tree *leaf) {
    counted_add_to_counts(way, root, 1);
    *way.link = leaf;
}

/*
 * Rotating a node up to the root, one level after the other, leaves the nodes of its path that are
 * smaller on its left and those that are larger on its right, each below the one that was above it.
 * So the path can be taken apart from the top: a node goes to the open end of its side, and its
 * link towards the target becomes the open end. The target's own subtrees close the two ends.
 *
 *        8                     5
 *       / \                  /   \
 *      3   I               3       8
 *     / \                 / \     / \
 *    A   6       ->      A   4   6   I        left:  3, then 4 where 3 was cut
 *       / \                 / \ / \           right: 8, then 6 where 8 was cut
 *      4   H               C  D E  H
 *     / \
 *    C   5
 *       / \
 *      D   E
 *
 * A node keeps of its subtree what lies on its side of the target: as many nodes as the target's
 * rank there, or all but those and the target.
 */
QVDS_HIDDEN inline qv_tree *counted_partition(qv_tree *root, uint32_t rank) {
    if (root == counted_null)
        return root;
    const uint32_t count = root->count;
    uint32_t target = rank;
    if (target >= count)
        target = count - 1;

    qv_tree *left;
    qv_tree *right;
    qv_tree **left_end = &left;
    qv_tree **right_end = &right;
    qv_tree *t = root;
    // The target's rank in t's subtree is `target`, and t's own is `own`.
    for (uint32_t own = t->left->count; own != target; own = t->left->count) {
        // One of the two is the next node, and its left child's count is asked for next.
        __builtin_prefetch(t->left->left);
        __builtin_prefetch(t->right->left);
        if (own < target) {
            t->count = target;
            target -= own + 1;
            *left_end = t;
            left_end = &t->right;
            t = t->right;
        } else {
            t->count -= target + 1;
            *right_end = t;
            right_end = &t->left;
            t = t->left;
        }
    }
    *left_end = t->left;
    *right_end = t->right;
    t->left = left;
    t->right = right;
    t->count = count;
    return t;
}

QVDS_HIDDEN inline qv_tree *counted_join(qv_tree *a, qv_tree *b) {
    if (b == counted_null)
        return a;
    if (a == counted_null)
        return b;
    qv_tree *const smallest = counted_partition(b, 0);
    smallest->count += a->count;
    smallest->left = a;
    return smallest;
}

// Takes out the node that a way has led to, and returns it.
QVDS_HIDDEN inline qv_tree *counted_remove(const counted_path &way, qv_tree *root) {
    qv_tree *const t = *way.link;
    counted_add_to_counts(way, root, -1U);
    *way.link = counted_join(t->left, t->right);
    return t;
}

// Cuts off the nodes of this rank and above, and returns them.
QVDS_HIDDEN inline qv_tree *counted_split(qv_tree **root, uint32_t rank) {
    if (rank >= (*root)->count)
        return counted_null;
    qv_tree *const rest = counted_partition(*root, rank);
    *root = rest->left;
    rest->left = counted_null;
    rest->count -= (*root)->count;
    return rest;
}

// -- Shape -----------------------------------------------------------------------------------

// Counts a node again from its children. The sentinel counts 0.
QVDS_HIDDEN inline void counted_recount(qv_tree *t) {
    t->count = 1 + t->left->count + t->right->count;
}

/*
 *      t            x
 *     / \          / \
 *    x   c   ->   a   t
 *   / \              / \
 *  a   b            b   c
 *
 * This is to the right.
 */
template <bool right>
QVDS_HIDDEN inline qv_tree *counted_rotate(qv_tree *t) {
    qv_tree *const x = counted_child(t, !right);
    if (x == counted_null)
        return t;
    *counted_link(t, !right) = counted_child(x, right);
    counted_recount(t);
    *counted_link(x, right) = t;
    counted_recount(x);
    return x;
}

// Rotates the smallest node of a tree to its root, whose left is then the sentinel. Counts are left
// behind.
QVDS_HIDDEN inline qv_tree *counted_smallest_to_root(qv_tree *t) {
    while (t->left != counted_null) {
        qv_tree *const x = t->left;
        t->left = x->right;
        x->right = t;
        t = x;
    }
    return t;
}

// Takes the smallest node out of a tree that has one. The rotations put the nodes above it on the
// right edge, where they stay, so a tree is emptied this way in linear time; and it is sound all
// the while.
QVDS_HIDDEN inline qv_tree *counted_pop_smallest(qv_tree **root) {
    qv_tree *t = *root;
    while (t->left != counted_null)
        t = counted_rotate<true>(t);
    *root = t->right;
    return t;
}

// A tree made of the smallest nodes of another, and what remains of that.
struct counted_built {
    qv_tree *root;
    qv_tree *rest;
};

QVDS_HIDDEN inline counted_built counted_build_leaf(qv_tree *rest) {
    qv_tree *const t = counted_smallest_to_root(rest);
    rest = t->right;
    t->count = 1;
    t->right = counted_null;
    return {t, rest};
}

// Builds a tree of count nodes, two at least: the root after its left subtree, and before its
// right. Each rotation puts one more node on the right edge of rest, where it stays, so all of them
// together are fewer than the nodes.
QVDS_HIDDEN inline counted_built counted_build(qv_tree *rest, uint32_t count) {
    const uint32_t before = count / 2;
    const uint32_t behind = count - before - 1;
    const counted_built left = before > 1 ? counted_build(rest, before) : counted_build_leaf(rest);
    qv_tree *const root = counted_smallest_to_root(left.rest);
    root->count = count;
    root->left = left.root;
    const counted_built right = behind > 1    ? counted_build(root->right, behind)
                                : behind == 1 ? counted_build_leaf(root->right)
                                              : counted_built{counted_null, root->right};
    root->right = right.root;
    return {root, right.rest};
}

QVDS_HIDDEN inline qv_tree *counted_balance(qv_tree *root) {
    if (static_cast<int32_t>(root->count) < 2)
        return root;
    return counted_build(root, root->count).root;
}

// The levels of a tree. Only the smaller of two subtrees is a recursion, so the stack is for the
// logarithm of the count, whatever the shape.
QVDS_HIDDEN inline uint32_t counted_height(const qv_tree *root) {
    uint32_t height = 0;
    uint32_t level = 0;
    for (const qv_tree *t = root; t != counted_null;) {
        ++level;
        const bool smaller = t->right->count < t->left->count;
        const uint32_t below = level + counted_height(counted_child(t, smaller));
        height = below > height ? below : height;
        t = counted_child(t, !smaller);
    }
    return height;
}

// The whole part of c log2 n, for n from 1, from the leading bits of the power n^c.
QVDS_HIDDEN inline uint32_t counted_levels(uint32_t n, uint32_t c) {
    uint64_t power = 1;
    uint32_t dropped = 0;
    for (; c > 0; --c) {
        power *= n;
        const int excess = power > UINT32_MAX ? 32 - __builtin_clzll(power) : 0;
        power >>= excess;
        dropped += static_cast<uint32_t>(excess);
    }
    return dropped + 31 - static_cast<uint32_t>(__builtin_clz(static_cast<uint32_t>(power)));
}

// Balances the part of a tree that has let a leaf, just added, get deeper than c log2 n levels: the
// smallest subtree on the way of which that can be said, n being its own count. The next smaller
// one held more than 2^(-1/c) of its nodes, or it could be said of that as well. It takes a number
// of insertions and deletions in proportion to n to make half of it so much, and that pays for the
// work: logarithmic an insertion, on average over any sequence.
QVDS_HIDDEN inline void counted_shorten(const counted_path &way, qv_tree **root, uint32_t c) {
    if (way.depth <= counted_levels((*root)->count, c))
        return;
    qv_tree **deep = root;
    qv_tree **link = root;
    uint32_t before = way.before;
    for (uint32_t below = way.depth; below > 0; --below) {
        qv_tree *const t = *link;
        if (below > counted_levels(t->count, c))
            deep = link;
        const uint32_t smaller = t->left->count;
        const bool right = before > smaller;
        before -= right ? smaller + 1 : 0;
        link = counted_link(t, right);
    }
    *deep = counted_balance(*deep);
}

// -- Walk ------------------------------------------------------------------------------------

// Calls visit(t) on every node. Not inlined into itself, so that a level costs one frame of its
// least size; visit is copied into it.
template <int32_t order, class Visit>
[[gnu::noinline]] QVDS_HIDDEN inline void counted_walk(qv_tree *t, Visit visit) {
    while (t != counted_null) {
        __builtin_prefetch(t->right);
        if constexpr (order == QV_TREE_PREORDER)
            visit(t);
        if (t->left != counted_null)
            counted_walk<order>(t->left, visit);
        if constexpr (order == QV_TREE_INORDER)
            visit(t);
        if constexpr (order == QV_TREE_POSTORDER) {
            counted_walk<order>(t->right, visit);
            visit(t);
            return;
        }
        t = t->right;
    }
}

// The next and the previous node, by way of the root where a parent would be needed.
QVDS_HIDDEN inline qv_tree *counted_successor(const qv_tree *root, qv_tree *t, uint32_t rank) {
    if (t->right == counted_null)
        return counted_nth(root, rank + 1);
    for (t = t->right; t->left != counted_null;)
        t = t->left;
    return t;
}
QVDS_HIDDEN inline qv_tree *counted_predecessor(const qv_tree *root, qv_tree *t, uint32_t rank) {
    if (t == nullptr || t->left == counted_null)
        return counted_nth(root, rank - 1);
    for (t = t->left; t->right != counted_null;)
        t = t->right;
    return t;
}

// A walk in ascending order, which remembers the nodes whose turn is still to come: those that it
// has gone left at. It is at most as many as the window holds; those that have dropped out of it
// are found again by rank.
struct counted_cursor {
    static constexpr uint32_t window = 64;

    const qv_tree *root;
    qv_tree *node; // where the walk stands, null at the end
    uint32_t rank;
    uint32_t top;  // the last one remembered is in slot top % window
    uint32_t held; // so many are remembered
    qv_tree *waiting[window];
};

QVDS_HIDDEN inline void counted_wait(counted_cursor *at, qv_tree *t) {
    __builtin_prefetch(t->right);
    __builtin_prefetch(t->item);
    at->waiting[++at->top % counted_cursor::window] = t;
    if (at->held < counted_cursor::window)
        ++at->held;
}

QVDS_HIDDEN inline void counted_seek(counted_cursor *at, uint32_t rank) {
    at->rank = rank;
    at->held = 0;
    if (rank >= at->root->count) {
        at->node = nullptr;
        return;
    }
    qv_tree *t = const_cast<qv_tree *>(at->root);
    for (uint32_t own = t->left->count; own != rank; own = t->left->count) {
        if (own < rank) {
            rank -= own + 1;
            t = t->right;
        } else {
            counted_wait(at, t);
            t = t->left;
        }
    }
    at->node = t;
}

QVDS_HIDDEN inline void counted_advance(counted_cursor *at) {
    ++at->rank;
    qv_tree *t = at->node->right;
    if (t != counted_null) {
        for (; t->left != counted_null; t = t->left)
            counted_wait(at, t);
        at->node = t;
    } else if (at->held > 0) {
        --at->held;
        at->node = at->waiting[at->top-- % counted_cursor::window];
    } else {
        counted_seek(at, at->rank);
    }
}

} // namespace qvds::core

#endif

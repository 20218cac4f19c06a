// The plain way to write every operation here is recursion: an insertion returns the changed
// subtree to its parent, which counts again; a partition rotates on the way back up. A tree that is
// a chain of millions of nodes would end that with the stack. So what is done on the way up in the
// recursion is done here on a second way down, or on the first, and the results are the same to the
// last link and count:
//
// - An insertion or deletion changes the counts of the nodes above it by one, but not before the
//   last call of compare, since the item may be a duplicate or absent. The nodes passed are
//   remembered in a window of fixed size. Those that have dropped out of it are found again by
//   rank: the number of items before the place tells the same way as compare did (struct path).
//
// - A partition takes the path apart on the way down (qv_tree_partition).
//
// - A balanced tree is determined by its number of nodes alone, so the old tree is read once, in
//   ascending order, and the new one made of what comes (build).
//
// On the way down, the next node depends on what compare or a rank says, which no branch predictor
// can foretell. Where compare has the word, link_of turns its answer into an address, without a
// branch. And prefetches bring in both of the possible next steps: in a tree larger than the cache,
// most of the time is spent waiting for them.

#include <qvds/qv_tree.h>

#include <stdlib.h>

static_assert(offsetof(qv_tree, right) == offsetof(qv_tree, left) + sizeof(qv_tree *),
              "link_of counts on the links being neighbours");

namespace {

// The sentinel. Its definition stands in a source of its own, which says why.
constexpr qv_tree *null = &qv_tree_null;

// Adds the answer to an address: compilers turn a choice between two links into a branch.
qv_tree **link_of(qv_tree *t, bool right) {
    char *const left = reinterpret_cast<char *>(t) + offsetof(qv_tree, left);
    return reinterpret_cast<qv_tree **>(left) + static_cast<size_t>(right);
}

qv_tree *child_of(const qv_tree *t, bool right) {
    return *link_of(const_cast<qv_tree *>(t), right);
}

// The items of both children are fetched while compare is busy with t's. Those of the sentinel are
// null, which a prefetch may be given.
void prefetch_items_below(const qv_tree *t) {
    __builtin_prefetch(t->left->item);
    __builtin_prefetch(t->right->item);
}

// The way from a root to the place of an item. A tree of random items up to millions has fewer
// levels than the window.
struct path {
    static constexpr uint32_t window = 64;

    qv_tree **link;        // leads to the node with an equal item, or to where it would be
    uint32_t depth;        // nodes passed
    uint32_t before;       // items that compare less than all below the link
    qv_tree *last[window]; // the last nodes passed, that at depth d in slot d % window
};

path find_path(qv_tree **root, qvds_compare_fn compare, const void *item) {
    path way;
    qv_tree **link = root;
    uint32_t depth = 0;
    uint32_t before = 0;
    for (qv_tree *t = *link; t != null; t = *link) {
        prefetch_items_below(t);
        const int32_t order = compare(item, t->item);
        if (order == 0)
            break;
        const bool right = order > 0;
        way.last[depth++ % path::window] = t;
        link = link_of(t, right);
        // What a step to the right leaves behind: t and its left subtree.
        const uint32_t passed = t->count - (*link)->count;
        before += right ? passed : 0;
    }
    way.link = link;
    way.depth = depth;
    way.before = before;
    return way;
}

// Adds difference to the count of every node passed.
void add_to_counts(const path &way, qv_tree *root, uint32_t difference) {
    uint32_t before = way.before;
    uint32_t remaining = way.depth;
    for (qv_tree *t = root; remaining > path::window; --remaining) {
        t->count += difference;
        const uint32_t smaller = t->left->count;
        const bool right = before > smaller;
        before -= right ? smaller + 1 : 0;
        t = child_of(t, right);
    }
    for (uint32_t i = 0; i < remaining; ++i)
        way.last[i]->count += difference;
}

// Rotates the smallest node of a tree to its root, whose left is then the sentinel. Counts are left
// behind.
qv_tree *smallest_to_root(qv_tree *t) {
    while (t->left != null) {
        qv_tree *const x = t->left;
        t->left = x->right;
        x->right = t;
        t = x;
    }
    return t;
}

// A tree made of the smallest nodes of another, and what remains of that.
struct built {
    qv_tree *root;
    qv_tree *rest;
};

built build_leaf(qv_tree *rest) {
    qv_tree *const t = smallest_to_root(rest);
    rest = t->right;
    t->count = 1;
    t->right = null;
    return {t, rest};
}

// Builds a tree of count nodes, two at least: the root after its left subtree, and before its
// right. Each rotation puts one more node on the right edge of rest, where it stays, so all of them
// together are fewer than the nodes.
built build(qv_tree *rest, uint32_t count) {
    const uint32_t before = count / 2;
    const uint32_t behind = count - before - 1;
    const built left = before > 1 ? build(rest, before) : build_leaf(rest);
    qv_tree *const root = smallest_to_root(left.rest);
    root->count = count;
    root->left = left.root;
    const built right = behind > 1    ? build(root->right, behind)
                        : behind == 1 ? build_leaf(root->right)
                                      : built{null, root->right};
    root->right = right.root;
    return {root, right.rest};
}

// Not inlined into itself, so that a level costs one frame of its least size.
template <int32_t order>
[[gnu::noinline]] void walk(qv_tree *t, qvds_visit_fn visit, void *ctx) {
    while (t != null) {
        __builtin_prefetch(t->right);
        if constexpr (order == QV_TREE_PREORDER)
            visit(t, ctx);
        if (t->left != null)
            walk<order>(t->left, visit, ctx);
        if constexpr (order == QV_TREE_INORDER)
            visit(t, ctx);
        if constexpr (order == QV_TREE_POSTORDER) {
            walk<order>(t->right, visit, ctx);
            visit(t, ctx);
            return;
        }
        t = t->right;
    }
}

struct dump_format {
    qv_tree_print_fn print;
    FILE *stream;
    int32_t order;
};

void dump_node(const qv_tree *t, const dump_format &format, int32_t depth) {
    for (int32_t i = 0; i < depth; ++i)
        fputc(' ', format.stream);
    if (format.print != nullptr)
        format.print(t, format.stream);
}

[[gnu::noinline]] void dump(const qv_tree *t, const dump_format &format, int32_t depth) {
    for (; t != null && t != nullptr; t = t->right, ++depth) {
        if (format.order == QV_TREE_PREORDER)
            dump_node(t, format, depth);
        dump(t->left, format, depth + 1);
        if (format.order == QV_TREE_INORDER)
            dump_node(t, format, depth);
        if (format.order == QV_TREE_POSTORDER) {
            dump(t->right, format, depth + 1);
            dump_node(t, format, depth);
            return;
        }
    }
}

// Counts a node again from its children. The sentinel counts 0.
void recount(qv_tree *t) {
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
qv_tree *rotate(qv_tree *t) {
    qv_tree *const x = child_of(t, !right);
    if (x == null)
        return t;
    *link_of(t, !right) = child_of(x, right);
    recount(t);
    *link_of(x, right) = t;
    recount(x);
    return x;
}

} // namespace

qv_tree *qv_tree_new(void *item) {
    auto *const t = static_cast<qv_tree *>(malloc(sizeof(qv_tree)));
    if (t != nullptr)
        *t = {.count = 1, .item = item, .left = null, .right = null};
    return t;
}

qv_tree *qv_tree_insert(qv_tree *root, qvds_compare_fn compare, void *item) {
    const path way = find_path(&root, compare, item);
    if (*way.link != null)
        return root;
    qv_tree *const leaf = qv_tree_new(item);
    if (leaf == nullptr)
        return root != null ? root : nullptr;
    add_to_counts(way, root, 1);
    *way.link = leaf;
    return root;
}

qv_tree *qv_tree_find(const qv_tree *root, qvds_compare_fn compare, const void *item) {
    const qv_tree *t = root;
    while (t != null) {
        prefetch_items_below(t);
        const int32_t order = compare(item, t->item);
        if (order == 0)
            return const_cast<qv_tree *>(t);
        t = child_of(t, order > 0);
    }
    return nullptr;
}

void qv_tree_iter(qv_tree *root, qvds_visit_fn visit, int32_t order, void *ctx) {
    if (order == QV_TREE_INORDER)
        walk<QV_TREE_INORDER>(root, visit, ctx);
    else if (order == QV_TREE_PREORDER)
        walk<QV_TREE_PREORDER>(root, visit, ctx);
    else if (order == QV_TREE_POSTORDER)
        walk<QV_TREE_POSTORDER>(root, visit, ctx);
}

void qv_tree_dump(const qv_tree *root, qv_tree_print_fn print, int32_t order, FILE *stream,
                  int32_t depth) {
    dump(root, {print, stream, order}, depth);
}

qv_tree *qv_tree_rotate_right(qv_tree *root) {
    return rotate<true>(root);
}

qv_tree *qv_tree_rotate_left(qv_tree *root) {
    return rotate<false>(root);
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
qv_tree *qv_tree_partition(qv_tree *root, int32_t rank) {
    if (root == null)
        return root;
    const uint32_t count = root->count;
    uint32_t target = rank < 0 ? 0 : static_cast<uint32_t>(rank);
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

qv_tree *qv_tree_balance(qv_tree *root) {
    if (static_cast<int32_t>(root->count) < 2)
        return root;
    return build(root, root->count).root;
}

qv_tree *qv_tree_join(qv_tree *a, qv_tree *b) {
    if (b == null)
        return a;
    if (a == null)
        return b;
    qv_tree *const smallest = qv_tree_partition(b, 0);
    smallest->count += a->count;
    smallest->left = a;
    return smallest;
}

qv_tree *qv_tree_delete(qv_tree *root, qvds_compare_fn compare, const void *item) {
    const path way = find_path(&root, compare, item);
    qv_tree *const t = *way.link;
    if (t == null)
        return root;
    add_to_counts(way, root, -1U);
    *way.link = qv_tree_join(t->left, t->right);
    free(t);
    return root;
}

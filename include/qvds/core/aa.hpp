// The AA tree, without parent links. See aa.h for the records and the invariants, docs/trees.md for
// the pictures of skew and split.
//
// Three things here differ from the textbook's AA tree, and the trees they make depend on each:
//
//   - Insertion mends every place on its way back up that is out of order, also above a subtree
//     that came back unchanged. After deletions a tree at rest may hold nodes on which a skew or a
//     split would act.
//   - Deletion moves the neighbouring node itself, since a payload of unknown size and alignment
//     cannot be copied and pointers into the tree must stay good.
//   - A missing child is no child at level 0: aa_decrease_level passes it over.
//
// Every descent is told at each node where to turn, by one callable: what order(node) gives is a turn
// (order.hpp).
//
// What a descent does not read but the way back does, it asks for early: in a tree larger than the
// cache each such node is a miss.

#ifndef QVDS_CORE_AA_HPP
#define QVDS_CORE_AA_HPP

#include <qvds/aa.h>
#include <qvds/core/order.hpp>

namespace qvds::core {

static_assert(sizeof(AA_node) == 3 * sizeof(void *), "the payload follows the header directly");

// A turn that never finds.
struct aa_side {
    bool leftwards;
    static constexpr bool found() { return false; }
    bool left() const { return leftwards; }
};

// The length of the path that a descent keeps by itself. Heights are not bounded, so each of them
// also has a way to go on beyond it, which tests reach with a shorter one.
inline constexpr size_t aa_path_length = 64;

// Stands in for a child that is missing where its level is looked at: none has this one.
QVDS_HIDDEN inline constexpr AA_node aa_nil{};

QVDS_HIDDEN inline const AA_node *or_nil(const AA_node *node) {
    return node != nullptr ? node : &aa_nil;
}

// -- The steps that rebalance a place ----------------------------------------------------------
// Each takes the root of a subtree, or null, and looks no further down than it says.

// Turns a left child on the node's own level up into its place. Returns the subtree's root.
QVDS_HIDDEN inline AA_node *aa_skew(AA_node *node) {
    if (node == nullptr || node->left == nullptr || node->left->level != node->level)
        return node;
    AA_node *const left = node->left;
    node->left = left->right;
    left->right = node;
    return left;
}

// Turns the right child up into the node's place, and one level higher, if the right grandchild
// beyond it is on the node's own level. Returns the subtree's root.
QVDS_HIDDEN inline AA_node *aa_split(AA_node *node) {
    if (node == nullptr || node->right == nullptr || node->right->right == nullptr ||
        node->right->right->level != node->level)
        return node;
    AA_node *const right = node->right;
    node->right = right->left;
    right->left = node;
    right->level += 1;
    return right;
}

// Whether a skew, or a split, would act on the node.
QVDS_HIDDEN inline bool aa_skews(const AA_node *node) {
    return or_nil(node->left)->level == node->level;
}
QVDS_HIDDEN inline bool aa_splits(const AA_node *node) {
    return or_nil(or_nil(node->right)->right)->level == node->level;
}

// The level of the lower one of the children, or 0. A child that is missing does not count.
QVDS_HIDDEN inline size_t aa_lowest_child(const AA_node *node) {
    size_t lowest = 0;
    if (node->left != nullptr)
        lowest = node->left->level;
    if (node->right != nullptr && (node->left == nullptr || node->right->level < lowest))
        lowest = node->right->level;
    return lowest;
}

// Lowers a node that is more than one level above the lowest of its children, and with it a right
// child that would then be above it.
QVDS_HIDDEN inline void aa_decrease_level(AA_node *node) {
    if (node == nullptr)
        return;
    const size_t lowest = aa_lowest_child(node);
    if (lowest + 1 < node->level) {
        node->level = lowest + 1;
        if (node->right != nullptr && node->right->level > lowest + 1)
            node->right->level = lowest + 1;
    }
}

// Mends the place of a node one of whose subtrees has lost a node. Returns the subtree's root.
QVDS_HIDDEN inline AA_node *aa_rebalance(AA_node *node) {
    aa_decrease_level(node);
    node = aa_skew(node);
    node->right = aa_skew(node->right);
    if (AA_node *const right = node->right)
        right->right = aa_skew(right->right);
    node = aa_split(node);
    node->right = aa_split(node->right);
    return node;
}

// Whether that would change anything.
QVDS_HIDDEN inline bool aa_rebalances(const AA_node *node) {
    if (aa_lowest_child(node) + 1 < node->level || aa_skews(node))
        return true;
    const AA_node *const right = node->right;
    if (right == nullptr)
        return false;
    return aa_skews(right) || aa_splits(node) || aa_splits(right) ||
           (right->right != nullptr && aa_skews(right->right));
}

// -- Search ------------------------------------------------------------------------------------

// The node that order finds, or null.
template <class Order>
QVDS_HIDDEN inline AA_node *aa_find(const AA_node *node, Order order) {
    while (node != nullptr) {
        __builtin_prefetch(node->left);
        __builtin_prefetch(node->right);
        const auto turn = order(node);
        if (turn.found())
            break;
        node = pick(turn.left(), node->left, node->right);
    }
    return const_cast<AA_node *>(node);
}

// The node that order finds; else the one next to the place where it ends, the last that it turned
// left at, which is the first above the place, or with left false the last below it; or null.
template <bool left = true, class Order>
QVDS_HIDDEN inline AA_node *aa_bound(const AA_node *node, Order order) {
    const AA_node *beside = nullptr;
    while (node != nullptr) {
        __builtin_prefetch(node->left);
        __builtin_prefetch(node->right);
        const auto turn = order(node);
        if (turn.found())
            return const_cast<AA_node *>(node);
        beside = turn.left() == left ? node : beside;
        node = pick(turn.left(), node->left, node->right);
    }
    return const_cast<AA_node *>(beside);
}

// The outermost node of a subtree on the left, or null for null.
QVDS_HIDDEN inline AA_node *aa_first(const AA_node *node) {
    if (node != nullptr)
        while (node->left != nullptr)
            node = node->left;
    return const_cast<AA_node *>(node);
}

QVDS_HIDDEN inline AA_node *aa_last(const AA_node *node) {
    if (node != nullptr)
        while (node->right != nullptr)
            node = node->right;
    return const_cast<AA_node *>(node);
}

// -- Insertion ---------------------------------------------------------------------------------

QVDS_HIDDEN inline void aa_reset(AA_node *node) {
    *node = {.level = 1, .left = nullptr, .right = nullptr};
}

// aa_insert where the path is full. Inlined, it would take a path in the frame of its caller.
template <size_t length, class Order>
QVDS_HIDDEN AA_node *aa_insert_beyond(AA_node *&root, AA_node *fresh, Order order);

// Puts fresh, which is reset then, where order ends. Returns the node that order finds instead, or
// null.
//
// What skew and split do at a node depends on nothing but its own level, its left child's and its
// right grandchild's. So above two nodes in a row that they left alone, they would do what they
// would have done before the insertion, and the way back ends there if that is nothing. The way
// down, which branches, since ascending and descending input is predicted, has looked at that.
template <size_t length = aa_path_length, class Order>
QVDS_HIDDEN inline AA_node *aa_insert(AA_node *&root, AA_node *fresh, Order order) {
    AA_node **path[length]; // the links to the nodes from the root down to the place
    size_t depth = 0;
    bool restless = false;
    AA_node **link = &root;
    AA_node *node = root;
    while (node != nullptr && depth != length) {
        path[depth++] = link;
        restless |= aa_skews(node);
        restless |= aa_splits(node);
        const auto turn = order(node);
        if (turn.found())
            return node;
        if (turn.left()) {
            link = &node->left;
            node = node->left;
        } else {
            link = &node->right;
            node = node->right;
        }
    }
    if (node == nullptr) {
        aa_reset(fresh);
        *link = fresh;
    } else if (AA_node *const match = aa_insert_beyond<length>(*link, fresh, order)) {
        return match;
    }
    int left_alone = 0;
    while (depth != 0) {
        link = path[--depth];
        node = *link;
        const size_t level = node->level;
        AA_node *const mended = aa_split(aa_skew(node));
        if (mended != node || mended->level != level) { // both steps bring the node back, higher
            *link = mended;
            left_alone = 0;
        } else if (++left_alone >= 2 && !restless) {
            break;
        }
    }
    return nullptr;
}

template <size_t length, class Order>
[[gnu::noinline, gnu::cold]] AA_node *aa_insert_beyond(AA_node *&root, AA_node *fresh,
                                                       Order order) {
    return aa_insert<length>(root, fresh, order);
}

// -- Deletion ----------------------------------------------------------------------------------

// How deletion gets from a node that goes to heir, its neighbour at the far end of one subtree: by
// the direction alone.
struct aa_straight {
    struct turn {
        bool at_heir, leftwards;
        bool found() const { return at_heir; }
        bool left() const { return leftwards; }
    };
    auto operator()(const AA_node *heir, bool left) const {
        return [=](const AA_node *node) { return turn{node == heir, left}; };
    }
};

// Stands in for the nodes above a root. Nothing would change it.
QVDS_HIDDEN inline constexpr AA_node aa_leaf{.level = 1, .left = nullptr, .right = nullptr};

// The way down through a subtree to the place of a node that goes, and back up.
//
// What aa_rebalance does at a node depends on levels down to the third below it; and where one of
// the third would make it act, that would make it act one or two nodes further down, too. So above
// two nodes in a row that it left alone it does what it would have done before the deletion, and the
// way back ends there if that is nothing. The way down looks at that, two nodes behind itself: the
// way back comes by the last two in any case, and to guess which of the lowest nodes have children
// is mostly in vain.
template <size_t length>
class aa_way {
  public:
    QVDS_HIDDEN aa_way() = default;

    // Goes down to where order ends, or where the path is full. Returns the link to that place, and
    // whether order found its node.
    template <class Order>
    QVDS_HIDDEN AA_node **descend(AA_node **link, Order order, bool &found) {
        found = false;
        const AA_node *above = &aa_leaf, *parent = &aa_leaf;
        while (*link != nullptr && depth_ != length) {
            AA_node *const node = *link;
            __builtin_prefetch(node->left);
            __builtin_prefetch(node->right);
            restless_ |= aa_rebalances(above);
            above = parent;
            parent = node;
            const auto turn = order(node);
            found = turn.found();
            if (found)
                break;
            path_[depth_++] = link;
            link = pick(turn.left(), &node->left, &node->right);
        }
        return link;
    }

    // Mends the places that it came by.
    QVDS_HIDDEN void mend() {
        int left_alone = 0;
        while (depth_ != 0 && (left_alone < 2 || restless_)) {
            AA_node **const link = path_[--depth_];
            if (aa_rebalances(*link)) {
                *link = aa_rebalance(*link);
                left_alone = 0;
            } else {
                ++left_alone;
            }
        }
    }

  private:
    AA_node **path_[length]; // the links to the nodes that it came by
    size_t depth_ = 0;
    bool restless_ = false;
};

// aa_replace and aa_erase where they need a path of their own once more.
template <size_t length, class Search>
QVDS_HIDDEN AA_node *aa_replace_beyond(AA_node *node, Search search);
template <size_t length, class Order, class Search>
QVDS_HIDDEN void aa_erase_beyond(AA_node *&root, Order order, AA_node *&taken, Search search);

// Takes the place of a node from it, and mends it. Returns what stands there then.
//
// The heir leaves its own place first, and then takes over all that the node has by then:
//
//      node           heir      heir is the largest node of a, and a' is what is left of a
//      /  \           /  \      without it. If there is no a, heir is the smallest node of b.
//     a    b   ->   a'    b
template <size_t length, class Search>
QVDS_HIDDEN inline AA_node *aa_replace(AA_node *node, Search search) {
    const bool leftwards = node->left == nullptr;
    AA_node *const heir = leftwards ? aa_first(node->right) : aa_last(node->left);
    if (heir == nullptr)
        return nullptr;
    const auto order = search(heir, leftwards);
    aa_way<length> way;
    bool found = false;
    AA_node **const link = way.descend(leftwards ? &node->right : &node->left, order, found);
    AA_node *detached = nullptr;
    if (!found)
        aa_erase_beyond<length>(*link, order, detached, search);
    else if (heir->left != nullptr || heir->right != nullptr)
        *link = aa_replace_beyond<length>(heir, search);
    else
        *link = nullptr;
    way.mend();
    *heir = *node;
    return aa_rebalance(heir);
}

// Takes out the node that order finds, its links then null, and notes it in taken; else taken is
// left as it is, though nodes on the way may be rebalanced. search(heir, left) gives the order for
// the second half of the way.
template <size_t length = aa_path_length, class Order, class Search = aa_straight>
QVDS_HIDDEN inline void aa_erase(AA_node *&root, Order order, AA_node *&taken, Search search = {}) {
    aa_way<length> way;
    bool found = false;
    AA_node **const link = way.descend(&root, order, found);
    if (AA_node *const node = *link) {
        if (found) {
            *link = aa_replace<length>(node, search);
            node->left = nullptr;
            node->right = nullptr;
            taken = node;
        } else {
            aa_erase_beyond<length>(*link, order, taken, search);
        }
    }
    way.mend();
}

template <size_t length, class Search>
[[gnu::noinline, gnu::cold]] AA_node *aa_replace_beyond(AA_node *node, Search search) {
    return aa_replace<length>(node, search);
}
template <size_t length, class Order, class Search>
[[gnu::noinline, gnu::cold]] void aa_erase_beyond(AA_node *&root, Order order, AA_node *&taken,
                                                  Search search) {
    aa_erase<length>(root, order, taken, search);
}

// -- The whole tree ----------------------------------------------------------------------------

// Calls visit(node) in ascending order, until it returns true. Returns the node where it did.
template <class Visit>
QVDS_HIDDEN inline AA_node *aa_iterate(AA_node *node, Visit visit) {
    while (node != nullptr) {
        AA_node *const right = node->right;
        __builtin_prefetch(right);
        if (node->left != nullptr)
            if (AA_node *const stop = aa_iterate(node->left, visit))
                return stop;
        if (visit(node))
            return node;
        node = right;
    }
    return nullptr;
}

// Takes out all nodes, children before their parent, and hands each to dispose once it is out, its
// links null. Where dispose throws, the rest is still in.
template <class Dispose>
QVDS_HIDDEN inline void aa_dispose(AA_node *&root, Dispose &dispose) {
    AA_node *const node = root;
    if (node == nullptr)
        return;
    __builtin_prefetch(node->right);
    if (node->left != nullptr)
        aa_dispose(node->left, dispose);
    if (node->right != nullptr)
        aa_dispose(node->right, dispose);
    root = nullptr;
    dispose(node);
}

// Hands a tree to dispose when it goes, unless that has been released.
template <class Dispose>
struct aa_disposed {
    AA_node *root;
    Dispose &dispose;

    QVDS_HIDDEN ~aa_disposed() { aa_dispose(root, dispose); }
    QVDS_HIDDEN AA_node *release() {
        AA_node *const whole = root;
        root = nullptr;
        return whole;
    }
};

// Copies shape and levels into copy, which is null before, from the root down.
template <class Clone>
QVDS_HIDDEN inline bool aa_dup_into(AA_node *&copy, const AA_node *root, Clone &clone) {
    AA_node **link = &copy;
    for (; root != nullptr; root = root->right) {
        AA_node *const made = clone(root);
        if (made == nullptr)
            return false;
        *made = {.level = root->level, .left = nullptr, .right = nullptr};
        *link = made;
        if (!aa_dup_into(made->left, root->left, clone))
            return false;
        link = &made->right;
    }
    return true;
}

// A tree of the same shape and levels. clone(node) makes a node, or null to give up. Then, and where
// it throws, what has been made by then goes to dispose. Returns the root, or null.
template <class Clone, class Dispose>
QVDS_HIDDEN inline AA_node *aa_dup(const AA_node *root, Clone clone, Dispose dispose) {
    aa_disposed<Dispose> copy{nullptr, dispose};
    return aa_dup_into(copy.root, root, clone) ? copy.release() : nullptr;
}

// -- Walks that are not in one piece -----------------------------------------------------------

// The way from a node upwards: the nodes above it that come behind it in order, the nearest last. It
// keeps the nearest alone, as many as length says.
template <size_t length = aa_path_length>
class aa_path {
  public:
    // Goes down to where order leads. Returns the node there, else the first above the place, or
    // null.
    template <class Order>
    AA_node *seek(AA_node *node, Order order) {
        depth_ = forgotten_ = 0;
        while (node != nullptr) {
            const auto turn = order(node);
            if (turn.found())
                return node;
            if (turn.left()) {
                push(node);
                node = node->left;
            } else {
                node = node->right;
            }
        }
        return pop();
    }

    // Goes down to the first node of a subtree.
    AA_node *first(AA_node *node) noexcept {
        if (node != nullptr) {
            while (AA_node *const left = node->left) {
                __builtin_prefetch(node->right);
                push(node);
                node = left;
            }
        }
        return node;
    }

    // The node behind this one, where the path stands; null if there is none, or none is kept.
    AA_node *next(const AA_node *node) noexcept {
        AA_node *const right = node->right;
        return right != nullptr ? first(right) : pop();
    }

    // Whether what pop has no more of has been kept once.
    bool has_forgotten() const noexcept { return forgotten_ != 0; }

  private:
    void push(AA_node *node) noexcept {
        nodes_[depth_++ % length] = node;
        if (depth_ - forgotten_ > length)
            ++forgotten_;
    }
    AA_node *pop() noexcept { return depth_ != forgotten_ ? nodes_[--depth_ % length] : nullptr; }

    AA_node *nodes_[length];
    size_t depth_ = 0, forgotten_ = 0;
};

} // namespace qvds::core

#endif

// An AA tree without parent links, so what must be mended on the way back up is remembered by
// recursion; searches and walks that need not come back are loops. The depth is the tree's height.
//
// Three things here differ from the textbook's AA tree, and the trees they make depend on each:
//
//   - Insertion rebalances all the way up, also above a subtree that came back unchanged. After
//     deletions a tree at rest may hold nodes on which a split would act.
//   - Deletion moves the neighbouring node itself, since a payload of unknown size and alignment
//     cannot be copied and pointers into the tree must stay good. The neighbour is deleted from its
//     own place by a search of its own, so compare sees it as a key.
//   - A missing child is no child at level 0: AA_decrease_level passes it over.
//
// The way back looks at nodes beside the path, which the way down does not read. In a tree larger
// than the cache each is a miss, so the way down asks for them early.

#include <qvds/aa.h>

#include <cstdint>
#include <cstdlib>
#include <cstring>

#include "aa_internal.hpp"

using namespace qvds;

static_assert(sizeof(AA_node) == 3 * sizeof(void *), "the payload follows the header directly");

namespace {

void reset(AA_node *node) {
    *node = {.level = 1, .left = nullptr, .right = nullptr};
}

// Whether order is -1 or 1 and so no match, in a single test: two would branch on the side.
bool leads_on(int32_t order) {
    return ((static_cast<uint32_t>(order) + 1) & ~2U) == 0;
}

// The child that order, which is -1 or 1, leads to. A branch on it would be mispredicted at every
// second level of a search, and compilers make one of a conditional expression.
const AA_node *child_towards(int32_t order, const AA_node *node) {
    const auto left = __builtin_bit_cast(uintptr_t, node->left);
    const auto right = __builtin_bit_cast(uintptr_t, node->right);
    const auto leftwards = static_cast<uintptr_t>(order >> 31); // all ones or all zeros
    return __builtin_bit_cast(const AA_node *, right ^ ((left ^ right) & leftwards));
}

// Mends the place of a node one of whose subtrees has lost a node. Returns the subtree's root.
AA_node *rebalance(AA_node *node) {
    AA_decrease_level(node);
    node = AA_skew(node);
    node->right = AA_skew(node->right);
    if (AA_node *const right = node->right)
        right->right = AA_skew(right->right);
    node = AA_split(node);
    node->right = AA_split(node->right);
    return node;
}

// AA_insert for a node that has been reset. The descent branches, other than in a search: ascending
// and descending input is common, and predicted.
AA_node *insert(AA_node *root, AA_node *node, qvds_compare_fn compare, AA_node **dup) {
    if (root == nullptr) {
        if (dup != nullptr)
            *dup = nullptr;
        return node;
    }
    __builtin_prefetch(root->left);
    if (root->right != nullptr)
        __builtin_prefetch(root->right->right);
    const int32_t order = compare(node, root);
    if (order == -1) {
        AA_node *const child = insert(root->left, node, compare, dup);
        if (child == nullptr)
            return nullptr;
        root->left = child;
    } else if (order == 1) {
        AA_node *const child = insert(root->right, node, compare, dup);
        if (child == nullptr)
            return nullptr;
        root->right = child;
    } else {
        if (dup != nullptr)
            *dup = root;
        return nullptr;
    }
    return AA_split(AA_skew(root));
}

} // namespace

AA_node *qvds::AA_skew(AA_node *node) {
    if (node == nullptr || node->left == nullptr || node->left->level != node->level)
        return node;
    AA_node *const left = node->left;
    node->left = left->right;
    left->right = node;
    return left;
}

AA_node *qvds::AA_split(AA_node *node) {
    if (node == nullptr || node->right == nullptr || node->right->right == nullptr ||
        node->right->right->level != node->level)
        return node;
    AA_node *const right = node->right;
    node->right = right->left;
    right->left = node;
    right->level += 1;
    return right;
}

void qvds::AA_decrease_level(AA_node *node) {
    if (node == nullptr)
        return;
    size_t lowest = 0;
    if (node->left != nullptr)
        lowest = node->left->level;
    if (node->right != nullptr && (node->left == nullptr || node->right->level < lowest))
        lowest = node->right->level;
    if (lowest + 1 < node->level) {
        node->level = lowest + 1;
        if (node->right != nullptr && node->right->level > lowest + 1)
            node->right->level = lowest + 1;
    }
}

void *AA_new(size_t size) {
    if (size > SIZE_MAX - sizeof(AA_node))
        return nullptr;
    auto *const node = static_cast<AA_node *>(malloc(sizeof(AA_node) + size));
    if (node != nullptr)
        reset(node);
    return node;
}

void AA_free(AA_node *root) {
    if (root == nullptr)
        return;
    AA_free(root->left);
    AA_free(root->right);
    free(root);
}

AA_node *AA_dup(const AA_node *root, size_t size) {
    if (root == nullptr)
        return nullptr;
    auto *const copy = static_cast<AA_node *>(AA_new(size));
    if (copy == nullptr)
        return nullptr;
    copy->left = AA_dup(root->left, size);
    if (copy->left != nullptr || root->left == nullptr) {
        copy->right = AA_dup(root->right, size);
        if (copy->right != nullptr || root->right == nullptr) {
            copy->level = root->level;
            memcpy(copy + 1, root + 1, size);
            return copy;
        }
    }
    AA_free(copy); // with whatever hangs on it
    return nullptr;
}

AA_node *AA_insert(AA_node *root, void *node, qvds_compare_fn compare, AA_node **dup) {
    auto *const fresh = static_cast<AA_node *>(node);
    if (fresh != nullptr)
        reset(fresh);
    return insert(root, fresh, compare, dup);
}

AA_node *AA_delete(AA_node *root, const void *key, qvds_compare_fn compare, AA_node **out) {
    if (root == nullptr || key == nullptr) {
        if (out != nullptr)
            *out = nullptr;
        return root;
    }
    __builtin_prefetch(root->left);
    if (root->right != nullptr) {
        __builtin_prefetch(root->right->left);
        __builtin_prefetch(root->right->right);
    }
    const int32_t order = compare(key, root);
    if (order == -1) {
        root->left = AA_delete(root->left, key, compare, out);
        return rebalance(root);
    }
    if (order == 1) {
        root->right = AA_delete(root->right, key, compare, out);
        return rebalance(root);
    }
    // The heir leaves its own place first, and then takes over all that root has by then:
    //
    //      root           heir      heir is the largest node of a, and a' is what is left of a
    //      /  \           /  \      without it. If there is no a, heir is the smallest node of b.
    //     a    b   ->   a'    b
    AA_node *heir = nullptr;
    AA_node *detached = nullptr;
    if (root->left != nullptr) {
        heir = static_cast<AA_node *>(AA_last(root->left));
        root->left = AA_delete(root->left, heir, compare, &detached);
    } else if (root->right != nullptr) {
        heir = static_cast<AA_node *>(AA_first(root->right));
        root->right = AA_delete(root->right, heir, compare, &detached);
    }
    if (heir != nullptr)
        *heir = *root;
    root->left = nullptr;
    root->right = nullptr;
    if (out != nullptr)
        *out = root;
    else
        free(root);
    return heir != nullptr ? rebalance(heir) : nullptr;
}

void *AA_find(const AA_node *root, const void *key, qvds_compare_fn compare) {
    if (key == nullptr)
        return nullptr;
    while (root != nullptr) {
        const int32_t order = compare(key, root);
        if (!leads_on(order))
            break;
        root = child_towards(order, root);
    }
    return const_cast<AA_node *>(root);
}

void *AA_first(const AA_node *root) {
    if (root != nullptr)
        while (root->left != nullptr)
            root = root->left;
    return const_cast<AA_node *>(root);
}

void *AA_last(const AA_node *root) {
    if (root != nullptr)
        while (root->right != nullptr)
            root = root->right;
    return const_cast<AA_node *>(root);
}

void *AA_iterate(const AA_node *root, qvds_visit_fn visit, void *ctx) {
    if (visit == nullptr)
        return nullptr;
    for (; root != nullptr; root = root->right) {
        __builtin_prefetch(root->right);
        if (void *const stop = AA_iterate(root->left, visit, ctx))
            return stop;
        AA_node *const node = const_cast<AA_node *>(root);
        if (visit(node, ctx) != 0)
            return node;
    }
    return nullptr;
}

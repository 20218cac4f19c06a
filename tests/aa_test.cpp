// The AA tree beside a plain rendering of its steps.

#include <qvds/aa.h>

#include <algorithm>
#include <array>
#include <string>
#include <utility>
#include <vector>

#include "support.hpp"

namespace {

struct Record {
    AA_node node;
    int key;
};

int key_of(const void *node) {
    return static_cast<const Record *>(node)->key;
}

std::string calls;

// Matches with -2, 0 or 2: nothing but -1 and 1 may lead on.
int32_t compare(const void *key, const void *elem) {
    const int a = key_of(key), b = key_of(elem);
    calls += std::to_string(a) + "?" + std::to_string(b) + " ";
    return a < b ? -1 : a > b ? 1 : a % 3 * 2 - 2;
}

// Key and level of each node, parents before children.
std::string picture(const AA_node *node) {
    return node == nullptr ? "."
                           : std::to_string(key_of(node)) + "@" + std::to_string(node->level) +
                                 picture(node->left) + picture(node->right);
}

AA_node *skew(AA_node *node) {
    AA_node *const left = node != nullptr ? node->left : nullptr;
    if (left == nullptr || left->level != node->level)
        return node;
    node->left = std::exchange(left->right, node);
    return left;
}

AA_node *split(AA_node *node) {
    AA_node *const right = node != nullptr ? node->right : nullptr;
    if (right == nullptr || right->right == nullptr || right->right->level != node->level)
        return node;
    node->right = std::exchange(right->left, node);
    ++right->level;
    return right;
}

AA_node *plain_insert(AA_node *root, void *node, qvds_compare_fn order_of, AA_node **dup) {
    *static_cast<AA_node *>(node) = {1, nullptr, nullptr};
    *dup = root;
    if (root == nullptr)
        return static_cast<AA_node *>(node);
    const int32_t order = order_of(node, root);
    if (order != -1 && order != 1)
        return nullptr;
    AA_node *&child = order == -1 ? root->left : root->right;
    AA_node *const inserted = plain_insert(child, node, order_of, dup);
    if (inserted == nullptr)
        return nullptr;
    child = inserted;
    return split(skew(root));
}

AA_node *plain_delete(AA_node *root, const void *key, qvds_compare_fn order_of, AA_node **out) {
    *out = root;
    if (root == nullptr)
        return nullptr;
    AA_node *top = root;
    const int32_t order = order_of(key, root);
    if (order == -1 || order == 1) {
        AA_node *&child = order == -1 ? root->left : root->right;
        child = plain_delete(child, key, order_of, out);
    } else {
        AA_node *&child = root->left != nullptr ? root->left : root->right;
        void *const neighbour = root->left != nullptr ? AA_last(child) : AA_first(child);
        if (neighbour == nullptr)
            return nullptr;
        child = plain_delete(child, neighbour, order_of, &top);
        *top = {root->level, root->left, root->right};
        root->left = root->right = nullptr;
    }
    size_t lowest = SIZE_MAX;
    for (const AA_node *const child : {top->left, top->right})
        lowest = std::min(lowest, child != nullptr ? child->level : SIZE_MAX);
    const size_t level = lowest == SIZE_MAX ? 1 : lowest + 1;
    if (level < top->level) {
        top->level = level;
        if (top->right != nullptr)
            top->right->level = std::min(top->right->level, level);
    }
    top = skew(top);
    top->right = skew(top->right);
    if (top->right != nullptr)
        top->right->right = skew(top->right->right);
    top = split(top);
    top->right = split(top->right);
    return top;
}

struct Tree {
    decltype(&AA_insert) insert;
    decltype(&AA_delete) remove;
    std::vector<Record> records{};
    AA_node *root = nullptr;
};

Tree tree_for(size_t n, bool of_library) {
    Tree tree{of_library ? AA_insert : plain_insert, of_library ? AA_delete : plain_delete};
    for (size_t i = 0; i < n; ++i)
        tree.records.push_back({{9, nullptr, nullptr}, static_cast<int>(i)});
    return tree;
}

// Inserts or deletes a key, and tells all that can be seen of it: the calls of compare, the result,
// the tree, and the header of a node that is not in it.
std::string step(Tree &tree, bool inserting, size_t key) {
    Record probe{{9, &probe.node, &probe.node}, static_cast<int>(key)};
    Record *const record = &tree.records[key];
    const bool stored = AA_find(tree.root, &probe, compare) == record;
    AA_node *found = &probe.node;
    calls.clear();
    AA_node *const root = inserting
                              ? tree.insert(tree.root, stored ? &probe : record, compare, &found)
                              : tree.remove(tree.root, &probe, compare, &found);
    if (!inserting || root != nullptr)
        tree.root = root;
    EXPECT_EQ(found, stored ? &record->node : nullptr);
    std::string seen = calls + picture(root) + picture(tree.root);
    return stored ? seen + picture(inserting ? &probe.node : &record->node) : seen;
}

// Names the first invariant that does not hold in a tree made by insertions, or nothing.
std::string broken(const AA_node *node, const AA_node *&last) {
    if (node == nullptr)
        return "";
    const AA_node *const l = node->left, *const r = node->right;
    if (std::string below = broken(l, last); !below.empty())
        return below;
    if (last != nullptr && compare(node, last) != 1)
        return "I1";
    last = node;
    const size_t level = node->level;
    const char *const fault = l != nullptr && l->level + 1 != level                        ? "I2a"
                              : r != nullptr && r->level != level && r->level + 1 != level ? "I2b"
                              : r != nullptr && r->right != nullptr && r->right->level >= level
                                  ? "I2c"
                              : (l == nullptr || r == nullptr) && level != 1 ? "I2d"
                                                                             : "";
    return *fault != '\0' ? fault : broken(r, last);
}

std::string broken(const AA_node *root) {
    const AA_node *last = nullptr;
    return broken(root, last);
}

TEST(AaTree, FollowsTheLevelRulesUnlessAnInvariantIsBroken) {
    const auto broken_by = [](auto change) {
        Tree tree = tree_for(8, true);
        for (size_t key = 1; key < 8; ++key)
            step(tree, true, key);
        change(tree.records);
        return broken(tree.root);
    };
    EXPECT_EQ(broken_by([](auto &) {}), "");
    EXPECT_EQ(broken_by([](auto &record) { std::swap(record[3].key, record[4].key); }), "I1");
    EXPECT_EQ(broken_by([](auto &record) { record[2].node.level = 3; }), "I2a");
    EXPECT_EQ(broken_by([](auto &record) { record[7].node.level = 0; }), "I2b");
    EXPECT_EQ(broken_by([](auto &record) { record[7].node.level = 3; }), "I2c");
    EXPECT_EQ(broken_by([](auto &record) { record[6].node.right = nullptr; }), "I2d");
}

TEST(AaTree, HasTheShapeOfThePlainStepsInAllOrdersOfFive) {
    std::array<size_t, 5> in{0, 1, 2, 3, 4}, out = in;
    do {
        do {
            Tree ours = tree_for(5, true), plain = tree_for(5, false);
            for (const size_t key : in)
                ASSERT_EQ(step(ours, true, key), step(plain, true, key));
            ASSERT_EQ(broken(ours.root), "");
            for (const size_t key : out)
                ASSERT_EQ(step(ours, false, key), step(plain, false, key));
        } while (std::next_permutation(out.begin(), out.end()));
    } while (std::next_permutation(in.begin(), in.end()));
}

TEST(AaTree, HasTheShapeOfThePlainStepsAfterMixedSteps) {
    test::for_each_seed([](test::Random &random) {
        Tree ours = tree_for(90, true), plain = tree_for(90, false);
        for (size_t i = 0; i < 2000; ++i) {
            const bool inserting = random.below(10) < (i / 500 % 2 == 0 ? 6u : 4u);
            const size_t key = random.below(90);
            ASSERT_EQ(step(ours, inserting, key), step(plain, inserting, key));
        }
    });
}

TEST(AaTree, TakesNullWhereItSaysSo) {
    Record record{{9, nullptr, nullptr}, 1}, twin = record;
    AA_node *const root = &record.node, *out = root;
    EXPECT_EQ(AA_insert(nullptr, &record, compare, nullptr), root);
    EXPECT_EQ(AA_insert(root, &twin, compare, nullptr), nullptr);
    EXPECT_EQ(AA_insert(nullptr, nullptr, compare, &out), nullptr);
    EXPECT_EQ(out, nullptr);
    out = root;
    EXPECT_EQ(AA_delete(root, nullptr, compare, &out), root);
    EXPECT_EQ(out, nullptr);
    EXPECT_EQ(AA_delete(root, nullptr, compare, nullptr), root);
    EXPECT_EQ(AA_find(root, nullptr, compare), nullptr);
    EXPECT_TRUE(AA_first(nullptr) == nullptr && AA_last(nullptr) == nullptr);
    EXPECT_EQ(AA_iterate(root, nullptr, nullptr), nullptr);
    EXPECT_EQ(AA_dup(nullptr, 8), nullptr);
    AA_free(nullptr);
}

TEST(AaTree, CopiesAllAndWalksInOrderToWhereItIsTold) {
    Tree tree = tree_for(100, true);
    for (size_t i = 0; i < 100; ++i)
        step(tree, true, i * 37 % 100);
    AA_node *const copy = AA_dup(tree.root, sizeof(Record) - sizeof(AA_node));
    EXPECT_EQ(picture(copy), picture(tree.root));
    AA_free(copy);
    for (int last = 0; last <= 100; ++last) {
        std::pair<int, int> walk{0, last}; // the next key, and the one to stop at
        void *const stopped = AA_iterate(
            tree.root,
            [](void *node, void *ctx) -> int32_t {
                auto &[next, stop_at] = *static_cast<std::pair<int, int> *>(ctx);
                EXPECT_EQ(key_of(node), next);
                return next++ == stop_at ? INT32_MIN : 0;
            },
            &walk);
        EXPECT_EQ(walk.first, std::min(last + 1, 100));
        EXPECT_EQ(stopped, last < 100 ? &tree.records[static_cast<size_t>(last)] : nullptr);
    }
}

} // namespace

// The AA tree's steps where no operation leads, and allocations that fail.

#include "trees/aa_internal.hpp"

#include "failing_alloc.hpp"
#include "support.hpp"

namespace {

int32_t compare_levels_of_payloads(const void *key, const void *elem) {
    const size_t a = static_cast<const AA_node *>(key)[1].level;
    const size_t b = static_cast<const AA_node *>(elem)[1].level;
    return (a > b) - (a < b);
}

TEST(AaSteps, TakeNullAndLeaveLowerChildrenAlone) {
    AA_node left{1, nullptr, nullptr}, far{1, nullptr, nullptr}, right{3, nullptr, &far};
    AA_node top{2, &left, &right}, level{1, &left, nullptr};
    for (AA_node *const node : {static_cast<AA_node *>(nullptr), &top, &level}) {
        qvds::AA_decrease_level(node);
        EXPECT_EQ(qvds::AA_split(node), node);
    }
    EXPECT_EQ(qvds::AA_skew(nullptr), nullptr);
    EXPECT_EQ(qvds::AA_skew(&top), &top);
    EXPECT_TRUE(top.level == 2 && right.level == 3 && level.level == 1);
}

TEST(AaAllocation, LeavesNothingBehindWhereItFails) {
    AA_node *root = nullptr, *copy = nullptr;
    for (const size_t key : {3U, 1U, 2U, 0U, 4U}) {
        auto *const node = static_cast<AA_node *>(AA_new(sizeof(AA_node)));
        EXPECT_TRUE(node->level == 1 && node->left == nullptr && node->right == nullptr);
        node[1].level = key;
        root = AA_insert(root, node, compare_levels_of_payloads, nullptr);
    }
    test::for_each_failing_allocation([&](const test::FailingAlloc &failing) {
        copy = AA_dup(root, sizeof(AA_node));
        EXPECT_EQ(copy == nullptr, failing.failed());
        EXPECT_EQ(test::live_blocks(), failing.failed() ? 5U : 10U);
    });
    AA_free(copy);
    root = AA_delete(root, root, compare_levels_of_payloads, nullptr);
    EXPECT_EQ(test::live_blocks(), 4U);
    AA_free(root);
    EXPECT_EQ(test::live_blocks(), 0U);
    for (const size_t excess : {size_t{1}, sizeof(AA_node)})
        EXPECT_EQ(AA_new(SIZE_MAX - sizeof(AA_node) + excess), nullptr);
}

} // namespace

// What the trees do where an allocation fails, and what they allocate and release.

#include <qvds/aa.h>
#include <qvds/qv_tree.h>
#include <qvds/qv_tree.hpp>

#include <cerrno>

#include "failing_alloc.hpp"
#include "support.hpp"

namespace {

qv_tree *const none = &qv_tree_null;

int32_t compare_addresses(const void *item, const void *stored) {
    return item < stored ? -1 : int32_t{item > stored};
}

struct Item {
    int key;
};

} // namespace

TEST(AaTree, FailedDupLeavesNothingOver) {
    AA_node leaf{1, nullptr, nullptr};
    AA_node n[] = {leaf, {2, &n[0], nullptr}, {3, &n[1], &n[3]}, {2, nullptr, &n[4]}, leaf};
    test::for_each_failing_allocation([&](const test::FailingAlloc &failing) {
        AA_node *const copy = AA_dup(&n[2], 0);
        EXPECT_EQ(copy == nullptr, failing.failed());
        EXPECT_EQ(test::live_blocks(), failing.failed() ? 0U : 5U);
        AA_free(copy);
        EXPECT_EQ(test::live_blocks(), 0U);
    });
}

TEST(AaTree, OnlyADeleteWithoutOutReleasesTheNode) {
    const auto match = [](const void *, const void *) -> int32_t { return 0; };
    void *const node = AA_new(0);
    AA_node *removed = nullptr;
    EXPECT_EQ(AA_delete(static_cast<AA_node *>(node), node, match, &removed), nullptr);
    EXPECT_EQ(test::live_blocks(), 1U);
    EXPECT_EQ(AA_delete(removed, node, match, nullptr), nullptr);
    EXPECT_EQ(test::live_blocks(), 0U);
}

TEST(CountedTree, FailedInsertionIntoAnEmptyTreeGivesNull) {
    int item = 0;
    test::for_each_failing_allocation([&](const test::FailingAlloc &failing) {
        errno = 0;
        qv_tree *const t = qv_tree_insert(none, compare_addresses, &item);
        EXPECT_EQ(t == nullptr, failing.failed());
        EXPECT_EQ(errno, failing.failed() ? ENOMEM : 0);
        EXPECT_EQ(qv_tree_delete(t != nullptr ? t : none, compare_addresses, &item), none);
        EXPECT_EQ(test::live_blocks(), 0U);
    });
}

TEST(CountedTree, FailedInsertionLeavesTheTreeAsItIs) {
    int items[2];
    qv_tree leaf{1, &items[1], none, none};
    test::for_each_failing_allocation([&](const test::FailingAlloc &failing) {
        errno = 0;
        EXPECT_EQ(qv_tree_insert(&leaf, compare_addresses, &items[0]), &leaf);
        EXPECT_EQ(errno, failing.failed() ? ENOMEM : 0);
        EXPECT_EQ(leaf.left == none, failing.failed());
        EXPECT_EQ(leaf.count, failing.failed() ? 1U : 2U);
        EXPECT_EQ(qv_tree_delete(&leaf, compare_addresses, &items[0]), &leaf);
        EXPECT_EQ(test::live_blocks(), 0U);
    });
}

TEST(TypedCountedTree, FailedInsertionIsAResult) {
    Item items[]{{1}, {2}};
    test::for_each_failing_allocation([&](const test::FailingAlloc &failing) {
        qvds::counted_tree<&Item::key> tree;
        for (Item &item : items) {
            const uint32_t before = tree.size();
            const auto [where, fresh] = tree.insert(item);
            EXPECT_EQ(where, fresh ? &item : nullptr);
            EXPECT_EQ(tree.size(), before + static_cast<uint32_t>(fresh));
        }
        EXPECT_EQ(tree.size(), failing.failed() ? 1U : 2U);
    });
    EXPECT_EQ(test::live_blocks(), 0U);
}

TEST(TypedCountedTree, FailedLoadAddsNothing) {
    Item items[]{{2}, {3}, {4}}, least{1};
    test::for_each_failing_allocation([&](const test::FailingAlloc &failing) {
        qvds::counted_tree<&Item::key> tree;
        if (!tree.insert(least).fresh)
            return;
        const bool loaded = tree.load_sorted(items) == qvds::load_result::loaded;
        EXPECT_EQ(loaded, !failing.failed());
        EXPECT_EQ(tree.size(), loaded ? 4U : 1U);
        EXPECT_EQ(test::live_blocks(), tree.size());
    });
    EXPECT_EQ(test::live_blocks(), 0U);
}

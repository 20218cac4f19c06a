#include <qvds/qv_tree.h>

#include <cerrno>

#include "failing_alloc.hpp"
#include "support.hpp"

namespace {

qv_tree *const none = &qv_tree_null;

int32_t compare_addresses(const void *item, const void *stored) {
    return item < stored ? -1 : int32_t{item > stored};
}

} // namespace

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

TEST(CountedTree, OnlyInsertionsThatAddANodeAllocate) {
    int item = 0;
    qv_tree *t = qv_tree_insert(none, compare_addresses, &item);
    EXPECT_EQ(test::live_blocks(), 1U);
    EXPECT_EQ(qv_tree_insert(t, compare_addresses, &item), t);
    EXPECT_EQ(test::live_blocks(), 1U);
    EXPECT_EQ(qv_tree_delete(t, compare_addresses, &item), none);
    EXPECT_EQ(test::live_blocks(), 0U);
}

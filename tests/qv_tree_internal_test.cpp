#include <qvds/qv_tree.h>

#include "failing_alloc.hpp"
#include "support.hpp"

#include <cerrno>

TEST(QvTreeInternal, FailedInsertionLeavesATraceOrDeletionABlock) {
    const auto compare = [](const void *a, const void *b) { return a < b ? -1 : int32_t{a > b}; };
    int items[2];
    qv_tree leaf{1, &items[1], &qv_tree_null, &qv_tree_null}, *const empty = &qv_tree_null;
    for (qv_tree *const root : {empty, &leaf})
        test::for_each_failing_allocation([&](const test::FailingAlloc &failing) {
            errno = 0;
            qv_tree *const t = qv_tree_insert(root, compare, items);
            EXPECT_EQ(errno, failing.failed() ? ENOMEM : 0);
            EXPECT_EQ(t == nullptr, failing.failed() && root == empty);
            EXPECT_EQ(leaf.left == empty, failing.failed() || root == empty);
            EXPECT_EQ(leaf.count, leaf.left == empty ? 1U : 2U);
            EXPECT_EQ(qv_tree_delete(t == nullptr ? empty : t, compare, items), root);
            EXPECT_EQ(test::live_blocks(), 0U);
        });
}

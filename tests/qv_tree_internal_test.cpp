#include <qvds/qv_tree.h>

#include "failing_alloc.hpp"
#include "support.hpp"

#include <cerrno>

TEST(QvTreeInternal, FailedInsertionLeavesATraceOrDeletionABlock) {
    const auto compare = [](const void *a, const void *b) { return a < b ? -1 : int32_t{a > b}; };
    int items[2];
    test::for_each_failing_allocation([&](const test::FailingAlloc &failing) {
        qv_tree root{1, &items[1], &qv_tree_null, &qv_tree_null};
        errno = 0;
        EXPECT_EQ(qv_tree_insert(&root, compare, items), &root);
        EXPECT_EQ(errno, failing.failed() ? ENOMEM : 0);
        EXPECT_EQ(root.count, failing.failed() ? 1U : 2U);
        EXPECT_EQ(root.left == &qv_tree_null, failing.failed());
        EXPECT_EQ(qv_tree_delete(&root, compare, items), &root);
    });
    const test::FailingAlloc failing(1);
    EXPECT_EQ(qv_tree_insert(&qv_tree_null, compare, items), nullptr);
    EXPECT_EQ(test::live_blocks(), 0U);
}

#include <qvds/qv_tree.h>

#include "failing_alloc.hpp"
#include "support.hpp"

#include <cerrno>

TEST(QvTreeInternal, FailedInsertionLeavesATrace) {
    const auto compare = [](const void *a, const void *b) { return a < b ? -1 : int32_t{a > b}; };
    char items[2];
    test::for_each_failing_allocation([&](const test::FailingAlloc &failing) {
        qv_tree *const root = qv_tree_insert(&qv_tree_null, compare, &items[1]);
        EXPECT_EQ(root == nullptr, failing.failed());
        free(root);
    });
    qv_tree root{1, &items[1], &qv_tree_null, &qv_tree_null};
    test::for_each_failing_allocation([&](const test::FailingAlloc &failing) {
        errno = 0;
        EXPECT_EQ(qv_tree_insert(&root, compare, &items[0]), &root);
        EXPECT_EQ(errno, failing.failed() ? ENOMEM : 0);
        EXPECT_EQ(root.count, failing.failed() ? 1U : 2U);
        EXPECT_EQ(root.left == &qv_tree_null, failing.failed());
    });
    EXPECT_EQ(qv_tree_delete(&root, compare, &items[0]), &root);
}

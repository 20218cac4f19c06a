// The checkers, on structures that are corrupted on purpose, where the tests of the families have no
// such case.

#include "fault.hpp"

#include <qvds/check.hpp>

#include <gtest/gtest.h>

namespace {

using qvds::fault;
using qvds::sound;

TEST(Check, NamesTheItemOfAHeapThatRanksAboveItsParent) {
    int numbers[] = {3, 2, 1};
    qvds::heap_slots<3> room;
    qvds::heap<int> heap(room);
    for (int &number : numbers)
        EXPECT_TRUE(heap.push(number));
    EXPECT_EQ(qvds::check(heap), sound);
    numbers[2] = 9;
    EXPECT_EQ(qvds::check(heap), (fault{2, &numbers[2]}));
}

TEST(Check, LooksAtTheLevelsOnTheLeftOfAnAATree) {
    AA_node left{2, nullptr, nullptr}, right_leaf{1, nullptr, nullptr}, left_leaf = right_leaf;
    AA_node right{2, &left_leaf, &right_leaf};
    const AA_node root{3, &left, &right};
    EXPECT_EQ(qvds::core::check_aa_levels(&root), (fault{2, &left})) << "lacks children";
}

TEST(Check, NamesTheNodeOfACountedTreeThatHasANullLink) {
    int item = 0;
    const qv_tree leaf{1, &item, &qv_tree_null, nullptr};
    const auto never_asked = [](const void *, const void *) { return 0; };
    EXPECT_EQ(qvds::core::check_qv_tree(&leaf, never_asked), (fault{3, &leaf}));
}

TEST(Check, SeesAWriteToTheSentinelOfTheCountedTree) {
    const auto never_asked = [](const void *, const void *) { return 0; };
    int item = 0;
    const qv_tree clean = qv_tree_null;
    const qv_tree writes[] = {{1, nullptr, nullptr, nullptr},
                              {0, &item, nullptr, nullptr},
                              {0, nullptr, &qv_tree_null, nullptr},
                              {0, nullptr, nullptr, &qv_tree_null}};
    for (const qv_tree &written : writes) {
        qv_tree_null = written;
        const fault found = qvds::core::check_qv_tree(&qv_tree_null, never_asked);
        qv_tree_null = clean;
        EXPECT_EQ(found, (fault{3, &qv_tree_null}));
    }
}

} // namespace

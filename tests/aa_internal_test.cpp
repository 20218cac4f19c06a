#include <qvds/core/aa.hpp>

#include "failing_alloc.hpp"
#include "support.hpp"

namespace {

using qvds::core::aa_decrease_level, qvds::core::aa_skew, qvds::core::aa_split;

AA_node leaf(size_t level) {
    return {level, nullptr, nullptr};
}

} // namespace

/*
 *        t             left
 *       / \            /  \
 *    left  c    ->    a    t
 *    / \                  / \
 *   a  inner          inner  c
 */
TEST(AaTree, SkewTurnsUpOnlyALeftChildOfTheSameLevel) {
    for (const size_t level : {1U, 2U, 3U}) {
        AA_node inner = leaf(1), left{level, nullptr, &inner}, t{2, &left, nullptr};
        const bool turns = level == 2;
        EXPECT_EQ(aa_skew(&t), turns ? &left : &t);
        EXPECT_EQ(t.left, turns ? &inner : &left);
        EXPECT_EQ(left.right, turns ? &t : &inner);
        EXPECT_EQ(left.level, level);
        EXPECT_EQ(t.level, 2U);
    }
    AA_node childless = leaf(1);
    EXPECT_EQ(aa_skew(&childless), &childless);
    EXPECT_EQ(aa_skew(nullptr), nullptr);
}

/*
 *     t                right
 *    / \               /   \
 *   a  right    ->    t    far
 *      /  \          / \
 *  inner  far       a  inner
 */
TEST(AaTree, SplitTurnsUpTheRightChildOnlyBeforeAGrandchildOfTheSameLevel) {
    for (const size_t level : {1U, 2U, 3U}) {
        AA_node inner = leaf(1), far = leaf(level), right{2, &inner, &far}, t{2, nullptr, &right};
        const bool turns = level == 2;
        EXPECT_EQ(aa_split(&t), turns ? &right : &t);
        EXPECT_EQ(t.right, turns ? &inner : &right);
        EXPECT_EQ(right.left, turns ? &t : &inner);
        EXPECT_EQ(right.right, &far);
        EXPECT_EQ(right.level, turns ? 3U : 2U);
        EXPECT_EQ(t.level, 2U);
    }
    AA_node childless = leaf(1), parent{1, nullptr, &childless};
    EXPECT_EQ(aa_split(&parent), &parent);
    EXPECT_EQ(aa_split(&childless), &childless);
    EXPECT_EQ(aa_split(nullptr), nullptr);
}

TEST(AaTree, DecreaseLevelPutsANodeOneAboveTheLowestChildThatItHas) {
    constexpr size_t missing = 0;
    struct {
        size_t left, right, level;         // before
        size_t new_level, new_right_level; // after
    } const cases[] = {
        // The lower of two children decides, and a right child comes down too.
        {2, 2, 3, 3, 2},
        {2, 1, 3, 2, 1},
        {1, 2, 3, 2, 2},
        {1, 3, 3, 2, 2},
        {70'000, 80'000, 80'000, 70'001, 70'001},
        // A node that is low enough stays, whatever its right child.
        {1, 5, 1, 1, 5},
        // A missing child does not decide.
        {1, missing, 3, 2, missing},
        {missing, 1, 3, 2, 1},
        {missing, 2, 3, 3, 2},
        {missing, missing, 3, 1, missing},
    };
    for (const auto &[left_level, right_level, level, new_level, new_right_level] : cases) {
        AA_node left = leaf(left_level), right = leaf(right_level);
        AA_node t{level, left_level != missing ? &left : nullptr,
                  right_level != missing ? &right : nullptr};
        aa_decrease_level(&t);
        EXPECT_EQ(t.level, new_level);
        EXPECT_EQ(right.level, new_right_level);
        EXPECT_EQ(left.level, left_level);
    }
    aa_decrease_level(nullptr);
}

TEST(AaTree, FailedDupLeavesNothingOver) {
    AA_node n[] = {leaf(1), {2, &n[0], nullptr}, {3, &n[1], &n[3]}, {2, nullptr, &n[4]}, leaf(1)};
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

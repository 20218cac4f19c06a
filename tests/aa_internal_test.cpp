// The AA tree beside its operations in their plainest form, and allocations that fail.

#include "trees/aa_internal.hpp"

#include <algorithm>
#include <array>
#include <utility>

#include "failing_alloc.hpp"
#include "support.hpp"

namespace {

struct Record {
    AA_node node;
    int key;
};
constexpr size_t payload = sizeof(Record) - sizeof(AA_node);
std::string calls; // what compare was given

int key_of(const void *node) {
    return static_cast<const Record *>(node)->key;
}
size_t level_of(const AA_node *node) {
    return node != nullptr ? node->level : 0;
}

// Matches with -2, 0 or 2: nothing but -1 and 1 may lead on.
int32_t compare(const void *key, const void *elem) {
    const int a = key_of(key), b = key_of(elem);
    calls += std::to_string(a) + "?" + std::to_string(b) + " ";
    return a < b ? -1 : a > b ? 1 : a % 3 * 2 - 2;
}

// Key and level of each node, parents before children.
std::string picture(const AA_node *t) {
    if (t == nullptr)
        return ".";
    return std::to_string(key_of(t)) + "@" + std::to_string(t->level) + picture(t->left) +
           picture(t->right);
}

// Names the first invariant that does not hold in a tree made by insertions, or nothing.
std::string fault(const AA_node *t, int above = -1, int below = 1000) {
    if (t == nullptr)
        return "";
    const size_t level = t->level, right = level_of(t->right);
    if (key_of(t) <= above || key_of(t) >= below)
        return "I1";
    if (level_of(t->left) + 1 != level || right + 1 < level || right > level ||
        (right != 0 && level_of(t->right->right) >= level))
        return "I2";
    return fault(t->left, above, key_of(t)) + fault(t->right, key_of(t), below);
}

AA_node *insert(AA_node *t, AA_node *node) {
    if (t == nullptr)
        return node;
    AA_node *&child = compare(node, t) == -1 ? t->left : t->right;
    child = insert(child, node);
    return qvds::AA_split(qvds::AA_skew(t));
}

AA_node *remove(AA_node *t, const void *key) {
    if (t == nullptr)
        return nullptr;
    const int32_t order = compare(key, t);
    const bool match = order != -1 && order != 1;
    AA_node *&child = order == -1 || (match && t->left != nullptr) ? t->left : t->right;
    auto *const heir = static_cast<AA_node *>(t->left ? AA_last(child) : AA_first(child));
    child = remove(child, match ? heir : key);
    if (match && heir != nullptr)
        *heir = *t;
    t = match ? heir : t;
    if (t == nullptr)
        return nullptr;
    // One above the lower child; a child that is missing, less 1, is above all others.
    const size_t level = std::min(level_of(t->left) - 1, level_of(t->right) - 1) + 2;
    if (t->right != nullptr)
        t->right->level = std::min(t->right->level, level);
    t->level = std::min(t->level, level);
    t = qvds::AA_skew(t);
    t->right = qvds::AA_skew(t->right);
    if (t->right != nullptr)
        t->right->right = qvds::AA_skew(t->right->right);
    t = qvds::AA_split(t);
    t->right = qvds::AA_split(t->right);
    return t;
}

// The library's tree; each step is taken on a copy of it as well, in its plainest form.
struct Driver {
    AA_node *root = nullptr;
    std::array<Record, 40> records{};
    std::array<AA_node *, 40> stored{};

    void step(bool inserting, size_t key) {
        Record probe{{1, nullptr, nullptr}, static_cast<int>(key)};
        AA_node *const node = &records[key].node, *const present = stored[key];
        AA_node *found = &probe.node, *plain = nullptr;
        records[key].key = probe.key;
        if (inserting && present != nullptr) {
            ASSERT_TRUE(!AA_insert(root, &probe, compare, &found) && found == present);
            return;
        }
        test::for_each_failing_allocation([&](auto &) { plain = AA_dup(root, payload); });
        void *const gone = AA_find(plain, &probe, compare);
        ASSERT_EQ(AA_find(root, &probe, compare), present);
        calls.clear();
        plain = inserting ? insert(plain, AA_dup(&probe.node, payload)) : remove(plain, &probe);
        const std::string expected = std::exchange(calls, "") + picture(plain);
        root = inserting ? AA_insert(root, node, compare, &found)
                         : AA_delete(root, &probe, compare, &found);
        stored[key] = inserting ? node : nullptr;
        ASSERT_EQ(calls + picture(root), expected);
        ASSERT_EQ(found, present);
        ASSERT_TRUE(inserting || (node->left == nullptr && node->right == nullptr));
        AA_free(AA_delete(plain, plain, compare, nullptr));
        free(gone);
        ASSERT_EQ(test::live_blocks(), 0U);
    }
};

TEST(AaTree, PredicateSeesBrokenInvariants) {
    Record c{{1, nullptr, nullptr}, 3}, b{{1, nullptr, &c.node}, 2}, a{{1, nullptr, &b.node}, 1};
    EXPECT_EQ(fault(&a.node), "I2");
    c.key = 2;
    EXPECT_EQ(fault(&b.node), "I1");
}

TEST(AaTree, HasTheShapeOfThePlainStepsInAllOrders) {
    const auto visit = [](void *node, void *last) {
        calls += std::to_string(key_of(node));
        return node == last ? INT32_MIN : 0;
    };
    std::array<size_t, 7> keys{0, 1, 2, 3, 4, 5, 6};
    do {
        Driver driver;
        for (const size_t key : keys)
            driver.step(true, key);
        ASSERT_EQ(fault(driver.root), "");
        calls.clear();
        ASSERT_EQ(AA_iterate(driver.root, visit, driver.stored[4]), driver.stored[4]);
        ASSERT_EQ(calls, "01234");
        for (const size_t key : keys)
            driver.step(false, key);
    } while (std::next_permutation(keys.begin(), keys.end()));
}

TEST(AaTree, HasTheShapeOfThePlainStepsAfterMixedSteps) {
    test::for_each_seed([](test::Random &random) {
        Driver driver;
        for (size_t i = 0; i < 2000; ++i)
            driver.step(random.below(10) < (i / 500 % 2 == 0 ? 6u : 4u), random.below(40));
    });
}

// The plain operations above turn with the same two steps, so these are held to cases of their own.
TEST(AaTree, TurnsOnlyBesideANodeOfTheSameLevel) {
    for (const size_t level : {1U, 2U, 3U}) {
        AA_node far{level, nullptr, nullptr}, mid{2, nullptr, &far}, inner{1, nullptr, nullptr};
        AA_node low{level, nullptr, &inner}, top{2, &low, &mid};
        mid.left = &inner;
        const bool turns = level == 2;
        ASSERT_EQ(qvds::AA_skew(&top), turns ? &low : &top);
        EXPECT_TRUE(top.left == (turns ? &inner : &low) && low.right == (turns ? &top : &inner));
        ASSERT_EQ(qvds::AA_split(&top), turns ? &mid : &top);
        EXPECT_TRUE(top.right == (turns ? &inner : &mid) && mid.left == (turns ? &top : &inner));
        EXPECT_TRUE(mid.level == (turns ? 3U : 2U) && low.level == level && top.level == 2);
    }
    EXPECT_EQ(AA_new(SIZE_MAX - sizeof(AA_node) + 1), nullptr);
}

TEST(AaTree, TakesNullWhereItSaysSo) {
    Record record{{9, nullptr, nullptr}, 1}, twin = record;
    AA_node *const root = &record.node, *inserted = root, *deleted = root;
    EXPECT_EQ(AA_insert(nullptr, &record, compare, nullptr), root);
    EXPECT_EQ(AA_insert(root, &twin, compare, nullptr), nullptr);
    EXPECT_EQ(AA_insert(nullptr, nullptr, compare, &inserted), nullptr);
    EXPECT_EQ(AA_delete(root, nullptr, compare, &deleted), root);
    EXPECT_FALSE(inserted || deleted || AA_first(nullptr) || AA_last(nullptr) || AA_new(SIZE_MAX));
    EXPECT_FALSE(AA_find(root, nullptr, compare) || AA_iterate(root, nullptr, nullptr));
}

} // namespace

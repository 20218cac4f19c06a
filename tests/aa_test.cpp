// The AA tree beside its steps in their plainest form.

#include <qvds/aa.h>

#include <algorithm>
#include <array>
#include <utility>

#include "support.hpp"

namespace {

struct Record {
    AA_node node;
    int key;
    bool stored;
};
std::string calls; // what the callbacks were given

int key_of(const void *node) {
    return static_cast<const Record *>(node)->key;
}

// Matches with -2, 0 or 2: nothing but -1 and 1 may lead on.
int32_t compare(const void *key, const void *elem) {
    const int a = key_of(key), b = key_of(elem);
    calls += std::to_string(a) + "?" + std::to_string(b) + " ";
    return a < b ? -1 : a > b ? 1 : a % 3 * 2 - 2;
}

size_t level_of(const AA_node *node) {
    return node != nullptr ? node->level : 0;
}

// Key and level of each node, parents before children.
std::string picture(const AA_node *t) {
    return t == nullptr ? "."
                        : std::to_string(key_of(t)) + "@" + std::to_string(t->level) +
                              picture(t->left) + picture(t->right);
}

// Names the first invariant that does not hold in a tree made by insertions, or nothing.
std::string fault(const AA_node *t, int above = -1, int below = 1000) {
    if (t == nullptr)
        return "";
    const size_t level = t->level, left = level_of(t->left), right = level_of(t->right);
    return key_of(t) <= above || key_of(t) >= below ? "I1"
           : left + 1 != level                      ? "I2a, d"
           : right != level && right + 1 != level   ? "I2b, d"
           : right != 0 && level_of(t->right->right) >= level
               ? "I2c"
               : fault(t->left, above, key_of(t)) + fault(t->right, key_of(t), below);
}

void skew(AA_node *&t) {
    if (t != nullptr && level_of(t->left) == t->level)
        t = std::exchange(t->left, std::exchange(t->left->right, t));
}

void split(AA_node *&t) {
    if (t == nullptr || t->right == nullptr || level_of(t->right->right) != t->level)
        return;
    t = std::exchange(t->right, std::exchange(t->right->left, t));
    ++t->level;
}

void insert(AA_node *&t, AA_node *node) {
    if (t == nullptr) {
        *(t = node) = {1, nullptr, nullptr};
        return;
    }
    insert(compare(node, t) == -1 ? t->left : t->right, node);
    skew(t);
    split(t);
}

void remove(AA_node *&t, const void *key) {
    if (t == nullptr)
        return;
    const int32_t order = compare(key, t);
    const bool match = order != -1 && order != 1;
    AA_node *&child = order == -1 || (match && t->left != nullptr) ? t->left : t->right;
    auto *const heir = static_cast<AA_node *>(t->left ? AA_last(child) : AA_first(child));
    remove(child, match ? heir : key);
    if (match && heir != nullptr)
        *heir = *t;
    if (match)
        t = heir;
    if (t == nullptr)
        return;
    // One above the lower child; a child that is missing, less 1, is above all others.
    const size_t level = std::min(level_of(t->left) - 1, level_of(t->right) - 1) + 2;
    if (level < t->level && t->right != nullptr)
        t->right->level = std::min(t->right->level, level);
    t->level = std::min(t->level, level);
    skew(t);
    skew(t->right);
    if (t->right != nullptr)
        skew(t->right->right);
    split(t);
    split(t->right);
}

// The library's tree beside the plain one.
struct Driver {
    explicit Driver(int size) {
        for (int key = 0; key != size; ++key)
            ours.push_back({{9, nullptr, nullptr}, key, false});
        plain = ours;
    }
    std::vector<Record> ours, plain;
    AA_node *root = nullptr, *plain_root = nullptr;

    void step(bool inserting, size_t key) {
        Record &record = ours[key];
        Record probe{{9, &probe.node, &probe.node}, record.key, false};
        AA_node *found = &probe.node;
        calls.clear();
        ASSERT_EQ(AA_find(root, &probe, compare), record.stored ? &record : nullptr);
        std::string expected = std::exchange(calls, "");
        if (inserting && record.stored) {
            ASSERT_EQ(AA_insert(root, &probe, compare, &found), nullptr);
            ASSERT_EQ(picture(&probe.node), std::to_string(key) + "@1..");
        } else if (inserting) {
            insert(plain_root, &plain[key].node);
            expected = std::exchange(calls, "");
            record.node = probe.node;
            root = AA_insert(root, &record, compare, &found);
        } else {
            remove(plain_root, &probe);
            expected = std::exchange(calls, "");
            root = AA_delete(root, &probe, compare, &found);
            ASSERT_TRUE(!record.node.left && !record.node.right);
        }
        ASSERT_EQ(calls, expected);
        ASSERT_EQ(found, record.stored ? &record.node : nullptr);
        ASSERT_EQ(picture(root), picture(plain_root));
        record.stored = inserting;
    }

    // Walks in order as far as the node that stops it, if it is there.
    void walk(Record *last) {
        std::string expected;
        for (const Record &record : ours)
            if (record.stored && (&record <= last || !last->stored))
                expected += std::to_string(record.key) + " ";
        calls.clear();
        const auto visit = [](void *node, void *stop) {
            calls += std::to_string(key_of(node)) + " ";
            return node == stop ? INT32_MIN : 0;
        };
        ASSERT_EQ(AA_iterate(root, visit, last), last->stored ? last : nullptr);
        ASSERT_EQ(calls, expected);
    }
};

TEST(AaTree, PredicateSeesBrokenInvariants) {
    Driver driver(8);
    for (const size_t key : {1U, 2U, 3U, 4U, 5U, 6U, 7U})
        driver.step(true, key);
    EXPECT_EQ(fault(driver.root), "");
    driver.ours[7].node.level = 3;
    EXPECT_EQ(fault(driver.root), "I2c");
    driver.ours[6].node.level = 0;
    EXPECT_EQ(fault(driver.root), "I2b, d");
    driver.ours[2].node.level = 3;
    EXPECT_EQ(fault(driver.root), "I2a, d");
    driver.ours[4].key = -1;
    EXPECT_EQ(fault(driver.root), "I1");
}

TEST(AaTree, HasTheShapeOfThePlainStepsInAllOrdersOfFive) {
    std::array<size_t, 5> in{0, 1, 2, 3, 4}, out = in;
    do {
        do {
            Driver driver(5);
            for (const size_t key : in)
                driver.step(true, key);
            ASSERT_EQ(fault(driver.root), "");
            for (const size_t key : out)
                driver.step(false, key);
        } while (std::next_permutation(out.begin(), out.end()));
    } while (std::next_permutation(in.begin(), in.end()));
}

TEST(AaTree, HasTheShapeOfThePlainStepsAfterMixedSteps) {
    test::for_each_seed([](test::Random &random) {
        Driver driver(90);
        for (size_t i = 0; i < 2000; ++i) {
            driver.step(random.below(10) < (i / 500 % 2 == 0 ? 6u : 4u), random.below(90));
            if (random.one_in(20))
                driver.walk(&driver.ours[random.below(90)]);
        }
        const auto stop_at_once = [](void *, void *) -> int32_t { return 1; };
        EXPECT_EQ(AA_first(driver.root), AA_iterate(driver.root, stop_at_once, nullptr));
        AA_node *const copy = AA_dup(driver.root, sizeof(Record) - sizeof(AA_node));
        EXPECT_EQ(picture(copy), picture(driver.root));
        AA_free(copy);
    });
}

TEST(AaTree, TakesNullWhereItSaysSo) {
    Record record{{9, nullptr, nullptr}, 1, false}, twin = record;
    AA_node *const root = &record.node, *inserted = root, *deleted = root;
    EXPECT_EQ(AA_insert(nullptr, &record, compare, nullptr), root);
    EXPECT_EQ(AA_insert(root, &twin, compare, nullptr), nullptr);
    EXPECT_EQ(AA_insert(nullptr, nullptr, compare, &inserted), nullptr);
    EXPECT_EQ(AA_delete(root, nullptr, compare, &deleted), root);
    EXPECT_EQ(AA_delete(root, nullptr, compare, nullptr), root);
    EXPECT_TRUE(inserted == nullptr && deleted == nullptr);
    EXPECT_EQ(AA_find(root, nullptr, compare), nullptr);
    EXPECT_TRUE(AA_first(nullptr) == nullptr && AA_last(nullptr) == nullptr);
    EXPECT_EQ(AA_iterate(root, nullptr, nullptr), nullptr);
    EXPECT_EQ(AA_dup(nullptr, 8), nullptr);
    AA_free(nullptr);
}

} // namespace

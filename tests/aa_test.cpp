#include <qvds/aa.h>
#include <qvds/core/aa.hpp>

#include <malloc.h>

#include <algorithm>
#include <array>
#include <deque>
#include <utility>

#include "fault.hpp"
#include "support.hpp"

namespace {

using qvds::core::check_aa, qvds::core::check_aa_levels, qvds::fault, qvds::sound;

struct Record {
    AA_node node;
    int key;
};
constexpr size_t payload = sizeof(Record) - sizeof(AA_node);

int key_of(const void *node) {
    return static_cast<const Record *>(node)->key;
}
int32_t compare(const void *key, const void *stored) {
    const int a = key_of(key), b = key_of(stored);
    return a < b ? -1 : int32_t{a > b};
}

AA_node *node_of(int key) {
    auto *const record = static_cast<Record *>(AA_new(payload));
    record->key = key;
    return &record->node;
}

AA_node *tree_of(const std::vector<int> &keys) {
    AA_node *root = nullptr;
    for (const int key : keys)
        root = AA_insert(root, node_of(key), compare, nullptr);
    return root;
}

// A tree as "4(2@1 6@1)@2": a node, and its children in brackets if it has any.
std::string picture(const auto *t, const auto &key_of_node) {
    if (t == nullptr)
        return "-";
    std::string children;
    if (t->left != nullptr || t->right != nullptr)
        children = "(" + picture(t->left, key_of_node) + " " + picture(t->right, key_of_node) + ")";
    return std::to_string(key_of_node(t)) + children + "@" + std::to_string(t->level);
}
std::string picture(const AA_node *t) {
    return picture(t, key_of);
}

// The same tree in its plainest form, where keys move and not nodes.
struct Plain {
    int key;
    size_t level = 1;
    Plain *left = nullptr, *right = nullptr;
};

class PlainTree {
  public:
    void insert(int key) { root_ = insert(root_, key); }
    void erase(int key) { root_ = erase(root_, key); }
    void set_level(int key, size_t level) {
        Plain *t = root_;
        while (t->key != key)
            t = key < t->key ? t->left : t->right;
        t->level = level;
    }
    std::string picture() const {
        return ::picture(root_, [](const Plain *t) { return t->key; });
    }

  private:
    static size_t level_of(const Plain *t) { return t != nullptr ? t->level : 0; }

    static Plain *skew(Plain *t) {
        if (t == nullptr || level_of(t->left) != t->level)
            return t;
        Plain *const left = t->left;
        t->left = left->right;
        left->right = t;
        return left;
    }
    static Plain *split(Plain *t) {
        if (t == nullptr || t->right == nullptr || level_of(t->right->right) != t->level)
            return t;
        Plain *const right = t->right;
        t->right = right->left;
        right->left = t;
        right->level += 1;
        return right;
    }
    // A missing child is none of level 0: it keeps no node down.
    static void lower(Plain *t) {
        size_t lowest = level_of(t->left != nullptr ? t->left : t->right);
        if (t->right != nullptr)
            lowest = std::min(lowest, t->right->level);
        if (t->level <= lowest + 1)
            return;
        t->level = lowest + 1;
        if (t->right != nullptr)
            t->right->level = std::min(t->right->level, t->level);
    }

    Plain *insert(Plain *t, int key) {
        if (t == nullptr)
            return &nodes_.emplace_back(Plain{key});
        if (key < t->key)
            t->left = insert(t->left, key);
        else
            t->right = insert(t->right, key);
        return split(skew(t));
    }
    static Plain *erase(Plain *t, int key) {
        if (t == nullptr)
            return nullptr;
        if (key < t->key)
            t->left = erase(t->left, key);
        else if (key > t->key)
            t->right = erase(t->right, key);
        else if (t->left != nullptr)
            t->left = erase(t->left, t->key = last(t->left));
        else if (t->right != nullptr)
            t->right = erase(t->right, t->key = first(t->right));
        else
            return nullptr;
        lower(t);
        t = skew(t);
        t->right = skew(t->right);
        if (t->right != nullptr)
            t->right->right = skew(t->right->right);
        t = split(t);
        t->right = split(t->right);
        return t;
    }
    static int first(const Plain *t) { return t->left != nullptr ? first(t->left) : t->key; }
    static int last(const Plain *t) { return t->right != nullptr ? last(t->right) : t->key; }

    std::deque<Plain> nodes_;
    Plain *root_ = nullptr;
};

// Two ways to change a tree: that of C; and that of the typed class, with a path that keeps two levels
// where programs have 64.
struct Way {
    AA_node *(*insert)(AA_node *root, Record &fresh);
    AA_node *(*erase)(AA_node *root, const Record &key, AA_node *&taken);
};
AA_node *insert_by_c(AA_node *root, Record &fresh) {
    return AA_insert(root, &fresh, compare, nullptr);
}
AA_node *erase_by_c(AA_node *root, const Record &key, AA_node *&taken) {
    return AA_delete(root, &key, compare, &taken);
}
auto turn_to(int key) {
    return [key](const AA_node *stored) {
        return qvds::core::turn_by_value<int, int>{key, key_of(stored)};
    };
}
AA_node *insert_by_core(AA_node *root, Record &fresh) {
    Record twin = fresh;
    EXPECT_EQ(qvds::core::aa_insert<2>(root, &fresh.node, turn_to(fresh.key)), nullptr);
    EXPECT_EQ(qvds::core::aa_insert<2>(root, &twin.node, turn_to(twin.key)), &fresh.node);
    return root;
}
AA_node *erase_by_core(AA_node *root, const Record &key, AA_node *&taken) {
    qvds::core::aa_erase<2>(root, turn_to(key.key), taken);
    return root;
}
constexpr Way by_c{insert_by_c, erase_by_c}, by_core{insert_by_core, erase_by_core};

// A tree beside the plain one, of which it must have the shape after every step.
struct Driver {
    void insert(size_t key, const Way &way) {
        records[key] = {{7, &records[key].node, &records[key].node}, static_cast<int>(key)};
        root = way.insert(root, records[key]);
        is_in[key] = true;
        plain.insert(static_cast<int>(key));
        ASSERT_EQ(picture(root), plain.picture());
    }
    // Nodes on the way to a key that is not there may be rebalanced as well.
    void erase(size_t key, const Way &way) {
        const Record probe{{}, static_cast<int>(key)};
        AA_node *taken = nullptr;
        root = way.erase(root, probe, taken);
        EXPECT_EQ(taken, std::exchange(is_in[key], false) ? &records[key].node : nullptr);
        EXPECT_TRUE(taken == nullptr || (taken->left == nullptr && taken->right == nullptr));
        plain.erase(probe.key);
        ASSERT_EQ(picture(root), plain.picture());
    }

    // Deletions, too, leave nodes on levels that are out of order, but seldom in trees as small.
    void put_out_of_order(size_t key, size_t level) {
        records[key].node.level = level;
        plain.set_level(static_cast<int>(key), level);
    }

    PlainTree plain{};
    AA_node *root = nullptr;
    std::array<Record, 40> records{};
    std::array<bool, 40> is_in{};
};

} // namespace

TEST(AaTree, CheckTellsTheBrokenInvariantAndWhere) {
    Record r[] = {{{1, nullptr, nullptr}, 0},
                  {{2, &r[0].node, &r[2].node}, 1},
                  {{1, nullptr, &r[3].node}, 2},
                  {{1, nullptr, nullptr}, 3}};
    AA_node &left = r[0].node, &root = r[1].node, &right = r[2].node, &last = r[3].node;
    EXPECT_EQ(check_aa(&root, compare), sound);
    EXPECT_EQ(check_aa_levels(&root), sound);

    r[3].key = 2;
    EXPECT_EQ(check_aa(&root, compare), (fault{1, &last}));
    r[3].key = 3;
    r[0].key = 1;
    EXPECT_EQ(check_aa(&root, compare), (fault{1, &left}));
    r[0].key = 0;
    last.left = &root; // a cycle
    EXPECT_EQ(check_aa(&root, compare), (fault{1, &root}));
    EXPECT_EQ(check_aa_levels(&root), (fault{2, &root}));
    last.left = nullptr;

    left.level = 2;
    EXPECT_EQ(check_aa_levels(&root), (fault{2, &left})) << "I2a";
    left.level = 1;
    right.level = 3;
    EXPECT_EQ(check_aa_levels(&root), (fault{2, &right})) << "I2b";
    right.level = last.level = 2;
    EXPECT_EQ(check_aa_levels(&root), (fault{2, &last})) << "I2c";
    last.level = 1;
    EXPECT_EQ(check_aa_levels(&root), (fault{2, &right})) << "I2d";
}

TEST(AaTree, NewGivesALeafWithRoomForItsPayloadOrNull) {
    for (const size_t size : {0U, 1U, 100U, 70'000U}) {
        auto *const node = static_cast<AA_node *>(AA_new(size));
        EXPECT_EQ(node->level, 1U);
        EXPECT_EQ(node->left, nullptr);
        EXPECT_EQ(node->right, nullptr);
        EXPECT_GE(malloc_usable_size(node), sizeof(AA_node) + size);
        AA_free(node);
    }
    EXPECT_EQ(AA_new(SIZE_MAX), nullptr);
    EXPECT_EQ(AA_new(SIZE_MAX - sizeof(AA_node) + 1), nullptr) << "the sum of the sizes is 0";
}

TEST(AaTree, DupCopiesShapeLevelsAndPayloads) {
    AA_node *root = tree_of({4, 1, 6, 3, 5, 7, 2, 8});
    AA_node *const copy = AA_dup(root, payload);
    const std::string original = picture(root);
    while (root != nullptr)
        root = AA_delete(root, root, compare, nullptr);
    EXPECT_EQ(picture(copy), original);
    AA_free(copy);
    EXPECT_EQ(AA_dup(nullptr, payload), nullptr);

    const std::string text(100, 'x');
    auto *const large = static_cast<AA_node *>(AA_new(text.size()));
    text.copy(reinterpret_cast<char *>(large + 1), text.size());
    AA_node *const large_copy = AA_dup(large, text.size());
    EXPECT_EQ(std::string(reinterpret_cast<const char *>(large_copy + 1), text.size()), text);
    AA_free(large);
    AA_free(large_copy);
}

TEST(AaTree, InsertOfAnEqualNodeGivesNullAndTheStoredNode) {
    AA_node *const root = tree_of({1, 2, 3});
    Record twin{{7, root, root}, 3};
    AA_node *dup = nullptr;
    EXPECT_EQ(AA_insert(root, &twin, compare, &dup), nullptr);
    EXPECT_EQ(dup, root->right);
    EXPECT_EQ(AA_insert(root, &twin, compare, nullptr), nullptr);
    EXPECT_EQ(picture(&twin.node), "3@1") << "its header is reset nevertheless";
    EXPECT_EQ(picture(root), "2(1@1 3@1)@2");
    AA_free(root);
}

// Deletions can leave such nodes. The two above the new one are left alone here.
TEST(AaTree, InsertionMendsANodeThatWasOutOfOrderBefore) {
    std::deque<Record> nodes;
    const auto make = [&](int key, size_t level, AA_node *left, AA_node *right) {
        return &nodes.emplace_back(Record{{level, left, right}, key}).node;
    };
    const auto small = [&](int key, size_t level) {
        return make(key, level, make(key - 10, 1, nullptr, nullptr),
                    make(key + 10, 1, nullptr, nullptr));
    };
    Record last{{}, 95}, third{{}, 35};
    AA_node *root = make(40, 3, small(20, 3), make(60, 2, nullptr, small(80, 2)));
    root = AA_insert(root, &last, compare, nullptr);
    EXPECT_EQ(picture(root), "20(10@1 40(30@1 60(- 80(70@1 90(- 95@1)@1)@2)@2)@3)@3");
    root = make(40, 3, small(20, 2), make(60, 3, nullptr, small(80, 3)));
    root = AA_insert(root, &third, compare, nullptr);
    EXPECT_EQ(picture(root), "60(40(20(10@1 30(- 35@1)@1)@2 -)@3 80(70@1 90@1)@3)@4");
}

TEST(AaTree, EveryAnswerButMinusOneAndOneIsAMatch) {
    static int32_t answer;
    const auto give_answer = [](const void *, const void *) { return answer; };
    Record record{{1, nullptr, nullptr}, 1}, other = record;
    for (const int32_t match :
         {0, 2, -2, 3, -3, 256, 257, 255, INT32_MAX, INT32_MIN, INT32_MIN + 1}) {
        answer = match;
        AA_node *found = nullptr;
        EXPECT_EQ(AA_find(&record.node, &other, give_answer), &record.node) << answer;
        EXPECT_EQ(AA_insert(&record.node, &other, give_answer, &found), nullptr) << answer;
        EXPECT_EQ(found, &record.node) << answer;
        EXPECT_EQ(AA_delete(&record.node, &other, give_answer, &found), nullptr) << answer;
    }
    for (const int32_t no_match : {-1, 1}) {
        answer = no_match;
        EXPECT_EQ(AA_find(&record.node, &other, give_answer), nullptr) << answer;
    }
}

TEST(AaTree, DeletePutsTheNextSmallerInPlaceElseTheNextLarger) {
    AA_node *root = tree_of({1, 2, 3, 4, 5, 6, 7});
    AA_node *const three = root->left->right;
    const auto erase = [&root](int key) {
        const Record probe{{}, key};
        root = AA_delete(root, &probe, compare, nullptr);
        return picture(root);
    };
    EXPECT_EQ(erase(4), "3(2(1@1 -)@2 6(5@1 7@1)@2)@3");
    EXPECT_EQ(root, three) << "the node itself moves";
    EXPECT_EQ(erase(6), "3(2(1@1 -)@2 5(- 7@1)@2)@3");
    EXPECT_EQ(erase(5), "2(1@1 3(- 7@1)@2)@2") << "7 has come up, and been rebalanced";
    AA_free(root);
}

TEST(AaTree, IterateGoesUpUntilAVisitStopsIt) {
    static std::string visited;
    const auto visit = [](void *node, void *ctx) -> int32_t {
        visited += std::to_string(key_of(node));
        return node == ctx ? INT32_MIN : 0;
    };
    AA_node *const root = tree_of({3, 1, 4, 5, 9, 2, 6});
    EXPECT_EQ(AA_iterate(root, visit, nullptr), nullptr);
    const std::string all = std::exchange(visited, "");
    EXPECT_EQ(all, "1234569");
    for (size_t n = 1; n <= all.size(); ++n) {
        const Record last{{}, all[n - 1] - '0'};
        void *const node = AA_find(root, &last, compare);
        EXPECT_EQ(AA_iterate(root, visit, node), node);
        EXPECT_EQ(std::exchange(visited, ""), all.substr(0, n));
    }
    AA_free(root);
}

TEST(AaTree, TakesNullWhereItSaysSo) {
    Record record{{1, nullptr, nullptr}, 1};
    AA_node *const root = &record.node;
    AA_node *out = root;
    EXPECT_EQ(AA_insert(nullptr, nullptr, compare, &out), nullptr);
    EXPECT_EQ(out, nullptr);
    EXPECT_EQ(AA_insert(nullptr, &record, compare, nullptr), root);
    out = root;
    EXPECT_EQ(AA_delete(root, nullptr, compare, &out), root);
    EXPECT_EQ(out, nullptr);
    out = root;
    EXPECT_EQ(AA_delete(nullptr, &record, compare, &out), nullptr);
    EXPECT_EQ(out, nullptr);
    EXPECT_EQ(AA_delete(nullptr, &record, compare, nullptr), nullptr);
    EXPECT_EQ(AA_find(root, nullptr, compare), nullptr);
    EXPECT_EQ(AA_find(nullptr, &record, compare), nullptr);
    EXPECT_EQ(AA_first(nullptr), nullptr);
    EXPECT_EQ(AA_last(nullptr), nullptr);
    EXPECT_EQ(AA_iterate(root, nullptr, nullptr), nullptr);
    AA_free(nullptr);
}

TEST(AaTree, StepsThatRebalanceLeaveOtherLevelsAlone) {
    for (const size_t level : {1U, 3U}) {
        AA_node child{level, nullptr, nullptr}, right{2, nullptr, &child};
        AA_node skewed{2, &child, nullptr}, split{2, nullptr, &right};
        EXPECT_EQ(qvds::core::aa_skew(&skewed), &skewed) << "over a left child at " << level;
        EXPECT_EQ(qvds::core::aa_split(&split), &split) << "over a grandchild at " << level;
    }
    AA_node left{1, nullptr, nullptr}, right{5, nullptr, nullptr}, low_enough{2, &left, &right};
    qvds::core::aa_decrease_level(&low_enough);
    EXPECT_EQ(right.level, 5U);
}

TEST(AaTree, FollowsThePlainTreeInAllOrders) {
    std::array<size_t, 7> keys{0, 1, 2, 3, 4, 5, 6};
    for (const Way *way : {&by_c, &by_core})
        do {
            Driver driver;
            for (const size_t key : keys)
                driver.insert(key, *way);
            for (const size_t key : keys)
                driver.erase(key, *way);
            ASSERT_FALSE(HasFailure()) << "with " << testing::PrintToString(keys);
        } while (std::next_permutation(keys.begin(), keys.end()));
}

TEST(AaTree, FollowsThePlainTreeThroughMixedSteps) {
    test::for_each_seed([](test::Random &random) {
        Driver driver;
        for (const size_t inserts_in_ten : {6U, 4U, 6U, 4U})
            for (int i = 0; i != 500 && !testing::Test::HasFailure(); ++i) {
                const size_t key = random.below(driver.records.size());
                const Way &way = random.one_in(2) ? by_c : by_core;
                if (driver.is_in[key] && random.one_in(8))
                    driver.put_out_of_order(key, 1 + random.below(4));
                if (random.below(10) >= inserts_in_ten)
                    driver.erase(key, way);
                else if (!driver.is_in[key])
                    driver.insert(key, way);
            }
    });
}

TEST(AaTree, AsksOncePerLevelWithTheStoredNodeSecond) {
    static std::string asked;
    const auto note = [](const void *key, const void *stored) {
        asked += std::to_string(key_of(key)) + std::to_string(key_of(stored)) + ' ';
        return compare(key, stored);
    };
    AA_node *root = tree_of({1, 2, 3, 4, 5, 6, 7});
    const Record five{{}, 5}, four{{}, 4};
    AA_find(root, &five, note);
    EXPECT_EQ(std::exchange(asked, ""), "54 56 55 ");
    Record eight{{}, 8};
    root = AA_insert(root, &eight, note, nullptr);
    EXPECT_EQ(std::exchange(asked, ""), "84 86 87 ");
    AA_node *taken = nullptr;
    root = AA_delete(root, &eight, note, &taken);
    EXPECT_EQ(std::exchange(asked, ""), "84 86 87 88 ");
    root = AA_delete(root, &four, note, nullptr);
    EXPECT_EQ(asked, "44 32 33 ") << "and once more for the node that moves";
    AA_free(root);
}

#include <qvds/aa.h>
#include <qvds/aa.hpp>

#include <malloc.h>

#include <algorithm>
#include <array>
#include <cstring>
#include <deque>
#include <numeric>
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
std::string asked; // what compare was given: "key?stored key " for each call

int key_of(const void *node) {
    return static_cast<const Record *>(node)->key;
}

int32_t compare(const void *key, const void *stored) {
    const int a = key_of(key), b = key_of(stored);
    return a < b ? -1 : int32_t{a > b};
}

// Matches with -2, 0 or 2: nothing but -1 and 1 may lead on.
int32_t order_of(int key, int stored) {
    asked += std::to_string(key) + "?" + std::to_string(stored) + " ";
    if (key != stored)
        return key < stored ? -1 : 1;
    return key % 3 * 2 - 2;
}
int32_t compare_and_note(const void *key, const void *stored) {
    return order_of(key_of(key), key_of(stored));
}

// The ways to reach an AA tree, of which one may well alternate between others.
struct Face {
    const char *name;
    decltype(&AA_insert) insert;
    decltype(&AA_delete) erase;
    decltype(&AA_find) find;
    bool compares_neighbours = true; // erase, on its way to the one that moves
};

const Face c_face{"C", AA_insert, AA_delete, AA_find};

// A compare callback as a typed tree takes it.
struct Callback {
    qvds_compare_fn compare;
    std::weak_ordering operator()(const Record &a, const Record &b) const {
        const int32_t order = compare(&a, &b);
        return order == -1  ? std::weak_ordering::less
               : order == 1 ? std::weak_ordering::greater
                            : std::weak_ordering::equivalent;
    }
};
using view = qvds::aa_tree_view<&Record::node, qvds::core::identity{}, Callback>;

const Record &record(const void *node) {
    return *static_cast<const Record *>(node);
}
AA_node *node_or_null(Record *elem) {
    return elem != nullptr ? &elem->node : nullptr;
}

const Face typed_face{
    .name = "C++",
    .insert = [](AA_node *root, void *node, qvds_compare_fn compare, AA_node **dup) -> AA_node * {
        auto *const elem = static_cast<Record *>(node);
        const auto [where, fresh] = view(root, Callback{compare}).insert(*elem);
        EXPECT_EQ(fresh, where == elem);
        *dup = fresh ? nullptr : &where->node;
        return fresh ? root : nullptr;
    },
    .erase =
        [](AA_node *root, const void *key, qvds_compare_fn compare, AA_node **out) {
            *out = node_or_null(view(root, Callback{compare}).erase(record(key)));
            return root;
        },
    .find = [](const AA_node *root, const void *key, qvds_compare_fn compare) -> void * {
        auto *variable = const_cast<AA_node *>(root);
        return view(variable, Callback{compare}).find(record(key));
    },
    .compares_neighbours = false,
};

// The core, with room for two levels where programs have 64.
const Face short_face{
    .name = "short paths",
    .insert = [](AA_node *root, void *node, qvds_compare_fn compare, AA_node **dup) -> AA_node * {
        const auto order = [=](const AA_node *stored) {
            const Callback callback{compare};
            return qvds::core::turn_to(callback, record(node), record(stored));
        };
        *dup = qvds::core::aa_insert<2>(root, static_cast<AA_node *>(node), order);
        return *dup == nullptr ? root : nullptr;
    },
    .erase = AA_delete,
    .find = AA_find,
};

using Faces = std::vector<const Face *>;

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
        t->level = std::min(t->level, lowest + 1);
        if (t->right != nullptr)
            t->right->level = std::min(t->right->level, t->level);
    }

    Plain *insert(Plain *t, int key) {
        if (t == nullptr)
            return &nodes_.emplace_back(Plain{key});
        if (order_of(key, t->key) == -1)
            t->left = insert(t->left, key);
        else
            t->right = insert(t->right, key);
        return split(skew(t));
    }
    static Plain *erase(Plain *t, int key) {
        if (t == nullptr)
            return nullptr;
        const int32_t order = order_of(key, t->key);
        if (order == -1)
            t->left = erase(t->left, key);
        else if (order == 1)
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

// A tree beside the plain one. Both must ask the same questions and have the same shape after every
// step, and no node may change its address.
struct Driver {
    const Face *face;
    PlainTree plain{};
    AA_node *root = nullptr;
    std::array<Record, 40> records{};
    std::array<AA_node *, 40> stored{};

    void insert(size_t key) {
        AA_node *found = &records[key].node;
        if (stored[key] != nullptr) {
            Record twin{{7, found, found}, static_cast<int>(key)};
            ASSERT_EQ(face->insert(root, &twin, compare, &found), nullptr);
            ASSERT_EQ(found, stored[key]);
        } else {
            records[key] = {{7, found, found}, static_cast<int>(key)};
            asked.clear();
            root = face->insert(root, &records[key], compare_and_note, &found);
            const std::string asked_by_face = std::exchange(asked, "");
            ASSERT_EQ(found, nullptr);
            stored[key] = &records[key].node;
            plain.insert(static_cast<int>(key));
            ASSERT_EQ(asked_by_face, asked);
        }
        compare_trees();
    }

    void erase(size_t key) {
        const Record probe{{}, static_cast<int>(key)};
        AA_node *removed = root;
        asked.clear();
        root = face->erase(root, &probe, compare_and_note, &removed);
        const std::string asked_by_face = std::exchange(asked, "");
        ASSERT_EQ(removed, stored[key]);
        if (removed != nullptr) {
            ASSERT_EQ(removed->left, nullptr);
            ASSERT_EQ(removed->right, nullptr);
        }
        stored[key] = nullptr;
        plain.erase(probe.key);
        if (!face->compares_neighbours)
            asked.resize(std::min(asked.size(), asked_by_face.size()));
        ASSERT_EQ(asked_by_face, asked);
        compare_trees();
    }

    void compare_trees() {
        ASSERT_EQ(check_aa(root, compare), sound);
        ASSERT_EQ(picture(root), plain.picture());
        for (size_t key = 0; key != stored.size(); ++key) {
            const Record probe{{}, static_cast<int>(key)};
            ASSERT_EQ(face->find(root, &probe, compare), stored[key]);
        }
    }
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

TEST(AaTree, NewGivesALeafWithRoomForItsPayload) {
    for (const size_t size : {0U, 1U, 8U, 100U, 70'000U}) {
        auto *const node = static_cast<AA_node *>(AA_new(size));
        ASSERT_NE(node, nullptr);
        EXPECT_EQ(node->level, 1U);
        EXPECT_EQ(node->left, nullptr);
        EXPECT_EQ(node->right, nullptr);
        EXPECT_GE(malloc_usable_size(node), sizeof(AA_node) + size);
        AA_free(node);
    }
}

TEST(AaTree, NewRefusesWhatNoBlockCanHold) {
    EXPECT_EQ(AA_new(SIZE_MAX), nullptr);
    EXPECT_EQ(AA_new(SIZE_MAX - sizeof(AA_node) + 1), nullptr);
}

TEST(AaTree, DupCopiesShapeLevelsAndPayloads) {
    struct Wide {
        Record record;
        char text[100 - payload];
    };
    AA_node *root = nullptr;
    for (int key = 0; key != 20; ++key) {
        auto *const wide = static_cast<Wide *>(AA_new(100));
        wide->record.key = key;
        std::memset(wide->text, 'a' + key, sizeof wide->text);
        root = AA_insert(root, wide, compare, nullptr);
    }
    AA_node *const copy = AA_dup(root, 100);
    EXPECT_EQ(picture(copy), picture(root));
    for (int key = 0; key != 20; ++key) {
        const Record probe{{}, key};
        const auto *const from = static_cast<Wide *>(AA_find(root, &probe, compare));
        const auto *const to = static_cast<Wide *>(AA_find(copy, &probe, compare));
        EXPECT_NE(from, to);
        EXPECT_EQ(std::string(to->text, sizeof to->text), std::string(from->text, sizeof to->text));
    }
    AA_free(root);
    AA_free(copy);
    EXPECT_EQ(AA_dup(nullptr, 100), nullptr);
}

TEST(AaTree, InsertMakesALeafOfTheNodeAndClearsDup) {
    Record record{{7, &record.node, &record.node}, 1};
    AA_node *dup = &record.node;
    EXPECT_EQ(AA_insert(nullptr, &record, compare, &dup), &record.node);
    EXPECT_EQ(picture(&record.node), "1@1");
    EXPECT_EQ(dup, nullptr);
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

TEST(AaTree, InsertionsInOrderMakeAPerfectTree) {
    for (const std::vector<int> &keys : {std::vector{1, 2, 3, 4, 5, 6, 7}, {7, 6, 5, 4, 3, 2, 1}}) {
        AA_node *const root = tree_of(keys);
        EXPECT_EQ(picture(root), "4(2(1@1 3@1)@2 6(5@1 7@1)@2)@3");
        EXPECT_EQ(check_aa_levels(root), sound);
        AA_free(root);
    }
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

TEST(AaTree, DeleteHandsTheNodeOver) {
    AA_node *root = tree_of({1, 2, 3}), *removed = nullptr;
    AA_node *const second = root;
    root = AA_delete(root, second, compare, &removed);
    EXPECT_EQ(removed, second);
    EXPECT_EQ(picture(removed), "2@2") << "its links are null";
    EXPECT_EQ(picture(root), "1(- 3@1)@2");
    AA_free(removed);
    AA_free(root);
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

TEST(AaTree, DeleteOfAnAbsentKeyTakesNothingOut) {
    AA_node *root = tree_of({1, 2, 4, 5}), *removed = root;
    const Record probe{{}, 3};
    const std::string before = picture(root);
    root = AA_delete(root, &probe, compare, &removed);
    EXPECT_EQ(removed, nullptr);
    EXPECT_EQ(picture(root), before);
    AA_free(root);
}

TEST(AaTree, FirstAndLastAreTheSmallestAndTheLargest) {
    AA_node *const root = tree_of({3, 1, 4, 5, 9, 2, 6});
    EXPECT_EQ(key_of(AA_first(root)), 1);
    EXPECT_EQ(key_of(AA_last(root)), 9);
    AA_free(root);
    Record lone{{1, nullptr, nullptr}, 1};
    EXPECT_EQ(AA_first(&lone.node), &lone);
    EXPECT_EQ(AA_last(&lone.node), &lone);
}

TEST(AaTree, IterateGoesUpUntilAVisitStopsIt) {
    struct Walk {
        std::string visited;
        int stop_at;
        int32_t result;
    };
    const auto visit = [](void *node, void *ctx) -> int32_t {
        auto &walk = *static_cast<Walk *>(ctx);
        walk.visited += std::to_string(key_of(node));
        return key_of(node) == walk.stop_at ? walk.result : 0;
    };
    AA_node *const root = tree_of({3, 1, 4, 5, 9, 2, 6});
    Walk whole{"", 0, 1};
    EXPECT_EQ(AA_iterate(root, visit, &whole), nullptr);
    EXPECT_EQ(whole.visited, "1234569");
    for (const int stop_at : {1, 2, 3, 4, 5, 6, 9})
        for (const int32_t result : {1, -1, INT32_MIN}) {
            Walk walk{"", stop_at, result};
            EXPECT_EQ(key_of(AA_iterate(root, visit, &walk)), stop_at);
            EXPECT_EQ(walk.visited, whole.visited.substr(0, walk.visited.size()));
        }
    AA_free(root);
}

TEST(AaTree, SearchesAndWalksNeedNoLevels) {
    const auto count = [](void *, void *ctx) -> int32_t { return ++*static_cast<int *>(ctx), 0; };
    for (const bool leftwards : {true, false}) {
        std::vector<Record> chain(1000);
        AA_node *root = nullptr;
        for (int key = leftwards ? 0 : 1000; Record & record : chain) {
            record = {{1, leftwards ? root : nullptr, leftwards ? nullptr : root}, key};
            root = &record.node;
            key += leftwards ? 1 : -1;
        }
        ASSERT_EQ(check_aa(root, compare), sound);
        for (const Record &record : chain)
            ASSERT_EQ(AA_find(root, &record, compare), &record);
        EXPECT_EQ(AA_first(root), leftwards ? &chain.front() : &chain.back());
        EXPECT_EQ(AA_last(root), leftwards ? &chain.back() : &chain.front());
        int visits = 0;
        EXPECT_EQ(AA_iterate(root, count, &visits), nullptr);
        EXPECT_EQ(visits, 1000);
    }
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

TEST(AaTree, FollowsThePlainTreeInAllOrders) {
    std::array<size_t, 7> keys{0, 1, 2, 3, 4, 5, 6};
    for (const Face *face : {&c_face, &typed_face, &short_face})
        do {
            Driver driver{face};
            for (const size_t key : keys)
                driver.insert(key);
            ASSERT_EQ(check_aa_levels(driver.root), sound);
            for (const size_t key : keys)
                driver.erase(key);
            ASSERT_FALSE(HasFailure()) << face->name;
        } while (std::next_permutation(keys.begin(), keys.end()));
}

TEST(AaTree, FollowsThePlainTreeThroughMixedSteps) {
    for (const Faces &faces :
         {Faces{&c_face}, Faces{&c_face, &typed_face}, Faces{&typed_face, &short_face}})
        test::for_each_seed([&faces](test::Random &random) {
            Driver driver{faces[0]};
            for (const size_t inserts_in_ten : {6U, 4U, 6U, 4U})
                for (int i = 0; i != 500; ++i) {
                    const size_t key = random.below(driver.records.size());
                    driver.face = faces[random.below(faces.size())];
                    if (random.below(10) < inserts_in_ten)
                        driver.insert(key);
                    else
                        driver.erase(key);
                    ASSERT_FALSE(testing::Test::HasFailure()) << driver.face->name;
                }
        });
}

TEST(AaTree, HoldsSeventyThousandNodes) {
    std::vector<Record> records(70'000);
    for (size_t i = 0; i != records.size(); ++i)
        records[i].key = static_cast<int>(i);
    std::vector<size_t> order(records.size());
    std::iota(order.begin(), order.end(), 0);
    std::shuffle(order.begin(), order.end(), std::mt19937(1));

    AA_node *root = nullptr;
    for (const size_t i : order)
        root = AA_insert(root, &records[i], compare, nullptr);
    ASSERT_EQ(check_aa(root, compare), sound);
    ASSERT_EQ(check_aa_levels(root), sound);
    for (Record &record : records)
        ASSERT_EQ(AA_find(root, &record, compare), &record);
    size_t visits = 0;
    const auto count = [](void *, void *ctx) -> int32_t {
        return ++*static_cast<size_t *>(ctx), 0;
    };
    AA_iterate(root, count, &visits);
    EXPECT_EQ(visits, records.size());
    for (const size_t i : order) {
        AA_node *removed = nullptr;
        root = AA_delete(root, &records[i], compare, &removed);
        ASSERT_EQ(removed, &records[i].node);
        if (i % 1000 == 0) {
            ASSERT_EQ(check_aa(root, compare), sound);
        }
    }
    EXPECT_EQ(root, nullptr);
}

#include <qvds/qv_tree.h>

#include "support.hpp"

#include <pthread.h>

#include <algorithm>
#include <set>

namespace {

qv_tree *const none = &qv_tree_null;

// Items are numbers dressed as pointers.
void *item_of(intptr_t key) {
    return reinterpret_cast<void *>(key);
}
intptr_t key_of(const qv_tree *t) {
    return reinterpret_cast<intptr_t>(t->item);
}
std::vector<const void *> compared;
int32_t compare(const void *item, const void *stored) {
    compared.push_back(stored);
    return static_cast<int32_t>(reinterpret_cast<intptr_t>(item) -
                                reinterpret_cast<intptr_t>(stored));
}
int32_t free_node(void *node, void *) {
    free(node);
    return 1;
}

// The invariant that a tree breaks, or 0.
int broken(const qv_tree *t, intptr_t low = INTPTR_MIN, intptr_t high = INTPTR_MAX) {
    if (t == none)
        return t->count != 0 || t->item != nullptr || t->left != nullptr || t->right != nullptr ? 3
                                                                                                : 0;
    if (t->left == nullptr || t->right == nullptr)
        return 3;
    if (t->count != 1 + t->left->count + t->right->count)
        return 1;
    if (key_of(t) <= low || key_of(t) >= high)
        return 2;
    return std::max(broken(t->left, low, key_of(t)), broken(t->right, key_of(t), high));
}
bool balanced(const qv_tree *t) {
    return t == none || (t->left->count == t->count / 2 && balanced(t->left) && balanced(t->right));
}
std::string shape_of(const qv_tree *t) {
    return t == none
               ? ""
               : '(' + shape_of(t->left) + std::to_string(key_of(t)) + shape_of(t->right) + ')';
}
void expect_same(qv_tree *ours, qv_tree *defined) {
    EXPECT_EQ(shape_of(ours), shape_of(defined));
    EXPECT_EQ(broken(ours) + broken(defined), 0);
    for (qv_tree *const root : {ours, defined})
        qv_tree_iter(root, free_node, QV_TREE_POSTORDER, nullptr);
}

// As partition and deletion are defined: single rotations, and counting again, on the way up.
qv_tree *rotated_up(qv_tree *t, int32_t rank) {
    const int32_t own = t == none ? rank : static_cast<int32_t>(t->left->count);
    if (own == rank)
        return t;
    qv_tree *&link = own > rank ? t->left : t->right;
    link = rotated_up(link, own > rank ? rank : rank - own - 1);
    return own > rank ? qv_tree_rotate_right(t) : qv_tree_rotate_left(t);
}
qv_tree *without(qv_tree *t, const void *item) {
    const int32_t order = t == none ? 0 : compare(item, t->item);
    if (order == 0) {
        qv_tree *const rest = t == none ? none : qv_tree_join(t->left, t->right);
        free(t == none ? nullptr : t);
        return rest;
    }
    qv_tree *&link = order < 0 ? t->left : t->right;
    link = without(link, item);
    t->count = 1 + t->left->count + t->right->count;
    return t;
}

} // namespace

TEST(QvTree, PredicateMissesABrokenInvariant) {
    qv_tree leaf{1, item_of(1), none, none}, root{3, item_of(2), none, &leaf};
    EXPECT_EQ(broken(&root), 1);
    root.count = 2;
    EXPECT_EQ(broken(&root), 2);
    leaf.right = nullptr;
    EXPECT_EQ(broken(&root), 3);
}

TEST(QvTree, SomeShapeChangesOtherThanAsDefined) {
    std::vector<intptr_t> keys;
    for (intptr_t n = 0; n <= 6; keys.push_back(2 * n++ + 1))
        do {
            const auto tree = [&keys](qv_tree *root = none) {
                for (const intptr_t key : keys)
                    root = qv_tree_insert(root, compare, item_of(key));
                return root;
            };
            for (const int32_t rank : {INT32_MIN, -1, 0, 1, 2, 3, 4, 5, 6, INT32_MAX})
                expect_same(qv_tree_partition(tree(), rank), rotated_up(tree(), rank));
            for (intptr_t key = 0; key <= 2 * n; ++key) {
                qv_tree *ours = tree(), *defined = tree();
                compared.clear();
                ours = qv_tree_delete(ours, compare, item_of(key));
                const auto calls = std::exchange(compared, {});
                defined = without(defined, item_of(key));
                EXPECT_EQ(calls, compared);
                expect_same(ours, defined);
            }
            void *const least = item_of(-1);
            expect_same(qv_tree_join(qv_tree_new(least), tree()),
                        qv_tree_insert(rotated_up(tree(), 0), compare, least));
            expect_same(qv_tree_join(none, tree()), tree());
            qv_tree *const even = qv_tree_balance(tree());
            EXPECT_TRUE(balanced(even) && even->count == keys.size());
            expect_same(even, tree(qv_tree_balance(tree()))); // no key goes in: all are there
        } while (std::next_permutation(keys.begin(), keys.end()) && !HasFailure());
}

// The tree starts as a chain, rightwards, to and fro or leftwards, longer than what may be kept of
// a path.
TEST(QvTree, RandomOperationsPartFromASortedSet) {
    test::for_each_seed([](test::Random &random) {
        const auto turn = static_cast<intptr_t>(random.below(3));
        std::set<intptr_t> model;
        qv_tree *root = none;
        for (int step = 0; step < 1000; ++step) {
            auto key = static_cast<intptr_t>(random.below(401));
            if (step < 200)
                key = turn == 0 || (turn == 1 && step % 2 == 0) ? step : 400 - step;
            if (step < 200 || random.one_in(2)) {
                root = qv_tree_insert(root, compare, item_of(key));
                model.insert(key);
            } else {
                root = qv_tree_delete(root, compare, item_of(key));
                model.erase(key);
            }
            ASSERT_EQ(root->count, model.size());
            ASSERT_EQ(broken(root), 0);
            key = static_cast<intptr_t>(random.below(401));
            ASSERT_EQ(qv_tree_find(root, compare, item_of(key)) != nullptr, model.count(key) == 1);
            if (step >= 200 && random.one_in(100))
                root = random.one_in(2) ? qv_tree_partition(root, static_cast<int32_t>(key))
                                        : qv_tree_balance(root);
        }
        qv_tree_iter(root, free_node, QV_TREE_POSTORDER, nullptr);
    });
}

TEST(QvTree, WalkTakesAWrongTurnOrReadsALinkTooEarly) {
    // The root loses its links at the visit of one of the nodes.
    struct visits {
        qv_tree root;
        intptr_t cut_at;
        std::string keys;
    };
    const auto walked = [](int32_t order, intptr_t cut_at) {
        qv_tree one{1, item_of(1), none, none}, three{1, item_of(3), none, none};
        qv_tree four{2, item_of(4), &three, none};
        visits v{{4, item_of(2), &one, &four}, cut_at, ""};
        const auto visit = [](void *node, void *ctx) {
            auto &at = *static_cast<visits *>(ctx);
            at.keys += std::to_string(key_of(static_cast<qv_tree *>(node)));
            if (key_of(static_cast<qv_tree *>(node)) == at.cut_at)
                at.root.left = at.root.right = none;
            return 1;
        };
        qv_tree_iter(&v.root, visit, order, &v);
        return v.keys + ' ';
    };
    const auto cut_nowhere_at_1_at_2 = [&](int32_t order) {
        return walked(order, 0) + walked(order, 1) + walked(order, 2);
    };
    EXPECT_EQ(cut_nowhere_at_1_at_2(QV_TREE_INORDER), "1234 12 12 ");
    EXPECT_EQ(cut_nowhere_at_1_at_2(QV_TREE_PREORDER), "2143 21 2 ");
    EXPECT_EQ(cut_nowhere_at_1_at_2(QV_TREE_POSTORDER), "1342 12 1342 ");
    EXPECT_EQ(cut_nowhere_at_1_at_2(3), "   ");
}

TEST(QvTree, DumpWritesOtherBytes) {
    // One leaf ends in null links.
    qv_tree one{1, item_of('1'), nullptr, nullptr}, three{1, item_of('3'), none, none};
    qv_tree four{2, item_of('4'), &three, none}, two{4, item_of('2'), &one, &four};
    const auto dumped = [&two](int32_t order, int32_t depth, qv_tree_print_fn print) {
        char text[100] = "";
        FILE *const stream = fmemopen(text, sizeof text, "w");
        qv_tree_dump(&two, print, order, stream, depth);
        fclose(stream);
        return std::string(text);
    };
    const auto print = [](const qv_tree *t, FILE *out) { fputc(static_cast<int>(key_of(t)), out); };
    EXPECT_EQ(dumped(QV_TREE_PREORDER, 0, print), "2 1 4  3");
    EXPECT_EQ(dumped(QV_TREE_INORDER, 1, print), "  1 2   3  4");
    EXPECT_EQ(dumped(QV_TREE_POSTORDER, 0, print), " 1  3 42");
    EXPECT_EQ(dumped(QV_TREE_INORDER, 0, nullptr), "    ");
    EXPECT_EQ(dumped(3, 0, print), "");
}

// Chains to the left and to the right, in a thread whose stack could not hold a word for each
// level.
TEST(QvTree, ChainOverrunsTheStack) {
// A slow build makes do with a length at which frames would already be too many.
#if defined(__SANITIZE_ADDRESS__) || !defined(__OPTIMIZE__)
    static constexpr intptr_t length = 100'000;
#else
    static constexpr intptr_t length = 10'000'000;
#endif
    const auto climb = [](void *) -> void * {
        const auto quiet = [](const void *a, const void *b) { return a < b ? -1 : int32_t{a > b}; };
        std::vector<qv_tree> chain(length);
        for (const bool left : {true, false}) {
            for (intptr_t i = 0; i < length; ++i) {
                qv_tree *const next = i + 1 < length ? &chain[static_cast<size_t>(i) + 1] : none;
                chain[static_cast<size_t>(i)] = {static_cast<uint32_t>(length - i),
                                                 item_of(left ? length - i : i + 1),
                                                 left ? next : none, left ? none : next};
            }
            void *const last = item_of(left ? 0 : length + 1);
            qv_tree *root = qv_tree_insert(chain.data(), quiet, last);
            EXPECT_EQ(qv_tree_find(root, quiet, last)->count, 1U);
            root = qv_tree_delete(root, quiet, last);
            qv_tree least{1, item_of(-1), none, none};
            root = qv_tree_partition(qv_tree_join(&least, root), left ? 0 : INT32_MAX);
            EXPECT_EQ(key_of(root), left ? -1 : length);
            EXPECT_EQ(qv_tree_balance(root)->count, length + 1);
        }
        return nullptr;
    };
    pthread_attr_t attr;
    pthread_attr_init(&attr);
    pthread_attr_setstacksize(&attr, size_t{256} * 1024);
    pthread_t thread;
    ASSERT_EQ(pthread_create(&thread, &attr, climb, nullptr), 0);
    pthread_join(thread, nullptr);
}

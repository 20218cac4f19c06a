#include <qvds/qv_tree.h>

#include "support.hpp"

#include <pthread.h>

#include <algorithm>
#include <cstdlib>
#include <numeric>

namespace {

qv_tree *const none = &qv_tree_null;

// Items are characters dressed as pointers.
void *item_of(char key) {
    return reinterpret_cast<void *>(intptr_t{key});
}
char key_of(const void *item) {
    return static_cast<char>(reinterpret_cast<intptr_t>(item));
}
int32_t compare(const void *item, const void *stored) {
    return static_cast<int32_t>(reinterpret_cast<intptr_t>(item) -
                                reinterpret_cast<intptr_t>(stored));
}

// The model of a tree is an order of insertions that makes it. A node that single rotations bring
// up to another's place moves, in that order, before the other.
std::string raised(std::string order, char key, size_t place = 0) {
    std::stable_partition(&order[place], &order[order.size()], [&](char at) { return at == key; });
    return order;
}
std::string balanced(const std::string &sorted) {
    const size_t half = sorted.size() / 2;
    if (sorted.empty())
        return "";
    return sorted[half] + balanced(sorted.substr(0, half)) + balanced(sorted.substr(half + 1));
}
std::pair<std::string, std::string> split(std::string order, char key) {
    const auto less = [key](char at) { return at < key; };
    const auto middle = std::stable_partition(order.begin(), order.end(), less);
    return {{order.begin(), middle}, {middle, order.end()}};
}

// The invariant that a tree breaks, or 0 if it is the one that the order makes.
int broken(const qv_tree *t, const std::string &order) {
    const bool written = none->count != 0 || none->item || none->left || none->right;
    if (t == none || t == nullptr)
        return t == none && !written && order.empty() ? 0 : 3;
    if (t->count != order.size())
        return 1;
    if (key_of(t->item) != order[0])
        return 2;
    const auto [less, greater] = split(order.substr(1), order[0]);
    return std::max(broken(t->left, less), broken(t->right, greater));
}

qv_tree *tree_of(const std::string &order) {
    qv_tree *root = none;
    for (const char key : order)
        root = qv_tree_insert(root, compare, item_of(key));
    return root;
}
void expect(qv_tree *t, const std::string &order) {
    ASSERT_EQ(broken(t, order), 0) << order;
    const auto release = [](void *node, void *) -> int32_t { return free(node), 1; };
    qv_tree_iter(t, release, QV_TREE_POSTORDER, nullptr);
}

// Does all that can be done to the tree of an order of keys from '0' on and below the end.
void try_everything(const std::string &order, char end) {
    std::string sorted = order;
    std::sort(sorted.begin(), sorted.end());
    const int count = static_cast<int>(order.size());
    for (int rank = -1; rank <= count; ++rank) {
        const char key = sorted.c_str()[std::max(0, std::min(rank, count - 1))];
        expect(qv_tree_partition(tree_of(order), rank), raised(order, key));
    }
    for (char key = '0'; key < end; ++key) {
        const auto [less, others] = split(order, key);
        const char least = sorted.c_str()[less.size()];
        expect(qv_tree_join(tree_of(less), tree_of(others)),
               less.empty() ? order : raised(order, least));

        qv_tree *const tree = tree_of(order);
        const qv_tree *const found = qv_tree_find(tree, compare, item_of(key));
        const bool absent = order.find(key) == std::string::npos;
        EXPECT_TRUE(found == nullptr ? absent : key_of(found->item) == key);
        expect(qv_tree_insert(tree_of(order), compare, item_of(key)), absent ? order + key : order);
        std::string rest = order;
        if (found != nullptr && found->left != none && found->right != none)
            rest = raised(order, sorted[less.size() + 1], order.find(key)); // the successor
        std::erase(rest, key);
        expect(qv_tree_delete(tree, compare, item_of(key)), rest);
    }
    expect(qv_tree_balance(tree_of(order)), balanced(sorted));
    if (!order.empty()) {
        const auto [less, greater] = split(order.substr(1), order[0]);
        expect(qv_tree_rotate_right(tree_of(order)), raised(order, less.c_str()[0]));
        expect(qv_tree_rotate_left(tree_of(order)), raised(order, greater.c_str()[0]));
    }
}

} // namespace

TEST(QvTree, PredicateMissesABrokenInvariant) {
    qv_tree leaf{1, item_of('3'), none, nullptr}, root{2, item_of('2'), none, &leaf};
    EXPECT_EQ(broken(&root, "23"), 3);
    leaf.right = none;
    EXPECT_EQ(broken(&root, "24"), 2);
    root.count = 1;
    EXPECT_EQ(broken(&root, "23"), 1);
}

TEST(QvTree, SmallTreeTakesAnotherShape) {
    for (size_t n = 0; n <= 7 && !HasFailure(); ++n) {
        std::string order = std::string("13579;=").substr(0, n);
        do
            try_everything(order, static_cast<char>('1' + 2 * n));
        while (std::next_permutation(order.begin(), order.end()));
    }
}

// The way is longer than what may be kept of it: along an edge on the right of a left subtree, and
// leftwards.
TEST(QvTree, LongWayIsCountedWrongly) {
    std::string order = "1~";
    for (char key = '2'; key < '2' + 70; ++key)
        order += key;
    try_everything(order, '~' + 1);
    std::sort(order.rbegin(), order.rend());
    try_everything(order, '~' + 1);
}

TEST(QvTree, WalkTakesAWrongTurnOrDumpWritesOtherBytes) {
    qv_tree one{1, item_of('1'), none, none}, three{1, item_of('3'), none, none};
    qv_tree four{2, item_of('4'), &three, none}, two{4, item_of('2'), &one, &four};
    const auto print = [](const qv_tree *t, FILE *out) { fputc(key_of(t->item), out); };
    const auto visit = [](void *node, void *out) -> int32_t {
        return fputc(key_of(static_cast<qv_tree *>(node)->item), static_cast<FILE *>(out));
    };
    char text[100] = "";
    FILE *const stream = fmemopen(text, sizeof text, "w");
    for (int32_t order = QV_TREE_INORDER; order <= 3; ++order) {
        qv_tree_iter(&two, visit, order, stream);
        qv_tree_dump(&two, print, order, stream, order);
        fputc('|', stream);
    }
    four.left = nullptr; // which only a dump allows
    qv_tree_dump(&two, nullptr, QV_TREE_INORDER, stream, 0);
    fclose(stream);
    EXPECT_STREQ(text, "1234 12  3 4|2143 2  1  4   3|1342   1    3   4  2||  ");
}

TEST(QvTree, ChainOverrunsTheStack) {
    const auto climb = [](void *) -> void * {
        // The shorter one has no room for a word for each level either.
        std::vector<qv_tree> chain(getenv("QVDS_TEST_SLOW") != nullptr ? 100'000 : 10'000'000);
        const intptr_t far_end = 1 << 30;
        void *const item = reinterpret_cast<void *>(far_end);
        for (const bool left : {true, false}) {
            qv_tree *root = none;
            for (intptr_t key = far_end; qv_tree & node : chain) {
                key += left ? 1 : -1;
                node = {root->count + 1, reinterpret_cast<void *>(key), left ? root : none,
                        left ? none : root};
                root = &node;
            }
            if (!left) // a step to the right needs no stack
                qv_tree_iter(
                    root, [](void *, void *) { return 0; }, QV_TREE_INORDER, nullptr);
            root = qv_tree_insert(root, compare, item);
            EXPECT_EQ(qv_tree_find(root, compare, item)->count, 1U);
            root = qv_tree_delete(root, compare, item);
            qv_tree least{1, nullptr, none, none};
            root = qv_tree_partition(qv_tree_join(&least, root), left ? INT32_MIN : INT32_MAX);
            EXPECT_EQ(root, left ? &least : chain.data());
            EXPECT_EQ(qv_tree_balance(root)->count, chain.size() + 1);
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

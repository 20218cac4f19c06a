#include <qvds/qv_tree.h>

#include <pthread.h>

#include <algorithm>
#include <cstdlib>
#include <utility>

#include "fault.hpp"
#include "support.hpp"

namespace {

using qvds::fault, qvds::sound, qvds::core::check_qv_tree;

qv_tree *const none = &qv_tree_null;

struct Item {
    int key;
};
std::string asked; // what compare was given: "key?stored key " for each call

int32_t compare(const void *item, const void *stored) {
    return static_cast<const Item *>(item)->key - static_cast<const Item *>(stored)->key;
}
int32_t compare_and_note(const void *item, const void *stored) {
    for (const void *given : {item, stored})
        asked += static_cast<char>(static_cast<const Item *>(given)->key);
    asked += ' ';
    return compare(item, stored);
}

int key_of(const qv_tree *t) {
    return static_cast<const Item *>(t->item)->key;
}

// Most items here are named by a character, their key.
Item *item_of(char key) {
    static std::vector<Item> items(128);
    Item &item = items[static_cast<size_t>(key)];
    item.key = key;
    return &item;
}

qv_tree *tree_of(const std::string &order) {
    qv_tree *root = none;
    for (const char key : order)
        root = qv_tree_insert(root, compare, item_of(key));
    return root;
}

void release(qv_tree *t) {
    const auto release_node = [](void *node, void *) -> int32_t { return free(node), 0; };
    qv_tree_iter(t, release_node, QV_TREE_POSTORDER, nullptr);
}

// A shape is written in pre-order: "4213" is 4 over 2, which is over 1 and 3.
std::string shape_of(const qv_tree *t) {
    if (t == none)
        return "";
    return static_cast<char>(key_of(t)) + shape_of(t->left) + shape_of(t->right);
}

// The model of a tree is an order of insertions that makes it. Several orders make the same shape.
using Order = std::string;

// The keys below a key and the others, in the order that they have.
std::pair<Order, Order> split(Order order, char key) {
    const auto less = [key](char at) { return at < key; };
    const auto middle = std::stable_partition(order.begin(), order.end(), less);
    return {{order.begin(), middle}, {middle, order.end()}};
}

std::string shape_made_by(const Order &order) {
    if (order.empty())
        return "";
    const auto [less, greater] = split(order.substr(1), order[0]);
    return order[0] + shape_made_by(less) + shape_made_by(greater);
}

// Rotating a node up to another's place makes the tree that inserts it before that one.
Order rotated_up(Order order, char key, size_t place = 0) {
    std::stable_partition(&order[place], &order[order.size()], [&](char at) { return at == key; });
    return order;
}

std::string sorted(Order order) {
    std::sort(order.begin(), order.end());
    return order;
}

bool contains(const Order &order, char key) {
    return order.find(key) != Order::npos;
}

// A node's neighbours among all keys hang below it if they are inserted after it. If both do, the
// greater one takes its place.
Order without(const Order &order, char key) {
    if (!contains(order, key))
        return order;
    const std::string all = sorted(order);
    const size_t place = order.find(key), rank = all.find(key);
    const bool less_below = rank > 0 && order.find(all[rank - 1]) > place;
    const bool greater_below = rank + 1 < all.size() && order.find(all[rank + 1]) > place;
    Order rest = less_below && greater_below ? rotated_up(order, all[rank + 1], place) : order;
    std::erase(rest, key);
    return rest;
}

// The order that makes a balanced tree of these keys.
Order halved(const std::string &all) {
    const size_t half = all.size() / 2;
    if (all.empty())
        return "";
    return all[half] + halved(all.substr(0, half)) + halved(all.substr(half + 1));
}

// Expects a sound tree of the shape that the order makes, and releases it.
void expect(qv_tree *t, const Order &order) {
    ASSERT_EQ(check_qv_tree(t, compare), sound);
    EXPECT_EQ(shape_of(t), shape_made_by(order));
    release(t);
}

// The keys of a tree that begins with '1', and those between, before and behind them.
std::string keys_around(const Order &order) {
    std::string all(1, '0');
    while (!order.empty() && all.back() <= sorted(order).back())
        all += static_cast<char>(all.back() + 1);
    return all;
}

// Calls body(order) for every order of insertions of up to seven items, and for two whose
// longest ways are longer than the ways that the library remembers: along the right edge of a left
// subtree, and along the left edge.
template <class Body>
void for_each_tree(Body body) {
    std::vector<Order> orders{Order("1~"), Order()};
    for (char key = '2'; key < '2' + 70; ++key)
        orders[0] += key;
    orders[1] = sorted(orders[0]);
    std::reverse(orders[1].begin(), orders[1].end());
    for (size_t n = 0; n <= 7; ++n) {
        Order order = Order("13579;=").substr(0, n);
        do
            orders.push_back(order);
        while (std::next_permutation(order.begin(), order.end()));
    }
    for (const Order &order : orders) {
        SCOPED_TRACE("tree of " + order);
        body(order);
        if (testing::Test::HasFailure())
            return;
    }
}

} // namespace

TEST(CountedTree, CheckTellsTheBrokenInvariantAndWhere) {
    qv_tree three{1, item_of('3'), none, none}, one{1, item_of('1'), none, none};
    qv_tree two{3, item_of('2'), &one, &three};
    EXPECT_EQ(check_qv_tree(&two, compare), sound);

    three.item = item_of('2');
    EXPECT_EQ(check_qv_tree(&two, compare), (fault{2, &three}));
    three.item = item_of('3');
    one.item = item_of('2');
    EXPECT_EQ(check_qv_tree(&two, compare), (fault{2, &one}));
    one.item = item_of('1');

    two.count = 4;
    EXPECT_EQ(check_qv_tree(&two, compare), (fault{1, &two}));
    two.count = 3;
    three.right = &two; // a cycle
    EXPECT_EQ(check_qv_tree(&two, compare), (fault{1, &three}));
    three.right = nullptr;
    EXPECT_EQ(check_qv_tree(&two, compare), (fault{3, &three}));

    qv_tree_null.item = &three;
    EXPECT_EQ(check_qv_tree(&one, compare), (fault{3, none}));
    qv_tree_null.item = nullptr;
    EXPECT_EQ(check_qv_tree(nullptr, compare), (fault{3, nullptr}));
}

TEST(CountedTree, InsertAddsALeafUnlessAnEqualItemIsThere) {
    for_each_tree([](const Order &order) {
        for (const char key : keys_around(order)) {
            qv_tree *const t = qv_tree_insert(tree_of(order), compare, item_of(key));
            expect(t, contains(order, key) ? order : order + key);
        }
    });
}

TEST(CountedTree, DeletePutsTheSmallestOnTheRightInTheNodesPlace) {
    for_each_tree([](const Order &order) {
        for (const char key : keys_around(order))
            expect(qv_tree_delete(tree_of(order), compare, item_of(key)), without(order, key));
    });
}

TEST(CountedTree, InsertFindAndDeleteAskOncePerLevelWithTheStoredItemSecond) {
    qv_tree *t = tree_of("4213657");
    asked.clear();
    EXPECT_EQ(key_of(qv_tree_find(t, compare_and_note, item_of('5'))), '5');
    EXPECT_EQ(asked, "54 56 55 ");
    asked.clear();
    t = qv_tree_insert(t, compare_and_note, item_of('8'));
    EXPECT_EQ(asked, "84 86 87 ");
    asked.clear();
    t = qv_tree_delete(t, compare_and_note, item_of('2'));
    EXPECT_EQ(asked, "24 22 ");
    expect(t, "4316578");
}

TEST(CountedTree, RotationsBringTheChildUpIfThereIsOne) {
    for_each_tree([](const Order &order) {
        if (order.empty())
            return; // the sentinel cannot be rotated
        const auto [less, greater] = split(order.substr(1), order[0]);
        expect(qv_tree_rotate_right(tree_of(order)),
               less.empty() ? order : rotated_up(order, less[0]));
        expect(qv_tree_rotate_left(tree_of(order)),
               greater.empty() ? order : rotated_up(order, greater[0]));
    });
}

TEST(CountedTree, PartitionBringsARankToTheRootOrTheNearestThatThereIs) {
    for_each_tree([](const Order &order) {
        const int32_t count = static_cast<int32_t>(order.size());
        std::vector<int32_t> ranks{INT32_MIN, count + 1, INT32_MAX};
        for (int32_t rank = -1; rank <= count; ++rank)
            ranks.push_back(rank);
        for (const int32_t rank : ranks) {
            const auto nearest = static_cast<size_t>(std::clamp(rank, 0, std::max(count - 1, 0)));
            const char key = (sorted(order) + '?')[nearest];
            expect(qv_tree_partition(tree_of(order), rank), rotated_up(order, key));
        }
    });
}

TEST(CountedTree, BalancePutsTheMiddleAtTheRootOfEverySubtree) {
    EXPECT_EQ(halved("1234567"), "4213657");
    for_each_tree(
        [](const Order &order) { expect(qv_tree_balance(tree_of(order)), halved(sorted(order))); });
}

TEST(CountedTree, JoinHangsTheLesserTreeOnTheSmallestNodeOfTheOther) {
    for_each_tree([](const Order &order) {
        for (const char key : keys_around(order)) {
            const auto [less, others] = split(order, key);
            const bool both = !less.empty() && !others.empty();
            expect(qv_tree_join(tree_of(less), tree_of(others)),
                   both ? rotated_up(order, sorted(others)[0]) : order);
        }
    });
}

namespace {

// Every order to walk in, and others.
constexpr int32_t orders[] = {QV_TREE_INORDER, QV_TREE_PREORDER, QV_TREE_POSTORDER, -1, 3, 256};

std::string iterated(qv_tree *t, int32_t order) {
    const auto visit = [](void *node, void *keys) -> int32_t {
        *static_cast<std::string *>(keys) +=
            static_cast<char>(key_of(static_cast<qv_tree *>(node)));
        return -1;
    };
    std::string keys;
    qv_tree_iter(t, visit, order, &keys);
    return keys;
}

std::string dumped(const qv_tree *t, qv_tree_print_fn print, int32_t order, int32_t depth) {
    char *text = nullptr;
    size_t size = 0;
    FILE *const stream = open_memstream(&text, &size);
    qv_tree_dump(t, print, order, stream, depth);
    fclose(stream);
    const std::string all(text, size);
    free(text);
    return all;
}

} // namespace

TEST(CountedTree, IterVisitsInTheOrderAskedForWhateverAVisitReturns) {
    qv_tree *const t = tree_of("2143");
    const char *const visited[] = {"1234", "2143", "1342", "", "", ""};
    for (size_t i = 0; i != std::size(orders); ++i) {
        EXPECT_EQ(iterated(t, orders[i]), visited[i]);
        EXPECT_EQ(iterated(none, orders[i]), "");
    }
    release(t);
}

TEST(CountedTree, DumpWritesABlankForEachLevelBeforeANode) {
    const auto print = [](const qv_tree *node, FILE *stream) { fputc(key_of(node), stream); };
    qv_tree *const t = tree_of("2143");
    const char *const written[] = {"  1 2   3  4", " 2  1  4   3", "  1   3  4 2", "", "", ""};
    for (size_t i = 0; i != std::size(orders); ++i)
        EXPECT_EQ(dumped(t, print, orders[i], 1), written[i]);
    EXPECT_EQ(dumped(t, nullptr, QV_TREE_PREORDER, 0), "    ") << "without a callback";
    const qv_tree leaf{1, nullptr, nullptr, nullptr};
    EXPECT_EQ(dumped(&leaf, nullptr, QV_TREE_INORDER, 7), "       ") << "links may be null";
    release(t);
}

TEST(CountedTree, IterReadsTheLinksThatItGoesOnByAfterTheVisit) {
    const auto cut_right = [](void *node, void *count) -> int32_t {
        static_cast<qv_tree *>(node)->right = none;
        return ++*static_cast<int *>(count);
    };
    for (const int32_t order : {QV_TREE_INORDER, QV_TREE_PREORDER}) {
        qv_tree leaf{1, item_of('3'), none, none}, left{1, item_of('1'), none, none};
        qv_tree root{3, item_of('2'), &left, &leaf};
        int visits = 0;
        qv_tree_iter(&root, cut_right, order, &visits);
        EXPECT_EQ(visits, 2);
    }
}

// Ten million nodes in a line, on a stack of 256 kB. Items are addresses that nobody reads.
TEST(CountedTree, ChainsNeedNoStackButForWalks) {
    const auto climb = [](void *) -> void * {
        const auto compare_addresses = [](const void *item, const void *stored) {
            return item < stored ? -1 : int32_t{item > stored};
        };
        const auto count_visit = [](void *, void *count) -> int32_t {
            return ++*static_cast<size_t *>(count), 0;
        };
        // The shorter one has no room for a word for each level either.
        std::vector<qv_tree> chain(getenv("QVDS_TEST_SLOW") != nullptr ? 100'000 : 10'000'000);
        const auto address = [](intptr_t key) { return reinterpret_cast<void *>(key); };
        const intptr_t far_end = 1 << 30;
        for (const bool left : {true, false}) {
            qv_tree *root = none;
            for (intptr_t key = far_end; qv_tree & node : chain) {
                key += left ? 1 : -1;
                node = {root->count + 1, address(key), left ? root : none, left ? none : root};
                root = &node;
            }
            EXPECT_EQ(check_qv_tree(root, compare_addresses), sound);
            if (!left) { // a step to the right needs no stack
                size_t visits = 0;
                qv_tree_iter(root, count_visit, QV_TREE_INORDER, &visits);
                EXPECT_EQ(visits, chain.size());
            }
            root = qv_tree_insert(root, compare_addresses, address(far_end));
            EXPECT_EQ(qv_tree_find(root, compare_addresses, address(far_end))->count, 1U);
            EXPECT_EQ(check_qv_tree(root, compare_addresses), sound);
            root = qv_tree_delete(root, compare_addresses, address(far_end));
            qv_tree least{1, nullptr, none, none};
            root = qv_tree_partition(qv_tree_join(&least, root), left ? INT32_MIN : INT32_MAX);
            EXPECT_EQ(root, left ? &least : chain.data());
            EXPECT_EQ(check_qv_tree(root, compare_addresses), sound);
            root = qv_tree_balance(root);
            EXPECT_EQ(root->left->count, root->count / 2);
            EXPECT_EQ(check_qv_tree(root, compare_addresses), sound);
            qv_tree *const less = std::exchange(root->left, none);
            root->count -= less->count;
            EXPECT_EQ(qv_tree_join(less, root)->count, chain.size() + 1);
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

// The chains through the functions of C: what the programs in fuzz/chains.cpp and fuzz/sloppy.cpp,
// which run each operation beside a model, don't look at.

#include "fault.hpp"
#include "support.hpp"

#include <qvds/core/check.hpp>
#include <qvds/fifo.h>
#include <qvds/fifo2.h>
#include <qvds/lifo.h>
#include <qvds/node.h>
#include <qvds/sloppy.h>

#include <utility>

using qvds::fault;

namespace {

// The key is the name in lower case, so that 'b' and 'B' are two elements with equal keys.
struct Item {
    explicit Item(char its_name) : name(its_name) {}
    int key() const { return name | 0x20; }

    qvds_node link{};
    char name;
};

char nowhere;
constexpr void *stray = &nowhere; // what must not be followed

std::string asked; // the names of the elements that by_name was given, in this order

int32_t by_name(const void *key, const void *elem) {
    const auto *const stored = static_cast<const Item *>(elem);
    asked += stored->name;
    return static_cast<const Item *>(key)->key() - stored->key();
}

std::string names_from(const void *first) {
    std::string names;
    for (auto *item = static_cast<const Item *>(first); item != nullptr;
         item = static_cast<const Item *>(item->link.next))
        names += item->name;
    return names;
}

// -- Walks over a chain that any family may have built

struct Node : testing::Test {
    Node() {
        a.link = {&b, nullptr};
        b.link = {&c, &a};
        c.link = {nullptr, &b};
        asked.clear();
    }

    Item a{'a'}, b{'b'}, c{'c'};
    qvds_list list{&a, &c}, empty{nullptr, nullptr};
};

std::string visited;

// Spoils the links of what it is given, as if that were released. Stops at the element ctx.
int32_t visit(void *elem, void *ctx) {
    auto *const item = static_cast<Item *>(elem);
    visited += item->name;
    item->link = {stray, stray};
    return elem == ctx ? INT32_MIN : 0;
}

TEST_F(Node, InitClearsBothWords) {
    EXPECT_EQ(qvds_list_init(&list), 0);
    EXPECT_EQ(list.top, nullptr);
    EXPECT_EQ(list.bottom, nullptr);
}

TEST_F(Node, TopAndBottomAreTheEnds) {
    EXPECT_EQ(qvds_list_top(&list), &a);
    EXPECT_EQ(qvds_list_bottom(&list), &c);
}

TEST_F(Node, FindAsksFromTheFrontUpToTheMatch) {
    const Item key('B'), absent('x');
    EXPECT_EQ(qvds_node_find(&list, &key, by_name), &b);
    EXPECT_EQ(std::exchange(asked, {}), "ab");
    EXPECT_EQ(qvds_node_find(&list, &absent, by_name), nullptr);
    EXPECT_EQ(asked, "abc");
}

TEST_F(Node, EnumLetsElementsBeReleasedAndStopsWithAnyResultButZero) {
    EXPECT_EQ(qvds_node_enum(&empty, visit, nullptr), 0);
    EXPECT_EQ(qvds_node_enum(&list, visit, &b), INT32_MIN);
    EXPECT_EQ(std::exchange(visited, {}), "ab");
    a.link.next = &c;
    EXPECT_EQ(qvds_node_enum(&list, visit, nullptr), 0);
    EXPECT_EQ(std::exchange(visited, {}), "ac");
}

TEST_F(Node, ReverseEnumLetsElementsBeReleasedAndStopsWithAnyResultButZero) {
    EXPECT_EQ(qvds_node_reverse_enum(&empty, visit, nullptr), 0);
    EXPECT_EQ(qvds_node_reverse_enum(&list, visit, &b), INT32_MIN);
    EXPECT_EQ(std::exchange(visited, {}), "cb");
    c.link.prev = &a;
    EXPECT_EQ(qvds_node_reverse_enum(&list, visit, nullptr), 0);
    EXPECT_EQ(std::exchange(visited, {}), "ca");
}

TEST_F(Node, EnumLetsExceptionsPass) {
    const qvds_visit_fn refuse = [](void *elem, void *) -> int32_t { throw elem; };
    EXPECT_THROW(qvds_node_enum(&list, refuse, nullptr), void *);
    EXPECT_THROW(qvds_node_reverse_enum(&list, refuse, nullptr), void *);
}

TEST_F(Node, CursorHandsOutEachElementAndThenNullAndPeeksOneFurther) {
    qvds_node_iter cursor{stray};
    EXPECT_EQ(qvds_node_iter_init(&cursor, &list), 0);
    EXPECT_EQ(qvds_node_iter_next(&cursor), &a);
    EXPECT_EQ(qvds_node_iter_peek(&cursor), &c);
    EXPECT_EQ(qvds_node_iter_next(&cursor), &b);
    EXPECT_EQ(qvds_node_iter_peek(&cursor), nullptr);
    EXPECT_EQ(qvds_node_iter_next(&cursor), &c);
    EXPECT_EQ(qvds_node_iter_next(&cursor), nullptr);
    EXPECT_EQ(qvds_node_iter_next(&cursor), nullptr);
    EXPECT_EQ(qvds_node_iter_peek(&cursor), nullptr);
}

TEST_F(Node, CursorToleratesNull) {
    qvds_node_iter cursor{stray};
    EXPECT_EQ(qvds_node_iter_init(&cursor, nullptr), -1);
    EXPECT_EQ(qvds_node_iter_init(nullptr, &list), -1);
    EXPECT_EQ(qvds_node_iter_next(nullptr), nullptr);
    EXPECT_EQ(qvds_node_iter_peek(nullptr), nullptr);
}

// -- Stack and queues

struct lifo {
    using header = qvds_lifo;
    static constexpr auto init = qvds_lifo_init;
    static constexpr auto push = qvds_lifo_push;
    static constexpr auto insert_sorted = qvds_lifo_insert_sorted;
    static constexpr auto extract = qvds_lifo_extract;
    static constexpr auto cut = qvds_lifo_cut;
    static constexpr auto check = qvds::core::check_lifo;
    static constexpr header spoilt{stray};
};
struct fifo {
    using header = qvds_list;
    static constexpr auto init = qvds_fifo_init;
    static constexpr auto push = qvds_fifo_push;
    static constexpr auto insert = qvds_fifo_insert;
    static constexpr auto insert_sorted = qvds_fifo_insert_sorted;
    static constexpr auto extract = qvds_fifo_extract;
    static constexpr auto cut = qvds_fifo_cut;
    static constexpr auto check = qvds::core::check_fifo;
    static constexpr header spoilt{stray, stray};
};
struct fifo2 : fifo {
    static constexpr auto push = qvds_fifo2_push;
    static constexpr auto insert = qvds_fifo2_insert;
    static constexpr auto insert_sorted = qvds_fifo2_insert_sorted;
    static constexpr auto extract = qvds_fifo2_extract;
    static constexpr auto cut = qvds_fifo2_cut;
    static constexpr auto check = qvds::core::check_fifo2;
};

template <class Family>
struct ChainOf : testing::Test {
    ChainOf() {
        for (Item *item : {&c, &b, &a})
            Family::push(&chain, item);
        asked.clear();
    }
    static std::string content(const typename Family::header &header) {
        EXPECT_EQ(Family::check(header), qvds::sound);
        return names_from(header.top);
    }

    Item a{'a'}, b{'b'}, c{'c'}, other_b{'B'}, absent{'x'};
    typename Family::header chain{}, other = Family::spoilt;
};
template <class Family>
struct Chain : ChainOf<Family> {};
using Chains = testing::Types<lifo, fifo, fifo2>;
TYPED_TEST_SUITE(Chain, Chains);

TYPED_TEST(Chain, InitMakesAnEmptyOne) {
    EXPECT_EQ(TypeParam::init(&this->other), 0);
    EXPECT_EQ(this->content(this->other), "");
}

TYPED_TEST(Chain, InsertSortedAsksUpToTheFirstNotLessAndPutsTheNewestOfEqualsFirst) {
    TypeParam::insert_sorted(&this->chain, &this->other_b, by_name);
    EXPECT_EQ(asked, "ab");
    EXPECT_EQ(this->content(this->chain), "aBbc");
}

TYPED_TEST(Chain, ExtractAsksFromTheFrontUpToTheMatch) {
    EXPECT_EQ(TypeParam::extract(&this->chain, &this->other_b, by_name), &this->b);
    EXPECT_EQ(std::exchange(asked, {}), "ab");
    EXPECT_EQ(TypeParam::extract(&this->chain, &this->absent, by_name), nullptr);
    EXPECT_EQ(asked, "ac");
}

TYPED_TEST(Chain, CutMovesTheElementAndAllBehindItIntoAnyHeader) {
    EXPECT_EQ(TypeParam::cut(&this->chain, &this->other, &this->b), &this->other);
    EXPECT_EQ(this->content(this->chain), "a");
    EXPECT_EQ(this->content(this->other), "bc");
}

template <class Family>
struct Queue : ChainOf<Family> {};
using Queues = testing::Types<fifo, fifo2>;
TYPED_TEST_SUITE(Queue, Queues);

TYPED_TEST(Queue, InsertAddsAtTheFrontBehindNullOrInAnEmptyQueue) {
    TypeParam::insert(&this->chain, nullptr, &this->absent);
    EXPECT_EQ(this->content(this->chain), "xabc");
    TypeParam::init(&this->other);
    TypeParam::insert(&this->other, stray, &this->other_b);
    EXPECT_EQ(this->content(this->other), "B");
}

using Lifo = ChainOf<lifo>;

TEST_F(Lifo, CutAtNullChangesNothingAndEmptiesOut) {
    EXPECT_EQ(qvds_lifo_cut(&chain, &other, nullptr), &other);
    EXPECT_EQ(other.top, nullptr);
    EXPECT_EQ(content(chain), "abc");
}

TEST_F(Lifo, CheckFindsARing) {
    for (Item *target : {&a, &b, &c}) {
        c.link.next = target;
        EXPECT_EQ(qvds::core::check_lifo(chain).invariant, 1);
    }
}

using Fifo = ChainOf<fifo>;

TEST_F(Fifo, CheckNamesTheBrokenInvariant) {
    using qvds::core::check_fifo;
    chain.bottom = nullptr;
    EXPECT_EQ(check_fifo(chain), (fault{1, nullptr}));
    chain = {nullptr, &c};
    EXPECT_EQ(check_fifo(chain), (fault{1, nullptr}));
    chain = {&a, &absent};
    EXPECT_EQ(check_fifo(chain), (fault{2, &c})) << "the last element is another";
    chain = {&a, &b};
    EXPECT_EQ(check_fifo(chain), (fault{2, &b})) << "the last element has a successor";
    chain = {&a, &c};
    b.link.next = &a;
    EXPECT_EQ(check_fifo(chain).invariant, 2) << "a ring that leaves out the last element";
}

using Fifo2 = ChainOf<fifo2>;

// A user's slip: an element is taken out that has left, has no neighbours, and yet is no end.
TEST_F(Fifo2, TakingOutAnElementThatHasLeftKeepsTheOthers) {
    qvds_list queue{nullptr, nullptr};
    qvds_fifo2_append(&queue, &absent);
    qvds_fifo2_pop(&queue);
    qvds_fifo2_append(&queue, &other_b);
    EXPECT_EQ(qvds_fifo2_extract_existing(&queue, &absent), &absent);
    EXPECT_EQ(content(queue), "B");
    qvds_fifo2_cut(&queue, &other, &absent);
    EXPECT_EQ(queue.top, &other_b);
}

TEST_F(Fifo2, TakingOutAFormerFirstElementKeepsTheNewOne) {
    qvds_fifo2_pop(&chain);
    qvds_fifo2_push(&chain, &absent);
    qvds_fifo2_extract_existing(&chain, &a);
    EXPECT_EQ(names_from(chain.top), "xbc");
}

TEST_F(Fifo2, CheckNamesTheBrokenInvariantAndEndsInARing) {
    using qvds::core::check_fifo2;
    chain.bottom = nullptr;
    EXPECT_EQ(check_fifo2(chain), (fault{1, nullptr}));
    chain = {&b, &c};
    EXPECT_EQ(check_fifo2(chain), (fault{2, &b})) << "the first element has a predecessor";
    chain = {&a, &b};
    EXPECT_EQ(check_fifo2(chain), (fault{2, &b})) << "the last element has a successor";
    chain = {&a, &c};
    for (Item *successor : {&a, &b, static_cast<Item *>(nullptr)}) {
        b.link.next = successor;
        EXPECT_EQ(check_fifo2(chain), (fault{3, &b}));
    }
}

// -- The headerless list

struct Sloppy : testing::Test {
    Sloppy() {
        for (Item *item : {&a, &b, &c})
            qvds_sloppy_append(&handle, item);
        asked.clear();
    }

    Item a{'a'}, b{'b'}, c{'c'}, fresh{'x'};
    void *handle = nullptr, *empty = nullptr;
};

TEST_F(Sloppy, AHandleWhoseElementGoesMovesBackElseOn) {
    handle = &b;
    qvds_sloppy_extract_existing(&handle, &b);
    EXPECT_EQ(handle, &a);
    qvds_sloppy_extract_existing(&handle, &a);
    EXPECT_EQ(handle, &c);
    qvds_sloppy_extract_existing(&handle, &c);
    EXPECT_EQ(handle, nullptr);
}

TEST_F(Sloppy, FindAsksBackwardsAndThenForwards) {
    c.name = 'A';
    EXPECT_EQ(qvds_sloppy_find(&b, &c, by_name), &a) << "what stands before wins";
    EXPECT_EQ(std::exchange(asked, {}), "ba");
    EXPECT_EQ(qvds_sloppy_find(&b, &fresh, by_name), nullptr);
    EXPECT_EQ(asked, "baA");
}

TEST_F(Sloppy, ToleratesNull) {
    EXPECT_EQ(qvds_sloppy_first(nullptr), nullptr);
    EXPECT_EQ(qvds_sloppy_last(nullptr), nullptr);
    EXPECT_EQ(qvds_sloppy_count(nullptr), 0U);
    EXPECT_EQ(qvds_sloppy_cut(nullptr), nullptr);
    EXPECT_EQ(qvds_sloppy_find(nullptr, &a, by_name), nullptr);
    EXPECT_EQ(qvds_sloppy_concat(nullptr, &a), nullptr);
    EXPECT_EQ(qvds_sloppy_concat(&a, nullptr), nullptr);
    EXPECT_EQ(qvds_sloppy_extract(&empty, &a, by_name), nullptr);
    EXPECT_EQ(qvds_sloppy_extract_existing(&empty, &b), nullptr);
    EXPECT_EQ(names_from(&a), "abc");
}

TEST_F(Sloppy, CheckNamesTheBrokenInvariant) {
    using qvds::core::check_sloppy;
    c.link.next = &a;
    a.link.prev = &c;
    EXPECT_EQ(check_sloppy(&b), (fault{1, &b})) << "a ring";
    a.link.prev = nullptr;
    EXPECT_EQ(check_sloppy(&b), (fault{2, &c}));
    b.link.prev = &c;
    EXPECT_EQ(check_sloppy(&b), (fault{2, &c}));
}

// A queue with two links to an element can be read as a headerless list, too.
TEST(LongChain, IsWalkedInBothDirections) {
    std::vector<qvds_node> many(70'000);
    qvds_node *const first = &many.front(), *const last = &many.back();
    qvds_list queue{};
    for (qvds_node &node : many)
        qvds_fifo2_append(&queue, &node);
    EXPECT_EQ(qvds_sloppy_first(last), first);
    EXPECT_EQ(qvds_sloppy_last(first), last);
    EXPECT_EQ(qvds_sloppy_count(first), many.size());
    const auto is_same = [](const void *key, const void *elem) { return key == elem ? 0 : 1; };
    EXPECT_EQ(qvds_sloppy_find(first, last, is_same), last);
    size_t visits = 0;
    const auto count = [](void *, void *ctx) {
        ++*static_cast<size_t *>(ctx);
        return 0;
    };
    EXPECT_EQ(qvds_node_reverse_enum(&queue, count, &visits), 0);
    EXPECT_EQ(visits, many.size());
}

} // namespace

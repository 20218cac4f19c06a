// The typed chains: what they offer beyond the C functions, once for all that have it.

#include "typed.hpp"

#include <qvds/fifo.hpp>
#include <qvds/fifo2.hpp>
#include <qvds/lifo.hpp>
#include <qvds/sloppy.hpp>

#include <algorithm>
#include <iterator>
#include <ranges>

using namespace test;

namespace {

using std::ranges::bidirectional_range;

// -- The families, and where their names differ

struct lifo {
    template <auto Hook, class Disposal = qvds::core::leave_elements>
    using of = qvds::lifo<Hook, Disposal>;
    static void add(auto &stack, auto &elem) { stack.push(elem); }
    static auto *take(auto &stack) { return stack.pop(); }
    static auto *first(auto &stack) { return stack.top(); }
};
struct fifo {
    template <auto Hook, class Disposal = qvds::core::leave_elements>
    using of = qvds::fifo<Hook, Disposal>;
    static void add(auto &queue, auto &elem) { queue.push_front(elem); }
    static auto *take(auto &queue) { return queue.pop_front(); }
    static auto *first(auto &queue) { return queue.front(); }
};
struct fifo2 : fifo {
    template <auto Hook, class Disposal = qvds::core::leave_elements>
    using of = qvds::fifo2<Hook, Disposal>;
};
struct sloppy {
    template <auto Hook, class Disposal = qvds::core::leave_elements>
    using of = qvds::sloppy<Hook, Disposal>;
    static void add(auto &list, auto &elem) { list.push_front(elem); }
    static auto *take(auto &list) {
        return list.extract_if([](const auto &) { return true; });
    }
    static auto *first(auto &list) { return list.first(); }
};

template <class Family>
struct ChainOf : testing::Test {
    using chain = typename Family::template of<&Job::link>;
    using view = typename Family::template of<&Job::link, qvds::core::viewed>;

    static_assert(sizeof(chain) == sizeof(std::declval<chain &>().c_record()));
    static_assert(std::is_standard_layout_v<chain>);
    static_assert(std::is_trivially_destructible_v<chain>);
    static_assert(std::is_nothrow_move_constructible_v<chain>);
    static_assert(std::is_nothrow_swappable_v<chain>);
    static_assert(!std::is_copy_constructible_v<chain>);
    static_assert(std::is_trivially_copyable_v<view>);
    static_assert(std::ranges::forward_range<chain>);
    static_assert(std::ranges::forward_range<const chain>);
    static_assert(std::ranges::common_range<chain>);
    static_assert(!std::ranges::sized_range<chain>);
    static_assert(std::is_convertible_v<typename chain::iterator, typename chain::const_iterator>);
    static_assert(!std::is_convertible_v<typename chain::const_iterator, typename chain::iterator>);
    static_assert(std::is_same_v<decltype(*std::declval<const chain &>().begin()), const Job &>);

    ChainOf() {
        for (Job *job : {&three, &two, &one})
            Family::add(jobs, *job);
        if constexpr (requires { jobs.move_handle(three); })
            jobs.move_handle(three); // so that whatever begins at the first must look for it
    }
    ~ChainOf() override { EXPECT_EQ(qvds::check(jobs), qvds::sound); }

    Job one{1}, two{2}, three{3}, other_two{2};
    chain jobs;
    static constinit inline chain made_at_compile_time;
};

// -- What holds for all

template <class Family>
struct TypedChain : ChainOf<Family> {};
using Families = testing::Types<lifo, fifo, fifo2, sloppy>;
TYPED_TEST_SUITE(TypedChain, Families);

TYPED_TEST(TypedChain, NothingIsInAnEmptyOne) {
    auto &empty = this->made_at_compile_time;
    EXPECT_TRUE(empty.empty());
    EXPECT_EQ(TypeParam::first(empty), nullptr);
    EXPECT_EQ(TypeParam::take(empty), nullptr);
    EXPECT_EQ(empty.begin(), empty.end());
    EXPECT_EQ(empty.remove_if(Overloaded{}), 0U);
}

TYPED_TEST(TypedChain, WalksFromTheFirstElementOrAnElementInHand) {
    EXPECT_EQ(priorities(std::as_const(this->jobs)), (ints{1, 2, 3}));
    EXPECT_EQ(this->jobs.count(), 3U);
    EXPECT_EQ(TypeParam::first(std::as_const(this->jobs)), &this->one);
    EXPECT_EQ(&*++this->jobs.iterator_to(this->one), &this->two);
}

TYPED_TEST(TypedChain, TakesCallablesOfEveryKind) {
    int calls = 0;
    EXPECT_EQ(this->jobs.find_if([&calls](Job &) mutable { return ++calls == 2; }), &this->two);
    EXPECT_EQ(std::as_const(this->jobs).find_if(Overloaded{}), &this->two);
    bool (*const is_three)(const Job &) noexcept = [](const Job &job) noexcept {
        return job.priority == 3;
    };
    EXPECT_EQ(this->jobs.find_if(is_three), &this->three);
    EXPECT_EQ(this->jobs.find(3, &Job::priority), &this->three);
    EXPECT_EQ(std::as_const(this->jobs).find(4, &Job::rank), nullptr);
    EXPECT_EQ(this->jobs.extract(3, priority_of), &this->three);
    EXPECT_EQ(this->jobs.extract_if([want = std::make_unique<int>(1)](const Job &job) {
        return job.priority == *want;
    }),
              &this->one);
    EXPECT_EQ(priorities(this->jobs), ints{2});
}

TYPED_TEST(TypedChain, WhatIsRemovedMayBeReleased) {
    std::vector<Job *> removed;
    const auto release = [&](Job *job) {
        removed.push_back(job);
        job->link = {job, job};
    };
    const auto is_odd = [](const Job &job) { return job.priority % 2 == 1; };
    EXPECT_EQ(this->jobs.remove_if(is_odd, release), 2U);
    EXPECT_EQ(removed, (std::vector{&this->one, &this->three}));
    EXPECT_EQ(priorities(this->jobs), ints{2});
    this->jobs.clear_and_dispose(release);
    EXPECT_EQ(removed.back(), &this->two);
    EXPECT_TRUE(this->jobs.empty());
}

TYPED_TEST(TypedChain, ADisposerThatThrowsLeavesTheRest) {
    const auto dispose = [](Job *job) {
        if (job->priority == 2)
            throw std::runtime_error("disposer");
    };
    EXPECT_THROW(this->jobs.clear_and_dispose(dispose), std::runtime_error);
    EXPECT_EQ(priorities(this->jobs), ints{3}) << "the one that it threw for is out as well";
}

TYPED_TEST(TypedChain, APredicateThatThrowsLeavesAllBehindItInPlace) {
    const auto predicate = [](const Job &job) {
        return job.priority == 2 ? throw std::runtime_error("predicate") : true;
    };
    EXPECT_THROW(this->jobs.remove_if(predicate), std::runtime_error);
    EXPECT_EQ(priorities(this->jobs), (ints{2, 3}));
}

TYPED_TEST(TypedChain, MovesAndSwapsItsElements) {
    auto moved = std::move(this->jobs);
    EXPECT_TRUE(this->jobs.empty());
    TypeParam::add(this->jobs, this->other_two);
    swap(moved, this->jobs);
    EXPECT_EQ(priorities(this->jobs), (ints{1, 2, 3}));
    EXPECT_EQ(priorities(moved), ints{2});
    this->jobs = std::move(moved);
    EXPECT_EQ(priorities(this->jobs), ints{2});
    EXPECT_TRUE(moved.empty());
}

TYPED_TEST(TypedChain, SwapOfViewsExchangesTheElementsOfTheRecords) {
    typename TestFixture::chain other;
    typename TestFixture::view a(this->jobs.c_record()), b(other.c_record());
    swap(a, b);
    EXPECT_TRUE(this->jobs.empty());
    EXPECT_EQ(priorities(other), (ints{1, 2, 3}));
}

TYPED_TEST(TypedChain, DisposesWithItsLastBreathOrForWhatItIsAssigned) {
    struct Counted {
        explicit Counted(int &its_living) : living(its_living) { ++living; }
        ~Counted() { --living; }
        int &living;
        qvds_node link{};
    };
    int living = 0;
    {
        typename TypeParam::template of<&Counted::link, qvds::dispose_with_delete> owned, replaced;
        for (auto *each : {&owned, &owned, &replaced})
            TypeParam::add(*each, *new Counted(living));
        auto &itself = replaced = std::move(owned);
        EXPECT_EQ(living, 2);
        replaced = std::move(itself);
        EXPECT_EQ(living, 2);
    }
    EXPECT_EQ(living, 0);
}

TYPED_TEST(TypedChain, OneElementIsInAChainForEachOfItsHooks) {
    struct Base {
        qvds_node link{};
    };
    struct Cell : Job, Base {
        Cell() : Job(7) {}
        qvds_node links[2]{};
    } cell;
    typename TypeParam::template of<qvds::hook<Cell, &Cell::links, 0>> row;
    typename TypeParam::template of<qvds::hook<Cell, &Cell::links, 1>> column;
    typename TypeParam::template of<qvds::hook<Cell, &Base::link>> inherited;
    TypeParam::add(row, cell);
    TypeParam::add(column, cell);
    TypeParam::add(inherited, cell);
    EXPECT_EQ(TypeParam::first(row), &cell);
    EXPECT_EQ(column.begin().link(), &cell.links[1]);
    EXPECT_EQ(TypeParam::take(inherited), &cell);
}

TYPED_TEST(TypedChain, AnElementMayHoldOneOfItsOwnKind) {
    struct Node {
        qvds_node sibling{};
        typename TypeParam::template of<&Node::sibling> children;
    } parent, child;
    TypeParam::add(parent.children, child);
    EXPECT_EQ(TypeParam::first(parent.children), &child);
}

TYPED_TEST(TypedChain, CheckNamesTheElementNotItsLink) {
    this->three.link.next = &this->three.link;
    EXPECT_EQ(qvds::check(this->jobs).element, &this->three);
    this->three.link.next = nullptr;
}

TYPED_TEST(TypedChain, HoldsSeventyThousandElements) {
    std::vector<Job> many(70'000, Job(7));
    typename TestFixture::chain all;
    for (Job &job : many)
        TypeParam::add(all, job);
    Job &last = many.front();
    last.priority = 1;
    EXPECT_EQ(all.count(), many.size());
    EXPECT_EQ(all.find(1, &Job::priority), &last);
    EXPECT_EQ(all.cut(last).count(), 1U);
    EXPECT_EQ(all.remove_if([](const Job &) { return true; }), many.size() - 1);
}

// -- What has an order of its own

template <class Family>
struct TypedQueue : ChainOf<Family> {};
using Queues = testing::Types<lifo, fifo, fifo2>;
TYPED_TEST_SUITE(TypedQueue, Queues);

TYPED_TEST(TypedQueue, SortsByAnyComparisonAndProjection) {
    this->jobs.clear();
    const auto sorted = [&](auto... how) {
        typename TestFixture::chain sorted_jobs;
        for (Job *job : {&this->two, &this->three, &this->one, &this->other_two})
            sorted_jobs.insert_sorted(*job, how...);
        EXPECT_EQ(sorted_jobs.find(2, &Job::priority), &this->other_two)
            << "the newest of equals comes first";
        return priorities(sorted_jobs);
    };
    EXPECT_EQ(sorted(std::less<>{}, &Job::priority), (ints{1, 2, 2, 3}));
    EXPECT_EQ(sorted(std::greater<>{}, &Job::rank), (ints{3, 2, 2, 1}));
    EXPECT_EQ(sorted(std::compare_three_way{}, priority_of), (ints{1, 2, 2, 3}));
    EXPECT_EQ(sorted([](const Job &a, const Job &b) { return a.priority <=> b.priority; }),
              (ints{1, 2, 2, 3}));
}

template <class Family>
struct TypedSingleLink : ChainOf<Family> {
    static_assert(sizeof(typename ChainOf<Family>::chain::iterator) == sizeof(void *));
    static_assert(!bidirectional_range<typename ChainOf<Family>::chain>);
};
using SingleLinks = testing::Types<lifo, fifo>;
TYPED_TEST_SUITE(TypedSingleLink, SingleLinks);

TYPED_TEST(TypedSingleLink, ACursorTakesOutAndAddsOnItsWay) {
    Job four{4}, five{5};
    auto at = this->jobs.cursor();
    while (at)
        if (at->priority == 2)
            EXPECT_EQ(at.erase(), &this->two);
        else
            at.next();
    EXPECT_EQ(at.get(), nullptr);
    EXPECT_EQ(qvds::check(at.cut()), qvds::sound) << "nothing was cut off";
    at.insert(five);
    at.insert(four);
    EXPECT_EQ(at.get(), &four);
    EXPECT_EQ(priorities(this->jobs), (ints{1, 3, 4, 5}));
    const auto behind = at.cut();
    EXPECT_EQ(priorities(behind), (ints{4, 5}));
    EXPECT_FALSE(at);
}

TYPED_TEST(TypedSingleLink, ACursorStandsBehindAnElementInHand) {
    auto at = this->jobs.cursor_after(this->one);
    EXPECT_EQ(&*at, &this->two);
    at.erase();
    EXPECT_EQ(&*at, &this->three);
    EXPECT_FALSE(this->jobs.cursor_after(this->three));
}

TYPED_TEST(TypedSingleLink, OneWordIsEnoughForALink) {
    struct Base {
        Base *next = nullptr;
    };
    struct Cell : Job, Base {
        Cell() : Job(7) {}
        void *row = nullptr, *columns[2]{};
    } cell, other;
    typename TypeParam::template of<&Cell::row> row;
    typename TypeParam::template of<qvds::hook<Cell, &Cell::columns, 1>> column;
    typename TypeParam::template of<qvds::hook<Cell, &Base::next>> inherited;
    for (Cell *each : {&cell, &other}) {
        TypeParam::add(row, *each);
        column.insert_sorted(*each, {}, &Cell::priority);
        inherited.insert_sorted(*each, {}, &Cell::priority);
    }
    EXPECT_EQ(row.count(), 2U);
    EXPECT_EQ(TypeParam::take(column), &other);
    EXPECT_EQ(other.columns[1], &cell.columns[1]) << "words hold the addresses of words";
    EXPECT_EQ(other.next, &cell) << "as its owner reads it";
}

// -- Two links

template <class Family>
struct TypedDoubleLink : ChainOf<Family> {
    static_assert(bidirectional_range<typename ChainOf<Family>::chain>);
    static_assert(bidirectional_range<const typename ChainOf<Family>::chain>);
};
using DoubleLinks = testing::Types<fifo2, sloppy>;
TYPED_TEST_SUITE(TypedDoubleLink, DoubleLinks);

TYPED_TEST(TypedDoubleLink, ErasesWhileItWalks) {
    for (auto at = this->jobs.begin(); at != this->jobs.end();)
        at = at->priority != 2 ? this->jobs.erase(at) : std::next(at);
    EXPECT_EQ(priorities(this->jobs), ints{2});
    EXPECT_EQ(this->jobs.erase(this->jobs.iterator_to(this->two)), this->jobs.end());
    EXPECT_TRUE(this->jobs.empty());
}

using TypedFifo2 = ChainOf<fifo2>;

TEST_F(TypedFifo2, InsertsBeforeAPlace) {
    Job zero{0}, four{4};
    EXPECT_EQ(&*jobs.insert(jobs.begin(), zero), &zero);
    jobs.insert(jobs.end(), four);
    jobs.insert(jobs.iterator_to(two), other_two);
    EXPECT_EQ(priorities(jobs), (ints{0, 1, 2, 2, 3, 4}));
    EXPECT_EQ(&*std::prev(jobs.iterator_to(two)), &other_two);
    jobs.clear();
    jobs.insert(jobs.end(), zero);
    EXPECT_EQ(priorities(jobs), ints{0});
    jobs.unlink(zero);
}

using TypedSloppy = ChainOf<sloppy>;
using list = TypedSloppy::chain;
using around = decltype(list::around(std::declval<Job &>()));
static_assert(bidirectional_range<around>);
static_assert(std::is_same_v<decltype(std::declval<const list &>().handle()), const Job *>);
static_assert(std::is_same_v<decltype(list::next(std::declval<const Job &>())), const Job *>);

TEST_F(TypedSloppy, AViewAdoptsAHandleOfAnyPointerType) {
    struct Name {
        qvds_node alias{};
        int length = 0;
    } name, alias;
    Name *head = nullptr;
    qvds_node *node = nullptr;
    qvds::sloppy_view<&Name::alias> names(head);
    names.insert(name);
    EXPECT_EQ(head, &name) << "as its owner reads it";
    names.push_front(alias);
    EXPECT_EQ(head, &alias);
    qvds::sloppy_view<&Name::alias> others(node);
    others.swap(names);
    EXPECT_EQ(head, nullptr);
    EXPECT_EQ(node, &alias.alias);
}

TEST_F(TypedSloppy, AnElementInHandIsEnoughToLook) {
    EXPECT_EQ(priorities(list::around(two)), (ints{1, 2, 3}));
    EXPECT_EQ(std::ranges::max(list::around(std::as_const(two)), {}, &Job::priority).priority, 3);
    EXPECT_EQ(&*std::prev(list::around(one).end()), &three);
    EXPECT_EQ(list::next(two), &three);
    EXPECT_EQ(list::next(std::as_const(three)), nullptr);
    EXPECT_EQ(list::previous(two), &one);
    EXPECT_EQ(list::previous(std::as_const(one)), nullptr);
    EXPECT_EQ(list::first(two), &one);
    EXPECT_EQ(list::last(std::as_const(two)), &three);
    EXPECT_EQ(list::count(two), 3U);
    EXPECT_EQ(list::find_around(two, 3, &Job::priority), &three);
    EXPECT_EQ(list::find_around(std::as_const(two), 4, &Job::priority), nullptr);
}

TEST_F(TypedSloppy, AnElementInHandIsEnoughToChangeItsList) {
    list::insert_after(one, other_two);
    EXPECT_EQ(list::next(one), &other_two);
    list::detach(other_two);
    EXPECT_EQ(priorities(list::around(other_two)), ints{2}) << "its links are null";
    list::split(two);
    EXPECT_EQ(priorities(list::around(one)), ints{1});
    EXPECT_EQ(priorities(jobs), (ints{2, 3}));
    list::join(three, one);
    EXPECT_EQ(priorities(jobs), (ints{2, 3, 1}));
}

} // namespace

// The typed stack and the typed singly linked queue: what they offer beyond the C functions, which
// the model driver runs them against in lifo_test.cpp and fifo_test.cpp.

#include "typed.hpp"

#include <qvds/fifo.hpp>
#include <qvds/lifo.hpp>

#include <algorithm>
#include <ranges>

using namespace test;

namespace {

// Where the names of the families differ.
template <auto Hook, class Disposal, class Job>
void add(qvds::lifo<Hook, Disposal> &stack, Job &job) {
    stack.push(job);
}
template <auto Hook, class Disposal, class Job>
void add(qvds::fifo<Hook, Disposal> &queue, Job &job) {
    queue.push_front(job);
}
template <auto Hook, class Disposal>
auto take(qvds::lifo<Hook, Disposal> &stack) {
    return stack.pop();
}
template <auto Hook, class Disposal>
auto take(qvds::fifo<Hook, Disposal> &queue) {
    return queue.pop_front();
}
template <auto Hook, class Disposal>
auto first(qvds::lifo<Hook, Disposal> &stack) {
    return stack.top();
}
template <auto Hook, class Disposal>
auto first(qvds::fifo<Hook, Disposal> &queue) {
    return queue.front();
}

struct Lifo {
    template <auto Hook, class Disposal = qvds::core::leave_elements>
    using of = qvds::lifo<Hook, Disposal>;
};

struct Fifo {
    template <auto Hook, class Disposal = qvds::core::leave_elements>
    using of = qvds::fifo<Hook, Disposal>;
};

template <class Family>
struct TypedSingleLink : testing::Test {
    using chain = typename Family::template of<&Job::link>;
    using record = std::remove_reference_t<decltype(std::declval<chain &>().c_record())>;
    using view = typename Family::template of<&Job::link, qvds::core::viewed>;

    static_assert(sizeof(chain) == sizeof(record));
    static_assert(sizeof(typename chain::iterator) == sizeof(void *));
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

    TypedSingleLink() {
        for (Job *job : {&three, &two, &one})
            jobs.insert_sorted(*job, {}, &Job::priority);
    }
    ~TypedSingleLink() override { EXPECT_EQ(qvds::check(jobs), qvds::sound); }

    Job one{1}, two{2}, three{3}, other_two{2};
    chain jobs;
    static constinit inline chain made_at_compile_time;
};

struct FamilyName {
    template <class Family>
    static std::string GetName(int /*index*/) {
        return std::is_same_v<Family, Lifo> ? "Lifo" : "Fifo";
    }
};
using Families = testing::Types<Lifo, Fifo>;
TYPED_TEST_SUITE(TypedSingleLink, Families, FamilyName);

TYPED_TEST(TypedSingleLink, WalksFromTheFirstElement) {
    EXPECT_EQ(priorities(this->jobs), (ints{1, 2, 3}));
    EXPECT_EQ(this->jobs.count(), 3U);
    EXPECT_EQ(&*this->jobs.begin(), first(this->jobs));
    EXPECT_EQ(&*++this->jobs.iterator_to(this->one), &this->two);
}

TYPED_TEST(TypedSingleLink, NothingIsInAnEmptyOne) {
    auto &empty = this->made_at_compile_time;
    EXPECT_TRUE(empty.empty());
    EXPECT_EQ(first(empty), nullptr);
    EXPECT_EQ(take(empty), nullptr);
    EXPECT_EQ(empty.begin(), empty.end());
    EXPECT_FALSE(empty.cursor());
    EXPECT_EQ(empty.cursor().get(), nullptr);
    EXPECT_TRUE(empty.cursor().cut().empty());
}

TYPED_TEST(TypedSingleLink, AddsBehindAnElement) {
    this->jobs.insert_after(this->one, this->other_two);
    EXPECT_EQ(&*++this->jobs.begin(), &this->other_two);
    Job four{4};
    this->jobs.insert_after(this->three, four);
    EXPECT_EQ(priorities(this->jobs), (ints{1, 2, 2, 3, 4}));
    this->jobs.remove_if([](const Job &) { return true; });
}

TYPED_TEST(TypedSingleLink, SortsByAnyComparisonAndProjection) {
    typename TestFixture::chain sorted;
    this->jobs.clear();
    EXPECT_TRUE(this->jobs.empty());
    for (Job *job : {&this->two, &this->three, &this->one, &this->other_two})
        sorted.insert_sorted(*job, std::greater{}, &Job::rank);
    EXPECT_EQ(priorities(sorted), (ints{3, 2, 2, 1}));
    EXPECT_EQ(&*++sorted.begin(), &this->other_two) << "the newest of equals comes first";
}

TYPED_TEST(TypedSingleLink, FindsAndExtractsByKeyOrPredicate) {
    int calls = 0;
    const auto second = [&calls](Job &) mutable { return ++calls == 2; };
    EXPECT_EQ(this->jobs.find_if(second), &this->two);
    EXPECT_EQ(this->jobs.find_if(Overloaded{}), &this->two);
    EXPECT_EQ(this->jobs.find(3, &Job::priority), &this->three);
    const Job *const absent = std::as_const(this->jobs).find(4, &Job::rank);
    EXPECT_EQ(absent, nullptr);
    EXPECT_EQ(this->jobs.extract(3, priority_of), &this->three);
    EXPECT_EQ(this->jobs.extract_if([want = std::make_unique<int>(1)](const Job &job) {
        return job.priority == *want;
    }),
              &this->one);
    EXPECT_EQ(priorities(this->jobs), ints{2});
}

TYPED_TEST(TypedSingleLink, ACursorTakesOutAndAddsOnItsWay) {
    Job four{4}, five{5};
    auto at = this->jobs.cursor();
    while (at)
        if (at->priority == 2)
            EXPECT_EQ(at.erase(), &this->two);
        else
            at.next();
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
    auto end = this->jobs.cursor_after(this->three);
    EXPECT_FALSE(end);
    EXPECT_EQ(qvds::check(end.cut()), qvds::sound);
}

TYPED_TEST(TypedSingleLink, CutAtAnElementOfAnotherChangesNothing) {
    EXPECT_TRUE(this->jobs.cut(this->other_two).empty());
    EXPECT_EQ(priorities(this->jobs), (ints{1, 2, 3}));
}

TYPED_TEST(TypedSingleLink, RemoveIfHandsOutWhatItRemoves) {
    std::vector<Job *> removed;
    EXPECT_EQ(this->jobs.remove_if([](const Job &job) { return job.priority != 2; },
                                   [&](Job *job) { removed.push_back(job); }),
              2U);
    EXPECT_EQ(removed, (std::vector{&this->one, &this->three}));
    EXPECT_EQ(priorities(this->jobs), ints{2});
}

TYPED_TEST(TypedSingleLink, ADisposerThatThrowsLeavesTheRest) {
    const auto dispose = [](Job *job) {
        if (job->priority == 2)
            throw std::runtime_error("disposer");
    };
    EXPECT_THROW(this->jobs.clear_and_dispose(dispose), std::runtime_error);
    EXPECT_EQ(priorities(this->jobs), ints{3}) << "the one that it threw for is out as well";
}

TYPED_TEST(TypedSingleLink, APredicateThatThrowsLeavesAllBehindItInPlace) {
    const auto predicate = [](const Job &job) {
        return job.priority == 2 ? throw std::runtime_error("predicate") : true;
    };
    EXPECT_THROW(this->jobs.remove_if(predicate), std::runtime_error);
    EXPECT_EQ(priorities(this->jobs), (ints{2, 3}));
}

TYPED_TEST(TypedSingleLink, MovesAndSwapsItsElements) {
    auto moved = std::move(this->jobs);
    EXPECT_TRUE(this->jobs.empty());
    add(this->jobs, this->other_two);
    swap(moved, this->jobs);
    EXPECT_EQ(priorities(this->jobs), (ints{1, 2, 3}));
    EXPECT_EQ(priorities(moved), ints{2});
    this->jobs = std::move(moved);
    EXPECT_EQ(priorities(this->jobs), ints{2});
}

TYPED_TEST(TypedSingleLink, SwapOfViewsExchangesTheElementsOfTheRecords) {
    typename TestFixture::chain other;
    typename TestFixture::view a(this->jobs.c_record()), b(other.c_record());
    swap(a, b);
    EXPECT_TRUE(this->jobs.empty());
    EXPECT_EQ(priorities(other), (ints{1, 2, 3}));
}

TYPED_TEST(TypedSingleLink, DisposesWithItsLastBreath) {
    struct Counted {
        explicit Counted(int &its_living) : living(its_living) { ++living; }
        ~Counted() { --living; }
        Counted *next = nullptr;
        int &living;
    };
    int living = 0;
    {
        typename TypeParam::template of<&Counted::next, qvds::dispose_with_delete> owned, replaced;
        for (auto *each : {&owned, &owned, &replaced})
            add(*each, *new Counted(living));
        replaced = std::move(owned);
        EXPECT_EQ(living, 2);
    }
    EXPECT_EQ(living, 0);
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
        add(row, *each);
        column.insert_sorted(*each, {}, &Cell::priority);
        inherited.insert_sorted(*each, {}, &Cell::priority);
    }
    EXPECT_EQ(row.count(), 2U);
    EXPECT_EQ(take(column), &other);
    EXPECT_EQ(other.columns[1], &cell.columns[1]) << "words hold the addresses of words";
    EXPECT_EQ(other.next, &cell) << "as its owner reads it";
}

TYPED_TEST(TypedSingleLink, AnElementMayHoldOneOfItsOwnKind) {
    struct Node {
        Node *sibling = nullptr;
        typename TypeParam::template of<&Node::sibling> children;
    } parent, child;
    add(parent.children, child);
    EXPECT_EQ(first(parent.children), &child);
}

TYPED_TEST(TypedSingleLink, CheckNamesTheElementNotItsLink) {
    this->three.link.next = &this->three.link;
    EXPECT_EQ(qvds::check(this->jobs).element, &this->three);
    this->three.link.next = nullptr;
}

struct TypedFifo : TypedSingleLink<Fifo> {};

TEST_F(TypedFifo, KnowsBothEnds) {
    EXPECT_EQ(jobs.front(), &one);
    EXPECT_EQ(std::as_const(jobs).back(), &three);
    jobs.push_back(other_two);
    EXPECT_EQ(jobs.back(), &other_two);
    jobs.clear();
    EXPECT_EQ(jobs.back(), nullptr);
    jobs.push_back(two);
    jobs.push_front(one);
    EXPECT_EQ(priorities(jobs), (ints{1, 2}));
}

TEST_F(TypedFifo, RemoveIfOfTheLastMovesTheBack) {
    EXPECT_EQ(jobs.remove_if([](const Job &job) { return job.priority > 1; }), 2U);
    EXPECT_EQ(jobs.back(), &one);
    EXPECT_EQ(jobs.remove_if([](const Job &) { return true; }), 1U);
    EXPECT_EQ(jobs.back(), nullptr);
}

} // namespace

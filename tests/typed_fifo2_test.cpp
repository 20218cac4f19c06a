// The typed doubly linked queue: what it offers beyond the C functions, which the model driver in
// fifo2_test.cpp runs it against.

#include "typed.hpp"

#include <qvds/fifo2.hpp>

#include <algorithm>
#include <iterator>
#include <ranges>

using namespace test;

namespace {

using queue = qvds::fifo2<&Job::link>;
using view = qvds::fifo2_view<&Job::link>;

static_assert(sizeof(queue) == sizeof(qvds_list));
static_assert(std::is_standard_layout_v<queue>);
static_assert(std::is_trivially_destructible_v<queue>);
static_assert(std::is_nothrow_move_constructible_v<queue>);
static_assert(std::is_nothrow_swappable_v<queue>);
static_assert(!std::is_copy_constructible_v<queue>);
static_assert(std::is_trivially_copyable_v<view>);
static_assert(std::ranges::bidirectional_range<queue>);
static_assert(std::ranges::common_range<queue>);
static_assert(!std::ranges::sized_range<queue>);
static_assert(std::is_convertible_v<queue::iterator, queue::const_iterator>);
static_assert(!std::is_convertible_v<queue::const_iterator, queue::iterator>);
static_assert(std::is_same_v<decltype(*std::declval<const queue &>().begin()), const Job &>);
static_assert(std::is_same_v<decltype(std::declval<const queue &>().front()), const Job *>);

constinit queue made_at_compile_time;

struct TypedFifo2 : testing::Test {
    TypedFifo2() {
        for (Job *job : {&one, &two, &three})
            jobs.push_back(*job);
    }
    ~TypedFifo2() override { EXPECT_EQ(qvds::check(jobs), qvds::sound); }

    Job one{1}, two{2}, three{3}, other_two{2};
    queue jobs;
};

TEST_F(TypedFifo2, WalksInBothDirections) {
    EXPECT_EQ(priorities(jobs), (ints{1, 2, 3}));
    ints backwards;
    for (auto at = jobs.rbegin(); at != jobs.rend(); ++at)
        backwards.push_back(at->priority);
    EXPECT_EQ(backwards, (ints{3, 2, 1}));
    EXPECT_EQ(jobs.count(), 3U);
}

TEST_F(TypedFifo2, EmptyQueueGivesNull) {
    EXPECT_TRUE(made_at_compile_time.empty());
    EXPECT_EQ(made_at_compile_time.front(), nullptr);
    EXPECT_EQ(made_at_compile_time.back(), nullptr);
    EXPECT_EQ(made_at_compile_time.pop_front(), nullptr);
    EXPECT_EQ(made_at_compile_time.pop_back(), nullptr);
    EXPECT_EQ(made_at_compile_time.begin(), made_at_compile_time.end());
}

TEST_F(TypedFifo2, InsertsBeforeAPlaceAndBehindAnElement) {
    Job zero{0}, half{1}, four{4};
    EXPECT_EQ(&*jobs.insert(jobs.begin(), zero), &zero);
    jobs.insert(jobs.end(), four);
    jobs.insert_after(one, half);
    EXPECT_EQ(priorities(jobs), (ints{0, 1, 1, 2, 3, 4}));
    EXPECT_EQ(&*std::next(jobs.iterator_to(one)), &half);
    jobs.clear();
    jobs.insert(jobs.end(), zero);
    EXPECT_EQ(priorities(jobs), ints{0});
    jobs.unlink(zero);
}

TEST_F(TypedFifo2, SortsByAnyComparisonAndProjection) {
    const auto sorted = [&](auto... how) {
        queue sorted_jobs;
        for (Job *job : {&two, &three, &one, &other_two})
            sorted_jobs.insert_sorted(*job, how...);
        EXPECT_EQ(&*std::ranges::find(sorted_jobs, 2, &Job::priority), &other_two)
            << "the newest of equals comes first";
        return priorities(sorted_jobs);
    };
    jobs.clear();
    EXPECT_EQ(sorted(std::less<>{}, &Job::priority), (ints{1, 2, 2, 3}));
    EXPECT_EQ(sorted(std::greater<>{}, &Job::rank), (ints{3, 2, 2, 1}));
    EXPECT_EQ(sorted(std::compare_three_way{}, priority_of), (ints{1, 2, 2, 3}));
    EXPECT_EQ(sorted([](const Job &a, const Job &b) { return a.priority <=> b.priority; }),
              (ints{1, 2, 2, 3}));
}

TEST_F(TypedFifo2, TakesCallablesOfEveryKind) {
    int calls = 0;
    EXPECT_EQ(jobs.find_if([&calls](Job &job) mutable { return ++calls, job.priority == 2; }),
              &two);
    EXPECT_EQ(calls, 2);
    EXPECT_EQ(jobs.find_if(Overloaded{}), &two);
    const auto owned = std::make_unique<int>(3);
    EXPECT_EQ(jobs.find_if([want = std::make_unique<int>(3)](const Job &job) {
        return job.priority == *want;
    }),
              &three);
    bool (*const is_one)(const Job &) noexcept = [](const Job &job) noexcept {
        return job.priority == 1;
    };
    EXPECT_EQ(jobs.find_if(is_one), &one);
    EXPECT_EQ(jobs.find(2, &Job::priority), &two);
    EXPECT_EQ(std::as_const(jobs).find(4, &Job::rank), nullptr);
}

TEST_F(TypedFifo2, ErasesWhileItWalks) {
    for (auto at = jobs.begin(); at != jobs.end();)
        at = at->priority == 2 ? jobs.erase(at) : std::next(at);
    EXPECT_EQ(priorities(jobs), (ints{1, 3}));
    EXPECT_EQ(jobs.erase(jobs.iterator_to(three)), jobs.end());
}

TEST_F(TypedFifo2, RemoveIfHandsOutWhatItRemoves) {
    std::vector<Job *> removed;
    EXPECT_EQ(jobs.remove_if([](const Job &job) { return job.priority != 2; },
                             [&](Job *job) { removed.push_back(job); }),
              2U);
    EXPECT_EQ(removed, (std::vector{&one, &three}));
    EXPECT_EQ(priorities(jobs), ints{2});
    EXPECT_EQ(jobs.remove_if(Overloaded{}), 1U);
}

TEST_F(TypedFifo2, ADisposerThatThrowsLeavesTheRest) {
    const auto dispose = [](Job *job) {
        if (job->priority == 2)
            throw std::runtime_error("disposer");
    };
    EXPECT_THROW(jobs.clear_and_dispose(dispose), std::runtime_error);
    EXPECT_EQ(priorities(jobs), ints{3}) << "the one that it threw for is out as well";
}

TEST_F(TypedFifo2, APredicateThatThrowsLeavesAllBehindItInPlace) {
    const auto predicate = [](const Job &job) {
        return job.priority == 2 ? throw std::runtime_error("predicate") : true;
    };
    EXPECT_THROW(jobs.remove_if(predicate), std::runtime_error);
    EXPECT_EQ(priorities(jobs), (ints{2, 3}));
}

TEST_F(TypedFifo2, MovesAndSwapsItsElements) {
    queue moved = std::move(jobs);
    EXPECT_TRUE(jobs.empty());
    jobs.push_back(other_two);
    swap(moved, jobs);
    EXPECT_EQ(priorities(jobs), (ints{1, 2, 3}));
    EXPECT_EQ(priorities(moved), ints{2});
    jobs = std::move(moved);
    EXPECT_EQ(priorities(jobs), ints{2});
}

TEST_F(TypedFifo2, DisposesWithItsLastBreath) {
    struct Counted {
        explicit Counted(int &its_living) : living(its_living) { ++living; }
        ~Counted() { --living; }
        int &living;
        qvds_node link{};
    };
    int living = 0;
    {
        qvds::fifo2<&Counted::link, qvds::dispose_with_delete> owned, replaced;
        owned.push_back(*new Counted(living));
        replaced.push_back(*new Counted(living));
        replaced = std::move(owned);
        EXPECT_EQ(living, 1);
    }
    EXPECT_EQ(living, 0);
}

TEST_F(TypedFifo2, OneElementIsInAQueueForEachOfItsHooks) {
    struct Base {
        qvds_node link{};
    };
    struct Cell : Job, Base {
        Cell() : Job(7) {}
        qvds_node links[2]{};
    } cell;
    qvds::fifo2<qvds::hook<Cell, &Cell::links, 0>> row;
    qvds::fifo2<qvds::hook<Cell, &Cell::links, 1>> column;
    qvds::fifo2<qvds::hook<Cell, &Base::link>> inherited;
    row.push_back(cell);
    column.push_front(cell);
    inherited.push_back(cell);
    EXPECT_EQ(row.front(), &cell);
    EXPECT_EQ(column.c_record().top, &cell.links[1]);
    EXPECT_EQ(inherited.pop_back(), &cell);
}

TEST_F(TypedFifo2, AnElementMayHoldAQueueOfItsOwnKind) {
    struct Node {
        qvds_node sibling{};
        qvds::fifo2<&Node::sibling> children;
    } parent, child;
    parent.children.push_back(child);
    EXPECT_EQ(parent.children.front(), &child);
}

TEST_F(TypedFifo2, CheckNamesTheElementNotItsLink) {
    two.link.prev = nullptr;
    EXPECT_EQ(qvds::check(jobs), (qvds::fault{3, &one}));
    two.link.prev = &one.link;
}

} // namespace

// The typed headerless list: what it offers beyond the C functions, which the model driver in
// sloppy_test.cpp runs it against.

#include "typed.hpp"

#include <qvds/sloppy.hpp>

#include <algorithm>
#include <ranges>

using namespace test;

namespace {

using list = qvds::sloppy<&Job::link>;
using view = qvds::sloppy_view<&Job::link>;
using around = decltype(list::around(std::declval<Job &>()));

static_assert(sizeof(list) == sizeof(void *));
static_assert(std::is_standard_layout_v<list>);
static_assert(std::is_trivially_destructible_v<list>);
static_assert(std::is_nothrow_move_constructible_v<list>);
static_assert(std::is_nothrow_swappable_v<list>);
static_assert(!std::is_copy_constructible_v<list>);
static_assert(std::is_trivially_copyable_v<view>);
static_assert(std::ranges::bidirectional_range<list>);
static_assert(std::ranges::bidirectional_range<const list>);
static_assert(std::ranges::common_range<list>);
static_assert(!std::ranges::sized_range<list>);
static_assert(std::ranges::bidirectional_range<around>);
static_assert(std::is_convertible_v<list::iterator, list::const_iterator>);
static_assert(!std::is_convertible_v<list::const_iterator, list::iterator>);
static_assert(std::is_same_v<decltype(*std::declval<const list &>().begin()), const Job &>);
static_assert(std::is_same_v<decltype(std::declval<const list &>().handle()), const Job *>);
static_assert(std::is_same_v<decltype(list::next(std::declval<const Job &>())), const Job *>);

constinit list made_at_compile_time;

struct TypedSloppy : testing::Test {
    TypedSloppy() {
        for (Job *job : {&one, &two, &three})
            jobs.push_back(*job);
    }
    ~TypedSloppy() override { EXPECT_EQ(qvds::check(jobs), qvds::sound); }

    Job one{1}, two{2}, three{3}, other_two{2};
    list jobs;
};

TEST_F(TypedSloppy, WalksFromTheFirstWhereverTheHandleIs) {
    for (Job *job : {&one, &two, &three}) {
        jobs.move_handle(*job);
        EXPECT_EQ(jobs.handle(), job);
        EXPECT_EQ(priorities(jobs), (ints{1, 2, 3}));
        ints backwards;
        for (auto at = jobs.rbegin(); at != jobs.rend(); ++at)
            backwards.push_back(at->priority);
        EXPECT_EQ(backwards, (ints{3, 2, 1}));
    }
}

TEST_F(TypedSloppy, EmptyListGivesNull) {
    EXPECT_TRUE(made_at_compile_time.empty());
    EXPECT_EQ(made_at_compile_time.handle(), nullptr);
    EXPECT_EQ(made_at_compile_time.first(), nullptr);
    EXPECT_EQ(made_at_compile_time.find(1, &Job::priority), nullptr);
    EXPECT_EQ(made_at_compile_time.begin(), made_at_compile_time.end());
    EXPECT_EQ(made_at_compile_time.remove_if(Overloaded{}), 0U);
}

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

TEST_F(TypedSloppy, FindsAndExtractsOutwardsFromTheHandle) {
    jobs.push_front(other_two);
    jobs.move_handle(one);
    EXPECT_EQ(jobs.find(2, &Job::priority), &other_two) << "what stands before wins";
    EXPECT_EQ(std::as_const(jobs).find_if(Overloaded{}), &other_two);
    EXPECT_EQ(jobs.extract(2, &Job::rank), &other_two);
    EXPECT_EQ(jobs.extract_if(Overloaded{}), &two);
    EXPECT_EQ(jobs.extract_if(Overloaded{}), nullptr);
    EXPECT_EQ(priorities(jobs), (ints{1, 3}));
}

TEST_F(TypedSloppy, AnElementInHandIsEnough) {
    EXPECT_EQ(priorities(list::around(two)), (ints{1, 2, 3}));
    EXPECT_EQ(std::ranges::max(list::around(std::as_const(two)), {}, &Job::priority).priority, 3);
    EXPECT_EQ(list::next(two), &three);
    EXPECT_EQ(list::next(three), nullptr);
    EXPECT_EQ(list::previous(two), &one);
    EXPECT_EQ(list::previous(std::as_const(one)), nullptr);
    EXPECT_EQ(list::find_around(two, 3, &Job::priority), &three);
    EXPECT_EQ(list::find_around(std::as_const(two), 4, &Job::priority), nullptr);
    const around whole = list::around(one);
    EXPECT_EQ(&*std::prev(whole.end()), &three);
}

// Wherever the handle is, and wherever the cut.
TEST_F(TypedSloppy, ACutLeavesEachPartAHandleOfItsOwn) {
    for (Job *named : {&one, &two, &three})
        for (Job *elem : {&one, &two, &three}) {
            jobs.move_handle(*named);
            list behind = jobs.cut(*elem);
            EXPECT_EQ(behind.handle(), elem);
            EXPECT_EQ(behind.count(), 4U - size_t(elem->priority));
            EXPECT_EQ(jobs.count(), size_t(elem->priority) - 1);
            if (named->priority < elem->priority)
                EXPECT_EQ(jobs.handle(), named) << "it was not cut off";
            else
                EXPECT_EQ(jobs.handle(), jobs.last()) << "it moved to before the cut";
            jobs.concat(behind);
            EXPECT_TRUE(behind.empty());
            EXPECT_EQ(priorities(jobs), (ints{1, 2, 3}));
        }
}

TEST_F(TypedSloppy, ErasesWhileItWalks) {
    for (auto at = jobs.begin(); at != jobs.end();)
        at = at->priority != 2 ? jobs.erase(at) : std::next(at);
    EXPECT_EQ(priorities(jobs), ints{2});
    EXPECT_EQ(jobs.handle(), &two);
    EXPECT_EQ(jobs.erase(jobs.iterator_to(two)), jobs.end());
    EXPECT_TRUE(jobs.empty());
}

TEST_F(TypedSloppy, RemoveIfHandsOutWhatItRemoves) {
    std::vector<Job *> removed;
    EXPECT_EQ(jobs.remove_if([](const Job &job) { return job.priority != 2; },
                             [&](Job *job) { removed.push_back(job); }),
              2U);
    EXPECT_EQ(removed, (std::vector{&one, &three}));
    EXPECT_EQ(jobs.handle(), &two);
    EXPECT_EQ(jobs.remove_if(Overloaded{}), 1U);
}

TEST_F(TypedSloppy, ADisposerThatThrowsLeavesTheRest) {
    const auto dispose = [](Job *job) {
        if (job->priority == 2)
            throw std::runtime_error("disposer");
    };
    EXPECT_THROW(jobs.clear_and_dispose(dispose), std::runtime_error);
    EXPECT_EQ(priorities(jobs), ints{3}) << "the one that it threw for is out as well";
}

TEST_F(TypedSloppy, APredicateThatThrowsLeavesAllBehindItInPlace) {
    const auto predicate = [](const Job &job) {
        return job.priority == 2 ? throw std::runtime_error("predicate") : true;
    };
    EXPECT_THROW(jobs.remove_if(predicate), std::runtime_error);
    EXPECT_EQ(priorities(jobs), (ints{2, 3}));
}

TEST_F(TypedSloppy, MovesAndSwapsItsElements) {
    list moved = std::move(jobs);
    EXPECT_TRUE(jobs.empty());
    jobs.insert(other_two);
    swap(moved, jobs);
    EXPECT_EQ(priorities(jobs), (ints{1, 2, 3}));
    EXPECT_EQ(priorities(moved), ints{2});
    moved.clear();
    moved.concat(std::move(jobs));
    EXPECT_EQ(moved.handle(), &one);
    jobs = std::move(moved);
    EXPECT_EQ(priorities(jobs), (ints{1, 2, 3}));
}

TEST_F(TypedSloppy, DisposesWithItsLastBreath) {
    struct Counted {
        explicit Counted(int &its_living) : living(its_living) { ++living; }
        ~Counted() { --living; }
        int &living;
        qvds_node link{};
    };
    int living = 0;
    {
        qvds::sloppy<&Counted::link, qvds::dispose_with_delete> owned, replaced;
        for (auto *each : {&owned, &owned, &replaced})
            each->insert(*new Counted(living));
        owned.move_handle(*owned.last());
        replaced = std::move(owned);
        EXPECT_EQ(living, 2);
    }
    EXPECT_EQ(living, 0);
}

TEST_F(TypedSloppy, AnElementMayHoldOneOfItsOwnKind) {
    struct Node {
        qvds_node sibling{};
        qvds::sloppy<&Node::sibling> children;
    } parent, child;
    parent.children.insert(child);
    EXPECT_EQ(parent.children.handle(), &child);
}

TEST_F(TypedSloppy, CheckNamesTheElementNotItsLink) {
    three.link.prev = nullptr;
    EXPECT_EQ(qvds::check(jobs), (qvds::fault{2, &two}));
    three.link.prev = &two.link;
}

} // namespace

// The typed owning list: what it offers beyond the C functions. fuzz/list.cpp runs both on one list
// beside a model.

#include "typed.hpp"

#include <qvds/list.hpp>

using namespace test;

namespace {

using list = qvds::list<Job>;

static_assert(sizeof(list) == sizeof(list_link *));
static_assert(std::is_trivially_copyable_v<qvds::list_view<Job>>);
static_assert(std::forward_iterator<list::walk_type::iterator>);
static_assert(!std::is_move_constructible_v<list::walk_type>);
static_assert(std::is_same_v<decltype(*std::declval<const list &>().walk().begin()), const Job &>);

constinit list made_at_compile_time;

struct TypedList : testing::Test {
    TypedList() {
        for (Job *job : {&one, &two, &three, &four})
            EXPECT_NE(jobs.push_back(*job), nullptr);
    }
    // Whatever a test did: no walk is left under way, and no link waits.
    ~TypedList() override { EXPECT_EQ(qvds::check(jobs), qvds::sound); }

    ints content() const {
        const auto walk = jobs.walk();
        return priorities(walk);
    }

    Job one{1}, two{2}, three{3}, four{4}, five{5};
    list jobs;
};

TEST_F(TypedList, AnyElementMayBeErasedInAWalk) {
    ints met;
    for (Job &job : jobs.walk()) {
        met.push_back(job.priority);
        if (job.priority == 2) {
            for (Job *gone : {&one, &two, &three})
                EXPECT_TRUE(jobs.erase(*gone));
        }
    }
    EXPECT_EQ(met, (ints{1, 2, 4}));
    EXPECT_EQ(content(), ints{4});
}

TEST_F(TypedList, WhatIsAddedBehindThePresentElementIsMet) {
    ints met;
    for (Job &job : jobs.walk()) {
        met.push_back(job.priority);
        if (job.priority == 4) {
            EXPECT_NE(jobs.push_back(five), nullptr);
        }
        if (job.priority == 1) {
            EXPECT_NE(jobs.push_front(five), nullptr);
        }
    }
    EXPECT_EQ(met, (ints{1, 2, 3, 4, 5}));
}

TEST_F(TypedList, ALinkMarkedByHandGoesWithTheWalkThatStandsOnIt) {
    list_link *const link = list_find_link(&two, jobs.c_record());
    for (const Job &job : jobs.walk())
        if (&job == &two)
            link->state |= LIST_STATE_DELETED;
    EXPECT_EQ(qvds::check(jobs), qvds::sound);
    EXPECT_EQ(content(), (ints{1, 3, 4}));
}

TEST_F(TypedList, WalksMayBeNested) {
    for (Job &outer : jobs.walk()) {
        for (Job &inner : jobs.walk())
            if (inner.priority > outer.priority)
                jobs.erase(inner);
        EXPECT_EQ(qvds::check(jobs, 1), qvds::sound) << "the outer walk goes on";
    }
    EXPECT_EQ(content(), ints{1});
}

TEST_F(TypedList, AWalkMayBeLeftByBreakOrByAnException) {
    for (Job &job : jobs.walk()) {
        jobs.erase(job);
        break;
    }
    EXPECT_EQ(qvds::check(jobs), qvds::sound);
    const auto erase_and_throw = [this] {
        for (Job &job : jobs.walk()) {
            jobs.erase(job);
            throw std::runtime_error("in a walk");
        }
    };
    EXPECT_THROW(erase_and_throw(), std::runtime_error);
    EXPECT_EQ(content(), (ints{3, 4}));
}

// Such a walk has counted nothing, so it must not count down what another has counted.
TEST_F(TypedList, AWalkBegunOnAnEmptyListEndsNothing) {
    list empty;
    {
        const auto begun_empty = empty.walk();
        ASSERT_NE(empty.push_back(one), nullptr);
        const auto begun_later = empty.walk();
        EXPECT_EQ(begun_empty.begin(), begun_empty.end());
        EXPECT_EQ(qvds::check(empty, 1), qvds::sound);
    }
    EXPECT_EQ(qvds::check(empty), qvds::sound);
}

TEST_F(TypedList, EraseIfHandsOutWhatItErases) {
    std::vector<Job *> erased;
    const auto even = [](const Job &job) { return job.priority % 2 == 0; };
    EXPECT_EQ(jobs.erase_if(even, [&](Job *job) { erased.push_back(job); }), 2U);
    EXPECT_EQ(erased, (std::vector{&two, &four}));
    EXPECT_EQ(content(), (ints{1, 3}));
}

TEST_F(TypedList, APredicateThatErasesItsElementLeavesNothingToErase) {
    EXPECT_EQ(jobs.erase_if([this](Job &job) { return jobs.erase(job); }), 0U);
    EXPECT_TRUE(jobs.empty());
}

TEST_F(TypedList, SortedInsertionKeepsEqualsInTheOrderInWhichTheyCame) {
    Job other_two{2};
    ASSERT_NE(jobs.insert_sorted(other_two, {}, &Job::priority), nullptr);
    EXPECT_EQ(content(), (ints{1, 2, 2, 3, 4}));
    std::vector<Job *> copied;
    jobs.append_to(copied);
    EXPECT_EQ(copied[2], &other_two);
}

TEST_F(TypedList, FindsByProjectionOrPredicateAndCopiesWhatThereIsRoomFor) {
    EXPECT_EQ(jobs.find(3, &Job::priority), &three);
    EXPECT_EQ(jobs.find(9, &Job::rank), nullptr);
    EXPECT_EQ(std::as_const(jobs).find_if(Overloaded{}), &two);
    Job *room[]{nullptr, nullptr, &five};
    EXPECT_EQ(jobs.copy_to(std::span(room, 2)), 2U);
    EXPECT_EQ(room[1], &two);
    EXPECT_EQ(room[2], &five);
    EXPECT_TRUE(made_at_compile_time.empty());
}

TEST_F(TypedList, ServesCAndCppInTurn) {
    list_append(&five, &jobs.c_record());
    list_append(nullptr, &jobs.c_record());
    EXPECT_EQ(content(), (ints{1, 2, 3, 4, 5})) << "no walk meets a null hook";
    const auto visit = [](void *hook, int32_t, void *view) -> void * {
        auto *const job = static_cast<Job *>(hook);
        if (job->priority < 4)
            static_cast<qvds::list_view<Job> *>(view)->erase(*job);
        return nullptr;
    };
    qvds::list_view<Job> view(jobs.c_record());
    list_iterate(&jobs.c_record(), visit, &view);
    EXPECT_EQ(content(), (ints{4, 5}));
    EXPECT_EQ(view.pop_front(), &four);
}

} // namespace

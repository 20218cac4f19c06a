// The typed calendar: its times, what may happen while it fires, and that nothing is lost when its
// epoch moves. fuzz/calendar.cpp runs it, and C on the same record, beside a model.

#include "fault.hpp"
#include "support.hpp"

#include <qvds/check.hpp>
#include <qvds/cq.hpp>

#include <algorithm>
#include <limits>
#include <memory>
#include <ranges>
#include <stdexcept>

using namespace std::chrono_literals;
using std::chrono::microseconds;
using std::chrono::milliseconds;

namespace {

// A clock that stands where the test says.
struct Manual {
    using duration = microseconds;
    using time_point = std::chrono::time_point<Manual>;
};
constexpr Manual::time_point at(microseconds time) {
    return Manual::time_point(time);
}

struct Timer {
    explicit Timer(int its_id) : id(its_id) {}

    int id;
    qvds_cq_entry entry{};
};

using calendar = qvds::calendar<&Timer::entry, Manual>;
using view = qvds::calendar_view<&Timer::entry, Manual>;
using ids = std::vector<int>;

static_assert(std::is_standard_layout_v<calendar>);
static_assert(std::is_trivially_destructible_v<calendar>);
static_assert(!std::is_copy_constructible_v<view>);
static_assert(std::ranges::forward_range<calendar>);
static_assert(std::ranges::common_range<calendar>);
static_assert(std::ranges::sized_range<calendar>);
static_assert(sizeof(calendar::iterator) == 3 * sizeof(void *));
static_assert(std::is_convertible_v<calendar::iterator, calendar::const_iterator>);
static_assert(!std::is_convertible_v<calendar::const_iterator, calendar::iterator>);
static_assert(std::is_same_v<decltype(*std::declval<const calendar &>().begin()), const Timer &>);

qvds::days<8> days_of_it;
constinit qvds::calendar<&Timer::entry>
    made_at_compile_time(days_of_it, 10ms, std::chrono::steady_clock::time_point());

// Four days of 10 ms each.
struct TypedCq : testing::Test {
    ~TypedCq() override { EXPECT_EQ(qvds::check(cal), qvds::sound); }

    ids advance(microseconds now) {
        ids fired;
        const size_t count = cal.advance(at(now), [&](Timer &due) { fired.push_back(due.id); });
        EXPECT_EQ(count, fired.size());
        return fired;
    }

    qvds::days<4> days;
    calendar cal{days, 10ms, at(0us)};
    Timer one{1}, two{2}, three{3};
};

TEST_F(TypedCq, FiresAtTheDeadlineAndNeverBefore) {
    const auto fires_at = [&](auto when) {
        EXPECT_TRUE(cal.reschedule(one, when));
        return cal.deadline(one);
    };
    (void)advance(100ms);
    EXPECT_EQ(fires_at(at(110ms)), at(110ms));
    EXPECT_EQ(fires_at(at(109'001us)), at(110ms)) << "in the first whole tick behind";
    EXPECT_EQ(fires_at(1h), at(1h + 100ms));
    EXPECT_EQ(fires_at(9'001us), at(110ms));
    EXPECT_EQ(fires_at(0.0095s), at(110ms));
    (void)advance(100'001us);
    EXPECT_EQ(cal.now(), at(100ms));
    EXPECT_EQ(fires_at(10ms), at(111ms)) << "110 ms would be 1 us less than 10 ms from now";
    EXPECT_EQ(advance(110'999us), ids{});
    EXPECT_EQ(advance(111ms), ids{1});
}

TEST_F(TypedCq, APastDeadlineFiresAtTheNextAdvance) {
    (void)advance(1s);
    EXPECT_TRUE(cal.schedule(one, at(-5s)));
    EXPECT_TRUE(cal.schedule(two, -1h));
    EXPECT_EQ(cal.next_deadline(), cal.now());
    EXPECT_EQ(advance(1s), (ids{1, 2}));
}

TEST_F(TypedCq, RefusesWhatIsTooFarAndLeavesTheTimerAsItIs) {
    using seconds = std::chrono::duration<double>;
    (void)advance(milliseconds((int64_t{1} << 31) - 1));
    EXPECT_TRUE(cal.schedule(one, cal.longest_wait));
    const auto deadline = cal.deadline(one);
    EXPECT_EQ(deadline - cal.now(), cal.longest_wait);

    EXPECT_FALSE(cal.reschedule(one, milliseconds(int64_t{1} << 32)));
    EXPECT_FALSE(cal.reschedule(one, milliseconds(int64_t{1} << 33)));
    EXPECT_FALSE(cal.reschedule(one, milliseconds::max()));
    EXPECT_FALSE(cal.reschedule(one, Manual::time_point::max()));
    EXPECT_FALSE(cal.reschedule(one, std::chrono::hours::max()));
    EXPECT_FALSE(cal.reschedule(one, std::chrono::duration<uint64_t, std::milli>(~uint64_t{0})));
    EXPECT_FALSE(cal.reschedule(one, seconds(std::numeric_limits<double>::infinity())));
    EXPECT_FALSE(cal.reschedule(one, seconds(std::numeric_limits<double>::quiet_NaN())));
    EXPECT_FALSE(cal.schedule(two, std::chrono::hours::max()));

    EXPECT_TRUE(cal.scheduled(one));
    EXPECT_EQ(cal.deadline(one), deadline);
    EXPECT_FALSE(cal.scheduled(two));
    EXPECT_TRUE(cal.schedule(two, std::chrono::hours::min() + 1h));
    EXPECT_EQ(cal.deadline(two), cal.now());
}

TEST_F(TypedCq, FiresByDaysAndWithinADayInOrderOfScheduling) {
    EXPECT_TRUE(cal.schedule(one, 29ms));
    EXPECT_TRUE(cal.schedule(two, 20ms));
    EXPECT_TRUE(cal.schedule(three, 19ms));
    EXPECT_EQ(advance(30ms), (ids{3, 1, 2}));
}

TEST_F(TypedCq, FiresInOrderOfTimeAfterMoreThanARevolution) {
    EXPECT_TRUE(cal.schedule(one, 41ms));
    EXPECT_TRUE(cal.schedule(two, 10ms));
    EXPECT_TRUE(cal.schedule(three, 1ms));
    Timer four{4}, five{5};
    EXPECT_TRUE(cal.schedule(four, 10ms));
    EXPECT_TRUE(cal.schedule(five, 10ms));
    EXPECT_EQ(advance(60ms), (ids{3, 2, 4, 5, 1}));
}

TEST_F(TypedCq, WhatHasNotFiredWhenFireThrowsIsDueAgain) {
    for (Timer *timer : {&one, &two, &three})
        EXPECT_TRUE(cal.schedule(*timer, 5ms));
    const auto refuse = [](const Timer &timer) {
        if (timer.id == 2)
            throw std::runtime_error("fire");
    };
    EXPECT_THROW(cal.advance(at(9ms), refuse), std::runtime_error);
    EXPECT_EQ(cal.deadline(three), at(9ms));
    EXPECT_EQ(advance(9ms), ids{3});
}

TEST_F(TypedCq, AClockThatGoesBackIsWaitedFor) {
    (void)advance(50ms);
    EXPECT_EQ(advance(20'500us), ids{});
    EXPECT_EQ(cal.now(), at(50ms));
    EXPECT_TRUE(cal.schedule(one, 10ms));
    EXPECT_EQ(advance(59ms), ids{});
    EXPECT_EQ(advance(60ms), ids{1});
}

TEST_F(TypedCq, NextDeadlineIsNoLaterThanItsLimit) {
    EXPECT_EQ(cal.next_deadline(), Manual::time_point::max());
    EXPECT_EQ(cal.next_deadline(at(7us)), at(7us));
    EXPECT_TRUE(cal.schedule(one, 95ms));
    EXPECT_TRUE(cal.schedule(two, 130ms));
    EXPECT_EQ(cal.next_deadline(), at(95ms)) << "of a later revolution, in a later bucket";
    EXPECT_EQ(cal.next_deadline(at(95ms)), at(95ms));
    EXPECT_EQ(cal.next_deadline(at(94'999us)), at(94'999us));
}

TEST_F(TypedCq, ATimerRepeatsWithoutDriftAcrossEveryMoveOfTheEpoch) {
    const auto period = std::chrono::hours(100); // 2^32 ms are 1193 hours
    EXPECT_TRUE(cal.schedule(one, period));
    auto due = at(period);
    for (auto now = at(0us); now < at(50 * period); now += 70h + 123us)
        cal.advance(now, [&](Timer &timer) {
            EXPECT_EQ(cal.deadline(timer), due);
            due += period;
            EXPECT_TRUE(cal.schedule(timer, due));
        });
    EXPECT_EQ(due, at(50 * period));
    EXPECT_LT(cal.c_now(), uint32_t{1} << 31);
}

TEST_F(TypedCq, MoreDaysThanTheRangeHasAreLeftAlone) {
    qvds::days<4> months;
    const calendar long_days(months, milliseconds(400'000'000), at(0us));
    EXPECT_EQ(long_days.c_record().size, 2U);
}

TEST_F(TypedCq, AnAdvanceWhileFiringFiresTheRestFirst) {
    ids fired;
    for (Timer *timer : {&one, &two})
        EXPECT_TRUE(cal.schedule(*timer, 5ms));
    EXPECT_TRUE(cal.schedule(three, 12ms));
    const size_t outer = cal.advance(at(5ms), [&](Timer &timer) {
        fired.push_back(timer.id);
        const auto note = [&](Timer &nested) { fired.push_back(nested.id); };
        EXPECT_EQ(cal.advance(at(15ms), note), 2U);
    });
    EXPECT_EQ(outer, 1U);
    EXPECT_EQ(fired, (ids{1, 2, 3}));
}

TEST_F(TypedCq, ClearWhileFiringEndsIt) {
    for (Timer *timer : {&one, &two, &three})
        EXPECT_TRUE(cal.schedule(*timer, 5ms));
    EXPECT_EQ(cal.advance(at(5ms), [&](Timer &) { cal.clear(); }), 1U);
    EXPECT_TRUE(cal.empty());
    for (const Timer *timer : {&one, &two, &three})
        EXPECT_FALSE(cal.scheduled(*timer));
}

void note_nothing(Timer & /*due*/) {}

TEST_F(TypedCq, TakesCallablesOfEveryKind) {
    EXPECT_TRUE(cal.schedule(one, 1ms));
    EXPECT_EQ(cal.advance(at(1ms), note_nothing), 1U);
    EXPECT_TRUE(cal.schedule(one, 1ms));
    EXPECT_EQ(cal.advance(at(2ms),
                          [owned = std::make_unique<int>(0)](const Timer &) mutable { ++*owned; }),
              1U);
}

TEST_F(TypedCq, EraseGivesTheNextPlaceAndRemoveIfHandsOutWhatIsOut) {
    for (Timer *timer : {&one, &two, &three})
        EXPECT_TRUE(cal.schedule(*timer, milliseconds(timer->id)));
    const auto place = std::ranges::find(cal, 2, &Timer::id);
    EXPECT_EQ(cal.erase(place)->id, 1) << "the next of the day";
    const auto expect_out = [&](const Timer *timer) { EXPECT_FALSE(cal.scheduled(*timer)); };
    EXPECT_EQ(cal.remove_if([](const Timer &timer) { return timer.id == 3; }, expect_out), 1U);
    EXPECT_EQ(cal.erase(cal.begin()), cal.end());
}

TEST_F(TypedCq, MovesAndSwapsWithDaysAndTime) {
    qvds::days<3> other_days;
    calendar other(other_days, 7ms, at(1s));
    other.advance(at(1'010'001us), note_nothing);
    EXPECT_TRUE(cal.schedule(one, 5ms));
    EXPECT_TRUE(other.schedule(two, 5ms));
    swap(cal, other);
    EXPECT_EQ(cal.now(), at(1010ms));
    EXPECT_EQ(cal.deadline(two), at(1016ms));
    EXPECT_TRUE(cal.schedule(three, 5ms));
    EXPECT_EQ(cal.deadline(three), at(1016ms)) << "part of a tick has passed here, too";
    EXPECT_EQ(advance(1016ms), (ids{2, 3}));
    cal = std::move(other);
    EXPECT_TRUE(cal.scheduled(one));
    EXPECT_EQ(advance(5ms), ids{1});
}

TEST_F(TypedCq, AViewAdoptsACalendarThatCMade) {
    qvds_cq_entry *buckets[4]{};
    qvds_cq made;
    qvds_cq_init(&made, buckets, 4, 10);
    one.entry.expires = 1'234;
    qvds_cq_insert(&made, &one.entry);
    view adopted(made, at(1h), at(1h + 1'200ms));
    EXPECT_EQ(adopted.c_now(), 1'200U);
    EXPECT_EQ(adopted.next_deadline(), at(1h + 1'234ms));
    EXPECT_EQ(adopted.advance(at(1h + 2s), note_nothing), 1U);
    EXPECT_EQ(made.expired, 1U);
}

TEST_F(TypedCq, TheDefaultsAreTheSteadyClockAndMilliseconds) {
    const auto start = std::chrono::steady_clock::time_point(5ns);
    EXPECT_TRUE(made_at_compile_time.schedule(one, start));
    EXPECT_EQ(made_at_compile_time.next_deadline() - start, 1ms - 5ns);
    EXPECT_EQ(made_at_compile_time.advance(start + 1ms, note_nothing), 1U);
}

TEST_F(TypedCq, CheckNamesTheElementNotItsEntry) {
    EXPECT_TRUE(cal.schedule(one, 5ms));
    one.entry.expires += 10;
    EXPECT_EQ(qvds::check(cal), (qvds::fault{1, &one}));
    one.entry.expires -= 10;
}

} // namespace

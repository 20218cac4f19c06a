#include <qvds/cq.h>
#include <qvds/cq.hpp>

#include "fault.hpp"
#include "support.hpp"

#include <algorithm>
#include <cstring>
#include <deque>

using qvds::fault;
using qvds::sound;
using qvds::core::check_cq;

namespace {

using Entry = qvds_cq_entry;

void expect_out(const Entry &entry) {
    EXPECT_EQ(entry.next, nullptr);
    EXPECT_EQ(entry.prev, nullptr);
}

// Notes the time of what it is given, and spoils it as if it were released.
int32_t fire(void *elem, void *times) {
    auto *const entry = static_cast<Entry *>(elem);
    expect_out(*entry);
    *static_cast<std::string *>(times) += std::to_string(entry->expires) + " ";
    std::memset(entry, 0xee, sizeof *entry);
    return -1;
}

// A calendar of four days, each 10 units of time long: 35, 39 and 75 all fall on day 3.
class Cq : public testing::Test {
  protected:
    Cq() {
        std::memset(&cq, 0xff, sizeof cq);
        qvds_cq_init(&cq, days, 4, 10);
        for (Entry *entry : {&at_35, &at_75, &at_39})
            qvds_cq_insert(&cq, entry);
    }
    // The times of a day in the order of a walk, or the invariant that is broken.
    std::string day(uint32_t number) const {
        if (const fault found = check_cq(cq); found != sound)
            return testing::PrintToString(found);
        std::string times;
        for (const Entry *entry = days[number]; entry != nullptr; entry = entry->next)
            times += std::to_string(entry->expires) + " ";
        return times;
    }

    Entry *days[4]{};
    Entry at_35{nullptr, nullptr, nullptr, 35};
    Entry at_75{nullptr, nullptr, nullptr, 75};
    Entry at_39{nullptr, nullptr, nullptr, 39};
    qvds_cq cq;
    std::string fired;
};

TEST_F(Cq, InitClearsEverything) {
    qvds_cq_init(&cq, days, 3, 20);
    EXPECT_EQ(cq.buckets, days);
    EXPECT_EQ(cq.size, 3U);
    EXPECT_EQ(cq.width, 20U);
    EXPECT_EQ(cq.count, 0U);
    EXPECT_EQ(cq.scanned, 0U);
    EXPECT_EQ(cq.expired, 0U);
}

TEST_F(Cq, InsertFilesByDayTheNewestFirst) {
    Entry at_40{nullptr, nullptr, nullptr, 40};
    qvds_cq_insert(&cq, &at_40);
    EXPECT_EQ(day(3), "39 75 35 ");
    EXPECT_EQ(day(0), "40 ");
    EXPECT_EQ(cq.count, 4U);
}

TEST_F(Cq, InsertTakesTimesUpToTheTopOfTheirRange) {
    Entry last{nullptr, nullptr, nullptr, UINT32_MAX};
    qvds_cq_insert(&cq, &last);
    EXPECT_EQ(day(1), "4294967295 ");
}

TEST_F(Cq, DeleteTakesAnEntryOutOfAnyPlace) {
    qvds_cq_delete(&cq, &at_75);
    EXPECT_EQ(day(3), "39 35 ") << "from the middle";
    expect_out(at_75);
    qvds_cq_delete(&cq, &at_39);
    EXPECT_EQ(day(3), "35 ") << "from the front";
    expect_out(at_39);
    qvds_cq_insert(&cq, &at_39);
    qvds_cq_delete(&cq, &at_35);
    EXPECT_EQ(day(3), "39 ") << "from the back";
    expect_out(at_35);
    EXPECT_EQ(cq.count, 1U);
}

TEST_F(Cq, WalkFiresWhatIsDueAndLeavesLaterRevolutions) {
    qvds_cq_iterate_expired(&cq, 3, 40, fire, &fired);
    EXPECT_EQ(fired, "39 35 ");
    EXPECT_EQ(day(3), "75 ");
    EXPECT_EQ(cq.scanned, 3U);
    EXPECT_EQ(cq.expired, 2U);
}

TEST_F(Cq, WalkFiresAnEntryDueNow) {
    qvds_cq_iterate_expired(&cq, 3, 34, fire, &fired);
    EXPECT_EQ(fired, "");
    qvds_cq_iterate_expired(&cq, 3, 35, fire, &fired);
    EXPECT_EQ(fired, "35 ");
}

TEST_F(Cq, StatisticsGrowFromWalkToWalk) {
    for (const uint32_t now : {35U, 75U, 99U})
        qvds_cq_iterate_expired(&cq, 3, now, fire, &fired);
    EXPECT_EQ(fired, "35 39 75 ");
    EXPECT_EQ(cq.scanned, 3U + 2U);
    EXPECT_EQ(cq.expired, 3U);
}

TEST_F(Cq, WalkDoesNotMeetAnEntryThatItsCallbackFilesAgain) {
    const qvds_visit_fn file_again = [](void *elem, void *calendar) -> int32_t {
        qvds_cq_insert(static_cast<qvds_cq *>(calendar), elem);
        return 0;
    };
    qvds_cq_iterate_expired(&cq, 3, 99, file_again, &cq);
    EXPECT_EQ(day(3), "35 75 39 ");
    EXPECT_EQ(cq.expired, 3U);
}

TEST_F(Cq, ExceptionsPassThroughAWalk) {
    const qvds_visit_fn refuse = [](void *elem, void *) -> int32_t { throw elem; };
    EXPECT_THROW(qvds_cq_iterate_expired(&cq, 3, 99, refuse, nullptr), void *);
    EXPECT_EQ(day(3), "75 35 ") << "the entry has left before";
}

TEST_F(Cq, SeventyThousandEntriesOnOneDayOrOnAsMany) {
    const uint32_t count = 70'000;
    for (const uint32_t size : {1U, count}) {
        std::vector<Entry *> many_days(size);
        std::vector<Entry> entries(count);
        qvds_cq_init(&cq, many_days.data(), size, 1);
        for (uint32_t i = 0; i < count; ++i) {
            entries[i].expires = i;
            qvds_cq_insert(&cq, &entries[i]);
        }
        EXPECT_EQ(check_cq(cq), sound);
        for (uint32_t number = 0; number < size; ++number)
            qvds_cq_iterate_expired(&cq, number, count, fire, &fired);
        EXPECT_EQ(cq.count, 0U);
        EXPECT_EQ(cq.scanned, count);
        EXPECT_EQ(cq.expired, count);
    }
}

TEST_F(Cq, CheckNamesTheBrokenInvariant) {
    ++cq.count;
    EXPECT_EQ(check_cq(cq), (fault{3, nullptr}));
    at_35.prev = &at_39;
    EXPECT_EQ(check_cq(cq), (fault{2, &at_75}));
    at_39.prev = &at_39;
    EXPECT_EQ(check_cq(cq), (fault{2, &at_39}));
    at_39.prev = nullptr;
    at_39.expires = 40;
    EXPECT_EQ(check_cq(cq), (fault{1, &at_39}));
}

TEST_F(Cq, CheckComesToAnEndInARing) {
    at_35.next = &at_75;
    EXPECT_EQ(check_cq(cq), (fault{2, &at_35}));
}

// The operations as the driver calls them.
struct cq_face {
    void (*insert)(qvds_cq *, void *entry);
    void (*remove)(qvds_cq *, void *entry);
    void (*iterate_expired)(qvds_cq *, uint32_t bucket, uint32_t now, qvds_visit_fn, void *ctx);
};
const cq_face c_face{
    .insert = qvds_cq_insert,
    .remove = qvds_cq_delete,
    .iterate_expired = qvds_cq_iterate_expired,
};

// The same through the typed face, as far as it is the same: `expires` as a time point of a clock
// that counts from the same 0.
struct Timer {
    Entry entry{};
};
struct Units {
    using duration = std::chrono::milliseconds;
    using time_point = std::chrono::time_point<Units>;
};
qvds::calendar_view<&Timer::entry, Units> typed(qvds_cq *cq) {
    return {*cq, Units::time_point(), Units::time_point()};
}
const cq_face typed_face{
    .insert =
        [](qvds_cq *cq, void *entry) {
            auto &timer = *static_cast<Timer *>(entry);
            const Units::duration when(timer.entry.expires);
            EXPECT_TRUE(typed(cq).schedule(timer, Units::time_point(when)));
        },
    .remove = [](qvds_cq *cq,
                 void *entry) { EXPECT_TRUE(typed(cq).cancel(*static_cast<Timer *>(entry))); },
    .iterate_expired = qvds_cq_iterate_expired,
};

// A calendar beside a list of the entries that are filed, newest first.
class CqDriver {
  public:
    CqDriver(test::Random &choices, const std::vector<cq_face> &its_faces, uint32_t size,
             uint32_t width)
        : random(choices), faces(its_faces), buckets(size) {
        qvds_cq_init(&cq, buckets.data(), size, width);
    }

    // Cancels some entry if it is filed, and files it otherwise.
    void toggle(Entry &entry, uint32_t expires) {
        if (std::count(filed.begin(), filed.end(), &entry) > 0) {
            face().remove(&cq, &entry);
            std::erase(filed, &entry);
            expect_out(entry);
        } else {
            entry.expires = expires;
            face().insert(&cq, &entry);
            filed.push_front(&entry);
        }
    }
    // Walks a day, while the callback files and cancels entries.
    void walk(uint32_t bucket, uint32_t time) {
        now = time;
        ahead = day(bucket);
        face().iterate_expired(&cq, bucket, now, on_fire, this);
        EXPECT_EQ(next_due(), nullptr);
    }
    Entry &some_entry() { return timers[random.below(std::size(timers))].entry; }

    void expect_as_modelled() {
        ASSERT_EQ(check_cq(cq), sound);
        auto all = typed(&cq);
        auto place = all.begin();
        for (uint32_t bucket = 0; bucket < cq.size; ++bucket) {
            const Entry *found = buckets[bucket];
            for (const Entry *expected : day(bucket)) {
                ASSERT_EQ(found, expected);
                found = found->next;
                ASSERT_EQ(&place->entry, expected);
                ++place;
            }
            ASSERT_EQ(found, nullptr);
        }
        ASSERT_EQ(place, all.end());
        ASSERT_EQ(cq.count, filed.size());
        ASSERT_EQ(cq.scanned, scanned);
        ASSERT_EQ(cq.expired, expired);
    }

  private:
    using Entries = std::deque<Entry *>;

    const cq_face &face() { return faces[random.below(faces.size())]; }

    Entries day(uint32_t bucket) const {
        Entries all = filed;
        std::erase_if(all, [&](Entry *e) { return e->expires / cq.width % cq.size != bucket; });
        return all;
    }
    // What the walk fires next, of those that it has yet to meet.
    Entry *next_due() {
        while (!ahead.empty()) {
            Entry *const entry = ahead.front();
            ahead.pop_front();
            ++scanned;
            if (entry->expires <= now)
                return entry;
        }
        return nullptr;
    }
    static int32_t on_fire(void *elem, void *driver) {
        static_cast<CqDriver *>(driver)->fired(static_cast<Entry *>(elem));
        return -1;
    }
    // Spoils the entry as if it were released, and files it again or toggles some other, but for
    // the next of the day, which must stay.
    void fired(Entry *entry) {
        EXPECT_EQ(entry, next_due());
        std::erase(filed, entry);
        expect_out(*entry);
        expect_as_modelled();
        ++expired;
        std::memset(entry, 0xee, sizeof *entry);
        Entry &other = random.one_in(2) ? *entry : some_entry();
        if (ahead.empty() || &other != ahead.front()) {
            std::erase(ahead, &other);
            toggle(other, now + static_cast<uint32_t>(random.below(2)));
        }
    }

    test::Random &random;
    const std::vector<cq_face> &faces;
    std::vector<Entry *> buckets;
    Timer timers[20];
    qvds_cq cq{};
    Entries filed, ahead;
    uint32_t now = 0, scanned = 0, expired = 0;
};

// Times lie at the start and at the very end of their range.
void run_random_program(test::Random &random, const std::vector<cq_face> &faces, uint32_t size,
                        uint32_t width) {
    CqDriver driver(random, faces, size, width);
    for (int step = 0; step < 300 && !testing::Test::HasFailure(); ++step) {
        const auto offset = static_cast<uint32_t>(random.below(100));
        const uint32_t time = random.one_in(3) ? UINT32_MAX - offset : offset;
        if (random.one_in(8))
            driver.walk(offset % size, time);
        else
            driver.toggle(driver.some_entry(), time);
        driver.expect_as_modelled();
    }
}

TEST_F(Cq, FollowsAModelInRandomProgramsThroughEitherFace) {
    test::for_each_seed([](test::Random &random) {
        for (const uint32_t size : {1U, 3U, 4U, 16U})
            for (const uint32_t width : {1U, 7U, 1U << 30})
                run_random_program(random, {c_face, typed_face}, size, width);
    });
}

} // namespace

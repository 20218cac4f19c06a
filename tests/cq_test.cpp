// The calendar queue in C: what a walk of a day fires, counts and leaves. fuzz/calendar.cpp runs
// all operations beside a model.

#include <qvds/cq.h>

#include "fault.hpp"
#include "support.hpp"

#include <cstring>

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
    Entry at_40{nullptr, nullptr, nullptr, 40}, last{nullptr, nullptr, nullptr, UINT32_MAX};
    qvds_cq_insert(&cq, &at_40);
    qvds_cq_insert(&cq, &last);
    EXPECT_EQ(day(3), "39 75 35 ");
    EXPECT_EQ(day(0), "40 ");
    EXPECT_EQ(day(1), "4294967295 ");
}

TEST_F(Cq, WalksFireWhatIsDueAndCountWhatTheyLookAt) {
    qvds_cq_iterate_expired(&cq, 3, 34, fire, &fired);
    EXPECT_EQ(fired, "");
    qvds_cq_iterate_expired(&cq, 3, 39, fire, &fired);
    EXPECT_EQ(fired, "39 35 ") << "75 is of a later revolution";
    EXPECT_EQ(day(3), "75 ");
    qvds_cq_iterate_expired(&cq, 3, 99, fire, &fired);
    EXPECT_EQ(fired, "39 35 75 ");
    EXPECT_EQ(cq.scanned, 3U + 3U + 1U);
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

} // namespace

#include <qvds/cq.h>

#include "support.hpp"

#include <algorithm>
#include <cstring>
#include <deque>

namespace {

using Entry = qvds_cq_entry;

// A calendar, and beside it the entries that each day should hold and a walk should meet.
struct Calendar {
    std::deque<Entry *> &day_of(const Entry &e) { return days[e.expires / cq.width % cq.size]; }
    bool holds(const Entry &e) { return std::count(day_of(e).begin(), day_of(e).end(), &e) == 1; }
    void file(Entry &entry, uint32_t expires) {
        entry.expires = expires;
        entry.user = this;
        day_of(entry).push_front(&entry);
        qvds_cq_insert(&cq, &entry);
    }
    void expect_out(Entry &entry) {
        EXPECT_EQ(std::erase(day_of(entry), &entry), 1);
        EXPECT_TRUE(entry.next == nullptr && entry.prev == nullptr && entry.user == this);
        EXPECT_EQ(fault(), "");
    }
    // What the walk fires next.
    Entry *next_due() {
        Entry *entry = nullptr;
        while (!ahead.empty() && (entry == nullptr || entry->expires > now)) {
            entry = ahead.front();
            ahead.pop_front();
            ++scanned;
        }
        return entry != nullptr && entry->expires <= now ? entry : nullptr;
    }
    // Names the invariant that is broken, or nothing.
    std::string fault() const {
        size_t count = 0;
        for (uint32_t bucket = 0; bucket < cq.size; ++bucket) {
            const Entry *prev = nullptr, *entry = buckets[bucket];
            for (const Entry *expected : days[bucket]) {
                if (entry != expected)
                    return "I1";
                if (entry->prev != prev)
                    return "I2";
                prev = std::exchange(entry, entry->next);
            }
            if (entry != nullptr)
                return "I2";
            count += days[bucket].size();
        }
        return cq.count == count ? "" : "I3";
    }

    test::Random &random;
    std::vector<Entry *> buckets;
    std::vector<std::deque<Entry *>> days;
    std::vector<Entry> entries = std::vector<Entry>(20);
    qvds_cq cq{};
    std::deque<Entry *> ahead{};
    uint32_t now = 0, scanned = 0, expired = 0;
};

// Files the entry again, or wipes it as if it were released, and cancels others.
int32_t fire(void *elem, void *ctx) {
    auto &calendar = *static_cast<Calendar *>(ctx);
    auto &entry = *static_cast<Entry *>(elem);
    test::Random &random = calendar.random;
    EXPECT_EQ(&entry, calendar.next_due());
    calendar.expect_out(entry);
    EXPECT_EQ(calendar.cq.scanned, calendar.scanned);
    EXPECT_EQ(calendar.cq.expired, calendar.expired++);
    if (random.one_in(2))
        calendar.file(entry, entry.expires + static_cast<uint32_t>(random.below(2)));
    else
        std::memset(&entry, 0xee, sizeof entry);
    Entry &other = calendar.entries[random.below(calendar.entries.size())];
    if (calendar.holds(other) && (calendar.ahead.empty() || &other != calendar.ahead.front())) {
        std::erase(calendar.ahead, &other);
        qvds_cq_delete(&calendar.cq, &other);
        calendar.expect_out(other);
    }
    return -1;
}

// Times lie at the start and at the very end of their range.
void run(test::Random &random, uint32_t size, uint32_t width) {
    const auto time = [&] {
        return (random.one_in(3) ? UINT32_MAX - 99 : 0) + static_cast<uint32_t>(random.below(100));
    };
    Calendar calendar{random, std::vector<Entry *>(size), std::vector<std::deque<Entry *>>(size)};
    qvds_cq &cq = calendar.cq;
    std::memset(&cq, 0xff, sizeof cq);
    qvds_cq_init(&cq, calendar.buckets.data(), size, width);
    for (size_t step = 0; step < 300; ++step) {
        Entry &entry = calendar.entries[random.below(20)];
        if (random.one_in(8)) {
            const auto bucket = static_cast<uint32_t>(random.below(size));
            calendar.now = time();
            calendar.ahead = calendar.days[bucket];
            qvds_cq_iterate_expired(&cq, bucket, calendar.now, fire, &calendar);
            ASSERT_EQ(calendar.next_due(), nullptr);
        } else if (calendar.holds(entry)) {
            qvds_cq_delete(&cq, &entry);
            calendar.expect_out(entry);
        } else {
            calendar.file(entry, time());
        }
        ASSERT_EQ(calendar.fault(), "");
        ASSERT_TRUE(cq.scanned == calendar.scanned && cq.expired == calendar.expired);
    }
    Entry first, second;
    calendar.file(second, 0);
    calendar.file(first, 0);
    ++cq.count;
    EXPECT_EQ(calendar.fault(), "I3");
    second.prev = nullptr;
    EXPECT_EQ(calendar.fault(), "I2");
    calendar.buckets[0] = &second;
    EXPECT_EQ(calendar.fault(), "I1");
}

TEST(Cq, LosesEntriesOrFiresOthersUnderRandomChanges) {
    test::for_each_seed([](test::Random &random) {
        for (const uint32_t size : {1u, 3u, 4u, 16u})
            for (const uint32_t width : {1u, 7u, 8u, 1u << 30})
                run(random, size, width);
    });
}

} // namespace

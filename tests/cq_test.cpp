#include <qvds/cq.h>

#include "support.hpp"

#include <algorithm>
#include <cstring>
#include <deque>

namespace {

using Entry = qvds_cq_entry;

// A calendar, and beside it the entries filed, newest first, and those that a walk has yet to meet.
struct Calendar {
    void expect_out(Entry &entry) {
        EXPECT_EQ(std::erase(filed, &entry), 1);
        EXPECT_TRUE(entry.next == nullptr && entry.prev == nullptr);
    }
    // Cancels the entry, or files it if it is not filed.
    void toggle(Entry &entry, uint32_t expires) {
        if (std::count(filed.begin(), filed.end(), &entry) > 0) {
            qvds_cq_delete(&cq, &entry);
            expect_out(entry);
        } else {
            entry.expires = expires;
            filed.push_front(&entry);
            qvds_cq_insert(&cq, &entry);
        }
    }
    std::deque<Entry *> day(uint32_t bucket) const {
        std::deque<Entry *> all = filed;
        std::erase_if(all, [&](Entry *e) { return e->expires / cq.width % cq.size != bucket; });
        return all;
    }
    // What the walk fires next.
    Entry *next_due() {
        Entry *entry = nullptr;
        for (; !ahead.empty() && (entry == nullptr || entry->expires > now); ++scanned) {
            entry = ahead.front();
            ahead.pop_front();
        }
        return entry != nullptr && entry->expires <= now ? entry : nullptr;
    }
    // Names the invariant that is broken, or nothing.
    std::string fault() const {
        for (uint32_t bucket = 0; bucket < cq.size; ++bucket) {
            std::deque<Entry *> found;
            for (Entry *entry = buckets[bucket]; entry != nullptr; entry = entry->next) {
                if (entry->prev != (found.empty() ? nullptr : found.back()))
                    return "I2";
                found.push_back(entry);
            }
            if (found != day(bucket))
                return "I1";
        }
        return cq.count == filed.size() ? "" : "I3";
    }

    test::Random &random;
    Entry *buckets[16]{};
    Entry entries[20]{};
    qvds_cq cq{};
    std::deque<Entry *> filed{}, ahead{};
    uint32_t now = 0, scanned = 0, expired = 0;
};

// Wipes the entry as if it were released, and files or cancels one, often the same.
int32_t fire(void *elem, void *ctx) {
    auto &calendar = *static_cast<Calendar *>(ctx);
    auto &entry = *static_cast<Entry *>(elem);
    EXPECT_EQ(&entry, calendar.next_due());
    calendar.expect_out(entry);
    EXPECT_EQ(calendar.fault(), "");
    ++calendar.expired;
    std::memset(&entry, 0xee, sizeof entry);
    test::Random &random = calendar.random;
    Entry &other = random.one_in(2) ? entry : calendar.entries[random.below(20)];
    if (calendar.ahead.empty() || &other != calendar.ahead.front()) {
        std::erase(calendar.ahead, &other);
        calendar.toggle(other, calendar.now + static_cast<uint32_t>(random.below(2)));
    }
    return -1;
}

// Times lie at the start and at the very end of their range.
void run(test::Random &random, uint32_t size, uint32_t width) {
    Calendar calendar{random};
    qvds_cq &cq = calendar.cq;
    std::memset(&cq, 0xff, sizeof cq);
    qvds_cq_init(&cq, calendar.buckets, size, width);
    for (size_t step = 0; step < 300; ++step) {
        const auto hour = static_cast<uint32_t>(random.below(100));
        const uint32_t time = random.one_in(3) ? UINT32_MAX - hour : hour;
        if (random.one_in(8)) {
            calendar.now = time;
            calendar.ahead = calendar.day(hour % size);
            qvds_cq_iterate_expired(&cq, hour % size, time, fire, &calendar);
            ASSERT_EQ(calendar.next_due(), nullptr);
        } else {
            calendar.toggle(calendar.entries[random.below(20)], time);
        }
        ASSERT_EQ(calendar.fault(), "");
        ASSERT_TRUE(cq.scanned == calendar.scanned && cq.expired == calendar.expired);
    }
    ++cq.count;
    EXPECT_EQ(calendar.fault(), "I3");
    Entry last{nullptr, &last, nullptr, 0};
    calendar.buckets[0] = &last;
    EXPECT_EQ(calendar.fault(), "I2");
    last.prev = nullptr;
    EXPECT_EQ(calendar.fault(), "I1");
}

TEST(Cq, LosesEntriesOrFiresOthersUnderRandomChanges) {
    test::for_each_seed([](test::Random &random) {
        for (const uint32_t size : {1u, 3u, 4u, 16u})
            for (const uint32_t width : {1u, 7u, 1u << 30})
                run(random, size, width);
    });
}

} // namespace

#include <qvds/qvcq.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <deque>
#include <numeric>

#include "support.hpp"

namespace {

enum { enqueue, copyto, dequeue, copyfrom, cancel, reset, operations };

// A ring beside a model that remembers which blocks are held, and what every block shows.
struct Driver {
    Driver(size_t block_size, size_t blocks)
        : bytes(blocks, std::string(block_size, '\0')), lengths(blocks) {
        EXPECT_EQ(qvcq_init(&ring, block_size, blocks), 0);
    }
    ~Driver() { qvcq_destroy(&ring); }

    qvcq ring{};
    std::vector<std::string> bytes;
    std::vector<size_t> lengths;
    std::deque<size_t> held;
    size_t next = 0;
    unsigned stamp = 0;

    // What is wrong with the ring, or nothing.
    std::string fault() const {
        const size_t tail = held.empty() ? next : held.front();
        if (ring.head != static_cast<int32_t>(next) || ring.tail != static_cast<int32_t>(tail))
            return "I1: head and tail";
        if (qvcq_get_size(&ring) != static_cast<int32_t>(held.size()))
            return "I2: size";
        for (size_t i = 0; i != bytes.size(); ++i) {
            const auto *data = static_cast<const char *>(ring.storage) + i * bytes[i].size();
            if (ring.entries[i].data != data ||
                ring.entries[i].length != static_cast<int32_t>(lengths[i]) ||
                std::memcmp(data, bytes[i].data(), bytes[i].size()) != 0)
                return "I3: a block is elsewhere or shows something else";
        }
        return "";
    }

    // length is that of the message, or the room for one.
    void step(size_t operation, size_t length) {
        qvcq_entry none{}, *entry = &none;
        std::string message(length, '\0');
        std::iota(message.begin(), message.end(), static_cast<char>(stamp += 29));
        std::string buffer = message + "beyond";
        auto room = static_cast<int32_t>(length);
        const int status = held.empty() ? 3 : 0;
        const size_t head = next, tail = held.empty() ? 0 : held.front();
        if (operation == enqueue) {
            ASSERT_EQ(qvcq_enqueue(&ring, &entry), 0);
            ASSERT_EQ(entry, &ring.entries[head]);
        } else if (operation == copyto) {
            const int refused = length == 0 ? -1 : length > bytes[0].size() ? 1 : 0;
            ASSERT_EQ(qvcq_copyto_queue(&ring, buffer.data(), room), refused);
            if (refused == 0) {
                bytes[head].replace(0, length, message);
                lengths[head] = length;
            } else {
                operation = operations;
            }
        } else if (operation == dequeue) {
            ASSERT_EQ(qvcq_peek(&ring, &entry), status);
            ASSERT_EQ(entry, status != 0 ? &none : &ring.entries[tail]);
            entry = &none;
            ASSERT_EQ(qvcq_dequeue(&ring, &entry), status);
            ASSERT_EQ(entry, status != 0 ? &none : &ring.entries[tail]);
        } else if (operation == copyfrom) {
            ASSERT_EQ(qvcq_copyfrom_queue(&ring, buffer.data(), &room), length == 0 ? -1 : status);
            if (length == 0 || status != 0) {
                operation = operations;
            } else {
                length = std::min(length, lengths[tail]);
                message.replace(0, length, bytes[tail], 0, length);
            }
            ASSERT_EQ(room, static_cast<int32_t>(length));
            ASSERT_EQ(buffer, message + "beyond");
        } else {
            ASSERT_EQ((operation == cancel ? qvcq_cancel : qvcq_reset)(&ring), 0);
        }
        if (operation <= copyto) {
            held.push_back(head);
            next = (head + 1) % bytes.size();
            if (held.size() == bytes.size())
                held.pop_front();
        } else if (operation == reset) {
            held.clear();
            next = 0;
        } else if (!held.empty() && operation == cancel) {
            next = held.back();
            held.pop_back();
        } else if (!held.empty() && operation <= copyfrom) {
            held.pop_front();
        }
        ASSERT_EQ(fault(), "");
    }
};

} // namespace

TEST(Ring, PredicateSeesBrokenInvariants) {
    Driver driver(8, 3);
    driver.ring.entries[2].data = driver.ring.storage;
    EXPECT_EQ(driver.fault().substr(0, 2), "I3");
    driver.ring.size = 1;
    EXPECT_EQ(driver.fault().substr(0, 2), "I2");
    driver.ring.head = 3;
    EXPECT_EQ(driver.fault().substr(0, 2), "I1");
}

TEST(Ring, FollowsModelInEveryShortSequence) {
    for (const size_t blocks : {1U, 2U, 3U})
        test::for_each_sequence(5, operations, [&](const std::vector<size_t> &steps) {
            Driver driver(2, blocks);
            for (const size_t step : steps)
                driver.step(step, 1);
        });
}

TEST(Ring, CopiesMessagesOfEveryLengthAndNoByteBesides) {
    Driver driver(150, 4);
    for (size_t length = 0; length != 152; ++length)
        for (const auto operation : {enqueue, copyto, copyfrom, dequeue, copyto, copyfrom})
            driver.step(operation, operation == copyfrom ? 151 - length : length);
}

TEST(Ring, RefusesNullAndNegative) {
    Driver driver(1, 2);
    driver.step(copyto, 1);
    qvcq *const ring = &driver.ring;
    qvcq_entry *entry = nullptr;
    char byte = 0;
    int32_t below = -1, one = 1;
    for (const int status :
         {qvcq_init(nullptr, 1, 2), qvcq_enqueue(nullptr, &entry), qvcq_enqueue(ring, nullptr),
          qvcq_dequeue(nullptr, &entry), qvcq_dequeue(ring, nullptr), qvcq_peek(nullptr, &entry),
          qvcq_peek(ring, nullptr), qvcq_copyto_queue(nullptr, &byte, 1),
          qvcq_copyto_queue(ring, nullptr, 1), qvcq_copyto_queue(ring, &byte, -1),
          qvcq_copyfrom_queue(nullptr, &byte, &one), qvcq_copyfrom_queue(ring, nullptr, &one),
          qvcq_copyfrom_queue(ring, &byte, nullptr), qvcq_copyfrom_queue(ring, &byte, &below),
          qvcq_cancel(nullptr), qvcq_get_size(nullptr)})
        EXPECT_EQ(status, -1);
    EXPECT_EQ(driver.fault(), "");
    qvcq_destroy(nullptr);
}

TEST(Ring, ReachesBlocksBeyondTwoToThe31Bytes) {
    const char *const preload = std::getenv("LD_PRELOAD");
    if (preload != nullptr && std::strstr(preload, "vgpreload") != nullptr)
        GTEST_SKIP() << "valgrind writes all of the memory that calloc leaves untouched";
    constexpr size_t gigabyte = size_t{1} << 30;
    qvcq ring;
    ASSERT_EQ(qvcq_init(&ring, gigabyte, 5), 0) << "needs 5 GB of addresses and touches one page";
    ring.head = ring.tail = 4;
    ASSERT_EQ(qvcq_copyto_queue(&ring, "last", 5), 0);
    EXPECT_STREQ(static_cast<const char *>(ring.storage) + 4 * gigabyte, "last");
    qvcq_destroy(&ring);
}

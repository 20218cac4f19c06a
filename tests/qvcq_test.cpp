#include <qvds/qvcq.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <deque>
#include <numeric>
#include <utility>

#include "support.hpp"

namespace {

enum { enqueue, copyto, dequeue, copyfrom, cancel, reset, operations };

// A ring beside the messages that it must hold.
struct Driver {
    Driver(size_t size, size_t blocks) : block_size(size), bytes(size * blocks, '\0') {
        EXPECT_EQ(qvcq_init(&ring, block_size, blocks), 0);
        EXPECT_EQ(ring.entries[blocks - 1].length, 0);
        EXPECT_EQ(fault(), "");
    }
    ~Driver() { qvcq_destroy(&ring); }

    qvcq ring{};
    size_t block_size;
    std::string bytes; // of all blocks
    std::deque<std::string> held;
    unsigned stamp = 0;

    // What is wrong with the ring, or nothing.
    std::string fault() const {
        const int32_t blocks = ring.blocks;
        if (std::min(ring.head, ring.tail) < 0 || std::max(ring.head, ring.tail) >= blocks)
            return "I1: head and tail";
        if (ring.size != (ring.head - ring.tail + blocks) % blocks)
            return "I2: size";
        const auto *data = static_cast<const char *>(ring.storage);
        if (bytes.compare(0, bytes.npos, data, bytes.size()) != 0)
            return "a block shows something else";
        for (int32_t i = 0; i != blocks; ++i, data += block_size)
            if (ring.entries[i].data != data)
                return "I3: a block is elsewhere";
        return "";
    }

    // length is that of the message, or of the buffer for one.
    void step(size_t operation, size_t length) {
        std::string message(length, '\0');
        std::iota(message.begin(), message.end(), static_cast<char>(stamp += 29));
        std::string buffer = message + "beyond";
        auto count = static_cast<int32_t>(length);
        const int status = held.empty() ? 3 : 0;
        const std::string front = held.empty() ? message : held.front();
        qvcq_entry *entry = nullptr, *again = nullptr;
        if (operation <= copyto) {
            bytes.replace(static_cast<size_t>(ring.head) * block_size, length, message);
            held.push_back(message);
        }
        if (operation == enqueue) {
            ASSERT_EQ(qvcq_enqueue(&ring, &entry), 0);
            entry->length = count;
            std::memcpy(entry->data, message.data(), length);
        } else if (operation == copyto) {
            ASSERT_EQ(qvcq_copyto_queue(&ring, buffer.data(), count), 0);
        } else if (operation == dequeue) {
            ASSERT_EQ(qvcq_peek(&ring, &again), status);
            ASSERT_EQ(qvcq_dequeue(&ring, &entry), status);
            ASSERT_EQ(entry, again);
            ASSERT_EQ(entry == nullptr, held.empty());
            ASSERT_TRUE(entry == nullptr ||
                        front.compare(0, front.npos, static_cast<char *>(entry->data),
                                      static_cast<size_t>(entry->length)) == 0);
        } else if (operation == copyfrom) {
            ASSERT_EQ(qvcq_copyfrom_queue(&ring, buffer.data(), &count), status);
            ASSERT_EQ(count, static_cast<int32_t>(std::min(length, front.size())));
            ASSERT_EQ(buffer, message.replace(0, front.size(), front, 0, length) + "beyond");
        } else {
            ASSERT_EQ((operation == cancel ? qvcq_cancel : qvcq_reset)(&ring), 0);
            held.resize(operation == cancel && status == 0 ? held.size() - 1 : 0);
        }
        if (std::cmp_equal(held.size(), ring.blocks) ||
            (entry != nullptr && operation == dequeue) || (operation == copyfrom && status == 0))
            held.pop_front();
        ASSERT_TRUE(std::cmp_equal(qvcq_get_size(&ring), held.size()));
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
    for (size_t length = 1; length != 151; ++length)
        for (const auto operation : {enqueue, copyto, copyfrom, dequeue, copyto, copyfrom})
            driver.step(operation, operation == copyfrom ? 151 - length : length);
}

TEST(Ring, RefusesNullAndNegativeAndChangesNothing) {
    Driver driver(1, 2);
    driver.step(copyto, 1);
    qvcq *const ring = &driver.ring;
    const qvcq before = *ring;
    qvcq_entry *out = nullptr;
    char byte = 0;
    int32_t below = -1, zero = 0, one = 1;
    const int results[] = {qvcq_init(nullptr, 1, 2),
                           qvcq_enqueue(nullptr, &out),
                           qvcq_enqueue(ring, nullptr),
                           qvcq_dequeue(nullptr, &out),
                           qvcq_dequeue(ring, nullptr),
                           qvcq_peek(nullptr, &out),
                           qvcq_peek(ring, nullptr),
                           qvcq_copyto_queue(nullptr, &byte, 1),
                           qvcq_copyto_queue(ring, nullptr, 1),
                           qvcq_copyto_queue(ring, &byte, -1),
                           qvcq_copyto_queue(ring, &byte, 0),
                           qvcq_copyfrom_queue(nullptr, &byte, &one),
                           qvcq_copyfrom_queue(ring, nullptr, &one),
                           qvcq_copyfrom_queue(ring, &byte, nullptr),
                           qvcq_copyfrom_queue(ring, &byte, &below),
                           qvcq_copyfrom_queue(ring, &byte, &zero),
                           qvcq_cancel(nullptr),
                           qvcq_get_size(nullptr)};
    EXPECT_EQ(std::count(std::begin(results), std::end(results), -1), std::ssize(results));
    EXPECT_EQ(qvcq_copyto_queue(ring, "two", 2), 1);
    EXPECT_TRUE(out == nullptr && zero == 0 && below == -1 && one == 1);
    EXPECT_EQ(std::memcmp(ring, &before, sizeof before), 0);
    EXPECT_EQ(driver.fault(), "");
    qvcq_destroy(nullptr);
}

TEST(Ring, ReachesBlocksBeyondTwoToThe32Bytes) {
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

#include <qvds/qvcq.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <deque>
#include <numeric>
#include <utility>

#include "fault.hpp"
#include "support.hpp"

namespace {

using qvds::core::check_qvcq, qvds::fault, qvds::sound;

// A ring that is released at the end of its test.
struct Ring : qvcq {
    Ring(size_t block_bytes, size_t block_count) : qvcq{} {
        EXPECT_EQ(qvcq_init(this, block_bytes, block_count), QVCQ_OK);
        EXPECT_EQ(check_qvcq(*this), sound);
    }
    ~Ring() { qvcq_destroy(this); }
    Ring(const Ring &) = delete;
    Ring &operator=(const Ring &) = delete;

    int put(const std::string &message) {
        return qvcq_copyto_queue(this, message.data(), static_cast<int32_t>(message.size()));
    }
    // The oldest message, or "empty".
    std::string take() {
        qvcq_entry *entry = nullptr;
        if (qvcq_dequeue(this, &entry) != QVCQ_OK)
            return "empty";
        return {static_cast<const char *>(entry->data), static_cast<size_t>(entry->length)};
    }
};

} // namespace

TEST(Ring, CheckTellsTheBrokenInvariantAndWhere) {
    Ring ring(8, 3);
    ring.entries[2].data = ring.storage;
    EXPECT_EQ(check_qvcq(ring), (fault{3, &ring.entries[2]}));
    ring.size = 1;
    EXPECT_EQ(check_qvcq(ring), (fault{2, &ring}));
    for (const int32_t outside : {-1, 3}) {
        ring.head = outside;
        EXPECT_EQ(check_qvcq(ring), (fault{1, &ring}));
        ring.head = 0;
        ring.tail = outside;
        EXPECT_EQ(check_qvcq(ring), (fault{1, &ring}));
    }
}

TEST(Ring, InitMakesAnEmptyRingOfZeroedBlocks) {
    const Ring ring(3, 5);
    EXPECT_EQ(ring.blocks, 5);
    EXPECT_EQ(ring.block_size, 3);
    EXPECT_EQ(qvcq_get_size(&ring), 0);
    EXPECT_EQ(std::memcmp(ring.storage, std::string(15, '\0').data(), 15), 0);
    for (int i = 0; i != 5; ++i)
        EXPECT_EQ(ring.entries[i].length, 0);
}

TEST(Ring, FullRingDropsItsOldestMessage) {
    Ring ring(8, 4);
    for (const char *message : {"one", "two", "three", "four"})
        EXPECT_EQ(ring.put(message), QVCQ_OK);
    EXPECT_EQ(qvcq_get_size(&ring), 3);
    for (const char *message : {"two", "three", "four", "empty"})
        EXPECT_EQ(ring.take(), message);
}

TEST(Ring, OfOneBlockHoldsNothing) {
    Ring ring(8, 1);
    qvcq_entry *entry = nullptr;
    EXPECT_EQ(qvcq_enqueue(&ring, &entry), QVCQ_OK);
    EXPECT_EQ(entry, &ring.entries[0]);
    EXPECT_EQ(qvcq_get_size(&ring), 0);
    EXPECT_EQ(ring.take(), "empty");
}

TEST(Ring, RefusesAMessageLongerThanABlock) {
    Ring ring(4, 3);
    EXPECT_EQ(ring.put("five5"), QVCQ_TOO_LONG);
    EXPECT_EQ(qvcq_get_size(&ring), 0);
    EXPECT_EQ(ring.put("four"), QVCQ_OK);
    EXPECT_EQ(ring.take(), "four");
}

TEST(Ring, CutsAMessageLongerThanTheBuffer) {
    Ring ring(8, 3);
    ring.put("message");
    char buffer[] = "------";
    int32_t length = 4;
    EXPECT_EQ(qvcq_copyfrom_queue(&ring, buffer, &length), QVCQ_OK);
    EXPECT_EQ(length, 4);
    EXPECT_STREQ(buffer, "mess--");
    EXPECT_EQ(qvcq_copyfrom_queue(&ring, buffer, &length), QVCQ_EMPTY);
    EXPECT_EQ(length, 4);
}

TEST(Ring, CancelTakesBackTheNewestAndNotWhatItHasDropped) {
    Ring ring(8, 3);
    for (const char *message : {"one", "two", "three"})
        ring.put(message);
    EXPECT_EQ(qvcq_cancel(&ring), QVCQ_OK);
    EXPECT_EQ(ring.head, 2) << "back from 0";
    EXPECT_EQ(ring.take(), "two");
    EXPECT_EQ(qvcq_cancel(&ring), QVCQ_OK);
    EXPECT_EQ(ring.take(), "empty");
}

TEST(Ring, EmptyMessageCanOnlyBeMadeInPlace) {
    Ring ring(8, 3);
    qvcq_entry *entry = nullptr;
    EXPECT_EQ(qvcq_enqueue(&ring, &entry), QVCQ_OK);
    EXPECT_EQ(ring.take(), "");
    EXPECT_EQ(ring.put(""), QVCQ_ERROR);
}

namespace {

enum class Step { enqueue, copyto, dequeue, copyfrom, cancel, reset };
constexpr size_t step_count = 6;

// A ring beside the messages that it must hold, and the bytes that all of its blocks must show.
struct Driver {
    Driver(size_t size, size_t blocks)
        : ring(size, blocks), block_size(size), bytes(size * blocks, '\0') {}

    Ring ring;
    size_t block_size;
    std::string bytes;
    std::deque<std::string> held;
    unsigned stamp = 0;

    // length is that of the message, or of the buffer for one.
    void step(Step operation, size_t length) {
        switch (operation) {
        case Step::enqueue:
            enqueue(next_message(length));
            break;
        case Step::copyto:
            copyto(next_message(length));
            break;
        case Step::dequeue:
            dequeue();
            break;
        case Step::copyfrom:
            copyfrom(length);
            break;
        case Step::cancel:
            ASSERT_EQ(qvcq_cancel(&ring), QVCQ_OK);
            if (!held.empty())
                held.pop_back();
            break;
        case Step::reset:
            ASSERT_EQ(qvcq_reset(&ring), QVCQ_OK);
            held.clear();
            break;
        }
        ASSERT_EQ(check_qvcq(ring), sound);
        ASSERT_TRUE(std::cmp_equal(qvcq_get_size(&ring), held.size()));
        ASSERT_EQ(std::string(static_cast<const char *>(ring.storage), bytes.size()), bytes);
    }

    std::string next_message(size_t length) {
        std::string message(length, '\0');
        std::iota(message.begin(), message.end(), static_cast<char>(stamp += 29));
        return message;
    }

    // The block at head is to show a message, which counts as held from now on.
    void hold(const std::string &message) {
        bytes.replace(static_cast<size_t>(ring.head) * block_size, message.size(), message);
        held.push_back(message);
        if (std::cmp_equal(held.size(), ring.blocks))
            held.pop_front();
    }

    void enqueue(const std::string &message) {
        hold(message);
        qvcq_entry *entry = nullptr;
        ASSERT_EQ(qvcq_enqueue(&ring, &entry), QVCQ_OK);
        entry->length = static_cast<int32_t>(message.size());
        std::memcpy(entry->data, message.data(), message.size());
    }

    void copyto(const std::string &message) {
        hold(message);
        const std::string buffer = message + "beyond";
        const auto length = static_cast<int32_t>(message.size());
        ASSERT_EQ(qvcq_copyto_queue(&ring, buffer.data(), length), QVCQ_OK);
    }

    void dequeue() {
        qvcq_entry *peeked = nullptr, *entry = nullptr;
        const int status = held.empty() ? QVCQ_EMPTY : QVCQ_OK;
        ASSERT_EQ(qvcq_peek(&ring, &peeked), status);
        ASSERT_EQ(qvcq_dequeue(&ring, &entry), status);
        ASSERT_EQ(entry, peeked);
        ASSERT_EQ(entry == nullptr, held.empty());
        if (entry == nullptr)
            return;
        const auto length = static_cast<size_t>(entry->length);
        ASSERT_EQ(std::string(static_cast<const char *>(entry->data), length), held.front());
        held.pop_front();
    }

    void copyfrom(size_t room) {
        std::string buffer(room + 6, '.');
        auto length = static_cast<int32_t>(room);
        const int status = held.empty() ? QVCQ_EMPTY : QVCQ_OK;
        const std::string taken = held.empty() ? buffer : held.front().substr(0, room);
        ASSERT_EQ(qvcq_copyfrom_queue(&ring, buffer.data(), &length), status);
        ASSERT_EQ(length, static_cast<int32_t>(std::min(room, taken.size())));
        ASSERT_EQ(buffer, taken + std::string(buffer.size() - taken.size(), '.'));
        if (!held.empty())
            held.pop_front();
    }
};

} // namespace

TEST(Ring, FollowsTheModelInEveryShortSequence) {
    for (const size_t blocks : {1U, 2U, 3U})
        test::for_each_sequence(5, step_count, [&](const std::vector<size_t> &steps) {
            Driver driver(2, blocks);
            for (const size_t step : steps)
                driver.step(static_cast<Step>(step), 1);
        });
}

TEST(Ring, CopiesMessagesOfEveryLengthAndNoByteBesides) {
    Driver driver(150, 4);
    for (size_t length = 1; length != 151; ++length) {
        driver.step(Step::enqueue, length);
        driver.step(Step::copyto, length);
        driver.step(Step::copyfrom, 151 - length);
        driver.step(Step::dequeue, 0);
        driver.step(Step::copyto, length);
        driver.step(Step::copyfrom, 151 - length);
    }
}

TEST(Ring, HoldsSeventyThousandMessages) {
    constexpr int32_t count = 70'000;
    Ring ring(sizeof count, count + 1);
    const int32_t last = 2 * count - 1;
    for (int32_t i = 0; i <= last; ++i)
        ASSERT_EQ(qvcq_copyto_queue(&ring, &i, sizeof i), QVCQ_OK);
    EXPECT_EQ(qvcq_cancel(&ring), QVCQ_OK);
    EXPECT_EQ(qvcq_copyto_queue(&ring, &last, sizeof last), QVCQ_OK);
    EXPECT_EQ(check_qvcq(ring), sound);
    EXPECT_EQ(qvcq_get_size(&ring), count);
    for (int32_t i = count; i <= last; ++i) {
        int32_t message = 0, length = sizeof message;
        ASSERT_EQ(qvcq_copyfrom_queue(&ring, &message, &length), QVCQ_OK);
        ASSERT_EQ(message, i);
    }
    EXPECT_EQ(ring.take(), "empty");
}

TEST(Ring, HoldsAMessageOfSeventyThousandBytes) {
    Driver driver(70'000, 3);
    for (const Step step : {Step::copyto, Step::dequeue, Step::copyto, Step::copyfrom})
        driver.step(step, 70'000);
    EXPECT_EQ(driver.ring.put(std::string(70'001, '.')), QVCQ_TOO_LONG);
}

TEST(Ring, RefusesNullAndNegativeAndChangesNothing) {
    Ring ring(1, 2);
    ring.put("1");
    const qvcq before = ring;
    qvcq_entry *out = nullptr;
    char byte = 0;
    int32_t below = -1, zero = 0, one = 1;
    EXPECT_EQ(qvcq_init(nullptr, 1, 2), QVCQ_ERROR);
    EXPECT_EQ(qvcq_enqueue(nullptr, &out), QVCQ_ERROR);
    EXPECT_EQ(qvcq_enqueue(&ring, nullptr), QVCQ_ERROR);
    EXPECT_EQ(qvcq_dequeue(nullptr, &out), QVCQ_ERROR);
    EXPECT_EQ(qvcq_dequeue(&ring, nullptr), QVCQ_ERROR);
    EXPECT_EQ(qvcq_peek(nullptr, &out), QVCQ_ERROR);
    EXPECT_EQ(qvcq_peek(&ring, nullptr), QVCQ_ERROR);
    EXPECT_EQ(qvcq_copyto_queue(nullptr, &byte, 1), QVCQ_ERROR);
    EXPECT_EQ(qvcq_copyto_queue(&ring, nullptr, 1), QVCQ_ERROR);
    EXPECT_EQ(qvcq_copyto_queue(&ring, &byte, -1), QVCQ_ERROR);
    EXPECT_EQ(qvcq_copyto_queue(&ring, &byte, 0), QVCQ_ERROR);
    EXPECT_EQ(qvcq_copyfrom_queue(nullptr, &byte, &one), QVCQ_ERROR);
    EXPECT_EQ(qvcq_copyfrom_queue(&ring, nullptr, &one), QVCQ_ERROR);
    EXPECT_EQ(qvcq_copyfrom_queue(&ring, &byte, nullptr), QVCQ_ERROR);
    EXPECT_EQ(qvcq_copyfrom_queue(&ring, &byte, &below), QVCQ_ERROR);
    EXPECT_EQ(qvcq_copyfrom_queue(&ring, &byte, &zero), QVCQ_ERROR);
    EXPECT_EQ(qvcq_cancel(nullptr), QVCQ_ERROR);
    EXPECT_EQ(qvcq_get_size(nullptr), QVCQ_ERROR);
    qvcq_destroy(nullptr);

    EXPECT_EQ(out, nullptr);
    EXPECT_EQ(zero, 0);
    EXPECT_EQ(below, -1);
    EXPECT_EQ(one, 1);
    EXPECT_EQ(std::memcmp(static_cast<qvcq *>(&ring), &before, sizeof before), 0);
    EXPECT_EQ(ring.take(), "1");
}

TEST(Ring, ReachesBlocksBeyondTwoToThe32Bytes) {
    const char *const preload = std::getenv("LD_PRELOAD");
    if (preload != nullptr && std::strstr(preload, "vgpreload") != nullptr)
        GTEST_SKIP() << "valgrind writes all of the memory that calloc leaves untouched";
    constexpr size_t gigabyte = size_t{1} << 30;
    Ring ring(gigabyte, 5); // of addresses, of which the test touches a page
    ring.head = ring.tail = 4;
    ASSERT_EQ(ring.put("last"), QVCQ_OK);
    EXPECT_STREQ(static_cast<const char *>(ring.storage) + 4 * gigabyte, "last");
}

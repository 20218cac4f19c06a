// The ring in C: statuses, what it refuses, that it copies each byte of a message and none besides.
// fuzz/ring.cpp runs all operations beside a model.

#include <qvds/qvcq.h>

#include <cstdlib>
#include <cstring>
#include <numeric>

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

TEST(Ring, OfOneBlockHoldsNothing) {
    Ring ring(8, 1);
    qvcq_entry *entry = nullptr;
    EXPECT_EQ(qvcq_enqueue(&ring, &entry), QVCQ_OK);
    EXPECT_EQ(entry, &ring.entries[0]);
    EXPECT_EQ(qvcq_get_size(&ring), 0);
    EXPECT_EQ(ring.take(), "empty");
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

TEST(Ring, CopiesMessagesOfEveryLengthAndNoByteBesides) {
    constexpr size_t most = 70'000;
    std::vector<size_t> lengths(200);
    std::iota(lengths.begin(), lengths.end(), 1);
    lengths.push_back(most);
    Ring ring(most, 2);
    std::string text(most + 1, '\0');
    std::iota(text.begin(), text.end(), 'a');
    for (const size_t length : lengths) {
        const std::string message = text.substr(0, length);
        const std::string_view block(static_cast<const char *>(ring.entries[ring.head].data), most);
        const std::string behind(block.substr(length));
        ASSERT_EQ(ring.put(message), QVCQ_OK);
        ASSERT_EQ(block.substr(0, length), message);
        ASSERT_EQ(block.substr(length), behind);

        std::string buffer(length + 1, '.');
        auto room = static_cast<int32_t>(buffer.size());
        ASSERT_EQ(qvcq_copyfrom_queue(&ring, buffer.data(), &room), QVCQ_OK);
        ASSERT_EQ(room, static_cast<int32_t>(length));
        ASSERT_EQ(buffer, message + ".");
    }
    EXPECT_EQ(ring.put(text), QVCQ_TOO_LONG);
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

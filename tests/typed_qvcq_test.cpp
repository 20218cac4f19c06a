// The typed ring: what it offers beyond the C functions. fuzz/ring.cpp runs both on one ring beside
// a model.

#include "fault.hpp"
#include "support.hpp"

#include <qvds/check.hpp>
#include <qvds/qvcq.hpp>

#include <cstring>
#include <iterator>
#include <stdexcept>
#include <string_view>

namespace {

static_assert(sizeof(qvds::ring) == sizeof(qvcq));
static_assert(!std::is_copy_constructible_v<qvds::ring>);
static_assert(std::is_trivially_copyable_v<qvds::ring_view>);
static_assert(std::forward_iterator<qvds::ring::const_iterator>);
static_assert(std::forward_iterator<qvds::ring_of<int>::const_iterator>);

std::span<const std::byte> bytes(std::string_view text) {
    return std::as_bytes(std::span(text));
}
std::string text(std::span<const std::byte> message) {
    return {reinterpret_cast<const char *>(message.data()), message.size()};
}

struct TypedRing : testing::Test {
    TypedRing() {
        for (const char *message : {"a", "bb", "ccc", "dddd"})
            EXPECT_TRUE(log.push(bytes(message)));
    }
    ~TypedRing() override { EXPECT_EQ(qvds::check(log), qvds::sound); }

    std::string content() const {
        std::string all;
        for (const std::span<const std::byte> message : log)
            all += text(message) + ' ';
        return all;
    }

    qvds::ring log = *qvds::ring::make(4, 3);
};

TEST_F(TypedRing, HoldsAsManyMessagesAsAskedForAndDropsTheOldest) {
    EXPECT_EQ(log.capacity(), 3U);
    EXPECT_EQ(log.block_size(), 4U);
    EXPECT_EQ(content(), "bb ccc dddd ");
}

TEST_F(TypedRing, GivesOfAMessageWhatThereIsRoomFor) {
    std::byte buffer[1];
    EXPECT_EQ(text(*log.pop(buffer)), "b");
    EXPECT_EQ(text(*log.front()), "ccc");
}

TEST_F(TypedRing, ABlockWrittenInPlaceCountsOnceCommitted) {
    {
        auto block = log.write();
        ASSERT_EQ(block.bytes().size(), 4U);
        std::memcpy(block.bytes().data(), "ee", 2);
        block.commit(2);
    }
    EXPECT_EQ(content(), "ccc dddd ee ");
    const auto give_up = [this] {
        const auto block = log.write();
        throw std::runtime_error("while it is filled");
    };
    EXPECT_THROW(give_up(), std::runtime_error);
    EXPECT_EQ(content(), "dddd ee ") << "the oldest had to make room all the same";
}

TEST_F(TypedRing, MovesAndSwapsItsMessages) {
    qvds::ring moved = std::move(log);
    EXPECT_EQ(moved.size(), 3U);
    log = *qvds::ring::make(8, 1);
    swap(log, moved);
    EXPECT_EQ(content(), "bb ccc dddd ");
    EXPECT_EQ(moved.block_size(), 8U);
}

TEST_F(TypedRing, CannotBeMadeByHalves) {
    EXPECT_FALSE(qvds::ring::make(0, 1));
    EXPECT_FALSE(qvds::ring::make(1, 0));
    EXPECT_FALSE(qvds::ring::make(size_t{1} << 31, 1));
    EXPECT_FALSE(qvds::ring::make(1, INT32_MAX));
}

TEST(TypedRingOf, KeepsTheNewestRecords) {
    struct Sample {
        double time;
        int value;
    };
    auto samples = *qvds::ring_of<Sample>::make(2);
    for (const int value : {1, 2, 3})
        samples.push({0.5 * value, value});
    std::vector<int> values;
    for (const Sample &sample : samples)
        values.push_back(sample.value);
    EXPECT_EQ(values, (std::vector{2, 3}));
    EXPECT_EQ(samples.front()->time, 1.0);
    EXPECT_EQ(samples.pop()->value, 2);
    EXPECT_TRUE(samples.cancel());
    EXPECT_FALSE(samples.pop());
    EXPECT_EQ(samples.front(), nullptr);
    EXPECT_EQ(qvds::check(samples), qvds::sound);
}

} // namespace

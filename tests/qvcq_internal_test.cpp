#include <qvds/qvcq.hpp>

#include <cstring>

#include "failing_alloc.hpp"
#include "support.hpp"

TEST(Ring, FailedInitLeavesARecordThatHoldsNothing) {
    test::for_each_failing_allocation([](const test::FailingAlloc &failing) {
        qvcq ring;
        std::memset(&ring, 0xA5, sizeof ring);
        const int status = qvcq_init(&ring, 16, 4);
        EXPECT_EQ(status, failing.failed() ? QVCQ_ERROR : QVCQ_OK);
        EXPECT_EQ(ring.storage == nullptr, failing.failed());
        EXPECT_EQ(ring.entries == nullptr, failing.failed());
        EXPECT_EQ(test::live_blocks(), failing.failed() ? 0U : 2U);
        qvcq_destroy(&ring);
        EXPECT_EQ(test::live_blocks(), 0U);
    });
}

TEST(Ring, NoneIsMadeWithoutMemory) {
    test::for_each_failing_allocation([](const test::FailingAlloc &failing) {
        const bool made = qvds::ring::make(16, 3).has_value();
        EXPECT_EQ(made, !failing.failed());
        EXPECT_EQ(test::live_blocks(), 0U);
    });
    test::for_each_failing_allocation([](const test::FailingAlloc &failing) {
        const bool made = qvds::ring_of<int>::make(3).has_value();
        EXPECT_EQ(made, !failing.failed());
        EXPECT_EQ(test::live_blocks(), 0U);
    });
}

TEST(Ring, DestroyClearsTheRecordAndMayBeRepeated) {
    qvcq ring;
    const qvcq cleared{};
    ASSERT_EQ(qvcq_init(&ring, 16, 4), QVCQ_OK);
    for (int times = 0; times != 2; ++times) {
        qvcq_destroy(&ring);
        EXPECT_EQ(test::live_blocks(), 0U);
        EXPECT_EQ(std::memcmp(&ring, &cleared, sizeof ring), 0);
    }
}

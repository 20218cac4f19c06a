#include <qvds/qvcq.h>

#include <cstring>

#include "failing_alloc.hpp"
#include "support.hpp"

TEST(Ring, HoldsNothingWhenAnAllocationFailsOrAfterDestroy) {
    size_t attempts = 0;
    const size_t live = test::live_blocks();
    test::for_each_failing_allocation([&](const test::FailingAlloc &failing) {
        qvcq ring;
        std::memset(&ring, 0xA5, sizeof ring);
        const int status = qvcq_init(&ring, 16, 4);
        EXPECT_EQ(status, failing.failed() ? -1 : 0);
        EXPECT_EQ(test::live_blocks(), live + (failing.failed() ? 0 : 2));
        EXPECT_EQ(ring.storage == nullptr, failing.failed());
        EXPECT_EQ(ring.entries == nullptr, failing.failed());
        const qvcq cleared{};
        for (int again = 0; again != 2; ++again) {
            qvcq_destroy(&ring);
            EXPECT_EQ(test::live_blocks(), live);
            EXPECT_EQ(std::memcmp(&ring, &cleared, sizeof ring), 0);
        }
        ++attempts;
    });
    EXPECT_EQ(attempts, 3U) << "storage and entries, each failing once";
}

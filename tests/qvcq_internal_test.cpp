#include <qvds/qvcq.h>

#include <cstring>

#include "failing_alloc.hpp"
#include "support.hpp"

TEST(Ring, HoldsNothingWhenAnAllocationFailsOrAfterDestroy) {
    const size_t live = test::live_blocks();
    test::for_each_failing_allocation([&](const test::FailingAlloc &failing) {
        qvcq ring;
        const qvcq cleared{};
        std::memset(&ring, 0xA5, sizeof ring);
        const int status = qvcq_init(&ring, 16, 4);
        EXPECT_EQ(status, failing.failed() ? -1 : 0);
        EXPECT_EQ(test::live_blocks(), live + (failing.failed() ? 0 : 2));
        for (int again = 0; again != 2; ++again) {
            EXPECT_TRUE(!failing.failed() || (ring.storage == nullptr && ring.entries == nullptr));
            qvcq_destroy(&ring);
            EXPECT_EQ(test::live_blocks(), live);
            EXPECT_EQ(std::memcmp(&ring, &cleared, sizeof ring), 0);
        }
    });
}

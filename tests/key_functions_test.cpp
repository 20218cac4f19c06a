#include <qvds/key_functions.h>

#include "support.hpp"

#include <sys/mman.h>

#include <array>
#include <cerrno>
#include <cmath>
#include <cstring>

namespace {

TEST(KeyFunctions, IntegersCompareSigned) {
    const std::array<int32_t, 3> ascending{INT32_MIN, -1, INT32_MAX};
    for (const int32_t &a : ascending)
        for (const int32_t &b : ascending)
            EXPECT_EQ(hash_intcmp(&a, &b), (hash_int(&a) > b) - (hash_int(&a) < b));
}

// Strings of every length that end where the readable memory ends, and long ones of extreme bytes.
TEST(KeyFunctions, AtoiSumsSignedBytesAndReadsNoFurther) {
    EXPECT_EQ(hash_atoi(nullptr), -1);
    EXPECT_EQ(hash_atoi("abc"), 197091);
    constexpr size_t room = 1 << 16;
    void *const mapped =
        mmap(nullptr, 2 * room, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    ASSERT_NE(mapped, MAP_FAILED);
    char *const end = static_cast<char *>(mapped) + room - 1;
    ASSERT_EQ(mprotect(end + 1, room, PROT_NONE), 0);
    const auto verify = [end](const char *start) {
        uint32_t sum = 0;
        for (const char *byte = start; byte != end; ++byte)
            sum += static_cast<uint32_t>(static_cast<signed char>(*byte)) + 0x1003f;
        ASSERT_EQ(hash_atoi(start), static_cast<int32_t>(sum)) << end - start << " bytes";
    };
    test::Random random(1);
    for (char *byte = end - 700; byte != end; ++byte)
        *byte = static_cast<char>(random.below(255) + 1);
    for (const char *start = end - 700; start <= end; ++start)
        verify(start);
    for (const int extreme : {0x01, 0x7f, 0x80, 0xff}) {
        std::memset(mapped, extreme, room - 1);
        for (size_t length = room - 1; length > 100; length -= length / 7)
            verify(end - length);
    }
    munmap(mapped, 2 * room);
}

TEST(KeyFunctions, MultFuncGivesTheSlotsOfModf) {
    test::Random random(2);
    for (const int32_t size : {1, 2, 127, 4093, 65536, INT32_MAX, 0, -1, -127, INT32_MIN})
        for (int i = 0; i < 2000; ++i) {
            const size_t near_the_ends = (size_t{1} << 31) - 4 + static_cast<size_t>(i);
            const auto key = static_cast<int32_t>(i < 9 ? near_the_ends : random.below(1UL << 32));
            double whole = 0;
            const auto slot = static_cast<int32_t>(size * std::modf(key * 0.6180339887, &whole));
            ASSERT_EQ(hash_mult_func(key, size, nullptr), slot < 0 || slot >= size ? -1 : slot)
                << key << " of " << size;
        }
    EXPECT_EQ(hash_mult_func(0, 1, nullptr), 0);
    EXPECT_EQ(hash_mult_func(1, 127, nullptr), 78);
    EXPECT_EQ(hash_mult_func(2, 127, nullptr), 29);
}

TEST(KeyFunctions, DoubleFuncTriesTheStatedBuckets) {
    list_link link{};
    std::vector<list_link *> buckets(8);
    const auto slot = [&](int32_t key, int32_t size) {
        errno = 0;
        const int32_t result = hash_double_func(key, size, buckets.data());
        EXPECT_EQ(errno, result < 0 ? EDOM : 0);
        return result;
    };
    EXPECT_EQ(slot(10, 7), 3);
    buckets[3] = &link;
    EXPECT_EQ(slot(10, 7), 0);
    EXPECT_EQ(slot(3, 8), 7);
    buckets[7] = &link;
    EXPECT_EQ(slot(3, 8), 3) << "only 7 and 3 are tried";
    EXPECT_EQ(slot(-16, 8), 0);
    EXPECT_EQ(slot(-17, 8), -1);
    EXPECT_EQ(slot(10, -7), -1);
    EXPECT_EQ(slot(INT32_MIN, -1), -1);
    // Every probe leads back to the last bucket, until 49999 + 50000 * 42950 exceeds INT32_MAX.
    buckets.assign(50000, &link);
    EXPECT_EQ(slot(49999, 50000), -1);
}

} // namespace

#include <qvds/key_functions.h>

#include "support.hpp"

#include <array>
#include <cerrno>
#include <cmath>

namespace {

TEST(KeyFunctions, IntegersCompareSigned) {
    const std::array<int32_t, 3> ascending{INT32_MIN, -1, INT32_MAX};
    for (const int32_t &a : ascending)
        for (const int32_t &b : ascending)
            EXPECT_EQ(hash_intcmp(&a, &b), (hash_int(&a) > b) - (hash_int(&a) < b));
}

TEST(KeyFunctions, AtoiSumsSignedBytesAndReadsNoFurther) {
    EXPECT_EQ(hash_atoi(nullptr), -1);
    EXPECT_EQ(hash_atoi("abc"), 197091);
    test::Random random(1);
    // Bytes of all values, and only of the extreme ones, whose sums are the first to overflow.
    for (const auto &[lowest, values] : {std::pair{1, 255}, {1, 1}, {127, 1}, {128, 1}, {255, 1}})
        for (size_t length = 0; length < 9000; length += 1 + length / 50) {
            std::vector<char> string(length + 1); // in a block of just this size
            uint32_t sum = 0;
            for (size_t i = 0; i < length; ++i) {
                string[i] = static_cast<char>(lowest + static_cast<int>(random.below(values)));
                sum += static_cast<uint32_t>(static_cast<signed char>(string[i])) + 0x1003f;
            }
            ASSERT_EQ(hash_atoi(string.data()), static_cast<int32_t>(sum)) << length << " bytes";
        }
}

TEST(KeyFunctions, MultFuncGivesTheSlotsOfModf) {
    test::Random random(2);
    for (const int32_t size : {1, 2, 127, 4093, 65536, INT32_MAX, 0, -1, -127, INT32_MIN})
        for (int i = 0; i < 2000; ++i) {
            const auto key = static_cast<int32_t>(random.below(1UL << 32)) >> random.below(32);
            double whole = 0;
            const auto slot = static_cast<int32_t>(size * std::modf(key * 0.6180339887, &whole));
            ASSERT_EQ(hash_mult_func(key, size, nullptr), slot < 0 || slot >= size ? -1 : slot)
                << key << " of " << size;
        }
    EXPECT_EQ(hash_mult_func(1, 127, nullptr), 78);
    EXPECT_EQ(hash_mult_func(2, 127, nullptr), 29);
}

TEST(KeyFunctions, DoubleFuncTriesTheStatedBuckets) {
    list_link link{};
    std::vector<list_link *> buckets(50000);
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
    buckets[0] = &link;
    EXPECT_EQ(slot(0, 2), 1) << "the last one tried";
    EXPECT_EQ(slot(-16, 9), -1);
    EXPECT_EQ(slot(-16, 8), 1);
    EXPECT_EQ(slot(10, -7), -1);
    EXPECT_EQ(slot(INT32_MIN, -1), -1);
    // Every probe leads back to the last bucket, until 49999 + 50000 * 42950 exceeds INT32_MAX.
    buckets.back() = &link;
    EXPECT_EQ(slot(49999, 50000), -1);
}

} // namespace

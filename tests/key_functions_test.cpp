#include <qvds/key_functions.h>

#include "support.hpp"

#include <array>
#include <cerrno>
#include <cmath>

namespace {

TEST(KeyFunctions, IntegersCompareSigned) {
    for (const int32_t a : {INT32_MIN, -1, INT32_MAX})
        for (const int32_t b : {INT32_MIN, -1, INT32_MAX})
            EXPECT_EQ(hash_intcmp(&a, &b), (hash_int(&a) > b) - (hash_int(&a) < b));
}

TEST(KeyFunctions, AtoiSumsSignedBytesAndReadsNoFurther) {
    EXPECT_EQ(hash_atoi(nullptr), -1);
    test::Random random(1);
    // Bytes of all values, and only of the extreme ones, whose sums are the first to overflow.
    for (const auto &[lowest, values] : {std::pair{1, 255U}, {127, 1U}, {128, 1U}, {255, 1U}})
        for (size_t length = 0; length < 9000; length += 1 + length / 50) {
            std::vector<char> string(length + 1); // in a block of just this size
            uint32_t sum = 0;
            for (size_t i = 0; i < length; ++i) {
                string[i] = static_cast<char>(lowest + static_cast<int>(random.below(values)));
                sum += static_cast<uint32_t>(static_cast<signed char>(string[i])) + 65599;
            }
            ASSERT_EQ(hash_atoi(string.data()), static_cast<int32_t>(sum)) << length << " bytes";
        }
}

TEST(KeyFunctions, MultFuncGivesTheSlotsOfModf) {
    test::Random random(2);
    for (const int32_t size : {1, 127, 65536, INT32_MAX, 0, -127, INT32_MIN})
        for (int i = 0; i < 2000; ++i) {
            const auto key = static_cast<int32_t>(random.below(1UL << 32)) >> random.below(32);
            double whole = 0;
            const auto slot = static_cast<int32_t>(size * std::modf(key * 0.6180339887, &whole));
            ASSERT_EQ(hash_mult_func(key, size, nullptr), slot < 0 || slot >= size ? -1 : slot);
        }
}

TEST(KeyFunctions, DoubleFuncTriesTheStatedBuckets) {
    list_link link{};
    std::vector<list_link *> buckets(50000);
    // In the last case every probe leads back, until 49999 + 50000 * 42950 exceeds INT32_MAX.
    const std::array<int32_t, 4> cases[] = {
        {49999, 10, 7, 3}, {3, 10, 7, 0},          {7, 3, 8, 3},         {0, 0, 2, 1},
        {0, -16, 9, -1},   {0, INT32_MIN, -1, -1}, {0, 49999, 50000, -1}};
    for (const auto &[filled, key, size, slot] : cases) {
        buckets[static_cast<size_t>(filled)] = &link;
        errno = 0;
        EXPECT_EQ(hash_double_func(key, size, buckets.data()), slot) << key << " of " << size;
        EXPECT_EQ(errno, slot < 0 ? EDOM : 0);
    }
}

} // namespace

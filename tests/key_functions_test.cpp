#include <qvds/key_functions.h>

#include "support.hpp"

#include <cerrno>
#include <cmath>
#include <numeric>

namespace {

TEST(KeyFunctions, IntReadsAndComparesSignedNumbers) {
    for (const int32_t a : {INT32_MIN, -1, 0, INT32_MAX}) {
        EXPECT_EQ(hash_int(&a), a);
        for (const int32_t b : {INT32_MIN, -1, 0, INT32_MAX})
            EXPECT_EQ(hash_intcmp(&a, &b), (a > b) - (a < b)) << a << " and " << b;
    }
}

TEST(KeyFunctions, AtoiAddsEachSignedByteAnd65599) {
    EXPECT_EQ(hash_atoi("abc"), 3 * 65599 + 97 + 98 + 99);
    EXPECT_EQ(hash_atoi("cba"), hash_atoi("abc"));
    EXPECT_EQ(hash_atoi("\xff"), 65598);
    EXPECT_EQ(hash_atoi(""), 0);
    EXPECT_EQ(hash_atoi(nullptr), -1);
}

// Each in a block of just its size: a sanitizer sees it if a byte beyond is read.
void expect_sum(const char *bytes, size_t length, int lowest, size_t values) {
    test::Random random(1);
    std::vector<char> string(length + 1);
    uint32_t sum = 0;
    for (size_t i = 0; i < length; ++i) {
        string[i] = static_cast<char>(lowest + static_cast<int>(random.below(values)));
        sum += static_cast<uint32_t>(static_cast<signed char>(string[i])) + 65599;
    }
    EXPECT_EQ(hash_atoi(string.data()), static_cast<int32_t>(sum)) << length << " bytes " << bytes;
}

TEST(KeyFunctions, AtoiAddsUpStringsOfEveryLength) {
    std::vector<size_t> lengths(300);
    std::iota(lengths.begin(), lengths.end(), 0);
    for (size_t length = 4070; length < 4120; ++length) // whole rounds of 256 blocks end there
        lengths.push_back(length);
    lengths.push_back(500000);
    for (const size_t length : lengths) {
        expect_sum("of all values", length, 1, 255);
        // The sums of extreme values are the first to overflow.
        expect_sum("of the largest signed value", length, 127, 1);
        expect_sum("of the smallest signed value", length, 128, 1);
        expect_sum("of the largest unsigned value", length, 255, 1);
    }
}

TEST(KeyFunctions, MultFuncSpreadsByTheGoldenRatio) {
    errno = 0;
    EXPECT_EQ(hash_mult_func(0, 127, nullptr), 0);
    EXPECT_EQ(hash_mult_func(1, 127, nullptr), 78);
    EXPECT_EQ(hash_mult_func(2, 127, nullptr), 29);
    EXPECT_EQ(hash_mult_func(-1, 127, nullptr), -1);
    EXPECT_EQ(errno, 0);
}

TEST(KeyFunctions, MultFuncGivesTheSlotsOfModf) {
    test::Random random(2);
    for (const int32_t size : {1, 127, 65536, INT32_MAX, 0, -127, INT32_MIN})
        for (int i = 0; i < 2000; ++i) {
            const auto key = static_cast<int32_t>(random.below(1UL << 32)) >> random.below(32);
            double whole = 0;
            const auto slot = static_cast<int32_t>(size * std::modf(key * 0.6180339887, &whole));
            const bool valid = slot >= 0 && slot < size;
            ASSERT_EQ(hash_mult_func(key, size, nullptr), valid ? slot : -1) << key << ", " << size;
        }
}

TEST(KeyFunctions, DoubleFuncTakesTheFirstEmptyBucketOfItsSequence) {
    list_link link{};
    struct {
        int32_t key, size;
        std::vector<int32_t> filled;
        int32_t slot;
    } const cases[] = {
        {10, 7, {}, 3},     {10, 7, {3}, 0}, // 3 + 4 * 1
        {10, 7, {3, 0}, 4}, {3, 8, {3}, 7},  // the sequence goes between 3 and 7
        {3, 8, {3, 7}, 3},  {0, 1, {}, 0},
        {5, 1, {0}, 0},     {10, 7, {3, 0, 4, 1, 5, 2}, 6}, // which the last probe finds
    };
    for (const auto &[key, size, filled, slot] : cases) {
        std::vector<list_link *> buckets(static_cast<size_t>(size));
        for (const int32_t bucket : filled)
            buckets[static_cast<size_t>(bucket)] = &link;
        errno = 0;
        EXPECT_EQ(hash_double_func(key, size, buckets.data()), slot) << key << " of " << size;
        EXPECT_EQ(errno, 0);
    }
}

TEST(KeyFunctions, DoubleFuncRefusesNegativeRemainders) {
    list_link *const empty[9]{};
    for (const auto &[key, size] : {std::pair{-16, 9}, {-1, 2}, {INT32_MIN, -1}, {5, -3}}) {
        errno = 0;
        EXPECT_EQ(hash_double_func(key, size, empty), -1) << key << " of " << size;
        EXPECT_EQ(errno, EDOM);
    }
    EXPECT_EQ(hash_double_func(-18, 9, empty), 0);
}

TEST(KeyFunctions, DoubleFuncRefusesAProbeThatWrapsAround) {
    list_link link{};
    std::vector<list_link *> buckets(65536, &link);
    // Every probe leads back to the last bucket, until 49999 + 50000 * 42950 exceeds INT32_MAX.
    errno = 0;
    EXPECT_EQ(hash_double_func(49999, 50000, buckets.data()), -1);
    EXPECT_EQ(errno, EDOM);
    // The last probe is 32767 + 32768 * 65535, which is INT32_MAX.
    errno = 0;
    EXPECT_EQ(hash_double_func(32767, 65536, buckets.data()), 32767);
    EXPECT_EQ(errno, 0);
}

} // namespace

// hash_atoi is a sum, so its bytes may be added in any order and many at a time. It finds the
// length first, and then never reads a byte that is not the string's: blocks of 16, and one or two
// words of 8, the last of which ends with the string and overlaps what came before.
//
// A signed byte b is the unsigned byte b ^ 128, less 128. Every load flips the top bits this way,
// after which all sums are unsigned and cannot borrow, and the 128s are taken off with the length.

#include <qvds/key_functions.h>

#include "keyed_hash_internal.hpp"

#include <bit>
#include <cerrno>
#include <cstring>

using namespace qvds;

namespace {

constexpr uint32_t per_byte = 65599;
constexpr uint32_t bias = 128;

uint64_t load_word(const unsigned char *bytes) {
    uint64_t word;
    std::memcpy(&word, bytes, sizeof word);
    return word ^ 0x8080808080808080;
}

// Four sums of two bytes each, in lanes of 16 bits.
uint64_t byte_pairs(uint64_t word) {
    constexpr uint64_t every_other = 0x00ff00ff00ff00ff;
    return (word & every_other) + (word >> 8 & every_other);
}

// Eight 16-bit numbers that are added, masked and shifted side by side.
using lanes [[gnu::vector_size(16)]] = uint16_t;
using wide_lanes [[gnu::vector_size(16)]] = uint32_t;

wide_lanes add_pairs(lanes numbers) {
    const auto pairs = reinterpret_cast<wide_lanes>(numbers);
    return (pairs & 0xffff) + (pairs >> 16);
}

// The sum of the bytes of count blocks. Masking out the lower bytes costs an instruction in each
// round; adding up whole lanes instead, and taking the upper bytes off at the end, gives the same
// modulo 2^16, which is exact as long as 255 * 256 bounds the sum of the lower bytes.
uint32_t sum_blocks(const unsigned char *bytes, size_t count) {
    uint32_t sum = 0;
    while (count != 0) {
        size_t round = count < 256 ? count : 256;
        count -= round;
        lanes both{};
        lanes upper{};
        for (; round != 0; --round, bytes += sizeof(lanes)) {
            lanes block;
            std::memcpy(&block, bytes, sizeof block);
            block ^= 0x8080;
            both += block;
            upper += block >> 8;
        }
        const wide_lanes sums = add_pairs(both - (upper << 8)) + add_pairs(upper);
        sum += sums[0] + sums[1] + sums[2] + sums[3];
    }
    return sum;
}

} // namespace

int32_t hash_int(const void *key) {
    return *static_cast<const int32_t *>(key);
}

int32_t hash_intcmp(const void *a, const void *b) {
    const int32_t left = *static_cast<const int32_t *>(a);
    const int32_t right = *static_cast<const int32_t *>(b);
    if (left < right)
        return -1;
    return left > right ? 1 : 0;
}

int32_t hash_atoi(const void *key) {
    if (key == nullptr)
        return -1;
    const auto *byte = static_cast<const unsigned char *>(key);
    const size_t length = std::strlen(static_cast<const char *>(key));
    const unsigned char *const end = byte + length;
    uint32_t sum = static_cast<uint32_t>(length) * (per_byte - bias);
    if (length < sizeof(uint64_t)) {
        for (; byte != end; ++byte)
            sum += *byte ^ bias;
        return static_cast<int32_t>(sum);
    }
    if (length > sizeof(lanes)) {
        const size_t blocks = (length - 1) / sizeof(lanes);
        sum += sum_blocks(byte, blocks);
        byte += blocks * sizeof(lanes);
    }
    // One or two words are left. The last ends where the string does, and what it shares with the
    // part already summed is shifted out.
    uint64_t pairs = 0;
    if (end - byte > 8) {
        pairs = byte_pairs(load_word(byte));
        byte += 8;
    }
    const auto seen = static_cast<unsigned>(8 - (end - byte)) * 8;
    const uint64_t last = load_word(end - 8);
    if constexpr (std::endian::native == std::endian::little)
        pairs += byte_pairs(last >> seen);
    else
        pairs += byte_pairs(last << seen);
    constexpr uint64_t add_all_into_the_top = 0x0001000100010001;
    return static_cast<int32_t>(sum + static_cast<uint32_t>(pairs * add_all_into_the_top >> 48));
}

int32_t hash_mult_func(int32_t key, int32_t size, list_link *const * /*buckets*/) {
    return mult_slot(key, size);
}

int32_t hash_double_func(int32_t key, int32_t size, list_link *const *buckets) {
    // A remainder by a negative size is never in range, and INT32_MIN % -1 not defined.
    const int32_t h = size > 0 ? key % size : -1;
    if (h < 0) {
        errno = EDOM;
        return -1;
    }
    if (buckets[h] == nullptr)
        return h;
    for (uint32_t i = 1; i < static_cast<uint32_t>(size); ++i) {
        const auto start = static_cast<uint32_t>(h);
        const int32_t p = static_cast<int32_t>(start + (start + 1) * i) % size;
        if (p < 0) {
            errno = EDOM;
            return -1;
        }
        if (buckets[p] == nullptr)
            return p;
    }
    return h;
}

// Data for the trials: random but the same for every contender and every run.
#pragma once

#include "harness.hpp"

#include <algorithm>
#include <array>
#include <numeric>

namespace bench {

class generator {
  public:
    explicit generator(uint64_t seed) : state(seed) {}
    uint64_t operator()() {
        uint64_t z = state += 0x9e3779b97f4a7c15;
        z = (z ^ z >> 30) * 0xbf58476d1ce4e5b9;
        z = (z ^ z >> 27) * 0x94d049bb133111eb;
        return z ^ z >> 31;
    }
    uint32_t below(size_t bound) { return static_cast<uint32_t>(((*this)() >> 32) * bound >> 32); }

  private:
    uint64_t state;
};

// 0 to n - 1 in random order.
inline std::vector<uint32_t> shuffled(size_t n, uint64_t seed) {
    std::vector<uint32_t> order(n);
    std::iota(order.begin(), order.end(), 0u);
    generator rng(seed);
    for (size_t i = n; i > 1; --i)
        std::swap(order[i - 1], order[rng.below(i)]);
    return order;
}

// Positions to look up, each at random below n. Enough of them on a small set that the way there
// from the data of the set before costs nothing to speak of.
inline std::vector<uint32_t> queries(const instance &at, uint64_t seed) {
    std::vector<uint32_t> chosen(at.n < small_limit ? 4'096 : 200'000);
    generator rng(seed + 1'000);
    for (uint32_t &position : chosen)
        position = rng.below(at.n);
    return chosen;
}

// The key with the given rank in ascending order: distinct, positive as a 32-bit signed number up to
// 16 million, and irregular enough to leave no hash function an easy life.
constexpr uint32_t key_distance = 128; // on average
inline uint32_t key_of_rank(size_t rank) {
    return static_cast<uint32_t>(rank) * key_distance +
           static_cast<uint32_t>(generator(rank)() % key_distance);
}
inline uint32_t absent_key(size_t rank) {
    return key_of_rank(rank) ^ key_distance / 2;
}

inline std::vector<uint32_t> keys_of_ranks(std::vector<uint32_t> ranks) {
    std::transform(ranks.begin(), ranks.end(), ranks.begin(), key_of_rank);
    return ranks;
}

// What the records carry beside their links.
struct payload {
    uint32_t key;
    uint32_t serial; // which it is in the order it is reached in
    char body[24];
};

// A record as an intrusive container wants it: the link first.
template <class Hook>
struct record : Hook, payload {};

// n records in one block, spaced as malloc would space them. They are reached through `in_turn`, in
// an order that has nothing to do with their addresses, as in a program that has been running for a
// while; or in address order.
template <class Record>
class pool {
    struct alignas(16) slot : Record {
        char chunk_header[8];
    };

  public:
    pool(size_t n, uint64_t seed, bool by_address = false) : records(n), in_turn(n) {
        const std::vector<uint32_t> place = shuffled(n, seed);
        for (size_t i = 0; i < n; ++i) {
            in_turn[i] = &records[by_address ? i : place[i]];
            in_turn[i]->serial = static_cast<uint32_t>(i);
        }
    }
    size_t size() const { return records.size(); }
    Record &operator[](size_t i) const { return *in_turn[i]; }
    std::vector<Record *> chosen(const std::vector<uint32_t> &positions) const {
        std::vector<Record *> found;
        for (const uint32_t i : positions)
            found.push_back(in_turn[i]);
        return found;
    }
    auto begin() const { return in_turn.begin(); }
    auto end() const { return in_turn.end(); }

  private:
    std::vector<slot> records;
    std::vector<Record *> in_turn;
};

// Records with keys whose order has nothing to do with that in which they are reached.
template <class Record>
pool<Record> keyed_pool(size_t n, uint64_t seed, bool by_address = false) {
    pool<Record> records(n, seed, by_address);
    const std::vector<uint32_t> ranks = shuffled(n, seed + 100);
    for (size_t i = 0; i < n; ++i)
        records[i].key = key_of_rank(ranks[i]);
    return records;
}

// One of something for each data set, made from its number.
template <class Make>
auto per_set(const instance &at, Make make) {
    std::vector<decltype(make(uint64_t{}))> made;
    made.reserve(at.sets);
    for (uint64_t set = 0; set < at.sets; ++set)
        made.push_back(make(set));
    return made;
}

inline int32_t three_way(uint32_t a, uint32_t b) {
    return (a > b) - (a < b);
}

} // namespace bench

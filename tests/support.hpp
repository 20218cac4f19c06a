// What the tests of all families share: seeds and random choices.

#ifndef QVDS_TESTS_SUPPORT_HPP
#define QVDS_TESTS_SUPPORT_HPP

#include <gtest/gtest.h>

#include <cstdint>
#include <random>
#include <string>
#include <vector>

namespace test {

// Random sequences run from these seeds: the fixed ones keep what once failed, the last is fresh on
// every run and named in the failure message, to be kept here if it finds something.
// QVDS_TEST_SEED=n in the environment adds one.
std::vector<uint32_t> seeds();

// A source of choices for one sequence.
class Random {
  public:
    explicit Random(uint32_t seed) : engine_(seed) {}
    // A number from 0 to n - 1.
    size_t below(size_t n) { return std::uniform_int_distribution<size_t>(0, n - 1)(engine_); }
    bool one_in(size_t n) { return below(n) == 0; }

  private:
    std::mt19937 engine_;
};

// Runs body(random) once for each seed, and names the seed of a failure.
template <class Body>
void for_each_seed(Body body) {
    for (const uint32_t seed : seeds()) {
        SCOPED_TRACE("seed " + std::to_string(seed));
        Random random(seed);
        body(random);
        if (testing::Test::HasFatalFailure())
            return;
    }
}

// Calls body with every sequence of `length` numbers below `choices`, in order.
template <class Body>
void for_each_sequence(size_t length, size_t choices, Body body) {
    std::vector<size_t> sequence(length, 0);
    for (size_t place = 0; place < length;) {
        body(sequence);
        for (place = 0; place < length && ++sequence[place] == choices; ++place)
            sequence[place] = 0;
    }
}

} // namespace test

#endif

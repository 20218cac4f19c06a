// What the fuzz targets share: an input, read as a program of steps, and what must hold after each.
//
// A target makes a container and the plainest model of it, takes steps until the program has ended,
// and after each step compares the two and checks the numbered invariants. Most steps can be done
// through either face of the library; the program says through which.

#ifndef QVDS_FUZZ_PROGRAM_HPP
#define QVDS_FUZZ_PROGRAM_HPP

#include <qvds/core/check.hpp>

#include <cstddef>
#include <cstdint>
#include <iterator>
#include <stdexcept>
#include <string>

namespace fuzz {

// An input as a row of choices, a byte or two each. Behind its end all choices are 0.
class program {
  public:
    program(const uint8_t *data, size_t size) : at_(data), end_(data + size) {}

    bool has_ended() const { return at_ == end_; }

    // A number below n, which is at least 1.
    size_t below(size_t n) {
        const size_t low = byte();
        return (n > 256 ? low << 8 | byte() : low) % n;
    }
    bool one_of_two() { return below(2) != 0; }
    bool one_in(size_t n) { return below(n) == n - 1; }

    // One of the enumerators before `count`.
    template <class Enum>
    Enum one_of() {
        return static_cast<Enum>(below(static_cast<size_t>(Enum::count)));
    }

    // An element of a container with random access that is not empty.
    template <class Container>
    auto &one_from(Container &all) {
        return all[below(std::size(all))];
    }

  private:
    uint8_t byte() { return at_ != end_ ? *at_++ : uint8_t{0}; }

    const uint8_t *at_, *end_;
};

// Ends the run with an exception, which a test reports and of which the fuzzer keeps the input, unless
// the condition holds.
inline void require(bool holds, int line = __builtin_LINE(), const char *file = __builtin_FILE()) {
    if (!holds)
        throw std::logic_error(file + (':' + std::to_string(line)) +
                               ": what is required here does not hold");
}

inline void require_sound(const qvds::fault &found, int line = __builtin_LINE(),
                          const char *file = __builtin_FILE()) {
    if (found)
        throw std::logic_error(file + (':' + std::to_string(line)) + ": I" +
                               std::to_string(found.invariant) + " is broken: " + found.text);
}

// Requires that a range holds the elements whose addresses another one holds, in the same order.
template <class Iterator, class Sentinel, class Addresses>
void require_same(Iterator at, Sentinel end, const Addresses &expected, int line = __builtin_LINE(),
                  const char *file = __builtin_FILE()) {
    for (const auto *elem : expected) {
        require(at != end && &*at == elem, line, file);
        ++at;
    }
    require(at == end, line, file);
}

// Takes the steps of a program with a driver of its own, and compares with the model after each.
template <class Driver>
void run(program &steps) {
    for (Driver driver(steps); !steps.has_ended(); driver.expect_as_modelled())
        driver.take_step();
}

} // namespace fuzz

// What the fuzzer, or a test in programs_test.cpp, calls with each input. Returns 0.
extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size);

#endif

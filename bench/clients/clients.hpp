// Programs as users write them, each several times over: with the C functions of the library, with
// its typed classes, with GLib and with the C++ library. All versions of one get the same load and
// must come to the same sum.
#pragma once

#include "../data.hpp"

#include <ctime>
#include <functional>
#include <string>
#include <vector>

namespace clients {

using bench::generator;

struct outcome {
    double seconds;
    uint64_t sum;
};

struct version {
    std::string name;
    std::function<outcome()> run;
};

struct client {
    std::string name, size;
    size_t operations; // in one run
    std::vector<version> versions;
};

// Of the processor, not of the clock on the wall.
inline double processor_seconds() {
    timespec now{};
    clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &now);
    return static_cast<double>(now.tv_sec) + 1e-9 * static_cast<double>(now.tv_nsec);
}

// Program(load) sets up and its destructor tears down, both untimed; run() is timed.
template <class Program, class Load>
version version_of(const char *name, const Load &load) {
    return {name, [&load] {
                Program program(load);
                const double start = processor_seconds();
                const uint64_t sum = program.run();
                return outcome{processor_seconds() - start, sum};
            }};
}

// Draws 0 to n - 1 with frequencies that fall as 1 / rank^skew, by the method of Gray and others
// (Quickly generating billion-record synthetic databases, 1994).
class zipf {
  public:
    zipf(size_t n, double skew);
    size_t operator()(generator &random) const;

  private:
    double n_, zeta_, alpha_, eta_, second_;
};

// The clients, each at its sizes; small for a quick look. Loads live as long as the program.
void add_timers(std::vector<client> &to, bool small);
void add_lru(std::vector<client> &to, bool small);
void add_words(std::vector<client> &to, bool small);

} // namespace clients

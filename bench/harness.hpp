// The harness. A row is one operation; an instance of it is the row at one size. For each instance
// the contenders are set up on identical data and then take turns, round by round, so that whatever
// slows the machine down slows them all. What counts is the ratio of our time to theirs within a
// round; the median over the rounds is the figure.
//
// What a contender does in a row is a *trial*, a class with
//   explicit Trial(const instance &)         sets up all data sets, untimed
//   size_t ops                               operations in one call of work
//   uint64_t work(size_t set)                the timed part, on one data set; returns a checksum
//   void prepare(size_t set)                 optional, untimed, before each work
//   uint64_t check(size_t set)               optional, untimed, behind it; added to the checksum
// Work that takes a few cycles an operation is instead `template <int shift> uint64_t work(size_t)`
// and begins with pad<shift>(): it is compiled at several alignments, and their mean is taken.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <valgrind/callgrind.h>
#include <vector>

namespace bench {

// Called: behind a library's exports, with callbacks. Inlined: compiled into the caller. Packed:
// inlined, too, but keys or pointers lie in arrays, which nothing may point into for long. Limit: a
// hand-written loop that does the memory work of the operation and nothing else. Of our own two
// faces the C functions (ours) stand beside what is called, and the typed classes (typed) beside
// all the rest; where a row has only one of them, that stands for both.
enum class side { ours, typed, called, inlined, packed, limit };

// The ratio to reach against the best of each class; 0 where none is set.
struct goal {
    double called = 0;
    double inlined = 0;
};

struct instance {
    std::string label; // S, M, L, or what the row varies instead
    size_t n;          // elements in a data set
    goal to_reach;
    size_t sets = 1; // data sets that work cycles through
};

// Caches hold the small size, the last-level cache the middle one, memory the large one.
inline std::vector<instance> sizes(goal s, goal m, goal l) {
    return {{"S", 1'000, s}, {"M", 100'000, m}, {"L", 2'000'000, l}};
}
inline std::vector<instance> sizes(goal each = {}) {
    return sizes(each, each, each);
}

// The caches alone, where a larger size tells no more than another row does.
inline std::vector<instance> cached_sizes(goal each = {}) {
    return {{"S", 1'000, each}, {"M", 100'000, each}};
}

constexpr size_t small_limit = 32'768;     // below: small, in the caches of a core
constexpr size_t middle_limit = 1'000'000; // below: middle, in the last-level cache

// Does the work for so many times untimed and once timed. Returns nanoseconds per operation.
using turn = std::function<double(size_t warm_ups, uint64_t &checksum)>;

struct contender {
    std::string name;
    side on;
    std::function<turn()> set_up; // what it has set up goes with the turn
};

struct row {
    std::string name;
    std::vector<instance> instances;
    std::vector<contender> (*enter)(const instance &);
    // Beside these, and over sizes from tiny to huge, it is shown how the cost grows.
    std::vector<std::string_view> rivals = {};
};

// Adds rows to the benchmark: define one of these per source.
struct rows {
    rows(std::initializer_list<row> added);
    static std::vector<row> &all();
};

double now_ns();
extern const double clock_cost; // of one reading, in ns

// Folds one more value into a checksum that depends on the order.
inline void fold(uint64_t &sum, uint64_t value) {
    sum = (sum << 1 | sum >> 63) + value;
}

template <int bytes>
inline void pad() {
    if constexpr (bytes != 0)
        asm volatile(".skip %c0, 0x90" : : "i"(bytes));
}

namespace detail {

struct tally {
    double ns = 0;
    size_t ops = 0;
    uint64_t checksum = 0;
};

template <class Trial, class Work>
void run_set(Trial &trial, size_t set, Work work, tally &t) {
    if constexpr (requires { trial.prepare(set); })
        trial.prepare(set);
    const double start = now_ns();
    CALLGRIND_TOGGLE_COLLECT;
    const uint64_t sum = work(trial, set);
    CALLGRIND_TOGGLE_COLLECT;
    t.ns += now_ns() - start - clock_cost;
    t.ops += trial.ops;
    fold(t.checksum, sum);
    if constexpr (requires { trial.check(set); })
        fold(t.checksum, trial.check(set));
}

// Does the work of one turn at several alignments if the trial asks for it. Beyond the caches the
// memory drowns the difference.
template <class Trial>
tally run_sets(Trial &trial, const instance &at) {
    tally sum;
    const auto run = [&](auto work) {
        for (size_t set = 0; set < at.sets; ++set)
            run_set(trial, set, work, sum);
    };
    if constexpr (requires { trial.template work<0>(size_t{}); }) {
        run([](Trial &t, size_t set) { return t.template work<0>(set); });
        if (at.n < middle_limit) {
            run([](Trial &t, size_t set) { return t.template work<16>(set); });
            run([](Trial &t, size_t set) { return t.template work<32>(set); });
            run([](Trial &t, size_t set) { return t.template work<48>(set); });
        }
    } else {
        run([](Trial &t, size_t set) { return t.work(set); });
    }
    return sum;
}

// Under callgrind, writes out what has been counted since the last time.
void dump_counts(const char *name, size_t ops);

template <class Trial>
double run_turn(Trial &trial, const instance &at, size_t warm_ups, uint64_t &checksum,
                const char *name) {
    for (; warm_ups > 0; --warm_ups)
        fold(checksum, run_sets(trial, at).checksum);
    const tally timed = run_sets(trial, at);
    fold(checksum, timed.checksum);
    dump_counts(name, timed.ops);
    return timed.ns / static_cast<double>(timed.ops);
}

} // namespace detail

// What a contender derives from, as in `struct gqueue : called<"GQueue">`.
template <size_t length>
struct literal {
    char text[length];
    consteval literal(const char (&from)[length]) { std::copy_n(from, length, text); }
};
template <literal text, side where>
struct contestant {
    static constexpr const char *name = text.text;
    static constexpr side on = where;

    contestant() = default;
    contestant(const contestant &) = delete;
    contestant &operator=(const contestant &) = delete;
};
template <literal text>
using ours = contestant<text, side::ours>;
template <literal text>
using typed = contestant<text, side::typed>;
template <literal text>
using called = contestant<text, side::called>;
template <literal text>
using inlined = contestant<text, side::inlined>;
template <literal text>
using packed = contestant<text, side::packed>;
template <literal text>
using limit = contestant<text, side::limit>;

// Trial<Contender> for each contender.
template <template <class> class Trial, class... Contender>
std::vector<contender> enter(const instance &at) {
    std::vector<contender> entered;
    const auto add = [&]<class C>(std::type_identity<C>) {
        entered.push_back({C::name, C::on, [at]() -> turn {
                               auto trial = std::make_shared<Trial<C>>(at);
                               return [trial, at](size_t warm_ups, uint64_t &checksum) {
                                   return detail::run_turn(*trial, at, warm_ups, checksum, C::name);
                               };
                           }});
    };
    (add(std::type_identity<Contender>{}), ...);
    return entered;
}

// One contender's figures in one instance.
struct figure {
    std::string name;
    side on;
    double ns;                 // median over the rounds, per operation
    double ratio, quartile[2]; // the time of our face of the same class to theirs; or 0
};

struct outcome {
    std::string row;
    instance at;
    size_t rounds;
    std::vector<figure> figures;

    const figure *best(side on) const; // the fastest of a class, or null
};

// Which of the contenders on these sides is our face that stands beside that class.
size_t face_beside(side on, const std::vector<side> &sides);

// Operations this short shift with the alignment of the code around them: read their ratios with a
// tenth of tolerance.
constexpr double brief_ns = 3;
constexpr double brief_margin = 1.1;

void print_heading(bool goals);
void print_line(const outcome &result, bool goals);
void print_growth(const outcome &result);
bool write_results(const std::string &path, const std::string &command,
                   const std::vector<outcome> &results);

} // namespace bench

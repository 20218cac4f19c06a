#include "harness.hpp"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <regex>
#include <sys/prctl.h>
#include <time.h>
#include <unistd.h>

namespace bench {

rows::rows(std::initializer_list<row> added) {
    all().insert(all().end(), added);
}

std::vector<row> &rows::all() {
    static std::vector<row> registered;
    return registered;
}

static std::string contest_under_way; // row and size

void detail::dump_counts(const char *name, size_t ops) {
    if (RUNNING_ON_VALGRIND == 0)
        return;
    const std::string what = contest_under_way + '|' + name + '|' + std::to_string(ops);
    CALLGRIND_DUMP_STATS_AT(what.c_str());
}

namespace {

double quantile(std::vector<double> &values, double q) {
    const auto at =
        values.begin() + static_cast<ptrdiff_t>(q * static_cast<double>(values.size() - 1) + 0.5);
    std::nth_element(values.begin(), at, values.end());
    return *at;
}

bool is_ours(side on) {
    return on == side::ours || on == side::typed;
}

} // namespace

// The time this thread has run: what else goes on on the machine takes turns with it, too.
double now_ns() {
    timespec t;
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &t);
    return static_cast<double>(t.tv_sec) * 1e9 + static_cast<double>(t.tv_nsec);
}

const double clock_cost = [] {
    std::vector<double> readings(1'001);
    for (double &reading : readings) {
        const double start = now_ns();
        reading = now_ns() - start;
    }
    return quantile(readings, 0.5);
}();

const figure *outcome::best(side on) const {
    const figure *found = nullptr;
    for (const figure &f : figures)
        if (f.on == on && (found == nullptr || f.ns < found->ns))
            found = &f;
    return found;
}

size_t face_beside(side on, const std::vector<side> &sides) {
    const side wanted = on == side::called || on == side::ours ? side::ours : side::typed;
    auto face = std::find(sides.begin(), sides.end(), wanted);
    if (face == sides.end())
        face = std::find_if(sides.begin(), sides.end(), is_ours);
    return static_cast<size_t>(face - sides.begin());
}

namespace {

constexpr size_t growth_rounds = 3;
constexpr size_t least_rounds_in_memory = 3; // where a round takes seconds, and varies little

struct options {
    bool smoke = false;
    bool quick = false;
    bool list = false;
    bool goals = false;
    bool growth = false;
    bool count = false;
    double seconds = 4; // to spend on the rounds of one instance
    size_t least_rounds = 5;
    double warm_ms = 150; // to spend on the warm-up of one turn, on data for the last-level cache
    size_t large = 0;     // replaces the large size
    std::string out = "results.csv";
    std::string filter;
};

[[noreturn]] void usage(const char *program, int status) {
    std::fprintf(
        status == 0 ? stdout : stderr,
        "usage: %s [OPTION]... [FILTER]\n"
        "  FILTER         rows to run: a regular expression found in \"ROW SIZE\", as in\n"
        "                 'aa/', 'hash/hit M'\n"
        "  --quick        sizes S and M, few rounds: about a minute\n"
        "  --smoke        every row once, tiny: checks that contenders agree\n"
        "  --large N      elements at size L (default 2000000)\n"
        "  --seconds N    time for the rounds of one row at one size (default 4)\n"
        "  --goals        shows the ratios to be reached, and marks with ! what misses them\n"
        "  --growth       also runs the main rows on 100 to 10 million elements (5 times\n"
        "                 what --large says), beside two others\n"
        "  --count        counts instructions, and branches that a simple predictor gets wrong,\n"
        "                 instead of taking times: sizes S and M, by way of ./dev\n"
        "  --out FILE     where every figure goes (default results.csv)\n"
        "  --docs PAGE    --growth, and what ./dev makes of it goes into PAGE (Markdown),\n"
        "                 between its marks, with the plots beside it\n"
        "  --list         names the rows\n",
        program);
    std::exit(status);
}

options parse(int argc, char **argv) {
    options o;
    const auto value = [&](int &i) {
        if (i + 1 == argc)
            usage(argv[0], 2);
        return argv[++i];
    };
    for (int i = 1; i < argc; ++i) {
        const std::string_view arg = argv[i];
        if (arg == "--help")
            usage(argv[0], 0);
        else if (arg == "--quick") {
            o.quick = true;
            o.seconds = 0.3;
            o.least_rounds = 3;
            o.warm_ms = 20;
        } else if (arg == "--smoke")
            o.smoke = true;
        else if (arg == "--list")
            o.list = true;
        else if (arg == "--large")
            o.large = std::strtoul(value(i), nullptr, 10);
        else if (arg == "--seconds")
            o.seconds = std::strtod(value(i), nullptr);
        else if (arg == "--out")
            o.out = value(i);
        else if (arg == "--goals")
            o.goals = true;
        else if (arg == "--growth")
            o.growth = true;
        else if (arg == "--count")
            o.count = o.quick = true;
        else if (arg == "--docs") {
            value(i);
            o.growth = true;
        } else if (arg.starts_with("-") || !o.filter.empty())
            usage(argv[0], 2);
        else
            o.filter = arg;
    }
    return o;
}

// Small sizes get many data sets: run over a single one again and again, and the branch predictor
// knows it by heart. Together they are no larger than the small size.
size_t sets_for(size_t n) {
    return std::clamp<size_t>(32'000 / n, 1, 32);
}

void progress(const std::string &text) {
    if (isatty(STDERR_FILENO))
        std::fprintf(stderr, "\r\033[K%s", text.c_str());
}

// Ends the run unless all that contenders have computed is the same.
void demand_agreement(const std::string &title, const std::vector<contender> &contenders,
                      const std::vector<uint64_t> &checksums) {
    for (size_t i = 1; i < checksums.size(); ++i)
        if (checksums[i] != checksums[0]) {
            std::fprintf(stderr, "\n%s: contenders disagree: %s has %016llx, %s has %016llx\n",
                         title.c_str(), contenders[0].name.c_str(),
                         static_cast<unsigned long long>(checksums[0]), contenders[i].name.c_str(),
                         static_cast<unsigned long long>(checksums[i]));
            std::exit(1);
        }
}

outcome contest(const row &r, const instance &at, const options &o, const std::string &title) {
    contest_under_way = r.name + " " + at.label;
    progress(title + ": setting up");
    const std::vector<contender> contenders = r.enter(at);
    std::vector<turn> turns;
    for (const contender &c : contenders)
        turns.push_back(c.set_up());
    std::vector<std::vector<double>> ns(contenders.size()); // by contender, by round

    // One turn for everybody, beginning with another one each time.
    const auto play = [&](size_t round, size_t warm_ups) {
        std::vector<uint64_t> checksums(contenders.size());
        for (size_t turn = 0; turn < contenders.size(); ++turn) {
            const size_t i = (round + turn) % contenders.size();
            ns[i].push_back(turns[i](warm_ups, checksums[i]));
        }
        demand_agreement(title, contenders, checksums);
    };

    // The first round warms up, and tells how many more there is time for. What fits the last-level
    // cache has left it while the others had their turns, and comes back only after several passes:
    // such caches are slow to believe that data is wanted again.
    const double start = now_ns();
    play(0, 0);
    if (o.count)
        return {r.name, at, 0, {}};
    const double bare_cost = now_ns() - start;
    for (std::vector<double> &each : ns)
        each.clear();
    size_t warm_ups = 0;
    if (!o.smoke && at.n >= small_limit && at.n < middle_limit)
        warm_ups = std::clamp(static_cast<size_t>(o.warm_ms * 1e6 / bare_cost *
                                                  static_cast<double>(contenders.size())),
                              size_t{1}, size_t{20});
    const double cost = bare_cost * static_cast<double>(warm_ups + 1);
    const size_t rounds =
        o.smoke ? 1
                : std::clamp(static_cast<size_t>(o.seconds * 1e9 / cost),
                             at.n < middle_limit ? o.least_rounds : least_rounds_in_memory,
                             size_t{101}) |
                      1;
    for (size_t round = 1; round <= rounds; ++round) {
        progress(title + ": round " + std::to_string(round) + " of " + std::to_string(rounds));
        play(round, warm_ups);
    }
    progress("");

    outcome result{r.name, at, rounds, {}};
    std::vector<side> sides;
    for (const contender &c : contenders)
        sides.push_back(c.on);
    for (size_t i = 0; i < contenders.size(); ++i) {
        const std::vector<double> &our_ns = ns[face_beside(sides[i], sides)];
        std::vector<double> ratios(rounds);
        for (size_t round = 0; round < rounds; ++round)
            ratios[round] = our_ns[round] / ns[i][round];
        result.figures.push_back({contenders[i].name,
                                  contenders[i].on,
                                  0,
                                  quantile(ratios, 0.5),
                                  {quantile(ratios, 0.25), quantile(ratios, 0.75)}});
    }
    for (size_t i = 0; i < contenders.size(); ++i)
        result.figures[i].ns = quantile(ns[i], 0.5);
    return result;
}

// One contender after the other, since the largest data sets would not all find room: there are
// times, and no ratios.
outcome growth(const row &r, const instance &at, const std::string &title) {
    std::vector<contender> contenders = r.enter(at);
    std::erase_if(contenders, [&](const contender &c) {
        return !is_ours(c.on) &&
               std::find(r.rivals.begin(), r.rivals.end(), c.name) == r.rivals.end();
    });
    outcome result{r.name, at, growth_rounds, {}};
    std::vector<uint64_t> checksums(contenders.size());
    for (size_t i = 0; i < contenders.size(); ++i) {
        progress(title + ": " + contenders[i].name);
        const turn take_turn = contenders[i].set_up();
        std::vector<double> ns(growth_rounds);
        take_turn(0, checksums[i]);
        for (double &each : ns)
            each = take_turn(0, checksums[i]);
        result.figures.push_back({contenders[i].name, contenders[i].on, quantile(ns, 0.5), 0, {}});
    }
    progress("");
    demand_agreement(title, contenders, checksums);
    return result;
}

// What is to run, each row at the sizes that the options leave.
std::vector<std::pair<const row *, instance>> select(const options &o) {
    const std::regex filter(o.filter);
    std::vector<std::pair<const row *, instance>> selected;
    for (const row &r : rows::all())
        for (instance at : r.instances) {
            if (!std::regex_search(r.name + " " + at.label, filter))
                continue;
            if (at.label == "L") {
                if (o.quick)
                    continue;
                if (o.large != 0)
                    at.n = o.large;
            }
            if (o.smoke)
                at.n = std::min<size_t>(at.n, at.label == "L" ? 1'500 : at.label == "M" ? 300 : 40);
            at.sets = o.smoke ? 2 : sets_for(at.n);
            selected.emplace_back(&r, at);
        }
    const size_t largest = o.quick ? 100'000 : 5 * (o.large != 0 ? o.large : 2'000'000);
    if (o.growth)
        for (const row &r : rows::all())
            for (size_t n = 100; n <= largest && !r.rivals.empty(); n *= 10)
                if (std::regex_search(r.name + " growth", filter))
                    selected.emplace_back(&r, instance{"growth", n, {}, sets_for(n)});
    return selected;
}

} // namespace
} // namespace bench

int main(int argc, char **argv) try {
    using namespace bench;
    const options o = parse(argc, argv);
    const auto selected = select(o);
    if (o.list) {
        for (const auto &[r, at] : selected)
            std::printf("%s %s\n", r->name.c_str(), at.label.c_str());
        return 0;
    }
    if (selected.empty()) {
        std::fprintf(stderr, "no row matches '%s'; --list names them\n", o.filter.c_str());
        return 2;
    }
    // Whether an allocation gets huge pages depends on where it happens to lie; without them all
    // contenders' data pay the same for address translation.
    prctl(PR_SET_THP_DISABLE, 1, 0, 0, 0);
    std::vector<outcome> results;
    const bool timed = !o.smoke && !o.count;
    if (timed)
        print_heading(o.goals);
    for (const auto &[r, at] : selected) {
        const std::string title = "[" + std::to_string(results.size() + 1) + "/" +
                                  std::to_string(selected.size()) + "] " + r->name + " " + at.label;
        if (at.label == "growth") {
            results.push_back(growth(*r, at, title));
            print_growth(results.back());
            continue;
        }
        results.push_back(contest(*r, at, o, title));
        if (timed)
            print_line(results.back(), o.goals);
    }
    if (o.count)
        return 0;
    if (o.smoke) {
        std::printf("%zu rows, all contenders agree\n", results.size());
        return 0;
    }
    std::string command = "./dev bench";
    for (int i = 1; i < argc; ++i)
        if (argv[i] == std::string_view("--out"))
            ++i; // which ./dev bench adds
        else
            command += std::string(" ") + argv[i];
    if (!write_results(o.out, command, results)) {
        std::fprintf(stderr, "%s: cannot be written\n", o.out.c_str());
        return 1;
    }
    return 0;
} catch (const std::regex_error &) {
    std::fprintf(stderr, "the filter is not a regular expression\n");
    return 2;
}

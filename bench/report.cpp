// What comes out: a table line by line as the run goes on, then a CSV with everything, of which
// report.py makes tables and plots.
#include "harness.hpp"

#include <algorithm>
#include <cstdio>
#include <fstream>
#include <unistd.h>

namespace bench {
namespace {

std::string format(const char *pattern, auto... values) {
    char text[400];
    std::snprintf(text, sizeof text, pattern, values...);
    return text;
}

const char *name_of(side on) {
    switch (on) {
    case side::ours:
        return "ours";
    case side::typed:
        return "typed";
    case side::called:
        return "called";
    case side::inlined:
        return "inlined";
    case side::packed:
        return "packed";
    case side::limit:
        return "limit";
    }
    return "";
}

double goal_of(const outcome &result, side on) {
    return on == side::called    ? result.at.to_reach.called
           : on == side::inlined ? result.at.to_reach.inlined
                                 : 0;
}

// Our face that stands beside a class.
const figure &face(const outcome &result, side on) {
    std::vector<side> sides;
    for (const figure &f : result.figures)
        sides.push_back(f.on);
    return result.figures[face_beside(on, sides)];
}

bool brief(const outcome &result, const figure &f) {
    return std::min(face(result, f.on).ns, f.ns) < brief_ns;
}

bool missed(const outcome &result, const figure &f) {
    const double goal = goal_of(result, f.on);
    return goal != 0 && f.ratio > goal * (brief(result, f) ? brief_margin : 1);
}

// The fastest of a class, its time, and the ratio; with goals, the goal, and a mark if it is missed.
std::string verdict(const outcome &result, side on, bool goals) {
    const figure *const f = result.best(on);
    if (f == nullptr)
        return format("%37s", "");
    std::string ratio = format("%.2f%s", f->ratio, brief(result, *f) ? "~" : "");
    if (const double goal = goal_of(result, on); goals && goal != 0)
        ratio += format("%s (%.3g)", missed(result, *f) ? "!" : "", goal);
    return format("%-22.22s%7.2f %s", f->name.c_str(), f->ns, ratio.c_str());
}

std::string machine() {
    std::ifstream info("/proc/cpuinfo");
    std::string line, model = "unknown processor";
    while (std::getline(info, line))
        if (line.starts_with("model name"))
            model = line.substr(line.find(':') + 2);
    const auto kib = [](int name) { return sysconf(name) / 1'024; };
    return format("%s, %ld processors; caches %ld KiB, %ld KiB, %ld MiB; compiler %s",
                  model.c_str(), sysconf(_SC_NPROCESSORS_ONLN), kib(_SC_LEVEL1_DCACHE_SIZE),
                  kib(_SC_LEVEL2_CACHE_SIZE), kib(_SC_LEVEL3_CACHE_SIZE) / 1'024, __VERSION__);
}

} // namespace

void print_heading(bool goals) {
    std::printf("# %s\nratio: our time to theirs; ~ a brief operation, read with a tenth of "
                "tolerance%s\n\n%-22s %4s %8s  %-45s%8s  %-45s%-45s%s\n",
                machine().c_str(), goals ? "; (goal), ! missed" : "", "operation", "size", "C ns",
                "best called: ns, ratio", "typed ns", "best inlined: ns, ratio",
                "best packed: ns, ratio", "by hand");
}

void print_line(const outcome &result, bool goals) {
    std::string line = format("%-22s %4s", result.row.c_str(), result.at.label.c_str());
    const auto add_own = [&](side on) {
        const figure *const own = result.best(on);
        line += own != nullptr ? format(" %8.2f", own->ns) : format("%9s", "");
    };
    const auto add_others = [&](side on) {
        line += format("  %-43s", verdict(result, on, goals).c_str());
    };
    add_own(side::ours);
    add_others(side::called);
    add_own(side::typed);
    add_others(side::inlined);
    add_others(side::packed);
    if (const figure *const f = result.best(side::limit))
        line += format(" %.2f", f->ratio);
    std::printf("%s\n", line.substr(0, line.find_last_not_of(' ') + 1).c_str());
    std::fflush(stdout);
}

void print_growth(const outcome &result) {
    std::printf("%-22s %9zu", result.row.c_str(), result.at.n);
    for (const figure &f : result.figures)
        std::printf("  %s %.2f", f.name.c_str(), f.ns);
    std::printf("\n");
    std::fflush(stdout);
}

bool write_results(const std::string &path, const std::string &command,
                   const std::vector<outcome> &results) {
    std::ofstream csv(path);
    csv << "# " << machine() << "\n# " << command
        << "\nrow,size,n,rounds,class,contender,ns,ratio,ratio_q1,ratio_q3,goal\n";
    for (const outcome &r : results)
        for (const figure &f : r.figures) {
            csv << r.row << ',' << r.at.label << ',' << r.at.n << ',' << r.rounds << ','
                << name_of(f.on) << ",\"" << f.name << '"' << format(",%.3f,", f.ns);
            if (f.ratio != 0)
                csv << format("%.4f,%.4f,%.4f,", f.ratio, f.quartile[0], f.quartile[1]);
            else
                csv << ",,,";
            if (const double goal = goal_of(r, f.on); goal != 0 && &f == r.best(f.on))
                csv << goal;
            csv << '\n';
        }
    return static_cast<bool>(csv.flush());
}

} // namespace bench

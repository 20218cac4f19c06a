// What comes out: a table line by line as the run goes on, then a CSV with everything, a plot, and
// plot and table as a section of a Markdown page.
#include "harness.hpp"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <fstream>
#include <sstream>
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
    case side::limit:
        return "limit";
    }
    return "";
}

double goal_of(const outcome &result, side on) {
    return on == side::called ? result.at.to_reach.called : result.at.to_reach.inlined;
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

// Ratio and goal, marked: ~ for a brief operation, ! for a goal missed.
std::string verdict(const outcome &result, const figure &f) {
    const double goal = goal_of(result, f.on);
    return format("%.2f%s%s", f.ratio, brief(result, f) ? "~" : "", missed(result, f) ? "!" : "") +
           (goal != 0 ? format(" (%.3g)", goal) : "");
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

// --- The plot: a line for each row, a dot for each size, the goal as a tick; in one panel against
// the best that is called, in the other against the best that is inlined.

constexpr double row_height = 24, label_width = 190, panel_width = 420, gap = 30, top = 70;
constexpr double least = 1.0 / 64, most = 8; // of the logarithmic axis

double position(double ratio) {
    const double clamped = std::clamp(ratio, least, most);
    return panel_width * std::log(clamped / least) / std::log(most / least);
}

void draw_axis(std::ostream &svg, double left, double bottom, const char *title) {
    svg << format("<text x='%g' y='24' font-size='14' font-weight='bold'>%s</text>\n", left, title);
    svg << format("<rect x='%g' y='%g' width='%g' height='%g' fill='#f2f7f2'/>\n", left, top,
                  position(1), bottom - top);
    for (int power = -6; power <= 3; ++power) {
        const double x = left + position(std::ldexp(1, power));
        const std::string label =
            power < 0 ? format("1/%d", 1 << -power) : format("%d", 1 << power);
        svg << format("<line x1='%g' x2='%g' y1='%g' y2='%g' stroke='%s'/>\n", x, x, top, bottom,
                      power == 0 ? "#444" : "#ddd")
            << format("<text x='%g' y='%g' text-anchor='middle' fill='#555'>%s</text>\n", x,
                      top - 8, label.c_str());
    }
}

void draw_dot(std::ostream &svg, double left, double y, const outcome &result, side on) {
    const figure *const f = result.best(on);
    if (f == nullptr)
        return;
    const char *const shade = result.at.n < small_limit    ? "#74b3d8"
                              : result.at.n < middle_limit ? "#2f7fbf"
                                                           : "#0b3c6f";
    if (const double goal = goal_of(result, on); goal != 0)
        svg << format("<line x1='%g' x2='%g' y1='%g' y2='%g' stroke='#c33' stroke-width='1.5'/>\n",
                      left + position(goal), left + position(goal), y - 4, y + 4);
    svg << format("<circle cx='%g' cy='%g' r='3.5' fill='%s'><title>%s %s: %.2f of %s</title>"
                  "</circle>\n",
                  left + position(f->ratio), y, shade, result.row.c_str(), result.at.label.c_str(),
                  f->ratio, f->name.c_str());
}

bool write_plot(const std::string &path, const std::vector<outcome> &results) {
    std::ostringstream dots;
    const double panels[] = {label_width, label_width + panel_width + gap};
    double y = top;
    for (size_t i = 0; i < results.size();) {
        size_t end = i; // of the instances of this row
        while (end < results.size() && results[end].row == results[i].row)
            ++end;
        dots << format("<text x='%g' y='%g' text-anchor='end'>%s</text>\n", label_width - 10,
                       y + row_height / 2 + 4, results[i].row.c_str())
             << format("<line x1='0' x2='%g' y1='%g' y2='%g' stroke='#eee'/>\n",
                       panels[1] + panel_width, y + row_height, y + row_height);
        const double step = row_height / static_cast<double>(end - i + 1);
        for (double at = y + step; i < end; ++i, at += step) {
            draw_dot(dots, panels[0], at, results[i], side::called);
            draw_dot(dots, panels[1], at, results[i], side::inlined);
        }
        y += row_height;
    }
    std::ofstream svg(path);
    const double width = panels[1] + panel_width + 20;
    svg << format("<svg xmlns='http://www.w3.org/2000/svg' viewBox='0 0 %g %g' "
                  "font-family='sans-serif' font-size='11'>\n",
                  width, y + 30)
        << format("<rect width='%g' height='%g' fill='white'/>\n", width, y + 30);
    draw_axis(svg, panels[0], y, "C functions: our time to that of the best that is called");
    draw_axis(svg, panels[1], y, "Typed classes: our time to that of the best that is inlined");
    svg << format("<text x='%g' y='42' fill='#555'>dots: sizes from light (in cache) to dark "
                  "(memory); red: goal; left of 1: faster than they are</text>\n",
                  label_width)
        << dots.str() << "</svg>\n";
    return static_cast<bool>(svg.flush());
}

bool write_csv(const std::string &path, const std::vector<outcome> &results) {
    std::ofstream csv(path);
    csv << "row,size,n,rounds,class,contender,ns,ratio,ratio_q1,ratio_q3,goal\n";
    for (const outcome &r : results)
        for (const figure &f : r.figures) {
            csv << r.row << ',' << r.at.label << ',' << r.at.n << ',' << r.rounds << ','
                << name_of(f.on) << ",\"" << f.name << '"'
                << format(",%.3f,%.4f,%.4f,%.4f,", f.ns, f.ratio, f.quartile[0], f.quartile[1]);
            if (&f == r.best(f.on) && (f.on == side::called || f.on == side::inlined))
                csv << goal_of(r, f.on);
            csv << '\n';
        }
    return static_cast<bool>(csv.flush());
}

bool write_table(const std::string &path, const std::vector<outcome> &results) {
    std::ofstream page(path);
    page << "| operation | size | C ns | best called | ratio (goal) | typed ns | best inlined | "
            "ratio (goal) | to the limit |\n|---|---|--:|---|---|--:|---|---|--:|\n";
    for (const outcome &r : results) {
        page << "| " << r.row << " | " << r.at.label << " |";
        for (const auto &[ours, theirs] :
             {std::pair{side::ours, side::called}, std::pair{side::typed, side::inlined}}) {
            if (const figure *const f = r.best(ours))
                page << format(" %.2f |", f->ns);
            else
                page << " |";
            if (const figure *const f = r.best(theirs))
                page << ' ' << f->name << format(" %.2f | ", f->ns) << verdict(r, *f) << " |";
            else
                page << " | |";
        }
        if (const figure *const f = r.best(side::limit))
            page << format(" %.2f", f->ratio);
        page << " |\n";
    }
    return static_cast<bool>(page.flush());
}

std::string contents(const std::string &path) {
    std::ifstream file(path);
    std::ostringstream text;
    text << file.rdbuf();
    return text.str();
}

constexpr std::string_view begin_mark = "<!-- figures: written by qvds_bench --docs -->\n";
constexpr std::string_view end_mark = "<!-- end of figures -->\n";

} // namespace

void print_heading() {
    std::printf("%s\nratio: our time to theirs, (goal); ~ a brief operation, read with a tenth of "
                "tolerance; ! goal missed\n\n%-23s %4s %9s  %-38s %9s  %-38s %s\n",
                machine().c_str(), "operation", "size", "C ns", "best called: ns, ratio (goal)",
                "typed ns", "best inlined: ns, ratio (goal)", "to the limit");
}

void print_line(const outcome &result) {
    std::printf("%-23s %4s", result.row.c_str(), result.at.label.c_str());
    for (const auto &[ours, theirs] :
         {std::pair{side::ours, side::called}, std::pair{side::typed, side::inlined}}) {
        const figure *const own = result.best(ours);
        std::printf(" %9s", own != nullptr ? format("%.2f", own->ns).c_str() : "");
        const figure *const f = result.best(theirs);
        std::printf("  %-22.22s", f != nullptr ? f->name.c_str() : "");
        std::printf(" %s", f != nullptr
                               ? format("%7.2f  %-14s", f->ns, verdict(result, *f).c_str()).c_str()
                               : format("%23s", "").c_str());
    }
    if (const figure *const f = result.best(side::limit))
        std::printf(" %.2f", f->ratio);
    std::printf("\n");
    std::fflush(stdout);
}

bool write_results(const std::string &directory, const std::vector<outcome> &results) {
    return write_csv(directory + "/results.csv", results) &&
           write_plot(directory + "/results.svg", results) &&
           write_table(directory + "/results.md", results);
}

bool write_docs(const std::string &page, const std::string &command, const std::string &directory,
                const std::vector<outcome> &results) {
    std::string text = contents(page);
    const size_t begin = text.find(begin_mark), end = text.find(end_mark);
    if (begin == std::string::npos || end == std::string::npos || end < begin)
        return false;
    const size_t slash = page.rfind('/');
    const std::string beside = slash == std::string::npos ? "" : page.substr(0, slash + 1);
    const size_t from = begin + begin_mark.size();
    text.replace(from, end - from,
                 "Machine: " + machine() + ".\n\nCommand: `" + command +
                     "`.\n\n![Ratio of our time to theirs, by operation and size](benchmarks.svg)"
                     "\n\n" +
                     contents(directory + "/results.md") + '\n');
    std::ofstream file(page);
    file << text;
    return static_cast<bool>(file.flush()) && write_plot(beside + "benchmarks.svg", results);
}

} // namespace bench

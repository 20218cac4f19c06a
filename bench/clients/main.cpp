// Runs the versions of each client in turns, round by round, and prints a table: the median of the
// time, and the median of the ratio of both of our versions to each other one within a round.

#include "clients.hpp"

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace clients {

zipf::zipf(size_t n, double skew) : n_(static_cast<double>(n)), alpha_(1 / (1 - skew)) {
    zeta_ = 0;
    for (size_t i = 1; i <= n; ++i)
        zeta_ += std::pow(static_cast<double>(i), -skew);
    second_ = 1 + std::pow(0.5, skew);
    eta_ = (1 - std::pow(2 / n_, 1 - skew)) / (1 - second_ / zeta_);
}

size_t zipf::operator()(generator &random) const {
    const double u = static_cast<double>(random() >> 11) * 0x1p-53;
    if (u * zeta_ < 1)
        return 0;
    if (u * zeta_ < second_)
        return 1;
    const auto drawn = static_cast<size_t>(n_ * std::pow(eta_ * u - eta_ + 1, alpha_));
    return std::min(drawn, static_cast<size_t>(n_) - 1);
}

namespace {

double median(std::vector<double> of) {
    std::nth_element(of.begin(), of.begin() + static_cast<ptrdiff_t>(of.size() / 2), of.end());
    return of[of.size() / 2];
}

// Each round begins with another version. False if two disagree.
bool run(const client &c, size_t rounds) {
    const size_t count = c.versions.size();
    std::vector<std::vector<double>> seconds(count);
    uint64_t sum = 0;
    for (size_t round = 0; round < rounds; ++round)
        for (size_t i = 0; i < count; ++i) {
            const size_t at = (round + i) % count;
            const outcome result = c.versions[at].run();
            seconds[at].push_back(result.seconds);
            if (round + i == 0)
                sum = result.sum;
            if (result.sum != sum) {
                std::fprintf(stderr, "%s %s: %s comes to another result\n", c.name.c_str(),
                             c.size.c_str(), c.versions[at].name.c_str());
                return false;
            }
        }
    const auto ratio = [&](size_t ours, size_t theirs) {
        std::vector<double> ratios;
        for (size_t round = 0; round < rounds; ++round)
            ratios.push_back(seconds[ours][round] / seconds[theirs][round]);
        return median(ratios);
    };
    for (size_t i = 0; i < count; ++i)
        std::printf("| %s | %s | %s | %.1f | %.2f | %.2f |\n", i == 0 ? c.name.c_str() : "",
                    i == 0 ? c.size.c_str() : "", c.versions[i].name.c_str(),
                    1e9 * median(seconds[i]) / static_cast<double>(c.operations), ratio(0, i),
                    ratio(1, i));
    std::fflush(stdout);
    return true;
}

} // namespace

} // namespace clients

int main(int argc, char **argv) {
    size_t rounds = 5;
    bool small = false;
    for (int i = 1; i < argc; ++i) {
        if (std::strcmp(argv[i], "--quick") == 0) {
            small = true;
        } else if (std::strcmp(argv[i], "--rounds") == 0 && i + 1 < argc) {
            rounds = std::strtoul(argv[++i], nullptr, 10);
        } else {
            std::fprintf(stderr,
                         "usage: qvds_clients [--quick] [--rounds N]\n\n"
                         "Programs as users write them, with the library and with what they would\n"
                         "use otherwise. Times are in ns for each operation of the program; the\n"
                         "columns C and C++ are the time of our version over that of the line's,\n"
                         "in the same round. --quick leaves out what takes long.\n");
            return 2;
        }
    }
    if (rounds == 0)
        rounds = 1;
    std::vector<clients::client> all;
    clients::add_timers(all, small);
    clients::add_lru(all, small);
    clients::add_words(all, small);
    std::printf("| client | size | version | ns | C | C++ |\n|---|---|---|--:|--:|--:|\n");
    bool agreed = true;
    for (const clients::client &c : all)
        agreed = clients::run(c, rounds) && agreed;
    return agreed ? 0 : 1;
}

// timeouts [FILE]: bursts of words in a text, told by timers in a calendar queue.
//
// A reader takes a millisecond a word. A word begins a burst, which goes on as long as the same word
// comes again within the patience, and each time puts its time-out off, as with connections that are
// closed when idle. The calendar reads no clock, so a reader's does as well as a real one; and in the
// end it tells when the next timer is due.

#include "text.hpp"

#include <qvds/cq.hpp>

#include <algorithm>
#include <functional>
#include <unordered_map>
#include <vector>

namespace {

using namespace std::chrono_literals;

constexpr char usage[] = "usage: timeouts [FILE]\n"
                         "Shows where words of a text come in bursts.\n";
constexpr auto patience = 100ms;
constexpr size_t shortest = 5, shown = 8; // words of fewer bytes are everywhere

struct reader {
    using duration = std::chrono::milliseconds;
    using time_point = std::chrono::time_point<reader>;
};

struct burst {
    std::string_view word;
    size_t count = 0;
    reader::time_point first, last;
};

struct watched {
    qvds_cq_entry timeout{};
    burst current;
};
using timers = qvds::calendar<&watched::timeout, reader>;

static_assert(patience <= timers::longest_wait); // so no time-out is refused

long long place(reader::time_point time) {
    return time.time_since_epoch() / 1ms;
}

} // namespace

int main(int argc, char **argv) {
    const text_words words(argc, argv, usage);
    std::unordered_map<std::string_view, watched> all;
    std::vector<burst> bursts;
    reader::time_point now;
    qvds::days<256> days;
    timers calendar(days, 1ms, now);
    const auto end_burst = [&](const watched &idle) { bursts.push_back(idle.current); };
    size_t put_off = 0;

    for (const std::string_view word : words) {
        now += 1ms;
        calendar.advance(now, end_burst);
        if (word.size() < shortest)
            continue;
        watched &w = all[word];
        if (calendar.scheduled(w))
            ++put_off;
        else
            w.current = {word, 0, now, now};
        ++w.current.count;
        w.current.last = now;
        (void)calendar.reschedule(w, patience);
    }
    while (!calendar.empty())
        calendar.advance(calendar.next_deadline(), end_burst);

    std::ranges::stable_sort(bursts, std::greater{}, &burst::count);
    printf("%zu bursts, %zu time-outs put off; the longest:\n", bursts.size(), put_off);
    for (size_t i = 0; i < shown && i < bursts.size(); ++i) {
        const burst &b = bursts[i];
        printf("%6zu  %.*s, words %lld to %lld\n", b.count, static_cast<int>(b.word.size()),
               b.word.data(), place(b.first), place(b.last));
    }
    return finish();
}

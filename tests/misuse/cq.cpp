// Each case is a slip that the compiler must catch, and the words that it must say; see misuse.sh.

#include <qvds/cq.hpp>

using namespace std::chrono_literals;

struct timer {
    qvds_cq_entry entry{};
    qvds_node link{};
};
struct other {
    qvds_cq_entry entry{};
};
struct base {
    qvds_cq_entry entry{};
};
struct derived : virtual base {};

using calendar = qvds::calendar<&timer::entry>;
const auto start = std::chrono::steady_clock::time_point();

void use(calendar &cal, const calendar &constant, qvds_cq &c_record, timer &elem, other &stranger) {
    qvds::days<8> days;
    calendar another(days, 10ms, start);
    qvds::calendar_view<&timer::entry> view(c_record, start, start);
    if (cal.schedule(elem, 1s) && !constant.empty())
        cal.cancel(elem);
    (void)stranger;

#if MISUSE == 1
    // error: qvds::calendar: the hook must name a qvds_cq_entry of the element
    qvds::calendar<&timer::link> links(days, 10ms, start);
#elif MISUSE == 2
    // error: qvds::calendar: a deadline is a time point of the calendar's clock or a duration
    if (!cal.schedule(elem, std::chrono::system_clock::now()))
        return;
#elif MISUSE == 3
    // error: qvds::calendar: a deadline is a time point of the calendar's clock or a duration
    if (!cal.schedule(elem, 250))
        return;
#elif MISUSE == 4
    // error: nodiscard
    cal.schedule(elem, 1s);
#elif MISUSE == 5
    // error: deleted
    calendar dangling(qvds::days<8>(), 10ms, start);
#elif MISUSE == 6
    // error: no matching
    calendar parts_of_ticks(days, 10us, start);
#elif MISUSE == 7
    // error: qvds::calendar: a tick is a std::chrono::duration that counts in integers
    using seconds = std::chrono::duration<double>;
    qvds::calendar<&timer::entry, std::chrono::steady_clock, seconds> vague(days, 1s, start);
#elif MISUSE == 8
    // error: discards qualifiers | but function is not marked const
    constant.cancel(elem);
#elif MISUSE == 9
    // error: unrelated type 'other' | cannot convert 'other' to | invalid initialization of reference
    cal.cancel(stranger);
#elif MISUSE == 10
    // error: deleted
    auto copy = view;
#elif MISUSE == 11
    // error: qvds: the link must not be a member of a virtual base of the element
    derived d;
    qvds::calendar<qvds::hook<derived, &base::entry>> bases(days, 10ms, start);
    bases.cancel(d);
#endif
}

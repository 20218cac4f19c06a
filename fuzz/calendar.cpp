// The calendar queue, beside a list of what waits and for when. The clock is the program's own, and
// goes far beyond the 32 bits of the record.

#include "program.hpp"

#include <qvds/check.hpp>
#include <qvds/cq.hpp>

#include <algorithm>
#include <map>
#include <vector>

namespace {

using fuzz::require;
using std::chrono::milliseconds;

struct manual_clock {
    using duration = milliseconds;
    using rep = duration::rep;
    using period = duration::period;
    using time_point = std::chrono::time_point<manual_clock>;
};

struct timer {
    int id = 0;
    qvds_cq_entry entry{};
};
using calendar = qvds::calendar<&timer::entry, manual_clock>;

timer *timer_at(void *entry) {
    return reinterpret_cast<timer *>(static_cast<char *>(entry) - offsetof(timer, entry));
}

enum class step { schedule, cancel, reschedule, advance, walk_a_day, remove_if, count };
enum class reaction { none, schedule_again, cancel_another, refuse, count };
struct refusal {}; // what a reaction throws

class driver {
  public:
    explicit driver(fuzz::program &input)
        : program(input), days(1 + input.below(6)), width(1 + input.below(5)) {}

    void take_step() {
        in_c = program.one_of_two();
        switch (program.one_of<step>()) {
        case step::schedule:
            return schedule(program.one_from(pool));
        case step::cancel:
            return cancel(program.one_from(pool));
        case step::reschedule:
            return reschedule(program.one_from(pool));
        case step::advance:
            return advance();
        case step::walk_a_day:
            return walk_a_day();
        case step::remove_if:
            return remove_if();
        case step::count:
            return;
        }
    }

    void expect_as_modelled() {
        fuzz::require_sound(qvds::check(cal));
        require(cal.now() == now);
        require(cal.size() == model.size());
        require(std::distance(cal.begin(), cal.end()) == std::ssize(model));
        for (timer &each : pool)
            require(cal.scheduled(each) == model.contains(&each));
        auto next = manual_clock::time_point::max();
        for (const auto &[each, deadline] : model) {
            require(is_firing || cal.deadline(*each) == deadline);
            next = std::min(next, std::max(deadline, is_firing ? now : deadline));
        }
        require(cal.next_deadline() == next);
    }

  private:
    // -- Steps

    void schedule(timer &one) {
        if (model.contains(&one))
            return;
        const milliseconds wait = some_wait();
        if (in_c) {
            one.entry.expires = cal.c_now() + static_cast<uint32_t>(wait.count());
            qvds_cq_insert(&cal.c_record(), &one.entry);
        } else {
            require(cal.schedule(one, wait));
        }
        model[&one] = now + wait;
        require(cal.deadline(one) == now + wait);
    }
    void cancel(timer &one) {
        if (in_c && model.contains(&one))
            qvds_cq_delete(&cal.c_record(), &one.entry);
        else
            require(cal.cancel(one) == model.contains(&one));
        model.erase(&one);
    }
    void reschedule(timer &one) {
        const milliseconds wait = some_wait();
        require(cal.reschedule(one, now + wait));
        model[&one] = now + wait;
    }
    // Whatever is due fires, and nothing else, unless it is cancelled before its turn. If a reaction
    // throws, the rest is due again.
    void advance() {
        const milliseconds before = now.time_since_epoch();
        now += some_span();
        for (timer &each : pool)
            if (model.contains(&each) && model[&each] <= now)
                due.push_back(&each);
        is_firing = true;
        manual_clock::time_point last{};
        const bool by_days = (now.time_since_epoch() / width - before / width) < days_in_all();
        const auto fire = [&](timer &one) {
            require(std::erase(due, &one) == 1);
            const auto deadline = model[&one];
            // What fires very late may give a later deadline than it had, but no later than now.
            require(cal.deadline(one) == deadline || now - deadline > milliseconds(1 << 30));
            require(cal.deadline(one) <= now);
            if (by_days)
                require(deadline.time_since_epoch() / width >= last.time_since_epoch() / width);
            else
                require(deadline >= last);
            last = deadline;
            model.erase(&one);
            react(one);
        };
        try {
            cal.advance(now, fire);
            require(due.empty());
        } catch (const refusal &) {
            for (timer *each : due)
                model[each] = now;
            due.clear();
        }
        is_firing = false;
    }
    void react(timer &fired) {
        in_c = program.one_of_two();
        switch (program.one_of<reaction>()) {
        case reaction::schedule_again:
            schedule(fired);
            break;
        case reaction::cancel_another: {
            timer &other = program.one_from(pool);
            cancel(other);
            std::erase(due, &other);
            break;
        }
        case reaction::refuse:
            throw refusal();
        case reaction::none:
        case reaction::count:
            break;
        }
        expect_as_modelled();
    }
    // As C does it: what was filed for now fires, if it is of this day.
    void walk_a_day() {
        const auto day = static_cast<uint32_t>(program.below(days.size()));
        const auto fire = [](void *entry, void *self) -> int32_t {
            auto &[now_, model_] = *static_cast<filed *>(self);
            require(model_.at(timer_at(entry)) <= now_);
            model_.erase(timer_at(entry));
            return 0;
        };
        filed what{now, model};
        qvds_cq_iterate_expired(&cal.c_record(), day, cal.c_now(), fire, &what);
        for (const auto &[each, deadline] : model)
            require(deadline > now ||
                    each->entry.expires / cal.c_record().width % days.size() != day);
    }
    void remove_if() {
        const int least = program.one_from(pool).id;
        const size_t removed = cal.remove_if([=](const timer &one) { return one.id >= least; });
        const auto gone = [=](const auto &entry) { return entry.first->id >= least; };
        require(removed == std::erase_if(model, gone));
    }

    // -- Choices

    // Short, or up to the longest that is never refused.
    milliseconds some_wait() {
        if (program.one_in(4))
            return calendar::longest_wait - milliseconds(program.below(256) << 20);
        return milliseconds(program.below(256) / 8);
    }
    // Short, or up to many times what 32 bits hold.
    milliseconds some_span() {
        const size_t length = program.below(256);
        return milliseconds(program.one_in(3) ? length << 26 : length / 8);
    }
    int64_t days_in_all() const { return static_cast<int64_t>(days.size()); }

    using waiting = std::map<timer *, manual_clock::time_point>;
    struct filed {
        manual_clock::time_point now;
        waiting &model;
    };

    fuzz::program &program;
    bool in_c = false; // whether this step goes through the functions of C
    timer pool[10] = {{0}, {1}, {2}, {3}, {4}, {5}, {6}, {7}, {8}, {9}};
    std::vector<qvds_cq_entry *> days;
    milliseconds width;
    manual_clock::time_point now{}; // so that days are counted from 0 in the model as well
    calendar cal{days, width, now};
    waiting model;            // what is scheduled, and for when
    std::vector<timer *> due; // what of it is to fire in this advance
    bool is_firing = false;
};

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    fuzz::program program(data, size);
    fuzz::run<driver>(program);
    return 0;
}

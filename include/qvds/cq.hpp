#ifndef QVDS_CQ_HPP
#define QVDS_CQ_HPP

/// @file
/// Calendar queue of timers of one type: the C++ face of cq.h, on the same records, with the times
/// of std::chrono.
///
/// Choose it for timers and time-outs, which are many and mostly cancelled: each takes constant
/// time, however many there are. Where the times have no common scale, or every next event must be
/// the earliest to the last digit, take the heap.
///
///     using namespace std::chrono_literals;
///     using clock = std::chrono::steady_clock;
///     struct timer { qvds_cq_entry entry{}; };
///
///     qvds::days<256> days;
///     qvds::calendar<&timer::entry> cal(days, 10ms, clock::now());
///
///     if (!cal.schedule(t, 250ms))                            // or at a time point
///         return too_late;
///     cal.cancel(t);
///     sleep_until(cal.next_deadline(clock::now() + 1min));
///     cal.advance(clock::now(), [](timer &due) { run(due); });
///
/// The timers are the caller's: they are linked where they lie, and must stay there while they are
/// scheduled. An entry is made with zeroes, as above, so that the calendar can tell one that is not
/// scheduled. Nothing is allocated. How to choose the number and the width of the days is said in
/// cq.h; of an array of more days than 2^30 ticks have, the rest is left alone.
///
/// **Time.** The calendar reads no clock: it is as late as the last advance() said, and durations
/// count from there. Times are kept in ticks, milliseconds unless said otherwise. A timer fires at
/// the first advance() to its deadline or later, never before it, and within a tick of it if the
/// days are walked as often. A clock that goes back makes the calendar wait until it has caught up.
///
/// Up to longest_wait from the last advance() (2^31 ticks, 24 days of milliseconds), every deadline
/// is taken; one that is too far is refused, and one that is past fires at the next advance(). So
/// call advance() at least once in that time, even if nothing is scheduled. The clock itself may run
/// on for ever: about every 2^30 ticks, advance() takes a number of revolutions off all times, which
/// costs a walk over all timers.
///
/// **Order.** Timers fire in the order of their days, and those of one day in the order in which
/// they were scheduled. So with a width of one tick they fire in order of time, and of equal times
/// the one that was scheduled first. This order comes free: for the sake of cancellations, what is
/// due is put in line before any of it fires, and a day is read from its newest entry on, so each
/// goes in front of the one before. Only after more than a revolution without an advance(), what is
/// due is sorted, by time, in n log n.
///
/// Unless something else is said, an operation takes constant time, never throws, and leaves every
/// iterator valid but those of timers that it takes out or moves. A predicate or disposer that
/// throws leaves the calendar sound, with what was done up to then; it must leave the calendar alone
/// otherwise. What `fire` may do, advance() says.

#include <qvds/core/cq.hpp>
#include <qvds/core/owner.hpp>
#include <qvds/cq.h>
#include <qvds/hook.hpp>

#include <chrono>
#include <span>

namespace qvds {

/// Room for a calendar of N days. It must outlive the calendar, and stay where it is. Any other
/// array of null pointers serves as well, through a std::span.
template <size_t N>
class days {
  public:
    static_assert(N > 0, "qvds::days: a calendar has at least one day");

    constexpr operator std::span<qvds_cq_entry *>() &noexcept { return slots_; }
    operator std::span<qvds_cq_entry *>() && = delete;

  private:
    qvds_cq_entry *slots_[N]{};
};

namespace core {

// A place in a calendar. Before the first day come the timers that are due and have yet to fire: on
// the day that ++ makes 0.
template <class Hooked, class Element>
class calendar_iterator {
  public:
    using iterator_category = std::forward_iterator_tag;
    using value_type = std::remove_const_t<Element>;
    using difference_type = ptrdiff_t;
    using pointer = Element *;
    using reference = Element &;

    static constexpr uint32_t before_all_days = UINT32_MAX;

    calendar_iterator() = default;
    // The place of entry, or, where that is null, of the first entry after day.
    calendar_iterator(qvds_cq_entry *entry, uint32_t day, const qvds_cq *cq) noexcept
        : entry_(entry), cq_(cq), day_(day) {
        skip_empty_days();
    }
    // From an iterator to one whose elements are const.
    template <std::same_as<value_type> Mutable>
    requires std::is_const_v<Element>
    calendar_iterator(const calendar_iterator<Hooked, Mutable> &other)
    noexcept : entry_(other.entry()), cq_(other.cq()), day_(other.day()) {}

    reference operator*() const noexcept { return *Hooked::element_at(entry_); }
    pointer operator->() const noexcept { return Hooked::element_at(entry_); }

    calendar_iterator &operator++() noexcept {
        entry_ = entry_->next;
        skip_empty_days();
        return *this;
    }
    calendar_iterator operator++(int) noexcept {
        const calendar_iterator before = *this;
        ++*this;
        return before;
    }
    friend bool operator==(const calendar_iterator &a, const calendar_iterator &b) noexcept {
        return a.entry_ == b.entry_;
    }

    qvds_cq_entry *entry() const noexcept { return entry_; }
    const qvds_cq *cq() const noexcept { return cq_; }
    uint32_t day() const noexcept { return day_; }

  private:
    void skip_empty_days() noexcept {
        while (entry_ == nullptr && ++day_ < cq_->size)
            entry_ = cq_->buckets[day_];
    }

    qvds_cq_entry *entry_ = nullptr;
    const qvds_cq *cq_ = nullptr;
    uint32_t day_ = 0;
};

} // namespace core

/// Clock gives the time points, and need not be running: a simulated one serves as well. Tick, a
/// duration, is the unit in which times are kept.
template <auto Hook, class Clock = std::chrono::steady_clock,
          class Tick = std::chrono::milliseconds, class Disposal = core::leave_elements>
class calendar {
    using hooked = core::hooked<Hook>;
    static_assert(std::is_same_v<typename hooked::link, qvds_cq_entry>,
                  "qvds::calendar: the hook must name a qvds_cq_entry of the element, as in "
                  "qvds::calendar<&timer::entry> with struct timer { qvds_cq_entry entry{}; }");
    static_assert(std::is_integral_v<typename Tick::rep>,
                  "qvds::calendar: a tick is a std::chrono::duration that counts in integers");
    static constexpr bool is_view = std::is_same_v<Disposal, core::viewed>;

    using ticks = std::chrono::duration<int64_t, typename Tick::period>;

  public:
    using value_type = typename hooked::element;
    using reference = value_type &;
    using const_reference = const value_type &;
    using pointer = value_type *;
    using const_pointer = const value_type *;
    using difference_type = ptrdiff_t;
    using size_type = size_t;
    using iterator = core::calendar_iterator<hooked, value_type>;
    using const_iterator = core::calendar_iterator<hooked, const value_type>;
    using clock = Clock;
    /// What is given back: fine enough for the clock and for the ticks.
    using duration = std::common_type_t<typename Clock::duration, ticks>;
    using time_point = std::chrono::time_point<Clock, duration>;

    /// A deadline no later than this after now() is never refused.
    static constexpr ticks longest_wait{(int64_t{1} << 31) - 1};

    // -- Set up --------------------------------------------------------------------------------

    /// An empty calendar at the time `now`. Each slot of days, which has at least one, is null;
    /// width, the length of a day, is from 1 to 2^30 ticks.
    template <class Duration>
    requires(!is_view) constexpr calendar(std::span<qvds_cq_entry *> days, Tick width,
                                          std::chrono::time_point<Clock, Duration> now) noexcept
        : cq_(qvds_cq{days.data(), 0, size_within_range(days.size(), width), 0, 0,
                      static_cast<uint32_t>(width.count())}) {
        start(ticks_before(now.time_since_epoch()), now.time_since_epoch());
    }

    /// A view of a calendar that lies elsewhere, as C made it: of at most 2^30 ticks in all. `epoch`
    /// is the time for which C writes 0 into `expires`, `now` that of the last walk. The record must
    /// outlive the view, which knows the time from there on and alone moves the epoch.
    template <std::same_as<qvds_cq> Record, class Duration>
    requires is_view constexpr calendar(Record &record,
                                        std::chrono::time_point<Clock, Duration> epoch,
                                        std::chrono::time_point<Clock, Duration> now) noexcept
        : cq_(&record) {
        start(ticks_before(epoch.time_since_epoch()), now.time_since_epoch());
    }

    /// Moved from, a calendar can only be destroyed or assigned to. It is not copied, nor is a view:
    /// of two, only one would know the time.
    calendar(calendar &&other) noexcept = default;
    calendar &operator=(calendar &&other) noexcept = default;

    /// The record, for the functions of cq.h. C may file an entry for c_now() or later, delete any,
    /// walk a day, and read all, also in `fire`; what is yet to fire then is in no bucket. It passes
    /// and receives the address of the entry, which is that of the element if the entry is its first
    /// member.
    constexpr qvds_cq &c_record() noexcept { return *cq_.get(); }
    constexpr const qvds_cq &c_record() const noexcept { return *cq_.get(); }

    /// now() as C writes it into `expires`; n ticks later is c_now() + n, with n up to longest_wait.
    /// To be asked for again after each advance(), which may move the epoch.
    [[nodiscard]] constexpr uint32_t c_now() const noexcept { return now_; }

    // -- Look ----------------------------------------------------------------------------------

    [[nodiscard]] bool empty() const noexcept { return size() == 0; }

    /// The number of timers, in `fire` with those that are yet to fire.
    [[nodiscard]] size_t size() const noexcept { return cq_.get()->count; }

    /// The time of the last advance(), or of the set-up, in whole ticks.
    [[nodiscard]] time_point now() const noexcept { return time_of(now_); }

    /// Whether timer is scheduled here. It must be in no other calendar through this hook.
    [[nodiscard]] bool scheduled(const value_type &timer) const noexcept {
        qvds_cq_entry *const entry = entry_of(timer);
        return link_to(entry) == entry;
    }

    /// When timer fires, in whole ticks, or, in `fire`, when it should have: a timer that repeats
    /// without drift is scheduled for cal.deadline(timer) + period. A deadline that was past when
    /// it was scheduled is the now() of then.
    [[nodiscard]] time_point deadline(const value_type &timer) const noexcept {
        return time_of(entry_of(timer)->expires);
    }

    /// When the next timer fires, or limit if none does before: how long an event loop may sleep.
    /// In `fire`, it is now() while any is yet to fire. Looks at the days from now() on, until it
    /// comes to one that has a timer of its own or that limit is in, but once round at most; and on
    /// the way, at the timers of later revolutions.
    [[nodiscard]] time_point next_deadline(time_point limit = time_point::max()) const noexcept {
        if (due_.next != nullptr)
            return limit < now() ? limit : now();
        const uint64_t end = expiry(limit);
        const uint64_t next = core::cq_next_expiry(cq_.get(), today_, end);
        return next < end ? time_of(next) : limit;
    }

    /// All timers, in no order of time. To the next is a step over the empty days between.
    iterator begin() noexcept { return {due_.next, iterator::before_all_days, cq_.get()}; }
    iterator end() noexcept { return {nullptr, cq_.get()->size, cq_.get()}; }
    const_iterator begin() const noexcept { return cbegin(); }
    const_iterator end() const noexcept { return cend(); }
    const_iterator cbegin() const noexcept {
        return {due_.next, iterator::before_all_days, cq_.get()};
    }
    const_iterator cend() const noexcept { return {nullptr, cq_.get()->size, cq_.get()}; }

    // -- Schedule ------------------------------------------------------------------------------
    // `when` is a time point of the clock, or a duration from now() on; parts of a tick count as
    // one.

    /// Schedules timer, which must be in no calendar through this hook. Returns false, and changes
    /// nothing, if `when` is too far.
    template <class When>
    [[nodiscard]] bool schedule(value_type &timer, When when) noexcept {
        const uint64_t expires = expiry(when);
        if (expires > UINT32_MAX)
            return false;
        file(entry_of(timer), static_cast<uint32_t>(expires));
        return true;
    }

    /// Schedules timer anew, whether or not it is scheduled here already. Returns false, and changes
    /// nothing, if `when` is too far.
    template <class When>
    [[nodiscard]] bool reschedule(value_type &timer, When when) noexcept {
        const uint64_t expires = expiry(when);
        if (expires > UINT32_MAX)
            return false;
        cancel(timer);
        file(entry_of(timer), static_cast<uint32_t>(expires));
        return true;
    }

    /// Takes timer out if it is scheduled here. Returns whether it was. timer must be in no other
    /// calendar through this hook.
    bool cancel(value_type &timer) noexcept {
        qvds_cq_entry *const entry = entry_of(timer);
        qvds_cq_entry *&link = link_to(entry);
        if (link != entry)
            return false;
        core::cq_unlink(cq_.get(), entry, link);
        return true;
    }

    // -- Fire ----------------------------------------------------------------------------------

    /// Moves the time on to `now`, takes out each timer whose deadline has come by that, and calls
    /// fire(timer) on it. Returns how many there were.
    ///
    /// A timer has left before fire is called on it: fire may destroy it or schedule it again. It
    /// may schedule and cancel others, destroy those that are not scheduled or that it cancels, and
    /// do all else but move, swap or destroy the calendar. What it schedules for now or earlier
    /// fires at the next advance(). What is due and yet to fire is still scheduled, to every
    /// operation; an advance() in fire fires that first, and then what has come since. If fire
    /// throws, what is yet to fire is filed again for now.
    ///
    /// Linear in the days since the last advance(), a revolution at most, and the timers in them.
    template <class Fire>
    size_t advance(time_point now, Fire fire) {
        move_on_to(now);
        struct file_again {
            calendar &cal;
            ~file_again() { core::cq_file_again(cal.cq_.get(), &cal.due_, cal.now_); }
        } const rest{*this};
        size_t fired = 0;
        while (qvds_cq_entry *const entry = due_.next) {
            core::cq_unlink(cq_.get(), entry, due_.next);
            fire(*hooked::element_at(entry));
            ++cq_.get()->expired;
            ++fired;
        }
        return fired;
    }

    // -- Take out ------------------------------------------------------------------------------

    /// Takes out the timer at a place. Returns the place of the next.
    iterator erase(const_iterator at) noexcept {
        qvds_cq_entry *const entry = at.entry();
        ++at;
        core::cq_delete(cq_.get(), entry);
        return {at.entry(), at.day(), cq_.get()};
    }

    /// Takes out every timer for which predicate is true, and hands a pointer to each to dispose
    /// once it is out. Returns how many there were. dispose may release the timer. Linear in days
    /// and timers.
    template <class Predicate, class Dispose = core::leave_elements>
    size_t remove_if(Predicate predicate, Dispose dispose = {}) {
        size_t removed = 0;
        for (iterator at = begin(); at != end();) {
            value_type &timer = *at;
            if (!predicate(timer)) {
                ++at;
                continue;
            }
            at = erase(at);
            ++removed;
            dispose(&timer);
        }
        return removed;
    }

    /// Takes out all timers. Linear in days and timers.
    void clear() noexcept { clear_and_dispose(core::leave_elements{}); }

    /// Takes out all timers and hands a pointer to each to dispose once it is out; where dispose
    /// throws, the rest is still in. Linear in days and timers.
    template <class Dispose>
    void clear_and_dispose(Dispose dispose) {
        dispose_chain(*cq_.get(), due_.next, dispose);
        dispose_all(*cq_.get(), dispose);
    }

    /// Exchanges two calendars, with their days and times.
    void swap(calendar &other) noexcept {
        std::swap(*cq_.get(), *other.cq_.get());
        std::swap(epoch_, other.epoch_);
        std::swap(today_, other.today_);
        std::swap(now_, other.now_);
        std::swap(within_, other.within_);
    }
    friend void swap(calendar &a, calendar &b) noexcept { a.swap(b); }

  private:
    friend class core::owner<qvds_cq, Disposal, calendar>;

    // The longest revolution. The epoch moves when now_ comes to 2^31, and leaves of it what is
    // more than this in the past, so that what fires late can still say when it was due. With the
    // rest of a revolution, now_ is again below 2^31, and there is room for the longest wait.
    static constexpr uint64_t quarter = uint64_t{1} << 30;
    static constexpr uint64_t half = 2 * quarter;

    static constexpr uint32_t size_within_range(size_t size, Tick width) noexcept {
        const size_t most = quarter / static_cast<uint32_t>(width.count());
        return static_cast<uint32_t>(size < most ? size : most);
    }

    static qvds_cq_entry *entry_of(const value_type &timer) noexcept {
        return static_cast<qvds_cq_entry *>(hooked::link_of(timer));
    }

    // The word that names entry, if it is filed: an entry without predecessor is the first of its
    // day.
    qvds_cq_entry *&link_to(qvds_cq_entry *entry) const noexcept {
        return entry->prev != nullptr ? entry->prev->next
                                      : core::cq_bucket_of(cq_.get(), entry->expires);
    }

    // -- Times and ticks

    // A time in whole ticks, and the ends of the range for what is beyond.
    template <class Rep, class Period>
    static constexpr int64_t ticks_before(std::chrono::duration<Rep, Period> time) noexcept {
        if (const int64_t end = beyond_ticks(time))
            return end;
        return std::chrono::floor<ticks>(time).count();
    }
    template <class Rep, class Period>
    static constexpr int64_t ticks_after(std::chrono::duration<Rep, Period> time) noexcept {
        if (const int64_t end = beyond_ticks(time))
            return end;
        return std::chrono::ceil<ticks>(time).count();
    }
    // The end of the range that a time is beyond, or 0. A division by an integer can't lead there.
    template <class Rep, class Period>
    static constexpr int64_t beyond_ticks(std::chrono::duration<Rep, Period> time) noexcept {
        using factor = std::ratio_divide<Period, typename Tick::period>;
        if constexpr (factor::num == 1 && std::is_integral_v<Rep> && std::is_signed_v<Rep>) {
            return 0;
        } else {
            constexpr double end = 9e18;
            const auto rough = std::chrono::duration<double, typename Tick::period>(time).count();
            return rough < -end ? INT64_MIN : rough < end ? 0 : INT64_MAX;
        }
    }

    time_point time_of(uint64_t expires) const noexcept {
        return time_point(ticks(epoch_ + static_cast<int64_t>(expires)));
    }

    // What goes into `expires` for a deadline; more than 32 bits if it is too far.
    template <class Duration>
    uint64_t expiry(std::chrono::time_point<Clock, Duration> when) const noexcept {
        return now_ + since_now(ticks_after(when.time_since_epoch()));
    }
    template <class Rep, class Period>
    uint64_t expiry(std::chrono::duration<Rep, Period> wait) const noexcept {
        const int64_t whole = ticks_after(wait);
        return whole > 0 ? now_ + uint64_t{within_} + static_cast<uint64_t>(whole) : now_;
    }
    template <class When>
    uint64_t expiry(const When & /*when*/) const noexcept {
        static_assert(core::never<When>, "qvds::calendar: a deadline is a time point of the "
                                         "calendar's clock or a duration from now on");
        return 0;
    }

    // The ticks from now_ to a time, 0 if it is past.
    constexpr uint64_t since_now(int64_t at) const noexcept {
        const int64_t now = epoch_ + static_cast<int64_t>(now_);
        return at > now ? static_cast<uint64_t>(at) - static_cast<uint64_t>(now) : 0;
    }

    template <class Duration>
    constexpr void start(int64_t epoch, Duration now) noexcept {
        epoch_ = epoch;
        now_ = static_cast<uint32_t>(since_now(ticks_before(now)));
        within_ = ticks_after(now) > ticks_before(now);
        today_ = core::cq_day_of(cq_.get(), now_);
    }

    // Takes what is due by now out of the days, and then moves the epoch if it is time. Beyond 32
    // bits, everything is due.
    void move_on_to(time_point now) noexcept {
        const int64_t at = ticks_before(now.time_since_epoch());
        const uint64_t until = now_ + since_now(at);
        now_ = until < UINT32_MAX ? static_cast<uint32_t>(until) : UINT32_MAX;
        core::cq_collect(cq_.get(), &due_, today_, now_);
        if (until >= half)
            move_epoch(until);
        if (at >= epoch_ + static_cast<int64_t>(now_))
            within_ = ticks_after(now.time_since_epoch()) > at;
    }

    // Makes of now, which counts from the epoch, a time below half the range.
    void move_epoch(uint64_t now) noexcept {
        const uint64_t revolution = uint64_t{cq_.get()->width} * cq_.get()->size;
        const uint64_t past = (now - quarter) / revolution * revolution;
        core::cq_move_epoch(cq_.get(), &due_, past);
        epoch_ += static_cast<int64_t>(past);
        now_ = static_cast<uint32_t>(now - past);
        today_ = core::cq_day_of(cq_.get(), now_);
    }

    void file(qvds_cq_entry *entry, uint32_t expires) noexcept {
        entry->expires = expires;
        core::cq_insert(cq_.get(), entry);
    }

    template <class Dispose>
    static void dispose_chain(qvds_cq &cq, qvds_cq_entry *&first, Dispose &dispose) {
        while (qvds_cq_entry *const entry = first) {
            core::cq_unlink(&cq, entry, first);
            dispose(hooked::element_at(entry));
        }
    }
    template <class Dispose>
    static void dispose_all(qvds_cq &cq, Dispose &&dispose) {
        for (uint32_t day = 0; day < cq.size; ++day)
            dispose_chain(cq, cq.buckets[day], dispose);
    }

    core::owner<qvds_cq, Disposal, calendar> cq_;
    int64_t epoch_ = 0;    // the ticks of the clock for which `expires` is 0
    core::cq_day today_{}; // the day of now_
    uint32_t now_ = 0;     // the last tick that has begun, as it is written into `expires`
    bool within_ = false;  // whether part of it has passed, so that waits count from its end
    qvds_cq_entry due_{};  // behind it, in advance() alone, stands what is yet to fire
};

/// The same over a record that lies elsewhere: qvds::calendar_view<&timer::entry> cal(c_cq, epoch,
/// now).
template <auto Hook, class Clock = std::chrono::steady_clock,
          class Tick = std::chrono::milliseconds>
using calendar_view = calendar<Hook, Clock, Tick, core::viewed>;

} // namespace qvds

#endif

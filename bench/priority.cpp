// Heaps and the calendar queue. Every queue holds pointers to records and hands out first what is
// due first. Keys are times, and times wrap around.
#include "data.hpp"
#include "textbook_heap.hpp"

#include <qvds/cq.hpp>
#include <qvds/heap.hpp>

#include <bit>
#include <boost/heap/d_ary_heap.hpp>
#include <boost/heap/pairing_heap.hpp>
#include <ext/pb_ds/priority_queue.hpp>
#include <queue>

using namespace bench;

namespace {

int32_t time_between(const payload &a, const payload &b) {
    return static_cast<int32_t>(a.key - b.key);
}
struct later {
    bool operator()(const payload *a, const payload *b) const { return time_between(*a, *b) > 0; }
};

// --- Queues with `push`, `pop` and `top`, and some with `cancel` and `update`, which puts a record
// right whose key has changed. n is the most they will hold.

struct no_hook {};
struct index_hook {
    uint32_t index;
};

struct heap : ours<"qvds_heap"> {
    using record = bench::record<no_hook>;
    std::vector<void *> slots;
    qvds_heap queue;

    explicit heap(size_t n) : slots(n + 1) {
        qvds_heap_init(&queue, slots.data(), compare, nullptr, static_cast<uint32_t>(n));
    }
    static int32_t compare(const void *a, const void *b) {
        return time_between(*static_cast<const record *>(b), *static_cast<const record *>(a));
    }
    void push(record &r) { qvds_heap_insert(&queue, &r); }
    record *pop() { return static_cast<record *>(qvds_heap_remove_top(&queue)); }
};

struct tracking_heap : ours<"qvds_heap"> {
    using record = bench::record<index_hook>;
    std::vector<void *> slots;
    qvds_heap queue;

    explicit tracking_heap(size_t n) : slots(n + 1) {
        qvds_heap_init(&queue, slots.data(), compare, swap, static_cast<uint32_t>(n));
    }
    static int32_t compare(const void *a, const void *b) {
        return time_between(*static_cast<const record *>(b), *static_cast<const record *>(a));
    }
    static void swap(void **a, void **b) {
        std::swap(static_cast<record *>(*a)->index, static_cast<record *>(*b)->index);
        std::swap(*a, *b);
    }
    void push(record &r) {
        r.index = queue.count + 1;
        qvds_heap_insert(&queue, &r);
    }
    record *top() const { return static_cast<record *>(qvds_heap_find_top(&queue)); }
    void update(record &r) {
        qvds_heap_fix_up(&queue, r.index);
        qvds_heap_fix_down(&queue, r.index, queue.count);
    }
    void cancel(record &r) { // the last item takes its place
        const uint32_t k = r.index;
        swap(&slots[k], &slots[queue.count--]);
        if (k <= queue.count)
            update(*static_cast<record *>(slots[k]));
    }
};

// The earliest is on top.
struct later_time {
    bool operator()(uint32_t a, uint32_t b) const { return static_cast<int32_t>(a - b) > 0; }
};

template <class Hook, auto slot>
struct typed_heap : typed<"qvds::heap"> {
    using record = bench::record<Hook>;
    std::vector<void *> slots;
    qvds::heap<record, &record::key, slot, later_time> queue;

    explicit typed_heap(size_t n) : slots(n + 1), queue(slots) {}
    void push(record &r) { (void)queue.push(r); }
    record *top() { return queue.top(); }
    record *pop() { return queue.pop(); }
    void update(record &r) { queue.update(r); }
    void cancel(record &r) { queue.erase(r); }
};
using bare_typed_heap = typed_heap<no_hook, nullptr>;
using tracking_typed_heap = typed_heap<index_hook, &index_hook::index>;

template <bool tracks>
struct callback_heap : called<"textbook heap"> {
    using record = bench::record<index_hook>;
    textbook::heap queue;

    explicit callback_heap(size_t) { textbook::init(&queue, compare, tracks ? moved : nullptr); }
    ~callback_heap() { textbook::destroy(&queue); }
    static int compare(const void *a, const void *b) {
        return time_between(*static_cast<const record *>(a), *static_cast<const record *>(b));
    }
    static void moved(void *item, size_t index) {
        static_cast<record *>(item)->index = static_cast<uint32_t>(index);
    }
    void push(record &r) { textbook::push(&queue, &r); }
    record *top() const { return static_cast<record *>(textbook::top(&queue)); }
    record *pop() { return static_cast<record *>(textbook::pop(&queue)); }
    void update(record &r) { textbook::update(&queue, r.index); }
    void cancel(record &r) { textbook::remove(&queue, r.index); }
};

// The heap of an event loop, as it is written into one: a growing array, each record knows its
// place, and a hole moves instead of the record.
struct event_loop_heap : inlined<"event-loop heap"> {
    using record = bench::record<index_hook>;
    std::vector<record *> items;

    explicit event_loop_heap(size_t) {}
    static bool before(const record &a, const record &b) { return time_between(a, b) < 0; }
    void place(size_t k, record &r) {
        items[k] = &r;
        r.index = static_cast<uint32_t>(k);
    }
    void lift(size_t k, record &r) {
        for (size_t parent = (k - 1) / 2; k > 0 && before(r, *items[parent]);
             parent = (k - 1) / 2) {
            place(k, *items[parent]);
            k = parent;
        }
        place(k, r);
    }
    void sink(size_t k, record &r) {
        for (size_t child = 2 * k + 1; child < items.size(); child = 2 * k + 1) {
            if (child + 1 < items.size() && before(*items[child + 1], *items[child]))
                ++child;
            if (!before(*items[child], r))
                break;
            place(k, *items[child]);
            k = child;
        }
        place(k, r);
    }
    void settle(size_t k, record &r) {
        if (k > 0 && before(r, *items[(k - 1) / 2]))
            lift(k, r);
        else
            sink(k, r);
    }
    void push(record &r) {
        items.push_back(&r);
        lift(items.size() - 1, r);
    }
    record *top() const { return items.front(); }
    void update(record &r) { settle(r.index, r); }
    void cancel(record &r) {
        record &last = *items.back();
        items.pop_back();
        if (&last != &r)
            settle(r.index, last);
    }
    record *pop() {
        record *const r = top();
        cancel(*r);
        return r;
    }
};

template <literal text, class Queue>
struct inlined_queue : inlined<text> {
    using record = bench::record<no_hook>;
    Queue queue;

    explicit inlined_queue(size_t) {}
    void push(record &r) { queue.push(&r); }
    record *top() const { return static_cast<record *>(queue.top()); }
    record *pop() {
        record *const r = top();
        queue.pop();
        return r;
    }
};
using std_queue = inlined_queue<"std::priority_queue",
                                std::priority_queue<payload *, std::vector<payload *>, later>>;
using boost_d_ary =
    inlined_queue<"Boost d_ary_heap, 4", boost::heap::d_ary_heap<payload *, boost::heap::arity<4>,
                                                                 boost::heap::compare<later>>>;

// Times beside the pointers, so that a comparison reads no record.
using timed = std::pair<uint32_t, payload *>;
struct timed_later {
    bool operator()(const timed &a, const timed &b) const { return later_time()(a.first, b.first); }
};
template <literal text, class Queue>
struct packed_queue : packed<text> {
    using record = bench::record<no_hook>;
    Queue queue;

    explicit packed_queue(size_t) {}
    void push(record &r) { queue.push({r.key, &r}); }
    record *top() const { return static_cast<record *>(queue.top().second); }
    record *pop() {
        record *const r = top();
        queue.pop();
        return r;
    }
};
using std_pairs = packed_queue<"std::priority_queue of pairs",
                               std::priority_queue<timed, std::vector<timed>, timed_later>>;
using boost_pairs = packed_queue<
    "Boost d_ary_heap, 4, of pairs",
    boost::heap::d_ary_heap<timed, boost::heap::arity<4>, boost::heap::compare<timed_later>>>;

// Queues from whose middle an element can be taken: each hands out a handle.
template <literal text, class Queue, class Handle>
struct handle_queue : inlined<text> {
    struct hook {
        Handle at;
    };
    using record = bench::record<hook>;
    Queue queue;

    explicit handle_queue(size_t) {}
    void push(record &r) { r.at = queue.push(&r); }
    const payload *top() const { return queue.top(); }
    void update(record &r) { queue.update(r.at); }
    void cancel(record &r) { queue.erase(r.at); }
};
using boost_heap = boost::heap::pairing_heap<payload *, boost::heap::compare<later>>;
using boost_pairing = handle_queue<"Boost pairing_heap", boost_heap, boost_heap::handle_type>;
using boost_mutable_heap =
    boost::heap::d_ary_heap<payload *, boost::heap::arity<4>, boost::heap::mutable_<true>,
                            boost::heap::compare<later>>;
using boost_d_ary_handles = handle_queue<"Boost d_ary_heap, 4, mutable", boost_mutable_heap,
                                         boost_mutable_heap::handle_type>;
using pb_ds_heap = __gnu_pbds::priority_queue<payload *, later, __gnu_pbds::pairing_heap_tag>;
using pb_ds_pairing = handle_queue<"pb_ds pairing_heap", pb_ds_heap, pb_ds_heap::point_iterator>;

// --- Timers: `file` and `advance`, which fires all that is due by `now`.

constexpr uint32_t tick = 4; // and a calendar's day

// Delays are below 2 * n + 2 * tick: with that, they fit one revolution.
size_t days_for(size_t n) {
    return std::bit_ceil(2 * n / tick + 3);
}

template <class Queue>
struct queue_timers : Queue {
    using record = typename Queue::record;
    using Queue::Queue;
    void file(record &r) { this->push(r); }
    template <class Fire>
    void advance(uint32_t now, Fire &fire) {
        while (static_cast<int32_t>(this->top()->key - now) <= 0) {
            record &r = *this->pop();
            fire(r, r.key);
            this->push(r);
        }
    }
};

struct calendar : ours<"qvds_cq"> {
    using record = bench::record<qvds_cq_entry>;
    std::vector<qvds_cq_entry *> buckets;
    qvds_cq queue;

    explicit calendar(size_t n) : buckets(days_for(n)) {
        qvds_cq_init(&queue, buckets.data(), static_cast<uint32_t>(buckets.size()), tick);
    }
    void file(record &r) {
        r.expires = r.key;
        qvds_cq_insert(&queue, &r);
    }
    template <class Fire>
    void advance(uint32_t now, Fire &fire) {
        struct context {
            Fire &fire;
            qvds_cq &queue;
        } ctx{fire, queue};
        const auto fired = [](void *elem, void *with) {
            const context &c = *static_cast<context *>(with);
            record &r = *static_cast<record *>(elem);
            c.fire(r, r.expires);
            qvds_cq_insert(&c.queue, &r);
            return 0;
        };
        qvds_cq_iterate_expired(&queue, now / tick & static_cast<uint32_t>(buckets.size() - 1), now,
                                fired, &ctx);
    }
    void push(record &r) { file(r); }
    void cancel(record &r) { qvds_cq_delete(&queue, &r); }
};

// Its clock tells the time in the ticks of the keys.
struct key_clock {
    using duration = std::chrono::milliseconds;
    using rep = duration::rep;
    using period = duration::period;
    using time_point = std::chrono::time_point<key_clock>;
    static time_point at(uint32_t key) { return time_point(duration(key)); }
};

struct typed_calendar : typed<"qvds::calendar"> {
    struct hook {
        qvds_cq_entry entry;
    };
    using record = bench::record<hook>;
    std::vector<qvds_cq_entry *> days;
    qvds::calendar<qvds::hook<record, &hook::entry>, key_clock> queue;

    explicit typed_calendar(size_t n)
        : days(days_for(n)), queue(days, std::chrono::milliseconds(tick), key_clock::at(0)) {}
    void file(record &r) { (void)queue.schedule(r, key_clock::at(r.key)); }
    template <class Fire>
    void advance(uint32_t now, Fire &fire) {
        queue.advance(key_clock::at(now), [&](record &r) {
            fire(r, r.key);
            file(r);
        });
    }
    void push(record &r) { file(r); }
    void cancel(record &r) { queue.cancel(r); }
};

// --- Trials.

template <class C>
struct queues {
    size_t ops;
    std::vector<pool<typename C::record>> pools;
    std::vector<std::unique_ptr<C>> made;

    explicit queues(const instance &at)
        : ops(at.n), pools(per_set(at, [&](uint64_t set) {
              return keyed_pool<typename C::record>(at.n, set);
          })) {
        for (size_t set = 0; set < at.sets; ++set)
            made.push_back(std::make_unique<C>(at.n));
    }
    void push_all(size_t set) {
        for (auto *r : pools[set])
            made[set]->push(*r);
    }
};

template <class C>
struct pop : queues<C> {
    using queues<C>::queues;
    void prepare(size_t set) { this->push_all(set); }
    uint64_t work(size_t set) {
        uint64_t sum = 0;
        for (size_t left = this->ops; left > 0; --left)
            fold(sum, this->made[set]->pop()->key);
        return sum;
    }
};

// The first is taken, gets a later time and goes back.
template <class C>
struct hold : queues<C> {
    std::vector<uint32_t> delays;

    explicit hold(const instance &at) : queues<C>(at), delays(queries(at, 3)) {
        for (uint32_t &delay : delays)
            delay *= key_distance; // as far apart as the keys are
        this->ops = delays.size();
        for (size_t set = 0; set < at.sets; ++set)
            this->push_all(set);
    }
    uint64_t work(size_t set) {
        uint64_t sum = 0;
        C &queue = *this->made[set];
        for (const uint32_t delay : delays) {
            auto *const r = queue.pop();
            fold(sum, r->key);
            r->key += delay;
            queue.push(*r);
        }
        return sum;
    }
};

// Time goes on by ticks; what is due fires and is filed again, with a delay that depends on the
// record and its time alone, as the order within a tick is the queue's affair.
template <class C>
struct timers : queues<C> {
    size_t n, ticks;
    std::vector<uint32_t> clocks;

    explicit timers(const instance &at)
        : queues<C>(at), n(at.n), ticks(queries(at, 0).size() / tick), clocks(at.sets) {
        for (size_t set = 0; set < at.sets; ++set)
            for (size_t i = 0; i < n; ++i) {
                auto &r = this->pools[set][i];
                r.key = 2 * tick + static_cast<uint32_t>(2 * i);
                this->made[set]->file(r);
            }
    }
    uint64_t work(size_t set) {
        uint64_t sum = 0;
        size_t fired = 0;
        const auto fire = [&](const payload &r, uint32_t &due) {
            const uint64_t mixed = (r.serial ^ uint64_t{due} << 20) * 0x9e3779b97f4a7c15;
            sum += mixed;
            ++fired;
            due += tick + static_cast<uint32_t>((mixed >> 32) * (2 * n) >> 32);
        };
        for (size_t t = 0; t < ticks; ++t, clocks[set] += tick)
            this->made[set]->advance(clocks[set] + tick - 1, fire);
        this->ops = fired;
        return sum;
    }
};

template <class C>
struct cancel : queues<C> {
    std::vector<std::vector<typename C::record *>> order;

    explicit cancel(const instance &at)
        : queues<C>(at), order(per_set(at, [&](uint64_t set) {
              return this->pools[set].chosen(shuffled(at.n, set + 9));
          })) {}
    void prepare(size_t set) { this->push_all(set); }
    template <int shift>
    uint64_t work(size_t set) {
        pad<shift>();
        for (auto *r : order[set])
            this->made[set]->cancel(*r);
        return 0;
    }
};

// Records get another time, earlier or later, and after each the earliest is looked at.
template <class C>
struct update : queues<C> {
    std::vector<std::vector<typename C::record *>> chosen;
    std::vector<uint32_t> times;
    generator random{3};

    explicit update(const instance &at)
        : queues<C>(at),
          chosen(
              per_set(at, [&](uint64_t set) { return this->pools[set].chosen(queries(at, set)); })),
          times(chosen[0].size()) {
        this->ops = times.size();
        for (size_t set = 0; set < at.sets; ++set)
            this->push_all(set);
    }
    void prepare(size_t set) {
        for (uint32_t &time : times)
            time = key_of_rank(random.below(this->pools[set].size()));
    }
    uint64_t work(size_t set) {
        uint64_t sum = 0;
        C &queue = *this->made[set];
        for (size_t i = 0; i < times.size(); ++i) {
            chosen[set][i]->key = times[i];
            queue.update(*chosen[set][i]);
            fold(sum, queue.top()->key);
        }
        return sum;
    }
};

const rows queues_by_priority = {
    {"heap/pop", sizes({0.55, 0.75}, {0.52, 0.8}, {0.80, 1.1}),
     enter<pop, heap, bare_typed_heap, callback_heap<false>, std_queue, boost_d_ary, std_pairs,
           boost_pairs>},
    {"heap/hold",
     sizes({0.95, 1.1}, {0.70, 1.1}, {0.75, 1.1}),
     enter<hold, heap, bare_typed_heap, callback_heap<false>, std_queue, boost_d_ary, std_pairs,
           boost_pairs>,
     {"textbook heap", "std::priority_queue"}},
    // A pairing heap puts its work off until something is popped, and here nothing is.
    {"heap/update", sizes({0, 0.9}),
     enter<update, tracking_heap, tracking_typed_heap, callback_heap<true>, event_loop_heap,
           boost_d_ary_handles>},
    {"heap/erase", sizes({0, 0.9}),
     enter<cancel, tracking_heap, tracking_typed_heap, callback_heap<true>, event_loop_heap,
           boost_d_ary_handles>},
    {"cq/hold",
     sizes({0.11, 0.14}, {0.10, 0.14}, {0.12, 0.14}),
     enter<timers, calendar, typed_calendar, queue_timers<callback_heap<false>>,
           queue_timers<std_queue>, queue_timers<boost_d_ary>, queue_timers<std_pairs>,
           queue_timers<boost_pairs>>,
     {"textbook heap", "std::priority_queue"}},
    {"cq/cancel", sizes({0.04, 0.3}),
     enter<cancel, calendar, typed_calendar, callback_heap<true>, boost_pairing, pb_ds_pairing>},
};

} // namespace

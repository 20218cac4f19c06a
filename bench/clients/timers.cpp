// The timers of an event loop. Each connection has one: it is put off whenever something happens on
// the connection, brought forward now and then, cancelled when the connection ends and set again
// when the next one takes its place. The clock moves on by a tick after each batch of this; what is
// due fires, and every other one that fires sets itself again. In the end the clock runs on until all
// have fired.

#include "clients.hpp"

#include <glib.h>
#include <qvds/cq.hpp>
#include <qvds/heap.hpp>

#include <chrono>
#include <map>
#include <queue>

namespace clients {

namespace {

struct step {
    uint32_t id;
    uint32_t delay; // 0 cancels
};

constexpr uint32_t longest_delay = 4'000;

struct load {
    size_t timers, steps_per_tick;
    std::vector<step> steps;

    load(size_t n, size_t operations) : timers(n), steps_per_tick(std::max<size_t>(n / 1'000, 1)) {
        generator random(n);
        for (size_t i = 0; i < operations; ++i) {
            const uint32_t kind = random.below(100);
            const uint32_t id = random.below(n);
            if (kind < 8)
                steps.push_back({id, 0});
            else if (kind < 14)
                steps.push_back({id, 1 + random.below(longest_delay / 20)}); // hastened
            else
                steps.push_back({id, longest_delay / 2 + random.below(longest_delay / 2)});
        }
    }
};

// Plays the load. Store has set(id, when), for a timer that may be set already, cancel(id) for one
// that may not be, and advance(now, fire), which calls fire(id) for each that is due.
template <class Store>
class event_loop {
  public:
    explicit event_loop(const load &of) : load_(of), store_(of) {}

    uint64_t run() {
        uint64_t sum = 0;
        uint32_t now = 0;
        for (size_t i = 0; i < load_.steps.size();) {
            ++now;
            const size_t end = std::min(i + load_.steps_per_tick, load_.steps.size());
            for (; i < end; ++i) {
                const auto [id, delay] = load_.steps[i];
                if (delay == 0)
                    store_.cancel(id);
                else
                    store_.set(id, now + delay);
            }
            store_.advance(now, [&](uint32_t id) {
                sum += (uint64_t{id} + 1) * now; // whatever the order within a tick
                if (id % 2 == 0)
                    store_.set(id, now + longest_delay / 2);
            });
        }
        // Until nothing waits any more, or who puts work off would never be seen to do it.
        for (const uint32_t end = now + longest_delay; now < end;) {
            ++now;
            store_.advance(now, [&](uint32_t id) { sum += (uint64_t{id} + 1) * now; });
        }
        return sum;
    }

  private:
    const load &load_;
    Store store_;
};

class c_calendar {
    struct timer {
        qvds_cq_entry entry;
        uint32_t id;
        bool set;
    };

  public:
    explicit c_calendar(const load &of) : timers_(of.timers), days_(2 * longest_delay) {
        qvds_cq_init(&cq_, days_.data(), static_cast<uint32_t>(days_.size()), 1);
        for (uint32_t id = 0; id < timers_.size(); ++id)
            timers_[id].id = id;
    }
    void set(uint32_t id, uint32_t when) {
        timer &t = timers_[id];
        if (t.set)
            qvds_cq_delete(&cq_, &t);
        t.set = true;
        t.entry.expires = when;
        qvds_cq_insert(&cq_, &t);
    }
    void cancel(uint32_t id) {
        timer &t = timers_[id];
        if (t.set)
            qvds_cq_delete(&cq_, &t);
        t.set = false;
    }
    template <class Fire>
    void advance(uint32_t now, Fire fire) {
        const auto call = [](void *elem, void *ctx) -> int32_t {
            auto *const t = static_cast<timer *>(elem);
            t->set = false;
            (*static_cast<Fire *>(ctx))(t->id);
            return 0;
        };
        qvds_cq_iterate_expired(&cq_, now % cq_.size, now, call, &fire);
    }

  private:
    std::vector<timer> timers_;
    std::vector<qvds_cq_entry *> days_;
    qvds_cq cq_;
};

// A clock that event_loop moves.
struct ticking {
    using duration = std::chrono::milliseconds;
    using rep = duration::rep;
    using period = duration::period;
    using time_point = std::chrono::time_point<ticking>;
    static constexpr bool is_steady = true;

    static time_point at(uint32_t tick) { return time_point(duration(tick)); }
};

class typed_calendar {
    struct timer {
        qvds_cq_entry entry;
        uint32_t id;
    };

  public:
    explicit typed_calendar(const load &of)
        : timers_(of.timers), days_(2 * longest_delay),
          calendar_(days_, std::chrono::milliseconds(1), ticking::at(0)) {
        for (uint32_t id = 0; id < timers_.size(); ++id)
            timers_[id].id = id;
    }
    void set(uint32_t id, uint32_t when) {
        static_cast<void>(calendar_.reschedule(timers_[id], ticking::at(when)));
    }
    void cancel(uint32_t id) { calendar_.cancel(timers_[id]); }
    template <class Fire>
    void advance(uint32_t now, Fire fire) {
        calendar_.advance(ticking::at(now), [&](timer &t) { fire(t.id); });
    }

  private:
    std::vector<timer> timers_;
    std::vector<qvds_cq_entry *> days_;
    qvds::calendar<&timer::entry, ticking> calendar_;
};

struct heaped {
    uint32_t slot, when, id; // slot 0: not set
};

class c_heap {
  public:
    explicit c_heap(const load &of) : timers_(of.timers), slots_(of.timers + 1) {
        qvds_heap_init(&heap_, slots_.data(), earlier, exchange, static_cast<uint32_t>(of.timers));
        for (uint32_t id = 0; id < timers_.size(); ++id)
            timers_[id].id = id;
    }
    void set(uint32_t id, uint32_t when) {
        heaped &t = timers_[id];
        const uint32_t former = std::exchange(t.when, when);
        if (t.slot == 0) {
            t.slot = heap_.count + 1;
            qvds_heap_insert(&heap_, &t);
        } else if (when < former) {
            qvds_heap_fix_up(&heap_, t.slot);
        } else {
            qvds_heap_fix_down(&heap_, t.slot, heap_.count);
        }
    }
    void cancel(uint32_t id) {
        heaped &t = timers_[id];
        const uint32_t k = std::exchange(t.slot, 0);
        if (k == 0)
            return;
        const uint32_t last = heap_.count--;
        if (k == last)
            return;
        heap_.slots[k] = heap_.slots[last];
        static_cast<heaped *>(heap_.slots[k])->slot = k;
        qvds_heap_fix_up(&heap_, k);
        qvds_heap_fix_down(&heap_, k, heap_.count);
    }
    template <class Fire>
    void advance(uint32_t now, Fire fire) {
        while (heap_.count != 0 &&
               static_cast<const heaped *>(qvds_heap_find_top(&heap_))->when <= now) {
            auto *const t = static_cast<heaped *>(qvds_heap_remove_top(&heap_));
            t->slot = 0;
            fire(t->id);
        }
    }

  private:
    static int32_t earlier(const void *a, const void *b) {
        return bench::three_way(static_cast<const heaped *>(b)->when,
                                static_cast<const heaped *>(a)->when);
    }
    static void exchange(void **a, void **b) {
        std::swap(static_cast<heaped *>(*a)->slot, static_cast<heaped *>(*b)->slot);
        std::swap(*a, *b);
    }

    std::vector<heaped> timers_;
    std::vector<void *> slots_;
    qvds_heap heap_;
};

class typed_heap {
  public:
    explicit typed_heap(const load &of) : timers_(of.timers), slots_(of.timers + 1), heap_(slots_) {
        for (uint32_t id = 0; id < timers_.size(); ++id)
            timers_[id].id = id;
    }
    void set(uint32_t id, uint32_t when) {
        heaped &t = timers_[id];
        t.when = when;
        if (t.slot == 0)
            static_cast<void>(heap_.push(t));
        else
            heap_.update(t);
    }
    void cancel(uint32_t id) {
        heaped &t = timers_[id];
        if (t.slot != 0)
            heap_.erase(t);
        t.slot = 0;
    }
    template <class Fire>
    void advance(uint32_t now, Fire fire) {
        while (const heaped *const top = heap_.top()) {
            if (top->when > now)
                break;
            heaped *const t = heap_.pop();
            t->slot = 0;
            fire(t->id);
        }
    }

  private:
    std::vector<heaped> timers_;
    std::vector<void *> slots_;
    qvds::heap<heaped, &heaped::when, &heaped::slot, std::greater<>> heap_;
};

// GLib's balanced tree that gives iterators.
class glib_sequence {
    struct timer {
        GSequenceIter *at;
        uint32_t when, id;
    };

  public:
    explicit glib_sequence(const load &of)
        : timers_(of.timers), sequence_(g_sequence_new(nullptr)) {
        for (uint32_t id = 0; id < timers_.size(); ++id)
            timers_[id].id = id;
    }
    glib_sequence(const glib_sequence &) = delete;
    ~glib_sequence() { g_sequence_free(sequence_); }
    void set(uint32_t id, uint32_t when) {
        timer &t = timers_[id];
        t.when = when;
        if (t.at == nullptr)
            t.at = g_sequence_insert_sorted(sequence_, &t, earlier, nullptr);
        else
            g_sequence_sort_changed(t.at, earlier, nullptr);
    }
    void cancel(uint32_t id) {
        if (GSequenceIter *const at = std::exchange(timers_[id].at, nullptr))
            g_sequence_remove(at);
    }
    template <class Fire>
    void advance(uint32_t now, Fire fire) {
        for (;;) {
            GSequenceIter *const first = g_sequence_get_begin_iter(sequence_);
            if (g_sequence_iter_is_end(first))
                break;
            auto *const t = static_cast<timer *>(g_sequence_get(first));
            if (t->when > now)
                break;
            cancel(t->id);
            fire(t->id);
        }
    }

  private:
    static gint earlier(gconstpointer a, gconstpointer b, gpointer /*user*/) {
        return bench::three_way(static_cast<const timer *>(a)->when,
                                static_cast<const timer *>(b)->when);
    }

    std::vector<timer> timers_;
    GSequence *sequence_;
};

// The same with keys that tell timers of one time apart.
class glib_tree {
    struct timer {
        uint32_t when, id;
        bool set;
    };

  public:
    explicit glib_tree(const load &of) : timers_(of.timers), tree_(g_tree_new(earlier)) {
        for (uint32_t id = 0; id < timers_.size(); ++id)
            timers_[id].id = id;
    }
    glib_tree(const glib_tree &) = delete;
    ~glib_tree() { g_tree_destroy(tree_); }
    void set(uint32_t id, uint32_t when) {
        cancel(id);
        timer &t = timers_[id];
        t.when = when;
        t.set = true;
        g_tree_insert(tree_, &t, &t);
    }
    void cancel(uint32_t id) {
        timer &t = timers_[id];
        if (t.set)
            g_tree_remove(tree_, &t);
        t.set = false;
    }
    template <class Fire>
    void advance(uint32_t now, Fire fire) {
        while (GTreeNode *const first = g_tree_node_first(tree_)) {
            auto *const t = static_cast<timer *>(g_tree_node_key(first));
            if (t->when > now)
                break;
            cancel(t->id);
            fire(t->id);
        }
    }

  private:
    static gint earlier(gconstpointer a, gconstpointer b) {
        const auto *const x = static_cast<const timer *>(a), *const y =
                                                                 static_cast<const timer *>(b);
        return x->when != y->when ? bench::three_way(x->when, y->when)
                                  : bench::three_way(x->id, y->id);
    }

    std::vector<timer> timers_;
    GTree *tree_;
};

// Nodes are kept while a timer isn't set, so that nothing is allocated twice.
class std_multimap {
    using map = std::multimap<uint32_t, uint32_t>;
    struct timer {
        map::iterator at;
        map::node_type spare;
    };

  public:
    explicit std_multimap(const load &of) : timers_(of.timers) {
        for (uint32_t id = 0; id < timers_.size(); ++id)
            timers_[id].spare = map_.extract(map_.emplace(0, id));
    }
    void set(uint32_t id, uint32_t when) {
        timer &t = timers_[id];
        if (t.spare.empty())
            t.spare = map_.extract(t.at);
        t.spare.key() = when;
        t.at = map_.insert(std::move(t.spare));
    }
    void cancel(uint32_t id) {
        timer &t = timers_[id];
        if (t.spare.empty())
            t.spare = map_.extract(t.at);
    }
    template <class Fire>
    void advance(uint32_t now, Fire fire) {
        while (!map_.empty() && map_.begin()->first <= now) {
            const uint32_t id = map_.begin()->second;
            cancel(id);
            fire(id);
        }
    }

  private:
    std::vector<timer> timers_;
    map map_;
};

// Entries that were put off or cancelled stay in the heap until they come up.
class std_priority_queue {
    using entry = std::pair<uint32_t, uint32_t>; // when, id

  public:
    explicit std_priority_queue(const load &of) : due_(of.timers) {}
    void set(uint32_t id, uint32_t when) {
        due_[id] = when;
        heap_.emplace(when, id);
    }
    void cancel(uint32_t id) { due_[id] = 0; }
    template <class Fire>
    void advance(uint32_t now, Fire fire) {
        while (!heap_.empty() && heap_.top().first <= now) {
            const auto [when, id] = heap_.top();
            heap_.pop();
            if (due_[id] != when)
                continue;
            due_[id] = 0;
            fire(id);
        }
    }

  private:
    std::vector<uint32_t> due_; // 0: not set
    std::priority_queue<entry, std::vector<entry>, std::greater<>> heap_;
};

} // namespace

void add_timers(std::vector<client> &to, bool small) {
    static std::vector<std::unique_ptr<const load>> loads;
    for (const size_t n : {size_t{1'000}, size_t{100'000}, size_t{1'000'000}}) {
        if (small && n > 100'000)
            continue;
        loads.push_back(std::make_unique<const load>(n, small ? 500'000 : n + 1'000'000));
        const load &l = *loads.back();
        to.push_back(
            {"timers",
             std::to_string(n),
             l.steps.size(),
             {version_of<event_loop<c_calendar>>("qvds_cq", l),
              version_of<event_loop<typed_calendar>>("qvds::calendar", l),
              version_of<event_loop<c_heap>>("qvds_heap", l),
              version_of<event_loop<typed_heap>>("qvds::heap", l),
              version_of<event_loop<glib_sequence>>("GSequence", l),
              version_of<event_loop<glib_tree>>("GTree", l),
              version_of<event_loop<std_multimap>>("std::multimap", l),
              version_of<event_loop<std_priority_queue>>("std::priority_queue, lazy", l)}});
    }
}

} // namespace clients

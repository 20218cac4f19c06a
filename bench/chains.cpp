// Stacks, queues and lists through the caller's records.
//
// A contender is a class with its `record` and the operations that its rows call.
#include "data.hpp"

#include <qvds/fifo.hpp>
#include <qvds/fifo2.hpp>
#include <qvds/lifo.hpp>
#include <qvds/sloppy.hpp>

#include <boost/intrusive/circular_list_algorithms.hpp>
#include <boost/intrusive/list.hpp>
#include <boost/intrusive/slist.hpp>
#include <bsd/sys/queue.h>
#include <deque>
#include <glib.h>
#include <list>
#include <search.h>

using namespace bench;
namespace bi = boost::intrusive;

namespace {

// --- Callbacks of the contenders that are called. Ours has the key first, GLib's the element.

template <class Record>
int32_t compare(const void *key, const void *elem) {
    return three_way(static_cast<const Record *>(key)->key, static_cast<const Record *>(elem)->key);
}
template <class Record>
int compare_glib(const void *elem, const void *key) {
    return three_way(static_cast<const Record *>(elem)->key, static_cast<const Record *>(key)->key);
}
template <class Record>
int compare_glib_data(const void *a, const void *b, void *) {
    return compare_glib<Record>(a, b);
}
template <class Record>
int32_t fold_key(void *elem, void *sum) {
    fold(*static_cast<uint64_t *>(sum), static_cast<Record *>(elem)->key);
    return 0;
}
template <class Record>
void fold_key_glib(void *elem, void *sum) {
    fold_key<Record>(elem, sum);
}

// The walk of all that have iterators.
template <class List>
void walk_over(const List &list, uint64_t &sum) {
    for (const auto &r : list)
        fold(sum, r.key);
}

// --- Stacks and singly linked lists. A walk, a search and a sorted insertion see the last record
// pushed first.

struct one_link {
    void *next;
};

struct lifo : ours<"qvds_lifo"> {
    using record = bench::record<one_link>;
    qvds_lifo head{};

    void clear() { qvds_lifo_init(&head); }
    void push(record &r) { qvds_lifo_push(&head, &r); }
    bool pop(uint32_t &key) {
        const auto *r = static_cast<record *>(qvds_lifo_pop(&head));
        return r != nullptr && (key = r->key, true);
    }
    void insert_sorted(record &r) { qvds_lifo_insert_sorted(&head, &r, compare<record>); }
    uint32_t find(uint32_t key) const {
        record probe;
        probe.key = key;
        return static_cast<record *>(qvds_node_find(&head, &probe, compare<record>))->serial;
    }
    void walk(uint64_t &sum) const { qvds_node_enum(&head, fold_key<record>, &sum); }
};

struct typed_lifo : typed<"qvds::lifo"> {
    using record = bench::record<one_link>;
    qvds::lifo<qvds::hook<record, &one_link::next>> list;

    void clear() { list.clear(); }
    void push(record &r) { list.push(r); }
    bool pop(uint32_t &key) {
        const record *const r = list.pop();
        return r != nullptr && (key = r->key, true);
    }
    void insert_sorted(record &r) { list.insert_sorted(r, std::less<>(), &record::key); }
    uint32_t find(uint32_t key) const { return list.find(key, &record::key)->serial; }
    void walk(uint64_t &sum) const { walk_over(list, sum); }
};

struct glib_hook {
    GList link{this, nullptr, nullptr}; // begins the record
};
using glib_record = record<glib_hook>;

struct gqueue : called<"GQueue"> {
    using record = glib_record;
    GQueue queue = G_QUEUE_INIT;

    void clear() { g_queue_init(&queue); }
    void push(record &r) { g_queue_push_head_link(&queue, &r.link); }
    bool pop(uint32_t &key) {
        const GList *const link = g_queue_pop_head_link(&queue);
        return link != nullptr && (key = static_cast<record *>(link->data)->key, true);
    }
    uint32_t find(uint32_t key) {
        record probe;
        probe.key = key;
        const GList *const link = g_queue_find_custom(&queue, &probe, compare_glib<record>);
        return static_cast<record *>(link->data)->serial;
    }
    void walk(uint64_t &sum) { g_queue_foreach(&queue, fold_key_glib<record>, &sum); }
};

// Sorted insertion is there only with links that the queue allocates.
struct gqueue_sorted : gqueue {
    ~gqueue_sorted() { clear(); }
    void clear() { g_queue_clear(&queue); }
    void insert_sorted(record &r) {
        g_queue_insert_sorted(&queue, &r, compare_glib_data<record>, nullptr);
    }
};

struct search_hook { // laid out as insque expects it
    record<search_hook> *next, *prev;
};

struct insque_ring : called<"insque"> {
    using record = bench::record<search_hook>;
    std::unique_ptr<record> head = std::make_unique<record>();

    insque_ring() { clear(); }
    void clear() { head->next = head->prev = head.get(); }
    void push(record &r) { insque(&r, head.get()); }
    bool pop(uint32_t &key) {
        record *const r = head->next;
        if (r == head.get())
            return false;
        remque(r);
        key = r->key;
        return true;
    }
    void touch(record &r) {
        remque(&r);
        insque(&r, head.get());
    }
    void walk(uint64_t &sum) const {
        for (const record *r = head->next; r != head.get(); r = r->next)
            fold(sum, r->key);
    }
};
struct insque_queue : insque_ring {
    void push(record &r) { insque(&r, head->prev); }
};

// What the inlined containers with iterators share. Ours goes before equals, and so do these.
template <class List>
uint32_t find_in(const List &list, uint32_t key) {
    auto at = list.begin();
    while (at->key != key)
        ++at;
    return at->serial;
}
template <class List>
auto sorted_place(List &list, uint32_t key) { // the element before it
    auto before = list.before_begin();
    for (auto at = list.begin(); at != list.end() && key > at->key; ++at)
        before = at;
    return before;
}

template <bool keep_last>
struct boost_slist : inlined<"Boost slist"> {
    using hook = bi::slist_base_hook<bi::link_mode<bi::normal_link>>;
    using record = bench::record<hook>;
    bi::slist<record, bi::constant_time_size<false>, bi::cache_last<keep_last>> list;

    void clear() { list.clear(); }
    void push(record &r) {
        if constexpr (keep_last)
            list.push_back(r);
        else
            list.push_front(r);
    }
    bool pop(uint32_t &key) {
        if (list.empty())
            return false;
        key = list.front().key;
        list.pop_front();
        return true;
    }
    void insert_sorted(record &r) { list.insert_after(sorted_place(list, r.key), r); }
    uint32_t find(uint32_t key) const { return find_in(list, key); }
    void walk(uint64_t &sum) const { walk_over(list, sum); }
};

struct bsd_slist_hook {
    SLIST_ENTRY(bench::record<bsd_slist_hook>) link;
};
struct bsd_slist : inlined<"SLIST"> {
    using record = bench::record<bsd_slist_hook>;
    SLIST_HEAD(, bench::record<bsd_slist_hook>) head{};

    void clear() { SLIST_INIT(&head); }
    void push(record &r) { SLIST_INSERT_HEAD(&head, &r, link); }
    bool pop(uint32_t &key) {
        const record *const r = SLIST_FIRST(&head);
        if (r == nullptr)
            return false;
        SLIST_REMOVE_HEAD(&head, link);
        key = r->key;
        return true;
    }
    void insert_sorted(record &r) {
        record *before = nullptr, *at = nullptr;
        SLIST_FOREACH(at, &head, link) {
            if (r.key <= at->key)
                break;
            before = at;
        }
        if (before == nullptr)
            SLIST_INSERT_HEAD(&head, &r, link);
        else
            SLIST_INSERT_AFTER(before, &r, link);
    }
    uint32_t find(uint32_t key) const {
        const record *at = nullptr;
        SLIST_FOREACH(at, &head, link) {
            if (at->key == key)
                break;
        }
        return at->serial;
    }
    void walk(uint64_t &sum) const {
        const record *at = nullptr;
        SLIST_FOREACH(at, &head, link) {
            fold(sum, at->key);
        }
    }
};

// Pointers to the records in an array, which has its top at the end.
struct no_hook {};
struct std_vector : packed<"std::vector"> {
    using record = bench::record<no_hook>;
    std::vector<const record *> items;

    void clear() { items.clear(); }
    void push(record &r) { items.push_back(&r); }
    bool pop(uint32_t &key) {
        if (items.empty())
            return false;
        key = items.back()->key;
        items.pop_back();
        return true;
    }
    uint32_t find(uint32_t key) const {
        auto at = items.rbegin();
        while ((*at)->key != key)
            ++at;
        return (*at)->serial;
    }
    void walk(uint64_t &sum) const {
        std::for_each(items.rbegin(), items.rend(), [&](const record *r) { fold(sum, r->key); });
    }
};

struct sorted_vector : packed<"sorted std::vector"> {
    using record = bench::record<no_hook>;
    using item = std::pair<uint32_t, const record *>;
    std::vector<item> items;

    void clear() { items.clear(); }
    void insert_sorted(record &r) {
        const auto before = [](const item &i, uint32_t key) { return i.first < key; };
        items.emplace(std::lower_bound(items.begin(), items.end(), r.key, before), r.key, &r);
    }
    void walk(uint64_t &sum) const {
        for (const item &i : items)
            fold(sum, i.second->key);
    }
};

struct hand_stack : limit<"links by hand"> {
    struct hook {
        bench::record<hook> *next;
    };
    using record = bench::record<hook>;
    record *top = nullptr;

    void clear() { top = nullptr; }
    void push(record &r) {
        r.next = top;
        top = &r;
    }
    bool pop(uint32_t &key) {
        if (top == nullptr)
            return false;
        key = top->key;
        top = top->next;
        return true;
    }
    uint32_t find(uint32_t key) const {
        const record *r = top;
        while (r->key != key)
            r = r->next;
        return r->serial;
    }
    void walk(uint64_t &sum) const {
        for (const record *r = top; r != nullptr; r = r->next)
            fold(sum, r->key);
    }
};

// --- Queues.

struct fifo : ours<"qvds_fifo"> {
    using record = bench::record<one_link>;
    qvds_list head{};

    void clear() { qvds_fifo_init(&head); }
    void push(record &r) { qvds_fifo_append(&head, &r); }
    bool pop(uint32_t &key) {
        const auto *r = static_cast<record *>(qvds_fifo_pop(&head));
        return r != nullptr && (key = r->key, true);
    }
};

struct typed_fifo : typed<"qvds::fifo"> {
    using record = bench::record<one_link>;
    qvds::fifo<qvds::hook<record, &one_link::next>> list;

    void clear() { list.clear(); }
    void push(record &r) { list.push_back(r); }
    bool pop(uint32_t &key) {
        const record *const r = list.pop_front();
        return r != nullptr && (key = r->key, true);
    }
};

struct gqueue_fifo : gqueue {
    void push(record &r) { g_queue_push_tail_link(&queue, &r.link); }
};

struct bsd_stailq_hook {
    STAILQ_ENTRY(bench::record<bsd_stailq_hook>) link;
};
struct bsd_stailq : inlined<"STAILQ"> {
    using record = bench::record<bsd_stailq_hook>;
    STAILQ_HEAD(, bench::record<bsd_stailq_hook>) head;

    void clear() { STAILQ_INIT(&head); }
    void push(record &r) { STAILQ_INSERT_TAIL(&head, &r, link); }
    bool pop(uint32_t &key) {
        const record *const r = STAILQ_FIRST(&head);
        if (r == nullptr)
            return false;
        STAILQ_REMOVE_HEAD(&head, link);
        key = r->key;
        return true;
    }
};

struct std_deque : packed<"std::deque"> {
    using record = bench::record<no_hook>;
    std::deque<const record *> items;

    void clear() { items.clear(); }
    void push(record &r) { items.push_back(&r); }
    bool pop(uint32_t &key) {
        if (items.empty())
            return false;
        key = items.front()->key;
        items.pop_front();
        return true;
    }
};

// --- Doubly linked queues, for the least-recently-used order.

struct fifo2 : ours<"qvds_fifo2"> {
    using record = bench::record<qvds_node>;
    qvds_list head{};

    void clear() { qvds_fifo_init(&head); }
    void push(record &r) { qvds_fifo2_push(&head, &r); }
    void touch(record &r) {
        qvds_fifo2_extract_existing(&head, &r);
        qvds_fifo2_push(&head, &r);
    }
    void walk(uint64_t &sum) const { qvds_node_enum(&head, fold_key<record>, &sum); }
};

struct two_links {
    qvds_node link;
};

struct typed_fifo2 : typed<"qvds::fifo2"> {
    using record = bench::record<two_links>;
    qvds::fifo2<qvds::hook<record, &two_links::link>> list;

    void clear() { list.clear(); }
    void push(record &r) { list.push_front(r); }
    void touch(record &r) {
        list.unlink(r);
        list.push_front(r);
    }
    void walk(uint64_t &sum) const { walk_over(list, sum); }
};

struct gqueue_lru : gqueue {
    void touch(record &r) {
        g_queue_unlink(&queue, &r.link);
        g_queue_push_head_link(&queue, &r.link);
    }
};

struct boost_list : inlined<"Boost list"> {
    using hook = bi::list_base_hook<bi::link_mode<bi::normal_link>>;
    using record = bench::record<hook>;
    bi::list<record, bi::constant_time_size<false>> list;

    void clear() { list.clear(); }
    void push(record &r) { list.push_front(r); }
    void touch(record &r) {
        list.erase(list.iterator_to(r));
        list.push_front(r);
    }
    void walk(uint64_t &sum) const { walk_over(list, sum); }
};

struct bsd_tailq_hook {
    TAILQ_ENTRY(bench::record<bsd_tailq_hook>) link;
};
struct bsd_tailq : inlined<"TAILQ"> {
    using record = bench::record<bsd_tailq_hook>;
    TAILQ_HEAD(, bench::record<bsd_tailq_hook>) head;

    void clear() { TAILQ_INIT(&head); }
    void push(record &r) { TAILQ_INSERT_HEAD(&head, &r, link); }
    void touch(record &r) {
        TAILQ_REMOVE(&head, &r, link);
        TAILQ_INSERT_HEAD(&head, &r, link);
    }
    void walk(uint64_t &sum) const {
        const record *at = nullptr;
        TAILQ_FOREACH(at, &head, link) {
            fold(sum, at->key);
        }
    }
};

struct std_list_lru : inlined<"std::list"> {
    struct hook {
        std::list<const payload *>::iterator at;
    };
    using record = bench::record<hook>;
    std::list<const payload *> list;

    void clear() { list.clear(); }
    void push(record &r) { r.at = list.insert(list.begin(), &r); }
    void touch(record &r) { list.splice(list.begin(), list, r.at); }
    void walk(uint64_t &sum) const {
        for (const payload *r : list)
            fold(sum, r->key);
    }
};

// --- Headerless lists. `add` puts a record behind the one in hand.

struct sloppy : ours<"qvds_sloppy"> {
    using record = bench::record<qvds_node>;

    void *handle = nullptr;
    void forget(record &r) { r.qvds_node::next = r.prev = nullptr; }
    void start(record &r) {
        handle = nullptr;
        qvds_sloppy_insert(&handle, &r);
    }
    void add(record &r) { qvds_sloppy_insert(&handle, &r); }
    void extract(record &r) { qvds_sloppy_extract_existing(&handle, &r); }
    const record *next(const record *r) const { return static_cast<record *>(r->qvds_node::next); }
};

struct typed_sloppy : typed<"qvds::sloppy"> {
    using record = bench::record<two_links>;
    using sloppy = qvds::sloppy<qvds::hook<record, &two_links::link>>;

    sloppy list;
    void forget(record &r) { r.link = {}; }
    void start(record &r) {
        list.clear();
        list.insert(r);
    }
    void add(record &r) { list.insert(r); }
    void extract(record &r) { list.unlink(r); }
    const record *next(const record *r) const { return sloppy::next(*r); }
};

struct glist : called<"GList"> {
    using record = glib_record;

    GList *first = nullptr;
    void forget(record &r) { r.link.next = r.link.prev = nullptr; }
    void start(record &r) { first = g_list_insert_before_link(nullptr, nullptr, &r.link); }
    void add(record &r) { first = g_list_insert_before_link(first, first->next, &r.link); }
    void extract(record &r) { first = g_list_remove_link(first, &r.link); }
    const record *next(const record *r) const {
        return r->link.next != nullptr ? static_cast<record *>(r->link.next->data) : nullptr;
    }
};

struct insque_list : called<"insque"> {
    using record = bench::record<search_hook>;

    record *first = nullptr;
    void forget(record &r) { r.next = r.prev = nullptr; }
    void start(record &r) { insque(first = &r, nullptr); }
    void add(record &r) { insque(&r, first); }
    void extract(record &r) { remque(&r); }
    const record *next(const record *r) const { return r->next; }
};

struct boost_ring : inlined<"Boost circular_list_algorithms"> {
    using node = bi::list_node<void *>;
    using record = bench::record<node>;
    using ring = bi::circular_list_algorithms<bi::list_node_traits<void *>>;

    record *first = nullptr;
    void forget(record &r) { r.next_ = r.prev_ = nullptr; }
    void start(record &r) { ring::init_header(first = &r); }
    void add(record &r) { ring::link_after(first, &r); }
    void extract(record &r) { ring::unlink(&r); }
    const record *next(const record *r) const {
        const auto *const following = static_cast<const record *>(static_cast<node *>(r->next_));
        return following != first ? following : nullptr;
    }
};

struct bsd_list_hook {
    LIST_ENTRY(bench::record<bsd_list_hook>) link;
};
struct bsd_list : inlined<"LIST"> {
    using record = bench::record<bsd_list_hook>;
    LIST_HEAD(, bench::record<bsd_list_hook>) head{};

    record *first = nullptr;
    void forget(record &r) { r.link = {}; }
    void start(record &r) {
        LIST_INIT(&head);
        LIST_INSERT_HEAD(&head, &r, link);
        first = &r;
    }
    void add(record &r) { LIST_INSERT_AFTER(first, &r, link); }
    void extract(record &r) { LIST_REMOVE(&r, link); }
    const record *next(const record *r) const { return LIST_NEXT(r, link); }
};

// --- Trials.

template <class C>
std::vector<pool<typename C::record>> keyed_pools(const instance &at, bool by_address = false) {
    return per_set(
        at, [&](uint64_t set) { return keyed_pool<typename C::record>(at.n, set, by_address); });
}

template <class C>
void fill(C &chain, const pool<typename C::record> &records) {
    chain.clear();
    for (auto *r : records)
        chain.push(*r);
}

// Passes over a small data set, so that it is in the cache for all but the first. Nothing in these
// trials branches on the data: there is no order to learn.
size_t passes(const instance &at) {
    return at.sets > 1 ? 8 : 1;
}

template <class C>
struct push_pop {
    size_t rounds, ops;
    std::vector<pool<typename C::record>> pools;
    C chain;

    explicit push_pop(const instance &at)
        : rounds(passes(at)), ops(rounds * 2 * at.n), pools(keyed_pools<C>(at)) {
        chain.clear();
    }
    template <int shift>
    uint64_t work(size_t set) {
        pad<shift>();
        uint64_t sum = 0;
        for (size_t round = 0; round < rounds; ++round) {
            for (auto *r : pools[set]) {
                fold(sum, r->serial); // a record that is pushed has just been at hand
                chain.push(*r);
            }
            for (uint32_t key = 0; chain.pop(key);)
                fold(sum, key);
        }
        return sum;
    }
};

template <class C>
struct touch {
    size_t ops;
    std::vector<pool<typename C::record>> pools;
    std::vector<std::vector<typename C::record *>> chosen;
    std::vector<C> chains;

    explicit touch(const instance &at)
        : pools(keyed_pools<C>(at)),
          chosen(per_set(at, [&](uint64_t set) { return pools[set].chosen(queries(at, set)); })),
          chains(at.sets) {
        ops = chosen[0].size();
        for (size_t set = 0; set < at.sets; ++set)
            fill(chains[set], pools[set]);
    }
    template <int shift>
    uint64_t work(size_t set) {
        pad<shift>();
        for (auto *r : chosen[set])
            chains[set].touch(*r);
        return 0;
    }
    uint64_t check(size_t set) {
        uint64_t sum = 0;
        chains[set].walk(sum);
        return sum;
    }
};

template <class C, bool by_address>
struct walk {
    size_t rounds, ops;
    std::vector<pool<typename C::record>> pools;
    std::vector<C> chains;

    explicit walk(const instance &at)
        : rounds(passes(at)), ops(rounds * at.n), pools(keyed_pools<C>(at, by_address)),
          chains(at.sets) {
        for (size_t set = 0; set < at.sets; ++set)
            fill(chains[set], pools[set]);
    }
    template <int shift>
    uint64_t work(size_t set) {
        pad<shift>();
        uint64_t sum = 0;
        for (size_t round = 0; round < rounds; ++round)
            chains[set].walk(sum);
        return sum;
    }
};
template <class C>
using walk_ordered = walk<C, true>;
template <class C>
using walk_shuffled = walk<C, false>;

// An operation is one element passed, not one search.
template <class C, bool by_address>
struct find : walk<C, by_address> {
    std::vector<uint32_t> positions; // from the front

    explicit find(const instance &at) : walk<C, by_address>(at) {
        generator rng(at.n);
        this->ops = 0;
        for (size_t left = std::clamp<size_t>(200'000 / at.n, 1, 16); left > 0; --left) {
            positions.push_back(rng.below(at.n / 4) + static_cast<uint32_t>(at.n * 3 / 4));
            this->ops += positions.back() + 1;
        }
    }
    template <int shift>
    uint64_t work(size_t set) {
        pad<shift>();
        uint64_t sum = 0;
        const auto &records = this->pools[set];
        for (const uint32_t position : positions)
            fold(sum, this->chains[set].find(records[records.size() - 1 - position].key));
        return sum;
    }
};
template <class C>
using find_ordered = find<C, true>;
template <class C>
using find_shuffled = find<C, false>;

// Sixteen lists of n. They get new keys each time, and with that are in the cache.
template <class C>
struct sorted_insert {
    static constexpr size_t lists = 16;
    size_t n, ops;
    pool<typename C::record> records;
    std::array<C, lists> chains;
    generator keys{1};

    explicit sorted_insert(const instance &at) : n(at.n), ops(lists * n), records(lists * n, 1) {}
    void prepare(size_t) {
        for (C &chain : chains)
            chain.clear();
        for (auto *r : records)
            r->key = key_of_rank(keys.below(1'000'000));
    }
    uint64_t work(size_t) {
        for (size_t i = 0; i < records.size(); ++i)
            chains[i / n].insert_sorted(records[i]);
        return 0;
    }
    uint64_t check(size_t) {
        uint64_t sum = 0;
        for (C &chain : chains)
            chain.walk(sum);
        return sum;
    }
};

template <class C>
struct headerless {
    size_t ops;
    std::vector<pool<typename C::record>> pools;
    std::vector<C> lists;

    explicit headerless(const instance &at)
        : ops(at.n - 1), pools(keyed_pools<C>(at)), lists(at.sets) {}
    // Clears the links of all records, as GLib demands, and brings them into the cache.
    void start(size_t set) {
        for (auto *r : pools[set])
            lists[set].forget(*r);
        lists[set].start(pools[set][0]);
    }
    uint64_t add_all(size_t set) {
        uint64_t sum = 0;
        for (size_t i = 1; i < pools[set].size(); ++i) {
            fold(sum, pools[set][i].serial);
            lists[set].add(pools[set][i]);
        }
        return sum;
    }
    uint64_t check(size_t set) {
        uint64_t sum = 0;
        for (const auto *r = &pools[set][0]; r != nullptr; r = lists[set].next(r))
            fold(sum, r->key);
        return sum;
    }
};

template <class C>
struct headerless_add : headerless<C> {
    using headerless<C>::headerless;
    void prepare(size_t set) { this->start(set); }
    template <int shift>
    uint64_t work(size_t set) {
        pad<shift>();
        return this->add_all(set);
    }
};

template <class C>
struct headerless_extract : headerless<C> {
    std::vector<std::vector<typename C::record *>> order;

    explicit headerless_extract(const instance &at) : headerless<C>(at) {
        std::vector<uint32_t> positions = shuffled(at.n, 7);
        std::erase(positions, 0); // that one stays
        order = per_set(at, [&](uint64_t set) { return this->pools[set].chosen(positions); });
    }
    void prepare(size_t set) {
        this->start(set);
        this->add_all(set);
    }
    template <int shift>
    uint64_t work(size_t set) {
        pad<shift>();
        for (auto *r : order[set])
            this->lists[set].extract(*r);
        return 0;
    }
};

const rows chains = {
    {"lifo/push-pop", sizes({1.05, 1.05}),
     enter<push_pop, lifo, typed_lifo, gqueue, insque_ring, boost_slist<false>, bsd_slist,
           std_vector, hand_stack>},
    {"fifo/push-pop", sizes({1.05, 1.05}),
     enter<push_pop, fifo, typed_fifo, gqueue_fifo, insque_queue, boost_slist<true>, bsd_stailq,
           std_deque>},
    {"fifo2/touch",
     sizes({1.25, 1.05}, {1.0, 1.05}, {1.0, 1.05}),
     enter<touch, fifo2, typed_fifo2, gqueue_lru, insque_ring, boost_list, bsd_tailq, std_list_lru>,
     {"GQueue", "Boost list"}},
    {"node/walk-ordered", sizes({1.0, 1.3}),
     enter<walk_ordered, lifo, typed_lifo, gqueue, boost_slist<false>, bsd_slist, std_vector,
           hand_stack>},
    {"node/walk-shuffled", sizes({1.0, 1.3}, {1.0, 1.02}, {1.0, 1.02}),
     enter<walk_shuffled, lifo, typed_lifo, gqueue, boost_slist<false>, bsd_slist, std_vector,
           hand_stack>},
    {"node/find-ordered", sizes({1.0, 1.0}),
     enter<find_ordered, lifo, typed_lifo, gqueue, boost_slist<false>, bsd_slist, std_vector,
           hand_stack>},
    {"node/find-shuffled", sizes({1.0, 1.0}),
     enter<find_shuffled, lifo, typed_lifo, gqueue, boost_slist<false>, bsd_slist, std_vector,
           hand_stack>},
    {"lifo/insert-sorted",
     {{"64", 64, {0.80, 1.0}}},
     enter<sorted_insert, lifo, typed_lifo, gqueue_sorted, boost_slist<false>, bsd_slist,
           sorted_vector>},
    {"sloppy/add", sizes({0.45, 1.05}),
     enter<headerless_add, sloppy, typed_sloppy, glist, insque_list, boost_ring, bsd_list>},
    {"sloppy/extract", sizes({0.75, 1.6}),
     enter<headerless_extract, sloppy, typed_sloppy, glist, insque_list, boost_ring, bsd_list>},
};

} // namespace

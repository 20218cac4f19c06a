// How many instructions each operation takes, callbacks included, on input that never changes. Times
// are noisy and machines differ; this count is the same on every run of the same code, and so shows
// a change of a single instruction. instructions.sh runs it and knows what the counts should be.
//
// Under callgrind, what stands between two counted regions is not counted. Each region is dumped
// with a name of its own: the operation and how often it was done. Behind an exported function comes
// what does the same through the typed class, on elements of its own; its name has a "::".

#include <qvds/qvds.h>
#include <qvds/qvds.hpp>

#include <valgrind/callgrind.h>

#include <array>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <numeric>
#include <string>
#include <vector>

namespace {

constexpr uint32_t n = 1000;

// A function for each body, so that how the compiler treats one doesn't depend on the others.
template <class Body>
[[gnu::noinline]] void measure(const char *operation, size_t times, Body body) {
    CALLGRIND_TOGGLE_COLLECT;
    body();
    CALLGRIND_TOGGLE_COLLECT;
    const std::string name = std::string(operation) + ' ' + std::to_string(times);
    CALLGRIND_DUMP_STATS_AT(name.c_str());
}

// Lets no compiler leave out a computation because nobody wants the result.
template <class T>
void keep(const T &result) {
    asm volatile("" : : "m"(result) : "memory");
}

struct nothing {};

template <class Link>
struct keyed {
    [[no_unique_address]] Link link;
    uint32_t key = 0;
};

// n elements, and 0 ... n - 1 in an order that has nothing to do with their addresses.
template <class Link>
struct fixture {
    using element = keyed<Link>;
    std::vector<element> elements{n};
    std::vector<element *> shuffled{n};
    element *middle;

    fixture() {
        uint32_t state = 1;
        for (uint32_t i = 0; i < n; ++i) {
            elements[i].key = i;
            shuffled[i] = &elements[i];
        }
        for (uint32_t i = n - 1; i > 0; --i) {
            state = state * 1664525 + 1013904223;
            std::swap(shuffled[i], shuffled[state % (i + 1)]);
        }
        middle = shuffled[n / 2];
    }
    // Does an operation once for each element and counts it.
    template <class Body>
    void each(const char *operation, Body body) {
        measure(operation, n, [&] {
            for (element *elem : shuffled)
                body(elem);
        });
    }
    // The same, but for the middle element, which is there already.
    template <class Body>
    void each_other(const char *operation, Body body) {
        each(operation, [&](element *elem) {
            if (elem != middle)
                body(elem);
        });
    }
};

int32_t three_way(uint32_t a, uint32_t b) {
    return (a > b) - (a < b);
}
template <class Link>
int32_t by_key(const void *a, const void *b) {
    return three_way(static_cast<const keyed<Link> *>(a)->key,
                     static_cast<const keyed<Link> *>(b)->key);
}
int32_t visit(void *, void *) {
    return 0;
}

template <class Range>
void visit_all(Range &&range) {
    for (const auto &elem : range)
        keep(elem);
}

using linked = keyed<qvds_node>;
constexpr auto key = &linked::key;

void stacks() {
    fixture<qvds_node> f, t;
    const auto compare = by_key<qvds_node>;
    qvds_lifo lifo, other;
    qvds::lifo<&linked::link> stack, rest;

    measure("qvds_lifo_init", 1, [&] { qvds_lifo_init(&lifo); });
    qvds_lifo_init(&other);
    f.each("qvds_lifo_push", [&](linked *elem) { qvds_lifo_push(&lifo, elem); });
    t.each("lifo::push", [&](linked *elem) { stack.push(*elem); });
    measure("qvds_lifo_cut", 1, [&] { qvds_lifo_cut(&lifo, &other, f.middle); });
    measure("lifo::cut", 1, [&] { rest = stack.cut(*t.middle); });
    measure("qvds_lifo_concat", 1, [&] { qvds_lifo_concat(&lifo, &other); });
    measure("lifo::concat", 1, [&] { stack.concat(rest); });
    measure("qvds_lifo_extract", 1, [&] { qvds_lifo_extract(&lifo, f.middle, compare); });
    measure("lifo::extract", 1, [&] { keep(stack.extract(t.middle->key, key)); });
    f.each("qvds_lifo_pop", [&](linked *) { qvds_lifo_pop(&lifo); });
    t.each("lifo::pop", [&](linked *) { keep(stack.pop()); });
    f.each("qvds_lifo_insert_sorted",
           [&](linked *elem) { qvds_lifo_insert_sorted(&lifo, elem, compare); });
    t.each("lifo::insert_sorted", [&](linked *elem) { stack.insert_sorted(*elem, {}, key); });
}

void queues() {
    fixture<qvds_node> f, t;
    const auto compare = by_key<qvds_node>;
    qvds_list list, other;
    qvds::fifo<&linked::link> queue, rest;

    measure("qvds_fifo_init", 1, [&] { qvds_fifo_init(&list); });
    qvds_fifo_init(&other);
    f.each("qvds_fifo_append", [&](linked *elem) { qvds_fifo_append(&list, elem); });
    t.each("fifo::push_back", [&](linked *elem) { queue.push_back(*elem); });
    measure("qvds_fifo_cut", 1, [&] { qvds_fifo_cut(&list, &other, f.middle); });
    measure("fifo::cut", 1, [&] { rest = queue.cut(*t.middle); });
    measure("qvds_fifo_concat", 1, [&] { qvds_fifo_concat(&list, &other); });
    measure("fifo::concat", 1, [&] { queue.concat(rest); });
    measure("qvds_fifo_extract", 1, [&] { qvds_fifo_extract(&list, f.middle, compare); });
    measure("fifo::extract", 1, [&] { keep(queue.extract(t.middle->key, key)); });
    f.each("qvds_fifo_pop", [&](linked *) { qvds_fifo_pop(&list); });
    t.each("fifo::pop_front", [&](linked *) { keep(queue.pop_front()); });
    f.each("qvds_fifo_push", [&](linked *elem) { qvds_fifo_push(&list, elem); });
    t.each("fifo::push_front", [&](linked *elem) { queue.push_front(*elem); });
    qvds_fifo_init(&list);
    qvds_fifo_append(&list, f.middle);
    f.each_other("qvds_fifo_insert",
                 [&](linked *elem) { qvds_fifo_insert(&list, f.middle, elem); });
    queue.clear();
    queue.push_back(*t.middle);
    t.each_other("fifo::insert_after", [&](linked *elem) { queue.insert_after(*t.middle, *elem); });
    qvds_fifo_init(&list);
    f.each("qvds_fifo_insert_sorted",
           [&](linked *elem) { qvds_fifo_insert_sorted(&list, elem, compare); });
    queue.clear();
    t.each("fifo::insert_sorted", [&](linked *elem) { queue.insert_sorted(*elem, {}, key); });
}

void double_ended_queues() {
    fixture<qvds_node> f, t;
    const auto compare = by_key<qvds_node>;
    qvds_list list, other;
    qvds::fifo2<&linked::link> queue, rest;

    measure("qvds_list_init", 1, [&] { qvds_list_init(&list); });
    qvds_list_init(&other);
    f.each("qvds_fifo2_append", [&](linked *elem) { qvds_fifo2_append(&list, elem); });
    t.each("fifo2::push_back", [&](linked *elem) { queue.push_back(*elem); });
    measure("qvds_list_top", 1, [&] { qvds_list_top(&list); });
    measure("fifo2::front", 1, [&] { keep(queue.front()); });
    measure("qvds_list_bottom", 1, [&] { qvds_list_bottom(&list); });
    measure("fifo2::back", 1, [&] { keep(queue.back()); });
    measure("qvds_node_find", 1, [&] { qvds_node_find(&list, f.middle, compare); });
    measure("fifo2::find", 1, [&] { keep(queue.find(t.middle->key, key)); });
    measure("qvds_node_enum", n, [&] { qvds_node_enum(&list, visit, nullptr); });
    measure("fifo2::begin...end", n, [&] { visit_all(queue); });
    measure("qvds_node_reverse_enum", n, [&] { qvds_node_reverse_enum(&list, visit, nullptr); });
    measure("fifo2::rbegin...rend", n, [&] {
        for (auto at = queue.rbegin(); at != queue.rend(); ++at)
            keep(*at);
    });
    qvds_node_iter cursor;
    measure("qvds_node_iter_init", 1, [&] { qvds_node_iter_init(&cursor, &list); });
    measure("qvds_node_iter_peek", 1, [&] { qvds_node_iter_peek(&cursor); });
    f.each("qvds_node_iter_next", [&](linked *) { qvds_node_iter_next(&cursor); });
    measure("qvds_fifo2_cut", 1, [&] { qvds_fifo2_cut(&list, &other, f.middle); });
    measure("fifo2::cut", 1, [&] { rest = queue.cut(*t.middle); });
    measure("qvds_fifo2_concat", 1, [&] { qvds_fifo2_concat(&list, &other); });
    measure("fifo2::concat", 1, [&] { queue.concat(rest); });
    measure("qvds_fifo2_extract", 1, [&] { qvds_fifo2_extract(&list, f.middle, compare); });
    measure("fifo2::extract", 1, [&] { keep(queue.extract(t.middle->key, key)); });
    qvds_fifo2_push(&list, f.middle);
    f.each("qvds_fifo2_extract_existing",
           [&](linked *elem) { qvds_fifo2_extract_existing(&list, elem); });
    queue.push_front(*t.middle);
    t.each("fifo2::unlink", [&](linked *elem) { queue.unlink(*elem); });
    f.each("qvds_fifo2_push", [&](linked *elem) { qvds_fifo2_push(&list, elem); });
    t.each("fifo2::push_front", [&](linked *elem) { queue.push_front(*elem); });
    f.each("qvds_fifo2_pop", [&](linked *) { qvds_fifo2_pop(&list); });
    t.each("fifo2::pop_front", [&](linked *) { keep(queue.pop_front()); });
    qvds_fifo2_append(&list, f.middle);
    f.each_other("qvds_fifo2_insert",
                 [&](linked *elem) { qvds_fifo2_insert(&list, f.middle, elem); });
    queue.push_back(*t.middle);
    t.each_other("fifo2::insert_after",
                 [&](linked *elem) { queue.insert_after(*t.middle, *elem); });
    f.each("qvds_fifo2_pop_tail", [&](linked *) { qvds_fifo2_pop_tail(&list); });
    t.each("fifo2::pop_back", [&](linked *) { keep(queue.pop_back()); });
    f.each("qvds_fifo2_insert_sorted",
           [&](linked *elem) { qvds_fifo2_insert_sorted(&list, elem, compare); });
    t.each("fifo2::insert_sorted", [&](linked *elem) { queue.insert_sorted(*elem, {}, key); });
}

void sloppy_lists() {
    fixture<qvds_node> f, t;
    const auto compare = by_key<qvds_node>;
    void *handle = nullptr, *other = nullptr;
    using sloppy = qvds::sloppy<&linked::link>;
    sloppy list, rest;

    f.each("qvds_sloppy_insert", [&](linked *elem) { qvds_sloppy_insert(&handle, elem); });
    t.each("sloppy::insert", [&](linked *elem) { list.insert(*elem); });
    measure("qvds_sloppy_first", 1, [&] { qvds_sloppy_first(f.middle); });
    measure("sloppy::first", 1, [&] { keep(sloppy::first(*t.middle)); });
    measure("qvds_sloppy_last", 1, [&] { qvds_sloppy_last(f.middle); });
    measure("sloppy::last", 1, [&] { keep(sloppy::last(*t.middle)); });
    measure("qvds_sloppy_count", n, [&] { qvds_sloppy_count(f.middle); });
    measure("sloppy::count", n, [&] { keep(sloppy::count(*t.middle)); });
    measure("qvds_sloppy_find", 1, [&] { qvds_sloppy_find(handle, f.middle, compare); });
    measure("sloppy::find", 1, [&] { keep(list.find(t.middle->key, key)); });
    measure("qvds_sloppy_cut", 1, [&] { other = qvds_sloppy_cut(f.middle); });
    measure("sloppy::cut", 1, [&] { rest = list.cut(*t.middle); });
    measure("qvds_sloppy_concat", 1, [&] { qvds_sloppy_concat(handle, other); });
    measure("sloppy::concat", 1, [&] { list.concat(rest); });
    measure("qvds_sloppy_extract", 1, [&] { qvds_sloppy_extract(&handle, f.middle, compare); });
    measure("sloppy::extract", 1, [&] { keep(list.extract(t.middle->key, key)); });
    qvds_sloppy_insert(&handle, f.middle);
    f.each("qvds_sloppy_extract_existing",
           [&](linked *elem) { qvds_sloppy_extract_existing(&handle, elem); });
    list.insert(*t.middle);
    t.each("sloppy::unlink", [&](linked *elem) { list.unlink(*elem); });
    f.each("qvds_sloppy_push", [&](linked *elem) { qvds_sloppy_push(&handle, elem); });
    t.each("sloppy::push_front", [&](linked *elem) { list.push_front(*elem); });
    handle = nullptr;
    measure("qvds_sloppy_append", 10, [&] {
        for (uint32_t i = 0; i < 10; ++i)
            qvds_sloppy_append(&handle, f.shuffled[i]);
    });
    list.clear();
    measure("sloppy::push_back", 10, [&] {
        for (uint32_t i = 0; i < 10; ++i)
            list.push_back(*t.shuffled[i]);
    });
}

size_t key_as_hash(const void *elem) {
    return static_cast<const linked *>(elem)->key;
}
struct key_itself {
    size_t operator()(uint32_t k) const { return k; }
};

void hashes() {
    fixture<qvds_node> f, t;
    const auto compare = by_key<qvds_node>;
    std::vector<void *> buckets(512), typed_buckets(512);
    qvds_hash table;
    qvds::hash<&linked::link, key, key_itself> index(typed_buckets);
    std::vector<linked> twins(f.elements), typed_twins(t.elements);

    measure("qvds_hash_init", 1,
            [&] { qvds_hash_init(&table, buckets.data(), key_as_hash, buckets.size()); });
    f.each("qvds_hash_store", [&](linked *elem) { qvds_hash_store(&table, elem); });
    t.each("hash::store", [&](linked *elem) { index.store(*elem); });
    f.each("qvds_hash_retrieve", [&](linked *elem) { qvds_hash_retrieve(&table, elem, compare); });
    t.each("hash::find", [&](linked *elem) { keep(index.find(elem->key)); });
    measure("qvds_hash_enum", n, [&] { qvds_hash_enum(&table, visit, nullptr); });
    measure("hash::begin...end", n, [&] { visit_all(index); });
    measure("qvds_hash_chain_enum", 512, [&] { qvds_hash_chain_enum(&table, visit, nullptr); });
    f.each("qvds_hash_extract", [&](linked *elem) { qvds_hash_extract(&table, elem, compare); });
    t.each("hash::extract", [&](linked *elem) { keep(index.extract(elem->key)); });
    f.each("qvds_hash_searchinsert",
           [&](linked *elem) { qvds_hash_searchinsert(&table, elem, compare); });
    t.each("hash::insert_or_find", [&](linked *elem) { keep(index.insert_or_find(*elem)); });
    measure("qvds_hash_storereplace", n, [&] {
        for (auto &twin : twins)
            qvds_hash_storereplace(&table, &twin, compare);
    });
    measure("hash::store_or_replace", n, [&] {
        for (auto &twin : typed_twins)
            keep(index.store_or_replace(twin));
    });
    measure("qvds_hash_unroll", n, [&] { qvds_hash_unroll(&table, visit, nullptr); });
    measure("hash::clear_and_dispose", n,
            [&] { index.clear_and_dispose([](const linked *elem) { keep(elem); }); });
}

void unlinking_hashes() {
    fixture<qvds_node> f, t;
    const auto compare = by_key<qvds_node>;
    std::vector<void *> buckets(512), typed_buckets(512);
    qvds_hash table;
    qvds_hash_init(&table, buckets.data(), key_as_hash, buckets.size());
    qvds::hash2<&linked::link, key, key_itself> index(typed_buckets);
    std::vector<linked> twins(f.elements), typed_twins(t.elements);

    f.each("qvds_hash2_store", [&](linked *elem) { qvds_hash2_store(&table, elem); });
    t.each("hash2::store", [&](linked *elem) { index.store(*elem); });
    f.each("qvds_hash2_unlink", [&](linked *elem) { qvds_hash2_unlink(&table, elem); });
    t.each("hash2::unlink", [&](linked *elem) { index.unlink(*elem); });
    f.each("qvds_hash2_searchinsert",
           [&](linked *elem) { qvds_hash2_searchinsert(&table, elem, compare); });
    t.each("hash2::insert_or_find", [&](linked *elem) { keep(index.insert_or_find(*elem)); });
    measure("qvds_hash2_storereplace", n, [&] {
        for (auto &twin : twins)
            qvds_hash2_storereplace(&table, &twin, compare);
    });
    measure("hash2::store_or_replace", n, [&] {
        for (auto &twin : typed_twins)
            keep(index.store_or_replace(twin));
    });
    f.each("qvds_hash2_extract", [&](linked *elem) { qvds_hash2_extract(&table, elem, compare); });
    t.each("hash2::extract", [&](linked *elem) { keep(index.extract(elem->key)); });
    for (auto *elem : f.shuffled)
        qvds_hash2_store(&table, elem);
    measure("qvds_hash2_unroll", n, [&] { qvds_hash2_unroll(&table, visit, nullptr); });
    for (auto *elem : t.shuffled)
        index.store(*elem);
    measure("hash2::clear_and_dispose", n,
            [&] { index.clear_and_dispose([](const linked *elem) { keep(elem); }); });
}

void heaps() {
    using element = keyed<uint32_t>; // the link is the slot
    fixture<uint32_t> f, t;
    std::vector<void *> slots(n + 1), typed_slots(n + 1);
    qvds_heap heap;
    qvds::heap<element, &element::key, nullptr> bare(typed_slots);

    measure("qvds_heap_init", 1,
            [&] { qvds_heap_init(&heap, slots.data(), by_key<uint32_t>, nullptr, n); });
    f.each("qvds_heap_insert", [&](element *item) { qvds_heap_insert(&heap, item); });
    t.each("heap::push", [&](element *item) { (void)bare.push(*item); });
    measure("qvds_heap_empty", 1, [&] { qvds_heap_empty(&heap); });
    measure("heap::empty", 1, [&] { keep(bare.empty()); });
    measure("qvds_heap_full", 1, [&] { qvds_heap_full(&heap); });
    measure("heap::full", 1, [&] { keep(bare.full()); });
    measure("qvds_heap_find_top", 1, [&] { qvds_heap_find_top(&heap); });
    measure("heap::top", 1, [&] { keep(bare.top()); });
    f.each("qvds_heap_remove_top", [&](element *) { qvds_heap_remove_top(&heap); });
    t.each("heap::pop", [&](element *) { keep(bare.pop()); });
    qvds::heap<element, &element::key, &element::link> handles(typed_slots);
    for (auto *item : t.shuffled)
        (void)handles.push(*item);
    t.each("heap::update", [&](element *item) {
        item->key = item->key * 613 % n;
        handles.update(*item);
    });
    t.each("heap::erase", [&](element *item) { handles.erase(*item); });
    for (uint32_t i = 0; i < n; ++i)
        slots[i + 1] = f.shuffled[i];
    heap.count = n;
    measure("qvds_heap_fix_down", n / 2, [&] {
        for (uint32_t k = n / 2; k > 0; --k)
            qvds_heap_fix_down(&heap, k, n);
    });
    for (uint32_t i = 0; i < n; ++i)
        typed_slots[i + 1] = t.shuffled[i];
    measure("heap::heapify", n / 2, [&] { bare.heapify(n); });
    for (uint32_t i = 0; i < n; ++i)
        slots[i + 1] = f.shuffled[i];
    measure("qvds_heap_fix_up", n, [&] {
        for (uint32_t k = 1; k <= n; ++k)
            qvds_heap_fix_up(&heap, k);
    });
}

// A clock that tells the time in the ticks of the keys.
struct key_clock {
    using duration = std::chrono::milliseconds;
    using rep = duration::rep;
    using period = duration::period;
    using time_point = std::chrono::time_point<key_clock>;
    static time_point at(uint32_t ticks) { return time_point(duration(ticks)); }
};

void calendars() {
    using timer = keyed<qvds_cq_entry>;
    fixture<qvds_cq_entry> f, t;
    std::array<qvds_cq_entry *, 256> days{}, typed_days{};
    qvds_cq cq;
    qvds::calendar<&timer::link, key_clock> calendar(typed_days, std::chrono::milliseconds(2),
                                                     key_clock::at(0));
    for (auto &entry : f.elements)
        entry.link.expires = entry.key / 2;

    measure("qvds_cq_init", 1, [&] { qvds_cq_init(&cq, days.data(), 256, 2); });
    f.each("qvds_cq_insert", [&](timer *entry) { qvds_cq_insert(&cq, &entry->link); });
    t.each("calendar::schedule",
           [&](timer *entry) { (void)calendar.schedule(*entry, key_clock::at(entry->key / 2)); });
    f.each("qvds_cq_delete", [&](timer *entry) { qvds_cq_delete(&cq, &entry->link); });
    t.each("calendar::cancel", [&](timer *entry) { calendar.cancel(*entry); });
    for (auto *entry : f.shuffled)
        qvds_cq_insert(&cq, &entry->link);
    measure("qvds_cq_iterate_expired", n, [&] {
        for (uint32_t day = 0; day < 256; ++day)
            qvds_cq_iterate_expired(&cq, day, n / 2, visit, nullptr);
    });
    for (auto *entry : t.shuffled)
        (void)calendar.schedule(*entry, key_clock::at(entry->key / 2));
    measure("calendar::advance", n, [&] {
        for (uint32_t day = 0; day < 256; ++day)
            calendar.advance(key_clock::at(2 * day + 1), [](const timer &due) { keep(due); });
    });
}

void *visit_hook(void *, int32_t, void *) {
    return nullptr;
}
int32_t remove_third(void *hook, int32_t, void *, void *) {
    return static_cast<const int32_t *>(hook)[0] % 3 == 0;
}
int32_t in_order(const void *hook, const void *stored) {
    return *static_cast<const int32_t *>(hook) < *static_cast<const int32_t *>(stored) ? -1 : 2;
}

void lists() {
    std::vector<int32_t> hooks(n);
    std::iota(hooks.begin(), hooks.end(), 0);
    int32_t *const middle = &hooks[n / 2];
    list_link *list = nullptr;
    qvds::list<int32_t> typed;
    const auto fill = [&] {
        for (int32_t &hook : hooks)
            list_push(&hook, &list);
    };
    const auto fill_typed = [&] {
        for (int32_t &hook : hooks)
            (void)typed.push_front(hook);
    };
    const auto empty = [&] {
        while (list != nullptr)
            list_pop(&list);
    };

    measure("list_push", n, fill);
    measure("list::push_front", n, fill_typed);
    measure("list_length", n, [&] { list_length(list); });
    measure("list::count", n, [&] { keep(typed.count()); });
    measure("list_find_element", 1, [&] { list_find_element(middle, list, hash_intcmp); });
    measure("list::find", 1, [&] { keep(typed.find(*middle)); });
    measure("list_find_link", 1, [&] { list_find_link(middle, list); });
    measure("list::contains", 1, [&] { keep(typed.contains(*middle)); });
    measure("list_peek", 1, [&] { list_peek(list); });
    measure("list_next", n, [&] {
        for (const list_link *at = list; at != nullptr; at = list_next(at))
            ;
    });
    void **table = nullptr;
    measure("list_2_table", n, [&] { table = list_2_table(list, nullptr); });
    free(table);
    std::vector<int32_t *> room(n);
    measure("list::copy_to", n, [&] { keep(typed.copy_to(room)); });
    measure("list_iter_set", 1, [&] { list_iter_set(list); });
    measure("list_iter_clear", 1, [&] { list_iter_clear(&list); });
    measure("list_iterate", n, [&] { list_iterate(&list, visit_hook, nullptr); });
    measure("list::walk", n, [&] { visit_all(typed.walk()); });
    measure("list_del", 1, [&] { list_del(middle, &list, hash_intcmp); });
    measure("list_del_link", 1, [&] { list_del_link(middle + 1, &list); });
    measure("list::erase", 1, [&] { keep(typed.erase(middle[1])); });
    measure("list_iterate_del", n,
            [&] { list_iterate_del(&list, remove_third, nullptr, nullptr); });
    measure("list::erase_if", n,
            [&] { typed.erase_if([](int32_t hook) { return hook % 3 == 0; }); });
    empty();
    fill();
    measure("list_pop", n, empty);
    typed.clear();
    fill_typed();
    measure("list::pop_front", n, [&] {
        while (!typed.empty())
            keep(typed.pop_front());
    });
    measure("list_append", 10, [&] {
        for (uint32_t i = 0; i < 10; ++i)
            list_append(&hooks[i], &list);
    });
    measure("list::push_back", 10, [&] {
        for (uint32_t i = 0; i < 10; ++i)
            (void)typed.push_back(hooks[i]);
    });
    empty();
    typed.clear();
    measure("list_insert", 100, [&] {
        for (uint32_t i = 0; i < 100; ++i)
            list_insert(&hooks[i * 37 % 100], &list, in_order);
    });
    measure("list::insert_sorted", 100, [&] {
        for (uint32_t i = 0; i < 100; ++i)
            (void)typed.insert_sorted(hooks[i * 37 % 100]);
    });
    empty();
}

struct int_behind {
    int32_t operator()(const int32_t *k) const { return *k; }
};
struct equal_behind {
    bool operator()(const int32_t *a, const int32_t *b) const { return *a == *b; }
};

void keyed_hashes() {
    std::vector<int32_t> keys(n);
    std::iota(keys.begin(), keys.end(), 0);
    hashlist *table = nullptr;
    using keyed_hash =
        qvds::keyed_hash<const int32_t *, int32_t, int_behind, equal_behind, int32_t>;
    keyed_hash typed = keyed_hash::make(512);
    const auto each = [&](const char *operation, auto body) {
        measure(operation, n, [&] {
            for (int32_t &k : keys)
                body(&k);
        });
    };

    measure("hash_create", 1, [&] { table = hash_create(512, hash_int, nullptr, hash_intcmp); });
    each("hash_add", [&](int32_t *k) { hash_add(table, k, k); });
    each("keyed_hash::add", [&](int32_t *k) { (void)typed.add(k, *k); });
    each("hash_find_element", [&](int32_t *k) { hash_find_element(table, k); });
    each("keyed_hash::find", [&](int32_t *k) { keep(typed.find(k)); });
    each("hash_set_metadata", [&](int32_t *k) { hash_set_metadata(table, k, k); });
    each("keyed_hash::set_metadata", [&](int32_t *k) { typed.set_metadata(k, k); });
    each("hash_get_metadata", [&](int32_t *k) { hash_get_metadata(table, k); });
    each("keyed_hash::metadata", [&](int32_t *k) { keep(typed.metadata(k)); });
    measure("hash_length", n, [&] { hash_length(table); });
    measure("keyed_hash::count", n, [&] { keep(typed.count()); });
    measure("hash_iterate", n, [&] { hash_iterate(table, visit_hook, nullptr); });
    measure("keyed_hash::walk", n, [&] { visit_all(typed.walk()); });
    measure("hash_iterate_del", n,
            [&] { hash_iterate_del(table, remove_third, nullptr, nullptr); });
    measure("keyed_hash::erase_if", n,
            [&] { typed.erase_if([](const auto &entry) { return entry.value() % 3 == 0; }); });
    each("hash_del_element", [&](int32_t *k) { hash_del_element(table, k); });
    each("keyed_hash::erase", [&](int32_t *k) { typed.erase(k); });
    for (int32_t &k : keys)
        hash_add(table, &k, &k);
    each("hash_double_func", [&](int32_t *k) { hash_double_func(*k, 512, table->lists); });
    measure("hash_del", n, [&] { hash_del(table); });
    each("hash_int", [](int32_t *k) { hash_int(k); });
    each("hash_intcmp", [&](int32_t *k) { hash_intcmp(k, keys.data()); });
    each("hash_mult_func", [](int32_t *k) { hash_mult_func(*k, 512, nullptr); });
    measure("hash_atoi", 1, [] { hash_atoi("a key of the usual length"); });
}

void rings() {
    qvcq ring;
    qvcq_entry *entry;
    char message[100] = {};
    int32_t length = sizeof message;
    auto typed = *qvds::ring::make(128, n);
    const auto each = [&](const char *operation, auto body) {
        measure(operation, n, [&] {
            for (uint32_t i = 0; i < n; ++i)
                body();
        });
    };

    measure("qvcq_init", 1, [&] { (void)qvcq_init(&ring, 128, n + 1); });
    each("qvcq_enqueue", [&] { qvcq_enqueue(&ring, &entry); });
    each("ring::write", [&] { typed.write().commit(sizeof message); });
    each("qvcq_cancel", [&] { qvcq_cancel(&ring); });
    each("ring::cancel", [&] { keep(typed.cancel()); });
    each("qvcq_copyto_queue", [&] { qvcq_copyto_queue(&ring, message, sizeof message); });
    each("ring::push", [&] { keep(typed.push(std::as_bytes(std::span(message)))); });
    measure("qvcq_get_size", 1, [&] { qvcq_get_size(&ring); });
    measure("ring::size", 1, [&] { keep(typed.size()); });
    measure("qvcq_peek", 1, [&] { qvcq_peek(&ring, &entry); });
    measure("ring::front", 1, [&] { keep(typed.front()); });
    each("qvcq_copyfrom_queue", [&] { qvcq_copyfrom_queue(&ring, message, &length); });
    each("ring::pop(buffer)", [&] { keep(typed.pop(std::as_writable_bytes(std::span(message)))); });
    for (uint32_t i = 0; i < n; ++i) {
        qvcq_enqueue(&ring, &entry);
        typed.write().commit(sizeof message);
    }
    each("qvcq_dequeue", [&] { qvcq_dequeue(&ring, &entry); });
    each("ring::pop", [&] { keep(typed.pop()); });
    measure("qvcq_reset", 1, [&] { qvcq_reset(&ring); });
    measure("ring::reset", 1, [&] { typed.reset(); });
    measure("qvcq_destroy", 1, [&] { qvcq_destroy(&ring); });
}

void print_nothing(const qv_tree *, FILE *) {}

void counted_trees() {
    using item = keyed<nothing>;
    fixture<nothing> f, t;
    const auto compare = by_key<nothing>;
    qv_tree *root = &qv_tree_null;
    qvds::counted_tree<&item::key> tree;

    measure("qv_tree_new", 1, [&] { root = qv_tree_new(f.shuffled[0]); });
    f.each("qv_tree_insert", [&](item *i) { root = qv_tree_insert(root, compare, i); });
    t.each("counted_tree::insert", [&](item *i) { keep(tree.insert(*i)); });
    f.each("qv_tree_find", [&](item *i) { qv_tree_find(root, compare, i); });
    t.each("counted_tree::find", [&](item *i) { keep(tree.find(i->key)); });
    t.each("counted_tree::lower_bound", [&](item *i) { keep(tree.lower_bound(i->key)); });
    t.each("counted_tree::rank", [&](item *i) { keep(tree.rank(i->key)); });
    t.each("counted_tree::nth", [&](item *i) { keep(tree.nth(i->key)); });
    for (const int32_t order : {QV_TREE_PREORDER, QV_TREE_POSTORDER, QV_TREE_INORDER})
        measure(("qv_tree_iter(" + std::to_string(order) + ")").c_str(), n,
                [&] { qv_tree_iter(root, visit, order, nullptr); });
    measure("counted_tree::walk", n, [&] { visit_all(tree.walk()); });
    measure("counted_tree::begin...end", n, [&] { visit_all(tree); });
    FILE *const sink = std::fopen("/dev/null", "w");
    measure("qv_tree_dump", n, [&] { qv_tree_dump(root, print_nothing, 0, sink, 0); });
    std::fclose(sink);
    measure("qv_tree_partition", n, [&] {
        for (int32_t i = 0; i < int32_t{n}; ++i)
            root = qv_tree_partition(root, i * 613 % int32_t{n});
    });
    measure("qv_tree_rotate_left", 1, [&] { root = qv_tree_rotate_left(root); });
    measure("qv_tree_rotate_right", 1, [&] { root = qv_tree_rotate_right(root); });
    qvds::counted_tree<&item::key> upper;
    upper = tree.split_at(n / 2);
    root = qv_tree_partition(root, n / 2);
    qv_tree *const right = root->right;
    root->right = &qv_tree_null;
    root->count -= right->count;
    measure("qv_tree_join", 1, [&] { root = qv_tree_join(root, right); });
    measure("counted_tree::join", 1, [&] { tree.join(upper); });
    measure("counted_tree::split_at", 1, [&] { upper = tree.split_at(n / 2); });
    tree.join(upper);
    measure("qv_tree_balance", n, [&] { root = qv_tree_balance(root); });
    measure("counted_tree::balance", n, [&] { tree.balance(); });
    f.each("qv_tree_delete", [&](item *i) { root = qv_tree_delete(root, compare, i); });
    t.each("counted_tree::erase", [&](item *i) { keep(tree.erase(i->key)); });
    measure("counted_tree::load_sorted", n, [&] { (void)tree.load_sorted(t.elements); });
    measure("counted_tree::clear", n, [&] { tree.clear(); });
}

void aa_trees() {
    using element = keyed<AA_node>;
    fixture<AA_node> f, t;
    const auto compare = by_key<AA_node>;
    AA_node *root = nullptr, *twin = nullptr, *out = nullptr;
    qvds::aa_tree<&element::link, &element::key> tree;

    f.each("AA_insert", [&](element *e) { root = AA_insert(root, &e->link, compare, nullptr); });
    t.each("aa_tree::insert", [&](element *e) { keep(tree.insert(*e)); });
    f.each("AA_find", [&](element *e) { AA_find(root, e, compare); });
    t.each("aa_tree::find", [&](element *e) { keep(tree.find(e->key)); });
    t.each("aa_tree::lower_bound", [&](element *e) { keep(tree.lower_bound(e->key)); });
    t.each("aa_tree::next", [&](element *e) { keep(tree.next(*e)); });
    measure("AA_first", 1, [&] { AA_first(root); });
    measure("aa_tree::first", 1, [&] { keep(tree.first()); });
    measure("AA_last", 1, [&] { AA_last(root); });
    measure("aa_tree::last", 1, [&] { keep(tree.last()); });
    measure("AA_iterate", n, [&] { AA_iterate(root, visit, nullptr); });
    measure("aa_tree::walk", n, [&] { visit_all(tree.walk()); });
    measure("AA_dup", n, [&] { twin = AA_dup(root, sizeof(element) - sizeof(AA_node)); });
    measure("AA_free", n, [&] { AA_free(twin); });
    f.each("AA_delete", [&](element *e) { root = AA_delete(root, e, compare, &out); });
    t.each("aa_tree::erase", [&](element *e) { keep(tree.erase(e->key)); });
    void *node = nullptr;
    measure("AA_new", 1, [&] { node = AA_new(8); });
    free(node);
    measure("AA_insert(ascending)", n, [&] {
        for (auto &elem : f.elements)
            root = AA_insert(root, &elem.link, compare, nullptr);
    });
    measure("aa_tree::insert(ascending)", n, [&] {
        for (auto &elem : t.elements)
            keep(tree.insert(elem));
    });
    measure("aa_tree::clear_and_dispose", n,
            [&] { tree.clear_and_dispose([](const element *elem) { keep(elem); }); });
}

} // namespace

int main() {
    stacks();
    queues();
    double_ended_queues();
    sloppy_lists();
    hashes();
    unlinking_hashes();
    heaps();
    calendars();
    lists();
    keyed_hashes();
    rings();
    counted_trees();
    aa_trees();
}

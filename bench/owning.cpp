// The owning list, which allocates its links and holds pointers to the caller's records, and the
// hash of a string.
#include "data.hpp"

#include <qvds/key_functions.h>
#include <qvds/list.hpp>

#include <cstring>
#include <glib.h>
#include <list>
#include <vector>

using namespace bench;

namespace {

struct no_hook {};
using plain = record<no_hook>;

// --- Lists. `add` puts a record before the one in hand, or in front; `pop` takes it from there, `walk`
// visits all, and `remove_some` takes out a third on the way.

bool goes(const payload &r) {
    return r.key % 3 == 0;
}

struct owning_list : ours<"qvds list_"> {
    using place = list_link *;
    list_link *head = nullptr;

    void clear() {
        while (head != nullptr)
            list_pop(&head);
    }
    place add(plain &r, place before) {
        if (before == nullptr || before == head)
            return list_push(&r, &head);
        return list_push(&r, &before);
    }
    const plain *pop() { return static_cast<plain *>(list_pop(&head)); }
    void walk(uint64_t &sum) {
        const auto visit = [](void *hook, int32_t, void *ctx) -> void * {
            fold(*static_cast<uint64_t *>(ctx), static_cast<plain *>(hook)->key);
            return nullptr;
        };
        list_iterate(&head, visit, &sum);
    }
    void remove_some(uint64_t &sum) {
        const auto visit = [](void *hook, int32_t, void *ctx, void *) -> int32_t {
            const plain &r = *static_cast<plain *>(hook);
            fold(*static_cast<uint64_t *>(ctx), r.key);
            return goes(r);
        };
        list_iterate_del(&head, visit, &sum, nullptr);
    }
};

struct typed_list : typed<"qvds::list"> {
    using place = list_link *;
    qvds::list<plain> list;

    void clear() { list.clear(); }
    place add(plain &r, place before) {
        if (before == nullptr || before == list.c_record())
            return list.push_front(r);
        return list_push(&r, &before);
    }
    const plain *pop() { return list.pop_front(); }
    void walk(uint64_t &sum) const {
        for (const plain &r : list.walk())
            fold(sum, r.key);
    }
    void remove_some(uint64_t &sum) {
        list.erase_if([&](const plain &r) {
            fold(sum, r.key);
            return goes(r);
        });
    }
};

struct glib_list : called<"GList"> {
    using place = GList *;
    GList *head = nullptr;

    void clear() {
        g_list_free(head);
        head = nullptr;
    }
    place add(plain &r, place before) {
        if (before == nullptr || before == head)
            return head = g_list_prepend(head, &r);
        head = g_list_insert_before(head, before, &r);
        return before->prev;
    }
    const plain *pop() {
        const auto *const r = static_cast<plain *>(head->data);
        head = g_list_delete_link(head, head);
        return r;
    }
    void walk(uint64_t &sum) {
        const auto visit = [](void *data, void *ctx) {
            fold(*static_cast<uint64_t *>(ctx), static_cast<plain *>(data)->key);
        };
        g_list_foreach(head, visit, &sum);
    }
    void remove_some(uint64_t &sum) {
        for (GList *at = head, *next = nullptr; at != nullptr; at = next) {
            next = at->next;
            const plain &r = *static_cast<plain *>(at->data);
            fold(sum, r.key);
            if (goes(r))
                head = g_list_delete_link(head, at);
        }
    }
};

struct std_list : inlined<"std::list"> {
    using place = std::list<plain *>::iterator;
    std::list<plain *> list;

    void clear() { list.clear(); }
    place add(plain &r, place before) {
        return list.insert(before == place() ? list.begin() : before, &r);
    }
    const plain *pop() {
        const plain *const r = list.front();
        list.pop_front();
        return r;
    }
    void walk(uint64_t &sum) const {
        for (const plain *r : list)
            fold(sum, r->key);
    }
    void remove_some(uint64_t &sum) {
        for (auto at = list.begin(); at != list.end();) {
            const plain &r = **at;
            fold(sum, r.key);
            at = goes(r) ? list.erase(at) : std::next(at);
        }
    }
};

// Its front is the back. In the middle half of it would have to move, so it is filled from a list.
struct std_vector : packed<"std::vector"> {
    using place = std_list::place;
    std_list order;
    std::vector<plain *> items;

    void clear() {
        order.clear();
        items.clear();
    }
    place add(plain &r, place before) { return order.add(r, before); }
    void settle() { items.assign(order.list.rbegin(), order.list.rend()); }
    void push(plain &r) { items.push_back(&r); }
    const plain *pop() {
        const plain *const r = items.back();
        items.pop_back();
        return r;
    }
    void walk(uint64_t &sum) const {
        std::for_each(items.rbegin(), items.rend(), [&](const plain *r) { fold(sum, r->key); });
    }
    void remove_some(uint64_t &sum) {
        const auto gone = std::remove_if(items.rbegin(), items.rend(), [&](const plain *r) {
            fold(sum, r->key);
            return goes(*r);
        });
        items.erase(items.begin(), gone.base());
    }
};

// Each record goes before one that is there already, at random: so links lie in memory in no order
// of the list's.
template <class C>
struct lists {
    size_t ops;
    std::vector<pool<plain>> pools;
    std::vector<C> made;
    std::vector<typename C::place> places;

    explicit lists(const instance &at)
        : ops(at.n), pools(per_set(at, [&](uint64_t set) { return keyed_pool<plain>(at.n, set); })),
          made(at.sets), places(at.n) {}
    ~lists() {
        for (C &list : made)
            list.clear();
    }
    void build(size_t set) {
        made[set].clear();
        generator random(set + 50);
        for (size_t i = 0; i < places.size(); ++i)
            places[i] = made[set].add(pools[set][i],
                                      i == 0 ? typename C::place() : places[random.below(i)]);
        if constexpr (requires { made[set].settle(); })
            made[set].settle();
    }
};

template <class C>
struct list_push_pop : lists<C> {
    explicit list_push_pop(const instance &at) : lists<C>(at) { this->ops *= 2; }
    uint64_t work(size_t set) {
        C &list = this->made[set];
        uint64_t sum = 0;
        for (plain *r : this->pools[set])
            if constexpr (requires { list.push(*r); })
                list.push(*r);
            else
                list.add(*r, {});
        for (size_t left = this->pools[set].size(); left > 0; --left)
            fold(sum, list.pop()->key);
        return sum;
    }
};

template <class C>
struct list_walk : lists<C> {
    size_t rounds;
    explicit list_walk(const instance &at)
        : lists<C>(at), rounds(std::max<size_t>(8'000 / at.n, 1)) {
        this->ops *= rounds;
        for (size_t set = 0; set < at.sets; ++set)
            this->build(set);
    }
    template <int shift>
    uint64_t work(size_t set) {
        pad<shift>();
        uint64_t sum = 0;
        for (size_t round = 0; round < rounds; ++round)
            this->made[set].walk(sum);
        return sum;
    }
};

template <class C>
struct list_remove : lists<C> {
    using lists<C>::lists;
    void prepare(size_t set) { this->build(set); }
    uint64_t work(size_t set) {
        uint64_t sum = 0;
        this->made[set].remove_some(sum);
        return sum;
    }
    uint64_t check(size_t set) {
        uint64_t sum = 0;
        this->made[set].walk(sum);
        return sum;
    }
};

// --- Hashing a string. n is its length. Contenders compute different numbers, so each checks its
// own against the definition.

// Byte by byte, as the definition has it.
template <class Step>
uint32_t by_definition(const char *s, size_t length, uint32_t value, Step step) {
    for (size_t i = 0; i < length; ++i)
        value = step(value, static_cast<uint32_t>(static_cast<signed char>(s[i])));
    return value;
}

struct qvds_string : ours<"hash_atoi"> {
    static uint64_t hash(const char *s, size_t) { return static_cast<uint32_t>(hash_atoi(s)); }
    static uint64_t expected(const char *s, size_t length) {
        return by_definition(s, length, 0, [](uint32_t v, uint32_t c) { return v + c + 65'599; });
    }
};
struct glib_string : called<"g_str_hash"> {
    static uint64_t hash(const char *s, size_t) { return g_str_hash(s); }
    static uint64_t expected(const char *s, size_t length) {
        return by_definition(s, length, 5'381, [](uint32_t v, uint32_t c) { return v * 33 + c; });
    }
};
struct hand_string : limit<"sum of words, length known"> {
    static uint64_t hash(const char *s, size_t length) {
        uint64_t sum = 0, word = 0;
        for (size_t i = 0; i + sizeof word <= length; i += sizeof word) {
            memcpy(&word, s + i, sizeof word);
            sum += word;
        }
        return sum;
    }
    static uint64_t expected(const char *s, size_t length) { return hash(s, length); }
};

template <class C>
struct string_hash {
    static constexpr size_t strings = 256; // in a set, one behind another
    size_t length, ops = strings;
    std::vector<std::vector<char>> text;
    std::vector<uint64_t> expected;

    explicit string_hash(const instance &at) : length(at.n) {
        for (size_t set = 0; set < at.sets; ++set) {
            generator random(set);
            std::vector<char> &t = text.emplace_back(strings * (length + 1));
            uint64_t &sum = expected.emplace_back(0);
            for (size_t s = 0; s < strings; ++s) {
                char *const string = &t[s * (length + 1)];
                for (size_t i = 0; i < length; ++i)
                    string[i] = static_cast<char>(random.below(255) + 1);
                fold(sum, C::expected(string, length));
            }
        }
    }
    template <int shift>
    uint64_t work(size_t set) {
        pad<shift>();
        uint64_t sum = 0;
        for (size_t s = 0; s < strings; ++s)
            fold(sum, C::hash(&text[set][s * (length + 1)], length));
        return sum - expected[set];
    }
};

const rows owning = {
    {"list/push-pop", cached_sizes(),
     enter<list_push_pop, owning_list, typed_list, glib_list, std_list, std_vector>},
    {"list/walk",
     sizes({1.5, 1.4}, {0, 1.4}, {0, 1.4}),
     enter<list_walk, owning_list, typed_list, glib_list, std_list, std_vector>,
     {"GList", "std::list"}},
    {"list/remove-third", sizes({0, 1.05}),
     enter<list_remove, owning_list, typed_list, glib_list, std_list, std_vector>},
    {"key/hash_atoi",
     {{"8", 8, {0.80, 0}},
      {"16", 16, {0.40, 0}},
      {"64", 64, {0.09, 0}},
      {"1000", 1000, {0.045, 0}}},
     enter<string_hash, qvds_string, glib_string, hand_string>},
};

} // namespace

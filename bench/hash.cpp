// Hash tables: over the caller's buckets and records, and keyed. Contenders use one hash function,
// except where the table brings its own: the keyed table with its integer keys.
#include "data.hpp"

#include <qvds/hash.hpp>
#include <qvds/hash2.hpp>
#include <qvds/key_functions.h>
#include <qvds/keyed_hash.hpp>
#include <qvds/node.h>

#include <absl/container/flat_hash_map.h>
#include <apr_general.h>
#include <apr_hash.h>
#include <apr_pools.h>
#include <bit>
#include <boost/intrusive/unordered_set.hpp>
#include <bsd/sys/queue.h>
#include <glib.h>
#include <unordered_map>
#define HASH_FUNCTION(key, length, hash) ((hash) = hash_of(*static_cast<const uint32_t *>(key)))
#include <uthash.h>

using namespace bench;
namespace bi = boost::intrusive;

namespace {

uint32_t hash_of(uint32_t key) {
    return static_cast<uint32_t>(key * 0x9e3779b97f4a7c15 >> 32);
}

struct hash_key {
    size_t operator()(uint32_t key) const { return hash_of(key); }
    size_t operator()(const payload &r) const { return hash_of(r.key); }
};
struct equal_key {
    bool operator()(uint32_t key, const payload &r) const { return key == r.key; }
    bool operator()(const payload &a, const payload &b) const { return a.key == b.key; }
};

// A table is made for a number of buckets, if it takes one, and filled with `store`, or with `insert`,
// which looks first whether the key is there. `extract` and `find` go by key; `unlink` has the record
// in hand.

template <class Hook>
struct intrusive {
    using record = bench::record<Hook>;
    static size_t hash(const void *elem) { return hash_of(static_cast<const record *>(elem)->key); }
    static int32_t compare(const void *key, const void *elem) {
        return three_way(static_cast<const record *>(key)->key,
                         static_cast<const record *>(elem)->key);
    }
    static record probe(uint32_t key) {
        record r;
        r.key = key;
        return r;
    }
};

struct one_link {
    void *next;
};

struct table1 : ours<"qvds_hash">, intrusive<one_link> {
    std::vector<void *> buckets;
    qvds_hash table;

    explicit table1(size_t size) : buckets(size) {
        qvds_hash_init(&table, buckets.data(), hash, size);
    }
    void clear() { std::fill(buckets.begin(), buckets.end(), nullptr); }
    void store(record &r) { qvds_hash_store(&table, &r); }
    bool insert(record &r) { return qvds_hash_searchinsert(&table, &r, compare) == &r; }
    const payload *find(uint32_t key) const {
        const record wanted = probe(key);
        return static_cast<record *>(qvds_hash_retrieve(&table, &wanted, compare));
    }
    const payload *extract(uint32_t key) {
        const record wanted = probe(key);
        return static_cast<record *>(qvds_hash_extract(&table, &wanted, compare));
    }
};

struct table2 : ours<"qvds_hash2">, intrusive<qvds_node> {
    std::vector<void *> buckets;
    qvds_hash table;

    explicit table2(size_t size) : buckets(size) {
        qvds_hash_init(&table, buckets.data(), hash, size);
    }
    void clear() { std::fill(buckets.begin(), buckets.end(), nullptr); }
    void store(record &r) { qvds_hash2_store(&table, &r); }
    void unlink(record &r) { qvds_hash2_unlink(&table, &r); }
};

struct two_words {
    qvds_node link;
};

struct typed_table1 : typed<"qvds::hash"> {
    using record = bench::record<one_link>;
    std::vector<void *> buckets;
    qvds::hash<qvds::hook<record, &one_link::next>, &record::key, hash_key> table;

    explicit typed_table1(size_t size) : buckets(size), table(buckets) {}
    void clear() { table.clear(); }
    void store(record &r) { table.store(r); }
    bool insert(record &r) { return table.insert_or_find(r).fresh; }
    const payload *find(uint32_t key) const { return table.find(key); }
    const payload *extract(uint32_t key) { return table.extract(key); }
};

struct typed_table2 : typed<"qvds::hash2"> {
    using record = bench::record<two_words>;
    std::vector<void *> buckets;
    qvds::hash2<qvds::hook<record, &two_words::link>, &record::key, hash_key> table;

    explicit typed_table2(size_t size) : buckets(size), table(buckets) {}
    void clear() { table.clear(); }
    void store(record &r) { table.store(r); }
    void unlink(record &r) { table.unlink(r); }
};

struct no_hook {};

struct keyed : ours<"qvds hash_"> {
    using record = bench::record<no_hook>;
    hashlist *table;

    explicit keyed(size_t size)
        : table(hash_create(static_cast<int32_t>(size), hash_int, nullptr, hash_intcmp)) {}
    ~keyed() { hash_del(table); }
    void clear() {
        hash_iterate_del(
            table, [](void *, int32_t, void *, void *) { return 1; }, nullptr, nullptr);
    }
    void store(record &r) { hash_add(table, &r.key, &r); }
    const payload *find(uint32_t key) const {
        return static_cast<record *>(hash_find_element(table, &key));
    }
};

struct glib_table : called<"GHashTable">, intrusive<no_hook> {
    static guint hash(const void *elem) { return hash_of(static_cast<const record *>(elem)->key); }
    static gboolean equal(const void *a, const void *b) { return compare(a, b) == 0; }
    GHashTable *table = g_hash_table_new(hash, equal);

    explicit glib_table(size_t) {}
    ~glib_table() { g_hash_table_destroy(table); }
    void clear() {
        g_hash_table_destroy(table);
        table = g_hash_table_new(hash, equal);
    }
    void store(record &r) { g_hash_table_add(table, &r); }
    bool insert(record &r) { return g_hash_table_add(table, &r) != 0; }
    const payload *find(uint32_t key) const {
        const record wanted = probe(key);
        return static_cast<record *>(g_hash_table_lookup(table, &wanted));
    }
    const payload *extract(uint32_t key) {
        const record wanted = probe(key);
        gpointer found = nullptr;
        g_hash_table_steal_extended(table, &wanted, &found, nullptr);
        return static_cast<record *>(found);
    }
    void unlink(record &r) { g_hash_table_remove(table, &r); }
};

struct apr_table : called<"apr_hash">, intrusive<no_hook> {
    static unsigned hash(const char *key, apr_ssize_t *) {
        uint32_t value = 0;
        memcpy(&value, key, sizeof value);
        return hash_of(value);
    }
    apr_pool_t *memory = nullptr;
    apr_hash_t *table;

    explicit apr_table(size_t) {
        static const apr_status_t initialized = apr_initialize();
        (void)initialized;
        apr_pool_create(&memory, nullptr);
        table = apr_hash_make_custom(memory, hash);
    }
    ~apr_table() { apr_pool_destroy(memory); }
    void clear() {
        apr_pool_clear(memory);
        table = apr_hash_make_custom(memory, hash);
    }
    void store(record &r) { apr_hash_set(table, &r.key, sizeof r.key, &r); }
    bool insert(record &r) {
        return apr_hash_get(table, &r.key, sizeof r.key) == nullptr && (store(r), true);
    }
    const payload *find(uint32_t key) const {
        return static_cast<record *>(apr_hash_get(table, &key, sizeof key));
    }
    const payload *extract(uint32_t key) {
        const payload *const found = find(key);
        apr_hash_set(table, &key, sizeof key, nullptr);
        return found;
    }
    void unlink(record &r) { apr_hash_set(table, &r.key, sizeof r.key, nullptr); }
};

struct typed_keyed : typed<"qvds::keyed_hash"> {
    struct hash {
        uint32_t operator()(const uint32_t *key) const { return hash_of(*key); }
    };
    struct equal {
        bool operator()(const uint32_t *a, const uint32_t *b) const { return *a == *b; }
    };
    using record = bench::record<no_hook>;
    using keyed_hash = qvds::keyed_hash<const uint32_t *, record, hash, equal>;
    keyed_hash table;

    explicit typed_keyed(size_t size) : table(keyed_hash::make(size)) {}
    void clear() {
        table.erase_if([](const auto &) { return true; });
    }
    void store(record &r) { (void)table.add(&r.key, r); }
    const payload *find(uint32_t key) const { return table.find(&key); }
};

template <bool power_of_two>
struct boost_table : inlined<"Boost unordered_set"> {
    using hook = bi::unordered_set_base_hook<bi::link_mode<bi::normal_link>>;
    using record = bench::record<hook>;
    using set = bi::unordered_set<record, bi::hash<hash_key>, bi::equal<equal_key>,
                                  bi::constant_time_size<false>, bi::power_2_buckets<power_of_two>>;
    std::vector<typename set::bucket_type> buckets;
    set table;

    explicit boost_table(size_t size)
        : buckets(size), table(typename set::bucket_traits(buckets.data(), size)) {}
    void clear() { table.clear(); }
    void store(record &r) { table.insert(r); }
    bool insert(record &r) { return table.insert(r).second; }
    const payload *find(uint32_t key) const {
        const auto at = table.find(key, hash_key(), equal_key());
        return at != table.end() ? &*at : nullptr;
    }
    const payload *extract(uint32_t key) {
        const payload *found = nullptr;
        table.erase_and_dispose(key, hash_key(), equal_key(), [&](payload *r) { found = r; });
        return found;
    }
    void unlink(record &r) { table.erase(table.iterator_to(r)); }
};

template <literal text, class Map>
struct standard_table : inlined<text> {
    struct hook {
        typename Map::iterator at;
    };
    using record = bench::record<hook>;
    Map table;

    explicit standard_table(size_t size) : table(size) {}
    void clear() { table.clear(); }
    void store(record &r) {
        if constexpr (requires { r.at = table.emplace(r.key, &r); })
            r.at = table.emplace(r.key, &r);
        else
            insert(r);
    }
    bool insert(record &r) {
        const auto [at, fresh] = table.emplace(r.key, &r);
        r.at = at;
        return fresh;
    }
    const payload *find(uint32_t key) const {
        const auto at = table.find(key);
        return at != table.end() ? at->second : nullptr;
    }
    const payload *extract(uint32_t key) {
        const auto at = table.find(key);
        const payload *const found = at->second;
        table.erase(at);
        return found;
    }
    void unlink(record &r) { table.erase(r.at); }
};
using std_map =
    standard_table<"std::unordered_map", std::unordered_map<uint32_t, payload *, hash_key>>;
using std_multimap = standard_table<"std::unordered_multimap",
                                    std::unordered_multimap<uint32_t, payload *, hash_key>>;

// Keys and pointers to the records in one array, probed by groups.
struct absl_table : packed<"absl::flat_hash_map"> {
    using record = bench::record<no_hook>;
    absl::flat_hash_map<uint32_t, payload *, hash_key> table;
    size_t size;

    explicit absl_table(size_t expected) : size(expected) { clear(); }
    void clear() {
        table.clear();
        table.reserve(size); // which a large table forgets when it is cleared
    }
    void store(record &r) { table.emplace(r.key, &r); }
    bool insert(record &r) { return table.emplace(r.key, &r).second; }
    const payload *find(uint32_t key) const {
        const auto at = table.find(key);
        return at != table.end() ? at->second : nullptr;
    }
    const payload *extract(uint32_t key) {
        const auto at = table.find(key);
        const payload *const found = at->second;
        table.erase(at);
        return found;
    }
    void unlink(record &r) { table.erase(r.key); }
};

struct uthash_hook {
    UT_hash_handle hh;
};
struct uthash_table : inlined<"uthash"> {
    using record = bench::record<uthash_hook>;
    record *table = nullptr;

    explicit uthash_table(size_t) {}
    ~uthash_table() { clear(); }
    void clear() { HASH_CLEAR(hh, table); }
    void store(record &r) {
        record *const added = &r;
        HASH_ADD(hh, table, key, sizeof r.key, added);
    }
    bool insert(record &r) {
        record *found = nullptr, *const added = &r;
        const unsigned hash = hash_of(r.key);
        HASH_FIND_BYHASHVALUE(hh, table, &r.key, sizeof r.key, hash, found);
        if (found != nullptr)
            return false;
        HASH_ADD_BYHASHVALUE(hh, table, key, sizeof r.key, hash, added);
        return true;
    }
    const payload *find(uint32_t key) const {
        record *found = nullptr;
        HASH_FIND(hh, table, &key, sizeof key, found);
        return found;
    }
    const payload *extract(uint32_t key) {
        record *found = nullptr;
        HASH_FIND(hh, table, &key, sizeof key, found);
        HASH_DELETE(hh, table, found);
        return found;
    }
    void unlink(record &r) {
        record *const removed = &r;
        HASH_DELETE(hh, table, removed);
    }
};

// The limits: buckets and links, with nothing around them.
struct hand_table : limit<"buckets by hand"> {
    struct hook {
        bench::record<hook> *next;
    };
    using record = bench::record<hook>;
    std::vector<record *> buckets;

    explicit hand_table(size_t size) : buckets(std::bit_ceil(size)) {}
    void clear() { std::fill(buckets.begin(), buckets.end(), nullptr); }
    record **slot(uint32_t key) { return &buckets[hash_of(key) & (buckets.size() - 1)]; }
    void store(record &r) {
        record **const place = slot(r.key);
        r.next = *place;
        *place = &r;
    }
    const payload *find(uint32_t key) {
        record *r = *slot(key);
        while (r != nullptr && r->key != key)
            r = r->next;
        return r;
    }
    const payload *extract(uint32_t key) {
        record **place = slot(key);
        while ((*place)->key != key)
            place = &(*place)->next;
        const record *const found = *place;
        *place = found->next;
        return found;
    }
};

struct hand_table2 : limit<"LIST buckets by hand"> {
    struct hook {
        LIST_ENTRY(bench::record<hook>) link;
    };
    using record = bench::record<hook>;
    LIST_HEAD(bucket, bench::record<hook>);
    std::vector<bucket> buckets;

    explicit hand_table2(size_t size) : buckets(std::bit_ceil(size)) {}
    void clear() { std::fill(buckets.begin(), buckets.end(), bucket{}); }
    void store(record &r) {
        LIST_INSERT_HEAD(&buckets[hash_of(r.key) & (buckets.size() - 1)], &r, link);
    }
    void unlink(record &r) { LIST_REMOVE(&r, link); }
};

// --- Trials. The load is 1.

enum class buckets { power_of_two, prime };

size_t bucket_count(size_t n, buckets kind) {
    if (kind == buckets::power_of_two)
        return n;
    const auto prime = [](size_t p) {
        for (size_t d = 2; d * d <= p; ++d)
            if (p % d == 0)
                return false;
        return true;
    };
    while (!prime(n))
        ++n;
    return n;
}

template <class C, buckets kind>
struct tables {
    size_t n, ops;
    std::vector<pool<typename C::record>> pools;
    std::vector<std::unique_ptr<C>> made;

    explicit tables(const instance &at)
        : n(kind == buckets::power_of_two ? std::bit_ceil(at.n) : at.n), ops(n),
          pools(per_set(at, [&](uint64_t set) { return keyed_pool<typename C::record>(n, set); })) {
        for (size_t set = 0; set < at.sets; ++set) {
            made.push_back(std::make_unique<C>(bucket_count(n, kind)));
            refill(set);
        }
    }
    void refill(size_t set) {
        made[set]->clear();
        for (auto *r : pools[set])
            made[set]->store(*r);
    }
};

template <class C, buckets kind, bool present>
struct lookup : tables<C, kind> {
    std::vector<std::vector<uint32_t>> keys;

    explicit lookup(const instance &at) : tables<C, kind>(at) {
        for (size_t set = 0; set < at.sets; ++set) {
            keys.push_back(queries(at, set));
            for (uint32_t &key : keys.back())
                key = present ? key_of_rank(key) : absent_key(key);
        }
        this->ops = keys[0].size();
    }
    uint64_t work(size_t set) {
        uint64_t sum = 0;
        for (const uint32_t key : keys[set]) {
            const payload *const found = this->made[set]->find(key);
            fold(sum, found != nullptr ? found->serial : 1);
        }
        return sum;
    }
};
template <class C>
using hit = lookup<C, buckets::power_of_two, true>;
template <class C>
using hit_prime = lookup<C, buckets::prime, true>;
template <class C>
using miss = lookup<C, buckets::power_of_two, false>;

template <class C>
struct store : tables<C, buckets::prime> {
    using tables<C, buckets::prime>::tables;
    void prepare(size_t set) { this->made[set]->clear(); }
    uint64_t work(size_t set) {
        for (auto *r : this->pools[set])
            this->made[set]->store(*r);
        return 0;
    }
};

template <class C>
struct insert : store<C> {
    using store<C>::store;
    uint64_t work(size_t set) {
        uint64_t fresh = 0;
        for (auto *r : this->pools[set])
            fresh += this->made[set]->insert(*r);
        return fresh;
    }
};

template <class C>
struct extract : tables<C, buckets::prime> {
    std::vector<uint32_t> keys;

    explicit extract(const instance &at)
        : tables<C, buckets::prime>(at), keys(keys_of_ranks(shuffled(at.n, 5))) {}
    void prepare(size_t set) { this->refill(set); }
    uint64_t work(size_t set) {
        uint64_t sum = 0;
        for (const uint32_t key : keys)
            fold(sum, this->made[set]->extract(key)->serial);
        return sum;
    }
};

template <class C>
struct unlink : tables<C, buckets::power_of_two> {
    std::vector<std::vector<typename C::record *>> order;

    explicit unlink(const instance &at)
        : tables<C, buckets::power_of_two>(at), order(per_set(at, [&](uint64_t set) {
              return this->pools[set].chosen(shuffled(this->n, 5));
          })) {}
    void prepare(size_t set) { this->refill(set); }
    template <int shift>
    uint64_t work(size_t set) {
        pad<shift>();
        for (auto *r : order[set])
            this->made[set]->unlink(*r);
        return 0;
    }
};

const rows hash_tables = {
    {"hash/hit",
     sizes({0.90, 0.95}, {0.80, 0.95}, {0.80, 0.95}),
     enter<hit, table1, typed_table1, glib_table, apr_table, boost_table<true>, std_map,
           uthash_table, absl_table, hand_table>,
     {"GHashTable", "Boost unordered_set"}},
    {"hash/hit-prime", cached_sizes(),
     enter<hit_prime, table1, typed_table1, glib_table, apr_table, boost_table<false>, std_map,
           uthash_table, absl_table>},
    {"hash/miss", sizes({0, 1.0}),
     enter<miss, table1, typed_table1, glib_table, apr_table, boost_table<true>, std_map,
           uthash_table, absl_table, hand_table>},
    {"hash/extract", sizes({0.65, 0.85}),
     enter<extract, table1, typed_table1, glib_table, apr_table, boost_table<false>, std_map,
           uthash_table, absl_table>},
    {"hash/store", sizes({0.12, 0.5}),
     enter<store, table1, typed_table1, glib_table, apr_table, boost_table<false>, std_multimap,
           uthash_table, absl_table>},
    {"hash/search-insert", cached_sizes(),
     enter<insert, table1, typed_table1, glib_table, apr_table, boost_table<false>, std_map,
           uthash_table, absl_table>},
    {"hash2/unlink", sizes({0.08, 0.6}),
     enter<unlink, table2, typed_table2, glib_table, apr_table, boost_table<true>, std_map,
           uthash_table, absl_table, hand_table2>},
    {"keyed/hit",
     sizes({1.25, 2.2}, {}, {}),
     enter<hit, keyed, typed_keyed, glib_table, apr_table, std_multimap, uthash_table, absl_table>,
     {"GHashTable", "std::unordered_multimap"}},
    {"keyed/miss", sizes({0.95, 1.8}, {}, {}),
     enter<miss, keyed, typed_keyed, glib_table, apr_table, std_multimap, uthash_table,
           absl_table>},
    {"keyed/add", cached_sizes(),
     enter<store, keyed, typed_keyed, glib_table, apr_table, std_multimap, uthash_table,
           absl_table>},
};

} // namespace

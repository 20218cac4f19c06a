// The two ordered trees. Every contender orders records by key; a key to look for comes as a number
// and is put in a record for those that compare records.
#include "data.hpp"

#include <qvds/aa.hpp>
#include <qvds/qv_tree.hpp>

#include <absl/container/btree_map.h>
#include <boost/intrusive/avl_set.hpp>
#include <boost/intrusive/bs_set.hpp>
#include <boost/intrusive/set.hpp>
#include <bsd/sys/tree.h>
#include <ext/pb_ds/assoc_container.hpp>
#include <ext/pb_ds/tree_policy.hpp>
#include <glib.h>
#include <search.h>
#include <set>
#include <span>

using namespace bench;
namespace bi = boost::intrusive;

namespace {

struct no_hook {};
using plain = record<no_hook>;

template <class Record>
Record probe(uint32_t key) {
    Record r;
    r.key = key;
    return r;
}
template <class Record>
int32_t compare(const void *a, const void *b) {
    return three_way(static_cast<const Record *>(a)->key, static_cast<const Record *>(b)->key);
}
template <class Record>
int32_t fold_key(void *elem, void *sum) {
    fold(*static_cast<uint64_t *>(sum), static_cast<Record *>(elem)->key);
    return 0;
}

// --- Trees with `add`, `find`, `erase`, `walk` and `clear`; some with `lower_bound`, `kth`, `rank`,
// and `load`, which takes records that ascend. `settle` comes between filling and searching.

template <class Container>
const payload *at_place(const Container &in, typename Container::const_iterator at) {
    return at != in.end() ? &*at : nullptr;
}

struct aa : ours<"qvds AA_"> {
    using record = bench::record<AA_node>;
    AA_node *root = nullptr;

    void clear() { root = nullptr; }
    void add(record &r) { root = AA_insert(root, &r, compare<record>, nullptr); }
    const payload *find(uint32_t key) const {
        const record wanted = probe<record>(key);
        return static_cast<record *>(AA_find(root, &wanted, compare<record>));
    }
    void erase(uint32_t key) {
        const record wanted = probe<record>(key);
        AA_node *out = nullptr;
        root = AA_delete(root, &wanted, compare<record>, &out);
    }
    void walk(uint64_t &sum) const { AA_iterate(root, fold_key<record>, &sum); }
};

struct typed_aa : typed<"qvds::aa_tree"> {
    struct hook {
        AA_node node;
    };
    using record = bench::record<hook>;
    qvds::aa_tree<qvds::hook<record, &hook::node>, &record::key> tree;

    void clear() { tree.clear(); }
    void add(record &r) { (void)tree.insert(r); }
    const payload *find(uint32_t key) const { return tree.find(key); }
    const payload *lower_bound(uint32_t key) const { return tree.lower_bound(key); }
    void erase(uint32_t key) { tree.erase(key); }
    void walk(uint64_t &sum) const {
        for (const record &r : tree.walk())
            fold(sum, r.key);
    }
};

struct counted : ours<"qv_tree"> {
    using record = plain;
    qv_tree *root = &qv_tree_null;

    void clear() {
        const auto release = [](void *node, void *) -> int32_t { return std::free(node), 0; };
        qv_tree_iter(root, release, QV_TREE_POSTORDER, nullptr);
        root = &qv_tree_null;
    }
    void settle() { root = qv_tree_balance(root); }
    void add(record &r) { root = qv_tree_insert(root, compare<record>, &r); }
    const payload *find(uint32_t key) const {
        const record wanted = probe<record>(key);
        const qv_tree *const node = qv_tree_find(root, compare<record>, &wanted);
        return node != nullptr ? static_cast<record *>(node->item) : nullptr;
    }
    void erase(uint32_t key) {
        const record wanted = probe<record>(key);
        root = qv_tree_delete(root, compare<record>, &wanted);
    }
    const payload *kth(uint32_t rank) {
        root = qv_tree_partition(root, static_cast<int32_t>(rank));
        return static_cast<record *>(root->item);
    }
    void load(const pool<record> &ascending) {
        for (record *r : ascending)
            root = qv_tree_join(root, qv_tree_new(r));
        settle();
    }
};

constexpr auto plain_by_key = qvds::item<plain, &plain::key>;

struct typed_counted : typed<"qvds::counted_tree"> {
    using record = plain;
    qvds::counted_tree<plain_by_key> tree;

    void clear() { tree.clear(); }
    void settle() { tree.balance(); }
    void add(record &r) { (void)tree.insert(r); }
    const payload *find(uint32_t key) const { return tree.find(key); }
    void erase(uint32_t key) { tree.erase(key); }
    const payload *lower_bound(uint32_t key) const { return at_place(tree, tree.lower_bound(key)); }
    const payload *kth(uint32_t rank) const { return tree.nth(rank); }
    size_t rank(uint32_t key) const { return tree.rank(key); }
    void load(const pool<record> &ascending) { (void)tree.load_sorted(ascending); }
};

struct glib_tree : called<"GTree"> {
    using record = plain;
    GTree *tree = g_tree_new(compare<record>);

    void clear() { g_tree_remove_all(tree); }
    void add(record &r) { g_tree_insert(tree, &r, &r); }
    const payload *find(uint32_t key) const {
        const record wanted = probe<record>(key);
        return static_cast<record *>(g_tree_lookup(tree, &wanted));
    }
    void erase(uint32_t key) {
        const record wanted = probe<record>(key);
        g_tree_remove(tree, &wanted);
    }
    const payload *lower_bound(uint32_t key) const {
        const record wanted = probe<record>(key);
        GTreeNode *const node = g_tree_lower_bound(tree, &wanted);
        return node != nullptr ? static_cast<record *>(g_tree_node_key(node)) : nullptr;
    }
    void walk(uint64_t &sum) const {
        const auto visit = [](void *key, void *, void *ctx) { return fold_key<record>(key, ctx); };
        g_tree_foreach(tree, visit, &sum);
    }
};

struct search_tree : called<"tsearch"> {
    using record = plain;
    void *root = nullptr;

    void clear() {
        tdestroy(root, [](void *) {});
        root = nullptr;
    }
    void add(record &r) { tsearch(&r, &root, compare<record>); }
    const payload *find(uint32_t key) const {
        const record wanted = probe<record>(key);
        void *const node = tfind(&wanted, &root, compare<record>);
        return node != nullptr ? *static_cast<record **>(node) : nullptr;
    }
    void erase(uint32_t key) {
        const record wanted = probe<record>(key);
        tdelete(&wanted, &root, compare<record>);
    }
    void walk(uint64_t &sum) const {
        const auto visit = [](const void *node, VISIT when, void *ctx) {
            if (when == postorder || when == leaf) // "postorder" is what POSIX calls it
                fold_key<record>(*static_cast<record *const *>(node), ctx);
        };
        twalk_r(root, visit, &sum);
    }
};

struct glib_sequence : called<"GSequence"> {
    using record = plain;
    GSequence *sequence = g_sequence_new(nullptr);

    static int order(const void *a, const void *b, void *) { return compare<record>(a, b); }
    void clear() {
        g_sequence_remove_range(g_sequence_get_begin_iter(sequence),
                                g_sequence_get_end_iter(sequence));
    }
    void add(record &r) { g_sequence_insert_sorted(sequence, &r, order, nullptr); }
    GSequenceIter *at(uint32_t key) const {
        record wanted = probe<record>(key);
        return g_sequence_lookup(sequence, &wanted, order, nullptr);
    }
    const payload *find(uint32_t key) const {
        GSequenceIter *const found = at(key);
        return found != nullptr ? static_cast<record *>(g_sequence_get(found)) : nullptr;
    }
    void erase(uint32_t key) { g_sequence_remove(at(key)); }
    size_t rank(uint32_t key) const {
        return static_cast<size_t>(g_sequence_iter_get_position(at(key)));
    }
    void load(const pool<record> &ascending) {
        for (record *r : ascending)
            g_sequence_append(sequence, r);
    }
    const payload *kth(uint32_t rank) {
        return static_cast<record *>(
            g_sequence_get(g_sequence_get_iter_at_pos(sequence, static_cast<int>(rank))));
    }
};

struct by_key {
    using is_transparent = void;
    bool operator()(const payload &a, const payload &b) const { return a.key < b.key; }
    bool operator()(const payload &a, uint32_t b) const { return a.key < b; }
    bool operator()(uint32_t a, const payload &b) const { return a < b.key; }
    bool operator()(const payload *a, const payload *b) const { return a->key < b->key; }
};

// With a hint, a record is to go behind all others.
template <literal text, class Set, bool hinted = false>
struct inlined_set : inlined<text> {
    Set set;

    void clear() { set.clear(); }
    void add(auto &r) {
        if constexpr (hinted)
            set.insert(set.end(), r);
        else
            set.insert(r);
    }
    void walk(uint64_t &sum) const {
        for (const auto &r : set)
            fold(sum, r.key);
    }
};

template <literal text, bool hinted = false>
struct standard_set : inlined_set<text, std::set<payload, by_key>, hinted> {
    using record = plain;
    const payload *find(uint32_t key) const { return at_place(this->set, this->set.find(key)); }
    const payload *lower_bound(uint32_t key) const {
        return at_place(this->set, this->set.lower_bound(key));
    }
    void erase(uint32_t key) { this->set.erase(this->set.find(key)); }
};
using std_set = standard_set<"std::set">;
using std_set_hinted = standard_set<"std::set, hint", true>;

template <literal text, class Hook, template <class, class...> class Set, bool hinted = false>
struct boost_tree
    : inlined_set<text, Set<record<Hook>, bi::compare<by_key>, bi::constant_time_size<false>>,
                  hinted> {
    using record = bench::record<Hook>;
    const payload *find(uint32_t key) const {
        return at_place(this->set, this->set.find(key, by_key()));
    }
    const payload *lower_bound(uint32_t key) const {
        return at_place(this->set, this->set.lower_bound(key, by_key()));
    }
    void erase(uint32_t key) { this->set.erase(key, by_key()); }
};
using normal = bi::link_mode<bi::normal_link>;
using boost_set = boost_tree<"Boost set", bi::set_base_hook<normal>, bi::set>;
using boost_set_hinted = boost_tree<"Boost set, hint", bi::set_base_hook<normal>, bi::set, true>;
using boost_avl_set = boost_tree<"Boost avl_set", bi::avl_set_base_hook<normal>, bi::avl_set>;
using boost_avl_set_hinted =
    boost_tree<"Boost avl_set, hint", bi::avl_set_base_hook<normal>, bi::avl_set, true>;

struct bsd_hook {
    RB_ENTRY(bench::record<bsd_hook>) link;
};
using bsd_record = record<bsd_hook>;
inline int bsd_compare(const bsd_record *a, const bsd_record *b) {
    return three_way(a->key, b->key);
}
RB_HEAD(bsd_head, bench::record<bsd_hook>);
RB_GENERATE_INTERNAL(bsd_head, bench::record<bsd_hook>, link, bsd_compare, [[maybe_unused]] static)

struct bsd_tree : inlined<"RB"> {
    using record = bsd_record;
    bsd_head head = RB_INITIALIZER(&head);

    void clear() { RB_INIT(&head); }
    void add(record &r) { RB_INSERT(bsd_head, &head, &r); }
    record *find(uint32_t key) const {
        record wanted = probe<record>(key);
        return RB_FIND(bsd_head, const_cast<bsd_head *>(&head), &wanted);
    }
    const payload *lower_bound(uint32_t key) const {
        record wanted = probe<record>(key);
        return RB_NFIND(bsd_head, const_cast<bsd_head *>(&head), &wanted);
    }
    void erase(uint32_t key) { RB_REMOVE(bsd_head, &head, find(key)); }
    void walk(uint64_t &sum) {
        record *r = nullptr;
        RB_FOREACH(r, bsd_head, &head)
        fold(sum, r->key);
    }
};

struct pb_ds_tree : inlined<"pb_ds tree"> {
    using record = plain;
    __gnu_pbds::tree<const payload *, __gnu_pbds::null_type, by_key, __gnu_pbds::rb_tree_tag,
                     __gnu_pbds::tree_order_statistics_node_update>
        tree;

    void clear() { tree.clear(); }
    void add(record &r) { tree.insert(&r); }
    const payload *find(uint32_t key) const {
        const payload wanted = probe<payload>(key);
        const auto at = tree.find(&wanted);
        return at != tree.end() ? *at : nullptr;
    }
    void erase(uint32_t key) {
        const payload wanted = probe<payload>(key);
        tree.erase(&wanted);
    }
    const payload *lower_bound(uint32_t key) const {
        const payload wanted = probe<payload>(key);
        const auto at = tree.lower_bound(&wanted);
        return at != tree.end() ? *at : nullptr;
    }
    const payload *kth(uint32_t rank) { return *tree.find_by_order(rank); }
    size_t rank(uint32_t key) const {
        const payload wanted = probe<payload>(key);
        return tree.order_of_key(&wanted);
    }
    void load(const pool<record> &ascending) {
        for (record *r : ascending)
            tree.insert(r);
    }
};

// Keys and pointers to the records, packed into nodes of many.
template <literal text, bool hinted = false>
struct b_tree : packed<text> {
    using record = plain;
    using items = absl::btree_map<uint32_t, const payload *>;
    items map;

    const payload *record_at(items::const_iterator at) const {
        return at != map.end() ? at->second : nullptr;
    }
    void clear() { map.clear(); }
    void add(record &r) {
        if constexpr (hinted)
            map.insert(map.end(), {r.key, &r});
        else
            map.insert({r.key, &r});
    }
    const payload *find(uint32_t key) const { return record_at(map.find(key)); }
    const payload *lower_bound(uint32_t key) const { return record_at(map.lower_bound(key)); }
    void erase(uint32_t key) { map.erase(key); }
    void walk(uint64_t &sum) const {
        for (const auto &[key, r] : map)
            fold(sum, r->key);
    }
};
using absl_btree = b_tree<"absl::btree_map">;
using absl_btree_hinted = b_tree<"absl::btree_map, hint", true>;

// Into its middle nothing is added, and nothing is taken out there: each time half of it would move.
struct sorted_vector : packed<"sorted std::vector"> {
    using record = plain;
    using item = std::pair<uint32_t, const payload *>;
    std::vector<item> items;

    void clear() { items.clear(); }
    void add(record &r) { items.emplace_back(r.key, &r); }
    void settle() { std::sort(items.begin(), items.end()); }
    auto place(uint32_t key) const {
        return std::lower_bound(items.begin(), items.end(), key,
                                [](const item &i, uint32_t k) { return i.first < k; });
    }
    const payload *find(uint32_t key) const {
        const auto at = place(key);
        return at != items.end() && at->first == key ? at->second : nullptr;
    }
    const payload *lower_bound(uint32_t key) const {
        const auto at = place(key);
        return at != items.end() ? at->second : nullptr;
    }
    void walk(uint64_t &sum) const {
        for (const item &i : items)
            fold(sum, i.second->key);
    }
    const payload *kth(uint32_t rank) const { return items[rank].second; }
    size_t rank(uint32_t key) const { return static_cast<size_t>(place(key) - items.begin()); }
    void load(const pool<record> &ascending) {
        items.reserve(ascending.size());
        for (record *r : ascending)
            add(*r);
    }
};

// A perfectly balanced tree, and a descent without a branch but for the match.
struct hand_tree : limit<"descent by hand"> {
    struct hook {
        bench::record<hook> *child[2];
    };
    using record = bench::record<hook>;
    std::vector<record *> sorted;
    record *root = nullptr;

    void clear() { sorted.clear(); }
    void add(record &r) { sorted.push_back(&r); }
    record *middle_of(std::span<record *> range) {
        if (range.empty())
            return nullptr;
        record *const r = range[range.size() / 2];
        r->child[0] = middle_of(range.first(range.size() / 2));
        r->child[1] = middle_of(range.subspan(range.size() / 2 + 1));
        return r;
    }
    void settle() {
        std::sort(sorted.begin(), sorted.end(),
                  [](const record *a, const record *b) { return a->key < b->key; });
        root = middle_of(sorted);
    }
    const payload *find(uint32_t key) const {
        const record *r = root;
        while (r != nullptr && r->key != key)
            r = r->child[key > r->key];
        return r;
    }
};

// --- Trials.

template <class C, bool ascending = false>
struct trees {
    size_t ops, batch; // how many are added or erased in one piece of work
    std::vector<pool<typename C::record>> pools;
    std::vector<C> made;

    explicit trees(const instance &at)
        : ops(at.n), batch(std::min<size_t>(at.n, 100'000)),
          pools(per_set(at,
                        [&](uint64_t set) {
                            if (!ascending)
                                return keyed_pool<typename C::record>(at.n, set);
                            pool<typename C::record> records(at.n, set, true);
                            for (size_t i = 0; i < at.n; ++i)
                                records[i].key = key_of_rank(i);
                            return records;
                        })),
          made(at.sets) {}
    ~trees() {
        for (C &tree : made)
            tree.clear();
    }
    void fill(size_t set, size_t count) {
        for (size_t i = 0; i < count; ++i)
            made[set].add(pools[set][i]);
        settle(set);
    }
    void settle(size_t set) {
        if constexpr (requires { made[set].settle(); })
            made[set].settle();
    }
    uint64_t check(size_t set) { // some of those that come and go, and some of the rest
        uint64_t sum = 0;
        const auto &records = pools[set];
        for (size_t i = 0; i < records.size(); i += records.size() / 16) {
            const payload *const found = made[set].find(records[i].key);
            fold(sum, found != nullptr ? found->serial : 1);
        }
        return sum;
    }
};

// Looks for the keys of records that are there, or for others.
template <class C, bool present>
struct search : trees<C> {
    std::vector<std::vector<uint32_t>> keys;

    explicit search(const instance &at) : trees<C>(at) {
        for (size_t set = 0; set < at.sets; ++set) {
            keys.push_back(queries(at, set));
            for (uint32_t &key : keys.back())
                key = present ? key_of_rank(key) : absent_key(key);
            this->fill(set, at.n);
        }
        this->ops = keys[0].size();
    }
};

template <class C>
struct find : search<C, true> {
    using search<C, true>::search;
    uint64_t work(size_t set) {
        uint64_t sum = 0;
        for (const uint32_t key : this->keys[set])
            fold(sum, this->made[set].find(key)->serial);
        return sum;
    }
};

template <class C>
struct lower_bound : search<C, false> {
    using search<C, false>::search;
    uint64_t work(size_t set) {
        uint64_t sum = 0;
        for (const uint32_t key : this->keys[set]) {
            const payload *const found = this->made[set].lower_bound(key);
            fold(sum, found != nullptr ? found->serial : 1);
        }
        return sum;
    }
};

template <class C>
struct rank_of : search<C, true> {
    using search<C, true>::search;
    uint64_t work(size_t set) {
        uint64_t sum = 0;
        for (const uint32_t key : this->keys[set])
            fold(sum, this->made[set].rank(key));
        return sum;
    }
};

template <class C>
struct kth : trees<C> {
    std::vector<std::vector<uint32_t>> ranks;

    explicit kth(const instance &at)
        : trees<C>(at), ranks(per_set(at, [&](uint64_t set) { return queries(at, set); })) {
        this->ops = ranks[0].size();
        for (size_t set = 0; set < at.sets; ++set)
            this->fill(set, at.n);
    }
    uint64_t work(size_t set) {
        uint64_t sum = 0;
        for (const uint32_t rank : ranks[set])
            fold(sum, this->made[set].kth(rank)->serial);
        return sum;
    }
};

// All at once, in ascending order.
template <class C>
struct load : trees<C, true> {
    using trees<C, true>::trees;
    void prepare(size_t set) { this->made[set].clear(); }
    uint64_t work(size_t set) {
        this->made[set].load(this->pools[set]);
        return 0;
    }
};

// From the empty tree; in the large size the last of the records, and they leave it again.
template <class C, bool ascending>
struct insert : trees<C, ascending> {
    size_t rest;
    bool full = false;

    explicit insert(const instance &at) : trees<C, ascending>(at), rest(at.n - this->batch) {
        this->ops = this->batch;
        if (rest != 0)
            this->fill(0, rest);
    }
    void prepare(size_t set) {
        if (rest == 0)
            this->made[set].clear();
        else if (full)
            for (size_t i = rest; i < rest + this->batch; ++i)
                this->made[set].erase(this->pools[set][i].key);
        full = true;
    }
    uint64_t work(size_t set) {
        for (size_t i = rest; i < rest + this->batch; ++i)
            this->made[set].add(this->pools[set][i]);
        return 0;
    }
};
template <class C>
using insert_random = insert<C, false>;
template <class C>
using insert_ascending = insert<C, true>;

// Down to the empty tree; in the large size some of the records, and they come back.
template <class C>
struct erase : trees<C> {
    std::vector<uint32_t> order;
    std::vector<std::vector<uint32_t>> keys;
    bool full = true;

    explicit erase(const instance &at) : trees<C>(at), order(shuffled(at.n, 11)) {
        this->ops = this->batch;
        order.resize(this->batch);
        keys = per_set(at, [&](uint64_t set) {
            std::vector<uint32_t> doomed;
            for (const auto *r : this->pools[set].chosen(order))
                doomed.push_back(r->key);
            return doomed;
        });
        if (at.n > this->batch)
            this->fill(0, at.n);
    }
    void prepare(size_t set) {
        if (this->batch == this->pools[set].size()) {
            this->made[set].clear();
            this->fill(set, this->batch);
            return;
        }
        if (!full)
            for (const uint32_t i : order)
                this->made[set].add(this->pools[set][i]);
        this->settle(set);
        full = false;
    }
    uint64_t work(size_t set) {
        for (const uint32_t key : keys[set])
            this->made[set].erase(key);
        return 0;
    }
};

template <class C>
struct walk : trees<C> {
    size_t rounds;

    explicit walk(const instance &at) : trees<C>(at), rounds(at.sets > 1 ? 8 : 1) {
        this->ops *= rounds;
        for (size_t set = 0; set < at.sets; ++set)
            this->fill(set, at.n);
    }
    uint64_t work(size_t set) {
        uint64_t sum = 0;
        for (size_t round = 0; round < rounds; ++round)
            this->made[set].walk(sum);
        return sum;
    }
};

// --- Chains to be balanced: what ascending insertion leaves, nodes one behind another in memory.

template <literal text, side where>
struct counted_chain : contestant<text, where> {
    std::vector<qv_tree *> nodes;
    qv_tree *root = &qv_tree_null;

    explicit counted_chain(size_t n) : nodes(n) {
        for (qv_tree *&node : nodes)
            node = qv_tree_new(nullptr);
        // Rows that ran before this one leave malloc to hand out what lies about.
        std::sort(nodes.begin(), nodes.end());
    }
    ~counted_chain() { std::for_each(nodes.begin(), nodes.end(), std::free); }
    void chain() {
        root = &qv_tree_null;
        for (size_t i = nodes.size(); i-- > 0;) {
            nodes[i]->left = &qv_tree_null;
            nodes[i]->right = root;
            nodes[i]->count = 1 + root->count;
            root = nodes[i];
        }
    }
    void balance() {
        if constexpr (where == side::typed)
            qvds::counted_tree_view<plain_by_key>(root).balance();
        else
            root = qv_tree_balance(root);
    }
};
using one_chain = counted_chain<"qv_tree", side::ours>;
using typed_chain = counted_chain<"qvds::counted_tree", side::typed>;

struct boost_chain : inlined<"Boost bs_set"> {
    using record = bench::record<bi::bs_set_base_hook<bi::link_mode<bi::normal_link>>>;
    pool<record> records;
    bi::bs_set<record, bi::compare<by_key>, bi::constant_time_size<false>> set;

    explicit boost_chain(size_t n) : records(n, 1, true) {
        for (size_t i = 0; i < n; ++i)
            records[i].key = key_of_rank(i);
    }
    void chain() {
        set.clear();
        for (record *r : records)
            set.push_back(*r);
    }
    void balance() { set.rebalance(); }
};

template <class C>
struct balance {
    size_t ops;
    std::vector<std::unique_ptr<C>> made;

    explicit balance(const instance &at) : ops(at.n) {
        for (size_t set = 0; set < at.sets; ++set)
            made.push_back(std::make_unique<C>(at.n));
    }
    void prepare(size_t set) { made[set]->chain(); }
    uint64_t work(size_t set) {
        made[set]->balance();
        return 0;
    }
};

const rows ordered_trees = {
    {"counted/find",
     sizes({0.85, 0.6}, {0.72, 0.55}, {1.0, 0.80}),
     enter<find, counted, typed_counted, search_tree, glib_sequence, pb_ds_tree, absl_btree,
           sorted_vector>,
     {"tsearch", "pb_ds tree"}},
    {"counted/lower-bound", cached_sizes(),
     enter<lower_bound, typed_counted, glib_tree, pb_ds_tree, absl_btree, sorted_vector>},
    {"counted/kth", sizes({1.0, 0.9}, {0.92, 0.9}, {0.80, 0.9}),
     enter<kth, counted, typed_counted, glib_sequence, pb_ds_tree, sorted_vector>},
    {"counted/rank", cached_sizes({0, 0.9}),
     enter<rank_of, typed_counted, glib_sequence, pb_ds_tree, sorted_vector>},
    {"counted/insert-random", cached_sizes(),
     enter<insert_random, counted, typed_counted, glib_sequence, pb_ds_tree>},
    {"counted/delete", sizes({0.80, 0.78}, {0.68, 0.68}, {1.0, 0.78}),
     enter<erase, counted, typed_counted, search_tree, glib_sequence, pb_ds_tree, absl_btree>},
    {"counted/load", sizes({0, 0.3}),
     enter<load, counted, typed_counted, glib_sequence, pb_ds_tree, sorted_vector>},
    {"counted/balance", sizes({0, 0.55}, {0, 0.36}, {0, 0.34}),
     enter<balance, one_chain, typed_chain, boost_chain>},
    {"aa/find",
     sizes({0.50, 0.60}, {0.42, 0.45}, {0.40, 0.55}),
     enter<find, aa, typed_aa, glib_tree, search_tree, std_set, boost_set, boost_avl_set, bsd_tree,
           absl_btree, sorted_vector, hand_tree>,
     {"tsearch", "Boost set"}},
    {"aa/lower-bound", sizes({0, 0.60}, {0, 0.45}, {0, 0.55}),
     enter<lower_bound, typed_aa, glib_tree, std_set, boost_set, boost_avl_set, bsd_tree,
           absl_btree, sorted_vector>},
    {"aa/insert-random", sizes({0.80, 1.1}, {0.55, 0.9}, {}),
     enter<insert_random, aa, typed_aa, glib_tree, search_tree, std_set, boost_set, boost_avl_set,
           bsd_tree, absl_btree>},
    {"aa/insert-ascending", sizes({1.1, 1.0}, {0.55, 1.5}, {}),
     enter<insert_ascending, aa, typed_aa, glib_tree, search_tree, std_set, boost_set,
           boost_avl_set, bsd_tree, absl_btree>},
    // Ascending, and whoever takes a hint is told so.
    {"aa/append", cached_sizes(),
     enter<insert_ascending, aa, typed_aa, std_set_hinted, boost_set_hinted, boost_avl_set_hinted,
           absl_btree_hinted>},
    {"aa/delete", sizes({1.0, 1.3}, {0.92, 1.0}, {0.82, 1.3}),
     enter<erase, aa, typed_aa, glib_tree, search_tree, std_set, boost_set, boost_avl_set, bsd_tree,
           absl_btree>},
    {"aa/walk", sizes({0.60, 0.50}, {0.62, 0.20}, {0.45, 0.22}),
     enter<walk, aa, typed_aa, glib_tree, search_tree, std_set, boost_set, boost_avl_set, bsd_tree,
           absl_btree, sorted_vector>},
};

} // namespace

// A cache that forgets what was used longest ago, under requests whose frequencies fall as those of
// web pages do: records in a table and on a queue at once. A hit moves its record to the back of
// the queue; a miss takes the record at the front out of both and reuses it.

#include "clients.hpp"

#include <glib.h>
#include <qvds/fifo.h>
#include <qvds/fifo2.hpp>
#include <qvds/hash2.hpp>

#include <bit>
#include <list>
#include <unordered_map>

namespace clients {

namespace {

struct load {
    size_t capacity;
    std::vector<uint64_t> requests;

    load(size_t room, size_t count) : capacity(room) {
        const zipf popularity(10 * room, 0.99);
        generator random(room);
        for (size_t i = 0; i < count; ++i)
            requests.push_back(key_of(popularity(random)));
    }
    // Keys say nothing about their popularity.
    static uint64_t key_of(size_t rank) { return generator(rank)(); }
};

// Plays the load. Store has find(key), which gives what use(found) takes, or null; full();
// evict_oldest(), which gives its key; and add(key).
template <class Store>
class cache {
  public:
    explicit cache(const load &of) : load_(of), store_(of.capacity) {}

    uint64_t run() {
        uint64_t hits = 0, evicted = 0;
        for (const uint64_t key : load_.requests) {
            if (auto *const found = store_.find(key)) {
                store_.use(found);
                ++hits;
                continue;
            }
            if (store_.full())
                bench::fold(evicted, store_.evict_oldest());
            store_.add(key);
        }
        return evicted + hits;
    }

  private:
    const load &load_;
    Store store_;
};

struct page {
    qvds_node in_use, in_table;
    uint64_t key;
};

size_t spread(uint64_t key) {
    return key * 0x9e3779b97f4a7c15 >> 32;
}

class with_c {
  public:
    explicit with_c(size_t capacity) : pages_(capacity), buckets_(std::bit_ceil(capacity)) {
        qvds_hash_init(&table_, buckets_.data(), hash, buckets_.size());
        qvds_fifo_init(&used_);
    }
    page *find(uint64_t key) {
        const page wanted{{}, {}, key};
        void *const link = qvds_hash_retrieve(&table_, &wanted.in_table, differ);
        return link != nullptr ? at(link) : nullptr;
    }
    void use(page *p) {
        qvds_fifo2_extract_existing(&used_, p);
        qvds_fifo2_append(&used_, p);
    }
    bool full() const { return taken_ == pages_.size(); }
    uint64_t evict_oldest() {
        spare_ = static_cast<page *>(qvds_fifo2_pop(&used_));
        qvds_hash2_unlink(&table_, &spare_->in_table);
        return spare_->key;
    }
    void add(uint64_t key) {
        page *const p = full() ? spare_ : &pages_[taken_++];
        p->key = key;
        qvds_hash2_store(&table_, &p->in_table);
        qvds_fifo2_append(&used_, p);
    }

  private:
    static page *at(const void *link) {
        return reinterpret_cast<page *>(static_cast<char *>(const_cast<void *>(link)) -
                                        offsetof(page, in_table));
    }
    static size_t hash(const void *link) { return spread(at(link)->key); }
    static int32_t differ(const void *wanted, const void *stored) {
        return at(wanted)->key != at(stored)->key;
    }

    std::vector<page> pages_;
    std::vector<void *> buckets_;
    qvds_hash table_;
    qvds_list used_;
    page *spare_ = nullptr;
    size_t taken_ = 0;
};

class with_classes {
  public:
    explicit with_classes(size_t capacity)
        : pages_(capacity), buckets_(std::bit_ceil(capacity)), table_(buckets_) {}
    page *find(uint64_t key) { return table_.find(key); }
    void use(page *p) {
        used_.unlink(*p);
        used_.push_back(*p);
    }
    bool full() const { return taken_ == pages_.size(); }
    uint64_t evict_oldest() {
        spare_ = used_.pop_front();
        table_.unlink(*spare_);
        return spare_->key;
    }
    void add(uint64_t key) {
        page *const p = full() ? spare_ : &pages_[taken_++];
        p->key = key;
        table_.store(*p);
        used_.push_back(*p);
    }

  private:
    struct hash {
        size_t operator()(uint64_t key) const { return spread(key); }
    };

    std::vector<page> pages_;
    std::vector<void *> buckets_;
    qvds::hash2<&page::in_table, &page::key, hash> table_;
    qvds::fifo2<&page::in_use> used_;
    page *spare_ = nullptr;
    size_t taken_ = 0;
};

// The queue's link is in the record, so that only the table allocates.
class with_glib {
    struct record {
        GList link;
        uint64_t key;
    };

  public:
    explicit with_glib(size_t capacity)
        : pages_(capacity), table_(g_hash_table_new(nullptr, nullptr)) {
        for (record &p : pages_)
            p.link.data = &p;
    }
    with_glib(const with_glib &) = delete;
    ~with_glib() { g_hash_table_destroy(table_); }
    record *find(uint64_t key) {
        return static_cast<record *>(g_hash_table_lookup(table_, pointer(key)));
    }
    void use(record *p) {
        g_queue_unlink(&used_, &p->link);
        g_queue_push_tail_link(&used_, &p->link);
    }
    bool full() const { return taken_ == pages_.size(); }
    uint64_t evict_oldest() {
        spare_ = static_cast<record *>(g_queue_pop_head_link(&used_)->data);
        g_hash_table_remove(table_, pointer(spare_->key));
        return spare_->key;
    }
    void add(uint64_t key) {
        record *const p = full() ? spare_ : &pages_[taken_++];
        p->key = key;
        g_hash_table_insert(table_, pointer(key), p);
        g_queue_push_tail_link(&used_, &p->link);
    }

  private:
    static gpointer pointer(uint64_t key) { return reinterpret_cast<gpointer>(key); }

    std::vector<record> pages_;
    GHashTable *table_;
    GQueue used_ = G_QUEUE_INIT;
    record *spare_ = nullptr;
    size_t taken_ = 0;
};

// Nodes of both containers are reused.
class with_std {
    struct hash {
        size_t operator()(uint64_t key) const { return spread(key); }
    };
    using queue = std::list<uint64_t>;
    using table = std::unordered_map<uint64_t, queue::iterator, hash>;

  public:
    explicit with_std(size_t capacity) : capacity_(capacity) { table_.reserve(capacity); }
    queue::iterator *find(uint64_t key) {
        const auto found = table_.find(key);
        return found != table_.end() ? &found->second : nullptr;
    }
    void use(const queue::iterator *p) { used_.splice(used_.end(), used_, *p); }
    bool full() const { return table_.size() + !spare_.empty() == capacity_; }
    uint64_t evict_oldest() {
        spare_ = table_.extract(used_.front());
        return used_.front();
    }
    void add(uint64_t key) {
        if (spare_.empty()) {
            table_.emplace(key, used_.insert(used_.end(), key));
            return;
        }
        *spare_.mapped() = key;
        used_.splice(used_.end(), used_, spare_.mapped());
        spare_.key() = key;
        table_.insert(std::move(spare_));
    }

  private:
    size_t capacity_;
    queue used_;
    table table_;
    table::node_type spare_;
};

} // namespace

void add_lru(std::vector<client> &to, bool small) {
    static std::vector<std::unique_ptr<const load>> loads;
    for (const size_t n : {size_t{1'000}, size_t{100'000}, size_t{1'000'000}}) {
        if (small && n > 100'000)
            continue;
        loads.push_back(std::make_unique<const load>(n, small ? 500'000 : 4 * n + 1'000'000));
        const load &l = *loads.back();
        to.push_back({"LRU cache",
                      std::to_string(n),
                      l.requests.size(),
                      {version_of<cache<with_c>>("qvds_hash, qvds_list", l),
                       version_of<cache<with_classes>>("qvds::hash2, qvds::fifo2", l),
                       version_of<cache<with_glib>>("GHashTable, GQueue", l),
                       version_of<cache<with_std>>("std::unordered_map, std::list", l)}});
    }
}

} // namespace clients

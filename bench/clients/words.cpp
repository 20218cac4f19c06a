// An index over a large text: how often each word occurs, in the order of the words. The words'
// lengths and frequencies are like those of a language. Once with a container that keeps the order,
// and once with a table that is sorted in the end.

#include "clients.hpp"

#include <glib.h>
#include <qvds/aa.hpp>
#include <qvds/hash.hpp>

#include <bit>
#include <cstring>
#include <deque>
#include <map>
#include <string_view>
#include <unordered_map>

namespace clients {

namespace {

struct load {
    size_t vocabulary;
    std::string text; // each word ends with a zero, so that all can take it as it likes
    std::vector<uint32_t> words;

    load(size_t distinct, size_t count) : vocabulary(distinct) {
        const zipf frequency(distinct, 0.99);
        generator random(distinct);
        for (size_t i = 0; i < count; ++i) {
            words.push_back(static_cast<uint32_t>(text.size()));
            append_word(frequency(random));
            text.push_back('\0');
        }
    }
    // A word that stands for its rank: frequent ones are short.
    void append_word(size_t rank) {
        constexpr char syllables[16][4] = {"ta", "ne", "ri", "so",  "mu",  "ka",  "le",  "di",
                                           "va", "po", "gu", "she", "bro", "tin", "ark", "os"};
        uint64_t left = rank + 1, mixed = generator(rank)();
        for (; left != 0; left /= 8, mixed /= 16)
            text += syllables[mixed % 16];
        for (left = rank; left != 0; left /= 26) // no two ranks alike
            text.push_back(static_cast<char>('a' + left % 26));
    }
};

struct entry {
    const char *text;
    uint64_t count;
};

// Plays the load. Store has count(word) and in_order(visit), which calls visit(entry).
template <class Store>
class word_index {
  public:
    explicit word_index(const load &of) : load_(of), store_(of.vocabulary) {}

    uint64_t run() {
        for (const uint32_t at : load_.words)
            store_.count(load_.text.data() + at);
        uint64_t sum = 0;
        store_.in_order([&](const char *text, uint64_t count) {
            bench::fold(sum, count * static_cast<unsigned char>(text[0]));
        });
        return sum;
    }

  private:
    const load &load_;
    Store store_;
};

// -- kept in order -------------------------------------------------------------------------------

struct tree_word {
    AA_node node;
    entry at;
};

class c_tree {
  public:
    explicit c_tree(size_t /*vocabulary*/) {}
    void count(const char *text) {
        const tree_word wanted{{}, {text, 0}};
        if (void *const found = AA_find(root_, &wanted, order)) {
            ++static_cast<tree_word *>(found)->at.count;
            return;
        }
        words_.push_back({{}, {text, 1}});
        root_ = AA_insert(root_, &words_.back(), order, nullptr);
    }
    template <class Visit>
    void in_order(Visit visit) {
        const auto call = [](void *elem, void *ctx) -> int32_t {
            const entry &at = static_cast<const tree_word *>(elem)->at;
            (*static_cast<Visit *>(ctx))(at.text, at.count);
            return 0;
        };
        AA_iterate(root_, call, &visit);
    }

  private:
    static int32_t order(const void *a, const void *b) {
        const int difference = std::strcmp(static_cast<const tree_word *>(a)->at.text,
                                           static_cast<const tree_word *>(b)->at.text);
        return (difference > 0) - (difference < 0);
    }

    std::deque<tree_word> words_;
    AA_node *root_ = nullptr;
};

struct by_text {
    std::strong_ordering operator()(const char *a, const char *b) const {
        return std::strcmp(a, b) <=> 0;
    }
};

class typed_tree {
  public:
    explicit typed_tree(size_t /*vocabulary*/) {}
    void count(const char *text) {
        if (tree_word *const found = tree_.find(text)) {
            ++found->at.count;
            return;
        }
        words_.push_back({{}, {text, 1}});
        static_cast<void>(tree_.insert(words_.back()));
    }
    template <class Visit>
    void in_order(Visit visit) {
        for (const tree_word &w : tree_.walk())
            visit(w.at.text, w.at.count);
    }

  private:
    struct text_of {
        const char *operator()(const tree_word &w) const { return w.at.text; }
    };

    std::deque<tree_word> words_;
    qvds::aa_tree<&tree_word::node, text_of{}, by_text> tree_;
};

class glib_tree {
  public:
    explicit glib_tree(size_t /*vocabulary*/) : tree_(g_tree_new(order)) {}
    glib_tree(const glib_tree &) = delete;
    ~glib_tree() { g_tree_destroy(tree_); }
    void count(const char *text) {
        if (gpointer const found = g_tree_lookup(tree_, text)) {
            ++static_cast<entry *>(found)->count;
            return;
        }
        words_.push_back({text, 1});
        g_tree_insert(tree_, const_cast<char *>(text), &words_.back());
    }
    template <class Visit>
    void in_order(Visit visit) {
        const auto call = [](gpointer /*key*/, gpointer value, gpointer ctx) -> gboolean {
            const auto *const at = static_cast<const entry *>(value);
            (*static_cast<Visit *>(ctx))(at->text, at->count);
            return FALSE;
        };
        g_tree_foreach(tree_, call, &visit);
    }

  private:
    static gint order(gconstpointer a, gconstpointer b) {
        return std::strcmp(static_cast<const char *>(a), static_cast<const char *>(b));
    }

    std::deque<entry> words_;
    GTree *tree_;
};

class std_tree {
  public:
    explicit std_tree(size_t /*vocabulary*/) {}
    void count(const char *text) { ++words_[text]; }
    template <class Visit>
    void in_order(Visit visit) {
        for (const auto &[text, count] : words_)
            visit(text, count);
    }

  private:
    struct less {
        bool operator()(const char *a, const char *b) const { return std::strcmp(a, b) < 0; }
    };
    std::map<const char *, uint64_t, less> words_;
};

// -- sorted in the end ---------------------------------------------------------------------------

// What g_str_hash computes, so that nobody's chains are shorter for another reason.
size_t hash_text(const char *text) {
    uint32_t hash = 5381;
    for (; *text != '\0'; ++text)
        hash = hash * 33 + static_cast<unsigned char>(*text);
    return hash;
}

template <class Visit>
void visit_sorted(std::vector<entry> &found, Visit visit) {
    std::sort(found.begin(), found.end(),
              [](const entry &a, const entry &b) { return std::strcmp(a.text, b.text) < 0; });
    for (const entry &at : found)
        visit(at.text, at.count);
}

struct table_word {
    table_word *next;
    entry at;
};

class c_table {
  public:
    explicit c_table(size_t vocabulary) : buckets_(std::bit_ceil(vocabulary)) {
        qvds_hash_init(&table_, buckets_.data(), hash, buckets_.size());
    }
    void count(const char *text) {
        const table_word wanted{nullptr, {text, 0}};
        if (void *const found = qvds_hash_retrieve(&table_, &wanted, differ)) {
            ++static_cast<table_word *>(found)->at.count;
            return;
        }
        words_.push_back({nullptr, {text, 1}});
        qvds_hash_store(&table_, &words_.back());
    }
    template <class Visit>
    void in_order(Visit visit) {
        std::vector<entry> found;
        const auto note = [](void *elem, void *ctx) -> int32_t {
            static_cast<std::vector<entry> *>(ctx)->push_back(static_cast<table_word *>(elem)->at);
            return 0;
        };
        qvds_hash_enum(&table_, note, &found);
        visit_sorted(found, visit);
    }

  private:
    static size_t hash(const void *elem) {
        return hash_text(static_cast<const table_word *>(elem)->at.text);
    }
    static int32_t differ(const void *a, const void *b) {
        return std::strcmp(static_cast<const table_word *>(a)->at.text,
                           static_cast<const table_word *>(b)->at.text);
    }

    std::deque<table_word> words_;
    std::vector<void *> buckets_;
    qvds_hash table_;
};

struct text_hash {
    size_t operator()(const char *text) const { return hash_text(text); }
};
struct text_equal {
    bool operator()(const char *a, const char *b) const { return std::strcmp(a, b) == 0; }
};

class typed_table {
  public:
    explicit typed_table(size_t vocabulary)
        : buckets_(std::bit_ceil(vocabulary)), table_(buckets_) {}
    void count(const char *text) {
        const size_t hash = hash_text(text);
        if (table_word *const found = table_.find_hashed(hash, text)) {
            ++found->at.count;
            return;
        }
        words_.push_back({nullptr, {text, 1}});
        table_.store_hashed(hash, words_.back());
    }
    template <class Visit>
    void in_order(Visit visit) {
        std::vector<entry> found;
        for (const table_word &w : table_)
            found.push_back(w.at);
        visit_sorted(found, visit);
    }

  private:
    struct text_of {
        const char *operator()(const table_word &w) const { return w.at.text; }
    };

    std::deque<table_word> words_;
    std::vector<void *> buckets_;
    qvds::hash<&table_word::next, text_of{}, text_hash, text_equal> table_;
};

class glib_table {
  public:
    explicit glib_table(size_t /*vocabulary*/)
        : table_(g_hash_table_new(g_str_hash, g_str_equal)) {}
    glib_table(const glib_table &) = delete;
    ~glib_table() { g_hash_table_destroy(table_); }
    void count(const char *text) {
        if (gpointer const found = g_hash_table_lookup(table_, text)) {
            ++static_cast<entry *>(found)->count;
            return;
        }
        words_.push_back({text, 1});
        g_hash_table_insert(table_, const_cast<char *>(text), &words_.back());
    }
    template <class Visit>
    void in_order(Visit visit) {
        std::vector<entry> found;
        const auto note = [](gpointer /*key*/, gpointer value, gpointer ctx) {
            static_cast<std::vector<entry> *>(ctx)->push_back(*static_cast<entry *>(value));
        };
        g_hash_table_foreach(table_, note, &found);
        visit_sorted(found, visit);
    }

  private:
    std::deque<entry> words_;
    GHashTable *table_;
};

class std_table {
  public:
    explicit std_table(size_t vocabulary) { words_.reserve(vocabulary); }
    void count(const char *text) { ++words_[text]; }
    template <class Visit>
    void in_order(Visit visit) {
        std::vector<entry> found;
        for (const auto &[text, count] : words_)
            found.push_back({text, count});
        visit_sorted(found, visit);
    }

  private:
    std::unordered_map<const char *, uint64_t, text_hash, text_equal> words_;
};

} // namespace

void add_words(std::vector<client> &to, bool small) {
    static std::vector<std::unique_ptr<const load>> loads;
    for (const size_t n : {size_t{10'000}, size_t{500'000}}) {
        if (small && n > 10'000)
            continue;
        loads.push_back(std::make_unique<const load>(n, small ? 500'000 : 4 * n + 1'000'000));
        const load &l = *loads.back();
        to.push_back({"words, kept in order",
                      std::to_string(n),
                      l.words.size(),
                      {version_of<word_index<c_tree>>("AA_node", l),
                       version_of<word_index<typed_tree>>("qvds::aa_tree", l),
                       version_of<word_index<glib_tree>>("GTree", l),
                       version_of<word_index<std_tree>>("std::map", l)}});
        to.push_back({"words, sorted in the end",
                      std::to_string(n),
                      l.words.size(),
                      {version_of<word_index<c_table>>("qvds_hash", l),
                       version_of<word_index<typed_table>>("qvds::hash", l),
                       version_of<word_index<glib_table>>("GHashTable", l),
                       version_of<word_index<std_table>>("std::unordered_map", l)}});
    }
}

} // namespace clients

#ifndef QVDS_KEYED_HASH_HPP
#define QVDS_KEYED_HASH_HPP

/// @file
/// Keyed hash with keys and values of the caller's types: the C++ face of keyed_hash.h, on the same
/// table.
///
/// Choose it when keys and values carry no links, or when a loop adds to, removes from and looks up
/// in the table that it walks over. It costs two allocations for each entry. Where the elements can
/// carry a link, hash.hpp needs none and is faster.
///
///     auto words = qvds::keyed_hash<const char *, word, text_hash, text_equal>::make(1024);
///     if (!words)
///         return out_of_memory;
///     if (!words.add("tree", w))
///         return out_of_memory;
///     if (word *found = words.find("tree"))
///         ++found->count;
///     words.erase_if([](const auto &entry) { return entry.value().count == 1; });
///
/// The template arguments: the type of the keys, which is a pointer; that of the values, of which
/// the table holds pointers; a hash and an equality of keys, both without state, since C calls them;
/// and the type of the metadata, if they are used. Any hash value will do: it is folded into the
/// range that the default slot function takes, so that no key is refused.
///
/// Keys and values are the caller's, are stored as pointers, and must stay valid while they are in
/// the table. Several entries may have equal keys; the newest comes first. The number of buckets is
/// chosen once, at about the number of entries; rehash() moves to another.
///
/// The table is walked through walk(), which gives a range of entries in which everything is allowed
/// but rehash, and which may be left by break, return or an exception: see list.hpp. An entry that
/// is added to a bucket not yet reached is met, one added to the present or an earlier one is not.
///
/// A table that exists is whole; one that make() could not make, or that was moved from, is false,
/// and all that may be done with it is to ask that, to assign to it and to destroy it. c_record()
/// hands the table to C, and keyed_hash_view adopts one that C made.
///
/// An operation on a key calls the hash once and walks along one bucket. Nothing throws but hash,
/// equality and other callables of the caller's, and then the table is sound, with what was done up
/// to then. Where an allocation fails, it is as it was.

#include <qvds/core/owner.hpp>
#include <qvds/keyed_hash.h>
#include <qvds/list.hpp>

#include <concepts>
#include <stdlib.h>

namespace qvds {

namespace core {

// What C calls for hash and equality of a key.
template <class K, class Hash>
int32_t hash_for_c(const void *key) {
    const auto hash = static_cast<uint64_t>(Hash{}(static_cast<K>(const_cast<void *>(key))));
    // The default slot function refuses most negative numbers.
    return static_cast<int32_t>((hash ^ hash >> 32) & INT32_MAX);
}
template <class K, class Equal>
int32_t compare_for_c(const void *key, const void *stored) {
    return Equal{}(static_cast<K>(const_cast<void *>(key)),
                   static_cast<K>(const_cast<void *>(stored)))
               ? 0
               : 1;
}

// The pointer as C stores it.
template <class P>
void *untyped(P *pointer) noexcept {
    return const_cast<std::remove_cv_t<P> *>(pointer);
}

} // namespace core

/// An entry of a keyed hash, as a walk shows it.
template <class K, class V, class Metadata>
class keyed_entry {
  public:
    explicit keyed_entry(list_link *link) noexcept : link_(link) {}

    K key() const noexcept { return static_cast<K>(entry()->key); }
    V &value() const noexcept { return *static_cast<V *>(entry()->value); }
    /// What was set for the entry, or null.
    Metadata *metadata() const noexcept { return static_cast<Metadata *>(entry()->metadata); }
    void set_metadata(Metadata *data) const noexcept { entry()->metadata = core::untyped(data); }

    /// The link that holds the entry, for keyed_hash::erase.
    list_link *link() const noexcept { return link_; }

  private:
    hash_entry *entry() const noexcept { return static_cast<hash_entry *>(link_->hook); }

    list_link *link_;
};

namespace core {

// A walk under way over some buckets, one after the other, that passes over what matches(entry)
// refuses. Only the present bucket is counted, and so the walk is where the iterators are.
template <class Entry, class Matches>
class table_walk {
  public:
    class iterator {
      public:
        using iterator_category = std::input_iterator_tag;
        using value_type = Entry;
        using difference_type = ptrdiff_t;
        using pointer = void;
        using reference = Entry;

        iterator() = default;
        explicit iterator(table_walk *walk) noexcept : walk_(walk) {}

        Entry operator*() const noexcept { return Entry(walk_->link_); }
        iterator &operator++() {
            walk_->go_to(walk_->link_->next);
            return *this;
        }
        void operator++(int) { ++*this; }
        /// Whether the walk has ended: iterators are compared with end() alone.
        friend bool operator==(const iterator &a, const iterator &b) noexcept {
            return a.at_end() == b.at_end();
        }

      private:
        bool at_end() const noexcept { return walk_ == nullptr || walk_->link_ == nullptr; }

        table_walk *walk_ = nullptr;
    };

    table_walk(list_link **first, list_link **last, Matches matches)
        : bucket_(first), last_(last), matches_(std::move(matches)) {}
    table_walk(const table_walk &) = delete;
    table_walk &operator=(const table_walk &) = delete;
    ~table_walk() { leave_bucket(); }

    /// Starts the walk; it can be done once.
    iterator begin() {
        enter_bucket();
        go_to(bucket_ != last_ ? *bucket_ : nullptr);
        return iterator(this);
    }
    iterator end() noexcept { return {}; }

  private:
    // Stands on the first link from link onward that is to be met, in this bucket or the next.
    void go_to(list_link *link) {
        for (;;) {
            link_ = first_met(link);
            if (link_ != nullptr && matches_(Entry(link_)))
                return;
            if (link_ != nullptr) {
                link = link_->next;
                continue;
            }
            leave_bucket();
            if (bucket_ == last_ || ++bucket_ == last_)
                return;
            enter_bucket();
            link = *bucket_;
        }
    }
    void enter_bucket() noexcept {
        counted_ = bucket_ != last_ && *bucket_ != nullptr;
        if (counted_)
            list_iter_set(*bucket_);
    }
    void leave_bucket() noexcept {
        if (std::exchange(counted_, false))
            list_iter_clear(bucket_);
    }

    list_link **bucket_, **last_;
    list_link *link_ = nullptr;
    bool counted_ = false;
    [[no_unique_address]] Matches matches_;
};

struct every_entry {
    template <class Entry>
    constexpr bool operator()(const Entry & /*entry*/) const noexcept {
        return true;
    }
};

} // namespace core

/// A table from keys of type K, a pointer, to values of type V. What becomes of values still in it when
/// it goes, Disposal says (dispose.hpp); by default nothing.
template <class K, class V, class Hash, class Equal, class Metadata = void,
          class Disposal = core::leave_elements>
class keyed_hash {
    static_assert(std::is_pointer_v<K>,
                  "qvds::keyed_hash: keys are stored as pointers; K must be a "
                  "pointer type, as in const char *");
    static_assert(std::is_object_v<V> && !std::is_pointer_v<V>,
                  "qvds::keyed_hash: V is the type that values have; the table holds pointers to "
                  "them");
    static_assert(std::is_empty_v<Hash> && std::is_default_constructible_v<Hash> &&
                      std::is_empty_v<Equal> && std::is_default_constructible_v<Equal>,
                  "qvds::keyed_hash: C calls hash and equality, so they must be types without "
                  "state");
    static constexpr bool is_view = std::is_same_v<Disposal, core::viewed>;
    using disposal = std::conditional_t<std::is_same_v<Disposal, core::leave_elements>,
                                        core::release_storage, Disposal>;

    struct has_key {
        K key;
        template <class Entry>
        bool operator()(const Entry &entry) const {
            return Equal{}(key, entry.key());
        }
    };

  public:
    using key_type = K;
    using mapped_type = V;
    using entry = keyed_entry<K, V, Metadata>;
    using const_entry = keyed_entry<K, const V, const Metadata>;
    using walk_type = core::table_walk<entry, core::every_entry>;
    using const_walk_type = core::table_walk<const_entry, core::every_entry>;
    using matches_type = core::table_walk<entry, has_key>;

    // -- Set up --------------------------------------------------------------------------------

    /// An empty table with that many buckets, at least 1; false if the memory is short.
    template <bool owns = !is_view>
    requires owns [[nodiscard]] static keyed_hash make(size_t buckets) noexcept {
        keyed_hash made;
        if (buckets <= INT32_MAX)
            made.c_table() =
                hash_create(static_cast<int32_t>(buckets != 0 ? buckets : 1),
                            core::hash_for_c<K, Hash>, nullptr, core::compare_for_c<K, Equal>);
        return made;
    }

    /// A view of a table that C made, whose callbacks hash and compare as C chose: Hash and Equal
    /// must do alike. The variable that holds the table must outlive the view, which may be copied.
    template <std::same_as<hashlist *> Record>
    requires is_view explicit constexpr keyed_hash(Record &table) noexcept : table_(&table) {}

    /// Whether there is a table.
    explicit operator bool() const noexcept { return c_table() != nullptr; }

    /// The table, for the functions of keyed_hash.h but hash_del.
    hashlist &c_record() noexcept { return *c_table(); }
    const hashlist &c_record() const noexcept { return *c_table(); }

    // -- Look ----------------------------------------------------------------------------------

    /// The value of the newest entry whose key equals key, or null.
    V *find(K key) { return static_cast<V *>(hash_find_element(c_table(), core::untyped(key))); }
    const V *find(K key) const {
        return static_cast<const V *>(hash_find_element(c_table(), core::untyped(key)));
    }
    [[nodiscard]] bool contains(K key) const { return find(key) != nullptr; }

    /// The metadata of the newest entry whose key equals key, or null.
    Metadata *metadata(K key) {
        return static_cast<Metadata *>(hash_get_metadata(c_table(), core::untyped(key)));
    }

    /// The number of entries. Linear.
    [[nodiscard]] size_t count() const noexcept {
        return static_cast<size_t>(hash_length(c_table()));
    }
    [[nodiscard]] size_t bucket_count() const noexcept {
        return static_cast<size_t>(c_record().size);
    }

    /// Begins a walk: a range over all entries, bucket by bucket, each from the newest to the
    /// oldest. See above for what is allowed meanwhile.
    [[nodiscard]] walk_type walk() & {
        return walk_type(first_bucket(), first_bucket() + c_record().size, {});
    }
    [[nodiscard]] const_walk_type walk() const & {
        return const_walk_type(first_bucket(), first_bucket() + c_record().size, {});
    }
    walk_type walk() && = delete;
    const_walk_type walk() const && = delete;

    /// Begins a walk over the entries whose key equals key, from the newest to the oldest.
    [[nodiscard]] matches_type equal(K key) & {
        list_link **const bucket = first_bucket() + slot_of(key);
        return matches_type(bucket, bucket + 1, has_key{key});
    }
    matches_type equal(K key) && = delete;

    // -- Add -----------------------------------------------------------------------------------

    /// Adds an entry, whether or not there is one with an equal key. Returns false if the memory is
    /// short.
    [[nodiscard]] bool add(K key, V &value) {
        return hash_add(c_table(), core::untyped(key), core::untyped(__builtin_addressof(value))) >=
               0;
    }

    /// Sets the metadata of every entry whose key equals key.
    void set_metadata(K key, Metadata *data) {
        hash_set_metadata(c_table(), core::untyped(key), core::untyped(data));
    }

    // -- Remove --------------------------------------------------------------------------------
    // In a walk, an entry that is removed is gone for every operation at once; its link stays until
    // the walk of its bucket ends.

    /// Removes every entry whose key equals key.
    void erase(K key) { hash_del_element(c_table(), core::untyped(key)); }

    /// Removes one entry of a walk, in that walk.
    void erase(const entry &gone) noexcept { mark(gone.link()); }

    /// Removes every entry for which predicate is true, and hands it to dispose before that. Returns
    /// how many there were. This is a walk: predicate and dispose may do with the table what they
    /// like but rehash it. Linear.
    template <class Predicate, class Dispose = core::every_entry>
    size_t erase_if(Predicate predicate, Dispose dispose = {}) {
        size_t removed = 0;
        walk_type under_way = walk();
        for (const entry at : under_way) {
            if (!predicate(at) || !core::is_live(at.link()))
                continue;
            dispose(at);
            mark(at.link());
            ++removed;
        }
        return removed;
    }

    /// Moves to another number of buckets, at least 1; entries with equal keys keep their order.
    /// Returns false, with nothing changed, if the memory is short. Not in a walk. Linear; makes all
    /// entries anew.
    template <bool owns = !is_view>
    requires owns [[nodiscard]] bool rehash(size_t buckets) {
        keyed_hash larger = make(buckets);
        if (!larger)
            return false;
        for (int32_t slot = 0; slot < c_record().size; ++slot) {
            // The newest last, as an addition puts it in front of all.
            const list_link *at = c_record().lists[slot];
            while (at != nullptr && at->next != nullptr)
                at = at->next;
            for (; at != nullptr; at = at->prev) {
                const auto &old = *static_cast<const hash_entry *>(at->hook);
                const int added = hash_add(larger.c_table(), old.key, old.value);
                if (added < 0) {
                    larger.forget();
                    return false;
                }
                static_cast<hash_entry *>(larger.c_record().lists[added]->hook)->metadata =
                    old.metadata;
            }
        }
        swap(larger);
        larger.forget();
        return true;
    }

    /// Exchanges two tables.
    void swap(keyed_hash &other) noexcept { std::swap(c_table(), other.c_table()); }
    friend void swap(keyed_hash &a, keyed_hash &b) noexcept { a.swap(b); }

  private:
    friend class core::owner<hashlist *, disposal, keyed_hash>;

    keyed_hash() = default;

    hashlist *&c_table() noexcept { return *table_.get(); }
    hashlist *const &c_table() const noexcept { return *table_.get(); }
    list_link **first_bucket() const noexcept { return c_table()->lists; }

    // A hash of this type never leads to an invalid slot; that of a table which C made may.
    int32_t slot_of(K key) const {
        const hashlist &table = c_record();
        const int32_t slot =
            table.slot_func(table.hash_func(core::untyped(key)), table.size, table.lists);
        return slot >= 0 && slot < table.size ? slot : table.size;
    }

    static void mark(list_link *link) noexcept {
        free(link->hook);
        link->state |= LIST_STATE_DELETED;
    }

    // Releases the table and leaves the values.
    void forget() noexcept {
        hash_del(c_table());
        c_table() = nullptr;
    }

    template <class Dispose>
    static void dispose_all(hashlist *&table, Dispose &&dispose) {
        if (table == nullptr)
            return;
        hash_iterate(
            table,
            [](void *value, int32_t /*index*/, void *ctx) -> void * {
                (*static_cast<std::remove_reference_t<Dispose> *>(ctx))(static_cast<V *>(value));
                return nullptr;
            },
            &dispose);
        hash_del(table);
        table = nullptr;
    }

    core::owner<hashlist *, disposal, keyed_hash> table_;
};

/// The same over a table that C made: keyed_hash_view<const char *, word, text_hash, text_equal>
/// words(c_table).
template <class K, class V, class Hash, class Equal, class Metadata = void>
using keyed_hash_view = keyed_hash<K, V, Hash, Equal, Metadata, core::viewed>;

} // namespace qvds

#endif

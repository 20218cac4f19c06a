#ifndef QVDS_HASH_HPP
#define QVDS_HASH_HPP

/// @file
/// Hash table of elements of one type, over a bucket array that the caller supplies: the C++ face
/// of hash.h, on the same record.
///
/// Choose it to look up records that exist anyway: it allocates nothing, one link word in the
/// element is enough, and nothing moves behind the caller's back. Where elements must leave by
/// their address, hash2.hpp costs a second word.
///
///     struct user { user *next; uint32_t id; };
///     qvds::buckets<1024> array;
///     qvds::hash<&user::next, &user::id> users(array);
///
///     users.insert_or_find(ada);
///     if (user *u = users.find(7u))
///         greet(*u);
///     for (auto at = users.cursor(); at;)
///         if (expired(*at))
///             at.erase();
///         else
///             at.next();
///     qvds::buckets<4096> larger;
///     users.rehash(larger);                       // array is the caller's again
///
/// The template arguments:
/// - the hook: a word, `user *next` as the first member or `void *next` anywhere, or a qvds_node, of
///   which only the first word is used;
/// - what gives the key of an element: a member pointer or a callable without state; by default the
///   element itself;
/// - a hash of the key, called as const, by default default_hash: std::hash, mixed. A hash that is
///   named is used as it is. It may have state, and is then the constructor's second argument;
/// - an equality of two keys, the one that is looked for and a stored one, by default ==. It may
///   have state, too. What is equal must hash alike;
/// - what becomes of the elements when the table goes; see dispose.hpp.
///
/// What is looked for is first converted to the type of the key, since equal values of two types
/// may well hash differently; a conversion that could change the value does not compile. A hash
/// that declares `is_transparent` takes every type that can be looked for as it is.
///
/// The elements are the caller's, and so is the array: both must stay where they are while they are
/// in use. Nothing is allocated and nothing copied. The table is its qvds_hash and no more, but for
/// a hash or an equality with state; c_record() hands it to C, and hash_view adopts one that C made.
///
/// An operation that is handed an element or a key calls the hash once, those that have a hash
/// handed to them (`_hashed`) not at all, and both then take constant time on average, or walk along
/// one chain at worst. What is said to be linear goes over all buckets. Only hash, equality and
/// projection, and a predicate or disposer, can throw, and must leave the table alone otherwise;
/// then nothing has changed, or what was done is done and the table is sound. Iterators are valid
/// until their element is taken out or the array changes, and name their table: one that is moved
/// or swapped leaves them behind.

#include <qvds/buckets.hpp>
#include <qvds/core/hash.hpp>
#include <qvds/core/order.hpp>
#include <qvds/core/owner.hpp>
#include <qvds/core/single_link.hpp>
#include <qvds/core/table.hpp>
#include <qvds/hash.h>
#include <qvds/hook.hpp>

#include <optional> // the lightest home of std::hash

namespace qvds {

/// The hash of a table that is given none: std::hash of the key, and then mixed, so that every bit of
/// it counts in the low bits, which choose the bucket. By itself std::hash gives a number or an
/// address as it is, and multiples of 64 would share 16 of 1,024 buckets.
struct default_hash {
    template <class Key>
    constexpr size_t operator()(const Key &key) const
        noexcept(std::is_nothrow_invocable_v<std::hash<Key>, const Key &>) {
        static_assert(!core::character_pointer<Key>,
                      "qvds: a pointer to characters would be hashed by address; project to a "
                      "std::string_view");
        static_assert(std::is_invocable_v<std::hash<Key>, const Key &>,
                      "qvds: there is no std::hash of this key; name a hash");
        constexpr size_t golden_ratio = 0x9E3779B97F4A7C15U; // times 2 to the 64
        // A product's high bits depend on all bits of the number, its low bits on few. Folded once,
        // numbers at any distance from each other fill as many buckets as by chance.
        const size_t number = std::hash<Key>{}(key);
        const size_t product = number * golden_ratio;
        return __builtin_bswap64((product ^ product >> 32) * golden_ratio);
    }
};

/// The hash of a view that is given none: the hash callback in the record.
struct recorded_hash {};

/// How well a hash spreads the elements of a table.
struct chain_statistics {
    size_t elements = 0;
    size_t buckets = 0;
    size_t used = 0;    ///< buckets that are not empty
    size_t longest = 0; ///< elements in the longest chain
    size_t steps = 0;   ///< elements that are met if each is looked up once. A hash that spreads
                        ///< them as by chance leads to `elements` * (1 + load / 2)
};

namespace core {

/// What hash and hash2 have in common. Links is the way to link (core/hash.hpp), Record the
/// qvds_hash, or two of them while a table grows.
template <class Links, class Hooked, auto Key, class Hash, class Equal, class Disposal,
          class Record>
class table {
    using own_record = table_record<Record, table_hash<Hooked, Key, Hash>>;

  protected:
    static constexpr bool is_view = std::is_same_v<Disposal, viewed>;
    static constexpr bool grows = std::is_same_v<Record, growing_record>;
    static constexpr bool hash_is_recorded = std::is_same_v<Hash, recorded_hash>;
    static_assert(is_view || !hash_is_recorded,
                  "qvds::hash: qvds::recorded_hash is for views of a table that C made");
    static_assert(!is_view || !grows, "qvds::hash: only a qvds_hash can be viewed");

  public:
    using value_type = typename Hooked::element;
    using key_type = typename projected<value_type, Key>::type;
    using hasher = Hash;
    using key_equal = Equal;
    using reference = value_type &;
    using const_reference = const value_type &;
    using pointer = value_type *;
    using const_pointer = const value_type *;
    using difference_type = ptrdiff_t;
    using size_type = size_t;
    using iterator = table_iterator<Hooked, value_type, Record>;
    using const_iterator = table_iterator<Hooked, const value_type, Record>;

    // -- Set up --------------------------------------------------------------------------------

    /// A table without buckets. It can be walked, moved and assigned to, and given an array by
    /// rehash or grow; before that nothing must be stored or looked up. A table that was moved from
    /// is like this, too.
    constexpr table() requires(!is_view) = default;

    /// An empty table over an array: a buckets<N>, or a span of null pointers that is not empty.
    /// After the table's end the array is as the table left it.
    template <bool owns = !is_view>
    requires owns explicit constexpr table(std::span<void *> array, Hash hash = {},
                                           Equal equal = {})
        : hash_(std::move(hash)), equal_(std::move(equal)), table_(own_record(array)) {}

    /// A view of a table that lies elsewhere, as C made it. Buckets are chosen as the record's hash
    /// callback chooses them: by this callback itself if the view is given no Hash, and then what is
    /// looked for is an element, as in C, made up for the purpose; else by Hash, which must give the
    /// same for a key as the callback for its element (check finds where it does not), is inlined,
    /// and lets a key be looked for. The record must outlive the view; the view may be copied.
    template <std::same_as<qvds_hash> Viewed>
    requires is_view explicit constexpr table(Viewed &record, Hash hash = {}, Equal equal = {})
        : hash_(std::move(hash)), equal_(std::move(equal)), table_(&record) {}

    /// The record, for the functions of hash.h and hash2.h. Its hash callback hashes as this type
    /// does. C passes and receives the address of the link: that of the element if the link is its
    /// first member, else `&user->link`, also for the element that it makes up as a key, and in its
    /// callbacks. There is none for a hash with state, which C cannot call, nor while elements may
    /// be in two arrays.
    template <class Asked = Record>
    constexpr qvds_hash &c_record() noexcept {
        check_has_c_record<Asked>();
        return *table_.get();
    }
    template <class Asked = Record>
    constexpr const qvds_hash &c_record() const noexcept {
        check_has_c_record<Asked>();
        return *table_.get();
    }

    // What there is in any case, for check.hpp.
    const Record *record() const noexcept { return table_.get(); }

    // -- Look ----------------------------------------------------------------------------------

    /// Whether there is no element. Linear.
    [[nodiscard]] bool empty() const noexcept { return begin() == end(); }

    /// The number of elements. Linear: a table keeps no count.
    [[nodiscard]] size_t count() const noexcept {
        size_t n = 0;
        for (auto at = begin(); at != end(); ++at)
            ++n;
        return n;
    }

    [[nodiscard]] size_t bucket_count() const noexcept { return newest_array().size; }

    /// Elements for each bucket. Linear.
    [[nodiscard]] double load() const noexcept {
        return static_cast<double>(count()) / static_cast<double>(bucket_count());
    }

    /// Linear. While a table grows, these are of both its arrays.
    [[nodiscard]] chain_statistics statistics() const noexcept {
        chain_statistics all;
        for (void **bucket = first_bucket(record()); bucket != nullptr;
             bucket = next_bucket(record(), bucket)) {
            size_t length = 0;
            for (const void *link = next_of(const_head(bucket)); link != nullptr;
                 link = next_of(link))
                all.steps += ++length;
            all.elements += length;
            ++all.buckets;
            all.used += static_cast<size_t>(length != 0);
            all.longest = length > all.longest ? length : all.longest;
        }
        return all;
    }

    /// Bucket by bucket, each chain from its front. ++ passes over the empty buckets.
    iterator begin() noexcept { return {first_bucket(record()), record()}; }
    iterator end() noexcept { return {}; }
    const_iterator begin() const noexcept { return cbegin(); }
    const_iterator end() const noexcept { return cend(); }
    const_iterator cbegin() const noexcept { return {first_bucket(record()), record()}; }
    const_iterator cend() const noexcept { return {}; }

    // -- Hash ----------------------------------------------------------------------------------

    /// The hash of a key as this table looks for it, to be kept and handed to the operations that
    /// take one. Static where the hash has no state.
    template <class K>
    static size_t hash_of(const K &key) requires stateless<Hash> {
        return hash_wanted(Hash{}, wanted(key));
    }
    template <class K>
    size_t hash_of(const K &key) const requires(!stateless<Hash>) {
        return hash_wanted(hash_, wanted(key));
    }

    /// The hash of the key of elem.
    size_t hash_of_element(const value_type &elem) const {
        if constexpr (hash_is_recorded)
            return record()->hash(Hooked::link_of(elem));
        else
            return hash_wanted(hash_, project(Key, elem));
    }

    // -- Search --------------------------------------------------------------------------------

    /// The first element of its chain whose key equals key, or null.
    template <class K>
    value_type *find(const K &key) {
        return elem_at(find_link(key));
    }
    template <class K>
    const value_type *find(const K &key) const {
        return elem_at(find_link(key));
    }

    /// The same for a key whose hash is known.
    template <class K>
    value_type *find_hashed(size_t hash, const K &key) {
        return elem_at(find_in(bucket_of(record(), hash), wanted(key)));
    }
    template <class K>
    const value_type *find_hashed(size_t hash, const K &key) const {
        return elem_at(find_in(bucket_of(record(), hash), wanted(key)));
    }

    /// All elements whose key equals key, as a forward range, in the order of the chain: those that
    /// were stored last come first. ++ walks along the chain and compares keys of elements, so an
    /// element may leave once the iterator has gone on. The table must stay where it is.
    template <class K>
    auto equal_range(const K &key) {
        return equal_to<value_type>(find_link(key));
    }
    template <class K>
    auto equal_range(const K &key) const {
        return equal_to<const value_type>(find_link(key));
    }

    // -- Add -----------------------------------------------------------------------------------
    // An element to be added must be in no container through this hook, and its key must stay what
    // it is while it is in the table.

    /// Adds elem in front of its chain, without looking for an equal one: of equal elements the
    /// newest is found first.
    void store(value_type &elem) { store_hashed(hash_of_element(elem), elem); }
    void store_hashed(size_t hash, value_type &elem) noexcept {
        hash_store<Links>(bucket_of(record(), hash), Hooked::link_of(elem));
    }

    /// Puts elem in the place of the first element that is equal, and returns that; or adds elem at
    /// the end of its chain, and returns null.
    value_type *store_or_replace(value_type &elem) {
        return elem_at(hash_store_or_replace<Links>(bucket_of(record(), hash_of_element(elem)),
                                                    Hooked::link_of(elem),
                                                    matches(project(Key, std::as_const(elem)))));
    }

    /// Adds elem at the end of its chain unless there is an equal element. Returns the element that
    /// is in the table then, and whether it is elem:
    ///
    ///     auto [where, fresh] = users.insert_or_find(ada);
    insertion<value_type> insert_or_find(value_type &elem) {
        void *const found = hash_find_or_insert<Links>(bucket_of(record(), hash_of_element(elem)),
                                                       Hooked::link_of(elem),
                                                       matches(project(Key, std::as_const(elem))));
        return {found != nullptr ? Hooked::element_at(found) : __builtin_addressof(elem),
                found == nullptr};
    }

    // -- Take out ------------------------------------------------------------------------------
    // An element that has been taken out keeps its link as it was; it may be added elsewhere at
    // once.

    /// Takes out the first element of its chain whose key equals key. Returns it, or null.
    template <class K>
    value_type *extract(const K &key) {
        return at_key(key, [&](void *bucket, const auto &wanted) {
            return elem_at(hash_extract<Links>(bucket, matches(wanted)));
        });
    }

    /// The same for a key whose hash is known.
    template <class K>
    value_type *extract_hashed(size_t hash, const K &key) {
        auto &&compared = wanted(key);
        return elem_at(hash_extract<Links>(bucket_of(record(), hash), matches(compared)));
    }

    /// Takes out every element for which predicate is true, and hands a pointer to each to dispose
    /// once it is out. Returns how many there were. dispose may release the element. Linear.
    template <class Predicate, class Dispose = leave_elements>
    size_t remove_if(Predicate predicate, Dispose dispose = {}) {
        size_t removed = 0;
        for (void **bucket = first_bucket(record()); bucket != nullptr;
             bucket = next_bucket(record(), bucket)) {
            void *predecessor = bucket;
            while (void *const link = next_of(predecessor)) {
                value_type *const elem = Hooked::element_at(link);
                if (predicate(*elem)) {
                    Links::unlink(predecessor, link);
                    ++removed;
                    dispose(elem);
                } else {
                    predecessor = link;
                }
            }
        }
        return removed;
    }

    /// Makes the table empty and forgets its elements: all buckets are null then. Linear.
    void clear() noexcept {
        for (void **bucket = first_bucket(record()); bucket != nullptr;
             bucket = next_bucket(record(), bucket))
            next_of(static_cast<void *>(bucket)) = nullptr;
    }

    /// Takes out all elements and hands a pointer to each to dispose once it is out; where dispose
    /// throws, the rest is still in. Linear.
    template <class Dispose>
    void clear_and_dispose(Dispose dispose) {
        dispose_all(*table_.get(), dispose);
    }

    /// Exchanges two tables: their elements, arrays, hashes and equalities.
    void swap(table &other) noexcept {
        std::swap(*table_.get(), *other.table_.get());
        std::swap(hash_, other.hash_);
        std::swap(equal_, other.equal_);
    }

    // -- Change the array ----------------------------------------------------------------------
    // What moves elements calls the hash for each, twice if it may throw: the first time before
    // anything has moved, so that a hash that throws has changed nothing. What it did not throw
    // then, it must not throw the second time.

    /// Moves all elements into another array, larger or smaller, all of whose buckets are empty.
    /// Returns the former array, which is the caller's again, and all null. Elements that are equal
    /// keep their order. Linear.
    template <class Asked = Record>
    std::span<void *> rehash(std::span<void *> array) {
        static_assert(!std::is_same_v<Asked, growing_record>,
                      "qvds::hash: a growing table changes its array by grow and step");
        qvds_hash &record = *table_.get();
        const qvds_hash former = record;
        const qvds_hash next{array.data(), former.hash, array.size()};
        move_chains(former, 0, former.size, next);
        record = next;
        return {former.buckets, former.size};
    }

    /// Begins to move into another array, all of whose buckets are empty, and moves nothing yet: from
    /// now on each step moves a few chains. Everything else can be done meanwhile, and finds what
    /// is in either array with one hash and one search. The former array must stay where it is
    /// until a step has given it back. Not while the table is growing. Constant time.
    template <class Asked = Record>
    void grow(std::span<void *> array) noexcept {
        check_grows<Asked>();
        Asked &record = *table_.get();
        record.before = record.now;
        record.now = {array.data(), record.before.hash, array.size()};
    }

    /// Whether the table is between grow and the last step.
    template <class Asked = Record>
    [[nodiscard]] bool is_growing() const noexcept {
        check_grows<Asked>();
        return static_cast<const Asked &>(*table_.get()).before.size != 0;
    }

    /// Moves the chains of the next few buckets of the former array, empty ones counted. Returns
    /// that array, which is the caller's again and all null, when no chain is left in it; else an
    /// empty span. Equal elements keep their order. No iterator stays valid.
    template <class Asked = Record>
    std::span<void *> step(size_t count = 1) {
        check_grows<Asked>();
        Asked &record = *table_.get();
        const size_t left = record.before.size - record.moved;
        const size_t end = record.moved + (count < left ? count : left);
        for (; record.moved != end; ++record.moved)
            move_chains(record.before, record.moved, record.moved + 1, record.now);
        if (end != record.before.size)
            return {};
        const qvds_hash former = std::exchange(record.before, {});
        record.moved = 0;
        return {former.buckets, former.size};
    }

  protected:
    static value_type *elem_at(void *link) noexcept { return Hooked::element_or_null(link); }

    Record *record() noexcept { return table_.get(); }

  private:
    friend class owner<own_record, Disposal, table>;

    // Their types are deduced, so that the compiler looks into them before it goes on.
    template <class Asked>
    static constexpr auto check_has_c_record() {
        static_assert(!std::is_same_v<Asked, growing_record>,
                      "qvds::hash: a growing table may be in two arrays, which C does not know of, "
                      "and has no c_record()");
        static_assert(is_view || stateless<Hash>,
                      "qvds::hash: a hash with state can't be called from C, so this table has no "
                      "c_record()");
    }
    template <class Asked>
    static constexpr auto check_grows() {
        static_assert(std::is_same_v<Asked, growing_record>,
                      "qvds::hash: only a growing table, qvds::growing_hash or "
                      "qvds::growing_hash2, moves bucket by bucket; see rehash");
    }

    // What is looked for, as it is hashed and compared.
    template <class K>
    static decltype(auto) wanted(const K &key) {
        if constexpr (hash_is_recorded) {
            static_assert(std::is_same_v<K, value_type>,
                          "qvds::hash: a view that takes the hash from the record looks for an "
                          "element; name the hash to look for a key");
            return project(Key, key);
        } else if constexpr (requires { typename Hash::is_transparent; } ||
                             std::is_same_v<K, key_type>) {
            return static_cast<const K &>(key);
        } else {
            static_assert(std::is_convertible_v<const K &, key_type>,
                          "qvds::hash: what is looked for does not convert to the key; see "
                          "is_transparent");
            static_assert(
                !std::is_convertible_v<const K &, key_type> || whole_key<K, key_type>,
                "qvds::hash: the conversion to the key could change the value; convert it "
                "to the type of the key yourself, as in find(7u)");
            return static_cast<key_type>(key);
        }
    }
    template <class Wanted>
    static size_t hash_wanted(const Hash &hash, const Wanted &wanted) {
        static_assert(std::is_invocable_v<const Hash &, const Wanted &>,
                      "qvds::hash: the hash can't be called with the key; name the key by a member "
                      "pointer, as in qvds::hash<&user::next, &user::id>, or give a hash");
        return static_cast<size_t>(hash(wanted));
    }

    // The predicate that tells the elements whose key equals what is looked for.
    template <class Wanted>
    auto matches(const Wanted &wanted) const {
        return [&](void *stored) -> bool {
            return equal_(wanted, project(Key, std::as_const(*Hooked::element_at(stored))));
        };
    }

    // Calls act(bucket, what is looked for).
    template <class K, class Act>
    auto at_key(const K &key, Act act) const {
        auto &&compared = wanted(key);
        if constexpr (hash_is_recorded)
            return act(bucket_of(record(), hash_of_element(key)), compared);
        else
            return act(bucket_of(record(), hash_wanted(hash_, compared)), compared);
    }
    template <class Wanted>
    void *find_in(void *bucket, const Wanted &wanted) const {
        return find_place(bucket, matches(wanted)).elem;
    }
    template <class K>
    void *find_link(const K &key) const {
        return at_key(key,
                      [&](void *bucket, const auto &wanted) { return find_in(bucket, wanted); });
    }
    template <class Element>
    auto equal_to(void *first) const noexcept {
        using at = equal_iterator<Hooked, Element, Key, Equal>;
        return equal_elements<at>(at(first, __builtin_addressof(equal_)));
    }

    const qvds_hash &newest_array() const noexcept {
        if constexpr (grows)
            return record()->now;
        else
            return *record();
    }
    static const void *const_head(void **bucket) noexcept { return bucket; }

    // Moves the chains of some buckets of an array into another, all or, if the hash throws, none.
    void move_chains(const qvds_hash &from, size_t first, size_t last, const qvds_hash &to) const {
        const auto hash_of_link = [&](void *link) {
            return hash_of_element(*Hooked::element_at(link));
        };
        constexpr bool never_throws =
            std::is_nothrow_invocable_v<decltype(Key), const value_type &> &&
            std::is_nothrow_invocable_v<const Hash &, const key_type &>;
        for (size_t i = first; i != last && !never_throws; ++i)
            for (void *link = next_of(const_head(&from.buckets[i])); link != nullptr;
                 link = next_of(link))
                static_cast<void>(hash_of_link(link));
        for (size_t i = first; i != last; ++i)
            hash_move_chain<Links>(&to, &from.buckets[i], hash_of_link);
    }

    template <class Dispose>
    static void dispose_all(Record &record, Dispose &&dispose) {
        const auto visit = [&](void *link) {
            dispose(Hooked::element_at(link));
            return 0;
        };
        if constexpr (grows) {
            hash_unroll<Links>(&record.before, visit);
            hash_unroll<Links>(&record.now, visit);
        } else {
            hash_unroll<Links>(&record, visit);
        }
    }

    // Those without state first, so that what they are made of writes nothing into the record.
    [[no_unique_address]] Hash hash_{};
    [[no_unique_address]] Equal equal_{};
    owner<std::conditional_t<is_view, Record, own_record>, Disposal, table> table_;
};

/// A place in a table, on its element or at the end, where elements leave in constant time. It holds
/// what stands before the place, an element or a bucket. Whatever is added to or taken out of the
/// element's chain must be so through the cursor.
template <class Hooked, class Record>
class hash_cursor {
    using element = typename Hooked::element;

  public:
    explicit hash_cursor(const Record *table) noexcept
        : predecessor_(first_bucket(table)), bucket_(first_bucket(table)), table_(table) {
        skip_empty();
    }

    /// Whether there is an element, which all that follows needs.
    explicit operator bool() const noexcept { return bucket_ != nullptr; }
    element &operator*() const noexcept { return *Hooked::element_at(next_of(predecessor_)); }
    element *operator->() const noexcept { return &**this; }

    /// Moves on, to the place of the following element.
    void next() noexcept {
        predecessor_ = next_of(predecessor_);
        skip_empty();
    }

    /// Takes the element out and returns it. On the place is then the following one.
    element *erase() noexcept {
        void *const link = next_of(predecessor_);
        hash_links::unlink(predecessor_, link);
        skip_empty();
        return Hooked::element_at(link);
    }

  private:
    void skip_empty() noexcept {
        while (bucket_ != nullptr && next_of(predecessor_) == nullptr)
            predecessor_ = bucket_ = next_bucket(table_, bucket_);
    }

    void *predecessor_;
    void **bucket_;
    const Record *table_;
};

} // namespace core

/// A table through the link that Hook names. Its members are those of its base, which follows, and
/// the cursor.
template <auto Hook, auto Key = core::identity{}, class Hash = default_hash,
          class Equal = core::natural_equality, class Disposal = core::leave_elements,
          class Record = qvds_hash>
class hash : public core::table<core::hash_links, core::single_hooked<Hook>, Key, Hash, Equal,
                                Disposal, Record> {
    using hooked = core::single_hooked<Hook>;
    using base = core::table<core::hash_links, hooked, Key, Hash, Equal, Disposal, Record>;
    static_assert(core::single_link<typename hooked::link>,
                  "qvds::hash: the hook must name a link word or a qvds_node of the element, as in "
                  "qvds::hash<&user::next> with struct user { user *next; }");

  public:
    using cursor_type = core::hash_cursor<hooked, Record>;
    using base::base;

    /// The place of the first element, to walk on from, and take out on the way.
    cursor_type cursor() &noexcept { return cursor_type(base::record()); }

    friend void swap(hash &a, hash &b) noexcept { a.swap(b); }
};

/// The same over a record that lies elsewhere: qvds::hash_view<&user::next> users(c_table).
template <auto Hook, auto Key = core::identity{}, class Hash = recorded_hash,
          class Equal = core::natural_equality>
using hash_view = hash<Hook, Key, Hash, Equal, core::viewed>;

/// A hash that can move into a larger array a few buckets at a time, so that no operation takes
/// long; see grow and step.
///
///     if (!users.is_growing() && ++count > users.bucket_count())
///         users.grow(larger);
///     users.store(ada);
///     if (auto former = users.step(2); !former.empty())
///         delete[] former.data();
template <auto Hook, auto Key = core::identity{}, class Hash = default_hash,
          class Equal = core::natural_equality, class Disposal = core::leave_elements>
using growing_hash = hash<Hook, Key, Hash, Equal, Disposal, core::growing_record>;

} // namespace qvds

#endif

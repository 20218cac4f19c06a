#ifndef QVDS_QV_TREE_HPP
#define QVDS_QV_TREE_HPP

/// @file
/// Counted tree of items of one type: the C++ face of qv_tree.h, on the same nodes.
///
/// Choose it for ranks: the item of a rank, the rank of an item, how many lie between two keys, a
/// cut at a rank. For a tree that stays shallow by itself, allocates nothing, and needs no ranks,
/// take aa.hpp.
///
///     struct score { int points; };
///     qvds::counted_tree<&score::points> table;
///
///     auto [where, fresh] = table.insert(s);      // where is null: out of memory
///     score &median = table[table.size() / 2];
///     uint32_t better = table.size() - table.rank(s) - 1;
///     uint32_t between = table.count_between(10, 20);
///     for (score &each : table.walk())
///         print(each);
///     score *gone = table.erase(17);
///
/// The template arguments:
/// - what gives the key of an item, and so the type of the items: a member pointer; or qvds::item,
///   which see;
/// - a comparison of two keys, which gives bool (the first comes before the second) or a strong or
///   weak ordering. It may have state, and is then a constructor's argument;
/// - when the tree balances itself: balance_never (the default), as in C, where items that arrive
///   in order make it a chain until balance() is called; or balance_beyond<c>.
/// - what happens to items still in the tree when it goes; by default nothing (dispose.hpp).
///
/// The items are the caller's, and stay where they are; no two have equal keys. The nodes, which
/// point to them, are the tree's: made with malloc, and released with the tree. An allocation that
/// fails is a result, and the tree is then as it was.
///
/// A tree is its root pointer and no more, but for a comparison with state. c_root() hands it to C,
/// whose compare callback must then order as this type does; counted_tree_view adopts a root of C's
/// and releases nothing. An empty tree's root is &qv_tree_null, an address constant, so a tree can
/// be constinit. A variable of C's must hold a root before a view of it is made.
///
/// Unless something else is said, an operation costs the height of the tree, in constant stack, and
/// throws only what the comparison and the projection throw; these must leave the tree alone, and
/// where one throws, the tree is as it was. What a search takes as key is a key of any type that the
/// comparison accepts, or an item, of which it looks at the key alone.
///
/// Iterators know their rank: the difference of two is constant. A step is on average short, but
/// costs the height where there is no child on the way; walk() is several times faster for a whole
/// pass. What adds or takes out an item, and what turns the tree, makes iterators and walks
/// worthless. An iterator names its tree, so a tree that is moved or swapped leaves them behind.

#include <qvds/core/order.hpp>
#include <qvds/core/owner.hpp>
#include <qvds/core/qv_tree.hpp>
#include <qvds/hook.hpp>
#include <qvds/qv_tree.h>

#include <span> // the lightest home of iterator tags and of reverse_iterator

#include <stdlib.h>

namespace qvds {

struct fault;

namespace core {

template <class T, auto Projection>
struct named_item {};

} // namespace core

/// Names the items of a counted tree, and what gives the key of one, where a member pointer alone
/// does not:
///
///     qvds::counted_tree<qvds::item<score>>                       // ordered by their own <=> or <
///     qvds::counted_tree<qvds::item<winner, &score::points>>      // a member of a base class
///     qvds::counted_tree<qvds::item<score, [](const score &s) { return -s.points; }>>
template <class T, auto Projection = core::identity{}>
inline constexpr core::named_item<T, Projection> item{};

/// A tree that is balanced when it is told to.
struct balance_never {};

/// A tree that balances the part of itself that is to blame when an item goes in deeper than
/// c log2 n levels, n being the number of items; c is 2 or more. An insertion may then be linear,
/// and is logarithmic on average over any sequence. With 3, items that arrive in random order hardly
/// ever cause it. Taking out and searching never do: a tree of which most has been taken out keeps
/// the height that it had.
template <uint32_t c>
struct balance_beyond {
    static_assert(c >= 2, "qvds::balance_beyond: c must be 2 or more");
};

/// What load_sorted has to say.
enum class load_result {
    loaded,        ///< all are in, but for those with the key of another
    out_of_memory, ///< none is in
    not_sorted     ///< none is in
};

namespace core {

template <auto Key, class Kind = std::remove_const_t<decltype(Key)>>
struct counted_items {
    static_assert(
        never<Kind>,
        "qvds::counted_tree: the first argument must be a member pointer that gives the "
        "key of an item, as in qvds::counted_tree<&score::points>, or a qvds::item<score>");
};
template <auto Key, class Member, class T>
struct counted_items<Key, Member T::*> {
    using type = T;
    static constexpr auto projection = Key;
};
template <auto Key, class T, auto Projection>
struct counted_items<Key, named_item<T, Projection>> {
    using type = T;
    static constexpr auto projection = Projection;
    static_assert(
        requires(const T &item) { project(projection, item); },
        "qvds::item: the projection must take a const item");
};

template <class Balance>
inline constexpr uint32_t counted_limit = 0;
template <uint32_t c>
inline constexpr uint32_t counted_limit<balance_beyond<c>> = c;

// A root of its own.
struct counted_root {
    qv_tree *root = &qv_tree_null;
};

// Its nodes are to be released even where items are left alone.
template <class Disposal>
struct counted_disposal : Disposal {};

// Nodes in ascending order, each on the right of the one before, that belong to no tree yet.
class counted_chain {
  public:
    counted_chain() = default;
    counted_chain(const counted_chain &) = delete;
    counted_chain &operator=(const counted_chain &) = delete;
    ~counted_chain() {
        while (first_ != counted_null)
            free(std::exchange(first_, first_->right));
    }

    [[nodiscard]] bool append(void *item) noexcept {
        qv_tree *const t = qv_tree_new(item);
        if (t == nullptr)
            return false;
        *end_ = t;
        end_ = &t->right;
        ++count_;
        return true;
    }
    // As a tree.
    qv_tree *release() noexcept {
        if (count_ != 0)
            first_->count = count_;
        return std::exchange(first_, counted_null);
    }

  private:
    qv_tree *first_ = counted_null;
    qv_tree **end_ = &first_;
    uint32_t count_ = 0;
};

// A place in a tree: the node of a rank. At the end there is none.
template <class T>
class counted_iterator {
  public:
    using iterator_category = std::bidirectional_iterator_tag;
    using value_type = std::remove_const_t<T>;
    using difference_type = ptrdiff_t;
    using pointer = T *;
    using reference = T &;

    counted_iterator() = default;
    counted_iterator(qv_tree *const *root, counted_place at) noexcept : root_(root), at_(at) {}
    // From an iterator to one whose items are const.
    template <std::same_as<value_type> Mutable>
    requires std::is_const_v<T> counted_iterator(const counted_iterator<Mutable> &other)
    noexcept : root_(other.root()), at_(other.place()) {}

    reference operator*() const noexcept { return *operator->(); }
    pointer operator->() const noexcept { return static_cast<T *>(at_.node->item); }

    counted_iterator &operator++() noexcept {
        at_ = {counted_successor(*root_, at_.node, at_.rank), at_.rank + 1};
        return *this;
    }
    counted_iterator operator++(int) noexcept {
        const counted_iterator before = *this;
        ++*this;
        return before;
    }
    counted_iterator &operator--() noexcept {
        at_ = {counted_predecessor(*root_, at_.node, at_.rank), at_.rank - 1};
        return *this;
    }
    counted_iterator operator--(int) noexcept {
        const counted_iterator before = *this;
        --*this;
        return before;
    }
    friend ptrdiff_t operator-(const counted_iterator &a, const counted_iterator &b) noexcept {
        return ptrdiff_t{a.at_.rank} - ptrdiff_t{b.at_.rank};
    }
    friend bool operator==(const counted_iterator &a, const counted_iterator &b) noexcept {
        return a.at_.rank == b.at_.rank;
    }
    friend auto operator<=>(const counted_iterator &a, const counted_iterator &b) noexcept {
        return a.at_.rank <=> b.at_.rank;
    }

    // How many items come before this place.
    uint32_t rank() const noexcept { return at_.rank; }
    qv_tree *const *root() const noexcept { return root_; }
    counted_place place() const noexcept { return at_; }

  private:
    qv_tree *const *root_ = nullptr;
    counted_place at_{};
};

// A single pass over the items of some ranks. It remembers its way, and so stays where it is.
template <class T>
class counted_walk_range {
  public:
    class iterator {
      public:
        using iterator_concept = std::input_iterator_tag;
        using value_type = std::remove_const_t<T>;
        using difference_type = ptrdiff_t;

        iterator() = default;
        explicit iterator(counted_walk_range *walk) noexcept : walk_(walk) {}

        T &operator*() const noexcept { return *operator->(); }
        T *operator->() const noexcept { return static_cast<T *>(walk_->at_.node->item); }
        iterator &operator++() noexcept {
            counted_advance(&walk_->at_);
            return *this;
        }
        void operator++(int) noexcept { ++*this; }
        friend bool operator==(const iterator &at, std::default_sentinel_t /*end*/) noexcept {
            return at.rank() >= at.last();
        }
        // How many items come before this place.
        uint32_t rank() const noexcept { return walk_->at_.rank; }

      private:
        uint32_t last() const noexcept { return walk_->last_; }

        counted_walk_range *walk_ = nullptr;
    };

    counted_walk_range(const qv_tree *root, uint32_t first, uint32_t last) noexcept
        : first_(first), last_(last < root->count ? last : root->count) {
        at_.root = root;
        at_.top = 0;
    }
    counted_walk_range(const counted_walk_range &) = delete;
    counted_walk_range &operator=(const counted_walk_range &) = delete;

    // Goes to the first item, again if need be.
    iterator begin() noexcept {
        counted_seek(&at_, first_);
        return iterator(this);
    }
    std::default_sentinel_t end() const noexcept { return {}; }

  private:
    uint32_t first_, last_;
    counted_cursor at_;
};

} // namespace core

/// A counted tree; the template arguments are those of the list above.
template <auto Key, class Compare = core::natural_order, class Balance = balance_never,
          class Disposal = core::leave_elements>
class counted_tree {
    using items = core::counted_items<Key>;
    static constexpr bool is_view = std::is_same_v<Disposal, core::viewed>;
    static_assert(std::is_same_v<Balance, balance_never> || core::counted_limit<Balance> != 0,
                  "qvds::counted_tree: the third argument says when the tree balances itself: "
                  "qvds::balance_never or qvds::balance_beyond<c>");

    // What names no item is a key.
    template <class K>
    static constexpr bool is_item = std::is_base_of_v<typename items::type, K>;

  public:
    using value_type = typename items::type;
    using reference = value_type &;
    using const_reference = const value_type &;
    using pointer = value_type *;
    using const_pointer = const value_type *;
    using difference_type = ptrdiff_t;
    using size_type = uint32_t;
    using iterator = core::counted_iterator<value_type>;
    using const_iterator = core::counted_iterator<const value_type>;
    using reverse_iterator = std::reverse_iterator<iterator>;
    using const_reverse_iterator = std::reverse_iterator<const_iterator>;
    /// What holds a part that is cut off: a tree of its own, also where this is a view.
    using owner = std::conditional_t<is_view, counted_tree<Key, Compare, Balance>, counted_tree>;

    /// What an insertion has to say, as in `auto [where, fresh] = tree.insert(item)`.
    struct insertion {
        value_type
            *where; ///< the item with this key that is now in the tree; null if out of memory
        bool fresh; ///< whether that is the one to be inserted, which has gone in
    };

    // -- Set up --------------------------------------------------------------------------------

    /// An empty tree.
    constexpr counted_tree() requires(!is_view) = default;
    template <bool owns = !is_view>
    requires owns explicit constexpr counted_tree(Compare compare) : compare_(std::move(compare)) {}

    /// A view of the tree whose root is in a variable elsewhere, as C made it. The variable must
    /// outlive the view; the view may be copied.
    template <std::same_as<qv_tree *> Root>
    requires is_view explicit constexpr counted_tree(Root &root, Compare compare = {})
        : root_(&root), compare_(std::move(compare)) {}

    /// The root, for the functions of qv_tree.h. What these return is to be stored here:
    ///
    ///     table.c_root() = qv_tree_partition(table.c_root(), 7);
    constexpr qv_tree *&c_root() noexcept {
        if constexpr (is_view)
            return *root_.get();
        else
            return root_.get()->root;
    }
    constexpr const qv_tree *c_root() const noexcept { return *root_variable(); }

    // -- Look ----------------------------------------------------------------------------------

    [[nodiscard]] bool empty() const noexcept { return size() == 0; }

    /// The number of items. Constant time.
    [[nodiscard]] uint32_t size() const noexcept { return c_root()->count; }

    /// The levels of the tree. Linear, in stack for the logarithm of the size.
    [[nodiscard]] uint32_t height() const noexcept { return core::counted_height(c_root()); }

    /// The items of the lowest and the highest rank, or null.
    value_type *front() noexcept { return nth(0); }
    const value_type *front() const noexcept { return nth(0); }
    value_type *back() noexcept { return nth(size() - 1); }
    const value_type *back() const noexcept { return nth(size() - 1); }

    /// The item of a rank, counted from 0, or null if there are not as many.
    value_type *nth(uint32_t rank) noexcept { return item_of(core::counted_nth(c_root(), rank)); }
    const value_type *nth(uint32_t rank) const noexcept {
        return item_of(core::counted_nth(c_root(), rank));
    }

    /// The item of a rank, which must be below size().
    value_type &operator[](uint32_t rank) noexcept { return *nth(rank); }
    const value_type &operator[](uint32_t rank) const noexcept { return *nth(rank); }

    /// The first iterator goes down the left edge; the last is had in constant time.
    iterator begin() noexcept { return iterator_at(0); }
    iterator end() noexcept { return {root_variable(), {nullptr, size()}}; }
    const_iterator begin() const noexcept { return cbegin(); }
    const_iterator end() const noexcept { return cend(); }
    const_iterator cbegin() const noexcept { return iterator_at(0); }
    const_iterator cend() const noexcept { return {root_variable(), {nullptr, size()}}; }
    reverse_iterator rbegin() noexcept { return reverse_iterator(end()); }
    reverse_iterator rend() noexcept { return reverse_iterator(begin()); }
    const_reverse_iterator rbegin() const noexcept { return const_reverse_iterator(end()); }
    const_reverse_iterator rend() const noexcept { return const_reverse_iterator(begin()); }

    /// The place of a rank; the end if there are not as many.
    iterator iterator_at(uint32_t rank) noexcept { return place_at<iterator>(rank); }
    const_iterator iterator_at(uint32_t rank) const noexcept {
        return place_at<const_iterator>(rank);
    }

    /// A single pass over the items, or those with ranks from first up to but not including last.
    /// The range object, which stays where it was made, remembers the way, and so a step takes
    /// constant time on average. The tree must not change meanwhile.
    ///
    ///     for (score &each : table.walk(table.rank(10), table.rank(20)))
    core::counted_walk_range<value_type> walk(uint32_t first = 0,
                                              uint32_t last = UINT32_MAX) &noexcept {
        return {c_root(), first, last};
    }
    core::counted_walk_range<const value_type> walk(uint32_t first = 0,
                                                    uint32_t last = UINT32_MAX) const &noexcept {
        return {c_root(), first, last};
    }
    void walk(uint32_t first = 0, uint32_t last = UINT32_MAX) const && = delete;

    // -- Search --------------------------------------------------------------------------------

    /// The item with this key, or null.
    template <class K>
    value_type *find(const K &key) {
        return find_item(key);
    }
    template <class K>
    const value_type *find(const K &key) const {
        return find_item(key);
    }

    /// How many items come before this key: the rank of the item that has it, if there is one.
    template <class K>
    [[nodiscard]] uint32_t rank(const K &key) const {
        return lower_place(key).rank;
    }

    /// How many items do not come before from, but before to; 0 where to comes before from.
    template <class From, class To>
    [[nodiscard]] uint32_t count_between(const From &from, const To &to) const {
        const uint32_t first = rank(from);
        const uint32_t last = rank(to);
        return last > first ? last - first : 0;
    }

    /// The place of the first item that does not come before key, or that comes behind it.
    template <class K>
    iterator lower_bound(const K &key) {
        return {root_variable(), lower_place(key)};
    }
    template <class K>
    const_iterator lower_bound(const K &key) const {
        return {root_variable(), lower_place(key)};
    }
    template <class K>
    iterator upper_bound(const K &key) {
        return {root_variable(), upper_place(key)};
    }
    template <class K>
    const_iterator upper_bound(const K &key) const {
        return {root_variable(), upper_place(key)};
    }

    // -- Add -----------------------------------------------------------------------------------

    /// Adds item, in a new leaf, unless one with its key is there, which then stays.
    [[nodiscard]] insertion insert(value_type &item) {
        const core::counted_path way = core::counted_find_path(&c_root(), order_of(item));
        if (*way.link != core::counted_null)
            return {item_of(*way.link), false};
        qv_tree *const leaf = qv_tree_new(__builtin_addressof(item));
        if (leaf == nullptr)
            return {nullptr, false};
        core::counted_add(way, c_root(), leaf);
        if constexpr (core::counted_limit<Balance> != 0)
            core::counted_shorten(way, &c_root(), core::counted_limit<Balance>);
        return {__builtin_addressof(item), true};
    }

    /// Adds the items of a range, of value_type or of pointers to it, in ascending order of their
    /// keys, behind all that are in the tree; and balances it. Of items with equal keys the first
    /// stays in, as with insert. Where the result is not load_result::loaded, or something throws,
    /// the tree is as it was. Linear, in stack for the logarithm of the size.
    template <class Range>
    [[nodiscard]] load_result load_sorted(Range &&sorted) {
        core::counted_chain added;
        value_type *last = back();
        for (auto &&entry : sorted) {
            value_type *const next = pointer_to(entry);
            const int order = last != nullptr ? compare_items(last, next) : -1;
            if (order > 0)
                return load_result::not_sorted;
            if (order == 0)
                continue;
            if (!added.append(next))
                return load_result::out_of_memory;
            last = next;
        }
        c_root() = core::counted_balance(core::counted_join(c_root(), added.release()));
        return load_result::loaded;
    }

    /// Moves all items of other behind those of this tree, all of which must come before them.
    /// Costs the depth of other's first item.
    template <class OtherBalance, class Other>
    void join(counted_tree<Key, Compare, OtherBalance, Other> &other) noexcept {
        c_root() = core::counted_join(c_root(), std::exchange(other.c_root(), core::counted_null));
    }
    template <class OtherBalance, class Other>
    void join(counted_tree<Key, Compare, OtherBalance, Other> &&other) noexcept {
        join(other);
    }

    // -- Take out ------------------------------------------------------------------------------

    /// Takes out the item with this key, and returns it, or null.
    template <class K>
    requires(!std::convertible_to<const K &, const_iterator>) value_type *erase(const K &key) {
        const core::counted_path way = core::counted_find_path(&c_root(), order_of(key));
        return *way.link != core::counted_null ? take_out(way) : nullptr;
    }

    /// Takes out the item at a place, without a comparison. Returns the place behind it.
    iterator erase(const_iterator at) noexcept {
        take_out(core::counted_path_to(&c_root(), at.rank()));
        return iterator_at(at.rank());
    }

    /// Cuts the tree in two: the items of this rank and above, or that do not come before key, are
    /// returned as a tree of their own.
    [[nodiscard]] owner
    split_at(uint32_t rank) noexcept(std::is_nothrow_copy_constructible_v<Compare>) {
        owner rest(compare_);
        rest.c_root() = core::counted_split(&c_root(), rank);
        return rest;
    }
    template <class K>
    [[nodiscard]] owner split(const K &key) {
        return split_at(rank(key));
    }

    /// Makes the tree empty and forgets its items. Linear.
    void clear() noexcept { clear_and_dispose(core::leave_elements{}); }

    /// Takes out all items, in ascending order, and hands a pointer to each to dispose once it is
    /// out; where dispose throws, the rest is still in. Linear.
    template <class Dispose>
    void clear_and_dispose(Dispose dispose) {
        drain(c_root(), dispose);
    }

    // -- Shape ---------------------------------------------------------------------------------

    /// Gives the tree the least height. Linear, in stack of the new height.
    void balance() noexcept { c_root() = core::counted_balance(c_root()); }

    /// Exchanges the items and comparisons of two trees.
    void swap(counted_tree &other) noexcept {
        std::swap(c_root(), other.c_root());
        std::swap(compare_, other.compare_);
    }
    friend void swap(counted_tree &a, counted_tree &b) noexcept { a.swap(b); }

  private:
    using releasing = std::conditional_t<is_view, core::viewed, core::counted_disposal<Disposal>>;
    using record = std::conditional_t<is_view, qv_tree *, core::counted_root>;
    friend class core::owner<record, releasing, counted_tree>;
    template <auto K, class C, class B, class D>
    friend fault check(const counted_tree<K, C, B, D> &);

    static value_type *item_of(const qv_tree *t) noexcept {
        return t != nullptr ? static_cast<value_type *>(t->item) : nullptr;
    }
    static value_type *pointer_to(value_type &item) noexcept { return __builtin_addressof(item); }
    static value_type *pointer_to(value_type *item) noexcept { return item; }

    constexpr qv_tree *const *root_variable() const noexcept {
        if constexpr (is_view)
            return root_.get();
        else
            return &root_.get()->root;
    }

    template <class Iterator>
    Iterator place_at(uint32_t rank) const noexcept {
        qv_tree *const t = core::counted_nth(c_root(), rank);
        return {root_variable(), {t, t != nullptr ? rank : size()}};
    }

    template <class K>
    static constexpr decltype(auto) key_of(const K &key) {
        if constexpr (is_item<K>)
            return core::project(items::projection, static_cast<const value_type &>(key));
        else
            return (key);
    }
    static constexpr decltype(auto) key_at(const void *item) {
        return key_of(*static_cast<const value_type *>(item));
    }

    // What the core asks about the items of nodes.
    template <class K>
    auto order_of(const K &key) const {
        return [&](const void *stored) {
            return core::turn_to(compare_, key_of(key), key_at(stored));
        };
    }
    int compare_items(const void *a, const void *b) const {
        return core::three_way(compare_, key_at(a), key_at(b));
    }

    template <class K>
    value_type *find_item(const K &key) const {
        return item_of(core::counted_find(c_root(), order_of(key)));
    }
    template <class K>
    core::counted_place lower_place(const K &key) const {
        return core::counted_find_place(c_root(), [&](const void *stored) -> bool {
            return core::is_less(compare_, key_at(stored), key_of(key));
        });
    }
    template <class K>
    core::counted_place upper_place(const K &key) const {
        return core::counted_find_place(c_root(), [&](const void *stored) -> bool {
            return !core::is_less(compare_, key_of(key), key_at(stored));
        });
    }

    value_type *take_out(const core::counted_path &way) noexcept {
        qv_tree *const t = core::counted_remove(way, c_root());
        value_type *const item = item_of(t);
        free(t);
        return item;
    }

    template <class Dispose>
    static void drain(qv_tree *&root, Dispose &&dispose) {
        while (root != core::counted_null) {
            qv_tree *const t = core::counted_pop_smallest(&root);
            value_type *const item = item_of(t);
            free(t);
            dispose(item);
        }
    }
    template <class Dispose>
    static void dispose_all(core::counted_root &own, Dispose &&dispose) {
        drain(own.root, dispose);
    }

    core::owner<record, releasing, counted_tree> root_;
    [[no_unique_address]] Compare compare_{};
};

/// The same over a root that lies elsewhere: qvds::counted_tree_view<&score::points> table(c_root).
template <auto Key, class Compare = core::natural_order, class Balance = balance_never>
using counted_tree_view = counted_tree<Key, Compare, Balance, core::viewed>;

} // namespace qvds

#endif

#ifndef QVDS_AA_HPP
#define QVDS_AA_HPP

/// @file
/// AA tree of elements of one type: the C++ face of aa.h, on the same records.
///
/// Choose it for an index that is searched, updated and walked in order, where an element must keep
/// its address. For ranks, or links outside the elements, take qv_tree.hpp; where order does not
/// matter, a hash table.
///
///     struct word { AA_node node; std::string_view text; int count; };
///     constinit qvds::aa_tree<&word::node, &word::text> index;
///
///     auto [where, fresh] = index.insert(w);      // where: w, or the word that is there already
///     word *found = index.find("lemon");
///     for (word &each : index.range("li", "lz"))
///         print(each);
///     word *gone = index.erase("lime");
///
/// The template arguments:
/// - the hook, an AA_node anywhere in the element (hook.hpp);
/// - what gives the key of an element: a member pointer or any callable for a const element; by
///   default the element itself;
/// - a comparison of two keys, which gives bool (the first comes before the second) or a strong or
///   weak ordering; by default <=>, or < where there is none. It may have state, and is then a
///   constructor's argument;
/// - what happens to elements still in the tree when it goes; by default nothing (dispose.hpp).
///
/// The elements are the caller's: they are linked where they lie, and must stay there, with their
/// keys as they are, while they are in the tree; no two have equal keys. Nothing is allocated and
/// nothing copied. The tree is its root pointer and no more, but for a comparison with state.
/// c_root() hands it to C, and aa_tree_view adopts a root in a variable of C's; compare callbacks
/// there must order as this type does. They receive the address of the AA_node, which is that of the
/// element if it is the first member. AA_new and AA_dup make, and AA_free releases, only elements of
/// which it is: qvds::dispose_with_free suits those.
///
/// What a search takes as key is a key of any type that the comparison accepts, or an element, of
/// which it looks at the key alone.
///
/// Unless something else is said, an operation costs the height of the tree, which is below
/// 2 log2(n + 1) after insertions alone and may be left higher by deletions, and throws only what
/// the comparison and the projection throw; these must leave the tree alone, and where one throws,
/// the tree is as it was. clear_and_dispose, duplicate and count take stack for the height.
///
/// There are no iterators on the tree itself, as an element does not know its parent: walk() and its
/// kin give ranges that remember their way. first(), next() and prev() need no memory.

#include <qvds/aa.h>
#include <qvds/core/aa.hpp>
#include <qvds/core/order.hpp>
#include <qvds/core/owner.hpp>
#include <qvds/hook.hpp>

#include <optional>
#include <span> // the lightest home of iterator tags

namespace qvds {

struct fault;
enum class aa_levels; // check.hpp

namespace core {

// Elements of a tree in order, up to but not including one of them. Any number of passes; the way is
// remembered for one place at a time, and found again by comparison for another.
template <class Tree, class Element, size_t length = aa_path_length>
class aa_walk {
  public:
    class iterator {
      public:
        using iterator_category = std::forward_iterator_tag;
        using value_type = std::remove_const_t<Element>;
        using difference_type = ptrdiff_t;
        using pointer = Element *;
        using reference = Element &;

        iterator() = default;

        reference operator*() const noexcept { return *operator->(); }
        pointer operator->() const noexcept { return Tree::hooked::element_at(node_); }

        iterator &operator++() {
            node_ = walk_->behind(node_);
            return *this;
        }
        iterator operator++(int) {
            const iterator before = *this;
            ++*this;
            return before;
        }
        friend bool operator==(const iterator &a, const iterator &b) noexcept {
            return a.node_ == b.node_;
        }

      private:
        friend class aa_walk;
        iterator(aa_walk *walk, AA_node *node) noexcept : walk_(walk), node_(node) {}

        aa_walk *walk_ = nullptr;
        AA_node *node_ = nullptr;
    };

    explicit aa_walk(const Tree &of) noexcept
        : tree_(&of), first_(path_.first(of.root())), at_(first_) {}
    template <class From>
    aa_walk(const Tree &of, const From &from)
        : tree_(&of), first_(path_.seek(of.root(), of.up_to(from))), at_(first_) {}
    template <class From, class To>
    aa_walk(const Tree &of, const From &from, const To &to) : aa_walk(of, from) {
        const bool is_empty = first_ == nullptr || !of.is_below(first_, to);
        end_ = is_empty ? first_ : aa_bound(of.root(), of.up_to(to));
    }
    aa_walk(const aa_walk &) = delete;
    aa_walk &operator=(const aa_walk &) = delete;

    iterator begin() noexcept { return {this, first_}; }
    iterator end() noexcept { return {this, end_}; }

  private:
    AA_node *behind(AA_node *node) {
        if (node != at_) {
            at_ = nullptr; // what seek leaves if a comparison throws is no path
            path_.seek(tree_->root(), tree_->to(node));
        }
        AA_node *next = path_.next(node);
        if (next == nullptr && path_.has_forgotten()) {
            at_ = nullptr;
            next = path_.seek(tree_->root(), tree_->beyond(node));
        }
        at_ = next;
        return next;
    }

    const Tree *tree_;
    aa_path<length> path_;
    AA_node *first_, *end_ = nullptr;
    AA_node *at_; // where the path stands
};

} // namespace core

/// An AA tree; the template arguments are those of the list above.
template <auto Hook, auto Key = core::identity{}, class Compare = core::natural_order,
          class Disposal = core::leave_elements>
class aa_tree {
    using hooked = core::hooked<Hook>;
    static_assert(std::is_same_v<typename hooked::link, AA_node>,
                  "qvds::aa_tree: the hook must name an AA_node of the element, as in "
                  "qvds::aa_tree<&word::node, &word::text> with struct word { AA_node node; ... }");
    static constexpr bool is_view = std::is_same_v<Disposal, core::viewed>;

    // What names no element is a key.
    template <class K>
    static constexpr bool is_element = std::is_base_of_v<typename hooked::element, K>;

  public:
    using value_type = typename hooked::element;
    using reference = value_type &;
    using const_reference = const value_type &;
    using pointer = value_type *;
    using const_pointer = const value_type *;
    using difference_type = ptrdiff_t;
    using size_type = size_t;
    /// What holds a duplicate: a tree of its own, also where this is a view.
    using owner = std::conditional_t<is_view, aa_tree<Hook, Key, Compare>, aa_tree>;

    /// What walk() and its kin return: a range of forward iterators, with any number of passes. It
    /// stays where it was made and names the tree, which must stay there, too. Its iterators are
    /// worthless once an element has gone in or out; until then an element may be changed in
    /// whatever its key does not depend on. To take elements out on the way, go by next(), which
    /// asks nothing of the tree but the order:
    ///
    ///     for (word *w = index.first(), *behind; w != nullptr; w = behind) {
    ///         behind = index.next(*w);
    ///         if (w->count == 1)
    ///             index.erase(*w);
    ///     }
    /// A step takes constant time on average. It compares only where an iterator does not follow
    /// the one last stepped on, and, once in 64 steps at most, where a tree is more than 64 high.
    using walk_range = core::aa_walk<aa_tree, value_type>;
    using const_walk_range = core::aa_walk<aa_tree, const value_type>;

    /// What an insertion has to say, as in `auto [where, fresh] = index.insert(w)`.
    struct insertion {
        value_type *where; ///< the element with this key that is now in the tree
        bool fresh;        ///< whether that is the one to be inserted, which has gone in
    };

    // -- Set up --------------------------------------------------------------------------------

    /// An empty tree.
    constexpr aa_tree() requires(!is_view) = default;
    template <bool owns = !is_view>
    requires owns explicit constexpr aa_tree(Compare compare) : compare_(std::move(compare)) {}

    /// A view of the tree whose root is in a variable elsewhere, as C made it. The variable must
    /// outlive the view; the view may be copied.
    template <std::same_as<AA_node *> Root>
    requires is_view explicit constexpr aa_tree(Root &root, Compare compare = {})
        : root_(&root), compare_(std::move(compare)) {}

    /// The root, for the functions of aa.h. What AA_delete returns is to be stored here, and what
    /// AA_insert returns unless it is null:
    ///
    ///     index.c_root() = AA_delete(index.c_root(), &key, compare_words, &gone);
    constexpr AA_node *&c_root() noexcept { return *root_.get(); }
    constexpr const AA_node *c_root() const noexcept { return root(); }

    // -- Look ----------------------------------------------------------------------------------

    [[nodiscard]] bool empty() const noexcept { return root() == nullptr; }

    /// The number of elements. Linear: a tree keeps no count.
    [[nodiscard]] size_t count() const noexcept {
        size_t n = 0;
        core::aa_iterate(root(), [&n](AA_node *) { return ++n == 0; });
        return n;
    }

    /// The smallest and the largest element, or null.
    value_type *first() noexcept { return elem_at(core::aa_first(root())); }
    const value_type *first() const noexcept { return elem_at(core::aa_first(root())); }
    value_type *last() noexcept { return elem_at(core::aa_last(root())); }
    const value_type *last() const noexcept { return elem_at(core::aa_last(root())); }

    /// The element behind elem, which must be in this tree, or before it, or null. Compares only
    /// where no child is on the way.
    value_type *next(const value_type &elem) { return elem_at(node_behind(elem)); }
    const value_type *next(const value_type &elem) const { return elem_at(node_behind(elem)); }
    value_type *prev(const value_type &elem) { return elem_at(node_before(elem)); }
    const value_type *prev(const value_type &elem) const { return elem_at(node_before(elem)); }

    /// All elements in ascending order.
    [[nodiscard]] walk_range walk() &noexcept { return walk_range(*this); }
    [[nodiscard]] const_walk_range walk() const &noexcept { return const_walk_range(*this); }
    void walk() const && = delete;

    /// From the first element that does not come before from to the last of the tree.
    template <class From>
    [[nodiscard]] walk_range walk_from(const From &from) & {
        return walk_range(*this, from);
    }
    template <class From>
    [[nodiscard]] const_walk_range walk_from(const From &from) const & {
        return const_walk_range(*this, from);
    }
    template <class From>
    void walk_from(const From &from) const && = delete;

    /// The elements that do not come before from, but come before to: from its lower bound up to
    /// but not including that of to. None where to comes before from.
    template <class From, class To>
    [[nodiscard]] walk_range range(const From &from, const To &to) & {
        return walk_range(*this, from, to);
    }
    template <class From, class To>
    [[nodiscard]] const_walk_range range(const From &from, const To &to) const & {
        return const_walk_range(*this, from, to);
    }
    template <class From, class To>
    void range(const From &from, const To &to) const && = delete;

    // -- Search --------------------------------------------------------------------------------

    /// The element with this key, or null.
    template <class K>
    value_type *find(const K &key) {
        return elem_at(find_node(key));
    }
    template <class K>
    const value_type *find(const K &key) const {
        return elem_at(find_node(key));
    }

    template <class K>
    [[nodiscard]] bool contains(const K &key) const {
        return find_node(key) != nullptr;
    }

    /// The first element that does not come before key, or null.
    template <class K>
    value_type *lower_bound(const K &key) {
        return elem_at(core::aa_bound(root(), up_to(key)));
    }
    template <class K>
    const value_type *lower_bound(const K &key) const {
        return elem_at(core::aa_bound(root(), up_to(key)));
    }

    /// The first element that comes behind key, or null.
    template <class K>
    value_type *upper_bound(const K &key) {
        return elem_at(core::aa_bound(root(), past(key)));
    }
    template <class K>
    const value_type *upper_bound(const K &key) const {
        return elem_at(core::aa_bound(root(), past(key)));
    }

    // -- Add -----------------------------------------------------------------------------------

    /// Adds elem, unless one with its key is there, which then stays. elem must be in no other
    /// container through this hook.
    [[nodiscard]] insertion insert(value_type &elem) {
        auto *const node = static_cast<AA_node *>(hooked::link_of(elem));
        AA_node *const match = core::aa_insert(c_root(), node, towards(elem));
        return match != nullptr ? insertion{elem_at(match), false}
                                : insertion{__builtin_addressof(elem), true};
    }

    /// A tree of the same shape. clone makes an element from each const one, which it gives as a
    /// pointer; its link need not be set. Where clone returns null, the result is nothing; then, and
    /// where it throws, what it has made goes to dispose. Linear.
    ///
    ///     auto copy = index.duplicate([](const word &w) { return new (std::nothrow) word(w); },
    ///                                 qvds::dispose_with_delete{});
    template <class Clone, class Dispose>
    [[nodiscard]] std::optional<owner> duplicate(Clone clone, Dispose dispose) const {
        std::optional<owner> copy(std::in_place, compare_);
        copy->c_root() = core::aa_dup(
            root(),
            [&clone](const AA_node *node) -> AA_node * {
                value_type *const made = clone(static_cast<const value_type &>(*elem_at(node)));
                return made != nullptr ? static_cast<AA_node *>(hooked::link_of(*made)) : nullptr;
            },
            [&dispose](AA_node *node) { dispose(elem_at(node)); });
        if (copy->empty() && !empty())
            copy.reset();
        return copy;
    }

    // -- Take out ------------------------------------------------------------------------------
    // The links of an element that has been taken out are null.

    /// Takes out the element with this key, and returns it, or null.
    template <class K>
    value_type *erase(const K &key) {
        AA_node *taken = nullptr;
        core::aa_erase(c_root(), towards(key), taken);
        return elem_at(taken);
    }

    /// Makes the tree empty and forgets its elements. Constant time.
    void clear() noexcept { c_root() = nullptr; }

    /// Takes out all elements and hands a pointer to each to dispose once it is out, of no child
    /// before its children; where dispose throws, the rest is still in. Linear.
    template <class Dispose>
    void clear_and_dispose(Dispose dispose) {
        dispose_all(c_root(), dispose);
    }

    /// Exchanges the elements and comparisons of two trees.
    void swap(aa_tree &other) noexcept {
        std::swap(root_, other.root_);
        std::swap(compare_, other.compare_);
    }
    friend void swap(aa_tree &a, aa_tree &b) noexcept { a.swap(b); }

  private:
    friend class core::owner<AA_node *, Disposal, aa_tree>;
    template <class Tree, class Element, size_t length>
    friend class core::aa_walk;
    template <auto H, auto K, class C, class D>
    friend fault check(const aa_tree<H, K, C, D> &, aa_levels);

    static value_type *elem_at(const AA_node *node) noexcept {
        return hooked::element_or_null(const_cast<AA_node *>(node));
    }
    constexpr AA_node *root() const noexcept { return *root_.get(); }

    template <class K>
    static constexpr decltype(auto) key_of(const K &key) {
        if constexpr (is_element<K>)
            return core::project(Key, static_cast<const value_type &>(key));
        else
            return (key);
    }
    static constexpr decltype(auto) key_at(const AA_node *node) { return key_of(*elem_at(node)); }

    // What the core asks of a node on its way down.

    // The way to the element with the key.
    template <class K>
    auto towards(const K &key) const {
        return [this, &key](const AA_node *stored) {
            return core::turn_to(compare_, key_of(key), key_at(stored));
        };
    }
    // The way to the lower bound, or short of it to the element with the key. Asks once a node.
    template <class K>
    auto up_to(const K &key) const {
        return [this, &key](const AA_node *stored) {
            if constexpr (tells_only_less<K>)
                return core::aa_side{!core::is_less(compare_, key_at(stored), key_of(key))};
            else
                return core::turn_to(compare_, key_of(key), key_at(stored));
        };
    }
    // The way to the upper bound.
    template <class K>
    auto past(const K &key) const {
        return [this, &key](const AA_node *stored) {
            return core::aa_side{core::is_less(compare_, key_of(key), key_at(stored))};
        };
    }
    // The ways to a node, and to the one behind it.
    auto to(const AA_node *node) const { return towards(*elem_at(node)); }
    auto beyond(const AA_node *node) const { return past(*elem_at(node)); }

    template <class K>
    static constexpr bool tells_only_less =
        core::tells_only_less<const Compare, decltype(key_of(std::declval<const K &>())),
                              decltype(key_at(nullptr))>;

    int compare_nodes(const AA_node *a, const AA_node *b) const {
        return core::three_way(compare_, key_at(a), key_at(b));
    }
    template <class K>
    bool is_below(const AA_node *node, const K &key) const {
        return core::is_less(compare_, key_at(node), key_of(key));
    }

    template <class K>
    AA_node *find_node(const K &key) const {
        if constexpr (tells_only_less<K>) {
            AA_node *const node = core::aa_bound(root(), up_to(key));
            const bool found =
                node != nullptr && !core::is_less(compare_, key_of(key), key_at(node));
            return found ? node : nullptr;
        } else {
            return core::aa_find(root(), towards(key));
        }
    }

    AA_node *node_behind(const value_type &elem) const {
        auto *const node = static_cast<AA_node *>(hooked::link_of(elem));
        return node->right != nullptr ? core::aa_first(node->right)
                                      : core::aa_bound(root(), past(elem));
    }
    AA_node *node_before(const value_type &elem) const {
        auto *const node = static_cast<AA_node *>(hooked::link_of(elem));
        if (node->left != nullptr)
            return core::aa_last(node->left);
        return core::aa_bound<false>(root(), [this, &elem](const AA_node *stored) {
            return core::aa_side{!core::is_less(compare_, key_at(stored), key_of(elem))};
        });
    }

    template <class Dispose>
    static void dispose_all(AA_node *&root, Dispose &&dispose) {
        const auto dispose_at = [&dispose](AA_node *node) { dispose(elem_at(node)); };
        core::aa_dispose(root, dispose_at);
    }

    core::owner<AA_node *, Disposal, aa_tree> root_;
    [[no_unique_address]] Compare compare_{};
};

/// The same over a root that lies elsewhere: qvds::aa_tree_view<&word::node, &word::text> index(root).
template <auto Hook, auto Key = core::identity{}, class Compare = core::natural_order>
using aa_tree_view = aa_tree<Hook, Key, Compare, core::viewed>;

} // namespace qvds

#endif

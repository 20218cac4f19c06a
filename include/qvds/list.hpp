#ifndef QVDS_LIST_HPP
#define QVDS_LIST_HPP

/// @file
/// Owning list of pointers to elements of one type: the C++ face of list.h, on the same links.
///
/// Choose it when elements have no room for links, when one element is to sit on many lists, or when
/// a loop adds to and removes from the very list that it walks over. The price is one allocation for
/// each element. Where the element can carry its own link, fifo2.hpp costs less.
///
///     qvds::list<session> sessions;
///     if (!sessions.push_back(s))
///         return out_of_memory;
///     for (session &s : sessions.walk())
///         if (s.dead())
///             for (session &peer : s.peers())
///                 sessions.erase(peer);
///
/// The list owns its links, and releases them when it goes; the elements are the caller's. It is
/// walked through walk() alone, which gives a range in which everything is allowed: any element may
/// be removed, the present one, one already passed or one to come, and is then not met again; what
/// is added behind the present one is met. Walks may be nested, and may be left by break, return or
/// an exception; when the last ends, the links that were removed meanwhile are unlinked and freed.
///
/// The list is its head pointer and no more; c_record() hands that variable to C, and list_view
/// adopts one of C's. While a walk is under way the list must not be moved, swapped or destroyed.
///
/// An operation never throws but what a callable of the caller's throws, and then the list is sound,
/// with what was done up to then. Where an allocation fails, the list is as it was.

#include <qvds/core/order.hpp>
#include <qvds/core/owner.hpp>
#include <qvds/list.h>

#include <span> // the lightest home of iterator tags

namespace qvds {

/// What a callable given to list::insert says of an element that it is shown.
enum class verdict {
    before, ///< the new element goes directly before it
    behind, ///< the new element goes directly behind it
    refuse, ///< the new element is not added
    go_on,  ///< show the next; behind the last, the new element goes to the end
};

namespace core {

QVDS_HIDDEN inline bool is_live(const list_link *link) noexcept {
    return (link->state & LIST_STATE_DELETED) == 0;
}

// The link itself if it is live and holds an element, else the next one that is, or null. (C may add
// null hooks, which no walk visits.)
QVDS_HIDDEN inline list_link *first_met(list_link *link) noexcept {
    while (link != nullptr && (!is_live(link) || link->hook == nullptr))
        link = link->next;
    return link;
}

// A walk under way. Begun on an empty list it counts nothing, so that it must not end anything
// either: a link that was added meanwhile may be in another walk.
template <class Element>
class list_walk {
  public:
    class iterator {
      public:
        using iterator_category = std::forward_iterator_tag;
        using value_type = std::remove_const_t<Element>;
        using difference_type = ptrdiff_t;
        using pointer = Element *;
        using reference = Element &;

        iterator() = default;
        explicit iterator(list_link *link) noexcept : link_(link) {}

        reference operator*() const noexcept { return *static_cast<Element *>(link_->hook); }
        pointer operator->() const noexcept { return static_cast<Element *>(link_->hook); }
        iterator &operator++() noexcept {
            link_ = first_met(link_->next);
            return *this;
        }
        iterator operator++(int) noexcept {
            const iterator before = *this;
            ++*this;
            return before;
        }
        friend bool operator==(iterator a, iterator b) noexcept { return a.link_ == b.link_; }

        /// The link that holds the element, for list::erase.
        list_link *link() const noexcept { return link_; }

      private:
        list_link *link_ = nullptr;
    };

    explicit list_walk(list_link **head) noexcept : head_(head), counted_(*head != nullptr) {
        list_iter_set(*head_);
    }
    list_walk(const list_walk &) = delete;
    list_walk &operator=(const list_walk &) = delete;
    ~list_walk() {
        if (counted_)
            list_iter_clear(head_);
    }

    iterator begin() const noexcept { return iterator(counted_ ? first_met(*head_) : nullptr); }
    iterator end() const noexcept { return {}; }

  private:
    list_link **head_;
    bool counted_;
};

} // namespace core

/// A list of elements of type T. What becomes of elements still on it when it goes, Disposal says
/// (dispose.hpp); by default nothing.
template <class T, class Disposal = core::leave_elements>
class list {
    static_assert(std::is_object_v<T> && !std::is_pointer_v<T>,
                  "qvds::list: name the type of the elements, as in qvds::list<session>; the list "
                  "holds pointers to them");
    static constexpr bool is_view = std::is_same_v<Disposal, core::viewed>;
    // Links are released in any case.
    using disposal = std::conditional_t<std::is_same_v<Disposal, core::leave_elements>,
                                        core::release_storage, Disposal>;

  public:
    using value_type = T;
    using size_type = size_t;
    using difference_type = ptrdiff_t;
    using walk_type = core::list_walk<T>;
    using const_walk_type = core::list_walk<const T>;

    // -- Set up --------------------------------------------------------------------------------

    /// An empty list.
    constexpr list() requires(!is_view) = default;

    /// A view of a list whose head variable is C's. The variable must outlive the view; the view may
    /// be copied.
    template <std::same_as<list_link *> Record>
    requires is_view explicit constexpr list(Record &head) noexcept : head_(&head) {}

    /// The head variable, for the functions of list.h. Hooks are the addresses of elements.
    constexpr list_link *&c_record() noexcept { return *head_.get(); }
    constexpr list_link *const &c_record() const noexcept { return *head_.get(); }

    // -- Look ----------------------------------------------------------------------------------

    /// Whether there is no element. Constant time outside walks.
    [[nodiscard]] bool empty() const noexcept { return core::first_met(c_record()) == nullptr; }

    /// The first element, or null. Constant time outside walks.
    T *front() noexcept { return element_of(core::first_met(c_record())); }
    const T *front() const noexcept { return element_of(core::first_met(c_record())); }

    /// The number of elements. Linear.
    [[nodiscard]] size_t count() const noexcept {
        size_t n = 0;
        for (const list_link *at = core::first_met(c_record()); at != nullptr; at = following(at))
            ++n;
        return n;
    }

    /// Begins a walk: a range over the elements, first to last, that ends the walk when it goes.
    /// See above for what is allowed meanwhile. Ending the outermost walk is linear.
    [[nodiscard]] walk_type walk() &noexcept { return walk_type(head_.get()); }
    [[nodiscard]] const_walk_type walk() const &noexcept { return const_walk_type(bookkeeping()); }
    walk_type walk() && = delete;
    const_walk_type walk() const && = delete;

    /// The first element for which predicate is true, or null. Linear. predicate must leave the list
    /// alone.
    template <class Predicate>
    T *find_if(Predicate predicate) {
        return element_of(find_link<T>(predicate));
    }
    template <class Predicate>
    const T *find_if(Predicate predicate) const {
        return element_of(find_link<const T>(predicate));
    }

    /// The first element whose key, as projection gives it, equals key, or null. Linear.
    template <class Key, class Projection = core::identity>
    T *find(const Key &key, Projection projection = {}) {
        return find_if(core::has_key<T>(key, projection));
    }
    template <class Key, class Projection = core::identity>
    const T *find(const Key &key, Projection projection = {}) const {
        return find_if(core::has_key<T>(key, projection));
    }

    /// Whether elem itself is on the list. Linear.
    [[nodiscard]] bool contains(const T &elem) const noexcept {
        return list_find_link(__builtin_addressof(elem), c_record()) != nullptr;
    }

    /// Copies pointers to the elements, in order, to room. Returns how many there was room for.
    /// Linear.
    size_t copy_to(std::span<T *> room) noexcept {
        size_t n = 0;
        for (list_link *at = core::first_met(c_record()); at != nullptr && n < room.size();
             at = following(at))
            room[n++] = element_of(at);
        return n;
    }

    /// Appends pointers to the elements, in order, to a container with push_back. Linear.
    template <class Container>
    requires requires(Container &to, T *elem) { to.push_back(elem); }
    void append_to(Container &to) {
        for (list_link *at = core::first_met(c_record()); at != nullptr; at = following(at))
            to.push_back(element_of(at));
    }

    // -- Add -----------------------------------------------------------------------------------
    // Each returns the new link, or null if the allocation failed. The link stays where it is until
    // its element is removed.

    /// Adds elem at the front. Constant time.
    [[nodiscard]] list_link *push_front(T &elem) noexcept {
        return list_push(hook_of(elem), head_.get());
    }

    /// Adds elem at the end. Walks there.
    [[nodiscard]] list_link *push_back(T &elem) noexcept {
        return list_append(hook_of(elem), head_.get());
    }

    /// Adds elem where judge says: it is shown one element after the other, as const, until it gives
    /// a verdict. Returns null also if it refuses. Linear.
    template <class Judge>
    [[nodiscard]] list_link *insert(T &elem, Judge judge) {
        for (list_link *at = core::first_met(c_record()); at != nullptr; at = following(at)) {
            const verdict says = judge(static_cast<const T &>(*element_of(at)));
            if (says == verdict::refuse)
                return nullptr;
            if (says == verdict::before)
                return push_before(at, elem);
            if (says == verdict::behind)
                return at->next != nullptr ? push_before(at->next, elem) : push_back(elem);
        }
        return push_back(elem);
    }

    /// Adds elem behind all elements that are not greater: a list that is filled this way alone is
    /// in ascending order, and equals in the order in which they came. compare and projection are
    /// as for fifo2. Linear.
    template <class Compare = core::natural_order, class Projection = core::identity>
    [[nodiscard]] list_link *insert_sorted(T &elem, Compare compare = {},
                                           Projection projection = {}) {
        return insert(elem, [&](const T &stored) {
            return core::is_less(compare, core::project(projection, std::as_const(elem)),
                                 core::project(projection, stored))
                       ? verdict::before
                       : verdict::go_on;
        });
    }

    // -- Remove --------------------------------------------------------------------------------
    // In a walk, what is removed is gone for every operation at once, and may be released; its link
    // stays until the last walk ends.

    /// Removes the first element and returns it, or null. Constant time outside walks.
    T *pop_front() noexcept { return static_cast<T *>(list_pop(head_.get())); }

    /// Removes elem, where it stands first. Returns whether it was on the list. Linear.
    bool erase(const T &elem) noexcept {
        return list_del_link(__builtin_addressof(elem), head_.get()) == 1;
    }

    /// Removes the element of a link of this list, as an addition has returned it or as an iterator
    /// of a walk has it. Constant time in a walk, linear outside.
    void erase(list_link &link) noexcept {
        const walk_type ends_here(head_.get());
        link.state |= LIST_STATE_DELETED;
    }

    /// Removes every element for which predicate is true, and hands a pointer to each to dispose
    /// once it is removed. Returns how many there were. This is a walk: predicate and dispose may do
    /// with the list what they like. Linear.
    template <class Predicate, class Dispose = core::leave_elements>
    size_t erase_if(Predicate predicate, Dispose dispose = {}) {
        size_t removed = 0;
        const walk_type under_way(head_.get());
        for (auto at = under_way.begin(); at != under_way.end(); ++at) {
            if (!predicate(*at) || !core::is_live(at.link()))
                continue;
            at.link()->state |= LIST_STATE_DELETED;
            ++removed;
            dispose(&*at);
        }
        return removed;
    }

    /// Removes all elements. Not in a walk. Linear.
    void clear() noexcept { dispose_all(*head_.get(), core::leave_elements{}); }

    /// Removes all elements, from the front, and hands a pointer to each to dispose; where dispose
    /// throws, the rest is still there. Not in a walk. Linear.
    template <class Dispose>
    void clear_and_dispose(Dispose dispose) {
        dispose_all(*head_.get(), dispose);
    }

    /// Exchanges the elements of two lists.
    void swap(list &other) noexcept { std::swap(*head_.get(), *other.head_.get()); }
    friend void swap(list &a, list &b) noexcept { a.swap(b); }

  private:
    friend class core::owner<list_link *, disposal, list>;

    static void *hook_of(T &elem) noexcept {
        return const_cast<std::remove_cv_t<T> *>(__builtin_addressof(elem));
    }
    static T *element_of(const list_link *link) noexcept {
        return link != nullptr ? static_cast<T *>(link->hook) : nullptr;
    }
    static list_link *following(const list_link *link) noexcept {
        return core::first_met(link->next);
    }

    // A walk over a list whose elements are const counts itself in the list all the same.
    list_link **bookkeeping() const noexcept { return const_cast<list_link **>(&c_record()); }

    template <class Element, class Predicate>
    list_link *find_link(Predicate &predicate) const {
        list_link *at = core::first_met(c_record());
        while (at != nullptr && !predicate(static_cast<Element &>(*element_of(at))))
            at = following(at);
        return at;
    }

    list_link *push_before(list_link *link, T &elem) noexcept {
        return list_push(hook_of(elem), link == c_record() ? head_.get() : &link);
    }

    template <class Dispose>
    static void dispose_all(list_link *&head, Dispose &&dispose) {
        while (head != nullptr)
            if (void *const hook = list_pop(&head))
                dispose(static_cast<T *>(hook));
    }

    core::owner<list_link *, disposal, list> head_;
};

/// The same over a head variable that lies elsewhere: qvds::list_view<session> sessions(c_list).
template <class T>
using list_view = list<T, core::viewed>;

} // namespace qvds

#endif

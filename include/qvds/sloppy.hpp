#ifndef QVDS_SLOPPY_HPP
#define QVDS_SLOPPY_HPP

/// @file
/// Headerless list of elements of one type, known by any one of them: the C++ face of sloppy.h, on
/// the same links.
///
/// Choose it when there is no natural place for a header, or when the list is met through its
/// members: siblings, aliases, whatever sits around a record in hand. Adding beside an element and
/// unlinking take constant time; everything that must reach an end walks there, so where the ends
/// matter take fifo2.hpp.
///
///     struct name { qvds_node alias; std::string_view text; };
///     using aliases = qvds::sloppy<&name::alias>;
///
///     aliases::insert_after(known, added);            // no list: the two are now of one
///     for (name &n : aliases::around(known))
///         print(n.text);
///     aliases::detach(added);
///
///     constinit aliases all;                          // a handle, where one is wanted
///
///     all.insert(known);
///     if (name *n = all.find("queue", &name::text))
///         all.unlink(*n);
///
/// The elements are the caller's: they are linked where they lie, and must stay there while they
/// are in a list. Nothing is allocated and nothing copied. A sloppy is a handle, one pointer, and
/// no more: it names an element of the list, not necessarily the first, or is null for an empty
/// one. c_record() hands it to C, and sloppy_view adopts a handle variable of C. C passes and
/// receives the address of the link, which is that of the element if the link is its first member.
///
/// Several handles may name elements of one list, and none knows of the others: whoever takes an
/// element out sees to it that no other handle names it. One of them at most may have a disposer.
/// An element that is taken out has its links cleared, and may be added elsewhere at once.
///
/// Unless something else is said, an operation takes constant time, never throws, and leaves every
/// iterator valid but those of elements that it takes out. An iterator also names its handle, so a
/// handle that is moved or swapped leaves its iterators behind. A projection, predicate or disposer
/// that throws leaves the list sound, with what was done up to then; it must leave the list alone
/// otherwise.

#include <qvds/core/link_pointer.hpp>
#include <qvds/core/order.hpp>
#include <qvds/core/owner.hpp>
#include <qvds/core/sloppy.hpp>
#include <qvds/hook.hpp>
#include <qvds/sloppy.h>

#include <span> // the lightest home of iterator tags and of reverse_iterator

namespace qvds {

namespace core {

// A place in a list. At the end there is no link, and the way back starts at the handle.
template <class Hooked, class Element>
class sloppy_iterator {
  public:
    using iterator_category = std::bidirectional_iterator_tag;
    using value_type = std::remove_const_t<Element>;
    using difference_type = ptrdiff_t;
    using pointer = Element *;
    using reference = Element &;

    sloppy_iterator() = default;
    sloppy_iterator(void *link, const void *handle) noexcept : link_(link), handle_(handle) {}
    // From an iterator to one whose elements are const.
    template <std::same_as<value_type> Mutable>
    sloppy_iterator(const sloppy_iterator<Hooked, Mutable> &other) noexcept
        : link_(other.link()), handle_(other.handle()) {}

    reference operator*() const noexcept { return *Hooked::element_at(link_); }
    pointer operator->() const noexcept { return Hooked::element_at(link_); }

    sloppy_iterator &operator++() noexcept {
        link_ = next_of(link_);
        return *this;
    }
    sloppy_iterator operator++(int) noexcept {
        const sloppy_iterator before = *this;
        ++*this;
        return before;
    }
    sloppy_iterator &operator--() noexcept {
        link_ = link_ != nullptr ? prev_of(link_) : sloppy_last(next_of(handle_));
        return *this;
    }
    sloppy_iterator operator--(int) noexcept {
        const sloppy_iterator before = *this;
        --*this;
        return before;
    }
    friend bool operator==(const sloppy_iterator &a, const sloppy_iterator &b) noexcept {
        return a.link_ == b.link_;
    }

    void *link() const noexcept { return link_; }
    const void *handle() const noexcept { return handle_; }

  private:
    void *link_ = nullptr;
    const void *handle_ = nullptr;
};

/// The list that an element is in, as a range. It is the handle that its iterators name.
template <class Hooked, class Element>
class sloppy_range {
  public:
    using iterator = sloppy_iterator<Hooked, Element>;
    using const_iterator = iterator;

    explicit sloppy_range(Element &elem) noexcept : link_(Hooked::link_of(elem)) {}

    iterator begin() const noexcept { return {sloppy_first(link_), &link_}; }
    iterator end() const noexcept { return {nullptr, &link_}; }

  private:
    void *link_;
};

} // namespace core

/// A handle of a list through the link that Hook names (hook.hpp). What becomes of the list's elements
/// when the handle goes, Disposal says (dispose.hpp); by default nothing.
template <auto Hook, class Disposal = core::leave_elements>
class sloppy {
    using hooked = core::hooked<Hook>;
    static_assert(std::is_same_v<typename hooked::link, qvds_node>,
                  "qvds::sloppy: the hook must name a qvds_node of the element, as in "
                  "qvds::sloppy<&name::alias> with struct name { qvds_node alias; }");
    static constexpr bool is_view = std::is_same_v<Disposal, core::viewed>;

  public:
    using value_type = typename hooked::element;
    using reference = value_type &;
    using const_reference = const value_type &;
    using pointer = value_type *;
    using const_pointer = const value_type *;
    using difference_type = ptrdiff_t;
    using size_type = size_t;
    using iterator = core::sloppy_iterator<hooked, value_type>;
    using const_iterator = core::sloppy_iterator<hooked, const value_type>;
    using reverse_iterator = std::reverse_iterator<iterator>;
    using const_reverse_iterator = std::reverse_iterator<const_iterator>;
    /// What holds a part that is cut off: a handle of its own, also where this is a view.
    using owner = std::conditional_t<is_view, sloppy<Hook>, sloppy>;

    // -- Set up --------------------------------------------------------------------------------

    /// An empty list.
    constexpr sloppy() requires(!is_view) = default;

    /// A view of a handle variable that lies elsewhere: a pointer to void, to the qvds_node, or to
    /// an element that begins with it. The variable must outlive the view; the view may be copied.
    template <class Pointee>
    requires is_view explicit sloppy(Pointee *&handle) noexcept
        : list_(reinterpret_cast<void **>(&handle)) {
        static_assert(core::may_point_at_link<Pointee>(hooked{}),
                      "qvds::sloppy: a handle holds the address of a link, so it must be a pointer "
                      "to an element that begins with its link, to a qvds_node or to void");
    }

    /// The handle variable, whose address is what the functions of sloppy.h call a handle:
    /// qvds_sloppy_append(&list.c_record(), &elem).
    core::link_word &c_record() noexcept { return core::sloppy_element(list_.get()); }
    const core::link_word &c_record() const noexcept {
        return *static_cast<const core::link_word *>(static_cast<const void *>(list_.get()));
    }

    // -- Look ----------------------------------------------------------------------------------

    [[nodiscard]] bool empty() const noexcept { return c_record() == nullptr; }

    /// The element that the handle names, or null.
    value_type *handle() noexcept { return elem_at(c_record()); }
    const value_type *handle() const noexcept { return elem_at(c_record()); }

    /// Makes elem, which must be in this list, the one that the handle names.
    void move_handle(value_type &elem) noexcept { c_record() = hooked::link_of(elem); }

    /// The first element, or null. Walks.
    value_type *first() noexcept { return elem_at(core::sloppy_first(c_record())); }
    const value_type *first() const noexcept { return elem_at(core::sloppy_first(c_record())); }

    /// The last element, or null. Walks.
    value_type *last() noexcept { return elem_at(core::sloppy_last(c_record())); }
    const value_type *last() const noexcept { return elem_at(core::sloppy_last(c_record())); }

    /// The number of elements. Linear.
    [[nodiscard]] size_t count() const noexcept { return core::sloppy_count(c_record()); }

    /// From the first element, which begin() walks to, to the last, to which a step back from end()
    /// walks. All other steps take constant time.
    iterator begin() noexcept { return {core::sloppy_first(c_record()), list_.get()}; }
    iterator end() noexcept { return {nullptr, list_.get()}; }
    const_iterator begin() const noexcept { return cbegin(); }
    const_iterator end() const noexcept { return cend(); }
    const_iterator cbegin() const noexcept { return {core::sloppy_first(c_record()), list_.get()}; }
    const_iterator cend() const noexcept { return {nullptr, list_.get()}; }
    reverse_iterator rbegin() noexcept { return reverse_iterator(end()); }
    reverse_iterator rend() noexcept { return reverse_iterator(begin()); }
    const_reverse_iterator rbegin() const noexcept { return const_reverse_iterator(end()); }
    const_reverse_iterator rend() const noexcept { return const_reverse_iterator(begin()); }

    /// The place of elem, which must be in this list.
    iterator iterator_to(value_type &elem) noexcept { return {hooked::link_of(elem), list_.get()}; }
    const_iterator iterator_to(const value_type &elem) const noexcept {
        return {hooked::link_of(elem), list_.get()};
    }

    // -- Add -----------------------------------------------------------------------------------
    // An element to be added must be in no list through this hook. An empty list takes it as its
    // only element, which the handle then names.

    /// Adds elem directly behind the handle's element.
    void insert(value_type &elem) noexcept {
        core::sloppy_insert(list_.get(), hooked::link_of(elem));
    }

    /// Adds elem at the front. The handle moves to elem if it named the former first element.
    /// Walks.
    void push_front(value_type &elem) noexcept {
        core::sloppy_push(list_.get(), hooked::link_of(elem));
    }

    /// Adds elem at the back. Walks.
    void push_back(value_type &elem) noexcept {
        core::sloppy_append(list_.get(), hooked::link_of(elem));
    }

    /// Moves all elements of other, which must be a handle of another list, behind those of this
    /// one. Walks to the end of this one and to the start of the other.
    template <class Other>
    void concat(sloppy<Hook, Other> &other) noexcept {
        core::sloppy_take_over(list_.get(), &other.c_record());
    }
    template <class Other>
    void concat(sloppy<Hook, Other> &&other) noexcept {
        concat(other);
    }

    // -- Search --------------------------------------------------------------------------------
    // Outwards: from the handle's element back to the first, then from behind it on to the last. So
    // what stands at or before it wins over what stands behind it, and the nearest of it wins.
    // Linear.

    /// An element for which predicate is true, or null.
    template <class Predicate>
    value_type *find_if(Predicate predicate) {
        return elem_at(find_link<value_type>(c_record(), predicate));
    }
    template <class Predicate>
    const value_type *find_if(Predicate predicate) const {
        return elem_at(find_link<const value_type>(c_record(), predicate));
    }

    /// An element whose key, as projection gives it, equals key, or null.
    template <class Key, class Projection = core::identity>
    value_type *find(const Key &key, Projection projection = {}) {
        return find_if(core::has_key<value_type>(key, projection));
    }
    template <class Key, class Projection = core::identity>
    const value_type *find(const Key &key, Projection projection = {}) const {
        return find_if(core::has_key<value_type>(key, projection));
    }

    // -- Take out ------------------------------------------------------------------------------
    // A handle whose element is taken out moves to the one before it, else to the one behind it,
    // else it becomes null.

    /// Takes elem out, which must be in this list.
    void unlink(value_type &elem) noexcept {
        core::sloppy_unlink(list_.get(), hooked::link_of(elem));
    }

    /// Takes out the element at a place. Returns the place behind it, so that a loop goes on:
    ///
    ///     for (auto at = list.begin(); at != list.end();)
    ///         at = done(*at) ? list.erase(at) : std::next(at);
    iterator erase(const_iterator at) noexcept {
        void *const link = at.link();
        ++at;
        core::sloppy_unlink(list_.get(), link);
        return {at.link(), list_.get()};
    }

    /// Takes out the element that a search finds. Returns it, or null. Linear.
    template <class Predicate>
    value_type *extract_if(Predicate predicate) {
        void *const link = find_link<value_type>(c_record(), predicate);
        if (link != nullptr)
            core::sloppy_unlink(list_.get(), link);
        return elem_at(link);
    }
    template <class Key, class Projection = core::identity>
    value_type *extract(const Key &key, Projection projection = {}) {
        return extract_if(core::has_key<value_type>(key, projection));
    }

    /// Takes out every element for which predicate is true, from the first on, and hands a pointer
    /// to each to dispose once it is out. Returns how many there were. dispose may release the
    /// element. Linear.
    template <class Predicate, class Dispose = core::leave_elements>
    size_t remove_if(Predicate predicate, Dispose dispose = {}) {
        size_t removed = 0;
        for (auto at = begin(); at != end();) {
            value_type *const elem = &*at++;
            if (!predicate(*elem))
                continue;
            unlink(*elem);
            ++removed;
            dispose(elem);
        }
        return removed;
    }

    /// Splits the list before elem, which must be in it: elem and all behind it are returned as a
    /// list of their own, whose handle names elem. If the handle of this list named one of them, it
    /// moves to the element before elem, or becomes null. Walks from elem on to see whether it did.
    [[nodiscard]] owner cut(value_type &elem) noexcept {
        owner behind;
        core::sloppy_cut_off(list_.get(), &behind.c_record(), hooked::link_of(elem));
        return behind;
    }

    /// Makes the handle null and forgets the elements.
    void clear() noexcept { c_record() = nullptr; }

    /// Takes out all elements, from the first, and hands a pointer to each to dispose once it is
    /// out; where dispose throws, the rest is still in. Linear.
    template <class Dispose>
    void clear_and_dispose(Dispose dispose) {
        dispose_all(*list_.get(), dispose);
    }

    /// Exchanges the elements of two lists.
    void swap(sloppy &other) noexcept {
        void *const mine = c_record();
        c_record() = other.c_record();
        other.c_record() = mine;
    }
    friend void swap(sloppy &a, sloppy &b) noexcept { a.swap(b); }

    // -- From an element in hand ---------------------------------------------------------------
    // What needs no handle and looks at none. An element that is alone must have null links: it is
    // then the only one of its list.

    /// The list that elem is in, as a range from its first element to its last.
    static core::sloppy_range<hooked, value_type> around(value_type &elem) noexcept {
        return core::sloppy_range<hooked, value_type>(elem);
    }
    static core::sloppy_range<hooked, const value_type> around(const value_type &elem) noexcept {
        return core::sloppy_range<hooked, const value_type>(elem);
    }

    /// The neighbours of elem, null where there are none.
    static value_type *next(value_type &elem) noexcept {
        return elem_at(core::next_of(hooked::link_of(elem)));
    }
    static const value_type *next(const value_type &elem) noexcept {
        return elem_at(core::next_of(hooked::link_of(elem)));
    }
    static value_type *previous(value_type &elem) noexcept {
        return elem_at(core::prev_of(hooked::link_of(elem)));
    }
    static const value_type *previous(const value_type &elem) noexcept {
        return elem_at(core::prev_of(hooked::link_of(elem)));
    }

    /// The ends of elem's list, and the number of its elements. They walk.
    static value_type *first(value_type &elem) noexcept {
        return elem_at(core::sloppy_first(hooked::link_of(elem)));
    }
    static const value_type *first(const value_type &elem) noexcept {
        return elem_at(core::sloppy_first(hooked::link_of(elem)));
    }
    static value_type *last(value_type &elem) noexcept {
        return elem_at(core::sloppy_last(hooked::link_of(elem)));
    }
    static const value_type *last(const value_type &elem) noexcept {
        return elem_at(core::sloppy_last(hooked::link_of(elem)));
    }
    [[nodiscard]] static size_t count(const value_type &elem) noexcept {
        return core::sloppy_count(hooked::link_of(elem));
    }

    /// Searches as find_if and find do, outwards from elem. Linear.
    template <class Predicate>
    static value_type *find_around_if(value_type &elem, Predicate predicate) {
        return elem_at(find_link<value_type>(hooked::link_of(elem), predicate));
    }
    template <class Predicate>
    static const value_type *find_around_if(const value_type &elem, Predicate predicate) {
        return elem_at(find_link<const value_type>(hooked::link_of(elem), predicate));
    }
    template <class Key, class Projection = core::identity>
    static value_type *find_around(value_type &elem, const Key &key, Projection projection = {}) {
        return find_around_if(elem, core::has_key<value_type>(key, projection));
    }
    template <class Key, class Projection = core::identity>
    static const value_type *find_around(const value_type &elem, const Key &key,
                                         Projection projection = {}) {
        return find_around_if(elem, core::has_key<value_type>(key, projection));
    }

    /// Adds elem, which is in no list, directly behind place.
    static void insert_after(value_type &place, value_type &elem) noexcept {
        core::sloppy_insert_after(hooked::link_of(place), hooked::link_of(elem));
    }

    /// Links the first element of b's list behind the last of a's, which must be another list.
    /// Walks to the end of one and to the start of the other.
    static void join(value_type &a, value_type &b) noexcept {
        core::sloppy_concat(hooked::link_of(a), hooked::link_of(b));
    }

    /// Cuts the list before elem, which becomes the first element of a list of its own.
    static void split(value_type &elem) noexcept { core::sloppy_cut(hooked::link_of(elem)); }

    /// Takes elem, which no handle may name, out of its list.
    static void detach(value_type &elem) noexcept { core::sloppy_detach(hooked::link_of(elem)); }

  private:
    friend class core::owner<void *, Disposal, sloppy>;

    static value_type *elem_at(void *link) noexcept { return hooked::element_or_null(link); }

    template <class Element, class Predicate>
    static void *find_link(void *start, Predicate &predicate) {
        return core::sloppy_find(start, [&](void *link) -> bool {
            return predicate(static_cast<Element &>(*hooked::element_at(link)));
        });
    }

    template <class Dispose>
    static void dispose_all(void *&handle, Dispose &&dispose) {
        for (void *link = core::sloppy_first(core::sloppy_element(&handle)), *following;
             link != nullptr; link = following) {
            following = core::next_of(link);
            core::sloppy_unlink(&handle, link);
            dispose(hooked::element_at(link));
        }
    }

    core::owner<void *, Disposal, sloppy> list_;
};

/// The same over a handle variable that lies elsewhere: qvds::sloppy_view<&name::alias> list(head),
/// with `struct name *head` in C.
template <auto Hook>
using sloppy_view = sloppy<Hook, core::viewed>;

} // namespace qvds

#endif

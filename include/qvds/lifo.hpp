#ifndef QVDS_LIFO_HPP
#define QVDS_LIFO_HPP

/// @file
/// Stack of elements of one type: the C++ face of lifo.h, on the same records.
///
/// Choose it for free lists and last-in-first-out work: header and link are one word each. Where
/// elements are added at the back or chains are joined often, fifo.hpp costs one word more.
///
///     struct job { job *next; int priority; };
///     constinit qvds::lifo<&job::next> spare;
///
///     spare.push(a);
///     for (job &j : spare)
///         reset(j);
///     if (job *j = spare.pop())
///         run(*j);
///     for (auto at = spare.cursor(); at;)
///         if (done(*at))
///             at.erase();
///         else
///             at.next();
///
/// The link is a word, `job *next` as the first member or `void *next` anywhere, or a qvds_node, of
/// which only the first word is used. The elements are the caller's: they are linked where they
/// lie, and must stay there while they are in the stack. Nothing is allocated and nothing copied.
/// The stack is its qvds_lifo and no more; c_record() hands it to C, and lifo_view adopts one that
/// C made. C passes and receives the address of the link, which is that of the element if the link
/// is its first member.
///
/// Unless something else is said, an operation takes constant time, never throws, and leaves every
/// iterator valid but those of elements that it takes out. An iterator knows its element alone, and
/// stays on it wherever the stack is moved. A comparison, projection, predicate or disposer that
/// throws leaves the stack sound, with what was done up to then; it must leave the stack alone
/// otherwise.

#include <qvds/core/lifo.hpp>
#include <qvds/core/order.hpp>
#include <qvds/core/owner.hpp>
#include <qvds/core/single_link.hpp>
#include <qvds/hook.hpp>

namespace qvds {

namespace core {

/// A place in a stack, with an element on it or at the end, where elements come and go in constant
/// time. It holds what stands before the place, an element or the header, and is valid as long as
/// that stays where it is; what is on the place may change by any means.
template <class Hooked, class Stack>
class lifo_cursor {
    using element = typename Hooked::element;

  public:
    explicit lifo_cursor(void *predecessor) noexcept : predecessor_(predecessor) {}

    /// Whether there is an element on the place: false at the end. *, ->, next and erase need one.
    explicit operator bool() const noexcept { return here().elem != nullptr; }
    /// The element, or null at the end.
    element *get() const noexcept { return Hooked::element_or_null(here().elem); }
    element &operator*() const noexcept { return *get(); }
    element *operator->() const noexcept { return get(); }

    /// Moves on to the place behind the element.
    void next() noexcept { predecessor_ = here().elem; }

    /// Takes the element out and returns it. What stood behind it is then on the place.
    element *erase() noexcept {
        element *const elem = get();
        lifo_unlink_at(here());
        return elem;
    }

    /// Adds elem on the place, before what was on it.
    void insert(element &elem) noexcept { lifo_insert_at(here(), Hooked::link_of(elem)); }

    /// Splits the stack: the element and all behind it are returned as a stack of their own, and
    /// the place is then the end.
    [[nodiscard]] Stack cut() noexcept {
        Stack behind;
        lifo_cut_at(here(), &behind.c_record());
        return behind;
    }

  private:
    place here() const noexcept { return {predecessor_, next_of(predecessor_)}; }

    void *predecessor_;
};

} // namespace core

/// A stack through the link that Hook names (hook.hpp). What becomes of elements still on it when it
/// goes, Disposal says (dispose.hpp); by default nothing.
template <auto Hook, class Disposal = core::leave_elements>
class lifo {
    using hooked = core::single_hooked<Hook>;
    static_assert(core::single_link<typename hooked::link>,
                  "qvds::lifo: the hook must name a link word or a qvds_node of the element, as in "
                  "qvds::lifo<&job::next> with struct job { job *next; }");
    static constexpr bool is_view = std::is_same_v<Disposal, core::viewed>;

  public:
    using value_type = typename hooked::element;
    using reference = value_type &;
    using const_reference = const value_type &;
    using pointer = value_type *;
    using const_pointer = const value_type *;
    using difference_type = ptrdiff_t;
    using size_type = size_t;
    using iterator = core::single_link_iterator<hooked, value_type>;
    using const_iterator = core::single_link_iterator<hooked, const value_type>;
    /// What holds a part that is cut off: a stack of its own, also where this is a view.
    using owner = std::conditional_t<is_view, lifo<Hook>, lifo>;
    using cursor_type = core::lifo_cursor<hooked, owner>;

    // -- Set up --------------------------------------------------------------------------------

    /// An empty stack.
    constexpr lifo() requires(!is_view) = default;

    /// A view of a stack that lies elsewhere, as C made it. The record must outlive the view; the
    /// view may be copied.
    template <std::same_as<qvds_lifo> Record>
    requires is_view explicit constexpr lifo(Record &record) noexcept : lifo_(&record) {}

    /// The record, for the functions of lifo.h and node.h.
    constexpr qvds_lifo &c_record() noexcept { return *lifo_.get(); }
    constexpr const qvds_lifo &c_record() const noexcept { return *lifo_.get(); }

    // -- Look ----------------------------------------------------------------------------------

    [[nodiscard]] bool empty() const noexcept { return first() == nullptr; }

    /// The element that pop returns, or null.
    value_type *top() noexcept { return elem_at(first()); }
    const value_type *top() const noexcept { return elem_at(first()); }

    /// The number of elements. Linear: a stack keeps no count.
    [[nodiscard]] size_t count() const noexcept {
        size_t n = 0;
        for (auto at = begin(); at != end(); ++at)
            ++n;
        return n;
    }

    /// From the top down.
    iterator begin() noexcept { return iterator(first()); }
    iterator end() noexcept { return {}; }
    const_iterator begin() const noexcept { return cbegin(); }
    const_iterator end() const noexcept { return cend(); }
    const_iterator cbegin() const noexcept { return const_iterator(first()); }
    const_iterator cend() const noexcept { return {}; }

    /// The place of elem, which must be in a stack through this hook.
    static iterator iterator_to(value_type &elem) noexcept {
        return iterator(hooked::link_of(elem));
    }
    static const_iterator iterator_to(const value_type &elem) noexcept {
        return const_iterator(hooked::link_of(elem));
    }

    // -- Add -----------------------------------------------------------------------------------
    // An element to be added must be in no container through this hook.

    /// Puts elem on top.
    void push(value_type &elem) noexcept { core::lifo_push(lifo_.get(), hooked::link_of(elem)); }

    /// Adds elem behind place, which must be in this stack.
    void insert_after(value_type &place, value_type &elem) noexcept {
        cursor_after(place).insert(elem);
    }

    /// Adds elem before the first element that is not less, and last if there is none: a stack
    /// filled this way alone is in ascending order, of equals the newest first. compare takes two
    /// keys and gives bool (less) or a strong or weak ordering; projection, a member pointer or a
    /// callable, gives the key of an element. Linear.
    template <class Compare = core::natural_order, class Projection = core::identity>
    void insert_sorted(value_type &elem, Compare compare = {}, Projection projection = {}) {
        core::lifo_insert_sorted(lifo_.get(), hooked::link_of(elem), [&](void *stored) {
            return !core::is_less(compare, core::project(projection, *hooked::element_at(stored)),
                                  core::project(projection, elem));
        });
    }

    /// Moves all elements of other, which must be another stack, to the far end of this one. Walks
    /// to that end.
    template <class Other>
    void concat(lifo<Hook, Other> &other) noexcept {
        core::lifo_concat(lifo_.get(), &other.c_record());
    }
    template <class Other>
    void concat(lifo<Hook, Other> &&other) noexcept {
        core::lifo_concat(lifo_.get(), &other.c_record());
    }

    // -- Search --------------------------------------------------------------------------------

    /// The first element, from the top, for which predicate is true, or null. Linear.
    template <class Predicate>
    value_type *find_if(Predicate predicate) {
        return elem_at(find_link<value_type>(predicate));
    }
    template <class Predicate>
    const value_type *find_if(Predicate predicate) const {
        return elem_at(find_link<const value_type>(predicate));
    }

    /// The first element whose key, as projection gives it, equals key, or null. Linear.
    template <class Key, class Projection = core::identity>
    value_type *find(const Key &key, Projection projection = {}) {
        return find_if(core::has_key<value_type>(key, projection));
    }
    template <class Key, class Projection = core::identity>
    const value_type *find(const Key &key, Projection projection = {}) const {
        return find_if(core::has_key<value_type>(key, projection));
    }

    // -- Take out ------------------------------------------------------------------------------
    // An element that has been taken out keeps its link as it was; it may be added elsewhere at
    // once.

    /// Takes the top element off and returns it, or null.
    value_type *pop() noexcept { return elem_at(core::lifo_pop(lifo_.get())); }

    /// Takes out the first element for which predicate is true, or whose key equals key. Returns
    /// it, or null. Linear.
    template <class Predicate>
    value_type *extract_if(Predicate predicate) {
        const auto stop = [&](void *link) -> bool { return predicate(*hooked::element_at(link)); };
        return elem_at(core::lifo_extract(lifo_.get(), stop));
    }
    template <class Key, class Projection = core::identity>
    value_type *extract(const Key &key, Projection projection = {}) {
        return extract_if(core::has_key<value_type>(key, projection));
    }

    /// Takes out every element for which predicate is true, and hands a pointer to each to dispose
    /// once it is out. Returns how many there were. dispose may release the element. Linear.
    template <class Predicate, class Dispose = core::leave_elements>
    size_t remove_if(Predicate predicate, Dispose dispose = {}) {
        size_t removed = 0;
        for (auto at = cursor(); at;) {
            if (predicate(*at)) {
                ++removed;
                dispose(at.erase());
            } else {
                at.next();
            }
        }
        return removed;
    }

    /// Splits the stack before elem: elem and all behind it are returned as a stack of their own.
    /// If elem is not in the stack, that is empty and nothing is changed. Walks to elem.
    [[nodiscard]] owner cut(const value_type &elem) noexcept {
        owner behind;
        core::lifo_cut(lifo_.get(), &behind.c_record(), hooked::link_of(elem));
        return behind;
    }

    /// Makes the stack empty and forgets its elements.
    void clear() noexcept { core::top_of(lifo_.get()) = nullptr; }

    /// Takes out all elements, from the top, and hands a pointer to each to dispose once it is out;
    /// where dispose throws, the rest is still in. Linear.
    template <class Dispose>
    void clear_and_dispose(Dispose dispose) {
        dispose_all(*lifo_.get(), dispose);
    }

    /// Exchanges the elements of two stacks.
    void swap(lifo &other) noexcept { std::swap(*lifo_.get(), *other.lifo_.get()); }
    friend void swap(lifo &a, lifo &b) noexcept { a.swap(b); }

    // -- Places --------------------------------------------------------------------------------

    /// The place on top, from where a walk may take out and add on its way. The stack must stay
    /// where it is while a cursor is there.
    cursor_type cursor() &noexcept { return cursor_type(lifo_.get()); }

    /// The place behind elem, which must be in a stack through this hook.
    static cursor_type cursor_after(value_type &elem) noexcept {
        return cursor_type(hooked::link_of(elem));
    }

  private:
    friend class core::owner<qvds_lifo, Disposal, lifo>;

    static value_type *elem_at(void *link) noexcept { return hooked::element_or_null(link); }

    void *first() const noexcept { return core::top_of(lifo_.get()); }

    template <class Element, class Predicate>
    void *find_link(Predicate &predicate) const {
        const auto stop = [&](void *link) -> bool {
            return predicate(static_cast<Element &>(*hooked::element_at(link)));
        };
        // The walk writes nothing; its predecessor, which could, is not used.
        return core::find_place(const_cast<qvds_lifo *>(lifo_.get()), stop).elem;
    }

    template <class Dispose>
    static void dispose_all(qvds_lifo &lifo, Dispose &&dispose) {
        while (void *const link = core::lifo_pop(&lifo))
            dispose(hooked::element_at(link));
    }

    core::owner<qvds_lifo, Disposal, lifo> lifo_;
};

/// The same over a record that lies elsewhere: qvds::lifo_view<&job::next> stack(c_lifo).
template <auto Hook>
using lifo_view = lifo<Hook, core::viewed>;

} // namespace qvds

#endif

#ifndef QVDS_FIFO_HPP
#define QVDS_FIFO_HPP

/// @file
/// Queue of elements of one type, singly linked: the C++ face of fifo.h, on the same records.
///
/// Choose it for first-in-first-out work and for chains that are joined: adding at either end,
/// taking from the front and concatenation take constant time, with one link word in the element.
/// Where elements leave at the back, or from the middle by their address, take fifo2.hpp.
///
///     struct job { job *next; int priority; };
///     constinit qvds::fifo<&job::next> queue;
///
///     queue.push_back(a);
///     for (job &j : queue)
///         prepare(j);
///     if (job *j = queue.pop_front())
///         run(*j);
///     for (auto at = queue.cursor(); at;)
///         if (cancelled(*at))
///             at.erase();
///         else
///             at.next();
///
/// The link is a word, `job *next` as the first member or `void *next` anywhere, or a qvds_node, of
/// which only the first word is used. The elements are the caller's: they are linked where they
/// lie, and must stay there while they are in the queue. Nothing is allocated and nothing copied.
/// The queue is its qvds_list and no more; c_record() hands it to C, and fifo_view adopts one that
/// C made. C passes and receives the address of the link, which is that of the element if the link
/// is its first member.
///
/// Unless something else is said, an operation takes constant time, never throws, and leaves every
/// iterator valid but those of elements that it takes out. An iterator knows its element alone, and
/// stays on it wherever the queue is moved. A comparison, projection, predicate or disposer that
/// throws leaves the queue sound, with what was done up to then; it must leave the queue alone
/// otherwise.

#include <qvds/core/fifo.hpp>
#include <qvds/core/order.hpp>
#include <qvds/core/owner.hpp>
#include <qvds/core/single_link.hpp>
#include <qvds/fifo.h>
#include <qvds/hook.hpp>

namespace qvds {

namespace core {

/// A place in a queue, with an element on it or at the end, where elements come and go in constant
/// time. It holds the header and what stands before the place, an element or the header again, and
/// is valid as long as those stay where they are; what is on the place may change by any means.
template <class Hooked, class Queue>
class fifo_cursor {
    using element = typename Hooked::element;

  public:
    fifo_cursor(qvds_list *fifo, void *predecessor) noexcept
        : fifo_(fifo), predecessor_(predecessor) {}

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
        fifo_unlink_at(fifo_, here());
        return elem;
    }

    /// Adds elem on the place, before what was on it.
    void insert(element &elem) noexcept { fifo_insert_at(fifo_, here(), Hooked::link_of(elem)); }

    /// Splits the queue: the element and all behind it are returned as a queue of their own, and
    /// the place is then the end.
    [[nodiscard]] Queue cut() noexcept {
        Queue behind;
        if (*this)
            fifo_cut_at(fifo_, here(), &behind.c_record());
        return behind;
    }

  private:
    place here() const noexcept { return {predecessor_, next_of(predecessor_)}; }

    qvds_list *fifo_;
    void *predecessor_;
};

} // namespace core

/// A queue through the link that Hook names (hook.hpp). What becomes of elements still in it when it
/// goes, Disposal says (dispose.hpp); by default nothing.
template <auto Hook, class Disposal = core::leave_elements>
class fifo {
    using hooked = core::single_hooked<Hook>;
    static_assert(core::single_link<typename hooked::link>,
                  "qvds::fifo: the hook must name a link word or a qvds_node of the element, as in "
                  "qvds::fifo<&job::next> with struct job { job *next; }");
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
    /// What holds a part that is cut off: a queue of its own, also where this is a view.
    using owner = std::conditional_t<is_view, fifo<Hook>, fifo>;
    using cursor_type = core::fifo_cursor<hooked, owner>;

    // -- Set up --------------------------------------------------------------------------------

    /// An empty queue.
    constexpr fifo() requires(!is_view) = default;

    /// A view of a queue that lies elsewhere, as C made it. The record must outlive the view; the
    /// view may be copied.
    template <std::same_as<qvds_list> Record>
    requires is_view explicit constexpr fifo(Record &record) noexcept : fifo_(&record) {}

    /// The record, for the functions of fifo.h and node.h.
    constexpr qvds_list &c_record() noexcept { return *fifo_.get(); }
    constexpr const qvds_list &c_record() const noexcept { return *fifo_.get(); }

    // -- Look ----------------------------------------------------------------------------------

    [[nodiscard]] bool empty() const noexcept { return first() == nullptr; }

    /// The element at the front, or null.
    value_type *front() noexcept { return elem_at(first()); }
    const value_type *front() const noexcept { return elem_at(first()); }

    /// The element at the back, or null.
    value_type *back() noexcept { return elem_at(core::bottom_of(fifo_.get())); }
    const value_type *back() const noexcept { return elem_at(core::bottom_of(fifo_.get())); }

    /// The number of elements. Linear: a queue keeps no count.
    [[nodiscard]] size_t count() const noexcept {
        size_t n = 0;
        for (auto at = begin(); at != end(); ++at)
            ++n;
        return n;
    }

    /// From the front.
    iterator begin() noexcept { return iterator(first()); }
    iterator end() noexcept { return {}; }
    const_iterator begin() const noexcept { return cbegin(); }
    const_iterator end() const noexcept { return cend(); }
    const_iterator cbegin() const noexcept { return const_iterator(first()); }
    const_iterator cend() const noexcept { return {}; }

    /// The place of elem, which must be in a queue through this hook.
    static iterator iterator_to(value_type &elem) noexcept {
        return iterator(hooked::link_of(elem));
    }
    static const_iterator iterator_to(const value_type &elem) noexcept {
        return const_iterator(hooked::link_of(elem));
    }

    // -- Add -----------------------------------------------------------------------------------
    // An element to be added must be in no container through this hook.

    /// Adds elem at the front.
    void push_front(value_type &elem) noexcept {
        core::fifo_push(fifo_.get(), hooked::link_of(elem));
    }

    /// Adds elem at the back.
    void push_back(value_type &elem) noexcept {
        core::fifo_append(fifo_.get(), hooked::link_of(elem));
    }

    /// Adds elem behind place, which must be in this queue.
    void insert_after(value_type &place, value_type &elem) noexcept {
        cursor_after(place).insert(elem);
    }

    /// Adds elem before the first element that is not less, and at the back if there is none: a
    /// queue filled this way alone is in ascending order, of equals the newest first.
    /// compare takes two keys and gives bool (less) or a strong or weak ordering; projection, a
    /// member pointer or a callable, gives the key of an element. Linear.
    template <class Compare = core::natural_order, class Projection = core::identity>
    void insert_sorted(value_type &elem, Compare compare = {}, Projection projection = {}) {
        core::fifo_insert_sorted(fifo_.get(), hooked::link_of(elem), [&](void *stored) {
            return !core::is_less(compare, core::project(projection, *hooked::element_at(stored)),
                                  core::project(projection, elem));
        });
    }

    /// Moves all elements of other, which must be another queue, behind those of this one.
    template <class Other>
    void concat(fifo<Hook, Other> &other) noexcept {
        core::fifo_concat(fifo_.get(), &other.c_record());
    }
    template <class Other>
    void concat(fifo<Hook, Other> &&other) noexcept {
        core::fifo_concat(fifo_.get(), &other.c_record());
    }

    // -- Search --------------------------------------------------------------------------------

    /// The first element, from the front, for which predicate is true, or null. Linear.
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

    /// Takes the front element out and returns it, or null.
    value_type *pop_front() noexcept { return elem_at(core::fifo_pop(fifo_.get())); }

    /// Takes out the first element for which predicate is true, or whose key equals key. Returns
    /// it, or null. Linear.
    template <class Predicate>
    value_type *extract_if(Predicate predicate) {
        const auto stop = [&](void *link) -> bool { return predicate(*hooked::element_at(link)); };
        return elem_at(core::fifo_extract(fifo_.get(), stop));
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

    /// Splits the queue before elem: elem and all behind it are returned as a queue of their own.
    /// If elem is not in the queue, that is empty and nothing is changed. Walks to elem.
    [[nodiscard]] owner cut(const value_type &elem) noexcept {
        owner behind;
        core::fifo_cut(fifo_.get(), &behind.c_record(), hooked::link_of(elem));
        return behind;
    }

    /// Makes the queue empty and forgets its elements.
    void clear() noexcept { core::clear(fifo_.get()); }

    /// Takes out all elements, from the front, and hands a pointer to each to dispose once it is
    /// out; where dispose throws, the rest is still in. Linear.
    template <class Dispose>
    void clear_and_dispose(Dispose dispose) {
        dispose_all(*fifo_.get(), dispose);
    }

    /// Exchanges the elements of two queues.
    void swap(fifo &other) noexcept { std::swap(*fifo_.get(), *other.fifo_.get()); }
    friend void swap(fifo &a, fifo &b) noexcept { a.swap(b); }

    // -- Places --------------------------------------------------------------------------------

    /// The place at the front, from where a walk may take out and add on its way. The queue must
    /// stay where it is while it has cursors.
    cursor_type cursor() &noexcept { return {fifo_.get(), fifo_.get()}; }

    /// The place behind elem, which must be in this queue.
    cursor_type cursor_after(value_type &elem) &noexcept {
        return {fifo_.get(), hooked::link_of(elem)};
    }

  private:
    friend class core::owner<qvds_list, Disposal, fifo>;

    static value_type *elem_at(void *link) noexcept { return hooked::element_or_null(link); }

    void *first() const noexcept { return core::top_of(fifo_.get()); }

    template <class Element, class Predicate>
    void *find_link(Predicate &predicate) const {
        const auto stop = [&](void *link) -> bool {
            return predicate(static_cast<Element &>(*hooked::element_at(link)));
        };
        // The walk writes nothing; its predecessor, which could, is not used.
        return core::find_place(const_cast<qvds_list *>(fifo_.get()), stop).elem;
    }

    template <class Dispose>
    static void dispose_all(qvds_list &fifo, Dispose &&dispose) {
        while (void *const link = core::fifo_pop(&fifo))
            dispose(hooked::element_at(link));
    }

    core::owner<qvds_list, Disposal, fifo> fifo_;
};

/// The same over a record that lies elsewhere: qvds::fifo_view<&job::next> queue(c_list).
template <auto Hook>
using fifo_view = fifo<Hook, core::viewed>;

} // namespace qvds

#endif

#ifndef QVDS_FIFO2_HPP
#define QVDS_FIFO2_HPP

/// @file
/// Doubly linked queue of elements of one type: the C++ face of fifo2.h, on the same records.
///
/// Choose it when elements leave at the back, or from the middle by their address. Where they leave
/// at the front alone, fifo.hpp does with one link word; where there is no place for a header,
/// sloppy.hpp with none.
///
///     struct job { qvds_node link; int priority; };
///     constinit qvds::fifo2<&job::link> queue;
///
///     queue.insert_sorted(a, std::less{}, &job::priority);
///     for (job &j : queue)
///         run(j);
///     if (job *j = queue.pop_back())
///         retire(*j);
///     queue.unlink(a);
///
/// The elements are the caller's: they are linked where they lie, and must stay there while they
/// are in the queue. Nothing is allocated and nothing copied. The queue is its qvds_list and no
/// more; c_record() hands it to C, and fifo2_view adopts one that C made. C passes and receives the
/// address of the link, which is that of the element if the link is its first member.
///
/// Unless something else is said, an operation takes constant time, never throws, and leaves every
/// iterator valid but those of elements that it takes out. An iterator also names its queue, so a
/// queue that is moved or swapped leaves its iterators behind. A comparison, projection, predicate
/// or disposer that throws leaves the queue sound, with what was done up to then; it must leave the
/// queue alone otherwise, unless it is said what it may do.

#include <qvds/core/fifo2.hpp>
#include <qvds/core/order.hpp>
#include <qvds/core/owner.hpp>
#include <qvds/fifo2.h>
#include <qvds/hook.hpp>

#include <span> // the lightest home of iterator tags and of reverse_iterator

namespace qvds {

namespace core {

// A place in a queue. At the end there is no link, and the way back starts at the header.
template <class Hooked, class Element>
class fifo2_iterator {
  public:
    using iterator_category = std::bidirectional_iterator_tag;
    using value_type = std::remove_const_t<Element>;
    using difference_type = ptrdiff_t;
    using pointer = Element *;
    using reference = Element &;

    fifo2_iterator() = default;
    fifo2_iterator(void *link, const qvds_list *fifo) noexcept : link_(link), fifo_(fifo) {}
    // From an iterator to one whose elements are const.
    template <std::same_as<value_type> Mutable>
    requires std::is_const_v<Element> fifo2_iterator(const fifo2_iterator<Hooked, Mutable> &other)
    noexcept : link_(other.link()), fifo_(other.fifo()) {}

    reference operator*() const noexcept { return *Hooked::element_at(link_); }
    pointer operator->() const noexcept { return Hooked::element_at(link_); }

    fifo2_iterator &operator++() noexcept {
        link_ = next_of(link_);
        return *this;
    }
    fifo2_iterator operator++(int) noexcept {
        const fifo2_iterator before = *this;
        ++*this;
        return before;
    }
    fifo2_iterator &operator--() noexcept {
        link_ = link_ != nullptr ? prev_of(link_) : bottom_of(static_cast<const void *>(fifo_));
        return *this;
    }
    fifo2_iterator operator--(int) noexcept {
        const fifo2_iterator before = *this;
        --*this;
        return before;
    }
    friend bool operator==(const fifo2_iterator &a, const fifo2_iterator &b) noexcept {
        return a.link_ == b.link_;
    }

    void *link() const noexcept { return link_; }
    const qvds_list *fifo() const noexcept { return fifo_; }

  private:
    void *link_ = nullptr;
    const qvds_list *fifo_ = nullptr;
};

} // namespace core

/// A queue through the link that Hook names (hook.hpp). What becomes of elements still in it when it
/// goes, Disposal says (dispose.hpp); by default nothing.
template <auto Hook, class Disposal = core::leave_elements>
class fifo2 {
    using hooked = core::hooked<Hook>;
    static_assert(std::is_same_v<typename hooked::link, qvds_node>,
                  "qvds::fifo2: the hook must name a qvds_node of the element, as in "
                  "qvds::fifo2<&job::link> with struct job { qvds_node link; }");
    static constexpr bool is_view = std::is_same_v<Disposal, core::viewed>;

  public:
    using value_type = typename hooked::element;
    using reference = value_type &;
    using const_reference = const value_type &;
    using pointer = value_type *;
    using const_pointer = const value_type *;
    using difference_type = ptrdiff_t;
    using size_type = size_t;
    using iterator = core::fifo2_iterator<hooked, value_type>;
    using const_iterator = core::fifo2_iterator<hooked, const value_type>;
    using reverse_iterator = std::reverse_iterator<iterator>;
    using const_reverse_iterator = std::reverse_iterator<const_iterator>;
    /// What holds a part that is cut off: a queue of its own, also where this is a view.
    using owner = std::conditional_t<is_view, fifo2<Hook>, fifo2>;

    // -- Set up --------------------------------------------------------------------------------

    /// An empty queue.
    constexpr fifo2() requires(!is_view) = default;

    /// A view of a queue that lies elsewhere, as C made it. The record must outlive the view; the
    /// view may be copied.
    template <std::same_as<qvds_list> Record>
    requires is_view explicit constexpr fifo2(Record &record) noexcept : list_(&record) {}

    /// The record, for the functions of fifo2.h and node.h.
    constexpr qvds_list &c_record() noexcept { return *list_.get(); }
    constexpr const qvds_list &c_record() const noexcept { return *list_.get(); }

    // -- Look ----------------------------------------------------------------------------------

    [[nodiscard]] bool empty() const noexcept { return core::top_of(list_.get()) == nullptr; }

    /// The element at the front, or null.
    value_type *front() noexcept { return elem_at(core::top_of(list_.get())); }
    const value_type *front() const noexcept { return elem_at(core::top_of(list_.get())); }

    /// The element at the back, or null.
    value_type *back() noexcept { return elem_at(core::bottom_of(list_.get())); }
    const value_type *back() const noexcept { return elem_at(core::bottom_of(list_.get())); }

    /// The number of elements. Linear: a queue keeps no count.
    [[nodiscard]] size_t count() const noexcept {
        size_t n = 0;
        for (auto at = begin(); at != end(); ++at)
            ++n;
        return n;
    }

    iterator begin() noexcept { return {core::top_of(list_.get()), list_.get()}; }
    iterator end() noexcept { return {nullptr, list_.get()}; }
    const_iterator begin() const noexcept { return cbegin(); }
    const_iterator end() const noexcept { return cend(); }
    const_iterator cbegin() const noexcept { return {first(), list_.get()}; }
    const_iterator cend() const noexcept { return {nullptr, list_.get()}; }
    reverse_iterator rbegin() noexcept { return reverse_iterator(end()); }
    reverse_iterator rend() noexcept { return reverse_iterator(begin()); }
    const_reverse_iterator rbegin() const noexcept { return const_reverse_iterator(end()); }
    const_reverse_iterator rend() const noexcept { return const_reverse_iterator(begin()); }

    /// The place of elem, which must be in this queue.
    iterator iterator_to(value_type &elem) noexcept { return {hooked::link_of(elem), list_.get()}; }
    const_iterator iterator_to(const value_type &elem) const noexcept {
        return {hooked::link_of(elem), list_.get()};
    }

    // -- Add -----------------------------------------------------------------------------------
    // An element to be added must be in no container through this hook.

    /// Adds elem at the front.
    void push_front(value_type &elem) noexcept {
        core::fifo2_push(list_.get(), hooked::link_of(elem));
    }

    /// Adds elem at the back.
    void push_back(value_type &elem) noexcept {
        core::fifo2_append(list_.get(), hooked::link_of(elem));
    }

    /// Adds elem before at, which may be the end. Returns the place of elem.
    iterator insert(const_iterator at, value_type &elem) noexcept {
        core::fifo2_insert(list_.get(), (--at).link(), hooked::link_of(elem));
        return iterator_to(elem);
    }

    /// Adds elem behind place, which must be in this queue.
    void insert_after(value_type &place, value_type &elem) noexcept {
        core::fifo2_insert(list_.get(), hooked::link_of(place), hooked::link_of(elem));
    }

    /// Adds elem before the first element that is not less, and at the back if there is none: a
    /// queue filled this way alone is in ascending order, of equals the newest first.
    /// compare takes two keys and gives bool (less) or a strong or weak ordering; projection, a
    /// member pointer or a callable, gives the key of an element. Linear.
    template <class Compare = core::natural_order, class Projection = core::identity>
    void insert_sorted(value_type &elem, Compare compare = {}, Projection projection = {}) {
        core::fifo2_insert_sorted(list_.get(), hooked::link_of(elem), [&](void *stored) {
            return !core::is_less(compare, core::project(projection, *hooked::element_at(stored)),
                                  core::project(projection, elem));
        });
    }

    /// Moves all elements of other, which must be another queue, behind those of this one.
    template <class Other>
    void concat(fifo2<Hook, Other> &other) noexcept {
        core::fifo2_concat(list_.get(), &other.c_record());
    }
    template <class Other>
    void concat(fifo2<Hook, Other> &&other) noexcept {
        core::fifo2_concat(list_.get(), &other.c_record());
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
    // An element that has been taken out keeps its links as they were; it may be added elsewhere at
    // once.

    /// Takes the front element out and returns it, or null.
    value_type *pop_front() noexcept { return elem_at(core::fifo2_pop(list_.get())); }

    /// Takes the back element out and returns it, or null.
    value_type *pop_back() noexcept { return elem_at(core::fifo2_pop_tail(list_.get())); }

    /// Takes elem out, which must be in this queue.
    void unlink(value_type &elem) noexcept {
        core::fifo2_unlink(list_.get(), hooked::link_of(elem));
    }

    /// Takes out the element at a place. Returns the place behind it, so that a loop goes on:
    ///
    ///     for (auto at = queue.begin(); at != queue.end();)
    ///         at = done(*at) ? queue.erase(at) : std::next(at);
    iterator erase(const_iterator at) noexcept {
        void *const link = at.link();
        ++at;
        core::fifo2_unlink(list_.get(), link);
        return {at.link(), list_.get()};
    }

    /// Takes out the first element for which predicate is true, or whose key equals key. Returns
    /// it, or null. Linear.
    template <class Predicate>
    value_type *extract_if(Predicate predicate) {
        void *const link = find_link<value_type>(predicate);
        if (link != nullptr)
            core::fifo2_unlink(list_.get(), link);
        return elem_at(link);
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
        for (void *link = first(), *following; link != nullptr; link = following) {
            following = core::next_of(link);
            value_type *const elem = hooked::element_at(link);
            if (!predicate(*elem))
                continue;
            core::fifo2_unlink(list_.get(), link);
            ++removed;
            dispose(elem);
        }
        return removed;
    }

    /// Splits the queue before elem, which must be in it: elem and all behind it are returned as a
    /// queue of their own.
    [[nodiscard]] owner cut(value_type &elem) noexcept {
        owner behind;
        core::fifo2_cut(list_.get(), &behind.c_record(), hooked::link_of(elem));
        return behind;
    }

    /// Makes the queue empty and forgets its elements.
    void clear() noexcept { core::clear(list_.get()); }

    /// Takes out all elements, from the front, and hands a pointer to each to dispose once it is
    /// out; where dispose throws, the rest is still in. Linear.
    template <class Dispose>
    void clear_and_dispose(Dispose dispose) {
        dispose_all(*list_.get(), dispose);
    }

    /// Exchanges the elements of two queues.
    void swap(fifo2 &other) noexcept { std::swap(*list_.get(), *other.list_.get()); }
    friend void swap(fifo2 &a, fifo2 &b) noexcept { a.swap(b); }

  private:
    friend class core::owner<qvds_list, Disposal, fifo2>;

    static value_type *elem_at(void *link) noexcept { return hooked::element_or_null(link); }

    void *first() const noexcept { return core::top_of(list_.get()); }

    template <class Element, class Predicate>
    void *find_link(Predicate &predicate) const {
        const auto stop = [&](void *link) -> bool {
            return predicate(static_cast<Element &>(*hooked::element_at(link)));
        };
        // The walk writes nothing; its predecessor, which could, is not used.
        return core::find_place(const_cast<qvds_list *>(list_.get()), stop).elem;
    }

    template <class Dispose>
    static void dispose_all(qvds_list &list, Dispose &&dispose) {
        while (void *const link = core::fifo2_pop(&list))
            dispose(hooked::element_at(link));
    }

    core::owner<qvds_list, Disposal, fifo2> list_;
};

/// The same over a record that lies elsewhere: qvds::fifo2_view<&job::link> queue(c_list).
template <auto Hook>
using fifo2_view = fifo2<Hook, core::viewed>;

} // namespace qvds

#endif

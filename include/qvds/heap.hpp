#ifndef QVDS_HEAP_HPP
#define QVDS_HEAP_HPP

/// @file
/// Binary heap of elements of one type, over an array of pointers that the caller supplies: the C++
/// face of heap.h, on the same record.
///
/// Choose it when elements must come out strictly by rank, whatever the ranks are. Where the rank is
/// a time that only moves on, the calendar queue (cq.hpp) is cheaper.
///
///     struct task { uint32_t slot; int rank; };
///     qvds::heap_slots<100> room;
///     qvds::heap<task, &task::rank, &task::slot> heap(room);
///
///     if (!heap.push(t))
///         return no_room;
///     t.rank = 9;
///     heap.update(t);                             // wherever it stands, up or down
///     heap.erase(other);
///     while (task *top = heap.pop())
///         run(*top);
///
/// The template arguments:
/// - the type of the elements;
/// - what gives the rank of an element: a member pointer or a callable without state; by default
///   the element itself;
/// - a uint32_t member in which an element records its slot, or nullptr (the default). It is what
///   update, erase and contains go by;
/// - a comparison of two ranks, which gives bool (the first ranks below the second) or a strong or
///   weak ordering. By default the greatest is on top; with std::greater<> the least. It may have
///   state, and is then a constructor's last argument.
///
/// The elements are the caller's, and so is the array: both must stay where they are while the heap
/// uses them. Nothing is allocated, and nothing copied but pointers. The heap is its qvds_heap and
/// no more, but for a comparison with state; heap_view adopts one that C made. The array goes with
/// a heap that is moved.
///
/// Unless something else is said, an operation takes constant time and never throws. What changes
/// the heap makes its iterators worthless. An element that has left keeps its slot as it was.
///
/// A comparison or projection must leave the heap alone. Where it throws, every element still
/// stands in a slot and its slot member is right, but the order may be broken; heapify restores it.
/// What was pushed is in then, what was to be popped is still in, what was erased is out.
///
/// To the invariants of heap.h, where there is a slot member, comes:
/// - I3 The slot member of each element is the number of the slot that it stands in.

#include <qvds/core/heap.hpp>
#include <qvds/core/order.hpp>
#include <qvds/core/owner.hpp>
#include <qvds/heap.h>

#include <span>

namespace qvds {

struct fault;

/// An array for a heap of up to N elements.
template <uint32_t N>
class heap_slots {
  public:
    /// What a heap takes. Not from a temporary, which would be gone at once.
    constexpr operator std::span<void *>() &noexcept { return slots_; }

  private:
    void *slots_[size_t{N} + 1];
};

namespace core {

// A place in a heap: an element's slot. What it gives is const, so that no algorithm assigns to one
// element what belongs to another.
template <class T>
class heap_iterator {
  public:
    using iterator_category = std::random_access_iterator_tag;
    using value_type = T;
    using difference_type = ptrdiff_t;
    using pointer = const T *;
    using reference = const T &;

    heap_iterator() = default;
    explicit heap_iterator(void *const *slot) noexcept : slot_(slot) {}

    reference operator*() const noexcept { return *static_cast<const T *>(*slot_); }
    pointer operator->() const noexcept { return static_cast<const T *>(*slot_); }
    reference operator[](ptrdiff_t n) const noexcept { return *(*this + n); }

    heap_iterator &operator++() noexcept { return *this += 1; }
    heap_iterator &operator--() noexcept { return *this -= 1; }
    heap_iterator operator++(int) noexcept { return heap_iterator(slot_++); }
    heap_iterator operator--(int) noexcept { return heap_iterator(slot_--); }
    heap_iterator &operator+=(ptrdiff_t n) noexcept {
        slot_ += n;
        return *this;
    }
    heap_iterator &operator-=(ptrdiff_t n) noexcept { return *this += -n; }
    friend heap_iterator operator+(heap_iterator at, ptrdiff_t n) noexcept { return at += n; }
    friend heap_iterator operator+(ptrdiff_t n, heap_iterator at) noexcept { return at += n; }
    friend heap_iterator operator-(heap_iterator at, ptrdiff_t n) noexcept { return at -= n; }
    friend ptrdiff_t operator-(heap_iterator a, heap_iterator b) noexcept {
        return a.slot_ - b.slot_;
    }
    friend bool operator==(heap_iterator a, heap_iterator b) noexcept = default;
    friend auto operator<=>(heap_iterator a, heap_iterator b) noexcept = default;

  private:
    void *const *slot_ = nullptr;
};

// No member, or a uint32_t of the element.
template <auto Slot, class T>
concept slot_of = std::is_null_pointer_v<decltype(Slot)> || requires(T &elem) {
    { elem.*Slot } -> std::same_as<uint32_t &>;
};

template <auto Slot>
inline constexpr bool keeps_slots = !std::is_null_pointer_v<decltype(Slot)>;

// What the core must know of the elements.
template <class T, auto Projection, auto Slot, class Compare>
struct heap_items {
    Compare &compare;

    bool ranks_below(const void *a, const void *b) const {
        return is_less(compare, project(Projection, *static_cast<const T *>(a)),
                       project(Projection, *static_cast<const T *>(b)));
    }
    static void put(void **slots, uint32_t k, void *item) noexcept {
        slots[k] = item;
        if constexpr (keeps_slots<Slot>)
            static_cast<T *>(item)->*Slot = k;
    }
    static void fetch(const void *item) noexcept {
        if constexpr (std::is_member_object_pointer_v<decltype(Projection)>)
            __builtin_prefetch(__builtin_addressof(static_cast<const T *>(item)->*Projection));
        else
            __builtin_prefetch(item);
    }

    static void exchange(void **slots, uint32_t j, uint32_t k) noexcept {
        void *const item = slots[j];
        put(slots, j, slots[k]);
        put(slots, k, item);
    }

    // An item that is on its way is in no slot: a hole goes in its stead.
    class moving {
      public:
        moving(const heap_items & /*items*/, void **slots, uint32_t slot, void *item) noexcept
            : k(slot), slots_(slots), item_(item) {}
        moving(const moving &) = delete;
        ~moving() { put(slots_, k, item_); }
        void *item() const noexcept { return item_; }
        void trade_with(uint32_t j) noexcept {
            put(slots_, k, slots_[j]);
            k = j;
        }
        uint32_t k;

      private:
        void **slots_;
        void *item_;
    };

    // The same as callbacks for C.
    static int32_t compare_for_c(const void *a, const void *b) {
        Compare made{};
        return -static_cast<int32_t>(heap_items{made}.ranks_below(a, b));
    }
    static void swap_for_c(void **a, void **b) noexcept {
        std::swap(static_cast<T *>(*a)->*Slot, static_cast<T *>(*b)->*Slot);
        std::swap(*a, *b);
    }
};

// How many elements there is room for.
QVDS_HIDDEN constexpr uint32_t slots_in(std::span<void *> room) noexcept {
    if (room.size() > UINT32_MAX)
        return UINT32_MAX;
    return room.empty() ? 0 : static_cast<uint32_t>(room.size() - 1);
}

// The record of a heap that C++ made, with callbacks that C may call.
template <class Items, class Compare, bool keeps_slots>
struct heap_record : qvds_heap {
    constexpr heap_record() noexcept : qvds_heap{} {
        if constexpr (stateless<Compare>)
            compare = Items::compare_for_c;
        if constexpr (keeps_slots)
            swap = Items::swap_for_c;
    }
    explicit constexpr heap_record(std::span<void *> room) noexcept : heap_record() {
        slots = room.data();
        capacity = slots_in(room);
    }
};

} // namespace core

/// A heap of elements of type T. What becomes of elements still in it when it goes, Disposal says
/// (dispose.hpp); by default nothing.
template <class T, auto Projection = core::identity{}, auto Slot = nullptr,
          class Compare = core::natural_order, class Disposal = core::leave_elements>
class heap {
    static_assert(std::invocable<decltype(Projection), const T &>,
                  "qvds::heap: the second argument must give the rank of an element: a member "
                  "pointer, as in qvds::heap<task, &task::rank>, or a callable");
    static_assert(core::slot_of<Slot, T>,
                  "qvds::heap: the third argument must be a uint32_t member of the element, as in "
                  "qvds::heap<task, &task::rank, &task::slot>, or nullptr");
    static constexpr bool is_view = std::is_same_v<Disposal, core::viewed>;

    using items = core::heap_items<T, Projection, Slot, Compare>;
    using own_record =
        std::conditional_t<is_view, qvds_heap,
                           core::heap_record<items, Compare, core::keeps_slots<Slot>>>;

  public:
    using value_type = T;
    using reference = const T &;
    using const_reference = const T &;
    using pointer = const T *;
    using const_pointer = const T *;
    using difference_type = ptrdiff_t;
    using size_type = uint32_t;
    using iterator = core::heap_iterator<T>;
    using const_iterator = iterator;

    // -- Set up --------------------------------------------------------------------------------

    /// An empty heap without an array. It is full until grow gives it one.
    constexpr heap() requires(!is_view) = default;

    /// An empty heap over an array: a heap_slots<N>, or a span of N + 1 pointers, whose content
    /// does not matter. It holds up to N elements; the first pointer stays unused.
    template <bool owns = !is_view>
    requires owns explicit constexpr heap(std::span<void *> room, Compare compare = {})
        : heap_(own_record(room)), compare_(std::move(compare)) {}

    /// A view of a heap that lies elsewhere, as C made it. Its compare callback must order as this
    /// type does, and its swap callback, if it has one, write the same slot member. The record must
    /// outlive the view; the view may be copied.
    template <std::same_as<qvds_heap> Record>
    requires is_view explicit constexpr heap(Record &record, Compare compare = {})
        : heap_(&record), compare_(std::move(compare)) {}

    /// The record, for the functions of heap.h: its callbacks do as this type does. Where there is
    /// a slot member, C must set it before it adds an element, which is stored without a callback:
    ///
    ///     t->slot = heap->count + 1;
    ///     qvds_heap_insert(heap, t);
    template <class Order = Compare>
    constexpr qvds_heap &c_record() noexcept {
        check_has_c_record<Order>();
        return *heap_.get();
    }
    template <class Order = Compare>
    constexpr const qvds_heap &c_record() const noexcept {
        check_has_c_record<Order>();
        return *heap_.get();
    }

    /// Moves the heap into another array, which is larger as a rule, and gives the old one back to
    /// the caller. Returns false, and changes nothing, if not all elements have room in it. Linear.
    constexpr bool grow(std::span<void *> larger) noexcept {
        if (core::slots_in(larger) < count())
            return false;
        for (size_t k = 1; k <= count(); ++k)
            larger[k] = heap_.get()->slots[k];
        heap_.get()->slots = larger.data();
        heap_.get()->capacity = core::slots_in(larger);
        return true;
    }

    // -- Look ----------------------------------------------------------------------------------

    [[nodiscard]] bool empty() const noexcept { return count() == 0; }
    [[nodiscard]] bool full() const noexcept { return count() >= capacity(); }
    [[nodiscard]] uint32_t count() const noexcept { return heap_.get()->count; }
    [[nodiscard]] uint32_t size() const noexcept { return count(); }
    [[nodiscard]] uint32_t capacity() const noexcept { return heap_.get()->capacity; }

    /// The element that ranks highest, or null.
    T *top() noexcept { return empty() ? nullptr : item_at(1); }
    const T *top() const noexcept { return empty() ? nullptr : item_at(1); }

    /// Whether this heap ranks a below b. Neither needs to be in it. Throws what the comparison and
    /// the projection throw.
    [[nodiscard]] bool ranks_below(const T &a, const T &b) const {
        return core::heap_items<T, Projection, Slot, const Compare>{compare_}.ranks_below(
            __builtin_addressof(a), __builtin_addressof(b));
    }

    /// Whether elem is in this heap. It goes by the slot member, which must have been given a
    /// value, whichever: the slot of that number must hold elem.
    template <auto Member = Slot>
    [[nodiscard]] bool contains(const T &elem) const noexcept {
        const uint32_t k = slot_of<Member>(elem);
        return k != 0 && k <= count() && item_at(k) == __builtin_addressof(elem);
    }

    /// The elements in the order of their slots: the top first, and the others behind elements that
    /// do not rank below them, which is what std::ranges::is_heap asks for. To change an element's
    /// rank it must be reached otherwise.
    const_iterator begin() const noexcept {
        return const_iterator(heap_.get()->slots + (empty() ? 0 : 1));
    }
    const_iterator end() const noexcept { return begin() + count(); }
    const_iterator cbegin() const noexcept { return begin(); }
    const_iterator cend() const noexcept { return end(); }

    // -- Add -----------------------------------------------------------------------------------
    // An element to be added must be in no heap through this slot member.

    /// Adds elem. Returns false, and does nothing, if the heap is full. Logarithmic at worst, on
    /// average constant where elements come in random order.
    [[nodiscard]] bool push(T &elem) {
        if (full())
            return false;
        core::heap_insert(heap_.get(), __builtin_addressof(elem), order());
        return true;
    }

    /// Adds elem without a comparison, as if it ranked lowest. After the last of a batch, heapify
    /// must put them in order, before anything else is asked of the heap. Returns false, and does
    /// nothing, if the heap is full.
    [[nodiscard]] bool append(T &elem) noexcept {
        if (full())
            return false;
        items::put(heap_.get()->slots, ++heap_.get()->count, __builtin_addressof(elem));
        return true;
    }

    // -- Change --------------------------------------------------------------------------------

    /// Puts elem, which must be in this heap, where it belongs, after its rank has changed.
    /// Logarithmic.
    template <auto Member = Slot>
    void update(T &elem) {
        core::heap_settle(heap_.get(), slot_of<Member>(elem), __builtin_addressof(elem), order());
    }

    /// Puts all elements where they belong: after append, after many ranks have changed, or after a
    /// comparison has thrown. Linear.
    void heapify() { core::heap_build(heap_.get(), order()); }

    /// Makes a heap of the n elements whose addresses (of type T *) the caller has put into slots 1
    /// to n of the array, and of no others. n is at most capacity(). Linear.
    void heapify(uint32_t n) {
        heap_.get()->count = n;
        for (uint32_t k = n; core::keeps_slots<Slot> && k > 0; --k)
            set_slot(*item_at(k), k);
        heapify();
    }

    // -- Take out ------------------------------------------------------------------------------

    /// Takes the element that ranks highest out and returns it, or null. Logarithmic.
    T *pop() {
        return empty() ? nullptr : static_cast<T *>(core::heap_remove_top(heap_.get(), order()));
    }

    /// Takes elem out, which must be in this heap. Its rank may have changed, and is not looked at.
    /// Logarithmic at worst.
    template <auto Member = Slot>
    void erase(T &elem) {
        core::heap_erase(heap_.get(), slot_of<Member>(elem), order());
    }

    /// Makes the heap empty and forgets its elements.
    void clear() noexcept { heap_.get()->count = 0; }

    /// Takes out all elements, from the last slot, and hands a pointer to each to dispose once it
    /// is out; where dispose throws, the rest is still in, and in order. Linear.
    template <class Dispose>
    void clear_and_dispose(Dispose dispose) {
        dispose_all(*heap_.get(), dispose);
    }

    /// Exchanges two heaps: their elements, arrays and comparisons.
    void swap(heap &other) noexcept {
        std::swap(heap_, other.heap_);
        std::swap(compare_, other.compare_);
    }
    friend void swap(heap &a, heap &b) noexcept { a.swap(b); }

  private:
    friend class core::owner<own_record, Disposal, heap>;
    template <class U, auto OtherProjection, auto OtherSlot, class OtherCompare,
              class OtherDisposal>
    friend fault check(const heap<U, OtherProjection, OtherSlot, OtherCompare, OtherDisposal> &);

    template <class Order>
    static constexpr void check_has_c_record() {
        static_assert(is_view || core::stateless<Order>,
                      "qvds::heap: C can't call a comparison with state, so this heap has no "
                      "c_record()");
    }
    template <auto Member>
    static uint32_t slot_of(const T &elem) noexcept {
        static_assert(core::keeps_slots<Member>,
                      "qvds::heap: update, erase and contains need to know the slot of an element: "
                      "name a uint32_t member, as in qvds::heap<task, &task::rank, &task::slot>");
        if constexpr (core::keeps_slots<Member>)
            return elem.*Member;
        else
            return 0;
    }

    items order() noexcept { return {compare_}; }
    T *item_at(uint32_t k) const noexcept { return static_cast<T *>(heap_.get()->slots[k]); }
    static void set_slot(T &elem, uint32_t k) noexcept {
        if constexpr (core::keeps_slots<Slot>)
            elem.*Slot = k;
    }

    template <class Dispose>
    static void dispose_all(qvds_heap &record, Dispose &&dispose) {
        while (record.count > 0)
            dispose(static_cast<T *>(record.slots[record.count--]));
    }

    core::owner<own_record, Disposal, heap> heap_;
    [[no_unique_address]] Compare compare_{};
};

/// The same over a record that lies elsewhere.
template <class T, auto Projection = core::identity{}, auto Slot = nullptr,
          class Compare = core::natural_order>
using heap_view = heap<T, Projection, Slot, Compare, core::viewed>;

} // namespace qvds

#endif

#ifndef QVDS_CHECK_HPP
#define QVDS_CHECK_HPP

/// @file
/// Checks of the invariants that the C headers number.
///
///     if (const qvds::fault found = qvds::check(queue))
///         std::fprintf(stderr, "I%d at %p: %s\n", found.invariant, found.element, found.text);
///
/// For tests, and for the hunt after a stray write: linear, and ended by itself whatever the links
/// say, as long as they name elements. A container that C made is checked through a view:
///
///     found = qvds::check(qvds::fifo2_view<&job::link>(c_list));
///
/// Nothing here writes, and nothing here throws but the callables that a container was given.

#include <qvds/aa.hpp>
#include <qvds/core/check.hpp>
#include <qvds/fifo.hpp>
#include <qvds/fifo2.hpp>
#include <qvds/hash.hpp>
#include <qvds/heap.hpp>
#include <qvds/keyed_hash.hpp>
#include <qvds/lifo.hpp>
#include <qvds/list.hpp>
#include <qvds/qv_tree.hpp>
#include <qvds/qvcq.hpp>
#include <qvds/sloppy.hpp>

namespace qvds {

// Whoever has one has included cq.hpp; all others are spared <chrono>.
template <auto Hook, class Clock, class Tick, class Disposal>
class calendar;

namespace core {

/// @cond
// The same fault, with the address of the element in the place of its link's.
template <auto Hook>
fault at_element(fault found) noexcept {
    found.element = hooked<Hook>::element_or_null(const_cast<void *>(found.element));
    return found;
}
/// @endcond

} // namespace core

/// The first invariant that a container breaks, or a fault that is false if it breaks none. Its
/// `element` is the address of the container's element, or null where the record itself is wrong.
template <auto Hook, class Disposal>
[[nodiscard]] fault check(const lifo<Hook, Disposal> &stack) noexcept {
    return core::at_element<Hook>(core::check_lifo(stack.c_record()));
}
template <auto Hook, class Disposal>
[[nodiscard]] fault check(const fifo<Hook, Disposal> &queue) noexcept {
    return core::at_element<Hook>(core::check_fifo(queue.c_record()));
}
template <auto Hook, class Disposal>
[[nodiscard]] fault check(const fifo2<Hook, Disposal> &queue) noexcept {
    return core::at_element<Hook>(core::check_fifo2(queue.c_record()));
}
template <auto Hook, class Disposal>
[[nodiscard]] fault check(const sloppy<Hook, Disposal> &list) noexcept {
    return core::at_element<Hook>(core::check_sloppy(list.c_record()));
}

/// The same for a calendar. In `fire`, what is yet to fire is in no bucket and not checked, but is
/// counted.
template <auto Hook, class Clock, class Tick, class Disposal>
[[nodiscard]] fault check(const calendar<Hook, Clock, Tick, Disposal> &cal) noexcept {
    qvds_cq days = cal.c_record();
    using place = typename calendar<Hook, Clock, Tick, Disposal>::const_iterator;
    for (auto at = cal.begin(); at.day() == place::before_all_days && days.count > 0; ++at)
        --days.count;
    return core::at_element<Hook>(core::check_cq(days));
}

/// The same for a list in which this many walks are in progress, and for a table in which none is.
/// `element` is then the address of a link.
template <class T, class Disposal>
[[nodiscard]] fault check(const list<T, Disposal> &elements, int walks = 0) noexcept {
    return core::check_list(elements.c_record(), walks);
}
template <class K, class V, class Hash, class Equal, class Metadata, class Disposal>
[[nodiscard]] fault check(const keyed_hash<K, V, Hash, Equal, Metadata, Disposal> &table) {
    return core::check_keyed_hash(table.c_record());
}

/// The same for a ring. `element` is the address of the record or of an entry.
template <class Disposal>
[[nodiscard]] fault check(const basic_ring<Disposal> &messages) noexcept {
    return core::check_qvcq(messages.c_record());
}
template <class T>
[[nodiscard]] fault check(const ring_of<T> &records) noexcept {
    return core::check_qvcq(records.c_record());
}

/// The same for a heap. Asks the comparison once for each element but the first, and throws what it
/// throws.
template <class T, auto Projection, auto Slot, class Compare, class Disposal>
[[nodiscard]] fault check(const heap<T, Projection, Slot, Compare, Disposal> &queue) {
    const auto ranks_below = [&](const void *a, const void *b) {
        return queue.ranks_below(*static_cast<const T *>(a), *static_cast<const T *>(b));
    };
    if (const fault found = core::check_heap(*queue.heap_.get(), ranks_below))
        return found;
    if constexpr (core::keeps_slots<Slot>) {
        uint32_t k = 0;
        for (const T &elem : queue)
            if (elem.*Slot != ++k)
                return {3, __builtin_addressof(elem),
                        "the slot member of each element is the number of its slot"};
    }
    return {};
}

/// Of a tree, `element` is the item of the node at fault. Throws what its comparison throws.
template <auto Key, class Compare, class Balance, class Disposal>
[[nodiscard]] fault check(const counted_tree<Key, Compare, Balance, Disposal> &tree) {
    fault found = core::check_qv_tree(
        tree.c_root(), [&](const void *a, const void *b) { return tree.compare_items(a, b); });
    if (found.element != nullptr)
        found.element = static_cast<const qv_tree *>(found.element)->item;
    return found;
}

/// Which levels an AA tree is to have.
enum class aa_levels {
    any,           ///< whatever deletions have left
    of_insertions, ///< those of a tree built by insertions alone (I2)
};

/// The same for an AA tree. Takes stack for the height.
template <auto Hook, auto Key, class Compare, class Disposal>
[[nodiscard]] fault check(const aa_tree<Hook, Key, Compare, Disposal> &tree,
                          aa_levels levels = aa_levels::any) {
    fault found = core::check_aa(tree.c_root(), [&](const AA_node *a, const AA_node *b) {
        return tree.compare_nodes(a, b);
    });
    if (!found && levels == aa_levels::of_insertions)
        found = core::check_aa_levels(tree.c_root());
    return core::at_element<Hook>(found);
}

/// The same for a table. Of a view that was given a hash it also says (as I2) where this and the
/// record's hash callback disagree. Calls the hash for each element.
template <class Links, class Hooked, auto Key, class Hash, class Equal, class Disposal,
          class Record>
[[nodiscard]] fault
check(const core::table<Links, Hooked, Key, Hash, Equal, Disposal, Record> &table) {
    const auto hash_of = [&](void *link) {
        return table.hash_of_element(*Hooked::element_at(link));
    };
    fault found = core::check_table<Links>(*table.record(), hash_of);
    if constexpr (std::is_same_v<Disposal, core::viewed>)
        if (!found)
            found = core::check_table<Links>(*table.record(), table.record()->hash);
    found.element = Hooked::element_or_null(const_cast<void *>(found.element));
    return found;
}

} // namespace qvds

#endif

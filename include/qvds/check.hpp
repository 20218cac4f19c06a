#ifndef QVDS_CHECK_HPP
#define QVDS_CHECK_HPP

/// Checks of the invariants that the C headers number.
///
///     if (const qvds::fault found = qvds::check(queue))
///         std::fprintf(stderr, "I%d at %p: %s\n", found.invariant, found.element, found.text);
///
/// For tests, and for the hunt after a stray write: linear, and ended by itself whatever the links
/// say, as long as they name elements. A container that C made is checked through a view:
///
///     qvds::check(qvds::fifo2_view<&job::link>(c_list))
///
/// Nothing here writes, and nothing here throws but the callables that a container was given.

#include <qvds/core/check.hpp>
#include <qvds/fifo2.hpp>

namespace qvds {

namespace core {

// The same fault, with the address of the element in the place of its link's.
template <auto Hook>
fault at_element(fault found) noexcept {
    found.element = hooked<Hook>::element_or_null(const_cast<void *>(found.element));
    return found;
}

} // namespace core

/// The first invariant that a container breaks, or a fault that is false if it breaks none. Its
/// `element` is the address of the container's element, or null where the record itself is wrong.
template <auto Hook, class Disposal>
[[nodiscard]] fault check(const fifo2<Hook, Disposal> &queue) noexcept {
    return core::at_element<Hook>(core::check_fifo2(queue.c_record()));
}

} // namespace qvds

#endif

// What the exports hand to the core's searches: the caller's compare callback with its first
// argument bound.

#ifndef QVDS_SRC_CHAINS_CALLBACKS_HPP
#define QVDS_SRC_CHAINS_CALLBACKS_HPP

#include <qvds/base.h>

namespace qvds {

// Whether a stored element matches key.
QVDS_HIDDEN inline auto matches(const void *key, qvds_compare_fn compare) {
    return [=](const void *stored) { return compare(key, stored) == 0; };
}

// Whether elem goes before a stored element: in front of all that it is not greater than.
QVDS_HIDDEN inline auto goes_before(const void *elem, qvds_compare_fn compare) {
    return [=](const void *stored) { return compare(elem, stored) <= 0; };
}

} // namespace qvds

#endif

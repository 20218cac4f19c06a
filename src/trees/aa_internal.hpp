// The steps that rebalance a place of an AA tree. Each takes the root of a subtree, or null, and
// looks no further down than it says.

#ifndef QVDS_SRC_TREES_AA_INTERNAL_HPP
#define QVDS_SRC_TREES_AA_INTERNAL_HPP

#include <qvds/aa.h>

namespace qvds {

// Turns a left child on the node's own level up into its place. Returns the subtree's root.
[[gnu::visibility("hidden")]] AA_node *AA_skew(AA_node *node);

// Turns the right child up into the node's place, and one level higher, if the right grandchild
// beyond it is on the node's own level. Returns the subtree's root.
[[gnu::visibility("hidden")]] AA_node *AA_split(AA_node *node);

// Lowers a node that is more than one level above the lowest of its children, and with it a right
// child that would then be above it. A child that is missing does not count.
[[gnu::visibility("hidden")]] void AA_decrease_level(AA_node *node);

} // namespace qvds

#endif

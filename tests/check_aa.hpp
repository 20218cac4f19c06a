// Whether an AA tree keeps the invariants of aa.h.

#ifndef QVDS_TESTS_CHECK_AA_HPP
#define QVDS_TESTS_CHECK_AA_HPP

#include <qvds/aa.h>

#include "fault.hpp"

namespace qvds {

// check_aa for a subtree, whose nodes stand in the order between two others, either of which may be
// null for no bound.
template <class Compare>
fault check_aa_between(const AA_node *t, const AA_node *lower, const AA_node *upper,
                       Compare compare) {
    for (; t != nullptr; t = t->right) {
        if (lower != nullptr && compare(t, lower) != 1)
            return {1, t};
        if (upper != nullptr && compare(t, upper) != -1)
            return {1, t};
        if (const fault found = check_aa_between(t->left, lower, t, compare); found != sound)
            return found;
        lower = t;
    }
    return sound;
}

// Checks I1. A node that is met twice, on a cycle too, would have to compare above or below itself,
// so the walk ends in any structure, as long as compare keeps one order. Linear; stack follows the
// height.
template <class Compare>
fault check_aa(const AA_node *root, Compare compare) {
    return check_aa_between(root, nullptr, nullptr, compare);
}

// Checks I2, which holds in a tree built by insertions alone. Levels fall with every step to the
// left and every second one to the right, so no walk is endless. Linear; stack follows the height.
inline fault check_aa_levels(const AA_node *t) {
    for (; t != nullptr; t = t->right) {
        const AA_node *const left = t->left, *const right = t->right;
        if (left != nullptr && left->level + 1 != t->level)
            return {2, left}; // a
        if (right != nullptr && right->level != t->level && right->level + 1 != t->level)
            return {2, right}; // b
        if (right != nullptr && right->right != nullptr && right->right->level >= t->level)
            return {2, right->right}; // c
        if ((left == nullptr || right == nullptr) && t->level != 1)
            return {2, t}; // d
        if (const fault found = check_aa_levels(left); found != sound)
            return found;
    }
    return sound;
}

} // namespace qvds

#endif

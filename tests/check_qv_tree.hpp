// Whether a counted tree keeps the invariants of qv_tree.h.

#ifndef QVDS_TESTS_CHECK_QV_TREE_HPP
#define QVDS_TESTS_CHECK_QV_TREE_HPP

#include <qvds/qv_tree.h>

#include "fault.hpp"

namespace qvds {

// check_qv_tree for a subtree, whose items lie between those of two nodes, either of which may be
// null for no bound. The recursion takes the smaller side, the loop the larger.
template <class Compare>
fault check_qv_tree_between(const qv_tree *t, const qv_tree *lower, const qv_tree *upper,
                            Compare compare) {
    while (t != &qv_tree_null) {
        const qv_tree *const left = t->left, *const right = t->right;
        if (left == nullptr || right == nullptr)
            return {3, t};
        if (t->count != 1 + uint64_t{left->count} + right->count)
            return {1, t};
        if (lower != nullptr && compare(t->item, lower->item) <= 0)
            return {2, t};
        if (upper != nullptr && compare(t->item, upper->item) >= 0)
            return {2, t};
        const bool leftwards = left->count < right->count;
        const fault found = leftwards ? check_qv_tree_between(left, lower, t, compare)
                                      : check_qv_tree_between(right, t, upper, compare);
        if (found != sound)
            return found;
        (leftwards ? lower : upper) = t;
        t = leftwards ? right : left;
    }
    return sound;
}

// Checks I1, I2 and I3. Where I1 holds, counts fall with every step down, so no walk is endless.
// Linear, in stack for the logarithm of the count, whatever the shape.
template <class Compare>
fault check_qv_tree(const qv_tree *root, Compare compare) {
    const qv_tree &null = qv_tree_null;
    if (null.count != 0 || null.item != nullptr || null.left != nullptr || null.right != nullptr)
        return {3, &null};
    if (root == nullptr)
        return {3, nullptr};
    return check_qv_tree_between(root, nullptr, nullptr, compare);
}

} // namespace qvds

#endif

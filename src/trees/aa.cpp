#include <qvds/aa.h>
#include <qvds/core/aa.hpp>

#include <cstdint>
#include <cstdlib>
#include <cstring>

using namespace qvds;

namespace {

// What the caller's compare callback answers. Whether that is -1 or 1, and so no match, is a single
// test: two would branch on the side.
struct answer {
    int32_t order;
    bool found() const { return ((static_cast<uint32_t>(order) + 1) & ~2U) != 0; }
    bool left() const { return order < 0; }
};

auto order_by(const void *key, qvds_compare_fn compare) {
    return [=](const AA_node *stored) { return answer{compare(key, stored)}; };
}

void release(AA_node *node) {
    free(node);
}

} // namespace

void *AA_new(size_t size) {
    if (size > SIZE_MAX - sizeof(AA_node))
        return nullptr;
    auto *const node = static_cast<AA_node *>(malloc(sizeof(AA_node) + size));
    if (node != nullptr)
        core::aa_reset(node);
    return node;
}

void AA_free(AA_node *root) {
    core::aa_dispose(root, release);
}

AA_node *AA_dup(const AA_node *root, size_t size) {
    const auto clone = [size](const AA_node *node) {
        auto *const copy = static_cast<AA_node *>(AA_new(size));
        if (copy != nullptr)
            memcpy(copy + 1, node + 1, size);
        return copy;
    };
    AA_node *copy = nullptr; // needs no guard, as nothing throws here
    if (core::aa_dup_into(copy, root, clone))
        return copy;
    AA_free(copy);
    return nullptr;
}

AA_node *AA_insert(AA_node *root, void *node, qvds_compare_fn compare, AA_node **dup) {
    auto *const fresh = static_cast<AA_node *>(node);
    const auto order = order_by(fresh, compare);
    AA_node *match = nullptr;
    if (fresh != nullptr) {
        core::aa_reset(fresh);
        match = core::aa_insert(root, fresh, order);
    } else {
        match = core::aa_find(root, order);
    }
    if (dup != nullptr)
        *dup = match;
    return fresh != nullptr && match == nullptr ? root : nullptr;
}

AA_node *AA_delete(AA_node *root, const void *key, qvds_compare_fn compare, AA_node **out) {
    AA_node *taken = nullptr;
    if (key != nullptr)
        core::aa_erase(root, order_by(key, compare), taken,
                       [=](const AA_node *heir, bool) { return order_by(heir, compare); });
    if (out != nullptr)
        *out = taken;
    else
        free(taken);
    return root;
}

void *AA_find(const AA_node *root, const void *key, qvds_compare_fn compare) {
    return key != nullptr ? core::aa_find(root, order_by(key, compare)) : nullptr;
}

void *AA_first(const AA_node *root) {
    return core::aa_first(root);
}

void *AA_last(const AA_node *root) {
    return core::aa_last(root);
}

void *AA_iterate(const AA_node *root, qvds_visit_fn visit, void *ctx) {
    if (visit == nullptr)
        return nullptr;
    return core::aa_iterate(const_cast<AA_node *>(root),
                            [=](AA_node *node) { return visit(node, ctx) != 0; });
}

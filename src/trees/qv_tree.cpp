#include <qvds/core/qv_tree.hpp>
#include <qvds/qv_tree.h>

#include <stdlib.h>

using namespace qvds;

namespace {

// What the caller's compare callback answers. What is not left then is right by a single test.
struct answer {
    int32_t order;
    bool found() const { return order == 0; }
    bool left() const { return order <= 0; }
};

auto order_of(const void *item, qvds_compare_fn compare) {
    return [=](const void *stored) { return answer{compare(item, stored)}; };
}

struct dump_format {
    qv_tree_print_fn print;
    FILE *stream;
    int32_t order;
};

void dump_node(const qv_tree *t, const dump_format &format, int32_t depth) {
    for (int32_t i = 0; i < depth; ++i)
        fputc(' ', format.stream);
    if (format.print != nullptr)
        format.print(t, format.stream);
}

[[gnu::noinline]] void dump(const qv_tree *t, const dump_format &format, int32_t depth) {
    for (; t != core::counted_null && t != nullptr; t = t->right, ++depth) {
        if (format.order == QV_TREE_PREORDER)
            dump_node(t, format, depth);
        dump(t->left, format, depth + 1);
        if (format.order == QV_TREE_INORDER)
            dump_node(t, format, depth);
        if (format.order == QV_TREE_POSTORDER) {
            dump(t->right, format, depth + 1);
            dump_node(t, format, depth);
            return;
        }
    }
}

} // namespace

qv_tree *qv_tree_new(void *item) {
    auto *const t = static_cast<qv_tree *>(malloc(sizeof(qv_tree)));
    if (t != nullptr)
        *t = {.count = 1, .item = item, .left = core::counted_null, .right = core::counted_null};
    return t;
}

qv_tree *qv_tree_insert(qv_tree *root, qvds_compare_fn compare, void *item) {
    const core::counted_path way = core::counted_find_path(&root, order_of(item, compare));
    if (*way.link != core::counted_null)
        return root;
    qv_tree *const leaf = qv_tree_new(item);
    if (leaf == nullptr)
        return root != core::counted_null ? root : nullptr;
    core::counted_add(way, root, leaf);
    return root;
}

qv_tree *qv_tree_find(const qv_tree *root, qvds_compare_fn compare, const void *item) {
    return core::counted_find(root, order_of(item, compare));
}

void qv_tree_iter(qv_tree *root, qvds_visit_fn visit, int32_t order, void *ctx) {
    const auto visit_node = [=](qv_tree *t) { visit(t, ctx); };
    if (order == QV_TREE_INORDER)
        core::counted_walk<QV_TREE_INORDER>(root, visit_node);
    else if (order == QV_TREE_PREORDER)
        core::counted_walk<QV_TREE_PREORDER>(root, visit_node);
    else if (order == QV_TREE_POSTORDER)
        core::counted_walk<QV_TREE_POSTORDER>(root, visit_node);
}

void qv_tree_dump(const qv_tree *root, qv_tree_print_fn print, int32_t order, FILE *stream,
                  int32_t depth) {
    dump(root, {print, stream, order}, depth);
}

qv_tree *qv_tree_rotate_right(qv_tree *root) {
    return core::counted_rotate<true>(root);
}

qv_tree *qv_tree_rotate_left(qv_tree *root) {
    return core::counted_rotate<false>(root);
}

qv_tree *qv_tree_partition(qv_tree *root, int32_t rank) {
    return core::counted_partition(root, rank < 0 ? 0 : static_cast<uint32_t>(rank));
}

qv_tree *qv_tree_balance(qv_tree *root) {
    return core::counted_balance(root);
}

qv_tree *qv_tree_join(qv_tree *a, qv_tree *b) {
    return core::counted_join(a, b);
}

qv_tree *qv_tree_delete(qv_tree *root, qvds_compare_fn compare, const void *item) {
    const core::counted_path way = core::counted_find_path(&root, order_of(item, compare));
    if (*way.link != core::counted_null)
        free(core::counted_remove(way, root));
    return root;
}

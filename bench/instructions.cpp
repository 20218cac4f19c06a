// How many instructions each exported operation takes, callbacks included, on input that never
// changes. Times are noisy and machines differ; this count is the same on every run of the same
// code, and so shows a change of a single instruction. `./dev instructions` runs it.
//
// Under callgrind, what stands between two counted regions is not counted. Each region is dumped
// with a name of its own: the operation and how often it was done.

#include <qvds/qvds.h>

#include <valgrind/callgrind.h>

#include <array>
#include <cstdio>
#include <cstdlib>
#include <numeric>
#include <string>
#include <vector>

namespace {

constexpr uint32_t n = 1000;

template <class Body>
void measure(const char *operation, size_t times, Body body) {
    CALLGRIND_TOGGLE_COLLECT;
    body();
    CALLGRIND_TOGGLE_COLLECT;
    const std::string name = std::string(operation) + ' ' + std::to_string(times);
    CALLGRIND_DUMP_STATS_AT(name.c_str());
}

template <class Element>
struct keyed : Element {
    uint32_t key = 0;
};

// n elements, and 0 ... n - 1 in an order that has nothing to do with their addresses.
template <class Element>
struct fixture {
    using element = keyed<Element>;
    std::vector<element> elements{n};
    std::vector<element *> shuffled{n};

    fixture() {
        uint32_t state = 1;
        for (uint32_t i = 0; i < n; ++i) {
            elements[i].key = i;
            shuffled[i] = &elements[i];
        }
        for (uint32_t i = n - 1; i > 0; --i) {
            state = state * 1664525 + 1013904223;
            std::swap(shuffled[i], shuffled[state % (i + 1)]);
        }
    }
    // Does an operation once for each element and counts it.
    template <class Body>
    void each(const char *operation, Body body) {
        measure(operation, n, [&] {
            for (element *elem : shuffled)
                body(elem);
        });
    }
};

int32_t three_way(uint32_t a, uint32_t b) {
    return (a > b) - (a < b);
}
template <class Element>
int32_t by_key(const void *a, const void *b) {
    return three_way(static_cast<const keyed<Element> *>(a)->key,
                     static_cast<const keyed<Element> *>(b)->key);
}
int32_t visit(void *, void *) {
    return 0;
}

void chains() {
    fixture<qvds_node> f;
    const auto compare = by_key<qvds_node>;
    qvds_list list, other;
    qvds_lifo lifo, other_lifo;
    keyed<qvds_node> *const middle = f.shuffled[n / 2];

    measure("qvds_list_init", 1, [&] { qvds_list_init(&list); });
    measure("qvds_lifo_init", 1, [&] { qvds_lifo_init(&lifo); });
    qvds_lifo_init(&other_lifo);
    f.each("qvds_lifo_push", [&](void *elem) { qvds_lifo_push(&lifo, elem); });
    measure("qvds_lifo_cut", 1, [&] { qvds_lifo_cut(&lifo, &other_lifo, middle); });
    measure("qvds_lifo_concat", 1, [&] { qvds_lifo_concat(&lifo, &other_lifo); });
    measure("qvds_lifo_extract", 1, [&] { qvds_lifo_extract(&lifo, middle, compare); });
    f.each("qvds_lifo_pop", [&](void *) { qvds_lifo_pop(&lifo); });
    f.each("qvds_lifo_insert_sorted",
           [&](void *elem) { qvds_lifo_insert_sorted(&lifo, elem, compare); });

    measure("qvds_fifo_init", 1, [&] { qvds_fifo_init(&list); });
    qvds_fifo_init(&other);
    f.each("qvds_fifo_append", [&](void *elem) { qvds_fifo_append(&list, elem); });
    measure("qvds_fifo_cut", 1, [&] { qvds_fifo_cut(&list, &other, middle); });
    measure("qvds_fifo_concat", 1, [&] { qvds_fifo_concat(&list, &other); });
    measure("qvds_fifo_extract", 1, [&] { qvds_fifo_extract(&list, middle, compare); });
    f.each("qvds_fifo_pop", [&](void *) { qvds_fifo_pop(&list); });
    f.each("qvds_fifo_push", [&](void *elem) { qvds_fifo_push(&list, elem); });
    qvds_fifo_init(&list);
    qvds_fifo_append(&list, middle);
    f.each("qvds_fifo_insert", [&](void *elem) {
        if (elem != middle)
            qvds_fifo_insert(&list, middle, elem);
    });
    qvds_fifo_init(&list);
    f.each("qvds_fifo_insert_sorted",
           [&](void *elem) { qvds_fifo_insert_sorted(&list, elem, compare); });

    qvds_fifo_init(&list);
    f.each("qvds_fifo2_append", [&](void *elem) { qvds_fifo2_append(&list, elem); });
    measure("qvds_list_top", 1, [&] { qvds_list_top(&list); });
    measure("qvds_list_bottom", 1, [&] { qvds_list_bottom(&list); });
    measure("qvds_node_find", 1, [&] { qvds_node_find(&list, middle, compare); });
    measure("qvds_node_enum", n, [&] { qvds_node_enum(&list, visit, nullptr); });
    measure("qvds_node_reverse_enum", n, [&] { qvds_node_reverse_enum(&list, visit, nullptr); });
    qvds_node_iter cursor;
    measure("qvds_node_iter_init", 1, [&] { qvds_node_iter_init(&cursor, &list); });
    measure("qvds_node_iter_peek", 1, [&] { qvds_node_iter_peek(&cursor); });
    f.each("qvds_node_iter_next", [&](void *) { qvds_node_iter_next(&cursor); });
    measure("qvds_fifo2_cut", 1, [&] { qvds_fifo2_cut(&list, &other, middle); });
    measure("qvds_fifo2_concat", 1, [&] { qvds_fifo2_concat(&list, &other); });
    measure("qvds_fifo2_extract", 1, [&] { qvds_fifo2_extract(&list, middle, compare); });
    qvds_fifo2_push(&list, middle);
    f.each("qvds_fifo2_extract_existing",
           [&](void *elem) { qvds_fifo2_extract_existing(&list, elem); });
    f.each("qvds_fifo2_push", [&](void *elem) { qvds_fifo2_push(&list, elem); });
    f.each("qvds_fifo2_pop", [&](void *) { qvds_fifo2_pop(&list); });
    qvds_fifo2_append(&list, middle);
    f.each("qvds_fifo2_insert", [&](void *elem) {
        if (elem != middle)
            qvds_fifo2_insert(&list, middle, elem);
    });
    f.each("qvds_fifo2_pop_tail", [&](void *) { qvds_fifo2_pop_tail(&list); });
    f.each("qvds_fifo2_insert_sorted",
           [&](void *elem) { qvds_fifo2_insert_sorted(&list, elem, compare); });
}

void sloppy_lists() {
    fixture<qvds_node> f;
    const auto compare = by_key<qvds_node>;
    void *handle = nullptr, *other = nullptr;
    keyed<qvds_node> *const middle = f.shuffled[n / 2];
    const auto behind_middle = [&] {
        handle = nullptr;
        for (auto *elem : f.shuffled)
            qvds_sloppy_insert(&handle, elem);
    };

    f.each("qvds_sloppy_insert", [&](void *elem) { qvds_sloppy_insert(&handle, elem); });
    measure("qvds_sloppy_first", 1, [&] { qvds_sloppy_first(middle); });
    measure("qvds_sloppy_last", 1, [&] { qvds_sloppy_last(middle); });
    measure("qvds_sloppy_count", n, [&] { qvds_sloppy_count(middle); });
    measure("qvds_sloppy_find", 1, [&] { qvds_sloppy_find(handle, middle, compare); });
    measure("qvds_sloppy_cut", 1, [&] { other = qvds_sloppy_cut(middle); });
    measure("qvds_sloppy_concat", 1, [&] { qvds_sloppy_concat(handle, other); });
    measure("qvds_sloppy_extract", 1, [&] { qvds_sloppy_extract(&handle, middle, compare); });
    behind_middle();
    f.each("qvds_sloppy_extract_existing",
           [&](void *elem) { qvds_sloppy_extract_existing(&handle, elem); });
    f.each("qvds_sloppy_push", [&](void *elem) { qvds_sloppy_push(&handle, elem); });
    handle = nullptr;
    measure("qvds_sloppy_append", 10, [&] {
        for (uint32_t i = 0; i < 10; ++i)
            qvds_sloppy_append(&handle, f.shuffled[i]);
    });
}

size_t hash_key(const void *key) {
    return static_cast<const keyed<qvds_node> *>(key)->key;
}

void hashes() {
    fixture<qvds_node> f;
    const auto compare = by_key<qvds_node>;
    std::vector<void *> buckets(512);
    qvds_hash table;
    std::vector<keyed<qvds_node>> twins(f.elements);

    measure("qvds_hash_init", 1,
            [&] { qvds_hash_init(&table, buckets.data(), hash_key, buckets.size()); });
    f.each("qvds_hash_store", [&](void *elem) { qvds_hash_store(&table, elem); });
    f.each("qvds_hash_retrieve", [&](void *key) { qvds_hash_retrieve(&table, key, compare); });
    measure("qvds_hash_enum", n, [&] { qvds_hash_enum(&table, visit, nullptr); });
    measure("qvds_hash_chain_enum", 512, [&] { qvds_hash_chain_enum(&table, visit, nullptr); });
    f.each("qvds_hash_extract", [&](void *key) { qvds_hash_extract(&table, key, compare); });
    f.each("qvds_hash_searchinsert",
           [&](void *elem) { qvds_hash_searchinsert(&table, elem, compare); });
    measure("qvds_hash_storereplace", n, [&] {
        for (auto &twin : twins)
            qvds_hash_storereplace(&table, &twin, compare);
    });
    measure("qvds_hash_unroll", n, [&] { qvds_hash_unroll(&table, visit, nullptr); });

    f.each("qvds_hash2_store", [&](void *elem) { qvds_hash2_store(&table, elem); });
    f.each("qvds_hash2_unlink", [&](void *elem) { qvds_hash2_unlink(&table, elem); });
    f.each("qvds_hash2_searchinsert",
           [&](void *elem) { qvds_hash2_searchinsert(&table, elem, compare); });
    measure("qvds_hash2_storereplace", n, [&] {
        for (auto &twin : twins)
            qvds_hash2_storereplace(&table, &twin, compare);
    });
    f.each("qvds_hash2_extract", [&](void *key) { qvds_hash2_extract(&table, key, compare); });
    for (auto *elem : f.shuffled)
        qvds_hash2_store(&table, elem);
    measure("qvds_hash2_unroll", n, [&] { qvds_hash2_unroll(&table, visit, nullptr); });
}

void heaps() {
    struct nothing {};
    fixture<nothing> f;
    const auto compare = by_key<nothing>;
    std::vector<void *> slots(n + 1);
    qvds_heap heap;

    measure("qvds_heap_init", 1, [&] { qvds_heap_init(&heap, slots.data(), compare, nullptr, n); });
    f.each("qvds_heap_insert", [&](void *item) { qvds_heap_insert(&heap, item); });
    measure("qvds_heap_empty", 1, [&] { qvds_heap_empty(&heap); });
    measure("qvds_heap_full", 1, [&] { qvds_heap_full(&heap); });
    measure("qvds_heap_find_top", 1, [&] { qvds_heap_find_top(&heap); });
    f.each("qvds_heap_remove_top", [&](void *) { qvds_heap_remove_top(&heap); });
    for (uint32_t i = 0; i < n; ++i)
        slots[i + 1] = f.shuffled[i];
    heap.count = n;
    measure("qvds_heap_fix_down", n / 2, [&] {
        for (uint32_t k = n / 2; k > 0; --k)
            qvds_heap_fix_down(&heap, k, n);
    });
    for (uint32_t i = 0; i < n; ++i)
        slots[i + 1] = f.shuffled[i];
    measure("qvds_heap_fix_up", n, [&] {
        for (uint32_t k = 1; k <= n; ++k)
            qvds_heap_fix_up(&heap, k);
    });
}

void calendars() {
    fixture<qvds_cq_entry> f;
    std::array<qvds_cq_entry *, 256> days{};
    qvds_cq cq;
    for (auto &entry : f.elements)
        entry.expires = entry.key;

    measure("qvds_cq_init", 1, [&] { qvds_cq_init(&cq, days.data(), 256, 2); });
    f.each("qvds_cq_insert", [&](void *entry) { qvds_cq_insert(&cq, entry); });
    f.each("qvds_cq_delete", [&](void *entry) { qvds_cq_delete(&cq, entry); });
    for (auto *entry : f.shuffled)
        qvds_cq_insert(&cq, entry);
    measure("qvds_cq_iterate_expired", n, [&] {
        for (uint32_t day = 0; day < 256; ++day)
            qvds_cq_iterate_expired(&cq, day, n / 2, visit, nullptr);
    });
}

void *visit_hook(void *, int32_t, void *) {
    return nullptr;
}
int32_t remove_third(void *hook, int32_t, void *, void *) {
    return static_cast<const int32_t *>(hook)[0] % 3 == 0;
}
int32_t in_order(const void *hook, const void *stored) {
    return *static_cast<const int32_t *>(hook) < *static_cast<const int32_t *>(stored) ? -1 : 2;
}

void lists() {
    std::vector<int32_t> hooks(n);
    std::iota(hooks.begin(), hooks.end(), 0);
    list_link *list = nullptr;
    const auto fill = [&] {
        for (int32_t &hook : hooks)
            list_push(&hook, &list);
    };
    const auto empty = [&] {
        while (list != nullptr)
            list_pop(&list);
    };

    measure("list_push", n, fill);
    int32_t *const middle = &hooks[n / 2];
    measure("list_length", n, [&] { list_length(list); });
    measure("list_find_element", 1, [&] { list_find_element(middle, list, hash_intcmp); });
    measure("list_find_link", 1, [&] { list_find_link(middle, list); });
    measure("list_peek", 1, [&] { list_peek(list); });
    measure("list_next", n, [&] {
        for (const list_link *at = list; at != nullptr; at = list_next(at))
            ;
    });
    void **table = nullptr;
    measure("list_2_table", n, [&] { table = list_2_table(list, nullptr); });
    free(table);
    measure("list_iter_set", 1, [&] { list_iter_set(list); });
    measure("list_iter_clear", 1, [&] { list_iter_clear(&list); });
    measure("list_iterate", n, [&] { list_iterate(&list, visit_hook, nullptr); });
    measure("list_del", 1, [&] { list_del(middle, &list, hash_intcmp); });
    measure("list_del_link", 1, [&] { list_del_link(middle + 1, &list); });
    measure("list_iterate_del", n,
            [&] { list_iterate_del(&list, remove_third, nullptr, nullptr); });
    empty();
    fill();
    measure("list_pop", n, empty);
    measure("list_append", 10, [&] {
        for (uint32_t i = 0; i < 10; ++i)
            list_append(&hooks[i], &list);
    });
    empty();
    measure("list_insert", 100, [&] {
        for (uint32_t i = 0; i < 100; ++i)
            list_insert(&hooks[i * 37 % 100], &list, in_order);
    });
    empty();
}

void keyed_hashes() {
    std::vector<int32_t> keys(n);
    std::iota(keys.begin(), keys.end(), 0);
    hashlist *table = nullptr;
    const auto each = [&](const char *operation, auto body) {
        measure(operation, n, [&] {
            for (int32_t &key : keys)
                body(&key);
        });
    };

    measure("hash_create", 1, [&] { table = hash_create(512, hash_int, nullptr, hash_intcmp); });
    each("hash_add", [&](int32_t *key) { hash_add(table, key, key); });
    each("hash_find_element", [&](int32_t *key) { hash_find_element(table, key); });
    each("hash_set_metadata", [&](int32_t *key) { hash_set_metadata(table, key, key); });
    each("hash_get_metadata", [&](int32_t *key) { hash_get_metadata(table, key); });
    measure("hash_length", n, [&] { hash_length(table); });
    measure("hash_iterate", n, [&] { hash_iterate(table, visit_hook, nullptr); });
    measure("hash_iterate_del", n,
            [&] { hash_iterate_del(table, remove_third, nullptr, nullptr); });
    each("hash_del_element", [&](int32_t *key) { hash_del_element(table, key); });
    for (int32_t &key : keys)
        hash_add(table, &key, &key);
    each("hash_double_func", [&](int32_t *key) { hash_double_func(*key, 512, table->lists); });
    measure("hash_del", n, [&] { hash_del(table); });
    each("hash_int", [](int32_t *key) { hash_int(key); });
    each("hash_intcmp", [&](int32_t *key) { hash_intcmp(key, keys.data()); });
    each("hash_mult_func", [](int32_t *key) { hash_mult_func(*key, 512, nullptr); });
    measure("hash_atoi", 1, [] { hash_atoi("a key of the usual length"); });
}

void rings() {
    qvcq ring;
    qvcq_entry *entry;
    char message[100] = {};
    int32_t length = sizeof message;
    const auto each = [&](const char *operation, auto body) {
        measure(operation, n, [&] {
            for (uint32_t i = 0; i < n; ++i)
                body();
        });
    };

    measure("qvcq_init", 1, [&] { (void)qvcq_init(&ring, 128, n + 1); });
    each("qvcq_enqueue", [&] { qvcq_enqueue(&ring, &entry); });
    each("qvcq_cancel", [&] { qvcq_cancel(&ring); });
    each("qvcq_copyto_queue", [&] { qvcq_copyto_queue(&ring, message, sizeof message); });
    measure("qvcq_get_size", 1, [&] { qvcq_get_size(&ring); });
    measure("qvcq_peek", 1, [&] { qvcq_peek(&ring, &entry); });
    each("qvcq_copyfrom_queue", [&] { qvcq_copyfrom_queue(&ring, message, &length); });
    for (uint32_t i = 0; i < n; ++i)
        qvcq_enqueue(&ring, &entry);
    each("qvcq_dequeue", [&] { qvcq_dequeue(&ring, &entry); });
    measure("qvcq_reset", 1, [&] { qvcq_reset(&ring); });
    measure("qvcq_destroy", 1, [&] { qvcq_destroy(&ring); });
}

void print_nothing(const qv_tree *, FILE *) {}

void counted_trees() {
    struct nothing {};
    fixture<nothing> f;
    const auto compare = by_key<nothing>;
    qv_tree *root = &qv_tree_null;

    measure("qv_tree_new", 1, [&] { root = qv_tree_new(f.shuffled[0]); });
    f.each("qv_tree_insert", [&](void *item) { root = qv_tree_insert(root, compare, item); });
    f.each("qv_tree_find", [&](void *item) { qv_tree_find(root, compare, item); });
    for (const int32_t order : {QV_TREE_PREORDER, QV_TREE_INORDER, QV_TREE_POSTORDER})
        measure(("qv_tree_iter(" + std::to_string(order) + ")").c_str(), n,
                [&] { qv_tree_iter(root, visit, order, nullptr); });
    FILE *const sink = std::fopen("/dev/null", "w");
    measure("qv_tree_dump", n, [&] { qv_tree_dump(root, print_nothing, 0, sink, 0); });
    std::fclose(sink);
    measure("qv_tree_partition", n, [&] {
        for (int32_t i = 0; i < int32_t{n}; ++i)
            root = qv_tree_partition(root, i * 613 % int32_t{n});
    });
    measure("qv_tree_rotate_left", 1, [&] { root = qv_tree_rotate_left(root); });
    measure("qv_tree_rotate_right", 1, [&] { root = qv_tree_rotate_right(root); });
    root = qv_tree_partition(root, n / 2);
    qv_tree *const right = root->right;
    root->right = &qv_tree_null;
    root->count -= right->count;
    measure("qv_tree_join", 1, [&] { root = qv_tree_join(root, right); });
    measure("qv_tree_balance", n, [&] { root = qv_tree_balance(root); });
    f.each("qv_tree_delete", [&](void *item) { root = qv_tree_delete(root, compare, item); });
}

void aa_trees() {
    fixture<AA_node> f;
    const auto compare = by_key<AA_node>;
    AA_node *root = nullptr, *twin = nullptr, *out = nullptr;

    f.each("AA_insert", [&](void *node) { root = AA_insert(root, node, compare, nullptr); });
    f.each("AA_find", [&](void *node) { AA_find(root, node, compare); });
    measure("AA_first", 1, [&] { AA_first(root); });
    measure("AA_last", 1, [&] { AA_last(root); });
    measure("AA_iterate", n, [&] { AA_iterate(root, visit, nullptr); });
    measure("AA_dup", n, [&] { twin = AA_dup(root, sizeof(keyed<AA_node>) - sizeof(AA_node)); });
    measure("AA_free", n, [&] { AA_free(twin); });
    f.each("AA_delete", [&](void *node) { root = AA_delete(root, node, compare, &out); });
    void *node = nullptr;
    measure("AA_new", 1, [&] { node = AA_new(8); });
    free(node);
    measure("AA_insert(ascending)", n, [&] {
        for (auto &elem : f.elements)
            root = AA_insert(root, &elem, compare, nullptr);
    });
}

} // namespace

int main() {
    chains();
    sloppy_lists();
    hashes();
    heaps();
    calendars();
    lists();
    keyed_hashes();
    rings();
    counted_trees();
    aa_trees();
}

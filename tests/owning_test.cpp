// What the owning list and the keyed hash do at their edges, through the shared object. The model
// they are compared with is in owning_internal_test.cpp.

#include <qvds/keyed_hash.h>

#include "support.hpp"

#include <cerrno>
#include <cstdlib>

namespace {

int32_t element = 1;

TEST(List, NullHooksCountButAreNotVisited) {
    list_link *head = nullptr;
    EXPECT_EQ(list_del_link(&element, &head), -1);
    list_push(&element, &head);
    list_push(nullptr, &head);
    EXPECT_EQ(list_del_link(&head, &head), 0);
    const auto visit = [](void *hook, int32_t index, void *ctx) { return index == 1 ? hook : ctx; };
    EXPECT_EQ(list_iterate(&head, visit, &head), &element);
    int count = 7;
    std::free(list_2_table(head, &count));
    EXPECT_EQ(count, 0);
    EXPECT_EQ(list_pop(&head), nullptr);
    EXPECT_EQ(list_pop(&head), &element);
}

TEST(Owning, NullListsAndTablesAreNeutral) {
    list_link **const list = nullptr;
    const list_visit_del_fn remove = [](void *, int32_t, void *, void *) { return 1; };
    EXPECT_FALSE(list_push(&element, list) || list_append(&element, list) || list_pop(list));
    EXPECT_FALSE(list_insert(&element, list, hash_intcmp) || list_del(&element, list, hash_intcmp));
    EXPECT_TRUE(list_del_link(&element, list) == -1 && !list_iterate(list, nullptr, nullptr));
    list_iterate_del(list, remove, nullptr, nullptr);
    list_iter_clear(list);
    EXPECT_FALSE(hash_create(1, nullptr, nullptr, hash_intcmp) ||
                 hash_create(1, hash_int, nullptr, nullptr));
    EXPECT_TRUE(hash_add(nullptr, &element, nullptr) == -1 && errno == EINVAL);
    EXPECT_FALSE(hash_find_element(nullptr, &element) || hash_get_metadata(nullptr, &element));
    hash_set_metadata(nullptr, &element, nullptr);
    EXPECT_FALSE(hash_del_element(nullptr, &element) || hash_iterate(nullptr, nullptr, nullptr));
    EXPECT_EQ(hash_iterate_del(nullptr, remove, nullptr, nullptr) + hash_length(nullptr), -1);
    hash_del(nullptr);
}

TEST(KeyedHash, DefaultsAndInvalidSlots) {
    int32_t key = 0;
    const auto compare = [](const void *sought, const void *stored) {
        EXPECT_EQ(stored, &element);
        return hash_intcmp(sought, stored);
    };
    hashlist *const table = hash_create(-5, hash_int, nullptr, compare);
    EXPECT_EQ(hash_add(table, &element, &element), 78);
    EXPECT_FALSE(hash_iterate(table, nullptr, nullptr) ||
                 hash_iterate_del(table, nullptr, nullptr, nullptr));
    table->slot_func = [](int32_t hash, int32_t, list_link *const *) { return hash * 78; };
    for (key = 2; key > -2; key -= 3) {
        EXPECT_TRUE(hash_add(table, &key, &key) == -1 && errno == EDOM);
        EXPECT_FALSE(hash_find_element(table, &key) || hash_del_element(table, &key));
    }
    EXPECT_EQ(hash_find_element(table, &(key = 1)), &element);
    hash_del(table);
}

} // namespace

// Every operation on a key is the same two steps: find_bucket, and a walk over the live links of
// that bucket. The walks are those of list_internal.hpp, inlined, so that the only calls left are
// the caller's callbacks.

#include <qvds/keyed_hash.h>

#include "keyed_hash_internal.hpp"
#include "list_internal.hpp"

#include <cerrno>
#include <cstdio>
#include <cstdlib>

using namespace qvds;

namespace {

constexpr int32_t default_size = 127;

// The library's own functions for slots and integer keys are inlined here: the tests for them are
// foreseen, and spare a look-up its indirect calls.

inline int32_t hash_of(const hashlist *table, const void *key) {
    return table->hash_func == hash_int ? *static_cast<const int32_t *>(key)
                                        : table->hash_func(key);
}

inline bool matches(const hashlist *table, const void *key, const void *stored) {
    return table->cmp_func == hash_intcmp
               ? *static_cast<const int32_t *>(key) == *static_cast<const int32_t *>(stored)
               : table->cmp_func(key, stored) == 0;
}

// The slot of key; negative for an invalid one.
inline int32_t find_slot(const hashlist *table, const void *key) {
    const int32_t hash = hash_of(table, key);
    if (table->slot_func == hash_mult_func)
        return mult_slot(hash, table->size);
    const int32_t slot = table->slot_func(hash, table->size, table->lists);
    return slot < table->size ? slot : -1;
}

// The list that key belongs to; null for a null table or an invalid slot.
inline list_link **find_bucket(const hashlist *table, const void *key) {
    if (table == nullptr)
        return nullptr;
    const int32_t slot = find_slot(table, key);
    return slot >= 0 ? &table->lists[slot] : nullptr;
}

inline hash_entry *entry_of(const list_link *link) {
    return static_cast<hash_entry *>(link->hook);
}

// The first live link from link onward whose entry matches key, or null.
inline list_link *find_match(const hashlist *table, const void *key, list_link *link) {
    for (link = first_live(link); link != nullptr; link = first_live(link->next))
        if (matches(table, key, entry_of(link)->key))
            return link;
    return nullptr;
}

inline hash_entry *find_entry(const hashlist *table, const void *key) {
    list_link *const *const bucket = find_bucket(table, key);
    const list_link *const link = bucket != nullptr ? find_match(table, key, *bucket) : nullptr;
    return link != nullptr ? entry_of(link) : nullptr;
}

void *visit_nothing(void * /*value*/, int32_t /*index*/, void * /*ctx*/) {
    return nullptr;
}

} // namespace

// -- what the shared object keeps to itself ------------------------------------------------------

void qvds::hash_dump(const hashlist *table, int all) {
    std::fprintf(stderr, "hashlist=%p(%d):\n", static_cast<const void *>(table),
                 table != nullptr ? table->size : -1);
    if (table == nullptr)
        return;
    for (int32_t slot = 0; slot < table->size; ++slot) {
        if (all == 0 && table->lists[slot] == nullptr)
            continue;
        std::fprintf(stderr, "  [%d]", slot);
        list_dump(table->lists[slot], hash_dump_entry,
                  reinterpret_cast<const void *>(table->hash_func));
    }
}

void qvds::hash_dump_entry(const void *hook, const void *hash_func) {
    const auto *const entry = static_cast<const hash_entry *>(hook);
    std::fprintf(stderr, "      key=%p", entry->key);
    if (hash_func == reinterpret_cast<const void *>(hash_atoi))
        std::fprintf(stderr, "(%s)", static_cast<const char *>(entry->key));
    else if (hash_func == reinterpret_cast<const void *>(hash_int))
        std::fprintf(stderr, "(%d)", *static_cast<const int32_t *>(entry->key));
    std::fprintf(stderr, " value=%p metadata=%p\n", entry->value, entry->metadata);
}

// -- set up and tear down ------------------------------------------------------------------------

hashlist *hash_create(int32_t size, hash_key_fn hash_func, hash_slot_fn slot_func,
                      qvds_compare_fn cmp_func) {
    if (hash_func == nullptr || cmp_func == nullptr)
        return nullptr;
    if (size <= 0)
        size = default_size;
    hashlist *const table = static_cast<hashlist *>(std::malloc(sizeof *table));
    if (table == nullptr)
        return nullptr;
    auto **const lists =
        static_cast<list_link **>(std::calloc(static_cast<size_t>(size), sizeof(list_link *)));
    if (lists == nullptr) {
        std::free(table);
        return nullptr;
    }
    *table = {size, hash_func, slot_func != nullptr ? slot_func : hash_mult_func, cmp_func, lists};
    return table;
}

void hash_del(hashlist *table) {
    if (table == nullptr)
        return;
    for (int32_t slot = 0; slot < table->size; ++slot)
        while (void *const entry = list_pop(&table->lists[slot]))
            std::free(entry);
    std::free(table->lists);
    std::free(table);
}

// -- adding and removing -------------------------------------------------------------------------

int hash_add(hashlist *table, void *key, void *value) {
    if (table == nullptr) {
        errno = EINVAL;
        return -1;
    }
    const int32_t slot = find_slot(table, key);
    if (slot < 0) {
        errno = EDOM;
        return -1;
    }
    hash_entry *const entry = static_cast<hash_entry *>(std::malloc(sizeof *entry));
    if (entry == nullptr)
        return -1;
    *entry = {key, value, nullptr};
    if (list_push(entry, &table->lists[slot]) == nullptr) {
        std::free(entry);
        return -1;
    }
    return slot;
}

int hash_del_element(hashlist *table, const void *key) {
    list_link **const bucket = find_bucket(table, key);
    if (bucket == nullptr || *bucket == nullptr)
        return 0;
    begin_walk(*bucket);
    for (list_link *link = find_match(table, key, *bucket); link != nullptr;
         link = find_match(table, key, link->next)) {
        mark_deleted(*bucket, link);
        std::free(link->hook);
    }
    end_walk(bucket);
    return 0;
}

// -- searching -----------------------------------------------------------------------------------

void *hash_find_element(const hashlist *table, const void *key) {
    const hash_entry *const entry = find_entry(table, key);
    return entry != nullptr ? entry->value : nullptr;
}

void hash_set_metadata(hashlist *table, const void *key, void *metadata) {
    list_link **const bucket = find_bucket(table, key);
    if (bucket == nullptr)
        return;
    for (list_link *link = find_match(table, key, *bucket); link != nullptr;
         link = find_match(table, key, link->next))
        entry_of(link)->metadata = metadata;
}

void *hash_get_metadata(const hashlist *table, const void *key) {
    const hash_entry *const entry = find_entry(table, key);
    return entry != nullptr ? entry->metadata : nullptr;
}

// -- walking -------------------------------------------------------------------------------------

void *hash_iterate(hashlist *table, list_visit_fn visit, void *ctx) {
    if (table == nullptr)
        return nullptr;
    if (visit == nullptr)
        visit = visit_nothing;
    const auto visit_value = [=](const list_link *link, int32_t index) {
        return visit(entry_of(link)->value, index, ctx);
    };
    for (int32_t slot = 0; slot < table->size; ++slot)
        if (void *const result = walk(&table->lists[slot], visit_value))
            return result;
    return nullptr;
}

int hash_iterate_del(hashlist *table, list_visit_del_fn visit, void *ctx, void *ctx2) {
    if (table == nullptr || visit == nullptr)
        return 0;
    for (int32_t slot = 0; slot < table->size; ++slot) {
        list_link **const bucket = &table->lists[slot];
        walk(bucket, [=](list_link *link, int32_t index) -> void * {
            if (visit(entry_of(link)->value, index, ctx, ctx2) != 0) {
                std::free(link->hook);
                mark_deleted(*bucket, link);
            }
            return nullptr;
        });
    }
    return 0;
}

int hash_length(const hashlist *table) {
    if (table == nullptr)
        return -1;
    int length = 0;
    for (int32_t slot = 0; slot < table->size; ++slot)
        length += list_length(table->lists[slot]);
    return length;
}

// Whether an owning list keeps the invariants of list.h, and a keyed hash those of keyed_hash.h.

#ifndef QVDS_TESTS_CHECK_OWNING_HPP
#define QVDS_TESTS_CHECK_OWNING_HPP

#include <qvds/keyed_hash.h>

#include "fault.hpp"

namespace qvds {

// Checks a list in which this many walks are in progress. Links that the program has marked itself
// count as deleted, so the library's note of its own, the rest of I4, cannot be held against them.
// Ends on every chain: where one runs in a circle, some link has two predecessors, and its prev can
// name but one.
inline fault check_list(const list_link *head, int walks = 0) {
    const list_link *prev = nullptr;
    for (const list_link *link = head; link != nullptr; prev = link, link = link->next) {
        if (link->prev != prev)
            return {1, link};
        if (link->state != 0 && link->state != LIST_STATE_DELETED)
            return {2, link};
        if (link->state == LIST_STATE_DELETED && walks == 0)
            return {4, link};
    }
    if (head != nullptr && head->iters != walks)
        return {3, head};
    return sound;
}

// Whether a live link from link onward holds hook.
inline bool is_held(const void *hook, const list_link *link) {
    while (link != nullptr && (link->state != 0 || link->hook != hook))
        link = link->next;
    return link != nullptr;
}

// Checks a table: walks[slot] is the number of walks in progress on that bucket; null for none at
// all. The slots of the keys are fixed unless slot_func looks at what the buckets hold; if they are
// not, I3 says nothing, and an entry in two buckets goes unnoticed. Takes the square of the
// longest bucket.
inline fault check_keyed_hash(const hashlist *table, const int *walks = nullptr,
                              bool slots_are_fixed = true) {
    if (table->size < 1 || table->lists == nullptr)
        return {1, nullptr};
    for (int32_t slot = 0; slot < table->size; ++slot) {
        const list_link *const head = table->lists[slot];
        if (const fault found = check_list(head, walks != nullptr ? walks[slot] : 0);
            found != sound)
            return {1, found.element};
        for (const list_link *link = head; link != nullptr; link = link->next) {
            if (link->state == LIST_STATE_DELETED)
                continue;
            const auto *const entry = static_cast<const hash_entry *>(link->hook);
            if (entry == nullptr || is_held(entry, link->next))
                return {2, link};
            if (!slots_are_fixed)
                continue;
            const int32_t hash = table->hash_func(entry->key);
            if (table->slot_func(hash, table->size, table->lists) != slot)
                return {3, link};
        }
    }
    return sound;
}

} // namespace qvds

#endif

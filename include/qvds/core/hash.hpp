// The hash tables over the caller's buckets. See hash.h for the record and the invariants.
//
// A bucket slot is the predecessor of its chain's first element (chain.hpp). So once the bucket is
// chosen, every operation is a walk that starts at the slot, and knows no first element. What the
// walk finds is a place, and what is then written there is all that the singly and the doubly
// chained table differ in: `Links` names one of the two, with
//     Links::link(predecessor, elem, successor)  puts elem between the two; successor may be null
//     Links::unlink(predecessor, elem)           takes elem out and leaves its own links as they are
// Operations take the slot, not the table: who knows the hash of a key hands in its slot, and a
// table that is moving into a larger array has the choice of two.

#ifndef QVDS_CORE_HASH_HPP
#define QVDS_CORE_HASH_HPP

#include <qvds/core/chain.hpp>
#include <qvds/hash.h>

namespace qvds::core {

// The slot of all that has this hash: hash modulo size. A remainder by a power of two is a mask; to
// test for one costs less than the division that it saves.
QVDS_HIDDEN inline void **bucket_of(const qvds_hash *table, size_t hash) {
    const size_t size = table->size;
    const bool power_of_two = (size & (size - 1)) == 0;
    return &table->buckets[power_of_two ? hash & (size - 1) : hash % size];
}

// The singly chained table's way to link.
struct hash_links {
    static constexpr bool has_back_links = false;

    QVDS_HIDDEN static void link(void *predecessor, void *elem, void *successor) {
        next_of(elem) = successor;
        next_of(predecessor) = elem;
    }
    QVDS_HIDDEN static void unlink(void *predecessor, void *elem) {
        next_of(predecessor) = next_of(elem);
    }
};

template <class Links>
QVDS_HIDDEN inline void hash_store(void *slot, void *elem) {
    Links::link(slot, elem, next_of(slot));
}

// Returns the element that elem replaces, or null. matches(stored) says whether it is to be.
template <class Links, class Matches>
QVDS_HIDDEN inline void *hash_store_or_replace(void *slot, void *elem, Matches &&matches) {
    const place at = find_place(slot, matches);
    Links::link(at.predecessor, elem, at.elem != nullptr ? next_of(at.elem) : nullptr);
    return at.elem;
}

// Returns the element that is in the way of elem, or null if there was none and elem was added.
template <class Links, class Matches>
QVDS_HIDDEN inline void *hash_find_or_insert(void *slot, void *elem, Matches &&matches) {
    const place at = find_place(slot, matches);
    if (at.elem == nullptr)
        Links::link(at.predecessor, elem, nullptr);
    return at.elem;
}

// Returns the element taken out, or null.
template <class Links, class Matches>
QVDS_HIDDEN inline void *hash_extract(void *slot, Matches &&matches) {
    const place at = find_place(slot, matches);
    if (at.elem != nullptr)
        Links::unlink(at.predecessor, at.elem);
    return at.elem;
}

// Empties the table, first chain first, until visit returns something else than 0. Each element is
// out, and the rest of the table sound, before visit, which may do as it likes with the table, is
// called; so the slot is read afresh each time.
template <class Links, class Visit>
QVDS_HIDDEN inline int hash_unroll(const qvds_hash *table, Visit &&visit) {
    for (size_t i = 0; i != table->size; ++i) {
        void *const slot = &table->buckets[i];
        while (void *const first = next_of(slot)) {
            Links::unlink(slot, first);
            if (const int32_t result = visit(first))
                return result;
        }
    }
    return 0;
}

// Moves the chain of a slot of another array into the table. The chain is turned round first, so
// that the last of it is stored first, and elements come to stand in their new chains in the order
// that they had: of equals the newest is still found first.
template <class Links, class HashOf>
QVDS_HIDDEN inline void hash_move_chain(const qvds_hash *table, void *slot,
                                        const HashOf &hash_of) noexcept {
    void *last = nullptr;
    for (void *elem = next_of(slot), *successor; elem != nullptr; elem = successor) {
        successor = next_of(elem);
        next_of(elem) = last;
        last = elem;
    }
    next_of(slot) = nullptr;
    while (void *const elem = last) {
        last = next_of(elem);
        hash_store<Links>(bucket_of(table, hash_of(elem)), elem);
    }
}

// A table that moves into a larger array a few chains at a time. At any time each chain of the
// smaller array is either whole or moved: elements are not stored in the larger one before all that
// would share a chain with them in the smaller one are there. So the slot in the smaller array tells
// where to look: there if it holds a chain, else in the larger one. Whatever is done to that one
// chain, storing included, keeps it so, and a search never has two places to look in.
//
//      before      +---+---+---+---+               slots before `moved` are null; a later one may be,
//                  | 0 | 0 | o | 0 |               as the last here: what belongs in it is, or will
//                  +---+---+-|-+---+               be, in the larger array
//                        ^   +-> a -> b
//                      moved
//      now         +---+---+---+---+---+---+---+---+
//                  | o | 0 | 0 | o | 0 | o | 0 | 0 |
//                  +-|-+---+---+-|-+---+-|-+---+---+
struct growing_record {
    qvds_hash now;      // the larger array, or the only one
    qvds_hash before{}; // the smaller one; without buckets if there is none
    size_t moved = 0;   // slots of it that are done
};

QVDS_HIDDEN inline void **bucket_of(const growing_record *table, size_t hash) {
    if (table->before.size != 0) {
        void **const slot = bucket_of(&table->before, hash);
        if (next_of(static_cast<void *>(slot)) != nullptr)
            return slot;
    }
    return bucket_of(&table->now, hash);
}

// All slots in turn: the first, and the one behind another; null for none.
QVDS_HIDDEN inline void **first_bucket(const qvds_hash *table) {
    return table->size != 0 ? table->buckets : nullptr;
}
QVDS_HIDDEN inline void **next_bucket(const qvds_hash *table, void **slot) {
    return ++slot != table->buckets + table->size ? slot : nullptr;
}
QVDS_HIDDEN inline void **first_bucket(const growing_record *table) {
    return table->before.size != 0 ? table->before.buckets : first_bucket(&table->now);
}
QVDS_HIDDEN inline void **next_bucket(const growing_record *table, void **slot) {
    if (++slot == table->before.buckets + table->before.size)
        return table->now.buckets;
    return slot != table->now.buckets + table->now.size ? slot : nullptr;
}

} // namespace qvds::core

#endif

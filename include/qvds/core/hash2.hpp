// The doubly chained hash table. See hash2.h for its back links, and hash.hpp beside this for all
// that it shares with the singly chained one.
//
// `prev` holds the address of the word that points at the element, and that word is the first word
// of whatever precedes: an element, or the bucket slot. So `prev` is the predecessor of the walks in
// chain.hpp, and linking and unlinking here serve the first element like any other.

#ifndef QVDS_CORE_HASH2_HPP
#define QVDS_CORE_HASH2_HPP

#include <qvds/core/hash.hpp>
#include <qvds/hash2.h>

namespace qvds::core {

// Writes the `prev` of successor, which may be null for the end of the chain. At the usual loads
// that is close to the toss of a coin, and a branch on it would be mispredicted about as often; so
// a record that nobody reads takes the missing successor's place.
QVDS_HIDDEN inline void hash2_set_prev(void *successor, void *predecessor) {
    qvds_node nobody;
    prev_of(successor != nullptr ? successor : &nobody) = predecessor;
}

// The doubly chained table's way to link.
struct hash2_links {
    static constexpr bool has_back_links = true;

    QVDS_HIDDEN static void link(void *predecessor, void *elem, void *successor) {
        next_of(elem) = successor;
        prev_of(elem) = predecessor;
        next_of(predecessor) = elem;
        hash2_set_prev(successor, elem);
    }
    QVDS_HIDDEN static void unlink(void *predecessor, void *elem) {
        void *const successor = next_of(elem);
        next_of(predecessor) = successor;
        hash2_set_prev(successor, predecessor);
    }
};

// Takes out an element of a table, whichever that is.
QVDS_HIDDEN inline void hash2_unlink(void *elem) {
    hash2_links::unlink(prev_of(elem), elem);
}

} // namespace qvds::core

#endif

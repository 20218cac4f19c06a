// `prev` holds the address of the word that points at the element, and that word is the first word
// of whatever precedes: an element, or the bucket slot. So `prev` is the predecessor of the walks
// in chains/chain.hpp, and linking and unlinking here serve the first element like any other.

#include <qvds/hash2.h>

#include "bucket.hpp"

using namespace qvds;
using namespace qvds::core;

namespace {

// Writes the `prev` of successor, which may be null for the end of the chain. At the usual loads
// that is close to the toss of a coin, and a branch on it would be mispredicted about as often; so
// a record that nobody reads takes the missing successor's place.
void set_prev(void *successor, void *predecessor) {
    qvds_node nobody;
    prev_of(successor != nullptr ? successor : &nobody) = predecessor;
}

// Puts elem between predecessor and successor.
void link(void *predecessor, void *elem, void *successor) {
    next_of(elem) = successor;
    prev_of(elem) = predecessor;
    next_of(predecessor) = elem;
    set_prev(successor, elem);
}

// Takes elem from behind predecessor and leaves elem's own links as they are.
void unlink(void *predecessor, void *elem) {
    void *const successor = next_of(elem);
    next_of(predecessor) = successor;
    set_prev(successor, predecessor);
}

} // namespace

void *qvds_hash2_store(qvds_hash *table, void *elem) {
    void *const bucket = bucket_of(table, elem);
    link(bucket, elem, next_of(bucket));
    return elem;
}

void *qvds_hash2_storereplace(qvds_hash *table, void *elem, qvds_compare_fn compare) {
    const place at = find_place(bucket_of(table, elem), matches(elem, compare));
    link(at.predecessor, elem, at.elem != nullptr ? next_of(at.elem) : nullptr);
    return at.elem != nullptr ? at.elem : elem;
}

void *qvds_hash2_searchinsert(qvds_hash *table, void *elem, qvds_compare_fn compare) {
    const place at = find_place(bucket_of(table, elem), matches(elem, compare));
    if (at.elem != nullptr)
        return at.elem;
    link(at.predecessor, elem, nullptr);
    return elem;
}

void *qvds_hash2_extract(qvds_hash *table, const void *key, qvds_compare_fn compare) {
    const place at = find_place(bucket_of(table, key), matches(key, compare));
    if (at.elem != nullptr)
        unlink(at.predecessor, at.elem);
    return at.elem;
}

void *qvds_hash2_unlink(qvds_hash * /*table*/, void *elem) {
    unlink(prev_of(elem), elem);
    return elem;
}

int qvds_hash2_unroll(qvds_hash *table, qvds_visit_fn visit, void *ctx) {
    return unroll<unlink>(table, visit, ctx);
}

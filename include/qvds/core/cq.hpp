// A table of doubly linked chains. The walk knows its bucket from the caller, so that only filing
// an entry, and deleting one that is the first of its day, divide.
//
// Days are short and filled at random: whether an entry has another behind it is as good as a coin
// tossed, and a branch on it is guessed wrong that often. So no branch asks. Where the successor is
// missing, the entry itself stands for it and takes the store to `prev`, which its own `prev` is
// set after:
//
//     bucket -> entry -> successor            bucket -> entry -> null
//                  ^-- prev                               ^-- prev, for as long as it takes
//
// Once that is done, a mask and a shift instead of the divisions gain nothing more: the processor
// divides beside its other work.

#ifndef QVDS_CORE_CQ_HPP
#define QVDS_CORE_CQ_HPP

#include <qvds/cq.h>

namespace qvds::core {

// The entry behind this one, or this one in its place where there is none.
QVDS_HIDDEN inline qvds_cq_entry *successor_or_self(qvds_cq_entry *entry) {
    return entry->next != nullptr ? entry->next : entry;
}

// The slot that an entry with this time is filed under.
QVDS_HIDDEN inline qvds_cq_entry *&cq_bucket_of(const qvds_cq *cq, uint32_t expires) {
    return cq->buckets[expires / cq->width % cq->size];
}

// Takes entry out. link is the word that names it: its predecessor's, or the slot of its bucket.
QVDS_HIDDEN inline void cq_unlink(qvds_cq *cq, qvds_cq_entry *entry, qvds_cq_entry *&link) {
    link = entry->next;
    successor_or_self(entry)->prev = entry->prev;
    entry->next = nullptr;
    entry->prev = nullptr;
    --cq->count;
}

QVDS_HIDDEN inline void cq_insert(qvds_cq *cq, qvds_cq_entry *entry) {
    qvds_cq_entry *&bucket = cq_bucket_of(cq, entry->expires);
    entry->next = bucket;
    successor_or_self(entry)->prev = entry;
    entry->prev = nullptr;
    bucket = entry;
    ++cq->count;
}

QVDS_HIDDEN inline void cq_delete(qvds_cq *cq, qvds_cq_entry *entry) {
    cq_unlink(cq, entry,
              entry->prev != nullptr ? entry->prev->next : cq_bucket_of(cq, entry->expires));
}

// Calls fire(entry) on each entry of one day that expires at now or before, once it is out.
template <class Fire>
QVDS_HIDDEN inline void cq_iterate_expired(qvds_cq *cq, uint32_t bucket, uint32_t now,
                                           Fire &&fire) {
    for (qvds_cq_entry *entry = cq->buckets[bucket], *next; entry != nullptr; entry = next) {
        ++cq->scanned;
        next = entry->next;
        if (entry->expires > now)
            continue;
        cq_unlink(cq, entry, entry->prev != nullptr ? entry->prev->next : cq->buckets[bucket]);
        fire(entry);
        ++cq->expired;
    }
}

} // namespace qvds::core

#endif

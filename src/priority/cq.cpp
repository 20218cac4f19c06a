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

#include <qvds/cq.h>

#include <cstring>

namespace {

// The entry behind this one, or this one in its place where there is none.
qvds_cq_entry *successor_or_self(qvds_cq_entry *entry) {
    return entry->next != nullptr ? entry->next : entry;
}

// The slot that an entry with this time is filed under.
qvds_cq_entry *&bucket_of(const qvds_cq *cq, uint32_t expires) {
    return cq->buckets[expires / cq->width % cq->size];
}

// Takes entry out. link is the word that names it: its predecessor's, or the slot of its bucket.
void unlink(qvds_cq *cq, qvds_cq_entry *entry, qvds_cq_entry *&link) {
    link = entry->next;
    successor_or_self(entry)->prev = entry->prev;
    entry->next = nullptr;
    entry->prev = nullptr;
    --cq->count;
}

} // namespace

void qvds_cq_init(qvds_cq *cq, qvds_cq_entry **buckets, uint32_t size, uint32_t width) {
    std::memset(cq, 0, sizeof *cq);
    cq->buckets = buckets;
    cq->size = size;
    cq->width = width;
}

void qvds_cq_insert(qvds_cq *cq, void *entry) {
    auto *const filed = static_cast<qvds_cq_entry *>(entry);
    qvds_cq_entry *&bucket = bucket_of(cq, filed->expires);
    filed->next = bucket;
    successor_or_self(filed)->prev = filed;
    filed->prev = nullptr;
    bucket = filed;
    ++cq->count;
}

void qvds_cq_delete(qvds_cq *cq, void *entry) {
    auto *const filed = static_cast<qvds_cq_entry *>(entry);
    unlink(cq, filed, filed->prev != nullptr ? filed->prev->next : bucket_of(cq, filed->expires));
}

void qvds_cq_iterate_expired(qvds_cq *cq, uint32_t bucket, uint32_t now, qvds_visit_fn fire,
                             void *ctx) {
    for (qvds_cq_entry *entry = cq->buckets[bucket], *next; entry != nullptr; entry = next) {
        ++cq->scanned;
        next = entry->next;
        if (entry->expires > now)
            continue;
        unlink(cq, entry, entry->prev != nullptr ? entry->prev->next : cq->buckets[bucket]);
        fire(entry, ctx);
        ++cq->expired;
    }
}

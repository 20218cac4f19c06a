// The calendar queue, a table of doubly linked chains. See cq.h for the records and the invariants.
//
// The walk of a day knows its bucket from the caller, so that only filing an entry, and deleting one
// that is the first of its day, look for one.
//
// Days are short and filled at random: whether an entry has another behind it is as good as a coin
// tossed, and a branch on it is guessed wrong that often. So no branch asks. Where the successor is
// missing, the entry itself stands for it and takes the store to `prev`, which its own `prev` is
// set after:
//
//     bucket -> entry -> successor            bucket -> entry -> null
//                  ^-- prev                               ^-- prev, for as long as it takes
//
// Where a calendar is larger than the cache, what a walk waits for is its entries. Who walks one day
// walks the next, so entries of the days ahead are fetched while those of the present one fire. Once
// that is done, the divisions for a bucket are felt as well: of powers of two, they are a shift and a
// mask.
//
// The walk of a day fires while it stands in the bucket, and so cannot bear that fire deletes the
// entry behind. What fires all days that have come (cq_collect) first moves what is due, of all these
// days, to a chain behind a dummy entry:
//
//     dummy <-> first <-> ... <-> last -> null
//
// An entry there has a `prev`, whichever it is, so cq_delete takes it out as well and never looks
// for its bucket, and counts it until then: all that is yet to fire can be cancelled at any time.

#ifndef QVDS_CORE_CQ_HPP
#define QVDS_CORE_CQ_HPP

#include <qvds/cq.h>

namespace qvds::core {

// The entry behind this one, or this one in its place where there is none.
QVDS_HIDDEN inline qvds_cq_entry *successor_or_self(qvds_cq_entry *entry) {
    return entry->next != nullptr ? entry->next : entry;
}

// The bucket of the day that a time is in. To test for powers of two costs less than the divisions
// that it saves.
QVDS_HIDDEN constexpr uint32_t cq_bucket_at(const qvds_cq *cq, uint32_t time) {
    const uint32_t width = cq->width;
    const uint32_t size = cq->size;
    const uint32_t day = (width & (width - 1)) == 0 ? time >> __builtin_ctz(width) : time / width;
    return (size & (size - 1)) == 0 ? day & (size - 1) : day % size;
}

// The slot that an entry with this time is filed under.
QVDS_HIDDEN inline qvds_cq_entry *&cq_bucket_of(const qvds_cq *cq, uint32_t expires) {
    return cq->buckets[cq_bucket_at(cq, expires)];
}

QVDS_HIDDEN constexpr uint32_t cq_bucket_after(const qvds_cq *cq, uint32_t bucket) {
    return bucket + 1 < cq->size ? bucket + 1 : 0;
}

// Starts to fetch the first entry of the day after tomorrow, and tomorrow's second, whose first was
// fetched a day ago. Always inlined: g++ takes a function that only fetches for one without effect,
// and drops the call.
[[gnu::always_inline]] QVDS_HIDDEN inline void cq_fetch_ahead(const qvds_cq *cq, uint32_t bucket) {
    const uint32_t tomorrow = cq_bucket_after(cq, bucket);
    __builtin_prefetch(cq->buckets[cq_bucket_after(cq, tomorrow)]);
    if (const qvds_cq_entry *const first = cq->buckets[tomorrow])
        __builtin_prefetch(first->next);
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
    qvds_cq_entry *entry = cq->buckets[bucket];
    if (entry != nullptr)
        cq_fetch_ahead(cq, bucket);
    for (qvds_cq_entry *next; entry != nullptr; entry = next) {
        ++cq->scanned;
        next = entry->next;
        __builtin_prefetch(next);
        if (entry->expires > now)
            continue;
        cq_unlink(cq, entry, entry->prev != nullptr ? entry->prev->next : cq->buckets[bucket]);
        fire(entry);
        ++cq->expired;
    }
}

// Takes the entries of one day that expire at now or before out of their bucket and puts them behind
// last, the end of a chain, in the order in which they were filed. Returns the new end. The count
// stays, and what stays in the bucket is written only behind a gap.
QVDS_HIDDEN inline qvds_cq_entry *cq_collect_day(qvds_cq *cq, qvds_cq_entry *&bucket, uint32_t now,
                                                 qvds_cq_entry *last) {
    qvds_cq_entry **link = &bucket, *before = nullptr;  // where what stays is linked to
    qvds_cq_entry *oldest = nullptr, *newest = nullptr; // of what is taken out
    for (qvds_cq_entry *entry = bucket, *next; entry != nullptr; entry = next) {
        ++cq->scanned;
        next = entry->next;
        if (entry->expires > now) {
            if (*link != entry) {
                *link = entry;
                entry->prev = before;
            }
            before = entry;
            link = &entry->next;
            continue;
        }
        entry->next = oldest;
        (oldest != nullptr ? oldest : entry)->prev = entry;
        newest = newest != nullptr ? newest : entry;
        oldest = entry;
    }
    if (oldest == nullptr)
        return last;
    *link = nullptr;
    last->next = oldest;
    oldest->prev = last;
    return newest;
}

// The chains a and b, each in order of time, as one; of equals those of a come first. Of the links,
// only `next` is kept.
QVDS_HIDDEN inline qvds_cq_entry *cq_merge(qvds_cq_entry *a, qvds_cq_entry *b) {
    qvds_cq_entry *first = nullptr, **link = &first;
    while (a != nullptr && b != nullptr) {
        qvds_cq_entry *&earlier = b->expires < a->expires ? b : a;
        *link = earlier;
        link = &earlier->next;
        earlier = earlier->next;
    }
    *link = a != nullptr ? a : b;
    return first;
}

// Sorts what is behind before by time, and leaves equals in their order.
QVDS_HIDDEN inline void cq_sort(qvds_cq_entry *before) {
    qvds_cq_entry *runs[32]{}; // of 1, 2, 4, ... entries, the longer the earlier in the chain
    for (qvds_cq_entry *entry = before->next, *next; entry != nullptr; entry = next) {
        next = entry->next;
        entry->next = nullptr;
        qvds_cq_entry **run = runs;
        for (; *run != nullptr; *run++ = nullptr)
            entry = cq_merge(*run, entry);
        *run = entry;
    }
    qvds_cq_entry *sorted = nullptr;
    for (qvds_cq_entry *const run : runs)
        sorted = cq_merge(run, sorted);
    before->next = sorted;
    for (; sorted != nullptr; sorted = sorted->next) {
        sorted->prev = before;
        before = sorted;
    }
}

// The day that is walked next: its bucket, and the first time after it.
struct cq_day {
    uint32_t bucket;
    uint64_t end;
};

QVDS_HIDDEN constexpr cq_day cq_day_of(const qvds_cq *cq, uint32_t time) {
    return {cq_bucket_at(cq, time), uint64_t{time} - time % cq->width + cq->width};
}

// Moves what is due by now to the end of the chain behind dummy, in order of days, from today's on.
// Nothing filed is from a day before.
QVDS_HIDDEN inline void cq_collect(qvds_cq *cq, qvds_cq_entry *dummy, cq_day &today, uint32_t now) {
    qvds_cq_entry *before = dummy;
    while (before->next != nullptr)
        before = before->next;
    qvds_cq_entry *last = cq_collect_day(cq, cq->buckets[today.bucket], now, before);
    if (now < today.end)
        return;
    const uint32_t days = (now - static_cast<uint32_t>(today.end)) / cq->width + 1;
    const uint32_t first = today.bucket;
    for (uint32_t left = days < cq->size ? days : cq->size - 1; left > 0; --left) {
        today.bucket = cq_bucket_after(cq, today.bucket);
        cq_fetch_ahead(cq, today.bucket);
        last = cq_collect_day(cq, cq->buckets[today.bucket], now, last);
    }
    if (days >= cq->size) { // and a bucket held more than one of the days
        cq_sort(before);
        today.bucket = static_cast<uint32_t>((uint64_t{first} + days) % cq->size);
    }
    today.end += uint64_t{days} * cq->width;
}

// Takes `past` from all times, a multiple of width times size, so that every entry stays in its
// bucket. What is due already and on the chain behind dummy may be from before; its time becomes 0.
QVDS_HIDDEN inline void cq_move_epoch(qvds_cq *cq, qvds_cq_entry *dummy, uint64_t past) {
    for (qvds_cq_entry *entry = dummy->next; entry != nullptr; entry = entry->next)
        entry->expires = entry->expires > past ? static_cast<uint32_t>(entry->expires - past) : 0;
    for (uint32_t bucket = 0; bucket < cq->size; ++bucket)
        for (qvds_cq_entry *entry = cq->buckets[bucket]; entry != nullptr; entry = entry->next)
            entry->expires -= static_cast<uint32_t>(past);
}

// Files what is on the chain behind dummy again, for now.
QVDS_HIDDEN inline void cq_file_again(qvds_cq *cq, qvds_cq_entry *dummy, uint32_t now) {
    while (qvds_cq_entry *const entry = dummy->next) {
        cq_unlink(cq, entry, dummy->next);
        entry->expires = now;
        cq_insert(cq, entry);
    }
}

// When the next entry expires, or limit if none does before.
QVDS_HIDDEN inline uint64_t cq_next_expiry(const qvds_cq *cq, cq_day day, uint64_t limit) {
    uint64_t next = limit;
    for (uint32_t left = cq->size; left > 0; --left) {
        for (const qvds_cq_entry *entry = cq->buckets[day.bucket]; entry != nullptr;
             entry = entry->next)
            next = entry->expires < next ? entry->expires : next;
        if (next < day.end) // and all other days are later
            break;
        day.end += cq->width;
        day.bucket = cq_bucket_after(cq, day.bucket);
    }
    return next;
}

} // namespace qvds::core

#endif

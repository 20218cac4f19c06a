#ifndef QVDS_CQ_H
#define QVDS_CQ_H

/** @file
 * Calendar queue: entries that wait for a time, filed by the day on which they expire.
 *
 * The buckets are the days of a calendar that repeats: bucket (expires / width) modulo `size`.
 * Filing and cancelling take constant time, whatever the number of entries, and expiry looks at one
 * day at a time. Choose it for timers and time-outs, which are many and mostly cancelled. It hands
 * out the entries of a day in no order of time; where each next event must be the earliest, or the
 * times have no common scale, take the heap (heap.h).
 *
 * The library keeps no clock. The caller decides what time it is and walks the days that have come,
 * from the day that it walked last, which may hold more since, to today's, and none of them twice:
 *
 *     uint32_t day = last / width, days = now / width - day;
 *     if (days >= size)
 *         days = size - 1;
 *     for (uint32_t i = 0; i <= days; ++i)
 *         qvds_cq_iterate_expired(&cq, (day + i) % size, now, fire, ctx);
 *     last = now;
 *
 * An entry filed for a day before last's would wait for a whole revolution, so file for now or
 * later.
 *
 * How to choose:
 * - `width` is the precision that expiry needs, in units of the clock; about the step by which now
 *   moves on. A wider day holds more entries that are not due yet and are looked at in vain; a
 *   narrower one gives more empty days to walk. With a width of 1 and a walk at every unit of time,
 *   entries fire in order of time.
 * - `size` is so many days that a revolution, width * size, is longer than most entries wait: an
 *   entry of a later revolution is looked at once in each until its own comes. About as many
 *   buckets as entries wait at a time is plenty.
 *
 * What the statistics say: where `scanned` is many times `expired`, the revolution is too short or
 * the day too wide.
 *
 * Times are plain unsigned numbers up to the top of their range, and a clock that has wrapped round
 * to small numbers is an earlier one. 32 bits are 71 minutes of microseconds, 49 days of
 * milliseconds. A program that runs longer takes a whole number of revolutions off its time and off
 * every `expires` in time, which leaves each entry in its bucket.
 *
 * Entries of one day fire newest first, so those for the same time in the reverse of the order in
 * which they were filed. How to fire them in order, how to move the times back, and how long an
 * event loop may sleep, is in docs/patterns.md.
 *
 * The record of an entry is the caller's and begins with a qvds_cq_entry. Header, buckets and
 * entries are the caller's; nothing allocates, nothing fails; there is no tear-down. No argument
 * may be null.
 *
 * Invariants:
 * - I1 An entry is in the bucket that its `expires` names.
 * - I2 The `prev` of a bucket's first entry and the `next` of its last are null; for every other
 *   entry, the `prev` of its `next` is the entry itself.
 * - I3 `count` is the number of entries in all buckets.
 */

#include <qvds/base.h>

QVDS_BEGIN

/** What the caller's record begins with. */
typedef struct qvds_cq_entry {
    struct qvds_cq_entry *next; /**< the following entry in the bucket, null at the end */
    struct qvds_cq_entry *prev; /**< the preceding entry in the bucket, null for the first */
    void *user;                 /**< the caller's; neither read nor written */
    uint32_t expires;           /**< when it expires: set by the caller before it is filed, and then
                                     not changed but by whole revolutions */
} qvds_cq_entry;

/** The queue. */
typedef struct qvds_cq {
    qvds_cq_entry **buckets; /**< the caller's array of size slots: the newest entry of each day */
    uint32_t count;          /**< entries filed */
    uint32_t size;           /**< days in the calendar, not 0 */
    uint32_t scanned;        /**< entries looked at by qvds_cq_iterate_expired; nothing resets it */
    uint32_t expired;        /**< entries fired by it; nothing resets it */
    uint32_t width;          /**< the span of time of one day, not 0 */
} qvds_cq;

/**
 * Sets up an empty queue, statistics included.
 * @param buckets an array of size pointers, which the caller has set to null
 */
QVDS_API void qvds_cq_init(qvds_cq *cq, qvds_cq_entry **buckets, uint32_t size, uint32_t width);

/** Files entry, whose `expires` is set, at the front of its day. Constant time. */
QVDS_API void qvds_cq_insert(qvds_cq *cq, void *entry);

/** Takes out entry, which is filed, and clears both its links. Constant time. */
QVDS_API void qvds_cq_delete(qvds_cq *cq, void *entry);

/**
 * Takes out each entry of one day that expires at now or before, newest first, and calls
 * fire(entry, ctx) on it; the result of fire is ignored. Entries of later revolutions stay.
 * @param bucket the day, less than `size`
 * @param now    the time, in the units of `expires`
 *
 * The entry has left the queue, with its links cleared, before fire runs: fire may release it, or
 * file it again, and the walk does not meet it again even on the same day. fire may file and delete
 * others too, except that the entry behind it in the bucket must stay. Linear in the entries of the
 * day.
 */
QVDS_API void qvds_cq_iterate_expired(qvds_cq *cq, uint32_t bucket, uint32_t now,
                                      qvds_visit_fn fire, void *ctx);

QVDS_END

#endif

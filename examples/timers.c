/*
 * timers [FILE]: one timer for each word of a text, in a calendar queue and in a heap side by side.
 *
 * The clock moves on by one tick with each word. A word starts a timer of ten ticks for each of its
 * letters; a comma behind a word cancels the timer of the word before. Both containers hold the
 * same timers and must fire them in the same order: by time, and of one time the newest first. The
 * calendar does so by itself, since a day of width 1 holds one time and is walked from its newest
 * entry; the heap needs the rule in its compare.
 */

#include <qvds/cq.h>
#include <qvds/heap.h>

#include "text.h"

static const char usage[] = "usage: timers [FILE]\n"
                            "Starts, cancels and fires a timer for each word of a text.\n";

enum {
    DAYS = 256,                  /* long words wait for the second revolution */
    LETTER = 10,                 /* ticks */
    LONGEST = 40,                /* letters that count */
    CAPACITY = LETTER * LONGEST, /* one timer starts in a tick, so that many wait at a time */
    SHOWN = 5
};

struct timer {
    qvds_cq_entry entry; /* first, so that a timer is an entry of the calendar */
    uint32_t slot;       /* in the heap */
    uint32_t started;
    struct word word;
};

struct timers {
    qvds_cq calendar;
    qvds_heap heap;
    qvds_cq_entry *days[DAYS];
    void *slots[CAPACITY + 1];
    uint32_t cancelled, most;
};

/* The sooner ranks higher, and of one time the newer. */
static int32_t compare_timers(const void *a, const void *b) {
    const struct timer *x = a, *y = b;
    if (x->entry.expires != y->entry.expires)
        return x->entry.expires < y->entry.expires ? 1 : -1;
    return x->started > y->started ? 1 : -1;
}

static void swap_timers(void **a, void **b) {
    struct timer *const x = *a, *const y = *b;
    const uint32_t slot = x->slot;
    x->slot = y->slot;
    y->slot = slot;
    *a = y;
    *b = x;
}

static void check(int agree) {
    if (!agree) {
        fputs("calendar queue and heap do not agree\n", stderr);
        exit(1);
    }
}

static struct timer *start(struct timers *timers, struct word word, uint32_t now) {
    struct timer *timer = must(malloc(sizeof *timer));
    const size_t letters = characters(&word);
    const size_t delay = LETTER * (letters < LONGEST ? letters : LONGEST);

    timer->word = word;
    timer->started = now;
    timer->entry.expires = now + (uint32_t)delay;
    qvds_cq_insert(&timers->calendar, timer);
    check(!qvds_heap_full(&timers->heap));
    timer->slot = timers->heap.count + 1;
    qvds_heap_insert(&timers->heap, timer);
    if (timers->most < timers->heap.count)
        timers->most = timers->heap.count;
    return timer;
}

static void cancel(struct timers *timers, struct timer *timer) {
    qvds_cq_delete(&timers->calendar, timer);
    timer->entry.expires = 0; /* before all others: it becomes the top */
    qvds_heap_fix_up(&timers->heap, timer->slot);
    check(qvds_heap_remove_top(&timers->heap) == timer);
    ++timers->cancelled;
    free(timer);
}

static int32_t fire(void *elem, void *ctx) {
    struct timer *const timer = elem;
    struct timers *const timers = ctx;

    check(!qvds_heap_empty(&timers->heap) && qvds_heap_remove_top(&timers->heap) == timer);
    if (timers->calendar.expired < SHOWN)
        printf("tick %u: \"%.*s\", started at %u\n", timer->entry.expires,
               cut(&timer->word, LONGEST), timer->word.start, timer->started);
    free(timer);
    return 0;
}

/* Fires what is due at this tick, whose day is walked at no other. */
static void tick(struct timers *timers, uint32_t now) {
    const struct timer *top;

    qvds_cq_iterate_expired(&timers->calendar, now % DAYS, now, fire, timers);
    if (!qvds_heap_empty(&timers->heap)) {
        top = qvds_heap_find_top(&timers->heap);
        check(top->entry.expires > now);
    }
}

int main(int argc, char **argv) {
    static struct timers timers; /* its days are null */
    struct text text = read_text(argc, argv, 1, usage);
    struct timer *before = NULL, *timer;
    struct word word;
    uint32_t now = 0;
    size_t at = 0;

    qvds_cq_init(&timers.calendar, timers.days, DAYS, 1);
    qvds_heap_init(&timers.heap, timers.slots, compare_timers, swap_timers, CAPACITY);

    for (; next_word(text, &at, &word); before = timer) {
        tick(&timers, ++now);
        timer = start(&timers, word, now);
        if (before != NULL && at < text.length && text.bytes[at] == ',')
            cancel(&timers, before);
    }
    while (timers.calendar.count > 0)
        tick(&timers, ++now);
    check(qvds_heap_empty(&timers.heap));

    printf("%u ticks, %u timers cancelled, %u fired, at most %u waiting\n", now, timers.cancelled,
           timers.calendar.expired, timers.most);
    printf("the calendar looked at %u\n", timers.calendar.scanned);
    free(text.bytes);
    return finish();
}

/*
 * lru FILE: how large must a cache be to be worth having?
 *
 * Simulates a least-recently-used cache over the words of a text, for capacities that double, and
 * draws the hit rate. The records of the cache lie in one array. Those in use stand on a doubly
 * linked queue in order of use, so that a hit moves to the front and the victim leaves at the back
 * in constant time; those not in use yet wait on a stack.
 */

#include <qvds/fifo.h>
#include <qvds/fifo2.h>
#include <qvds/lifo.h>

#include "text.h"

struct record {
    qvds_node node; /* first, so that a record is an element of queue and stack */
    struct word word;
};

static int32_t compare_word(const void *key, const void *elem) {
    return !same_word(key, &((const struct record *)elem)->word);
}

/* Sends all words through a cache of that capacity. Returns how many of them it held. */
static size_t simulate(struct text text, size_t capacity, size_t *words) {
    struct record *records = must(calloc(capacity, sizeof *records));
    size_t hits = 0, at = 0;
    struct word word;
    qvds_list used;
    qvds_lifo unused;

    qvds_fifo_init(&used);
    qvds_lifo_init(&unused);
    for (size_t i = 0; i < capacity; ++i)
        qvds_lifo_push(&unused, &records[i]);

    for (*words = 0; next_word(text, &at, &word); ++*words) {
        struct record *record = qvds_node_find(&used, &word, compare_word);
        if (record != NULL) {
            ++hits;
            qvds_fifo2_extract_existing(&used, record);
        } else {
            record = qvds_lifo_pop(&unused);
            if (record == NULL)
                record = qvds_fifo2_pop_tail(&used);
            record->word = word;
        }
        qvds_fifo2_push(&used, record);
    }
    free(records);
    return hits;
}

int main(int argc, char **argv) {
    struct text text = read_text(argc, argv);
    size_t words, hits, last_hits = (size_t)-1;

    puts("capacity  hit rate");
    for (size_t capacity = 1; capacity <= 4096; capacity *= 2) {
        hits = simulate(text, capacity, &words);
        if (words == 0) {
            puts("(no words in this text)");
            break;
        }
        printf("%8zu  %5.1f %%  ", capacity, 100.0 * (double)hits / (double)words);
        for (size_t bar = 0; bar < 50 * hits / words; ++bar)
            putchar('#');
        putchar('\n');
        if (hits == last_hits) /* everything that recurs is in the cache already */
            break;
        last_hits = hits;
    }
    if (words > 0)
        printf("%zu words, %.1f %% of them met before\n", words,
               100.0 * (double)hits / (double)words);
    free(text.bytes);
    return 0;
}

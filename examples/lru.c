/*
 * lru [FILE]: how large must a cache be to be worth having?
 *
 * Simulates a least-recently-used cache over the words of a text, for capacities that double, and
 * draws the hit rate. All records of the cache lie in one array. One in use is in two containers at
 * once: in a hash table that finds it by its word, and on a queue in order of use, so that a hit
 * moves to the front and the victim leaves at the back. Both are doubly linked, so a record leaves
 * either by its address. Records not in use yet wait on a stack. Every step takes constant time.
 */

#include <qvds/fifo.h>
#include <qvds/fifo2.h>
#include <qvds/hash2.h>
#include <qvds/lifo.h>

#include "text.h"

static const char usage[] = "usage: lru [FILE]\n"
                            "Simulates caches of growing capacity over the words of a text.\n";

struct record {
    qvds_node in_queue; /* first, so that a record is an element of queue and stack */
    qvds_node in_table; /* to the table, this member is the element */
    struct word word;
};

static struct record *record_of(const void *in_table) {
    return (struct record *)((char *)in_table - offsetof(struct record, in_table));
}

static size_t hash_element(const void *in_table) {
    return hash_word(&record_of(in_table)->word);
}

static int32_t compare_elements(const void *key, const void *in_table) {
    return !same_word(&record_of(key)->word, &record_of(in_table)->word);
}

/* Sends all words through a cache of that capacity. Returns how many of them it held. */
static size_t simulate(struct text text, size_t capacity, size_t *words) {
    struct record *records = must(calloc(capacity, sizeof *records));
    size_t hits = 0, at = 0;
    struct record wanted;
    qvds_list used;
    qvds_lifo unused;
    qvds_hash table;

    qvds_fifo_init(&used);
    qvds_lifo_init(&unused);
    qvds_hash_init(&table, must(calloc(capacity, sizeof(void *))), hash_element, capacity);
    for (size_t i = 0; i < capacity; ++i)
        qvds_lifo_push(&unused, &records[i]);

    for (*words = 0; next_word(text, &at, &wanted.word); ++*words) {
        void *found = qvds_hash_retrieve(&table, &wanted.in_table, compare_elements);
        struct record *record;
        if (found != NULL) {
            ++hits;
            record = qvds_fifo2_extract_existing(&used, record_of(found));
        } else {
            record = qvds_lifo_pop(&unused);
            if (record == NULL) {
                record = qvds_fifo2_pop_tail(&used);
                qvds_hash2_unlink(&table, &record->in_table);
            }
            record->word = wanted.word;
            qvds_hash2_store(&table, &record->in_table);
        }
        qvds_fifo2_push(&used, record);
    }
    free(table.buckets);
    free(records);
    return hits;
}

int main(int argc, char **argv) {
    struct text text = read_text(argc, argv, 1, usage);
    size_t words, hits, last_hits = (size_t)-1;

    puts("capacity  hit rate");
    for (size_t capacity = 1; capacity <= 1u << 20; capacity *= 2) {
        hits = simulate(text, capacity, &words);
        if (words == 0) {
            puts("(no words in this text)");
            break;
        }
        printf("%8zu  %5.1f %%  ", capacity, 100.0 * (double)hits / (double)words);
        for (size_t bar = 0; bar < 50 * hits / words; ++bar)
            putchar('#');
        putchar('\n');
        if (hits == last_hits && capacity > 4) /* all that recurs is in the cache already */
            break;
        last_hits = hits;
    }
    if (words > 0)
        printf("words: %zu, of them met before: %.1f %%\n", words,
               100.0 * (double)hits / (double)words);
    free(text.bytes);
    return finish();
}

/*
 * words [FILE]: counts the words of a text, shows how two hash functions spread them over the same
 * buckets, and then drops the rare words from inside a walk over the table.
 *
 * hash_atoi adds up the bytes of a key. That is cheap and it is blind to their order: words of one
 * length lie on a single line of sums, a few hundred values long, and anagrams ("stop", "post",
 * "spot") on the same point. No number of buckets takes them apart again. FNV-1a multiplies after
 * every byte, so each byte moves the weight of all that came before it.
 */

#include <qvds/keyed_hash.h>

#include "text.h"

static const char usage[] = "usage: words [FILE]\n"
                            "Counts the words of a text, and drops the rare ones.\n";

enum { BUCKETS = 8191, TOP = 10, RARE = 5 };

struct count {
    const char *word; /* in the text, with a zero behind it */
    size_t count;
};

/* The default slot function refuses negative numbers, so both hashes clear the sign bit. */
static int32_t sum(const void *key) {
    return hash_atoi(key) & INT32_MAX;
}

static int32_t fnv1a(const void *key) {
    uint32_t hash = 2166136261u;
    for (const unsigned char *byte = key; *byte != 0; byte++)
        hash = (hash ^ *byte) * 16777619u;
    return (int32_t)(hash & INT32_MAX);
}

static int32_t compare_text(const void *key, const void *stored) {
    return strcmp(key, stored);
}

static void add(hashlist *table, struct count *count) {
    if (hash_add(table, (void *)count->word, count) < 0) {
        perror("words");
        exit(1);
    }
}

static void count_words(struct text text, hashlist *table) {
    struct word word;
    struct count *count;
    size_t at = 0;

    while (next_word(text, &at, &word)) {
        text.bytes[at] = '\0'; /* there is room behind the last word, too */
        count = hash_find_element(table, word.start);
        if (count == NULL) {
            count = must(malloc(sizeof *count));
            *count = (struct count){word.start, 0};
            add(table, count);
        }
        ++count->count;
    }
}

static void *add_to(void *count, int32_t index, void *other) {
    (void)index;
    add(other, count);
    return NULL;
}

/* The length of a bucket is the number of comparisons that a miss costs there. */
static void show_spread(const char *name, const hashlist *table) {
    int used = 0, longest = 0;
    double comparisons = 0;
    for (int32_t slot = 0; slot < table->size; slot++) {
        const int length = list_length(table->lists[slot]);
        used += length != 0;
        longest = length > longest ? length : longest;
        comparisons += length * (length + 1.0) / 2;
    }
    const int words = hash_length(table);
    printf("%-10s %5d of %d buckets used, %5d collisions, longest %4d, %7.2f comparisons a hit\n",
           name, used, table->size, words - used, longest, words ? comparisons / words : 0);
}

/* Removes the word that the walk stands on. The entry is gone at once, the link when the walk of
   its bucket ends; the count itself is ours to release. */
static void *drop_rare(void *visited, int32_t index, void *table) {
    struct count *count = visited;
    (void)index;
    if (count->count < RARE) {
        hash_del_element(table, count->word);
        free(count);
    }
    return NULL;
}

/* -1 puts a word before one that is rarer; 2 is no verdict and goes on to the next. */
static int32_t by_count(const void *count, const void *stored) {
    return ((const struct count *)count)->count > ((const struct count *)stored)->count ? -1 : 2;
}

/* Keeps the TOP most frequent words in a list, the most frequent first. */
static void *keep_top(void *count, int32_t index, void *ctx) {
    list_link **top = ctx;
    (void)index;
    must(list_insert(count, top, by_count));
    if (list_length(*top) > TOP) {
        list_link *last = *top;
        while (last->next != NULL)
            last = last->next;
        list_del_link(last->hook, top);
    }
    return NULL;
}

static int32_t release(void *count, int32_t index, void *ctx, void *ctx2) {
    (void)index, (void)ctx, (void)ctx2;
    free(count);
    return 1;
}

int main(int argc, char **argv) {
    struct text text = read_text(argc, argv, 1, usage);
    hashlist *table = must(hash_create(BUCKETS, fnv1a, NULL, compare_text));
    hashlist *by_sum = must(hash_create(BUCKETS, sum, NULL, compare_text));
    list_link *top = NULL;
    struct count *count;

    count_words(text, table);
    hash_iterate(table, add_to, by_sum);
    printf("%d different words\n", hash_length(table));
    show_spread("fnv1a", table);
    show_spread("hash_atoi", by_sum);
    hash_del(by_sum);

    hash_iterate(table, drop_rare, table);
    printf("%d words occur %d times or more; the most frequent:\n", hash_length(table), RARE);
    hash_iterate(table, keep_top, &top);
    while ((count = list_pop(&top)) != NULL)
        printf("%8zu  %s\n", count->count, count->word);

    hash_iterate_del(table, release, NULL, NULL);
    hash_del(table);
    free(text.bytes);
    return finish();
}

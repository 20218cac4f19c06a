/*
 * concordance FILE [FROM [TO]]: the words of a text in alphabetical order, with the lines that they
 * stand on; all of them, or those in a range.
 *
 * The AA tree holds one record for each different word. Looking a word up and adding it are the
 * same call: a record is made ready, and if the tree has its twin already, that one counts, and the
 * record serves for the next word.
 */

#include <qvds/aa.h>

#include "text.h"

enum { LINES_KEPT = 6 };

struct entry {
    AA_node node; /* first, so that an entry is a node of the tree */
    struct word word;
    size_t count;
    size_t lines[LINES_KEPT]; /* the first few different ones */
    size_t line_count, last_line;
};

struct range {
    struct word from, to; /* null for an open end */
    size_t printed;
};

/* The tree takes -1 and 1 alone for an order. */
static int32_t compare_entries(const void *key, const void *stored) {
    const int order =
        compare_words(&((const struct entry *)key)->word, &((const struct entry *)stored)->word);
    return (order > 0) - (order < 0);
}

static int32_t print_in_range(void *stored, void *ctx) {
    const struct entry *entry = stored;
    struct range *range = ctx;
    if (range->to.start != NULL && compare_words(&entry->word, &range->to) > 0)
        return 1; /* all that follow are beyond the range too */
    if (range->from.start != NULL && compare_words(&entry->word, &range->from) < 0)
        return 0;
    printf("%-16.*s %6zu  on", (int)entry->word.length, entry->word.start, entry->count);
    for (size_t i = 0; i < entry->line_count && i < LINES_KEPT; ++i)
        printf(" %zu", entry->lines[i]);
    puts(entry->line_count > LINES_KEPT ? " ..." : "");
    ++range->printed;
    return 0;
}

static void count(struct entry *entry, size_t line) {
    ++entry->count;
    if (entry->last_line == line)
        return;
    if (entry->line_count < LINES_KEPT)
        entry->lines[entry->line_count] = line;
    ++entry->line_count;
    entry->last_line = line;
}

static struct entry *new_entry(void) {
    struct entry *entry = must(AA_new(sizeof *entry - sizeof entry->node));
    entry->count = entry->line_count = entry->last_line = 0;
    return entry;
}

int main(int argc, char **argv) {
    struct text text = read_text(argc, argv);
    struct entry *spare = new_entry();
    struct range range = {{NULL, 0}, {NULL, 0}, 0};
    AA_node *index = NULL, *root, *twin;
    size_t at = 0, line = 1, seen = 0, different = 0, total = 0;

    while (next_word(text, &at, &spare->word)) {
        for (; text.bytes + seen < spare->word.start; ++seen)
            line += text.bytes[seen] == '\n';
        root = AA_insert(index, spare, compare_entries, &twin);
        if (root != NULL) { /* a word not met before */
            index = root;
            count(spare, line);
            spare = new_entry();
            ++different;
        } else {
            count((struct entry *)twin, line);
        }
        ++total;
    }
    if (argc > 2)
        range.from = (struct word){argv[2], strlen(argv[2])};
    if (argc > 3)
        range.to = (struct word){argv[3], strlen(argv[3])};
    AA_iterate(index, print_in_range, &range);
    printf("%zu of %zu different words, %zu in all\n", range.printed, different, total);
    free(spare);
    AA_free(index);
    free(text.bytes);
    return 0;
}

/*
 * concordance [FILE [FROM [TO]]]: the words of a text in alphabetical order, with the lines that they
 * stand on; all of them, or those in a range.
 *
 * The AA tree holds one record for each different word. Looking a word up and adding it are the
 * same call: a record is made ready, and if the tree has its twin already, that one counts, and the
 * record serves for the next word. A range starts with a search for its first word, present or not,
 * and goes on with a search for what follows each: a node does not know the one above it.
 */

#include <qvds/aa.h>

#include "text.h"

static const char usage[] =
    "usage: concordance [FILE [FROM [TO]]]\n"
    "Lists the words of a text, or those in a range, with the lines that they stand on.\n";

enum { LINES_KEPT = 6 };

struct entry {
    AA_node node; /* first, so that an entry is a node of the tree */
    struct word word;
    size_t count;
    size_t lines[LINES_KEPT]; /* the first few different ones */
    size_t line_count, last_line;
};

/* What a search for the first entry from a word on takes as its key. */
struct bound {
    struct word word;
    int word_counts;            /* or only what comes after it */
    const struct entry **first; /* where to note the entry */
};

/* The tree takes -1 and 1 alone for an order. */
static int32_t compare_entries(const void *key, const void *stored) {
    const int order =
        compare_words(&((const struct entry *)key)->word, &((const struct entry *)stored)->word);
    return (order > 0) - (order < 0);
}

/*
 * Never answers with a match, so the search runs down to where the word would stand. It turns left
 * at entries that come after that place only, and each of them comes before those noted earlier.
 */
static int32_t seek(const void *key, const void *stored) {
    const struct bound *bound = key;
    const struct entry *entry = stored;
    const int order = compare_words(&bound->word, &entry->word);
    if (order > 0 || (order == 0 && !bound->word_counts))
        return 1;
    *bound->first = entry;
    return -1;
}

static const struct entry *first_from(const AA_node *index, struct word word, int word_counts) {
    const struct entry *first = NULL;
    const struct bound bound = {word, word_counts, &first};
    AA_find(index, &bound, seek);
    return first;
}

static void print(const struct entry *entry) {
    printf("%.*s", (int)entry->word.length, entry->word.start);
    for (size_t column = characters(&entry->word); column < 16; ++column)
        putchar(' ');
    printf(" %6zu  on", entry->count);
    for (size_t i = 0; i < entry->line_count && i < LINES_KEPT; ++i)
        printf(" %zu", entry->lines[i]);
    puts(entry->line_count > LINES_KEPT ? " ..." : "");
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

/* An end of the range is read as the text is, and so folded to lower case. */
static struct word first_word(char *argument) {
    struct word word;
    size_t at = 0;
    next_word((struct text){argument, strlen(argument)}, &at, &word);
    return word;
}

int main(int argc, char **argv) {
    struct text text = read_text(argc, argv, 3, usage);
    struct entry *spare = new_entry();
    struct word from = {"", 0}, to = {NULL, 0}; /* null for an open end */
    AA_node *index = NULL, *root, *twin;
    size_t at = 0, line = 1, seen = 0, printed = 0, different = 0, total = 0;

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
        from = first_word(argv[2]);
    if (argc > 3)
        to = first_word(argv[3]);
    for (const struct entry *entry = first_from(index, from, 1);
         entry != NULL && (to.start == NULL || compare_words(&entry->word, &to) <= 0);
         entry = first_from(index, entry->word, 0)) {
        print(entry);
        ++printed;
    }
    printf("%zu of %zu different words, %zu in all\n", printed, different, total);
    free(spare);
    AA_free(index);
    free(text.bytes);
    return finish();
}

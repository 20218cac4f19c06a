/*
 * ranks [FILE]: ranks the words of a text by how often they occur: percentiles, the ten at the top,
 * and a histogram.
 *
 * Two counted trees: one in the order of the words, to count each, and one in the order of the
 * counts, to ask for ranks.
 */

#include <qvds/qv_tree.h>

#include "text.h"

static const char usage[] = "usage: ranks [FILE]\n"
                            "Ranks the words of a text by how often they occur.\n";

struct counted {
    struct word word;
    size_t count;
};

static int levels; /* calls of compare in the insertion under way */

static int32_t by_word(const void *item, const void *stored) {
    ++levels;
    return compare_words(&((const struct counted *)item)->word,
                         &((const struct counted *)stored)->word);
}

static int32_t by_count(const void *item, const void *stored) {
    const struct counted *a = item, *b = stored;
    if (a->count == b->count)
        return by_word(a, b);
    ++levels;
    return a->count < b->count ? -1 : 1;
}

/* Adds an item that is not in the tree. A text in alphabetical order would make a chain of it. */
static qv_tree *add(qv_tree *root, qvds_compare_fn compare, struct counted *item) {
    const uint32_t before = root->count;
    levels = 0;
    root = must(qv_tree_insert(root, compare, item));
    if (root->count == before) {
        fputs("out of memory\n", stderr);
        exit(1);
    }
    return levels > 100 ? qv_tree_balance(root) : root;
}

/* How many words occur less often than that. */
static uint32_t rank_of(const qv_tree *t, size_t count) {
    uint32_t rank = 0;
    while (t != &qv_tree_null) {
        const struct counted *item = t->item;
        if (item->count < count)
            rank += t->left->count + 1;
        t = item->count < count ? t->right : t->left;
    }
    return rank;
}

/* The node visited goes, and its item moves to the tree by count. */
static int32_t move(void *elem, void *ctx) {
    qv_tree *node = elem, **ranks = ctx;
    *ranks = add(*ranks, by_count, node->item);
    free(node);
    return 0;
}

static int32_t release(void *elem, void *ctx) {
    qv_tree *node = elem;
    (void)ctx;
    free(node->item);
    free(node);
    return 0;
}

/* Prints the word of a rank, which becomes the root. */
static qv_tree *show(qv_tree *ranks, uint32_t rank, int number, const char *unit) {
    const struct counted *item;
    ranks = qv_tree_partition(ranks, (int32_t)rank);
    item = ranks->item;
    printf("  %3d%-2s %8zu  %.*s\n", number, unit, item->count, cut(&item->word, 40),
           item->word.start);
    return ranks;
}

static qv_tree *count_words(struct text text, size_t *total) {
    qv_tree *words = &qv_tree_null;
    struct counted key = {{NULL, 0}, 1}, *item;
    size_t at = 0;

    for (*total = 0; next_word(text, &at, &key.word); ++*total) {
        qv_tree *known = qv_tree_find(words, by_word, &key);
        if (known != NULL) {
            item = known->item;
            ++item->count;
        } else {
            item = must(malloc(sizeof *item));
            *item = key;
            words = add(words, by_word, item);
        }
    }
    return words;
}

int main(int argc, char **argv) {
    static const int percent[] = {0, 25, 50, 75, 90, 99, 100};
    struct text text = read_text(argc, argv, 1, usage);
    qv_tree *ranks = &qv_tree_null;
    size_t total;
    uint32_t count;

    qv_tree_iter(count_words(text, &total), move, QV_TREE_POSTORDER, &ranks);
    count = ranks->count;
    printf("%zu words, %u different, by frequency\n", total, count);

    for (size_t i = 0; count > 0 && i < sizeof percent / sizeof *percent; ++i)
        ranks = show(ranks, (uint32_t)((count - 1) * (uint64_t)percent[i] / 100), percent[i], "%");
    for (uint32_t k = 1; k <= 10 && k <= count; ++k)
        ranks = show(ranks, count - k, (int)k, ".");
    for (size_t low = 1, below = 0, up_to; below < count; low *= 2, below = up_to) {
        up_to = rank_of(ranks, 2 * low);
        printf("  %6zu to %-6zu %7zu ", low, 2 * low - 1, up_to - below);
        for (size_t mark = 0; mark < (up_to - below) * 50 / count; ++mark)
            putchar('#');
        putchar('\n');
    }

    qv_tree_iter(ranks, release, QV_TREE_POSTORDER, NULL);
    free(text.bytes);
    return finish();
}

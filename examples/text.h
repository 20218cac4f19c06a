#ifndef TEXT_H
#define TEXT_H

/*
 * What the examples share: a whole text in memory, and its words one by one.
 */

#include <ctype.h>
#include <errno.h>
#include <stdint.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

struct text {
    char *bytes;
    size_t length;
};

struct word {
    const char *start; /* inside the text, not terminated */
    size_t length;
};

static inline void *must(void *block) {
    if (block == NULL) {
        fputs("out of memory\n", stderr);
        exit(1);
    }
    return block;
}

/* Reads the file named by the first argument, standard input for "-" or none. Whatever the bytes
   are, they are taken as they come; a file that can't be read ends the program. */
static inline struct text read_text(int argc, char **argv) {
    const char *path = argc > 1 ? argv[1] : "-";
    FILE *file = strcmp(path, "-") == 0 ? stdin : fopen(path, "rb");
    struct text text = {NULL, 0};
    size_t room = 0, got = 0;

    if (file != NULL) {
        do {
            text.length += got;
            if (text.length == room) {
                room = room * 2 + 4096;
                text.bytes = must(realloc(text.bytes, room));
            }
            errno = 0;
        } while ((got = fread(text.bytes + text.length, 1, room - text.length, file)) > 0);
    }
    if (file == NULL || ferror(file)) {
        fprintf(stderr, "%s: %s\n", path, strerror(errno));
        exit(1);
    }
    if (file != stdin)
        fclose(file);
    return text;
}

/* Finds the next word (letters and digits) from *at on and folds it to lower case where it stands.
   Returns 0 at the end of the text. */
static inline int next_word(struct text text, size_t *at, struct word *word) {
    char *bytes = text.bytes;
    size_t i = *at, start;

    while (i < text.length && !isalnum((unsigned char)bytes[i]))
        ++i;
    for (start = i; i < text.length && isalnum((unsigned char)bytes[i]); ++i)
        bytes[i] = (char)tolower((unsigned char)bytes[i]);
    *at = i;
    word->start = bytes + start;
    word->length = i - start;
    return word->length > 0;
}

/* FNV-1a: every byte and its place count. */
static inline size_t hash_word(const struct word *word) {
    uint64_t hash = 14695981039346656037u;
    for (size_t i = 0; i < word->length; ++i)
        hash = (hash ^ (unsigned char)word->start[i]) * 1099511628211u;
    return (size_t)(hash ^ hash >> 32);
}

static inline int same_word(const struct word *a, const struct word *b) {
    return a->length == b->length && memcmp(a->start, b->start, a->length) == 0;
}

/* Negative, zero or positive: a before, equal to or after b. */
static inline int compare_words(const struct word *a, const struct word *b) {
    const size_t common = a->length < b->length ? a->length : b->length;
    const int order = memcmp(a->start, b->start, common);
    return order != 0 ? order : (a->length > b->length) - (a->length < b->length);
}

#endif

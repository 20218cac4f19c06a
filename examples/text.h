#ifndef TEXT_H
#define TEXT_H

/*
 * What the examples share: their command line, a whole text in memory, and its words one by one.
 *
 * A word is a run of letters and digits of ASCII and of characters beyond it, in UTF-8, but for the
 * signs that a text sets between words (U+0080 to U+00BF, U+2000 to U+207F: quotes, dashes, spaces).
 * Only A to Z are folded to lower case: "Ärger" and "ärger" are two words.
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

/* The exit status of a program that has printed all it wanted: a full disk shows here at the latest. */
static inline int finish(void) {
    if (fflush(stdout) == 0 && !ferror(stdout))
        return 0;
    fputs("the output could not be written\n", stderr);
    return 1;
}

/* Ends the program if its arguments ask for help, name an option, or are more than `most`. */
static inline void check_arguments(int argc, char **argv, int most, const char *usage) {
    const char *first = argc > 1 ? argv[1] : "";
    if (strcmp(first, "--help") == 0 || strcmp(first, "-h") == 0) {
        fputs(usage, stdout);
        exit(finish());
    }
    if (argc - 1 > most || (first[0] == '-' && first[1] != '\0')) {
        fputs(usage, stderr);
        exit(2);
    }
}

/* Reads the file named by the first of at most `most` arguments, standard input for "-" or none.
   Whatever the bytes are, they are taken as they come; a file that can't be read ends the program. */
static inline struct text read_text(int argc, char **argv, int most, const char *usage) {
    check_arguments(argc, argv, most, usage);
    const char *path = argc > 1 ? argv[1] : "-";
    FILE *file = strcmp(path, "-") == 0 ? stdin : fopen(path, "rb");
    struct text text = {NULL, 0};
    size_t room = 0, got = 0;

    if (file != NULL) {
        do {
            text.length += got;
            if (text.length == room) {
                room = room * 2 + 4096;
                text.bytes = (char *)must(realloc(text.bytes, room));
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

/* Whether the byte at i is the second or a later one of a character. */
static inline int continues(const char *bytes, size_t i) {
    return ((unsigned char)bytes[i] & 0xC0) == 0x80;
}

/* Whether the character whose first byte stands at i belongs to a word. */
static inline int in_word(struct text text, size_t i) {
    const unsigned char byte = (unsigned char)text.bytes[i];
    const unsigned char next = i + 1 < text.length ? (unsigned char)text.bytes[i + 1] : 0;
    if (byte < 0x80)
        return isalnum(byte) != 0;
    return byte != 0xC2 && !(byte == 0xE2 && (next == 0x80 || next == 0x81));
}

/* Finds the next word from *at on and folds it to lower case where it stands. Returns 0 at the end of
   the text. */
static inline int next_word(struct text text, size_t *at, struct word *word) {
    char *bytes = text.bytes;
    size_t i = *at, start;

    while (i < text.length && (continues(bytes, i) || !in_word(text, i)))
        ++i;
    for (start = i; i < text.length && in_word(text, i); ++i)
        bytes[i] = (char)tolower((unsigned char)bytes[i]);
    *at = i;
    word->start = bytes + start;
    word->length = i - start;
    return word->length > 0;
}

/* The length of a word in characters, of which each may take several bytes. */
static inline size_t characters(const struct word *word) {
    size_t count = 0;
    for (size_t i = 0; i < word->length; ++i)
        count += !continues(word->start, i);
    return count;
}

/* The bytes of its first `most` characters, in the type that printf wants for "%.*s". */
static inline int cut(const struct word *word, size_t most) {
    size_t i = 0;
    while (i < word->length && (continues(word->start, i) || most-- > 0))
        ++i;
    return (int)i;
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

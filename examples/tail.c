/*
 * tail: prints the last lines of a file, which it reads once from front to back.
 *
 *     tail [-n LINES] [FILE]
 *
 * The ring holds as many messages as lines are wanted; each new line drops the oldest by itself, so
 * the program keeps no count. Lines are read straight into the blocks. A line that is longer than a
 * block is cut, and marked with the number of bytes left out.
 */

#include <qvds/qvcq.h>

#include "text.h"

static const char usage[] = "usage: tail [-n LINES] [FILE]\n"
                            "Prints the last lines of a file, 10 unless told otherwise.\n";

/* What a block holds: at most WIDTH bytes of a line, its newline included. */
enum { WIDTH = 4096 };
struct line {
    size_t left_out; /* bytes that did not fit */
    char text[WIDTH];
};

/* Reads a line that begins with the byte c into the next block of the ring. */
static void keep_line(qvcq *ring, FILE *in, int c) {
    qvcq_entry *entry;
    qvcq_enqueue(ring, &entry);
    struct line *line = entry->data;
    size_t length = 0;
    for (; c != EOF; c = c == '\n' ? EOF : getc(in)) {
        if (length < WIDTH)
            line->text[length] = (char)c;
        ++length;
    }
    line->left_out = length > WIDTH ? length - WIDTH : 0;
    entry->length = (int32_t)(length - line->left_out);
}

static void print_lines(qvcq *ring) {
    qvcq_entry *entry;
    while (qvcq_dequeue(ring, &entry) == QVCQ_OK) {
        const struct line *line = entry->data;
        fwrite(line->text, 1, (size_t)entry->length, stdout);
        if (line->left_out != 0)
            printf(" [%zu bytes left out]\n", line->left_out);
    }
}

static int tail(FILE *in, const char *name, size_t lines) {
    qvcq ring;
    if (qvcq_init(&ring, sizeof(struct line), lines + 1) != QVCQ_OK) {
        fprintf(stderr, "tail: no memory for %zu lines\n", lines);
        return 1;
    }
    int c;
    while ((c = getc(in)) != EOF)
        keep_line(&ring, in, c);
    const int failed = ferror(in);
    if (failed)
        fprintf(stderr, "tail: %s: %s\n", name, strerror(errno));
    print_lines(&ring);
    qvcq_destroy(&ring);
    return finish() || failed;
}

/* Returns the number that text holds, or 0 if it is none that a ring can take. */
static size_t parse_lines(const char *text) {
    char *end;
    const long lines = strtol(text, &end, 10);
    return *end == '\0' && lines > 0 && lines < INT32_MAX ? (size_t)lines : 0;
}

int main(int argc, char **argv) {
    size_t lines = 10;
    if (argc > 2 && strcmp(argv[1], "-n") == 0) {
        lines = parse_lines(argv[2]);
        if (lines == 0) {
            fprintf(stderr, "tail: lines are from 1 to %d\n", INT32_MAX - 1);
            return 2;
        }
        argc -= 2;
        argv += 2;
    }
    check_arguments(argc, argv, 1, usage);
    const char *const name = argc > 1 ? argv[1] : "-";
    if (strcmp(name, "-") == 0)
        return tail(stdin, "standard input", lines);
    FILE *const in = fopen(name, "rb");
    if (in == NULL) {
        fprintf(stderr, "tail: %s: %s\n", name, strerror(errno));
        return 1;
    }
    const int status = tail(in, name, lines);
    fclose(in);
    return status;
}

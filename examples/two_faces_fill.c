/* The C half of two_faces. It sees a qvds_list and calls the library. */

#include "two_faces.h"

#include <qvds/fifo2.h>

void fill(qvds_list *queue, struct text text) {
    struct word word;
    size_t at = 0;

    while (next_word(text, &at, &word)) {
        struct entry *entry = must(malloc(sizeof *entry));
        entry->word = word;
        qvds_fifo2_append(queue, entry);
    }
}

#ifndef TWO_FACES_H
#define TWO_FACES_H

/* What the two halves of two_faces share: the records, and the function that one calls in the other. */

#include <qvds/node.h>

#include "text.h"

struct entry {
    qvds_node link; /* first, as C wants it */
    struct word word;
};

#ifdef __cplusplus
extern "C" {
#endif

/* Appends an entry for each word of the text. Entries are made with malloc and belong to the caller. */
void fill(qvds_list *queue, struct text text);

#ifdef __cplusplus
}
#endif

#endif

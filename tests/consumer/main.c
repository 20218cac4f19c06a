/* An outside program in C: links every exported name, and passes its own record without a cast. */

#include <qvds/qvds.h>
#include <stdio.h>

struct job {
    struct job *next;
    const char *name;
};

/* exports.def is made from the list of exports: EXPORTED(name) for each. */
#define EXPORTED(name) (uintptr_t) & name,

int main(void) {
    const uintptr_t exported[] = {
#include "exports.def"
    };
    struct job wash = {NULL, "wash"}, dry = {NULL, "dry"};
    qvds_list queue;
    struct job *job;
    size_t i;

    for (i = 0; i < sizeof exported / sizeof *exported; ++i)
        if (exported[i] == 0)
            return 1;
    qvds_fifo_init(&queue);
    qvds_fifo_append(&queue, &wash);
    qvds_fifo_append(&queue, &dry);
    while ((job = qvds_fifo_pop(&queue)) != NULL)
        printf("%s\n", job->name);
    return 0;
}

/* A program whose project builds the library as a part of itself. */

#include <qvds/lifo.h>

int main(void) {
    struct {
        void *next;
    } element;
    qvds_lifo stack;
    qvds_lifo_init(&stack);
    qvds_lifo_push(&stack, &element);
    return qvds_lifo_pop(&stack) == &element ? 0 : 1;
}

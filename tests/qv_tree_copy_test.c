/*
 * A program that is not position-independent holds its own copy of the sentinel, and the library
 * has to use that one.
 */

#include <qvds/qv_tree.h>
#include <stdlib.h>

extern char __executable_start, end; /* the linker's: where the program begins and ends */

int main(void) {
    const char *const sentinel = (const char *)&qv_tree_null;
    if (sentinel < &__executable_start || sentinel >= &end)
        return 2; /* no copy was made: the rest would say nothing */
    qv_tree *const leaf = qv_tree_new(NULL);
    const int same = leaf->left == &qv_tree_null && qv_tree_rotate_left(leaf) == leaf &&
                     qv_tree_find(&qv_tree_null, NULL, NULL) == NULL;
    free(leaf);
    return same ? 0 : 1;
}

/*
 * A program that is not position-independent holds its own copy of the sentinel, and its own entry
 * point of every function whose address it takes. The library has to go by these.
 */

#include <qvds/keyed_hash.h>
#include <qvds/qv_tree.h>
#include <stdlib.h>

extern char __executable_start, end; /* the linker's: where the program begins and ends */

int main(void) {
    const char *const sentinel = (const char *)&qv_tree_null;
    if (sentinel < &__executable_start || sentinel >= &end)
        return 77; /* skipped: this linker made no copy, and the rest would say nothing */
    qv_tree *const leaf = qv_tree_new(NULL);
    hashlist *const table = hash_create(0, hash_int, NULL, hash_intcmp);
    const int same = leaf->left == &qv_tree_null && qv_tree_rotate_left(leaf) == leaf &&
                     qv_tree_find(&qv_tree_null, NULL, NULL) == NULL &&
                     table->slot_func == hash_mult_func;
    hash_del(table);
    free(leaf);
    return same ? 0 : 1;
}

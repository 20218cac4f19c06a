/*
 * What programs have compiled into themselves: every constant, and the place of every field of every
 * record. A program built against 1.0 goes on by these, so a line that fails says that the next release
 * breaks it, and the line stays as it is.
 *
 * abi/check.sh sees to it that no constant is missing here: those of an unnamed enumeration leave no
 * trace in a library, and only this file can tell when one changes.
 */

#include <qvds/qvds.h>

#define CONSTANT(name, value) _Static_assert((name) == (value), #name " has changed")
#define RECORD(record, size) _Static_assert(sizeof(record) == (size), #record " has another size")
#define FIELD(record, field, offset, size)                                                        \
    _Static_assert(offsetof(record, field) == (offset) && sizeof(((record *)0)->field) == (size), \
                   #record "." #field " lies elsewhere")

_Static_assert(sizeof(void *) == 8 && sizeof(size_t) == 8, "the library is for 64 bits");

/* node.h */
RECORD(qvds_node, 16);
FIELD(qvds_node, next, 0, 8);
FIELD(qvds_node, prev, 8, 8);
RECORD(qvds_list, 16);
FIELD(qvds_list, top, 0, 8);
FIELD(qvds_list, bottom, 8, 8);
RECORD(qvds_node_iter, 8);
FIELD(qvds_node_iter, next, 0, 8);

/* lifo.h */
RECORD(qvds_lifo, 8);
FIELD(qvds_lifo, top, 0, 8);

/* hash.h */
RECORD(qvds_hash, 24);
FIELD(qvds_hash, buckets, 0, 8);
FIELD(qvds_hash, hash, 8, 8);
FIELD(qvds_hash, size, 16, 8);

/* heap.h */
RECORD(qvds_heap, 32);
FIELD(qvds_heap, slots, 0, 8);
FIELD(qvds_heap, count, 8, 4);
FIELD(qvds_heap, capacity, 12, 4);
FIELD(qvds_heap, compare, 16, 8);
FIELD(qvds_heap, swap, 24, 8);

/* cq.h */
RECORD(qvds_cq_entry, 32);
FIELD(qvds_cq_entry, next, 0, 8);
FIELD(qvds_cq_entry, prev, 8, 8);
FIELD(qvds_cq_entry, user, 16, 8);
FIELD(qvds_cq_entry, expires, 24, 4);
RECORD(qvds_cq, 32);
FIELD(qvds_cq, buckets, 0, 8);
FIELD(qvds_cq, count, 8, 4);
FIELD(qvds_cq, size, 12, 4);
FIELD(qvds_cq, scanned, 16, 4);
FIELD(qvds_cq, expired, 20, 4);
FIELD(qvds_cq, width, 24, 4);

/* list.h */
CONSTANT(LIST_STATE_DELETED, 2);
RECORD(list_link, 32);
FIELD(list_link, hook, 0, 8);
FIELD(list_link, state, 8, 1);
FIELD(list_link, reserved, 9, 1);
FIELD(list_link, iters, 10, 2);
FIELD(list_link, prev, 16, 8);
FIELD(list_link, next, 24, 8);

/* keyed_hash.h */
RECORD(hashlist, 40);
FIELD(hashlist, size, 0, 4);
FIELD(hashlist, hash_func, 8, 8);
FIELD(hashlist, slot_func, 16, 8);
FIELD(hashlist, cmp_func, 24, 8);
FIELD(hashlist, lists, 32, 8);
RECORD(hash_entry, 24);
FIELD(hash_entry, key, 0, 8);
FIELD(hash_entry, value, 8, 8);
FIELD(hash_entry, metadata, 16, 8);

/* qvcq.h */
CONSTANT(QVCQ_OK, 0);
CONSTANT(QVCQ_ERROR, -1);
CONSTANT(QVCQ_TOO_LONG, 1);
CONSTANT(QVCQ_EMPTY, 3);
RECORD(qvcq_entry, 16);
FIELD(qvcq_entry, length, 0, 4);
FIELD(qvcq_entry, data, 8, 8);
RECORD(qvcq, 40);
FIELD(qvcq, head, 0, 4);
FIELD(qvcq, tail, 4, 4);
FIELD(qvcq, blocks, 8, 4);
FIELD(qvcq, block_size, 12, 4);
FIELD(qvcq, size, 16, 4);
FIELD(qvcq, storage, 24, 8);
FIELD(qvcq, entries, 32, 8);

/* qv_tree.h */
CONSTANT(QV_TREE_INORDER, 0);
CONSTANT(QV_TREE_PREORDER, 1);
CONSTANT(QV_TREE_POSTORDER, 2);
RECORD(qv_tree, 32);
FIELD(qv_tree, count, 0, 4);
FIELD(qv_tree, item, 8, 8);
FIELD(qv_tree, left, 16, 8);
FIELD(qv_tree, right, 24, 8);

/* aa.h */
RECORD(AA_node, 24);
FIELD(AA_node, level, 0, 8);
FIELD(AA_node, left, 8, 8);
FIELD(AA_node, right, 16, 8);

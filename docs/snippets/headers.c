/* What the headers of C show, compiled: each piece (see snippets.py) with the least around it that it
 * stands for. */
#include <qvds/qvds.h>
#include <stdlib.h>
#include <unistd.h>

int32_t by_rank(const void *a, const void *b), by_name(const void *a, const void *b);

/* node.h */
void one_link(void) {
#include "node.h/1"
}
#define job job_with_two_links
#include "node.h/2"
#include "node.h/3"
void two_links(qvds_hash table, struct job wanted, qvds_compare_fn compare_links) {
#include "node.h/4"
}
#undef job

/* hash.h */
#include "hash.h/1"
#include "hash.h/3"
void lookup(qvds_hash_fn hash_user, struct user *ada, struct user wanted,
            qvds_compare_fn compare_users) {
#include "hash.h/2"
#include "hash.h/4"
}

/* heap.h */
#include "heap.h/2"
#include "heap.h/3"
void ranks(struct job *job, int higher, int lower, uint32_t n) {
    enum { CAPACITY = 100 };
#include "heap.h/1"
    heap.swap = swap_jobs;
#include "heap.h/4"
#include "heap.h/5"
#include "heap.h/6"
#include "heap.h/7"
}

/* cq.h */
void expiry(qvds_cq cq, uint32_t last, uint32_t now, uint32_t width, uint32_t size,
            qvds_visit_fn fire, void *ctx) {
#include "cq.h/1"
}

/* list.h */
void owning(void *job, list_visit_fn run, void look_at(void *hook)) {
#include "list.h/1"
#include "list.h/2"
}

/* keyed_hash.h */
#include "keyed_hash.h/1"
void keyed(hashlist *table, struct pair *pair, int32_t key) {
#include "keyed_hash.h/2"
}

/* qvcq.h */
void in_place(qvcq ring, int fd) {
#include "qvcq.h/1"
}

/* qv_tree.h */
void median(void *item) {
#include "qv_tree.h/1"
#include "qv_tree.h/2"
}

/* aa.h */
void node_and_payload(void) {
#include "aa.h/1"
}

// The records of C in gdb. The comments are what gdb is asked and what it answers once the program
// has come to stop(); run.py compares it. 0x? is any address, and line breaks don't count.

#define _DEFAULT_SOURCE

#include <qvds/qvds.h>

#include <stdlib.h>
#include <sys/mman.h>

struct job {
    qvds_node node;
    AA_node aa;
    qvds_cq_entry entry;
    qvds_node in_table;
    int priority;
};

struct word {
    AA_node node;
    int count;
};

struct job jobs[6], elsewhere[6];
struct job in_cycle[3], lost[3], stale[3], before_freed, in_wrong_bucket[2], late;
struct word wrong[3] = {{{1, NULL, NULL}, 1}, {{2, NULL, NULL}, 0}, {{1, NULL, NULL}, 2}};
void *unmapped;

static int32_t by_priority(const void *a, const void *b) {
    const int x = ((const struct job *)a)->priority, y = ((const struct job *)b)->priority;
    return (x > y) - (x < y);
}
static int32_t by_count(const void *a, const void *b) {
    const int x = ((const struct word *)a)->count, y = ((const struct word *)b)->count;
    return (x > y) - (x < y);
}
static size_t hash_job(const void *link) {
    return (size_t)((const struct job *)((const char *)link - offsetof(struct job, in_table)))
        ->priority;
}

void stop(void);
__attribute__((noinline)) void stop(void) {
    __asm__ volatile("" ::: "memory");
}

// -- chains ---------------------------------------------------------------------------------------

qvds_list none;
// (gdb) print none
// qvds_list with no elements
// (gdb) qvds check none
// qvds_list with no elements
// fifo.h: I1 and I2 hold

qvds_list one;
// (gdb) print one
// qvds_list with 1 element = {0x? <elsewhere>}
// (gdb) qvds check one as fifo2
// qvds_list with 1 element
// fifo2.h: I1, I2 and I3 hold

qvds_list many;
// (gdb) print many
// qvds_list with 6 elements = {0x? <jobs>, 0x? <jobs+96>, 0x? <jobs+192>, 0x? <jobs+288>, 0x?
//     <jobs+384>, 0x? <jobs+480>}
// (gdb) qvds foreach many as struct job : print $e->priority
// 0
// 10
// 20
// 30
// 40
// 50
// (gdb) qvds find many as struct job : $e->priority > 50 && $i < 53
// 0 of 6 elements
// (gdb) with print elements 2 -- print many
// qvds_list with 6 elements = {0x? <jobs>, 0x? <jobs+96>...}
// (gdb) qvds check many as fifo2
// qvds_list with 6 elements
// fifo2.h: I1, I2 and I3 hold

qvds_list cycle;
// (gdb) print cycle
// qvds_list with 3 elements; 0x? <in_cycle+96> is met twice = {0x? <in_cycle>, 0x?
//     <in_cycle+96>, 0x? <in_cycle+192>}
// (gdb) qvds check cycle
// qvds_list with 3 elements; 0x? <in_cycle+96> is met twice
// fifo.h: I2 does not hold at 0x? <in_cycle+96>: following next from top reaches bottom, whose
//     next is null (it is met twice)
// (gdb) qvds foreach cycle as struct job : print $e->priority
// 0
// 0
// 0
// 0x? <in_cycle+96> is met twice

qvds_list lost_tail, stale_prev, freed;
// (gdb) qvds check lost_tail
// qvds_list with 2 elements
// fifo.h: I2 does not hold at 0x? <lost+96>: following next from top reaches bottom, whose
//     next is null
// (gdb) qvds check stale_prev as fifo2
// qvds_list with 3 elements
// fifo2.h: I3 does not hold at 0x? <stale+96>: the prev of an element's next is the element
//     itself
// (gdb) print freed
// qvds_list with 1 element; 0x? can't be read = {0x? <before_freed>}
// (gdb) qvds check freed
// qvds_list with 1 element; 0x? can't be read
// fifo.h: I2 does not hold at 0x?: following next from top reaches bottom, whose next is null
//     (it can't be read)

qvds_lifo stack;
// (gdb) print stack
// qvds_lifo with 2 elements = {0x? <elsewhere+192>, 0x? <elsewhere+96>}
// (gdb) qvds check stack
// qvds_lifo with 2 elements
// lifo.h: I1 holds

struct job *handle;
// (gdb) qvds foreach handle : print $e->priority
// 0
// 0
// 0
// (gdb) qvds check handle
// (struct job *) 0x? <elsewhere+384> with 3 elements, the handle on [1]
// sloppy.h: I1, I2 and I3 hold

qvds_node_iter cursor, done;
// (gdb) print cursor
// at 0x? <jobs+96>
// (gdb) print done
// at the end

// -- tables ---------------------------------------------------------------------------------------

void *buckets[8];
qvds_hash table;
// (gdb) print table
// qvds_hash with 6 elements in 8 buckets (4 empty, 2 of 1, 2 of 2) = {[0] = 0x? <jobs+456>,
//     [0] = 0x? <jobs+72>, [2] = 0x? <jobs+552>, [2] = 0x? <jobs+168>, [4] = 0x? <jobs+264>,
//     [6] = 0x? <jobs+360>}
// (gdb) qvds foreach table as struct job.in_table : print $e->priority
// 40
// 0
// 50
// 10
// 20
// 30
// (gdb) qvds check table as hash2
// qvds_hash with 6 elements in 8 buckets (4 empty, 2 of 1, 2 of 2)
// hash2.h: I1 and I3 hold
// hash2.h: I2 was not looked at: that takes calls of the hash callback (-call)
// (gdb) qvds check -call table
// qvds_hash with 6 elements in 8 buckets (4 empty, 2 of 1, 2 of 2)
// hash.h: I1 and I2 hold
void *other_buckets[8];
qvds_hash misfiled;
// (gdb) qvds check -call misfiled
// qvds_hash with 2 elements in 8 buckets (7 empty, 1 of 2)
// hash.h: I2 does not hold at 0x? <in_wrong_bucket+72>: every element is in the bucket that
//     its hash names

// -- by rank and by time --------------------------------------------------------------------------

void *slots[8];
qvds_heap heap;
// (gdb) print heap
// qvds_heap with 6 items of at most 7 = {[1] = 0x? <jobs+480>, [2] = 0x? <jobs+288>, [3] = 0x?
//     <jobs+384>, [4] = 0x? <jobs>, [5] = 0x? <jobs+192>, [6] = 0x? <jobs+96>}
// (gdb) qvds tree heap as struct job : $e->priority
// [1] 0x? <jobs+480> 50
//     L [2] 0x? <jobs+288> 30
//         L [4] 0x? <jobs> 0
//         R [5] 0x? <jobs+192> 20
//     R [3] 0x? <jobs+384> 40
//         L [6] 0x? <jobs+96> 10
// (gdb) qvds check -call heap
// qvds_heap with 6 items of at most 7
// heap.h: I1 and I2 hold
// (gdb) qvds check -call unheaped
// qvds_heap with 3 items of at most 7
// heap.h: I2 does not hold at 0x? <jobs+96>: the item in slot 2 ranks above that in 1
void *other_slots[8];
qvds_heap unheaped;

qvds_cq_entry *days[4];
qvds_cq calendar;
// (gdb) print calendar
// qvds_cq with 6 entries in 4 days of width 10 = {[day 0, 7] = 0x? <jobs+136>, [day 0, 0] =
//     0x? <jobs+40>, [day 1, 14] = 0x? <jobs+232>, [day 2, 28] = 0x? <jobs+424>, [day 2, 21] =
//     0x? <jobs+328>, [day 3, 35] = 0x? <jobs+520>}
// (gdb) qvds check calendar
// qvds_cq with 6 entries in 4 days of width 10
// cq.h: I1, I2 and I3 hold
qvds_cq_entry *other_days[4];
qvds_cq misdated;
// (gdb) qvds check misdated
// qvds_cq with 1 entry in 4 days of width 10
// cq.h: I1 does not hold at 0x? <late+40>: it expires at 35, but is filed under day 2

// -- owning containers ----------------------------------------------------------------------------

list_link *no_links, *walked;
// (gdb) print no_links
// (list_link *) 0x0 with no live links
// (gdb) print walked
// (list_link *) 0x? with 2 live links, 1 deleted, 1 walk in progress = {[0] = 0x? <jobs>, [1,
//     deleted] = 0x? <jobs+96>, [2] = 0x? <jobs+192>}
// (gdb) print *walked
// {hook = 0x? <jobs>, state = 0 '\000', reserved = 1 '\001', iters = 1, prev = 0x0, next =
//     0x?}
// (gdb) qvds foreach walked as struct job : print $e->priority
// 0
// 20
// (gdb) qvds check walked
// (list_link *) 0x? with 2 live links, 1 deleted, 1 walk in progress
// list.h: I1, I2 and I4 hold
// list.h: I3 was not looked at: iters is 1, but gdb can't count the walks
list_link *forgotten;
// (gdb) qvds check forgotten
// (list_link *) 0x? with no live links, 1 deleted
// list.h: I4 does not hold at 0x?: deleted links exist only while a walk is in progress

hashlist *names;
// (gdb) print *names
// hashlist with 3 entries in 4 buckets (1 empty, 3 of 1) = {[10] = 0x? <jobs>, [20] = 0x?
//     <jobs+96>, [30] = 0x? <jobs+192>}
// (gdb) qvds foreach names as struct job : print $key
// 10
// 20
// 30
// (gdb) qvds check -call names
// hashlist with 3 entries in 4 buckets (1 empty, 3 of 1)
// keyed_hash.h: I1, I2 and I3 hold

qvcq ring, empty_ring;
// (gdb) print ring
// qvcq with 2 messages in 3 blocks of 8 bytes = {"older", "new\n"}
// (gdb) print empty_ring
// qvcq with no messages in 3 blocks of 8 bytes
// (gdb) qvds check ring
// qvcq with 2 messages in 3 blocks of 8 bytes
// qvcq.h: I1, I2 and I3 hold

// -- trees ----------------------------------------------------------------------------------------

AA_node *no_nodes, *root;
// (gdb) print (AA_node *)8
// (AA_node *) 0x? with no nodes; 0x? can't be read
// (gdb) print (list_link *)8
// (list_link *) 0x? with no live links; 0x? can't be read
// (gdb) print (qv_tree *)8
// (qv_tree *) 0x? with no nodes; 0x? can't be read
// (gdb) qvds tree (AA_node *)8
// 0x? can't be read
// (gdb) print no_nodes
// (AA_node *) 0x0 with no nodes
// (gdb) print root
// (AA_node *) 0x? <words+96> with 7 nodes, height 3 = {[level 1] = 0x? <words>, [level 2] =
//     0x? <words+32>, [level 1] = 0x? <words+64>, [level 3] = 0x? <words+96>, [level 1] = 0x?
//     <words+128>, [level 2] = 0x? <words+160>, [level 1] = 0x? <words+192>}
// (gdb) qvds tree root as struct word : $e->count
// [level 3] 0x? <words+96> 3
//     L [level 2] 0x? <words+32> 1
//         L [level 1] 0x? <words> 0
//         R [level 1] 0x? <words+64> 2
//     R [level 2] 0x? <words+160> 5
//         L [level 1] 0x? <words+128> 4
//         R [level 1] 0x? <words+192> 6
// (gdb) qvds check root
// (AA_node *) 0x? <words+96> with 7 nodes, height 3
// aa.h: I2 holds
// aa.h: I1: no node is met twice; whether they are in order was not looked at: that takes
//     calls of the compare callback (-compare)
// (gdb) qvds check -compare by_count root
// (AA_node *) 0x? <words+96> with 7 nodes, height 3
// aa.h: I1 and I2 hold
struct word *typed_root, words[7];
// (gdb) qvds find typed_root : $e->count > 5
// [6] 0x? <words+192>: {node = {level = 1, left = 0x0, right = 0x0}, count = 6}
// 1 of 7 elements
AA_node *swapped, *looped, swapped_nodes[3];
// (gdb) qvds check -compare by_count swapped
// (AA_node *) 0x? <wrong+32> with 3 nodes, height 2
// aa.h: I1 does not hold at 0x? <wrong+32>: in order, each node compares above the one before
//     it; no two are equal
// (gdb) print looped
// (AA_node *) 0x? <swapped_nodes> with 3 nodes, height 2; 0x? <swapped_nodes> is met twice =
//     {[level 1] = 0x? <swapped_nodes+24>, [level 2] = 0x? <swapped_nodes>, [level 1] = 0x?
//     <swapped_nodes+48>}
// (gdb) qvds check looped
// (AA_node *) 0x? <swapped_nodes> with 3 nodes, height 2; 0x? <swapped_nodes> is met twice
// aa.h: I1 does not hold at 0x? <swapped_nodes>: in order, each node compares above the one
//     before it; no two are equal (it is met twice)

qv_tree *no_ranks = &qv_tree_null, *ranks, *miscounted;
// (gdb) print no_ranks
// (qv_tree *) 0x? <qv_tree_null> with no nodes
// (gdb) print ranks
// (qv_tree *) 0x? with 5 nodes, height 3 = {[0] = 0x? <jobs>, [1] = 0x? <jobs+96>, [2] = 0x?
//     <jobs+192>, [3] = 0x? <jobs+288>, [4] = 0x? <jobs+384>}
// (gdb) print *ranks
// {count = 5, item = 0x? <jobs+192>, left = 0x?, right = 0x?}
// (gdb) qvds tree ranks as struct job : $e->priority
// [count 5] 0x? <jobs+192> 20
//     L [count 2] 0x? <jobs> 0
//         R [count 1] 0x? <jobs+96> 10
//     R [count 2] 0x? <jobs+288> 30
//         R [count 1] 0x? <jobs+384> 40
// (gdb) qvds check -compare by_priority ranks
// (qv_tree *) 0x? with 5 nodes, height 3
// qv_tree.h: I1, I2 and I3 hold
// (gdb) qvds check miscounted
// (qv_tree *) 0x? with 5 nodes, height 5
// qv_tree.h: I1 does not hold at 0x?: count is 1 plus the counts of left and right

// -- the program ----------------------------------------------------------------------------------

static qvds_list queue_of(struct job *first, int count) {
    qvds_list queue;
    qvds_fifo_init(&queue);
    for (int i = 0; i < count; ++i)
        qvds_fifo2_append(&queue, &first[i]);
    return queue;
}

static void make_chains(void) {
    qvds_fifo_init(&none);
    one = queue_of(&elsewhere[0], 1);
    many = queue_of(jobs, 6);
    cycle = queue_of(in_cycle, 3);
    in_cycle[2].node.next = &in_cycle[1];
    lost_tail = queue_of(lost, 3);
    lost[1].node.next = NULL;
    stale_prev = queue_of(stale, 3);
    stale[2].node.prev = &stale[0];
    freed = queue_of(&before_freed, 1);
    before_freed.node.next = unmapped;
    qvds_lifo_push(&stack, &elsewhere[1]);
    qvds_lifo_push(&stack, &elsewhere[2]);
    for (int i = 3; i < 6; ++i)
        qvds_sloppy_append(&handle, &elsewhere[i]);
    handle = &elsewhere[4];
    qvds_node_iter_init(&cursor, &many);
    qvds_node_iter_next(&cursor);
    qvds_node_iter_init(&done, &none);
}

static void make_tables(void) {
    qvds_hash_init(&table, buckets, hash_job, 8);
    for (int i = 0; i < 6; ++i)
        qvds_hash2_store(&table, &jobs[i].in_table);
    qvds_hash_init(&misfiled, other_buckets, hash_job, 8);
    for (int i = 0; i < 2; ++i)
        qvds_hash_store(&misfiled, &in_wrong_bucket[i].in_table);
    in_wrong_bucket[0].priority = 3;
}

static void make_queues(void) {
    qvds_heap_init(&heap, slots, by_priority, NULL, 7);
    qvds_heap_init(&unheaped, other_slots, by_priority, NULL, 7);
    for (int i = 0; i < 6; ++i)
        qvds_heap_insert(&heap, &jobs[i]);
    for (int i = 0; i < 3; ++i)
        other_slots[++unheaped.count] = &jobs[i];
    qvds_cq_init(&calendar, days, 4, 10);
    for (int i = 0; i < 6; ++i) {
        jobs[i].entry.expires = (uint32_t)(7 * i);
        qvds_cq_insert(&calendar, &jobs[i].entry);
    }
    qvds_cq_init(&misdated, other_days, 4, 10);
    late.entry.expires = 25;
    qvds_cq_insert(&misdated, &late.entry);
    late.entry.expires = 35;
}

static void make_owning(void) {
    static int32_t keys[] = {10, 20, 30};
    for (int i = 0; i < 3; ++i)
        list_append(&jobs[i], &walked);
    list_iter_set(walked);
    list_del_link(&jobs[1], &walked);
    list_append(&jobs[0], &forgotten);
    forgotten->state = LIST_STATE_DELETED;
    names = hash_create(4, hash_int, NULL, hash_intcmp);
    for (int i = 0; i < 3; ++i)
        hash_add(names, &keys[i], &jobs[i]);
    qvcq_init(&ring, 8, 3);
    qvcq_init(&empty_ring, 8, 3);
    qvcq_copyto_queue(&ring, "oldest", 6);
    qvcq_copyto_queue(&ring, "older", 5);
    qvcq_copyto_queue(&ring, "new\n", 4);
}

static void make_trees(void) {
    AA_node *added;
    for (int i = 0; i < 7; ++i) {
        words[i].count = i;
        added = AA_insert(root, &words[i], by_count, NULL);
        root = added;
    }
    typed_root = (struct word *)root;
    wrong[1].node.left = &wrong[0].node;
    wrong[1].node.right = &wrong[2].node;
    swapped = &wrong[1].node;
    swapped_nodes[0] = (AA_node){2, &swapped_nodes[1], &swapped_nodes[2]};
    swapped_nodes[1].level = swapped_nodes[2].level = 1;
    swapped_nodes[2].right = &swapped_nodes[0];
    looped = &swapped_nodes[0];
    ranks = miscounted = &qv_tree_null;
    for (int i = 0; i < 5; ++i) {
        ranks = qv_tree_insert(ranks, by_priority, &jobs[(i + 2) % 5]);
        miscounted = qv_tree_insert(miscounted, by_priority, &jobs[i]);
    }
    miscounted->right->count = 7;
}

int main(void) {
    unmapped = mmap(NULL, 4096, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    munmap(unmapped, 4096);
    for (int i = 0; i < 6; ++i)
        jobs[i].priority = 10 * i;
    make_chains();
    make_tables();
    make_queues();
    make_owning();
    make_trees();
    stop();
}

// The classes of C++ in gdb, asked and answered as the records of C in records.c.

#include <qvds/qvds.hpp>

#include <chrono>
#include <cstring>

struct job {
    int priority;
    qvds_node node;
};
struct page {
    page *next;
    int number;
};
struct user {
    unsigned id;
    qvds_node link;
};
struct task {
    unsigned slot;
    int rank;
};
struct timer {
    int id;
    qvds_cq_entry entry{};
};
struct word {
    int count;
    AA_node node;
};
struct named {
    long length;
};
struct tagged {
    qvds_node tag;
};
struct label : named, tagged {
    int number;
};
namespace {
template <class T>
struct cell {
    T value;
    qvds_node links[2];
};
} // namespace

void stop();
[[gnu::noinline]] void stop() {
    asm volatile("" ::: "memory");
}

job jobs[3];
page pages[2];
user users[3];
task tasks[3];
timer timers[3];
word words[3];
label labels[2];
cell<int> cells[2];

qvds::fifo2<&job::node> none, jobs_in_order, broken;
// (gdb) print none
// qvds::fifo2 with no elements
// (gdb) print jobs_in_order
// qvds::fifo2 with 3 elements = {{priority = 10, node = {next = 0x? <jobs+32>, prev = 0x0}},
//     {priority = 20, node = {next = 0x? <jobs+56>, prev = 0x? <jobs+8>}}, {priority = 30,
//     node = {next = 0x0, prev = 0x? <jobs+32>}}}
// (gdb) with print elements 1 -- print jobs_in_order
// qvds::fifo2 with 3 elements = {{priority = 10, node = {next = 0x? <jobs+32>, prev =
//     0x0}}...}
// (gdb) qvds foreach jobs_in_order : print $e->priority
// 10
// 20
// 30
// (gdb) qvds find jobs_in_order : $e->priority == 20
// [1] 0x? <jobs+24>: {priority = 20, node = {next = 0x? <jobs+56>, prev = 0x? <jobs+8>}}
// 1 of 3 elements
// (gdb) qvds check jobs_in_order
// qvds::fifo2 with 3 elements
// fifo2.h: I1, I2 and I3 hold
// (gdb) qvds check broken
// qvds::fifo2 with 2 elements
// fifo2.h: I3 does not hold at 0x? <main::ring_of_jobs>: the prev of an element's next is the
//     element itself
qvds::fifo2_view<&job::node> seen(jobs_in_order.c_record());
// (gdb) qvds foreach seen : print $e->priority
// 10
// 20
// 30
// (gdb) print at_second
// at 0x? <jobs+24> = {element = {priority = 20, node = {next = 0x? <jobs+56>, prev = 0x?
//     <jobs+8>}}}

qvds::fifo2<&job::node>::iterator at_second;

qvds::lifo<&page::next> free_pages;
// (gdb) print free_pages
// qvds::lifo with 2 elements = {{next = 0x? <pages>, number = 0}, {next = 0x0, number = 0}}
qvds::fifo<&page::next> no_pages;
// (gdb) print no_pages
// qvds::fifo with no elements
qvds::sloppy<&job::node> siblings;
// (gdb) print siblings
// qvds::sloppy with 2 elements, the handle on [0] = {{priority = 0, node = {next = 0x?
//     <main::sibling+32>, prev = 0x0}}, {priority = 0, node = {next = 0x0, prev = 0x?
//     <main::sibling+8>}}}
// (gdb) qvds check siblings
// qvds::sloppy with 2 elements, the handle on [0]
// sloppy.h: I1, I2 and I3 hold

// What a qvds::hook names: clang++ does not write down which member that is.
qvds::fifo2<qvds::hook<label, &tagged::tag>> tags;
// (g++) print tags
// qvds::fifo2 with 2 elements = {{<named> = {length = 0}, <tagged> = {tag = {next = 0x?
//     <labels+40>, prev = 0x0}}, number = 0}, {<named> = {length = 0}, <tagged> = {tag = {next
//     = 0x0, prev = 0x? <labels+8>}}, number = 0}}
// (clang++) print tags
// qvds::fifo2 with 2 elements = {0x? <labels+8>, 0x? <labels+40>}
// (gdb) qvds foreach tags as label.tag : print $e->number
// 0
// 0
qvds::fifo2<qvds::hook<cell<int>, &cell<int>::links, 1>> column;
// (g++) print column
// qvds::fifo2 with 2 elements = {{value = 0, links = {{next = 0x0, prev = 0x0}, {next = 0x?
//     <cells+64>, prev = 0x0}}}, {value = 0, links = {{next = 0x0, prev = 0x0}, {next = 0x0,
//     prev = 0x? <cells+24>}}}}
// (clang++) print column
// qvds::fifo2 with 2 elements = {0x? <cells+24>, 0x? <cells+64>}

qvds::buckets<4> array, larger;
// (gdb) print array
// 4 slots = {[0] = 0x? <users+8>, [2] = 0x? <users+56>, [3] = 0x? <users+32>}
qvds::hash2<&user::link, &user::id> table(array);
// (gdb) print table
// qvds::hash2 with 3 elements in 4 buckets (1 empty, 3 of 1) = {[0] = {id = 0, link = {next =
//     0x0, prev = 0x? <array>}}, [2] = {id = 2, link = {next = 0x0, prev = 0x? <array+16>}},
//     [3] = {id = 1, link = {next = 0x0, prev = 0x? <array+24>}}}
// (gdb) qvds check -call table
// qvds::hash2 with 3 elements in 4 buckets (1 empty, 3 of 1)
// hash2.h: I1, I2 and I3 hold
void *larger_array[8], *small_array[4];
qvds::growing_hash<&user::link, &user::id> growing(small_array);
// (gdb) print growing
// qvds::hash (growing) with 2 elements in 12 buckets (10 empty, 2 of 1) = {[2] = {id = 8, link
//     = {next = 0x0, prev = 0x0}}, [3] = {id = 9, link = {next = 0x0, prev = 0x0}}}
// (gdb) qvds check growing
// qvds::hash (growing) with 2 elements in 12 buckets (10 empty, 2 of 1)
// hash.h: I1 holds
// hash.h: I2 was not looked at: that takes calls of the hash callback (-call)

qvds::heap_slots<4> slots;
qvds::heap<task, &task::rank, &task::slot> heap(slots), misplaced;
// (gdb) print heap
// qvds::heap with 3 items of at most 4 = {[1] = {slot = 1, rank = 2}, [2] = {slot = 2, rank =
//     0}, [3] = {slot = 3, rank = 1}}
// (gdb) qvds tree heap : $e->rank
// [1] 0x? <tasks+16> 2
//     L [2] 0x? <tasks> 0
//     R [3] 0x? <tasks+8> 1
// (gdb) qvds check -call heap
// qvds::heap with 3 items of at most 4
// heap.h: I1, I2 and I3 hold
// (gdb) qvds check misplaced
// qvds::heap with 1 item of at most 1
// heap.h: I3 does not hold at 0x? <main::out_of_place>: the slot member of an element is the
//     number of its slot

qvds::days<4> days;
using timer_calendar = qvds::calendar<&timer::entry>;
timer_calendar calendar(days, std::chrono::milliseconds(10), timer_calendar::time_point());
// (gdb) print calendar
// qvds::calendar with 3 entries in 4 days of width 10 = {[day 0, 0] = {id = 0, entry = {next =
//     0x0, prev = 0x0, user = 0x0, expires = 0}}, [day 1, 15] = {id = 1, entry = {next = 0x0,
//     prev = 0x0, user = 0x0, expires = 15}}, [day 3, 30] = {id = 2, entry = {next = 0x0, prev
//     = 0x0, user = 0x0, expires = 30}}}
// (gdb) qvds foreach calendar : print $e->id
// 0
// 1
// 2
// (gdb) qvds check calendar
// qvds::calendar with 3 entries in 4 days of width 10
// cq.h: I1, I2 and I3 hold

qvds::list<job> listed;
// (gdb) print listed
// qvds::list with 1 live link = {[0] = {priority = 10, node = {next = 0x? <jobs+32>, prev =
//     0x0}}}
struct text_hash {
    size_t operator()(const char *text) const { return std::strlen(text); }
};
struct text_equal {
    bool operator()(const char *a, const char *b) const { return std::strcmp(a, b) == 0; }
};
using job_table = qvds::keyed_hash<const char *, job, text_hash, text_equal>;
job_table moved_from = job_table::make(2), by_name = std::move(moved_from);
// (gdb) print by_name
// qvds::keyed_hash with 2 entries in 2 buckets (1 empty, 1 of 2) = {[0x? "third"] = {priority
//     = 30, node = {next = 0x0, prev = 0x? <jobs+32>}}, [0x? "first"] = {priority = 10, node =
//     {next = 0x? <jobs+32>, prev = 0x0}}}
// (gdb) print moved_from
// qvds::keyed_hash without a table
// (gdb) qvds check -call by_name
// qvds::keyed_hash with 2 entries in 2 buckets (1 empty, 1 of 2)
// keyed_hash.h: I1, I2 and I3 hold

qvds::ring *messages;
// (gdb) print *messages
// qvds::ring with 1 message in 3 blocks of 8 bytes = {"hello"}
qvds::ring_of<task> *records;
// (gdb) print *records
// qvds::ring_of with 2 messages in 3 blocks of 8 bytes = {{slot = 3, rank = 1}, {slot = 1,
//     rank = 2}}
// (gdb) qvds check *records
// qvds::ring_of with 2 messages in 3 blocks of 8 bytes
// qvcq.h: I1, I2 and I3 hold

qvds::counted_tree<&job::priority> ranks;
// (gdb) print ranks
// qvds::counted_tree with 3 nodes, height 3 = {[0] = {priority = 10, node = {next = 0x?
//     <jobs+32>, prev = 0x0}}, [1] = {priority = 20, node = {next = 0x? <jobs+56>, prev = 0x?
//     <jobs+8>}}, [2] = {priority = 30, node = {next = 0x0, prev = 0x? <jobs+32>}}}
// (gdb) qvds tree ranks : $e->priority
// [count 3] 0x? <jobs> 10
//     R [count 2] 0x? <jobs+24> 20
//         R [count 1] 0x? <jobs+48> 30
// (gdb) qvds check ranks
// qvds::counted_tree with 3 nodes, height 3
// qv_tree.h: I1 and I3 hold
// qv_tree.h: I2 was not looked at: that takes calls of the compare callback (-compare)
qvds::aa_tree<&word::node, &word::count> index_of_words;
// (gdb) print index_of_words
// qvds::aa_tree with 3 nodes, height 2 = {[level 1] = {count = 0, node = {level = 1, left =
//     0x0, right = 0x0}}, [level 2] = {count = 1, node = {level = 2, left = 0x? <words+8>,
//     right = 0x? <words+72>}}, [level 1] = {count = 2, node = {level = 1, left = 0x0, right =
//     0x0}}}
// (gdb) qvds tree index_of_words : $e->count
// [level 2] 0x? <words+32> 1
//     L [level 1] 0x? <words> 0
//     R [level 1] 0x? <words+64> 2
// (gdb) qvds check index_of_words
// qvds::aa_tree with 3 nodes, height 2
// aa.h: I2 holds
// aa.h: I1: no node is met twice; whether they are in order was not looked at: that takes
//     calls of the compare callback (-compare)

int main() {
    for (int i = 0; i < 3; ++i) {
        jobs[i].priority = 10 * (i + 1);
        users[i].id = static_cast<unsigned>(i);
        tasks[i].rank = i;
        timers[i].id = i;
        words[i].count = i;
    }
    static job ring_of_jobs[2];
    static task out_of_place;
    static void *places[2];
    for (job &j : ring_of_jobs)
        broken.push_back(j);
    ring_of_jobs[1].node.prev = nullptr;
    for (job &j : jobs)
        jobs_in_order.push_back(j);
    at_second = jobs_in_order.iterator_to(jobs[1]);
    for (page &p : pages)
        free_pages.push(p);
    static job sibling[2];
    siblings.push_back(sibling[0]);
    siblings.push_back(sibling[1]);
    for (label &l : labels)
        tags.push_back(l);
    for (cell<int> &c : cells)
        column.push_back(c);
    for (user &u : users)
        table.store(u);
    static user more_users[2]{{8, {}}, {9, {}}};
    growing.store(more_users[0]);
    growing.store(more_users[1]);
    growing.grow(larger_array);
    for (task &t : tasks)
        static_cast<void>(heap.push(t));
    misplaced = qvds::heap<task, &task::rank, &task::slot>(places);
    static_cast<void>(misplaced.push(out_of_place));
    out_of_place.slot = 7;
    for (timer &t : timers)
        if (!calendar.schedule(t, std::chrono::milliseconds(15 * t.id)))
            return 1;
    static_cast<void>(listed.push_back(jobs[0]));
    static_cast<void>(by_name.add("first", jobs[0]));
    static_cast<void>(by_name.add("third", jobs[2]));
    auto text_ring = qvds::ring::make(8, 2);
    messages = &*text_ring;
    messages->push(std::as_bytes(std::span("hello", 5)));
    auto task_ring = qvds::ring_of<task>::make(2);
    records = &*task_ring;
    records->push(tasks[0]);
    records->push(tasks[1]);
    records->push(tasks[2]);
    for (job &j : jobs)
        static_cast<void>(ranks.insert(j));
    for (word &w : words)
        static_cast<void>(index_of_words.insert(w));
    stop();
}

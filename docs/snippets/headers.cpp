// What the headers of C++ show, compiled, and the C++ of the guide to walks: each piece (see
// snippets.py) with the least around it that it stands for.
#include <qvds/qvds.hpp>

#include <cstdio>
#include <cstring>
#include <functional>
#include <new>
#include <string>
#include <string_view>

// Functions of the reader's program, for elements of any type.
constexpr auto done = [](const auto &) { return true; }, cancelled = done, expired = done;
constexpr auto run = [](auto &&) {}, retire = run, prepare = run, reset = run, greet = run,
               print = run;

namespace lifo {
#include "lifo.hpp/1"
void pieces(job &a) {
#include "lifo.hpp/2"
}
} // namespace lifo

namespace fifo {
#include "fifo.hpp/1"
void pieces(job &a) {
#include "fifo.hpp/2"
}
} // namespace fifo

namespace fifo2 {
#include "fifo2.hpp/1"
void pieces(job &a) {
#include "fifo2.hpp/2"
#include "fifo2.hpp/3"
}
void owned() {
#include "dispose.hpp/1"
}
void checked(qvds_list &c_list) {
#include "check.hpp/1"
    qvds::fault found;
#include "check.hpp/2"
}
} // namespace fifo2

namespace sloppy {
#include "sloppy.hpp/1"
#include "sloppy.hpp/3"
void pieces(name &known, name &added) {
#include "sloppy.hpp/2"
#include "sloppy.hpp/4"
    aliases list;
#include "sloppy.hpp/5"
}
} // namespace sloppy

namespace hook {
#include "hook.hpp/1"
#include "hook.hpp/2"
#include "hook.hpp/3"
} // namespace hook

namespace hash {
#include "hash.hpp/1"
void pieces(user &ada) {
#include "hash.hpp/2"
#include "hash.hpp/3"
}
void growing(qvds::growing_hash<&user::next, &user::id> users, user &ada, std::span<void *> larger,
             size_t count) {
#include "hash.hpp/4"
}
} // namespace hash

namespace hash2 {
#include "hash2.hpp/1"
void pieces(user &ada) {
#include "hash2.hpp/2"
}
} // namespace hash2

namespace buckets {
using hash2::user;
#include "buckets.hpp/1"
} // namespace buckets

namespace heap {
#include "heap.hpp/1"
bool pieces(task &t, task &other) {
    constexpr bool no_room = false;
#include "heap.hpp/2"
    return true;
}
void from_c(qvds_heap *heap, task *t) {
#include "heap.hpp/3"
}
} // namespace heap

namespace cq {
template <class Time>
void sleep_until(Time time);
#include "cq.hpp/1"
#include "cq.hpp/2"
bool pieces(timer &t) {
    constexpr bool too_late = false;
#include "cq.hpp/3"
    return true;
}
} // namespace cq

namespace list {
struct session {
    bool dead() const;
    std::span<session> peers();
};
bool pieces(session &s) {
    constexpr bool out_of_memory = false;
#include "list.hpp/1"
    return true;
}
} // namespace list

namespace keyed_hash {
struct word {
    int count;
};
struct text_hash {
    size_t operator()(const char *text) const;
};
struct text_equal {
    bool operator()(const char *a, const char *b) const;
};
bool pieces(word &w) {
    constexpr bool out_of_memory = false;
#include "keyed_hash.hpp/1"
    return true;
}
} // namespace keyed_hash

namespace ring {
size_t fill(std::span<std::byte> bytes);
void bytes(std::string_view line) {
#include "qvcq.hpp/1"
}
void in_place(qvds::ring ring) {
#include "qvcq.hpp/2"
}
} // namespace ring

namespace counted_tree {
#include "qv_tree.hpp/1"
void pieces(score &s) {
#include "qv_tree.hpp/2"
#include "qv_tree.hpp/3"
}
} // namespace counted_tree

namespace aa {
#include "aa.hpp/1"
void pieces(word &w) {
#include "aa.hpp/2"
}
void later(int key, AA_node *gone, qvds_compare_fn compare_words) {
#include "aa.hpp/3"
#include "aa.hpp/4"
#include "aa.hpp/5"
}
} // namespace aa

namespace walking {
void abandoned(list_link *jobs, list_visit_fn run) {
#include "walking.md/1"
}
void abandoned(hashlist *table) {
#include "walking.md/2"
}
} // namespace walking

// The checkers of check.hpp, on C records. Each returns the first invariant that it finds broken and
// the link at which it is, and comes to an end whatever the links say, as long as they name
// elements.

#ifndef QVDS_CORE_CHECK_HPP
#define QVDS_CORE_CHECK_HPP

#include <qvds/aa.h>
#include <qvds/core/chain.hpp>
#include <qvds/core/hash2.hpp>
#include <qvds/cq.h>
#include <qvds/heap.h>
#include <qvds/keyed_hash.h>
#include <qvds/lifo.h>
#include <qvds/qv_tree.h>
#include <qvds/qvcq.h>

namespace qvds {

/// What a check finds: false if all invariants hold.
struct fault {
    int invariant = 0;             ///< its number in the family's C header, 0 if all hold
    const void *element = nullptr; ///< where it is broken; null for the record itself
    const char *text = "";         ///< the invariant

    explicit operator bool() const noexcept { return invariant != 0; }
    /// The same invariant, broken at the same element.
    friend bool operator==(const fault &a, const fault &b) noexcept {
        return a.invariant == b.invariant && a.element == b.element;
    }
};

namespace core {

// Tells when a walk along single links has come round. It remembers one element, and a later one
// after each 1, 2, 4, ... steps: as soon as that lies on the ring, and the ring is no longer than
// the steps to come, the walk meets it again.
class lap {
  public:
    bool closes(const void *elem) noexcept {
        if (elem == mark_)
            return true;
        if (--left_ == 0) {
            mark_ = elem;
            left_ = length_ *= 2;
        }
        return false;
    }

  private:
    const void *mark_ = nullptr;
    size_t length_ = 1, left_ = 1;
};

QVDS_HIDDEN inline fault check_lifo(const qvds_lifo &lifo) noexcept {
    lap lap;
    for (const void *elem = top_of(&lifo); elem != nullptr; elem = next_of(elem))
        if (lap.closes(elem))
            return {1, elem, "following next from top reaches every element once"};
    return {};
}

QVDS_HIDDEN inline fault check_fifo(const qvds_list &fifo) noexcept {
    const void *const bottom = bottom_of(&fifo);
    if ((top_of(&fifo) == nullptr) != (bottom == nullptr))
        return {1, nullptr, "top and bottom are both null exactly when the queue is empty"};
    lap lap;
    const void *last = nullptr;
    for (const void *elem = top_of(&fifo); elem != nullptr && last != bottom;) {
        if (lap.closes(elem))
            return {2, elem, "following next from top reaches every element once"};
        last = elem;
        elem = next_of(elem);
    }
    if (last != bottom || (last != nullptr && next_of(last) != nullptr))
        return {2, last, "following next from top reaches bottom, whose next is null"};
    return {};
}

// A walk whose back links agree can't come round: the first element has none, and every other has
// one predecessor.
QVDS_HIDDEN inline fault check_fifo2(const qvds_list &fifo) noexcept {
    const void *const top = top_of(&fifo);
    const void *const bottom = bottom_of(&fifo);
    if ((top == nullptr) != (bottom == nullptr))
        return {1, nullptr, "top and bottom are both null exactly when the queue is empty"};
    if (top == nullptr)
        return {};
    if (prev_of(top) != nullptr)
        return {2, top, "the prev of top is null"};
    if (next_of(bottom) != nullptr)
        return {2, bottom, "the next of bottom is null"};
    for (const void *elem = top; elem != bottom; elem = next_of(elem)) {
        const void *const successor = next_of(elem);
        if (successor == nullptr || prev_of(successor) != elem)
            return {3, elem, "the prev of an element's next is the element itself"};
    }
    return {};
}

// The list of an element, or of a null handle. A ring whose links agree has no first element.
QVDS_HIDDEN inline fault check_sloppy(const void *handle) noexcept {
    constexpr const char *mutual = "the prev of an element's next is the element itself";
    if (handle == nullptr)
        return {};
    for (const void *elem = handle; const void *const before = prev_of(elem); elem = before) {
        if (next_of(before) != elem)
            return {2, before, mutual};
        if (before == handle)
            return {1, handle, "the first element's prev and the last element's next are null"};
    }
    for (const void *elem = handle; const void *const behind = next_of(elem); elem = behind)
        if (prev_of(behind) != elem)
            return {2, elem, mutual};
    return {};
}

// Every element must be where a search for its hash, hash_of(link), looks. I3 is that of hash2.h.
template <class Links, class Record, class HashOf>
QVDS_HIDDEN inline fault check_table(const Record &table, HashOf &&hash_of) {
    for (void **bucket = first_bucket(&table); bucket != nullptr;
         bucket = next_bucket(&table, bucket)) {
        lap lap;
        void *predecessor = bucket;
        for (void *elem = next_of(predecessor); elem != nullptr; elem = next_of(elem)) {
            if (lap.closes(elem))
                return {1, elem, "following next from a bucket reaches every element once"};
            if (bucket_of(&table, hash_of(elem)) != bucket)
                return {2, elem, "an element is in the bucket that its hash names"};
            if (Links::has_back_links && prev_of(elem) != predecessor)
                return {3, elem, "prev names the word that points at the element"};
            predecessor = elem;
        }
    }
    return {};
}

// Ask the table's own hash.
QVDS_HIDDEN inline fault check_hash(const qvds_hash &table) {
    return check_table<hash_links>(table, table.hash);
}
QVDS_HIDDEN inline fault check_hash2(const qvds_hash &table) {
    return check_table<hash2_links>(table, table.hash);
}

// ranks_below(a, b) is asked once for each item but the first.
template <class RanksBelow>
QVDS_HIDDEN inline fault check_heap(const qvds_heap &heap, RanksBelow &&ranks_below) {
    if (heap.count > heap.capacity)
        return {1, nullptr, "count items stand in slots 1 to count"};
    for (size_t k = 2; k <= heap.count; ++k)
        if (ranks_below(heap.slots[k / 2], heap.slots[k]))
            return {2, heap.slots[k], "no item ranks above the one in slot k / 2"};
    return {};
}

// Asks the heap's own compare.
QVDS_HIDDEN inline fault check_heap(const qvds_heap &heap) {
    return check_heap(heap, [&](const void *a, const void *b) { return heap.compare(a, b) < 0; });
}

QVDS_HIDDEN inline fault check_cq(const qvds_cq &cq) noexcept {
    uint32_t count = 0;
    for (uint32_t day = 0; day < cq.size; ++day) {
        const qvds_cq_entry *before = nullptr;
        for (const qvds_cq_entry *entry = cq.buckets[day]; entry != nullptr; entry = entry->next) {
            if (entry->prev != before)
                return {2, before != nullptr ? before : entry,
                        "the prev of an entry's next is the entry itself, and the prev of a "
                        "bucket's first is null"};
            if (entry->expires / cq.width % cq.size != day)
                return {1, entry, "an entry is in the bucket that its expires names"};
            before = entry;
            ++count;
        }
    }
    if (count != cq.count)
        return {3, nullptr, "count is the number of entries in all buckets"};
    return {};
}

// A list in which this many walks are in progress. Links that the program has marked itself count
// as deleted, so the library's note of its own, the rest of I4, can't be held against them. Where a
// chain runs in a circle, some link has two predecessors, and its prev can name but one.
QVDS_HIDDEN inline fault check_list(const list_link *head, int walks = 0) noexcept {
    const list_link *before = nullptr;
    for (const list_link *link = head; link != nullptr; before = link, link = link->next) {
        if (link->prev != before)
            return {1, link, "prev names the link before, and is null in the head"};
        if (link->state != 0 && link->state != LIST_STATE_DELETED)
            return {2, link, "state is 0 or LIST_STATE_DELETED"};
        if (link->state == LIST_STATE_DELETED && walks == 0)
            return {4, link, "deleted links exist only while a walk is in progress"};
    }
    if (head != nullptr && head->iters != walks)
        return {3, head, "iters of the head is the number of walks in progress"};
    return {};
}

// Whether a live link from link onward holds hook.
QVDS_HIDDEN inline bool is_held(const void *hook, const list_link *link) noexcept {
    while (link != nullptr && (link->state != 0 || link->hook != hook))
        link = link->next;
    return link != nullptr;
}

// A table with walks[slot] walks in progress on each bucket; null for none at all. The slots of the
// keys are fixed unless slot_func looks at what the buckets hold; if they are not, I3 says nothing,
// and an entry in two buckets goes unnoticed. Takes the square of the longest bucket.
QVDS_HIDDEN inline fault check_keyed_hash(const hashlist &table, const int *walks = nullptr,
                                          bool slots_are_fixed = true) {
    if (table.size < 1 || table.lists == nullptr)
        return {1, nullptr, "size is at least 1, and lists holds that many lists"};
    for (int32_t slot = 0; slot < table.size; ++slot) {
        const list_link *const head = table.lists[slot];
        if (const fault found = check_list(head, walks != nullptr ? walks[slot] : 0))
            return {1, found.element, found.text};
        for (const list_link *link = head; link != nullptr; link = link->next) {
            if (link->state == LIST_STATE_DELETED)
                continue;
            const auto *const entry = static_cast<const hash_entry *>(link->hook);
            if (entry == nullptr || is_held(entry, link->next))
                return {2, link, "the hook of every live link is an entry of its own"};
            if (!slots_are_fixed)
                continue;
            const int32_t hash = table.hash_func(entry->key);
            if (table.slot_func(hash, table.size, table.lists) != slot)
                return {3, link, "every live entry is in the bucket of its key"};
        }
    }
    return {};
}

QVDS_HIDDEN inline fault check_qvcq(const qvcq &ring) noexcept {
    const int64_t blocks = ring.blocks, head = ring.head, tail = ring.tail;
    if (head < 0 || head >= blocks || tail < 0 || tail >= blocks)
        return {1, &ring, "head and tail are at least 0 and below blocks"};
    if (ring.size != (head - tail + blocks) % blocks)
        return {2, &ring, "size is head - tail, modulo blocks"};
    const char *block = static_cast<const char *>(ring.storage);
    for (int64_t i = 0; i != blocks; ++i, block += ring.block_size)
        if (ring.entries[i].data != block)
            return {3, &ring.entries[i], "the data of entry i is storage + i * block_size"};
    return {};
}

// A subtree, whose nodes stand in the order between two others, either of which may be null for no
// bound.
template <class Compare>
QVDS_HIDDEN inline fault check_aa_between(const AA_node *t, const AA_node *lower,
                                          const AA_node *upper, Compare &compare) {
    for (; t != nullptr; t = t->right) {
        if ((lower != nullptr && compare(t, lower) != 1) ||
            (upper != nullptr && compare(t, upper) != -1))
            return {1, t, "in order, each node compares above the one before it; no two are equal"};
        if (const fault found = check_aa_between(t->left, lower, t, compare))
            return found;
        lower = t;
    }
    return {};
}

// I1. compare(a, b) is -1 or 1 as node a comes before b or behind. A node that is met twice, on a
// cycle too, would have to compare above or below itself, so the walk ends in any structure, as long
// as compare keeps one order. The stack follows the height.
template <class Compare>
QVDS_HIDDEN inline fault check_aa(const AA_node *root, Compare compare) {
    return check_aa_between(root, nullptr, nullptr, compare);
}

// I2, which holds in a tree built by insertions alone. Levels fall with every step to the left and
// every second one to the right, so no walk is endless. The stack follows the height.
QVDS_HIDDEN inline fault check_aa_levels(const AA_node *t) noexcept {
    for (; t != nullptr; t = t->right) {
        const AA_node *const left = t->left;
        const AA_node *const right = t->right;
        if (left != nullptr && left->level + 1 != t->level)
            return {2, left, "a left child is one level below its parent"};
        if (right != nullptr && right->level != t->level && right->level + 1 != t->level)
            return {2, right, "a right child is at its parent's level or one below"};
        if (right != nullptr && right->right != nullptr && right->right->level >= t->level)
            return {2, right->right, "a right grandchild is below its grandparent"};
        if ((left == nullptr || right == nullptr) && t->level != 1)
            return {2, t, "a node that lacks a child is at level 1"};
        if (const fault found = check_aa_levels(left))
            return found;
    }
    return {};
}

// A subtree, whose items lie between those of two nodes, either of which may be null for no bound.
// The recursion takes the smaller side, the loop the larger.
template <class Compare>
QVDS_HIDDEN inline fault check_qv_tree_between(const qv_tree *t, const qv_tree *lower,
                                               const qv_tree *upper, Compare &compare) {
    while (t != &qv_tree_null) {
        const qv_tree *const left = t->left;
        const qv_tree *const right = t->right;
        if (left == nullptr || right == nullptr)
            return {3, t, "each link is a node or the address of qv_tree_null"};
        if (t->count != 1 + uint64_t{left->count} + right->count)
            return {1, t, "count is 1 plus the counts of left and right"};
        if ((lower != nullptr && compare(t->item, lower->item) <= 0) ||
            (upper != nullptr && compare(t->item, upper->item) >= 0))
            return {2, t,
                    "all items in left compare less than the node's, all in right greater; no two "
                    "are equal"};
        const bool leftwards = left->count < right->count;
        const fault found = leftwards ? check_qv_tree_between(left, lower, t, compare)
                                      : check_qv_tree_between(right, t, upper, compare);
        if (found)
            return found;
        (leftwards ? lower : upper) = t;
        t = leftwards ? right : left;
    }
    return {};
}

// compare(a, b) is negative, zero or positive as item a comes before b, with it or behind. Where I1
// holds, counts fall with every step down, so no walk is endless. The stack is for the logarithm of
// the count, whatever the shape.
template <class Compare>
QVDS_HIDDEN inline fault check_qv_tree(const qv_tree *root, Compare compare) {
    const qv_tree &null = qv_tree_null;
    if (null.count != 0 || null.item != nullptr || null.left != nullptr || null.right != nullptr)
        return {3, &null, "no operation writes to qv_tree_null"};
    if (root == nullptr)
        return {3, nullptr, "a root is a node or the address of qv_tree_null"};
    return check_qv_tree_between(root, nullptr, nullptr, compare);
}

} // namespace core

} // namespace qvds

#endif

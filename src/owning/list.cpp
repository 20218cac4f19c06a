// The list carries no header record, so what belongs to the list as a whole, the number of walks in
// progress and the note that deleted links exist, lives in its head link and must move whenever
// another link becomes the head. There are three such places and no more: make_link copies both
// from the link that it pushes aside, unlink hands both to the successor of a head, and
// list_compact, with no walk in progress, clears both. Copies left behind in former heads are never
// read; the latter two overwrite them before such a link is the head again.
//
// The caller's variable need not hold the head of all: one that holds a link in mid-list is as good
// a list, which ends where the whole one does. So a head may have a predecessor here, and what is
// unlinked is unlinked from that as well.
//
// Removals go through list_link_remove or, inside a walk, through mark_deleted. Read these first,
// then end_walk in list_internal.hpp.

#include <qvds/list.h>

#include "list_internal.hpp"

#include <cstdio>
#include <cstdlib>

using namespace qvds;

static_assert(offsetof(list_link, iters) == 10 && offsetof(list_link, prev) == 16,
              "the note lies between state and iters and costs no space");

namespace {

// A live link for hook, linked to nothing yet; null if there is no memory. follower is the link
// that it goes before, or null.
list_link *make_link(void *hook, const list_link *follower) {
    list_link *const link = static_cast<list_link *>(std::malloc(sizeof *link));
    if (link == nullptr)
        return nullptr;
    link->hook = hook;
    link->state = 0;
    link->reserved = follower != nullptr ? follower->reserved : uint8_t{0};
    link->iters = follower != nullptr ? follower->iters : uint16_t{0};
    return link;
}

void unlink(list_link **head, const list_link *link) {
    list_link *const next = link->next;
    if (link == *head) {
        *head = next;
        if (next != nullptr) {
            next->iters = link->iters;
            next->reserved = link->reserved;
        }
    }
    if (link->prev != nullptr)
        link->prev->next = next;
    if (next != nullptr)
        next->prev = link->prev;
}

// Adds a link behind the last that is reached from link, which is not null.
list_link *append_behind(list_link *link, void *hook) {
    list_link *const added = make_link(hook, nullptr);
    if (added == nullptr)
        return nullptr;
    while (link->next != nullptr)
        link = link->next;
    added->prev = link;
    added->next = nullptr;
    link->next = added;
    return added;
}

// Removes link and returns the hook that it held; null for no link.
void *take(list_link **head, list_link *link) {
    if (link == nullptr)
        return nullptr;
    void *const hook = link->hook;
    list_link_remove(head, link);
    return hook;
}

} // namespace

// -- what the shared object keeps to itself ------------------------------------------------------

void qvds::list_link_remove(list_link **head, list_link *link) {
    if ((*head)->iters != 0) {
        mark_deleted(*head, link);
        return;
    }
    unlink(head, link);
    std::free(link);
}

void qvds::list_compact(list_link **head) {
    if (head == nullptr || *head == nullptr || (*head)->iters != 0)
        return;
    (*head)->reserved = 0;
    list_link *link = *head;
    while (link != nullptr && is_live(link))
        link = link->next;
    if (link == nullptr)
        return;

    // Deals the links from the first deleted one on out to two chains, each behind an anchor: the
    // kept, which go on from what precedes them, and the doomed. Which chain is an index and not a
    // branch: the processor could not foresee the pattern of removals.
    const bool head_goes = link == *head;
    list_link *const before = link->prev;
    list_link anchors[2];
    list_link *last[2] = {before != nullptr ? before : &anchors[0], &anchors[1]};
    list_link *const kept = last[0];
    for (; link != nullptr; link = link->next) {
        const size_t chain = is_live(link) ? 0 : 1;
        link->prev = last[chain];
        last[chain]->next = link;
        last[chain] = link;
    }
    last[0]->next = nullptr;
    last[1]->next = nullptr;

    if (head_goes) {
        // The new head takes over the count, which is 0, and no note.
        *head = kept->next;
        if (*head != nullptr) {
            (*head)->prev = before;
            (*head)->iters = 0;
            (*head)->reserved = 0;
        }
    }
    for (list_link *doomed = anchors[1].next, *next; doomed != nullptr; doomed = next) {
        next = doomed->next;
        std::free(doomed);
    }
}

void qvds::list_dump(const list_link *link, list_print_fn print, const void *extra) {
    std::fprintf(stderr, "list=%p:\n", static_cast<const void *>(link));
    for (; link != nullptr; link = link->next)
        list_dump_link(link, print, extra);
}

void qvds::list_dump_link(const list_link *link, list_print_fn print, const void *extra) {
    std::fprintf(stderr, "    %p <- %p -> %p :: [%d] state=%x%s hook=%p\n",
                 static_cast<const void *>(link->prev), static_cast<const void *>(link),
                 static_cast<const void *>(link->next), link->iters, unsigned{link->state},
                 is_live(link) ? "" : " DELETED", link->hook);
    if (print != nullptr)
        print(link->hook, extra);
}

// -- adding --------------------------------------------------------------------------------------

list_link *list_push(void *hook, list_link **place) {
    if (place == nullptr)
        return nullptr;
    list_link *const follower = *place;
    list_link *const added = make_link(hook, follower);
    if (added == nullptr)
        return nullptr;
    added->prev = nullptr;
    added->next = follower;
    if (follower != nullptr) {
        added->prev = follower->prev;
        if (follower->prev != nullptr)
            follower->prev->next = added;
        follower->prev = added;
    }
    *place = added;
    return added;
}

list_link *list_append(void *hook, list_link **place) {
    if (place == nullptr)
        return nullptr;
    return *place != nullptr ? append_behind(*place, hook) : list_push(hook, place);
}

list_link *list_insert(void *hook, list_link **head, qvds_compare_fn compare) {
    if (head == nullptr)
        return nullptr;
    for (list_link *link = *head; link != nullptr; link = link->next) {
        switch (compare(hook, link->hook)) {
        case 0:
            return nullptr;
        case 1: {
            list_link *follower = link->next;
            return follower != nullptr ? list_push(hook, &follower) : append_behind(link, hook);
        }
        case -1:
            return list_push(hook, link == *head ? head : &link);
        default:
            break;
        }
    }
    return list_append(hook, head);
}

// -- removing ------------------------------------------------------------------------------------

void *list_pop(list_link **head) {
    return head != nullptr ? take(head, first_live(*head)) : nullptr;
}

void *list_del(const void *key, list_link **head, qvds_compare_fn compare) {
    if (head == nullptr)
        return nullptr;
    list_link *link = *head;
    while (link != nullptr && (compare(key, link->hook) != 0 || !is_live(link)))
        link = link->next;
    return take(head, link);
}

int list_del_link(const void *hook, list_link **head) {
    if (head == nullptr || *head == nullptr)
        return -1;
    list_link *const link = list_find_link(hook, *head);
    if (link == nullptr)
        return 0;
    list_link_remove(head, link);
    return 1;
}

// -- walks ---------------------------------------------------------------------------------------

void list_iter_set(list_link *link) {
    if (link != nullptr)
        begin_walk(link);
}

void list_iter_clear(list_link **head) {
    if (head != nullptr && *head != nullptr)
        end_walk(head);
}

void *list_iterate(list_link **head, list_visit_fn visit, void *ctx) {
    if (head == nullptr)
        return nullptr;
    return walk(head,
                [=](list_link *link, int32_t index) { return visit(link->hook, index, ctx); });
}

void list_iterate_del(list_link **head, list_visit_del_fn visit, void *ctx, void *ctx2) {
    if (head == nullptr)
        return;
    walk(head, [=](list_link *link, int32_t index) -> void * {
        if (visit(link->hook, index, ctx, ctx2) != 0)
            mark_deleted(*head, link);
        return nullptr;
    });
}

// -- reading -------------------------------------------------------------------------------------

list_link *list_next(const list_link *link) {
    return link != nullptr ? first_live(link->next) : nullptr;
}

void *list_peek(const list_link *link) {
    link = first_live(link);
    return link != nullptr ? link->hook : nullptr;
}

void *list_find_element(const void *key, const list_link *link, qvds_compare_fn compare) {
    for (link = first_live(link); link != nullptr; link = first_live(link->next))
        if (compare(key, link->hook) == 0)
            return link->hook;
    return nullptr;
}

list_link *list_find_link(const void *hook, list_link *link) {
    while (link != nullptr && (link->hook != hook || !is_live(link)))
        link = link->next;
    return link;
}

int list_length(const list_link *link) {
    int length = 0;
    for (; link != nullptr; link = link->next)
        length += is_live(link) ? 1 : 0;
    return length;
}

void **list_2_table(const list_link *link, int *count) {
    const auto slots = static_cast<size_t>(list_length(link)) + 1;
    void **const table = static_cast<void **>(std::malloc(slots * sizeof *table));
    if (table == nullptr)
        return nullptr;
    int copied = 0;
    for (link = first_live(link); link != nullptr && link->hook != nullptr;
         link = first_live(link->next))
        table[copied++] = link->hook;
    table[copied] = nullptr;
    if (count != nullptr)
        *count = copied;
    return table;
}

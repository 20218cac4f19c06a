// What the owning list shares with the keyed hash, whose buckets are owning lists: the walks, small
// enough to be inlined, and the operations that the shared object keeps to itself.

#ifndef QVDS_SRC_OWNING_LIST_INTERNAL_HPP
#define QVDS_SRC_OWNING_LIST_INTERNAL_HPP

#include <qvds/list.h>

namespace qvds {

// Removes link: marks it while a walk is in progress, else unlinks and frees it.
[[gnu::visibility("hidden")]] void list_link_remove(list_link **head, list_link *link);

// Unlinks and frees the deleted links, unless a walk is in progress.
[[gnu::visibility("hidden")]] void list_compact(list_link **head);

// Prints what a link holds, behind the link's own line.
using list_print_fn = void (*)(const void *hook, const void *extra);

// Print to stderr, for use in a debugger: the list with all its links, deleted ones too; one link.
[[gnu::visibility("hidden")]] void list_dump(const list_link *link, list_print_fn print,
                                             const void *extra);
[[gnu::visibility("hidden")]] void list_dump_link(const list_link *link, list_print_fn print,
                                                  const void *extra);

[[gnu::visibility("hidden")]] inline bool is_live(const list_link *link) {
    return (link->state & LIST_STATE_DELETED) == 0;
}

// Link itself if it is live, else the next one that is, or null. A walk over live links goes from
// first_live(link) by first_live(at->next): begun at a deleted link with a peek and a next it would
// meet the first live hook twice.
template <class Link>
[[gnu::visibility("hidden")]] inline Link *first_live(Link *link) {
    while (link != nullptr && !is_live(link))
        link = link->next;
    return link;
}

// Marks link as deleted and leaves the note for the end of the walk (I4).
[[gnu::visibility("hidden")]] inline void mark_deleted(list_link *head, list_link *link) {
    link->state = static_cast<uint8_t>(link->state | LIST_STATE_DELETED);
    head->reserved = 1;
}

[[gnu::visibility("hidden")]] inline void begin_walk(list_link *head) {
    ++head->iters;
}

// The head is the present one, which need not be the one that begin_walk was given: what is pushed
// in front of a head inherits its count. Where a walk outside this one goes on, the note makes it
// look for marks at its own end.
[[gnu::visibility("hidden")]] inline void end_walk(list_link **head) {
    --(*head)->iters;
    (*head)->reserved = 1;
    list_compact(head);
}

// Calls visit(link, index) on every live link with a hook, until a result is not null. The links
// are there for the whole walk, so `next` is read after the call and what was appended by then is
// met.
//
// A link may also have been marked by the caller's own hand, which leaves no note. So the walk
// looks at each link before and after its visit, where that costs nothing: to pass all links once
// more at its end, in search of marks, would make it 1.6 to 1.9 times as long.
template <class Visit>
[[gnu::visibility("hidden")]] inline void *walk(list_link **head, Visit visit) {
    if (*head == nullptr)
        return nullptr;
    begin_walk(*head);
    void *result = nullptr;
    int32_t index = 0;
    for (list_link *link = *head; link != nullptr; link = link->next, ++index) {
        if (link->hook != nullptr && is_live(link))
            result = visit(link, index);
        if (!is_live(link))
            (*head)->reserved = 1;
        if (result != nullptr)
            break;
    }
    list_link *const present = *head; // see end_walk
    --present->iters;
    if (present->reserved != 0)
        list_compact(head);
    return result;
}

} // namespace qvds

#endif

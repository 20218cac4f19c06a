#ifndef QVDS_LIST_H
#define QVDS_LIST_H

/** @file
 * Owning list: a doubly linked list that allocates a link for each element and stays valid while it
 * is walked.
 *
 * Choose it when elements have no room for link words, when one element is to sit on many lists, or
 * when callbacks add to and remove from the very list that is walking over them: a removal during a
 * walk only marks the link, and the links are unlinked and freed when the outermost walk ends. The
 * price is one allocation for each element. Where the record can carry its own link, node.h and its
 * families cost less.
 *
 * A list is a pointer to its head link in the caller's variable, null while the list is empty:
 *
 *     list_link *jobs = NULL;
 *     list_append(job, &jobs);
 *     list_iterate(&jobs, run, NULL);      // run may call list_del_link(job, &jobs)
 *     while (jobs != NULL)                 // the tear-down; the hooks are the caller's
 *         list_pop(&jobs);
 *
 * Operations that may change the head take the address of that variable, here called head. Those
 * that only read take a link and work from it onward; a null link is an empty list. A sublist is a
 * list: given a variable that holds a link in mid-list, every operation works from there onward,
 * the variable moves on when its link goes, and what stands before stays linked to what is left.
 * But the walks in progress are counted in the link that the variable holds, so a walk over the
 * whole list does not defer what is removed through a sublist. Callbacks must not be null.
 *
 * A *walk* is a list_iterate or list_iterate_del in progress, or what stands between a
 * list_iter_set and its list_iter_clear. Walks of one list may be nested, up to 65535 deep. A link
 * is *live* until it is removed. From then on, while a walk keeps it in the chain, it is *deleted*:
 * no operation returns or counts it and no walk visits it, but list_append walks past it, and the
 * compare callbacks of list_insert and list_del are still called on its hook, so these two need the
 * hooks of deleted links valid.
 *
 * The list never follows a hook and never releases one. It allocates with malloc; where that fails,
 * the result is null and the list is as it was. Nothing here is safe against other threads.
 *
 * Invariants:
 * - I1 `prev` of the head link and `next` of the last link are null; every other `prev` names the
 *   link whose `next` names this one.
 * - I2 `state` of every link is 0 or LIST_STATE_DELETED.
 * - I3 `iters` of the head link is the number of walks in progress.
 * - I4 Deleted links exist only while I3's number is not 0; `reserved` of the head link is not 0
 *   while there are any that the library marked.
 *
 * A program may also mark a link itself, by setting LIST_STATE_DELETED in its `state`, before or
 * during a walk. When the outermost walk ends, all marked links are unlinked and freed, wherever
 * they stand, if one of these is true of it or of a walk inside it:
 * - it ended with list_iter_clear;
 * - an operation has removed something meanwhile;
 * - a list_iterate, list_iterate_del, hash_iterate or hash_iterate_del met a marked link: found it
 *   marked when it came to the link, or right after the link's own visit.
 *
 * Else what is marked stays until the end of a later walk of which one of these is true: a link that
 * was marked once the walk had passed it, or one behind the place where the walk was stopped.
 */

#include <qvds/base.h>

QVDS_BEGIN

enum {
    LIST_STATE_DELETED = 2 /**< flag in `state`: removed, and kept in the chain by a walk */
};

/** The allocated link. The caller may read it, and mark it (see above); all else is the list's. */
typedef struct list_link {
    void *hook;             /**< the caller's element */
    uint8_t state;          /**< flags; a link without LIST_STATE_DELETED is live */
    uint8_t reserved;       /**< for the library: notes that links wait to be unlinked, so that a
                                 walk in which none does need not look for them at its end; like
                                 `iters` it counts only in the head link */
    uint16_t iters;         /**< walks in progress; only that of the head link counts, and a link
                                 that is no longer the head may show a stale number */
    struct list_link *prev; /**< the preceding link, null at the head */
    struct list_link *next; /**< the following link, null at the end */
} list_link;

/**
 * Visits the hook of one live link. index counts every link from the start of the list, skipped
 * ones too, from 0. A non-zero result ends the walk.
 *
 * During the call every operation on this list is allowed. What is removed, be it the element
 * visited, one already passed or one not yet reached, is not visited again and not counted from
 * that moment on; its link stays until the outermost walk ends, so its hook may be released at
 * once (but see above for list_insert and list_del). What is added behind the link being visited is
 * visited, what is added before it is not. The caller's head variable must stay where it is.
 *
 * A callback must return: one that leaves by an exception or longjmp leaves the walk's count
 * raised, and removals stay deferred until the caller makes up for it with one list_iter_clear.
 */
typedef void *(*list_visit_fn)(void *hook, int32_t index, void *ctx);

/** As list_visit_fn, but a non-zero result removes the element visited, and the walk goes on. */
typedef int32_t (*list_visit_del_fn)(void *hook, int32_t index, void *ctx, void *ctx2);

/**
 * Adds hook directly before the link that place holds; at the end of an empty place.
 * @param place the list's head variable, or a variable that holds a link behind the head; it then
 *              holds the new link
 * @return the new link, or null if place is null or the allocation failed
 *
 * Constant time.
 */
QVDS_API list_link *list_push(void *hook, list_link **place);

/**
 * Adds hook at the end.
 * @param place as for list_push; only an empty one is written
 * @return the new link, or null if place is null or the allocation failed
 *
 * Walks to the end.
 */
QVDS_API list_link *list_append(void *hook, list_link **place);

/**
 * Adds hook where compare says. compare(hook, existing hook) is called on every link in turn,
 * deleted ones too, until it gives a verdict:
 *
 *      0   an equal element is there: nothing is added
 *      1   add directly after this element
 *     -1   add directly before this element
 *    any other value: no verdict, go on; off the end, add at the end
 *
 * So a plain three-way comparison does not sort. For ascending order compare returns -1 when hook
 * is smaller and, say, 2 when it is larger.
 * @return the new link, or null if it was refused, head is null or the allocation failed
 *
 * Linear. compare must leave the list alone.
 */
QVDS_API list_link *list_insert(void *hook, list_link **head, qvds_compare_fn compare);

/**
 * Removes the first live link.
 * @return its hook; null if there is none, if the hook itself is null, or if head is null
 *
 * Constant time, but for deleted links in front.
 */
QVDS_API void *list_pop(list_link **head);

/**
 * Removes the first live link for whose hook compare(key, hook) is zero. compare is called on
 * deleted links too, and a zero there is passed over.
 * @return the hook, or null if nothing matches or head is null
 *
 * Linear. compare must leave the list alone.
 */
QVDS_API void *list_del(const void *key, list_link **head, qvds_compare_fn compare);

/**
 * Removes the first live link that holds exactly this hook.
 * @return 1 if it was removed, 0 if it is not there, -1 if head is null or the list empty
 *
 * Linear.
 */
QVDS_API int list_del_link(const void *hook, list_link **head);

/**
 * Begins a walk by hand: from here on removals are deferred.
 *
 *     list_iter_set(jobs);
 *     for (list_link *at = jobs; at != NULL; at = list_next(at))
 *         look_at(at->hook);          // may remove from and add to jobs
 *     list_iter_clear(&jobs);
 *
 * Inside another walk the head link may be deleted; start at list_next of it then.
 * @param link the head link; null is ignored, and then there is nothing to clear
 */
QVDS_API void list_iter_set(list_link *link);

/**
 * Ends a walk begun with list_iter_set; if it was the outermost, passes over the list once more to
 * unlink and free the deleted links. Does nothing if head is null or the list empty. More clears
 * than sets are outside the contract.
 */
QVDS_API void list_iter_clear(list_link **head);

/**
 * Calls visit(hook, index, ctx) on every live link with a non-null hook, first to last.
 * @return the first non-null result of visit, which ends the walk, or null; null without a call if
 *         head is null or the list empty
 *
 * Linear; a second pass frees the deleted links if there are any and this walk is the outermost.
 */
QVDS_API void *list_iterate(list_link **head, list_visit_fn visit, void *ctx);

/**
 * Calls visit(hook, index, ctx, ctx2) likewise, and removes every element for which the result is
 * not zero. Always reaches the end. Disposing of the hook is visit's business.
 */
QVDS_API void list_iterate_del(list_link **head, list_visit_del_fn visit, void *ctx, void *ctx2);

/** Returns the next live link after link, which may itself be deleted, or null. */
QVDS_API list_link *list_next(const list_link *link);

/** Returns the hook of the first live link at or after link, or null. */
QVDS_API void *list_peek(const list_link *link);

/**
 * Finds the first live link from link onward for whose hook compare(key, hook) is zero.
 * @return the hook, or null if none matches
 */
QVDS_API void *list_find_element(const void *key, const list_link *link, qvds_compare_fn compare);

/** Returns the first live link from link onward that holds exactly this hook, or null. */
QVDS_API list_link *list_find_link(const void *hook, list_link *link);

/** Returns the number of live links from link onward. Linear. */
QVDS_API int list_length(const list_link *link);

/**
 * Copies the hooks of the live links from link onward to a new array, in order, with a null behind
 * the last. A null hook ends the copy, since it cannot be told from the end.
 * @param count takes the number of hooks copied; may be null
 * @return the array, which the caller releases with free, or null if the allocation failed, with
 *         count as it was
 */
QVDS_API QVDS_NODISCARD void **list_2_table(const list_link *link, int *count);

QVDS_END

#endif

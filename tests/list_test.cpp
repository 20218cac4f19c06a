// The owning list in C: verdicts, what waits for the end of a walk, links that the program marks
// itself, lists that begin in mid-list. fuzz/list.cpp runs all operations beside a model, in walks
// within walks.

#include <qvds/key_functions.h>
#include <qvds/list.h>

#include "fault.hpp"
#include "owning_walks.hpp"
#include "support.hpp"

#include <cstdlib>
#include <numeric>
#include <string>

namespace {

using qvds::fault;
using qvds::sound;
using qvds::core::check_list;
using test::iterate;
using test::iterate_del;

int32_t element[] = {0, 1, 2, 3, 4, 5, 6, 7, 8, 9}; // what the lists hold

std::string show(const void *hook, bool deleted) {
    const std::string text =
        hook != nullptr ? std::to_string(*static_cast<const int32_t *>(hook)) : "null";
    return deleted ? "(" + text + ") " : text + " ";
}

// The links from link onward, but no more than 100, if ever the list runs in a circle: "1 (2) null "
// stands for 1, a deleted 2 and a null hook.
std::string show(const list_link *link) {
    std::string text;
    for (int left = 100; link != nullptr && left != 0; link = link->next, --left)
        text += show(link->hook, link->state == LIST_STATE_DELETED);
    return text;
}

list_link *link_at(list_link *link, size_t index) {
    for (; index != 0; --index)
        link = link->next;
    return link;
}

void mark(list_link *link) {
    link->state |= LIST_STATE_DELETED;
}

// Something to insert, which says where: the key of compare is the newcomer itself.
struct Newcomer {
    int32_t value;
    const void *decisive; // a hook
    int32_t verdict;
};
int32_t verdict_of(const void *key, const void *hook) {
    const auto *const newcomer = static_cast<const Newcomer *>(key);
    return hook == newcomer->decisive ? newcomer->verdict : 2;
}

int32_t ascending(const void *key, const void *hook) {
    const int32_t order = hash_intcmp(key, hook);
    return order == 1 ? 2 : order;
}

// Tells its arguments apart.
int32_t is_multiple(const void *key, const void *hook) {
    return *static_cast<const int32_t *>(hook) % *static_cast<const int32_t *>(key);
}

// Walks over the list, and returns what it visited as "index:hook ". visit(hook) gives the result.
template <class Visit>
std::string visited(list_link **head, Visit visit) {
    std::string text;
    iterate(head, [&](void *hook, int32_t index) -> void * {
        text += std::to_string(index) + ":" + show(hook, false);
        return visit(hook);
    });
    return text;
}
void *go_on(const void * /*hook*/) {
    return nullptr;
}

class List : public testing::Test {
  protected:
    void TearDown() override { check_and_empty(); }

    void check_and_empty() {
        ASSERT_EQ(check_list(head), sound);
        while (head != nullptr)
            list_pop(&head);
    }

    void append(int first, int last) {
        for (int i = first; i <= last; ++i)
            list_append(&element[i], &head);
    }

    list_link *head = nullptr;
};

// -- adding --------------------------------------------------------------------------------------

TEST_F(List, AnyLinkMayBeThePlaceOfAnAddition) {
    append(1, 1);
    append(3, 3);
    list_link *place = link_at(head, 1);
    list_link *const two = list_push(&element[2], &place);
    EXPECT_EQ(place, two);
    list_link *const four = list_append(&element[4], &place);
    EXPECT_EQ(place, two);
    EXPECT_EQ(link_at(head, 3), four);
    EXPECT_EQ(show(head), "1 2 3 4 ");
}

TEST_F(List, InsertFollowsTheVerdict) {
    struct {
        int32_t decisive, verdict;
        const char *result;
    } const cases[] = {
        {1, -1, "9 1 2 3 "}, {2, -1, "1 9 2 3 "}, {2, 1, "1 2 9 3 "},         {3, 1, "1 2 3 9 "},
        {2, 0, "1 2 3 "},    {1, 2, "1 2 3 9 "},  {1, INT32_MIN, "1 2 3 9 "},
    };
    for (const auto &[decisive, verdict, result] : cases) {
        append(1, 3);
        Newcomer nine{9, &element[decisive], verdict};
        const list_link *const added = list_insert(&nine, &head, verdict_of);
        EXPECT_EQ(show(head), result);
        EXPECT_EQ(added, list_find_link(&nine, head));
        check_and_empty();
    }
}

TEST_F(List, InsertWithTwoForLargerKeepsAscendingOrder) {
    for (const int i : {5, 2, 8, 2, 9, 1, 5})
        list_insert(&element[i], &head, ascending);
    EXPECT_EQ(show(head), "1 2 5 8 9 ");
}

// -- removing ------------------------------------------------------------------------------------

TEST_F(List, DelTakesTheFirstMatchAndDelLinkTheFirstThatHoldsTheHook) {
    EXPECT_EQ(list_del_link(&element[1], &head), -1);
    append(4, 9);
    append(4, 4);
    EXPECT_EQ(list_del(&element[3], &head, is_multiple), &element[6]);
    EXPECT_EQ(list_del_link(&element[4], &head), 1);
    EXPECT_EQ(list_del_link(&element[6], &head), 0);
    EXPECT_EQ(show(head), "5 7 8 9 4 ");
}

TEST_F(List, EveryRemovalIsDeferredDuringAWalk) {
    append(1, 4);
    list_iter_set(head);
    EXPECT_EQ(list_pop(&head), &element[1]);
    EXPECT_EQ(list_pop(&head), &element[2]);
    EXPECT_EQ(list_del(&element[3], &head, is_multiple), &element[3]);
    EXPECT_EQ(list_del(&element[3], &head, is_multiple), nullptr);
    EXPECT_EQ(list_del_link(&element[3], &head), 0);
    EXPECT_EQ(show(head), "(1) (2) (3) 4 ");
    EXPECT_EQ(list_del_link(&element[4], &head), 1);
    EXPECT_EQ(list_del_link(&element[4], &head), 0);
    EXPECT_EQ(list_pop(&head), nullptr);
    list_iter_clear(&head);
    EXPECT_EQ(head, nullptr);
}

// -- walks ---------------------------------------------------------------------------------------

TEST_F(List, IterateDelRemovesWhereTheResultIsNotZero) {
    append(1, 5);
    static const void *contexts[2];
    const auto odd = [](void *hook, int32_t index, void *ctx, void *ctx2) -> int32_t {
        contexts[0] = ctx;
        contexts[1] = ctx2;
        EXPECT_EQ(hook, &element[index + 1]);
        return index % 2 == 0 ? INT32_MIN : 0;
    };
    list_iterate_del(&head, odd, &head, &element);
    EXPECT_EQ(contexts[0], &head);
    EXPECT_EQ(contexts[1], &element);
    EXPECT_EQ(show(head), "2 4 ");
}

TEST_F(List, SixtyFiveThousandWalksMayBeNested) {
    append(1, 2);
    for (int i = 0; i < 65535; ++i)
        list_iter_set(head);
    list_pop(&head);
    for (int i = 1; i < 65535; ++i)
        list_iter_clear(&head);
    EXPECT_EQ(show(head), "(1) 2 ");
    list_iter_clear(&head);
    EXPECT_EQ(show(head), "2 ");
}

TEST_F(List, NullHooksCountButAreNotVisited) {
    append(1, 1);
    list_push(nullptr, &head);
    append(2, 2);
    EXPECT_EQ(visited(&head, go_on), "1:1 2:2 ");
    EXPECT_EQ(list_length(head), 3);
    EXPECT_EQ(list_pop(&head), nullptr);
    EXPECT_EQ(show(head), "1 2 ");
}

// -- links that the program marks itself ---------------------------------------------------------

TEST_F(List, LinksMarkedBeforeAWalkAreNotVisitedAndGoWithIt) {
    append(1, 3);
    mark(link_at(head, 0));
    mark(link_at(head, 2));
    EXPECT_EQ(visited(&head, go_on), "1:2 ");
    EXPECT_EQ(show(head), "2 ");
}

TEST_F(List, LinksMarkedBeforeTheWalkHasPassedThemGoWithIt) {
    struct {
        int at, marked;
        void *result;
        const char *visited, *left;
    } const cases[] = {
        {1, 1, nullptr, "0:1 1:2 2:3 ", "2 3 "}, {1, 1, test::stop, "0:1 ", "2 3 "},
        {1, 2, nullptr, "0:1 2:3 ", "1 3 "},     {1, 3, nullptr, "0:1 1:2 ", "1 2 "},
        {3, 3, nullptr, "0:1 1:2 2:3 ", "1 2 "}, {3, 3, test::stop, "0:1 1:2 2:3 ", "1 2 "},
    };
    for (const auto &[at, marked, result, expected, left] : cases) {
        append(1, 3);
        const auto visit = [&, at = at, marked = marked, result = result](const void *hook) {
            if (hook != &element[at])
                return static_cast<void *>(nullptr);
            mark(list_find_link(&element[marked], head));
            return result;
        };
        EXPECT_EQ(visited(&head, visit), expected);
        EXPECT_EQ(show(head), left);
        check_and_empty();
    }
}

TEST_F(List, LinksMarkedWhereAWalkDoesNotComeAnyMoreGoWithTheNext) {
    append(1, 3);
    const auto mark_both_sides = [&](const void *hook) -> void * {
        if (hook != &element[2])
            return nullptr;
        mark(link_at(head, 0));
        mark(link_at(head, 2));
        return test::stop;
    };
    EXPECT_EQ(visited(&head, mark_both_sides), "0:1 1:2 ");
    EXPECT_EQ(list_length(head), 1);
    EXPECT_EQ(visited(&head, go_on).substr(1), ":2 ");
    EXPECT_EQ(show(head), "2 ");
}

TEST_F(List, LinksMarkedInsideAnInnerWalkGoWithTheOuter) {
    append(1, 3);
    list_iter_set(head);
    const auto mark_the_first = [&](const void *) {
        mark(link_at(head, 0));
        return test::stop;
    };
    EXPECT_EQ(visited(&head, mark_the_first), "0:1 ");
    const auto mark_by_hand = [&](const void *) {
        list_iter_set(head);
        mark(link_at(head, 1));
        list_iter_clear(&head);
        return test::stop;
    };
    EXPECT_EQ(visited(&head, mark_by_hand), "1:2 ");
    EXPECT_EQ(show(head), "(1) (2) 3 ");
    list_iter_clear(&head);
    EXPECT_EQ(show(head), "3 ");
}

// -- sublists ------------------------------------------------------------------------------------

// The list is 1 2 3 4 5, and the walks are over the part from 3 on.
TEST_F(List, AWalkOfASublistLeavesWhatStandsBeforeItLinked) {
    for (unsigned chosen = 0; chosen < 8; ++chosen) {
        append(1, 5);
        list_link *sublist = link_at(head, 2);
        iterate_del(&sublist, [=](void *, int32_t index) { return chosen >> index & 1 ? 1 : 0; });
        std::string left;
        for (int i = 3; i <= 5; ++i)
            if ((chosen >> (i - 3) & 1) == 0)
                left += show(&element[i], false);
        ASSERT_EQ(check_list(head), sound);
        EXPECT_EQ(show(sublist), left);
        EXPECT_EQ(show(head), "1 2 " + left);
        check_and_empty();
    }
}

TEST_F(List, WhatIsTakenFromASublistMovesItsVariableOn) {
    append(1, 6);
    list_link *sublist = link_at(head, 2);
    EXPECT_EQ(list_pop(&sublist), &element[3]);
    ASSERT_EQ(sublist, link_at(head, 2));
    EXPECT_EQ(list_del(&element[5], &sublist, is_multiple), &element[5]);
    EXPECT_EQ(list_del_link(&element[4], &sublist), 1);
    EXPECT_EQ(show(sublist), "6 ");
    EXPECT_EQ(show(head), "1 2 6 ");
    EXPECT_EQ(check_list(head), sound);
    EXPECT_EQ(list_pop(&sublist), &element[6]);
    EXPECT_EQ(sublist, nullptr);
    EXPECT_EQ(list_del_link(&element[2], &head), 1);
    EXPECT_EQ(show(head), "1 ");
}

// -- reading -------------------------------------------------------------------------------------

TEST_F(List, ReadersPassOverDeletedLinksFromWhicheverLink) {
    append(1, 5);
    list_iter_set(head);
    for (const int removed : {1, 3, 5})
        list_del_link(&element[removed], &head);
    ASSERT_EQ(show(head), "(1) 2 (3) 4 (5) ");
    const struct {
        size_t from, next; // 5 for none
        const void *peeked, *four;
        int length;
    } cases[] = {
        {0, 1, &element[2], &element[4], 2}, {1, 3, &element[2], &element[4], 2},
        {2, 3, &element[4], &element[4], 1}, {3, 5, &element[4], &element[4], 1},
        {4, 5, nullptr, nullptr, 0},         {5, 5, nullptr, nullptr, 0},
    };
    for (const auto &[from, next, peeked, four, length] : cases) {
        list_link *const link = link_at(head, from);
        EXPECT_EQ(list_next(link), link_at(head, next)) << from;
        EXPECT_EQ(list_peek(link), peeked) << from;
        EXPECT_EQ(list_find_element(&element[4], link, is_multiple), four) << from;
        EXPECT_EQ(list_find_element(&element[3], link, is_multiple), nullptr) << from;
        EXPECT_EQ(list_find_link(&element[4], link), four != nullptr ? link_at(head, 3) : nullptr);
        EXPECT_EQ(list_find_link(&element[3], link), nullptr) << from;
        EXPECT_EQ(list_length(link), length) << from;
    }
    list_iter_clear(&head);
}

TEST_F(List, ToTableCopiesHooksUpToANull) {
    append(1, 2);
    list_append(nullptr, &head);
    append(3, 3);
    int count = -1;
    for (int *const wanted : {&count, static_cast<int *>(nullptr)}) {
        void **const table = list_2_table(head, wanted);
        EXPECT_EQ(table[1], &element[2]);
        EXPECT_EQ(table[2], nullptr);
        std::free(table);
    }
    EXPECT_EQ(count, 2);
    void **const of_none = list_2_table(nullptr, nullptr);
    EXPECT_EQ(of_none[0], nullptr);
    std::free(of_none);
}

// -- null lists ----------------------------------------------------------------------------------

TEST_F(List, NullForAListIsNeutral) {
    list_link **const none = nullptr;
    EXPECT_EQ(list_push(&element[1], none), nullptr);
    EXPECT_EQ(list_append(&element[1], none), nullptr);
    EXPECT_EQ(list_insert(&element[1], none, verdict_of), nullptr);
    EXPECT_EQ(list_pop(none), nullptr);
    EXPECT_EQ(list_del(&element[1], none, is_multiple), nullptr);
    EXPECT_EQ(list_del_link(&element[1], none), -1);
    EXPECT_EQ(list_iterate(none, nullptr, nullptr), nullptr);
    list_iterate_del(none, nullptr, nullptr, nullptr);
    list_iter_clear(none);
    list_iter_clear(&head);
    list_iter_set(nullptr);
    EXPECT_EQ(list_iterate(&head, nullptr, nullptr), nullptr);
    list_iterate_del(&head, nullptr, nullptr, nullptr);
    EXPECT_EQ(list_del(&element[1], &head, nullptr), nullptr);
    EXPECT_EQ(head, nullptr);
}

// -- size ----------------------------------------------------------------------------------------

TEST_F(List, HoldsSeventyThousand) {
    std::vector<int32_t> many(70000);
    std::iota(many.begin(), many.end(), 0);
    const auto count = static_cast<int>(many.size());
    int32_t *const last = &many.back();
    for (int i = count - 2; i >= 0; --i)
        list_push(&many[static_cast<size_t>(i)], &head);
    const list_link *const inserted = list_insert(last, &head, ascending);
    EXPECT_EQ(list_length(head), count);
    EXPECT_EQ(list_find_link(last, head), inserted);
    EXPECT_EQ(list_find_element(last, head, hash_intcmp), last);
    int copied = 0;
    void **const table = list_2_table(head, &copied);
    EXPECT_EQ(copied, count);
    EXPECT_EQ(table[count - 1], last);
    std::free(table);

    list_iter_set(head);
    iterate_del(&head, [=](void *, int32_t index) { return index != count - 1 ? 1 : 0; });
    EXPECT_EQ(list_peek(head), last);
    EXPECT_EQ(list_del(last, &head, hash_intcmp), last);
    list_iter_clear(&head);
    EXPECT_EQ(head, nullptr);
}

// -- the check itself ----------------------------------------------------------------------------

TEST_F(List, CheckNamesTheInvariantAndTheLink) {
    struct {
        const char *slip;
        void (*corrupt)(list_link *links);
        int invariant;
        size_t link;
    } const cases[] = {
        {"a link back is lost", [](list_link *links) { links[1].prev = nullptr; }, 1, 1},
        {"the head has a link back", [](list_link *links) { links[0].prev = &links[2]; }, 1, 0},
        {"a circle through the head", [](list_link *links) { links[2].next = &links[0]; }, 1, 0},
        {"a circle behind it", [](list_link *links) { links[2].next = &links[1]; }, 1, 1},
        {"a link to itself", [](list_link *links) { links[1].next = &links[1]; }, 1, 1},
        {"an unknown flag", [](list_link *links) { links[2].state = 1; }, 2, 2},
        {"a walk that never ended", [](list_link *links) { links[0].iters = 1; }, 3, 0},
        {"a deleted link left over", [](list_link *links) { mark(&links[2]); }, 4, 2},
    };
    for (const auto &[slip, corrupt, invariant, link] : cases) {
        list_link links[3]{};
        for (size_t i = 1; i < 3; ++i) {
            links[i - 1].next = &links[i];
            links[i].prev = &links[i - 1];
        }
        EXPECT_EQ(check_list(links), sound);
        corrupt(links);
        EXPECT_EQ(check_list(links), (fault{invariant, &links[link]})) << slip;
    }
    list_link walked{};
    walked.iters = 2;
    mark(&walked);
    EXPECT_EQ(check_list(&walked, 2), sound);
    EXPECT_EQ(check_list(&walked, 1), (fault{3, &walked}));
}

} // namespace

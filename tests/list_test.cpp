#include <qvds/key_functions.h>
#include <qvds/list.h>

#include "fault.hpp"
#include "owning_model.hpp"
#include "support.hpp"

#include <cstdlib>
#include <deque>
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

TEST_F(List, PushAddsBeforeTheLinkInThePlace) {
    list_link *const three = list_push(&element[3], &head);
    EXPECT_EQ(head, three);
    list_link *const one = list_push(&element[1], &head);
    EXPECT_EQ(head, one);
    list_link *place = three;
    list_link *const two = list_push(&element[2], &place);
    EXPECT_EQ(place, two);
    EXPECT_EQ(show(head), "1 2 3 ");
}

TEST_F(List, AppendAddsBehindTheLast) {
    list_link *const one = list_append(&element[1], &head);
    EXPECT_EQ(head, one);
    list_link *const two = list_append(&element[2], &head);
    list_link *place = two;
    list_link *const three = list_append(&element[3], &place);
    EXPECT_EQ(place, two);
    EXPECT_EQ(two->next, three);
    EXPECT_EQ(show(head), "1 2 3 ");
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

TEST_F(List, PopTakesTheFirst) {
    append(1, 2);
    EXPECT_EQ(list_pop(&head), &element[1]);
    EXPECT_EQ(show(head), "2 ");
    EXPECT_EQ(list_pop(&head), &element[2]);
    EXPECT_EQ(head, nullptr);
    EXPECT_EQ(list_pop(&head), nullptr);
}

TEST_F(List, DelTakesTheFirstMatch) {
    append(4, 9);
    EXPECT_EQ(list_del(&element[3], &head, is_multiple), &element[6]);
    EXPECT_EQ(list_del(&element[3], &head, is_multiple), &element[9]);
    EXPECT_EQ(list_del(&element[3], &head, is_multiple), nullptr);
    EXPECT_EQ(show(head), "4 5 7 8 ");
}

TEST_F(List, DelLinkTakesTheFirstThatHoldsTheHook) {
    EXPECT_EQ(list_del_link(&element[1], &head), -1);
    append(1, 3);
    append(2, 2);
    EXPECT_EQ(list_del_link(&element[2], &head), 1);
    EXPECT_EQ(show(head), "1 3 2 ");
    EXPECT_EQ(list_del_link(&element[4], &head), 0);
    EXPECT_EQ(list_del_link(&element[2], &head), 1);
    EXPECT_EQ(list_del_link(&element[1], &head), 1);
    EXPECT_EQ(show(head), "3 ");
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

TEST_F(List, IterateVisitsInOrderAndHandsOnTheContext) {
    append(1, 3);
    std::string visited;
    const auto visit = [](void *hook, int32_t index, void *ctx) -> void * {
        *static_cast<std::string *>(ctx) += std::to_string(index) + ":" + show(hook, false);
        return nullptr;
    };
    EXPECT_EQ(list_iterate(&head, visit, &visited), nullptr);
    EXPECT_EQ(visited, "0:1 1:2 2:3 ");
}

TEST_F(List, IterateEndsWithTheFirstResultAndReturnsAllOfIt) {
    append(1, 3);
    int visits = 0;
    void *const result = iterate(&head, [&](void *hook, int32_t) {
        ++visits;
        return hook == &element[2] ? test::stop : nullptr;
    });
    EXPECT_EQ(result, test::stop);
    EXPECT_EQ(visits, 2);
}

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

TEST_F(List, WhatIsRemovedDuringAWalkIsNotVisitedAnyMore) {
    struct {
        int at, removed;
        const char *visited;
    } const cases[] = {
        {1, 1, "0:1 1:2 2:3 "}, {1, 2, "0:1 2:3 "},     {1, 3, "0:1 1:2 "},
        {2, 1, "0:1 1:2 2:3 "}, {2, 2, "0:1 1:2 2:3 "}, {2, 3, "0:1 1:2 "},
        {3, 1, "0:1 1:2 2:3 "}, {3, 2, "0:1 1:2 2:3 "}, {3, 3, "0:1 1:2 2:3 "},
    };
    for (const auto &[at, removed, expected] : cases) {
        append(1, 3);
        const auto remove = [&, at = at, removed = removed](const void *hook) {
            if (hook == &element[at]) {
                EXPECT_EQ(list_del_link(&element[removed], &head), 1);
                EXPECT_EQ(list_length(head), 2);
            }
            return nullptr;
        };
        EXPECT_EQ(visited(&head, remove), expected);
        EXPECT_EQ(list_length(head), 2);
        check_and_empty();
    }
}

TEST_F(List, WhatIsAddedBehindIsVisitedAndWhatIsAddedInFrontIsNot) {
    append(1, 1);
    const auto add = [&](const void *hook) {
        if (hook == &element[1]) {
            list_push(&element[0], &head);
            list_append(&element[2], &head);
        }
        return nullptr;
    };
    EXPECT_EQ(visited(&head, add), "0:1 1:2 ");
    EXPECT_EQ(show(head), "0 1 2 ");
    list_pop(&head);
    EXPECT_EQ(show(head), "1 2 ") << "removals are no longer deferred";
}

TEST_F(List, OnlyTheEndOfTheOutermostWalkUnlinks) {
    append(1, 3);
    list_iter_set(head);
    iterate_del(&head, [](void *hook, int32_t) { return hook == &element[1] ? 1 : 0; });
    EXPECT_EQ(show(head), "(1) 2 3 ");
    list_iter_set(head);
    list_pop(&head);
    list_iter_clear(&head);
    EXPECT_EQ(show(head), "(1) (2) 3 ");
    EXPECT_EQ(check_list(head, 1), sound);
    list_iter_clear(&head);
    EXPECT_EQ(show(head), "3 ");
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

TEST_F(List, LinksMarkedDuringAWalkByHandGoWithIt) {
    append(1, 4);
    list_iter_set(head);
    for (const size_t marked : {0U, 1U, 3U})
        mark(link_at(head, marked));
    list_iter_clear(&head);
    EXPECT_EQ(show(head), "3 ");
}

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

// On "(1) 2 (3) 4 (5)", from each of its links.
class ListWithDeletedLinks : public List {
  protected:
    void SetUp() override {
        append(1, 5);
        list_iter_set(head);
        for (const int removed : {1, 3, 5})
            list_del_link(&element[removed], &head);
        for (size_t i = 0; i < 5; ++i)
            link[i] = link_at(head, i);
    }
    void TearDown() override {
        list_iter_clear(&head);
        List::TearDown();
    }
    list_link *link[5]{};
};

TEST_F(ListWithDeletedLinks, NextGivesTheNextLiveLink) {
    EXPECT_EQ(list_next(link[0]), link[1]);
    EXPECT_EQ(list_next(link[1]), link[3]);
    EXPECT_EQ(list_next(link[2]), link[3]);
    EXPECT_EQ(list_next(link[3]), nullptr);
    EXPECT_EQ(list_next(link[4]), nullptr);
    EXPECT_EQ(list_next(nullptr), nullptr);
}

TEST_F(ListWithDeletedLinks, PeekGivesTheFirstLiveHook) {
    EXPECT_EQ(list_peek(link[0]), &element[2]);
    EXPECT_EQ(list_peek(link[1]), &element[2]);
    EXPECT_EQ(list_peek(link[2]), &element[4]);
    EXPECT_EQ(list_peek(link[4]), nullptr);
    EXPECT_EQ(list_peek(nullptr), nullptr);
}

TEST_F(ListWithDeletedLinks, FindElementGivesTheFirstLiveMatch) {
    EXPECT_EQ(list_find_element(&element[1], head, is_multiple), &element[2]);
    EXPECT_EQ(list_find_element(&element[2], link[2], is_multiple), &element[4]);
    EXPECT_EQ(list_find_element(&element[4], head, is_multiple), &element[4]);
    EXPECT_EQ(list_find_element(&element[3], head, is_multiple), nullptr);
    EXPECT_EQ(list_find_element(&element[1], nullptr, is_multiple), nullptr);
}

TEST_F(ListWithDeletedLinks, FindLinkGivesTheFirstLiveLinkOfTheHook) {
    append(2, 2);
    EXPECT_EQ(list_find_link(&element[2], head), link[1]);
    EXPECT_EQ(list_find_link(&element[2], link[1]), link[1]);
    EXPECT_EQ(list_find_link(&element[2], link[2]), link[4]->next);
    EXPECT_EQ(list_find_link(&element[3], head), nullptr);
    EXPECT_EQ(list_find_link(&element[2], nullptr), nullptr);
}

TEST_F(ListWithDeletedLinks, LengthCountsLiveLinks) {
    EXPECT_EQ(list_length(link[0]), 2);
    EXPECT_EQ(list_length(link[2]), 1);
    EXPECT_EQ(list_length(link[4]), 0);
    EXPECT_EQ(list_length(nullptr), 0);
}

TEST_F(ListWithDeletedLinks, ToTableCopiesLiveHooksUpToANull) {
    int count = -1;
    void **table = list_2_table(head, &count);
    EXPECT_EQ(count, 2);
    EXPECT_EQ(table[0], &element[2]);
    EXPECT_EQ(table[1], &element[4]);
    EXPECT_EQ(table[2], nullptr);
    std::free(table);

    list_link *place = link[3];
    list_push(nullptr, &place);
    table = list_2_table(head, &count);
    EXPECT_EQ(count, 1);
    EXPECT_EQ(table[1], nullptr);
    std::free(table);

    table = list_2_table(nullptr, nullptr);
    EXPECT_EQ(table[0], nullptr);
    std::free(table);
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
    for (int i = count - 3; i >= 0; --i)
        list_push(&many[static_cast<size_t>(i)], &head);
    const list_link *const appended = list_append(last, &head);
    const list_link *const inserted = list_insert(last - 1, &head, ascending);

    EXPECT_EQ(appended->next, nullptr);
    EXPECT_EQ(inserted->next, appended);
    EXPECT_EQ(list_length(head), count);
    EXPECT_EQ(list_find_link(last, head), appended);
    EXPECT_EQ(list_find_element(last, head, hash_intcmp), last);
    int copied = 0;
    void **const table = list_2_table(head, &copied);
    EXPECT_EQ(copied, count);
    EXPECT_EQ(table[count - 1], last);
    std::free(table);

    list_iter_set(head);
    int visited = 0;
    iterate_del(&head, [&](void *hook, int32_t index) {
        EXPECT_EQ(hook, &many[static_cast<size_t>(index)]);
        ++visited;
        return hook != last ? 1 : 0;
    });
    EXPECT_EQ(visited, count);
    EXPECT_EQ(list_peek(head), last);
    EXPECT_EQ(list_del(last, &head, hash_intcmp), last);
    list_iter_clear(&head);
    EXPECT_EQ(head, nullptr);
}

// -- everything at once --------------------------------------------------------------------------

// Random steps on a list and on its model, in the callbacks of walks as well.
class Program {
  public:
    explicit Program(test::Random &random) : random_(random) {}

    void run() {
        take_steps(200);
        iterate_del(&head_, [](void *, int32_t) { return 1; });
        while (head_ != nullptr && !testing::Test::HasFailure())
            list_pop(&head_); // null hooks
    }

  private:
    using Model = test::ListModel<void *>;

    void take_steps(size_t count) {
        constexpr void (Program::*additions[])() = {&Program::push, &Program::append,
                                                    &Program::insert};
        constexpr void (Program::*others[])() = {
            &Program::pop,
            &Program::del,
            &Program::del_link,
            &Program::mark_by_hand,
            &Program::walk_to_a_stop,
            &Program::walk_and_remove,
            &Program::walk_by_hand,
        };
        for (; count != 0 && !testing::Test::HasFailure(); --count) {
            if (model_.entries.size() < 8 && random_.one_in(2))
                (this->*additions[random_.below(std::size(additions))])();
            else
                (this->*others[random_.below(std::size(others))])();
            check();
        }
    }

    // Something to add: new, as a rule.
    void *some_hook() {
        if (random_.one_in(8))
            return nullptr;
        if (random_.one_in(8) && !model_.entries.empty())
            return some_entry()->value;
        return &new_element();
    }
    Newcomer &new_element() {
        return elements_.emplace_back(Newcomer{static_cast<int32_t>(elements_.size()), this, 0});
    }
    Model::Place some_entry() {
        const size_t index = random_.below(model_.entries.size());
        return std::next(model_.entries.begin(), static_cast<ptrdiff_t>(index));
    }
    // A hook that is in the list, as a rule; deleted ones too.
    void *hook_to_find() {
        return model_.entries.empty() || random_.one_in(8) ? &absent_ : some_entry()->value;
    }

    void push() {
        void *const hook = some_hook();
        EXPECT_EQ(list_push(hook, &head_), head_);
        model_.entries.push_front({hook});
    }

    void append() {
        void *const hook = some_hook();
        EXPECT_EQ(list_append(hook, &head_)->next, nullptr);
        model_.entries.push_back({hook});
    }

    void insert() {
        Newcomer &newcomer = new_element();
        newcomer.decisive = hook_to_find();
        newcomer.verdict = static_cast<int32_t>(random_.below(3)) - 1;
        auto place = model_.entries.begin();
        while (place != model_.entries.end() && place->value != newcomer.decisive)
            ++place;
        const bool decided = place != model_.entries.end();
        const list_link *const added = list_insert(&newcomer, &head_, verdict_of);
        if (decided && newcomer.verdict == 0) {
            EXPECT_EQ(added, nullptr);
            return;
        }
        if (decided && newcomer.verdict == 1)
            ++place;
        model_.entries.insert(place, {&newcomer});
        EXPECT_EQ(added, list_find_link(&newcomer, head_));
    }

    void pop() { EXPECT_EQ(list_pop(&head_), model_.take(model_.first_live())); }

    void del() {
        const Newcomer key{0, hook_to_find(), 0};
        const auto found = model_.find_live([&](void *hook) { return hook == key.decisive; });
        EXPECT_EQ(list_del(&key, &head_, verdict_of), model_.take(found));
    }

    void del_link() {
        void *const sought = hook_to_find();
        const auto found = model_.find_live([=](void *hook) { return hook == sought; });
        const int none = model_.entries.empty() ? -1 : 0;
        EXPECT_EQ(list_del_link(sought, &head_), found != model_.entries.end() ? 1 : none);
        model_.take(found);
    }

    void mark_by_hand() {
        if (model_.entries.empty())
            return;
        const auto entry = some_entry();
        const auto index = static_cast<size_t>(std::distance(model_.entries.begin(), entry));
        list_iter_set(head_);
        mark(link_at(head_, index));
        list_iter_clear(&head_);
        model_.remove(entry);
    }

    void walk_to_a_stop() {
        if (model_.walks == 3)
            return;
        Model::Walk walk(model_);
        void *wanted = nullptr;
        void *const result = iterate(&head_, [&](void *hook, int32_t index) {
            visit(walk, hook, index);
            wanted = random_.one_in(8) ? test::stop : nullptr;
            return wanted;
        });
        EXPECT_EQ(result, wanted);
        EXPECT_TRUE(result != nullptr || !advance_to_hook(walk)) << "something was not visited";
        walk.end();
    }

    void walk_and_remove() {
        if (model_.walks == 3)
            return;
        Model::Walk walk(model_);
        iterate_del(&head_, [&](void *hook, int32_t index) {
            visit(walk, hook, index);
            if (!random_.one_in(4))
                return 0;
            model_.remove(walk.place);
            return INT32_MIN;
        });
        EXPECT_FALSE(advance_to_hook(walk)) << "something was not visited";
        walk.end();
    }

    // Visits null hooks as well.
    void walk_by_hand() {
        if (model_.walks == 3 || head_ == nullptr)
            return;
        Model::Walk walk(model_);
        list_iter_set(head_);
        list_link *link = head_->state == 0 ? head_ : list_next(head_);
        for (; link != nullptr; link = list_next(link)) {
            ASSERT_TRUE(walk.advance()) << "walked past the end";
            EXPECT_EQ(link->hook, walk.place->value);
            take_steps(random_.below(3));
        }
        EXPECT_FALSE(walk.advance()) << "something was not reached";
        list_iter_clear(&head_);
        walk.end();
    }

    static bool advance_to_hook(Model::Walk &walk) {
        while (walk.advance())
            if (walk.place->value != nullptr)
                return true;
        return false;
    }

    void visit(Model::Walk &walk, const void *hook, int32_t index) {
        ASSERT_TRUE(!testing::Test::HasFailure() && advance_to_hook(walk))
            << "visited past the end";
        EXPECT_EQ(hook, walk.place->value);
        EXPECT_EQ(index, walk.index);
        take_steps(random_.below(3));
    }

    void check() const {
        ASSERT_EQ(check_list(head_, model_.walks), sound);
        std::string expected;
        for (const auto &entry : model_.entries)
            expected += show(entry.value, entry.deleted);
        ASSERT_EQ(show(head_), expected);
    }

    test::Random &random_;
    list_link *head_ = nullptr;
    Model model_;
    std::deque<Newcomer> elements_;
    int32_t absent_ = -1;
};

TEST_F(List, FollowsTheModelThroughNestedWalks) {
    test::for_each_seed([](test::Random &random) {
        for (int run = 0; run < 10; ++run)
            Program(random).run();
    });
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

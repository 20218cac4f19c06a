#include <qvds/fifo.h>
#include <qvds/fifo2.h>
#include <qvds/fifo2.hpp>

#include "chains.hpp"

using namespace test;
using qvds::core::check_fifo2;

namespace {

class Fifo2 : public ChainTest {
  protected:
    Fifo2() {
        for (Item *item : {&a, &b, &c})
            qvds_fifo2_append(&queue, item);
    }
    static std::string content(const qvds_list &fifo) {
        return names_from(fifo.top, check_fifo2(fifo));
    }

    Item a{'a'}, b{'b'}, c{'c'}, other_b{'B'}, absent{'x'};
    qvds_list queue{nullptr, nullptr}, other{nullptr, nullptr};
};

TEST_F(Fifo2, AppendAddsAtTheBack) {
    EXPECT_EQ(qvds_fifo2_append(&queue, &absent), &absent);
    EXPECT_EQ(content(queue), "abcx");
}

TEST_F(Fifo2, PushAddsAtTheFront) {
    EXPECT_EQ(qvds_fifo2_push(&queue, &absent), &absent);
    EXPECT_EQ(content(queue), "xabc");
}

TEST_F(Fifo2, InsertAddsBehindAnElement) {
    EXPECT_EQ(qvds_fifo2_insert(&queue, &a, &absent), &absent);
    EXPECT_EQ(qvds_fifo2_insert(&queue, &c, &other_b), &other_b);
    EXPECT_EQ(content(queue), "axbcB");
}

TEST_F(Fifo2, InsertAddsAtTheFrontBehindNullOrInAnEmptyQueue) {
    qvds_fifo2_insert(&queue, nullptr, &absent);
    EXPECT_EQ(content(queue), "xabc");
    qvds_fifo2_insert(&other, stray, &other_b);
    EXPECT_EQ(content(other), "B");
}

TEST_F(Fifo2, InsertSortedPutsTheNewestOfEqualsFirst) {
    EXPECT_EQ(qvds_fifo2_insert_sorted(&queue, &other_b, by_name), &other_b);
    EXPECT_EQ(content(queue), "aBbc");
}

TEST_F(Fifo2, PopTakesTheFirstAndLeavesItsLinks) {
    EXPECT_EQ(qvds_fifo2_pop(&queue), &a);
    EXPECT_EQ(content(queue), "bc");
    EXPECT_EQ(a.node.next, &b);
}

TEST_F(Fifo2, PopTailTakesTheLastAndLeavesItsLinks) {
    EXPECT_EQ(qvds_fifo2_pop_tail(&queue), &c);
    EXPECT_EQ(content(queue), "ab");
    EXPECT_EQ(c.node.prev, &b);
}

TEST_F(Fifo2, PopOfTheOnlyElementLeavesAnEmptyQueue) {
    for (auto *const pop : {qvds_fifo2_pop, qvds_fifo2_pop_tail}) {
        qvds_fifo2_append(&other, &absent);
        EXPECT_EQ(pop(&other), &absent);
        EXPECT_EQ(content(other), "");
        EXPECT_EQ(pop(&other), nullptr);
    }
}

TEST_F(Fifo2, ExtractUnlinksTheFirstMatch) {
    EXPECT_EQ(qvds_fifo2_extract(&queue, &other_b, by_name), &b);
    EXPECT_EQ(content(queue), "ac");
    EXPECT_EQ(qvds_fifo2_extract(&queue, &absent, by_name), nullptr);
}

TEST_F(Fifo2, ExtractExistingUnlinksAnElementAndLeavesItsLinks) {
    EXPECT_EQ(qvds_fifo2_extract_existing(&queue, &b), &b);
    EXPECT_EQ(content(queue), "ac");
    EXPECT_EQ(b.node.prev, &a);
    EXPECT_EQ(b.node.next, &c);
}

// A user's slip: an element is taken out that has left, has no neighbours, and yet is no end.
TEST_F(Fifo2, TakingOutAnElementThatHasLeftKeepsTheOthers) {
    qvds_fifo2_append(&other, &absent);
    qvds_fifo2_pop(&other);
    qvds_fifo2_append(&other, &other_b);
    EXPECT_EQ(qvds_fifo2_extract_existing(&other, &absent), &absent);
    EXPECT_EQ(content(other), "B");
    qvds_fifo2_cut(&other, &queue, &absent);
    EXPECT_EQ(other.top, &other_b);
}

TEST_F(Fifo2, TakingOutAFormerFirstElementKeepsTheNewOne) {
    qvds_fifo2_pop(&queue);
    qvds_fifo2_push(&queue, &absent);
    qvds_fifo2_extract_existing(&queue, &a);
    EXPECT_EQ(names_from(queue.top, sound), "xbc");
}

TEST_F(Fifo2, ConcatMovesAllBehind) {
    EXPECT_EQ(qvds_fifo2_concat(&queue, &other), &queue);
    EXPECT_EQ(content(queue), "abc") << "nothing to move";
    qvds_fifo2_append(&other, &absent);
    EXPECT_EQ(qvds_fifo2_concat(&queue, &other), &queue);
    EXPECT_EQ(content(queue), "abcx");
    EXPECT_EQ(content(other), "");
}

TEST_F(Fifo2, CutMovesTheElementAndAllBehindIt) {
    EXPECT_EQ(qvds_fifo2_cut(&queue, &other, &b), &other);
    EXPECT_EQ(content(queue), "a");
    EXPECT_EQ(content(other), "bc");
    qvds_fifo2_cut(&other, &queue, &b);
    EXPECT_EQ(content(other), "");
    EXPECT_EQ(content(queue), "bc");
}

TEST_F(Fifo2, WalksPastSeventyThousandElements) {
    std::vector<Item> items = seventy_thousand();
    for (Item &item : items)
        qvds_fifo2_append(&other, &item);
    Item *const last = &items.back();
    EXPECT_EQ(qvds_fifo2_extract(&other, last, by_name), last);
    EXPECT_EQ(other.bottom, last - 1);
    qvds_fifo2_insert_sorted(&other, last, by_name);
    EXPECT_EQ(other.bottom, last);
    EXPECT_EQ(check_fifo2(other), sound);
}

TEST_F(Fifo2, CheckNamesTheBrokenInvariant) {
    queue.bottom = nullptr;
    EXPECT_EQ(check_fifo2(queue), (fault{1, nullptr}));
    queue = {&b, &c};
    EXPECT_EQ(check_fifo2(queue), (fault{2, &b})) << "the first element has a predecessor";
    queue = {&a, &b};
    EXPECT_EQ(check_fifo2(queue), (fault{2, &b})) << "the last element has a successor";
    queue = {&a, &c};
    c.node.prev = &a;
    EXPECT_EQ(check_fifo2(queue), (fault{3, &b}));
    b.node.next = nullptr;
    EXPECT_EQ(check_fifo2(queue), (fault{3, &b})) << "the chain ends before the last element";
}

TEST_F(Fifo2, CheckComesToAnEndInARing) {
    for (Item *target : {&a, &b}) {
        b.node.next = target;
        EXPECT_EQ(check_fifo2(queue), (fault{3, &b}));
    }
}

const chain_face c_face{
    .init = qvds_fifo_init,
    .push = qvds_fifo2_push,
    .insert_sorted = qvds_fifo2_insert_sorted,
    .pop = qvds_fifo2_pop,
    .extract = qvds_fifo2_extract,
    .concat = qvds_fifo2_concat,
    .cut = qvds_fifo2_cut,
    .append = qvds_fifo2_append,
    .insert = qvds_fifo2_insert,
    .pop_tail = qvds_fifo2_pop_tail,
    .extract_existing = qvds_fifo2_extract_existing,
};
// The same through the typed face, on the same records.
qvds::fifo2_view<&Item::node> typed(qvds_list *list) {
    return qvds::fifo2_view<&Item::node>(*list);
}
Item &item(void *elem) {
    return *static_cast<Item *>(elem);
}
const chain_face typed_face{
    .init = qvds_fifo_init,
    .push =
        [](qvds_list *list, void *elem) {
            typed(list).push_front(item(elem));
            return elem;
        },
    .insert_sorted =
        [](qvds_list *list, void *elem, qvds_compare_fn compare) {
            typed(list).insert_sorted(item(elem), [=](const Item &stored, const Item &added) {
                return compare(&added, &stored) > 0;
            });
            return elem;
        },
    .pop = [](qvds_list *list) -> void * { return typed(list).pop_front(); },
    .extract = [](qvds_list *list, const void *key, qvds_compare_fn compare) -> void * {
        return typed(list).extract_if([=](const Item &i) { return compare(key, &i) == 0; });
    },
    .concat =
        [](qvds_list *dest, qvds_list *src) {
            typed(dest).concat(typed(src));
            return dest;
        },
    .cut =
        [](qvds_list *list, qvds_list *out, void *elem) {
            auto behind = typed(list).cut(item(elem));
            *out = std::exchange(behind.c_record(), {});
            return out;
        },
    .append =
        [](qvds_list *list, void *elem) {
            typed(list).push_back(item(elem));
            return elem;
        },
    .insert =
        [](qvds_list *list, void *after, void *elem) {
            auto queue = typed(list);
            if (after == nullptr || queue.empty())
                queue.insert(queue.begin(), item(elem));
            else
                queue.insert_after(item(after), item(elem));
            return elem;
        },
    .pop_tail = [](qvds_list *list) -> void * { return typed(list).pop_back(); },
    .extract_existing =
        [](qvds_list *list, void *elem) {
            typed(list).unlink(item(elem));
            return elem;
        },
};

const chain_family family{
    .check = qvds::core::check_fifo2,
    .has_tail = true,
    .has_back_links = true,
    .steps = {step::push, step::append, step::insert, step::insert_sorted, step::pop,
              step::pop_tail, step::find, step::extract, step::extract_existing, step::concat,
              step::cut},
};

TEST_F(Fifo2, FollowsAModelInEveryShortProgram) {
    run_all_short_programs(family, c_face);
}

TEST_F(Fifo2, FollowsAModelInRandomProgramsThroughEitherFace) {
    run_random_programs(family, {c_face, typed_face});
}

} // namespace

#include <qvds/fifo.h>
#include <qvds/fifo.hpp>

#include "chains.hpp"

using namespace test;
using qvds::core::check_fifo;

namespace {

class Fifo : public ChainTest {
  protected:
    Fifo() {
        for (Item *item : {&a, &b, &c})
            qvds_fifo_append(&queue, item);
    }
    static std::string content(const qvds_list &fifo) {
        return names_from(fifo.top, check_fifo(fifo));
    }

    Item a{'a'}, b{'b'}, c{'c'}, other_b{'B'}, absent{'x'};
    qvds_list queue{nullptr, nullptr}, other{nullptr, nullptr};
};

TEST_F(Fifo, AppendAddsAtTheBack) {
    EXPECT_EQ(qvds_fifo_append(&queue, &absent), &absent);
    EXPECT_EQ(content(queue), "abcx");
}

TEST_F(Fifo, PushAddsAtTheFront) {
    EXPECT_EQ(qvds_fifo_push(&queue, &absent), &absent);
    EXPECT_EQ(content(queue), "xabc");
}

TEST_F(Fifo, InsertAddsBehindAnElement) {
    EXPECT_EQ(qvds_fifo_insert(&queue, &a, &absent), &absent);
    EXPECT_EQ(qvds_fifo_insert(&queue, &c, &other_b), &other_b);
    EXPECT_EQ(content(queue), "axbcB");
}

TEST_F(Fifo, InsertAddsAtTheFrontBehindNullOrInAnEmptyQueue) {
    qvds_fifo_insert(&queue, nullptr, &absent);
    EXPECT_EQ(content(queue), "xabc");
    qvds_fifo_insert(&other, stray, &other_b);
    EXPECT_EQ(content(other), "B");
}

TEST_F(Fifo, InsertSortedPutsTheNewestOfEqualsFirst) {
    EXPECT_EQ(qvds_fifo_insert_sorted(&queue, &other_b, by_name), &other_b);
    EXPECT_EQ(content(queue), "aBbc");
}

TEST_F(Fifo, PopTakesTheFirstAndLeavesItsLink) {
    EXPECT_EQ(qvds_fifo_pop(&queue), &a);
    EXPECT_EQ(content(queue), "bc");
    EXPECT_EQ(a.node.next, &b);
}

TEST_F(Fifo, PopOfTheOnlyElementLeavesAnEmptyQueue) {
    qvds_fifo_append(&other, &absent);
    EXPECT_EQ(qvds_fifo_pop(&other), &absent);
    EXPECT_EQ(content(other), "");
    EXPECT_EQ(qvds_fifo_pop(&other), nullptr);
}

TEST_F(Fifo, ExtractUnlinksTheFirstMatchAndLeavesItsLink) {
    EXPECT_EQ(qvds_fifo_extract(&queue, &other_b, by_name), &b);
    EXPECT_EQ(content(queue), "ac");
    EXPECT_EQ(b.node.next, &c);
    EXPECT_EQ(qvds_fifo_extract(&queue, &absent, by_name), nullptr);
}

TEST_F(Fifo, ExtractOfTheLastMovesTheBack) {
    qvds_fifo_extract(&queue, &c, by_name);
    EXPECT_EQ(content(queue), "ab");
}

TEST_F(Fifo, ConcatMovesAllBehind) {
    EXPECT_EQ(qvds_fifo_concat(&queue, &other), &queue);
    EXPECT_EQ(content(queue), "abc") << "nothing to move";
    qvds_fifo_append(&other, &absent);
    EXPECT_EQ(qvds_fifo_concat(&queue, &other), &queue);
    EXPECT_EQ(content(queue), "abcx");
    EXPECT_EQ(content(other), "");
}

TEST_F(Fifo, CutMovesTheElementAndAllBehindIt) {
    EXPECT_EQ(qvds_fifo_cut(&queue, &other, &b), &other);
    EXPECT_EQ(content(queue), "a");
    EXPECT_EQ(content(other), "bc");
    qvds_fifo_cut(&other, &queue, &b);
    EXPECT_EQ(content(other), "");
    EXPECT_EQ(content(queue), "bc");
}

TEST_F(Fifo, CutAtAnAbsentElementChangesNothing) {
    other = {stray, stray};
    EXPECT_EQ(qvds_fifo_cut(&queue, &other, &absent), nullptr);
    EXPECT_EQ(content(queue), "abc");
    EXPECT_EQ(other.top, stray);
    EXPECT_EQ(other.bottom, stray);
}

TEST_F(Fifo, WalksPastSeventyThousandElements) {
    std::vector<Item> items = seventy_thousand();
    for (Item &item : items)
        qvds_fifo_append(&other, &item);
    Item *const last = &items.back();
    EXPECT_EQ(qvds_fifo_extract(&other, last, by_name), last);
    EXPECT_EQ(other.bottom, last - 1);
    qvds_fifo_insert_sorted(&other, last, by_name);
    EXPECT_EQ(other.bottom, last);
    EXPECT_EQ(qvds_fifo_cut(&other, &queue, last), &queue);
    EXPECT_EQ(other.bottom, last - 1);
    EXPECT_EQ(content(queue), "z");
}

TEST_F(Fifo, CheckNamesTheBrokenInvariant) {
    queue.bottom = nullptr;
    EXPECT_EQ(check_fifo(queue), (fault{1, nullptr}));
    queue = {nullptr, &c};
    EXPECT_EQ(check_fifo(queue), (fault{1, nullptr}));
    queue = {&a, &absent};
    EXPECT_EQ(check_fifo(queue), (fault{2, &c})) << "the last element is another";
    queue = {&a, &b};
    EXPECT_EQ(check_fifo(queue), (fault{2, &b})) << "the last element has a successor";
    queue = {&a, &c};
    b.node.next = &a;
    EXPECT_EQ(check_fifo(queue).invariant, 2) << "a ring that leaves out the last element";
}

const chain_face c_face{
    .init = qvds_fifo_init,
    .push = qvds_fifo_push,
    .insert_sorted = qvds_fifo_insert_sorted,
    .pop = qvds_fifo_pop,
    .extract = qvds_fifo_extract,
    .concat = qvds_fifo_concat,
    .cut = qvds_fifo_cut,
    .append = qvds_fifo_append,
    .insert = qvds_fifo_insert,
};
// The same through the typed face, on the same records.
qvds::fifo_view<&Item::node> typed(qvds_list *list) {
    return qvds::fifo_view<&Item::node>(*list);
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
    .cut = [](qvds_list *list, qvds_list *out, void *elem) -> qvds_list * {
        auto behind = typed(list).cut(item(elem));
        if (behind.empty())
            return nullptr;
        *out = behind.c_record();
        return out;
    },
    .append =
        [](qvds_list *list, void *elem) {
            typed(list).push_back(item(elem));
            return elem;
        },
    .insert =
        [](qvds_list *list, void *after, void *elem) {
            if (after == nullptr || typed(list).empty())
                typed(list).push_front(item(elem));
            else
                typed(list).insert_after(item(after), item(elem));
            return elem;
        },
};
// The same with a cursor wherever one will do.
template <class Stop>
auto cursor_at(qvds_list *list, Stop stop) {
    auto queue = typed(list);
    auto at = queue.cursor();
    while (at && !stop(at.get()))
        at.next();
    return at;
}
const auto at_once = [](const Item *) { return true; };
const auto at_the_end = [](const Item *) { return false; };
const chain_face cursor_face{
    .init = qvds_fifo_init,
    .push =
        [](qvds_list *list, void *elem) {
            cursor_at(list, at_once).insert(item(elem));
            return elem;
        },
    .insert_sorted =
        [](qvds_list *list, void *elem, qvds_compare_fn compare) {
            cursor_at(list, [=](const Item *stored) {
                return compare(elem, stored) <= 0;
            }).insert(item(elem));
            return elem;
        },
    .pop = [](qvds_list *list) -> void * {
        auto at = cursor_at(list, at_once);
        return at ? at.erase() : nullptr;
    },
    .extract = [](qvds_list *list, const void *key, qvds_compare_fn compare) -> void * {
        auto at = cursor_at(list, [=](const Item *stored) { return compare(key, stored) == 0; });
        return at ? at.erase() : nullptr;
    },
    .concat = typed_face.concat,
    .cut = [](qvds_list *list, qvds_list *out, void *elem) -> qvds_list * {
        auto at = cursor_at(list, [=](const Item *stored) { return stored == elem; });
        if (!at)
            return nullptr;
        *out = at.cut().c_record();
        return out;
    },
    .append =
        [](qvds_list *list, void *elem) {
            cursor_at(list, at_the_end).insert(item(elem));
            return elem;
        },
    .insert = typed_face.insert,
};

const chain_family family{
    .check = qvds::core::check_fifo,
    .has_tail = true,
    .has_back_links = false,
    .steps = {step::push, step::append, step::insert, step::insert_sorted, step::pop, step::find,
              step::extract, step::concat, step::cut, step::cut_absent},
};

TEST_F(Fifo, FollowsAModelInEveryShortProgram) {
    run_all_short_programs(family, c_face);
}

TEST_F(Fifo, FollowsAModelInRandomProgramsThroughEveryFace) {
    run_random_programs(family, {c_face, typed_face, cursor_face});
}

} // namespace

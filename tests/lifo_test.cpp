#include <qvds/lifo.h>
#include <qvds/lifo.hpp>

#include "chains.hpp"

using namespace test;
using qvds::core::check_lifo;

namespace {

class Lifo : public ChainTest {
  protected:
    Lifo() {
        for (Item *item : {&c, &b, &a})
            qvds_lifo_push(&stack, item);
    }
    static std::string content(const qvds_lifo &lifo) {
        return names_from(lifo.top, check_lifo(lifo));
    }

    Item a{'a'}, b{'b'}, c{'c'}, other_b{'B'}, absent{'x'};
    qvds_lifo stack{nullptr}, other{nullptr};
};

TEST_F(Lifo, PushPutsOnTop) {
    EXPECT_EQ(qvds_lifo_push(&stack, &absent), &absent);
    EXPECT_EQ(content(stack), "xabc");
}

TEST_F(Lifo, PopTakesTheTopAndLeavesItsLink) {
    EXPECT_EQ(qvds_lifo_pop(&stack), &a);
    EXPECT_EQ(content(stack), "bc");
    EXPECT_EQ(a.node.next, &b);
    EXPECT_EQ(qvds_lifo_pop(&other), nullptr) << "of an empty stack";
}

TEST_F(Lifo, InsertSortedPutsTheNewestOfEqualsFirst) {
    EXPECT_EQ(qvds_lifo_insert_sorted(&stack, &other_b, by_name), &other_b);
    EXPECT_EQ(qvds_lifo_insert_sorted(&stack, &absent, by_name), &absent);
    EXPECT_EQ(content(stack), "aBbcx");
}

TEST_F(Lifo, ExtractUnlinksTheFirstMatchAndLeavesItsLink) {
    EXPECT_EQ(qvds_lifo_extract(&stack, &other_b, by_name), &b);
    EXPECT_EQ(content(stack), "ac");
    EXPECT_EQ(b.node.next, &c);
    EXPECT_EQ(qvds_lifo_extract(&stack, &absent, by_name), nullptr);
}

TEST_F(Lifo, ConcatMovesAllToTheFarEnd) {
    qvds_lifo_push(&other, &absent);
    EXPECT_EQ(qvds_lifo_concat(&stack, &other), &stack);
    EXPECT_EQ(content(stack), "abcx");
    EXPECT_EQ(content(other), "");
    EXPECT_EQ(qvds_lifo_concat(&other, &stack), &other);
    EXPECT_EQ(content(other), "abcx");
}

TEST_F(Lifo, CutMovesTheElementAndAllBehindIt) {
    EXPECT_EQ(qvds_lifo_cut(&stack, &other, &b), &other);
    EXPECT_EQ(content(stack), "a");
    EXPECT_EQ(content(other), "bc");
}

TEST_F(Lifo, CutChangesNothingAtAnAbsentElementAndEmptiesOutAtNull) {
    other.top = stray;
    EXPECT_EQ(qvds_lifo_cut(&stack, &other, &absent), nullptr);
    EXPECT_EQ(other.top, stray);
    EXPECT_EQ(qvds_lifo_cut(&stack, &other, nullptr), &other);
    EXPECT_EQ(other.top, nullptr);
    EXPECT_EQ(content(stack), "abc");
}

TEST_F(Lifo, WalksPastSeventyThousandElements) {
    std::vector<Item> items = seventy_thousand();
    for (size_t i = items.size(); i-- > 0;)
        qvds_lifo_push(&other, &items[i]);
    Item *const last = &items.back();
    EXPECT_EQ(qvds_lifo_extract(&other, last, by_name), last);
    qvds_lifo_insert_sorted(&other, last, by_name);
    EXPECT_EQ((last - 1)->node.next, last);
    EXPECT_EQ(qvds_lifo_cut(&other, &stack, last), &stack);
    EXPECT_EQ((last - 1)->node.next, nullptr);
    qvds_lifo_concat(&other, &stack);
    EXPECT_EQ((last - 1)->node.next, last);
}

TEST_F(Lifo, CheckFindsARing) {
    for (Item *target : {&a, &b, &c}) {
        c.node.next = target;
        EXPECT_EQ(check_lifo(stack).invariant, 1);
    }
}

// The driver knows one type of header; that of a stack is its first word.
qvds_lifo *as_lifo(qvds_list *list) {
    return reinterpret_cast<qvds_lifo *>(list);
}
qvds_list *as_list(qvds_lifo *lifo) {
    return reinterpret_cast<qvds_list *>(lifo);
}

const chain_face c_face{
    .init = [](qvds_list *list) { return qvds_lifo_init(as_lifo(list)); },
    .push = [](qvds_list *list, void *elem) { return qvds_lifo_push(as_lifo(list), elem); },
    .insert_sorted =
        [](qvds_list *list, void *elem, qvds_compare_fn compare) {
            return qvds_lifo_insert_sorted(as_lifo(list), elem, compare);
        },
    .pop = [](qvds_list *list) { return qvds_lifo_pop(as_lifo(list)); },
    .extract =
        [](qvds_list *list, const void *key, qvds_compare_fn compare) {
            return qvds_lifo_extract(as_lifo(list), key, compare);
        },
    .concat = [](qvds_list *dest,
                 qvds_list *src) { return as_list(qvds_lifo_concat(as_lifo(dest), as_lifo(src))); },
    .cut = [](qvds_list *list, qvds_list *out,
              void *elem) { return as_list(qvds_lifo_cut(as_lifo(list), as_lifo(out), elem)); },
};

// The same through the typed face, on the same records.
qvds::lifo_view<&Item::node> typed(qvds_list *list) {
    return qvds::lifo_view<&Item::node>(*as_lifo(list));
}
Item &item(void *elem) {
    return *static_cast<Item *>(elem);
}
const chain_face typed_face{
    .init =
        [](qvds_list *list) {
            typed(list).clear();
            return 0;
        },
    .push =
        [](qvds_list *list, void *elem) {
            typed(list).push(item(elem));
            return elem;
        },
    .insert_sorted =
        [](qvds_list *list, void *elem, qvds_compare_fn compare) {
            typed(list).insert_sorted(item(elem), [=](const Item &stored, const Item &added) {
                return compare(&added, &stored) > 0;
            });
            return elem;
        },
    .pop = [](qvds_list *list) -> void * { return typed(list).pop(); },
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
        *as_lifo(out) = behind.c_record();
        return out;
    },
};
// The same with a cursor wherever one will do.
template <class Stop>
auto cursor_at(qvds_list *list, Stop stop) {
    auto stack = typed(list);
    auto at = stack.cursor();
    while (at && !stop(at.get()))
        at.next();
    return at;
}
const auto at_once = [](const Item *) { return true; };
const chain_face cursor_face{
    .init = typed_face.init,
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
        *as_lifo(out) = at.cut().c_record();
        return out;
    },
};

const chain_family family{
    .check = [](const qvds_list &list) { return check_lifo({list.top}); },
    .has_tail = false,
    .has_back_links = false,
    .steps = {step::push, step::insert_sorted, step::pop, step::find, step::extract, step::concat,
              step::cut, step::cut_absent},
};

TEST_F(Lifo, FollowsAModelInEveryShortProgram) {
    run_all_short_programs(family, c_face);
}

TEST_F(Lifo, FollowsAModelInRandomProgramsThroughEveryFace) {
    run_random_programs(family, {c_face, typed_face, cursor_face});
}

} // namespace

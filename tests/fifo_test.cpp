#include <qvds/fifo.h>

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

TEST_F(Fifo, FollowsAModelInRandomPrograms) {
    run_random_programs(family, {c_face});
}

} // namespace

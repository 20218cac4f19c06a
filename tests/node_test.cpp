// Walks over a chain that any family may have built.

#include <qvds/node.h>

#include "chains.hpp"

using namespace test;

namespace {

class Node : public ChainTest {
  protected:
    Node() {
        a.node = {&b, nullptr};
        b.node = {&c, &a};
        c.node = {nullptr, &b};
    }

    Item a{'a'}, b{'b'}, c{'c'};
    qvds_list list{&a, &c}, empty{nullptr, nullptr};
};

Items visited;

// Spoils the links of what it is given, as if that were released. Stops at the element ctx.
int32_t visit(void *elem, void *ctx) {
    visited.push_back(static_cast<Item *>(elem));
    visited.back()->node = {stray, stray};
    return elem == ctx ? INT32_MIN : 0;
}

std::string visited_names() {
    return names(std::exchange(visited, {}));
}

TEST_F(Node, InitClearsBothWords) {
    EXPECT_EQ(qvds_list_init(&list), 0);
    EXPECT_EQ(list.top, nullptr);
    EXPECT_EQ(list.bottom, nullptr);
}

TEST_F(Node, TopAndBottomAreTheEnds) {
    EXPECT_EQ(qvds_list_top(&list), &a);
    EXPECT_EQ(qvds_list_bottom(&list), &c);
}

TEST_F(Node, FindAsksFromTheFrontUpToTheMatch) {
    const Item key('B'), absent('x');
    EXPECT_EQ(qvds_node_find(&list, &key, by_name), &b);
    EXPECT_EQ(names(std::exchange(asked, {})), "ab");
    EXPECT_EQ(qvds_node_find(&list, &absent, by_name), nullptr);
    EXPECT_EQ(names(std::exchange(asked, {})), "abc");
    EXPECT_EQ(qvds_node_find(&empty, &key, by_name), nullptr);
    EXPECT_EQ(names(asked), "");
}

TEST_F(Node, EnumLetsElementsBeReleasedFromTheFrontOn) {
    EXPECT_EQ(qvds_node_enum(&list, visit, nullptr), 0);
    EXPECT_EQ(visited_names(), "abc");
    EXPECT_EQ(qvds_node_enum(&empty, visit, nullptr), 0);
    EXPECT_EQ(visited_names(), "");
}

TEST_F(Node, ReverseEnumLetsElementsBeReleasedFromTheBackOn) {
    EXPECT_EQ(qvds_node_reverse_enum(&list, visit, nullptr), 0);
    EXPECT_EQ(visited_names(), "cba");
    EXPECT_EQ(qvds_node_reverse_enum(&empty, visit, nullptr), 0);
    EXPECT_EQ(visited_names(), "");
}

TEST_F(Node, EnumStopsWithAnyResultButZero) {
    EXPECT_EQ(qvds_node_enum(&list, visit, &b), INT32_MIN);
    EXPECT_EQ(visited_names(), "ab");
}

TEST_F(Node, ReverseEnumStopsWithAnyResultButZero) {
    EXPECT_EQ(qvds_node_reverse_enum(&list, visit, &b), INT32_MIN);
    EXPECT_EQ(visited_names(), "cb");
}

TEST_F(Node, EnumLetsExceptionsPass) {
    const qvds_visit_fn refuse = [](void *elem, void *) -> int32_t { throw elem; };
    EXPECT_THROW(qvds_node_enum(&list, refuse, nullptr), void *);
    EXPECT_THROW(qvds_node_reverse_enum(&list, refuse, nullptr), void *);
}

TEST_F(Node, CursorHandsOutEachElementAndThenNull) {
    qvds_node_iter cursor{stray};
    EXPECT_EQ(qvds_node_iter_init(&cursor, &list), 0);
    EXPECT_EQ(qvds_node_iter_next(&cursor), &a);
    EXPECT_EQ(qvds_node_iter_next(&cursor), &b);
    EXPECT_EQ(qvds_node_iter_next(&cursor), &c);
    EXPECT_EQ(qvds_node_iter_next(&cursor), nullptr);
    EXPECT_EQ(qvds_node_iter_next(&cursor), nullptr);
}

TEST_F(Node, PeekSeesOneElementFurtherThanNext) {
    qvds_node_iter cursor{&b};
    EXPECT_EQ(qvds_node_iter_peek(&cursor), &c);
    EXPECT_EQ(qvds_node_iter_next(&cursor), &b);
    EXPECT_EQ(qvds_node_iter_peek(&cursor), nullptr);
    EXPECT_EQ(qvds_node_iter_next(&cursor), &c);
    EXPECT_EQ(qvds_node_iter_peek(&cursor), nullptr);
}

TEST_F(Node, CursorToleratesNull) {
    qvds_node_iter cursor{stray};
    EXPECT_EQ(qvds_node_iter_init(&cursor, nullptr), -1);
    EXPECT_EQ(qvds_node_iter_init(nullptr, &list), -1);
    EXPECT_EQ(qvds_node_iter_next(nullptr), nullptr);
    EXPECT_EQ(qvds_node_iter_peek(nullptr), nullptr);
}

TEST_F(Node, WalksPastSeventyThousandElements) {
    std::vector<Item> items = seventy_thousand();
    for (size_t i = 0; i < items.size(); ++i) {
        items[i].node.next = i + 1 < items.size() ? &items[i + 1] : nullptr;
        items[i].node.prev = i > 0 ? &items[i - 1] : nullptr;
    }
    list = {&items.front(), &items.back()};
    EXPECT_EQ(qvds_node_find(&list, &items.back(), by_name), &items.back());
    const qvds_visit_fn count = [](void *, void *counter) {
        ++*static_cast<size_t *>(counter);
        return 0;
    };
    size_t forwards = 0, backwards = 0, handed_out = 0;
    qvds_node_enum(&list, count, &forwards);
    EXPECT_EQ(forwards, items.size());
    qvds_node_reverse_enum(&list, count, &backwards);
    EXPECT_EQ(backwards, items.size());
    qvds_node_iter cursor;
    qvds_node_iter_init(&cursor, &list);
    while (qvds_node_iter_next(&cursor) != nullptr)
        ++handed_out;
    EXPECT_EQ(handed_out, items.size());
}

} // namespace

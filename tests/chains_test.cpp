// Stack and queues run random programs beside a std::deque, and so does the headerless list. After
// every step the links of all elements are compared with the model word for word.

#include <qvds/qvds.h>

#include <algorithm>
#include <deque>

#include "support.hpp"

namespace {

void *stray = &stray; // what a link must not be left at by accident

struct Item {
    qvds_node node{stray, stray};
    int key = 0;
    qvds_node due = node; // what node should be: as the model says, or as when the element left
};
using Model = std::deque<Item *>;

// The elements that a callback was asked about, and those that it should have been.
Model asked, to_ask;

int32_t by_key(const void *key, const void *elem) {
    asked.push_back(static_cast<Item *>(const_cast<void *>(elem)));
    return static_cast<const Item *>(key)->key - asked.back()->key;
}

Item *element_at(const Model &model, Model::const_iterator at) {
    return at == model.end() ? nullptr : *at;
}

// Where a search in this order should stop, having asked about each element up to there.
template <class Stop>
Item *search(const Model &order, Stop stop) {
    const auto spot = std::find_if(order.begin(), order.end(), stop);
    to_ask.assign(order.begin(), spot == order.end() ? spot : spot + 1);
    return element_at(order, spot);
}

// Elements, and the two chains that they should form.
struct Elements {
    // Which element's links are broken, or "". The ends come from the model.
    std::string fault() {
        for (const Model &chain : models)
            for (size_t i = 0; i < chain.size(); ++i) {
                void *const before = i > 0 ? chain[i - 1] : nullptr;
                void *const behind = i + 1 < chain.size() ? chain[i + 1] : nullptr;
                chain[i]->due = {behind, back_links ? before : stray};
            }
        for (size_t i = 0; i < items.size(); ++i)
            if (items[i].node.next != items[i].due.next || items[i].node.prev != items[i].due.prev)
                return "element " + std::to_string(i);
        return "";
    }
    void expect_out(const Item *expected, void *removed) {
        EXPECT_EQ(removed, expected);
        std::erase(model, expected);
    }

    bool back_links = true;
    std::deque<Item> items{};
    Model models[2]{};
    Model &model = models[0], &other_model = models[1];
};

// Two chains of one family. A family gives nullptr for what it lacks.
template <class Head, auto init, auto push, auto pop, auto insert_sorted, auto extract, auto concat,
          auto cut, auto append, auto insert, auto pop_tail, auto extract_existing>
struct Pair : Elements {
    static constexpr bool tail = !std::is_null_pointer_v<decltype(append)>;
    static constexpr bool doubly = !std::is_null_pointer_v<decltype(pop_tail)>;

    Pair() : Elements{doubly} { EXPECT_TRUE(init(list) == 0 && init(other) == 0); }

    void step(size_t kind, Model::iterator at, Item *elem) {
        const auto end = model.end();
        Item *const there = element_at(model, at);
        if (kind == 0) {
            EXPECT_EQ(push(list, elem), model.emplace_front(elem));
        } else if (kind == 1) {
            expect_out(element_at(model, model.begin()), pop(list));
        } else if (kind == 2) {
            Item *const next =
                search(model, [=](Item *stored) { return elem->key <= stored->key; });
            model.insert(std::find(model.begin(), end, next), elem);
            EXPECT_EQ(insert_sorted(list, elem, by_key), elem);
        } else if (kind == 3) {
            Item *const match =
                search(model, [=](Item *stored) { return stored->key == elem->key; });
            EXPECT_EQ(qvds_node_find(list, elem, by_key), match);
            EXPECT_EQ(std::exchange(asked, {}), to_ask);
            expect_out(match, extract(list, elem, by_key));
        } else if (kind == 4) {
            EXPECT_EQ(concat(list, other), list);
            model.insert(end, other_model.begin(), other_model.end());
            other_model.clear();
        } else if (kind == 5 && (at != end || !tail)) { // whatever other held is overwritten
            EXPECT_EQ(cut(list, other, there), other);
            other_model.assign(at, end);
            model.erase(at, end);
        } else if (kind == 6 && !doubly) {
            EXPECT_EQ(cut(list, other, elem), nullptr) << "not in the chain";
        } else if constexpr (tail) {
            if (kind == 7) {
                EXPECT_EQ(append(list, elem), model.emplace_back(elem));
            } else if (kind == 8) {
                EXPECT_EQ(insert(list, model.empty() ? stray : there, elem), elem);
                model.insert(at == end ? model.begin() : at + 1, elem);
            } else if constexpr (doubly) {
                if (kind == 9 && at == end)
                    expect_out(element_at(model, end - !model.empty()), pop_tail(list));
                else if (kind == 9)
                    expect_out(there, extract_existing(list, there));
            }
        }
        for (size_t i = 0; i < 2; ++i) {
            const void *const last = models[i].empty() ? nullptr : models[i].back();
            ASSERT_EQ(qvds_list_top(&headers[i]), element_at(models[i], models[i].begin()));
            ASSERT_EQ(qvds_list_bottom(&headers[i]), tail ? last : stray);
        }
    }

    qvds_list headers[2] = {{stray, stray}, {stray, stray}};
    Head *const list = reinterpret_cast<Head *>(&headers[0]);
    Head *const other = reinterpret_cast<Head *>(&headers[1]);
};

using Lifo =
    Pair<qvds_lifo, qvds_lifo_init, qvds_lifo_push, qvds_lifo_pop, qvds_lifo_insert_sorted,
         qvds_lifo_extract, qvds_lifo_concat, qvds_lifo_cut, nullptr, nullptr, nullptr, nullptr>;
using Fifo = Pair<qvds_list, qvds_fifo_init, qvds_fifo_push, qvds_fifo_pop, qvds_fifo_insert_sorted,
                  qvds_fifo_extract, qvds_fifo_concat, qvds_fifo_cut, qvds_fifo_append,
                  qvds_fifo_insert, nullptr, nullptr>;
using Fifo2 =
    Pair<qvds_list, qvds_fifo_init, qvds_fifo2_push, qvds_fifo2_pop, qvds_fifo2_insert_sorted,
         qvds_fifo2_extract, qvds_fifo2_concat, qvds_fifo2_cut, qvds_fifo2_append,
         qvds_fifo2_insert, qvds_fifo2_pop_tail, qvds_fifo2_extract_existing>;

// A headerless list and its handle. The other chain is what has been cut off.
struct Sloppy : Elements {
    void step(size_t kind, Model::iterator at, Item *elem) {
        const auto end = model.end();
        const auto here = std::find(model.begin(), end, handle);
        const auto behind = here == end ? end : here + 1;
        Item *const there = element_at(model, at);
        Item *out = nullptr;
        if (kind == 0) {
            EXPECT_EQ(qvds_sloppy_append(&handle, elem), model.emplace_back(elem));
        } else if (kind == 1) {
            EXPECT_EQ(qvds_sloppy_insert(&handle, elem), *model.insert(behind, elem));
        } else if (kind == 2) {
            due_handle = here == model.begin() ? elem : due_handle;
            EXPECT_EQ(qvds_sloppy_push(&handle, elem), model.emplace_front(elem));
        } else if (kind == 3 && (at != end || model.empty())) {
            out = there;
            expect_out(out, qvds_sloppy_extract_existing(&handle, at != end ? there : elem));
        } else if (kind == 4) {
            Model outwards(std::make_reverse_iterator(behind), model.rend());
            outwards.insert(outwards.end(), behind, end);
            out = search(outwards, [=](Item *stored) { return stored->key == elem->key; });
            EXPECT_EQ(qvds_sloppy_find(handle, elem, by_key), out);
            EXPECT_EQ(std::exchange(asked, {}), to_ask);
            expect_out(out, qvds_sloppy_extract(&handle, elem, by_key));
        } else if (kind == 5 && at != end && other_model.empty()) {
            EXPECT_EQ(qvds_sloppy_cut(there), there);
            handle = due_handle = there;
            other_model.assign(model.begin(), at);
            model.erase(model.begin(), at);
        } else if (kind == 6 && at != end) {
            Item *const other = other_model.empty() ? nullptr : other_model[other_model.size() / 2];
            EXPECT_EQ(qvds_sloppy_concat(there, other), other != nullptr ? there : nullptr);
            model.insert(end, other_model.begin(), other_model.end());
            other_model.clear();
        } else if (kind == 7 && at != end) {
            handle = due_handle = there;
        }
        if (out != nullptr && out == due_handle)
            due_handle = out->due.prev != nullptr ? out->due.prev : out->due.next;
        if (out != nullptr)
            out->due = {nullptr, nullptr};
        if (model.size() == 1)
            due_handle = model.front();
        ASSERT_EQ(handle, due_handle);
        ASSERT_EQ(qvds_sloppy_first(handle), element_at(model, model.begin()));
        ASSERT_EQ(qvds_sloppy_last(handle), element_at(model, model.end() - !model.empty()));
        ASSERT_EQ(qvds_sloppy_count(handle), model.size());
    }

    void *handle = nullptr, *due_handle = nullptr;
};

template <class Driver>
class Chains : public testing::Test {};
using Drivers = testing::Types<Lifo, Fifo, Fifo2, Sloppy>;
TYPED_TEST_SUITE(Chains, Drivers, );

TYPED_TEST(Chains, MislinkOrAskOtherElements) {
    test::for_each_seed([](test::Random &random) {
        for (int program = 0; program < 100; ++program) {
            TypeParam chains;
            for (int i = 0; i < 50; ++i) {
                const auto place = static_cast<ptrdiff_t>(random.below(chains.model.size() + 1));
                Item &elem = chains.items.emplace_back();
                elem.key = static_cast<int>(random.below(8));
                chains.step(random.below(10), chains.model.begin() + place, &elem);
                ASSERT_EQ(chains.fault(), "");
                ASSERT_EQ(std::exchange(asked, {}), std::exchange(to_ask, {}));
            }
            Item &item = chains.items[random.below(50)];
            (random.one_in(2) ? item.node.next : item.node.prev) = &item;
            ASSERT_NE(chains.fault(), "");
        }
    });
}

// The cursor only reads; the callback unlinks and spoils what it is given.
TEST(Walks, ReadAWrongLinkOrGoOnAfterAResult) {
    const qvds_visit_fn visit = [](void *elem, void *queue) -> int32_t {
        asked.push_back(static_cast<Item *>(elem));
        qvds_fifo2_extract_existing(static_cast<qvds_list *>(queue), elem);
        asked.back()->node = {stray, stray};
        return asked.back()->key;
    };
    for (const bool reverse : {false, true}) {
        Item items[3] = {{}, {.key = -7}, {}};
        qvds_list queue{stray, stray};
        EXPECT_EQ(qvds_list_init(&queue), 0);
        for (Item &item : items)
            qvds_fifo2_append(&queue, &item);
        qvds_node_iter cursor{stray};
        EXPECT_EQ(qvds_node_iter_init(&cursor, &queue), 0);
        for (const Item &item : items) {
            EXPECT_EQ(qvds_node_iter_peek(&cursor), item.node.next);
            EXPECT_EQ(qvds_node_iter_next(&cursor), &item);
        }
        for (const int result : {-7, 0})
            EXPECT_EQ((reverse ? qvds_node_reverse_enum(&queue, visit, &queue)
                               : qvds_node_enum(&queue, visit, &queue)),
                      result);
        const Model order{&items[reverse ? 2 : 0], &items[1], &items[reverse ? 0 : 2]};
        EXPECT_EQ(std::exchange(asked, {}), order);
    }
    const qvds_visit_fn refuse = [](void *elem, void *) -> int32_t { throw elem; };
    EXPECT_THROW(qvds_node_enum(&stray, refuse, nullptr), void *);
}

TEST(Chain, FollowsNull) {
    qvds_node_iter end{nullptr};
    EXPECT_TRUE(qvds_node_iter_init(&end, nullptr) == -1 &&
                qvds_node_iter_init(nullptr, &stray) == -1);
    for (const void *result :
         {qvds_node_iter_next(nullptr), qvds_node_iter_peek(nullptr), qvds_node_iter_next(&end),
          qvds_node_iter_peek(&end), qvds_sloppy_cut(nullptr), qvds_sloppy_concat(nullptr, stray)})
        EXPECT_EQ(result, nullptr);
}

} // namespace

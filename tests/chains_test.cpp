// Stack and queues run the same programs beside a std::deque, and so does the headerless list.
// After every step the links are compared with the model word for word.

#include <qvds/qvds.h>

#include <algorithm>
#include <deque>

#include "support.hpp"

namespace {

struct Item {
    qvds_node node;
    int key;
};
using Model = std::deque<Item *>;

Item stray{{nullptr, nullptr}, -1}; // what a link must not be left at by accident

// The elements that compare was asked about, and those that it should have been.
Model asked, to_ask;

int32_t by_key(const void *key, const void *elem) {
    asked.push_back(static_cast<Item *>(const_cast<void *>(elem)));
    return static_cast<const Item *>(key)->key - asked.back()->key;
}

// Where a search in this order should stop, having asked about each element up to there.
template <class Stop>
Model::iterator search(Model &order, Stop stop) {
    const auto spot = std::find_if(order.begin(), order.end(), stop);
    to_ask.assign(order.begin(), spot == order.end() ? spot : spot + 1);
    return spot;
}

void expect_asked() {
    EXPECT_EQ(asked, to_ask);
    asked.clear();
}

Item *element_at(const Model &model, Model::const_iterator at) {
    return at == model.end() ? nullptr : *at;
}

// Which link of element i is broken, or "". The ends come from the model.
std::string fault_at(const Model &model, size_t i, bool back_links) {
    if (model[i]->node.next != (i + 1 < model.size() ? model[i + 1] : nullptr))
        return "next of element " + std::to_string(i);
    if (model[i]->node.prev != (!back_links ? &stray : i > 0 ? model[i - 1] : nullptr))
        return "prev of element " + std::to_string(i);
    return "";
}

std::string fault(const Model &model, bool back_links = true) {
    std::string found;
    for (size_t i = 0; i < model.size() && found.empty(); ++i)
        found = fault_at(model, i, back_links);
    return found;
}

TEST(Fault, OverlooksABrokenLink) {
    Item items[3] = {
        {{&items[1], nullptr}, 0}, {{&items[2], &items[0]}, 0}, {{nullptr, &items[1]}, 0}};
    const Model model{&items[0], &items[1], &items[2]};
    EXPECT_EQ(fault(model), "");
    for (Item &item : items)
        for (void **word : {&item.node.next, &item.node.prev}) {
            void *const sound = std::exchange(*word, &stray);
            EXPECT_NE(fault(model), "");
            *word = sound;
        }
}

Model::iterator place_in(Model &model, size_t place) {
    return model.begin() + static_cast<ptrdiff_t>(place % (model.size() + 1));
}

// Two chains of one family, and what they should hold. A family gives nullptr for what it lacks.
template <class Head, auto init, auto push, auto pop, auto insert_sorted, auto extract, auto concat,
          auto cut, auto append, auto insert, auto pop_tail, auto extract_existing>
class Pair {
  public:
    static constexpr size_t kinds = 10;

    Pair() {
        for (qvds_list &list : lists_)
            EXPECT_EQ(init(head(list)), 0);
    }

    // One operation on chain `which`, where it needs one, at that place, which may be past the end,
    // and with an element of that key.
    void step(size_t kind, size_t which, size_t place, int key) {
        Model &model = models_[which], &other_model = models_[1 - which];
        Head *const list = head(lists_[which]), *const other = head(lists_[1 - which]);
        const auto end = model.end(), at = place_in(model, place);
        Item *const elem = &items_.emplace_back(Item{{&stray, &stray}, key});
        if (kind == 0) {
            EXPECT_EQ(push(list, elem), elem);
            model.push_front(elem);
        } else if (kind == 1) {
            expect_removed(model, model.begin(), pop(list));
        } else if (kind == 2) {
            const auto spot = search(model, [=](Item *stored) { return key <= stored->key; });
            EXPECT_EQ(insert_sorted(list, elem, by_key), elem);
            expect_asked();
            model.insert(spot, elem);
        } else if (kind == 3) {
            const auto spot = search(model, [=](Item *stored) { return stored->key == key; });
            EXPECT_EQ(qvds_node_find(list, elem, by_key), element_at(model, spot));
            expect_asked();
            expect_removed(model, spot, extract(list, elem, by_key));
            expect_asked();
        } else if (kind == 4) {
            EXPECT_EQ(concat(list, other), list);
            model.insert(end, other_model.begin(), other_model.end());
            other_model.clear();
        } else if (kind == 5 && (at != end || !tail)) { // whatever other held is overwritten
            EXPECT_EQ(cut(list, other, element_at(model, at)), other);
            other_model.assign(at, end);
            model.erase(at, end);
        } else if (kind == 6) {
            if constexpr (!back_links) {
                EXPECT_EQ(cut(list, other, &stray), nullptr) << "not in the chain";
            }
        } else if (kind == 7) {
            if constexpr (tail) {
                EXPECT_EQ(append(list, elem), elem);
                model.push_back(elem);
            }
        } else if (kind == 8) {
            if constexpr (tail) {
                Item *const after = model.empty() ? &stray : element_at(model, at);
                EXPECT_EQ(insert(list, after, elem), elem);
                model.insert(at == end ? model.begin() : at + 1, elem);
            }
        } else if constexpr (back_links) {
            if (at != end)
                expect_removed(model, at, extract_existing(list, *at));
            else
                expect_removed(model, end - !model.empty(), pop_tail(list));
        }
        for (size_t i = 0; i < 2; ++i) {
            const void *const last = element_at(models_[i], models_[i].end() - !models_[i].empty());
            ASSERT_EQ(qvds_list_top(&lists_[i]), element_at(models_[i], models_[i].begin()));
            ASSERT_EQ(qvds_list_bottom(&lists_[i]), tail ? last : &stray);
            ASSERT_EQ(fault(models_[i], back_links), "");
        }
    }

  private:
    static constexpr bool tail = !std::is_null_pointer_v<decltype(append)>;
    static constexpr bool back_links = !std::is_null_pointer_v<decltype(pop_tail)>;

    static Head *head(qvds_list &list) { return reinterpret_cast<Head *>(&list); }

    // The element has left the chain with its own links as they were.
    static void expect_removed(Model &model, Model::iterator spot, void *returned) {
        EXPECT_EQ(returned, element_at(model, spot));
        if (spot == model.end())
            return;
        EXPECT_EQ(fault_at(model, static_cast<size_t>(spot - model.begin()), back_links), "");
        model.erase(spot);
    }

    qvds_list lists_[2] = {{&stray, &stray}, {&stray, &stray}};
    Model models_[2];
    std::deque<Item> items_;
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

// A headerless list, its handle, and what they should be.
class Sloppy {
  public:
    static constexpr size_t kinds = 7;

    void step(size_t kind, size_t, size_t place, int key) {
        const auto end = model_.end(), at = place_in(model_, place);
        const auto here = std::find(model_.begin(), end, handle_);
        const auto behind = here == end ? end : here + 1;
        Item *const elem = &items_.emplace_back(Item{{&stray, &stray}, key});
        if (kind == 0) {
            EXPECT_EQ(qvds_sloppy_append(&handle_, elem), elem);
            model_.push_back(elem);
        } else if (kind == 1) {
            EXPECT_EQ(qvds_sloppy_insert(&handle_, elem), elem);
            model_.insert(behind, elem);
        } else if (kind == 2) {
            EXPECT_EQ(qvds_sloppy_push(&handle_, elem), elem);
            if (here == model_.begin())
                expected_handle_ = elem;
            model_.push_front(elem);
        } else if (kind == 3 && (at != end || model_.empty())) {
            expect_removed(at, qvds_sloppy_extract_existing(&handle_, at != end ? *at : elem));
        } else if (kind == 4) {
            Model outwards(std::make_reverse_iterator(behind), model_.rend());
            outwards.insert(outwards.end(), behind, end);
            const auto spot = search(outwards, [=](Item *stored) { return stored->key == key; });
            Item *const match = element_at(outwards, spot);
            EXPECT_EQ(qvds_sloppy_find(handle_, elem, by_key), match);
            expect_asked();
            void *const extracted = qvds_sloppy_extract(&handle_, elem, by_key);
            expect_removed(std::find(model_.begin(), end, match), extracted);
            expect_asked();
        } else if (kind == 5 && at != end) {
            // Cut off the back part, and put it behind the front part again or before it.
            Model back(at, end);
            EXPECT_EQ(qvds_sloppy_cut(*at), *at);
            model_.erase(at, end);
            ASSERT_EQ(fault(model_) + fault(back), "");
            if (key % 2 == 0)
                model_.swap(back);
            Item *const a = model_.empty() ? nullptr : model_[place % model_.size()];
            Item *const b = back.empty() ? nullptr : back[place % back.size()];
            EXPECT_EQ(qvds_sloppy_concat(a, b), b != nullptr ? a : nullptr);
            model_.insert(model_.end(), back.begin(), back.end());
        } else if (kind == 6 && at != end) {
            handle_ = expected_handle_ = *at;
        }
        if (model_.size() == 1)
            expected_handle_ = model_.front();
        ASSERT_EQ(handle_, expected_handle_);
        ASSERT_EQ(fault(model_), "");
        for (const Item *from : model_) {
            ASSERT_EQ(qvds_sloppy_first(from), model_.front());
            ASSERT_EQ(qvds_sloppy_last(from), model_.back());
            ASSERT_EQ(qvds_sloppy_count(from), model_.size());
        }
    }

  private:
    void expect_removed(Model::iterator at, void *returned) {
        Item *const elem = element_at(model_, at);
        EXPECT_EQ(returned, elem);
        if (elem == nullptr)
            return;
        EXPECT_TRUE(elem->node.next == nullptr && elem->node.prev == nullptr);
        at = model_.erase(at);
        if (expected_handle_ == elem)
            expected_handle_ = element_at(model_, at == model_.begin() ? at : at - 1);
    }

    Item *handle_ = nullptr, *expected_handle_ = nullptr;
    Model model_;
    std::deque<Item> items_;
};

template <class Driver>
class Chains : public testing::Test {};
using Drivers = testing::Types<Lifo, Fifo, Fifo2, Sloppy>;
TYPED_TEST_SUITE(Chains, Drivers, );

// What matters about a chain is whether it is empty, one element, two or more, and about a place
// whether it is first, last or between.
TYPED_TEST(Chains, MislinkOrAskOtherElements) {
    for (size_t sizes = 0; sizes < 16; ++sizes)
        test::for_each_sequence(2, 3 * TypeParam::kinds, [&](const std::vector<size_t> &program) {
            TypeParam chains;
            for (size_t i = 0; i < sizes % 4; ++i)
                chains.step(0, 0, 0, 3 + static_cast<int>(i));
            for (size_t i = 0; i < sizes / 4; ++i)
                chains.step(0, 1, 0, 3 + static_cast<int>(i));
            for (const size_t code : program)
                chains.step(code / 3, 0, code % 3, 4);
        });
    test::for_each_seed([](test::Random &random) {
        TypeParam chains;
        for (int i = 0; i < 1000 && !testing::Test::HasFatalFailure(); ++i)
            chains.step(random.below(TypeParam::kinds), random.below(2), random.below(20),
                        static_cast<int>(random.below(8)));
    });
}

// The callback unlinks and spoils what it is given.
TEST(Walks, ReadALinkTooLateOrGoOnAfterAResult) {
    const qvds_visit_fn visit = [](void *elem, void *queue) -> int32_t {
        asked.push_back(static_cast<Item *>(elem));
        qvds_fifo2_extract_existing(static_cast<qvds_list *>(queue), elem);
        asked.back()->node = {&stray, &stray};
        return asked.back()->key;
    };
    Item items[5] = {{{}, 0}, {{}, 0}, {{}, -7}, {{}, 0}, {{}, 0}};
    qvds_list queue{&stray, &stray};
    EXPECT_EQ(qvds_list_init(&queue), 0);
    for (const bool reverse : {false, true}) {
        to_ask.clear();
        for (Item &item : items) {
            qvds_fifo2_append(&queue, &item);
            to_ask.insert(reverse ? to_ask.begin() : to_ask.end(), &item);
        }
        for (const int result : {-7, 0}) {
            EXPECT_EQ((reverse ? qvds_node_reverse_enum(&queue, visit, &queue)
                               : qvds_node_enum(&queue, visit, &queue)),
                      result);
            EXPECT_EQ(asked.size(), result != 0 ? 3U : 5U);
        }
        expect_asked();
    }
    const qvds_lifo one{&items[0]};
    const qvds_visit_fn refuse = [](void *elem, void *) -> int32_t { throw elem; };
    EXPECT_THROW(qvds_node_enum(&one, refuse, nullptr), void *);
}

TEST(Cursor, PeeksAtTheWrongElementOrFollowsNull) {
    Item b{}, a{{&b, nullptr}, 0}, *const none = nullptr;
    const qvds_lifo stack{&a};
    qvds_node_iter cursor{&stray};
    EXPECT_EQ(qvds_node_iter_init(&cursor, nullptr), -1);
    EXPECT_EQ(qvds_node_iter_init(nullptr, &stack), -1);
    EXPECT_EQ(cursor.next, &stray);
    EXPECT_EQ(qvds_node_iter_init(&cursor, &stack), 0);
    for (Item *const elem : {&a, &b, none}) {
        EXPECT_EQ(qvds_node_iter_peek(&cursor), elem == &a ? &b : nullptr);
        EXPECT_EQ(qvds_node_iter_next(&cursor), elem);
    }
    EXPECT_EQ(qvds_node_iter_next(nullptr), nullptr);
    EXPECT_EQ(qvds_node_iter_peek(nullptr), nullptr);
}

TEST(HeaderlessList, FollowsNull) {
    EXPECT_EQ(qvds_sloppy_first(nullptr), nullptr);
    EXPECT_EQ(qvds_sloppy_last(nullptr), nullptr);
    EXPECT_EQ(qvds_sloppy_concat(nullptr, &stray), nullptr);
    EXPECT_EQ(qvds_sloppy_cut(nullptr), nullptr);
    EXPECT_EQ(qvds_sloppy_count(nullptr), 0U);
}

} // namespace

// Stack and queues run the same programs beside a std::deque; the headerless list has a driver of
// its own. After every step the links are compared with the model word for word.

#include <qvds/qvds.h>

#include <algorithm>
#include <deque>
#include <memory>

#include "support.hpp"

namespace {

struct Item {
    qvds_node node;
    int key;
};
using Model = std::deque<Item *>;

Item stray{{nullptr, nullptr}, -1}; // what a link must not be left at by accident

// compare, with a record of the elements it was asked about.
std::vector<const void *> asked;
int32_t by_key(const void *key, const void *elem) {
    asked.push_back(elem);
    return static_cast<const Item *>(key)->key - static_cast<const Item *>(elem)->key;
}

int32_t collect(void *elem, void *ctx) {
    static_cast<Model *>(ctx)->push_back(static_cast<Item *>(elem));
    return 0;
}

// Which invariant of a doubly linked chain is broken, or "". The ends come from the model.
std::string broken_links(const Model &model, bool back_links) {
    for (size_t i = 0; i < model.size(); ++i) {
        if (model[i]->node.next != (i + 1 < model.size() ? model[i + 1] : nullptr))
            return "next of element " + std::to_string(i);
        if (back_links && model[i]->node.prev != (i > 0 ? model[i - 1] : nullptr))
            return "prev of element " + std::to_string(i);
        if (!back_links && model[i]->node.prev != &stray)
            return "prev word written at element " + std::to_string(i);
    }
    return "";
}

// The operations of a queue-like family; null where it has none.
struct Family {
    const char *name;
    bool tail, back_links;
    void *(*push)(qvds_list *, void *);
    void *(*append)(qvds_list *, void *);
    void *(*insert)(qvds_list *, void *, void *);
    void *(*insert_sorted)(qvds_list *, void *, qvds_compare_fn);
    void *(*pop)(qvds_list *);
    void *(*pop_tail)(qvds_list *);
    void *(*extract)(qvds_list *, const void *, qvds_compare_fn);
    void *(*extract_existing)(qvds_list *, void *);
    void *(*concat)(qvds_list *, qvds_list *);
    void *(*cut)(qvds_list *, qvds_list *, void *);
};

qvds_lifo *lifo(qvds_list *list) {
    return reinterpret_cast<qvds_lifo *>(list);
}

const Family families[] = {
    {"lifo", false, false, [](qvds_list *l, void *e) { return qvds_lifo_push(lifo(l), e); },
     nullptr, nullptr,
     [](qvds_list *l, void *e, qvds_compare_fn c) {
         return qvds_lifo_insert_sorted(lifo(l), e, c);
     },
     [](qvds_list *l) { return qvds_lifo_pop(lifo(l)); }, nullptr,
     [](qvds_list *l, const void *k, qvds_compare_fn c) {
         return qvds_lifo_extract(lifo(l), k, c);
     },
     nullptr,
     [](qvds_list *d, qvds_list *s) -> void * { return qvds_lifo_concat(lifo(d), lifo(s)); },
     [](qvds_list *l, qvds_list *o, void *e) -> void * {
         return qvds_lifo_cut(lifo(l), lifo(o), e);
     }},
    {"fifo", true, false, qvds_fifo_push, qvds_fifo_append, qvds_fifo_insert,
     qvds_fifo_insert_sorted, qvds_fifo_pop, nullptr, qvds_fifo_extract, nullptr,
     [](qvds_list *d, qvds_list *s) -> void * { return qvds_fifo_concat(d, s); },
     [](qvds_list *l, qvds_list *o, void *e) -> void * { return qvds_fifo_cut(l, o, e); }},
    {"fifo2", true, true, qvds_fifo2_push, qvds_fifo2_append, qvds_fifo2_insert,
     qvds_fifo2_insert_sorted, qvds_fifo2_pop, qvds_fifo2_pop_tail, qvds_fifo2_extract,
     qvds_fifo2_extract_existing,
     [](qvds_list *d, qvds_list *s) -> void * { return qvds_fifo2_concat(d, s); },
     [](qvds_list *l, qvds_list *o, void *e) -> void * { return qvds_fifo2_cut(l, o, e); }},
};

// Two chains of one family, and what they should hold.
class Pair {
  public:
    explicit Pair(const Family &family) : ops_(family) {
        for (qvds_list &list : lists_) {
            list = {&stray, &stray};
            family.tail ? qvds_fifo_init(&list) : qvds_lifo_init(lifo(&list));
        }
    }

    static constexpr size_t kinds = 10;

    // One operation on chain `which`, at `place` where it needs one, with a new element of that
    // key.
    void step(size_t kind, size_t which, size_t place, int key) {
        qvds_list *const list = &lists_[which];
        Model &model = models_[which];
        place = model.empty() ? 0 : place % model.size();
        const auto at = model.begin() + static_cast<ptrdiff_t>(place);
        asked.clear();
        switch (kind) {
        case 0:
            model.push_front(fresh(key));
            EXPECT_EQ(ops_.push(list, model.front()), model.front());
            break;
        case 1:
            if (ops_.append == nullptr)
                return;
            model.push_back(fresh(key));
            EXPECT_EQ(ops_.append(list, model.back()), model.back());
            break;
        case 2: {
            if (ops_.insert == nullptr)
                return;
            // Behind an element, or, for every third key, behind none. An empty queue looks at
            // none.
            const bool behind_none = key % 3 == 0 || model.empty();
            Item *const after = model.empty() ? &stray : behind_none ? nullptr : *at;
            Item *const elem = fresh(key);
            model.insert(behind_none ? model.begin() : at + 1, elem);
            EXPECT_EQ(ops_.insert(list, after, elem), elem);
            break;
        }
        case 3: {
            Item *const elem = fresh(key);
            const auto not_less = [=](Item *stored) { return elem->key <= stored->key; };
            const auto spot = std::find_if(model.begin(), model.end(), not_less);
            expect_asked_up_to(model, spot,
                               [&] { EXPECT_EQ(ops_.insert_sorted(list, elem, by_key), elem); });
            model.insert(spot, elem);
            break;
        }
        case 4:
            expect_removed(model, model.begin(), [&] { return ops_.pop(list); });
            break;
        case 5:
            if (ops_.pop_tail == nullptr)
                return;
            expect_removed(model, model.empty() ? model.end() : model.end() - 1,
                           [&] { return ops_.pop_tail(list); });
            break;
        case 6: {
            const Item wanted{{}, key};
            const auto same = [=](Item *stored) { return stored->key == key; };
            const auto spot = std::find_if(model.begin(), model.end(), same);
            expect_asked_up_to(model, spot, [&] {
                EXPECT_EQ(qvds_node_find(list, &wanted, by_key),
                          spot == model.end() ? nullptr : *spot);
            });
            asked.clear();
            expect_asked_up_to(model, spot, [&] {
                expect_removed(model, spot, [&] { return ops_.extract(list, &wanted, by_key); });
            });
            break;
        }
        case 7:
            if (ops_.extract_existing == nullptr || model.empty())
                return;
            expect_removed(model, at, [&] { return ops_.extract_existing(list, *at); });
            break;
        case 8: {
            Model &src = models_[1 - which];
            EXPECT_EQ(ops_.concat(list, &lists_[1 - which]), list);
            model.insert(model.end(), src.begin(), src.end());
            src.clear();
            break;
        }
        case 9: {
            // The other header is overwritten, whatever it held.
            if (!ops_.back_links) {
                qvds_list *const out = &lists_[1 - which];
                EXPECT_EQ(ops_.cut(list, out, &stray), nullptr) << "not in the chain";
                check();
            }
            if (model.empty())
                return;
            EXPECT_EQ(ops_.cut(list, &lists_[1 - which], *at), &lists_[1 - which]);
            models_[1 - which].assign(at, model.end());
            model.erase(at, model.end());
            break;
        }
        default:
            FAIL();
        }
        check();
    }

    void check() const {
        for (size_t which = 0; which < 2; ++which) {
            const Model &model = models_[which];
            ASSERT_EQ(lists_[which].top, model.empty() ? nullptr : model.front()) << ops_.name;
            const void *const last = model.empty() ? nullptr : model.back();
            ASSERT_EQ(lists_[which].bottom, ops_.tail ? last : &stray) << ops_.name;
            ASSERT_EQ(broken_links(model, ops_.back_links), "") << ops_.name;
        }
    }

  private:
    Item *fresh(int key) {
        items_.push_back(std::make_unique<Item>(Item{{&stray, &stray}, key}));
        return items_.back().get();
    }

    // compare was called on each element from the first to the one at spot, in order, and no more.
    template <class Call>
    void expect_asked_up_to(const Model &model, Model::const_iterator spot, Call call) {
        const std::vector<const void *> expected(model.begin(),
                                                 spot == model.end() ? spot : spot + 1);
        call();
        EXPECT_EQ(asked, expected) << ops_.name;
    }

    // call returns the element at spot, or null at the end, and leaves its own links alone.
    template <class Call>
    void expect_removed(Model &model, Model::iterator spot, Call call) {
        Item *const elem = spot == model.end() ? nullptr : *spot;
        const qvds_node links = elem != nullptr ? elem->node : qvds_node{};
        EXPECT_EQ(call(), elem) << ops_.name;
        if (elem == nullptr)
            return;
        EXPECT_TRUE(elem->node.next == links.next && elem->node.prev == links.prev) << ops_.name;
        model.erase(spot);
    }

    const Family &ops_;
    qvds_list lists_[2];
    Model models_[2];
    std::vector<std::unique_ptr<Item>> items_;
};

TEST(Queues, FollowTheModelThroughEveryShortProgram) {
    // What matters about a chain is whether it is empty, one element, two or more, and about a
    // place whether it is first, last or between: every two operations at every place on every two
    // sizes.
    for (const Family &family : families)
        for (size_t sizes = 0; sizes < 16; ++sizes)
            test::for_each_sequence(2, 3 * Pair::kinds, [&](const std::vector<size_t> &program) {
                Pair pair(family);
                for (size_t i = 0; i < sizes % 4; ++i)
                    pair.step(0, 0, 0, 5 - static_cast<int>(i));
                for (size_t i = 0; i < sizes / 4; ++i)
                    pair.step(0, 1, 0, 5 - static_cast<int>(i));
                for (const size_t code : program)
                    pair.step(code / 3, 0, code % 3, 4);
            });
}

TEST(Queues, FollowTheModelThroughRandomPrograms) {
    for (const Family &family : families)
        test::for_each_seed([&](test::Random &random) {
            Pair pair(family);
            for (int i = 0; i < 2000 && !testing::Test::HasFatalFailure(); ++i)
                pair.step(random.below(Pair::kinds), random.below(2), random.below(20),
                          static_cast<int>(random.below(8)));
        });
}

TEST(Lifo, CutAtNullTakesTheEndOfTheChain) {
    Item item{{&stray, &stray}, 1};
    qvds_lifo stack, out{&stray};
    qvds_lifo_init(&stack);
    EXPECT_EQ(qvds_lifo_cut(&stack, &out, nullptr), &out);
    EXPECT_EQ(out.top, nullptr);
    qvds_lifo_push(&stack, &item);
    out.top = &stray;
    EXPECT_EQ(qvds_lifo_cut(&stack, &out, nullptr), &out);
    EXPECT_EQ(out.top, nullptr);
    EXPECT_EQ(stack.top, &item);
}

TEST(LinkChecks, SeeEachBrokenWord) {
    Item items[3] = {
        {{&items[1], nullptr}, 0}, {{&items[2], &items[0]}, 0}, {{nullptr, &items[1]}, 0}};
    const Model model{&items[0], &items[1], &items[2]};
    EXPECT_EQ(broken_links(model, true), "");
    for (Item &item : items)
        for (void **word : {&item.node.next, &item.node.prev}) {
            void *const sound = *word;
            *word = &stray;
            EXPECT_NE(broken_links(model, true), "");
            *word = sound;
        }
}

TEST(Walks, StopAtTheFirstNonZeroResultAndReturnIt) {
    qvds_list queue;
    qvds_fifo_init(&queue);
    Item items[4] = {{{}, 0}, {{}, 0}, {{}, -7}, {{}, 5}};
    for (Item &item : items)
        qvds_fifo2_append(&queue, &item);
    size_t calls = 0;
    const qvds_visit_fn key_of = [](void *elem, void *ctx) {
        ++*static_cast<size_t *>(ctx);
        return static_cast<int32_t>(static_cast<Item *>(elem)->key);
    };
    EXPECT_EQ(qvds_node_enum(&queue, key_of, &calls), -7);
    EXPECT_EQ(calls, 3U);
    EXPECT_EQ(qvds_node_reverse_enum(&queue, key_of, &calls), 5);
    EXPECT_EQ(calls, 4U);
    Model forward, backward;
    EXPECT_EQ(qvds_node_enum(&queue, collect, &forward), 0);
    EXPECT_EQ(qvds_node_reverse_enum(&queue, collect, &backward), 0);
    EXPECT_EQ(forward, Model({&items[0], &items[1], &items[2], &items[3]}));
    EXPECT_TRUE(std::equal(forward.begin(), forward.end(), backward.rbegin(), backward.rend()));
    EXPECT_EQ(qvds_list_top(&queue), &items[0]);
    EXPECT_EQ(qvds_list_bottom(&queue), &items[3]);
}

TEST(Walks, SurviveACallbackThatReleasesWhatItIsGiven) {
    const qvds_visit_fn release = [](void *elem, void *ctx) {
        delete static_cast<Item *>(
            qvds_fifo2_extract_existing(static_cast<qvds_list *>(ctx), elem));
        return 0;
    };
    qvds_list queue;
    qvds_fifo_init(&queue);
    for (const bool reverse : {false, true}) {
        for (int i = 0; i < 3; ++i)
            qvds_fifo2_append(&queue, new Item{{}, i});
        EXPECT_EQ((reverse ? qvds_node_reverse_enum(&queue, release, &queue)
                           : qvds_node_enum(&queue, release, &queue)),
                  0);
        EXPECT_TRUE(queue.top == nullptr && queue.bottom == nullptr);
    }
}

TEST(Walks, LetAnExceptionOfTheCallerThrough) {
    Item item{};
    qvds_lifo stack{&item};
    const qvds_visit_fn refuse = [](void *elem, void *) -> int32_t { throw elem; };
    EXPECT_THROW(qvds_node_enum(&stack, refuse, nullptr), void *);
}

TEST(Cursor, PeeksBehindTheElementItHandsOutNext) {
    Item b{}, a{{&b, nullptr}, 0};
    const qvds_lifo stack{&a};
    qvds_node_iter cursor{&stray};
    EXPECT_EQ(qvds_node_iter_init(&cursor, nullptr), -1);
    EXPECT_EQ(qvds_node_iter_init(nullptr, &stack), -1);
    EXPECT_EQ(cursor.next, &stray);
    EXPECT_EQ(qvds_node_iter_init(&cursor, &stack), 0);
    EXPECT_EQ(qvds_node_iter_peek(&cursor), &b);
    EXPECT_EQ(qvds_node_iter_next(&cursor), &a);
    EXPECT_EQ(qvds_node_iter_peek(&cursor), nullptr);
    EXPECT_EQ(qvds_node_iter_next(&cursor), &b);
    EXPECT_EQ(qvds_node_iter_peek(&cursor), nullptr);
    EXPECT_EQ(qvds_node_iter_next(&cursor), nullptr);
    EXPECT_EQ(qvds_node_iter_next(nullptr), nullptr);
    EXPECT_EQ(qvds_node_iter_peek(nullptr), nullptr);
}

// A headerless list, its handle, and what they should be.
class Sloppy {
  public:
    static constexpr size_t kinds = 8;

    void step(size_t kind, size_t place, int key) {
        const size_t size = model_.size();
        asked.clear();
        switch (kind) {
        case 0:
            add(qvds_sloppy_insert, size == 0 ? 0 : index_of(handle_) + 1, false, key);
            break;
        case 1:
            add(qvds_sloppy_append, size, false, key);
            break;
        case 2:
            add(qvds_sloppy_push, 0, true, key);
            break;
        case 3: {
            Item *const elem = size == 0 ? &stray : model_[place % size];
            EXPECT_EQ(qvds_sloppy_extract_existing(&handle_, elem), size == 0 ? nullptr : elem);
            removed(elem);
            break;
        }
        case 4: {
            const Item wanted{{}, key};
            std::vector<const void *> order; // outwards: back from the handle, then on from it
            if (size != 0) {
                const auto from = model_.begin() + static_cast<ptrdiff_t>(index_of(handle_));
                order.assign(std::make_reverse_iterator(from + 1), model_.rend());
                order.insert(order.end(), from + 1, model_.end());
            }
            const auto match = std::find_if(order.begin(), order.end(), [=](const void *elem) {
                return static_cast<const Item *>(elem)->key == key;
            });
            const void *const found = match == order.end() ? nullptr : *match;
            order.erase(match == order.end() ? match : match + 1, order.end());
            EXPECT_EQ(qvds_sloppy_find(handle_, &wanted, by_key), found);
            EXPECT_EQ(asked, order);
            asked.clear();
            Item *const elem = static_cast<Item *>(qvds_sloppy_extract(&handle_, &wanted, by_key));
            EXPECT_EQ(elem, found);
            EXPECT_EQ(asked, order);
            removed(elem);
            break;
        }
        case 5: // cut off the back part, add to it, and put it in front or behind again
        case 6: {
            if (size == 0)
                return;
            const auto at = model_.begin() + static_cast<ptrdiff_t>(place % size);
            EXPECT_EQ(qvds_sloppy_cut(*at), *at);
            Model back(at, model_.end());
            model_.erase(at, model_.end());
            ASSERT_EQ(broken_links(model_, true), "");
            ASSERT_EQ(broken_links(back, true), "");
            Item *const a = model_.empty() ? nullptr : model_[place % model_.size()];
            Item *const b = back[place % back.size()];
            if (kind == 5) {
                EXPECT_EQ(qvds_sloppy_concat(a, b), a);
                model_.insert(model_.end(), back.begin(), back.end());
            } else {
                EXPECT_EQ(qvds_sloppy_concat(b, a), a != nullptr ? b : nullptr);
                model_.insert(model_.begin(), back.begin(), back.end());
            }
            break;
        }
        case 7: // let the handle stand anywhere
            if (size != 0)
                handle_ = expected_handle_ = model_[place % size];
            break;
        default:
            FAIL();
        }
        check();
    }

  private:
    size_t index_of(const Item *item) const {
        return static_cast<size_t>(std::find(model_.begin(), model_.end(), item) - model_.begin());
    }

    void add(void *(*operation)(void *, void *), size_t place, bool takes_handle_of_first,
             int key) {
        items_.push_back(std::make_unique<Item>(Item{{&stray, &stray}, key}));
        Item *const elem = items_.back().get();
        if (model_.empty() || (takes_handle_of_first && handle_ == model_.front()))
            expected_handle_ = elem;
        EXPECT_EQ(operation(&handle_, elem), elem);
        model_.insert(model_.begin() + static_cast<ptrdiff_t>(place), elem);
    }

    void removed(Item *elem) {
        if (elem == nullptr || model_.empty())
            return;
        const size_t place = index_of(elem);
        model_.erase(model_.begin() + static_cast<ptrdiff_t>(place));
        if (expected_handle_ == elem)
            expected_handle_ = model_.empty() ? nullptr : model_[place > 0 ? place - 1 : 0];
        EXPECT_TRUE(elem->node.next == nullptr && elem->node.prev == nullptr);
    }

    void check() const {
        ASSERT_EQ(handle_, expected_handle_);
        ASSERT_EQ(broken_links(model_, true), "");
        for (Item *from : model_) {
            ASSERT_EQ(qvds_sloppy_first(from), model_.front());
            ASSERT_EQ(qvds_sloppy_last(from), model_.back());
            ASSERT_EQ(qvds_sloppy_count(from), model_.size());
        }
    }

    Item *handle_ = nullptr;
    Item *expected_handle_ = nullptr;
    Model model_;
    std::vector<std::unique_ptr<Item>> items_;
};

TEST(Sloppy, FollowsTheModel) {
    for (size_t size = 0; size < 4; ++size)
        test::for_each_sequence(2, 3 * Sloppy::kinds, [&](const std::vector<size_t> &program) {
            Sloppy list;
            for (size_t i = 0; i < size; ++i)
                list.step(1, 0, static_cast<int>(i % 2));
            for (const size_t code : program)
                list.step(code / 3, code % 3, 1);
        });
    test::for_each_seed([&](test::Random &random) {
        Sloppy list;
        for (int i = 0; i < 400 && !testing::Test::HasFatalFailure(); ++i)
            list.step(random.below(Sloppy::kinds), random.below(20),
                      static_cast<int>(random.below(8)));
    });
}

TEST(Sloppy, ToleratesNull) {
    Item item{};
    EXPECT_EQ(qvds_sloppy_first(nullptr), nullptr);
    EXPECT_EQ(qvds_sloppy_last(nullptr), nullptr);
    EXPECT_EQ(qvds_sloppy_concat(&item, nullptr), nullptr);
    EXPECT_EQ(qvds_sloppy_concat(nullptr, &item), nullptr);
    EXPECT_EQ(qvds_sloppy_cut(nullptr), nullptr);
    asked.clear();
    EXPECT_EQ(qvds_sloppy_find(nullptr, &item, by_key), nullptr);
    EXPECT_TRUE(asked.empty());
    EXPECT_EQ(qvds_sloppy_count(nullptr), 0U);
}

} // namespace

// What the tests of the chains share: a record to chain up, and the driver that runs the stack and
// the two queues beside a vector.

#ifndef QVDS_TESTS_CHAINS_HPP
#define QVDS_TESTS_CHAINS_HPP

#include "fault.hpp"
#include "support.hpp"

#include <algorithm>
#include <deque>

namespace test {

using qvds::fault;
using qvds::sound;

// What a link holds that nobody has written yet.
inline char nowhere;
inline void *const stray = &nowhere;

// The key is the name in lower case, so that 'b' and 'B' are two elements with equal keys.
struct Item {
    explicit Item(char its_name) : name(its_name) {}
    int key() const { return name | 0x20; }

    qvds_node node{stray, stray};
    char name;
    qvds_node due = node; // what a driver expects in node
};
using Items = std::vector<Item *>;

inline Items asked; // the elements that by_name was called on

inline int32_t by_name(const void *key, const void *elem) {
    asked.push_back(static_cast<Item *>(const_cast<void *>(elem)));
    return static_cast<const Item *>(key)->key() - asked.back()->key();
}

// Tests of what is asked start without notes.
class ChainTest : public testing::Test {
  protected:
    ChainTest() { asked.clear(); }
};

inline std::string names(const Items &items) {
    std::string all;
    for (const Item *item : items)
        all += item->name;
    return all;
}

// The names from this element on, or the fault that a predicate has found in its chain.
inline std::string names_from(const void *first, fault found) {
    if (found != sound)
        return testing::PrintToString(found);
    std::string all;
    for (auto *item = static_cast<const Item *>(first); item != nullptr;
         item = static_cast<const Item *>(item->node.next))
        all += item->name;
    return all;
}

// More than 16 bits can count; all 'a' but the last, which is 'z'.
inline std::vector<Item> seventy_thousand() {
    std::vector<Item> items(70'000, Item('a'));
    items.back().name = 'z';
    return items;
}

inline Item *first_of(const Items &chain) {
    return chain.empty() ? nullptr : chain.front();
}
inline Item *last_of(const Items &chain) {
    return chain.empty() ? nullptr : chain.back();
}

// The first element in this order for which stop(element) is true, or null, and in `to_ask` all
// that a search asks about on its way there.
template <class Stop>
Item *search(const Items &order, Items &to_ask, Stop stop) {
    const auto found = std::find_if(order.begin(), order.end(), stop);
    to_ask.assign(order.begin(), found == order.end() ? found : found + 1);
    return found == order.end() ? nullptr : *found;
}

inline void set_due(const Items &chain, bool back_links) {
    for (size_t i = 0; i < chain.size(); ++i) {
        chain[i]->due.next = i + 1 < chain.size() ? chain[i + 1] : nullptr;
        if (back_links)
            chain[i]->due.prev = i > 0 ? chain[i - 1] : nullptr;
    }
}

// Both words of every element: of those outside any chain, what they came or left with.
inline void expect_links_as_due(const std::deque<Item> &items) {
    for (const Item &item : items) {
        ASSERT_EQ(item.node.next, item.due.next) << "of element " << item.name;
        ASSERT_EQ(item.node.prev, item.due.prev) << "of element " << item.name;
    }
}

enum class step {
    push,
    append,
    insert,
    insert_sorted,
    pop,
    pop_tail,
    find,
    extract,
    extract_existing,
    concat,
    cut,
    cut_absent,
};

// A family's operations as the driver calls them. Null for those that the family lacks.
struct chain_face {
    int (*init)(qvds_list *);
    void *(*push)(qvds_list *, void *elem);
    void *(*insert_sorted)(qvds_list *, void *elem, qvds_compare_fn);
    void *(*pop)(qvds_list *);
    void *(*extract)(qvds_list *, const void *key, qvds_compare_fn);
    qvds_list *(*concat)(qvds_list *dest, qvds_list *src);
    qvds_list *(*cut)(qvds_list *, qvds_list *out, void *elem);
    void *(*append)(qvds_list *, void *elem) = nullptr;
    void *(*insert)(qvds_list *, void *after, void *elem) = nullptr;
    void *(*pop_tail)(qvds_list *) = nullptr;
    void *(*extract_existing)(qvds_list *, void *elem) = nullptr;
};

// What the driver must know of a family beside that.
struct chain_family {
    fault (*check)(const qvds_list &);
    bool has_tail, has_back_links;
    std::vector<step> steps;
};

// Two chains of a family, of which the second takes what is cut off and gives it back.
class ChainDriver {
  public:
    ChainDriver(const chain_family &its_family, const chain_face &face) : family(its_family) {
        EXPECT_EQ(face.init(&list), 0);
        EXPECT_EQ(face.init(&other), 0);
    }

    // Makes one step with an element of that name, at the element in that place, if there is one.
    void take(const chain_face &face, step what, size_t place, char name) {
        Item *const elem = &items.emplace_back(name);
        const bool there = place < model.size();
        const auto spot = there ? model.begin() + static_cast<ptrdiff_t>(place) : model.end();
        switch (what) {
        case step::push:
            EXPECT_EQ(face.push(&list, elem), elem);
            model.insert(model.begin(), elem);
            break;
        case step::append:
            EXPECT_EQ(face.append(&list, elem), elem);
            model.push_back(elem);
            break;
        case step::insert:
            EXPECT_EQ(face.insert(&list, there ? *spot : nullptr, elem), elem);
            model.insert(there ? spot + 1 : model.begin(), elem);
            break;
        case step::insert_sorted: {
            const Item *const behind =
                search(model, to_ask, [=](Item *stored) { return elem->key() <= stored->key(); });
            EXPECT_EQ(face.insert_sorted(&list, elem, by_name), elem);
            model.insert(std::find(model.begin(), model.end(), behind), elem);
            break;
        }
        case step::pop:
            expect_out(first_of(model), face.pop(&list));
            break;
        case step::pop_tail:
            expect_out(last_of(model), face.pop_tail(&list));
            break;
        case step::find:
            EXPECT_EQ(qvds_node_find(&list, elem, by_name), match(elem));
            break;
        case step::extract:
            expect_out(match(elem), face.extract(&list, elem, by_name));
            break;
        case step::extract_existing:
            if (there)
                expect_out(*spot, face.extract_existing(&list, *spot));
            break;
        case step::concat:
            EXPECT_EQ(face.concat(&list, &other), &list);
            model.insert(model.end(), other_model.begin(), other_model.end());
            other_model.clear();
            break;
        case step::cut:
            if (there) {
                EXPECT_EQ(face.cut(&list, &other, *spot), &other);
                other_model.assign(spot, model.end());
                model.erase(spot, model.end());
            }
            break;
        case step::cut_absent:
            EXPECT_EQ(face.cut(&list, &other, elem), nullptr);
            break;
        }
        expect_chain(list, model);
        expect_chain(other, other_model);
        expect_links_as_due(items);
        ASSERT_EQ(std::exchange(asked, {}), std::exchange(to_ask, {}));
    }
    size_t size() const { return model.size(); }

  private:
    Item *match(const Item *key) {
        return search(model, to_ask, [=](Item *stored) { return stored->key() == key->key(); });
    }
    void expect_out(const Item *expected, const void *removed) {
        EXPECT_EQ(removed, expected);
        std::erase(model, expected);
    }
    void expect_chain(const qvds_list &chain, const Items &expected) {
        ASSERT_EQ(family.check(chain), sound);
        ASSERT_EQ(qvds_list_top(&chain), first_of(expected));
        ASSERT_EQ(qvds_list_bottom(&chain), family.has_tail ? last_of(expected) : stray);
        set_due(expected, family.has_back_links);
    }

    const chain_family &family;
    qvds_list list{stray, stray}, other{stray, stray};
    std::deque<Item> items;
    Items model, other_model, to_ask;
};

// Fifty random steps, a hundred times for each seed, each through one of the faces.
inline void run_random_programs(const chain_family &family, const std::vector<chain_face> &faces) {
    for_each_seed([&](Random &random) {
        for (int program = 0; program < 100; ++program) {
            ChainDriver driver(family, faces[0]);
            for (int i = 0; i < 50 && !testing::Test::HasFailure(); ++i)
                driver.take(faces[random.below(faces.size())],
                            family.steps[random.below(family.steps.size())],
                            random.below(driver.size() + 1), "abcdABCD"[random.below(8)]);
        }
    });
}

// Every program of four steps at the first or the second element.
inline void run_all_short_programs(const chain_family &family, const chain_face &face) {
    for_each_sequence(4, family.steps.size() * 2, [&](const std::vector<size_t> &sequence) {
        if (testing::Test::HasFailure())
            return;
        ChainDriver driver(family, face);
        for (size_t i = 0; i < sequence.size(); ++i)
            driver.take(face, family.steps[sequence[i] / 2], sequence[i] % 2, "bBac"[i]);
    });
}

} // namespace test

#endif

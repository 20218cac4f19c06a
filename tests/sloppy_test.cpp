#include <qvds/sloppy.h>
#include <qvds/sloppy.hpp>

#include "chains.hpp"

using namespace test;
using qvds::core::check_sloppy;

namespace {

class Sloppy : public ChainTest {
  protected:
    Sloppy() {
        for (Item *item : {&a, &b, &c})
            qvds_sloppy_append(&handle, item);
    }
    static std::string content(const void *elem) {
        const fault found = check_sloppy(elem);
        return names_from(found == sound ? qvds_sloppy_first(elem) : elem, found);
    }
    void expect_alone(const Item &item) {
        EXPECT_EQ(item.node.next, nullptr);
        EXPECT_EQ(item.node.prev, nullptr);
    }

    Item a{'a'}, b{'b'}, c{'c'}, fresh{'x'};
    void *handle = nullptr, *empty = nullptr;
};

TEST_F(Sloppy, InsertAddsBehindTheHandleWhichStays) {
    EXPECT_EQ(qvds_sloppy_insert(&handle, &fresh), &fresh);
    EXPECT_EQ(content(handle), "axbc");
    EXPECT_EQ(handle, &a);
}

TEST_F(Sloppy, AppendAddsAtTheEndAndTheHandleStays) {
    handle = &b;
    EXPECT_EQ(qvds_sloppy_append(&handle, &fresh), &fresh);
    EXPECT_EQ(content(handle), "abcx");
    EXPECT_EQ(handle, &b);
}

TEST_F(Sloppy, PushAddsAtTheFrontAndMovesAHandleThatNamedTheFirst) {
    EXPECT_EQ(qvds_sloppy_push(&handle, &fresh), &fresh);
    EXPECT_EQ(content(handle), "xabc");
    EXPECT_EQ(handle, &fresh);
}

TEST_F(Sloppy, PushLeavesAHandleInTheMiddle) {
    handle = &b;
    qvds_sloppy_push(&handle, &fresh);
    EXPECT_EQ(content(handle), "xabc");
    EXPECT_EQ(handle, &b);
}

TEST_F(Sloppy, AddingToANullHandleStartsAList) {
    for (auto *const add : {qvds_sloppy_insert, qvds_sloppy_append, qvds_sloppy_push}) {
        Item first('f');
        void *fresh_handle = nullptr;
        EXPECT_EQ(add(&fresh_handle, &first), &first);
        EXPECT_EQ(fresh_handle, &first);
        expect_alone(first);
    }
}

TEST_F(Sloppy, ExtractExistingClearsTheLinks) {
    EXPECT_EQ(qvds_sloppy_extract_existing(&handle, &b), &b);
    EXPECT_EQ(content(handle), "ac");
    EXPECT_EQ(handle, &a);
    expect_alone(b);
}

TEST_F(Sloppy, ExtractOfTheHandlesElementMovesItBackElseOn) {
    handle = &b;
    qvds_sloppy_extract_existing(&handle, &b);
    EXPECT_EQ(handle, &a);
    qvds_sloppy_extract_existing(&handle, &a);
    EXPECT_EQ(handle, &c);
    qvds_sloppy_extract_existing(&handle, &c);
    EXPECT_EQ(handle, nullptr);
}

TEST_F(Sloppy, ExtractUnlinksTheMatch) {
    const Item key('B');
    EXPECT_EQ(qvds_sloppy_extract(&handle, &key, by_name), &b);
    EXPECT_EQ(content(handle), "ac");
    expect_alone(b);
    EXPECT_EQ(qvds_sloppy_extract(&handle, &key, by_name), nullptr);
}

TEST_F(Sloppy, FindSearchesBackwardsAndThenForwards) {
    c.name = 'A';
    EXPECT_EQ(qvds_sloppy_find(&b, &c, by_name), &a) << "what stands before wins";
    EXPECT_EQ(names(std::exchange(asked, {})), "ba");
    EXPECT_EQ(qvds_sloppy_find(&b, &fresh, by_name), nullptr);
    EXPECT_EQ(names(std::exchange(asked, {})), "baA");
}

TEST_F(Sloppy, ConcatJoinsTheListsOfAnyTwoElements) {
    qvds_sloppy_push(&empty, &fresh);
    EXPECT_EQ(qvds_sloppy_concat(&b, &fresh), &b);
    EXPECT_EQ(content(&fresh), "abcx");
}

TEST_F(Sloppy, CutMakesTwoLists) {
    EXPECT_EQ(qvds_sloppy_cut(&b), &b);
    EXPECT_EQ(content(&a), "a");
    EXPECT_EQ(content(&b), "bc");
}

TEST_F(Sloppy, CutBeforeTheFirstChangesNothing) {
    EXPECT_EQ(qvds_sloppy_cut(&a), &a);
    EXPECT_EQ(content(&a), "abc");
}

TEST_F(Sloppy, EndsAndCountAreTheSameFromEveryElement) {
    for (const Item *elem : {&a, &b, &c}) {
        EXPECT_EQ(qvds_sloppy_first(elem), &a);
        EXPECT_EQ(qvds_sloppy_last(elem), &c);
        EXPECT_EQ(qvds_sloppy_count(elem), 3U);
    }
}

TEST_F(Sloppy, ToleratesNull) {
    EXPECT_EQ(qvds_sloppy_first(nullptr), nullptr);
    EXPECT_EQ(qvds_sloppy_last(nullptr), nullptr);
    EXPECT_EQ(qvds_sloppy_count(nullptr), 0U);
    EXPECT_EQ(qvds_sloppy_cut(nullptr), nullptr);
    EXPECT_EQ(qvds_sloppy_find(nullptr, &a, by_name), nullptr);
    EXPECT_EQ(qvds_sloppy_concat(nullptr, &a), nullptr);
    EXPECT_EQ(qvds_sloppy_concat(&a, nullptr), nullptr);
    EXPECT_EQ(qvds_sloppy_extract(&empty, &a, by_name), nullptr);
    EXPECT_EQ(qvds_sloppy_extract_existing(&empty, &b), nullptr);
    EXPECT_EQ(content(handle), "abc");
}

TEST_F(Sloppy, WalksPastSeventyThousandElements) {
    std::vector<Item> items = seventy_thousand();
    Item *const first = &items.front(), *const last = &items.back();
    void *end = nullptr;
    for (Item &item : items)
        end = qvds_sloppy_insert(&end, &item);
    EXPECT_EQ(qvds_sloppy_count(first), items.size());
    EXPECT_EQ(qvds_sloppy_count(last), items.size());
    EXPECT_EQ(qvds_sloppy_first(last), first);
    EXPECT_EQ(qvds_sloppy_last(first), last);
    EXPECT_EQ(qvds_sloppy_find(first, last, by_name), last);
    std::swap(first->name, last->name);
    EXPECT_EQ(qvds_sloppy_find(last, first, by_name), first);
}

TEST_F(Sloppy, CheckNamesTheBrokenInvariant) {
    c.node.next = &a;
    a.node.prev = &c;
    EXPECT_EQ(check_sloppy(&b), (fault{1, &b})) << "a ring";
    a.node.prev = nullptr;
    EXPECT_EQ(check_sloppy(&b), (fault{2, &c}));
    b.node.prev = &c;
    EXPECT_EQ(check_sloppy(&b), (fault{2, &c}));
}

enum class handle_step {
    insert,
    append,
    push,
    extract,
    extract_existing,
    find,
    concat,
    cut,
    move_handle,
};
constexpr size_t handle_steps = 9;

// The operations as the driver calls them.
struct sloppy_face {
    void *(*insert)(void *handle, void *elem);
    void *(*append)(void *handle, void *elem);
    void *(*push)(void *handle, void *elem);
    void *(*extract)(void *handle, const void *key, qvds_compare_fn);
    void *(*extract_existing)(void *handle, void *elem);
    void *(*find)(const void *elem, const void *key, qvds_compare_fn);
    void *(*concat)(void *a, void *b);
    void *(*cut)(void *elem);
    void *(*first)(const void *elem);
    void *(*last)(const void *elem);
    size_t (*count)(const void *elem);
};
const sloppy_face c_face{
    .insert = qvds_sloppy_insert,
    .append = qvds_sloppy_append,
    .push = qvds_sloppy_push,
    .extract = qvds_sloppy_extract,
    .extract_existing = qvds_sloppy_extract_existing,
    .find = qvds_sloppy_find,
    .concat = qvds_sloppy_concat,
    .cut = qvds_sloppy_cut,
    .first = qvds_sloppy_first,
    .last = qvds_sloppy_last,
    .count = qvds_sloppy_count,
};

// The same through the typed face, on the same records: through a view of the handle,
using list_view = qvds::sloppy_view<&Item::node>;
list_view typed(void *handle) {
    return list_view(*static_cast<void **>(handle));
}
Item &item(void *elem) {
    return *static_cast<Item *>(elem);
}
const sloppy_face typed_face{
    .insert =
        [](void *handle, void *elem) {
            typed(handle).insert(item(elem));
            return elem;
        },
    .append =
        [](void *handle, void *elem) {
            typed(handle).push_back(item(elem));
            return elem;
        },
    .push =
        [](void *handle, void *elem) {
            typed(handle).push_front(item(elem));
            return elem;
        },
    .extract = [](void *handle, const void *key, qvds_compare_fn compare) -> void * {
        return typed(handle).extract_if([=](const Item &i) { return compare(key, &i) == 0; });
    },
    .extract_existing =
        [](void *handle, void *elem) {
            typed(handle).unlink(item(elem));
            return elem;
        },
    .find = [](const void *elem, const void *key, qvds_compare_fn compare) -> void * {
        auto *handle = const_cast<void *>(elem);
        return typed(&handle).find_if([=](const Item &i) { return compare(key, &i) == 0; });
    },
    .concat =
        [](void *a, void *b) {
            typed(&a).concat(typed(&b));
            EXPECT_EQ(b, nullptr);
            return a;
        },
    .cut = [](void *elem) -> void * {
        void *handle = elem;
        return typed(&handle).cut(item(elem)).handle();
    },
    .first = [](const void *elem) -> void * {
        auto *handle = const_cast<void *>(elem);
        return typed(&handle).first();
    },
    .last = [](const void *elem) -> void * {
        auto *handle = const_cast<void *>(elem);
        return typed(&handle).last();
    },
    .count =
        [](const void *elem) {
            auto *handle = const_cast<void *>(elem);
            return typed(&handle).count();
        },
};
// and, where there is an element in hand, without a handle.
const sloppy_face element_face{
    .insert =
        [](void *handle, void *elem) {
            if (Item *const place = typed(handle).handle())
                list_view::insert_after(*place, item(elem));
            else
                typed(handle).insert(item(elem));
            return elem;
        },
    .append =
        [](void *handle, void *elem) {
            if (Item *const place = typed(handle).last())
                list_view::insert_after(*place, item(elem));
            else
                typed(handle).push_back(item(elem));
            return elem;
        },
    .push = typed_face.push,
    .extract = typed_face.extract,
    .extract_existing =
        [](void *handle, void *elem) {
            if (typed(handle).handle() != elem)
                list_view::detach(item(elem));
            else
                typed(handle).unlink(item(elem));
            return elem;
        },
    .find = [](const void *elem, const void *key, qvds_compare_fn compare) -> void * {
        if (elem == nullptr)
            return nullptr;
        return list_view::find_around_if(item(const_cast<void *>(elem)),
                                         [=](const Item &i) { return compare(key, &i) == 0; });
    },
    .concat =
        [](void *a, void *b) {
            list_view::join(item(a), item(b));
            return a;
        },
    .cut =
        [](void *elem) {
            list_view::split(item(elem));
            return elem;
        },
    .first = [](const void *elem) -> void * {
        return elem != nullptr ? list_view::first(item(const_cast<void *>(elem))) : nullptr;
    },
    .last = [](const void *elem) -> void * {
        return elem != nullptr ? list_view::last(item(const_cast<void *>(elem))) : nullptr;
    },
    .count =
        [](const void *elem) {
            return elem != nullptr ? list_view::count(item(const_cast<void *>(elem))) : 0;
        },
};

// A list and its handle beside a vector; what is cut off waits in a list that has no handle.
class SloppyDriver {
  public:
    void take(const sloppy_face &face, handle_step what, size_t place, char name) {
        Item *const elem = &items.emplace_back(name);
        const auto spot = model.begin() + static_cast<ptrdiff_t>(place);
        Item *const there = place < model.size() ? *spot : nullptr;
        switch (what) {
        case handle_step::insert:
            EXPECT_EQ(face.insert(&handle, elem), elem);
            model.insert(behind_handle(), elem);
            break;
        case handle_step::append:
            EXPECT_EQ(face.append(&handle, elem), elem);
            model.push_back(elem);
            break;
        case handle_step::push:
            EXPECT_EQ(face.push(&handle, elem), elem);
            if (due_handle == first_of(model))
                due_handle = elem;
            model.insert(model.begin(), elem);
            break;
        case handle_step::extract:
            expect_out(match(elem), face.extract(&handle, elem, by_name));
            break;
        case handle_step::extract_existing:
            if (there != nullptr)
                expect_out(there, face.extract_existing(&handle, there));
            break;
        case handle_step::find:
            EXPECT_EQ(face.find(handle, elem, by_name), match(elem));
            break;
        case handle_step::concat:
            if (there != nullptr && !cut_off.empty()) {
                EXPECT_EQ(face.concat(there, cut_off[cut_off.size() / 2]), there);
                model.insert(model.end(), cut_off.begin(), cut_off.end());
                cut_off.clear();
            }
            break;
        case handle_step::cut:
            if (there != nullptr && cut_off.empty()) {
                EXPECT_EQ(face.cut(there), there);
                handle = due_handle = there;
                cut_off.assign(model.begin(), spot);
                model.erase(model.begin(), spot);
            }
            break;
        case handle_step::move_handle:
            handle = due_handle = there != nullptr ? there : due_handle;
            break;
        }
        if (model.size() == 1)
            due_handle = model.front();
        expect_as_modelled(face);
    }
    size_t size() const { return model.size(); }

  private:
    Items::iterator behind_handle() {
        const auto found = std::find(model.begin(), model.end(), due_handle);
        return found == model.end() ? found : found + 1;
    }
    Item *match(const Item *key) {
        Items outwards(std::make_reverse_iterator(behind_handle()), model.rend());
        outwards.insert(outwards.end(), behind_handle(), model.end());
        return search(outwards, to_ask, [=](Item *stored) { return stored->key() == key->key(); });
    }
    void expect_out(Item *expected, const void *removed) {
        EXPECT_EQ(removed, expected);
        if (expected == nullptr)
            return;
        if (due_handle == expected)
            due_handle = expected->due.prev != nullptr ? expected->due.prev : expected->due.next;
        expected->due = {nullptr, nullptr};
        std::erase(model, expected);
    }
    void expect_as_modelled(const sloppy_face &face) {
        ASSERT_EQ(check_sloppy(handle), sound);
        ASSERT_EQ(handle, due_handle);
        ASSERT_EQ(face.first(handle), first_of(model));
        ASSERT_EQ(face.last(handle), last_of(model));
        ASSERT_EQ(face.count(handle), model.size());
        ASSERT_EQ(std::exchange(asked, {}), std::exchange(to_ask, {}));
        set_due(model, true);
        set_due(cut_off, true);
        expect_links_as_due(items);
    }

    void *handle = nullptr, *due_handle = nullptr;
    std::deque<Item> items;
    Items model, cut_off, to_ask;
};

TEST_F(Sloppy, FollowsAModelInEveryShortProgram) {
    for_each_sequence(4, handle_steps * 2, [](const std::vector<size_t> &sequence) {
        if (HasFailure())
            return;
        SloppyDriver driver;
        for (size_t i = 0; i < sequence.size(); ++i)
            driver.take(c_face, handle_step(sequence[i] / 2), sequence[i] % 2, "bBac"[i]);
    });
}

TEST_F(Sloppy, FollowsAModelInRandomProgramsThroughEveryFace) {
    const std::vector<sloppy_face> faces{c_face, typed_face, element_face};
    for_each_seed([&](Random &random) {
        for (int program = 0; program < 100; ++program) {
            SloppyDriver driver;
            for (int i = 0; i < 50 && !HasFailure(); ++i)
                driver.take(faces[random.below(faces.size())],
                            handle_step(random.below(handle_steps)),
                            random.below(driver.size() + 1), "abcdABCD"[random.below(8)]);
        }
    });
}

} // namespace

// The owning list in walks within walks, beside a model in which what is removed stays until the
// outermost walk has ended.

#include "../tests/owning_walks.hpp"
#include "program.hpp"

#include <qvds/check.hpp>

#include <algorithm>
#include <list>
#include <memory>
#include <vector>

namespace {

using fuzz::require;

struct item {
    int key = 0;
};
// The element, which may be on the list more than once, and its link.
struct stored {
    item *elem;
    list_link *link;
};

// An owning list in the plainest terms: what is removed during a walk stays in its place, deleted,
// until the outermost walk has ended.
class list_model {
  public:
    struct Entry {
        stored value;
        bool deleted = false;
    };
    using Place = std::list<Entry>::iterator;

    std::list<Entry> entries;
    int walks = 0; // in progress

    // The place of the first live entry that satisfies the predicate, or the end.
    template <class Predicate>
    Place find_live(Predicate predicate) {
        Place place = entries.begin();
        while (place != entries.end() && (place->deleted || !predicate(place->value)))
            ++place;
        return place;
    }
    Place first_live() {
        return find_live([](const stored &) { return true; });
    }

    void remove(Place place) {
        place->deleted = true;
        drop_deleted();
    }

    // What a walk of the library's must visit, one call of advance after the other.
    class Walk {
      public:
        explicit Walk(list_model &list) : list_(&list) { ++list.walks; }
        // Goes to the next live entry; false at the end.
        bool advance() {
            do {
                place = index < 0 ? list_->entries.begin() : std::next(place);
                ++index;
            } while (place != list_->entries.end() && place->deleted);
            return place != list_->entries.end();
        }
        void end() {
            --list_->walks;
            list_->drop_deleted();
        }

        Place place{};
        int index = -1; // of the place; deleted entries count
      private:
        list_model *list_;
    };

  private:
    void drop_deleted() {
        if (walks == 0)
            entries.remove_if([](const Entry &entry) { return entry.deleted; });
    }
};

item *as_item(const void *hook) {
    return static_cast<item *>(const_cast<void *>(hook));
}
int32_t by_key(const void *a, const void *b) {
    return as_item(a)->key - as_item(b)->key;
}

enum class step {
    push_front,
    push_back,
    insert,
    pop_front,
    erase,
    erase_link,
    erase_by_key,
    erase_if,
    find,
    copy,
    walk,
    count
};
enum class walk_form { typed, iterate, iterate_del, count };

class driver {
  public:
    explicit driver(fuzz::program &input) : program(input) {}
    driver(const driver &) = delete;
    driver &operator=(const driver &) = delete;
    // What fails inside a walk of C leaves it by an exception, and then the list can't be emptied.
    ~driver() {
        if (list_link *&head = list.c_record(); head != nullptr) {
            head->iters = 1;
            list_iter_clear(&head);
        }
    }

    void take_step() {
        in_c = program.one_of_two();
        elem = &program.one_from(pool);
        switch (program.one_of<step>()) {
        case step::push_front:
            return push_front();
        case step::push_back:
            return push_back();
        case step::insert:
            return insert();
        case step::pop_front:
            return pop_front();
        case step::erase:
            return erase();
        case step::erase_link:
            return erase_link();
        case step::erase_by_key:
            return erase_by_key();
        case step::erase_if:
            return erase_if();
        case step::find:
            return find();
        case step::copy:
            return copy();
        case step::walk:
            return walk();
        case step::count:
            return;
        }
    }

    void expect_as_modelled() {
        fuzz::require_sound(qvds::check(list, model.walks));
        const list_link *at = list.c_record();
        for (const auto &[held, deleted] : model.entries) {
            require(at == held.link);
            require(at->hook == held.elem);
            require(at->state == (deleted ? LIST_STATE_DELETED : 0));
            at = at->next;
        }
        require(at == nullptr);
        const size_t live = live_elements().size();
        require(list.count() == live);
        require(list_length(list.c_record()) == static_cast<int>(live));
        require(list.front() == list_peek(list.c_record()));
    }

  private:
    // -- Steps

    void push_front() {
        list_link *const link = in_c ? list_push(elem, &list.c_record()) : list.push_front(*elem);
        model.entries.push_front({{elem, link}});
    }
    void push_back() {
        list_link *const link = in_c ? list_append(elem, &list.c_record()) : list.push_back(*elem);
        model.entries.push_back({{elem, link}});
    }
    // Goes on up to the first element with a key, and there to a verdict. C is shown what is deleted
    // as well.
    void insert() {
        static constexpr int32_t c_verdicts[] = {-1, 1, 0, 2};
        verdict = program.below(4);
        decisive_key = some_key();
        list_link *const link = in_c ? list_insert(elem, &list.c_record(),
                                                   [](const void *, const void *shown) {
                                                       return as_item(shown)->key == decisive_key
                                                                  ? c_verdicts[verdict]
                                                                  : 2;
                                                   })
                                     : list.insert(*elem, [](const item &shown) {
                                           return shown.key == decisive_key ? qvds::verdict(verdict)
                                                                            : qvds::verdict::go_on;
                                       });
        auto place = std::ranges::find_if(model.entries, [this](const auto &entry) {
            return entry.value.elem->key == decisive_key && (in_c || !entry.deleted);
        });
        const bool has_verdict = place != model.entries.end();
        if (has_verdict && qvds::verdict(verdict) == qvds::verdict::refuse)
            return require(link == nullptr);
        if (has_verdict && qvds::verdict(verdict) == qvds::verdict::behind)
            ++place;
        if (has_verdict && qvds::verdict(verdict) == qvds::verdict::go_on)
            place = model.entries.end();
        model.entries.insert(place, list_model::Entry{{elem, link}});
    }
    void pop_front() {
        const auto first = model.first_live();
        const item *const expected = elem_at(first);
        const item *const popped = in_c ? as_item(list_pop(&list.c_record())) : list.pop_front();
        require(popped == expected);
        remove(first);
    }
    void erase() {
        const auto place =
            model.find_live([this](const stored &held) { return held.elem == elem; });
        const bool is_there = place != model.entries.end();
        const bool was_removed =
            in_c ? list_del_link(elem, &list.c_record()) == 1 : list.erase(*elem);
        require(was_removed == is_there);
        remove(place);
    }
    void erase_link() {
        const auto place =
            model.find_live([this](const stored &held) { return held.elem == elem; });
        if (place == model.entries.end())
            return;
        list.erase(*place->value.link);
        remove(place);
    }
    void erase_by_key() {
        item wanted{some_key()};
        const auto place =
            model.find_live([&](const stored &held) { return held.elem->key == wanted.key; });
        require(as_item(list_del(&wanted, &list.c_record(), by_key)) == elem_at(place));
        remove(place);
    }
    void erase_if() {
        const int least = some_key();
        const auto gone = [=](const stored &held) { return held.elem->key >= least; };
        size_t expected = 0;
        for (auto place = model.find_live(gone); place != model.entries.end();
             place = model.find_live(gone)) {
            model.remove(place);
            ++expected;
        }
        require(list.erase_if([=](const item &shown) { return shown.key >= least; }) == expected);
    }
    void find() {
        item wanted{some_key()};
        const auto place =
            model.find_live([&](const stored &held) { return held.elem->key == wanted.key; });
        const item *const found = in_c
                                      ? as_item(list_find_element(&wanted, list.c_record(), by_key))
                                      : list.find(wanted.key, &item::key);
        require(found == elem_at(place));
        require((list_find_link(elem, list.c_record()) != nullptr) == list.contains(*elem));
    }
    void copy() {
        int length = -1;
        const std::unique_ptr<void *[], decltype(&free)> copied(
            list_2_table(list.c_record(), &length), free);
        const auto expected = live_elements();
        require(length == static_cast<int>(expected.size()));
        require(std::equal(expected.begin(), expected.end(), copied.get()));
        require(copied[expected.size()] == nullptr);
        std::vector<item *> appended;
        list.append_to(appended);
        require(appended == expected);
    }
    void walk() {
        if (depth == 3)
            return;
        ++depth;
        list_model::Walk expected(model);
        bool stopped = false;
        const auto visit = [&](const void *hook) {
            require(expected.advance());
            require(hook == expected.place->value.elem);
            take_nested_steps();
        };
        switch (program.one_of<walk_form>()) {
        case walk_form::typed:
            for (const item &shown : list.walk()) {
                visit(&shown);
                stopped = program.one_in(8);
                if (stopped)
                    break;
            }
            break;
        case walk_form::iterate: {
            void *const result =
                test::iterate(&list.c_record(), [&](const void *hook, int32_t index) -> void * {
                    visit(hook);
                    require(index == expected.index);
                    stopped = program.one_in(8);
                    return stopped ? test::stop : nullptr;
                });
            require(result == (stopped ? test::stop : nullptr));
            break;
        }
        case walk_form::iterate_del:
        case walk_form::count:
            test::iterate_del(&list.c_record(), [&](const void *hook, int32_t index) {
                visit(hook);
                require(index == expected.index);
                if (expected.place->deleted || !program.one_in(3))
                    return 0;
                model.remove(expected.place);
                return 1;
            });
            break;
        }
        require(stopped || !expected.advance());
        expected.end();
        --depth;
    }
    void take_nested_steps() {
        for (size_t left = program.below(4); left > 0; --left) {
            take_step();
            expect_as_modelled();
        }
    }

    // -- Choices and the model

    int some_key() { return static_cast<int>(program.below(std::size(pool) / 2)); }
    void remove(list_model::Place place) {
        if (place != model.entries.end())
            model.remove(place);
    }
    item *elem_at(list_model::Place place) {
        return place != model.entries.end() ? place->value.elem : nullptr;
    }
    std::vector<item *> live_elements() const {
        std::vector<item *> all;
        for (const auto &entry : model.entries)
            if (!entry.deleted)
                all.push_back(entry.value.elem);
        return all;
    }

    // What the callbacks of C, which have no context, go by.
    static inline size_t verdict;
    static inline int decisive_key;

    fuzz::program &program;
    bool in_c = false;    // whether this step goes through the functions of C
    item *elem = nullptr; // of this step
    item pool[8] = {{0}, {0}, {1}, {1}, {2}, {2}, {3}, {3}};
    qvds::list<item> list;
    list_model model;
    int depth = 0; // of walks
};

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    fuzz::program program(data, size);
    fuzz::run<driver>(program);
    return 0;
}

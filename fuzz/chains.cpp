// The stack and the two queues, beside a vector.

#include "linked_item.hpp"
#include "program.hpp"

#include <qvds/check.hpp>
#include <qvds/node.h>

#include <algorithm>
#include <vector>

namespace {

using fuzz::require, fuzz::item, fuzz::item_at, fuzz::by_key, fuzz::stray;

using items = std::vector<item *>;

// The families: the class, and what C calls the same operations.
struct stack {
    using chain = qvds::lifo<&item::link>;
    static constexpr auto push = qvds_lifo_push;
    static constexpr auto insert_sorted = qvds_lifo_insert_sorted;
    static constexpr auto pop = qvds_lifo_pop;
    static constexpr auto extract = qvds_lifo_extract;
    static constexpr auto concat = qvds_lifo_concat;
    static constexpr auto cut = qvds_lifo_cut;
    static constexpr bool has_tail = false, has_back_links = false;
};
struct queue {
    using chain = qvds::fifo<&item::link>;
    static constexpr auto push = qvds_fifo_push;
    static constexpr auto append = qvds_fifo_append;
    static constexpr auto insert = qvds_fifo_insert;
    static constexpr auto insert_sorted = qvds_fifo_insert_sorted;
    static constexpr auto pop = qvds_fifo_pop;
    static constexpr auto extract = qvds_fifo_extract;
    static constexpr auto concat = qvds_fifo_concat;
    static constexpr auto cut = qvds_fifo_cut;
    static constexpr bool has_tail = true, has_back_links = false;
};
struct queue2 {
    using chain = qvds::fifo2<&item::link>;
    static constexpr auto push = qvds_fifo2_push;
    static constexpr auto append = qvds_fifo2_append;
    static constexpr auto insert = qvds_fifo2_insert;
    static constexpr auto insert_sorted = qvds_fifo2_insert_sorted;
    static constexpr auto pop = qvds_fifo2_pop;
    static constexpr auto extract = qvds_fifo2_extract;
    static constexpr auto concat = qvds_fifo2_concat;
    static constexpr auto cut = qvds_fifo2_cut;
    static constexpr bool has_tail = true, has_back_links = true;
};

enum class step {
    push_front,
    push_back,
    insert_after,
    insert_sorted,
    pop_front,
    pop_back,
    find,
    extract,
    unlink,
    remove_if,
    concat,
    cut,
    cut_absent,
    swap,
    clear,
    count
};

// Two chains, of which the second takes what is cut off and gives it back.
template <class Family>
class driver {
    using chain = typename Family::chain;

  public:
    explicit driver(fuzz::program &input) : program(input) {}

    void take_step() {
        in_c = program.one_of_two();
        switch (program.one_of<step>()) {
        case step::push_front:
            return push_front();
        case step::push_back:
            if constexpr (Family::has_tail)
                push_back();
            return;
        case step::insert_after:
            return insert_after();
        case step::insert_sorted:
            return insert_sorted();
        case step::pop_front:
            return pop_front();
        case step::pop_back:
            if constexpr (Family::has_back_links)
                pop_back();
            return;
        case step::find:
            return find();
        case step::extract:
            return extract();
        case step::unlink:
            if constexpr (Family::has_back_links)
                unlink();
            return;
        case step::remove_if:
            return remove_if();
        case step::concat:
            return concat();
        case step::cut:
            return cut();
        case step::cut_absent:
            if constexpr (!Family::has_back_links)
                cut_absent();
            return;
        case step::swap:
            list.swap(other);
            return model.swap(other_model);
        case step::clear:
            list.clear();
            return model.clear();
        case step::count:
            return;
        }
    }

    void expect_as_modelled() {
        expect_chain(list, model);
        expect_chain(other, other_model);
    }

  private:
    // -- Steps

    void push_front() {
        item *const elem = spare();
        if (elem == nullptr)
            return;
        if (in_c)
            require(Family::push(&list.c_record(), &elem->link) == &elem->link);
        else if constexpr (Family::has_tail)
            list.push_front(*elem);
        else
            list.push(*elem);
        model.insert(model.begin(), elem);
    }
    void push_back() {
        item *const elem = spare();
        if (elem == nullptr)
            return;
        if (in_c)
            require(Family::append(&list.c_record(), &elem->link) == &elem->link);
        else
            list.push_back(*elem);
        model.push_back(elem);
    }
    void insert_after() {
        item *const elem = spare();
        if (elem == nullptr || model.empty())
            return;
        const auto spot = some_place();
        if constexpr (Family::has_tail) {
            if (in_c)
                require(Family::insert(&list.c_record(), &(*spot)->link, &elem->link) ==
                        &elem->link);
            else
                list.insert_after(**spot, *elem);
        } else {
            list.insert_after(**spot, *elem);
        }
        model.insert(spot + 1, elem);
    }
    void insert_sorted() {
        item *const elem = spare();
        if (elem == nullptr)
            return;
        if (in_c)
            require(Family::insert_sorted(&list.c_record(), &elem->link, by_key) == &elem->link);
        else
            list.insert_sorted(*elem, {}, &item::key);
        const auto behind = std::find_if(model.begin(), model.end(), [&](const item *stored) {
            return elem->key <= stored->key;
        });
        model.insert(behind, elem);
    }
    void pop_front() {
        item *popped = nullptr;
        if (in_c)
            popped = item_at(Family::pop(&list.c_record()));
        else if constexpr (Family::has_tail)
            popped = list.pop_front();
        else
            popped = list.pop();
        require(popped == (model.empty() ? nullptr : model.front()));
        expect_out(popped);
    }
    void pop_back() {
        item *const popped =
            in_c ? item_at(qvds_fifo2_pop_tail(&list.c_record())) : list.pop_back();
        require(popped == (model.empty() ? nullptr : model.back()));
        expect_out(popped);
    }
    void find() {
        item wanted{some_key()};
        const item *const found =
            in_c ? item_at(qvds_node_find(&list.c_record(), &wanted.link, by_key))
                 : list.find(wanted.key, &item::key);
        require(found == first_with(wanted.key));
    }
    void extract() {
        item wanted{some_key()};
        item *const found = in_c ? item_at(Family::extract(&list.c_record(), &wanted.link, by_key))
                                 : list.extract(wanted.key, &item::key);
        require(found == first_with(wanted.key));
        expect_out(found);
    }
    void unlink() {
        if (model.empty())
            return;
        item *const elem = *some_place();
        if (in_c)
            require(qvds_fifo2_extract_existing(&list.c_record(), &elem->link) == &elem->link);
        else
            list.unlink(*elem);
        expect_out(elem);
    }
    void remove_if() {
        const int least = some_key();
        const auto gone = [=](const item *elem) { return elem->key >= least; };
        const size_t removed = list.remove_if([=](const item &elem) { return gone(&elem); });
        require(removed == std::erase_if(model, gone));
    }
    void concat() {
        if (in_c)
            require(Family::concat(&list.c_record(), &other.c_record()) == &list.c_record());
        else
            list.concat(other);
        model.insert(model.end(), other_model.begin(), other_model.end());
        other_model.clear();
    }
    void cut() {
        if (model.empty())
            return;
        const auto spot = some_place();
        if (in_c)
            require(Family::cut(&list.c_record(), &other.c_record(), &(*spot)->link) ==
                    &other.c_record());
        else
            other = list.cut(**spot);
        other_model.assign(spot, model.end());
        model.erase(spot, model.end());
    }
    void cut_absent() {
        item absent;
        if (in_c)
            require(Family::cut(&list.c_record(), &other.c_record(), &absent.link) == nullptr);
        else
            require(list.cut(absent).empty());
    }

    // -- Choices

    int some_key() { return static_cast<int>(program.below(6)); }
    items::iterator some_place() {
        return model.begin() + static_cast<ptrdiff_t>(program.below(model.size()));
    }
    // An element in neither chain, or null, with a key of its own.
    item *spare() {
        for (item &elem : pool)
            if (std::ranges::count(model, &elem) + std::ranges::count(other_model, &elem) == 0) {
                elem = {some_key(), {&stray, &stray}};
                return &elem;
            }
        return nullptr;
    }

    // -- What is required

    // What leaves keeps its links.
    void expect_out(const item *elem) {
        const auto spot = std::ranges::find(model, elem);
        if (spot == model.end())
            return;
        require(item_at(elem->link.next) == (spot + 1 != model.end() ? *(spot + 1) : nullptr));
        if constexpr (Family::has_back_links)
            require(item_at(elem->link.prev) == (spot != model.begin() ? *(spot - 1) : nullptr));
        model.erase(spot);
    }
    item *first_with(int key) const {
        const auto found =
            std::ranges::find(model, key, [](const item *elem) { return elem->key; });
        return found != model.end() ? *found : nullptr;
    }
    static void expect_chain(chain &list, const items &expected) {
        fuzz::require_sound(qvds::check(list));
        fuzz::require_same(list.begin(), list.end(), expected);
        require(item_at(list.c_record().top) == (expected.empty() ? nullptr : expected.front()));
        if constexpr (Family::has_tail)
            require(list.back() == (expected.empty() ? nullptr : expected.back()));
        if constexpr (Family::has_back_links) {
            const items backwards(expected.rbegin(), expected.rend());
            fuzz::require_same(list.rbegin(), list.rend(), backwards);
        } else {
            for (const item *elem : expected)
                require(elem->link.prev == &stray);
        }
    }

    fuzz::program &program;
    bool in_c = false; // whether this step goes through the functions of C
    item pool[12];
    chain list, other;
    items model, other_model;
};

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    fuzz::program program(data, size);
    enum class family { stack, queue, queue2, count };
    switch (program.one_of<family>()) {
    case family::stack:
        fuzz::run<driver<stack>>(program);
        break;
    case family::queue:
        fuzz::run<driver<queue>>(program);
        break;
    case family::queue2:
    case family::count:
        fuzz::run<driver<queue2>>(program);
        break;
    }
    return 0;
}

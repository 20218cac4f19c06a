// The headerless list, beside a vector and the element that the handle should name.

#include "linked_item.hpp"
#include "program.hpp"

#include <qvds/check.hpp>

#include <algorithm>
#include <vector>

namespace {

using fuzz::require, fuzz::item, fuzz::item_at, fuzz::by_key, fuzz::stray;

using items = std::vector<item *>;

enum class step {
    insert,
    append,
    push,
    unlink,
    extract,
    find,
    concat,
    cut,
    move_handle,
    remove_if,
    count
};

// Two lists, of which the second takes what is cut off and gives it back.
class driver {
  public:
    explicit driver(fuzz::program &input) : program(input) {}

    void take_step() {
        in_c = program.one_of_two();
        switch (program.one_of<step>()) {
        case step::insert:
            return insert();
        case step::append:
            return append();
        case step::push:
            return push();
        case step::unlink:
            return unlink();
        case step::extract:
            return extract();
        case step::find:
            return find();
        case step::concat:
            return concat();
        case step::cut:
            return cut();
        case step::move_handle:
            return move_handle();
        case step::remove_if:
            return remove_if();
        case step::count:
            return;
        }
    }

    void expect_as_modelled() {
        expect_list(list, model);
        expect_list(other, other_model);
        require(list.handle() == handle);
        require((other.handle() == nullptr) == other_model.empty());
    }

  private:
    // -- Steps

    void insert() {
        item *const elem = spare();
        if (elem == nullptr)
            return;
        if (in_c)
            require(qvds_sloppy_insert(&list.c_record(), &elem->link) == &elem->link);
        else
            list.insert(*elem);
        model.insert(model.empty() ? model.end() : place_of(handle) + 1, elem);
        set_handle_if_null(elem);
    }
    void append() {
        item *const elem = spare();
        if (elem == nullptr)
            return;
        if (in_c)
            require(qvds_sloppy_append(&list.c_record(), &elem->link) == &elem->link);
        else
            list.push_back(*elem);
        model.push_back(elem);
        set_handle_if_null(elem);
    }
    void push() {
        item *const elem = spare();
        if (elem == nullptr)
            return;
        if (in_c)
            require(qvds_sloppy_push(&list.c_record(), &elem->link) == &elem->link);
        else
            list.push_front(*elem);
        if (model.empty() || handle == model.front())
            handle = elem;
        model.insert(model.begin(), elem);
    }
    void unlink() {
        if (model.empty())
            return;
        item *const elem = program.one_from(model);
        if (in_c)
            require(qvds_sloppy_extract_existing(&list.c_record(), &elem->link) == &elem->link);
        else
            list.unlink(*elem);
        forget(elem);
        require(elem->link.next == nullptr && elem->link.prev == nullptr);
    }
    void extract() {
        item wanted{some_key()};
        item *const expected = nearest(wanted.key);
        item *const found =
            in_c ? item_at(qvds_sloppy_extract(&list.c_record(), &wanted.link, by_key))
                 : list.extract(wanted.key, &item::key);
        require(found == expected);
        if (found != nullptr)
            forget(found);
    }
    void find() {
        item wanted{some_key()};
        const item *const found =
            in_c ? item_at(qvds_sloppy_find(list.c_record(), &wanted.link, by_key))
                 : list.find(wanted.key, &item::key);
        require(found == nearest(wanted.key));
    }
    void concat() {
        if (model.empty())
            handle = other.handle();
        if (in_c && !model.empty() && !other_model.empty()) {
            require(qvds_sloppy_concat(list.c_record(), other.c_record()) == list.c_record());
            other.clear();
        } else {
            list.concat(other);
        }
        model.insert(model.end(), other_model.begin(), other_model.end());
        other_model.clear();
    }
    // C leaves it to the caller to know on which side the handle is.
    void cut() {
        if (model.empty() || !other_model.empty())
            return;
        const auto spot = place_of(program.one_from(model));
        item *const elem = *spot;
        const bool cuts_off_handle = place_of(handle) >= spot;
        item *const before = spot != model.begin() ? *(spot - 1) : nullptr;
        if (in_c) {
            require(qvds_sloppy_cut(&elem->link) == &elem->link);
            other.move_handle(*elem);
            if (cuts_off_handle && before != nullptr)
                list.move_handle(*before);
            else if (cuts_off_handle)
                list.clear();
        } else {
            other = list.cut(*elem);
        }
        if (cuts_off_handle)
            handle = before;
        other_model.assign(spot, model.end());
        model.erase(spot, model.end());
        require(other.handle() == elem);
    }
    void move_handle() {
        if (model.empty())
            return;
        handle = program.one_from(model);
        list.move_handle(*handle);
    }
    void remove_if() {
        const int least = some_key();
        const auto gone = [=](const item &elem) { return elem.key >= least; };
        const size_t before = model.size();
        const size_t removed = list.remove_if(gone);
        for (item *elem : items(model))
            if (gone(*elem))
                forget(elem);
        require(removed == before - model.size());
    }

    // -- Choices and the model

    int some_key() { return static_cast<int>(program.below(4)); }
    // An element in neither list, or null, with a key of its own.
    item *spare() {
        for (item &elem : pool)
            if (std::ranges::count(model, &elem) + std::ranges::count(other_model, &elem) == 0) {
                elem = {some_key(), {&stray, &stray}};
                return &elem;
            }
        return nullptr;
    }
    items::iterator place_of(const item *elem) { return std::ranges::find(model, elem); }
    void set_handle_if_null(item *elem) {
        if (handle == nullptr)
            handle = elem;
    }
    // The handle goes to the element before, else to the one behind.
    void forget(item *elem) {
        const auto spot = place_of(elem);
        if (handle == elem && model.size() == 1)
            handle = nullptr;
        else if (handle == elem)
            handle = spot != model.begin() ? *(spot - 1) : *(spot + 1);
        model.erase(spot);
    }
    // From the handle back to the first, then from behind it to the last.
    item *nearest(int key) {
        items outwards;
        if (!model.empty()) {
            const auto behind = place_of(handle) + 1;
            outwards.assign(std::reverse_iterator(behind), model.rend());
            outwards.insert(outwards.end(), behind, model.end());
        }
        const auto found =
            std::ranges::find(outwards, key, [](const item *elem) { return elem->key; });
        return found != outwards.end() ? *found : nullptr;
    }

    static void expect_list(qvds::sloppy<&item::link> &list, const items &expected) {
        fuzz::require_sound(qvds::check(list));
        fuzz::require_same(list.begin(), list.end(), expected);
        require(item_at(qvds_sloppy_first(list.c_record())) ==
                (expected.empty() ? nullptr : expected.front()));
        require(item_at(qvds_sloppy_last(list.c_record())) ==
                (expected.empty() ? nullptr : expected.back()));
        require(qvds_sloppy_count(list.c_record()) == expected.size());
    }

    fuzz::program &program;
    bool in_c = false; // whether this step goes through the functions of C
    item pool[10];
    qvds::sloppy<&item::link> list, other;
    items model, other_model;
    item *handle = nullptr; // which the handle of list should name
};

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    fuzz::program program(data, size);
    fuzz::run<driver>(program);
    return 0;
}

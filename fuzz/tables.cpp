// The hash tables over the caller's buckets, beside a map from keys to the elements that have them,
// newest first. A growing table, which C does not know, is a third family.

#include "linked_item.hpp"
#include "program.hpp"

#include <qvds/check.hpp>
#include <qvds/hash2.hpp>

#include <algorithm>
#include <deque>
#include <map>
#include <vector>

namespace {

using fuzz::require, fuzz::item, fuzz::item_at, fuzz::by_key;

using items = std::deque<item *>;

// Keys share chains whatever the number of buckets.
struct weak_hash {
    size_t operator()(int key) const noexcept { return static_cast<size_t>(key) / 2; }
};

// The families: the class, and what C calls the same operations.
struct single {
    using table = qvds::hash<&item::link, &item::key, weak_hash>;
    static constexpr auto store = qvds_hash_store;
    static constexpr auto store_or_replace = qvds_hash_storereplace;
    static constexpr auto insert_or_find = qvds_hash_searchinsert;
    static constexpr auto extract = qvds_hash_extract;
    static constexpr auto unroll = qvds_hash_unroll;
    static constexpr bool is_in_c = true, has_back_links = false;
};
struct twofold {
    using table = qvds::hash2<&item::link, &item::key, weak_hash>;
    static constexpr auto store = qvds_hash2_store;
    static constexpr auto store_or_replace = qvds_hash2_storereplace;
    static constexpr auto insert_or_find = qvds_hash2_searchinsert;
    static constexpr auto extract = qvds_hash2_extract;
    static constexpr auto unroll = qvds_hash2_unroll;
    static constexpr bool is_in_c = true, has_back_links = true;
};
struct growing {
    using table = qvds::growing_hash2<&item::link, &item::key, weak_hash>;
    static constexpr bool is_in_c = false, has_back_links = true;
};

enum class step {
    store,
    store_or_replace,
    insert_or_find,
    extract,
    unlink,
    remove_if,
    erase_on_the_way,
    rehash,
    grow,
    move_some,
    unroll,
    count
};

template <class Family>
class driver {
  public:
    explicit driver(fuzz::program &input) : program(input) {}

    void take_step() {
        in_c = Family::is_in_c && program.one_of_two();
        switch (program.one_of<step>()) {
        case step::store:
            return store();
        case step::store_or_replace:
            return store_or_replace();
        case step::insert_or_find:
            return insert_or_find();
        case step::extract:
            return extract();
        case step::unlink:
            if constexpr (Family::has_back_links)
                unlink();
            return;
        case step::remove_if:
            return remove_if();
        case step::erase_on_the_way:
            return erase_on_the_way();
        case step::rehash:
            if constexpr (Family::is_in_c)
                rehash();
            return;
        case step::grow:
            if constexpr (!Family::is_in_c)
                grow();
            return;
        case step::move_some:
            if constexpr (!Family::is_in_c)
                move_some();
            return;
        case step::unroll:
            if constexpr (Family::is_in_c)
                unroll();
            return;
        case step::count:
            return;
        }
    }

    void expect_as_modelled() {
        fuzz::require_sound(qvds::check(table));
        size_t count = 0;
        for (auto &[key, equal] : model) {
            const auto range = table.equal_range(key);
            fuzz::require_same(range.begin(), range.end(), equal);
            require(table.find(key) == first(equal));
            count += equal.size();
            if constexpr (Family::is_in_c) {
                item wanted{key};
                require(item_at(qvds_hash_retrieve(&table.c_record(), &wanted.link, by_key)) ==
                        first(equal));
            }
        }
        require(table.count() == count);
    }

  private:
    // -- Steps

    void store() {
        item *const elem = spare();
        if (elem == nullptr)
            return;
        call_c_or_else(
            [&](auto c, auto *record) { return c.store(record, &elem->link) == &elem->link; },
            [&] { return table.store(*elem), true; });
        model[elem->key].push_front(elem);
    }
    void store_or_replace() {
        item *const elem = spare();
        if (elem == nullptr)
            return;
        items &equal = model[elem->key];
        item *const replaced = first(equal);
        call_c_or_else(
            [&](auto c, auto *record) {
                void *const result = c.store_or_replace(record, &elem->link, by_key);
                return item_at(result) == (replaced != nullptr ? replaced : elem);
            },
            [&] { return table.store_or_replace(*elem) == replaced; });
        if (replaced != nullptr)
            equal.pop_front();
        equal.push_front(elem);
    }
    void insert_or_find() {
        item *const elem = spare();
        if (elem == nullptr)
            return;
        items &equal = model[elem->key];
        if (equal.empty())
            equal.push_front(elem);
        item *const expected = equal.front();
        call_c_or_else(
            [&](auto c, auto *record) {
                void *const result = c.insert_or_find(record, &elem->link, by_key);
                return item_at(result) == expected;
            },
            [&] {
                const auto [where, fresh] = table.insert_or_find(*elem);
                return where == expected && fresh == (expected == elem);
            });
    }
    void extract() {
        item wanted{some_key()};
        items &equal = model[wanted.key];
        item *const expected = first(equal);
        call_c_or_else(
            [&](auto c, auto *record) {
                return item_at(c.extract(record, &wanted.link, by_key)) == expected;
            },
            [&] { return table.extract(wanted.key) == expected; });
        std::erase(equal, expected);
    }
    void unlink() {
        items &equal = model[some_key()];
        if (equal.empty())
            return;
        item *const elem = program.one_from(equal);
        if (in_c)
            require(qvds_hash2_unlink(nullptr, &elem->link) == &elem->link);
        else
            table.unlink(*elem);
        std::erase(equal, elem);
    }
    void remove_if() {
        const int least = some_key();
        const size_t removed = table.remove_if([=](const item &elem) { return elem.key >= least; });
        require(removed == forget_from(least));
    }
    void erase_on_the_way() {
        const int least = some_key();
        if constexpr (Family::has_back_links) {
            for (auto at = table.begin(); at != table.end();)
                at = at->key >= least ? table.erase(at) : std::next(at);
        } else {
            for (auto at = table.cursor(); at;)
                if (at->key >= least)
                    require(at.erase()->key >= least);
                else
                    at.next();
        }
        forget_from(least);
    }
    void rehash() {
        std::vector<void *> larger(1 + program.below(9));
        table.rehash(larger);
        expect_all_null(array);
        array.swap(larger);
    }
    void grow() {
        if (table.is_growing())
            return;
        former_array.swap(array);
        array.assign(1 + program.below(9), nullptr);
        table.grow(array);
    }
    void move_some() {
        if (!table.is_growing())
            return;
        if (const auto former = table.step(1 + program.below(3)); !former.empty()) {
            require(former.data() == former_array.data() && former.size() == former_array.size());
            expect_all_null(former_array);
        }
    }
    // Takes out some elements, and stores some of them again in the same table, at most once each.
    void unroll() {
        struct context {
            driver &self;
            size_t left;
        } context{*this, program.below(8)};
        const int result = Family::unroll(
            &table.c_record(),
            [](void *link, void *ctx) -> int32_t {
                auto &[self, left] = *static_cast<struct context *>(ctx);
                item *const elem = item_at(link);
                require(std::erase(self.model[elem->key], elem) == 1);
                if (left == 0)
                    return 7;
                --left;
                if (self.program.one_in(3)) {
                    Family::store(&self.table.c_record(), link);
                    self.model[elem->key].push_front(elem);
                }
                return 0;
            },
            &context);
        require(result == 7 || table.empty());
    }

    // -- Choices and the model

    template <class CallC, class CallTyped>
    void call_c_or_else(CallC call_c, CallTyped call_typed) {
        if constexpr (Family::is_in_c)
            if (in_c)
                return require(call_c(Family{}, &table.c_record()));
        require(call_typed());
    }
    int some_key() { return static_cast<int>(program.below(8)); }
    bool is_in_table(item &elem) {
        return std::ranges::any_of(
            model, [&](const auto &entry) { return std::ranges::count(entry.second, &elem) != 0; });
    }
    // An element that is in no table, or null, with a key of its own.
    item *spare() {
        const auto found = std::ranges::find_if(pool, [&](item &e) { return !is_in_table(e); });
        if (found == std::end(pool))
            return nullptr;
        found->key = some_key();
        return found;
    }
    size_t forget_from(int least) {
        size_t forgotten = 0;
        for (auto &[key, equal] : model)
            if (key >= least) {
                forgotten += equal.size();
                equal.clear();
            }
        return forgotten;
    }
    static item *first(const items &equal) { return equal.empty() ? nullptr : equal.front(); }
    static void expect_all_null(const std::vector<void *> &slots) {
        require(std::ranges::count(slots, nullptr) == std::ssize(slots));
    }

    fuzz::program &program;
    bool in_c = false; // whether this step goes through the functions of C
    item pool[14];
    std::vector<void *> array = std::vector<void *>(1 + program.below(5)), former_array;
    typename Family::table table{array};
    std::map<int, items> model;
};

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    fuzz::program program(data, size);
    enum class family { single, twofold, growing, count };
    switch (program.one_of<family>()) {
    case family::single:
        fuzz::run<driver<single>>(program);
        break;
    case family::twofold:
        fuzz::run<driver<twofold>>(program);
        break;
    case family::growing:
    case family::count:
        fuzz::run<driver<growing>>(program);
        break;
    }
    return 0;
}

// The keyed hash in walks within walks, beside a map from keys to values, newest first. Of a walk it
// is required that it meets what was there from its beginning to its end, and nothing twice, and
// nothing that is not there.

#include "../tests/owning_walks.hpp"
#include "program.hpp"

#include <qvds/check.hpp>

#include <algorithm>
#include <deque>
#include <map>
#include <set>

namespace {

using fuzz::require;

struct word {
    int key = 0;
    size_t serial = 0; // of its addition, no two alike
    const word *metadata = nullptr;
};
using words = std::deque<word *>;

struct weak_hash {
    uint32_t operator()(const int *key) const { return static_cast<uint32_t>(*key / 2) << 30; }
};
struct same_key {
    bool operator()(const int *a, const int *b) const { return *a == *b; }
};
using hash_of_words = qvds::keyed_hash<const int *, word, weak_hash, same_key, const word>;

enum class step { add, find, erase, set_metadata, rehash, erase_if, walk, walk_equal, count };
enum class walk_form { typed, iterate, iterate_del, count };

class driver {
  public:
    explicit driver(fuzz::program &input)
        : program(input), table(hash_of_words::make(1 + input.below(5))) {}

    void take_step() {
        in_c = program.one_of_two();
        key = &program.one_from(keys);
        switch (program.one_of<step>()) {
        case step::add:
            return add();
        case step::find:
            return find();
        case step::erase:
            return erase();
        case step::set_metadata:
            return set_metadata();
        case step::rehash:
            if (depth == 0)
                require(table.rehash(1 + program.below(9)));
            return;
        case step::erase_if:
            return erase_if();
        case step::walk:
            return walk();
        case step::walk_equal:
            return walk_equal();
        case step::count:
            return;
        }
    }

    void expect_as_modelled() {
        if (depth == 0)
            fuzz::require_sound(qvds::check(table));
        size_t count = 0;
        for (const int &each : keys) {
            const words &equal = model[each];
            const word *const first = equal.empty() ? nullptr : equal.front();
            require(table.find(&each) == first);
            require(table.metadata(&each) == (first != nullptr ? first->metadata : nullptr));
            count += equal.size();
        }
        require(table.count() == count);
    }

  private:
    // -- Steps

    void add() {
        word *const value = spare();
        if (value == nullptr)
            return;
        *value = {*key, ++serial, nullptr};
        if (in_c)
            require(hash_add(&table.c_record(), const_cast<int *>(key), value) >= 0);
        else
            require(table.add(key, *value));
        model[*key].push_front(value);
    }
    void find() {
        const words &equal = model[*key];
        const word *const first = equal.empty() ? nullptr : equal.front();
        require(hash_find_element(&table.c_record(), key) == first);
        require(table.contains(key) == (first != nullptr));
    }
    void erase() {
        if (in_c)
            require(hash_del_element(&table.c_record(), key) == 0);
        else
            table.erase(key);
        model[*key].clear();
    }
    void set_metadata() {
        word *const data = &program.one_from(pool);
        if (in_c)
            hash_set_metadata(&table.c_record(), key, data);
        else
            table.set_metadata(key, data);
        for (word *value : model[*key])
            value->metadata = data;
    }
    void erase_if() {
        const int least = *key;
        size_t expected = 0;
        for (auto &[each, equal] : model)
            if (each >= least) {
                expected += equal.size();
                equal.clear();
            }
        const auto gone = [=](const hash_of_words::entry &entry) { return *entry.key() >= least; };
        require(table.erase_if(gone) == expected);
    }
    void walk() {
        if (depth == 3)
            return;
        ++depth;
        record_of_walk record(serial);
        bool stopped = false;
        switch (program.one_of<walk_form>()) {
        case walk_form::typed:
            for (const auto entry : table.walk()) {
                visit(record, entry);
                stopped = program.one_in(8);
                if (stopped)
                    break;
            }
            break;
        case walk_form::iterate: {
            void *const result =
                test::iterate(&table.c_record(), [&](void *value, int32_t) -> void * {
                    visit(record, *static_cast<word *>(value));
                    stopped = program.one_in(8);
                    return stopped ? test::stop : nullptr;
                });
            require(result == (stopped ? test::stop : nullptr));
            break;
        }
        case walk_form::iterate_del:
        case walk_form::count:
            test::iterate_del(&table.c_record(), [&](void *value, int32_t) {
                visit(record, *static_cast<word *>(value));
                return remove_if_there(*static_cast<word *>(value), record.present) ? 1 : 0;
            });
            break;
        }
        for (const auto &[each, equal] : model)
            for (const word *value : equal)
                require(stopped || value->serial > record.begin ||
                        record.met.contains(value->serial));
        --depth;
    }
    void walk_equal() {
        if (depth == 3)
            return;
        ++depth;
        record_of_walk record(serial);
        const int wanted = *key;
        for (const auto entry : table.equal(key)) {
            require(*entry.key() == wanted);
            visit(record, entry);
        }
        for (const word *value : model[wanted])
            require(value->serial > record.begin || record.met.contains(value->serial));
        --depth;
    }

    // -- In a walk

    struct record_of_walk {
        explicit record_of_walk(size_t last_serial) : begin(last_serial) {}
        size_t begin; // the serial number of the last addition before it
        std::set<size_t> met;
        size_t present = 0;
    };

    // What the entry holds must not be asked for once it is removed.
    void visit(record_of_walk &record, const hash_of_words::entry &entry) {
        word &value = entry.value();
        require(*entry.key() == value.key && entry.metadata() == value.metadata);
        visit(record, value);
        if (remove_if_there(value, record.present))
            table.erase(entry);
    }
    void visit(record_of_walk &record, const word &value) {
        require(std::ranges::count(model[value.key], &value) == 1);
        require(record.met.insert(value.serial).second);
        record.present = value.serial;
        for (size_t left = program.below(4); left > 0; --left) {
            take_step();
            expect_as_modelled();
        }
    }
    // Whether the value met under a serial number is to be removed; not if it is removed already.
    bool remove_if_there(word &value, size_t met_as) {
        return program.one_in(4) && value.serial == met_as &&
               std::erase(model[value.key], &value) == 1;
    }

    // A value that is not in the table, or null.
    word *spare() {
        for (word &each : pool)
            if (std::ranges::count(model[each.key], &each) == 0)
                return &each;
        return nullptr;
    }

    fuzz::program &program;
    bool in_c = false;        // whether this step goes through the functions of C
    const int *key = nullptr; // of this step
    const int keys[6] = {0, 1, 2, 3, 4, 5};
    word pool[12];
    hash_of_words table;
    std::map<int, words> model;
    size_t serial = 0; // of the last addition
    int depth = 0;     // of walks
};

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    fuzz::program program(data, size);
    fuzz::run<driver>(program);
    return 0;
}

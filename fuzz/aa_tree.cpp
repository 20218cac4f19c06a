// The AA tree, beside a map from keys to the elements that have them.

#include "program.hpp"

#include <qvds/check.hpp>

#include <algorithm>
#include <cstddef>
#include <deque>
#include <map>

namespace {

using fuzz::require;

struct word {
    int key = 0;
    AA_node node{};
};
using aa_tree = qvds::aa_tree<&word::node, &word::key>;

word *word_at(void *node) {
    return node != nullptr
               ? reinterpret_cast<word *>(static_cast<char *>(node) - offsetof(word, node))
               : nullptr;
}
int32_t by_key(const void *a, const void *b) {
    const int x = word_at(const_cast<void *>(a))->key, y = word_at(const_cast<void *>(b))->key;
    return (x > y) - (x < y);
}

enum class step { insert, erase, search, walk_range, erase_on_the_way, duplicate, clear, count };

class driver {
  public:
    explicit driver(fuzz::program &input) : program(input) {
        for (int i = 0; i < 2 * all; ++i)
            pool[i].key = i / 2;
    }

    void take_step() {
        in_c = program.one_of_two();
        switch (program.one_of<step>()) {
        case step::insert:
            return insert();
        case step::erase:
            return erase();
        case step::search:
            return search();
        case step::walk_range:
            return walk_range();
        case step::erase_on_the_way:
            return erase_on_the_way();
        case step::duplicate:
            return duplicate();
        case step::clear:
            tree.clear();
            model.clear();
            only_insertions = true;
            return;
        case step::count:
            return;
        }
    }

    void expect_as_modelled() {
        fuzz::require_sound(qvds::check(tree, only_insertions ? qvds::aa_levels::of_insertions
                                                              : qvds::aa_levels::any));
        auto walk = tree.walk();
        expect_same(walk, model.begin(), model.end());
        require(tree.count() == model.size());
        require(tree.first() == (model.empty() ? nullptr : model.begin()->second));
        require(word_at(AA_last(tree.c_root())) ==
                (model.empty() ? nullptr : model.rbegin()->second));
    }

  private:
    using words = std::map<int, word *>;

    // -- Steps

    // One of the two with a key. The one that is in the tree must not be added again.
    void insert() {
        word &added = pool[program.below(2 * all)];
        word *const match = found_at(model.find(added.key));
        if (match == &added)
            return;
        if (in_c) {
            AA_node *stored = nullptr;
            AA_node *const root = AA_insert(tree.c_root(), &added.node, by_key, &stored);
            require((root == nullptr) == (match != nullptr));
            require(word_at(stored) == match);
            if (root != nullptr)
                tree.c_root() = root;
        } else {
            const auto [where, fresh] = tree.insert(added);
            require(fresh == (match == nullptr));
            require(where == (match != nullptr ? match : &added));
        }
        model.emplace(added.key, &added);
    }
    void erase() {
        word wanted{some_key()};
        word *const match = found_at(model.find(wanted.key));
        only_insertions = false;
        if (in_c) {
            AA_node *taken = nullptr;
            tree.c_root() = AA_delete(tree.c_root(), &wanted.node, by_key, &taken);
            require(word_at(taken) == match);
        } else {
            require(tree.erase(wanted.key) == match);
        }
        require(match == nullptr || (match->node.left == nullptr && match->node.right == nullptr));
        model.erase(wanted.key);
    }
    void search() {
        word wanted{some_key()};
        const auto at = model.find(wanted.key);
        require(word_at(AA_find(tree.c_root(), &wanted.node, by_key)) == found_at(at));
        require(tree.find(wanted.key) == found_at(at));
        require(tree.lower_bound(wanted.key) == found_at(model.lower_bound(wanted.key)));
        require(tree.upper_bound(wanted.key) == found_at(model.upper_bound(wanted.key)));
        if (at == model.end())
            return;
        require(tree.next(*at->second) == found_at(std::next(at)));
        require(tree.prev(*at->second) == (at != model.begin() ? std::prev(at)->second : nullptr));
    }
    void walk_range() {
        const int from = some_key(), to = some_key();
        auto range = tree.range(from, to);
        expect_same(range, model.lower_bound(from), model.lower_bound(std::max(from, to)));
        auto rest = tree.walk_from(from);
        expect_same(rest, model.lower_bound(from), model.end());
    }
    void erase_on_the_way() {
        const int divisor = 1 + static_cast<int>(program.below(4));
        only_insertions = false;
        for (word *at = tree.first(), *behind; at != nullptr; at = behind) {
            behind = tree.next(*at);
            if (at->key % divisor == 0)
                require(tree.erase(*at) == at);
        }
        std::erase_if(model, [=](const auto &entry) { return entry.first % divisor == 0; });
    }
    // The copy goes as soon as it was made, or gives up on the way.
    void duplicate() {
        std::deque<word> copies;
        size_t disposed = 0;
        size_t left = program.one_of_two() ? SIZE_MAX : program.below(all);
        const auto copy = tree.duplicate(
            [&](const word &original) {
                return left-- > 0 ? &copies.emplace_back(original) : nullptr;
            },
            [&](word *) { ++disposed; });
        require(copy.has_value() == (disposed == 0 && copies.size() == model.size()));
        if (!copy)
            return require(disposed == copies.size());
        fuzz::require_sound(qvds::check(*copy));
        auto walk = copy->walk();
        require(std::equal(walk.begin(), walk.end(), model.begin(), model.end(),
                           [](const word &held, const auto &entry) {
                               return held.key == entry.first && &held != entry.second;
                           }));
    }

    // -- Choices and the model

    int some_key() { return static_cast<int>(program.below(all)); }
    word *found_at(words::const_iterator at) const {
        return at != model.end() ? at->second : nullptr;
    }
    template <class Walk>
    static void expect_same(Walk &walk, words::const_iterator at, words::const_iterator end) {
        require(
            std::equal(walk.begin(), walk.end(), at, end,
                       [](const word &held, const auto &entry) { return &held == entry.second; }));
    }

    static constexpr int all = 40; // keys

    fuzz::program &program;
    bool in_c = false; // whether this step goes through the functions of C
    word pool[2 * all];
    aa_tree tree;
    words model;
    bool only_insertions = true; // since the tree was empty
};

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    fuzz::program program(data, size);
    fuzz::run<driver>(program);
    return 0;
}

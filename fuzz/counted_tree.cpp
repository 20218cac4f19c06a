// The counted tree, which balances itself or does not, beside a set of keys.

#include "program.hpp"

#include <qvds/check.hpp>

#include <algorithm>
#include <iterator>
#include <set>
#include <vector>

namespace {

using fuzz::require;

struct score {
    int points = 0;
};
using scores = std::set<int>;

int32_t by_points(const void *a, const void *b) {
    return static_cast<const score *>(a)->points - static_cast<const score *>(b)->points;
}

enum class step {
    insert,
    erase,
    erase_place,
    search,
    rotate,
    partition,
    balance,
    cut,
    join,
    load_sorted,
    walk_some,
    clear,
    count
};

// Two trees, of which the second takes what is cut off and gives it back.
template <class Balance>
class driver {
    using counted_tree = qvds::counted_tree<&score::points, qvds::core::natural_order, Balance>;

  public:
    explicit driver(fuzz::program &input) : program(input) {
        for (int points = 0; points < all; ++points)
            pool[points].points = points;
    }

    void take_step() {
        in_c = program.one_of_two();
        switch (program.one_of<step>()) {
        case step::insert:
            return insert();
        case step::erase:
            return erase();
        case step::erase_place:
            return erase_place();
        case step::search:
            return search();
        case step::rotate:
            return rotate();
        case step::partition:
            return partition();
        case step::balance:
            return balance();
        case step::cut:
            return cut();
        case step::join:
            return join();
        case step::load_sorted:
            return load_sorted();
        case step::walk_some:
            return walk_some();
        case step::clear:
            tree.clear();
            return model.clear();
        case step::count:
            return;
        }
    }

    void expect_as_modelled() {
        expect_tree(tree, model);
        expect_tree(other, other_model);
    }

  private:
    // -- Steps

    void insert() {
        score &added = pool[some_points()];
        const bool is_fresh = !model.contains(added.points);
        if (in_c) {
            const uint32_t before = tree.size();
            tree.c_root() = qv_tree_insert(tree.c_root(), by_points, &added);
            require(tree.size() == before + is_fresh);
        } else {
            const auto [where, fresh] = tree.insert(added);
            require(where == &added && fresh == is_fresh);
        }
        model.insert(added.points);
    }
    void erase() {
        score &gone = pool[some_points()];
        if (in_c)
            tree.c_root() = qv_tree_delete(tree.c_root(), by_points, &gone);
        else
            require(tree.erase(gone.points) == (model.contains(gone.points) ? &gone : nullptr));
        model.erase(gone.points);
    }
    void erase_place() {
        if (model.empty())
            return;
        const uint32_t rank = some_rank();
        const auto behind = model.erase(std::next(model.begin(), rank));
        const auto at = tree.erase(tree.iterator_at(rank));
        require(at.rank() == rank);
        require((at == tree.end()) == (behind == model.end()));
        require(at == tree.end() || at->points == *behind);
    }
    void search() {
        const int from = some_points(), to = some_points();
        const bool is_there = model.contains(from);
        require(tree.find(from) == (is_there ? &pool[from] : nullptr));
        require((qv_tree_find(tree.c_root(), by_points, &pool[from]) != nullptr) == is_there);
        require(tree.rank(from) == count_below(from));
        require(tree.lower_bound(from).rank() == count_below(from));
        require(tree.upper_bound(from).rank() == count_below(from + 1));
        require(tree.count_between(from, to) ==
                (from < to ? count_below(to) - count_below(from) : 0));
    }
    void rotate() {
        if (!model.empty())
            tree.c_root() = program.one_of_two() ? qv_tree_rotate_left(tree.c_root())
                                                 : qv_tree_rotate_right(tree.c_root());
    }
    void partition() {
        const auto rank = static_cast<int32_t>(program.below(all + 4)) - 2;
        tree.c_root() = qv_tree_partition(tree.c_root(), rank);
        if (model.empty())
            return;
        const int last = static_cast<int>(model.size()) - 1;
        require(points_of(tree.c_root()) == *std::next(model.begin(), std::clamp(rank, 0, last)));
    }
    void balance() {
        if (in_c)
            tree.c_root() = qv_tree_balance(tree.c_root());
        else
            tree.balance();
        require(model.size() >> tree.height() == 0);
        require(model.empty() || model.size() >> (tree.height() - 1) != 0);
    }
    // In two at a rank, where all may be on one side. C brings the node of a rank to the root, and
    // leaves the link on its left to the caller.
    void cut() {
        if (!other_model.empty())
            return;
        const size_t rank = program.below(model.size() + 1);
        if (in_c && rank < model.size()) {
            qv_tree *const root = qv_tree_partition(tree.c_root(), static_cast<int32_t>(rank));
            qv_tree *const less = std::exchange(root->left, &qv_tree_null);
            root->count -= less->count;
            other.c_root() = root;
            tree.c_root() = less;
        } else {
            other = tree.split_at(static_cast<uint32_t>(rank));
        }
        const auto spot = std::next(model.begin(), static_cast<ptrdiff_t>(rank));
        other_model.insert(spot, model.end());
        model.erase(spot, model.end());
    }
    void join() {
        if (!model.empty() && !other_model.empty() && *model.rbegin() >= *other_model.begin())
            return;
        if (in_c)
            tree.c_root() =
                qv_tree_join(tree.c_root(), std::exchange(other.c_root(), &qv_tree_null));
        else
            tree.join(other);
        model.merge(other_model);
    }
    // A run of items, which must be behind all that are there.
    void load_sorted() {
        const int first = some_points();
        const int last = std::min(all, first + static_cast<int>(program.below(8)));
        std::vector<score *> run;
        for (int points = first; points < last; ++points)
            run.push_back(&pool[points]);
        const bool is_sorted = model.empty() || run.empty() || *model.rbegin() <= first;
        require(tree.load_sorted(run) ==
                (is_sorted ? qvds::load_result::loaded : qvds::load_result::not_sorted));
        for (const score *each : run)
            if (is_sorted)
                model.insert(each->points);
    }
    void walk_some() {
        const auto first = static_cast<uint32_t>(program.below(all));
        const auto last = static_cast<uint32_t>(program.below(all));
        uint32_t rank = first;
        auto walk = tree.walk(first, last);
        for (const score &each : walk)
            require(each.points == *std::next(model.begin(), rank++));
        require(rank == std::max(first, std::min(last, tree.size())));
    }

    // -- Choices and the model

    int some_points() { return static_cast<int>(program.below(all)); }
    uint32_t some_rank() { return static_cast<uint32_t>(program.below(model.size())); }
    uint32_t count_below(int points) const {
        return static_cast<uint32_t>(std::distance(model.begin(), model.lower_bound(points)));
    }
    static int points_of(const qv_tree *node) {
        return static_cast<const score *>(node->item)->points;
    }

    static void expect_tree(counted_tree &tree, const scores &expected) {
        fuzz::require_sound(qvds::check(tree));
        require(tree.size() == expected.size());
        const auto same = [](const score &held, int points) { return held.points == points; };
        require(std::equal(tree.begin(), tree.end(), expected.begin(), expected.end(), same));
        require(std::equal(tree.rbegin(), tree.rend(), expected.rbegin(), expected.rend(), same));
    }

    static constexpr int all = 32; // items, with as many points as their number

    fuzz::program &program;
    bool in_c = false; // whether this step goes through the functions of C
    score pool[all];
    counted_tree tree, other;
    scores model, other_model;
};

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    fuzz::program program(data, size);
    if (program.one_of_two())
        fuzz::run<driver<qvds::balance_never>>(program);
    else
        fuzz::run<driver<qvds::balance_beyond<2>>>(program);
    return 0;
}

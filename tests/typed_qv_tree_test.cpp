// The typed counted tree: what it offers beyond the C functions, which the cases in qv_tree_test.cpp
// run it beside.

#include "fault.hpp"
#include "support.hpp"

#include <qvds/check.hpp>
#include <qvds/dispose.hpp>
#include <qvds/qv_tree.hpp>

#include <algorithm>
#include <bit>
#include <iterator>
#include <numeric>
#include <ranges>
#include <stdexcept>
#include <string_view>

using qvds::load_result;

namespace {

struct Score {
    int id = 0;
    int points = 0;

    int negated() const { return -points; }
    auto operator<=>(const Score &other) const { return points <=> other.points; }
};

using tree = qvds::counted_tree<&Score::points>;
using view = qvds::counted_tree_view<&Score::points>;
using ints = std::vector<int>;

static_assert(sizeof(tree) == sizeof(qv_tree *));
static_assert(std::is_standard_layout_v<tree>);
static_assert(std::is_nothrow_move_constructible_v<tree>);
static_assert(std::is_nothrow_swappable_v<tree>);
static_assert(!std::is_copy_constructible_v<tree>);
static_assert(std::is_trivially_copyable_v<view>);
static_assert(std::ranges::bidirectional_range<tree>);
static_assert(!std::ranges::random_access_range<tree>);
static_assert(std::ranges::common_range<tree>);
static_assert(std::ranges::sized_range<tree>);
static_assert(std::sized_sentinel_for<tree::iterator, tree::iterator>);
static_assert(std::ranges::input_range<decltype(std::declval<tree &>().walk())>);
static_assert(std::is_convertible_v<tree::iterator, tree::const_iterator>);
static_assert(!std::is_convertible_v<tree::const_iterator, tree::iterator>);
static_assert(std::is_same_v<decltype(*std::declval<const tree &>().begin()), const Score &>);
static_assert(std::is_same_v<decltype(std::declval<const tree &>().find(1)), const Score *>);

constinit tree made_at_compile_time;

template <class Range>
ints points_of(Range &&range) {
    ints all;
    for (const Score &score : range)
        all.push_back(score.points);
    return all;
}

// Scores with 0, 2, 4, ... points, in ascending order.
std::vector<Score> even_scores(int count) {
    std::vector<Score> scores(static_cast<size_t>(count));
    for (int points = -2; Score & score : scores)
        score.points = points += 2;
    return scores;
}

class TypedCountedTree : public testing::Test {
  protected:
    static constexpr int count = 200; // a chain of them is longer than the ways remembered
    static constexpr int end = 2 * count;

    TypedCountedTree() { refill({}); }

    enum class shape { random, ascending, descending, balanced };

    void refill(shape form) {
        std::vector<Score *> order;
        for (Score &score : scores)
            order.push_back(&score);
        if (form == shape::descending)
            std::ranges::reverse(order);
        else if (form != shape::ascending)
            std::ranges::shuffle(order, std::mt19937(1));
        table.clear();
        for (Score *score : order)
            EXPECT_TRUE(table.insert(*score).fresh);
        if (form == shape::balanced)
            table.balance();
    }
    template <class Body>
    void for_each_shape(Body body) {
        for (const shape form :
             {shape::random, shape::ascending, shape::descending, shape::balanced}) {
            SCOPED_TRACE(static_cast<int>(form));
            refill(form);
            body();
            EXPECT_EQ(qvds::check(table), qvds::sound);
        }
    }

    std::vector<Score> scores = even_scores(count);
    ints all = points_of(scores);
    tree table;
    const tree &constant = table;
};

TEST_F(TypedCountedTree, RanksAndPlacesAreThoseOfASortedArray) {
    for_each_shape([&] {
        for (int points = -1; points <= end; ++points) {
            const auto lower = std::ranges::lower_bound(all, points) - all.begin();
            const auto upper = std::ranges::upper_bound(all, points) - all.begin();
            EXPECT_EQ(table.rank(points), lower);
            EXPECT_EQ(table.rank(Score{.points = points}), lower);
            EXPECT_EQ(table.lower_bound(points) - table.begin(), lower);
            EXPECT_EQ(constant.upper_bound(points) - constant.begin(), upper);
            EXPECT_EQ(table.lower_bound(points), table.iterator_at(static_cast<uint32_t>(lower)));
            if (lower != count) {
                EXPECT_EQ(table.lower_bound(points)->points,
                          *std::ranges::lower_bound(all, points));
            }
            EXPECT_EQ(table.find(points) != nullptr, lower != upper);
            EXPECT_EQ(table.count_between(points, 100), std::max<ptrdiff_t>(50 - lower, 0));
        }
        for (uint32_t rank = 0; rank < count; ++rank) {
            EXPECT_EQ(&table[rank], &scores[rank]);
            EXPECT_EQ(&*constant.iterator_at(rank), &scores[rank]);
        }
        EXPECT_EQ(table.nth(count), nullptr);
        EXPECT_EQ(table.iterator_at(count), table.end());
        EXPECT_EQ(table.front(), &scores.front());
        EXPECT_EQ(constant.back(), &scores.back());
    });
}

TEST_F(TypedCountedTree, WalksInBothDirectionsWithRanks) {
    const ints backwards(all.rbegin(), all.rend());
    for_each_shape([&] {
        EXPECT_EQ(points_of(table), all);
        EXPECT_EQ(points_of(constant.walk()), all);
        ints reversed;
        for (auto at = table.rbegin(); at != table.rend(); ++at)
            reversed.push_back(at->points);
        EXPECT_EQ(reversed, backwards);
        uint32_t rank = 0;
        for (auto at = table.begin(); at != table.end(); ++at)
            EXPECT_EQ(at.rank(), rank++);
        EXPECT_EQ(table.end() - table.begin(), count);
        EXPECT_EQ(std::ranges::distance(table), count);
    });
}

TEST_F(TypedCountedTree, AWalkGoesOverTheRanksAskedFor) {
    for_each_shape([&] {
        EXPECT_EQ(points_of(table.walk(table.rank(10), table.rank(20))),
                  (ints{10, 12, 14, 16, 18}));
        EXPECT_EQ(points_of(table.walk(count - 1)), ints{end - 2});
        EXPECT_EQ(points_of(table.walk(7, 7)), ints{});
        EXPECT_EQ(points_of(table.walk(7, 3)), ints{});
        EXPECT_EQ(points_of(table.walk(count)), ints{});
        auto walk = table.walk(3);
        EXPECT_EQ(points_of(walk).size(), count - 3U);
        EXPECT_EQ(walk.begin().rank(), 3U) << "a walk may begin again";
    });
}

TEST_F(TypedCountedTree, AnEmptyTreeHasNothing) {
    EXPECT_TRUE(made_at_compile_time.empty());
    EXPECT_EQ(made_at_compile_time.c_root(), &qv_tree_null);
    EXPECT_EQ(made_at_compile_time.front(), nullptr);
    EXPECT_EQ(made_at_compile_time.back(), nullptr);
    EXPECT_EQ(made_at_compile_time.find(1), nullptr);
    EXPECT_EQ(made_at_compile_time.erase(1), nullptr);
    EXPECT_EQ(made_at_compile_time.begin(), made_at_compile_time.end());
    EXPECT_EQ(points_of(made_at_compile_time.walk()), ints{});
    EXPECT_EQ(made_at_compile_time.height(), 0U);
    EXPECT_TRUE(made_at_compile_time.split_at(0).empty());
}

TEST_F(TypedCountedTree, InsertTellsWhichItemIsThere) {
    Score fresh{.points = 3}, equal{.points = 4};
    EXPECT_EQ(table.insert(fresh).where, &fresh);
    const auto [where, went_in] = table.insert(equal);
    EXPECT_EQ(where, &scores[2]);
    EXPECT_FALSE(went_in);
    EXPECT_EQ(table.size(), count + 1U);
    EXPECT_EQ(qvds::check(table), qvds::sound);
}

TEST_F(TypedCountedTree, ErasesByKeyItemAndPlace) {
    for_each_shape([&] {
        EXPECT_EQ(table.erase(20), &scores[10]);
        EXPECT_EQ(table.erase(20), nullptr);
        EXPECT_EQ(table.erase(scores[11]), &scores[11]);
        for (auto at = table.iterator_at(50); at.rank() < 60;)
            at = at->points % 4 == 0 ? table.erase(at) : std::next(at);
        const auto behind = table.erase(table.iterator_at(table.size() - 1));
        EXPECT_EQ(behind, table.end());
        ints kept;
        for (uint32_t rank = 0; rank < table.size(); ++rank)
            kept.push_back(table[rank].points);
        EXPECT_EQ(points_of(table.walk()), kept);
    });
}

TEST_F(TypedCountedTree, EraseByPlaceTakesThatItemAtAnyDepth) {
    for (const shape form : {shape::ascending, shape::descending, shape::balanced})
        for (const uint32_t rank : {0U, 1U, 99U, 150U, count - 1U}) {
            refill(form);
            Score *const unwanted = table.nth(rank);
            EXPECT_EQ(table.erase(table.iterator_at(rank)).rank(), rank);
            EXPECT_EQ(table.find(*unwanted), nullptr);
            EXPECT_EQ(qvds::check(table), qvds::sound);
        }
}

TEST_F(TypedCountedTree, SplitsAtAnyRankAndJoinsAgain) {
    for_each_shape([&] {
        for (const uint32_t rank : {0U, 1U, 77U, count - 1U, count + 0U, count + 1U}) {
            tree rest = table.split_at(rank);
            const size_t left = std::min<size_t>(rank, count);
            EXPECT_EQ(points_of(table), ints(all.begin(), all.begin() + ptrdiff_t(left)));
            EXPECT_EQ(points_of(rest), ints(all.begin() + ptrdiff_t(left), all.end()));
            EXPECT_EQ(qvds::check(rest), qvds::sound);
            table.join(rest);
            EXPECT_TRUE(rest.empty());
            EXPECT_EQ(points_of(table), all);
        }
        table.join(table.split(21));
        EXPECT_EQ(table.c_root()->item, &scores[11]) << "what came first behind the cut";
    });
}

TEST_F(TypedCountedTree, LoadsSortedItemsBehindThoseThatAreThere) {
    tree loaded;
    EXPECT_EQ(loaded.load_sorted(std::span(scores).first(120)), load_result::loaded);
    std::vector<Score *> pointers;
    for (Score &score : std::span(scores).subspan(120))
        pointers.push_back(&score);
    EXPECT_EQ(loaded.load_sorted(pointers), load_result::loaded);
    EXPECT_EQ(loaded.load_sorted(std::span<Score>()), load_result::loaded);
    EXPECT_EQ(points_of(loaded), all);
    EXPECT_EQ(loaded.height(), std::bit_width(unsigned{count}));
    EXPECT_EQ(qvds::check(loaded), qvds::sound);
}

TEST_F(TypedCountedTree, LoadKeepsTheFirstOfEqualsAndRefusesWhatIsNotSorted) {
    Score items[]{{1, 500}, {2, 500}, {3, 501}, {4, 501}}, least{5, 1};
    ASSERT_EQ(table.load_sorted(items), load_result::loaded);
    EXPECT_EQ(table.size(), count + 2U);
    EXPECT_EQ(table.find(501), &items[2]);
    const qv_tree *const root = table.c_root();
    Score unsorted[]{{6, 502}, {7, 100}};
    EXPECT_EQ(table.load_sorted(unsorted), load_result::not_sorted);
    EXPECT_EQ(table.load_sorted(std::span(&least, 1)), load_result::not_sorted);
    EXPECT_EQ(table.c_root(), root);
    EXPECT_EQ(table.size(), count + 2U);
}

TEST_F(TypedCountedTree, AComparisonThatThrowsLeavesTheTreeAsItIs) {
    struct Brittle {
        bool operator()(int a, int b) const {
            return b == 13 ? throw std::runtime_error("comparison") : a < b;
        }
    };
    qvds::counted_tree<&Score::points, Brittle> brittle;
    Score unlucky{.points = 13};
    ASSERT_EQ(brittle.load_sorted(scores), load_result::loaded);
    EXPECT_THROW((void)brittle.insert(unlucky), std::runtime_error);
    EXPECT_THROW((void)brittle.erase(13), std::runtime_error);
    EXPECT_THROW((void)brittle.split(13), std::runtime_error);
    Score sorted[]{{1, 600}, {2, 13}};
    EXPECT_THROW((void)brittle.load_sorted(sorted), std::runtime_error);
    EXPECT_EQ(points_of(brittle), all);
    EXPECT_EQ(qvds::check(brittle), qvds::sound);
}

template <uint32_t c>
void expect_short(auto order) {
    qvds::counted_tree<&Score::points, qvds::core::natural_order, qvds::balance_beyond<c>> table;
    std::vector<Score> scores(5000);
    for (size_t n = 0; n < scores.size(); ++n) {
        scores[n].points = order(static_cast<int>(n));
        ASSERT_TRUE(table.insert(scores[n]).fresh);
        if (n % 97 == 0) {
            ASSERT_LE(table.height(), c * static_cast<uint32_t>(std::bit_width(n + 1)) + 1);
        }
    }
    EXPECT_EQ(qvds::check(table), qvds::sound);
}

TEST_F(TypedCountedTree, APolicyKeepsItShortWhateverTheOrder) {
    expect_short<2>([](int n) { return n; });
    expect_short<2>([](int n) { return -n; });
    expect_short<3>([](int n) { return n % 2 == 0 ? n : 10'000 - n; });
    expect_short<2>([](int n) { return n * 3'001 % 5'003; });
    refill(shape::ascending);
    EXPECT_EQ(table.height(), unsigned{count}) << "without one it is a chain";
}

TEST_F(TypedCountedTree, APolicyMendsAChainThatItFinds) {
    refill(shape::descending);
    Score least{.points = -1};
    EXPECT_TRUE((qvds::counted_tree_view<&Score::points, std::less<>, qvds::balance_beyond<2>>(
                     table.c_root())
                     .insert(least)
                     .fresh));
    EXPECT_LT(table.height(), unsigned{count});
    EXPECT_EQ(table.front(), &least);
}

TEST_F(TypedCountedTree, ClearHandsOutItemsInOrderAndKeepsTheRestIfThatThrows) {
    for_each_shape([&] {
        ints gone;
        const auto dispose = [&](Score *score) {
            gone.push_back(score->points);
            if (gone.size() == 30)
                throw std::runtime_error("disposer");
        };
        EXPECT_THROW(table.clear_and_dispose(dispose), std::runtime_error);
        EXPECT_EQ(qvds::check(table), qvds::sound);
        EXPECT_EQ(table.size(), count - 30U);
        table.clear_and_dispose(dispose);
        EXPECT_EQ(gone, all);
        EXPECT_TRUE(table.empty());
    });
}

TEST_F(TypedCountedTree, MovesAndSwaps) {
    tree moved = std::move(table);
    EXPECT_TRUE(table.empty());
    Score other{.points = 7};
    EXPECT_TRUE(table.insert(other).fresh);
    swap(moved, table);
    EXPECT_EQ(points_of(table), all);
    EXPECT_EQ(points_of(moved), ints{7});
    table = std::move(moved);
    EXPECT_EQ(points_of(table), ints{7});
}

TEST_F(TypedCountedTree, DisposesOfItemsOnlyIfToldTo) {
    static int living;
    struct Counted {
        explicit Counted(int its_key) : key(its_key) { ++living; }
        ~Counted() { --living; }
        int key;
    };
    {
        qvds::counted_tree<&Counted::key, qvds::core::natural_order, qvds::balance_never,
                           qvds::dispose_with_delete>
            owning, replaced;
        for (int key : {2, 1, 3})
            EXPECT_TRUE(owning.insert(*new Counted(key)).fresh);
        EXPECT_TRUE(replaced.insert(*new Counted(4)).fresh);
        replaced = std::move(owning);
        EXPECT_EQ(living, 3);
        Counted kept(5);
        qvds::counted_tree<&Counted::key> leaving;
        EXPECT_TRUE(leaving.insert(kept).fresh);
    }
    EXPECT_EQ(living, 0);
}

TEST_F(TypedCountedTree, OrdersByAnyKeyAndComparison) {
    const auto first_of = [&](auto &&sorted) {
        for (Score &score : scores)
            EXPECT_TRUE(sorted.insert(score).fresh);
        EXPECT_EQ(sorted.rank(scores[50]), sorted.front() == &scores.front() ? 50U : 149U);
        EXPECT_EQ(qvds::check(sorted), qvds::sound);
        return sorted.front()->points;
    };
    constexpr auto negate = [](const Score &score) { return -score.points; };
    EXPECT_EQ(first_of(qvds::counted_tree<qvds::item<Score>>()), 0);
    EXPECT_EQ(first_of(qvds::counted_tree<qvds::item<Score>, std::greater<>>()), end - 2);
    EXPECT_EQ(first_of(qvds::counted_tree<&Score::negated>()), end - 2);
    EXPECT_EQ(first_of(qvds::counted_tree<qvds::item<Score, negate>>()), end - 2);
    bool (*const greater)(int, int) = [](int a, int b) { return a > b; };
    EXPECT_EQ(first_of(qvds::counted_tree<&Score::points, decltype(greater)>(greater)), end - 2);
}

TEST_F(TypedCountedTree, FindsByAKeyOfAnotherTypeAndItemsOfABaseClass) {
    struct Base {
        std::string name;
    };
    struct Word : Base {
        int line;
    };
    std::vector<Word> words{{{"lime"}, 1}, {{"lemon"}, 2}, {{"apple"}, 3}};
    qvds::counted_tree<qvds::item<Word, &Base::name>> index;
    for (Word &word : words)
        EXPECT_TRUE(index.insert(word).fresh);
    EXPECT_EQ(index.find("lemon"), &words[1]);
    EXPECT_EQ(index.rank(std::string_view("lz")), 3U);
    EXPECT_EQ(index.count_between("l", "lj"), 2U);
}

TEST_F(TypedCountedTree, CheckNamesTheItem) {
    scores[50].points = 1000;
    EXPECT_EQ(qvds::check(table).invariant, 2);
    scores[50].points = 100;
    ++table.c_root()->count;
    EXPECT_EQ(qvds::check(table), (qvds::fault{1, table.c_root()->item}));
    --table.c_root()->count;
}

} // namespace

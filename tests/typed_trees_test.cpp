// The typed trees: what they offer beyond the C functions, once for both where both have it.

#include "fault.hpp"
#include "support.hpp"

#include <qvds/check.hpp>
#include <qvds/dispose.hpp>

#include <algorithm>
#include <bit>
#include <functional>
#include <iterator>
#include <memory>
#include <ranges>
#include <stdexcept>
#include <string_view>

using qvds::load_result;

namespace {

struct Word {
    int number = 0;
    AA_node node{};

    int negated() const { return -number; }
    auto operator<=>(const Word &other) const { return number <=> other.number; }
};
using ints = std::vector<int>;

template <class Range>
ints numbers(Range &&range) {
    ints all;
    for (const Word &word : range)
        all.push_back(word.number);
    return all;
}

// Even numbers from 0 on, in ascending order.
std::vector<Word> even_words(int count) {
    std::vector<Word> words(static_cast<size_t>(count));
    for (int number = -2; Word & word : words)
        word.number = number += 2;
    return words;
}

template <class Tree>
void add_in_random_order(Tree &tree, std::vector<Word> &words) {
    std::vector<Word *> order;
    for (Word &word : words)
        order.push_back(&word);
    std::ranges::shuffle(order, std::mt19937(1));
    for (Word *word : order)
        EXPECT_TRUE(tree.insert(*word).fresh);
}

// -- What holds for both

struct aa {
    template <class T, auto Key = qvds::core::identity{}, class Compare = qvds::core::natural_order,
              class Disposal = qvds::core::leave_elements>
    using of = qvds::aa_tree<qvds::hook<T, &T::node>, Key, Compare, Disposal>;
};
struct counted {
    template <class T, auto Key = qvds::core::identity{}, class Compare = qvds::core::natural_order,
              class Disposal = qvds::core::leave_elements>
    using of = qvds::counted_tree<qvds::item<T, Key>, Compare, qvds::balance_never, Disposal>;
};
template <class Family>
struct TypedTree : testing::Test {
    using tree = typename Family::template of<Word, &Word::number>;
    using view = typename Family::template of<Word, &Word::number, qvds::core::natural_order,
                                              qvds::core::viewed>;

    static_assert(sizeof(tree) == sizeof(void *));
    static_assert(std::is_standard_layout_v<tree>);
    static_assert(std::is_nothrow_move_constructible_v<tree>);
    static_assert(std::is_nothrow_swappable_v<tree>);
    static_assert(!std::is_copy_constructible_v<tree>);
    static_assert(std::is_trivially_copyable_v<view>);
    static_assert(std::is_same_v<decltype(std::declval<const tree &>().find(1)), const Word *>);

    TypedTree() { add_in_random_order(index, words); }
    ~TypedTree() override { EXPECT_EQ(qvds::check(index), qvds::sound); }

    std::vector<Word> words = even_words(20);
    ints all = numbers(words);
    tree index;
    static constinit inline tree made_at_compile_time;
};
using Families = testing::Types<aa, counted>;
TYPED_TEST_SUITE(TypedTree, Families);

TYPED_TEST(TypedTree, NothingIsInAnEmptyOne) {
    auto &empty = this->made_at_compile_time;
    EXPECT_TRUE(empty.empty());
    EXPECT_EQ(empty.find(7), nullptr);
    EXPECT_EQ(empty.erase(7), nullptr);
    EXPECT_EQ(numbers(empty.walk()), ints{});
    EXPECT_EQ(qvds::check(empty), qvds::sound);
}

TYPED_TEST(TypedTree, KeysAreOfAnyTypeThatComparesOrElementsLikeTheOneSought) {
    EXPECT_EQ(this->index.find(Word{6}), &this->words[3]);
    EXPECT_EQ(this->index.erase(6L), &this->words[3]);
    EXPECT_EQ(this->index.erase(Word{8}), &this->words[4]);
    struct Base {
        std::string text;
    };
    struct Entry : Base {
        AA_node node{};
    } lemon{{"lemon"}}, lime{{"lime"}};
    typename TypeParam::template of<Entry, &Base::text> entries;
    EXPECT_TRUE(entries.insert(lime).fresh);
    EXPECT_TRUE(entries.insert(lemon).fresh);
    EXPECT_EQ(entries.find("lemon"), &lemon);
    EXPECT_EQ(&*entries.lower_bound(std::string_view("lf")), &lime);
}

template <class Tree>
void expect_order(Tree by, const ints &order) {
    Word one{1}, two{2}, three{3}, twin{2};
    for (Word *word : {&two, &three, &one})
        EXPECT_TRUE(by.insert(*word).fresh);
    EXPECT_FALSE(by.insert(twin).fresh);
    EXPECT_EQ(numbers(by.walk()), order);
    EXPECT_EQ(by.find(two), &two);
    EXPECT_EQ(by.find(Word{7}), nullptr);
    EXPECT_EQ(&*by.lower_bound(two), &two);
    EXPECT_EQ(by.upper_bound(two)->number, order.back());
    EXPECT_EQ(by.erase(two), &two);
}

int rank_of(const Word &word) {
    return -word.number;
}
bool comes_first(int a, int b) {
    return a < b;
}

TYPED_TEST(TypedTree, OrdersByAnyComparisonAndProjection) {
    constexpr auto weight = [](const Word &word) { return word.number / 8.0; };
    constexpr auto by_weight = [](double a, double b) { return std::strong_order(a, b); };
    const auto backwards = [](int a, int b) { return b <=> a; };
    using family = TypeParam;
    expect_order(typename family::template of<Word>(), {1, 2, 3});
    expect_order(typename family::template of<Word, &Word::number, std::less<>>(), {1, 2, 3});
    expect_order(typename family::template of<Word, &Word::number, std::greater<int>>(), {3, 2, 1});
    expect_order(typename family::template of<Word, &Word::negated>(), {3, 2, 1});
    expect_order(typename family::template of<Word, rank_of>(), {3, 2, 1});
    expect_order(typename family::template of<Word, weight, decltype(by_weight)>(), {1, 2, 3});
    expect_order(typename family::template of<Word, &Word::number, bool (*)(int, int)>(comes_first),
                 {1, 2, 3});
    expect_order(typename family::template of<Word, &Word::number, decltype(backwards)>(backwards),
                 {3, 2, 1});
}

// Throws at the n-th comparison.
struct Throwing {
    int *left;
    bool operator()(int a, int b) const {
        return --*left == 0 ? throw std::runtime_error("comparison") : a < b;
    }
};

TYPED_TEST(TypedTree, AComparisonThatThrowsLeavesTheTreeAsItWas) {
    int left = 0;
    typename TypeParam::template of<Word, &Word::number, Throwing> throwing(Throwing{&left});
    std::swap(throwing.c_root(), this->index.c_root());
    Word odd{17};
    for (int n = 1; n <= 4; ++n) {
        left = n;
        EXPECT_THROW((void)throwing.insert(odd), std::runtime_error);
        left = n;
        EXPECT_THROW(throwing.erase(16), std::runtime_error);
        EXPECT_EQ(numbers(throwing.walk()), this->all);
    }
}

TYPED_TEST(TypedTree, ADisposerThatThrowsLeavesTheRest) {
    ints gone;
    const auto dispose = [&](Word *word) {
        gone.push_back(word->number);
        if (gone.size() == 5)
            throw std::runtime_error("disposer");
    };
    EXPECT_THROW(this->index.clear_and_dispose(dispose), std::runtime_error);
    EXPECT_EQ(qvds::check(this->index), qvds::sound);
    for (const Word &word : this->index.walk())
        gone.push_back(word.number);
    std::ranges::sort(gone);
    EXPECT_EQ(gone, this->all) << "each is either out or in";
}

TYPED_TEST(TypedTree, MovesAndSwapsItsElements) {
    auto moved = std::move(this->index);
    EXPECT_TRUE(this->index.empty());
    Word seven{7};
    EXPECT_TRUE(this->index.insert(seven).fresh);
    swap(moved, this->index);
    EXPECT_EQ(numbers(this->index.walk()), this->all);
    EXPECT_EQ(numbers(moved.walk()), ints{7});
    this->index = std::move(moved);
    EXPECT_EQ(numbers(this->index.walk()), ints{7});
    this->index.clear();
}

TYPED_TEST(TypedTree, SwapExchangesComparisonsToo) {
    using compare = bool (*)(int, int);
    typename TypeParam::template of<Word, &Word::number, compare> up(comes_first);
    typename TypeParam::template of<Word, &Word::number, compare> down(
        [](int a, int b) { return b < a; });
    swap(up, down);
    Word one{1}, two{2};
    for (Word *word : {&one, &two})
        EXPECT_TRUE(up.insert(*word).fresh);
    EXPECT_EQ(numbers(up.walk()), (ints{2, 1}));
}

// Words that count those alive.
struct Owned : Word {
    explicit Owned(int its_number) : Word{its_number} { ++living; }
    Owned(const Owned &from) : Word{from.number} { ++living; }
    Owned &operator=(const Owned &) = delete;
    ~Owned() { --living; }
    static inline int living = 0;
};
template <class Family>
using owning = typename Family::template of<Owned, &Word::number, qvds::core::natural_order,
                                            qvds::dispose_with_delete>;

template <class Family>
auto owned_up_to(int limit) {
    owning<Family> tree;
    for (int number = 0; number != limit; ++number)
        EXPECT_TRUE(tree.insert(*new Owned(number)).fresh);
    return tree;
}

TYPED_TEST(TypedTree, DisposesWithItsLastBreathOrForWhatItIsAssigned) {
    {
        auto owned = owned_up_to<TypeParam>(10);
        owned = owned_up_to<TypeParam>(3);
        EXPECT_EQ(Owned::living, 3);
    }
    EXPECT_EQ(Owned::living, 0);
}

TYPED_TEST(TypedTree, CheckNamesTheElement) {
    Word &last = this->words.back();
    const int number = std::exchange(last.number, 1);
    const qvds::fault found = qvds::check(this->index);
    EXPECT_TRUE(
        std::ranges::any_of(this->words, [&](Word &word) { return &word == found.element; }));
    last.number = number;
}

// -- The AA tree

using TypedAaTree = TypedTree<aa>;
using aa_tree = TypedAaTree::tree;
static_assert(std::is_trivially_destructible_v<aa_tree>);
static_assert(!std::ranges::range<aa_tree>);
static_assert(std::ranges::forward_range<aa_tree::walk_range>);
static_assert(std::ranges::common_range<aa_tree::walk_range>);
static_assert(!std::ranges::sized_range<aa_tree::walk_range>);
static_assert(!std::is_move_constructible_v<aa_tree::walk_range>);
static_assert(
    std::is_same_v<std::ranges::range_reference_t<aa_tree::const_walk_range>, const Word &>);

TEST_F(TypedAaTree, AnElementThatIsInMayBeInsertedAgain) {
    const auto [where, fresh] = index.insert(words[3]);
    EXPECT_EQ(where, &words[3]);
    EXPECT_FALSE(fresh);
    EXPECT_EQ(numbers(index.walk()), all);
}

TEST_F(TypedAaTree, WalkedRangesWorkWithAlgorithmsAndSeveralPasses) {
    auto walk = index.walk();
    const auto eight = std::ranges::find(walk, 8, &Word::number);
    EXPECT_EQ(&*eight, &words[4]);
    EXPECT_EQ(&*std::next(walk.begin()), &words[1]) << "behind the place the way is known for";
    EXPECT_EQ(&*std::next(eight, 2), &words[6]);
    EXPECT_EQ(std::ranges::distance(walk), std::ssize(words));
}

// Compares by the numbers, and counts.
struct Counting {
    int *asked;
    auto operator()(int a, int b) const { return ++*asked, a <=> b; }
};

TEST_F(TypedAaTree, AWalkComparesOnlyWhereItsPathIsTooShort) {
    int asked = 0;
    using counting_tree = aa::of<Word, &Word::number, Counting>;
    counting_tree counting(Counting{&asked});
    counting.c_root() = std::exchange(index.c_root(), nullptr);
    EXPECT_EQ(numbers(counting.walk()), all);
    EXPECT_EQ(asked, 0);
    EXPECT_EQ(numbers(qvds::core::aa_walk<counting_tree, Word, 2>(counting)), all);
    EXPECT_GT(asked, 0);
    const ints behind_seven(all.begin() + 4, all.end());
    EXPECT_EQ(numbers(qvds::core::aa_walk<counting_tree, Word, 1>(counting, 7)), behind_seven);
    counting.clear();
    // A tree of one long edge.
    for (Word &word : words) {
        word.node = {1, counting.c_root(), nullptr};
        counting.c_root() = &word.node;
    }
    EXPECT_EQ(numbers(qvds::core::aa_walk<counting_tree, Word, 3>(counting)), all);
}

TEST_F(TypedAaTree, AStepThatThrowsLosesTheWayButNotThePlace) {
    int left = 0;
    aa::of<Word, &Word::number, Throwing> throwing(Throwing{&left});
    throwing.c_root() = std::exchange(index.c_root(), nullptr);
    auto walk = throwing.walk();
    auto place = std::next(walk.begin());
    for (size_t rank = 2; rank != words.size(); ++rank) {
        left = 2;
        EXPECT_THROW((void)std::next(walk.begin()), std::runtime_error);
        EXPECT_EQ(&*++place, &words[rank]);
    }
}

TEST_F(TypedAaTree, ADuplicateThatThrowsLosesNothing) {
    const auto owned = owned_up_to<aa>(10);
    for (int fails_at = 0; fails_at != 10; ++fails_at) {
        int made = 0;
        const auto clone = [&](const Owned &from) {
            return made++ != fails_at ? new Owned(from) : throw std::runtime_error("clone");
        };
        EXPECT_THROW((void)owned.duplicate(clone, qvds::dispose_with_delete{}), std::runtime_error);
        EXPECT_EQ(Owned::living, 10);
    }
}

TEST_F(TypedAaTree, AdoptsWhatCHasMade) {
    struct Record {
        AA_node node;
        int key;
    };
    const auto compare = [](const void *a, const void *b) -> int32_t {
        const int x = static_cast<const Record *>(a)->key, y = static_cast<const Record *>(b)->key;
        return (x > y) - (x < y);
    };
    AA_node *root = nullptr;
    for (const int key : {2, 1, 3}) {
        auto *const record = static_cast<Record *>(AA_new(sizeof(Record) - sizeof(AA_node)));
        record->key = key;
        root = AA_insert(root, record, compare, nullptr);
    }
    qvds::aa_tree_view<&Record::node, &Record::key> adopted(root);
    const std::unique_ptr<Record, qvds::dispose_with_free> gone(adopted.erase(2));
    ASSERT_NE(gone, nullptr);
    EXPECT_EQ(AA_find(root, gone.get(), compare), nullptr);
    qvds::aa_tree<&Record::node, &Record::key, qvds::core::natural_order, qvds::dispose_with_free>
        owner;
    owner.c_root() = std::exchange(root, nullptr);
    EXPECT_EQ(owner.last(), AA_last(owner.c_root()));
    EXPECT_EQ(owner.count(), 2U);
    EXPECT_TRUE(adopted.empty());
}

TEST_F(TypedAaTree, AnElementMayHoldATreeOfItsOwnKind) {
    struct Node {
        int key;
        AA_node sibling{};
        qvds::aa_tree<&Node::sibling, &Node::key> children{};
    } parent{1}, child{2};
    EXPECT_TRUE(parent.children.insert(child).fresh);
    EXPECT_EQ(parent.children.first(), &child);
}

TEST_F(TypedAaTree, CheckOfLevelsNamesTheElement) {
    words.back().node.level = 7;
    EXPECT_EQ(qvds::check(index, qvds::aa_levels::of_insertions), (qvds::fault{2, &words.back()}));
}

// -- The counted tree

using counted_tree = TypedTree<counted>::tree;
static_assert(std::ranges::bidirectional_range<counted_tree>);
static_assert(!std::ranges::random_access_range<counted_tree>);
static_assert(std::ranges::common_range<counted_tree>);
static_assert(std::ranges::sized_range<counted_tree>);
static_assert(std::sized_sentinel_for<counted_tree::iterator, counted_tree::iterator>);
static_assert(std::ranges::input_range<decltype(std::declval<counted_tree &>().walk())>);
static_assert(std::is_convertible_v<counted_tree::iterator, counted_tree::const_iterator>);
static_assert(!std::is_convertible_v<counted_tree::const_iterator, counted_tree::iterator>);
static_assert(
    std::is_same_v<decltype(*std::declval<const counted_tree &>().begin()), const Word &>);

// How a tree comes to its shape.
struct Shape {
    const char *name;
    void (*fill)(counted_tree &, std::vector<Word> &);
};
const Shape shapes[] = {
    {"Random", add_in_random_order<counted_tree>},
    {"Ascending",
     [](counted_tree &table, std::vector<Word> &words) {
         for (Word &word : words)
             EXPECT_TRUE(table.insert(word).fresh);
     }},
    {"Descending",
     [](counted_tree &table, std::vector<Word> &words) {
         for (auto word = words.rbegin(); word != words.rend(); ++word)
             EXPECT_TRUE(table.insert(*word).fresh);
     }},
    {"Balanced",
     [](counted_tree &table, std::vector<Word> &words) {
         EXPECT_EQ(table.load_sorted(words), load_result::loaded);
     }},
};

// A tree of each shape, with items whose number is twice their rank. As a chain it is longer than
// the ways that the library remembers.
class TypedCountedTree : public testing::TestWithParam<Shape> {
  protected:
    static constexpr uint32_t count = 200;
    static constexpr int end = 2 * count;

    TypedCountedTree() { GetParam().fill(table, words); }
    ~TypedCountedTree() override { EXPECT_EQ(qvds::check(table), qvds::sound); }

    std::vector<Word> words = even_words(count);
    ints all = numbers(words);
    counted_tree table;
    const counted_tree &constant = table;
};
INSTANTIATE_TEST_SUITE_P(Shapes, TypedCountedTree, testing::ValuesIn(shapes),
                         [](const auto &tested) { return std::string(tested.param.name); });

TEST_P(TypedCountedTree, RanksAndPlacesAreThoseOfASortedArray) {
    for (uint32_t rank = 0; rank < count; ++rank) {
        Word &word = words[rank];
        EXPECT_EQ(&table[rank], &word);
        EXPECT_EQ(&*constant.iterator_at(rank), &word);
        EXPECT_EQ(&*table.lower_bound(word.number - 1), &word);
        EXPECT_EQ(constant.upper_bound(word) - constant.begin(), rank + 1);
        EXPECT_EQ(table.rank(word), rank);
    }
    EXPECT_EQ(table.nth(count), nullptr);
    EXPECT_EQ(table.front(), &words.front());
    EXPECT_EQ(constant.back(), &words.back());
}

TEST_P(TypedCountedTree, WalksInBothDirectionsWithRanks) {
    EXPECT_EQ(numbers(table), all);
    EXPECT_EQ(numbers(constant.walk()), all);
    EXPECT_EQ(numbers(table.walk(table.rank(10), table.rank(20))), (ints{10, 12, 14, 16, 18}));
    ints reversed;
    for (auto at = table.rbegin(); at != table.rend(); ++at)
        reversed.push_back(at->number);
    EXPECT_EQ(reversed, ints(all.rbegin(), all.rend()));
    auto walk = table.walk(3);
    EXPECT_EQ(numbers(walk).size(), count - 3);
    EXPECT_EQ(walk.begin().rank(), 3U) << "a walk may begin again";
}

TEST_P(TypedCountedTree, EraseByPlaceTakesThatItemAtAnyDepth) {
    for (const uint32_t rank : {0U, 1U, 99U, 150U, count - 5}) {
        const int unwanted = table[rank].number;
        EXPECT_EQ(table.erase(table.iterator_at(rank)).rank(), rank);
        EXPECT_EQ(table.find(unwanted), nullptr);
        EXPECT_EQ(qvds::check(table), qvds::sound);
    }
    const auto behind = table.erase(table.iterator_at(table.size() - 1));
    EXPECT_EQ(behind, table.end());
}

TEST_P(TypedCountedTree, SplitsByKeyOrRankAndJoinsAgain) {
    counted_tree rest = table.split(21);
    EXPECT_EQ(rest.c_root()->item, &words[11]) << "what came first behind the cut";
    EXPECT_EQ(qvds::check(rest), qvds::sound);
    EXPECT_TRUE(table.split_at(table.size()).empty());
    table.join(rest);
    EXPECT_TRUE(rest.empty());
    EXPECT_EQ(numbers(table), all);
}

TEST_P(TypedCountedTree, ClearHandsOutItemsInOrder) {
    ints gone;
    table.clear_and_dispose([&](Word *word) { gone.push_back(word->number); });
    EXPECT_EQ(gone, all);
}

TEST_P(TypedCountedTree, LoadKeepsTheFirstOfEqualsAndRefusesWhatIsNotSorted) {
    Word items[]{{500}, {500}, {501}, {501}}, least{1};
    ASSERT_EQ(table.load_sorted(items), load_result::loaded);
    EXPECT_EQ(table.size(), count + 2);
    EXPECT_EQ(table.height(), std::bit_width(count + 2));
    EXPECT_EQ(table.find(501), &items[2]);
    const qv_tree *const root = table.c_root();
    Word unsorted[]{{502}, {100}};
    EXPECT_EQ(table.load_sorted(unsorted), load_result::not_sorted);
    EXPECT_EQ(table.load_sorted(std::span(&least, 1)), load_result::not_sorted);
    EXPECT_EQ(table.c_root(), root);
    EXPECT_EQ(table.size(), count + 2);
    EXPECT_EQ(qvds::check(table), qvds::sound);
    table.clear();
}

TEST_P(TypedCountedTree, ASplitOrLoadThatThrowsLeavesTheTreeAsItWas) {
    int left = 0;
    counted::of<Word, &Word::number, Throwing> throwing(Throwing{&left});
    std::swap(throwing.c_root(), table.c_root());
    Word sorted[]{{600}, {601}, {602}};
    left = 1;
    EXPECT_THROW((void)throwing.split(13), std::runtime_error);
    left = 2;
    EXPECT_THROW((void)throwing.load_sorted(sorted), std::runtime_error);
    EXPECT_EQ(numbers(throwing.walk()), all);
}

TEST_P(TypedCountedTree, APolicyMendsAChainThatItFinds) {
    Word least{-1}, most{end};
    qvds::counted_tree_view<&Word::number, std::less<>, qvds::balance_beyond<2>> view(
        table.c_root());
    EXPECT_TRUE(view.insert(least).fresh);
    EXPECT_TRUE(view.insert(most).fresh);
    EXPECT_LT(table.height(), count);
    EXPECT_EQ(qvds::check(table), qvds::sound);
    table.clear();
}

TEST(TypedCountedTreeHeight, IsThatOfTheLongestWayAlsoInTheLesserSubtree) {
    std::vector<Word> words = even_words(12);
    counted_tree table;
    for (const size_t i : {4U, 3U, 2U, 1U, 0U, 8U, 6U, 10U, 5U, 7U, 9U, 11U})
        EXPECT_TRUE(table.insert(words[i]).fresh);
    EXPECT_EQ(table.height(), 5U);
}

template <uint32_t c>
void expect_short(auto order) {
    qvds::counted_tree<&Word::number, qvds::core::natural_order, qvds::balance_beyond<c>> table;
    std::vector<Word> words(5000);
    for (size_t n = 0; n < words.size(); ++n) {
        words[n].number = order(static_cast<int>(n));
        ASSERT_TRUE(table.insert(words[n]).fresh);
        if (n % 97 == 0) {
            ASSERT_LE(table.height(), c * static_cast<uint32_t>(std::bit_width(n + 1)) + 1);
        }
    }
    EXPECT_EQ(qvds::check(table), qvds::sound);
}

TEST(TypedCountedTreePolicy, KeepsItShortWhateverTheOrder) {
    expect_short<2>([](int n) { return n; });
    expect_short<2>([](int n) { return -n; });
    expect_short<3>([](int n) { return n % 2 == 0 ? n : 10'000 - n; });
    expect_short<2>([](int n) { return n * 3'001 % 5'003; });
}

} // namespace

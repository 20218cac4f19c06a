// The typed AA tree: what it offers beyond the C functions, which the model driver in aa_test.cpp
// runs it beside.

#include "fault.hpp"
#include "support.hpp"

#include <qvds/aa.hpp>
#include <qvds/check.hpp>
#include <qvds/dispose.hpp>

#include <algorithm>
#include <functional>
#include <iterator>
#include <ranges>
#include <stdexcept>
#include <string_view>

namespace {

struct Word {
    explicit Word(int its_number) : number(its_number) {}
    int negated() const { return -number; }
    auto operator<=>(const Word &other) const { return number <=> other.number; }

    int number;
    AA_node node{};
};
using tree = qvds::aa_tree<&Word::node, &Word::number>;
using ints = std::vector<int>;

static_assert(sizeof(tree) == sizeof(AA_node *));
static_assert(std::is_standard_layout_v<tree>);
static_assert(std::is_trivially_destructible_v<tree>);
static_assert(std::is_nothrow_move_constructible_v<tree>);
static_assert(std::is_nothrow_swappable_v<tree>);
static_assert(!std::is_copy_constructible_v<tree>);
static_assert(std::is_trivially_copyable_v<qvds::aa_tree_view<&Word::node, &Word::number>>);
static_assert(!std::ranges::range<tree>);
static_assert(std::ranges::forward_range<tree::walk_range>);
static_assert(std::ranges::common_range<tree::walk_range>);
static_assert(!std::ranges::sized_range<tree::walk_range>);
static_assert(!std::is_move_constructible_v<tree::walk_range>);
static_assert(std::is_same_v<std::ranges::range_reference_t<tree::const_walk_range>, const Word &>);
static_assert(std::is_same_v<decltype(std::declval<const tree &>().find(1)), const Word *>);

constinit tree made_at_compile_time;

template <class Range>
ints numbers(Range &&range) {
    ints all;
    for (const Word &word : range)
        all.push_back(word.number);
    return all;
}

int number_or(const Word *word, int none) {
    return word != nullptr ? word->number : none;
}

// Even numbers below 40, added in random order.
class TypedAaTree : public testing::Test {
  protected:
    static constexpr int end = 40;

    TypedAaTree() {
        std::vector<Word *> order;
        for (Word &word : words)
            order.push_back(&word);
        std::ranges::shuffle(order, std::mt19937(1));
        for (Word *word : order)
            EXPECT_TRUE(index.insert(*word).fresh);
    }
    ~TypedAaTree() override { EXPECT_EQ(qvds::check(index), qvds::sound); }

    static std::vector<Word> even_words() {
        std::vector<Word> all;
        for (int number = 0; number != end; number += 2)
            all.emplace_back(number);
        return all;
    }

    std::vector<Word> words = even_words();
    ints all = numbers(words);
    tree index;
    const tree &constant = index;
};

TEST_F(TypedAaTree, SearchesFindWhatASortedArrayFinds) {
    for (int number = -1; number <= end; ++number) {
        const bool present = number % 2 == 0 && number != end;
        const auto lower = std::ranges::lower_bound(all, number);
        const auto upper = std::ranges::upper_bound(all, number);
        EXPECT_EQ(number_or(index.find(number), -7), present ? number : -7);
        EXPECT_EQ(constant.contains(long{number}), present);
        EXPECT_EQ(constant.find(Word(number)), index.find(number)) << "by an element like it";
        EXPECT_EQ(number_or(index.lower_bound(number), end), lower != all.end() ? *lower : end);
        EXPECT_EQ(number_or(constant.upper_bound(number), end), upper != all.end() ? *upper : end);
    }
    EXPECT_EQ(index.count(), all.size());
}

TEST_F(TypedAaTree, NextAndPrevGoOneElementOn) {
    for (const Word &word : words) {
        EXPECT_EQ(number_or(index.next(word), end), word.number + 2);
        EXPECT_EQ(number_or(constant.prev(word), -2), word.number - 2);
    }
    EXPECT_EQ(index.first(), &words.front());
    EXPECT_EQ(constant.last(), &words.back());
}

TEST_F(TypedAaTree, WalksGoUpFromAnyKeyToAnyOther) {
    EXPECT_EQ(numbers(constant.walk()), all);
    for (int from = -1; from <= end; ++from) {
        const auto first = std::ranges::lower_bound(all, from);
        EXPECT_EQ(numbers(index.walk_from(from)), ints(first, all.end()));
        for (int to = -1; to <= end; ++to) {
            const auto last = std::ranges::lower_bound(all, std::max(from, to));
            EXPECT_EQ(numbers(constant.range(from, to)), ints(first, last)) << from << " to " << to;
        }
    }
}

TEST_F(TypedAaTree, EmptyTreeGivesNull) {
    tree &empty = made_at_compile_time;
    EXPECT_TRUE(empty.empty());
    EXPECT_EQ(empty.first(), nullptr);
    EXPECT_EQ(empty.last(), nullptr);
    EXPECT_EQ(empty.lower_bound(7), nullptr);
    EXPECT_EQ(empty.erase(7), nullptr);
    EXPECT_EQ(numbers(empty.walk()), ints{});
    EXPECT_EQ(numbers(empty.range(1, 7)), ints{});
}

TEST_F(TypedAaTree, InsertLeavesWhatIsThere) {
    Word six{6};
    const auto [where, fresh] = index.insert(six);
    EXPECT_EQ(where, &words[3]);
    EXPECT_FALSE(fresh);
    EXPECT_EQ(index.insert(words[3]).where, &words[3]) << "nor is an element lost that is in";
    EXPECT_EQ(numbers(index.walk()), all);
    EXPECT_EQ(qvds::check(index, qvds::aa_levels::of_insertions), qvds::sound);
}

TEST_F(TypedAaTree, EraseTakesAKeyOrAnElement) {
    EXPECT_EQ(index.erase(6), &words[3]);
    EXPECT_EQ(words[3].node.left, nullptr);
    EXPECT_EQ(words[3].node.right, nullptr);
    EXPECT_EQ(index.erase(words[4]), &words[4]);
    EXPECT_EQ(index.erase(6L), nullptr);
    EXPECT_EQ(numbers(index.range(3, 12)), (ints{4, 10}));
}

TEST_F(TypedAaTree, ElementsLeaveOnTheWayByNext) {
    for (Word *word = index.first(), *behind = nullptr; word != nullptr; word = behind) {
        behind = index.next(*word);
        if (word->number % 4 == 0)
            index.erase(*word);
    }
    EXPECT_EQ(numbers(index.range(0, 16)), (ints{2, 6, 10, 14}));
}

TEST_F(TypedAaTree, WalkedRangesWorkWithAlgorithmsAndSeveralPasses) {
    auto walk = index.walk();
    const auto eight = std::ranges::find(walk, 8, &Word::number);
    EXPECT_EQ(&*eight, &words[4]);
    EXPECT_EQ(&*std::next(walk.begin()), &words[1]) << "behind the place the way is known for";
    EXPECT_EQ(&*std::next(eight, 2), &words[6]);
    EXPECT_EQ(std::ranges::distance(walk), std::ssize(words));
    EXPECT_TRUE(std::ranges::is_sorted(walk, {}, &Word::number));
}

// Compares by the numbers, and counts.
struct Counting {
    int *asked;
    auto operator()(int a, int b) const { return ++*asked, a <=> b; }
};

TEST_F(TypedAaTree, AWalkComparesOnlyWhereItsPathIsTooShort) {
    int asked = 0;
    using counting_tree = qvds::aa_tree<&Word::node, &Word::number, Counting>;
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

template <class Tree>
void expect_order(Tree by, const ints &order) {
    Word one{1}, two{2}, three{3}, twin{2};
    for (Word *word : {&two, &three, &one})
        EXPECT_TRUE(by.insert(*word).fresh);
    EXPECT_FALSE(by.insert(twin).fresh);
    EXPECT_EQ(numbers(by.walk()), order);
    EXPECT_EQ(by.find(two), &two);
    EXPECT_EQ(by.find(Word(7)), nullptr);
    EXPECT_EQ(by.lower_bound(two), &two);
    EXPECT_EQ(by.prev(two), order[0] == 1 ? &one : &three);
    EXPECT_EQ(by.erase(two), &two);
}

int rank_of(const Word &word) {
    return -word.number;
}
bool comes_first(int a, int b) {
    return a < b;
}

TEST_F(TypedAaTree, OrdersByAnyComparisonAndProjection) {
    constexpr auto weight = [](const Word &word) { return word.number / 8.0; };
    constexpr auto by_weight = [](double a, double b) { return std::strong_order(a, b); };
    const auto backwards = [](int a, int b) { return b <=> a; };
    expect_order(qvds::aa_tree<&Word::node>(), {1, 2, 3});
    expect_order(qvds::aa_tree<&Word::node, &Word::number, std::less<>>(), {1, 2, 3});
    expect_order(qvds::aa_tree<&Word::node, &Word::number, std::greater<int>>(), {3, 2, 1});
    expect_order(qvds::aa_tree<&Word::node, &Word::negated>(), {3, 2, 1});
    expect_order(qvds::aa_tree<&Word::node, rank_of>(), {3, 2, 1});
    expect_order(qvds::aa_tree<&Word::node, weight, decltype(by_weight)>(), {1, 2, 3});
    expect_order(qvds::aa_tree<&Word::node, &Word::number, bool (*)(int, int)>(comes_first),
                 {1, 2, 3});
    expect_order(qvds::aa_tree<&Word::node, &Word::number, decltype(backwards)>(backwards),
                 {3, 2, 1});
}

TEST_F(TypedAaTree, TextIsFoundByWhatComparesWithIt) {
    struct Entry {
        std::string text;
        AA_node node{};
    } lemon{"lemon"}, lime{"lime"};
    qvds::aa_tree<&Entry::node, &Entry::text> entries;
    EXPECT_TRUE(entries.insert(lime).fresh);
    EXPECT_TRUE(entries.insert(lemon).fresh);
    EXPECT_EQ(entries.find("lemon"), &lemon);
    EXPECT_EQ(entries.lower_bound(std::string_view("lf")), &lime);
}

// Throws at the n-th comparison.
struct Throwing {
    int *left;
    bool operator()(int a, int b) const {
        return --*left == 0 ? throw std::runtime_error("comparison") : a < b;
    }
};

TEST_F(TypedAaTree, AComparisonThatThrowsLeavesTheTreeAsItWas) {
    int left = 0;
    qvds::aa_tree<&Word::node, &Word::number, Throwing> throwing(Throwing{&left});
    throwing.c_root() = std::exchange(index.c_root(), nullptr);
    Word odd{17};
    for (int n = 1; n <= 4; ++n) {
        left = n;
        EXPECT_THROW((void)throwing.insert(odd), std::runtime_error);
        left = n;
        EXPECT_THROW(throwing.erase(16), std::runtime_error);
        EXPECT_EQ(numbers(throwing.walk()), all);
    }
    auto walk = throwing.walk();
    auto place = std::next(walk.begin());
    for (int number = 4; number != end; number += 2) {
        left = 2;
        EXPECT_THROW((void)std::next(walk.begin()), std::runtime_error);
        EXPECT_EQ((++place)->number, number) << "though the way there was lost";
    }
}

TEST_F(TypedAaTree, ADisposerThatThrowsLeavesTheRest) {
    ints gone;
    const auto dispose = [&](Word *word) {
        gone.push_back(word->number);
        if (gone.size() == 5)
            throw std::runtime_error("disposer");
    };
    EXPECT_THROW(index.clear_and_dispose(dispose), std::runtime_error);
    EXPECT_EQ(gone.size(), 5U);
    EXPECT_EQ(qvds::check(index), qvds::sound);
    for (const Word &word : index.walk())
        gone.push_back(word.number);
    std::ranges::sort(gone);
    EXPECT_EQ(gone, all) << "each is either out or in";
}

// Words that count those alive.
struct Owned : Word {
    explicit Owned(int its_number) : Word(its_number) { ++living; }
    Owned(const Owned &from) : Word(from.number) { ++living; }
    ~Owned() { --living; }
    static inline int living = 0;
};
using owning_tree = qvds::aa_tree<qvds::hook<Owned, &Word::node>, &Owned::number,
                                  qvds::core::natural_order, qvds::dispose_with_delete>;

owning_tree owned_up_to(int limit) {
    owning_tree owned;
    for (int number = 0; number != limit; ++number)
        EXPECT_TRUE(owned.insert(*new Owned(number)).fresh);
    return owned;
}

TEST_F(TypedAaTree, DisposesWithItsLastBreath) {
    {
        owning_tree owned = owned_up_to(10);
        owned = owned_up_to(3);
        EXPECT_EQ(Owned::living, 3);
    }
    EXPECT_EQ(Owned::living, 0);
}

TEST_F(TypedAaTree, ADuplicateThatFailsLosesNothing) {
    const owning_tree owned = owned_up_to(10);
    enum class failure { null, exception };
    for (const failure how : {failure::null, failure::exception})
        for (int fails_at = 0; fails_at <= 10; ++fails_at) {
            int made = 0;
            const auto clone = [&](const Owned &from) -> Owned * {
                if (made++ != fails_at)
                    return new Owned(from);
                return how == failure::null ? nullptr : throw std::runtime_error("clone");
            };
            const auto duplicate = [&] {
                return owned.duplicate(clone, qvds::dispose_with_delete{});
            };
            if (fails_at == 10) {
                const auto copy = duplicate();
                EXPECT_EQ(numbers(copy->walk()), numbers(owned.walk()));
                EXPECT_EQ(qvds::check(*copy, qvds::aa_levels::of_insertions), qvds::sound);
                EXPECT_EQ(Owned::living, 20);
            } else if (how == failure::null) {
                EXPECT_EQ(duplicate(), std::nullopt);
            } else {
                EXPECT_THROW((void)duplicate(), std::runtime_error);
            }
            EXPECT_EQ(Owned::living, 10);
        }
    const owning_tree none;
    const auto copy = none.duplicate([](const Owned &) -> Owned * { return nullptr; },
                                     qvds::dispose_with_delete{});
    EXPECT_TRUE(copy->empty());
}

TEST_F(TypedAaTree, MovesAndSwapsItsElements) {
    tree moved = std::move(index);
    EXPECT_TRUE(index.empty());
    Word seven{7};
    EXPECT_TRUE(index.insert(seven).fresh);
    swap(moved, index);
    EXPECT_EQ(numbers(index.walk()), all);
    EXPECT_EQ(numbers(moved.walk()), ints{7});
    index = std::move(moved);
    EXPECT_EQ(numbers(index.walk()), ints{7});
    index.clear();
}

struct CRecord {
    AA_node node;
    int key;
};
int32_t compare_keys(const void *a, const void *b) {
    const int x = static_cast<const CRecord *>(a)->key, y = static_cast<const CRecord *>(b)->key;
    return (x > y) - (x < y);
}

TEST_F(TypedAaTree, AdoptsWhatCHasMade) {
    AA_node *root = nullptr;
    for (const int key : {3, 1, 2}) {
        auto *const record = static_cast<CRecord *>(AA_new(sizeof(CRecord) - sizeof(AA_node)));
        record->key = key;
        root = AA_insert(root, record, compare_keys, nullptr);
    }
    qvds::aa_tree_view<&CRecord::node, &CRecord::key> view(root);
    CRecord *const gone = view.erase(2);
    EXPECT_EQ(gone->key, 2);
    EXPECT_EQ(AA_find(root, gone, compare_keys), nullptr);
    free(gone);
    qvds::aa_tree<&CRecord::node, &CRecord::key, qvds::core::natural_order, qvds::dispose_with_free>
        owner;
    owner.c_root() = std::exchange(root, nullptr);
    EXPECT_EQ(owner.last(), AA_last(owner.c_root()));
    EXPECT_TRUE(view.empty());
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

TEST_F(TypedAaTree, CheckNamesTheElementNotItsNode) {
    words[3].number = 9;
    EXPECT_EQ(qvds::check(index).invariant, 1);
    words[3].number = 6;
    words.back().node.level = 7;
    EXPECT_EQ(qvds::check(index, qvds::aa_levels::of_insertions), (qvds::fault{2, &words.back()}));
    words.back().node.level = 1;
}

} // namespace

// The typed hash tables: what they offer beyond the C functions. fuzz/tables.cpp runs both on one
// table beside a model, and growing tables as well.

#include "typed.hpp"

#include <qvds/hash2.hpp>

#include <algorithm>
#include <iterator>
#include <ranges>
#include <string>
#include <string_view>

using namespace test;

namespace {

// The families. Jobs are found by priority.
template <class Hash = qvds::default_hash, class Equal = qvds::core::natural_equality>
using single = qvds::hash<&Job::link, &Job::priority, Hash, Equal>;
template <class Hash = qvds::default_hash>
using twofold = qvds::hash2<&Job::link, &Job::priority, Hash>;
template <class Hash>
using growing = qvds::growing_hash<&Job::link, &Job::priority, Hash>;
template <class Hash>
using growing2 = qvds::growing_hash2<&Job::link, &Job::priority, Hash>;

template <class Table>
constexpr bool has_the_promised_properties() {
    static_assert(sizeof(Table) == sizeof(qvds_hash));
    static_assert(std::is_standard_layout_v<Table>);
    static_assert(std::is_trivially_destructible_v<Table>);
    static_assert(std::ranges::forward_range<Table>);
    static_assert(std::ranges::forward_range<const Table>);
    static_assert(!std::ranges::bidirectional_range<Table>);
    static_assert(std::ranges::common_range<Table>);
    static_assert(!std::ranges::sized_range<Table>);
    static_assert(std::ranges::forward_range<decltype(std::declval<Table &>().equal_range(1))>);
    using iterator = typename Table::iterator;
    using const_iterator = typename Table::const_iterator;
    static_assert(sizeof(iterator) == 3 * sizeof(void *));
    static_assert(std::is_convertible_v<iterator, const_iterator>);
    static_assert(!std::is_convertible_v<const_iterator, iterator>);
    const Table *constant = nullptr;
    static_assert(std::is_same_v<decltype(*constant->begin()), const Job &>);
    static_assert(std::is_same_v<decltype(constant->find(1)), const Job *>);
    static_assert(std::is_same_v<decltype(*constant->equal_range(1).begin()), const Job &>);
    return true;
}
static_assert(has_the_promised_properties<single<>>());
static_assert(has_the_promised_properties<twofold<>>());
static_assert(std::is_trivially_copyable_v<qvds::hash_view<&Job::link>>);
static_assert(std::is_trivially_copyable_v<qvds::hash2_view<&Job::link>>);

constinit qvds::buckets<4> array_made_at_compile_time;
constinit twofold<> made_at_compile_time(array_made_at_compile_time);

// A hash that says which bucket of ten.
struct LastDigit {
    size_t operator()(int priority) const noexcept { return static_cast<size_t>(priority % 10); }
};
// One with state, which it counts in and which may throw from one call on.
struct CountingHash {
    size_t *calls;
    size_t throws_at = SIZE_MAX;
    size_t operator()(int priority) const {
        if (++*calls == throws_at)
            throw std::runtime_error("hash");
        return static_cast<size_t>(priority);
    }
};

// One that takes every string.
struct ByLength {
    using is_transparent = void;
    size_t operator()(std::string_view text) const { return text.size(); }
};

// A few jobs in a table, two of them equal, three in one chain.
template <class Table>
struct Jobs {
    Jobs() {
        for (Job *job : {&one, &eleven, &two, &other_one})
            table.store(*job);
    }

    Job one{1}, eleven{11}, two{2}, other_one{1}, twenty{20};
    qvds::buckets<10> array;
    Table table{array};
};

template <class Range>
std::vector<const Job *> addresses(const Range &range) {
    std::vector<const Job *> all;
    for (const Job &job : range)
        all.push_back(&job);
    return all;
}
using addresses_of = std::vector<const Job *>;

bool all_null(std::span<void *> array) {
    return std::ranges::all_of(array, [](void *first) { return first == nullptr; });
}

} // namespace

// -- Look ------------------------------------------------------------------------------------------

TEST(TypedHash, StatisticsCountChainsAndTheStepsAlongThem) {
    Jobs<twofold<LastDigit>> jobs;
    const qvds::chain_statistics found = jobs.table.statistics();
    EXPECT_EQ(found.elements, 4U);
    EXPECT_EQ(found.buckets, 10U);
    EXPECT_EQ(found.used, 2U);
    EXPECT_EQ(found.longest, 3U);
    EXPECT_EQ(found.steps, 1U + 2 + 3 + 1);
    EXPECT_EQ(jobs.table.load(), 0.4);
}

TEST(TypedHash, AKeyIsConvertedBeforeItIsHashed) {
    struct Word {
        void *next;
        std::string text;
    };
    qvds::buckets<16> array;
    qvds::hash<&Word::next, &Word::text> words(array);
    Word tree{nullptr, "tree"};
    words.store(tree);
    EXPECT_EQ(words.find("tree"), &tree);
    EXPECT_EQ(words.find(std::string("tree")), &tree);
    EXPECT_EQ(words.extract("three"), nullptr);
}

TEST(TypedHash, ATransparentHashTakesWhatIsLookedForAsItIs) {
    qvds::buckets<16> array;
    qvds::hash2<&Job::link, [](const Job &job) { return std::to_string(job.priority); }, ByLength>
        jobs(array);
    Job fifty{50};
    jobs.store(fifty);
    EXPECT_EQ(jobs.find(std::string_view("50")), &fifty);
    EXPECT_EQ(jobs.hash_of("50"), 2U);
}

TEST(TypedHash, TheDefaultHashSpreadsWhatLiesAtEqualDistances) {
    constexpr size_t count = 1024;
    struct Address {
        void *next;
        const void *at;
    };
    std::vector<Address> addresses(count);
    for (const size_t distance : {1U, 10U, 64U, 4096U, 1U << 16, 1U << 20}) {
        qvds::buckets<count> array;
        qvds::hash<&Address::next, &Address::at> table(array);
        for (size_t i = 0; i != count; ++i) {
            addresses[i].at = reinterpret_cast<const void *>(0x7f00'0000'0000 + i * distance);
            table.store(addresses[i]);
        }
        // By chance 647 buckets are used, give or take 10.
        EXPECT_GT(table.statistics().used, 600U) << distance;
    }
}

// -- Add and take out ------------------------------------------------------------------------------

TEST(TypedHash, RemoveIfHandsOutWhatItRemoves) {
    Jobs<growing2<LastDigit>> jobs;
    ints removed;
    EXPECT_EQ(jobs.table.remove_if([](const Job &job) { return job.priority != 11; },
                                   [&](Job *job) {
                                       removed.push_back(job->priority);
                                       job->link = {}; // as if it were released
                                   }),
              3U);
    EXPECT_EQ(removed, (ints{1, 1, 2}));
    EXPECT_EQ(priorities(jobs.table), ints{11});
    jobs.table.clear();
    EXPECT_TRUE(all_null(jobs.array));
}

TEST(TypedHash, ACursorErasesInBothArraysOfAGrowingTable) {
    Jobs<growing<LastDigit>> jobs;
    qvds::buckets<4> other_array;
    jobs.table.grow(other_array);
    jobs.table.store(jobs.twenty);
    for (auto at = jobs.table.cursor(); at;) {
        if (at->priority == 11)
            at.next();
        else
            EXPECT_NE(at.erase()->priority, 11);
    }
    EXPECT_EQ(priorities(jobs.table), ints{11});
}

// -- Hash and equality -----------------------------------------------------------------------------

TEST(TypedHash, TakesCallablesOfEveryKind) {
    qvds::buckets<8> array;
    const auto finds_a_job = [&](auto &&table) {
        Job seven{7};
        table.store(seven);
        EXPECT_EQ(table.find(7), &seven);
        table.clear();
    };
    finds_a_job(qvds::hash<&Job::link, &Job::rank>(array));
    finds_a_job(qvds::hash<&Job::link, priority_of>(array));
    finds_a_job(qvds::hash<&Job::link, [](const Job &job) { return job.priority; }>(array));
    size_t (*const function)(int) noexcept = [](int) noexcept -> size_t { return 5; };
    finds_a_job(qvds::hash<&Job::link, &Job::priority, decltype(function)>(array, function));
    auto move_only = [five = std::make_unique<size_t>(5)](int) { return *five; };
    finds_a_job(
        qvds::hash2<&Job::link, &Job::priority, decltype(move_only)>(array, std::move(move_only)));
}

TEST(TypedHash, AKnownHashSparesTheCall) {
    size_t calls = 0;
    qvds::buckets<16> array;
    twofold<CountingHash> table(array, CountingHash{&calls});
    Job seven{7}, other_seven{7};
    const size_t hash = table.hash_of(7);
    EXPECT_EQ(calls, 1U);
    table.store_hashed(hash, seven);
    table.store_hashed(hash, other_seven);
    EXPECT_EQ(table.find_hashed(hash, 7), &other_seven);
    EXPECT_EQ(std::as_const(table).find_hashed(hash, 8), nullptr);
    EXPECT_EQ(table.extract_hashed(hash, 7), &other_seven);
    EXPECT_EQ(calls, 1U);
    EXPECT_EQ(table.find(7), &seven);
    EXPECT_EQ(calls, 2U) << "others call it once";
    EXPECT_EQ(twofold<LastDigit>::hash_of(27), 7U) << "without state, it needs no table";
}

TEST(TypedHash, HashAndEqualityMayHaveState) {
    struct UpTo {
        int tolerance;
        bool operator()(int wanted, int stored) const {
            return stored <= wanted && wanted - stored <= tolerance;
        }
    };
    struct Divided {
        int divisor;
        size_t operator()(int priority) const { return static_cast<size_t>(priority / divisor); }
    };
    qvds::buckets<4> array, other_array;
    single<Divided, UpTo> table(array, {10}, {3}), other(other_array, {20}, {0});
    Job twelve{12}, fifteen{15};
    EXPECT_TRUE(table.insert_or_find(twelve).fresh);
    EXPECT_EQ(table.insert_or_find(fifteen).where, &twelve);
    EXPECT_EQ(table.find(16), nullptr);
    swap(table, other);
    EXPECT_EQ(other.hash_of(19), 1U);
    EXPECT_EQ(other.find(15), &twelve);
    EXPECT_TRUE(table.insert_or_find(fifteen).fresh);
    EXPECT_EQ(table.find(14), nullptr);
}

TEST(TypedHash, AHashThatThrowsChangesNothing) {
    size_t calls = 0;
    qvds::buckets<2> array, other_array;
    growing2<CountingHash> table(array, CountingHash{&calls, 6});
    Job jobs[]{Job(1), Job(3), Job(5)}, late{7};
    for (Job &job : jobs)
        table.store(job);
    table.grow(other_array);
    EXPECT_THROW(table.step(2), std::runtime_error) << "at the last of the second bucket";
    EXPECT_EQ(priorities(table), (ints{5, 3, 1}));
    EXPECT_TRUE(all_null(other_array));
    calls = 5;
    EXPECT_THROW(table.store(late), std::runtime_error);
    EXPECT_EQ(table.count(), 3U);
    EXPECT_FALSE(table.step(2).empty());
    EXPECT_EQ(priorities(table), (ints{5, 3, 1}));
}

// -- Growth ----------------------------------------------------------------------------------------

TEST(TypedHash, RehashGivesTheFormerArrayBack) {
    Jobs<single<LastDigit>> jobs;
    qvds::buckets<7> other_array;
    const std::span<void *> former = jobs.table.rehash(other_array);
    EXPECT_EQ(former.data(), std::span<void *>(jobs.array).data());
    EXPECT_EQ(former.size(), 10U);
    EXPECT_EQ(jobs.table.bucket_count(), 7U);
}

TEST(TypedHash, StepsMoveTheChainsOfAFewBuckets) {
    Jobs<growing2<LastDigit>> jobs;
    qvds::buckets<40> larger;
    jobs.table.grow(larger);
    EXPECT_TRUE(jobs.table.step(1).empty());
    EXPECT_TRUE(all_null(larger)) << "the first bucket was empty";
    EXPECT_TRUE(jobs.table.step(1).empty());
    EXPECT_EQ(priorities(jobs.table), (ints{2, 1, 11, 1})) << "2 is still in the former array";
    EXPECT_EQ(jobs.table.step(100).size(), 10U);
    EXPECT_FALSE(jobs.table.is_growing());
}

// -- The table as a whole --------------------------------------------------------------------------

TEST(TypedHash, ATableWithoutBucketsIsEmpty) {
    EXPECT_TRUE(made_at_compile_time.empty());
    EXPECT_EQ(made_at_compile_time.find(1), nullptr);
    twofold<> table;
    EXPECT_EQ(table.begin(), table.end());
    EXPECT_TRUE(table.rehash(array_made_at_compile_time).empty());
    EXPECT_EQ(table.find(1), nullptr);
}

TEST(TypedHash, AnElementMayHoldATableOfItsOwnKind) {
    struct Node {
        Node *next = nullptr;
        int key = 0;
        qvds::buckets<2> array{};
        qvds::hash<&Node::next, &Node::key> children{array};
    };
    Node parent, child;
    parent.children.store(child);
    EXPECT_EQ(parent.children.find(0), &child);
}

TEST(TypedHash, CheckNamesTheElementNotItsLink) {
    Jobs<twofold<LastDigit>> jobs;
    jobs.two.priority = 3;
    EXPECT_EQ(qvds::check(jobs.table), (qvds::fault{2, &jobs.two}));
    jobs.two.priority = 2;
    jobs.one.link.prev = &jobs.array;
    EXPECT_EQ(qvds::check(jobs.table), (qvds::fault{3, &jobs.one}));
}

// -- C and C++ -------------------------------------------------------------------------------------

namespace {

// C is given and gives the address of the link.
const Job &job_of(const void *link) {
    return *reinterpret_cast<const Job *>(static_cast<const char *>(link) - offsetof(Job, link));
}
int32_t compare_links(const void *key, const void *stored) {
    return job_of(key).priority - job_of(stored).priority;
}
size_t hash_link(const void *link) {
    return LastDigit()(job_of(link).priority);
}

} // namespace

TEST(TypedHash, AViewChoosesBucketsAsTheRecordsCallbackDoes) {
    void *buckets[7]{};
    qvds_hash table;
    qvds_hash_init(&table, buckets, hash_link, 7);
    Job eleven{11}, other_eleven{11};
    qvds_hash_store(&table, &eleven.link);

    qvds::hash_view<&Job::link, &Job::priority> view(table);
    view.store(other_eleven);
    EXPECT_EQ(view.find(eleven), &other_eleven) << "what is looked for is an element";
    EXPECT_EQ(view.hash_of_element(eleven), 1U);
    EXPECT_EQ(qvds::check(view), qvds::sound);

    qvds::hash_view<&Job::link, &Job::priority, LastDigit> by_key(table);
    EXPECT_EQ(by_key.extract(11), &other_eleven) << "a hash that agrees takes keys";
    EXPECT_EQ(qvds::check(by_key), qvds::sound);
    void *larger[20]{};
    by_key.rehash(larger);
    EXPECT_EQ(qvds_hash_retrieve(&table, &eleven.link, compare_links), &eleven.link);
}

TEST(TypedHash, CheckFindsAViewWhoseHashIsNotThatOfTheRecord) {
    void *buckets[64]{};
    qvds_hash table;
    qvds_hash_init(&table, buckets, hash_link, 64);
    Job seven{7};
    qvds::hash_view<&Job::link, &Job::priority, qvds::default_hash> view(table);
    qvds_hash_store(&table, &seven.link);
    ASSERT_NE(view.hash_of(7) % 64, 7U);
    EXPECT_EQ(qvds::check(view), (qvds::fault{2, &seven}));
    qvds_hash_extract(&table, &seven.link, compare_links);
    view.store(seven);
    EXPECT_EQ(qvds::check(view), (qvds::fault{2, &seven}));
}

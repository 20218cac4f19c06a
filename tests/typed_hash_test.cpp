// The typed hash tables: what they offer beyond the C functions, which the model driver in
// hash_test.cpp runs them against.

#include "typed.hpp"

#include <qvds/hash2.hpp>

#include <algorithm>
#include <deque>
#include <iterator>
#include <list>
#include <map>
#include <ranges>
#include <string>
#include <string_view>

using namespace test;

namespace {

// The families, with hash, equality and disposal to be filled in. Jobs are found by priority.
struct Hash {
    template <class Hash = qvds::default_hash, class Equal = qvds::core::natural_equality>
    using table = qvds::hash<&Job::link, &Job::priority, Hash, Equal>;
};
struct Hash2 {
    template <class Hash = qvds::default_hash, class Equal = qvds::core::natural_equality>
    using table = qvds::hash2<&Job::link, &Job::priority, Hash, Equal>;
};
struct GrowingHash {
    template <class Hash = qvds::default_hash, class Equal = qvds::core::natural_equality>
    using table = qvds::growing_hash<&Job::link, &Job::priority, Hash, Equal>;
};
struct GrowingHash2 {
    template <class Hash = qvds::default_hash, class Equal = qvds::core::natural_equality>
    using table = qvds::growing_hash2<&Job::link, &Job::priority, Hash, Equal>;
};

template <class Table>
constexpr bool has_the_promised_properties() {
    static_assert(sizeof(Table) == sizeof(qvds_hash));
    static_assert(std::is_standard_layout_v<Table>);
    static_assert(std::is_trivially_destructible_v<Table>);
    static_assert(std::is_nothrow_move_constructible_v<Table>);
    static_assert(std::is_nothrow_swappable_v<Table>);
    static_assert(!std::is_copy_constructible_v<Table>);
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
static_assert(has_the_promised_properties<Hash::table<>>());
static_assert(has_the_promised_properties<Hash2::table<>>());
static_assert(std::is_trivially_copyable_v<qvds::hash_view<&Job::link>>);
static_assert(std::is_trivially_copyable_v<qvds::hash2_view<&Job::link>>);

constinit qvds::buckets<4> array_made_at_compile_time;
constinit Hash2::table<> made_at_compile_time(array_made_at_compile_time);

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

// A few jobs in a table of a family, two of them equal, three in one chain.
template <class Family>
struct Jobs {
    Jobs() {
        for (Job *job : {&one, &eleven, &two, &other_one})
            table.store(*job);
    }

    Job one{1}, eleven{11}, two{2}, other_one{1}, twenty{20};
    qvds::buckets<10> array;
    typename Family::template table<LastDigit> table{array};
};

// Calls body(jobs) for each family, and checks the table behind it.
template <class Body>
void for_each_family(Body body) {
    const auto run = [&]<class Family>(const char *name, Family) {
        SCOPED_TRACE(name);
        Jobs<Family> jobs;
        body(jobs);
        EXPECT_EQ(qvds::check(jobs.table), qvds::sound);
    };
    run("hash", Hash());
    run("hash2", Hash2());
    run("growing_hash", GrowingHash());
    run("growing_hash2", GrowingHash2());
}

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

TEST(TypedHash, WalksBucketByBucketTheNewestFirst) {
    for_each_family([](auto &jobs) {
        EXPECT_EQ(addresses(jobs.table),
                  (addresses_of{&jobs.other_one, &jobs.eleven, &jobs.one, &jobs.two}));
        EXPECT_EQ(jobs.table.count(), 4U);
        EXPECT_FALSE(jobs.table.empty());
    });
}

TEST(TypedHash, FindsByKeyOrNull) {
    for_each_family([](auto &jobs) {
        EXPECT_EQ(jobs.table.find(11), &jobs.eleven);
        EXPECT_EQ(std::as_const(jobs.table).find(1), &jobs.other_one);
        EXPECT_EQ(jobs.table.find(21), nullptr) << "the chain holds others";
        EXPECT_EQ(jobs.table.find(3), nullptr) << "there is no chain";
        EXPECT_EQ(jobs.table.find(short{2}), &jobs.two);
    });
}

TEST(TypedHash, EqualRangePassesOverWhatSharesTheChain) {
    for_each_family([](auto &jobs) {
        EXPECT_EQ(addresses(jobs.table.equal_range(1)), (addresses_of{&jobs.other_one, &jobs.one}));
        EXPECT_EQ(addresses(std::as_const(jobs.table).equal_range(11)), addresses_of{&jobs.eleven});
        EXPECT_TRUE(jobs.table.equal_range(21).empty());
    });
}

TEST(TypedHash, StatisticsCountChainsAndTheStepsAlongThem) {
    for_each_family([](auto &jobs) {
        const qvds::chain_statistics found = jobs.table.statistics();
        EXPECT_EQ(found.elements, 4U);
        EXPECT_EQ(found.buckets, 10U);
        EXPECT_EQ(found.used, 2U);
        EXPECT_EQ(found.longest, 3U);
        EXPECT_EQ(found.steps, 1U + 2 + 3 + 1);
        EXPECT_EQ(jobs.table.load(), 0.4);
    });
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

TEST(TypedHash, InsertOrFindSaysWhichItDid) {
    for_each_family([](auto &jobs) {
        Job other_twenty{20};
        const auto added = jobs.table.insert_or_find(jobs.twenty);
        EXPECT_EQ(added.where, &jobs.twenty);
        EXPECT_TRUE(added.fresh);
        const auto [where, fresh] = jobs.table.insert_or_find(other_twenty);
        EXPECT_EQ(where, &jobs.twenty);
        EXPECT_FALSE(fresh);
    });
}

TEST(TypedHash, StoreOrReplaceGivesBackWhatItReplaced) {
    for_each_family([](auto &jobs) {
        Job other_eleven{11};
        EXPECT_EQ(jobs.table.store_or_replace(other_eleven), &jobs.eleven);
        EXPECT_EQ(jobs.table.find(11), &other_eleven);
        EXPECT_EQ(jobs.table.store_or_replace(jobs.twenty), nullptr);
        EXPECT_EQ(jobs.table.find(20), &jobs.twenty);
        jobs.table.clear();
    });
}

TEST(TypedHash, ExtractTakesOutTheFirstMatch) {
    for_each_family([](auto &jobs) {
        EXPECT_EQ(jobs.table.extract(1), &jobs.other_one);
        EXPECT_EQ(jobs.table.extract(1), &jobs.one);
        EXPECT_EQ(jobs.table.extract(1), nullptr);
        EXPECT_EQ(priorities(jobs.table), (ints{11, 2}));
    });
}

TEST(TypedHash, RemoveIfHandsOutWhatItRemoves) {
    for_each_family([](auto &jobs) {
        ints removed;
        EXPECT_EQ(jobs.table.remove_if([](const Job &job) { return job.priority != 11; },
                                       [&](Job *job) { removed.push_back(job->priority); }),
                  3U);
        EXPECT_EQ(removed, (ints{1, 1, 2}));
        EXPECT_EQ(priorities(jobs.table), ints{11});
    });
}

TEST(TypedHash, ADisposerThatThrowsLeavesTheRest) {
    for_each_family([](auto &jobs) {
        const auto dispose = [](Job *job) {
            if (job->priority == 11)
                throw std::runtime_error("disposer");
        };
        EXPECT_THROW(jobs.table.clear_and_dispose(dispose), std::runtime_error);
        EXPECT_EQ(priorities(jobs.table), (ints{1, 2}));
    });
}

TEST(TypedHash, ClearLeavesTheArrayNull) {
    for_each_family([](auto &jobs) {
        jobs.table.clear();
        EXPECT_TRUE(jobs.table.empty());
        EXPECT_TRUE(all_null(jobs.array));
    });
}

TEST(TypedHash, DisposesWithItsLastBreath) {
    struct Counted {
        explicit Counted(int &its_living) : living(its_living) { ++living; }
        ~Counted() { --living; }
        int &living;
        qvds_node link{};
        int key = 0;
    };
    int living = 0;
    qvds::buckets<2> array, other_array;
    {
        using table = qvds::growing_hash2<&Counted::link, &Counted::key, qvds::default_hash,
                                          qvds::core::natural_equality, qvds::dispose_with_delete>;
        table owned(array), replaced(other_array);
        owned.store(*new Counted(living));
        replaced.store(*new Counted(living));
        replaced = std::move(owned);
        EXPECT_EQ(living, 1);
    }
    EXPECT_EQ(living, 0);
    EXPECT_TRUE(all_null(array) && all_null(other_array));
}

TEST(TypedHash, ACursorErasesWhileItWalks) {
    Jobs<GrowingHash> jobs;
    qvds::buckets<4> other_array;
    jobs.table.grow(other_array);
    jobs.table.store(jobs.twenty);
    for (auto at = jobs.table.cursor(); at;) {
        if (at->priority == 1)
            EXPECT_EQ(at.erase()->priority, 1);
        else
            at.next();
    }
    EXPECT_EQ(addresses(jobs.table), (addresses_of{&jobs.eleven, &jobs.two, &jobs.twenty}));
    auto place = jobs.table.cursor();
    EXPECT_EQ(&*place, &jobs.eleven);
    for (const int left : {2, 20}) {
        place.erase();
        EXPECT_EQ(place->priority, left);
    }
    place.erase();
    EXPECT_FALSE(place);
    EXPECT_TRUE(jobs.table.empty());
}

TEST(TypedHash2, ErasesWhileItWalks) {
    Jobs<Hash2> jobs;
    for (auto at = jobs.table.begin(); at != jobs.table.end();)
        at = at->priority == 2 ? std::next(at) : jobs.table.erase(at);
    EXPECT_EQ(priorities(jobs.table), ints{2});
    EXPECT_EQ(jobs.table.erase(jobs.table.begin()), jobs.table.end());
}

TEST(TypedHash2, UnlinksAnElementWithoutTheTable) {
    Jobs<Hash2> jobs;
    decltype(jobs.table)::unlink(jobs.eleven);
    EXPECT_EQ(priorities(jobs.table), (ints{1, 1, 2}));
    EXPECT_EQ(qvds::check(jobs.table), qvds::sound);
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
    Hash2::table<CountingHash> table(array, CountingHash{&calls});
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
    EXPECT_EQ(Hash2::table<LastDigit>::hash_of(27), 7U) << "without state, it needs no table";
}

TEST(TypedHash, HashAndEqualityMayHaveState) {
    struct EqualUpTo {
        int tolerance;
        bool operator()(int a, int b) const { return std::abs(a - b) <= tolerance; }
    };
    struct Divided {
        int divisor;
        size_t operator()(int priority) const { return static_cast<size_t>(priority / divisor); }
    };
    qvds::buckets<4> array, other_array;
    Hash::table<Divided, EqualUpTo> table(array, {10}, {3}), other(other_array, {20}, {0});
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
    GrowingHash2::table<CountingHash> table(array, CountingHash{&calls, 6});
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
    EXPECT_EQ(qvds::check(table), qvds::sound);
    EXPECT_EQ(priorities(table), (ints{5, 3, 1}));
}

TEST(TypedHash, AHashThatThrowsInARehashChangesNothing) {
    size_t calls = 0;
    qvds::buckets<2> array, other_array;
    Hash::table<CountingHash> table(array, CountingHash{&calls, 4});
    Job even{2}, odd{1};
    table.store(even);
    table.store(odd);
    EXPECT_THROW(table.rehash(other_array), std::runtime_error) << "in the second bucket";
    EXPECT_EQ(priorities(table), (ints{2, 1}));
    EXPECT_TRUE(all_null(other_array));
}

// -- Growth ----------------------------------------------------------------------------------------

TEST(TypedHash, RehashGivesTheFormerArrayBackAllNull) {
    Jobs<Hash> jobs;
    qvds::buckets<7> other_array;
    const std::span<void *> former = jobs.table.rehash(other_array);
    EXPECT_EQ(former.data(), std::span<void *>(jobs.array).data());
    EXPECT_EQ(former.size(), 10U);
    EXPECT_TRUE(all_null(former));
    EXPECT_EQ(jobs.table.bucket_count(), 7U);
    EXPECT_EQ(addresses(jobs.table.equal_range(1)), (addresses_of{&jobs.other_one, &jobs.one}));
}

TEST(TypedHash, StepsMoveTheChainsOfAFewBuckets) {
    Jobs<GrowingHash2> jobs;
    qvds::buckets<40> larger;
    jobs.table.grow(larger);
    EXPECT_TRUE(all_null(larger)) << "nothing moves yet";
    EXPECT_TRUE(jobs.table.step(1).empty());
    EXPECT_TRUE(all_null(larger)) << "the first bucket was empty";
    EXPECT_TRUE(jobs.table.step(1).empty());
    EXPECT_EQ(jobs.table.find(2), &jobs.two) << "still in the former array";
    EXPECT_EQ(priorities(jobs.table), (ints{2, 1, 11, 1}));
    const std::span<void *> former = jobs.table.step(100);
    EXPECT_EQ(former.data(), std::span<void *>(jobs.array).data());
    EXPECT_EQ(former.size(), 10U);
    EXPECT_FALSE(jobs.table.is_growing());
    EXPECT_TRUE(jobs.table.step().empty());
}

TEST(TypedHash, ClearsBothArraysWhileItGrows) {
    Jobs<GrowingHash> jobs;
    qvds::buckets<3> other_array;
    jobs.table.grow(other_array);
    jobs.table.store(jobs.twenty);
    ints disposed;
    jobs.table.clear_and_dispose([&](Job *job) { disposed.push_back(job->priority); });
    EXPECT_EQ(disposed, (ints{1, 11, 1, 2, 20}));
    EXPECT_TRUE(all_null(jobs.array) && all_null(other_array));
}

namespace {

enum class step { store, store_or_replace, insert_or_find, extract, change_array };

// A table beside a model that knows the order of equal jobs.
template <class Table, bool grows>
struct Driver {
    explicit Driver(Random &choices) : random(choices), arrays{std::vector<void *>(3)} {
        table = Table(arrays.back());
    }

    Random &random;
    std::list<std::vector<void *>> arrays;
    Table table;
    std::deque<Job> jobs;
    std::map<int, std::deque<const Job *>> model; // by priority, the first to be found in front

    void run(step what) {
        Job &job = jobs.emplace_back(static_cast<int>(random.below(20)));
        auto &equal = model[job.priority];
        const Job *const first = equal.empty() ? nullptr : equal.front();
        switch (what) {
        case step::store:
            table.store(job);
            equal.push_front(&job);
            break;
        case step::store_or_replace:
            ASSERT_EQ(table.store_or_replace(job), first);
            if (first != nullptr)
                equal.pop_front();
            equal.push_front(&job);
            break;
        case step::insert_or_find:
            ASSERT_EQ(table.insert_or_find(job).where, first != nullptr ? first : &job);
            if (first == nullptr)
                equal.push_front(&job);
            break;
        case step::extract:
            ASSERT_EQ(table.extract(job.priority), first);
            if (first != nullptr)
                equal.pop_front();
            break;
        case step::change_array:
            change_array();
            break;
        }
        ASSERT_EQ(qvds::check(table), qvds::sound);
        size_t count = 0;
        for (const auto &[priority, expected] : model) {
            ASSERT_EQ(addresses(table.equal_range(priority)),
                      addresses_of(expected.begin(), expected.end()));
            count += expected.size();
        }
        ASSERT_EQ(table.count(), count);
    }

    std::span<void *> another_array() {
        constexpr size_t sizes[] = {1, 2, 3, 4, 7, 8, 16, 21, 32};
        return arrays.emplace_back(sizes[random.below(std::size(sizes))]);
    }
    void change_array() {
        if constexpr (!grows)
            ASSERT_TRUE(all_null(table.rehash(another_array())));
        else if (table.is_growing())
            ASSERT_TRUE(all_null(table.step(random.below(4))));
        else
            table.grow(another_array());
    }
};

template <class Family, bool grows>
void run_driver() {
    for_each_seed([](Random &random) {
        Driver<typename Family::template table<>, grows> driver(random);
        for (int i = 0; i != 300 && !testing::Test::HasFailure(); ++i)
            driver.run(static_cast<step>(random.below(5)));
    });
}

} // namespace

TEST(TypedHash, FollowsAModelFromArrayToArray) {
    run_driver<Hash, false>();
    run_driver<Hash2, false>();
}

TEST(TypedHash, FollowsAModelWhileItGrows) {
    run_driver<GrowingHash, true>();
    run_driver<GrowingHash2, true>();
}

// -- The table as a whole --------------------------------------------------------------------------

TEST(TypedHash, ATableWithoutBucketsIsEmpty) {
    EXPECT_TRUE(made_at_compile_time.empty());
    EXPECT_EQ(made_at_compile_time.find(1), nullptr);
    Hash2::table<> table;
    EXPECT_EQ(table.begin(), table.end());
    EXPECT_TRUE(table.rehash(array_made_at_compile_time).empty());
    EXPECT_EQ(table.find(1), nullptr);
}

TEST(TypedHash, MovesAndSwapsItsElements) {
    for_each_family([](auto &jobs) {
        auto moved = std::move(jobs.table);
        EXPECT_TRUE(jobs.table.empty());
        EXPECT_EQ(moved.find(11), &jobs.eleven);
        swap(moved, jobs.table);
        EXPECT_TRUE(moved.empty());
        EXPECT_EQ(jobs.table.extract(11), &jobs.eleven);
        moved.swap(jobs.table);
        jobs.table = std::move(moved);
        EXPECT_EQ(priorities(jobs.table), (ints{1, 1, 2}));
    });
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
    Jobs<Hash2> jobs;
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

TEST(TypedHash, CLooksUpInATableThatCppFilledAndTheOtherWayRound) {
    Jobs<Hash2> jobs;
    qvds_hash *const table = &jobs.table.c_record();
    const Job wanted{11}, absent{21};
    EXPECT_EQ(qvds_hash_retrieve(table, &wanted.link, compare_links), &jobs.eleven.link);
    EXPECT_EQ(qvds_hash_retrieve(table, &absent.link, compare_links), nullptr);
    qvds_hash2_store(table, &jobs.twenty.link);
    EXPECT_EQ(jobs.table.find(20), &jobs.twenty);
    EXPECT_EQ(qvds_hash2_extract(table, &wanted.link, compare_links), &jobs.eleven.link);
    EXPECT_EQ(jobs.table.find(11), nullptr);
    EXPECT_EQ(qvds::check(jobs.table), qvds::sound);
}

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

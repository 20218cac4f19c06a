// The typed keyed hash: what it offers beyond the C functions. fuzz/keyed_hash.cpp runs both on one
// table beside a model.

#include "typed.hpp"

#include <qvds/keyed_hash.hpp>

#include <algorithm>
#include <cstring>

using namespace test;

namespace {

// Gives negative numbers and numbers beyond 32 bits, which the default slot function would refuse.
struct TextHash {
    int64_t operator()(const char *text) const {
        int64_t hash = -1;
        for (; *text != 0; ++text)
            hash = hash * 31 - *text;
        return hash;
    }
};
struct TextEqual {
    bool operator()(const char *a, const char *b) const { return std::strcmp(a, b) == 0; }
};

using table = qvds::keyed_hash<const char *, Job, TextHash, TextEqual, int>;

static_assert(sizeof(table) == sizeof(hashlist *));
static_assert(!std::is_copy_constructible_v<table>);
static_assert(std::input_iterator<table::walk_type::iterator>);
static_assert(!std::is_move_constructible_v<table::walk_type>);
static_assert(
    std::is_same_v<decltype((*std::declval<const table &>().walk().begin()).value()), const Job &>);

struct TypedKeyedHash : testing::Test {
    TypedKeyedHash() {
        EXPECT_TRUE(jobs.add("one", one));
        EXPECT_TRUE(jobs.add("two", two));
        EXPECT_TRUE(jobs.add("three", three));
        EXPECT_TRUE(jobs.add("two", other_two));
    }
    // Whatever a test did: no walk is left under way, and every entry is in the bucket of its key.
    ~TypedKeyedHash() override { EXPECT_EQ(qvds::check(jobs), qvds::sound); }

    // Bucket by bucket, and so in no order.
    ints content() {
        ints all;
        for (const auto entry : jobs.walk())
            all.push_back(entry.value().priority);
        std::sort(all.begin(), all.end());
        return all;
    }

    Job one{1}, two{2}, three{3}, other_two{22};
    table jobs = table::make(2); // so that keys share a bucket
};

TEST_F(TypedKeyedHash, EqualGivesAllEntriesOfAKeyOfWhichEachMayBeErased) {
    ints met;
    for (const auto entry : jobs.equal("two")) {
        met.push_back(entry.value().priority);
        if (&entry.value() == &other_two)
            jobs.erase(entry);
    }
    EXPECT_EQ(met, (ints{22, 2}));
    EXPECT_EQ(std::as_const(jobs).find("two"), &two);
    for (const auto entry : jobs.equal("four"))
        ADD_FAILURE() << entry.key();
}

TEST_F(TypedKeyedHash, AnythingMayBeErasedInAWalk) {
    size_t met = 0;
    for (const auto entry : jobs.walk()) {
        ++met;
        for (const char *key : {"one", "two", "three"})
            jobs.erase(key);
        EXPECT_EQ(jobs.find("two"), nullptr) << "gone at once";
        (void)entry;
    }
    EXPECT_EQ(met, 1U);
    EXPECT_EQ(jobs.count(), 0U);
}

TEST_F(TypedKeyedHash, WalksMayBeNestedAndLeftByAnException) {
    const auto erase_and_throw = [this] {
        for (const auto outer : jobs.walk())
            for (const auto inner : jobs.walk())
                if (&inner.value() != &outer.value()) {
                    jobs.erase(inner);
                    throw std::runtime_error("in a walk");
                }
    };
    EXPECT_THROW(erase_and_throw(), std::runtime_error);
    EXPECT_EQ(jobs.count(), 3U);
}

TEST_F(TypedKeyedHash, APredicateThatErasesItsEntryLeavesNothingToErase) {
    const auto erase_it = [this](const auto &entry) {
        jobs.erase(entry);
        return true;
    };
    EXPECT_EQ(jobs.erase_if(erase_it), 0U);
    EXPECT_EQ(jobs.count(), 0U);
}

TEST_F(TypedKeyedHash, ServesCAndCppInTurn) {
    EXPECT_EQ(hash_find_element(&jobs.c_record(), "three"), &three);
    static char key[] = "four"; // which the fixture looks at once more, as it goes
    Job four{4};
    EXPECT_GE(hash_add(&jobs.c_record(), key, &four), 0);
    EXPECT_EQ(jobs.find("four"), &four);
    hashlist *c_table = &jobs.c_record();
    qvds::keyed_hash_view<const char *, Job, TextHash, TextEqual> view(c_table);
    view.erase("one");
    EXPECT_EQ(content(), (ints{2, 3, 4, 22}));
}

TEST_F(TypedKeyedHash, OnlyATableThatExistsIsTrue) {
    table moved = std::move(jobs);
    EXPECT_FALSE(jobs);
    EXPECT_TRUE(moved);
    jobs = std::move(moved);
    EXPECT_EQ(jobs.count(), 4U);
    EXPECT_FALSE(table::make(size_t{1} << 40)) << "more buckets than a table can count";
    EXPECT_EQ(table::make(0).bucket_count(), 1U);
}

TEST_F(TypedKeyedHash, DisposesOfTheValuesIfToldTo) {
    auto owner = qvds::keyed_hash<const char *, Job, TextHash, TextEqual, void,
                                  qvds::dispose_with_delete>::make(4);
    ASSERT_TRUE(owner.add("one", *new Job(1))); // a leak if the table forgets it
}

} // namespace

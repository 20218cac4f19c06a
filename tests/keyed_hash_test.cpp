// The keyed hash in C: slots and statuses, the order of a bucket, what a walk meets.
// fuzz/keyed_hash.cpp runs all operations beside a model, in walks within walks.

#include <qvds/keyed_hash.h>

#include "fault.hpp"
#include "owning_walks.hpp"
#include "support.hpp"

#include <cerrno>
#include <string>

namespace {

using qvds::fault;
using qvds::sound;
using qvds::core::check_keyed_hash;
using test::iterate;

// Keys, values and metadata in these tests are what they show as.
int32_t number[] = {0,  1,  2,  3,  4,  5,  6,  7,  8,  9,  10, 11, 12, 13, 14,
                    15, 16, 17, 18, 19, 20, 21, 22, 23, 24, 25, 26, 27, 28, 29};

int32_t last_digit(int32_t hash, int32_t, list_link *const *) {
    return hash % 10;
}
int32_t same_number(int32_t hash, int32_t, list_link *const *) {
    return hash;
}

// A table of ten buckets, where keys that end in the same digit meet.
class KeyedHash : public testing::Test {
  protected:
    void TearDown() override {
        EXPECT_EQ(check_keyed_hash(*table), sound);
        hash_del(table);
    }

    int add(int key, int value) { return hash_add(table, &number[key], &number[value]); }

    // The keys and values of a bucket: "11=2 1=7 ".
    std::string show(int32_t slot) const {
        std::string text;
        for (const list_link *link = table->lists[slot]; link != nullptr; link = link->next) {
            const auto *const entry = static_cast<const hash_entry *>(link->hook);
            text += std::to_string(*static_cast<const int32_t *>(entry->key)) + "=" +
                    std::to_string(*static_cast<const int32_t *>(entry->value)) + " ";
        }
        return text;
    }

    hashlist *table = hash_create(10, hash_int, last_digit, hash_intcmp);
};

// -- set up --------------------------------------------------------------------------------------

TEST_F(KeyedHash, CreateTakes127BucketsAndMultFuncByDefault) {
    EXPECT_EQ(table->size, 10);
    EXPECT_EQ(table->slot_func, last_digit);
    for (const int32_t size : {0, -5, INT32_MIN}) {
        hashlist *const plain = hash_create(size, hash_int, nullptr, hash_intcmp);
        EXPECT_EQ(plain->size, 127);
        EXPECT_EQ(plain->slot_func, hash_mult_func);
        EXPECT_EQ(hash_add(plain, &number[1], nullptr), 78);
        EXPECT_EQ(check_keyed_hash(*plain), sound);
        hash_del(plain);
    }
}

TEST_F(KeyedHash, CreateNeedsHashAndCompare) {
    EXPECT_EQ(hash_create(1, nullptr, last_digit, hash_intcmp), nullptr);
    EXPECT_EQ(hash_create(1, hash_int, last_digit, nullptr), nullptr);
}

// -- elements ------------------------------------------------------------------------------------

TEST_F(KeyedHash, AddReturnsTheSlotAndPutsTheNewestFirst) {
    EXPECT_EQ(add(1, 7), 1);
    EXPECT_EQ(add(29, 8), 9);
    EXPECT_EQ(add(11, 2), 1);
    EXPECT_EQ(add(1, 3), 1);
    EXPECT_EQ(show(1), "1=3 11=2 1=7 ");
    EXPECT_EQ(show(9), "29=8 ");
    EXPECT_EQ(hash_length(table), 4);
}

TEST_F(KeyedHash, CompareIsGivenTheSoughtKeyAndThenTheStored) {
    table->slot_func = [](int32_t, int32_t, list_link *const *) { return 4; };
    table->cmp_func = [](const void *sought, const void *stored) { // its first multiple
        return *static_cast<const int32_t *>(stored) % *static_cast<const int32_t *>(sought);
    };
    for (const int key : {9, 6, 4})
        add(key, key);
    EXPECT_EQ(hash_find_element(table, &number[3]), &number[6]);
    hash_set_metadata(table, &number[3], &number[5]);
    EXPECT_EQ(hash_get_metadata(table, &number[9]), &number[5]);
    EXPECT_EQ(hash_get_metadata(table, &number[4]), nullptr);
    hash_del_element(table, &number[3]);
    EXPECT_EQ(show(4), "4=4 ");
}

TEST_F(KeyedHash, OnlySlotsInTheTableAreValidAndOnlyAddSetsErrno) {
    table->slot_func = same_number;
    EXPECT_EQ(add(0, 0), 0);
    EXPECT_EQ(add(9, 9), 9);
    for (int32_t key : {-1, 10, INT32_MAX, INT32_MIN}) {
        errno = 0;
        EXPECT_EQ(hash_find_element(table, &key), nullptr);
        hash_set_metadata(table, &key, &key);
        EXPECT_EQ(hash_get_metadata(table, &key), nullptr);
        EXPECT_EQ(hash_del_element(table, &key), 0);
        EXPECT_EQ(errno, 0);
        EXPECT_EQ(hash_add(table, &key, &key), -1) << key;
        EXPECT_EQ(errno, EDOM) << key;
    }
    EXPECT_EQ(hash_length(table), 2);
}

TEST_F(KeyedHash, DoubleFuncPutsEqualKeysInDifferentBuckets) {
    hashlist *const seven = hash_create(7, hash_int, hash_double_func, hash_intcmp);
    EXPECT_EQ(hash_add(seven, &number[10], &number[1]), 3);
    EXPECT_EQ(hash_find_element(seven, &number[10]), nullptr);
    EXPECT_EQ(hash_add(seven, &number[10], &number[2]), 0);
    EXPECT_EQ(check_keyed_hash(*seven, nullptr, false), sound);
    hash_del(seven);
}

// -- walks ---------------------------------------------------------------------------------------

TEST_F(KeyedHash, IterateTakesBucketsInOrderUpToTheFirstResultAndCountsInEach) {
    for (const int key : {28, 1, 11, 2, 21})
        add(key, key);
    std::string visited;
    const auto visit = [](void *value, int32_t index, void *ctx) -> void * {
        *static_cast<std::string *>(ctx) +=
            std::to_string(index) + ":" + std::to_string(*static_cast<int32_t *>(value)) + " ";
        return value == &number[2] ? test::stop : nullptr;
    };
    EXPECT_EQ(hash_iterate(table, visit, &visited), test::stop);
    EXPECT_EQ(visited, "0:21 1:11 2:1 0:2 ");
    EXPECT_EQ(hash_iterate(table, nullptr, nullptr), nullptr);
}

TEST_F(KeyedHash, IterateDelRemovesWhereTheResultIsNotZero) {
    for (const int key : {1, 2, 11, 12})
        add(key, key);
    static const void *contexts[2];
    const auto second = [](void *, int32_t index, void *ctx, void *ctx2) {
        contexts[0] = ctx;
        contexts[1] = ctx2;
        return index == 1 ? INT32_MIN : 0;
    };
    EXPECT_EQ(hash_iterate_del(table, second, &table, &number), 0);
    EXPECT_EQ(contexts[0], &table);
    EXPECT_EQ(contexts[1], &number);
    EXPECT_EQ(show(1), "11=11 ");
    EXPECT_EQ(show(2), "12=12 ");
    EXPECT_EQ(hash_iterate_del(table, nullptr, nullptr, nullptr), 0);
    EXPECT_EQ(hash_length(table), 2);
}

TEST_F(KeyedHash, OnlyWhatIsAddedToALaterBucketIsVisited) {
    add(5, 5);
    std::string visited;
    iterate(table, [&](void *value, int32_t) -> void * {
        visited += std::to_string(*static_cast<int32_t *>(value)) + " ";
        if (value == &number[5])
            for (const int key : {4, 15, 6})
                add(key, key);
        return nullptr;
    });
    EXPECT_EQ(visited, "5 6 ");
}

// -- null tables ---------------------------------------------------------------------------------

TEST_F(KeyedHash, NullForATableIsNeutral) {
    errno = 0;
    EXPECT_EQ(hash_find_element(nullptr, &number[1]), nullptr);
    hash_set_metadata(nullptr, &number[1], nullptr);
    EXPECT_EQ(hash_get_metadata(nullptr, &number[1]), nullptr);
    EXPECT_EQ(hash_del_element(nullptr, &number[1]), 0);
    EXPECT_EQ(hash_iterate(nullptr, nullptr, nullptr), nullptr);
    const list_visit_del_fn remove = [](void *, int32_t, void *, void *) { return 1; };
    EXPECT_EQ(hash_iterate_del(nullptr, remove, nullptr, nullptr), 0);
    EXPECT_EQ(hash_length(nullptr), -1);
    hash_del(nullptr);
    EXPECT_EQ(errno, 0);
    EXPECT_EQ(hash_add(nullptr, &number[1], nullptr), -1);
    EXPECT_EQ(errno, EINVAL);
}

// -- size ----------------------------------------------------------------------------------------

TEST_F(KeyedHash, HoldsSeventyThousandInOneBucket) {
    add(1, 1);
    for (int i = 0; i < 35000; ++i) {
        add(11, 2);
        add(21, 3);
    }
    EXPECT_EQ(hash_find_element(table, &number[1]), &number[1]);
    hash_set_metadata(table, &number[11], table);
    EXPECT_EQ(hash_del_element(table, &number[21]), 0);
    EXPECT_EQ(hash_length(table), 35001);
    for (const list_link *link = table->lists[1]; link->next != nullptr; link = link->next)
        ASSERT_EQ(static_cast<const hash_entry *>(link->hook)->metadata, table);
    EXPECT_EQ(hash_del_element(table, &number[11]), 0);
    EXPECT_EQ(show(1), "1=1 ");
}

// -- the check itself ----------------------------------------------------------------------------

TEST_F(KeyedHash, CheckNamesTheInvariantAndTheLink) {
    struct {
        const char *slip;
        void (*corrupt)(hashlist *corrupted, list_link *newest);
        int invariant;
    } const cases[] = {
        {"no bucket", [](hashlist *corrupted, list_link *) { corrupted->size = 0; }, 1},
        {"no array", [](hashlist *corrupted, list_link *) { corrupted->lists = nullptr; }, 1},
        {"a list with a fault", [](hashlist *, list_link *link) { link->prev = link; }, 1},
        {"no entry", [](hashlist *, list_link *link) { link->hook = nullptr; }, 2},
        {"an entry twice", [](hashlist *, list_link *link) { link->hook = link->next->hook; }, 2},
        {"another slot",
         [](hashlist *corrupted, list_link *) { corrupted->slot_func = same_number; }, 3},
    };
    add(1, 1);
    add(11, 1);
    list_link *const newest = table->lists[1];
    for (const auto &[slip, corrupt, invariant] : cases) {
        const hashlist good_table = *table;
        const list_link good_link = *newest;
        corrupt(table, newest);
        const fault found = check_keyed_hash(*table);
        *table = good_table;
        *newest = good_link;
        EXPECT_EQ(found.invariant, invariant) << slip;
        EXPECT_TRUE(found.element == nullptr || found.element == newest) << slip;
        EXPECT_EQ(check_keyed_hash(*table), sound);
    }
    list_iter_set(newest);
    const int walks[10] = {0, 1};
    EXPECT_EQ(check_keyed_hash(*table, walks), sound);
    EXPECT_EQ(check_keyed_hash(*table).invariant, 1);
    list_iter_clear(&table->lists[1]);
}

} // namespace

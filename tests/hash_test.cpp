// The hash tables in C: what stands where in a chain, what is asked of the callbacks in which
// order, and what is left alone. fuzz/tables.cpp runs all operations beside a model.

#include <qvds/hash2.h>

#include <cctype>
#include <deque>

#include "fault.hpp"
#include "support.hpp"

namespace {

using qvds::core::check_hash, qvds::core::check_hash2, qvds::fault, qvds::sound;

struct Item {
    qvds_node node;
    size_t key;
    char name = '?';
};
char untouched; // what the links of an item name before the library first writes them

size_t key_of(const void *item) {
    return static_cast<const Item *>(item)->key;
}
char name_of(const void *item) {
    return item != nullptr ? static_cast<const Item *>(item)->name : '-';
}

std::string asked; // what the callbacks were given, in order: "d d?a " for a hash and a compare

size_t hash(const void *key) {
    asked += name_of(key);
    asked += ' ';
    return key_of(key);
}
int32_t compare(const void *key, const void *stored) {
    asked += name_of(key);
    asked += '?';
    asked += name_of(stored);
    asked += ' ';
    return static_cast<int32_t>(key_of(key) - key_of(stored));
}

struct Family {
    const char *name;
    bool has_back_links;
    decltype(&qvds_hash_store) store;
    decltype(&qvds_hash_storereplace) storereplace;
    decltype(&qvds_hash_searchinsert) searchinsert;
    decltype(&qvds_hash_extract) extract;
    decltype(&qvds_hash_unroll) unroll;
    fault (*check)(const qvds_hash &);
};
constexpr Family families[] = {
    {"hash", false, qvds_hash_store, qvds_hash_storereplace, qvds_hash_searchinsert,
     qvds_hash_extract, qvds_hash_unroll, check_hash},
    {"hash2", true, qvds_hash2_store, qvds_hash2_storereplace, qvds_hash2_searchinsert,
     qvds_hash2_extract, qvds_hash2_unroll, check_hash2},
};

// Three buckets, and items named by letters: a, d, g and j belong in the first bucket, b in the
// second, c and f in the last. A capital letter is an item equal to the small one's.
struct Small {
    explicit Small(const Family &which) : family(which) {
        qvds_hash_init(&table, buckets, hash, 3);
    }
    const Family &family;
    void *buckets[3]{};
    qvds_hash table{};
    std::deque<Item> items;

    Item *item(char name) {
        const auto key = static_cast<size_t>(std::tolower(name) - 'a');
        return &items.emplace_back(Item{{&untouched, &untouched}, key, name});
    }
    void store(const std::string &names) {
        for (const char name : names)
            family.store(&table, item(name));
        asked.clear();
    }
    // The items of all chains, each of which ends with a bar.
    std::string chains() const {
        if (const fault found = family.check(table); found != sound)
            return testing::PrintToString(found);
        std::string all;
        for (const void *item : buckets) {
            for (; item != nullptr; item = static_cast<const Item *>(item)->node.next)
                all += name_of(item);
            all += '|';
        }
        asked.clear();
        return all;
    }
};

// Calls body(small, its family) on an empty table of each family.
template <class Body>
void for_each_family(Body body) {
    for (const Family &family : families) {
        SCOPED_TRACE(family.name);
        Small small(family);
        body(small, family);
    }
}

constexpr int32_t stop = INT32_MIN; // what a visit returns to end the walk

// A visit that notes names, spoils the links, and stops once there are as many as it may note.
struct Visits {
    size_t limit;
    std::string names{};

    static int32_t note(void *item, void *visits) {
        auto &[limit, names] = *static_cast<Visits *>(visits);
        names += name_of(item);
        if (item != nullptr)
            static_cast<Item *>(item)->node = {};
        return names.size() == limit ? stop : 0;
    }
};

} // namespace

TEST(Hash, InitSetsTheRecordAndNotTheArray) {
    Item *bucket = nullptr;
    void *const buckets[] = {&bucket};
    qvds_hash table;
    qvds_hash_init(&table, const_cast<void **>(buckets), key_of, 1);
    EXPECT_EQ(table.buckets, buckets);
    EXPECT_EQ(table.hash, key_of);
    EXPECT_EQ(table.size, 1U);
    EXPECT_EQ(buckets[0], &bucket);
}

TEST(Hash, BucketIsTheWholeUnsignedHashModuloSize) {
    constexpr size_t beyond_32_bits = size_t{1} << 32, top_bit = size_t{1} << 63;
    const struct {
        size_t hash, size, bucket;
    } cases[] = {{7, 1, 0},        {7, 5, 2},          {7, 4, 3},
                 {SIZE_MAX, 3, 0}, {SIZE_MAX, 4, 3},   {beyond_32_bits, 3, 1},
                 {top_bit, 10, 8}, {top_bit + 1, 2, 1}};
    for (const auto &[hash, size, bucket] : cases) {
        Item item{{}, hash};
        std::vector<void *> buckets(size);
        qvds_hash table{buckets.data(), key_of, size};
        qvds_hash_store(&table, &item);
        EXPECT_EQ(buckets[bucket], &item) << hash << " modulo " << size;
    }
}

TEST(Hash, OperationsAskForTheHashOnceAndCompareUpToTheFirstMatch) {
    using operation = void *(Small &, Item *);
    operation *const store = [](Small &s, Item *i) { return s.family.store(&s.table, i); };
    operation *const retrieve = [](Small &s, Item *i) {
        return qvds_hash_retrieve(&s.table, i, compare);
    };
    operation *const storereplace = [](Small &s, Item *i) {
        return s.family.storereplace(&s.table, i, compare);
    };
    operation *const searchinsert = [](Small &s, Item *i) {
        return s.family.searchinsert(&s.table, i, compare);
    };
    operation *const extract = [](Small &s, Item *i) {
        return s.family.extract(&s.table, i, compare);
    };
    const struct {
        const char *what;
        operation *run;
        char given, result;
        const char *asked, *chains;
    } cases[] = {
        {"adds in front", store, 'd', 'd', "d ", "dgDda|||"},
        {"takes the place", storereplace, 'd', 'D', "d d?g d?D ", "gdda|||"},
        {"adds at the end", storereplace, 'j', 'j', "j j?g j?D j?d j?a ", "gDdaj|||"},
        {"adds to an empty chain", storereplace, 'b', 'b', "b ", "gDda|b||"},
        {"finds", searchinsert, 'd', 'D', "d d?g d?D ", "gDda|||"},
        {"adds at the end", searchinsert, 'j', 'j', "j j?g j?D j?d j?a ", "gDdaj|||"},
        {"finds", retrieve, 'd', 'D', "d d?g d?D ", "gDda|||"},
        {"finds nothing", retrieve, 'j', '-', "j j?g j?D j?d j?a ", "gDda|||"},
        {"takes out", extract, 'd', 'D', "d d?g d?D ", "gda|||"},
        {"takes out nothing", extract, 'b', '-', "b ", "gDda|||"},
    };
    for (const Family &family : families)
        for (const auto &[what, run, given, result, expected, chains] : cases) {
            SCOPED_TRACE(std::string(family.name) + " " + what + ": " + given);
            Small small(family);
            small.store("adDg");
            Item *const item = small.item(given);
            EXPECT_EQ(name_of(run(small, item)), result);
            EXPECT_EQ(asked, expected);
            EXPECT_EQ(small.chains(), chains);
        }
}

TEST(Hash, WhatIsTakenOutKeepsItsLinks) {
    for_each_family([](Small &small, const Family &family) {
        small.store("adg");
        const Item &d = small.items[1];
        const qvds_node links = d.node;
        family.storereplace(&small.table, small.item('d'), compare);
        EXPECT_EQ(d.node.next, links.next);
        EXPECT_EQ(d.node.prev, links.prev);
        const Item &replacement = small.items.back();
        family.extract(&small.table, &d, compare);
        EXPECT_EQ(replacement.node.next, links.next);
        EXPECT_EQ(replacement.node.prev, links.prev);
        EXPECT_EQ(links.prev != &untouched, family.has_back_links);
    });
}

TEST(Hash2, UnlinkKeepsTheLinksToo) {
    Small small(families[1]);
    small.store("adg");
    Item &middle = small.items[1];
    const qvds_node links = middle.node;
    EXPECT_EQ(qvds_hash2_unlink(nullptr, &middle), &middle);
    EXPECT_EQ(middle.node.next, links.next);
    EXPECT_EQ(middle.node.prev, links.prev);
    EXPECT_EQ(small.chains(), "ga|||");
}

TEST(Hash, EnumVisitsBucketByBucketUntilToldToStop) {
    for (size_t limit = 1; limit != 6; ++limit) {
        Small small(families[0]);
        small.store("adcf");
        Visits visits{limit};
        EXPECT_EQ(qvds_hash_enum(&small.table, Visits::note, &visits), limit <= 4 ? stop : 0);
        EXPECT_EQ(visits.names, std::string("dafc").substr(0, limit));
    }
}

TEST(Hash, ChainEnumVisitsTheFirstOfEveryBucketUntilToldToStop) {
    for (size_t limit = 1; limit != 5; ++limit) {
        Small small(families[0]);
        small.store("adcf");
        Visits visits{limit};
        EXPECT_EQ(qvds_hash_chain_enum(&small.table, Visits::note, &visits), limit <= 3 ? stop : 0);
        EXPECT_EQ(visits.names, std::string("d-f").substr(0, limit));
    }
}

TEST(Hash, UnrollEmptiesTheTableAndLeavesTheRestWhenStopped) {
    for_each_family([](Small &small, const Family &family) {
        small.store("adcf");
        Visits visits{1};
        EXPECT_EQ(family.unroll(&small.table, Visits::note, &visits), stop);
        EXPECT_EQ(visits.names, "d");
        EXPECT_EQ(small.chains(), "a||fc|");
        visits.limit = 100;
        EXPECT_EQ(family.unroll(&small.table, Visits::note, &visits), 0);
        EXPECT_EQ(visits.names, "dafc");
        EXPECT_EQ(small.chains(), "|||");
    });
}

TEST(Hash, HoldsSeventyThousandElementsInAsManyBucketsOrInOne) {
    constexpr size_t count = 70'000;
    const auto count_visit = [](void *, void *visits) -> int32_t {
        ++*static_cast<size_t *>(visits);
        return 0;
    };
    const auto same_key = [](const void *key, const void *stored) -> int32_t {
        return key_of(key) != key_of(stored);
    };
    for (const size_t size : {count, size_t{1}}) {
        std::vector<void *> buckets(size);
        std::vector<Item> items(count);
        qvds_hash table;
        qvds_hash_init(&table, buckets.data(), key_of, size);
        for (size_t key = 0; key != count; ++key) {
            items[key].key = key;
            qvds_hash2_store(&table, &items[key]);
        }
        ASSERT_EQ(check_hash2(table), sound);
        EXPECT_EQ(buckets[size - 1], &items[count - 1]);
        EXPECT_EQ(qvds_hash_retrieve(&table, &items[0], same_key), &items[0]);
        size_t visited = 0, unrolled = 0;
        EXPECT_EQ(qvds_hash_enum(&table, count_visit, &visited), 0);
        EXPECT_EQ(visited, count);
        EXPECT_EQ(qvds_hash2_unroll(&table, count_visit, &unrolled), 0);
        EXPECT_EQ(unrolled, count);
    }
}

TEST(Hash, CheckTellsTheBrokenInvariantAndWhere) {
    Small small(families[1]);
    small.store("adgb");
    Item &a = small.items[0], &d = small.items[1], &g = small.items[2];
    EXPECT_EQ(check_hash2(small.table), sound);

    a.node.prev = &small.buckets[0];
    EXPECT_EQ(check_hash2(small.table), (fault{3, &a}));
    EXPECT_EQ(check_hash(small.table), sound);
    a.key = 1;
    EXPECT_EQ(check_hash(small.table), (fault{2, &a}));
    a.key = 0;
    for (Item *back_to : {&a, &d, &g}) {
        a.node.next = back_to;
        EXPECT_EQ(check_hash(small.table).invariant, 1);
    }
}

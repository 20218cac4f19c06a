#include <qvds/hash2.h>
#include <qvds/hash2.hpp>

#include <algorithm>
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

bool is_untouched(const Item &item) {
    return item.node.next == &untouched && item.node.prev == &untouched;
}
size_t key_of(const void *item) {
    return static_cast<const Item *>(item)->key;
}
char name_of(const void *item) {
    return item != nullptr ? static_cast<const Item *>(item)->name : '-';
}
int32_t compare(const void *key, const void *stored) {
    return static_cast<int32_t>(key_of(key) - key_of(stored));
}

// The operations of the two families, and the ways to reach them. The tests go through each, and the
// driver through those of one family by turns.
struct Face {
    const char *name;
    bool doubly;
    decltype(&qvds_hash_store) store;
    decltype(&qvds_hash_storereplace) storereplace;
    decltype(&qvds_hash_searchinsert) searchinsert;
    decltype(&qvds_hash_retrieve) retrieve;
    decltype(&qvds_hash_extract) extract;
    decltype(&qvds_hash2_unlink) unlink; // null in the singly chained family
    decltype(&qvds_hash_enum) enumerate;
    decltype(&qvds_hash_chain_enum) enumerate_chains;
    decltype(&qvds_hash_unroll) unroll;

    fault check(const qvds_hash &table) const {
        return doubly ? check_hash2(table) : check_hash(table);
    }
};

// The same through views, which choose buckets by the record's callback.
struct MatchesBy {
    qvds_compare_fn compare;
    bool operator()(const Item &key, const Item &stored) const {
        return compare(&key, &stored) == 0;
    }
};
Item &item(void *elem) {
    return *static_cast<Item *>(elem);
}
template <class View>
struct Typed {
    static View view(const qvds_hash *table, qvds_compare_fn compare = nullptr) {
        return View(const_cast<qvds_hash &>(*table), {}, {compare});
    }
    static void *store(qvds_hash *table, void *elem) {
        view(table).store(item(elem));
        return elem;
    }
    static void *storereplace(qvds_hash *table, void *elem, qvds_compare_fn compare) {
        Item *const replaced = view(table, compare).store_or_replace(item(elem));
        return replaced != nullptr ? replaced : elem;
    }
    static void *searchinsert(qvds_hash *table, void *elem, qvds_compare_fn compare) {
        return view(table, compare).insert_or_find(item(elem)).where;
    }
    static void *retrieve(const qvds_hash *table, const void *key, qvds_compare_fn compare) {
        return view(table, compare).find(*static_cast<const Item *>(key));
    }
    static void *extract(qvds_hash *table, const void *key, qvds_compare_fn compare) {
        return view(table, compare).extract(*static_cast<const Item *>(key));
    }
    static void *unlink(qvds_hash * /*table*/, void *elem) {
        View::unlink(item(elem));
        return elem;
    }
    static int enumerate(const qvds_hash *table, qvds_visit_fn visit, void *ctx) {
        auto items = view(table);
        for (auto at = items.begin(); at != items.end();)
            if (const int32_t result = visit(&*at++, ctx))
                return result;
        return 0;
    }
    static int unroll(qvds_hash *table, qvds_visit_fn visit, void *ctx) {
        const auto dispose = [&](Item *elem) {
            if (const int32_t result = visit(elem, ctx))
                throw result;
        };
        try {
            view(table).clear_and_dispose(dispose);
        } catch (int32_t result) {
            return result;
        }
        return 0;
    }
};
using typed =
    Typed<qvds::hash_view<&Item::node, qvds::core::identity{}, qvds::recorded_hash, MatchesBy>>;
using typed2 =
    Typed<qvds::hash2_view<&Item::node, qvds::core::identity{}, qvds::recorded_hash, MatchesBy>>;

constexpr Face faces[] = {
    {"C, hash", false, qvds_hash_store, qvds_hash_storereplace, qvds_hash_searchinsert,
     qvds_hash_retrieve, qvds_hash_extract, nullptr, qvds_hash_enum, qvds_hash_chain_enum,
     qvds_hash_unroll},
    {"C, hash2", true, qvds_hash2_store, qvds_hash2_storereplace, qvds_hash2_searchinsert,
     qvds_hash_retrieve, qvds_hash2_extract, qvds_hash2_unlink, qvds_hash_enum,
     qvds_hash_chain_enum, qvds_hash2_unroll},
    {"typed, hash", false, typed::store, typed::storereplace, typed::searchinsert, typed::retrieve,
     typed::extract, nullptr, typed::enumerate, qvds_hash_chain_enum, typed::unroll},
    {"typed, hash2", true, typed2::store, typed2::storereplace, typed2::searchinsert,
     typed2::retrieve, typed2::extract, typed2::unlink, typed2::enumerate, qvds_hash_chain_enum,
     typed2::unroll},
};
constexpr const Face &doubly_in_c = faces[1];

// Three buckets, and items named by letters: a, d and g belong in the first bucket, b, e and h in
// the second, c, f and i in the last. A capital letter is an item equal to the small one's.
struct Small {
    explicit Small(const Face &which) : face(which) { qvds_hash_init(&table, buckets, key_of, 3); }
    const Face &face;
    void *buckets[3]{};
    qvds_hash table{};
    std::deque<Item> items;

    Item *item(char name) {
        const auto key = static_cast<size_t>(std::tolower(name) - 'a');
        return &items.emplace_back(Item{{&untouched, &untouched}, key, name});
    }
    void store(const std::string &names) {
        for (const char name : names)
            face.store(&table, item(name));
    }
    // The items of all chains, each of which ends with a bar.
    std::string chains() const {
        const fault found = face.check(table);
        EXPECT_EQ(found, sound);
        if (found != sound)
            return "";
        std::string all;
        for (const void *item : buckets) {
            for (; item != nullptr; item = static_cast<const Item *>(item)->node.next)
                all += name_of(item);
            all += '|';
        }
        return all;
    }
};

// Calls body(small, its face) on an empty table for each face.
template <class Body>
void for_each_face(Body body) {
    for (const Face &face : faces) {
        SCOPED_TRACE(face.name);
        Small small(face);
        body(small, face);
    }
}

constexpr int32_t stop = INT32_MIN; // what a visit returns to end the walk

// A visit that notes names, and stops once there are as many as it may note.
struct Visits {
    size_t limit;
    std::string names{};

    static int32_t note(void *item, void *visits) {
        auto &[limit, names] = *static_cast<Visits *>(visits);
        names += name_of(item);
        return names.size() == limit ? stop : 0;
    }
};

} // namespace

TEST(Hash, CheckTellsTheBrokenInvariantAndWhere) {
    Small small(doubly_in_c);
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
    for (const Face &face : faces)
        for (const auto &[hash, size, bucket] : cases) {
            Item item{{}, hash};
            std::vector<void *> buckets(size);
            qvds_hash table{buckets.data(), key_of, size};
            EXPECT_EQ(face.store(&table, &item), &item);
            EXPECT_EQ(buckets[bucket], &item) << hash << " modulo " << size;
        }
}

TEST(Hash, StorePutsTheNewestFirst) {
    for_each_face([](Small &small, const Face &face) {
        small.store("ac");
        Item *const d = small.item('d');
        EXPECT_EQ(face.store(&small.table, d), d);
        small.store("D");
        EXPECT_EQ(small.chains(), "Dda||c|");
    });
}

TEST(Hash, StorereplaceTakesThePlaceOfTheFirstMatchOrTheEnd) {
    for_each_face([](Small &small, const Face &face) {
        small.store("adDg");
        EXPECT_EQ(name_of(face.storereplace(&small.table, small.item('d'), compare)), 'D');
        EXPECT_EQ(small.chains(), "gdda|||");
        EXPECT_EQ(name_of(face.storereplace(&small.table, small.item('j'), compare)), 'j');
        EXPECT_EQ(name_of(face.storereplace(&small.table, small.item('b'), compare)), 'b');
        EXPECT_EQ(small.chains(), "gddaj|b||");
    });
}

TEST(Hash, SearchinsertGivesTheFirstMatchOrAddsAtTheEnd) {
    for_each_face([](Small &small, const Face &face) {
        small.store("adDg");
        EXPECT_EQ(name_of(face.searchinsert(&small.table, small.item('d'), compare)), 'D');
        EXPECT_TRUE(is_untouched(small.items.back()));
        EXPECT_EQ(small.chains(), "gDda|||");
        EXPECT_EQ(name_of(face.searchinsert(&small.table, small.item('j'), compare)), 'j');
        EXPECT_EQ(name_of(face.searchinsert(&small.table, small.item('b'), compare)), 'b');
        EXPECT_EQ(small.chains(), "gDdaj|b||");
    });
}

TEST(Hash, RetrieveFindsTheFirstMatchOrNull) {
    for_each_face([](Small &small, const Face &face) {
        small.store("adDg");
        EXPECT_EQ(name_of(face.retrieve(&small.table, small.item('d'), compare)), 'D');
        EXPECT_EQ(face.retrieve(&small.table, small.item('j'), compare), nullptr);
        EXPECT_EQ(face.retrieve(&small.table, small.item('b'), compare), nullptr);
        EXPECT_EQ(small.chains(), "gDda|||");
    });
}

TEST(Hash, ExtractUnlinksTheFirstMatch) {
    for_each_face([](Small &small, const Face &face) {
        small.store("adDg");
        EXPECT_EQ(name_of(face.extract(&small.table, small.item('d'), compare)), 'D');
        EXPECT_EQ(small.chains(), "gda|||");
        EXPECT_EQ(face.extract(&small.table, small.item('j'), compare), nullptr);
        EXPECT_EQ(face.extract(&small.table, small.item('b'), compare), nullptr);
        EXPECT_EQ(name_of(face.extract(&small.table, small.item('g'), compare)), 'g');
        EXPECT_EQ(small.chains(), "da|||");
    });
}

TEST(Hash2, UnlinkNeedsNoTable) {
    Small small(doubly_in_c);
    small.store("adgb");
    for (Item &item : small.items) {
        const qvds_node links = item.node;
        EXPECT_EQ(qvds_hash2_unlink(nullptr, &item), &item);
        EXPECT_EQ(item.node.next, links.next);
        EXPECT_EQ(item.node.prev, links.prev);
    }
    EXPECT_EQ(small.chains(), "|||");
}

TEST(Hash, EnumVisitsBucketByBucketUntilToldToStop) {
    for_each_face([](Small &small, const Face &face) {
        small.store("adcf");
        for (size_t limit = 1; limit != 6; ++limit) {
            Visits visits{limit};
            EXPECT_EQ(face.enumerate(&small.table, Visits::note, &visits), limit <= 4 ? stop : 0);
            EXPECT_EQ(visits.names, std::string("dafc").substr(0, limit));
        }
    });
}

TEST(Hash, EnumReadsNextBeforeTheVisit) {
    const auto lose_links = [](void *item, void *count) -> int32_t {
        static_cast<Item *>(item)->node = {};
        return ++*static_cast<int *>(count), 0;
    };
    for_each_face([&](Small &small, const Face &face) {
        int count = 0;
        small.store("adcf");
        EXPECT_EQ(face.enumerate(&small.table, lose_links, &count), 0);
        EXPECT_EQ(count, 4);
    });
}

TEST(Hash, ChainEnumVisitsTheFirstOfEveryBucketUntilToldToStop) {
    for_each_face([](Small &small, const Face &face) {
        small.store("adcf");
        for (size_t limit = 1; limit != 5; ++limit) {
            Visits visits{limit};
            EXPECT_EQ(face.enumerate_chains(&small.table, Visits::note, &visits),
                      limit <= 3 ? stop : 0);
            EXPECT_EQ(visits.names, std::string("d-f").substr(0, limit));
        }
    });
}

TEST(Hash, UnrollEmptiesTheTableAndLeavesTheRestWhenStopped) {
    for_each_face([](Small &small, const Face &face) {
        small.store("adcf");
        Visits visits{1};
        EXPECT_EQ(face.unroll(&small.table, Visits::note, &visits), stop);
        EXPECT_EQ(visits.names, "d");
        EXPECT_EQ(small.chains(), "a||fc|");
        visits.limit = 100;
        EXPECT_EQ(face.unroll(&small.table, Visits::note, &visits), 0);
        EXPECT_EQ(visits.names, "dafc");
        EXPECT_EQ(small.chains(), "|||");
    });
}

namespace {

enum class Step { store, storereplace, searchinsert, retrieve, extract, unlink };
constexpr Step steps[] = {Step::store,    Step::storereplace, Step::searchinsert,
                          Step::retrieve, Step::extract,      Step::unlink};

std::vector<const void *> asked; // what the callbacks were given, in order

// Keys differ in the upper half of the hash as well, and the top bit is often set.
size_t scattered(const void *item) {
    return (key_of(item) << 62) + (key_of(item) << 33) + (key_of(item) >> 1);
}
size_t hash_and_note(const void *key) {
    asked.push_back(key);
    return scattered(key);
}
int32_t compare_and_note(const void *key, const void *stored) {
    asked.insert(asked.end(), {key, stored});
    return compare(key, stored);
}

// A table beside a model that keeps each chain as a vector.
struct Driver {
    Driver(bool has_back_links, size_t size, test::Random &choices)
        : doubly(has_back_links), slots(size), chains(size), random(choices) {
        qvds_hash_init(&table, slots.data(), hash_and_note, size);
    }
    bool doubly;
    std::vector<void *> slots;
    std::vector<std::vector<Item *>> chains;
    test::Random &random;
    std::deque<Item> items;
    qvds_hash table{};
    size_t bucket = 0, visits_left = 0; // of an unrolling under way

    static constexpr size_t keys = 24;

    void random_step() { step(steps[random.below(std::size(steps))], random.below(keys)); }

    const Face &any_face() {
        const Face *const face = &faces[random.below(std::size(faces))];
        return face->doubly == doubly ? *face : any_face();
    }

    void step(Step operation, size_t key) {
        const Face &face = any_face();
        Item *const item = &items.emplace_back(Item{{&untouched, &untouched}, key});
        auto &chain = chains[scattered(item) % chains.size()];
        // What a search asks: hash(item), then compare(item, stored) up to the match.
        std::vector<const void *> search{item};
        const auto place = std::find_if(chain.begin(), chain.end(), [&](const Item *stored) {
            search.insert(search.end(), {item, stored});
            return stored->key == key;
        });
        Item *const match = place != chain.end() ? *place : nullptr;
        const qvds_node links = match != nullptr ? match->node : qvds_node{};
        Item *removed = nullptr;
        bool added = false;
        asked.clear();
        switch (operation) {
        case Step::store:
            ASSERT_EQ(face.store(&table, item), item);
            chain.insert(chain.begin(), item);
            search.resize(1);
            added = true;
            break;
        case Step::storereplace:
            ASSERT_EQ(face.storereplace(&table, item, compare_and_note), match ? match : item);
            removed = match;
            chain.insert(match ? chain.erase(place) : place, item);
            added = true;
            break;
        case Step::searchinsert:
            ASSERT_EQ(face.searchinsert(&table, item, compare_and_note), match ? match : item);
            added = match == nullptr;
            if (added)
                chain.push_back(item);
            break;
        case Step::retrieve:
            ASSERT_EQ(face.retrieve(&table, item, compare_and_note), match);
            break;
        case Step::extract:
            ASSERT_EQ(face.extract(&table, item, compare_and_note), match);
            removed = match;
            if (match != nullptr)
                chain.erase(place);
            break;
        case Step::unlink:
            if (face.unlink == nullptr || match == nullptr)
                return;
            ASSERT_EQ(face.unlink(nullptr, match), match);
            removed = match;
            chain.erase(place);
            search.clear();
            break;
        }
        ASSERT_EQ(asked, search);
        if (removed != nullptr) {
            ASSERT_EQ(removed->node.next, links.next);
            ASSERT_EQ(removed->node.prev, links.prev);
        }
        ASSERT_TRUE(added || is_untouched(*item));
        compare_with_model();
    }

    void compare_with_model() {
        ASSERT_EQ(doubly ? check_hash2(table) : check_hash(table), sound);
        for (size_t i = 0; i != slots.size(); ++i) {
            const void *elem = slots[i];
            for (const Item *expected : chains[i]) {
                ASSERT_EQ(elem, expected);
                ASSERT_TRUE(doubly || expected->node.prev == &untouched);
                elem = expected->node.next;
            }
            ASSERT_EQ(elem, nullptr);
        }
    }

    // Empties the table, up to a visit that stops it. Visits store now and then what may go before,
    // at or behind the place of the walk.
    void unroll() {
        const auto visit = [](void *item, void *driver) -> int32_t {
            return static_cast<Driver *>(driver)->take(static_cast<Item *>(item));
        };
        bucket = 0;
        visits_left = 1 + random.below(30);
        const int result = any_face().unroll(&table, visit, this);
        ASSERT_EQ(result, visits_left == 0 ? stop : 0);
        if (result != 0)
            return;
        for (; bucket != chains.size(); ++bucket)
            ASSERT_TRUE(chains[bucket].empty()) << "ended too early";
    }
    int32_t take(Item *item) {
        while (chains.at(bucket).empty())
            ++bucket;
        EXPECT_EQ(item, chains[bucket].front());
        EXPECT_EQ(item->node.next, slots[bucket]);
        EXPECT_EQ(item->node.prev, doubly ? static_cast<void *>(&slots[bucket]) : &untouched);
        chains[bucket].erase(chains[bucket].begin());
        item->node = {};
        compare_with_model();
        if (random.one_in(3))
            step(Step::store, random.below(keys));
        return --visits_left == 0 ? stop : 0;
    }
};

} // namespace

TEST(Hash, FollowsTheModelAtEverySizeOfTableThroughEitherFace) {
    for (const bool has_back_links : {false, true})
        for (const size_t size : {1U, 2U, 3U, 4U, 7U, 16U, 24U})
            test::for_each_seed([&](test::Random &random) {
                Driver driver(has_back_links, size, random);
                for (int i = 0; i != 200; ++i) {
                    driver.random_step();
                    if (random.one_in(25))
                        driver.unroll();
                    ASSERT_FALSE(testing::Test::HasFailure()) << "doubly: " << has_back_links;
                }
            });
}

TEST(Hash, HoldsSeventyThousandElementsInAsManyBucketsOrInOne) {
    constexpr size_t count = 70'000;
    const auto count_visit = [](void *, void *ctx) -> int32_t {
        return ++*static_cast<size_t *>(ctx), 0;
    };
    for (const Face &face : faces)
        for (const size_t size : {count, size_t{1}}) {
            std::vector<void *> buckets(size);
            std::vector<Item> items(count);
            qvds_hash table;
            qvds_hash_init(&table, buckets.data(), key_of, size);
            for (size_t key = 0; key != count; ++key) {
                items[key].key = key;
                face.store(&table, &items[key]);
            }
            ASSERT_EQ(face.check(table), sound);
            EXPECT_EQ(buckets[size - 1], &items[count - 1]);
            EXPECT_EQ(face.retrieve(&table, &items[0], compare), &items[0]);
            EXPECT_EQ(face.extract(&table, &items[0], compare), &items[0]);
            size_t visited = 0, chains = 0, unrolled = 0;
            EXPECT_EQ(face.enumerate(&table, count_visit, &visited), 0);
            EXPECT_EQ(visited, count - 1);
            EXPECT_EQ(face.enumerate_chains(&table, count_visit, &chains), 0);
            EXPECT_EQ(chains, size);
            EXPECT_EQ(face.unroll(&table, count_visit, &unrolled), 0);
            EXPECT_EQ(unrolled, count - 1);
        }
}

#include <qvds/qvds.h>

#include <algorithm>
#include <cstring>
#include <deque>

#include "support.hpp"

namespace {

struct Item {
    qvds_node node;
    size_t key;
};
char untouched; // what the links of an item name before the library first writes them
std::vector<const void *> calls; // what the callbacks were given, in order

// Keys differ in the upper half of the hash as well, and the top bit is often set: a bucket choice
// that drops half of the bits, or takes them as signed, comes out elsewhere.
size_t hash_of(const void *key) {
    const size_t number = static_cast<const Item *>(key)->key;
    return (number << 62) + (number << 33) + (number >> 1);
}
size_t hash_item(const void *key) {
    calls.push_back(key);
    return hash_of(key);
}
int32_t compare_items(const void *key, const void *elem) {
    calls.insert(calls.end(), {key, elem});
    return static_cast<int32_t>(static_cast<const Item *>(key)->key -
                                static_cast<const Item *>(elem)->key);
}

enum { store, storereplace, searchinsert, retrieve, extract, unlink, operations };

// A table of either family beside a model that keeps each chain as a vector.
struct Driver {
    Driver(bool with_prev, size_t size, test::Random &choices)
        : doubly(with_prev), slots(size), chains(size), random(choices) {
        qvds_hash_init(&table, slots.data(), hash_item, size);
    }
    bool doubly;
    std::vector<void *> slots;
    std::vector<std::vector<Item *>> chains;
    test::Random &random;
    std::deque<Item> items;
    qvds_hash table{};
    size_t bucket = 0, calls_left = 0; // of a walk under way

    // What is wrong with the table, or nothing.
    std::string fault() {
        for (size_t i = 0; i != slots.size(); ++i) {
            void **word = &slots[i];
            for (const Item *expected : chains[i]) {
                if (*word != expected)
                    return "I1, I2: not the element that belongs here";
                if (expected->node.prev != (doubly ? static_cast<void *>(word) : &untouched))
                    return "I3: prev is not the address of the word that points here";
                word = static_cast<void **>(*word);
            }
            if (*word != nullptr)
                return "I1: the chain does not end where it should";
        }
        return "";
    }

    void step(size_t operation, size_t key) {
        Item *const item = &items.emplace_back(Item{{&untouched, &untouched}, key});
        auto &chain = chains[hash_of(item) % chains.size()];
        std::vector<const void *> expected{item}; // hashed, then compared up to the match
        auto place = std::find_if(chain.begin(), chain.end(), [&](const Item *stored) {
            expected.insert(expected.end(), {item, stored});
            return stored->key == key;
        });
        Item *const match = place != chain.end() ? *place : nullptr;
        if (operation == unlink && (!doubly || match == nullptr))
            operation = extract;
        if (operation == store || operation == unlink)
            expected.resize(operation == store);
        const bool leaves = match != nullptr && (operation == storereplace || operation >= extract);
        const bool enters = operation <= storereplace || (operation == searchinsert && !match);
        const Item *const outside = leaves ? match : item;
        const qvds_node links = outside->node;

        calls.clear();
        const auto of = [this](auto one, auto two) { return doubly ? two : one; };
        const auto add = operation == storereplace
                             ? of(&qvds_hash_storereplace, &qvds_hash2_storereplace)
                             : of(&qvds_hash_searchinsert, &qvds_hash2_searchinsert);
        const auto remove = of(&qvds_hash_extract, &qvds_hash2_extract);
        const void *const result =
            operation == store      ? of(&qvds_hash_store, &qvds_hash2_store)(&table, item)
            : operation == unlink   ? qvds_hash2_unlink(nullptr, match)
            : operation == retrieve ? qvds_hash_retrieve(&table, item, compare_items)
            : operation == extract  ? remove(&table, item, compare_items)
                                    : add(&table, item, compare_items);
        if (leaves)
            place = chain.erase(place);
        if (enters)
            chain.insert(operation == store ? chain.begin() : place, item);
        ASSERT_EQ(result, enters && !leaves ? item : match);
        ASSERT_EQ(calls, expected);
        ASSERT_EQ(fault(), "");
        ASSERT_TRUE((enters && !leaves) || std::memcmp(&links, outside, sizeof links) == 0);
    }

    // Empties the table, storing now and then an item before, at or behind the place of the walk.
    void unroll() {
        bucket = 0;
        calls_left = 1 + random.below(30);
        const auto take = [](void *elem, void *driver) -> int32_t {
            return static_cast<Driver *>(driver)->take(static_cast<Item *>(elem));
        };
        const int result = (doubly ? qvds_hash2_unroll : qvds_hash_unroll)(&table, take, this);
        ASSERT_EQ(result, calls_left == 0 ? -3 : 0);
        for (; result == 0 && bucket != chains.size(); ++bucket)
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
        step(random.one_in(3) ? store : retrieve, random.below(24));
        return --calls_left == 0 ? -3 : 0;
    }

    // Walks up to a call that stops it. Elements lose their links as soon as they are visited.
    void walk(decltype(qvds_hash_enum) enumerate, std::vector<const void *> expected) {
        size_t stop = 1 + random.below(expected.size() + 1);
        const int status = stop <= expected.size() ? -3 : 0;
        expected.resize(std::min(stop, expected.size()));
        calls.clear();
        const auto visit = [](void *elem, void *last) -> int32_t {
            calls.push_back(elem);
            if (elem != nullptr)
                static_cast<Item *>(elem)->node.next = nullptr;
            return calls.size() == *static_cast<size_t *>(last) ? -3 : 0;
        };
        EXPECT_EQ(enumerate(&table, visit, &stop), status);
        EXPECT_EQ(calls, expected);
    }
};

} // namespace

TEST(Hash, PredicateSeesBrokenInvariants) {
    test::Random random(1);
    Driver driver(true, 1, random);
    driver.step(store, 0);
    driver.items[0].node.prev = nullptr;
    EXPECT_EQ(driver.fault().substr(0, 2), "I3");
    driver.slots[0] = nullptr;
    EXPECT_EQ(driver.fault().substr(0, 2), "I1");
}

TEST(Hash, FollowsModelAtEverySizeOfTable) {
    for (const bool doubly : {false, true})
        for (const size_t size : {1U, 2U, 3U, 4U, 7U, 16U, 24U})
            test::for_each_seed([&](test::Random &random) {
                Driver driver(doubly, size, random);
                for (int i = 0; i != 200 && !testing::Test::HasFailure(); ++i) {
                    driver.step(random.below(operations), random.below(24));
                    if (random.one_in(25))
                        driver.unroll();
                }
                std::vector<const void *> all;
                for (const auto &chain : driver.chains)
                    all.insert(all.end(), chain.begin(), chain.end());
                if (random.one_in(2))
                    driver.walk(qvds_hash_enum, all);
                else
                    driver.walk(qvds_hash_chain_enum, {driver.slots.begin(), driver.slots.end()});
            });
}

#include <qvds/qvds.h>

#include <algorithm>
#include <deque>

#include "support.hpp"

namespace {

struct Item {
    qvds_node node;
    size_t key;
};
char untouched;               // what the links of an item name before the library first writes them
const void *wanted = nullptr; // what the callbacks must be given as key
std::vector<const void *> asked; // the elements that compare, or visit, was given
size_t hash_calls = 0;

// Keys differ in the upper half of the hash as well, and the top bit is often set: a bucket choice
// that drops half of the bits, or takes them as signed, comes out elsewhere.
size_t hash_of(size_t key) {
    return (key << 62) + (key << 33) + (key >> 1);
}
size_t hash_item(const void *key) {
    ++hash_calls;
    EXPECT_EQ(key, wanted);
    return hash_of(static_cast<const Item *>(key)->key);
}
int32_t compare_items(const void *key, const void *elem) {
    EXPECT_EQ(key, wanted);
    asked.push_back(elem);
    return static_cast<const Item *>(key)->key == static_cast<const Item *>(elem)->key ? 0 : -7;
}

enum { store, storereplace, searchinsert, retrieve, extract, unlink, operations };

// A table of either family beside a model that keeps each chain as a vector.
struct Driver {
    Driver(bool with_prev, size_t size) : doubly(with_prev), slots(size), chains(size) {
        qvds_hash_init(&table, slots.data(), hash_item, size);
    }
    bool doubly;
    std::vector<void *> slots;
    std::vector<std::vector<Item *>> chains;
    std::deque<Item> items;
    qvds_hash table{};
    test::Random *random = nullptr;
    size_t bucket = 0, calls_left = 0; // of a walk under way

    // What is wrong with the table, or nothing.
    std::string fault() {
        for (size_t i = 0; i != slots.size(); ++i) {
            void **word = &slots[i];
            for (const Item *expected : chains[i]) {
                if (*word != expected || hash_of(expected->key) % slots.size() != i)
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
        Item &item = items.emplace_back(Item{{&untouched, &untouched}, key});
        auto &chain = chains[hash_of(key) % chains.size()];
        const auto match = std::find_if(chain.begin(), chain.end(),
                                        [key](const Item *stored) { return stored->key == key; });
        Item *const old = match != chain.end() ? *match : nullptr;
        if (operation == unlink && (!doubly || old == nullptr))
            operation = extract;
        const bool leaves = old != nullptr && (operation == storereplace || operation >= extract);
        const bool adds = operation == store || (old == nullptr && operation <= searchinsert);
        const qvds_node links = leaves ? old->node : item.node;
        std::vector<const void *> to_ask(chain.begin(), old != nullptr ? match + 1 : match);
        if (operation == store || operation == unlink)
            to_ask.clear();
        asked.clear();
        wanted = &item;
        hash_calls = 0;
        const auto of = [this](auto one, auto two) { return doubly ? two : one; };
        const auto add = operation == storereplace
                             ? of(&qvds_hash_storereplace, &qvds_hash2_storereplace)
                             : of(&qvds_hash_searchinsert, &qvds_hash2_searchinsert);
        const auto remove = of(&qvds_hash_extract, &qvds_hash2_extract);
        const void *const result =
            operation == store      ? of(&qvds_hash_store, &qvds_hash2_store)(&table, &item)
            : operation == unlink   ? qvds_hash2_unlink(nullptr, old)
            : operation == retrieve ? qvds_hash_retrieve(&table, &item, compare_items)
            : operation == extract  ? remove(&table, &item, compare_items)
                                    : add(&table, &item, compare_items);
        if (adds)
            chain.insert(operation == store ? chain.begin() : chain.end(), &item);
        else if (leaves && operation == storereplace)
            *match = &item;
        else if (leaves)
            chain.erase(match);
        const qvds_node &outside = leaves ? old->node : item.node;
        ASSERT_EQ(result, adds ? &item : old);
        ASSERT_EQ(hash_calls, operation == unlink ? 0U : 1U);
        ASSERT_EQ(asked, to_ask) << "the chain in order, up to the match";
        ASSERT_EQ(fault(), "");
        ASSERT_TRUE(adds || (outside.next == links.next && outside.prev == links.prev));
    }

    // Empties the table, storing now and then an item before, at or behind the place of the walk.
    void unroll() {
        bucket = 0;
        calls_left = 1 + random->below(30);
        const auto take = [](void *elem, void *driver) -> int32_t {
            return static_cast<Driver *>(driver)->take_next(static_cast<Item *>(elem));
        };
        const int result = (doubly ? qvds_hash2_unroll : qvds_hash_unroll)(&table, take, this);
        ASSERT_EQ(result, calls_left == 0 ? -3 : 0);
        ASSERT_TRUE(result != 0 || next_chain() == chains.size()) << "ended too early";
        ASSERT_EQ(fault(), "");
    }
    int32_t take_next(Item *item) {
        auto &chain = chains.at(next_chain());
        EXPECT_EQ(item, chain.front());
        chain.erase(chain.begin());
        EXPECT_EQ(fault(), "") << "the element is out before the call";
        EXPECT_EQ(item->node.next, chain.empty() ? nullptr : chain.front());
        EXPECT_EQ(item->node.prev, doubly ? static_cast<void *>(&slots[bucket]) : &untouched);
        item->node = {};
        if (random->one_in(3))
            step(store, random->below(24));
        return --calls_left == 0 ? -3 : 0;
    }
    size_t next_chain() {
        while (bucket != chains.size() && chains[bucket].empty())
            ++bucket;
        return bucket;
    }
};

} // namespace

TEST(Hash, PredicateSeesBrokenInvariants) {
    Driver driver(true, 1);
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
                Driver driver(doubly, size);
                driver.random = &random;
                for (int i = 0; i != 300 && !testing::Test::HasFailure(); ++i) {
                    driver.step(random.below(operations), random.below(24));
                    if (random.one_in(25))
                        driver.unroll();
                }
            });
}

TEST(Hash, WalksVisitInOrderAndStopWhereTold) {
    for (size_t stop = 1; stop != 6; ++stop)
        for (const bool chains : {false, true}) {
            Driver driver(false, 4); // in which the keys 4, 0 and 8 have buckets 2, 0 and 0
            for (const size_t key : {4U, 0U, 8U})
                driver.step(store, key);
            const void *const of_4 = &driver.items[0], *const of_0 = &driver.items[1],
                              *const of_8 = &driver.items[2];
            std::vector<const void *> seen{of_8, nullptr, of_4, nullptr};
            if (!chains)
                seen = {of_8, of_0, of_4};
            asked.clear();
            const auto look = [](void *elem, void *last) -> int32_t {
                asked.push_back(elem);
                if (elem != nullptr) // its link is the callback's from now on
                    static_cast<Item *>(elem)->node.next = nullptr;
                return asked.size() == *static_cast<size_t *>(last) ? -3 : 0;
            };
            EXPECT_EQ((chains ? qvds_hash_chain_enum : qvds_hash_enum)(&driver.table, look, &stop),
                      stop <= seen.size() ? -3 : 0);
            seen.resize(std::min(stop, seen.size()));
            EXPECT_EQ(asked, seen);
        }
}

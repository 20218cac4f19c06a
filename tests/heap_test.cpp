#include <qvds/heap.h>

#include "support.hpp"

#include <sys/mman.h>

#include <set>

namespace {

struct Item {
    int rank;
    uint32_t slot;
};
std::string calls; // "1?2" for a compare of what slots 1 and 2 held, "2x1" for an exchange

void note(const Item *a, const char *call, const Item *b) {
    calls += std::to_string(a->slot) + call + std::to_string(b->slot) + " ";
}
int32_t by_rank(const void *a, const void *b) {
    note(static_cast<const Item *>(a), "?", static_cast<const Item *>(b));
    return static_cast<const Item *>(a)->rank - static_cast<const Item *>(b)->rank;
}
void swap(void **a, void **b) {
    note(static_cast<Item *>(*a), "x", static_cast<Item *>(*b));
    std::swap(static_cast<Item *>(*a)->slot, static_cast<Item *>(*b)->slot);
    std::swap(*a, *b);
}

// Names the invariant that is broken, or nothing.
std::string fault(const qvds_heap &heap) {
    for (uint32_t k = 1; k <= heap.count; ++k) {
        if (heap.swap && static_cast<Item *>(heap.slots[k])->slot != k)
            return "I1";
        if (k > 1 && heap.compare(heap.slots[k / 2], heap.slots[k]) < 0)
            return "I2";
    }
    return "";
}

// Adds an item of each rank, then takes all out; parents and children tie on the way.
TEST(Heap, MakesOtherCallsOrBreaksTiesOtherwise) {
    void *slots[6];
    Item items[5] = {{4, 1}, {6, 2}, {6, 3}, {7, 4}, {4, 5}};
    qvds_heap heap;
    qvds_heap_init(&heap, slots, by_rank, swap, 5);
    calls = "";
    for (Item &item : items)
        EXPECT_EQ(qvds_heap_insert(&heap, &item), 0);
    while (qvds_heap_empty(&heap) == 0)
        qvds_heap_remove_top(&heap);
    EXPECT_EQ(calls, "1?2 2x1 1?3 2?4 4x2 1?2 2x1 2?5 "
                     "1x5 2?3 1?2 1x2 2?4 1x4 2?3 1?3 1x3 1x3 1?2 1x2 1x1 ");
}

// Beside a sorted set; a large heap fetches the items of deep slots ahead.
TEST(Heap, LosesOrderOrTrackOfSlotsUnderRandomChanges) {
    test::for_each_seed([](test::Random &random) {
        const uint32_t capacity = random.one_in(2) ? 5000 : 12;
        std::vector<void *> slots(capacity + 1);
        std::vector<Item> items(4 * capacity);
        std::multiset<int> model;
        qvds_heap heap;
        qvds_heap_init(&heap, slots.data(), by_rank, random.one_in(2) ? swap : nullptr, capacity);
        for (Item &item : items) {
            const int rank = static_cast<int>(random.below(capacity));
            calls = "";
            ASSERT_EQ(qvds_heap_full(&heap), model.size() == capacity);
            ASSERT_EQ(qvds_heap_empty(&heap), model.empty());
            if (model.empty() || (model.size() < capacity && !random.one_in(3))) {
                item = {rank, heap.count + 1};
                model.insert(rank);
                qvds_heap_insert(&heap, &item);
            } else if (random.one_in(2)) {
                const auto k = static_cast<uint32_t>(1 + random.below(heap.count));
                const int old = std::exchange(static_cast<Item *>(slots[k])->rank, rank);
                model.erase(model.find(old));
                model.insert(rank);
                rank > old ? qvds_heap_fix_up(&heap, k) : qvds_heap_fix_down(&heap, k, heap.count);
            } else {
                void *const top = qvds_heap_find_top(&heap);
                ASSERT_EQ(static_cast<Item *>(top)->rank, *model.rbegin());
                ASSERT_EQ(qvds_heap_remove_top(&heap), top);
                model.erase(std::prev(model.end()));
            }
            if (capacity < 100 || random.one_in(500)) {
                ASSERT_EQ(fault(heap), "");
            }
        }
        items[0].rank = 0, items[1].rank = 1;
        slots[heap.count = 1] = &items[0], slots[heap.count = 2] = &items[1];
        EXPECT_EQ(fault(heap), heap.swap ? "I1" : "I2");
    });
}

// All slots there can be, of which only the pages in use exist. In 32 bits, the children of slot
// 2^31 + 2 are slots 4 and 5.
TEST(Heap, MiscountsSlotsAbove31Bits) {
    const uint32_t last = UINT32_MAX, deep = (uint32_t{1} << 31) + 2;
    void *const array = mmap(nullptr, (size_t{last} + 1) * sizeof(void *), PROT_READ | PROT_WRITE,
                             MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
    if (array == MAP_FAILED)
        GTEST_SKIP() << "no address space for 2^32 slots";
    auto **const slots = static_cast<void **>(array);
    const auto by_address = [](const void *a, const void *b) { return (a > b) - (a < b); };
    qvds_heap heap{slots, last - 1, last, by_address, nullptr};
    qvds_heap_insert(&heap, &heap);
    EXPECT_EQ(qvds_heap_remove_top(&heap), &heap);
    slots[5] = &heap;
    qvds_heap_fix_down(&heap, deep, last);
    EXPECT_TRUE(slots[deep] == &heap && slots[5] == nullptr && slots[0] == nullptr);
    munmap(array, (size_t{last} + 1) * sizeof(void *));
}

} // namespace

#include <qvds/heap.h>

#include "support.hpp"

#include <sys/mman.h>

#include <algorithm>
#include <set>

namespace {

struct Item {
    int rank;
    uint32_t slot;
};

void *played[7]; // the slots of a small heap
std::string calls;

void note(const void *a, const char *call, const void *b) {
    const auto slot = [](const void *item) { return std::find(played, played + 7, item) - played; };
    calls += std::to_string(slot(a)) + call + std::to_string(slot(b)) + " ";
}
// An empty slot ranks lowest.
int32_t by_rank(const void *a, const void *b) {
    note(a, "?", b);
    const auto rank = [](const void *i) { return i ? static_cast<const Item *>(i)->rank : -1; };
    return rank(a) - rank(b);
}
void swap(void **a, void **b) {
    note(*a, "x", *b);
    std::swap(static_cast<Item *>(*a)->slot, static_cast<Item *>(*b)->slot);
    std::swap(*a, *b);
}

// Names the invariant that is broken, or nothing.
std::string fault(const qvds_heap &heap) {
    for (uint32_t k = 1; k <= heap.count; ++k) {
        if (heap.swap && static_cast<Item *>(heap.slots[k])->slot != k)
            return "I1 at " + std::to_string(k);
        if (k > 1 && heap.compare(heap.slots[k / 2], heap.slots[k]) < 0)
            return "I2 at " + std::to_string(k);
    }
    return "";
}

// Expects of an operation on a heap of these ranks the calls it makes, "1?2" for a compare of what
// slots 1 and 2 held at that moment and "2x1" for an exchange, and the ranks that it leaves behind.
void expect(const std::string &ranks, void (*run)(qvds_heap *), const std::string &expected) {
    qvds_heap heap;
    qvds_heap_init(&heap, played, by_rank, swap, 6);
    std::vector<Item> items;
    for (const char rank : "_" + ranks)
        items.push_back({rank, static_cast<uint32_t>(items.size())});
    for (Item &item : items)
        played[item.slot] = &item;
    heap.count = static_cast<uint32_t>(ranks.size());
    calls = "";
    run(&heap);
    for (uint32_t k = 0; k <= heap.count; ++k)
        calls += static_cast<char>(static_cast<Item *>(played[k])->rank);
    EXPECT_EQ(calls, expected);
}

TEST(Heap, MakesOtherCallsOrBreaksTiesOtherwise) {
    static Item eight;
    const auto insert_8 = [](qvds_heap *heap) {
        eight = {'8', heap->count + 1};
        EXPECT_EQ(qvds_heap_insert(heap, &eight), 0);
    };
    const auto remove = [](qvds_heap *heap) { qvds_heap_remove_top(heap); };
    const auto up = [](qvds_heap *heap) { qvds_heap_fix_up(heap, heap->count); };
    const auto down = [](qvds_heap *heap) { qvds_heap_fix_down(heap, 1, heap->count); };
    expect("", insert_8, "_8");
    expect("8", insert_8, "1?2 _88");
    expect("765", insert_8, "2?4 4x2 1?2 2x1 _8756");
    expect("9", remove, "1x1 _");
    expect("98", remove, "1x2 _8");
    expect("9551", remove, "1x4 2?3 1?2 1x2 _515");
    expect("98765", remove, "1x5 2?3 1?2 1x2 2?4 2x4 _8675");
    expect("", up, "_");
    expect("1", up, "_1");
    expect("555", down, "2?3 1?2 _555");
    expect("123", down, "2?3 1?3 1x3 _321");
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
        for (size_t step = 0; step < items.size() || !model.empty(); ++step) {
            const int rank = static_cast<int>(random.below(capacity));
            ASSERT_EQ(qvds_heap_full(&heap), model.size() == capacity);
            ASSERT_EQ(qvds_heap_empty(&heap), model.empty());
            if (step < items.size() && model.size() < capacity && random.one_in(2)) {
                items[step] = {rank, heap.count + 1};
                model.insert(rank);
                qvds_heap_insert(&heap, &items[step]);
            } else if (!model.empty() && random.one_in(2)) {
                const auto k = static_cast<uint32_t>(1 + random.below(heap.count));
                int &rank_of_k = static_cast<Item *>(slots[k])->rank;
                model.erase(model.find(rank_of_k));
                model.insert(rank);
                const bool rises = rank > rank_of_k;
                rank_of_k = rank;
                rises ? qvds_heap_fix_up(&heap, k) : qvds_heap_fix_down(&heap, k, heap.count);
            } else if (!model.empty()) {
                void *const top = qvds_heap_find_top(&heap);
                ASSERT_EQ(static_cast<Item *>(top)->rank, *model.rbegin());
                ASSERT_EQ(qvds_heap_remove_top(&heap), top);
                ASSERT_EQ(slots[heap.count + 1], top);
                model.erase(std::prev(model.end()));
            }
            if (capacity < 100 || random.one_in(500)) {
                ASSERT_EQ(fault(heap), "");
            }
        }
        items[0].rank = 0, items[1].rank = 1;
        slots[heap.count = 1] = &items[0], slots[heap.count = 2] = &items[1];
        EXPECT_EQ(fault(heap).substr(0, 2), heap.swap ? "I1" : "I2");
    });
}

// All slots there can be, of which only the pages in use exist.
TEST(Heap, MiscountsSlotsAbove31Bits) {
    const uint32_t last = UINT32_MAX, middle = uint32_t{1} << 31;
    const size_t bytes = (size_t{last} + 1) * sizeof(void *);
    void *const array = mmap(nullptr, bytes, PROT_READ | PROT_WRITE,
                             MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
    if (array == MAP_FAILED)
        GTEST_SKIP() << "no address space for 2^32 slots";
    auto **const slots = static_cast<void **>(array);
    Item high{9, 0}, low{1, 0};
    qvds_heap heap{slots, last - 1, last, by_rank, nullptr};
    qvds_heap_insert(&heap, &high);
    EXPECT_EQ(slots[1], &high);
    EXPECT_EQ(qvds_heap_remove_top(&heap), &high);
    // In 32 bits, the children of slot 2^31 + 2 are slots 4 and 5.
    slots[middle + 2] = &low;
    slots[5] = &high;
    qvds_heap_fix_down(&heap, middle + 2, last);
    EXPECT_TRUE(slots[middle + 2] == &high && slots[5] == &low && slots[0] == nullptr);
    munmap(array, bytes);
}

} // namespace

// The heap in C: which calls of compare and swap it makes in which order, what it reads and what it
// never reads. fuzz/heap.cpp runs all operations beside a model.

#include <qvds/heap.h>
#include <qvds/heap.hpp>

#include "fault.hpp"
#include "support.hpp"

#include <sys/mman.h>

#include <algorithm>

using qvds::fault;
using qvds::sound;
using qvds::core::check_heap;

namespace {

struct Item {
    int rank;
    uint32_t slot;
};

// What the heap has called, by the slots that the items stood in: "1?2" for a compare, "2x1" for
// an exchange.
std::string calls;

void note(const Item *a, char call, const Item *b) {
    calls += std::to_string(a->slot) + call + std::to_string(b->slot) + " ";
}
int32_t by_rank(const void *a, const void *b) {
    return static_cast<const Item *>(a)->rank - static_cast<const Item *>(b)->rank;
}
int32_t noted_by_rank(const void *a, const void *b) {
    note(static_cast<const Item *>(a), '?', static_cast<const Item *>(b));
    return by_rank(a, b);
}
void swap_items(void **a, void **b) {
    std::swap(static_cast<Item *>(*a)->slot, static_cast<Item *>(*b)->slot);
    std::swap(*a, *b);
}
void noted_swap(void **a, void **b) {
    note(static_cast<Item *>(*a), 'x', static_cast<Item *>(*b));
    swap_items(a, b);
}

class Heap : public testing::Test {
  protected:
    Heap() { calls.clear(); }

    // Puts items of these ranks behind those in the slots.
    void fill(std::initializer_list<int> ranks) {
        for (const int rank : ranks) {
            Item &item = items[++heap.count];
            item = {rank, heap.count};
            slots[heap.count] = &item;
        }
    }
    // The ranks from slot 1 on, unless an invariant is broken.
    std::string ranks() {
        heap.compare = by_rank;
        if (const fault found = check_heap(heap); found != sound)
            return testing::PrintToString(found);
        std::string all;
        for (uint32_t k = 1; k <= heap.count; ++k)
            all += std::to_string(static_cast<Item *>(slots[k])->rank) + " ";
        return all;
    }

    Item items[9]{};
    void *slots[9]{};
    qvds_heap heap{slots, 0, 8, noted_by_rank, noted_swap};
};

TEST_F(Heap, InitMakesAnEmptyHeap) {
    qvds_heap fresh{nullptr, 7, 7, nullptr, nullptr};
    qvds_heap_init(&fresh, slots, by_rank, swap_items, 8);
    EXPECT_EQ(fresh.slots, slots);
    EXPECT_EQ(fresh.count, 0U);
    EXPECT_EQ(fresh.capacity, 8U);
    EXPECT_EQ(fresh.compare, by_rank);
    EXPECT_EQ(fresh.swap, swap_items);
}

void insert(qvds_heap *heap) {
    static Item item;
    item = {7, heap->count + 1};
    EXPECT_EQ(qvds_heap_insert(heap, &item), 0);
}
void remove_top(qvds_heap *heap) {
    void *const top = qvds_heap_find_top(heap);
    EXPECT_EQ(qvds_heap_remove_top(heap), top);
}
void fix_down(qvds_heap *heap) {
    qvds_heap_fix_down(heap, 1, heap->count);
}

TEST_F(Heap, CallsCompareAndSwapInAFixedOrder) {
    const struct {
        const char *what;
        std::initializer_list<int> ranks;
        void (*operation)(qvds_heap *);
        const char *calls, *result;
    } cases[] = {
        {"lifts past lower ranks", {6, 4, 5}, insert, "2?4 4x2 1?2 2x1 ", "7 6 5 4 "},
        {"stays below an equal rank", {8, 7, 5}, insert, "2?4 ", "8 7 5 7 "},
        {"has nothing to compare with", {}, insert, "", "7 "},
        {"sinks the last", {9, 8, 7, 6, 5}, remove_top, "1x5 2?3 1?2 1x2 2?4 2x4 ", "8 6 7 5 "},
        {"exchanges the only item with itself", {9}, remove_top, "1x1 ", ""},
        {"sinks to the left of equals", {5, 8, 8}, fix_down, "2?3 1?2 1x2 ", "8 5 8 "},
        {"sinks to the higher on the right", {5, 7, 8}, fix_down, "2?3 1?3 1x3 ", "8 7 5 "},
        {"stays above an equal rank", {8, 7, 8}, fix_down, "2?3 1?3 ", "8 7 8 "},
        {"sinks below an only child", {5, 7}, fix_down, "1?2 1x2 ", "7 5 "},
    };
    for (const auto &[what, before, operation, expected_calls, result] : cases) {
        SCOPED_TRACE(what);
        heap.count = 0;
        heap.compare = noted_by_rank;
        fill(before);
        calls.clear();
        operation(&heap);
        EXPECT_EQ(calls, expected_calls);
        EXPECT_EQ(ranks(), result);
    }
}

TEST_F(Heap, FixDownLooksNoFurtherThanItsLastSlot) {
    fill({5, 7, 8});
    qvds_heap_fix_down(&heap, 1, 2);
    EXPECT_EQ(calls, "1?2 1x2 ");
}

TEST_F(Heap, FixDownLooksAtNoSlotWithoutAChild) {
    heap.slots = nullptr;
    qvds_heap_fix_down(&heap, 1, 0);
    qvds_heap_fix_down(&heap, 1, 1);
    qvds_heap_fix_down(&heap, 5, 3);
    qvds_heap_fix_down(&heap, 2, 3);
    EXPECT_EQ(calls, "");
}

TEST_F(Heap, FixUpOfTheTopLooksAtNoSlot) {
    heap.slots = nullptr;
    qvds_heap_fix_up(&heap, 1);
    qvds_heap_fix_up(&heap, 0);
    EXPECT_EQ(calls, "");
}

TEST_F(Heap, ExchangesSlotsItselfWithoutASwapCallback) {
    heap.swap = nullptr;
    fill({8, 6, 7});
    Item item{9, 4};
    qvds_heap_insert(&heap, &item);
    EXPECT_EQ(ranks(), "9 8 7 6 ");
    EXPECT_EQ(qvds_heap_remove_top(&heap), &item);
    EXPECT_EQ(ranks(), "8 6 7 ");
}

// Whatever call of compare throws, each item still stands in a slot.
TEST_F(Heap, AnExceptionOfCompareLosesNoItem) {
    static int calls_left;
    heap.compare = [](const void *a, const void *b) {
        return calls_left-- == 0 ? throw a : by_rank(a, b);
    };
    for (int thrower = 0; thrower < 4; ++thrower) {
        heap.count = 0;
        fill({3, 8, 7, 6, 5});
        calls_left = thrower;
        EXPECT_THROW(qvds_heap_fix_down(&heap, 1, 5), const void *);
        for (uint32_t k = 1; k <= 5; ++k)
            EXPECT_EQ(std::count(slots + 1, slots + 6, &items[k]), 1);
    }
}

TEST_F(Heap, CheckNamesTheBrokenInvariant) {
    fill({9, 8, 7, 8, 9});
    heap.compare = by_rank;
    EXPECT_EQ(check_heap(heap), (fault{2, &items[5]}));
    heap.capacity = 4;
    EXPECT_EQ(check_heap(heap), (fault{1, nullptr}));
}

// An array of slots 1 to `last`, with a page behind it that may not be touched, and one before it
// if the array fills its pages; slot 0 then lies in that.
class GuardedSlots {
  public:
    static constexpr size_t page = 65536; // or a divisor of it, on every Linux

    explicit GuardedSlots(uint32_t last)
        : inside((last * sizeof(void *) + page - 1) / page * page),
          mapping(mmap(nullptr, inside + 2 * page, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0)) {
        EXPECT_NE(mapping, MAP_FAILED);
        EXPECT_EQ(mprotect(begin(), inside, PROT_READ | PROT_WRITE), 0);
        slots = reinterpret_cast<void **>(begin() + inside) - 1 - last;
    }
    GuardedSlots(const GuardedSlots &) = delete;
    GuardedSlots &operator=(const GuardedSlots &) = delete;
    ~GuardedSlots() { munmap(mapping, inside + 2 * page); }

    void **slots = nullptr;

  private:
    char *begin() const { return static_cast<char *>(mapping) + page; }

    size_t inside;
    void *mapping;
};

// A large heap fetches items ahead from deep slots, which must be there.
TEST_F(Heap, FixDownReadsNothingBehindTheArray) {
    Item item{0, 0};
    for (uint32_t last = 4096; last <= 4112; ++last) {
        const GuardedSlots array(last);
        std::fill(array.slots + 1, array.slots + last + 1, &item);
        heap = {array.slots, last, last, by_rank, nullptr};
        for (uint32_t k = 1; k <= last; ++k)
            qvds_heap_fix_down(&heap, k, last);
        EXPECT_EQ(check_heap(heap), sound);
    }
}

TEST_F(Heap, SeventyThousandItemsComeOutByRankThroughEitherFace) {
    const uint32_t count = 70'000;
    const GuardedSlots array(count);
    std::vector<Item> many(count);
    qvds_heap_init(&heap, array.slots, by_rank, swap_items, count);
    for (uint32_t i = 0; i < count; ++i) {
        many[i] = {static_cast<int>(uint64_t{i} * 48'271 % count), heap.count + 1};
        qvds_heap_insert(&heap, &many[i]);
    }
    qvds::heap_view<Item, &Item::rank, &Item::slot> typed(heap);
    EXPECT_TRUE(typed.full());
    for (int rank = count - 1; rank >= 0; --rank) {
        const void *const top = rank % 2 == 0 ? qvds_heap_remove_top(&heap) : typed.pop();
        ASSERT_EQ(static_cast<const Item *>(top)->rank, rank);
    }
    EXPECT_EQ(qvds_heap_empty(&heap), 1);
}

// All slots there can be, of which only the pages in use exist.
TEST_F(Heap, NumbersSlotsIn32Bits) {
    constexpr uint32_t last = UINT32_MAX;
    constexpr size_t size = (size_t{last} + 1) * sizeof(void *);
    void *const array = mmap(nullptr, size, PROT_READ | PROT_WRITE,
                             MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
    if (array == MAP_FAILED)
        GTEST_SKIP() << "no address space for 2^32 slots";
    auto **const all = static_cast<void **>(array);
    const auto by_address = [](const void *a, const void *b) { return (a > b) - (a < b); };
    heap = {all, last - 1, last, by_address, nullptr};
    qvds_heap_insert(&heap, &heap);
    EXPECT_EQ(qvds_heap_remove_top(&heap), &heap);
    EXPECT_EQ(all[last], &heap);
    all[last / 2] = &heap + 1;
    qvds_heap_insert(&heap, &heap);
    EXPECT_EQ(all[last], &heap) << "below its parent";

    const uint32_t deep = (uint32_t{1} << 31) + 2; // its children are slots 4 and 5
    all[5] = &heap;
    qvds_heap_fix_down(&heap, deep, last);
    EXPECT_EQ(all[deep], &heap);
    EXPECT_EQ(all[5], nullptr);
    EXPECT_EQ(all[0], nullptr);
    munmap(array, size);
}

} // namespace

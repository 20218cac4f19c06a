#include <qvds/heap.h>
#include <qvds/heap.hpp>

#include "fault.hpp"
#include "support.hpp"

#include <sys/mman.h>

#include <algorithm>
#include <set>

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
    qvds_heap fresh;
    qvds_heap_init(&fresh, slots, by_rank, swap_items, 8);
    EXPECT_EQ(fresh.slots, slots);
    EXPECT_EQ(fresh.count, 0U);
    EXPECT_EQ(fresh.capacity, 8U);
    EXPECT_EQ(fresh.compare, by_rank);
    EXPECT_EQ(fresh.swap, swap_items);
}

TEST_F(Heap, IsEmptyWithoutItemsAndFullAtItsCapacity) {
    heap.capacity = 3;
    EXPECT_EQ(qvds_heap_empty(&heap), 1);
    EXPECT_EQ(qvds_heap_full(&heap), 0);
    fill({9, 8});
    EXPECT_EQ(qvds_heap_empty(&heap), 0);
    EXPECT_EQ(qvds_heap_full(&heap), 0);
    fill({7});
    EXPECT_EQ(qvds_heap_full(&heap), 1);
}

TEST_F(Heap, InsertLiftsTheItemPastParentsOfLowerRank) {
    fill({8, 6, 7});
    Item item{9, 4};
    EXPECT_EQ(qvds_heap_insert(&heap, &item), 0);
    EXPECT_EQ(calls, "2?4 4x2 1?2 2x1 ");
    EXPECT_EQ(ranks(), "9 8 7 6 ");
}

TEST_F(Heap, InsertLeavesTheItemBelowAParentOfEqualRank) {
    fill({8, 6, 7});
    Item item{6, 4};
    qvds_heap_insert(&heap, &item);
    EXPECT_EQ(calls, "2?4 ");
    EXPECT_EQ(slots[4], &item);
}

TEST_F(Heap, InsertIntoAnEmptyHeapCallsNothing) {
    Item item{1, 1};
    qvds_heap_insert(&heap, &item);
    EXPECT_EQ(calls, "");
    EXPECT_EQ(qvds_heap_find_top(&heap), &item);
}

TEST_F(Heap, RemoveTopSinksTheLastItem) {
    fill({9, 8, 7, 6, 5});
    EXPECT_EQ(qvds_heap_remove_top(&heap), &items[1]);
    EXPECT_EQ(calls, "1x5 2?3 1?2 1x2 2?4 2x4 ");
    EXPECT_EQ(ranks(), "8 6 7 5 ");
}

TEST_F(Heap, RemoveTopOfTheOnlyItemExchangesItWithItself) {
    fill({9});
    EXPECT_EQ(qvds_heap_remove_top(&heap), &items[1]);
    EXPECT_EQ(calls, "1x1 ");
    EXPECT_EQ(heap.count, 0U);
}

TEST_F(Heap, FixDownTakesTheLeftOfTwoEqualChildren) {
    fill({5, 8, 8});
    qvds_heap_fix_down(&heap, 1, 3);
    EXPECT_EQ(calls, "2?3 1?2 1x2 ");
    EXPECT_EQ(ranks(), "8 5 8 ");
}

TEST_F(Heap, FixDownTakesTheRightChildOfHigherRank) {
    fill({5, 7, 8});
    qvds_heap_fix_down(&heap, 1, 3);
    EXPECT_EQ(calls, "2?3 1?3 1x3 ");
    EXPECT_EQ(ranks(), "8 7 5 ");
}

TEST_F(Heap, FixDownLeavesAnItemAboveChildrenOfEqualRank) {
    fill({8, 7, 8});
    qvds_heap_fix_down(&heap, 1, 3);
    EXPECT_EQ(calls, "2?3 1?3 ");
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

TEST_F(Heap, SeventyThousandItemsComeOutByRank) {
    const uint32_t count = 70'000;
    const GuardedSlots array(count);
    std::vector<Item> many(count);
    qvds_heap_init(&heap, array.slots, by_rank, swap_items, count);
    for (uint32_t i = 0; i < count; ++i) {
        many[i] = {static_cast<int>(uint64_t{i} * 48'271 % count), heap.count + 1};
        qvds_heap_insert(&heap, &many[i]);
    }
    EXPECT_EQ(qvds_heap_full(&heap), 1);
    for (int rank = count - 1; rank >= 0; --rank)
        ASSERT_EQ(static_cast<Item *>(qvds_heap_remove_top(&heap))->rank, rank);
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

// The operations as the driver calls them.
struct heap_face {
    bool (*empty)(const qvds_heap *);
    bool (*full)(const qvds_heap *);
    void (*insert)(qvds_heap *, Item *);
    void *(*find_top)(qvds_heap *);
    void *(*remove_top)(qvds_heap *);
    void (*rank_rises)(qvds_heap *, uint32_t k);
    void (*rank_falls)(qvds_heap *, uint32_t k);
    void (*erase)(qvds_heap *, uint32_t k);
};

Item &item_in(const qvds_heap *heap, uint32_t k) {
    return *static_cast<Item *>(heap->slots[k]);
}
const heap_face c_face{
    .empty = [](const qvds_heap *heap) { return qvds_heap_empty(heap) == 1; },
    .full = [](const qvds_heap *heap) { return qvds_heap_full(heap) == 1; },
    .insert =
        [](qvds_heap *heap, Item *item) {
            item->slot = heap->count + 1;
            EXPECT_EQ(qvds_heap_insert(heap, item), 0);
        },
    .find_top = [](qvds_heap *heap) { return qvds_heap_find_top(heap); },
    .remove_top = qvds_heap_remove_top,
    .rank_rises = qvds_heap_fix_up,
    .rank_falls = [](qvds_heap *heap, uint32_t k) { qvds_heap_fix_down(heap, k, heap->count); },
    .erase =
        [](qvds_heap *heap, uint32_t k) {
            const uint32_t last = heap->count--;
            if (k == last)
                return;
            heap->slots[k] = heap->slots[last];
            item_in(heap, k).slot = k;
            qvds_heap_fix_up(heap, k);
            qvds_heap_fix_down(heap, k, heap->count);
        },
};

template <auto Slot>
auto typed(const qvds_heap *heap) {
    return qvds::heap_view<Item, &Item::rank, Slot>(const_cast<qvds_heap &>(*heap));
}
const auto update_typed = [](qvds_heap *heap, uint32_t k) {
    typed<&Item::slot>(heap).update(item_in(heap, k));
};
const heap_face typed_face{
    .empty = [](const qvds_heap *heap) { return typed<&Item::slot>(heap).empty(); },
    .full = [](const qvds_heap *heap) { return typed<&Item::slot>(heap).full(); },
    .insert = [](qvds_heap *heap,
                 Item *item) { EXPECT_TRUE(typed<&Item::slot>(heap).push(*item)); },
    .find_top = [](qvds_heap *heap) -> void * { return typed<&Item::slot>(heap).top(); },
    .remove_top = [](qvds_heap *heap) -> void * { return typed<&Item::slot>(heap).pop(); },
    .rank_rises = update_typed,
    .rank_falls = update_typed,
    .erase = [](qvds_heap *heap, uint32_t k) { typed<&Item::slot>(heap).erase(item_in(heap, k)); },
};
// Without a slot member there is less.
const heap_face slotless_face{
    .empty = typed_face.empty,
    .full = typed_face.full,
    .insert = [](qvds_heap *heap, Item *item) { EXPECT_TRUE(typed<nullptr>(heap).push(*item)); },
    .find_top = typed_face.find_top,
    .remove_top = [](qvds_heap *heap) -> void * { return typed<nullptr>(heap).pop(); },
    .rank_rises = c_face.rank_rises,
    .rank_falls = c_face.rank_falls,
    .erase = c_face.erase,
};

enum class step { insert, remove_top, change_rank, erase };

// A heap beside a sorted set.
class HeapDriver {
  public:
    HeapDriver(uint32_t capacity, qvds_heap_swap_fn swap) : array(capacity) {
        qvds_heap_init(&heap, array.slots, by_rank, swap, capacity);
    }

    void take(const heap_face &face, step what, uint32_t k, Item *item, int rank) {
        ASSERT_EQ(face.full(&heap), model.size() == heap.capacity);
        ASSERT_EQ(face.empty(&heap), model.empty());
        switch (what) {
        case step::insert:
            item->rank = rank;
            face.insert(&heap, item);
            model.insert(rank);
            break;
        case step::remove_top: {
            void *const top = face.find_top(&heap);
            ASSERT_EQ(static_cast<Item *>(top)->rank, *model.rbegin());
            ASSERT_EQ(face.remove_top(&heap), top);
            model.erase(std::prev(model.end()));
            break;
        }
        case step::change_rank: {
            const int old = std::exchange(item_in(&heap, k).rank, rank);
            model.erase(model.find(old));
            model.insert(rank);
            if (rank > old)
                face.rank_rises(&heap, k);
            else
                face.rank_falls(&heap, k);
            break;
        }
        case step::erase:
            model.erase(model.find(item_in(&heap, k).rank));
            face.erase(&heap, k);
            break;
        }
        ASSERT_EQ(heap.count, model.size());
    }
    void expect_sound() const {
        ASSERT_EQ(check_heap(heap), sound);
        for (uint32_t k = 1; heap.swap != nullptr && k <= heap.count; ++k)
            ASSERT_EQ(static_cast<Item *>(heap.slots[k])->slot, k);
    }
    uint32_t count() const { return heap.count; }

  private:
    GuardedSlots array;
    qvds_heap heap{};
    std::multiset<int> model;
};

void run_random_program(test::Random &random, uint32_t capacity, uint32_t steps_a_check) {
    const bool keeps_slots = random.one_in(2);
    const heap_face &other_face = keeps_slots ? typed_face : slotless_face;
    HeapDriver driver(capacity, keeps_slots ? swap_items : nullptr);
    std::vector<Item> items(4 * capacity);
    for (Item &item : items) {
        const uint32_t count = driver.count();
        const bool grows = count == 0 || (count < capacity && !random.one_in(3));
        const step others[] = {step::remove_top, step::change_rank, step::erase};
        driver.take(random.one_in(2) ? c_face : other_face,
                    grows ? step::insert : others[random.below(std::size(others))],
                    count > 0 ? static_cast<uint32_t>(1 + random.below(count)) : 0, &item,
                    static_cast<int>(random.below(capacity)));
        if (testing::Test::HasFailure())
            return;
        if (random.one_in(steps_a_check))
            driver.expect_sound();
    }
}

TEST_F(Heap, FollowsAModelInRandomProgramsThroughEitherFace) {
    test::for_each_seed([](test::Random &random) {
        for (int program = 0; program < 20; ++program)
            run_random_program(random, 12, 1);
    });
}

// With 8192 slots, slot 0 lies in the page before the array.
TEST_F(Heap, FollowsAModelWhenLarge) {
    test::for_each_seed([](test::Random &random) { run_random_program(random, 8192, 500); });
}

} // namespace

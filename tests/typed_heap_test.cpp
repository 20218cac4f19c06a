// The typed heap: what it offers beyond the C functions. fuzz/heap.cpp runs both on one heap beside
// a model.

#include "typed.hpp"

#include <qvds/heap.hpp>

#include <algorithm>
#include <ranges>

using namespace test;
using qvds::check;
using qvds::sound;

namespace {

struct Task {
    int ranked() const { return rank; }

    int rank;
    uint32_t slot = 0;
};
int rank_of(const Task &task) {
    return task.rank;
}

using plain = qvds::heap<Task, &Task::rank>;
using tracked = qvds::heap<Task, &Task::rank, &Task::slot>;
using view = qvds::heap_view<Task, &Task::rank, &Task::slot>;

static_assert(sizeof(tracked) == sizeof(qvds_heap));
static_assert(std::is_standard_layout_v<tracked>);
static_assert(std::is_trivially_destructible_v<tracked>);
static_assert(std::is_trivially_copyable_v<view>);
static_assert(std::ranges::random_access_range<tracked>);
static_assert(std::ranges::common_range<tracked>);
static_assert(std::ranges::sized_range<tracked>);
static_assert(sizeof(tracked::iterator) == sizeof(void *));
static_assert(std::is_same_v<decltype(*std::declval<tracked &>().begin()), const Task &>);
static_assert(std::is_same_v<decltype(std::declval<const tracked &>().top()), const Task *>);

qvds::heap_slots<2> static_room;
constinit tracked made_at_compile_time(static_room);

template <class Heap>
ints pop_all(Heap &heap) {
    ints ranks;
    while (const Task *task = heap.pop())
        ranks.push_back(task->rank);
    return ranks;
}

class TypedHeap : public testing::Test {
  protected:
    TypedHeap() {
        for (Task &task : tasks)
            EXPECT_TRUE(heap.push(task));
    }

    std::vector<Task> tasks{{3}, {1}, {4}, {1}, {5}, {9}, {2}, {6}};
    qvds::heap_slots<8> room;
    tracked heap{room};
};

// The ranks of all tasks as a heap of another type pops them.
template <class Heap>
ints sorted(std::vector<Task> &tasks, Heap heap) {
    for (Task &task : tasks)
        EXPECT_TRUE(heap.push(task));
    EXPECT_EQ(check(heap), sound);
    return pop_all(heap);
}

TEST_F(TypedHeap, PopsByAnyComparisonAndProjection) {
    const ints falling{9, 6, 5, 4, 3, 2, 1, 1};
    const ints rising(falling.rbegin(), falling.rend());
    EXPECT_EQ(pop_all(heap), falling);
    EXPECT_EQ(sorted(tasks, qvds::heap<Task, &Task::rank, nullptr, std::less<>>(room)), falling);
    EXPECT_EQ(sorted(tasks, qvds::heap<Task, &Task::ranked, nullptr, std::greater<>>(room)),
              rising);
    EXPECT_EQ(sorted(tasks, qvds::heap<Task, rank_of, &Task::slot, std::compare_three_way>(room)),
              falling);
    constexpr auto negated = [](const Task &task) { return -task.rank; };
    EXPECT_EQ(sorted(tasks, qvds::heap<Task, negated>(room)), rising);
}

TEST_F(TypedHeap, ComparisonMayHaveState) {
    const ints order{0, 9, 1, 8, 2, 7, 3, 6, 4, 5};
    const auto by_table = [&order](int a, int b) {
        return order[static_cast<size_t>(a)] < order[static_cast<size_t>(b)];
    };
    const ints by_order{1, 1, 3, 5, 9, 6, 4, 2};
    EXPECT_EQ(sorted(tasks, qvds::heap<Task, &Task::rank, &Task::slot, decltype(by_table)>(
                                room, by_table)),
              by_order);
    struct MoveOnly {
        bool operator()(int a, int b) const { return (*of)[static_cast<size_t>(a)] < b; }
        std::unique_ptr<ints> of = std::make_unique<ints>(ints{0, 1, 2, 3, 4, 5, 6, 7, 8, 9});
    };
    EXPECT_EQ(sorted(tasks, qvds::heap<Task, &Task::rank, nullptr, MoveOnly>(room)).front(), 9);
    using by_function = qvds::heap<Task, &Task::rank, nullptr, bool (*)(int, int)>;
    qvds::heap_slots<8> other_room;
    by_function falling(room, [](int a, int b) noexcept { return a < b; });
    by_function rising(other_room, [](int a, int b) noexcept { return a > b; });
    swap(falling, rising);
    EXPECT_EQ(sorted(tasks, std::move(rising)).front(), 9);
    EXPECT_EQ(sorted(tasks, std::move(falling)).front(), 1);
    int calls = 0;
    auto counting = [calls](int a, int b) mutable { return ++calls, a < b; };
    qvds::heap<Task, &Task::rank, nullptr, decltype(counting)> counted(room, counting);
    EXPECT_TRUE(counted.push(tasks[0]));
    EXPECT_TRUE(counted.push(tasks[2]));
    EXPECT_EQ(counted.pop(), &tasks[2]);
}

TEST_F(TypedHeap, WithoutAnArrayItIsEmptyAndFullUntilItGrows) {
    tracked bare;
    EXPECT_EQ(bare.top(), nullptr);
    EXPECT_EQ(bare.pop(), nullptr);
    EXPECT_EQ(bare.begin(), bare.end());
    EXPECT_FALSE(bare.push(tasks[0]));
    EXPECT_TRUE(bare.grow(static_cast<std::span<void *>>(room)));
    EXPECT_TRUE(bare.push(tasks[0]));
    EXPECT_TRUE(made_at_compile_time.empty());
}

TEST_F(TypedHeap, GrowsIntoAnArrayWithOneSlotMoreThanItHasElements) {
    Task late{10};
    std::vector<void *> too_small(8), as_large(9, &late);
    EXPECT_FALSE(heap.grow(too_small));
    EXPECT_TRUE(heap.grow(as_large));
    EXPECT_EQ(heap.capacity(), 8U);
    EXPECT_FALSE(heap.contains(late)) << "although slot 0 holds its address";
    EXPECT_FALSE(heap.append(late)) << "the heap is full";
    EXPECT_EQ(check(heap), sound);
}

TEST_F(TypedHeap, WalksInTheOrderOfTheSlots) {
    EXPECT_EQ(heap.size(), 8U);
    EXPECT_EQ(heap.end() - heap.begin(), 8);
    EXPECT_EQ(&heap.begin()[0], heap.top());
    EXPECT_TRUE(std::ranges::is_heap(heap, {}, &Task::rank));
    for (auto at = heap.begin(); at != heap.end(); ++at)
        EXPECT_EQ(at->slot, at - heap.begin() + 1);
    EXPECT_EQ(&*(heap.end() - 1), &*(7 + heap.begin()));
}

TEST_F(TypedHeap, ContainsBelievesNoStaleSlot) {
    Task stranger{1, 3}, beyond{1, 9};
    EXPECT_TRUE(heap.contains(tasks[0]));
    EXPECT_FALSE(heap.contains(stranger));
    EXPECT_FALSE(heap.contains(beyond));
    EXPECT_FALSE(heap.contains(Task{1}));
    const Task *const popped = heap.pop();
    EXPECT_FALSE(heap.contains(*popped));
    EXPECT_TRUE(heap.contains(tasks[0]));
    heap.clear();
    EXPECT_FALSE(heap.contains(tasks[0]));
}

TEST_F(TypedHeap, HeapifyTakesOverAFilledArray) {
    std::vector<void *> filled{nullptr};
    for (Task &task : tasks)
        filled.push_back(&task);
    tracked adopted(filled);
    adopted.heapify(7);
    EXPECT_EQ(check(adopted), sound);
    EXPECT_EQ(pop_all(adopted), (ints{9, 5, 4, 3, 2, 1, 1}));
}

TEST_F(TypedHeap, CPopsByTheTypedComparison) {
    qvds::heap<Task, &Task::rank, nullptr, std::greater<>> least_first(room);
    for (Task &task : tasks)
        EXPECT_TRUE(least_first.push(task));
    qvds_heap &record = least_first.c_record();
    EXPECT_EQ(record.swap, nullptr);
    ints ranks;
    while (qvds_heap_empty(&record) == 0)
        ranks.push_back(static_cast<Task *>(qvds_heap_remove_top(&record))->rank);
    EXPECT_EQ(ranks, (ints{1, 1, 2, 3, 4, 5, 6, 9}));
}

TEST_F(TypedHeap, CheckNamesAWrongSlot) {
    tasks[0].slot = 8;
    EXPECT_EQ(check(heap), (qvds::fault{3, &tasks[0]}));
}

// --- A comparison that throws.

int calls_until_throw;
struct throwing_less {
    bool operator()(int a, int b) const {
        return calls_until_throw-- == 0 ? throw std::runtime_error("comparison") : a < b;
    }
};
using throwing_heap = qvds::heap<Task, &Task::rank, &Task::slot, throwing_less>;

struct Operation {
    const char *name;
    void (*run)(throwing_heap &, std::vector<Task> &);
    bool first_is_in_after_a_throw;
};
// Each works on a heap of all tasks but the last; the first ranks highest.
const Operation operations[] = {
    {"push", [](auto &heap, auto &tasks) { (void)heap.push(tasks.back()); }, true},
    {"pop", [](auto &heap, auto &) { heap.pop(); }, true},
    {"erase", [](auto &heap, auto &tasks) { heap.erase(tasks.front()); }, false},
    {"update up",
     [](auto &heap, auto &tasks) {
         tasks[6].rank = 10;
         heap.update(tasks[6]);
     },
     true},
    {"update down",
     [](auto &heap, auto &tasks) {
         tasks[0].rank = 0;
         heap.update(tasks[0]);
     },
     true},
    {"heapify",
     [](auto &heap, auto &tasks) {
         for (Task &task : tasks)
             task.rank = -task.rank;
         heap.heapify();
     },
     true},
};

TEST_F(TypedHeap, AComparisonThatThrowsLosesNoElement) {
    for (const Operation &operation : operations) {
        int throws = 0;
        for (bool threw = true; threw; ++throws) {
            SCOPED_TRACE(std::string(operation.name) + ", call " + std::to_string(throws));
            tasks = {{9}, {8}, {7}, {6}, {5}, {4}, {3}, {9}};
            throwing_heap throwing(room);
            for (size_t i = 0; i < 7; ++i)
                EXPECT_TRUE(throwing.append(tasks[i]));
            calls_until_throw = throws;
            try {
                operation.run(throwing, tasks);
                threw = false;
            } catch (const std::runtime_error &) {
                EXPECT_EQ(throwing.contains(tasks[0]), operation.first_is_in_after_a_throw);
            }
            for (size_t i = 1; i < 7; ++i)
                EXPECT_TRUE(throwing.contains(tasks[i]));
            calls_until_throw = -1;
            throwing.heapify();
            EXPECT_EQ(check(throwing), sound);
        }
        EXPECT_GT(throws, 2) << operation.name << " makes at least two comparisons";
    }
}

} // namespace

// The heap with slots, beside the set of what is in it.

#include "program.hpp"

#include <qvds/check.hpp>

#include <algorithm>
#include <vector>

namespace {

using fuzz::require;

struct task {
    uint32_t slot = 0;
    int rank = 0;
};
using heap_of_tasks = qvds::heap<task, &task::rank, &task::slot>;

enum class step { push, pop, erase, raise, lower, append_and_heapify, rank_anew, grow, count };

class driver {
  public:
    explicit driver(fuzz::program &input) : program(input) {}

    void take_step() {
        in_c = program.one_of_two();
        switch (program.one_of<step>()) {
        case step::push:
            return push();
        case step::pop:
            return pop();
        case step::erase:
            return erase();
        case step::raise:
            return raise();
        case step::lower:
            return lower();
        case step::append_and_heapify:
            return append_and_heapify();
        case step::rank_anew:
            return rank_anew();
        case step::grow:
            return grow();
        case step::count:
            return;
        }
    }

    void expect_as_modelled() {
        fuzz::require_sound(qvds::check(heap));
        require(heap.count() == model.size());
        for (const task *elem : model)
            require(heap.contains(*elem));
        require(heap.empty() == (qvds_heap_empty(&heap.c_record()) != 0));
        require(heap.full() == (qvds_heap_full(&heap.c_record()) != 0));
        require(model.empty() ? heap.top() == nullptr : heap.top()->rank == highest());
    }

  private:
    void push() {
        task *const elem = spare();
        if (elem == nullptr)
            return;
        if (!in_c) {
            require(heap.push(*elem) == (model.size() < heap.capacity()));
        } else if (qvds_heap_full(&heap.c_record()) == 0) {
            elem->slot = heap.count() + 1;
            require(qvds_heap_insert(&heap.c_record(), elem) == 0);
        }
        if (heap.count() > model.size())
            model.push_back(elem);
    }
    void pop() {
        if (in_c && model.empty())
            return;
        const task *const popped =
            in_c ? static_cast<task *>(qvds_heap_remove_top(&heap.c_record())) : heap.pop();
        require(model.empty() ? popped == nullptr : popped->rank == highest());
        std::erase(model, popped);
    }
    void erase() {
        if (model.empty())
            return;
        task *const elem = program.one_from(model);
        if (program.one_of_two())
            elem->rank = some_rank(); // which an erasure does not look at
        if (in_c)
            erase_in_c(*elem);
        else
            heap.erase(*elem);
        std::erase(model, elem);
    }
    // As heap.h says how.
    void erase_in_c(const task &elem) {
        qvds_heap &record = heap.c_record();
        const uint32_t k = elem.slot, last = record.count--;
        if (k == last)
            return;
        auto *const moved = static_cast<task *>(record.slots[last]);
        record.slots[k] = moved;
        moved->slot = k;
        qvds_heap_fix_up(&record, k);
        qvds_heap_fix_down(&record, k, record.count);
    }
    void raise() {
        if (model.empty())
            return;
        task *const elem = program.one_from(model);
        elem->rank += some_rank();
        if (in_c)
            qvds_heap_fix_up(&heap.c_record(), elem->slot);
        else
            heap.update(*elem);
    }
    void lower() {
        if (model.empty())
            return;
        task *const elem = program.one_from(model);
        elem->rank -= some_rank();
        if (in_c)
            qvds_heap_fix_down(&heap.c_record(), elem->slot, heap.count());
        else
            heap.update(*elem);
    }
    void append_and_heapify() {
        for (size_t left = program.below(6); left > 0; --left)
            if (task *const elem = spare(); elem != nullptr && heap.append(*elem))
                model.push_back(elem);
        heapify();
    }
    void rank_anew() {
        for (task *elem : model)
            elem->rank = some_rank();
        heapify();
    }
    void heapify() {
        if (!in_c)
            return heap.heapify();
        for (uint32_t k = heap.count() / 2; k > 0; --k)
            qvds_heap_fix_down(&heap.c_record(), k, heap.count());
    }
    void grow() {
        std::vector<void *> larger(program.below(20));
        if (!heap.grow(larger))
            return require(larger.size() <= model.size());
        room.swap(larger);
    }

    int some_rank() { return static_cast<int>(program.below(12)); }
    int highest() const {
        return (*std::ranges::max_element(model, {}, [](const task *elem) { return elem->rank; }))
            ->rank;
    }
    // An element that is not in the heap, or null, with a rank of its own.
    task *spare() {
        for (task &elem : pool)
            if (std::ranges::count(model, &elem) == 0) {
                elem.rank = some_rank();
                return &elem;
            }
        return nullptr;
    }

    fuzz::program &program;
    bool in_c = false; // whether this step goes through the functions of C
    task pool[24];
    std::vector<void *> room = std::vector<void *>(8);
    heap_of_tasks heap{room};
    std::vector<task *> model;
};

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    fuzz::program program(data, size);
    fuzz::run<driver>(program);
    return 0;
}

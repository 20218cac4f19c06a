// An allocator that fails on demand: the linker's --wrap brings every malloc, calloc and free of
// the library and of the tests themselves here, but not those of the C++ run-time library.

#ifndef QVDS_TESTS_FAILING_ALLOC_HPP
#define QVDS_TESTS_FAILING_ALLOC_HPP

#include <cstddef>

namespace test {

// Tells an attempt whether the allocation that was to fail, with errno ENOMEM, was reached.
struct FailingAlloc {
    [[nodiscard]] bool failed() const { return countdown == 0; }

    static inline size_t countdown = 0; // allocations until the one that fails; 0 for none
};

// Blocks allocated and not released.
size_t live_blocks();

// Calls attempt(failing) with the first allocation failing, then the second, and so on, up to and
// including the first time that it gets by without failing.
template <class Attempt>
void for_each_failing_allocation(Attempt attempt) {
    const FailingAlloc failing;
    size_t n = 0;
    do {
        FailingAlloc::countdown = ++n;
        attempt(failing);
    } while (failing.failed());
    FailingAlloc::countdown = 0;
}

} // namespace test

#endif

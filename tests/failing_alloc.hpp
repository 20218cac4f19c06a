// An allocator that fails on demand, for the families that allocate.
//
// The test-only executable is linked with --wrap for malloc, calloc and free, so that the calls of
// the library and of the tests themselves, but not those of the C++ run-time library, come through
// here.

#ifndef QVDS_TESTS_FAILING_ALLOC_HPP
#define QVDS_TESTS_FAILING_ALLOC_HPP

#include <cstddef>

namespace test {

// While it lives, the n-th allocation from now (1 is the next) fails with errno ENOMEM and all
// others succeed.
class FailingAlloc {
  public:
    explicit FailingAlloc(size_t n) { countdown = n; }
    ~FailingAlloc() { countdown = 0; }
    FailingAlloc(const FailingAlloc &) = delete;
    FailingAlloc &operator=(const FailingAlloc &) = delete;
    // Whether the n-th allocation was reached.
    [[nodiscard]] bool failed() const { return countdown == 0; }

    static inline size_t countdown = 0; // allocations until the one that fails; 0 for none
};

// Blocks allocated and not released.
size_t live_blocks();

// Calls attempt(failing) with the first allocation failing, then the second, and so on, up to and
// including the first time that it gets by without failing. attempt sees from failing.failed()
// which it was.
template <class Attempt>
void for_each_failing_allocation(Attempt attempt) {
    bool failed = true;
    for (size_t n = 1; failed; ++n) {
        const FailingAlloc failing(n);
        attempt(failing);
        failed = failing.failed();
    }
}

} // namespace test

#endif

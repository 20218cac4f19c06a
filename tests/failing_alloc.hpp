// An allocator that fails on demand, for the families that allocate.
//
// The test-only executable links the library's objects with --wrap for malloc, calloc and free, so
// that the library's calls, and none of the C++ run-time library or of GoogleTest, come through
// here.

#ifndef QVDS_TESTS_FAILING_ALLOC_HPP
#define QVDS_TESTS_FAILING_ALLOC_HPP

#include <cstddef>

namespace test {

// While it lives, the n-th allocation from now (1 is the next) fails with errno ENOMEM and all
// others succeed.
class FailingAlloc {
  public:
    explicit FailingAlloc(size_t n);
    ~FailingAlloc();
    FailingAlloc(const FailingAlloc &) = delete;
    FailingAlloc &operator=(const FailingAlloc &) = delete;
    // Whether the n-th allocation was reached.
    [[nodiscard]] bool failed() const;
};

// Blocks that the library has allocated and not released, and all that it ever allocated.
size_t live_blocks();
size_t allocations();

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

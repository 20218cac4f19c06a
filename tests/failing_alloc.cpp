#include "failing_alloc.hpp"

#include <cerrno>

static size_t live = 0;

size_t test::live_blocks() {
    return live;
}

template <class Allocate>
static void *unless_failing(Allocate allocate) {
    size_t &countdown = test::FailingAlloc::countdown;
    const bool fails = countdown != 0 && --countdown == 0;
    if (fails)
        errno = ENOMEM;
    void *const block = fails ? nullptr : allocate();
    live += block != nullptr;
    return block;
}

extern "C" {

void *__real_malloc(size_t size);
void *__real_calloc(size_t count, size_t size);
void __real_free(void *block);

void *__wrap_malloc(size_t size) {
    return unless_failing([=] { return __real_malloc(size); });
}

void *__wrap_calloc(size_t count, size_t size) {
    return unless_failing([=] { return __real_calloc(count, size); });
}

void __wrap_free(void *block) {
    live -= block != nullptr;
    __real_free(block);
}
}

#include "failing_alloc.hpp"

#include <cerrno>

static size_t live = 0;

size_t test::live_blocks() {
    return live;
}

// Whether the allocation that is asked for is the one to fail; else it counts as a block.
static bool fails() {
    size_t &countdown = test::FailingAlloc::countdown;
    if (countdown != 0 && --countdown == 0) {
        errno = ENOMEM;
        return true;
    }
    ++live;
    return false;
}

extern "C" {

void *__real_malloc(size_t size);
void *__real_calloc(size_t count, size_t size);
void __real_free(void *block);

void *__wrap_malloc(size_t size) {
    return fails() ? nullptr : __real_malloc(size);
}

void *__wrap_calloc(size_t count, size_t size) {
    return fails() ? nullptr : __real_calloc(count, size);
}

void __wrap_free(void *block) {
    live -= block != nullptr;
    __real_free(block);
}
}

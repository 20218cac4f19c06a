#include "failing_alloc.hpp"

#include <cerrno>

namespace {

size_t countdown = 0; // allocations until the one that fails; 0 for none
size_t live = 0;
size_t total = 0;

bool must_fail() {
    if (countdown == 0 || --countdown != 0)
        return false;
    errno = ENOMEM;
    return true;
}

void *counted(void *block) {
    live += block != nullptr;
    total += block != nullptr;
    return block;
}

} // namespace

extern "C" {

void *__real_malloc(size_t size);
void *__real_calloc(size_t count, size_t size);
void __real_free(void *block);

void *__wrap_malloc(size_t size) {
    return must_fail() ? nullptr : counted(__real_malloc(size));
}

void *__wrap_calloc(size_t count, size_t size) {
    return must_fail() ? nullptr : counted(__real_calloc(count, size));
}

void __wrap_free(void *block) {
    live -= block != nullptr;
    __real_free(block);
}
}

namespace test {

FailingAlloc::FailingAlloc(size_t n) {
    countdown = n;
}

FailingAlloc::~FailingAlloc() {
    countdown = 0;
}

bool FailingAlloc::failed() const {
    return countdown == 0;
}

size_t live_blocks() {
    return live;
}

size_t allocations() {
    return total;
}

} // namespace test

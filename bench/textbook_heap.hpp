// The heap of the textbooks, as a C library would offer it: a growing array, a compare callback, an
// exchange at every step. Optionally it tells the items where they stand, so that one can be taken
// out of the middle.
#pragma once

#include <cstddef>
#include <cstdint>

namespace textbook {

struct heap {
    void **items; // from 0
    size_t count, room;
    int (*compare)(const void *a, const void *b); // negative when a goes before b
    void (*moved)(void *item, size_t index);      // may be null
};

void init(heap *h, int (*compare)(const void *, const void *), void (*moved)(void *, size_t));
void destroy(heap *h);
void push(heap *h, void *item);
void *top(const heap *h); // null when empty
void *pop(heap *h);
void *remove(heap *h, size_t index);
void update(heap *h, size_t index); // after the item there has changed

} // namespace textbook

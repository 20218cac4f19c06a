#include "textbook_heap.hpp"

#include <cstdlib>

namespace textbook {
namespace {

void place(heap *h, size_t index, void *item) {
    h->items[index] = item;
    if (h->moved != nullptr)
        h->moved(item, index);
}

void exchange(heap *h, size_t a, size_t b) {
    void *const item = h->items[a];
    place(h, a, h->items[b]);
    place(h, b, item);
}

void sift_up(heap *h, size_t k) {
    while (k > 0 && h->compare(h->items[k], h->items[(k - 1) / 2]) < 0) {
        exchange(h, k, (k - 1) / 2);
        k = (k - 1) / 2;
    }
}

void sift_down(heap *h, size_t k) {
    for (size_t c = 2 * k + 1; c < h->count; c = 2 * k + 1) {
        if (c + 1 < h->count && h->compare(h->items[c + 1], h->items[c]) < 0)
            ++c;
        if (h->compare(h->items[c], h->items[k]) >= 0)
            break;
        exchange(h, k, c);
        k = c;
    }
}

} // namespace

void init(heap *h, int (*compare)(const void *, const void *), void (*moved)(void *, size_t)) {
    *h = {nullptr, 0, 0, compare, moved};
}

void destroy(heap *h) {
    std::free(h->items);
}

void push(heap *h, void *item) {
    if (h->count == h->room) {
        h->room = h->room != 0 ? 2 * h->room : 16;
        h->items = static_cast<void **>(std::realloc(h->items, h->room * sizeof *h->items));
    }
    place(h, h->count, item);
    sift_up(h, h->count++);
}

void *top(const heap *h) {
    return h->count != 0 ? h->items[0] : nullptr;
}

void *pop(heap *h) {
    return h->count != 0 ? remove(h, 0) : nullptr;
}

void *remove(heap *h, size_t index) {
    void *const item = h->items[index];
    --h->count;
    if (index != h->count) {
        place(h, index, h->items[h->count]);
        update(h, index);
    }
    return item;
}

void update(heap *h, size_t index) {
    sift_down(h, index);
    sift_up(h, index);
}

} // namespace textbook

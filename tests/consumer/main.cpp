// An outside program in C++: an exception thrown by a callback reaches the caller of the walk.

#include <qvds/qvds.h>

#include <stdexcept>

int main() {
    qvds_node element{};
    qvds_lifo stack;
    qvds_lifo_init(&stack);
    qvds_lifo_push(&stack, &element);
    try {
        qvds_node_enum(
            &stack, [](void *, void *) -> int32_t { throw std::runtime_error("seen"); }, nullptr);
    } catch (const std::runtime_error &) {
        return 0;
    }
    return 1;
}

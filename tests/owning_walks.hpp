// The walks of the owning list and the keyed hash with lambdas that may capture.

#ifndef QVDS_TESTS_OWNING_WALKS_HPP
#define QVDS_TESTS_OWNING_WALKS_HPP

#include <qvds/keyed_hash.h>

namespace test {

template <class Visit>
void *iterate(list_link **head, Visit visit) {
    const auto call = [](void *hook, int32_t index, void *ctx) -> void * {
        return (*static_cast<Visit *>(ctx))(hook, index);
    };
    return list_iterate(head, call, &visit);
}
template <class Visit>
void iterate_del(list_link **head, Visit visit) {
    const auto call = [](void *hook, int32_t index, void *ctx, void *) -> int32_t {
        return (*static_cast<Visit *>(ctx))(hook, index);
    };
    list_iterate_del(head, call, &visit, nullptr);
}

// The same for a table.
template <class Visit>
void *iterate(hashlist *table, Visit visit) {
    const auto call = [](void *value, int32_t index, void *ctx) -> void * {
        return (*static_cast<Visit *>(ctx))(value, index);
    };
    return hash_iterate(table, call, &visit);
}
template <class Visit>
int iterate_del(hashlist *table, Visit visit) {
    const auto call = [](void *value, int32_t index, void *ctx, void *) -> int32_t {
        return (*static_cast<Visit *>(ctx))(value, index);
    };
    return hash_iterate_del(table, call, &visit, nullptr);
}

// A result whose lower half is 0.
inline void *const stop = reinterpret_cast<void *>(uintptr_t{1} << 32);

} // namespace test

#endif

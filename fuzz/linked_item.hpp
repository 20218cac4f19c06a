// The element of the chains and tables: its link is not its first member, so that whoever takes the
// one for the other is found out.

#ifndef QVDS_FUZZ_LINKED_ITEM_HPP
#define QVDS_FUZZ_LINKED_ITEM_HPP

#include <qvds/node.h>

#include <cstddef>

namespace fuzz {

struct item {
    int key = 0;
    qvds_node link{};
};

inline char stray; // what the links of an element name that is in no container yet

inline item *item_at(void *link) {
    return link != nullptr
               ? reinterpret_cast<item *>(static_cast<char *>(link) - offsetof(item, link))
               : nullptr;
}

// What C calls to compare, with the addresses of two links.
inline int32_t by_key(const void *a, const void *b) {
    return item_at(const_cast<void *>(a))->key - item_at(const_cast<void *>(b))->key;
}

} // namespace fuzz

#endif

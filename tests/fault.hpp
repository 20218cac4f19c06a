// What a validity predicate finds: the numbered invariant of the family's header that is broken.

#ifndef QVDS_TESTS_FAULT_HPP
#define QVDS_TESTS_FAULT_HPP

#include <ostream>

namespace qvds {

struct fault {
    int invariant = 0;          // its number in the family's header, 0 if all hold
    const void *elem = nullptr; // the element at which it is broken, null if that is the header

    bool operator==(const fault &) const = default;
};

constexpr fault sound{};

// How GoogleTest prints it.
inline void PrintTo(const fault &found, std::ostream *out) {
    if (found == sound)
        *out << "sound";
    else
        *out << "I" << found.invariant << " is broken at " << found.elem;
}

} // namespace qvds

#endif

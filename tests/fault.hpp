// How GoogleTest prints what a check of the invariants finds.

#ifndef QVDS_TESTS_FAULT_HPP
#define QVDS_TESTS_FAULT_HPP

#include <qvds/core/check.hpp>

#include <ostream>

namespace qvds {

constexpr fault sound{};

inline void PrintTo(const fault &found, std::ostream *out) {
    if (found == sound)
        *out << "sound";
    else
        *out << "I" << found.invariant << " is broken at " << found.element << ": " << found.text;
}

} // namespace qvds

#endif

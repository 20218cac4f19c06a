#ifndef QVDS_BUCKETS_HPP
#define QVDS_BUCKETS_HPP

/// @file
/// Array of buckets for the typed hash tables, hash.hpp and hash2.hpp.
///
///     constinit qvds::buckets<1024> array;
///     constinit qvds::hash<&user::link, &user::id> users(array);
///
/// Where the number is not known at compile time, a table takes any other array of null pointers
/// to void as a std::span<void *>. It must not be an array of pointers to elements: the table reads
/// and writes pointers to void.

#include <span>

namespace qvds {

/// N buckets, empty to begin with. Neither copied nor moved, since a table names it by its address.
/// For the choice of N see hash.h; with the default hash a power of two is best.
template <size_t N>
class buckets {
    static_assert(N > 0, "qvds::buckets: a table needs one bucket at least");

  public:
    constexpr buckets() = default;
    buckets(const buckets &) = delete;
    buckets &operator=(const buckets &) = delete;

    static constexpr size_t size() noexcept { return N; }

    /// What a table takes. Not from a temporary, which would be gone at once.
    constexpr operator std::span<void *>() &noexcept { return slots_; }

  private:
    void *slots_[N]{};
};

} // namespace qvds

#endif

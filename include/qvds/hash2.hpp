#ifndef QVDS_HASH2_HPP
#define QVDS_HASH2_HPP

/// @file
/// Doubly chained hash table of elements of one type: the C++ face of hash2.h, on the same records,
/// and the twin of hash.hpp for elements with two link words.
///
/// Choose it when elements leave by their address: entries that expire, caches that evict, objects
/// that deregister themselves. unlink needs no hash, no comparison, and no table.
///
///     struct user { qvds_node link; uint32_t id; };
///     qvds::buckets<1024> array;
///     qvds::hash2<&user::link, &user::id> users(array);
///
///     users.insert_or_find(ada);
///     if (user *u = users.find(7u))
///         users.unlink(*u);
///     for (auto at = users.begin(); at != users.end();)
///         at = expired(*at) ? users.erase(at) : std::next(at);
///
/// The hook names a qvds_node; everything else that hash.hpp says of arguments, cost, exceptions and
/// iterators holds here, and all of its members but the cursor are here as well. C must add and
/// remove with the functions of hash2.h.

#include <qvds/core/hash2.hpp>
#include <qvds/hash.hpp>
#include <qvds/hash2.h>

namespace qvds {

/// A table through the link that Hook names. Its members are those of core::table (hash.hpp) and these.
template <auto Hook, auto Key = core::identity{}, class Hash = default_hash,
          class Equal = core::natural_equality, class Disposal = core::leave_elements,
          class Record = qvds_hash>
class hash2 : public core::table<core::hash2_links, core::hooked<Hook>, Key, Hash, Equal, Disposal,
                                 Record> {
    using hooked = core::hooked<Hook>;
    using base = core::table<core::hash2_links, hooked, Key, Hash, Equal, Disposal, Record>;
    static_assert(std::is_same_v<typename hooked::link, qvds_node>,
                  "qvds::hash2: the hook must name a qvds_node of the element, as in "
                  "qvds::hash2<&user::link> with struct user { qvds_node link; }");

  public:
    using base::base;
    using typename base::const_iterator;
    using typename base::iterator;
    using typename base::value_type;

    /// Takes out elem, which must be in a table of this type, whichever that is. Constant time, and
    /// never throws.
    static void unlink(value_type &elem) noexcept { core::hash2_unlink(hooked::link_of(elem)); }

    /// Takes out the element at a place. Returns the place of the following one, so that a loop goes
    /// on. Never throws.
    iterator erase(iterator at) noexcept {
        void *const link = at.link();
        ++at;
        core::hash2_unlink(link);
        return at;
    }

    friend void swap(hash2 &a, hash2 &b) noexcept { a.swap(b); }
};

/// The same over a record that lies elsewhere: qvds::hash2_view<&user::link> users(c_table).
template <auto Hook, auto Key = core::identity{}, class Hash = recorded_hash,
          class Equal = core::natural_equality>
using hash2_view = hash2<Hook, Key, Hash, Equal, core::viewed>;

/// A hash2 that can move into a larger array a few buckets at a time, as growing_hash.
template <auto Hook, auto Key = core::identity{}, class Hash = default_hash,
          class Equal = core::natural_equality, class Disposal = core::leave_elements>
using growing_hash2 = hash2<Hook, Key, Hash, Equal, Disposal, core::growing_record>;

} // namespace qvds

#endif

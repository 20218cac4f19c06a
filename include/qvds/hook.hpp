#ifndef QVDS_HOOK_HPP
#define QVDS_HOOK_HPP

/// @file
/// How a typed container knows where in an element its links lie.
///
/// The first template argument of every intrusive container is a hook: a value that names one
/// member of the element's type, and so the type as well. Most often that is a member pointer:
///
///     struct job { qvds_node link; int priority; };
///     qvds::fifo2<&job::link> queue;
///
/// The member may lie anywhere in the element. An element that is in several containers at once
/// has a member for each. Where a member pointer cannot say it, `qvds::hook` does:
///
///     struct timed { qvds_node link; };
///     struct task : timed {};                     // &task::link is a member of timed
///     qvds::fifo2<qvds::hook<task, &timed::link>> tasks;      // elements are tasks
///
///     struct cell { qvds_node links[2]; };        // an element of an array of links
///     qvds::fifo2<qvds::hook<cell, &cell::links, 0>> row;
///     qvds::fifo2<qvds::hook<cell, &cell::links, 1>> column;
///
/// A link in a virtual base is refused: its place in the element is not known at compile time.

#include <qvds/node.h>

#include <type_traits>

namespace qvds {

namespace core {

template <class T, auto Member, size_t Index>
struct named_hook {};

template <class>
inline constexpr bool never = false;

// A member pointer as a pointer to a member of T: what the type `Link T::*` of a member that a base
// class declares is converted to. There is no such conversion from a virtual base.
template <class T, class Link, class Base>
concept reachable_member = requires(Link Base::*member) {
    static_cast<Link T::*>(member);
};

// The way between an element of type T and its link. Inlined, either direction adds a constant.
template <class T, auto Member, size_t Index = 0>
struct hooked_member {
    template <class Link, class Base>
    static Link T::*as_own(Link Base::*member) {
        static_assert(reachable_member<T, Link, Base>,
                      "qvds: the link must not be a member of a virtual base of the element");
        return member;
    }
    template <class Link>
    static std::remove_extent_t<Link> link_type(Link T::*);

    using element = T;
    using link = decltype(link_type(as_own(Member)));

    static ptrdiff_t offset() noexcept {
        static_assert(sizeof(ptrdiff_t) == sizeof(decltype(Member)),
                      "a pointer to a data member is the member's offset");
        return __builtin_bit_cast(ptrdiff_t, as_own(Member)) +
               static_cast<ptrdiff_t>(Index * sizeof(link));
    }
    // The core works on plain addresses, and writes the links of elements that are const to the
    // caller's eyes only where a container is not.
    static void *link_of(const T &elem) noexcept {
        return const_cast<char *>(reinterpret_cast<const char *>(__builtin_addressof(elem))) +
               offset();
    }
    static T *element_at(void *link) noexcept {
        return reinterpret_cast<T *>(static_cast<char *>(link) - offset());
    }
    // The same for a link that may be null.
    static T *element_or_null(void *link) noexcept {
        return link != nullptr ? element_at(link) : nullptr;
    }
};

template <auto Hook, class Kind = std::remove_const_t<decltype(Hook)>>
struct hooked {
    static_assert(never<Kind>, "qvds: a hook is a pointer to a data member, as in &job::link, or a "
                               "qvds::hook<job, &base::link>");
};
template <auto Hook, class Link, class T>
requires(!std::is_function_v<Link>) struct hooked<Hook, Link T::*> : hooked_member<T, Hook> {
};
template <auto Hook, class T, auto Member, size_t Index>
struct hooked<Hook, named_hook<T, Member, Index>> : hooked_member<T, Member, Index> {};

} // namespace core

/// Names the link of elements of type T that Member points to: a member of T or of a base of T; if
/// it is an array, the link with this index.
template <class T, auto Member, size_t Index = 0>
inline constexpr core::named_hook<T, Member, Index> hook{};

} // namespace qvds

#endif

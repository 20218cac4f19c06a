// Which pointers of a user's program may hold the address of a link.
//
// The words of a chain hold the addresses of links, also where the user gave them a type of his
// own: `job *next` in a job, or `job *handle`. What such a word says to its owner is then true only
// if a job begins with its link. That is looked at when the program is compiled.

#ifndef QVDS_CORE_LINK_POINTER_HPP
#define QVDS_CORE_LINK_POINTER_HPP

#include <qvds/hook.hpp>

namespace qvds::core {

#ifdef __clang__
#pragma clang diagnostic push
#pragma clang diagnostic ignored "-Wundefined-internal"
#pragma clang diagnostic ignored "-Wundefined-var-template"
#endif
// An object that is only declared: members have addresses in it, which can be compared before any
// is made.
template <class T>
union declared {
    declared();
    ~declared();
    char nothing;
    T object;
};
template <class T>
struct somewhere {
    static declared<T> place;
};

template <class T, class Link, class Base>
consteval bool is_first_member(Link Base::*member) {
    if constexpr (!std::is_base_of_v<Base, T> || std::is_abstract_v<T>) {
        return false;
    } else {
        const volatile void *const object = &somewhere<T>::place.object;
        return &(somewhere<T>::place.object.*member) == object;
    }
}
#ifdef __clang__
#pragma clang diagnostic pop
#endif

// Whether a pointer to Pointee may hold the address of the link that a hook names: as a pointer to
// void or to the link itself, or as one to the element, or a base of it, that begins with the link.
template <class Pointee, class T, auto Member, size_t Index>
consteval bool may_point_at_link(hooked_member<T, Member, Index> /*hooked*/) {
    if constexpr (std::is_void_v<Pointee>)
        return true;
    else if constexpr (std::is_same_v<Pointee, T> || std::is_base_of_v<Pointee, T>)
        return Index == 0 && is_first_member<Pointee>(Member);
    else
        return std::is_same_v<Pointee, typename hooked_member<T, Member, Index>::link>;
}

} // namespace qvds::core

#endif

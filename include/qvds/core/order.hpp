// Keys, comparisons and projections of the typed classes, and the concepts that they are held to.

#ifndef QVDS_CORE_ORDER_HPP
#define QVDS_CORE_ORDER_HPP

#include <qvds/base.h>

#include <compare>
#include <concepts>
#include <cstddef>
#include <type_traits>

namespace qvds::core {

// The projection of an element onto itself.
struct identity {
    template <class T>
    constexpr T &operator()(T &elem) const noexcept {
        return elem;
    }
};

// What a projection makes of an element: a data member, the result of a member function, or that of
// any other callable.
template <class Projection, class T>
constexpr decltype(auto) project(Projection &&projection, T &elem) {
    using kind = std::remove_cvref_t<Projection>;
    if constexpr (std::is_member_object_pointer_v<kind>)
        return (elem.*projection);
    else if constexpr (std::is_member_function_pointer_v<kind>)
        return (elem.*projection)();
    else
        return projection(elem);
}

template <class A, class B>
concept of_one_sign =
    !std::integral<A> || !std::integral<B> || std::signed_integral<A> == std::signed_integral<B>;

template <class T>
inline constexpr bool character_pointer =
    std::is_same_v<std::decay_t<T>, char *> || std::is_same_v<std::decay_t<T>, const char *>;

// What C can call by its type alone.
template <class Callable>
concept stateless = std::is_empty_v<Callable> && std::is_default_constructible_v<Callable>;

// Orders by <=> where the two have it, else by <.
struct natural_order {
    template <class A, class B>
    constexpr auto operator()(const A &a, const B &b) const {
        static_assert(!character_pointer<A> || !character_pointer<B>,
                      "qvds: pointers to characters would be compared by address; project to a "
                      "std::string_view");
        static_assert(of_one_sign<A, B>,
                      "qvds: a signed and an unsigned key do not compare; convert one of them");
        if constexpr (requires { a <=> b; })
            return a <=> b;
        else
            return a < b;
    }
};

// Whether two keys are equal by ==.
struct natural_equality {
    template <class A, class B>
    constexpr bool operator()(const A &a, const B &b) const {
        static_assert(!character_pointer<A> || !character_pointer<B>,
                      "qvds: pointers to characters would be compared by address; project to a "
                      "std::string_view");
        static_assert(of_one_sign<A, B>,
                      "qvds: a signed and an unsigned key do not compare; convert one of them");
        return a == b;
    }
};

template <class Verdict>
constexpr void check_verdict() {
    static_assert(!std::same_as<Verdict, std::partial_ordering>,
                  "qvds: std::partial_ordering is no order to sort by (a NaN would match any key); "
                  "give a comparison that orders all values, as std::strong_order does");
    static_assert(std::same_as<Verdict, bool> || std::same_as<Verdict, std::strong_ordering> ||
                      std::same_as<Verdict, std::weak_ordering>,
                  "qvds: a comparison gives bool (whether the first is less), std::strong_ordering "
                  "or std::weak_ordering");
}

// Whether a comes before b.
template <class Compare, class A, class B>
constexpr bool is_less(Compare &compare, const A &a, const B &b) {
    using verdict = std::remove_cvref_t<decltype(compare(a, b))>;
    check_verdict<verdict>();
    if constexpr (std::same_as<verdict, bool>)
        return compare(a, b);
    else
        return compare(a, b) < 0;
}

// Where a descent through a tree goes on from a stored key: found() says that it ends there, left()
// if not, that it goes on to the left. Asked in this order, they leave the compiler what it needs to
// choose a child without a branch.
template <class A, class B>
struct turn_by_value {
    A key;
    B stored;
    bool found() const { return key == stored; }
    bool left() const { return key < stored; }
};
template <class Ordering>
struct turn_by_order {
    Ordering order;
    bool found() const { return order == 0; }
    bool left() const { return order < 0; }
};
struct turn_by_less {
    bool below, above;
    bool found() const { return !below && !above; }
    bool left() const { return below; }
};

template <class Compare, class A, class B>
constexpr bool tells_only_less =
    std::same_as<std::remove_cvref_t<std::invoke_result_t<Compare &, const A &, const B &>>, bool>;

// Turns to where key belongs. A comparison that only tells less is asked twice. Of scalars in their
// natural order both questions are put to the machine: what <=> makes of them would be a branch.
template <class Compare, class A, class B>
constexpr auto turn_to(Compare &compare, const A &key, const B &stored) {
    using verdict = std::remove_cvref_t<decltype(compare(key, stored))>;
    check_verdict<verdict>();
    if constexpr (std::same_as<verdict, bool>) {
        const bool below = compare(key, stored);
        return turn_by_less{below, !below && compare(stored, key)};
    } else if constexpr (std::same_as<std::remove_const_t<Compare>, natural_order> &&
                         std::is_scalar_v<A> && std::is_scalar_v<B>) {
        return turn_by_value<A, B>{key, stored};
    } else {
        return turn_by_order<verdict>{compare(key, stored)};
    }
}

// The one or the other, without a branch, as compilers would make of a conditional expression: it
// would be mispredicted at every second level of a search.
template <class T>
QVDS_HIDDEN inline T *pick(bool first, T *one, T *other) {
    const auto one_word = __builtin_bit_cast(uintptr_t, one);
    const auto other_word = __builtin_bit_cast(uintptr_t, other);
    const auto mask = -static_cast<uintptr_t>(first);
    return __builtin_bit_cast(T *, other_word ^ ((one_word ^ other_word) & mask));
}

// -1, 0 or 1 as a comes before b, with it, or behind it. A comparison that only tells less is asked
// twice.
template <class Compare, class A, class B>
constexpr int three_way(Compare &compare, const A &a, const B &b) {
    using verdict = std::remove_cvref_t<decltype(compare(a, b))>;
    check_verdict<verdict>();
    if constexpr (std::same_as<verdict, bool>) {
        return compare(a, b) ? -1 : static_cast<int>(static_cast<bool>(compare(b, a)));
    } else {
        const auto order = compare(a, b);
        return static_cast<int>(order > 0) - static_cast<int>(order < 0);
    }
}

// The predicate that tells an element by its key.
template <class T, class Key, class Projection>
constexpr auto has_key(const Key &key, Projection &projection) {
    return [&](const T &elem) -> bool { return project(projection, elem) == key; };
}

} // namespace qvds::core

#endif

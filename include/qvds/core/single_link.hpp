// What the typed containers of singly linked chains share: a link that may be a single word of the
// element, and iteration.

#ifndef QVDS_CORE_SINGLE_LINK_HPP
#define QVDS_CORE_SINGLE_LINK_HPP

#include <qvds/core/chain.hpp>
#include <qvds/core/link_pointer.hpp>

#include <span> // the lightest home of iterator tags

namespace qvds::core {

// Said of the member alone, and so while the element's type is not complete yet.
template <class Link>
concept single_link = std::is_same_v<Link, qvds_node> || std::is_pointer_v<Link>;

template <auto Hook>
struct single_hooked : hooked<Hook> {
    using typename hooked<Hook>::element;
    using typename hooked<Hook>::link;

    // Every element passes here on its way into a container.
    static void *link_of(const element &elem) noexcept {
        if constexpr (std::is_pointer_v<link>)
            static_assert(may_point_at_link<std::remove_pointer_t<link>>(hooked<Hook>{}),
                          "qvds: a link word holds the address of the next link, so it must be a "
                          "pointer to the element and its first member, as in job *next, or else "
                          "a void *");
        return hooked<Hook>::link_of(elem);
    }
};

// A place in a chain. At the end there is no link.
template <class Hooked, class Element>
class single_link_iterator {
  public:
    using iterator_category = std::forward_iterator_tag;
    using value_type = std::remove_const_t<Element>;
    using difference_type = ptrdiff_t;
    using pointer = Element *;
    using reference = Element &;

    single_link_iterator() = default;
    explicit single_link_iterator(void *link) noexcept : link_(link) {}
    // From an iterator to one whose elements are const.
    template <std::same_as<value_type> Mutable>
    single_link_iterator(const single_link_iterator<Hooked, Mutable> &other) noexcept
        : link_(other.link()) {}

    reference operator*() const noexcept { return *Hooked::element_at(link_); }
    pointer operator->() const noexcept { return Hooked::element_at(link_); }

    single_link_iterator &operator++() noexcept {
        link_ = next_of(link_);
        return *this;
    }
    single_link_iterator operator++(int) noexcept {
        const single_link_iterator before = *this;
        ++*this;
        return before;
    }
    friend bool operator==(const single_link_iterator &, const single_link_iterator &) = default;

    void *link() const noexcept { return link_; }

  private:
    void *link_ = nullptr;
};

} // namespace qvds::core

#endif

// What the typed hash tables are made of, beside the chains: keys, the record with its callback, and
// iterators.

#ifndef QVDS_CORE_TABLE_HPP
#define QVDS_CORE_TABLE_HPP

#include <qvds/core/hash.hpp>
#include <qvds/core/order.hpp>

#include <span> // also the lightest home of iterator tags
#include <utility>

namespace qvds::core {

// An element that is to be in a table, and whether it is new there.
template <class T>
struct insertion {
    T *where;
    bool fresh;
};

// The type of a key. That of a member is known while the element's type is not complete yet.
template <class T, auto Projection>
struct projected {
    using type = std::remove_cvref_t<decltype(project(Projection, std::declval<const T &>()))>;
};
template <class T, class Member, class Base, Member Base::*Projection>
requires(!std::is_function_v<Member>) struct projected<T, Projection> {
    using type = std::remove_cv_t<Member>;
};

// Whether a key can be made of From, and to a number only without a change of the value.
template <class From, class Key>
concept whole_key = std::is_convertible_v<const From &, Key> &&
    (!std::is_arithmetic_v<Key> || requires(const From &from) { Key{from}; });

// What C calls for the hash of a link.
template <class Hooked, auto Key, class Hash>
struct table_hash {
    static size_t call(const void *link) {
        const auto &elem = *Hooked::element_at(const_cast<void *>(link));
        if constexpr (stateless<Hash>)
            return static_cast<size_t>(Hash{}(project(Key, elem)));
        else
            __builtin_trap(); // C is not handed such a table
    }
};

// The record of a table that C++ made, also while it has no array.
template <class Record, class Callback>
struct table_record : Record {
    constexpr table_record() noexcept : table_record(std::span<void *>{}) {}
    explicit constexpr table_record(std::span<void *> array) noexcept
        : Record{qvds_hash{array.data(), Callback::call, array.size()}} {}
};

// A place in a table: a link, and the bucket that its chain hangs on.
template <class Hooked, class Element, class Record>
class table_iterator {
  public:
    using iterator_category = std::forward_iterator_tag;
    using value_type = std::remove_const_t<Element>;
    using difference_type = ptrdiff_t;
    using pointer = Element *;
    using reference = Element &;

    table_iterator() = default;
    // The first element of a bucket or, if that is empty, of those behind it; a null bucket is the
    // end.
    table_iterator(void **bucket, const Record *table) noexcept : bucket_(bucket), table_(table) {
        if (bucket_ != nullptr) {
            link_ = next_of(static_cast<void *>(bucket_));
            skip_empty();
        }
    }
    // From an iterator to one whose elements are const.
    template <std::same_as<value_type> Mutable>
    table_iterator(const table_iterator<Hooked, Mutable, Record> &other) noexcept
        : link_(other.link_), bucket_(other.bucket_), table_(other.table_) {}

    reference operator*() const noexcept { return *Hooked::element_at(link_); }
    pointer operator->() const noexcept { return Hooked::element_at(link_); }

    table_iterator &operator++() noexcept {
        link_ = next_of(link_);
        skip_empty();
        return *this;
    }
    table_iterator operator++(int) noexcept {
        const table_iterator before = *this;
        ++*this;
        return before;
    }
    friend bool operator==(const table_iterator &a, const table_iterator &b) noexcept {
        return a.link_ == b.link_;
    }

    void *link() const noexcept { return link_; }

  private:
    template <class, class, class>
    friend class table_iterator;

    void skip_empty() noexcept {
        while (link_ == nullptr && (bucket_ = next_bucket(table_, bucket_)) != nullptr)
            link_ = next_of(static_cast<void *>(bucket_));
    }

    void *link_ = nullptr;
    void **bucket_ = nullptr;
    const Record *table_ = nullptr;
};

// A place among the elements of a chain that are equal.
template <class Hooked, class Element, auto Key, class Equal>
class equal_iterator {
  public:
    using iterator_category = std::forward_iterator_tag;
    using value_type = std::remove_const_t<Element>;
    using difference_type = ptrdiff_t;
    using pointer = Element *;
    using reference = Element &;

    equal_iterator() = default;
    equal_iterator(void *link, const Equal *equal) noexcept : link_(link), equal_(equal) {}

    reference operator*() const noexcept { return *Hooked::element_at(link_); }
    pointer operator->() const noexcept { return Hooked::element_at(link_); }

    equal_iterator &operator++() {
        const value_type &elem = **this;
        link_ = find_place(link_, [&](void *stored) -> bool {
                    return (*equal_)(project(Key, elem),
                                     project(Key, std::as_const(*Hooked::element_at(stored))));
                }).elem;
        return *this;
    }
    equal_iterator operator++(int) {
        const equal_iterator before = *this;
        ++*this;
        return before;
    }
    friend bool operator==(const equal_iterator &a, const equal_iterator &b) noexcept {
        return a.link_ == b.link_;
    }

  private:
    void *link_ = nullptr;
    const Equal *equal_ = nullptr;
};

template <class Iterator>
class equal_elements {
  public:
    explicit equal_elements(Iterator first) noexcept : first_(first) {}

    Iterator begin() const noexcept { return first_; }
    Iterator end() const noexcept { return {}; }
    [[nodiscard]] bool empty() const noexcept { return first_ == Iterator(); }

  private:
    Iterator first_;
};

} // namespace qvds::core

#endif

// Where a typed container keeps its C record: in itself, or, as a view, elsewhere. What a container
// does is written once for both.

#ifndef QVDS_CORE_OWNER_HPP
#define QVDS_CORE_OWNER_HPP

#include <qvds/dispose.hpp> // so that every family's header brings the disposers it takes

#include <type_traits>
#include <utility>

namespace qvds::core {

// What a container does with its elements when it goes: nothing; nothing, and the record is not its
// own; else it hands each to a default-made object of the type.
struct leave_elements {
    void operator()(const void * /*elem*/) const noexcept {}
};
struct viewed {};

// What a container with storage of its own does with that when it goes, while it leaves the
// elements.
struct release_storage {
    void operator()(const void * /*elem*/) const noexcept {}
};

// The record, and a destructor that Family::dispose_all(record, disposer) works for. A record moved
// from is as one newly made.
template <class Record, class Disposal, class Family>
class owner {
  public:
    constexpr owner() = default;
    explicit constexpr owner(const Record &record) noexcept : record_(record) {}
    owner(owner &&other) noexcept : record_(std::exchange(other.record_, Record{})) {}
    owner &operator=(owner &&other) noexcept {
        if (this != &other) {
            Family::dispose_all(record_, Disposal{});
            record_ = std::exchange(other.record_, Record{});
        }
        return *this;
    }
    ~owner() { Family::dispose_all(record_, Disposal{}); }

    constexpr Record *get() noexcept { return &record_; }
    constexpr const Record *get() const noexcept { return &record_; }

  private:
    Record record_{};
};

// Leaves the elements alone, and so needs no destructor.
template <class Record, class Family>
class owner<Record, leave_elements, Family> {
  public:
    constexpr owner() = default;
    explicit constexpr owner(const Record &record) noexcept : record_(record) {}
    constexpr owner(owner &&other) noexcept : record_(std::exchange(other.record_, Record{})) {}
    constexpr owner &operator=(owner &&other) noexcept {
        record_ = std::exchange(other.record_, Record{});
        return *this;
    }

    constexpr Record *get() noexcept { return &record_; }
    constexpr const Record *get() const noexcept { return &record_; }

  private:
    Record record_{};
};

template <class Record, class Family>
class owner<Record, viewed, Family> {
  public:
    explicit constexpr owner(Record *record) noexcept : record_(record) {}

    constexpr Record *get() noexcept { return record_; }
    constexpr const Record *get() const noexcept { return record_; }

  private:
    Record *record_;
};

} // namespace qvds::core

#endif

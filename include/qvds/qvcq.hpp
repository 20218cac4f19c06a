#ifndef QVDS_QVCQ_HPP
#define QVDS_QVCQ_HPP

/// @file
/// Ring of messages that drops its oldest when it is full: the C++ face of qvcq.h, on the same
/// record.
///
/// Choose it where the newest messages matter and a producer must never wait, fail or allocate.
/// Where no message may be lost, take a queue (fifo.hpp).
///
///     if (auto log = qvds::ring::make(256, 1000)) {
///         log->push(std::as_bytes(std::span(line)));
///         for (std::span<const std::byte> message : *log)
///             print(message);
///     }
///
/// Messages are bytes, up to the size of a block each; for records of one type there is ring_of.
/// The ring owns its storage, all of which is taken by make(): a ring that exists is whole. It is
/// its qvcq and no more; c_record() hands it to C, and ring_view adopts one that C made.
///
/// Unless something else is said, an operation takes constant time, apart from the copying, and
/// never throws. A span of a message stays readable until a push comes round to its block; iterators
/// are worthless once the ring has changed.

#include <qvds/core/owner.hpp>
#include <qvds/qvcq.h>

#include <concepts>
#include <optional>
#include <span>

namespace qvds {

namespace core {

// A message, told by its block, and how many are left from there on.
class ring_iterator {
  public:
    using iterator_category = std::forward_iterator_tag;
    using value_type = std::span<const std::byte>;
    using difference_type = ptrdiff_t;
    using pointer = const value_type *;
    using reference = value_type;

    ring_iterator() = default;
    ring_iterator(const qvcq *ring, int32_t left) noexcept
        : ring_(ring), block_(ring->tail), left_(left) {}

    reference operator*() const noexcept {
        const qvcq_entry &entry = ring_->entries[block_];
        return {static_cast<const std::byte *>(entry.data), static_cast<size_t>(entry.length)};
    }
    ring_iterator &operator++() noexcept {
        block_ = block_ + 1 != ring_->blocks ? block_ + 1 : 0;
        --left_;
        return *this;
    }
    ring_iterator operator++(int) noexcept {
        const ring_iterator before = *this;
        ++*this;
        return before;
    }
    friend bool operator==(const ring_iterator &a, const ring_iterator &b) noexcept {
        return a.left_ == b.left_;
    }

  private:
    const qvcq *ring_ = nullptr;
    int32_t block_ = 0, left_ = 0;
};

} // namespace core

/// The next block of a ring while it is being filled in place. Unless it is committed, the message
/// is taken back in the end. The ring must not be used otherwise meanwhile.
class [[nodiscard]] ring_writer {
  public:
    explicit ring_writer(qvcq &ring) noexcept : ring_(ring) {
        qvcq_enqueue(&ring_, &entry_);
        entry_->length = 0;
    }
    ring_writer(const ring_writer &) = delete;
    ring_writer &operator=(const ring_writer &) = delete;
    ~ring_writer() {
        if (entry_ != nullptr)
            qvcq_cancel(&ring_);
    }

    /// All bytes of the block, with whatever they hold. Not after commit().
    [[nodiscard]] std::span<std::byte> bytes() const noexcept {
        return {static_cast<std::byte *>(entry_->data), static_cast<size_t>(ring_.block_size)};
    }

    /// Leaves the first `length` bytes of the block in the ring, as a message. To be called once,
    /// with no more than bytes() has.
    void commit(size_t length) noexcept {
        entry_->length = static_cast<int32_t>(length);
        entry_ = nullptr;
    }

  private:
    qvcq &ring_;
    qvcq_entry *entry_ = nullptr;
};

/// What ring and ring_view are, the names to use: a ring of bytes, and one over a record that lies
/// elsewhere.
template <class Disposal>
class basic_ring {
    static constexpr bool is_view = std::is_same_v<Disposal, core::viewed>;

  public:
    using value_type = std::span<const std::byte>;
    using size_type = size_t;
    using difference_type = ptrdiff_t;
    using const_iterator = core::ring_iterator;
    using iterator = const_iterator;

    // -- Set up --------------------------------------------------------------------------------

    /// A ring that holds up to `capacity` messages of up to `block_size` bytes; nothing if either
    /// is 0 or more than a ring can count (2^31), or if memory is short.
    template <bool owns = !is_view>
    requires owns [[nodiscard]] static std::optional<basic_ring> make(size_t block_size,
                                                                      size_t capacity) noexcept {
        constexpr size_t most = INT32_MAX;
        basic_ring made;
        // A ring whose blocks were all in use could not be told from an empty one.
        if (block_size == 0 || block_size > most || capacity == 0 || capacity >= most ||
            qvcq_init(&made.c_record(), block_size, capacity + 1) != QVCQ_OK)
            return std::nullopt;
        return made;
    }

    /// A view of a ring that lies elsewhere, as C made it. The record must outlive the view; the
    /// view may be copied.
    template <std::same_as<qvcq> Record>
    requires is_view explicit basic_ring(Record &record) noexcept : ring_(&record) {}

    /// The record, for the functions of qvcq.h. A ring that was moved from has none.
    qvcq &c_record() noexcept { return *ring_.get(); }
    const qvcq &c_record() const noexcept { return *ring_.get(); }

    // -- Look ----------------------------------------------------------------------------------

    [[nodiscard]] bool empty() const noexcept { return size() == 0; }
    /// Messages held.
    [[nodiscard]] size_t size() const noexcept { return static_cast<size_t>(c_record().size); }
    /// The most that are held; one more drops the oldest.
    [[nodiscard]] size_t capacity() const noexcept {
        return static_cast<size_t>(c_record().blocks) - 1;
    }
    /// The most bytes of a message.
    [[nodiscard]] size_t block_size() const noexcept {
        return static_cast<size_t>(c_record().block_size);
    }

    /// The oldest message, or nothing.
    [[nodiscard]] std::optional<value_type> front() const noexcept {
        return empty() ? std::nullopt : std::optional(*begin());
    }

    /// From the oldest message to the newest.
    const_iterator begin() const noexcept { return {&c_record(), c_record().size}; }
    const_iterator end() const noexcept { return {&c_record(), 0}; }

    // -- Put -----------------------------------------------------------------------------------
    // A full ring drops its oldest message without a word.

    /// Adds a copy of a message. Returns false, with nothing done, if it is empty or larger than a
    /// block.
    bool push(value_type message) noexcept {
        return message.size() <= block_size() &&
               qvcq_copyto_queue(&c_record(), message.data(),
                                 static_cast<int32_t>(message.size())) == QVCQ_OK;
    }

    /// Hands out the next block to be filled in place:
    ///
    ///     auto block = ring.write();
    ///     block.commit(fill(block.bytes()));
    /// What is not committed, because an exception came first perhaps, is taken back, but the
    /// message that was dropped for it does not come back. A ring without any block to spare, as
    /// one that was moved from, must not be written to.
    ring_writer write() noexcept { return ring_writer(c_record()); }

    /// Takes back the newest message. Returns false if there is none.
    bool cancel() noexcept {
        const bool any = !empty();
        qvcq_cancel(&c_record());
        return any;
    }

    // -- Take ----------------------------------------------------------------------------------

    /// Takes the oldest message, or nothing. The span is of the block that it lies in.
    std::optional<value_type> pop() noexcept {
        qvcq_entry *entry;
        if (qvcq_dequeue(&c_record(), &entry) != QVCQ_OK)
            return std::nullopt;
        return value_type(static_cast<const std::byte *>(entry->data),
                          static_cast<size_t>(entry->length));
    }

    /// Takes the oldest message and copies it to buffer, as much of it as there is room for; the
    /// rest is lost. Returns the part of buffer that was written, or nothing if there is no message
    /// or no room at all; then nothing is taken.
    std::optional<std::span<std::byte>> pop(std::span<std::byte> buffer) noexcept {
        auto length =
            static_cast<int32_t>(buffer.size() < block_size() ? buffer.size() : block_size());
        if (qvcq_copyfrom_queue(&c_record(), buffer.data(), &length) != QVCQ_OK)
            return std::nullopt;
        return buffer.first(static_cast<size_t>(length));
    }

    /// Makes the ring empty, and keeps its storage.
    void reset() noexcept { qvcq_reset(&c_record()); }

    /// Exchanges the messages of two rings, with their storage.
    void swap(basic_ring &other) noexcept { std::swap(c_record(), other.c_record()); }
    friend void swap(basic_ring &a, basic_ring &b) noexcept { a.swap(b); }

  private:
    friend class core::owner<qvcq, Disposal, basic_ring>;

    basic_ring() = default;

    static void dispose_all(qvcq &ring, Disposal) noexcept { qvcq_destroy(&ring); }

    core::owner<qvcq, Disposal, basic_ring> ring_;
};

/// A ring of messages.
using ring = basic_ring<core::release_storage>;

/// The same over a record that lies elsewhere: qvds::ring_view messages(c_ring).
using ring_view = basic_ring<core::viewed>;

/// A ring of records of one type, which are copied as bytes.
template <class T>
class ring_of {
    static_assert(std::is_trivially_copyable_v<T>,
                  "qvds::ring_of: records are copied as bytes; T must be trivially copyable");
    static_assert(alignof(T) <= alignof(max_align_t),
                  "qvds::ring_of: T must be aligned no wider than what malloc gives");

  public:
    using value_type = T;

    /// From the oldest record to the newest.
    class const_iterator {
      public:
        using iterator_category = std::forward_iterator_tag;
        using value_type = T;
        using difference_type = ptrdiff_t;
        using pointer = const T *;
        using reference = const T &;

        const_iterator() = default;
        explicit const_iterator(core::ring_iterator at) noexcept : at_(at) {}

        reference operator*() const noexcept { return record_in(*at_); }
        pointer operator->() const noexcept { return &**this; }
        const_iterator &operator++() noexcept {
            ++at_;
            return *this;
        }
        const_iterator operator++(int) noexcept { return const_iterator(at_++); }
        friend bool operator==(const const_iterator &a, const const_iterator &b) noexcept {
            return a.at_ == b.at_;
        }

      private:
        core::ring_iterator at_;
    };
    using iterator = const_iterator;

    /// A ring that holds up to `capacity` records; see ring.
    [[nodiscard]] static std::optional<ring_of> make(size_t capacity) noexcept {
        if (auto made = ring::make(sizeof(T), capacity))
            return ring_of(std::move(*made));
        return std::nullopt;
    }

    /// The record, for the functions of qvcq.h. C must put whole records only.
    qvcq &c_record() noexcept { return ring_.c_record(); }
    const qvcq &c_record() const noexcept { return ring_.c_record(); }

    [[nodiscard]] bool empty() const noexcept { return ring_.empty(); }
    [[nodiscard]] size_t size() const noexcept { return ring_.size(); }
    [[nodiscard]] size_t capacity() const noexcept { return ring_.capacity(); }

    const_iterator begin() const noexcept { return const_iterator(ring_.begin()); }
    const_iterator end() const noexcept { return const_iterator(ring_.end()); }

    /// The oldest record, or null.
    [[nodiscard]] const T *front() const noexcept { return empty() ? nullptr : &*begin(); }

    /// Adds a copy of a record. A full ring drops its oldest without a word.
    void push(const T &record) noexcept { ring_.push(std::as_bytes(std::span(&record, 1))); }

    /// Takes the oldest record, or nothing.
    std::optional<T> pop() noexcept {
        if (const auto bytes = ring_.pop())
            return record_in(*bytes);
        return std::nullopt;
    }

    /// Takes back the newest record. Returns false if there is none.
    bool cancel() noexcept { return ring_.cancel(); }

    /// Makes the ring empty, and keeps its storage.
    void reset() noexcept { ring_.reset(); }

    friend void swap(ring_of &a, ring_of &b) noexcept { a.ring_.swap(b.ring_); }

  private:
    explicit ring_of(ring &&made) noexcept : ring_(std::move(made)) {}

    // The blocks lie at multiples of the record's size from storage that malloc has aligned.
    static const T &record_in(std::span<const std::byte> bytes) noexcept {
        return *reinterpret_cast<const T *>(bytes.data());
    }

    ring ring_;
};

} // namespace qvds

#endif

// The block ring: messages put in and taken out by copy, with the queue half full.
#include "data.hpp"

#include <qvds/qvcq.hpp>

#include <boost/circular_buffer.hpp>
#include <cstring>
#include <glib.h>

using namespace bench;

namespace {

constexpr size_t blocks = 128;
constexpr size_t longest = 1'500;

struct ring : ours<"qvcq"> {
    qvcq queue;

    explicit ring(size_t size) { qvcq_init(&queue, size, blocks); }
    ~ring() { qvcq_destroy(&queue); }
    void put(const char *data, size_t length) {
        qvcq_copyto_queue(&queue, data, static_cast<int32_t>(length));
    }
    size_t take(char *buffer) {
        int32_t length = longest;
        qvcq_copyfrom_queue(&queue, buffer, &length);
        return static_cast<size_t>(length);
    }
};

struct typed_ring : typed<"qvds::ring"> {
    qvds::ring queue;

    explicit typed_ring(size_t size) : queue(*qvds::ring::make(size, blocks - 1)) {}
    void put(const char *data, size_t length) {
        queue.push(std::as_bytes(std::span(data, length)));
    }
    size_t take(char *buffer) {
        return queue.pop(std::as_writable_bytes(std::span(buffer, longest)))->size();
    }
};

// Each message in an allocation of its own, behind its length.
struct glib_queue : called<"GQueue of g_malloc"> {
    GQueue queue = G_QUEUE_INIT;

    explicit glib_queue(size_t) {}
    ~glib_queue() { g_queue_clear_full(&queue, g_free); }
    void put(const char *data, size_t length) {
        auto *const message = static_cast<char *>(g_malloc(sizeof length + length));
        memcpy(message, &length, sizeof length);
        memcpy(message + sizeof length, data, length);
        g_queue_push_tail(&queue, message);
    }
    size_t take(char *buffer) {
        auto *const message = static_cast<char *>(g_queue_pop_head(&queue));
        size_t length = 0;
        memcpy(&length, message, sizeof length);
        memcpy(buffer, message + sizeof length, length);
        g_free(message);
        return length;
    }
};

template <size_t size>
struct block {
    uint32_t length;
    char data[size];
};

template <size_t size>
struct boost_ring : inlined<"Boost circular_buffer"> {
    boost::circular_buffer<block<size>> queue{blocks};

    explicit boost_ring(size_t) {}
    void put(const char *data, size_t length) {
        block<size> b;
        b.length = static_cast<uint32_t>(length);
        memcpy(b.data, data, length);
        queue.push_back(b);
    }
    size_t take(char *buffer) {
        const block<size> &b = queue.front();
        const size_t length = b.length;
        memcpy(buffer, b.data, length);
        queue.pop_front();
        return length;
    }
};

struct hand_ring : limit<"two copies"> {
    size_t size, head = 0, tail = 0;
    std::vector<char> storage;
    std::vector<size_t> lengths;

    explicit hand_ring(size_t block) : size(block), storage(block * blocks), lengths(blocks) {}
    void put(const char *data, size_t length) {
        lengths[head] = length;
        memcpy(&storage[head * size], data, length);
        head = (head + 1) % blocks;
    }
    size_t take(char *buffer) {
        const size_t length = lengths[tail];
        memcpy(buffer, &storage[tail * size], length);
        tail = (tail + 1) % blocks;
        return length;
    }
};

// n is the length of a message, which is a block. An operation is a put and a take.
template <class C>
struct put_and_take {
    static constexpr size_t messages = 512;
    size_t n, ops = messages;
    std::vector<char> text;
    C queue;

    explicit put_and_take(const instance &at) : n(at.n), text(messages + at.n), queue(at.n) {
        generator random(1);
        for (char &c : text)
            c = static_cast<char>(random.below(256));
        for (size_t i = 0; i < blocks / 2; ++i)
            queue.put(&text[i], n);
    }
    uint64_t work(size_t) {
        uint64_t sum = 0;
        char buffer[longest];
        for (size_t i = 0; i < messages; ++i) {
            queue.put(&text[i], n);
            const size_t length = queue.take(buffer);
            uint64_t word = 0;
            memcpy(&word, buffer + length - sizeof word, sizeof word);
            fold(sum, word + length);
        }
        return sum;
    }
};

const rows rings = {
    {"ring/put-take",
     {{"64", 64, {0.17, 1.15}}},
     enter<put_and_take, ring, typed_ring, glib_queue, boost_ring<64>, hand_ring>},
    {"ring/put-take",
     {{"1500", 1'500, {0.43, 0.6}}},
     enter<put_and_take, ring, typed_ring, glib_queue, boost_ring<1'500>, hand_ring>},
};

} // namespace

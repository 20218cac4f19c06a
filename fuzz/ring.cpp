// The ring of messages, beside a queue of strings.

#include "program.hpp"

#include <qvds/check.hpp>

#include <algorithm>
#include <deque>
#include <string>

namespace {

using fuzz::require;

using bytes = std::span<const std::byte>;

std::string text_of(bytes message) {
    return {reinterpret_cast<const char *>(message.data()), message.size()};
}

enum class step {
    push,
    push_badly,
    write_in_place,
    pop,
    pop_into_buffer,
    peek,
    cancel,
    reset,
    count
};

class driver {
  public:
    explicit driver(fuzz::program &input)
        : program(input), block_size(1 + input.below(20)), capacity(1 + input.below(6)),
          ring(*qvds::ring::make(block_size, capacity)) {}

    void take_step() {
        in_c = program.one_of_two();
        switch (program.one_of<step>()) {
        case step::push:
            return push();
        case step::push_badly:
            return push_badly();
        case step::write_in_place:
            return write_in_place();
        case step::pop:
            return pop();
        case step::pop_into_buffer:
            return pop_into_buffer();
        case step::peek:
            return peek();
        case step::cancel:
            return cancel();
        case step::reset:
            ring.reset();
            return model.clear();
        case step::count:
            return;
        }
    }

    void expect_as_modelled() {
        fuzz::require_sound(qvds::check(ring));
        require(ring.capacity() == capacity && ring.block_size() == block_size);
        require(qvcq_get_size(&ring.c_record()) == static_cast<int32_t>(model.size()));
        require(
            std::equal(ring.begin(), ring.end(), model.begin(), model.end(),
                       [](bytes held, const std::string &text) { return text_of(held) == text; }));
    }

  private:
    void push() {
        const std::string text = some_text(1);
        if (in_c)
            require(qvcq_copyto_queue(&ring.c_record(), text.data(),
                                      static_cast<int32_t>(text.size())) == QVCQ_OK);
        else
            require(ring.push(std::as_bytes(std::span(text))));
        add(text);
    }
    // Neither nothing nor more than a block.
    void push_badly() {
        const std::string text(program.one_of_two() ? 0 : block_size + 1, 'x');
        if (in_c)
            require(qvcq_copyto_queue(&ring.c_record(), text.data(),
                                      static_cast<int32_t>(text.size())) ==
                    (text.empty() ? QVCQ_ERROR : QVCQ_TOO_LONG));
        else
            require(!ring.push(std::as_bytes(std::span(text))));
    }
    // A writer that does not commit takes the block back, but what it was dropped for is gone.
    void write_in_place() {
        const std::string text = some_text(0);
        const bool commits = program.one_of_two();
        add(text);
        if (!commits)
            model.pop_back();
        if (in_c) {
            qvcq_entry *entry = nullptr;
            require(qvcq_enqueue(&ring.c_record(), &entry) == QVCQ_OK);
            text.copy(static_cast<char *>(entry->data), text.size());
            entry->length = static_cast<int32_t>(text.size());
            if (!commits)
                require(qvcq_cancel(&ring.c_record()) == QVCQ_OK);
            return;
        }
        auto block = ring.write();
        require(block.bytes().size() == block_size);
        std::ranges::copy(std::as_bytes(std::span(text)), block.bytes().begin());
        if (commits)
            block.commit(text.size());
    }
    void pop() {
        std::optional<bytes> popped;
        if (in_c) {
            qvcq_entry *entry = nullptr;
            if (qvcq_dequeue(&ring.c_record(), &entry) == QVCQ_OK)
                popped = contents(*entry);
        } else {
            popped = ring.pop();
        }
        expect_oldest(popped);
        drop_oldest();
    }
    // As much as there is room for; without any room, nothing is taken.
    void pop_into_buffer() {
        char buffer[24];
        const size_t room = program.below(sizeof buffer);
        std::optional<std::string> popped;
        if (in_c) {
            auto length = static_cast<int32_t>(room);
            if (qvcq_copyfrom_queue(&ring.c_record(), buffer, &length) == QVCQ_OK)
                popped.emplace(buffer, static_cast<size_t>(length));
        } else if (const auto part = ring.pop(std::as_writable_bytes(std::span(buffer, room)))) {
            popped = text_of(*part);
        }
        require(popped.has_value() == (!model.empty() && room > 0));
        if (!popped)
            return;
        require(*popped == model.front().substr(0, room));
        drop_oldest();
    }
    void peek() {
        qvcq_entry *entry = nullptr;
        if (!in_c)
            return expect_oldest(ring.front());
        const int status = qvcq_peek(&ring.c_record(), &entry);
        require(status == (model.empty() ? QVCQ_EMPTY : QVCQ_OK));
        expect_oldest(entry != nullptr ? std::optional(contents(*entry)) : std::nullopt);
    }
    void cancel() {
        if (in_c)
            require(qvcq_cancel(&ring.c_record()) == QVCQ_OK);
        else
            require(ring.cancel() == !model.empty());
        if (!model.empty())
            model.pop_back();
    }

    // A message of that length at least.
    std::string some_text(size_t least) {
        const size_t length = least + program.below(block_size + 1 - least);
        return std::string(length, static_cast<char>('a' + program.below(26)));
    }
    static bytes contents(const qvcq_entry &entry) {
        return {static_cast<const std::byte *>(entry.data), static_cast<size_t>(entry.length)};
    }
    void add(const std::string &text) {
        if (model.size() == capacity)
            model.pop_front();
        model.push_back(text);
    }
    void drop_oldest() {
        if (!model.empty())
            model.pop_front();
    }
    void expect_oldest(const std::optional<bytes> &message) const {
        require(message.has_value() == !model.empty());
        require(!message || text_of(*message) == model.front());
    }

    fuzz::program &program;
    bool in_c = false; // whether this step goes through the functions of C
    size_t block_size, capacity;
    qvds::ring ring;
    std::deque<std::string> model;
};

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    fuzz::program program(data, size);
    fuzz::run<driver>(program);
    return 0;
}

#include <qvds/qvcq.h>

#include <cstdlib>
#include <cstring>

namespace {

// Indices are in range (I1), so a step round the ring is a comparison and no division.
int32_t following(const qvcq *queue, int32_t index) {
    return index + 1 != queue->blocks ? index + 1 : 0;
}

int32_t preceding(const qvcq *queue, int32_t index) {
    return (index != 0 ? index : queue->blocks) - 1;
}

bool is_empty(const qvcq *queue) {
    return queue->head == queue->tail;
}

// Copies N to 2 * N bytes: the first N and the last N, which overlap in the middle.
template <size_t N>
void copy_ends(void *to, const void *from, size_t length) {
    std::memcpy(to, from, N);
    std::memcpy(static_cast<char *>(to) + length - N, static_cast<const char *>(from) + length - N,
                N);
}

// Most messages are short, and the call of memcpy would cost more than their bytes do: with a
// length known to the compiler it is a few moves instead.
void copy(void *to, const void *from, int32_t bytes) {
    const auto length = static_cast<size_t>(bytes);
    if (length < 8 || length > 64)
        std::memcpy(to, from, length);
    else if (length > 32)
        copy_ends<32>(to, from, length);
    else if (length > 16)
        copy_ends<16>(to, from, length);
    else
        copy_ends<8>(to, from, length);
}

} // namespace

int qvcq_init(qvcq *queue, size_t block_size, size_t blocks) {
    if (queue == nullptr)
        return QVCQ_ERROR;
    *queue = {};
    queue->blocks = static_cast<int32_t>(blocks);
    queue->block_size = static_cast<int32_t>(block_size);
    queue->storage = std::calloc(blocks, block_size);
    if (queue->storage == nullptr)
        return QVCQ_ERROR;
    queue->entries = static_cast<qvcq_entry *>(std::calloc(blocks, sizeof(qvcq_entry)));
    if (queue->entries == nullptr) {
        std::free(queue->storage);
        queue->storage = nullptr;
        return QVCQ_ERROR;
    }
    for (size_t i = 0; i != blocks; ++i)
        queue->entries[i].data = static_cast<char *>(queue->storage) + i * block_size;
    return QVCQ_OK;
}

int qvcq_enqueue(qvcq *queue, qvcq_entry **out) {
    if (queue == nullptr || out == nullptr)
        return QVCQ_ERROR;
    *out = &queue->entries[queue->head];
    queue->head = following(queue, queue->head);
    if (queue->head == queue->tail)
        queue->tail = following(queue, queue->tail);
    if (queue->size < queue->blocks - 1)
        ++queue->size;
    return QVCQ_OK;
}

int qvcq_dequeue(qvcq *queue, qvcq_entry **out) {
    const int status = qvcq_peek(queue, out);
    if (status != QVCQ_OK)
        return status;
    queue->tail = following(queue, queue->tail);
    if (queue->size > 0)
        --queue->size;
    return QVCQ_OK;
}

int qvcq_peek(const qvcq *queue, qvcq_entry **out) {
    if (queue == nullptr || out == nullptr)
        return QVCQ_ERROR;
    if (is_empty(queue))
        return QVCQ_EMPTY;
    *out = &queue->entries[queue->tail];
    return QVCQ_OK;
}

int qvcq_copyto_queue(qvcq *queue, const void *data, int32_t length) {
    if (queue == nullptr || data == nullptr || length <= 0)
        return QVCQ_ERROR;
    if (length > queue->block_size)
        return QVCQ_TOO_LONG;
    qvcq_entry *entry;
    const int status = qvcq_enqueue(queue, &entry);
    entry->length = length;
    copy(entry->data, data, length);
    return status;
}

int qvcq_copyfrom_queue(qvcq *queue, void *buffer, int32_t *length) {
    if (queue == nullptr || buffer == nullptr || length == nullptr || *length <= 0)
        return QVCQ_ERROR;
    qvcq_entry *entry;
    const int status = qvcq_dequeue(queue, &entry);
    if (status != QVCQ_OK)
        return status;
    if (*length > entry->length)
        *length = entry->length;
    copy(buffer, entry->data, *length);
    return QVCQ_OK;
}

int qvcq_cancel(qvcq *queue) {
    if (queue == nullptr)
        return QVCQ_ERROR;
    if (queue->size > 0) {
        queue->head = preceding(queue, queue->head);
        --queue->size;
    }
    return QVCQ_OK;
}

int qvcq_reset(qvcq *queue) {
    queue->head = 0;
    queue->tail = 0;
    queue->size = 0;
    return QVCQ_OK;
}

int32_t qvcq_get_size(const qvcq *queue) {
    return queue != nullptr ? queue->size : QVCQ_ERROR;
}

void qvcq_destroy(qvcq *queue) {
    if (queue == nullptr)
        return;
    std::free(queue->storage);
    std::free(queue->entries);
    std::memset(queue, 0, sizeof *queue);
}

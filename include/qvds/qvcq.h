#ifndef QVDS_QVCQ_H
#define QVDS_QVCQ_H

/** @file
 * Block ring: a bounded queue of messages in blocks of one size, which drops its oldest message
 * when it is full.
 *
 * Choose it where the newest messages matter and a producer must never wait, fail or allocate: a
 * log tail, samples for a display, the last events before a crash. All memory is taken in
 * qvcq_init. Where no message may be lost, or messages are records that exist anyway, take a queue
 * (fifo.h).
 *
 * A message is put in by copying (qvcq_copyto_queue), or in place: take a block, fill it, set its
 * length.
 *
 *     qvcq_entry *entry;
 *     qvcq_enqueue(&ring, &entry);
 *     ssize_t got = read(fd, entry->data, (size_t)ring.block_size);
 *     if (got < 0)
 *         qvcq_cancel(&ring);             // takes the block back
 *     else
 *         entry->length = (int32_t)got;   // 0 to block_size
 *
 * Taking out goes by copying (qvcq_copyfrom_queue) or in place (qvcq_peek, qvcq_dequeue). A block
 * taken out stays readable until an enqueue comes round to it again.
 *
 * Choosing `blocks`: one more than the messages to be held, since a ring whose blocks were all in
 * use could not be told from an empty one. A ring of one block holds nothing. Storage is `blocks`
 * times `block_size` bytes of zeroed memory, which may exceed 2^31, and 16 bytes for each block.
 *
 * A producer and a consumer on different threads must lock around every call.
 *
 * Invariants:
 * - I1 `head` and `tail` are at least 0 and below `blocks`.
 * - I2 `size` is `head` - `tail`, modulo `blocks`; the queue is empty exactly when the two are
 *   equal, and `size` never exceeds `blocks` - 1.
 * - I3 The `data` of entry i is `storage` + i * `block_size`.
 */

#include <qvds/base.h>

QVDS_BEGIN

/** What the operations return that return a status. */
enum {
    QVCQ_OK = 0,
    QVCQ_ERROR = -1,   /**< a bad argument, or an allocation failed */
    QVCQ_TOO_LONG = 1, /**< the message does not fit in a block */
    QVCQ_EMPTY = 3     /**< there is no message to take */
};

/** One block. */
typedef struct qvcq_entry {
    int32_t length; /**< bytes of message in the block. Set by qvcq_copyto_queue, and by whoever
                         fills a block in place; until then, that of the block's last message */
    void *data;     /**< the block's bytes; fixed */
} qvcq_entry;

/** The queue record, the caller's. */
typedef struct qvcq {
    int32_t head;        /**< block that the next enqueue hands out */
    int32_t tail;        /**< oldest block not yet taken */
    int32_t blocks;      /**< number of blocks */
    int32_t block_size;  /**< bytes in a block */
    int32_t size;        /**< number of messages held */
    void *storage;       /**< `blocks` times `block_size` bytes, owned */
    qvcq_entry *entries; /**< `blocks` entries, owned */
} qvcq;

/**
 * Makes an empty ring. The only operation that allocates.
 * @param block_size bytes in a block, below 2^31
 * @param blocks     number of blocks, at least 1 and below 2^31
 * @return QVCQ_OK; QVCQ_ERROR for a null queue or if memory is short, and then the record holds
 *         nothing and qvcq_destroy on it is harmless
 */
QVDS_API int qvcq_init(qvcq *queue, size_t block_size, size_t blocks);

/**
 * Hands out the next block, which counts as a message from now on: the caller fills `data` and sets
 * `length`. A full ring drops its oldest message for it without a word.
 * @return QVCQ_OK, or QVCQ_ERROR for a null argument
 *
 * Constant time.
 */
QVDS_API int qvcq_enqueue(qvcq *queue, qvcq_entry **out);

/**
 * Takes the oldest message. Its block stays valid until an enqueue reaches it again.
 * @return QVCQ_OK; QVCQ_ERROR for a null argument or QVCQ_EMPTY, both with out untouched
 *
 * Constant time.
 */
QVDS_API int qvcq_dequeue(qvcq *queue, qvcq_entry **out);

/** As qvcq_dequeue, but leaves the message in the queue. */
QVDS_API int qvcq_peek(const qvcq *queue, qvcq_entry **out);

/**
 * Adds a copy of a message. A full ring drops its oldest message for it without a word.
 * @param length bytes at data, more than 0
 * @return QVCQ_OK; QVCQ_ERROR for a null argument or a length of 0 or less, QVCQ_TOO_LONG for one
 *         above `block_size`, both with nothing queued
 */
QVDS_API int qvcq_copyto_queue(qvcq *queue, const void *data, int32_t length);

/**
 * Takes the oldest message and copies it out. A message longer than the buffer is cut, and the rest
 * is lost.
 * @param length on entry the room in buffer, more than 0; on success the bytes copied
 * @return QVCQ_OK; QVCQ_ERROR for a null argument or a length of 0 or less, or QVCQ_EMPTY, both
 *         with nothing changed
 */
QVDS_API int qvcq_copyfrom_queue(qvcq *queue, void *buffer, int32_t *length);

/**
 * Takes back the newest message; does nothing to an empty queue. A message that was dropped to make
 * room for it does not come back.
 * @return QVCQ_OK, or QVCQ_ERROR for a null queue
 */
QVDS_API int qvcq_cancel(qvcq *queue);

/** Empties the queue and keeps its storage. Returns QVCQ_OK. queue must not be null. */
QVDS_API int qvcq_reset(qvcq *queue);

/** Returns the number of messages held, or QVCQ_ERROR for a null queue. */
QVDS_API int32_t qvcq_get_size(const qvcq *queue);

/** Releases the storage and clears the record; a second time does no harm. Null is ignored. */
QVDS_API void qvcq_destroy(qvcq *queue);

QVDS_END

#endif

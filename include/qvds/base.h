#ifndef QVDS_BASE_H
#define QVDS_BASE_H

/** @file
 * What every header of the library shares: version, linkage, and the two callback types that the
 * families have in common.
 */

#include <stddef.h>
#include <stdint.h>

/** The version of these headers. It is stated here alone: the build takes it from these lines. */
#define QVDS_VERSION_MAJOR 1
/** Its second number. */
#define QVDS_VERSION_MINOR 1
/** Its third number. */
#define QVDS_VERSION_PATCH 0

/** Marks what the shared object exports. */
#define QVDS_API __attribute__((visibility("default")))

/** Marks what each object that is compiled with these headers keeps to itself. */
#define QVDS_HIDDEN __attribute__((visibility("hidden")))

/**
 * Marks an operation whose result must be kept: a root to be stored, or an allocation that the
 * caller owns. The compiler warns where the result is dropped.
 */
#define QVDS_NODISCARD __attribute__((warn_unused_result))

/**
 * @def QVDS_BEGIN
 * Begins declarations that have the linkage of C in C++, too.
 * @def QVDS_END
 * Ends them.
 */
#ifdef __cplusplus
#define QVDS_BEGIN extern "C" {
#define QVDS_END }
#else
#define QVDS_BEGIN
#define QVDS_END
#endif

QVDS_BEGIN

/**
 * Compares a key, or an element about to be added, with an element already stored.
 *
 * The first argument is passed through as the caller gave it and may be anything that the callback
 * understands. Zero means a match. What the sign means, and whether it matters at all, is said by
 * each family. A compare callback must leave the container as it is. It is handed no context word:
 * what else it needs, the records point to (docs/patterns.md).
 */
typedef int32_t (*qvds_compare_fn)(const void *key, const void *elem);

/**
 * Visits one element of a walk. ctx is the caller's own pointer, handed through unchanged.
 *
 * A non-zero result stops the walk and is what the walk returns, unless the operation says
 * otherwise. What the callback may do to the container is said by each operation.
 */
typedef int32_t (*qvds_visit_fn)(void *elem, void *ctx);

QVDS_END

#endif

#ifndef QVDS_QVDS_H
#define QVDS_QVDS_H

/** @file
 * All families at once. Each header also stands alone.
 *
 * The snippets in the headers are C: to become a record's pointer, a `void *` takes a cast in C++.
 */

#include <qvds/base.h>

/* Chains through the caller's records. */
#include <qvds/fifo.h>
#include <qvds/fifo2.h>
#include <qvds/lifo.h>
#include <qvds/node.h>
#include <qvds/sloppy.h>

/* Hash tables over the caller's buckets. */
#include <qvds/hash.h>
#include <qvds/hash2.h>

/* By rank and by time. */
#include <qvds/cq.h>
#include <qvds/heap.h>

/* Containers that allocate their own links and stay valid while they are walked. */
#include <qvds/key_functions.h>
#include <qvds/keyed_hash.h>
#include <qvds/list.h>

/* Block ring. */
#include <qvds/qvcq.h>

/* Ordered trees. */
#include <qvds/aa.h>
#include <qvds/qv_tree.h>

#endif

#ifndef QVDS_QVDS_HPP
#define QVDS_QVDS_HPP

/// @file
/// All typed classes at once. Each header also stands alone.

#include <qvds/check.hpp>
#include <qvds/dispose.hpp>
#include <qvds/hook.hpp>

// Chains through the caller's records.
#include <qvds/fifo.hpp>
#include <qvds/fifo2.hpp>
#include <qvds/lifo.hpp>
#include <qvds/sloppy.hpp>

// Hash tables over the caller's buckets.
#include <qvds/buckets.hpp>
#include <qvds/hash.hpp>
#include <qvds/hash2.hpp>

// What waits for its turn or its time.
#include <qvds/cq.hpp>
#include <qvds/heap.hpp>

// Containers that allocate their own links and stay valid while they are walked.
#include <qvds/keyed_hash.hpp>
#include <qvds/list.hpp>

// Ring of messages.
#include <qvds/qvcq.hpp>

// Search trees.
#include <qvds/aa.hpp>
#include <qvds/qv_tree.hpp>

#endif

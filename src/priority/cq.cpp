#include <qvds/core/cq.hpp>

#include <cstring>

using namespace qvds;

void qvds_cq_init(qvds_cq *cq, qvds_cq_entry **buckets, uint32_t size, uint32_t width) {
    std::memset(cq, 0, sizeof *cq);
    cq->buckets = buckets;
    cq->size = size;
    cq->width = width;
}

void qvds_cq_insert(qvds_cq *cq, void *entry) {
    core::cq_insert(cq, static_cast<qvds_cq_entry *>(entry));
}

void qvds_cq_delete(qvds_cq *cq, void *entry) {
    core::cq_delete(cq, static_cast<qvds_cq_entry *>(entry));
}

void qvds_cq_iterate_expired(qvds_cq *cq, uint32_t bucket, uint32_t now, qvds_visit_fn fire,
                             void *ctx) {
    core::cq_iterate_expired(cq, bucket, now, [=](qvds_cq_entry *entry) { fire(entry, ctx); });
}

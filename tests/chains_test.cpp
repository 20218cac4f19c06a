#include <qvds/qvds.h>

#include "support.hpp"

TEST(Lifo, PopsInReverse) {
    qvds_lifo lifo;
    qvds_node a, b;
    qvds_lifo_init(&lifo);
    qvds_lifo_push(&lifo, &a);
    qvds_lifo_push(&lifo, &b);
    EXPECT_EQ(qvds_lifo_pop(&lifo), &b);
}

// Every member of every typed class, compiled whether or not a test calls it. headers.sh compiles this
// in the ways that programs compile the headers.

#include <qvds/qvds.hpp>

namespace {

struct element {
    int key;
    qvds_node node;

    auto operator<=>(const element &other) const { return key <=> other.key; }
    bool operator==(const element &other) const { return key == other.key; }
};

} // namespace

template class qvds::fifo2<&element::node>;
template class qvds::fifo2<&element::node, qvds::dispose_with_delete>;
template class qvds::fifo2<&element::node, qvds::core::viewed>;

// Every member of every typed class, compiled whether or not a test calls it. headers.sh compiles this
// in the ways that programs compile the headers.

#include <qvds/qvds.hpp>

#include <functional>

namespace {

struct element {
    element *next;
    int key;
    qvds_node node;
    uint32_t slot;

    qvds_cq_entry entry;
    AA_node tree_node;

    auto operator<=>(const element &other) const { return key <=> other.key; }
    bool operator==(const element &other) const { return key == other.key; }
};

struct text_hash {
    size_t operator()(const char *key) const { return static_cast<unsigned char>(*key); }
};
struct text_equal {
    bool operator()(const char *a, const char *b) const { return *a == *b; }
};

struct by_table {
    const int *rank_of;

    bool operator()(int a, int b) const { return rank_of[a] < rank_of[b]; }
};

} // namespace

template class qvds::fifo2<&element::node>;
template class qvds::fifo2<&element::node, qvds::dispose_with_delete>;
template class qvds::fifo2<&element::node, qvds::core::viewed>;

// An explicit instantiation leaves out what a class inherits.
template class qvds::core::table<qvds::core::hash_links, qvds::core::single_hooked<&element::node>,
                                 &element::key, qvds::default_hash, qvds::core::natural_equality,
                                 qvds::core::leave_elements, qvds_hash>;
template class qvds::hash<&element::node, &element::key, qvds::default_hash,
                          qvds::core::natural_equality, qvds::core::leave_elements, qvds_hash>;
template class qvds::core::table<qvds::core::hash_links, qvds::core::single_hooked<&element::node>,
                                 &element::key, qvds::default_hash, qvds::core::natural_equality,
                                 qvds::dispose_with_delete, qvds::core::growing_record>;
template class qvds::hash<&element::node, &element::key, qvds::default_hash,
                          qvds::core::natural_equality, qvds::dispose_with_delete,
                          qvds::core::growing_record>;
template class qvds::core::table<qvds::core::hash_links, qvds::core::single_hooked<&element::node>,
                                 &element::key, qvds::recorded_hash, qvds::core::natural_equality,
                                 qvds::core::viewed, qvds_hash>;
template class qvds::hash<&element::node, &element::key, qvds::recorded_hash,
                          qvds::core::natural_equality, qvds::core::viewed, qvds_hash>;

template class qvds::core::table<qvds::core::hash2_links, qvds::core::hooked<&element::node>,
                                 &element::key, qvds::default_hash, qvds::core::natural_equality,
                                 qvds::core::leave_elements, qvds_hash>;
template class qvds::hash2<&element::node, &element::key, qvds::default_hash,
                           qvds::core::natural_equality, qvds::core::leave_elements, qvds_hash>;
template class qvds::core::table<qvds::core::hash2_links, qvds::core::hooked<&element::node>,
                                 &element::key, qvds::default_hash, qvds::core::natural_equality,
                                 qvds::dispose_with_delete, qvds::core::growing_record>;
template class qvds::hash2<&element::node, &element::key, qvds::default_hash,
                           qvds::core::natural_equality, qvds::dispose_with_delete,
                           qvds::core::growing_record>;
template class qvds::core::table<qvds::core::hash2_links, qvds::core::hooked<&element::node>,
                                 &element::key, qvds::recorded_hash, qvds::core::natural_equality,
                                 qvds::core::viewed, qvds_hash>;
template class qvds::hash2<&element::node, &element::key, qvds::recorded_hash,
                           qvds::core::natural_equality, qvds::core::viewed, qvds_hash>;

template class qvds::list<element>;
template class qvds::list<element, qvds::dispose_with_delete>;
template class qvds::list<element, qvds::core::viewed>;

template class qvds::keyed_hash<const char *, element, text_hash, text_equal>;
template class qvds::keyed_hash<const char *, element, text_hash, text_equal, int,
                                qvds::dispose_with_free>;
template class qvds::keyed_hash<const char *, element, text_hash, text_equal, int,
                                qvds::core::viewed>;

template class qvds::basic_ring<qvds::core::release_storage>;
template class qvds::basic_ring<qvds::core::viewed>;
template class qvds::ring_of<int>;

template class qvds::lifo<&element::next>;
template class qvds::lifo<&element::node, qvds::dispose_with_delete>;
template class qvds::lifo<&element::next, qvds::core::viewed>;

template class qvds::fifo<&element::next>;
template class qvds::fifo<&element::node, qvds::dispose_with_delete>;
template class qvds::fifo<&element::next, qvds::core::viewed>;

template class qvds::sloppy<&element::node>;
template class qvds::sloppy<&element::node, qvds::dispose_with_delete>;
template class qvds::sloppy<&element::node, qvds::core::viewed>;

template class qvds::heap<element>;
template class qvds::heap<element, &element::key, &element::slot>;
template class qvds::heap<element, &element::key, &element::slot, by_table>;
template class qvds::heap<element, &element::key, nullptr, by_table, qvds::dispose_with_delete>;
template class qvds::heap<element, &element::key, &element::slot, by_table, qvds::core::viewed>;

using steady = std::chrono::steady_clock;
using microseconds = std::chrono::microseconds;
template class qvds::calendar<&element::entry>;
template class qvds::calendar<&element::entry, steady, microseconds, qvds::dispose_with_delete>;
template class qvds::calendar<&element::entry, steady, microseconds, qvds::core::viewed>;

template class qvds::counted_tree<&element::key>;
template class qvds::counted_tree<qvds::item<element>, std::less<>, qvds::balance_beyond<3>,
                                  qvds::dispose_with_delete>;
template class qvds::counted_tree<&element::key, qvds::core::natural_order, qvds::balance_never,
                                  qvds::core::viewed>;

template class qvds::aa_tree<&element::tree_node, &element::key>;
template class qvds::aa_tree<&element::tree_node, &element::key, by_table,
                             qvds::dispose_with_delete>;
template class qvds::aa_tree<&element::tree_node, qvds::core::identity{}, qvds::core::natural_order,
                             qvds::core::viewed>;

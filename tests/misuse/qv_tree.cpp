// Each case is a slip that the compiler must catch, and the words that it must say; see misuse.sh.

#include <qvds/qv_tree.hpp>

struct score {
    int points;
    double weight;
    const char *name;
};
struct other {
    int points;
};

using tree = qvds::counted_tree<&score::points>;

tree made();

void use(tree &table, const tree &constant, score &elem, other &stranger) {
    (void)table.insert(elem);
    (void)constant.front();
    (void)stranger;

#if MISUSE == 1
    // error: qvds::counted_tree: the first argument must be a member pointer
    qvds::counted_tree<7> seven;
#elif MISUSE == 2
    // error: deleted
    for (score &each : made().walk())
        each.points = 0;
#elif MISUSE == 3
    // error: qvds: std::partial_ordering is no order to sort by
    qvds::counted_tree<&score::weight> weights;
    (void)weights.insert(elem);
#elif MISUSE == 4
    // error: qvds: pointers to characters would be compared by address
    qvds::counted_tree<&score::name> names;
    (void)names.find("lemon");
#elif MISUSE == 5
    // error: qvds: a signed and an unsigned key do not compare
    (void)table.find(7U);
#elif MISUSE == 6
    // error: unrelated type 'other' | cannot convert 'other' to | invalid initialization of reference
    (void)table.insert(stranger);
#elif MISUSE == 7
    // error: discards qualifiers | but function is not marked const
    (void)constant.insert(elem);
#elif MISUSE == 8
    // error: invalid conversion from 'const | rvalue of type 'const
    score *first = constant.front();
#elif MISUSE == 9
    // error: use of deleted function | deleted
    tree copy = table;
#elif MISUSE == 10
    // error: nodiscard
    table.insert(elem);
#elif MISUSE == 11
    // error: nodiscard
    table.split_at(7);
#elif MISUSE == 12
    // error: the third argument says when the tree balances itself
    qvds::counted_tree<&score::points, qvds::core::natural_order, int> odd;
#elif MISUSE == 13
    // error: qvds::balance_beyond: c must be 2 or more
    qvds::balance_beyond<1> steep;
#elif MISUSE == 14
    // error: no matching function | no matching constructor
    qvds::counted_tree_view<&score::points> view(table);
#endif
}

// Each case is a slip that the compiler must catch, and the words that it must say; see misuse.sh.

#include <qvds/aa.hpp>

struct word {
    AA_node node;
    qvds_node link;
    int count;
    double weight;
    const char *text;
};
struct other {
    AA_node node;
};
struct base {
    AA_node node;
};
struct derived : virtual base {
    int count;
};

using tree = qvds::aa_tree<&word::node, &word::count>;

tree made();

void use(tree &index, const tree &constant, word &elem, other &stranger) {
    (void)index.insert(elem);
    (void)constant.first();
    (void)stranger;

#if MISUSE == 1
    // error: qvds::aa_tree: the hook must name an AA_node of the element
    qvds::aa_tree<&word::link, &word::count> links;
#elif MISUSE == 2
    // error: qvds: a hook is a pointer to a data member
    qvds::aa_tree<7> seven;
#elif MISUSE == 3
    // error: qvds: the link must not be a member of a virtual base of the element
    derived d;
    qvds::aa_tree<qvds::hook<derived, &base::node>, &derived::count> bases;
    (void)bases.insert(d);
#elif MISUSE == 4
    // error: qvds: std::partial_ordering is no order to sort by
    qvds::aa_tree<&word::node, &word::weight> weights;
    (void)weights.insert(elem);
#elif MISUSE == 5
    // error: qvds: pointers to characters would be compared by address
    qvds::aa_tree<&word::node, &word::text> texts;
    (void)texts.find("lemon");
#elif MISUSE == 6
    // error: qvds: a signed and an unsigned key do not compare
    (void)index.find(7U);
#elif MISUSE == 7
    // error: unrelated type 'other' | cannot convert 'other' to | invalid initialization of reference
    (void)index.insert(stranger);
#elif MISUSE == 8
    // error: discards qualifiers | but function is not marked const
    (void)constant.insert(elem);
#elif MISUSE == 9
    // error: invalid conversion from 'const | rvalue of type 'const
    word *first = constant.find(7);
#elif MISUSE == 10
    // error: discards qualifiers | drops 'const' qualifier
    for (word &each : constant.walk())
        each.count = 0;
#elif MISUSE == 11
    // error: deleted
    for (word &each : made().walk())
        each.count = 0;
#elif MISUSE == 12
    // error: deleted
    for (word &each : made().range(1, 7))
        each.count = 0;
#elif MISUSE == 13
    // error: deleted
    auto walk = index.walk(), copy = walk;
#elif MISUSE == 14
    // error: use of deleted function | deleted
    tree copy = index;
#elif MISUSE == 15
    // error: nodiscard
    index.insert(elem);
#elif MISUSE == 16
    // error: qvds: a comparison gives bool
    const auto difference = [](int a, int b) { return a - b; };
    qvds::aa_tree<&word::node, &word::count, decltype(difference)> differences(difference);
    (void)differences.find(7);
#elif MISUSE == 17
    // error: no matching function | no matching constructor
    qvds::aa_tree_view<&word::node, &word::count> view(index);
#endif
}

// What holds for every typed container that owns its record: it moves, it swaps, and it does with
// its elements what it is told to.

#include "fault.hpp"
#include "support.hpp"

#include <qvds/check.hpp>
#include <qvds/cq.hpp>
#include <qvds/dispose.hpp>
#include <qvds/hash2.hpp>

#include <stdexcept>

namespace {

int living = 0;

struct Element {
    explicit Element(int its_key) : key(its_key) { ++living; }
    ~Element() { --living; }
    Element(const Element &) = delete;

    int key;
    qvds_node link{};
    uint32_t slot = 0;
    qvds_cq_entry entry{};
};

// Each family with its room, how an element is added, and how many are in.
template <class Disposal>
struct hash {
    using container = qvds::hash<&Element::link, &Element::key, qvds::default_hash,
                                 qvds::core::natural_equality, Disposal>;
    qvds::buckets<4> room;
    container held{room};

    void add(Element &elem) { held.store(elem); }
    static size_t size(const container &held) { return held.count(); }
};
template <class Disposal>
struct growing_hash2 {
    using container = qvds::growing_hash2<&Element::link, &Element::key, qvds::default_hash,
                                          qvds::core::natural_equality, Disposal>;
    qvds::buckets<4> former;
    qvds::buckets<9> room;
    container held{former};

    // Elements are in both arrays.
    void add(Element &elem) {
        held.store(elem);
        if (!held.is_growing())
            held.grow(room);
    }
    static size_t size(const container &held) { return held.count(); }
};
template <class Disposal>
struct heap {
    using container = qvds::heap<Element, &Element::key, &Element::slot, std::less<>, Disposal>;
    qvds::heap_slots<4> room;
    container held{room};

    void add(Element &elem) { EXPECT_TRUE(held.push(elem)); }
    static size_t size(const container &held) { return held.size(); }
};
template <class Disposal>
struct calendar {
    using clock = std::chrono::steady_clock;
    using milliseconds = std::chrono::milliseconds;
    using container = qvds::calendar<&Element::entry, clock, milliseconds, Disposal>;
    qvds::days<4> room;
    container held{room, milliseconds(1), clock::time_point()};

    void add(Element &elem) { EXPECT_TRUE(held.schedule(elem, milliseconds(elem.key))); }
    static size_t size(const container &held) { return held.size(); }
};
template <class Disposal>
struct list {
    using container = qvds::list<Element, Disposal>;
    container held;

    void add(Element &elem) { EXPECT_NE(held.push_back(elem), nullptr); }
    static size_t size(const container &held) { return held.count(); }
};

template <template <class> class Template>
struct family {
    using leaving = Template<qvds::core::leave_elements>;
    using deleting = Template<qvds::dispose_with_delete>;
};

template <class Family>
class TypedOwner : public testing::Test {};
using families = testing::Types<family<hash>, family<growing_hash2>, family<heap>, family<calendar>,
                                family<list>>;
TYPED_TEST_SUITE(TypedOwner, families);

TYPED_TEST(TypedOwner, MovesAndSwapsItsElements) {
    using leaving = typename TypeParam::leaving;
    using container = typename leaving::container;
    static_assert(std::is_nothrow_move_constructible_v<container>);
    static_assert(std::is_nothrow_swappable_v<container>);
    static_assert(!std::is_copy_constructible_v<container>);
    Element one(1), two(2), three(3);
    leaving pair, single;
    pair.add(one);
    pair.add(two);
    single.add(three);
    swap(pair.held, single.held);
    EXPECT_EQ(leaving::size(pair.held), 1U);
    EXPECT_EQ(leaving::size(single.held), 2U);
    EXPECT_EQ(qvds::check(single.held), qvds::sound);
    pair.held = std::move(single.held);
    EXPECT_EQ(leaving::size(pair.held), 2U);
    const container moved = std::move(pair.held);
    EXPECT_EQ(leaving::size(moved), 2U);
    EXPECT_EQ(qvds::check(moved), qvds::sound);
}

TYPED_TEST(TypedOwner, ADisposerTypeTakesWhatIsLeftAtTheEndOrReplaced) {
    {
        typename TypeParam::deleting owner, replaced;
        owner.add(*new Element(1));
        owner.add(*new Element(2));
        replaced.add(*new Element(3));
        replaced.held = std::move(owner.held);
        EXPECT_EQ(living, 2);
    }
    EXPECT_EQ(living, 0);
}

TYPED_TEST(TypedOwner, ADisposerThatThrowsLeavesTheRest) {
    Element one(1), two(2), three(3);
    typename TypeParam::leaving all;
    for (Element *elem : {&one, &two, &three})
        all.add(*elem);
    int calls = 0;
    const auto throw_at_the_second = [&](Element *) {
        if (++calls == 2)
            throw std::runtime_error("disposer");
    };
    EXPECT_THROW(all.held.clear_and_dispose(throw_at_the_second), std::runtime_error);
    EXPECT_EQ(TypeParam::leaving::size(all.held), 1U);
    EXPECT_EQ(qvds::check(all.held), qvds::sound);
    all.held.clear_and_dispose([&](Element *) { ++calls; });
    EXPECT_EQ(calls, 3);
    EXPECT_TRUE(all.held.empty());
}

} // namespace

// What the tests of the typed classes share: an element whose link is not its first member, and
// what they are made to show.

#ifndef QVDS_TESTS_TYPED_HPP
#define QVDS_TESTS_TYPED_HPP

#include "fault.hpp"
#include "support.hpp"

#include <qvds/check.hpp>
#include <qvds/dispose.hpp>

#include <memory>
#include <stdexcept>

namespace test {

struct Job {
    explicit Job(int its_priority) : priority(its_priority) {}
    int rank() const { return priority; }

    int priority;
    qvds_node link{};
};

// The priorities in the order of a walk.
template <class Range>
std::vector<int> priorities(const Range &range) {
    std::vector<int> all;
    for (const Job &job : range)
        all.push_back(job.priority);
    return all;
}
using ints = std::vector<int>;

// Callables of the kinds that a caller may pass where a projection of Job, a predicate over it or a
// comparison of two numbers is wanted.
inline int priority_of(const Job &job) {
    return job.priority;
}
struct Overloaded {
    bool operator()(const Job &job) const { return job.priority == 2; }
    bool operator()(int number) const { return number == 2; }
};

} // namespace test

#endif

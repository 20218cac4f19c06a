// Validity predicates of the chains. Each returns the first invariant that it finds broken, or
// `sound`, and comes to an end whatever the links say, as long as they name elements.

#ifndef QVDS_TESTS_CHECK_CHAINS_HPP
#define QVDS_TESTS_CHECK_CHAINS_HPP

#include <qvds/lifo.h>
#include <qvds/node.h>

#include "fault.hpp"

namespace qvds {
namespace check {

// Link words are read as the library reads them: whatever type the caller's record gives them.
using link_word [[gnu::may_alias]] = void *;

inline const void *next_of(const void *elem) {
    return static_cast<const link_word *>(elem)[0];
}
inline const void *prev_of(const void *elem) {
    return static_cast<const link_word *>(elem)[1];
}

// Tells when a walk along single links has come round. It remembers one element, and a later one
// after each 1, 2, 4, ... steps: as soon as that lies on the ring, and the ring is no longer than
// the steps to come, the walk meets it again.
class lap {
  public:
    bool closes(const void *elem) {
        if (elem == mark)
            return true;
        if (--left == 0) {
            mark = elem;
            left = length *= 2;
        }
        return false;
    }

  private:
    const void *mark = nullptr;
    size_t length = 1, left = 1;
};

} // namespace check

inline fault check_lifo(const qvds_lifo &lifo) {
    check::lap lap;
    for (const void *elem = lifo.top; elem != nullptr; elem = check::next_of(elem))
        if (lap.closes(elem))
            return {1, elem};
    return sound;
}

inline fault check_fifo(const qvds_list &fifo) {
    if ((fifo.top == nullptr) != (fifo.bottom == nullptr))
        return {1, nullptr};
    check::lap lap;
    const void *last = nullptr;
    for (const void *elem = fifo.top; elem != nullptr && last != fifo.bottom;) {
        if (lap.closes(elem))
            return {2, elem};
        last = elem;
        elem = check::next_of(elem);
    }
    if (last != fifo.bottom || (last != nullptr && check::next_of(last) != nullptr))
        return {2, last};
    return sound;
}

// A walk whose back links agree can't come round: the first element has none, and every other has
// one predecessor.
inline fault check_fifo2(const qvds_list &fifo) {
    if ((fifo.top == nullptr) != (fifo.bottom == nullptr))
        return {1, nullptr};
    if (fifo.top == nullptr)
        return sound;
    if (check::prev_of(fifo.top) != nullptr)
        return {2, fifo.top};
    if (check::next_of(fifo.bottom) != nullptr)
        return {2, fifo.bottom};
    for (const void *elem = fifo.top; elem != fifo.bottom; elem = check::next_of(elem)) {
        const void *const successor = check::next_of(elem);
        if (successor == nullptr || check::prev_of(successor) != elem)
            return {3, elem};
    }
    return sound;
}

// The list of an element, or of a null handle. A ring whose links agree has no first element.
inline fault check_sloppy(const void *handle) {
    if (handle == nullptr)
        return sound;
    for (const void *elem = handle; const void *const before = check::prev_of(elem);
         elem = before) {
        if (check::next_of(before) != elem)
            return {2, before};
        if (before == handle)
            return {1, handle};
    }
    for (const void *elem = handle; const void *const behind = check::next_of(elem); elem = behind)
        if (check::prev_of(behind) != elem)
            return {2, elem};
    return sound;
}

} // namespace qvds

#endif

#ifndef QVDS_DISPOSE_HPP
#define QVDS_DISPOSE_HPP

/// @file
/// What a container can be told to do with an element that it gives up.
///
/// A typed container never touches its elements when it is destroyed. With one of these types, or
/// one like them, as its last template argument it hands each to an object of that type:
///
///     qvds::fifo2<&job::link, qvds::dispose_with_delete> queue;
///
/// A disposer takes a pointer to the element and must not throw in a destructor. Members that take
/// a disposer, such as clear_and_dispose, take any callable of that form.

#include <stdlib.h>

namespace qvds {

/// For elements made with new.
struct dispose_with_delete {
    template <class T>
    void operator()(T *elem) const {
        delete elem;
    }
};

/// For elements made with malloc, as AA_new does.
struct dispose_with_free {
    void operator()(void *elem) const noexcept { free(elem); }
};

} // namespace qvds

#endif

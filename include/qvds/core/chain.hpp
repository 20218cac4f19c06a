// What the chain families and the hash tables over the caller's buckets share: the link words, and
// the one walk that every search in a singly linked chain is made of.
//
// Like all of core/, this is compiled both into the shared object, behind the C functions, and into
// every program that uses the typed classes. So each function is hidden: two objects in one process
// may have been compiled with different versions of it, and each must keep to its own.
//
// A header, a bucket slot and an element are interchangeable as predecessor: the word that names
// the first element and the word that names an element's successor are both the first word of
// their record. So a walk that unlinks or inserts starts with the header itself as predecessor,
// writes the predecessor's first word, and has no special case for the first element.
//
// The doubly linked queue carries the same idea to the second word: `bottom` of a header lies where
// `prev` of an element lies, so the header can stand for the neighbour that the first element lacks
// before it and the last element lacks behind it.

#ifndef QVDS_CORE_CHAIN_HPP
#define QVDS_CORE_CHAIN_HPP

#include <qvds/node.h>

namespace qvds::core {

// The one type through which every link word is read and written. The same word may be `top` of a
// qvds_list to the caller, a `struct job *` inside the caller's record, or an element of an array
// of pointers; to type-based alias analysis those are different objects, and in a static build with
// link-time optimisation the compiler sees both sides of the pun. A may_alias type takes these
// accesses out of that analysis, which costs nothing here: stores to links are what the code is
// about.
using link_word [[gnu::may_alias]] = void *;

// A header, a bucket slot or an element: the word that names what follows.
QVDS_HIDDEN inline link_word &next_of(void *record) {
    return *static_cast<link_word *>(record);
}
QVDS_HIDDEN inline void *next_of(const void *record) {
    return *static_cast<const link_word *>(record);
}

// An element's word that names what precedes it.
QVDS_HIDDEN inline link_word &prev_of(void *record) {
    return static_cast<link_word *>(record)[1];
}
QVDS_HIDDEN inline void *prev_of(const void *record) {
    return static_cast<const link_word *>(record)[1];
}

// A header's two words under their own names. They are the same words.
QVDS_HIDDEN inline link_word &top_of(void *header) {
    return next_of(header);
}
QVDS_HIDDEN inline void *top_of(const void *header) {
    return next_of(header);
}
QVDS_HIDDEN inline link_word &bottom_of(void *header) {
    return prev_of(header);
}
QVDS_HIDDEN inline void *bottom_of(const void *header) {
    return prev_of(header);
}

// Clears both words of a header or an element.
QVDS_HIDDEN inline void clear(void *record) {
    next_of(record) = nullptr;
    prev_of(record) = nullptr;
}

static_assert(offsetof(qvds_node, next) == 0 && offsetof(qvds_list, top) == 0,
              "next_of serves elements and headers alike");
static_assert(offsetof(qvds_node, prev) == sizeof(void *) &&
                  offsetof(qvds_list, bottom) == sizeof(void *),
              "prev_of serves elements and headers alike");

// A place in a singly linked chain: between predecessor and elem, which is its successor or null.
struct place {
    void *predecessor;
    void *elem;
};

// The place before the first element for which stop(element) is true, else the end of the chain.
// The predecessor's link is read once on the way, the element's link only after stop has returned.
template <class Stop>
QVDS_HIDDEN inline place find_place(void *header, Stop &&stop) {
    place at{header, next_of(header)};
    while (at.elem != nullptr && !stop(at.elem)) {
        at.predecessor = at.elem;
        at.elem = next_of(at.elem);
    }
    return at;
}

// The place before elem itself, which may be null for the end of the chain.
QVDS_HIDDEN inline place find_place_of(void *header, const void *elem) {
    return find_place(header, [elem](const void *stored) { return stored == elem; });
}

} // namespace qvds::core

#endif

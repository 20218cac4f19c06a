// What the random programs on the owning list and the keyed hash share: a list as it should be, and
// walks in the form of lambdas.

#ifndef QVDS_TESTS_OWNING_MODEL_HPP
#define QVDS_TESTS_OWNING_MODEL_HPP

#include <qvds/keyed_hash.h>

#include <list>

namespace test {

// An owning list in the plainest terms: what is removed during a walk stays in its place, deleted,
// until the outermost walk has ended.
template <class Value>
class ListModel {
  public:
    struct Entry {
        Value value;
        bool deleted = false;
    };
    using Place = typename std::list<Entry>::iterator;

    std::list<Entry> entries;
    int walks = 0; // in progress

    // The place of the first live entry that satisfies the predicate, or the end.
    template <class Predicate>
    Place find_live(Predicate predicate) {
        Place place = entries.begin();
        while (place != entries.end() && (place->deleted || !predicate(place->value)))
            ++place;
        return place;
    }
    Place first_live() {
        return find_live([](const Value &) { return true; });
    }

    void remove(Place place) {
        place->deleted = true;
        drop_deleted();
    }
    // Removes what is there and returns it; null at the end.
    Value take(Place place) {
        if (place == entries.end())
            return nullptr;
        const Value value = place->value;
        remove(place);
        return value;
    }

    // What a walk of the library's must visit, one call of advance after the other.
    class Walk {
      public:
        explicit Walk(ListModel &list) : list_(&list) { ++list.walks; }
        // Goes to the next live entry; false at the end.
        bool advance() {
            do {
                place = index < 0 ? list_->entries.begin() : std::next(place);
                ++index;
            } while (place != list_->entries.end() && place->deleted);
            return place != list_->entries.end();
        }
        void end() {
            --list_->walks;
            list_->drop_deleted();
        }

        Place place{};
        int index = -1; // of the place; deleted entries count
      private:
        ListModel *list_;
    };

  private:
    void drop_deleted() {
        if (walks == 0)
            entries.remove_if([](const Entry &entry) { return entry.deleted; });
    }
};

// list_iterate and list_iterate_del with a lambda that may capture.
template <class Visit>
void *iterate(list_link **head, Visit visit) {
    const auto call = [](void *hook, int32_t index, void *ctx) -> void * {
        return (*static_cast<Visit *>(ctx))(hook, index);
    };
    return list_iterate(head, call, &visit);
}
template <class Visit>
void iterate_del(list_link **head, Visit visit) {
    const auto call = [](void *hook, int32_t index, void *ctx, void *) -> int32_t {
        return (*static_cast<Visit *>(ctx))(hook, index);
    };
    list_iterate_del(head, call, &visit, nullptr);
}

// The same for a table.
template <class Visit>
void *iterate(hashlist *table, Visit visit) {
    const auto call = [](void *value, int32_t index, void *ctx) -> void * {
        return (*static_cast<Visit *>(ctx))(value, index);
    };
    return hash_iterate(table, call, &visit);
}
template <class Visit>
int iterate_del(hashlist *table, Visit visit) {
    const auto call = [](void *value, int32_t index, void *ctx, void *) -> int32_t {
        return (*static_cast<Visit *>(ctx))(value, index);
    };
    return hash_iterate_del(table, call, &visit, nullptr);
}

// A result whose lower half is 0.
inline void *const stop = reinterpret_cast<void *>(uintptr_t{1} << 32);

} // namespace test

#endif

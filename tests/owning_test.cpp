// The owning list and the keyed hash beside one model, under walks inside walks: a table, and each
// of its buckets as a list in its own right.

#include <qvds/keyed_hash.h>

#include "support.hpp"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <list>

namespace {

// The invariant of list.h that a list with this many walks in progress breaks, or "".
std::string broken_invariant(const list_link *head, int walks) {
    bool deleted = false;
    for (const list_link *link = head, *prev = nullptr; link; prev = link, link = link->next) {
        if (link->prev != prev)
            return "I1";
        if (link->state != 0 && link->state != LIST_STATE_DELETED)
            return "I2";
        deleted |= link->state != 0;
    }
    if (head != nullptr && head->iters != walks)
        return "I3";
    return head && ((deleted && walks == 0) || (head->reserved != 0) != deleted) ? "I4" : "";
}

TEST(List, InvariantsCatchCorruption) {
    list_link second{nullptr, 0, 0, 0, nullptr, nullptr};
    list_link head{nullptr, 0, 0, 1, nullptr, &second};
    EXPECT_EQ(broken_invariant(&head, 1), "I1");
    second.prev = &head;
    EXPECT_EQ(broken_invariant(&head, 0), "I3");
    second.state = LIST_STATE_DELETED;
    EXPECT_EQ(broken_invariant(&head, 1), "I4");
    head.reserved = 1;
    EXPECT_EQ(broken_invariant(&head, 1), "");
    head.iters = 0;
    EXPECT_EQ(broken_invariant(&head, 0), "I4");
    second.state = 1;
    EXPECT_EQ(broken_invariant(&head, 0), "I2");
}

struct Link {
    void *hook;
    hash_entry entry; // as it should be
    bool live = true;
};
struct Bucket {
    std::list<Link> links;
    int walks = 0;
    // Removes the live links that which(link) chooses, or the first of them; returns its hook.
    template <class Which>
    void *remove(bool all, Which which) {
        void *first = nullptr;
        for (Link &link : links)
            if (link.live && which(link) && (all || first == nullptr)) {
                first = first != nullptr ? first : link.hook;
                link.live = false;
            }
        compact();
        return first;
    }
    void compact() {
        if (walks == 0)
            links.remove_if([](const Link &link) { return !link.live; });
    }
};

void *const stop = reinterpret_cast<void *>(uintptr_t{1} << 32); // its low half is 0

// Keys 0 to 5 share three buckets; of the last two one gives a negative slot, one a slot too large.
std::array<int32_t, 8> keys{0, 1, 2, 3, 4, 5, -1, 100};
int32_t small_slot(int32_t hash, int32_t size, list_link *const * /*lists*/) {
    return hash > 5 ? size : hash % size;
}

// What compare says of a hook: a search for the key given, or one of many sets of verdicts.
uintptr_t verdicts = 0;
long asked = 0; // calls of compare
int32_t verdict(const void *key, const void *hook) {
    ++asked;
    if (verdicts == 0)
        return key == hook ? 0 : 1;
    return std::array{
        2, 2, 1, -2, 2, -1, 0}[(reinterpret_cast<uintptr_t>(hook) / 16 ^ verdicts) % 7];
}

class Program {
  public:
    explicit Program(test::Random &source) : random(source) {}
    ~Program() { hash_del(table); }
    Program(const Program &) = delete;
    Program &operator=(const Program &) = delete;

    void step() {
        if (testing::Test::HasFailure())
            return;
        if (depth < 3 && random.one_in(4))
            walk();
        else if (random.one_in(2))
            change_table();
        else
            change_list(random.below(3));
        check();
    }

  private:
    void change_table() {
        int32_t &key = keys[random.below(keys.size())];
        const bool valid = key >= 0 && key <= 5;
        Bucket &bucket = buckets[valid ? static_cast<size_t>(key % 3) : 0];
        void *const word = random.one_in(9) ? nullptr : &words[random.below(words.size())];
        if (random.one_in(2)) {
            errno = 0;
            EXPECT_EQ(hash_add(table, &key, word), valid ? key % 3 : -1);
            EXPECT_EQ(errno, valid ? 0 : EDOM);
            if (valid)
                bucket.links.push_front({table->lists[key % 3]->hook, {&key, word, nullptr}});
        } else if (random.one_in(2)) {
            EXPECT_EQ(hash_del_element(table, &key), 0);
            bucket.remove(true, [&](Link &link) { return link.entry.key == &key; });
        } else {
            hash_set_metadata(table, &key, word);
            for (Link &link : bucket.links)
                link.entry.metadata = link.entry.key == &key ? word : link.entry.metadata;
        }
    }

    void change_list(size_t slot) {
        list_link **const head = &table->lists[slot];
        auto &links = buckets[slot].links;
        Link fresh{nullptr, {&keys[slot], &words[0], nullptr}};
        void *const chosen =
            links.empty()
                ? nullptr
                : std::next(links.begin(), static_cast<long>(random.below(links.size())))->hook;
        const auto is_chosen = [=](const Link &link) { return link.live && link.hook == chosen; };
        const size_t choice = random.below(6);
        if (choice < 3) {
            fresh.hook = std::malloc(sizeof(hash_entry));
            std::memcpy(fresh.hook, &fresh.entry, sizeof(hash_entry));
        }
        verdicts = 0;
        void *removed = nullptr;
        switch (choice) {
        case 0:
            EXPECT_EQ(list_push(fresh.hook, head), *head);
            links.push_front(fresh);
            break;
        case 1:
            EXPECT_EQ(list_append(fresh.hook, head)->hook, fresh.hook);
            links.push_back(fresh);
            break;
        case 2: {
            verdicts = random.below(1000) + 1;
            auto at = links.begin();
            while (at != links.end() && std::abs(verdict(nullptr, at->hook)) == 2)
                ++at;
            const int32_t last = at != links.end() ? verdict(nullptr, at->hook) : -1;
            if (last != 0)
                links.insert(last == 1 ? std::next(at) : at, fresh);
            else
                removed = fresh.hook;
            EXPECT_EQ(list_insert(fresh.hook, head, verdict) != nullptr, last != 0);
            break;
        }
        case 3:
            removed = list_pop(head);
            EXPECT_EQ(removed, buckets[slot].remove(false, [](Link &) { return true; }));
            break;
        case 4: {
            const auto match = std::find_if(links.begin(), links.end(), is_chosen);
            asked = -std::distance(links.begin(), match) - (match == links.end() ? 0 : 1);
            removed = list_del(chosen, head, verdict);
            EXPECT_EQ(asked, 0) << "deleted links are asked about too";
            EXPECT_EQ(removed, buckets[slot].remove(false, is_chosen));
            break;
        }
        default: {
            const int none = *head == nullptr ? -1 : 0;
            const int result = list_del_link(chosen, head);
            removed = buckets[slot].remove(false, is_chosen);
            EXPECT_EQ(result, removed != nullptr ? 1 : none);
            break;
        }
        }
        std::free(removed);
    }

    // Beside a walk of the library: which link must be visited next, and as which index.
    struct Walk {
        Program &program;
        bool of_table;
        size_t slot, end;
        size_t visits; // until it is stopped
        bool stopped = false;
        int index = -1; // not begun
        std::list<Link>::iterator at{};
        ~Walk() {
            if (index >= 0)
                leave();
        }
        bool next() {
            for (; slot < end; leave()) {
                Bucket &bucket = program.buckets[slot];
                at = index < 0 ? bucket.links.begin() : std::next(at);
                bucket.walks += index++ < 0 ? 1 : 0;
                for (; at != bucket.links.end(); ++at, ++index)
                    if (at->live)
                        return true;
            }
            return false;
        }
        void leave() {
            --program.buckets[slot].walks;
            program.buckets[slot++].compact();
            index = -1;
        }
    };

    void walk() {
        const size_t slot = random.below(4); // 3 for the table
        list_link **const head = &table->lists[slot % 3];
        Walk walk{*this, slot == 3, slot % 3, slot == 3 ? 3 : slot + 1, random.below(10)};
        ++depth;
        const size_t kind = random.below(5);
        if (kind == 0 && slot < 3 && walk.next()) {
            list_iter_set(*head);
            for (size_t steps = random.below(4); steps != 0; --steps)
                step();
            list_iter_clear(head);
            walk.stopped = true;
        } else if (kind < 3) {
            const void *const result =
                slot == 3 ? hash_iterate(table, visit, &walk) : list_iterate(head, visit, &walk);
            EXPECT_EQ(result, walk.stopped ? stop : nullptr);
        } else if (slot == 3) {
            EXPECT_EQ(hash_iterate_del(table, visit_del, &walk, this), 0);
        } else {
            list_iterate_del(head, visit_del, &walk, this);
        }
        --depth;
        EXPECT_TRUE(walk.stopped || !walk.next()) << "something was not visited";
    }
    static void *visit(void *visited, int32_t index, void *ctx) {
        auto &walk = *static_cast<Walk *>(ctx);
        walk.program.visited(walk, visited, index);
        walk.stopped = walk.visits-- == 0;
        return walk.stopped ? stop : nullptr;
    }
    static int32_t visit_del(void *visited, int32_t index, void *ctx, void *ctx2) {
        auto &walk = *static_cast<Walk *>(ctx);
        EXPECT_EQ(ctx2, &walk.program);
        walk.program.visited(walk, visited, index);
        if (!walk.at->live || walk.program.random.one_in(2))
            return 0;
        walk.at->live = false;
        if (!walk.of_table)
            std::free(visited);
        return INT32_MIN;
    }
    void visited(Walk &walk, const void *visited, int32_t index) {
        ASSERT_TRUE(walk.next()) << "visited past the end";
        EXPECT_EQ(visited, walk.of_table ? walk.at->entry.value : walk.at->hook);
        EXPECT_EQ(index, walk.index);
        check();
        for (size_t steps = random.below(3); steps != 0; --steps)
            step();
    }

    void check() {
        size_t length = 0;
        verdicts = 0;
        std::array<hash_entry, 6> first{};
        for (size_t slot = 0; slot < 3; ++slot) {
            list_link *const head = table->lists[slot];
            ASSERT_EQ(broken_invariant(head, buckets[slot].walks), "");
            std::vector<void *> live;
            list_link *link = head;
            list_link *walked = head != nullptr && head->state == 0 ? head : list_next(head);
            for (const Link &expected : buckets[slot].links) {
                ASSERT_TRUE(link != nullptr && link->hook == expected.hook &&
                            (link->state == 0) == expected.live);
                if (expected.live) {
                    EXPECT_EQ(walked, link);
                    EXPECT_EQ(std::memcmp(link->hook, &expected.entry, sizeof(hash_entry)), 0);
                    EXPECT_EQ(list_find_link(link->hook, head), link);
                    EXPECT_EQ(list_find_element(link->hook, head, verdict), link->hook);
                    walked = list_next(walked);
                    live.push_back(link->hook);
                    hash_entry &found =
                        first[static_cast<size_t>(*static_cast<int32_t *>(expected.entry.key))];
                    found = found.key != nullptr ? found : expected.entry;
                }
                link = link->next;
            }
            ASSERT_TRUE(link == nullptr && walked == nullptr);
            EXPECT_EQ(list_length(head), static_cast<int>(live.size()));
            length += live.size();
            live.push_back(nullptr);
            EXPECT_EQ(list_peek(head), live[0]);
            int count = -1;
            void **const copy = list_2_table(head, &count);
            EXPECT_EQ(std::vector<void *>(copy, copy + count + 1), live);
            std::free(copy);
        }
        EXPECT_EQ(hash_length(table), static_cast<int>(length));
        for (size_t i = 0; i < keys.size(); ++i) {
            EXPECT_EQ(hash_find_element(table, &keys[i]), i < 6 ? first[i].value : nullptr);
            EXPECT_EQ(hash_get_metadata(table, &keys[i]), i < 6 ? first[i].metadata : nullptr);
        }
    }

    test::Random &random;
    hashlist *table = hash_create(3, hash_int, small_slot, hash_intcmp);
    std::array<Bucket, 3> buckets;
    std::array<char, 7> words; // their addresses are values and metadata
    int depth = 0;
};

TEST(Owning, AgreesWithModelUnderNestedWalks) {
    test::for_each_seed([](test::Random &random) {
        for (int run = 0; run < 40; ++run) {
            Program program(random);
            for (int i = 0; i < 40; ++i)
                program.step();
        }
    });
}

TEST(List, NullHooksCountButAreNotVisited) {
    list_link *head = nullptr;
    list_push(keys.data(), &head);
    list_push(nullptr, &head);
    const auto visit = [](void *hook, int32_t index, void *) { return index == 1 ? hook : stop; };
    EXPECT_EQ(list_iterate(&head, visit, nullptr), keys.data());
    int count = 7;
    std::free(list_2_table(head, &count));
    EXPECT_EQ(count, 0);
    EXPECT_EQ(list_pop(&head), nullptr);
    EXPECT_EQ(list_pop(&head), keys.data());
    EXPECT_EQ(head, nullptr);
}

TEST(Owning, NullListsAndTablesAreNeutral) {
    list_link **const list = nullptr;
    EXPECT_TRUE(!list_push(&keys, list) && !list_append(&keys, list) && !list_pop(list));
    EXPECT_TRUE(!list_insert(&keys, list, verdict) && !list_del(&keys, list, verdict));
    EXPECT_TRUE(list_del_link(&keys, list) == -1 && !list_iterate(list, nullptr, nullptr));
    list_iterate_del(list, nullptr, nullptr, nullptr);
    list_iter_set(nullptr);
    list_iter_clear(list);
    EXPECT_FALSE(hash_create(1, nullptr, nullptr, hash_intcmp));
    EXPECT_FALSE(hash_create(1, hash_int, nullptr, nullptr));
    EXPECT_TRUE(hash_add(nullptr, &keys, nullptr) == -1 && errno == EINVAL);
    EXPECT_FALSE(hash_find_element(nullptr, &keys) || hash_get_metadata(nullptr, &keys));
    hash_set_metadata(nullptr, &keys, nullptr);
    EXPECT_FALSE(hash_del_element(nullptr, &keys) || hash_iterate(nullptr, nullptr, nullptr));
    EXPECT_FALSE(hash_iterate_del(nullptr, nullptr, nullptr, nullptr));
    EXPECT_EQ(hash_length(nullptr), -1);
    hash_del(nullptr);
}

TEST(KeyedHash, DefaultsAndNullVisits) {
    hashlist *const table = hash_create(0, hash_int, nullptr, hash_intcmp);
    EXPECT_EQ(table->size, 127);
    EXPECT_EQ(hash_add(table, &keys[1], nullptr), hash_mult_func(1, 127, nullptr));
    EXPECT_EQ(hash_iterate(table, nullptr, nullptr), nullptr);
    EXPECT_EQ(hash_iterate_del(table, nullptr, nullptr, nullptr), 0);
    EXPECT_EQ(hash_length(table), 1);
    hash_del(table);
}

} // namespace

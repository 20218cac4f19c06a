// The owning list and the keyed hash beside one model, under walks inside walks and allocations
// that fail: a table, and each of its buckets as a list in its own right.

#include "owning/keyed_hash_internal.hpp"
#include "owning/list_internal.hpp"

#include "failing_alloc.hpp"
#include "support.hpp"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <list>
#include <map>

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
    list_link second{nullptr, 1, 0, 0, nullptr, nullptr};
    list_link head{nullptr, 0, 0, 1, nullptr, &second};
    EXPECT_EQ(broken_invariant(&head, 1), "I1");
    second.prev = &head;
    EXPECT_EQ(broken_invariant(&head, 1), "I2");
    second.state = LIST_STATE_DELETED;
    EXPECT_EQ(broken_invariant(&head, 0), "I3");
    EXPECT_EQ(broken_invariant(&head, 1), "I4") << "without the note";
    head = {nullptr, 0, 1, 0, nullptr, &second};
    EXPECT_EQ(broken_invariant(&head, 0), "I4") << "without a walk";
}

void *const stop = reinterpret_cast<void *>(uintptr_t{1} << 32); // its low half is 0

// Keys 0 to 5 share three buckets; of the last two one gives a negative slot, one a slot too large.
std::array<int32_t, 8> keys{0, 1, 2, 3, 4, 5, -1, 100};
int32_t small_slot(int32_t hash, int32_t size, list_link *const *lists) {
    EXPECT_NE(lists, nullptr);
    return hash > 5 ? size : hash % size;
}
int32_t probe; // the key looked for
int32_t compare_keys(const void *key, const void *stored) {
    EXPECT_EQ(key, &probe);
    return hash_intcmp(key, stored);
}

struct Link {
    void *hook;
    hash_entry entry; // as it is to be
    bool live = true;
    int32_t verdict = 0; // what compare says of it in the next operation
};
using Links = std::list<Link>;

Links::iterator asked; // the link that compare must be called for
int32_t compare(const void * /*key*/, const void *hook) {
    EXPECT_EQ(hook, asked->hook);
    return asked++->verdict;
}
int32_t compare_hooks(const void *key, const void *hook) {
    return *static_cast<void *const *>(key) == hook ? 0 : 1;
}

struct Program {
    test::Random &random;
    hashlist *table = nullptr;
    std::array<Links, 3> buckets{};

    // A walk of the library over the buckets from slot to end.
    struct Walk {
        Program &program;
        size_t slot, end;
        bool of_table;
        bool stopped = false;
        int index = -1;
        Links::iterator at{};
        // Goes on to the link that must be visited next.
        bool next() {
            for (; slot < end; ++slot, index = -1) {
                Links &links = program.buckets[slot];
                do
                    at = index++ < 0 ? links.begin() : std::next(at);
                while (at != links.end() && !at->live);
                if (at != links.end())
                    return true;
            }
            return false;
        }
    };
    std::vector<const Walk *> walks{}; // in progress

    void run() {
        test::for_each_failing_allocation([this](const test::FailingAlloc &failing) {
            table = hash_create(3, hash_int, small_slot, compare_keys);
            EXPECT_EQ(table == nullptr, failing.failed());
            EXPECT_EQ(test::live_blocks(), table == nullptr ? 0U : 2U);
        });
        qvds::list_compact(nullptr);
        qvds::list_compact(&table->lists[0]);
        steps(40);
        hash_del(table);
        EXPECT_EQ(test::live_blocks(), 0U);
    }

    void steps(size_t count) {
        for (; count != 0 && !testing::Test::HasFailure(); --count) {
            walks.size() < 3 && random.one_in(4) ? walk() : change();
            check();
        }
    }

    void change() {
        const size_t which = random.below(keys.size());
        const int slot = which < 6 ? static_cast<int>(which % 3) : -1; // of the key
        list_link **const head = &table->lists[which % 3];
        Links &links = buckets[which % 3];
        void *const key = &keys[which];
        void *const word = random.one_in(9) ? nullptr : &keys[random.below(keys.size())];
        void *hook = nullptr;
        for (Link &link : links) {
            link.verdict = std::array{2, 2, 1, -2, 2, -1, 0}[random.below(7)];
            hook = random.one_in(2) ? link.hook : hook;
        }
        asked = links.begin();
        probe = keys[which];
        const auto remove = [&links](auto chosen) -> void * {
            const auto removed = std::find_if(links.begin(), links.end(), [=](const Link &link) {
                return link.live && chosen(link);
            });
            if (removed == links.end())
                return nullptr;
            removed->live = false;
            std::free(removed->hook);
            return removed->hook;
        };
        switch (random.below(9)) {
        case 0:
            EXPECT_EQ(hash_del_element(table, &probe), 0);
            for (Link &link : links)
                link.live &= link.entry.key != key;
            break;
        case 1:
            hash_set_metadata(table, &probe, word);
            for (Link &link : links)
                link.entry.metadata = link.entry.key == key ? word : link.entry.metadata;
            break;
        case 2:
            EXPECT_EQ(list_pop(head), remove([](const Link &) { return true; }));
            break;
        case 3:
            EXPECT_EQ(list_del(nullptr, head, compare),
                      remove([](const Link &link) { return link.verdict == 0; }));
            break;
        case 4:
            EXPECT_EQ(list_del_link(hook, head) == 1,
                      remove([=](const Link &link) { return link.hook == hook; }) != nullptr);
            break;
        case 5:
        case 6:
            test::for_each_failing_allocation([&](const test::FailingAlloc &failing) {
                errno = 0;
                const int result = hash_add(table, key, word);
                EXPECT_EQ(result, failing.failed() ? -1 : slot);
                EXPECT_EQ(errno, failing.failed() ? ENOMEM : slot < 0 ? EDOM : 0);
            });
            if (slot >= 0)
                links.push_front({(*head)->hook, {key, word, nullptr}});
            break;
        default:
            add_to_list(head, links, {&keys[which % 6], word, nullptr});
        }
    }

    void add_to_list(list_link **head, Links &links, const hash_entry &entry) {
        static constexpr std::array operations{
            +[](void *hook, list_link **list) { return list_insert(hook, list, compare); },
            list_push, list_append};
        Link fresh{std::malloc(sizeof entry), entry};
        std::memcpy(fresh.hook, &entry, sizeof entry);
        const size_t operation = random.below(operations.size());
        auto place = operation == 1 ? links.begin() : links.end();
        if (operation == 0)
            place = std::find_if(links.begin(), links.end(),
                                 [](const Link &link) { return std::abs(link.verdict) < 2; });
        const int32_t verdict = operation == 0 && place != links.end() ? place->verdict : -1;
        test::for_each_failing_allocation([&](const test::FailingAlloc &failing) {
            asked = links.begin();
            const list_link *const link = operations[operation](fresh.hook, head);
            EXPECT_EQ(link == nullptr, failing.failed() || verdict == 0);
        });
        if (verdict != 0)
            links.insert(verdict == 1 ? std::next(place) : place, fresh);
        else
            std::free(fresh.hook);
    }

    void walk() {
        const size_t kind = random.below(5);
        const size_t slot = kind < 3 ? random.below(3) : 0;
        list_link **const head = &table->lists[slot];
        Walk walk{*this, slot, kind < 3 ? slot + 1 : 3, kind >= 3};
        walks.push_back(&walk);
        const void *result = nullptr;
        if (kind == 0) {
            list_iter_set(*head);
            while (walk.next())
                steps(random.below(2));
            list_iter_clear(head);
        } else if (kind == 1) {
            result = list_iterate(head, visit, &walk);
        } else if (kind == 2) {
            list_iterate_del(head, visit_del, nullptr, &walk);
        } else if (kind == 3) {
            result = hash_iterate(table, visit, &walk);
        } else {
            EXPECT_EQ(hash_iterate_del(table, visit_del, nullptr, &walk), 0);
        }
        EXPECT_EQ(result, walk.stopped ? stop : nullptr);
        EXPECT_TRUE(walk.stopped || !walk.next()) << "something was not visited";
        walks.pop_back();
    }
    static void *visit(void *visited, int32_t index, void *ctx) {
        auto &walk = *static_cast<Walk *>(ctx);
        walk.stopped = walk.program.visited(walk, visited, index);
        return walk.stopped ? stop : nullptr;
    }
    static int32_t visit_del(void *visited, int32_t index, void * /*ctx*/, void *ctx2) {
        auto &walk = *static_cast<Walk *>(ctx2);
        if (!walk.program.visited(walk, visited, index) || !walk.at->live)
            return 0;
        walk.at->live = false;
        if (!walk.of_table)
            std::free(visited);
        return INT32_MIN;
    }
    // Returns whether to stop there, or to remove what was visited.
    bool visited(Walk &walk, const void *visited, int32_t index) {
        if (walk.stopped || !walk.next()) {
            ADD_FAILURE() << "visited past the end";
            return false;
        }
        EXPECT_EQ(visited, walk.of_table ? walk.at->entry.value : walk.at->hook);
        EXPECT_EQ(index, walk.index);
        check();
        steps(random.below(3));
        return random.one_in(4);
    }

    void check() {
        std::map<void *, hash_entry> first; // that each key finds
        size_t length = 0;
        size_t used = 2;
        for (size_t slot = 0; slot < buckets.size(); ++slot) {
            Links &links = buckets[slot];
            const auto here = std::count_if(walks.begin(), walks.end(),
                                            [=](const Walk *walk) { return walk->slot == slot; });
            if (here == 0)
                links.remove_if([](const Link &link) { return !link.live; });
            list_link *const head = table->lists[slot];
            ASSERT_EQ(broken_invariant(head, static_cast<int>(here)), "");
            list_link *link = head;
            list_link *walked = head != nullptr && head->state == 0 ? head : list_next(head);
            std::vector<void *> live;
            for (const Link &expected : links) {
                ASSERT_TRUE(link != nullptr && link->hook == expected.hook);
                ASSERT_EQ(link->state == 0, expected.live);
                EXPECT_EQ(list_find_link(link->hook, head) == link, expected.live);
                EXPECT_EQ(list_find_element(&link->hook, head, compare_hooks) != nullptr,
                          list_find_link(link->hook, head) != nullptr);
                if (expected.live) {
                    EXPECT_EQ(link, walked);
                    walked = list_next(walked);
                    EXPECT_EQ(std::memcmp(link->hook, &expected.entry, sizeof(hash_entry)), 0);
                    live.push_back(link->hook);
                    first.emplace(expected.entry.key, expected.entry);
                }
                link = link->next;
            }
            ASSERT_TRUE(link == nullptr && walked == nullptr);
            EXPECT_EQ(list_length(head), static_cast<int>(live.size()));
            length += live.size();
            used += links.size() + live.size();
            live.push_back(nullptr);
            EXPECT_EQ(list_peek(head), live[0]);
            int count = -1;
            test::for_each_failing_allocation([&](const test::FailingAlloc &failing) {
                void **const copy = list_2_table(head, &count);
                EXPECT_EQ(count == -1, failing.failed());
                EXPECT_EQ(std::vector<void *>(copy, copy + count + 1),
                          failing.failed() ? std::vector<void *>{} : live);
                std::free(copy);
            });
        }
        EXPECT_EQ(hash_length(table), static_cast<int>(length));
        EXPECT_EQ(test::live_blocks(), used);
        for (int32_t &key : keys) {
            probe = key;
            EXPECT_EQ(hash_find_element(table, &probe), first[&key].value);
            EXPECT_EQ(hash_get_metadata(table, &probe), first[&key].metadata);
        }
    }
};

TEST(Owning, AgreesWithModelUnderNestedWalks) {
    test::for_each_seed([](test::Random &random) {
        for (int run = 0; run < 40; ++run)
            Program{random}.run();
    });
}

// What a dump prints, with P for every address but null.
std::string dumped(auto dump) {
    testing::internal::CaptureStderr();
    dump();
    std::string text = testing::internal::GetCapturedStderr();
    for (size_t at = 0; (at = text.find("0x", at)) != std::string::npos;) {
        text.erase(at, text.find_first_not_of("0123456789abcdefx", at) - at - 1);
        text[at] = 'P';
    }
    return text;
}

TEST(Owning, DumpsShowDeletedLinksAndReadableKeys) {
    std::array<int32_t, 2> key{0x41414141, 0}; // and the string "AAAA"
    hash_entry entry{&key, nullptr, &key};
    list_link last{&entry, LIST_STATE_DELETED, 0, 0, nullptr, nullptr};
    list_link head{&entry, 0, 0, 1, nullptr, &last};
    last.prev = &head;
    std::array<list_link *, 2> lists{nullptr, &head};
    hashlist table{2, nullptr, nullptr, nullptr, lists.data()};
    EXPECT_EQ(dumped([] { qvds::hash_dump(nullptr, 1); }), "hashlist=(nil)(-1):\n");
    EXPECT_EQ(dumped([&] { qvds::hash_dump(&table, 1); }),
              "hashlist=P(2):\n"
              "  [0]list=(nil):\n"
              "  [1]list=P:\n"
              "    (nil) <- P -> P :: [1] state=0 hook=P\n"
              "      key=P value=(nil) metadata=P\n"
              "    P <- P -> (nil) :: [0] state=2 DELETED hook=P\n"
              "      key=P value=(nil) metadata=P\n");
    lists[1] = &last;
    const std::map<hash_key_fn, std::string> shown_keys{{hash_int, "1094795585"},
                                                        {hash_atoi, "AAAA"}};
    for (const auto &[hash_func, shown] : shown_keys) {
        table.hash_func = hash_func;
        EXPECT_EQ(dumped([&] { qvds::hash_dump(&table, 0); }),
                  "hashlist=P(2):\n  [1]" +
                      dumped([&] { qvds::list_dump(&last, nullptr, nullptr); }) + "      key=P(" +
                      shown + ") value=(nil) metadata=P\n");
    }
}

} // namespace

// The owning list and the keyed hash beside one model, under walks inside walks and allocations
// that fail: a table, and each of its buckets as a list in its own right.

#include "owning/keyed_hash_internal.hpp"
#include "owning/list_internal.hpp"

#include "failing_alloc.hpp"
#include "support.hpp"

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <cstring>

namespace {

// The invariant of list.h that a list with this many walks in progress breaks, or 0.
int broken_invariant(const list_link *head, int walks) {
    bool deleted = false;
    for (const list_link *link = head, *prev = nullptr; link; prev = link, link = link->next) {
        if (link->prev != prev)
            return 1;
        if (link->state != 0 && link->state != LIST_STATE_DELETED)
            return 2;
        deleted |= link->state != 0;
    }
    if (head != nullptr && head->iters != walks)
        return 3;
    return head && ((deleted && walks == 0) || (deleted && head->reserved == 0)) ? 4 : 0;
}

TEST(List, InvariantsCatchCorruption) {
    list_link second{nullptr, 1, 0, 0, nullptr, nullptr}, head{nullptr, 0, 0, 1, nullptr, &second};
    EXPECT_EQ(broken_invariant(&head, 1), 1);
    second.prev = &head;
    EXPECT_EQ(broken_invariant(&head, 1), 2);
    second.state = LIST_STATE_DELETED;
    EXPECT_EQ(broken_invariant(&head, 0), 3);
    EXPECT_EQ(broken_invariant(&head, 1), 4);
}

void *const stop = reinterpret_cast<void *>(uintptr_t{1} << 32); // its low half is 0

int32_t keys[] = {0, 1, 2, 3, 4, 5}; // their slots in a table of three: 0, 1, 0, 2, 1, 0

// Must be called for one link after the other. Its verdict is 2 but for the decisive link.
list_link *asked, *decisive;
int32_t verdict;
int32_t compare(const void * /*key*/, const void *hook) {
    EXPECT_EQ(hook, asked->hook);
    const bool decides = asked == decisive;
    asked = asked->next;
    return decides ? verdict : 2;
}

int32_t equal(const void * /*key*/, const void * /*hook*/) {
    return 0;
}

// The model is the entries of the live links. Where deleted ones are, the library's links tell.
struct Program {
    test::Random &random;
    hashlist *table = nullptr;
    std::vector<hash_entry *> entries[3]{};
    uintptr_t words = 0; // given out so far, no two alike

    // A walk of the library over one bucket, or over the table.
    struct Walk {
        bool of_table, removes;
        int slot;
        int index = -1;
        list_link *due = nullptr; // to be visited next
        bool stopped = false;
    };
    std::vector<Walk *> walks{}; // in progress

    void run() {
        test::for_each_failing_allocation([this](const test::FailingAlloc &failing) {
            table = hash_create(3, hash_int, nullptr, hash_intcmp);
            EXPECT_EQ(table == nullptr, failing.failed());
        });
        steps(40);
        hash_del(table);
        EXPECT_EQ(test::live_blocks(), 0U);
    }

    void steps(size_t count) {
        for (; count != 0 && !testing::Test::HasFailure(); --count) {
            int32_t *const key = &keys[random.below(6)];
            const int slot = hash_mult_func(*key, 3, nullptr);
            verdict = static_cast<int32_t>(random.below(3)) - 1;
            asked = decisive = table->lists[slot];
            while (decisive != nullptr && random.below(3) != 0)
                decisive = decisive->next;
            if (walks.size() < 3 && random.one_in(4))
                walk(random.below(5), slot);
            else if (random.one_in(2))
                add(random.below(4), key, slot, &table->lists[slot], entries[slot]);
            else
                change(key, &table->lists[slot], entries[slot]);
            check();
        }
    }

    using Entries = std::vector<hash_entry *>;
    void add(size_t kind, int32_t *key, int slot, list_link **head, Entries &live) {
        const hash_entry entry{key, reinterpret_cast<void *>(++words), nullptr};
        void *const hook = kind == 0 ? nullptr : std::malloc(sizeof entry);
        if (kind != 0)
            *static_cast<hash_entry *>(hook) = entry;
        if (kind != 3) {
            decisive = kind == 2 ? nullptr : *head;
            verdict = -1;
        }
        const list_link *link = nullptr;
        test::for_each_failing_allocation([&](const test::FailingAlloc &failing) {
            asked = *head;
            errno = 0;
            link = kind == 0   ? (hash_add(table, key, entry.value) == slot ? *head : nullptr)
                   : kind == 1 ? list_push(hook, head)
                   : kind == 2 ? list_append(hook, head)
                               : list_insert(hook, head, compare);
            EXPECT_EQ(link == nullptr, failing.failed() || (decisive != nullptr && verdict == 0));
            EXPECT_EQ(errno, failing.failed() ? ENOMEM : 0);
        });
        if (link == nullptr)
            return std::free(hook);
        EXPECT_EQ(decisive != nullptr && verdict == 1 ? link->prev : link->next, decisive);
        EXPECT_EQ(std::memcmp(link->hook, &entry, sizeof entry), 0);
        auto place = live.begin();
        for (const list_link *before = link->prev; before != nullptr; before = before->prev)
            place += before->state == 0;
        live.insert(place, static_cast<hash_entry *>(link->hook));
    }

    void change(int32_t *key, list_link **head, Entries &live) {
        void *const word = reinterpret_cast<void *>(++words);
        const auto matches = [=](const hash_entry *entry) { return entry->key == key; };
        const auto first = std::find_if(live.begin(), live.end(), matches);
        void *hook = decisive != nullptr ? decisive->hook : nullptr; // to be removed
        switch (random.below(5)) {
        case 0:
            hook = nullptr;
            std::erase_if(live, matches);
            EXPECT_EQ(hash_del_element(table, key), 0);
            break;
        case 1:
            hook = nullptr;
            EXPECT_EQ(hash_find_element(table, key), first == live.end() ? hook : (*first)->value);
            hash_set_metadata(table, key, word);
            EXPECT_EQ(hash_get_metadata(table, key), first == live.end() ? hook : word);
            for (const hash_entry *entry : live)
                EXPECT_EQ(entry->metadata == word, matches(entry));
            break;
        case 2:
            hook = live.empty() ? nullptr : live[0];
            EXPECT_EQ(list_pop(head), hook);
            break;
        case 3:
            if (decisive == nullptr || decisive->state != 0 || verdict != 0)
                hook = nullptr;
            EXPECT_EQ(list_del(nullptr, head, compare), hook);
            break;
        default:
            EXPECT_EQ(list_del_link(hook, head) == 1, std::count(live.begin(), live.end(), hook));
        }
        if (std::erase(live, hook) != 0)
            std::free(hook);
    }

    void walk(size_t kind, int slot) {
        Walk walk{kind < 2, kind % 2 == 0, kind < 2 ? 0 : slot};
        list_link **const head = &table->lists[slot];
        walks.push_back(&walk);
        go_on(walk);
        const void *result = nullptr;
        if (kind == 0)
            EXPECT_EQ(hash_iterate_del(table, visit_del, nullptr, this), 0);
        else if (kind == 1)
            result = hash_iterate(table, visit, this);
        else if (kind == 2)
            list_iterate_del(head, visit_del, nullptr, this);
        else if (kind == 3)
            result = list_iterate(head, visit, this);
        else {
            list_iter_set(*head);
            for (; walk.due != nullptr; go_on(walk))
                steps(random.below(2));
            list_iter_clear(head);
        }
        EXPECT_EQ(result, walk.stopped ? stop : nullptr);
        EXPECT_TRUE(walk.stopped || walk.due == nullptr) << "something was not visited";
        walks.pop_back();
    }
    static void *visit(void *visited, int32_t index, void *program) {
        return static_cast<Program *>(program)->chosen(visited, index) ? stop : nullptr;
    }
    static int32_t visit_del(void *visited, int32_t index, void * /*ctx*/, void *program) {
        return static_cast<Program *>(program)->chosen(visited, index) ? INT32_MIN : 0;
    }
    // Returns whether to stop there, or to remove what was visited.
    bool chosen(const void *visited, int32_t index) {
        Walk &walk = *walks.back();
        EXPECT_TRUE(walk.due != nullptr && !walk.stopped) << "visited past the end";
        if (testing::Test::HasFailure())
            return false;
        auto *const entry = static_cast<hash_entry *>(walk.due->hook);
        EXPECT_EQ(visited, walk.of_table ? entry->value : entry);
        EXPECT_EQ(index, walk.index);
        steps(random.below(3));
        const bool act = walk.due->state == 0 && random.one_in(4);
        walk.stopped = act && !walk.removes;
        if (act && walk.removes) {
            std::erase(entries[walk.slot], entry);
            std::free(walk.of_table ? nullptr : entry);
        }
        go_on(walk);
        return act;
    }
    void go_on(Walk &walk) {
        const int end = walk.of_table ? 3 : walk.slot + 1;
        for (;; walk.index = -1) {
            do
                walk.due = walk.index++ < 0 ? table->lists[walk.slot] : walk.due->next;
            while (walk.due != nullptr && walk.due->state != 0);
            if (walk.due != nullptr || ++walk.slot >= end)
                return;
        }
    }

    void check() {
        size_t length = 0, blocks = 2;
        for (int slot = 0; slot < 3; ++slot) {
            const auto here = std::count_if(walks.begin(), walks.end(),
                                            [=](const Walk *walk) { return walk->slot == slot; });
            list_link *const head = table->lists[slot];
            ASSERT_EQ(broken_invariant(head, static_cast<int>(here)), 0);
            std::vector<void *> live(entries[slot].begin(), entries[slot].end());
            length += live.size();
            blocks += live.size();
            EXPECT_EQ(list_length(head), static_cast<int>(live.size()));
            live.push_back(nullptr);
            EXPECT_EQ(list_peek(head), live[0]);
            EXPECT_EQ(list_find_element(nullptr, head, equal), live[0]);
            size_t met = 0;
            for (list_link *link = head; link != nullptr; link = link->next, ++blocks)
                if (link->state == 0) {
                    ASSERT_EQ(link->hook, live[met++]);
                    EXPECT_EQ(list_find_link(link->hook, head), link);
                    const list_link *const next = list_next(link);
                    EXPECT_EQ(next != nullptr ? next->hook : nullptr, live[met]);
                }
            int count = -1;
            test::for_each_failing_allocation([&](const test::FailingAlloc &failing) {
                void **const copy = list_2_table(head, &count);
                EXPECT_TRUE(copy ? std::equal(live.begin(), live.end(), copy, copy + count + 1)
                                 : failing.failed() && count == -1);
                std::free(copy);
            });
        }
        EXPECT_EQ(hash_length(table), static_cast<int>(length));
        EXPECT_EQ(test::live_blocks(), blocks);
    }
};

TEST(Owning, AgreesWithModelUnderNestedWalks) {
    test::for_each_seed([](test::Random &random) {
        for (int run = 0; run < 40; ++run)
            Program{random}.run();
    });
}

TEST(Owning, DumpsShowDeletedLinksAndReadableKeys) {
    int32_t key[] = {0x41414141, 0}; // and the string "AAAA"
    hash_entry entry{key, nullptr, nullptr};
    list_link link{&entry, LIST_STATE_DELETED, 0, 0, nullptr, nullptr}, *lists[] = {nullptr, &link};
    hashlist table{2, hash_atoi, nullptr, nullptr, lists};
    testing::internal::CaptureStderr();
    qvds::hash_dump(&table, 0);
    qvds::hash_dump_entry(&entry, reinterpret_cast<const void *>(hash_int));
    const std::string text = testing::internal::GetCapturedStderr();
    for (const char *const part :
         {"(2):\n  [1]list=0x", ":\n    (nil) <- 0x", " -> (nil) :: [0] state=2 DELETED hook=0x",
          "(AAAA) value=(nil) metadata=(nil)\n", "(1094795585) value=(nil) metadata=(nil)\n"})
        EXPECT_NE(text.find(part), std::string::npos) << part;
}

} // namespace

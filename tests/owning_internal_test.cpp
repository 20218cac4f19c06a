// The owning list and the keyed hash where the shared object cannot be watched: when every
// allocation fails in turn, what is released when, and the dumps, which it hides.

#include "owning/keyed_hash_internal.hpp"
#include "owning/list_internal.hpp"

#include "failing_alloc.hpp"
#include "fault.hpp"
#include "support.hpp"

#include <qvds/keyed_hash.hpp>

#include <cerrno>
#include <cstdlib>
#include <string>

namespace {

using qvds::sound;
using qvds::core::check_list;
using test::FailingAlloc;
using test::for_each_failing_allocation;
using test::live_blocks;

int32_t number[] = {0, 1, 2, 3, 4, 5};

void append(list_link **head, int first, int last) {
    for (int i = first; i <= last; ++i)
        list_append(&number[i], head);
}

// -- want of memory ------------------------------------------------------------------------------

template <int32_t verdict>
int32_t always(const void *, const void *) {
    return verdict;
}

TEST(Owning, AddingToAListWithoutMemoryChangesNothing) {
    list_link *(*const additions[])(list_link **) = {
        [](list_link **head) { return list_push(&number[5], head); },
        [](list_link **head) { return list_append(&number[5], head); },
        [](list_link **head) { return list_insert(&number[5], head, always<-1>); },
        [](list_link **head) { return list_insert(&number[5], head, always<1>); },
        [](list_link **head) { return list_insert(&number[5], head, always<2>); },
    };
    for (const int length : {0, 1, 2})
        for (const auto add : additions) {
            list_link *head = nullptr;
            append(&head, 1, length);
            const size_t blocks = live_blocks();
            for_each_failing_allocation([&](const FailingAlloc &failing) {
                errno = 0;
                const bool added = add(&head) != nullptr;
                EXPECT_EQ(added, !failing.failed());
                EXPECT_EQ(errno, added ? 0 : ENOMEM);
                EXPECT_EQ(list_length(head), length + added);
                EXPECT_EQ(live_blocks(), blocks + added);
                EXPECT_EQ(check_list(head), sound);
            });
            while (head != nullptr)
                list_pop(&head);
        }
}

TEST(Owning, AListWithoutMemoryForItsTableLeavesTheCountAlone) {
    list_link *head = nullptr;
    append(&head, 1, 3);
    for_each_failing_allocation([&](const FailingAlloc &failing) {
        int count = -7;
        void **const table = list_2_table(head, &count);
        EXPECT_EQ(table == nullptr, failing.failed());
        EXPECT_EQ(count, failing.failed() ? -7 : 3);
        std::free(table);
    });
    while (head != nullptr)
        list_pop(&head);
}

TEST(Owning, ATableWithoutMemoryIsNotMadeAndLeavesNothing) {
    const size_t blocks = live_blocks();
    for_each_failing_allocation([&](const FailingAlloc &failing) {
        hashlist *const table = hash_create(3, hash_int, nullptr, hash_intcmp);
        EXPECT_EQ(table == nullptr, failing.failed());
        hash_del(table);
        EXPECT_EQ(live_blocks(), blocks);
    });
}

TEST(Owning, AddingToATableWithoutMemoryChangesNothing) {
    hashlist *const table = hash_create(3, hash_int, nullptr, hash_intcmp);
    const size_t blocks = live_blocks();
    for_each_failing_allocation([&](const FailingAlloc &failing) {
        errno = 0;
        const int slot = hash_add(table, &number[1], &number[2]);
        const bool added = !failing.failed();
        EXPECT_EQ(slot, added ? 1 : -1);
        EXPECT_EQ(errno, added ? 0 : ENOMEM);
        EXPECT_EQ(hash_length(table), added ? 1 : 0);
        EXPECT_EQ(live_blocks(), blocks + (added ? 2 : 0));
    });
    hash_del(table);
}

struct NumberHash {
    int operator()(const int *key) const { return *key; }
};
struct NumberEqual {
    bool operator()(const int *a, const int *b) const { return *a == *b; }
};

struct Value {
    Value() { ++living; }
    ~Value() { --living; }
    static inline int living = 0;
};

TEST(Owning, ATableWithoutMemoryForMoreBucketsStaysAsItIs) {
    const size_t blocks = live_blocks();
    {
        auto table = qvds::keyed_hash<int *, Value, NumberHash, NumberEqual, void,
                                      qvds::dispose_with_delete>::make(1);
        for (const int key : {1, 2, 3})
            ASSERT_TRUE(table.add(&number[key], *new Value));
        const size_t blocks_of_three = live_blocks();
        for_each_failing_allocation([&](const FailingAlloc &failing) {
            const bool moved = table.rehash(5);
            EXPECT_EQ(moved, !failing.failed());
            EXPECT_EQ(table.bucket_count(), moved ? 5U : 1U);
            EXPECT_EQ(table.count(), 3U);
            EXPECT_EQ(Value::living, 3) << "a table that moves disposes of nothing";
            EXPECT_EQ(live_blocks(), blocks_of_three);
        });
    }
    EXPECT_EQ(Value::living, 0);
    EXPECT_EQ(live_blocks(), blocks);
}

// -- what is released, and when ------------------------------------------------------------------

TEST(Owning, AListReleasesWhatItRemovesAtOnceOrWithTheWalk) {
    const size_t blocks = live_blocks();
    list_link *head = nullptr;
    append(&head, 1, 3);
    list_pop(&head);
    EXPECT_EQ(live_blocks(), blocks + 2);
    list_iter_set(head);
    list_del(&number[3], &head, hash_intcmp);
    list_del_link(&number[2], &head);
    EXPECT_EQ(live_blocks(), blocks + 2) << "deferred";
    list_iter_clear(&head);
    EXPECT_EQ(live_blocks(), blocks);
}

TEST(Owning, CompactingNoListDoesNothing) {
    qvds::list_compact(nullptr);
    list_link *empty = nullptr;
    qvds::list_compact(&empty);
    EXPECT_EQ(empty, nullptr);
}

TEST(Owning, ATableReleasesEntriesAtOnceAndLinksWithTheWalk) {
    const size_t blocks = live_blocks();
    hashlist *const table = hash_create(1, hash_int, nullptr, hash_intcmp);
    for (const int key : {1, 2, 3, 1})
        hash_add(table, &number[key], table);
    EXPECT_EQ(live_blocks(), blocks + 2 + 8);
    const auto visit = [](void *value, int32_t index, void *, void *) {
        if (index == 0)
            hash_del_element(static_cast<hashlist *>(value), &number[1]);
        return index == 1 ? 1 : 0;
    };
    list_iter_set(table->lists[0]);
    hash_iterate_del(table, visit, nullptr, nullptr);
    EXPECT_EQ(live_blocks(), blocks + 2 + 1 + 4) << "the links are deferred";
    list_iter_clear(&table->lists[0]);
    EXPECT_EQ(live_blocks(), blocks + 2 + 2);
    hash_del(table);
    EXPECT_EQ(live_blocks(), blocks);
}

TEST(Owning, DeletingATableReleasesEveryBucket) {
    const size_t blocks = live_blocks();
    const auto same_number = [](int32_t hash, int32_t, list_link *const *) { return hash; };
    hashlist *const table = hash_create(300, hash_int, same_number, hash_intcmp);
    for (int32_t key = 0; key < 300; ++key)
        hash_add(table, &key, nullptr);
    EXPECT_EQ(live_blocks(), blocks + 2 + 600);
    hash_del(table);
    EXPECT_EQ(live_blocks(), blocks);
}

// -- dumps ---------------------------------------------------------------------------------------

// What dump prints, with names in the place of addresses.
template <class Dump>
std::string printed(std::initializer_list<std::pair<const void *, std::string>> names, Dump dump) {
    testing::internal::CaptureStderr();
    dump();
    std::string text = testing::internal::GetCapturedStderr();
    for (const auto &[address, name] : names) {
        char hex[32];
        std::snprintf(hex, sizeof hex, "%p", address);
        for (size_t at = text.find(hex); at != text.npos; at = text.find(hex))
            text.replace(at, std::string(hex).size(), name);
    }
    return text;
}

TEST(Owning, DumpOfAListShowsAllLinks) {
    list_link second{&number[2], LIST_STATE_DELETED | 16, 0, 0, nullptr, nullptr};
    list_link first{&number[1], 0, 0, 65535, nullptr, &second};
    second.prev = &first;
    const auto text =
        printed({{&first, "FIRST"}, {&second, "SECOND"}, {&number[1], "ONE"}, {&number[2], "TWO"}},
                [&] { qvds::list_dump(&first, nullptr, nullptr); });
    EXPECT_EQ(text, "list=FIRST:\n"
                    "    (nil) <- FIRST -> SECOND :: [65535] state=0 hook=ONE\n"
                    "    FIRST <- SECOND -> (nil) :: [0] state=12 DELETED hook=TWO\n");
    EXPECT_EQ(printed({}, [] { qvds::list_dump(nullptr, nullptr, nullptr); }), "list=(nil):\n");
}

TEST(Owning, DumpOfATableShowsReadableKeys) {
    struct {
        hash_key_fn hash_func;
        std::string key;
    } const cases[] = {
        {hash_atoi, "KEY(AAAA)"},
        {hash_int, "KEY(1094795585)"},
        {[](const void *) { return 0; }, "KEY"},
    };
    int32_t key[] = {0x41414141, 0}; // and the string "AAAA"
    hash_entry entry{key, &number[1], &number[2]};
    list_link link{&entry, 0, 0, 0, nullptr, nullptr};
    list_link *lists[] = {nullptr, &link};
    for (const auto &[hash_func, shown] : cases) {
        hashlist table{2, hash_func, nullptr, nullptr, lists};
        for (const int all : {0, 1}) {
            const auto text = printed({{&table, "TABLE"},
                                       {&link, "LINK"},
                                       {&entry, "ENTRY"},
                                       {key, "KEY"},
                                       {&number[1], "ONE"},
                                       {&number[2], "TWO"}},
                                      [&] { qvds::hash_dump(&table, all); });
            EXPECT_EQ(text, std::string("hashlist=TABLE(2):\n") +
                                (all != 0 ? "  [0]list=(nil):\n" : "") +
                                "  [1]list=LINK:\n"
                                "    (nil) <- LINK -> (nil) :: [0] state=0 hook=ENTRY\n"
                                "      key=" +
                                shown + " value=ONE metadata=TWO\n");
        }
    }
    EXPECT_EQ(printed({}, [] { qvds::hash_dump(nullptr, 1); }), "hashlist=(nil)(-1):\n");
}

} // namespace

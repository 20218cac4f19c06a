#include "owning/keyed_hash_internal.hpp"
#include "owning/list_internal.hpp"

#include "failing_alloc.hpp"
#include "support.hpp"

#include <array>
#include <cerrno>

namespace {

std::array<int32_t, 3> elements{10, 11, 12};

list_link *list_of_two() {
    list_link *head = nullptr;
    list_push(&elements[1], &head);
    list_push(&elements[0], &head);
    return head;
}

TEST(ListAllocation, FailureLeavesTheListAsItWas) {
    list_link *head = list_of_two();
    list_link *none = nullptr;
    int count = 7;
    const auto fails = [](auto operation) {
        const test::FailingAlloc failing(1);
        return operation() == nullptr && failing.failed();
    };
    EXPECT_TRUE(fails([&] { return list_push(&elements[2], &head); }));
    EXPECT_TRUE(fails([&] { return list_append(&elements[2], &head); }));
    EXPECT_TRUE(fails([&] { return list_append(&elements[2], &none); }));
    EXPECT_TRUE(fails([&] { return list_insert(&elements[2], &head, hash_intcmp); }));
    EXPECT_TRUE(fails([&] { return list_2_table(head, &count); }));
    EXPECT_EQ(none, nullptr);
    EXPECT_EQ(count, 7);
    EXPECT_EQ(list_pop(&head), &elements[0]);
    EXPECT_EQ(list_pop(&head), &elements[1]);
    EXPECT_EQ(head, nullptr);
}

TEST(KeyedHashAllocation, FailureLeaksNothingAndRemovalFreesAtOnce) {
    const size_t blocks = test::live_blocks();
    hashlist *table = nullptr;
    test::for_each_failing_allocation([&](const test::FailingAlloc &failing) {
        table = hash_create(1, hash_int, nullptr, hash_intcmp);
        EXPECT_EQ(table == nullptr, failing.failed());
        EXPECT_EQ(test::live_blocks(), blocks + (table == nullptr ? 0 : 2));
    });
    test::for_each_failing_allocation([&](const test::FailingAlloc &failing) {
        const int slot = hash_add(table, elements.data(), nullptr);
        EXPECT_EQ(slot, failing.failed() ? -1 : 0);
        EXPECT_TRUE(slot == 0 || errno == ENOMEM);
        EXPECT_EQ(test::live_blocks(), blocks + (slot < 0 ? 2 : 4));
    });
    list_iter_set(table->lists[0]);
    hash_del_element(table, elements.data());
    EXPECT_EQ(test::live_blocks(), blocks + 3) << "the link stays until the walk ends";
    list_iter_clear(&table->lists[0]);
    hash_del(table);
    EXPECT_EQ(test::live_blocks(), blocks);
}

TEST(ListInternal, RemovalAndCompactionWaitForTheCount) {
    list_link *head = list_of_two();
    list_link *const first = head;
    list_iter_set(first);
    qvds::list_link_remove(&head, first);
    qvds::list_compact(&head);
    EXPECT_EQ(head, first);
    first->iters = 0;
    qvds::list_compact(&head);
    EXPECT_EQ(head->hook, &elements[1]);
    qvds::list_link_remove(&head, head);
    EXPECT_EQ(head, nullptr);
    qvds::list_compact(&head);
    qvds::list_compact(nullptr);
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

TEST(OwningInternal, DumpsShowDeletedLinksAndReadableKeys) {
    EXPECT_EQ(dumped([] { qvds::hash_dump(nullptr, 1); }), "hashlist=(nil)(-1):\n");
    list_link *head = list_of_two();
    list_iter_set(head);
    list_del_link(&elements[1], &head);
    EXPECT_EQ(dumped([&] { qvds::list_dump(head, nullptr, nullptr); }),
              "list=P:\n"
              "    (nil) <- P -> P :: [1] state=0 hook=P\n"
              "    P <- P -> (nil) :: [0] state=2 DELETED hook=P\n");
    list_iter_clear(&head);
    list_pop(&head);

    std::array<int32_t, 2> key{0x41414141, 0}; // and the string "AAAA"
    const std::array<std::pair<hash_key_fn, std::string>, 3> cases{
        {{hash_int, "P(1094795585)"},
         {hash_atoi, "P(AAAA)"},
         {[](const void *) { return 0; }, "P"}}};
    for (const auto &[hash_func, shown] : cases) {
        hashlist *const table = hash_create(
            2, hash_func, [](int32_t, int32_t, list_link *const *) { return 1; }, hash_intcmp);
        hash_add(table, &key, nullptr);
        hash_set_metadata(table, &key, &elements);
        std::string expected =
            "  [1]list=P:\n    (nil) <- P -> (nil) :: [0] state=0 hook=P\n      key=";
        expected.append(shown).append(" value=(nil) metadata=P\n");
        EXPECT_EQ(dumped([&] { qvds::hash_dump(table, 0); }), "hashlist=P(2):\n" + expected);
        EXPECT_EQ(dumped([&] { qvds::hash_dump(table, 1); }),
                  "hashlist=P(2):\n  [0]list=(nil):\n" + expected);
        hash_del(table);
    }
}

} // namespace

// lru_cpp [FILE]: the cache simulation of lru.c with typed containers.
//
// A record is in two containers at once, through a link for each: in a hash table that finds it by
// its word, and on a queue in order of use or, before its first use, on a stack. Each container knows
// which of the links is its own, so there is nothing to convert, and no callback to write.

#include "text.hpp"

#include <qvds/fifo2.hpp>
#include <qvds/hash2.hpp>
#include <qvds/lifo.hpp>

#include <string>
#include <vector>

namespace {

constexpr char usage[] = "usage: lru_cpp [FILE]\n"
                         "Simulates caches of growing capacity over the words of a text.\n";

struct record {
    qvds_node in_queue, in_table;
    std::string_view word;
};
using word_table = qvds::hash2<&record::in_table, &record::word>;

// Sends all words through a cache of that capacity. Returns how many of them it held.
size_t simulate(const text_words &words, size_t capacity) {
    std::vector<record> records(capacity);
    std::vector<void *> buckets(capacity);
    word_table table(buckets);
    qvds::fifo2<&record::in_queue> used;
    qvds::lifo<&record::in_queue> unused;
    size_t hits = 0;

    for (record &r : records)
        unused.push(r);
    for (const std::string_view word : words) {
        record *r = table.find(word);
        if (r != nullptr) {
            ++hits;
            used.unlink(*r);
        } else {
            r = unused.pop();
            if (r == nullptr) {
                r = used.pop_back();
                word_table::unlink(*r);
            }
            r->word = word;
            table.store(*r);
        }
        used.push_front(*r);
    }
    return hits;
}

} // namespace

int main(int argc, char **argv) {
    const text_words words(argc, argv, usage);
    const auto count = static_cast<size_t>(std::ranges::distance(words));
    const auto percent = [&](size_t hits) {
        return 100.0 * static_cast<double>(hits) / static_cast<double>(count);
    };

    puts("capacity  hit rate");
    if (count == 0) {
        puts("(no words in this text)");
        return finish();
    }
    size_t hits = 0, last_hits = count;
    for (size_t capacity = 1; capacity <= 1u << 20; capacity *= 2) {
        hits = simulate(words, capacity);
        const std::string bar(50 * hits / count, '#');
        printf("%8zu  %5.1f %%  %s\n", capacity, percent(hits), bar.c_str());
        if (hits == last_hits && capacity > 4) // all that recurs is in the cache already
            break;
        last_hits = hits;
    }
    printf("words: %zu, of them met before: %.1f %%\n", count, percent(hits));
    return finish();
}

// word_counts [FILE]: counts the words of a text, and merges and drops some of them in the very walk
// over the table that holds them.
//
// The table stores pointers to keys and values of our types; both lie in one record here, which a
// deque keeps where it is. In a walk everything is allowed: a plural looks its singular up, hands its
// count over and leaves, and what is rare leaves as well.

#include "text.hpp"

#include <qvds/keyed_hash.hpp>

#include <algorithm>
#include <deque>
#include <functional>
#include <tuple>
#include <vector>

namespace {

constexpr char usage[] = "usage: word_counts [FILE]\n"
                         "Counts the words of a text, plurals with their singulars.\n";
constexpr size_t buckets = 8192, rare = 5, shown = 10;

struct counted {
    std::string_view word;
    size_t count;
};

struct hash_text {
    size_t operator()(const std::string_view *text) const {
        return std::hash<std::string_view>{}(*text);
    }
};
struct same_text {
    bool operator()(const std::string_view *a, const std::string_view *b) const { return *a == *b; }
};
using table = qvds::keyed_hash<const std::string_view *, counted, hash_text, same_text>;

void count(const text_words &words, table &counts, std::deque<counted> &records) {
    for (const std::string_view word : words) {
        counted *found = counts.find(&word);
        if (found == nullptr) {
            records.push_back({word, 0});
            found = &records.back();
            if (!counts.add(&found->word, *found))
                must(nullptr);
        }
        ++found->count;
    }
}

void merge_plurals(table &counts) {
    for (const table::entry plural : counts.walk()) {
        std::string_view word = plural.value().word;
        if (word.size() < 4 || !word.ends_with('s')) // "as" is no plural of "a"
            continue;
        word.remove_suffix(1);
        if (counted *singular = counts.find(&word)) {
            singular->count += plural.value().count;
            counts.erase(plural);
        }
    }
}

} // namespace

int main(int argc, char **argv) {
    const text_words words(argc, argv, usage);
    std::deque<counted> records;
    table counts = table::make(buckets);
    if (!counts)
        must(nullptr);

    count(words, counts, records);
    printf("%zu different words\n", counts.count());
    merge_plurals(counts);
    printf("%zu without plurals of others\n", counts.count());
    counts.erase_if([](const table::entry &at) { return at.value().count < rare; });
    printf("%zu occur %zu times or more; the most frequent:\n", counts.count(), rare);

    std::vector<const counted *> frequent;
    for (const table::entry at : counts.walk())
        frequent.push_back(&at.value());
    std::ranges::sort(frequent, std::greater{},
                      [](const counted *c) { return std::tuple(c->count, c->word); });
    for (size_t i = 0; i < shown && i < frequent.size(); ++i)
        printf("%8zu  %.*s\n", frequent[i]->count, static_cast<int>(frequent[i]->word.size()),
               frequent[i]->word.data());
    return finish();
}

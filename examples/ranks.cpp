// ranks [FILE]: what ranks.c does, with counted trees of items that have a type.
//
// Where C asks for the word of a rank by turning the tree until it is the root, here is ranks[k]; and
// how many words occur so often is the distance of two ranks.

#include "text.hpp"

#include <qvds/qv_tree.hpp>

#include <deque>
#include <utility>

namespace {

constexpr char usage[] = "usage: ranks [FILE]\n"
                         "Ranks the words of a text by how often they occur.\n";

struct counted {
    std::string_view word;
    size_t count;
};
using frequency =
    std::pair<size_t, std::string_view>; // words that are as frequent, by the alphabet

constexpr auto frequency_of = [](const counted &item) { return frequency(item.count, item.word); };

// A text in alphabetical order would make chains of trees that do not balance themselves.
using balanced = qvds::balance_beyond<4>;
using by_word = qvds::counted_tree<&counted::word, std::less<>, balanced>;
using by_frequency = qvds::counted_tree<qvds::item<counted, frequency_of>, std::less<>, balanced>;

template <class Tree>
void add(Tree &tree, counted &item) {
    if (tree.insert(item).where == nullptr)
        must(nullptr);
}

size_t count(const text_words &words, by_word &counts, std::deque<counted> &items) {
    size_t total = 0;
    for (const std::string_view word : words) {
        ++total;
        if (counted *known = counts.find(word))
            ++known->count;
        else
            add(counts, items.emplace_back(counted{word, 1}));
    }
    return total;
}

void show(const counted &item, int number, const char *unit) {
    const word text = {item.word.data(), item.word.size()};
    printf("  %3d%-2s %8zu  %.*s\n", number, unit, item.count, cut(&text, 40), text.start);
}

} // namespace

int main(int argc, char **argv) {
    const text_words words(argc, argv, usage);
    std::deque<counted> items;
    by_word counts;
    by_frequency ranks;

    const size_t total = count(words, counts, items);
    counts.clear_and_dispose([&](counted *item) { add(ranks, *item); });
    printf("%zu words, %u different, by frequency\n", total, ranks.size());
    if (ranks.empty())
        return finish();

    for (const int percent : {0, 25, 50, 75, 90, 99, 100})
        show(ranks[static_cast<uint32_t>((ranks.size() - 1) * uint64_t(percent) / 100)], percent,
             "%");
    int place = 0;
    for (auto at = ranks.rbegin(); at != ranks.rend() && place < 10; ++at)
        show(*at, ++place, ".");
    for (size_t low = 1; low <= ranks.back()->count; low *= 2) {
        const uint32_t found = ranks.count_between(frequency(low, ""), frequency(2 * low, ""));
        printf("  %6zu to %-6zu %7u ", low, 2 * low - 1, found);
        for (uint32_t mark = 0; mark < found * uint64_t(50) / ranks.size(); ++mark)
            putchar('#');
        putchar('\n');
    }
    return finish();
}

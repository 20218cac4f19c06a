// concordance [FILE [FROM [TO]]]: what concordance.c does, with an AA tree of entries.
//
// The entries are made by new, and the tree is told to delete those that it holds at its end. A range
// of the tree starts at the first word that does not come before FROM, present or not.

#include "text.hpp"

#include <qvds/aa.hpp>

#include <algorithm>
#include <memory>
#include <vector>

namespace {

constexpr char usage[] =
    "usage: concordance [FILE [FROM [TO]]]\n"
    "Lists the words of a text, or those in a range, with the lines that they stand on.\n";
constexpr size_t lines_shown = 6;

struct entry {
    AA_node node{};
    std::string_view word{};
    size_t count = 0;
    std::vector<size_t> lines{}; // the different ones
};
using entries = qvds::aa_tree<&entry::node, &entry::word, std::less<>, qvds::dispose_with_delete>;

struct totals {
    size_t words = 0, different = 0;
};

totals enter(const text_words &words, entries &index) {
    totals found;
    size_t line = 1;
    const char *seen = words.data();
    auto spare = std::make_unique<entry>();

    for (const std::string_view word : words) {
        line += static_cast<size_t>(std::count(seen, word.data(), '\n'));
        seen = word.data();
        spare->word = word;
        auto [here, fresh] = index.insert(*spare);
        if (fresh) { // and so the tree's from now on
            static_cast<void>(spare.release());
            spare = std::make_unique<entry>();
            ++found.different;
        }
        ++here->count;
        if (here->lines.empty() || here->lines.back() != line)
            here->lines.push_back(line);
        ++found.words;
    }
    return found;
}

void print(const entry &e) {
    const word text = {e.word.data(), e.word.size()};
    printf("%.*s", static_cast<int>(text.length), text.start);
    for (size_t column = characters(&text); column < 16; ++column)
        putchar(' ');
    printf(" %6zu  on", e.count);
    for (size_t i = 0; i < e.lines.size() && i < lines_shown; ++i)
        printf(" %zu", e.lines[i]);
    puts(e.lines.size() > lines_shown ? " ..." : "");
}

// An end of the range is read as the text is, and so folded to lower case.
std::string_view first_word(char *argument) {
    word first{};
    size_t at = 0;
    next_word({argument, strlen(argument)}, &at, &first);
    return {first.start, first.length};
}

} // namespace

int main(int argc, char **argv) {
    const text_words words(argc, argv, usage, 3);
    entries index;
    const totals found = enter(words, index);
    const std::string_view from = argc > 2 ? first_word(argv[2]) : "";
    const bool has_end = argc > 3;
    const std::string_view to = has_end ? first_word(argv[3]) : "";
    size_t printed = 0;

    for (const entry &e : index.walk_from(from)) {
        if (has_end && e.word > to)
            break;
        print(e);
        ++printed;
    }
    printf("%zu of %zu different words, %zu in all\n", printed, found.different, found.words);
    return finish();
}

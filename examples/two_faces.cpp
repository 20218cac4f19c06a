// two_faces [FILE]: the longest words of a text, from a queue that C fills and C++ empties.
//
// A typed queue is its qvds_list and nothing more, so the C half (two_faces_fill.c) is handed that
// record and need not know of the class. Nothing is converted or copied on the way: the entries that
// C has linked are those that C++ pops, sorts and releases.

#include "two_faces.h"

#include <qvds/dispose.hpp>
#include <qvds/fifo2.hpp>

#include <functional>

namespace {

constexpr char usage[] = "usage: two_faces [FILE]\n"
                         "Shows the longest words of a text.\n";
constexpr size_t shown = 10;

using queue = qvds::fifo2<&entry::link, qvds::dispose_with_free>;

size_t letters(const entry &e) {
    return characters(&e.word);
}

} // namespace

int main(int argc, char **argv) {
    const text text = read_text(argc, argv, 1, usage);
    queue words, longest;
    size_t count = 0;

    fill(&words.c_record(), text);
    while (entry *next = words.pop_front()) {
        const auto is_next = [&](const entry &e) { return same_word(&e.word, &next->word) != 0; };
        if (longest.find_if(is_next) != nullptr) {
            free(next);
            continue;
        }
        longest.insert_sorted(*next, std::greater{}, letters);
        if (++count > shown) {
            free(longest.pop_back());
            --count;
        }
    }
    for (const entry &e : longest)
        printf("%4zu  %.*s\n", letters(e), static_cast<int>(e.word.length), e.word.start);
    free(text.bytes);
    return finish();
}

// top [FILE]: the most frequent words of a text, known at every moment while it is read.
//
// The heap holds as many words as are shown, the least frequent of them on top, and no two counts
// change at a time. So a word that is in the heap settles anew when it occurs again, and one that is
// not has only the top to beat. Each entry knows its slot, by which the heap finds it without a
// search. What does not get in costs one comparison, and no word is ever sorted.

#include "text.hpp"

#include <qvds/heap.hpp>

#include <algorithm>
#include <functional>
#include <unordered_map>
#include <vector>

namespace {

constexpr char usage[] = "usage: top [FILE]\n"
                         "Shows the most frequent words of a text.\n";
constexpr uint32_t shown = 10;

struct entry {
    std::string_view word;
    size_t count = 0;
    uint32_t slot = 0;
};
using least_first = qvds::heap<entry, &entry::count, &entry::slot, std::greater<>>;

// Counts an occurrence of e. Returns whether e has come in for another word.
bool count(entry &e, least_first &top) {
    ++e.count;
    if (top.contains(e)) {
        top.update(e);
        return false;
    }
    if (top.push(e))
        return false;
    if (e.count <= top.top()->count)
        return false;
    top.pop();
    return top.push(e);
}

} // namespace

int main(int argc, char **argv) {
    const text_words words(argc, argv, usage);
    std::unordered_map<std::string_view, entry> entries;
    qvds::heap_slots<shown> slots;
    least_first top(slots);
    size_t changes = 0;

    for (const std::string_view word : words) {
        entry &e = entries[word];
        e.word = word;
        if (count(e, top))
            ++changes;
    }
    std::vector<const entry *> ranking;
    while (const entry *least = top.pop())
        ranking.push_back(least);
    std::ranges::reverse(ranking);
    for (const entry *e : ranking)
        printf("%8zu  %.*s\n", e->count, static_cast<int>(e->word.size()), e->word.data());
    printf("%zu different words; %zu times one of these %zu has taken the place of another\n",
           entries.size(), changes, ranking.size());
    return finish();
}

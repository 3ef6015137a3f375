#include "text/nearest_names.h"

#include <algorithm>
#include <cstddef>
#include <numeric>
#include <utility>

#include "text/letter_case.h"

namespace ifdsweep {
namespace {

/// The edits that make one word the other, whatever the case of its letters.
std::size_t editDistance(std::string_view from, std::string_view to) {
    std::vector<std::size_t> row(to.size() + 1);
    std::iota(row.begin(), row.end(), std::size_t{0});
    for (std::size_t i = 0; i < from.size(); ++i) {
        std::size_t diagonal = std::exchange(row[0], i + 1);
        for (std::size_t j = 0; j < to.size(); ++j) {
            const std::size_t change = diagonal + (lowerCase(from[i]) == lowerCase(to[j]) ? 0 : 1);
            diagonal = row[j + 1];
            row[j + 1] = std::min({change, row[j] + 1, diagonal + 1});
        }
    }
    return row.back();
}

bool beginsWith(std::string_view text, std::string_view beginning) {
    return equalInAnyCase(text.substr(0, beginning.size()), beginning);
}

/// How far a candidate is from a word. One that begins with the word is as near as an edit.
std::size_t distanceOf(std::string_view candidate, std::string_view word, std::size_t farthest) {
    constexpr std::size_t kLeastBeginning = 3;
    if (word.size() >= kLeastBeginning && beginsWith(candidate, word)) {
        return 1;
    }
    const std::size_t least =
        std::max(word.size(), candidate.size()) - std::min(word.size(), candidate.size());
    return least > farthest ? least : editDistance(word, candidate);
}

}  // namespace

std::string nearestNames(std::string_view word, const std::vector<std::string_view>& candidates) {
    constexpr std::size_t kMost = 3;
    constexpr std::size_t kShort = 4;  // with two edits, such a word is as like any other
    const std::size_t farthest =
        word.size() < kShort ? 1 : std::max<std::size_t>(2, word.size() / 3);
    std::vector<std::pair<std::size_t, std::string_view>> near;
    for (const std::string_view candidate : candidates) {
        const std::size_t distance = distanceOf(candidate, word, farthest);
        if (distance <= farthest) {
            near.emplace_back(distance, candidate);
        }
    }
    std::sort(near.begin(), near.end());
    near.erase(std::unique(near.begin(), near.end()), near.end());
    std::string text;
    for (std::size_t index = 0; index < std::min(near.size(), kMost); ++index) {
        if (near[index].first > near.front().first + 1) {
            break;  // what was meant is among those before
        }
        text.append(index > 0 ? ", " : "").append(near[index].second);
    }
    return text;
}

}  // namespace ifdsweep

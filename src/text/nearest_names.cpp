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

}  // namespace

std::string nearestNames(std::string_view word, const std::vector<std::string_view>& candidates) {
    constexpr std::size_t kMost = 3;
    const std::size_t farthest = std::max<std::size_t>(2, word.size() / 3);
    std::vector<std::pair<std::size_t, std::string_view>> near;
    for (const std::string_view candidate : candidates) {
        const std::size_t least =
            std::max(word.size(), candidate.size()) - std::min(word.size(), candidate.size());
        const std::size_t distance = least > farthest ? least : editDistance(word, candidate);
        if (distance <= farthest) {
            near.emplace_back(distance, candidate);
        }
    }
    std::sort(near.begin(), near.end());
    near.erase(std::unique(near.begin(), near.end()), near.end());
    std::string text;
    for (std::size_t index = 0; index < std::min(near.size(), kMost); ++index) {
        text.append(index > 0 ? ", " : "").append(near[index].second);
    }
    return text;
}

}  // namespace ifdsweep

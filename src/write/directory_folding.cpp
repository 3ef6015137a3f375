#include "write/directory_folding.h"

#include <algorithm>
#include <iterator>
#include <map>
#include <span>
#include <utility>

#include "read/directory_path.h"
#include "text/count_text.h"

namespace ifdsweep {
namespace {

/// A directory that equals an earlier one.
struct Folded {
    std::size_t model = 0;
    PlacementSet differing = 0;
};

ChainPart partOf(std::size_t first, std::span<const Folded> folded, ChainPart::Order order,
                 std::vector<std::size_t> models) {
    ChainPart part{first, first + folded.size() - 1, std::move(models), order, 0};
    for (const Folded& directory : folded) {
        part.differing |= directory.differing;
    }
    return part;
}

std::vector<std::size_t> modelsOf(std::span<const Folded> folded) {
    std::vector<std::size_t> models;
    models.reserve(folded.size());
    std::transform(folded.begin(), folded.end(), std::back_inserter(models),
                   [](const Folded& directory) { return directory.model; });
    return models;
}

/// The longest beginning that equals ascending models in turn.
ChainPart roundsOf(std::size_t first, std::span<const Folded> folded) {
    std::size_t period = 1;
    while (period < folded.size() && folded[period].model > folded[period - 1].model) {
        ++period;
    }
    std::size_t end = period;
    while (end < folded.size() && folded[end].model == folded[end % period].model) {
        ++end;
    }
    return partOf(first, folded.first(end), ChainPart::Order::inTurn,
                  modelsOf(folded.first(period)));
}

/// Appends what consecutive folded directories come to.
void appendFolded(std::vector<ChainPart>& parts, std::size_t first,
                  std::span<const Folded> folded) {
    constexpr std::size_t kMostLines = 4;  // more would tell no more than one
    std::vector<ChainPart> lines;
    for (std::size_t begin = 0; begin < folded.size();) {
        if (lines.size() == kMostLines) {
            std::vector<std::size_t> models = modelsOf(folded);
            std::sort(models.begin(), models.end());
            models.erase(std::unique(models.begin(), models.end()), models.end());
            parts.push_back(partOf(first, folded, ChainPart::Order::mixed, std::move(models)));
            return;
        }
        lines.push_back(roundsOf(first + begin, folded.subspan(begin)));
        begin = lines.back().last + 1 - first;
    }
    std::move(lines.begin(), lines.end(), std::back_inserter(parts));
}

/// Whether they are all between the first and the last.
bool isWhole(const std::vector<std::size_t>& models) {
    return models.back() - models.front() == models.size() - 1;
}

bool isLong(const std::vector<std::size_t>& models) {
    constexpr std::size_t kMostNamed = 8;
    return models.size() > kMostNamed;
}

/// "0", "0 to 2", "0, 2 and 5"; of many others no more than between which they lie.
std::string listOf(const std::vector<std::size_t>& models, const std::string& prefix) {
    std::string text = prefix + groupedCount(models.front());
    if (models.size() > 2 && (isWhole(models) || isLong(models))) {
        return text.append(" to ").append(groupedCount(models.back()));
    }
    for (std::size_t index = 1; index < models.size(); ++index) {
        text.append(index + 1 == models.size() ? " and " : ", ");
        text.append(groupedCount(models[index]));
    }
    return text;
}

std::string prefixOf(const std::string& path) {
    return childPath(path, "");
}

}  // namespace

std::vector<ChainPart> DirectoryFolding::partsOf(const Value& records) {
    std::vector<ChainPart> parts;
    if (records.elementCount() < 2) {
        parts.resize(records.elementCount());
        return parts;
    }
    const std::vector<std::uint64_t>& hashes = equality.hashes(records);
    // In order, since a file may choose its hashes: all of them could share a bucket of a table.
    std::map<std::uint64_t, std::size_t> shown;
    std::vector<Folded> folded;  // those before the directory at hand
    for (std::size_t element = 0; element < records.elementCount(); ++element) {
        const auto [like, isNew] = shown.emplace(hashes[element], element);
        PlacementSet differing = 0;
        if (!isNew && equality.areEqual(records, element, like->second, differing)) {
            folded.push_back({like->second, differing});
            continue;
        }
        appendFolded(parts, element - folded.size(), folded);
        folded.clear();
        parts.push_back({element, element});
    }
    appendFolded(parts, records.elementCount() - folded.size(), folded);
    return parts;
}

std::string foldedDirectories(const ChainPart& part, const std::string& path) {
    std::string text = part.first == part.last ? "Directory " : "Directories ";
    text.append(prefixOf(path)).append(groupedCount(part.first));
    if (part.first != part.last) {
        text.append(part.last == part.first + 1 ? " and " : " to ");
        text.append(groupedCount(part.last));
    }
    return text;
}

std::string foldedLikeness(const ChainPart& part, const std::string& path) {
    const bool isMixed = part.order == ChainPart::Order::mixed;
    const bool isSome = isLong(part.models) && !isWhole(part.models);
    std::string text = isMixed ? "each as one of " : isSome ? "as some of " : "as ";
    text.append(listOf(part.models, prefixOf(path)));
    if (!isMixed && part.models.size() > 1) {
        text.append(" in turn");
    }
    if (part.differing != 0) {
        text.append(" but for ").append(placementNames(part.differing));
    }
    return text;
}

}  // namespace ifdsweep

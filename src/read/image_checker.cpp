#include "read/image_checker.h"

#include <algorithm>
#include <iterator>
#include <utility>

#include "read/place_recorder.h"

namespace ifdsweep {
namespace {

bool isChecked(const DirectoryFacts& directory, std::uint16_t tag) {
    return directory.kind == DirectoryKind::primary &&
           std::find(kImageTags.begin(), kImageTags.end(), tag) != kImageTags.end();
}

}  // namespace

TagFilter withCheckedTags(const TagFilter& filter) {
    TagFilter widened = filter;
    for (const std::uint16_t tag : kImageTags) {
        widened.ask(DirectoryKind::primary, tag);
    }
    return widened;
}

void ImageChecker::directoryBegins(const DirectoryFacts& directory) {
    open.emplace_back().number = begun++;
    next.directoryBegins(directory);
}

void ImageChecker::directoryEnds(const DirectoryFacts& directory, bool isKept) {
    next.directoryEnds(directory, isKept);
    if (directory.kind == DirectoryKind::primary && isKept) {
        const bool isFirst = open.back().number == 0;
        DirectoryFindings found =
            checkDirectory(open.back().fields, extent, isFirst ? firstRole : DirectoryRole::image,
                           directory.position, probesLeft);
        if (!found.findings.empty() || found.probes.areAny()) {
            std::string path = pathOf(directory);
            keepAffordable(found.findings, path);
            checked.push_back({open.back().number, std::move(path), std::move(found)});
        }
    }
    open.pop_back();
}

void ImageChecker::entry(const DirectoryFacts& directory, const EntryFacts& entry) {
    if (isChecked(directory, entry.tag)) {
        open.back().fields.take(entry);
    }
    if (next.hearsEntries() && isForNext(directory, entry.tag)) {
        next.entry(directory, entry);
    }
}

void ImageChecker::warning(const qxMessage& message, const WarningFacts& place) {
    next.warning(message, place);
}

/// Whether an entry would be told of without the checks: under a pointer that is asked for itself,
/// everything is.
bool ImageChecker::isForNext(const DirectoryFacts& directory, std::uint16_t tag) const {
    if (asked == nullptr || !isChecked(directory, tag) || asked->asksFor(directory.kind, tag)) {
        return true;
    }
    for (const DirectoryFacts* below = &directory; below->parent != nullptr;
         below = below->parent) {
        if (asked->asksFor(below->parent->kind, below->pointerTag)) {
            return true;
        }
    }
    return false;
}

/// Findings count as the warnings of the walk do: a file of few bytes may have millions of
/// directories.
void ImageChecker::keepAffordable(std::vector<Finding>& findings, const std::string& path) {
    std::erase_if(findings, [&](const Finding&) {
        countShown(host, path.size());
        return !host.valueBudget().takesWarning(0);
    });
}

void ImageChecker::lookAtBytes(const ByteSource& file) {
    for (CheckedDirectory& directory : checked) {
        std::vector<Finding> seen;
        lookAt(directory.found.probes, file, seen);
        keepAffordable(seen, directory.path);
        std::move(seen.begin(), seen.end(), std::back_inserter(directory.found.findings));
    }
    if (extent.kind == StreamKind::jpeg) {
        CheckedDirectory whole{begun, {}, {}};
        checkJpegFile(file, whole.found.findings);
        checked.push_back(std::move(whole));
    }
}

std::vector<Warning> ImageChecker::takeWarnings() {
    // Nested directories end before those that they are nested in.
    std::sort(checked.begin(), checked.end(),
              [](const auto& one, const auto& other) { return one.number < other.number; });
    std::vector<Warning> warnings;
    for (CheckedDirectory& directory : std::exchange(checked, {})) {
        for (Finding& finding : directory.found.findings) {
            warnings.push_back(
                {std::move(finding.message), {directory.path, finding.tag, finding.position}});
        }
    }
    return warnings;
}

}  // namespace ifdsweep

#include "support/recorded_walk.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <iterator>
#include <span>

#include "support/record_dump.h"

namespace fixture {
namespace {

std::string quoted(std::string_view text) {
    return '\'' + std::string(text) + '\'';
}

std::string hexText(std::span<const std::uint8_t> bytes) {
    constexpr std::string_view kDigits = "0123456789ABCDEF";
    std::string text = "[";
    for (const std::uint8_t byte : bytes) {
        text += kDigits[byte >> 4U];
        text += kDigits[byte & 15U];
    }
    return text + ']';
}

}  // namespace

std::string pathText(const ifdsweep::DirectoryFacts* directory) {
    if (directory == nullptr) {
        return "-";
    }
    std::string path = std::to_string(directory->index);
    if (directory->parent != nullptr) {
        path = pathText(directory->parent) + '/' + std::string(directory->pointerName) + '[' +
               std::to_string(directory->chainIndex) + "]/" + path;
    }
    return path;
}

void RecordedWalk::directoryBegins(const ifdsweep::DirectoryFacts& directory) {
    constexpr std::array kKinds{"primary", "gps", "interoperability", "exif"};
    lines.push_back(
        "begin " + pathText(&directory) + ' ' + kKinds[static_cast<std::size_t>(directory.kind)] +
        " by " + std::to_string(directory.pointerTag) + " at " +
        std::to_string(directory.position) + " of " + std::to_string(directory.entryCount));
}

void RecordedWalk::directoryEnds(const ifdsweep::DirectoryFacts& directory, bool isKept) {
    lines.push_back("end " + pathText(&directory) + (isKept ? " kept" : " not kept"));
}

void RecordedWalk::entry(const ifdsweep::DirectoryFacts& directory,
                         const ifdsweep::EntryFacts& entry) {
    std::string line = (entry.isDefault ? "default " : "entry ") + pathText(&directory) + ' ' +
                       std::to_string(entry.tag) + ' ' + quoted(entry.name);
    if (!entry.isDefault) {
        line += " type " + std::to_string(entry.fieldType) + " x" + std::to_string(entry.count) +
                " at " + std::to_string(entry.position) +
                (entry.isInline ? " inline " : " value ") + std::to_string(entry.valuePosition) +
                (entry.isLoaded ? ' ' + hexText(entry.bytes) : " not loaded");
    } else {
        line += " x" + std::to_string(entry.count);
        for (const double number : entry.defaults) {
            line += ' ' + numberText(number);
        }
        // Nothing of it is in the file.
        if (entry.fieldType != 0 || entry.position != 0 || !entry.bytes.empty()) {
            line += " but in the file";
        }
    }
    if (!entry.valueName.empty()) {
        line += ' ' + quoted(entry.valueName);
    }
    if (!entry.droppedBy.empty()) {
        line += " dropped by " + std::string(entry.droppedBy);
    }
    lines.push_back(line);
}

void RecordedWalk::warning(const qxMessage& message, const ifdsweep::WarningFacts& place) {
    warnings.push_back(messageDump(message));
    lines.push_back("warning " + pathText(place.directory) +
                    (place.tag ? " tag " + std::to_string(*place.tag) : "") + " at " +
                    std::to_string(place.position) + ' ' + warnings.back());
}

std::vector<std::string> RecordedWalk::linesOf(std::string_view word) const {
    std::vector<std::string> chosen;
    std::copy_if(lines.begin(), lines.end(), std::back_inserter(chosen),
                 [word](const std::string& line) { return line.starts_with(word); });
    return chosen;
}

std::unique_ptr<RecordedWalk> recordedWalk(const Bytes& bytes, ifdsweep::Reading reading,
                                           const Numbers& numbers, const Preparation& prepare) {
    auto walk = std::make_unique<RecordedWalk>();
    reading.sink = walk.get();
    walk->call = callReading(bytes, reading, numbers, prepare);
    return walk;
}

}  // namespace fixture

#include "support/same_in_both.h"

#include "support/tags.h"
#include "support/tiff_builder.h"

namespace fixture {
namespace {

/// The version of a header; 0 when there is no header.
std::uint16_t versionOf(std::span<const std::uint8_t> file, std::uint64_t offset) {
    if (file.size() < 4 || offset > file.size() - 4) {
        return 0;
    }
    const auto header = file.subspan(static_cast<std::size_t>(offset), 4);
    const bool isLittle = header[0] == 'I' && header[1] == 'I';
    const bool isBig = header[0] == 'M' && header[1] == 'M';
    return static_cast<std::uint16_t>(isLittle ? header[2] | header[3] << 8
                                      : isBig  ? header[3] | header[2] << 8
                                               : 0);
}

bool isPointer(std::uint16_t tag) {
    return tag == kSubIfds || tag == kExif || tag == kGps || tag == kInterop;
}

bool pointsTheSame(const ifdsweep::EntryFacts& entry) {
    switch (entry.fieldType) {
        case kShort:
        case kSShort:
            return entry.count <= 1;
        case kAscii:
        case kRational:
        case kSRational:
        case kFloat:
        case kDouble:
            return entry.count == 0;
        case kLong8:
        case kSLong8:
        case kIfd8:
            return false;
        default:
            return true;
    }
}

}  // namespace

bool headerFits(std::span<const std::uint8_t> file, double initialOffset) {
    // One before or far behind the file is not sought: the stream is that of its start.
    constexpr double kFarthest = 9223372036854775808.0;
    const bool isSought = initialOffset >= 1 && initialOffset < kFarthest;
    const std::uint64_t offset = isSought ? static_cast<std::uint64_t>(initialOffset) : 0;
    const bool isJpeg = file.size() >= 2 && file[0] == 0xFF && file[1] == 0xD8;
    const bool isClassic = isJpeg || versionOf(file, 0) == 42;
    return versionOf(file, offset) == (isClassic ? 42 : 43);
}

void DifferenceFinder::entry(const ifdsweep::DirectoryFacts& /*directory*/,
                             const ifdsweep::EntryFacts& entry) {
    same = same && (isPointer(entry.tag) ? pointsTheSame(entry) : entry.fieldType != kSLong8);
}

void DifferenceFinder::warning(const qxMessage& message, const ifdsweep::WarningFacts& /*place*/) {
    same = same && !message.id().ends_with(":jpegApp1MaximumLengthExceeded");
}

}  // namespace fixture

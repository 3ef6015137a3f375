#include "file/tag_file.h"

#include <array>
#include <cstdint>
#include <ctime>
#include <limits>
#include <stdexcept>
#include <utility>

#include <boost/date_time/gregorian/gregorian_types.hpp>
#include <boost/date_time/posix_time/posix_time_types.hpp>

#include "dict/default_fields.h"
#include "gateway/messages.h"

namespace {

struct Layout {
    std::uint64_t entrySize;
    std::uint64_t entryCountSize;
    std::uint64_t offsetSize;
    std::uint64_t valueOffsetPosition;
};

constexpr Layout kClassicLayout{12, 2, 4, 8};
constexpr Layout kBigLayout{20, 8, 8, 12};

/// Calendar date and time of day of a time stamp in microseconds, or nothing when the calendar
/// does not reach so far.
std::optional<std::tm> brokenDown(std::int64_t microseconds) {
    if (microseconds == qxFileStatus::kNotADateTime) {
        return std::nullopt;
    }
    using boost::gregorian::date;
    using boost::posix_time::ptime;
    try {
        const ptime time(date(1970, 1, 1), boost::posix_time::microseconds(microseconds));
        const date day = time.date();
        const date::ymd_type calendar = day.year_month_day();
        const boost::posix_time::time_duration clock = time.time_of_day();
        std::tm result{};
        result.tm_year = calendar.year - 1900;
        result.tm_mon = calendar.month - 1;
        result.tm_mday = calendar.day;
        result.tm_wday = day.day_of_week();
        result.tm_yday = day.day_of_year() - 1;
        result.tm_hour = static_cast<int>(clock.hours());
        result.tm_min = static_cast<int>(clock.minutes());
        result.tm_sec = static_cast<int>(clock.seconds());
        result.tm_isdst = -1;
        return result;
    } catch (const std::out_of_range&) {
        return std::nullopt;
    }
}

}  // namespace

TagFile::TagFile(std::u16string name, std::uint64_t streamOffset, std::uint64_t firstIndex,
                 std::uint64_t maximumCount)
    : filename(std::move(name)),
      initialOffset(streamOffset),
      firstIfdIndex(firstIndex),
      maxIfdCount(maximumCount) {
    setLayout(isJpeg(filename)          ? FileFormat::jpeg
              : isClassicTiff(filename) ? FileFormat::classicTiff
                                        : FileFormat::bigTiff);
    fileStatus = qxGetFileStatus(filename);
    if (!qxFileExists(filename)) {
        raise<MessageId::statFailure>();
    }
    determineArchitectureEndianness();
    file.reset(qxOpenFile(filename, "rb"));
    if (!file) {
        // The file went away since it was looked at.
        raise<MessageId::statFailure>();
    }
    setupDefaultFields();
}

void TagFile::setLayout(FileFormat format) {
    const Layout& layout = format == FileFormat::bigTiff ? kBigLayout : kClassicLayout;
    fileFormat = format;
    entrySize = layout.entrySize;
    entryCountSize = layout.entryCountSize;
    offsetSize = layout.offsetSize;
    valueOffsetPosition = layout.valueOffsetPosition;
}

void TagFile::determineArchitectureEndianness() {
    hostIsBigEndian = false;
    hostIsLittleEndian = true;
}

void TagFile::setupDefaultFields() {
    defaultFieldNames = kDefaultFieldNames;
}

void TagFile::readThroughTagFile() {
    if (initialOffset != 0) {
        moveForward(initialOffset);
    }
    try {
        readThroughTiffHeader();
        ifdTree = IFDTree(this, primaryIFD);
    } catch (const TiffTagsRecoverableError&) {
        if (ifdTree.size() == 0) {
            raise<MessageId::unableToReadTagData>();
        }
    }
}

OwnedValue TagFile::repackageIfds() {
    return ifdTree.size() == 0 ? makeEmptyDouble() : ifdTree.repackageIfds();
}

std::size_t TagFile::read(void* out, std::size_t itemSize, std::size_t itemCount) {
    const std::size_t got = std::fread(out, itemSize, itemCount, file.get());
    if (got != itemCount) {
        knownPosition.reset();
    } else if (knownPosition) {
        *knownPosition += itemSize * itemCount;
    }
    return got;
}

bool TagFile::seekTo(Wide target) {
    if (target > std::numeric_limits<std::int64_t>::max() ||
        fseeko(file.get(), static_cast<off_t>(lowBits(target)), SEEK_SET) != 0) {
        return false;
    }
    knownPosition = lowBits(target);
    return true;
}

bool TagFile::seekToData(Wide target) {
    const bool isAhead = knownPosition && target >= *knownPosition;
    return (isAhead && readOver(target - *knownPosition)) || seekTo(target);
}

/// Moves over a few bytes by reading them; false when they are many, or missing.
bool TagFile::readOver(Wide byteCount) {
    constexpr std::size_t kFew = 16;  // a next offset of BigTIFF, and what aligns to 8 bytes
    std::array<std::uint8_t, kFew> unused;
    return byteCount <= unused.size() &&
           read(unused.data(), 1, lowBits(byteCount)) == lowBits(byteCount);
}

bool TagFile::moveForward(Wide distance) {
    return seekTo(position() + distance);
}

std::uint64_t TagFile::position() const {
    return knownPosition ? *knownPosition : static_cast<std::uint64_t>(ftello(file.get()));
}

const std::string& TagFile::modificationDate() {
    if (!formattedDate) {
        formattedDate.emplace();
        std::array<char, 25> text{};
        if (const auto time = brokenDown(fileStatus.timeStamps[1])) {
            formattedDate->assign(
                text.data(), std::strftime(text.data(), text.size(), "%d-%b-%Y %H:%M:%S", &*time));
        }
    }
    return *formattedDate;
}

#include "file/tag_file.h"

#include <array>
#include <chrono>
#include <cstdint>
#include <ctime>
#include <limits>
#include <utility>

#include <boost/date_time/gregorian/gregorian_types.hpp>
#include <boost/date_time/posix_time/posix_time_types.hpp>

#include "adapter/messages.h"
#include "dict/default_fields.h"

namespace {

struct Layout {
    std::uint64_t entrySize;
    std::uint64_t entryCountSize;
    std::uint64_t offsetSize;
    std::uint64_t valueOffsetPosition;
};

constexpr Layout kClassicLayout{12, 2, 4, 8};
constexpr Layout kBigLayout{20, 8, 8, 12};

/// A time stamp: microseconds since 1970. The range is that of 64 bits, some 292,000 years either
/// way, so that sums with a calendar's own epoch may overflow: years are compared first.
using TimeStamp = std::chrono::sys_time<std::chrono::microseconds>;

/// Whether a time stamp lies in the years from `first` to `last`.
bool isWithin(TimeStamp time, std::chrono::year first, std::chrono::year last) {
    const std::chrono::sys_days begin = first / std::chrono::January / 1;
    const std::chrono::sys_days end = last / std::chrono::December / 31;
    return time >= begin && time < end + std::chrono::days(1);
}

std::tm brokenDown(int year, int month, int day, std::int64_t hours, std::int64_t minutes,
                   std::int64_t seconds) {
    std::tm result{};
    result.tm_year = year - 1900;
    result.tm_mon = month - 1;
    result.tm_mday = day;
    result.tm_hour = static_cast<int>(hours);
    result.tm_min = static_cast<int>(minutes);
    result.tm_sec = static_cast<int>(seconds);
    result.tm_isdst = -1;
    return result;
}

std::tm byBoost(TimeStamp time) {
    const boost::posix_time::ptime moment(
        boost::gregorian::date(1970, 1, 1),
        boost::posix_time::microseconds(time.time_since_epoch().count()));
    const boost::gregorian::date::ymd_type date = moment.date().year_month_day();
    const boost::posix_time::time_duration clock = moment.time_of_day();
    return brokenDown(date.year, date.month, date.day, clock.hours(), clock.minutes(),
                      clock.seconds());
}

std::tm byChrono(TimeStamp time) {
    const auto midnight = std::chrono::floor<std::chrono::days>(time);
    const std::chrono::year_month_day date(midnight);
    const std::chrono::hh_mm_ss clock(std::chrono::floor<std::chrono::seconds>(time - midnight));
    return brokenDown(static_cast<int>(date.year()),
                      static_cast<int>(static_cast<unsigned>(date.month())),
                      static_cast<int>(static_cast<unsigned>(date.day())), clock.hours().count(),
                      clock.minutes().count(), clock.seconds().count());
}

/// Calendar date and time of day, or nothing where no calendar reaches, as in the time stamp that
/// is none.
std::optional<std::tm> brokenDown(TimeStamp time) {
    using std::chrono::year;
    if (isWithin(time, year(1400), year(9999))) {  // the years of Boost's calendar
        return byBoost(time);
    }
    if (isWithin(time, year::min(), year::max())) {
        return byChrono(time);
    }
    return std::nullopt;
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

std::span<const std::uint8_t> TagFile::readEntries(Wide size) {
    // Every table of classic TIFF is smaller. It is tried even if it seems to reach past the end:
    // the file may have grown since it was looked at.
    constexpr Wide kAlwaysTried = Wide{1} << 20;
    if (size > kAlwaysTried && position() + size > fileStatus.fileSize) {
        return {};
    }
    const std::span<std::uint8_t> bytes = entryBuffers[nestingDepth].take(lowBits(size));
    return read(bytes.data(), 1, bytes.size()) == bytes.size() ? bytes : std::span<std::uint8_t>();
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
        const TimeStamp modified{std::chrono::microseconds(fileStatus.timeStamps[1])};
        if (const auto time = brokenDown(modified)) {
            formattedDate->assign(
                text.data(), std::strftime(text.data(), text.size(), "%d-%b-%Y %H:%M:%S", &*time));
        }
    }
    return *formattedDate;
}

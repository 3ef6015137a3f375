// Values that are too long to be loaded: described, counted, and null in the record.

#include <algorithm>
#include <cstdint>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "files/file_bytes.h"
#include "host/host_parts.h"
#include "support/record_dump.h"
#include "support/recorded_walk.h"
#include "support/tags.h"
#include "support/tiff_matrix.h"
#include "support/type_rows.h"

namespace fixture {
namespace {

constexpr std::uint64_t kLimit = 100;

ifdsweep::Reading limited(std::uint64_t limit = kLimit) {
    ifdsweep::Reading reading = fullReading();
    reading.longestValue = limit;
    return reading;
}

std::string notLoaded(std::uint64_t count, std::string_view names, std::uint64_t limit = kLimit) {
    return "ifdsweep:valuesNotLoaded(" + std::to_string(count) + ", " + std::to_string(limit) +
           ", '" + std::string(names) + "')";
}

/// How the warning describes an entry of a file's first directory.
std::string described(const TiffFile& file, std::size_t index, const Entry& entry,
                      std::string_view name) {
    const auto* type = std::find_if(kTypeRows.begin(), kTypeRows.end(),
                                    [&](const TypeRow& row) { return row.code == entry.type; });
    return std::string(name) + " (" + std::to_string(entry.count) + " x " +
           std::string(type->name) + " at " + std::to_string(file.places[0].data[index]) + ')';
}

Entry bytesOf(std::uint16_t tag, std::size_t size, std::uint16_t type = kUndefined) {
    return numbers(tag, type, std::vector<std::int64_t>(size, 'x'));
}

class LongValues : public TiffMatrix {};
IFDSWEEP_TIFF_MATRIX(LongValues);

TEST_P(LongValues, TheLimitIsTheLongestThatIsLoaded) {
    for (const std::size_t size : {kLimit - 1, kLimit, kLimit + 1}) {
        const std::vector<Entry> entries{bytesOf(270, size, kAscii), bytesOf(kMakerNote, size),
                                         bytesOf(kUnknownTag, size)};
        const TiffFile file = fileOf({Directory(entries)});
        const Call given = callReading(file.bytes, limited());
        const Call all = callReading(file.bytes, fullReading());
        EXPECT_EQ(all.warnings, Lines{});
        if (size <= kLimit) {
            EXPECT_EQ(given.text(), all.text());
            continue;
        }
        EXPECT_EQ(given.warnings,
                  (Lines{notLoaded(3, described(file, 0, entries[0], "ImageDescription") + ", " +
                                          described(file, 1, entries[1], "MakerNote") + ", " +
                                          described(file, 2, entries[2], "60000"))}));
        EXPECT_EQ(given.names(), all.names());
        EXPECT_EQ(given.value("ImageDescription"), "empty");
        EXPECT_EQ(given.value("MakerNote"), "empty");
        EXPECT_EQ(
            given.value("UnknownTags"),
            "(ID=60000 Offset=" + std::to_string(file.offsetOf(file.places[0].data[2])) + ')');
    }
}

TEST_P(LongValues, BytesCountAndNotItems) {
    struct Wide {
        std::uint16_t type;
        std::size_t items;  ///< of 100 bytes or the next fewer
        std::size_t step;   ///< items of one value
    };
    for (const Wide& wide : {Wide{kShort, 50, 1}, Wide{kLong, 25, 1}, Wide{kDouble, 12, 1},
                             Wide{kRational, 24, 2}, Wide{kLong8, 12, 1}, Wide{kSByte, 100, 1}}) {
        for (const bool isLonger : {false, true}) {
            const std::size_t count = wide.items + (isLonger ? wide.step : 0);
            const Entry entry =
                numbers(kUnknownTag, wide.type, std::vector<std::int64_t>(count, 1));
            const TiffFile file = fileOf({{entry}});
            EXPECT_EQ(callReading(file.bytes, limited()).warnings,
                      isLonger ? Lines{notLoaded(1, described(file, 0, entry, "60000"))} : Lines{})
                << wide.type;
        }
    }
}

TEST_P(LongValues, WhateverTheTagItIsNull) {
    // Tags whose values have shapes of their own.
    const std::vector<std::int64_t> many(99, 1);
    for (const auto& [entry, name] :
         {std::pair(shorts(320, many), "Colormap"), std::pair(shorts(339, many), "SampleFormat"),
          std::pair(shorts(37724, many), "ImageSourceData"), std::pair(shorts(kXmp, many), "XMP"),
          std::pair(shorts(259, many), "Compression"), std::pair(longs(273, many), "StripOffsets"),
          std::pair(shorts(296, many), "ResolutionUnit"),
          std::pair(shorts(290, many), "GrayResponseUnit")}) {
        const TiffFile file = fileOf({{entry, ascii(kMake, "m")}});
        const Call given = callReading(file.bytes, limited());
        EXPECT_EQ(given.value(name), "empty") << name;
        EXPECT_EQ(given.value("Make"), "'m'");
        EXPECT_EQ(given.warnings.back(), notLoaded(1, described(file, 0, entry, name))) << name;
    }
}

TEST_P(LongValues, WhatTheRecordIsMadeOfIsLoadedAllTheSame) {
    const std::vector<std::int64_t> many(99, 2);
    const TiffFile file = fileOf(
        {{shorts(256, many), shorts(257, many), shorts(258, many), shorts(262, many),
          shorts(277, many), pointer(kSubIfds, std::vector<Chain>(30, {{ascii(kMake, "s")}})),
          bytesOf(kIccProfile, 200), bytesOf(kMakerNote, 200)}});
    const Call all = callReading(file.bytes, fullReading());
    const Call given = callReading(file.bytes, limited());
    for (const char* field : {"Width", "Height", "BitsPerSample", "BitDepth", "ColorType",
                              "PhotometricInterpretation", "SamplesPerPixel", "SubIFDs"}) {
        EXPECT_EQ(given.value(field), all.value(field)) << field;
        EXPECT_NE(given.value(field), "empty") << field;
    }
    EXPECT_EQ(given.value("ICCProfileOffset"),
              std::to_string(file.offsetOf(file.places[0].data[6])));
    EXPECT_EQ(given.value("ICCProfileOffset"), all.value("ICCProfileOffset"));
    EXPECT_EQ(given.value("MakerNote"), "empty");
    Lines warnings = all.warnings;
    warnings.push_back(given.warnings.back());
    EXPECT_EQ(given.warnings, warnings);
    EXPECT_NE(given.warnings.back().find("MakerNote"), std::string::npos);
}

TEST_P(LongValues, AProfileIsItsPositionWhichIsKnown) {
    const TiffFile profile = fileOf({{bytesOf(kIccProfile, 200)}});
    const Call given = callReading(profile.bytes, limited());
    EXPECT_EQ(given.text(), callReading(profile.bytes, fullReading()).text());
    EXPECT_EQ(given.warnings, Lines{});
    // Stored as text it is text.
    const Entry text = bytesOf(kIccProfile, 200, kAscii);
    const TiffFile file = fileOf({{text}});
    const Call left = callReading(file.bytes, limited());
    EXPECT_EQ(left.value("ICCProfileOffset"), "empty");
    EXPECT_EQ(left.warnings, Lines{notLoaded(1, described(file, 0, text, "ICCProfileOffset"))});
}

TEST_P(LongValues, TheWarningIsOneBehindAllOthers) {
    const Directory page{bytesOf(kMakerNote, 200), pointer(kExif, {{{bytesOf(kMakerNote, 200)}}}),
                         shorts(kUnknownTag, {1}).withType(14)};
    Chain chain(12, page);
    const Call given = callReading(fileOf(chain).bytes, limited());
    ASSERT_EQ(given.warnings.size(), 13U);
    EXPECT_EQ(given.warnings.front(), "unrecognizedTagFormatId(14)");
    EXPECT_EQ(
        given.warnings.back().rfind("ifdsweep:valuesNotLoaded(24, 100, 'MakerNote (200 x ", 0), 0U)
        << given.warnings.back();
    EXPECT_LT(given.warnings.back().size(), 500U);
    EXPECT_TRUE(given.warnings.back().ends_with("), ...')"));
    const auto walk = recordedWalk(fileOf(chain).bytes, limited());
    EXPECT_EQ(walk->lines.back(), "warning - at 0 " + given.warnings.back());
}

TEST_P(LongValues, TheyAreDescribedAndNotRead) {
    const auto file = [](std::size_t size) {
        return fileOf({{bytesOf(kMakerNote, size), ascii(kMake, "behind it, out of line")}}, kFar);
    };
    const auto counted = [](const TiffFile& read) {
        ifdsweep::Host host;
        filesOf(host).serve(kFileName, read.bytes);
        const ifdsweep::Host::Scope scope(host);
        const ifdsweep::ValueHandle records(
            ifdsweep::readDirectories(kFileName, 0, 0, 0, limited()));
        return host.countedBytes();
    };
    EXPECT_EQ(counted(file(1000)), counted(file(100000)));
    EXPECT_LT(counted(file(1000)), 600U);
    const TiffFile read = file(1000);
    const Place& place = read.places[0];
    EXPECT_EQ(recordedWalk(read.bytes, limited())->linesOf("entry").front(),
              "entry 0 37500 'MakerNote' type 7 x1000 at " + std::to_string(place.entries[0]) +
                  " value " + std::to_string(place.data[0]) + " not loaded");
}

TEST_P(LongValues, WhatWouldBeDroppedIsDropped) {
    const TiffFile file =
        fileOf({{bytesOf(kUnknownTag, 200).withCount(100000), ascii(kMake, "m"),
                 bytesOf(kMakerNote, 200).withType(14),
                 numbers(kUnknownTag, kIfd8, std::vector<std::int64_t>(200, 1))}});
    EXPECT_EQ(callReading(file.bytes, limited()).outcome(),
              callReading(file.bytes, fullReading()).outcome());
}

TEST_P(LongValues, TypesAndCountsAreCheckedAllTheSame) {
    const std::vector<std::int64_t> many(99, 1);
    const TiffFile file = fileOf({{shorts(270, many), shorts(278, many), ascii(kMake, "m")}});
    EXPECT_EQ(callReading(file.bytes, limited()).outcome(),
              (Lines{"expectedTagDataFormat('ImageDescription', 'TIFF_SHORT', 'TIFF_ASCII')",
                     "badTagDataCount(278, 'RowsPerStrip', 99, 1)",
                     notLoaded(2, described(file, 0, shorts(270, many), "ImageDescription") + ", " +
                                      described(file, 1, shorts(278, many), "RowsPerStrip")),
                     "struct 1x1", "Make='m'"}));
}

}  // namespace
}  // namespace fixture

// The outlet for exact facts: what it is told, in which order, and that nothing else changes by it.

#include "files/file_bytes.h"
#include "support/page_of_everything.h"
#include "support/planned_faults.h"
#include "support/record_dump.h"
#include "support/recorded_walk.h"
#include "support/tags.h"
#include "support/tiff_matrix.h"

namespace fixture {
namespace {

Directory named(std::string_view artist) {
    return {ascii(kArtist, artist)};
}

/// An item as the machine has it.
std::string itemHex(std::uint64_t item, std::size_t width) {
    constexpr std::string_view kDigits = "0123456789ABCDEF";
    std::string text;
    for (std::size_t i = 0; i < width; ++i) {
        const std::uint64_t byte = item >> (8 * i) & 0xFF;
        text += kDigits[byte >> 4U];
        text += kDigits[byte & 15U];
    }
    return text;
}

std::string id(std::string_view name) {
    return "Velmora:pixlore:ifdsweep:" + std::string(name);
}

class EntrySink : public TiffMatrix {
protected:
    static std::string begins(const TiffFile& file, std::size_t place, std::string_view path,
                              std::string_view kind, std::uint16_t pointerTag = 0) {
        return "begin " + std::string(path) + ' ' + std::string(kind) + " by " +
               std::to_string(pointerTag) + " at " + std::to_string(file.places[place].position) +
               " of " + std::to_string(file.places[place].entries.size());
    }

    /// An entry's line up to its bytes.
    static std::string head(const TiffFile& file, std::size_t place, std::size_t index,
                            std::string_view path, std::uint16_t tag, std::string_view name,
                            std::uint16_t type, std::uint64_t count) {
        const Place& directory = file.places[place];
        const bool isInline = directory.data[index] < directory.next;
        return "entry " + std::string(path) + ' ' + std::to_string(tag) + " '" + std::string(name) +
               "' type " + std::to_string(type) + " x" + std::to_string(count) + " at " +
               std::to_string(directory.entries[index]) + (isInline ? " inline " : " value ") +
               std::to_string(directory.data[index]);
    }

    /// The line of a pointer of one LONG.
    static std::string points(const TiffFile& file, std::size_t place, std::size_t index,
                              std::string_view path, std::uint16_t tag, std::string_view name,
                              std::size_t target) {
        return head(file, place, index, path, tag, name, kLong, 1) + " [" +
               itemHex(file.offsetOf(file.places[target].position), 4) + ']';
    }

    static std::string warned(std::string_view path, std::uint16_t tag, std::uint64_t position,
                              std::string_view message) {
        return "warning " + std::string(path) + (tag == 0 ? "" : " tag " + std::to_string(tag)) +
               " at " + std::to_string(position) + ' ' + std::string(message);
    }

    /// The lines without those of defaults.
    static Lines stored(const RecordedWalk& walk) {
        Lines lines;
        for (const std::string& line : walk.lines) {
            if (!line.starts_with("default ")) {
                lines.push_back(line);
            }
        }
        return lines;
    }
};
IFDSWEEP_TIFF_MATRIX(EntrySink);

TEST_P(EntrySink, APointerIsToldBeforeWhatLiesUnderIt) {
    const TiffFile file =
        fileOf({{ascii(kMake, "ab"),
                 pointer(kExif, {{{pointer(kInterop, {{{ascii(1, "i")}}}), ascii(kMake, "e")}}}),
                 pointer(kGps, {{{ascii(29, "g")}}}), ascii(kArtist, "z")},
                named("y")});
    const auto walk = recordedWalk(file.bytes);
    const std::string exif = "0/DigitalCamera[0]/0";
    const std::string interop = exif + "/InteroperabilityIFD[0]/0";
    const std::string gps = "0/GPSInfo[0]/0";
    EXPECT_EQ(
        stored(*walk),
        (Lines{begins(file, 0, "0", "primary"),
               head(file, 0, 0, "0", kMake, "Make", kAscii, 2) + " [6162]",
               points(file, 0, 1, "0", kExif, "DigitalCamera", 1),
               begins(file, 1, exif, "exif", kExif),
               points(file, 1, 0, exif, kInterop, "InteroperabilityIFD", 2),
               begins(file, 2, interop, "interoperability", kInterop),
               head(file, 2, 0, interop, 1, "InteroperabilityIndex", kAscii, 1) + " [69]",
               "end " + interop + " kept",
               head(file, 1, 1, exif, kMake, "Make", kAscii, 1) + " [65]", "end " + exif + " kept",
               points(file, 0, 2, "0", kGps, "GPSInfo", 3), begins(file, 3, gps, "gps", kGps),
               head(file, 3, 0, gps, 29, "GPSDateStamp", kAscii, 1) + " [67]",
               "end " + gps + " kept",
               head(file, 0, 3, "0", kArtist, "Artist", kAscii, 1) + " [7A]", "end 0 kept",
               begins(file, 4, "1", "primary"),
               head(file, 4, 0, "1", kArtist, "Artist", kAscii, 1) + " [79]", "end 1 kept"}));
}

TEST_P(EntrySink, ChainsOfAPointerAreCountedAsTheyHoldDirectories) {
    const TiffFile file = fileOf({{pointer(kSubIfds, {{named("a"), named("b")}, {}, {named("c")}}),
                                   pointer(kExif, {{named("1")}, {named("2")}})}});
    const auto walk = recordedWalk(file.bytes);
    const std::string empty = std::to_string(file.places[3].position);
    EXPECT_EQ(walk->linesOf("begin"),
              (Lines{begins(file, 0, "0", "primary"),
                     begins(file, 1, "0/SubIFDs[0]/0", "primary", kSubIfds),
                     begins(file, 2, "0/SubIFDs[0]/1", "primary", kSubIfds),
                     begins(file, 4, "0/SubIFDs[1]/0", "primary", kSubIfds),
                     begins(file, 5, "0/DigitalCamera[0]/0", "exif", kExif),
                     begins(file, 6, "0/DigitalCamera[1]/0", "exif", kExif)}));
    EXPECT_EQ(walk->linesOf("warning"), (Lines{"warning 0/SubIFDs[1]/0 at " + empty +
                                               " numDirectoryEntriesIsZero(" + empty + ')'}));
}

TEST_P(EntrySink, ChainsThatAreNotShownAreCountedToo) {
    const TiffFile file =
        fileOf({{pointer(kExif, {{named("1")}, {}, {named("2")}, {named("3")}})}});
    EXPECT_EQ(recordedWalk(file.bytes)->linesOf("begin"),
              (Lines{begins(file, 0, "0", "primary"),
                     begins(file, 1, "0/DigitalCamera[0]/0", "exif", kExif),
                     begins(file, 3, "0/DigitalCamera[1]/0", "exif", kExif),
                     begins(file, 4, "0/DigitalCamera[2]/0", "exif", kExif)}));
}

TEST_P(EntrySink, EveryTypeIsToldInTheOrderOfTheMachine) {
    struct TypeWidth {
        std::uint16_t type;
        std::size_t width;
        std::size_t items;  ///< of one value
    };
    const TypeWidth widths[] = {
        {kByte, 1, 1},  {kAscii, 1, 1},     {kShort, 2, 1},  {kLong, 4, 1},  {kRational, 4, 2},
        {kSByte, 1, 1}, {kUndefined, 1, 1}, {kSShort, 2, 1}, {kSLong, 4, 1}, {kSRational, 4, 2},
        {kFloat, 4, 1}, {kDouble, 8, 1},    {kLong8, 8, 1},  {kSLong8, 8, 1}};
    for (const TypeWidth& each : widths) {
        for (const std::size_t count : {1U, 2U, 3U, 4U, 5U, 8U, 9U}) {
            std::vector<std::int64_t> items;
            std::string hex;
            for (std::size_t i = 0; i < count * each.items; ++i) {
                const std::uint64_t item = 0x0123456789ABCDEF + i * 0x1111111111111111;
                items.push_back(static_cast<std::int64_t>(item));
                hex += itemHex(item, each.width);
            }
            const TiffFile file =
                fileOf({{numbers(kUnknownTag, each.type, items)}}, count == 9 ? kFar : 0);
            for (const ifdsweep::Reading& reading : {ifdsweep::Reading(), fullReading()}) {
                EXPECT_EQ(recordedWalk(file.bytes, reading)->linesOf("entry"),
                          (Lines{head(file, 0, 0, "0", kUnknownTag, "", each.type, count) + " [" +
                                 hex + ']'}));
            }
        }
    }
}

TEST_P(EntrySink, ReadableNamesAreTold) {
    const TiffFile file =
        fileOf({{shorts(259, {5}), shorts(262, {2}), shorts(296, {3}), shorts(339, {3}),
                 shorts(339, {1, 2}), shorts(259, {60001}), shorts(258, {8}), ascii(kMake, "m")}});
    std::vector<std::string> names;
    for (const std::string& line : recordedWalk(file.bytes)->linesOf("entry")) {
        names.push_back(
            line.substr(line.find("] ") == std::string::npos ? line.size() : line.find("] ") + 2));
    }
    EXPECT_EQ(names, (Lines{"'LZW'", "'RGB'", "'Centimeter'", "'IEEE floating point'", "",
                            "'unknown'", "", ""}));
}

TEST_P(EntrySink, PositionsCountFromTheStartOfTheFile) {
    TiffBuilder builder(format());
    const TiffFile file =
        builder
            .add({ascii(kArtist, "0123456789"), ascii(kMake, "m"), pointer(kExif, {{named("e")}}),
                  shorts(kUnknownTag, {1}).withType(14)})
            .buildBehind(format().isBig() ? Bytes(24, 'x') : Bytes{0x4D, 0x4D, 0, 42, 1, 2});
    const auto walk = recordedWalk(file.bytes, {}, {.initialOffset = double(file.base)});
    const std::string exif = "0/DigitalCamera[0]/0";
    const std::size_t bad = file.places[0].entries[3];
    EXPECT_EQ(stored(*walk), (Lines{begins(file, 0, "0", "primary"),
                                    head(file, 0, 0, "0", kArtist, "Artist", kAscii, 10) +
                                        " [30313233343536373839]",
                                    head(file, 0, 1, "0", kMake, "Make", kAscii, 1) + " [6D]",
                                    points(file, 0, 2, "0", kExif, "DigitalCamera", 1),
                                    begins(file, 1, exif, "exif", kExif),
                                    head(file, 1, 0, exif, kArtist, "Artist", kAscii, 1) + " [65]",
                                    "end " + exif + " kept",
                                    warned("0", kUnknownTag, bad, "unrecognizedTagFormatId(14)"),
                                    walk->linesOf("entry").back(), "end 0 kept"}));
    EXPECT_EQ(walk->linesOf("entry").back().rfind(
                  "entry 0 60000 '' type 14 x1 at " + std::to_string(bad), 0),
              0U);
}

TEST_P(EntrySink, ADroppedEntryNamesItsWarning) {
    struct Dropped {
        Entry entry;
        std::string_view message;
        bool isLoaded;
    };
    const std::uint64_t far = 0x7FFFFFFF;
    std::vector<Dropped> cases{
        {shorts(kUnknownTag, {1}).withType(14), "unrecognizedTagFormatId", false},
        {shorts(kUnknownTag, {1}).withType(65535), "unrecognizedTagFormatId", false},
        {shorts(kUnknownTag, {1}).withType(0), "noTypeFormatId", false},
        {ascii(kUnknownTag, "0123456789").withValueField(far), "tagDataPastEOF", false},
        {longs(kUnknownTag, {1}).withType(kIfd), "unrecognizedIfd", true},
        {numbers(kUnknownTag, kIfd8, {1, 2}), "unrecognizedIfd", true},
    };
    if (format().isBig()) {
        cases.push_back({ascii(kUnknownTag, "0123456789").withValueField(~std::uint64_t{0}),
                         "badTagDataOffsetSeek", false});
    }
    for (const Dropped& each : cases) {
        const TiffFile file = fileOf({{each.entry, ascii(kMake, "m")}});
        const auto walk = recordedWalk(file.bytes, fullReading());
        const Lines entries = walk->linesOf("entry");
        ASSERT_EQ(entries.size(), 2U) << each.message;
        EXPECT_TRUE(entries[0].ends_with(" dropped by " + id(each.message))) << entries[0];
        EXPECT_EQ(entries[0].find("not loaded") == std::string::npos, each.isLoaded) << entries[0];
        EXPECT_EQ(entries[1].find("dropped"), std::string::npos);
        // The warning comes first, and names the entry.
        ASSERT_EQ(walk->linesOf("warning").size(), 1U);
        EXPECT_EQ(walk->lines[1].rfind("warning 0 tag 60000 at " +
                                           std::to_string(file.places[0].entries[0]) + ' ' +
                                           std::string(each.message),
                                       0),
                  0U)
            << walk->lines[1];
        EXPECT_EQ(walk->call.added(), "Make='m'");
    }
}

TEST_P(EntrySink, AnIllegalPointerIsDropped) {
    const TiffFile file =
        fileOf({{pointer(kGps, {{{pointer(kExif, {{named("unseen")}}), ascii(29, "g")}}})}});
    const std::string gps = "0/GPSInfo[0]/0";
    EXPECT_EQ(
        stored(*recordedWalk(file.bytes)),
        (Lines{begins(file, 0, "0", "primary"), points(file, 0, 0, "0", kGps, "GPSInfo", 1),
               begins(file, 1, gps, "gps", kGps),
               warned(gps, kExif, file.places[1].entries[0], "illegallyNestedIFD(34665, 'GPS')"),
               points(file, 1, 0, gps, kExif, "", 2) + " dropped by " + id("illegallyNestedIFD"),
               head(file, 1, 1, gps, 29, "GPSDateStamp", kAscii, 1) + " [67]",
               "end " + gps + " kept", "end 0 kept"}));
}

TEST_P(EntrySink, AValueThatCannotBeReadIsDropped) {
    const TiffFile file = fileOf({{ascii(kArtist, "0123456789")}}, kFar);
    bool wasUnread = false;
    for (std::uint64_t number = 1; number < 20; ++number) {
        const auto walk = recordedWalk(file.bytes, {}, {}, [number](ifdsweep::Host& host) {
            setFaultPlan(host, {{.operation = Fault::Operation::read, .number = number}});
        });
        if (walk->warnings.size() == 1 && walk->warnings[0].starts_with("unableToReadTiffTag(")) {
            wasUnread = true;
            EXPECT_EQ(walk->linesOf("entry"),
                      (Lines{head(file, 0, 0, "0", kArtist, "Artist", kAscii, 10) +
                             " not loaded dropped by " + id("unableToReadTiffTag")}));
        }
    }
    EXPECT_TRUE(wasUnread);
}

TEST_P(EntrySink, DefaultsComeBehindTheEntries) {
    const TiffFile file = fileOf({{shorts(258, {4, 5}), ascii(kMake, "m")}});
    const auto walk = recordedWalk(file.bytes);
    const Lines defaults = walk->linesOf("default");
    ASSERT_GT(defaults.size(), 5U);
    EXPECT_EQ(walk->lines.size(), 4 + defaults.size());
    EXPECT_EQ(walk->lines.back(), "end 0 kept");
    EXPECT_EQ(Lines(walk->lines.begin() + 3, walk->lines.end() - 1), defaults);
    const auto has = [&](const std::string& line) {
        return std::count(defaults.begin(), defaults.end(), line) == 1;
    };
    EXPECT_TRUE(has("default 0 277 'SamplesPerPixel' x1 1"));
    EXPECT_TRUE(has("default 0 280 'MinSampleValue' x2 0 0"));
    EXPECT_TRUE(has("default 0 281 'MaxSampleValue' x2 15 31"));
    EXPECT_TRUE(has("default 0 259 'Compression' x1 1 'Uncompressed'"));
    for (const std::string& line : defaults) {
        EXPECT_EQ(line.find("but in the file"), std::string::npos) << line;
        EXPECT_EQ(line.find("258"), std::string::npos) << line;
    }
}

TEST_P(EntrySink, WhatIsToldAsADefaultIsWhatTheRecordShows) {
    const auto walk = recordedWalk(fileOf({{ascii(kMake, "m")}}).bytes);
    Lines told;
    for (const std::string& line : walk->linesOf("default")) {
        const std::size_t name = line.find('\'') + 1;
        told.push_back(line.substr(name, line.find('\'', name) - name));
    }
    // Behind the facts of the file, but for the place of the directory.
    Lines shown;
    constexpr std::size_t kFacts = 11;
    for (std::size_t field = kFacts; field + 1 < headNames().size(); ++field) {
        if (walk->call.value(headNames()[field]) != "empty") {
            shown.push_back(headNames()[field]);
        }
    }
    std::sort(told.begin(), told.end());
    std::sort(shown.begin(), shown.end());
    EXPECT_EQ(told, shown);
    EXPECT_FALSE(told.empty());
}

TEST_P(EntrySink, WarningsOfDirectoriesNameThem) {
    const std::string size = std::to_string(fileOf({named("a"), named("b")}).bytes.size());
    TiffFile file = fileOf({named("a"), named("b")});
    const auto nextOf = [&](std::size_t place) { return file.places[place].next; };

    file.setOffset(nextOf(1), file.bytes.size());
    EXPECT_EQ(recordedWalk(file.bytes)->linesOf("warning"),
              (Lines{warned("1", 0, nextOf(1), "nextIfdPointerOutOfRange(" + size + ')')}));

    file.setOffset(nextOf(0), file.bytes.size() - 1);
    const std::string last = std::to_string(file.bytes.size() - 1);
    EXPECT_EQ(recordedWalk(file.bytes)->linesOf("warning"),
              (Lines{warned("1", 0, file.bytes.size() - 1,
                            "numberOfDirectoryEntriesReadError(" + last + ')')}));

    file = fileOf({named("a"), {}});
    const std::string empty = std::to_string(file.places[1].position);
    EXPECT_EQ(recordedWalk(file.bytes)->linesOf("warning"),
              (Lines{warned("1", 0, file.places[1].position,
                            "numDirectoryEntriesIsZero(" + empty + ')')}));

    const Bytes withoutNext = truncated(fileOf({{shorts(256, {1})}}).bytes,
                                        fileOf({{shorts(256, {1})}}).places[0].next + 1);
    const std::size_t next = withoutNext.size() - 1;
    EXPECT_EQ(
        recordedWalk(withoutNext)->linesOf("warning"),
        (Lines{warned("0", 0, next, "nextIfdOffsetReadError(" + std::to_string(next) + ')')}));
}

TEST_P(EntrySink, WarningsOfTheRulesNameTheirPlace) {
    const TiffFile file = fileOf({{ascii(kMake, "m"), shorts(256, {1, 2})},
                                  {floats(kExif, {1.0F}), ascii(kMake, "m"), ascii(kMake, "n")}});
    const Bytes cut = truncated(file.bytes, file.places[1].entries[2]);
    const std::string position = std::to_string(file.places[1].position);
    EXPECT_EQ(
        recordedWalk(cut, fullReading())->linesOf("warning"),
        (Lines{warned("0", 256, file.places[0].entries[1], "badTagDataCount(256, 'Width', 2, 1)"),
               warned("1", 0, file.places[1].position,
                      "ifdsweep:directoryCut(" + position + ", 2, 3)"),
               warned("1", kExif, file.places[1].entries[0],
                      "ifdsweep:pointerHoldsNoOffset(34665, 'TIFF_FLOAT')")}));
    const Bytes without = truncated(file.bytes, file.places[1].entries[0]);
    EXPECT_EQ(recordedWalk(without, fullReading())->linesOf("warning").back(),
              warned("1", 0, file.places[1].position, "badIFDread('IFD #1')"));
}

TEST_P(EntrySink, BehindANestedDirectoryTheEntriesGoOn) {
    const TiffFile file =
        fileOf({{pointer(kExif, {{{shorts(kUnknownTag, {1}).withType(14), ascii(kMake, "e")}}}),
                 shorts(kUnknownTag, {1}).withType(15)}});
    const std::string exif = "0/DigitalCamera[0]/0";
    EXPECT_EQ(
        recordedWalk(file.bytes)->linesOf("warning"),
        (Lines{
            warned(exif, kUnknownTag, file.places[1].entries[0], "unrecognizedTagFormatId(14)"),
            warned("0", kUnknownTag, file.places[0].entries[1], "unrecognizedTagFormatId(15)")}));
}

TEST_P(EntrySink, TheDateIsWarnedOfBehindTheLastDirectory) {
    const TiffFile file = fileOf({named("a")});
    const auto walk = recordedWalk(file.bytes, fullReading(), {}, [&](ifdsweep::Host& host) {
        qxFileStatus status;
        status.type = qxFileType::regular;
        status.fileSize = file.bytes.size();
        host.serve("call.tif", std::make_shared<ifdsweep::MemoryBytes>(file.bytes), status);
    });
    EXPECT_EQ(walk->lines.back(), "warning - at 0 strftimeFailure()");
}

/// Throws at one event.
class ThrowingSink final : public ifdsweep::EntrySink {
public:
    explicit ThrowingSink(std::size_t event) : untilThrow(event) {}

    void directoryBegins(const ifdsweep::DirectoryFacts& /*directory*/) override { count(); }
    void directoryEnds(const ifdsweep::DirectoryFacts& /*directory*/, bool /*isKept*/) override {
        count();
    }
    void entry(const ifdsweep::DirectoryFacts& /*directory*/,
               const ifdsweep::EntryFacts& /*entry*/) override {
        count();
    }
    void warning(const qxMessage& /*message*/, const ifdsweep::WarningFacts& /*place*/) override {
        count();
    }

private:
    void count() {
        if (--untilThrow == 0) {
            throw std::runtime_error("enough");
        }
    }

    std::size_t untilThrow;
};

TEST_P(EntrySink, WhatASinkThrowsEndsTheWalk) {
    const TiffFile file = fileOf({{pointer(kSubIfds, {{named("a")}, {named("b")}}),
                                   shorts(259, {1}).withType(14), ascii(kMake, "m")},
                                  named("c")});
    const std::size_t events = recordedWalk(file.bytes)->lines.size();
    ASSERT_GT(events, 20U);
    for (std::size_t event = 1; event <= events + 1; ++event) {
        ThrowingSink sink(event);
        ifdsweep::Reading reading = fullReading();
        reading.sink = &sink;
        // The call looks for values that are left alive.
        EXPECT_EQ(callReading(file.bytes, reading).error,
                  event <= events ? "exception enough" : "");
    }
}

TEST_P(EntrySink, NothingElseChangesByIt) {
    const Chain chains[] = {
        {pageOfEverything()},
        {{pointer(kSubIfds, {{named("a"), named("b")}, {}}), pointer(kExif, {{named("e")}}),
          shorts(kUnknownTag, {1}).withType(14), floats(kGps, {1.0F}), shorts(257, {1, 2})},
         named("c").withEntryCount(9)}};
    for (const Chain& chain : chains) {
        const TiffFile file = fileOf(chain);
        for (const ifdsweep::Reading& reading : {ifdsweep::Reading(), fullReading()}) {
            const auto walk = recordedWalk(file.bytes, reading);
            EXPECT_EQ(walk->call.text(), callReading(file.bytes, reading).text());
            EXPECT_EQ(walk->warnings, walk->call.warnings);
        }
    }
}

class JpegWalk : public testing::TestWithParam<ByteOrder> {};
INSTANTIATE_TEST_SUITE_P(ByteOrders, JpegWalk, testing::Values(ByteOrder::little, ByteOrder::big));

TEST_P(JpegWalk, DirectoriesThatAreNotKeptDoNotCount) {
    TiffBuilder builder({Layout::classic, GetParam()});
    builder.add({shorts(256, {1})}).add(named("a")).add({shorts(257, {1})}).add(named("b"));
    const TiffFile file = builder.buildInJpeg();
    const auto walk = recordedWalk(file.bytes, {}, {.initialOffset = 12});
    Lines places;
    for (const std::string& line : walk->lines) {
        if (!line.starts_with("entry")) {
            places.push_back(line.substr(0, line.find(" primary")));
        }
    }
    EXPECT_EQ(places, (Lines{"begin 0", "end 0 not kept", "begin 0", "end 0 kept", "begin 1",
                             "end 1 not kept", "begin 1", "end 1 kept"}));
    EXPECT_EQ(walk->linesOf("default"), Lines{});
}

}  // namespace
}  // namespace fixture

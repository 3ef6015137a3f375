// Reading only what is asked for: what is shown of it is what reading everything and choosing
// shows, and nothing else is read.

#include "read/tag_filter.h"
#include "files/file_bytes.h"
#include "host/host_parts.h"
#include "ifdsweep/tag_list.h"
#include "read/field_selection.h"
#include "read/tag_choice.h"
#include "support/page_of_everything.h"
#include "support/record_dump.h"
#include "support/recorded_walk.h"
#include "support/tags.h"
#include "support/tiff_matrix.h"

namespace fixture {
namespace {

using ifdsweep::DirectoryKind;
using ifdsweep::TagFilter;

/// What a reading shows of the chosen fields, element by element; an error's id in its place.
std::string shown(const Bytes& bytes, const ifdsweep::Reading& reading,
                  const std::vector<ifdsweep::ChosenField>& fields, const Numbers& numbers) {
    ifdsweep::Host host;
    filesOf(host).serve(kFileName, bytes);
    const ifdsweep::Host::Scope scope(host);
    try {
        const ifdsweep::ValueHandle records =
            ifdsweep::selectFields(ifdsweep::ValueHandle(ifdsweep::readDirectories(
                                       kFileName, numbers.initialOffset, numbers.firstIfdIndex,
                                       numbers.maxIfdCount, reading)),
                                   fields);
        std::string text = shapeText(*records) + '\n';
        for (std::size_t element = 0; element < records->elementCount(); ++element) {
            for (std::size_t field = 0; field < records->fieldCount(); ++field) {
                text += std::string(records->fieldName(field)) + '=' +
                        dump(records->field(element, field)) + '\n';
            }
        }
        return text;
    } catch (const qxMessage& message) {
        return "error " + std::string(message.id());
    }
}

struct Input {
    std::string name;
    Bytes bytes;
    Numbers numbers{};
};

Directory named(std::string_view artist) {
    return {ascii(kArtist, artist)};
}

/// Directories of which each has nothing to show for a reason of its own, but for the last.
Chain bareDirectories() {
    Entry gone = ascii(kMake, "0123456789");
    return {{shorts(256, {1}), shorts(257, {2})},
            {ascii(kMake, "m").withType(14)},
            {ascii(kMake, "m").withType(0)},
            {gone.withValueField(0x7FFFFFFF)},
            {longs(kUnknownTag, {1}).withType(kIfd)},
            {longs(kUnknownTag, {1}).withType(kIfd8).withCount(1)},
            {longs(37724, {1}).withType(kIfd)},
            {shorts(kMake, {})},
            {pointer(kExif, {})},
            {pointer(kExif, {{{shorts(256, {1})}}})},
            {pointer(kSubIfds, {{{shorts(256, {1})}}, {named("s")}})},
            {pointer(kGps, {{{ascii(29, "g")}}})},
            {pointer(kGps, {{{pointer(kExif, {{named("unseen")}})}}})},
            {shorts(kUnknownTag, {1})},
            {shorts(256, {3}), shorts(258, {8, 8}), shorts(262, {1}), ascii(kArtist, "last")}};
}

/// The same directories under pointers, in one directory.
Directory nestedDirectories() {
    Directory all;
    for (const Directory& each : bareDirectories()) {
        all.entries.push_back(pointer(kSubIfds, {{each}, {each, named("behind")}}));
        all.entries.push_back(pointer(kExif, {{each}}));
    }
    all.entries.push_back(pointer(kGps, {{{ascii(29, "g"), shorts(kUnknownTag, {5})}}}));
    all.entries.push_back(pointer(
        kInterop, {{{ascii(1, "i"), shorts(kUnknownTag, {6}), ascii(kMake, "unnamed here")}}}));
    return all;
}

std::vector<Input> inputs() {
    std::vector<Input> all;
    const auto add = [&all](const std::string& name, const Chain& chain) {
        for (const Format& format : kFormats) {
            TiffBuilder builder(format);
            for (const Directory& directory : chain) {
                builder.add(directory);
            }
            all.push_back({name + nameOf(format), builder.build().bytes});
            if (!format.isBig()) {
                const Bytes jpeg = builder.buildInJpeg().bytes;
                for (const double maximum : {0.0, 1.0, 2.0}) {
                    all.push_back({name + "InJpeg" + nameOf(format),
                                   jpeg,
                                   {.initialOffset = 12, .maxIfdCount = maximum}});
                }
            }
        }
    };
    add("Everything", {pageOfEverything(), pageOfEverything()});
    add("Bare", bareDirectories());
    add("Nested", {nestedDirectories(), named("second")});
    add("DeeplyNested",
        {{pointer(kSubIfds,
                  {{{pointer(kSubIfds, {{{pointer(kExif, {{{pointer(kGps, {{{ascii(29, "g")}}}),
                                                            ascii(kMake, "e")}}})}}})}}})}});
    add("CutShort", {named("a"), {ascii(kMake, "m"), ascii(kArtist, "b")}, pageOfEverything()});
    all.back().bytes.resize(all.back().bytes.size() / 2);
    return all;
}

void expectTheSame(const Input& input, const std::string& list, bool isFull) {
    const ifdsweep::TagChoice choice = ifdsweep::chooseTags(list);
    ASSERT_EQ(choice.complaint, "");
    const TagFilter filter = ifdsweep::tagFilter(choice.fields);
    ifdsweep::Reading everything;
    everything.rules = isFull ? ifdsweep::ReadingRules::full() : ifdsweep::ReadingRules();
    ifdsweep::Reading asked = everything;
    asked.filter = &filter;
    const std::string all = shown(input.bytes, everything, choice.fields, input.numbers);
    if (all.starts_with("error")) {
        return;  // what was not asked for is not checked
    }
    EXPECT_EQ(shown(input.bytes, asked, choice.fields, input.numbers), all)
        << input.name << ", --tags " << list << (isFull ? ", full" : ", contract");
}

TEST(TagFilterLists, ShowWhatReadingEverythingAndChoosingShows) {
    for (const Input& input : inputs()) {
        for (const char* list : {"Make",
                                 "Artist",
                                 "Make,Artist",
                                 "Width",
                                 "Height",
                                 "Width,Height,BitDepth,ColorType",
                                 "BitsPerSample,SamplesPerPixel",
                                 "SubIFDs",
                                 "DigitalCamera",
                                 "GPSInfo",
                                 "InteroperabilityIFD",
                                 "GPSDateStamp",
                                 "GPSVersionID",
                                 "InteroperabilityIndex",
                                 "60000",
                                 "60001,60004",
                                 "271,34665",
                                 "UnknownTags",
                                 "GPS*",
                                 "Offset,Compression",
                                 "ExposureTime,Make",
                                 "StripOffsets",
                                 "Colormap,SampleFormat,XMP",
                                 "*"}) {
            expectTheSame(input, list, false);
            expectTheSame(input, list, true);
        }
    }
}

TEST(TagFilterLists, ShowEachNameAsReadingEverythingDoes) {
    const std::vector<Input> all = inputs();
    std::string before;
    for (const ifdsweep::TagListing& listing : ifdsweep::listTags()) {
        const std::string name(listing.name);
        if (name == before) {
            continue;
        }
        before = name;
        for (std::size_t i = 0; i < all.size(); i += 3) {
            expectTheSame(all[i], name, true);
        }
    }
}

class TagFilters : public TiffMatrix {
protected:
    static std::uint64_t countedBytes(const Bytes& bytes, const ifdsweep::Reading& reading) {
        std::uint64_t counted = 0;
        ifdsweep::Host host;
        filesOf(host).serve(kFileName, bytes);
        const ifdsweep::Host::Scope scope(host);
        const ifdsweep::ValueHandle records(ifdsweep::readDirectories(kFileName, 0, 0, 0, reading));
        counted = host.countedBytes();
        return counted;
    }
    static ifdsweep::Reading readingOf(const TagFilter& filter) {
        ifdsweep::Reading reading = fullReading();
        reading.filter = &filter;
        return reading;
    }
};
IFDSWEEP_TIFF_MATRIX(TagFilters);

TEST_P(TagFilters, ValuesThatAreNotAskedForAreNotRead) {
    // Two files that differ in the values of what is not asked for: long ones, or in their entries.
    const auto bytesOf = [](std::size_t size) {
        Directory page{ascii(kMake, "the one that is asked for")};
        for (std::uint16_t tag = 60000; tag < 60100; ++tag) {
            page.entries.push_back(numbers(tag, kUndefined, std::vector<std::int64_t>(size, 1)));
        }
        page.entries.push_back(pointer(kGps, {{page}}));
        return fileOf({page, page}, kFar).bytes;
    };
    TagFilter filter;
    filter.ask(DirectoryKind::primary, kMake);
    const Bytes longOnes = bytesOf(3000);
    const std::uint64_t counted = countedBytes(longOnes, readingOf(filter));
    EXPECT_EQ(counted, countedBytes(bytesOf(1), readingOf(filter)));
    // Two tables, their values and the jumps to them.
    EXPECT_LT(counted, 2 * (102 * format().entrySize() + 10 * 64));
    EXPECT_GT(countedBytes(longOnes, fullReading()), 600000U);
    EXPECT_EQ(callReading(longOnes, readingOf(filter)).value("Make", 1),
              "'the one that is asked for'");
}

TEST_P(TagFilters, WhatIsNotAskedForIsNotChecked) {
    const TiffFile file =
        fileOf({{shorts(kUnknownTag, {1}).withType(14), shorts(257, {1, 2}), shorts(kArtist, {}),
                 ascii(kUnknownTag, "0123456789").withValueField(0x7FFFFFFF), shorts(272, {1}),
                 numbers(282, kRational, {1, 0}), ascii(kMake, "m")}});
    TagFilter filter;
    filter.ask(DirectoryKind::primary, kMake);
    for (const ifdsweep::ReadingRules& rules :
         {ifdsweep::ReadingRules(), ifdsweep::ReadingRules::full()}) {
        ifdsweep::Reading reading = readingOf(filter);
        reading.rules = rules;
        const Call given = callReading(file.bytes, reading);
        EXPECT_EQ(given.outcome(), (Lines{"struct 1x1", "Make='m'"}));
    }
    filter.ask(DirectoryKind::primary, 257);
    EXPECT_EQ(callReading(file.bytes, readingOf(filter)).outcome(),
              (Lines{"badTagDataCount(257, 'Length', 2, 1)", "struct 1x1", "Make='m'"}));
}

TEST_P(TagFilters, PointersAreFollowedWhereSomethingAskedForCanLie) {
    const TiffFile file = fileOf(
        {{ascii(kMake, "m"), pointer(kGps, {{{ascii(29, "g")}}}),
          pointer(kInterop, {{{ascii(1, "i")}}}),
          pointer(kExif, {{{ascii(kMake, "e"), pointer(kGps, {{{ascii(29, "in Exif")}}})}}})}});
    const auto follows = [&](DirectoryKind kind, std::uint16_t tag) {
        TagFilter filter;
        filter.ask(kind, tag);
        ifdsweep::Reading reading;
        reading.filter = &filter;
        Lines paths;
        for (const std::string& line : recordedWalk(file.bytes, reading)->linesOf("begin")) {
            paths.push_back(line.substr(6, line.find(' ', 6) - 6));
        }
        return paths;
    };
    const Lines toGps{"0", "0/GPSInfo[0]/0", "0/DigitalCamera[0]/0",
                      "0/DigitalCamera[0]/0/GPSInfo[0]/0"};
    EXPECT_EQ(follows(DirectoryKind::primary, kMake), (Lines{"0", "0/DigitalCamera[0]/0"}));
    EXPECT_EQ(follows(DirectoryKind::exif, kMake), (Lines{"0", "0/DigitalCamera[0]/0"}));
    EXPECT_EQ(follows(DirectoryKind::gps, 29), toGps);
    EXPECT_EQ(follows(DirectoryKind::interoperability, 1),
              (Lines{"0", "0/InteroperabilityIFD[0]/0", "0/DigitalCamera[0]/0"}));
    // A pointer that is asked for shows all that is under it.
    EXPECT_EQ(follows(DirectoryKind::primary, kGps),
              (Lines{"0", "0/GPSInfo[0]/0", "0/DigitalCamera[0]/0"}));
    EXPECT_EQ(follows(DirectoryKind::primary, kExif),
              (Lines{"0", "0/DigitalCamera[0]/0", "0/DigitalCamera[0]/0/GPSInfo[0]/0"}));
    TagFilter exif;
    exif.ask(DirectoryKind::primary, kExif);
    EXPECT_EQ(callReading(file.bytes, readingOf(exif)).added(),
              "DigitalCamera=(Make='e' GPSInfo=(GPSDateStamp='in Exif'))");
}

TEST_P(TagFilters, TheKindOfTheDirectoryCounts) {
    const TiffFile file =
        fileOf({{ascii(1, "primary"), pointer(kGps, {{{ascii(1, "g")}}}),
                 pointer(kInterop, {{{ascii(1, "i")}}}), pointer(kExif, {{{ascii(1, "e")}}})}});
    const auto shownOf = [&](DirectoryKind kind) {
        TagFilter filter;
        filter.ask(kind, 1);
        Lines entries;
        ifdsweep::Reading reading;
        reading.filter = &filter;
        for (const std::string& line : recordedWalk(file.bytes, reading)->linesOf("entry")) {
            if (line.find(" 1 '") != std::string::npos) {
                entries.push_back(line.substr(6, line.find(' ', 6) - 6));
            }
        }
        return entries;
    };
    EXPECT_EQ(shownOf(DirectoryKind::primary), (Lines{"0"}));
    EXPECT_EQ(shownOf(DirectoryKind::gps), (Lines{"0/GPSInfo[0]/0"}));
    EXPECT_EQ(shownOf(DirectoryKind::interoperability), (Lines{"0/InteroperabilityIFD[0]/0"}));
    EXPECT_EQ(shownOf(DirectoryKind::exif), (Lines{"0/DigitalCamera[0]/0"}));
}

}  // namespace
}  // namespace fixture

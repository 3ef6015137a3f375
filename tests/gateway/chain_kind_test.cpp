// Chains that describe something else than images: Exif or GPS data in a stream of their own.

#include <string>

#include <gtest/gtest.h>

#include "support/recorded_walk.h"
#include "support/tags.h"
#include "support/tiff_matrix.h"

namespace fixture {
namespace {

using ifdsweep::DirectoryKind;

constexpr std::uint16_t kOrientation = 274;

ifdsweep::Reading readingOf(DirectoryKind kind) {
    ifdsweep::Reading reading = fullReading();
    reading.kind = kind;
    return reading;
}

class ChainKinds : public TiffMatrix {};
IFDSWEEP_TIFF_MATRIX(ChainKinds);

TEST_P(ChainKinds, DecideByWhichDictionaryTagsAreNamed) {
    const TiffFile file = fileOf({{shorts(1, {5}), shorts(kExposureProgram, {2})}});
    const std::pair<DirectoryKind, Lines> rows[] = {
        {DirectoryKind::gps, {"GPSLatitudeRef"}},
        {DirectoryKind::exif, {"ExposureProgram"}},
        {DirectoryKind::interoperability, {"InteroperabilityIndex"}},
    };
    for (const auto& [kind, names] : rows) {
        const Call given = callReading(file.bytes, readingOf(kind));
        EXPECT_EQ(given.error, "");
        for (const std::string& name : names) {
            EXPECT_NE(given.value(name), "no field") << name << '\n' << given.text();
        }
        EXPECT_EQ(given.value("NewSubfileType"), "no field") << given.text();
    }
}

TEST_P(ChainKinds, OfImagesAloneHaveTheDefaultsOfImages) {
    const TiffFile file = fileOf({{shorts(kExposureProgram, {2})}});
    const auto defaults = [&](DirectoryKind kind) {
        return recordedWalk(file.bytes, readingOf(kind))->linesOf("default").size();
    };
    EXPECT_GT(defaults(DirectoryKind::primary), 0U);
    for (const DirectoryKind kind :
         {DirectoryKind::gps, DirectoryKind::exif, DirectoryKind::interoperability}) {
        EXPECT_EQ(defaults(kind), 0U);
    }
}

ifdsweep::Reading carried() {
    ifdsweep::Reading reading = fullReading();
    reading.carrier = "png";
    return reading;
}

TEST_P(ChainKinds, OfImagesThatAreCarriedHaveNoDefaultsEither) {
    const TiffFile file = fileOf({{shorts(kOrientation, {6})}});
    const Call given = callReading(file.bytes, carried());
    EXPECT_EQ(given.value("Format"), "'png'");
    EXPECT_EQ(given.value("Orientation"), "6");
    for (const char* name : {"ByteOrder", "Offset", "NewSubFileType", "BitsPerSample"}) {
        EXPECT_EQ(given.value(name), "no field") << name;
    }
    EXPECT_EQ(recordedWalk(file.bytes, carried())->linesOf("default").size(), 0U);
}

TEST_P(ChainKinds, AreKeptForASizeAloneWhereTheyAreCarried) {
    const TiffFile file = fileOf({{shorts(256, {4})}});
    EXPECT_EQ(callReading(file.bytes, carried()).value("Width"), "4");
    ifdsweep::TagFilter filter;
    filter.ask(DirectoryKind::primary, kOrientation);
    ifdsweep::Reading reading = carried();
    reading.filter = &filter;
    EXPECT_EQ(callReading(file.bytes, reading).value("Format"), "'png'");
}

TEST_P(ChainKinds, MayBeLargerThanASegmentWhereTheyAreCarried) {
    constexpr std::size_t kMany = 6000;  // times 12 is more than 65,535
    Directory directory;
    for (std::size_t tag = 0; tag < kMany; ++tag) {
        directory.entries.push_back(shorts(static_cast<std::uint16_t>(50000 + tag), {1}));
    }
    const Call given = callReading(fileOf({directory}).bytes, carried());
    EXPECT_EQ(given.error, "");
    EXPECT_EQ(given.warnings, Lines{});
}

TEST_P(ChainKinds, AreNotThoseOfNestedDirectoriesAndEndWithTheFirst) {
    const Directory inside{ascii(1, "R98")};
    const TiffFile file = fileOf(
        {Directory{pointer(kInterop, {{inside}})}, Directory{shorts(kExposureProgram, {2})}});
    const auto walk = recordedWalk(file.bytes, readingOf(DirectoryKind::exif));
    Lines begun;
    for (const std::string& line : walk->linesOf("begin")) {
        begun.push_back(line.substr(0, line.find(" by ")));
    }
    EXPECT_EQ(begun, (Lines{"begin 0 exif", "begin 0/InteroperabilityIFD[0]/0 interoperability"}));
}

TEST_P(ChainKinds, AreWhatAFilterIsAskedWith) {
    const TiffFile file = fileOf({{shorts(1, {5}), shorts(2, {6})}});
    ifdsweep::TagFilter filter;
    filter.ask(DirectoryKind::gps, 1);
    ifdsweep::Reading reading = readingOf(DirectoryKind::gps);
    reading.filter = &filter;
    EXPECT_EQ(recordedWalk(file.bytes, reading)->linesOf("entry").size(), 1U);
    reading.kind = DirectoryKind::primary;
    EXPECT_EQ(recordedWalk(file.bytes, reading)->linesOf("entry").size(), 0U);
}

TEST_P(ChainKinds, OfAReadingAsConstructedAreImages) {
    const TiffFile file = fileOf({{shorts(256, {4})}, {shorts(257, {2})}});
    EXPECT_EQ(callReading(file.bytes, readingOf(DirectoryKind::primary)).text(),
              callReading(file.bytes, fullReading()).text());
    EXPECT_EQ(callReading(file.bytes, ifdsweep::Reading{}).text(),
              callEntryPoint(file.bytes).text());
}

}  // namespace
}  // namespace fixture

// Chains that describe something else than images: Exif or GPS data in a stream of their own.

#include <string>

#include <gtest/gtest.h>

#include "support/recorded_walk.h"
#include "support/tags.h"
#include "support/tiff_matrix.h"

namespace fixture {
namespace {

using ifdsweep::DirectoryKind;

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

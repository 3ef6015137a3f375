// Paths of packed directories are those that a sink of the walk makes of them.

#include "columns/directory_paths.h"

#include <string>
#include <string_view>
#include <vector>

#include <gtest/gtest.h>

#include "hostile/hostile_builders.h"
#include "ifdsweep/entry_sink.h"
#include "pack/packed_files.h"
#include "pack/unpack.h"
#include "read/place_recorder.h"
#include "support/tags.h"
#include "support/tiff_matrix.h"

namespace {

using namespace std::string_view_literals;

using fixture::ascii;
using fixture::Directory;
using fixture::Lines;
using fixture::pointer;
using fixture::shorts;

/// The paths of directories in the order in which they began, while they are told.
class PathSink final : public ifdsweep::EntrySink {
public:
    void directoryBegins(const ifdsweep::DirectoryFacts& directory) override {
        paths.push_back(pathOf(directory));
    }
    void directoryEnds(const ifdsweep::DirectoryFacts&, bool) override {}
    void entry(const ifdsweep::DirectoryFacts&, const ifdsweep::EntryFacts&) override {}
    void warning(const qxMessage&, const ifdsweep::WarningFacts&) override {}

    Lines paths{};
};

Lines pathsOf(const ifdsweep::PackedFile& file) {
    Lines paths;
    for (const ifdsweep::PackedDirectoryRow& directory : file.directories()) {
        paths.push_back(ifdsweep::directoryPath(file, directory));
    }
    return paths;
}

Lines toldPathsOf(const ifdsweep::PackedFile& file) {
    PathSink sink;
    ifdsweep::replay(file, sink);
    return sink.paths;
}

class DirectoryPathsTest : public fixture::TiffMatrix {};

IFDSWEEP_TIFF_MATRIX(DirectoryPathsTest);

TEST_P(DirectoryPathsTest, APathNamesThePointersOnTheWay) {
    const Directory interoperability{ascii(1, "R98\0"sv)};
    const Directory exif{ascii(36864, "0232"sv), pointer(fixture::kInterop, {{interoperability}})};
    const Directory gps{ascii(1, "N\0"sv)};
    const Directory thumbnail{shorts(256, {16}), pointer(fixture::kExif, {{exif}})};
    const Directory second{shorts(256, {32}),
                           pointer(fixture::kSubIfds, {{thumbnail}, {thumbnail, thumbnail}}),
                           pointer(fixture::kExif, {{exif}}), pointer(fixture::kGps, {{gps}})};
    const ifdsweep::PackedFile file =
        fixture::packed(fileOf({Directory{shorts(256, {64})}, second}).bytes);
    EXPECT_EQ(pathsOf(file),
              (Lines{"0", "1", "1/SubIFDs[0]/0", "1/SubIFDs[0]/0/DigitalCamera/0",
                     "1/SubIFDs[0]/0/DigitalCamera/0/InteroperabilityIFD/0", "1/SubIFDs[1]/0",
                     "1/SubIFDs[1]/0/DigitalCamera/0",
                     "1/SubIFDs[1]/0/DigitalCamera/0/InteroperabilityIFD/0", "1/SubIFDs[1]/1",
                     "1/SubIFDs[1]/1/DigitalCamera/0",
                     "1/SubIFDs[1]/1/DigitalCamera/0/InteroperabilityIFD/0", "1/DigitalCamera/0",
                     "1/DigitalCamera/0/InteroperabilityIFD/0", "1/GPSInfo/0"}));
    EXPECT_EQ(toldPathsOf(file), pathsOf(file));
}

TEST_P(DirectoryPathsTest, DirectoriesThatLieDeepHavePathsToo) {
    const ifdsweep::PackedFile file = fixture::packed(fixture::levels(format(), 300, 1).bytes);
    EXPECT_GT(file.directories().size(), 10U);
    EXPECT_EQ(toldPathsOf(file), pathsOf(file));
}

}  // namespace

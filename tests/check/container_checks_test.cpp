// The checks of files that carry TIFF streams: what the first directory of a stream is about, and
// where its data may lie.

#include <cstdint>
#include <vector>

#include <gtest/gtest.h>

#include "check/checked_file.h"
#include "support/jxl_file.h"
#include "support/tiff_matrix.h"

namespace {

using namespace checkedfile;
using fixture::Bytes;
using fixture::compressedExifBox;
using fixture::Directory;
using fixture::exifBox;
using fixture::jxlFile;
using ifdsweep::Outcome;

class ContainerChecks : public fixture::TiffMatrix {
protected:
    [[nodiscard]] Outcome checkedAll(const Bytes& bytes) {
        return checked(host, bytes, {.streams = ifdsweep::StreamChoice::all});
    }

    /// A stream of two directories, the second one of a thumbnail.
    [[nodiscard]] Bytes streamOf(const Directory& first, std::int64_t offset,
                                 std::int64_t size) const {
        Bytes stream = fileOf({first, Directory(thumbnail(offset, size))}).bytes;
        stream.resize(kStream);
        put(stream, kThumbnail, {0xFF, 0xD8, 0xFF, 0xD9});
        return stream;
    }

    static constexpr std::size_t kStream = 1024;
    static constexpr std::int64_t kThumbnail = 1000;

    ifdsweep::Host host;
};
IFDSWEEP_TIFF_MATRIX(ContainerChecks);

TEST_P(ContainerChecks, TheFirstDirectoryOfEveryStreamIsOfTheFileAround) {
    const Directory ofImage{shorts(256, {16}), shorts(257, {8})};
    const Bytes sound = streamOf(ofImage, kThumbnail, 4);
    const Outcome outcome =
        checkedAll(jxlFile({exifBox(sound), compressedExifBox(sound), exifBox(sound)}));
    ASSERT_EQ(outcome.others.size(), 2U);
    EXPECT_EQ(found(outcome), Lines{});
    EXPECT_EQ(found(outcome.others[0]), Lines{});
    EXPECT_EQ(found(outcome.others[1]), Lines{});
    const ifdsweep::Outcome second = checked(host, jxlFile({exifBox(sound)}), {.first = 1});
    EXPECT_EQ(found(second), Lines{});
}

TEST_P(ContainerChecks, DataBehindTheEndAreFoundInTheStreamTheyAreOf) {
    const Directory ofImage{shorts(256, {16}), shorts(257, {8})};
    const Bytes sound = streamOf(ofImage, kThumbnail, 4);
    const Bytes cut = streamOf(ofImage, 100'000, 50);
    const Outcome inFile = checkedAll(jxlFile({exifBox(sound), exifBox(cut), exifBox(sound)}));
    ASSERT_EQ(inFile.others.size(), 2U);
    const auto base = static_cast<std::int64_t>(inFile.others[0].initialOffset);
    EXPECT_EQ(found(inFile), Lines{});
    EXPECT_EQ(found(inFile.others[0]),
              (Lines{"1 513 jpegDataPastEOF(" + std::to_string(base + 100'000) + ", 50)"}));
    EXPECT_EQ(found(inFile.others[1]), Lines{});
}

TEST_P(ContainerChecks, AnEmbeddedStreamIsHeldToItsOwnBytes) {
    const Directory ofImage{shorts(256, {16}), shorts(257, {8})};
    const Bytes sound = streamOf(ofImage, kThumbnail, 4);
    // The file has these bytes, and the stream has not.
    const Bytes outside = streamOf(ofImage, kStream, 50);
    const Outcome outcome = checkedAll(jxlFile(
        {compressedExifBox(outside), compressedExifBox(sound), compressedExifBox(outside)}));
    ASSERT_EQ(outcome.others.size(), 2U);
    const Lines past{"1 513 jpegDataPastEOF(" + std::to_string(kStream + 4) + ", 50)"};
    EXPECT_EQ(found(outcome), past);
    EXPECT_EQ(found(outcome.others[0]), Lines{});
    EXPECT_EQ(found(outcome.others[1]), past);
    // Its own bytes are looked at, not those of the file at the same place.
    const Bytes noImage = streamOf(ofImage, kThumbnail - 4, 4);
    const Outcome probed = checkedAll(jxlFile({exifBox(sound), compressedExifBox(noImage)}));
    ASSERT_EQ(probed.others.size(), 1U);
    EXPECT_EQ(found(probed.others[0]),
              (Lines{"1 513 jpegDataWithoutStart(" + std::to_string(kThumbnail) + ")"}));
}

}  // namespace

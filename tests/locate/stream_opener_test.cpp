#include "locate/stream_opener.h"

#include <algorithm>
#include <cerrno>
#include <limits>
#include <ostream>
#include <string>
#include <string_view>
#include <tuple>
#include <vector>

#include <gtest/gtest.h>

#include "ifdsweep/messages.h"
#include "support/byte_verbs.h"
#include "support/compressed_bytes.h"
#include "support/counted_bytes.h"

namespace {

using namespace std::string_literals;
using fixture::Bytes;
using fixture::bytesOf;
using fixture::CountedBytes;
using ifdsweep::Compression;
using ifdsweep::Extent;
using ifdsweep::HeaderPlace;
using ifdsweep::kMostAssembledBytes;
using ifdsweep::LocatedStream;
using ifdsweep::OpenedStream;

constexpr std::uint64_t kLargest = std::numeric_limits<std::uint64_t>::max();

/// A stream that begins with its header: text that is easy to compress, then text that is not.
std::string streamOf(const std::string& header) {
    std::string text = header + std::string(200, 'x');
    std::uint32_t state = 1;
    for (int count = 0; count < 100; ++count) {
        state = state * 1664525 + 1013904223;
        text += static_cast<char>(state >> 24);
    }
    return text;
}

const std::string kStream = streamOf("II*\0"s);

Bytes packed(const std::string& content, Compression compression, bool isRawProfile) {
    const std::string text = isRawProfile ? fixture::rawProfile(bytesOf(content)) : content;
    switch (compression) {
        case Compression::none:
            return bytesOf(text);
        case Compression::zlib:
            return fixture::zlibCompressed(bytesOf(text));
        case Compression::brotli:
            return fixture::brotliCompressed(bytesOf(text));
    }
    return {};
}

/// All of an opened stream's own bytes.
std::string contentOf(const OpenedStream& opened) {
    std::string content(static_cast<std::size_t>(opened.bytes->size()), '\0');
    EXPECT_EQ(opened.bytes->read(0, std::as_writable_bytes(std::span(content))),
              static_cast<std::ptrdiff_t>(content.size()));
    return content;
}

std::string warningOf(const OpenedStream& opened) {
    return opened.warning ? ifdsweep::messageText(*opened.warning) : "";
}

LocatedStream streamAt(std::vector<Extent> extents, Compression compression = Compression::none,
                       bool isRawProfile = false, HeaderPlace header = HeaderPlace::atStart) {
    LocatedStream stream;
    stream.name = "Exif item 3";
    stream.extents = std::move(extents);
    stream.compression = compression;
    stream.isRawProfile = isRawProfile;
    stream.header = header;
    return stream;
}

const std::string kIncomplete = "the Exif item 3 is incomplete: ";
const std::string kTooLong =
    kIncomplete + "it goes beyond the 64 MiB that are put together of a file";
const std::string kPastTheEnd = kIncomplete + "it reaches past the end of the file";

// --- every combination ---------------------------------------------------------------------------

/// How the bytes of a stream lie in a file. Shared: all that are alike are one byte of the file.
enum class Lying : std::uint8_t { one, two, backwards, single, shared };

struct LaidOut {
    Bytes file;
    std::vector<Extent> extents;
};

/// Lays bytes into a file, among others.
LaidOut laidOut(const Bytes& bytes, Lying lying) {
    LaidOut result{Bytes(7, 0xEE), {}};
    const auto put = [&](std::size_t begin, std::size_t count) {
        result.extents.push_back({result.file.size(), count});
        const auto first = bytes.begin() + static_cast<std::ptrdiff_t>(begin);
        result.file.insert(result.file.end(), first, first + static_cast<std::ptrdiff_t>(count));
        result.file.push_back(0xEE);
    };
    const std::size_t half = bytes.size() / 2;
    switch (lying) {
        case Lying::one:
            put(0, bytes.size());
            break;
        case Lying::two:
            put(0, half);
            put(half, bytes.size() - half);
            break;
        case Lying::backwards:
            put(half, bytes.size() - half);
            put(0, half);
            std::swap(result.extents[0], result.extents[1]);
            break;
        case Lying::single:
            for (std::size_t place = 0; place < bytes.size(); ++place) {
                put(place, 1);
            }
            break;
        case Lying::shared:
            result.file.resize(7 + 256);
            for (std::size_t value = 0; value < 256; ++value) {
                result.file[7 + value] = static_cast<std::uint8_t>(value);
            }
            for (const std::uint8_t byte : bytes) {
                result.extents.push_back({7U + byte, 1});
            }
            break;
    }
    return result;
}

/// What stands before the header, and whether it is where it should be.
struct Front {
    const char* name;
    std::string text;
    HeaderPlace place;
};

const Front kFronts[] = {
    {"nothing", "", HeaderPlace::atStart},
    {"exif", "Exif\0\0"s, HeaderPlace::atStart},
    {"number0", "\0\0\0\0"s, HeaderPlace::behindOffset},
    {"number0AndExif", "\0\0\0\0Exif\0\0"s, HeaderPlace::behindOffset},
    {"number6WithExif", "\0\0\0\6Exif\0\0"s, HeaderPlace::behindOffset},
    {"number3", "\0\0\0\3abc"s, HeaderPlace::behindOffset},
    {"number300", "\0\0\1\54"s + std::string(300, 'y'), HeaderPlace::behindOffset},
    {"number300AndExif", "\0\0\1\54"s + std::string(300, 'y') + "Exif\0\0"s,
     HeaderPlace::behindOffset},
    // What writers get wrong.
    {"noNumber", "", HeaderPlace::behindOffset},
    {"exifAndNoNumber", "Exif\0\0"s, HeaderPlace::behindOffset},
    {"numberWithoutExif", "\0\0\0\6"s, HeaderPlace::behindOffset},
    {"numberOfTheSize", "\0\0\1\66Exif\0\0"s, HeaderPlace::behindOffset},
    {"largestNumber", "\xFF\xFF\xFF\xFF"s, HeaderPlace::behindOffset},
    {"littleEndianNumber", "\6\0\0\0Exif\0\0"s, HeaderPlace::behindOffset},
    {"numberThatNobodyAskedFor", "\0\0\0\0"s, HeaderPlace::atStart},
    {"numberAndExifThatNobodyAskedFor", "\0\0\0\6Exif\0\0"s, HeaderPlace::atStart},
};

using Combination = std::tuple<Lying, Compression, bool>;

std::string nameOf(const testing::TestParamInfo<Combination>& instance) {
    constexpr const char* kLyings[] = {"one", "two", "backwards", "single", "shared"};
    constexpr const char* kCompressions[] = {"Plain", "Zlib", "Brotli"};
    const auto& [lying, compression, isRawProfile] = instance.param;
    return std::string(kLyings[static_cast<int>(lying)]) +
           kCompressions[static_cast<int>(compression)] + (isRawProfile ? "Profile" : "");
}

class StreamOpeners : public testing::TestWithParam<Combination> {};

TEST_P(StreamOpeners, FindTheHeaderOfWholeStreams) {
    const auto& [lying, compression, isRawProfile] = GetParam();
    const bool liesInFile =
        lying == Lying::one && compression == Compression::none && !isRawProfile;
    for (const Front& front : kFronts) {
        for (const std::string& header : {"II*\0"s, "MM\0*"s, "II+\0"s, "MM\0+"s}) {
            SCOPED_TRACE(front.name + header);
            const std::string content = front.text + streamOf(header);
            const LaidOut file = laidOut(packed(content, compression, isRawProfile), lying);
            const CountedBytes bytes(file.file);
            const OpenedStream opened =
                openStream(bytes, streamAt(file.extents, compression, isRawProfile, front.place));
            EXPECT_EQ(warningOf(opened), "");
            ASSERT_EQ(opened.bytes == nullptr, liesInFile);
            EXPECT_EQ(opened.position, front.text.size() + (liesInFile ? 7 : 0));
            if (!liesInFile) {
                EXPECT_EQ(contentOf(opened), content);
            }
        }
    }
}

INSTANTIATE_TEST_SUITE_P(All, StreamOpeners,
                         testing::Combine(testing::Values(Lying::one, Lying::two, Lying::backwards,
                                                          Lying::single, Lying::shared),
                                          testing::Values(Compression::none, Compression::zlib,
                                                          Compression::brotli),
                                          testing::Bool()),
                         nameOf);

// --- headers -------------------------------------------------------------------------------------

struct NoHeader {
    const char* name;
    std::string content;
    HeaderPlace place;
    std::uint64_t position;
};

const NoHeader kNoHeaders[] = {
    {"empty", "", HeaderPlace::atStart, 0},
    {"emptyBehindNumber", "", HeaderPlace::behindOffset, 0},
    {"noise", "no header here", HeaderPlace::atStart, 0},
    {"exifAlone", "Exif\0\0"s, HeaderPlace::atStart, 6},
    {"exifAndNoise", "Exif\0\0noise"s, HeaderPlace::atStart, 6},
    {"exifCutOff", "Exif\0"s, HeaderPlace::atStart, 0},
    {"headerCutOff", "II*", HeaderPlace::atStart, 0},
    {"halfANumber", "\0\0"s, HeaderPlace::behindOffset, 2},
    {"numberAndNoise", "\0\0\0\2noise"s, HeaderPlace::behindOffset, 6},
    {"numberExifAndNoise", "\0\0\0\6Exif\0\0noise"s, HeaderPlace::behindOffset, 10},
    {"numberBeyondTheEnd", "\0\1\0\0noise"s, HeaderPlace::behindOffset, 9},
    {"headerElsewhere", "noiseII*\0"s, HeaderPlace::atStart, 0},
};

TEST(StreamOpener, LeavesAStreamWithoutHeaderToTheReading) {
    for (const NoHeader& row : kNoHeaders) {
        SCOPED_TRACE(row.name);
        // Behind the stream there is a header, which is none of its own.
        const CountedBytes bytes(bytesOf("ab" + row.content + "II*\0"s));
        const OpenedStream inFile = openStream(
            bytes, streamAt({{2, row.content.size()}}, Compression::none, false, row.place));
        EXPECT_EQ(inFile.position, row.position + 2);
        EXPECT_EQ(warningOf(inFile), "");
        EXPECT_EQ(inFile.bytes, nullptr);
        const OpenedStream joined = openStream(
            bytes,
            streamAt({{2, row.content.size()}, {0, 0}}, Compression::none, false, row.place));
        EXPECT_EQ(joined.position, row.position);
        EXPECT_EQ(warningOf(joined), "");
        EXPECT_EQ(contentOf(joined), row.content);
    }
}

TEST(StreamOpener, ReadsLittleOfAStreamInTheFile) {
    for (const Front& front : kFronts) {
        SCOPED_TRACE(front.name);
        const std::string content = front.text + kStream;
        const CountedBytes bytes(bytesOf(content));
        const OpenedStream opened = openStream(
            bytes, streamAt({{0, content.size()}}, Compression::none, false, front.place));
        EXPECT_EQ(opened.cost, 0U);
        const bool isNear = front.text.size() < 22;
        EXPECT_EQ(bytes.reads, isNear ? 1U : 2U);
        EXPECT_LE(bytes.delivered, isNear ? 32U : 42U);
    }
}

TEST(StreamOpener, OpensAStreamThatLiesInTheFileWhateverIsLeftOfTheMost) {
    const CountedBytes bytes(bytesOf(kStream));
    const OpenedStream opened = openStream(bytes, streamAt({{0, kStream.size()}}), 0);
    EXPECT_EQ(opened.position, 0U);
    EXPECT_EQ(warningOf(opened), "");
}

// --- limits --------------------------------------------------------------------------------------

TEST(StreamOpener, PutsTogetherAsMuchAsItMayAndNoByteMore) {
    for (const Compression compression :
         {Compression::none, Compression::zlib, Compression::brotli}) {
        for (const bool isRawProfile : {false, true}) {
            SCOPED_TRACE(std::to_string(static_cast<int>(compression)) +
                         (isRawProfile ? " profile" : ""));
            const LaidOut file = laidOut(packed(kStream, compression, isRawProfile), Lying::two);
            const CountedBytes bytes(file.file);
            const LocatedStream stream = streamAt(file.extents, compression, isRawProfile);
            const std::uint64_t needed =
                isRawProfile ? fixture::rawProfile(bytesOf(kStream)).size() : kStream.size();
            const OpenedStream exact = openStream(bytes, stream, needed);
            EXPECT_EQ(exact.cost, needed);
            EXPECT_EQ(contentOf(exact), kStream);
            EXPECT_EQ(warningOf(exact), "");
            for (const std::uint64_t less : {std::uint64_t{1}, std::uint64_t{2}, needed}) {
                const OpenedStream shorter = openStream(bytes, stream, needed - less);
                EXPECT_EQ(shorter.cost, needed - less);
                EXPECT_TRUE(kStream.starts_with(contentOf(shorter)));
                EXPECT_EQ(warningOf(shorter), kTooLong);
            }
        }
    }
}

TEST(StreamOpener, CountsPackedBytesThatGiveNothing) {
    // A stream that is read over and over, of which nothing comes.
    const Bytes file(1000, ' ');
    const OpenedStream opened =
        openStream(CountedBytes(file),
                   streamAt(std::vector<Extent>(100, {0, 1000}), Compression::none, true), 5000);
    EXPECT_EQ(opened.cost, 5000U);
    EXPECT_EQ(opened.bytes->size(), 0U);
    EXPECT_EQ(warningOf(opened), kTooLong);
}

TEST(StreamOpener, CountsWhatIsReadWhereLessComesOut) {
    const Bytes whole = packed(kStream.substr(kStream.size() - 50), Compression::zlib, false);
    ASSERT_GT(whole.size(), 50U);  // noise only becomes longer
    const CountedBytes bytes(whole);
    const LocatedStream stream = streamAt({{0, whole.size()}}, Compression::zlib);
    const OpenedStream exact = openStream(bytes, stream, whole.size());
    EXPECT_EQ(exact.cost, whole.size());
    EXPECT_EQ(exact.bytes->size(), 50U);
    EXPECT_EQ(warningOf(exact), "");
    EXPECT_EQ(warningOf(openStream(bytes, stream, whole.size() - 1)), kTooLong);
}

TEST(StreamOpener, EndsBombsAtTheLimit) {
    const Bytes zeros(static_cast<std::size_t>(kMostAssembledBytes) + 1);
    for (const Compression compression : {Compression::zlib, Compression::brotli}) {
        const Bytes bomb = compression == Compression::zlib ? fixture::zlibCompressed(zeros)
                                                            : fixture::brotliCompressed(zeros);
        const OpenedStream opened =
            openStream(CountedBytes(bomb), streamAt({{0, bomb.size()}}, compression));
        EXPECT_EQ(opened.bytes->size(), kMostAssembledBytes);
        EXPECT_EQ(opened.cost, kMostAssembledBytes);
        EXPECT_EQ(warningOf(opened), kTooLong);
    }
}

struct LyingExtents {
    const char* name;
    std::vector<Extent> extents;
    std::string content;  ///< of a file with the bytes "0123456789"
    std::string warning;
};

const LyingExtents kLyingExtents[] = {
    {"whole", {{0, 5}, {5, 5}}, "0123456789", ""},
    {"empty", {{0, 0}, {10, 0}}, "", ""},
    {"emptyBeyondTheEnd", {{11, 0}, {2, 1}}, "2", ""},
    {"again", {{0, 10}, {0, 10}, {9, 1}}, "012345678901234567899", ""},
    {"oneByteTooMany", {{0, 5}, {5, 6}}, "0123456789", kPastTheEnd},
    {"theFirstIsCut", {{5, 6}, {0, 5}}, "56789", kPastTheEnd},
    {"beyondTheEnd", {{0, 5}, {10, 1}}, "01234", kPastTheEnd},
    {"farBeyondTheEnd", {{0, 5}, {kLargest, 1}}, "01234", kPastTheEnd},
    {"largestSize", {{1, kLargest}, {0, kLargest}}, "123456789", kPastTheEnd},
    {"largestOfBoth", {{kLargest, kLargest}, {0, 5}}, "", kPastTheEnd},
    {"sumThatOverflows", {{0, 1}, {1, kLargest}, {0, kLargest}}, "0123456789", kPastTheEnd},
};

TEST(StreamOpener, TakesNoMoreThanLiesInTheFile) {
    for (const LyingExtents& row : kLyingExtents) {
        SCOPED_TRACE(row.name);
        const CountedBytes bytes(bytesOf("0123456789"));
        const OpenedStream opened = openStream(bytes, streamAt(row.extents));
        EXPECT_EQ(contentOf(opened), row.content);
        EXPECT_EQ(warningOf(opened), row.warning);
    }
}

TEST(StreamOpener, FindsNoHeaderWhereTheFileDoesNotReach) {
    const CountedBytes bytes(bytesOf("II*\0II*\0"s));
    for (const HeaderPlace place : {HeaderPlace::atStart, HeaderPlace::behindOffset}) {
        for (const Extent extent :
             {Extent{8, 4}, Extent{9, 4}, Extent{kLargest, kLargest}, Extent{kLargest - 3, 8}}) {
            EXPECT_EQ(
                openStream(bytes, streamAt({extent}, Compression::none, false, place)).position,
                8U);
        }
    }
}

TEST(StreamOpener, ReadsExtentsInPieces) {
    const std::string content = kStream + std::string(100000, 'z');
    for (const Compression compression :
         {Compression::none, Compression::zlib, Compression::brotli}) {
        const Bytes whole = packed(content, compression, false);
        const LaidOut file = laidOut(whole, Lying::single);
        const CountedBytes bytes(file.file);
        EXPECT_EQ(contentOf(openStream(bytes, streamAt(file.extents, compression))), content);
        EXPECT_EQ(bytes.delivered, whole.size());
        EXPECT_EQ(bytes.reads, whole.size());
        const CountedBytes other(file.file);
        static_cast<void>(openStream(other, streamAt({{0, 100000}, {3, 100000}})));
        EXPECT_LE(other.reads, 4U);
    }
}

// --- damage --------------------------------------------------------------------------------------

TEST(StreamOpener, KeepsWhatThereIsOfAStreamCutAnywhere) {
    const std::string content = streamOf("MM\0*"s);
    for (const Compression compression :
         {Compression::none, Compression::zlib, Compression::brotli}) {
        for (const bool isRawProfile : {false, true}) {
            const Bytes whole = packed(content, compression, isRawProfile);
            for (std::size_t size = 0; size < whole.size(); ++size) {
                Bytes cut(whole.begin(), whole.begin() + static_cast<std::ptrdiff_t>(size));
                // The extents know of the cut, or do not.
                const OpenedStream knowing = openStream(
                    CountedBytes(cut), streamAt({{0, 0}, {0, size}}, compression, isRawProfile));
                const OpenedStream unknowing =
                    openStream(CountedBytes(cut),
                               streamAt({{0, 0}, {0, whole.size()}}, compression, isRawProfile));
                ASSERT_TRUE(content.starts_with(contentOf(knowing)));
                ASSERT_EQ(contentOf(knowing), contentOf(unknowing));
                ASSERT_EQ(warningOf(unknowing), kPastTheEnd) << size;
                const bool isWhole = contentOf(knowing) == content;
                if (compression != Compression::none) {
                    ASSERT_EQ(warningOf(knowing),
                              kIncomplete + "its " +
                                  (compression == Compression::zlib ? "zlib" : "Brotli") +
                                  " data are cut off");
                } else if (isRawProfile) {
                    ASSERT_EQ(warningOf(knowing) == "", isWhole) << size;
                } else {
                    ASSERT_EQ(warningOf(knowing), "");
                }
            }
        }
    }
}

TEST(StreamOpener, TellsOfDamagedZlibData) {
    const Bytes whole = packed(kStream, Compression::zlib, false);
    std::size_t damaged = 0;
    for (std::size_t place = 0; place < whole.size(); ++place) {
        Bytes file = whole;
        file[place] ^= 0x55;
        const OpenedStream opened =
            openStream(CountedBytes(file), streamAt({{0, file.size()}}, Compression::zlib));
        ASSERT_TRUE(opened.warning || contentOf(opened) == kStream) << place;
        damaged += warningOf(opened) == kIncomplete + "its zlib data are damaged" ? 1U : 0U;
    }
    EXPECT_GT(damaged, whole.size() / 2);
}

TEST(StreamOpener, EndsOnDamagedBrotliData) {
    const Bytes whole = packed(kStream, Compression::brotli, false);
    std::size_t damaged = 0;
    for (std::size_t place = 0; place < whole.size(); ++place) {
        Bytes file = whole;
        file[place] ^= 0x55;
        const OpenedStream opened =
            openStream(CountedBytes(file), streamAt({{0, file.size()}}, Compression::brotli));
        ASSERT_LE(opened.bytes->size(), kMostAssembledBytes);
        damaged += warningOf(opened) == kIncomplete + "its Brotli data are damaged" ? 1U : 0U;
    }
    EXPECT_GT(damaged, 0U);
}

TEST(StreamOpener, TellsWhatIsWrongWithAProfileOnceItIsUnpacked) {
    const OpenedStream opened =
        openStream(CountedBytes(fixture::zlibCompressed(bytesOf("\nexif\n 4\n49492a00f\n"))),
                   streamAt({{0, 1000}}, Compression::zlib, true));
    EXPECT_EQ(contentOf(opened), "II*\0"s);
    EXPECT_EQ(warningOf(opened), kIncomplete + "its profile has an odd number of digits");
}

/// A file of which nothing can be read from some place on.
class FailingBytes final : public ifdsweep::ByteSource {
public:
    explicit FailingBytes(std::uint64_t readableBytes) : readable(readableBytes) {}

    [[nodiscard]] std::uint64_t size() const noexcept override { return 1000; }
    [[nodiscard]] std::ptrdiff_t read(std::uint64_t position,
                                      std::span<std::byte> target) const noexcept override {
        if (position >= readable) {
            errno = EIO;
            return -1;
        }
        const auto count = std::min<std::uint64_t>(target.size(), readable - position);
        std::fill_n(target.begin(), count, std::byte{'x'});
        return static_cast<std::ptrdiff_t>(count);
    }

private:
    std::uint64_t readable;
};

TEST(StreamOpener, TellsOfAFileThatCannotBeRead) {
    const OpenedStream joined = openStream(FailingBytes(300), streamAt({{0, 200}, {200, 200}}));
    EXPECT_EQ(contentOf(joined), std::string(300, 'x'));
    EXPECT_EQ(warningOf(joined), kIncomplete + "it cannot be read");
    const OpenedStream unpacked =
        openStream(FailingBytes(0), streamAt({{0, 200}}, Compression::zlib));
    EXPECT_EQ(warningOf(unpacked), kIncomplete + "it cannot be read");
    // The reading itself then tells of it.
    EXPECT_EQ(openStream(FailingBytes(0), streamAt({{5, 200}})).position, 5U);
}

/// A large file of which nothing can be read, as when a budget is spent; knows the longest read.
class WithheldBytes final : public ifdsweep::ByteSource {
public:
    [[nodiscard]] std::uint64_t size() const noexcept override { return kMostAssembledBytes; }
    [[nodiscard]] std::ptrdiff_t read(std::uint64_t /*position*/,
                                      std::span<std::byte> target) const noexcept override {
        longest = std::max(longest, target.size());
        return 0;
    }

    mutable std::size_t longest = 0;
};

TEST(StreamOpener, HasNoMemoryReadyForBytesThatDoNotCome) {
    const WithheldBytes bytes;
    const OpenedStream opened =
        openStream(bytes, streamAt({{0, kMostAssembledBytes / 2}, {0, kMostAssembledBytes / 2}}));
    EXPECT_EQ(contentOf(opened), "");
    EXPECT_LE(bytes.longest, std::size_t{1} << 20U);
}

}  // namespace

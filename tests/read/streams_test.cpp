// Files that carry TIFF streams: which are read, what is told of each, and what they share.

#include <algorithm>
#include <cstdint>
#include <memory>
#include <new>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "host/host_parts.h"
#include "ifdsweep/entry_sink.h"
#include "ifdsweep/messages.h"
#include "ifdsweep/read.h"
#include "ifdsweep/reading.h"
#include "locate/stream_opener.h"
#include "read/messages.h"
#include "support/compressed_bytes.h"
#include "support/jxl_file.h"
#include "support/planned_faults.h"
#include "support/tiff_matrix.h"

namespace {

using fixture::Bytes;
using fixture::compressedExifBox;
using fixture::Directory;
using fixture::exifBox;
using fixture::jxlFile;
using fixture::Lines;
using fixture::longs;
using fixture::shorts;
using ifdsweep::Outcome;
using ifdsweep::ReadOptions;
using ifdsweep::StreamChoice;

constexpr ReadOptions kAll{.streams = StreamChoice::all};

/// An entry that is dropped with the warning `zeroComponentCount`.
fixture::Entry empty(std::uint16_t tag) {
    return shorts(tag, {});
}

/// Ids and places of warnings.
Lines shown(const Outcome& outcome) {
    Lines lines;
    for (const ifdsweep::Warning& warning : outcome.warnings) {
        std::string line(ifdsweep::shortMessageId(warning.message.id()));
        line.append(" ").append(warning.place.path.empty() ? "-" : warning.place.path);
        line.append(" ").append(warning.place.tag ? std::to_string(*warning.place.tag) : "-");
        line.append(" ").append(warning.place.offset ? std::to_string(*warning.place.offset) : "-");
        lines.push_back(line);
    }
    return lines;
}

/// "container, name", with "embedded" where it is.
std::string origin(const Outcome& outcome) {
    return outcome.stream.container + ", " + outcome.stream.name +
           (outcome.stream.isEmbedded ? ", embedded" : "");
}

std::string errorId(const Outcome& outcome) {
    return outcome.error ? std::string(ifdsweep::shortMessageId(outcome.error->id())) : "none";
}

double numberIn(const ifdsweep::ValueView& records, std::string_view name) {
    return records.field(0, name)->doubles()[0];
}

double widthOf(const Outcome& outcome) {
    return numberIn(ifdsweep::ValueView(*outcome.result), "Width");
}

class Streams : public fixture::TiffMatrix {
protected:
    ~Streams() override { EXPECT_EQ(host.liveValues(), 0U); }

    [[nodiscard]] fixture::TiffFile image(std::int64_t width,
                                          std::vector<fixture::Entry> more = {}) const {
        more.insert(more.begin(), shorts(256, {width}));
        return fileOf({Directory(more)});
    }

    Outcome read(const Bytes& bytes, const ReadOptions& options = {}) {
        filesOf(host).serve(u"a.jxl", bytes);
        return ifdsweep::read(host, "a.jxl", options);
    }

    ifdsweep::Host host;
};
IFDSWEEP_TIFF_MATRIX(Streams);

/// Where the stream of a box begins in a file that begins with these bytes.
double streamBehind(const Bytes& before) {
    constexpr double kBoxHeader = 12;  // size, type, offset
    return static_cast<double>(before.size()) + kBoxHeader;
}

TEST_P(Streams, TheFirstIsReadUnlessAllAre) {
    const Bytes one = exifBox(image(4).bytes);
    const Bytes file = jxlFile({one, exifBox(image(5).bytes), exifBox(image(6).bytes)});
    const Outcome first = read(file);
    EXPECT_EQ(errorId(first), "none");
    EXPECT_EQ(origin(first), "jxl, Exif");
    EXPECT_EQ(first.initialOffset, streamBehind(jxlFile({})));
    EXPECT_EQ(widthOf(first), 4);
    EXPECT_EQ(shown(first), (Lines{"otherStreams - - -"}));
    EXPECT_EQ(ifdsweep::messageText(first.warnings[0].message),
              "TIFF streams of this JPEG XL file that are not read: 2");
    EXPECT_EQ(first.others.size(), 0U);

    const Outcome all = read(file, kAll);
    EXPECT_EQ(shown(all), Lines{});
    EXPECT_EQ(widthOf(all), 4);
    ASSERT_EQ(all.others.size(), 2U);
    EXPECT_EQ(origin(all.others[0]), "jxl, Exif 2");
    EXPECT_EQ(origin(all.others[1]), "jxl, Exif 3");
    EXPECT_EQ(widthOf(all.others[0]), 5);
    EXPECT_EQ(widthOf(all.others[1]), 6);
    EXPECT_EQ(all.others[0].initialOffset, streamBehind(jxlFile({one})));
    for (const Outcome& other : all.others) {
        EXPECT_EQ(other.file, "a.jxl");
        EXPECT_TRUE(other.isImage);
        EXPECT_EQ(other.others.size(), 0U);
        EXPECT_EQ(numberIn(ifdsweep::ValueView(*other.result), "FileSize"),
                  static_cast<double>(file.size()));
    }
    EXPECT_EQ(read(jxlFile({one}), kAll).others.size(), 0U);
    EXPECT_EQ(shown(read(jxlFile({one}))), Lines{});
}

TEST_P(Streams, NumbersOfDirectoriesAreOfEach) {
    const fixture::TiffFile chain =
        fileOf({Directory{shorts(256, {4})}, Directory{shorts(256, {5})}});
    const Outcome outcome = read(jxlFile({exifBox(chain.bytes), exifBox(chain.bytes)}),
                                 {.streams = StreamChoice::all, .first = 1, .max = 1});
    ASSERT_EQ(outcome.others.size(), 1U);
    for (const Outcome* stream : {&outcome, &outcome.others[0]}) {
        EXPECT_EQ(stream->firstIfdIndex, 1);
        EXPECT_EQ(stream->maxIfdCount, 1);
        EXPECT_EQ(stream->result->rows(), 1U);
        EXPECT_EQ(widthOf(*stream), 5);
    }
}

TEST_P(Streams, AWarningIsThatOfItsStream) {
    const fixture::TiffFile sound = image(4);
    const fixture::TiffFile damaged = image(4, {empty(60000), empty(60001)});
    const auto warningsAt = [&](std::size_t base) {
        Lines lines;
        for (const std::size_t index : {1U, 2U}) {
            lines.push_back("zeroComponentCount 0 " + std::to_string(59999 + index) + ' ' +
                            std::to_string(base + damaged.places[0].entries[index]));
        }
        return lines;
    };
    std::vector<Bytes> boxes;
    std::vector<Lines> expected;
    for (const bool isDamaged : {false, true, true, false}) {
        const auto base = static_cast<std::size_t>(streamBehind(jxlFile(boxes)));
        boxes.push_back(exifBox(isDamaged ? damaged.bytes : sound.bytes));
        expected.push_back(isDamaged ? warningsAt(base) : Lines{});
    }
    const Outcome outcome = read(jxlFile(boxes), kAll);
    ASSERT_EQ(outcome.others.size(), 3U);
    EXPECT_EQ(shown(outcome), expected[0]);
    for (std::size_t other = 0; other < 3; ++other) {
        EXPECT_EQ(shown(outcome.others[other]), expected[other + 1]) << other;
    }
}

TEST_P(Streams, OneThatCannotBeReadCostsNoOther) {
    const Bytes good = exifBox(image(5).bytes);
    const Bytes bad = exifBox(fixture::bytesOf("this is no TIFF stream"));
    for (const std::size_t place : {0U, 1U, 2U}) {
        std::vector<Bytes> boxes(3, good);
        boxes[place] = bad;
        const Outcome outcome = read(jxlFile(boxes), kAll);
        ASSERT_EQ(outcome.others.size(), 2U);
        for (const std::size_t number : {0U, 1U, 2U}) {
            const Outcome& stream = number == 0 ? outcome : outcome.others[number - 1];
            EXPECT_EQ(errorId(stream), number == place ? "badEndianness" : "none");
            EXPECT_EQ(stream.result == nullptr, number == place);
            EXPECT_EQ(stream.found, "") << "the file is what it should be";
        }
    }
}

TEST_P(Streams, EmbeddedOnesAreReadByTheirOwnPositions) {
    const fixture::TiffFile damaged = image(4, {empty(60000)});
    const Bytes file = jxlFile({exifBox(image(5).bytes), compressedExifBox(damaged.bytes)});
    const Outcome outcome = read(file, kAll);
    ASSERT_EQ(outcome.others.size(), 1U);
    const Outcome& embedded = outcome.others[0];
    EXPECT_EQ(errorId(embedded), "none");
    EXPECT_EQ(origin(embedded), "jxl, Exif 2, embedded");
    EXPECT_EQ(embedded.initialOffset, 4);
    EXPECT_EQ(shown(embedded), (Lines{"zeroComponentCount 0 60000 " +
                                      std::to_string(4 + damaged.places[0].entries[1])}));
    EXPECT_EQ(widthOf(embedded), 4);
    EXPECT_EQ(numberIn(ifdsweep::ValueView(*embedded.result), "FileSize"),
              static_cast<double>(file.size()));
}

TEST_P(Streams, NestedRecordsOfAnEmbeddedOneHaveTheSizeOfTheFileToo) {
    const Directory deepest{shorts(256, {1})};
    const Directory nested{shorts(256, {2}), fixture::pointer(330, {{deepest}, {deepest}})};
    const fixture::TiffFile stream =
        fileOf({Directory{shorts(256, {3}), fixture::pointer(330, {{nested}})}});
    const Bytes file = jxlFile({compressedExifBox(stream.bytes)});
    const Outcome outcome = read(file);
    ASSERT_EQ(errorId(outcome), "none");
    const ifdsweep::ValueView records(*outcome.result);
    const auto size = static_cast<double>(file.size());
    EXPECT_EQ(numberIn(records, "FileSize"), size);
    const ifdsweep::ValueView subRecords = *records.field(0, "SubIFDs")->cell(0);
    EXPECT_EQ(numberIn(subRecords, "FileSize"), size);
    for (const std::size_t cell : {0U, 1U}) {
        const ifdsweep::ValueView deep = *subRecords.field(0, "SubIFDs")->cell(cell);
        EXPECT_EQ(numberIn(deep, "FileSize"), size);
        EXPECT_EQ(numberIn(deep, "Width"), 1);
    }
}

TEST_P(Streams, AnEmbeddedOneEndsWhereItsBytesEnd) {
    // What the pointer of the value leads to is in the file and not in the stream.
    fixture::Entry outside = longs(60000, {1, 2, 3, 4, 5, 6}).withValueField(300);
    const Bytes stream = image(4, {outside}).bytes;
    ASSERT_LT(stream.size(), 300U);
    const Bytes file = jxlFile({compressedExifBox(stream), fixture::box("free", Bytes(1000, 7))});
    EXPECT_EQ(shown(read(file)).size(), 1U);
    EXPECT_EQ(shown(read(file))[0].find("tagDataPastEOF 0 60000 "), 0U);
    const Bytes inFile = jxlFile({exifBox(stream), fixture::box("free", Bytes(1000, 7))});
    EXPECT_EQ(shown(read(inFile)), Lines{});
}

TEST_P(Streams, WithoutAHeaderAreNotTakenForTheirFile) {
    const Outcome outcome = read(jxlFile({compressedExifBox(fixture::bytesOf("no TIFF stream"))}));
    EXPECT_EQ(errorId(outcome), "badEndianness");
    EXPECT_EQ(outcome.found, "");
    EXPECT_EQ(origin(outcome), "jxl, Exif, embedded");
}

TEST_P(Streams, AFileWithoutOneSaysSo) {
    const Outcome none = read(jxlFile({fixture::box("free", Bytes(10))}));
    EXPECT_EQ(errorId(none), "noTiffStream");
    EXPECT_EQ(ifdsweep::messageText(*none.error), "no Exif box in this JPEG XL file, 3 boxes");
    EXPECT_EQ(none.found, "");
    EXPECT_EQ(origin(none), ", ");
    const Bytes start = jxlFile({});
    Bytes cut = start;
    cut.resize(start.size() + 5);
    const Outcome damaged = read(cut, kAll);
    EXPECT_EQ(errorId(damaged), "badContainer");
    EXPECT_EQ(ifdsweep::messageText(*damaged.error),
              "no Exif box in this JPEG XL file: its box at position " +
                  std::to_string(start.size()) + " is damaged and none stands before it");
}

TEST_P(Streams, DamageBehindOneIsAWarning) {
    Bytes file = jxlFile({exifBox(image(4).bytes)});
    const std::size_t end = file.size();
    file.resize(end + 5);
    const Outcome outcome = read(file);
    EXPECT_EQ(errorId(outcome), "none");
    EXPECT_EQ(shown(outcome), (Lines{"containerDamaged - - -"}));
    EXPECT_EQ(ifdsweep::messageText(outcome.warnings[0].message),
              "the box at position " + std::to_string(end) +
                  " of this JPEG XL file is damaged: TIFF streams behind it may not be found");
}

TEST_P(Streams, InFoldersAreNotLeftAloneForABudgetThatIsSpent) {
    const Outcome outcome =
        read(jxlFile({exifBox(image(4).bytes)}), {.readBudget = 1, .imagesOnly = true});
    EXPECT_TRUE(outcome.isImage);
    EXPECT_EQ(shown(outcome), (Lines{"readBudgetSpent - - -"}));
    EXPECT_EQ(errorId(outcome), "badEndianness");
}

TEST_P(Streams, InFoldersAreWhatMakesAnImageOfAFile) {
    Bytes cut = jxlFile({});
    cut.resize(cut.size() + 5);
    struct Row {
        Bytes file;
        bool isImage;
        const char* error;
    };
    const Row rows[] = {
        {jxlFile({exifBox(image(4).bytes)}), true, "none"},
        {jxlFile({exifBox(fixture::bytesOf("no TIFF stream"))}), true, "badEndianness"},
        {jxlFile({}), false, "none"},
        {cut, true, "badContainer"},
        {{0xFF, 0xD8, 0xFF, 0xD9}, false, "none"},
        {{0xFF, 0xD8, 0xFF, 0xE0, 0}, true, "badJpegSegment"},
        {fixture::bytesOf("\xFF\x0A codestream"), false, "none"},
    };
    for (const Row& row : rows) {
        for (const StreamChoice streams : {StreamChoice::first, StreamChoice::all}) {
            const Outcome outcome = read(row.file, {.streams = streams, .imagesOnly = true});
            EXPECT_EQ(outcome.isImage, row.isImage);
            EXPECT_EQ(errorId(outcome), row.error);
            EXPECT_EQ(outcome.result != nullptr, row.isImage && row.error == std::string("none"));
        }
    }
}

TEST_P(Streams, AreNotLookedForWhereAPositionIsGiven) {
    const Bytes file = jxlFile({exifBox(image(4).bytes), exifBox(image(5).bytes)});
    const Outcome there = read(file, {.offset = streamBehind(jxlFile({}))});
    EXPECT_EQ(errorId(there), "none");
    EXPECT_EQ(widthOf(there), 4);
    EXPECT_EQ(origin(there), ", ");
    EXPECT_EQ(shown(there), Lines{});
    const Outcome atStart = read(file, {.offset = 0, .streams = StreamChoice::all});
    EXPECT_EQ(errorId(atStart), "badEndianness");
    EXPECT_EQ(atStart.found, "a JPEG XL image");
    EXPECT_EQ(atStart.others.size(), 0U);
}

TEST_P(Streams, AreNoneForTheContractsReading) {
    const Bytes file = jxlFile({exifBox(image(4).bytes), exifBox(image(5).bytes)});
    const Outcome outcome =
        read(file, {.streams = StreamChoice::all, .reading = ifdsweep::ReadingMode::contract});
    EXPECT_EQ(errorId(outcome), "badEndianness");
    EXPECT_EQ(outcome.found, "a JPEG XL image");
    EXPECT_EQ(outcome.others.size(), 0U);
    const Outcome inFolder =
        read(file, {.imagesOnly = true, .reading = ifdsweep::ReadingMode::contract});
    EXPECT_FALSE(inFolder.isImage);
    const fixture::TiffFile jpeg =
        fixture::TiffBuilder(GetParam()).add(Directory{shorts(256, {4})}).buildInJpeg();
    const Outcome first = read(jpeg.bytes, {.reading = ifdsweep::ReadingMode::contract});
    EXPECT_EQ(first.initialOffset, static_cast<double>(jpeg.base));
    EXPECT_EQ(origin(first), ", ");
}

/// Writes down the streams and directories that it hears of.
class Listener final : public ifdsweep::EntrySink {
public:
    void streamBegins(const ifdsweep::StreamFacts& stream) override {
        heard.push_back(std::string(stream.container) + ", " + std::string(stream.name) +
                        (stream.isEmbedded ? ", embedded" : ""));
    }
    void directoryBegins(const ifdsweep::DirectoryFacts&) override { heard.emplace_back("begin"); }
    void directoryEnds(const ifdsweep::DirectoryFacts&, bool) override {
        heard.emplace_back("end");
    }
    void entry(const ifdsweep::DirectoryFacts&, const ifdsweep::EntryFacts&) override {}
    void warning(const qxMessage&, const ifdsweep::WarningFacts&) override {}

    Lines heard;
};

TEST_P(Streams, AreToldToASink) {
    const Bytes file = jxlFile({exifBox(image(4).bytes), compressedExifBox(image(5).bytes)});
    for (const bool check : {false, true}) {
        Listener sink;
        static_cast<void>(
            read(file, {.streams = StreamChoice::all, .sink = &sink, .check = check}));
        EXPECT_EQ(sink.heard,
                  (Lines{"jxl, Exif", "begin", "end", "jxl, Exif 2, embedded", "begin", "end"}));
    }
    Listener plain;
    static_cast<void>(read(image(4).bytes, {.streams = StreamChoice::all, .sink = &plain}));
    EXPECT_EQ(plain.heard, (Lines{"begin", "end"}));
}

TEST_P(Streams, ShareTheBudgets) {
    // As many as are read, and each of them may cost all that a file is given.
    std::vector<fixture::Entry> entries;
    for (std::uint16_t tag = 0; tag < 300; ++tag) {
        entries.push_back(empty(static_cast<std::uint16_t>(40000 + tag)));
    }
    const Bytes stream = exifBox(image(4, entries).bytes);
    const Bytes file = jxlFile(std::vector<Bytes>(300, stream));
    constexpr std::uint64_t kBudget = 2'000'000;
    const Outcome outcome =
        read(file, {.streams = StreamChoice::all, .readBudget = kBudget, .valueBudget = kBudget});
    ASSERT_EQ(outcome.others.size(), ifdsweep::Located::kMostStreams - 1);
    EXPECT_EQ(std::string(ifdsweep::shortMessageId(outcome.warnings.back().message.id())),
              "otherStreams");
    EXPECT_LE(host.countedBytes(), 2 * kBudget + file.size());
    std::size_t warnings = 0;
    std::size_t toldOfBudget = 0;
    for (const Outcome& other : outcome.others) {
        warnings += other.warnings.size();
        toldOfBudget += static_cast<std::size_t>(std::count_if(
            other.warnings.begin(), other.warnings.end(), [](const ifdsweep::Warning& warning) {
                return warning.message.id().ends_with("BudgetSpent");
            }));
    }
    EXPECT_GE(toldOfBudget, 1U);
    EXPECT_LE(toldOfBudget, 2U);
    EXPECT_LT(warnings, 20'000U);
    EXPECT_NE(errorId(outcome.others.back()), "none") << "nothing was left for it";
}

TEST_P(Streams, AreHeldToTheirOwnSizeAndNotToThatOfTheFile) {
    // In the stream, and far behind the end of the file, which is small for what it holds.
    const fixture::Entry far = longs(60000, {1, 2, 3}).withValueField(100'000);
    Bytes stream = image(4, {far}).bytes;
    stream.resize(200'000);
    const Bytes packed = fixture::brotliCompressed(fixture::jxlExif(stream));
    const Bytes file =
        jxlFile({fixture::box("brob", fixture::joined({fixture::bytesOf("Exif"), packed}))});
    ASSERT_LT(file.size(), 10'000U);
    const Outcome outcome = read(file);
    EXPECT_EQ(errorId(outcome), "none");
    EXPECT_EQ(shown(outcome), Lines{});
    EXPECT_EQ(numberIn(ifdsweep::ValueView(*outcome.result), "FileSize"),
              static_cast<double>(file.size()));
}

TEST_P(Streams, TogetherAreNotPutTogetherWithoutEnd) {
    // Three of 30 MiB, of which the third begins in what is left and ends beyond it.
    Bytes stream = image(4).bytes;
    stream.resize(std::size_t{30} << 20U);
    const Bytes packed = fixture::brotliCompressed(fixture::jxlExif(stream));
    const Bytes one = fixture::box("brob", fixture::joined({fixture::bytesOf("Exif"), packed}));
    const Outcome outcome = read(jxlFile({one, one, one, one, exifBox(image(5).bytes)}), kAll);
    ASSERT_EQ(outcome.others.size(), 4U);
    EXPECT_EQ(shown(outcome), Lines{});
    EXPECT_EQ(shown(outcome.others[0]), Lines{});
    EXPECT_EQ(shown(outcome.others[1]), (Lines{"streamIncomplete - - -"}));
    EXPECT_EQ(
        ifdsweep::messageText(outcome.others[1].warnings[0].message),
        "the Exif 3 is incomplete: it goes beyond the 64 MiB that are put together of a file");
    EXPECT_EQ(errorId(outcome.others[1]), "none");
    EXPECT_EQ(shown(outcome.others[2]).back(), "streamIncomplete - - -");
    EXPECT_EQ(errorId(outcome.others[2]), "tiffHeaderReadFailure");
    EXPECT_EQ(errorId(outcome.others[3]), "none") << "it lies in the file";
    EXPECT_EQ(widthOf(outcome.others[3]), 5);
}

TEST_P(Streams, ExhaustedMemoryCostsOneStream) {
    const Bytes file = jxlFile({exifBox(image(4).bytes), exifBox(image(5).bytes)});
    std::uint64_t failures = 0;
    std::uint64_t inSecond = 0;
    for (std::uint64_t creation = 1;; ++creation) {
        fixture::failValueCreation(host, creation, std::make_exception_ptr(std::bad_alloc()));
        const Outcome outcome = read(file, kAll);
        ASSERT_EQ(outcome.others.size(), 1U);
        const bool isFirst = errorId(outcome) == "outOfMemory";
        const bool isSecond = errorId(outcome.others[0]) == "outOfMemory";
        EXPECT_EQ(outcome.result == nullptr, isFirst);
        EXPECT_EQ(outcome.others[0].result == nullptr, isSecond);
        ASSERT_FALSE(isFirst && isSecond) << creation;
        if (!isFirst && !isSecond) {
            break;
        }
        ++failures;
        inSecond += isSecond ? 1U : 0U;
    }
    EXPECT_GT(failures, inSecond);
    EXPECT_GT(inSecond, 0U);
}

}  // namespace

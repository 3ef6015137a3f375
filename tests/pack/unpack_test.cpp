// What is made of a packed file again: outcomes and walks of which every format writes what it
// writes of the file itself, to the character.

#include "pack/unpack.h"

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <functional>
#include <initializer_list>
#include <limits>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "ifdsweep/host.h"
#include "ifdsweep/reading.h"
#include "ifdsweep/write.h"
#include "pack/file_packer.h"
#include "pack/packed_files.h"
#include "read/field_selection.h"
#include "read/messages.h"
#include "read/tag_choice.h"
#include "read/tag_filter.h"
#include "support/chunk_builder.h"
#include "support/deaf_sink.h"
#include "support/jxl_file.h"
#include "support/recorded_walk.h"
#include "support/temporary_file.h"
#include "support/tiff_matrix.h"
#include "support/whole_file.h"

namespace {

namespace fs = std::filesystem;

using fixture::ascii;
using fixture::Bytes;
using fixture::Directory;
using fixture::longs;
using fixture::numbers;
using fixture::pointer;
using fixture::shorts;
using ifdsweep::Format;
using ifdsweep::Outcome;
using ifdsweep::PackedFile;
using ifdsweep::ReadOptions;
using ifdsweep::StreamChoice;
using ifdsweep::WriteOptions;

/// The formats, and settings that show more of the outcome or the walk.
const std::vector<WriteOptions> kFormats{
    {.format = Format::json},
    {.format = Format::json, .splitTexts = true},
    {.format = Format::ndjson, .tellStreams = true},
    {.format = Format::typed},
    {.format = Format::facts},
    {.format = Format::text},
    {.format = Format::text, .allDirectories = true},
    {.format = Format::csv, .rows = ifdsweep::TableRows::nested, .tellStreams = true},
};

/// Ways of reading.
struct Way {
    const char* name;
    ReadOptions options;
    const char* tags = "";  ///< the only ones; empty: all
};

const std::vector<Way> kWays{
    {"the first stream", {}},
    {"all streams, checked", {.streams = StreamChoice::all, .check = true}},
    {"the contract", {.reading = ifdsweep::ReadingMode::contract}},
    {"some tags", {.streams = StreamChoice::all}, "Make,ImageDescription,GPS*,258,60000,SubIFDs"},
    {"short values", {.longestValue = 8}},
    {"few directories", {.first = 1, .max = 1}},
    {"a small read budget", {.readBudget = 700}},
    {"a small value budget", {.valueBudget = 3000}},
    {"images alone", {.imagesOnly = true}},
};

/// One file read in one way, as often as it is asked for, each time by a host of its own: what a
/// budget leaves depends on what the host did before.
class Reading {
public:
    /// @param makeKnown makes the file known to a host
    Reading(const Way& way, std::string filePath, std::function<void(ifdsweep::Host&)> makeKnown)
        : options(way.options), path(std::move(filePath)), serve(std::move(makeKnown)) {
        if (*way.tags != '\0') {
            fields = ifdsweep::chooseTags(way.tags).fields;
            filter = ifdsweep::tagFilter(fields);
            options.filter = &*filter;
        }
    }

    /// @param use called with the outcome
    template <class Use>
    void read(ifdsweep::EntrySink& sink, Use&& use) {
        ifdsweep::Host host;
        serve(host);
        options.sink = &sink;
        Outcome outcome = ifdsweep::read(host, path, options);
        const ifdsweep::Host::Scope scope(host);
        select(outcome);
        std::for_each(outcome.others.begin(), outcome.others.end(),
                      [this](Outcome& other) { select(other); });
        use(outcome);
    }

    /// What a format is of the file.
    std::string written(const WriteOptions& format) {
        std::string text;
        ifdsweep::Writer writer(format, text);
        // Entries that are heard of count against a budget.
        fixture::DeafSink nobody;
        ifdsweep::EntrySink* const listener = writer.listenerFor(path);
        writer.begin();
        read(listener != nullptr ? *listener : nobody,
             [&](const Outcome& outcome) { writer.write(outcome); });
        writer.end();
        return text;
    }

    /// The file packed, sent as bytes, and taken up again.
    std::optional<PackedFile> packed() {
        ifdsweep::FilePacker packer;
        packer.begin();
        std::optional<PackedFile> file;
        read(packer, [&](const Outcome& outcome) {
            file = PackedFile::parse(packer.pack(outcome).bytes());
        });
        return file;
    }

private:
    void select(Outcome& stream) {
        if (!fields.empty() && stream.result != nullptr) {
            stream.result =
                ifdsweep::selectFields(std::move(stream.result), fields, stream.stream.kind);
        }
    }

    ReadOptions options;
    std::string path;
    std::function<void(ifdsweep::Host&)> serve;
    std::vector<ifdsweep::ChosenField> fields;
    std::optional<ifdsweep::TagFilter> filter;
};

/// What a format is of a packed file.
std::string written(const WriteOptions& format, const PackedFile& file) {
    ifdsweep::Host host;
    std::string text;
    {
        ifdsweep::Writer writer(format, text);
        writer.begin();
        if (auto* listener = writer.listenerFor(file.textOf(file.file().path))) {
            ifdsweep::replay(file, *listener);
        }
        writer.write(ifdsweep::unpackOutcome(file, host));
        writer.end();
    }
    EXPECT_EQ(host.liveValues(), 0U);
    return text;
}

void expectSame(const std::optional<ifdsweep::FileStamp>& stamp,
                const std::optional<ifdsweep::FileStamp>& expected) {
    ASSERT_EQ(stamp.has_value(), expected.has_value());
    if (stamp) {
        EXPECT_EQ(stamp->size, expected->size);
        EXPECT_EQ(stamp->modified, expected->modified);
        EXPECT_EQ(stamp->changed, expected->changed);
        EXPECT_EQ(stamp->inode, expected->inode);
    }
}

/// What no format shows.
void expectSameRest(const Outcome& outcome, const Outcome& expected) {
    EXPECT_EQ(outcome.file, expected.file);
    EXPECT_EQ(outcome.isImage, expected.isImage);
    EXPECT_EQ(outcome.stream.kind, expected.stream.kind);
    expectSame(outcome.stamp, expected.stamp);
    ASSERT_EQ(outcome.others.size(), expected.others.size());
    for (std::size_t number = 0; number < outcome.others.size(); ++number) {
        expectSameRest(outcome.others[number], expected.others[number]);
    }
}

/// What two texts are from where they differ, as far as that is of use.
std::string difference(std::string_view text, std::string_view expected) {
    if (text == expected) {
        return "";
    }
    constexpr std::ptrdiff_t kBefore = 40;
    constexpr std::size_t kShown = 200;
    const auto place = std::mismatch(text.begin(), text.end(), expected.begin(), expected.end());
    const auto at =
        static_cast<std::size_t>(std::max<std::ptrdiff_t>(place.first - text.begin() - kBefore, 0));
    return std::string(text.substr(at, kShown))
        .append("\nnot\n")
        .append(expected.substr(at, kShown));
}

/// Reads a file in every way, and expects the same of it packed.
void expectSameInEveryWay(
    const std::string& path, const std::function<void(ifdsweep::Host&)>& serve = [](auto&) {}) {
    for (const Way& way : kWays) {
        SCOPED_TRACE(path + ", " + way.name);
        Reading reading(way, path, serve);
        const std::optional<PackedFile> file = reading.packed();
        ASSERT_TRUE(file) << "not taken for a packed file";
        fixture::DeafSink nobody;
        reading.read(nobody, [&](const Outcome& outcome) {
            expectSameRest(ifdsweep::unpackMessages(*file), outcome);
        });
        for (const WriteOptions& format : kFormats) {
            ASSERT_EQ(difference(written(format, *file), reading.written(format)), "")
                << static_cast<int>(format.format);
        }
    }
}

void expectSameInEveryWay(const Bytes& bytes) {
    expectSameInEveryWay(fixture::kPackedName,
                         [&](ifdsweep::Host& host) { host.serve(fixture::kPackedName, bytes); });
}

const Directory kSmall{shorts(256, {4}), shorts(257, {2})};

/// A directory with a value of every kind.
Directory fullDirectory() {
    const double notANumber = std::numeric_limits<double>::quiet_NaN();
    const double infinite = std::numeric_limits<double>::infinity();
    const Directory interop{ascii(1, std::string_view("R98\0", 4))};
    const Directory gps{ascii(1, std::string_view("N\0", 2)),
                        numbers(2, fixture::kRational, {49, 1, 30, 1, 1, 0})};
    const Directory exif{numbers(33434, fixture::kRational, {1, 250}),
                         numbers(37121, fixture::kUndefined, {1, 2, 3, 0}),
                         ascii(37510, std::string_view("\xFF\x00\xE4", 3)),
                         pointer(40965, {{interop}})};
    return {shorts(256, {64}),
            longs(257, {48}),
            shorts(258, {8, 8, 8}),
            shorts(262, {2}),
            ascii(270, std::string_view("one\0two\0", 8)),
            ascii(271, std::string_view("caf\xC3\xA9\x1B\0", 7)),
            longs(273, {8, 16, 24}),
            longs(279, {1000, 0, 8}),
            numbers(282, fixture::kRational, {72, 1}),
            numbers(283, fixture::kSRational, {-1, 3}),
            ascii(306, std::string_view("2026:11:22 10:00:00\0", 20)),
            shorts(320, {0, 1, 2, 3, 4, 5}),
            pointer(330, {{kSmall, kSmall}, {Directory{}}, {kSmall}}),
            shorts(339, {1, 2, 3}),
            pointer(34665, {{exif}}),
            pointer(34853, {{gps}}),
            numbers(37724, fixture::kByte, {1, 2, 3, 4, 5, 6, 7, 8, 9}),
            fixture::doubles(33550, {0.1, notANumber, -infinite}),
            fixture::floats(60000, {1.5F, -0.0F}),
            numbers(60001, fixture::kSByte, {-1, -128}),
            numbers(60002, fixture::kLong8, {std::numeric_limits<std::int64_t>::max(), 1}),
            numbers(60003, fixture::kUndefined, {0, 255}),
            shorts(60004, {}),
            shorts(60005, {1}).withType(99),
            longs(60006, {1, 2, 3}).withValueField(4'000'000'000)};
}

class Unpacking : public fixture::TiffMatrix {};
IFDSWEEP_TIFF_MATRIX(Unpacking);

TEST_P(Unpacking, GivesBackWhateverAFileHolds) {
    expectSameInEveryWay(fileOf({fullDirectory(), kSmall, fullDirectory()}, fixture::kFar).bytes);
}

TEST_P(Unpacking, GivesBackAFileThatEndsAnywhere) {
    const Bytes whole = fileOf({fullDirectory(), kSmall}).bytes;
    for (std::size_t size = 0; size < whole.size(); size += whole.size() / 40 + 1) {
        expectSameInEveryWay(Bytes(whole.begin(), whole.begin() + static_cast<long>(size)));
    }
}

TEST_P(Unpacking, GivesBackDirectoriesThatLieInEachOther) {
    fixture::Chain chain{{kSmall}};
    for (int depth = 0; depth < 20; ++depth) {
        const Directory outer{ascii(271, std::string_view("maker\0", 6)),
                              pointer(330, {chain, {kSmall}}), pointer(330, {{kSmall}}),
                              shorts(60000, {1})};
        chain = {outer, kSmall};
    }
    expectSameInEveryWay(fileOf(chain).bytes);
}

TEST_P(Unpacking, GivesBackALoop) {
    fixture::TiffFile file = fileOf({fullDirectory(), kSmall});
    file.setOffset(file.places.back().next, file.offsetOf(file.places.front().position));
    expectSameInEveryWay(file.bytes);
}

TEST_P(Unpacking, GivesBackEveryStreamOfAContainer) {
    const Bytes stream = fileOf({fullDirectory()}).bytes;
    const Bytes small = fileOf({kSmall}).bytes;
    const Bytes none = fixture::bytesOf("no TIFF header");
    expectSameInEveryWay(
        fixture::jxlFile({fixture::exifBox(stream), fixture::exifBox(none),
                          fixture::compressedExifBox(small), fixture::exifBox(small)}));
}

TEST(Unpack, GivesBackAJpegFile) {
    fixture::TiffBuilder builder({});
    builder.add(fullDirectory());
    expectSameInEveryWay(builder.buildInJpeg().bytes);
}

TEST(Unpack, GivesBackWhatIsNoImage) {
    expectSameInEveryWay(Bytes());
    expectSameInEveryWay(fixture::bytesOf("just a text\n"));
    expectSameInEveryWay("/no/such/file");
    expectSameInEveryWay("/");
    expectSameInEveryWay("a\nname\xFF\x1B[31m");
}

TEST(Unpack, GivesBackAFileOfTheSystemWithItsStamp) {
    fixture::TiffBuilder builder({});
    const fixture::TemporaryFile file("\xFF\xE2\x80\xAE.tif",
                                      builder.add(fullDirectory()).build().bytes);
    expectSameInEveryWay(file.path());
}

TEST(Unpack, GivesBackTheSamples) {
    std::size_t files = 0;
    for (const auto& entry : fs::directory_iterator("samples")) {
        if (entry.is_regular_file()) {
            expectSameInEveryWay(entry.path());
            ++files;
        }
    }
    EXPECT_GE(files, 8U);
}

TEST(Unpack, GivesBackRealFiles) {
    const char* const folder = std::getenv("IFDSWEEP_CORPUS");
    if (folder == nullptr) {
        GTEST_SKIP() << "IFDSWEEP_CORPUS names no folder of files to read";
    }
    std::size_t files = 0;
    for (const auto& entry : fs::recursive_directory_iterator(folder)) {
        if (entry.is_regular_file()) {
            expectSameInEveryWay(entry.path());
            ++files;
        }
    }
    EXPECT_GE(files, 100U);
}

TEST(Unpack, LimitsNothingBecauseAReadingIsLimited) {
    fixture::TiffBuilder builder({});
    for (int i = 0; i < 50; ++i) {
        builder.add(fullDirectory());
    }
    const PackedFile file = fixture::packed(builder.build().bytes);
    ifdsweep::Host host;
    host.setReadBudget(1);
    host.setValueBudget(1);
    host.setMemoryBound([] { return std::uint64_t{1}; });
    static_cast<void>(ifdsweep::read(host, "samples/rgb_strips.tif"));  // spends them
    const Outcome outcome = ifdsweep::unpackOutcome(file, host);
    ASSERT_NE(outcome.result, nullptr);
    EXPECT_EQ(outcome.result->rows(), 50U);
    EXPECT_TRUE(host.warnings().empty());
}

TEST(Unpack, HasIdsThatOutliveThePackedFile) {
    std::optional<PackedFile> file = fixture::packed(fixture::bytesOf("just a text\n"));
    const Outcome outcome = ifdsweep::unpackMessages(*file);
    file.reset();
    ASSERT_TRUE(outcome.error);
    EXPECT_EQ(outcome.error->id(), "Velmora:pixlore:ifdsweep:badEndianness");
    EXPECT_EQ(ifdsweep::constantMessageId(outcome.error->id()), outcome.error->what());
}

TEST(Unpack, KnowsTheIdOfEveryMessage) {
    for (const ifdsweep::MessageDescription& message : ifdsweep::describeMessages()) {
        ASSERT_NE(ifdsweep::constantMessageId(message.id), nullptr) << message.id;
        EXPECT_EQ(ifdsweep::constantMessageId(message.id), message.id);
    }
    EXPECT_EQ(ifdsweep::constantMessageId("Velmora:pixlore:ifdsweep:noSuchMessage"), nullptr);
    EXPECT_EQ(ifdsweep::constantMessageId(""), nullptr);
}

TEST(Unpack, RefusesAMessageThatThereIsNot) {
    Outcome outcome;
    outcome.error = qxMessage("ifdsweep:noSuchMessage", {});
    ifdsweep::FilePacker packer;
    packer.begin();
    const PackedFile file = packer.pack(outcome);
    EXPECT_THROW(static_cast<void>(ifdsweep::unpackMessages(file)), std::logic_error);
}

TEST(Unpack, GivesBackEveryKindOfArgumentAndPlace) {
    Outcome outcome;
    outcome.file = "a.tif";
    outcome.warnings.push_back(
        {qxMessage(
             ifdsweep::kInputFailureId,
             {std::numeric_limits<std::int64_t>::min(), qxMessageText(std::string("\0\xFF", 2)),
              qxMessageText(std::u16string(u"\xD800\0x", 3)), qxMessageText(std::string())}),
         {"0/SubIFDs[1]/0", std::uint16_t{65535}, std::numeric_limits<std::uint64_t>::max()}});
    outcome.warnings.push_back({qxMessage(ifdsweep::kStuckId, {}), {"", std::uint16_t{0}, 0}});
    outcome.warnings.push_back({qxMessage(ifdsweep::kStuckId, {}), {}});
    ifdsweep::FilePacker packer;
    packer.begin();
    const PackedFile file = packer.pack(outcome);
    const Outcome again = ifdsweep::unpackMessages(file);
    ASSERT_EQ(again.warnings.size(), outcome.warnings.size());
    for (std::size_t number = 0; number < outcome.warnings.size(); ++number) {
        const ifdsweep::Warning& got = again.warnings[number];
        const ifdsweep::Warning& expected = outcome.warnings[number];
        EXPECT_EQ(got.message.id(), expected.message.id());
        EXPECT_TRUE(got.message.arguments() == expected.message.arguments());
        EXPECT_EQ(got.place.path, expected.place.path);
        EXPECT_EQ(got.place.tag, expected.place.tag);
        EXPECT_EQ(got.place.offset, expected.place.offset);
        const qxMessage alone = ifdsweep::unpackMessage(file, file.messages()[number]);
        EXPECT_EQ(alone.id(), expected.message.id());
        EXPECT_TRUE(alone.arguments() == expected.message.arguments());
    }
}

/// A walk without its warnings, which a packed file tells with the outcome.
std::vector<std::string> withoutWarnings(std::vector<std::string> lines) {
    std::erase_if(lines, [](const std::string& line) { return line.starts_with("warning"); });
    return lines;
}

TEST(Replay, TellsTheWalkInItsOrder) {
    for (const fixture::Format format : fixture::kFormats) {
        fixture::TiffBuilder builder(format);
        builder.add(fullDirectory()).add(kSmall).add(fullDirectory());
        const Bytes bytes = builder.build().bytes;
        fixture::RecordedWalk direct;
        ifdsweep::Host host;
        host.serve(fixture::kPackedName, bytes);
        static_cast<void>(ifdsweep::read(host, fixture::kPackedName, {.sink = &direct}));
        fixture::RecordedWalk again;
        ifdsweep::replay(fixture::packed(bytes), again);
        EXPECT_GT(again.lines.size(), 100U);
        EXPECT_EQ(again.lines, withoutWarnings(direct.lines));
    }
}

/// Hears of directories alone.
class Directories final : public ifdsweep::EntrySink {
public:
    [[nodiscard]] bool hearsEntries() const noexcept override { return false; }
    void directoryBegins(const ifdsweep::DirectoryFacts& directory) override {
        began.push_back(fixture::pathText(&directory));
    }
    void directoryEnds(const ifdsweep::DirectoryFacts& /*directory*/, bool /*isKept*/) override {}
    void entry(const ifdsweep::DirectoryFacts& /*directory*/,
               const ifdsweep::EntryFacts& /*entry*/) override {
        ADD_FAILURE() << "told of an entry";
    }
    void warning(const qxMessage& /*message*/, const ifdsweep::WarningFacts& /*place*/) override {}

    std::vector<std::string> began{};
};

TEST(Replay, TellsNobodyOfEntriesWhoDoesNotHearThem) {
    fixture::TiffBuilder builder({});
    const Directory outer{pointer(330, {{kSmall}, {kSmall}})};
    Directories heard;
    ifdsweep::replay(fixture::packed(builder.add(outer).add(kSmall).build().bytes), heard);
    EXPECT_EQ(heard.began,
              (std::vector<std::string>{"0", "0/SubIFDs[0]/0", "0/SubIFDs[1]/0", "1"}));
}

/// Fails at its first entry.
class Failing final : public ifdsweep::EntrySink {
public:
    void directoryBegins(const ifdsweep::DirectoryFacts& /*directory*/) override {}
    void directoryEnds(const ifdsweep::DirectoryFacts& /*directory*/, bool /*isKept*/) override {}
    void entry(const ifdsweep::DirectoryFacts& /*directory*/,
               const ifdsweep::EntryFacts& /*entry*/) override {
        throw std::out_of_range("full");
    }
    void warning(const qxMessage& /*message*/, const ifdsweep::WarningFacts& /*place*/) override {}
};

TEST(Replay, HandsOnWhatTheSinkThrows) {
    fixture::TiffBuilder builder({});
    Failing sink;
    const PackedFile file = fixture::packed(builder.add(kSmall).build().bytes);
    EXPECT_THROW(ifdsweep::replay(file, sink), std::out_of_range);
}

}  // namespace

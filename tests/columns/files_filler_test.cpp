// The row of a file: what the system and the records tell of it, and how its reading ended.

#include <cstdint>
#include <limits>
#include <map>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include <gtest/gtest.h>

#include "columns/table_cells.h"
#include "files/file_messages.h"
#include "host/message_texts.h"
#include "ifdsweep/message_catalogue.h"
#include "ifdsweep/table_layout.h"
#include "locate/locate_messages.h"
#include "pack/file_packer.h"
#include "pack/packed_files.h"
#include "read/messages.h"
#include "support/chunk_builder.h"
#include "support/tags.h"
#include "support/temporary_file.h"
#include "support/tiff_matrix.h"

namespace {

using namespace std::string_view_literals;

using fixture::ascii;
using fixture::Bytes;
using fixture::Cells;
using fixture::Directory;
using fixture::only;
using fixture::pointer;
using fixture::shorts;
using ifdsweep::Layout;
using ifdsweep::Outcome;
using ifdsweep::PackedFile;

/// What every row of the tests has.
constexpr const char* kReader = "ifdsweep " IFDSWEEP_VERSION;

PackedFile packedOutcome(const Outcome& outcome) {
    ifdsweep::FilePacker packer;
    packer.begin();
    return packer.pack(outcome);
}

Cells rowOf(PackedFile file) {
    const std::vector<Cells> rows = fixture::cellsOf(std::move(file), Layout::files);
    EXPECT_EQ(rows.size(), 1U);
    return rows.empty() ? Cells() : rows.front();
}

Cells rowOf(const Outcome& outcome) {
    return rowOf(packedOutcome(outcome));
}

/// A file that was read without its bytes, for what the bytes do not decide.
Outcome named(const std::string& path) {
    Outcome outcome;
    outcome.file = path;
    return outcome;
}

Bytes tiffOf(const Directory& directory, fixture::Format format = {}) {
    fixture::TiffBuilder builder(format);
    builder.add(directory);
    return builder.build().bytes;
}

class FilesFillerTest : public fixture::TiffMatrix {};

INSTANTIATE_TEST_SUITE_P(EveryFormat, FilesFillerTest, testing::ValuesIn(fixture::kFormats),
                         fixture::formatName);

TEST_P(FilesFillerTest, ARowTellsWhatTheFileIsAndWhatIsInIt) {
    const Directory below{shorts(256, {1})};
    const fixture::TiffFile file =
        fileOf({{shorts(256, {4}), shorts(257, {2}), pointer(fixture::kSubIfds, {{below, below}})},
                {ascii(fixture::kMake, "one\0"sv)}});
    const Cells expected{
        {"file_id", "0"},
        {"file_path", fixture::kPackedName},
        {"size", std::to_string(file.bytes.size())},
        {"format", "tif"},
        {"layout", format().isBig() ? "big" : "classic"},
        {"byte_order",
         format().byteOrder == fixture::ByteOrder::big ? "big-endian" : "little-endian"},
        {"status", "ok"},
        {"streams", "1"},
        {"directories", "4"},
        {"entries", "6"},
        {"warnings", "0"},
        {"warning_ids", "[]"},
        {"reader", kReader},
    };
    EXPECT_EQ(rowOf(fixture::packed(file.bytes)), expected);
}

TEST_P(FilesFillerTest, WarningsAreCountedAndTheirIdsNamedOnce) {
    const fixture::TiffFile file = fileOf({{shorts(256, {4}), shorts(258, {}), shorts(259, {}),
                                            ascii(fixture::kMake, "much"sv).withCount(1000000)}});
    EXPECT_EQ(only(rowOf(fixture::packed(file.bytes)), {"status", "warnings", "warning_ids"}),
              (Cells{{"status", "warned"},
                     {"warnings", "3"},
                     {"warning_ids",
                      "[Velmora:pixlore:ifdsweep:zeroComponentCount "
                      "Velmora:pixlore:ifdsweep:tagDataPastEOF]"}}));
}

TEST_P(FilesFillerTest, ALayoutThatWasGuessedIsNotTold) {
    fixture::TiffBuilder builder(format());
    builder.add({shorts(256, {4})});
    builder.withVersion(4242);
    EXPECT_EQ(only(rowOf(fixture::packed(builder.build().bytes)),
                   {"format", "layout", "status", "directories"}),
              (Cells{{"format", "tif"}, {"status", "warned"}, {"directories", "1"}}));
}

TEST(FilesFiller, HasTheStampOfTheSystem) {
    struct Row {
        ifdsweep::FileStamp stamp;
        Cells cells;
    };
    constexpr std::uint64_t kMost = std::numeric_limits<std::uint64_t>::max();
    constexpr std::int64_t kFirst = std::numeric_limits<std::int64_t>::min();
    const Row kRows[] = {
        {{562, 1795399298462414446, 1795399299000000000, 12690010},
         {{"size", "562"},
          {"mtime", "1795399298462414"},
          {"mtime_ns", "1795399298462414446"},
          {"ctime_ns", "1795399299000000000"},
          {"inode", "12690010"}}},
        {{0, 0, 0, 0},
         {{"size", "0"}, {"mtime", "0"}, {"mtime_ns", "0"}, {"ctime_ns", "0"}, {"inode", "0"}}},
        {{1, -1, -1000, 1},
         {{"size", "1"},
          {"mtime", "-1"},
          {"mtime_ns", "-1"},
          {"ctime_ns", "-1000"},
          {"inode", "1"}}},
        {{1, -1000, -1001, 1},
         {{"size", "1"},
          {"mtime", "-1"},
          {"mtime_ns", "-1000"},
          {"ctime_ns", "-1001"},
          {"inode", "1"}}},
        {{kMost, kFirst, kFirst, kMost},
         {{"mtime", "-9223372036854776"},
          {"mtime_ns", "-9223372036854775808"},
          {"ctime_ns", "-9223372036854775808"},
          {"inode", "-1"}}},
    };
    for (const Row& row : kRows) {
        Outcome outcome = named("a.tif");
        outcome.stamp = row.stamp;
        EXPECT_EQ(only(rowOf(outcome), {"size", "mtime", "mtime_ns", "ctime_ns", "inode"}),
                  row.cells);
    }
    EXPECT_EQ(only(rowOf(named("a.tif")), {"size", "mtime", "mtime_ns", "ctime_ns", "inode"}),
              Cells());
}

TEST(FilesFiller, HasNamesInTheSystemsBytesWhereTheyAreNoUtf8) {
    struct Row {
        std::string path;
        Cells cells;
    };
    const Row kRows[] = {
        {"a.tif", {{"file_path", "a.tif"}}},
        {"\xC3\xA9\n.tif", {{"file_path", "\xC3\xA9\n.tif"}}},
        {"\xE9.tif", {{"file_path", "\xEF\xBF\xBD.tif"}, {"path_bytes", "\xE9.tif"}}},
        {"\xED\xA0\x80",
         {{"file_path", "\xEF\xBF\xBD\xEF\xBF\xBD\xEF\xBF\xBD"}, {"path_bytes", "\xED\xA0\x80"}}},
        {"", {{"file_path", ""}}},
    };
    for (const Row& row : kRows) {
        EXPECT_EQ(only(rowOf(named(row.path)), {"file_path", "path_bytes"}), row.cells);
    }
}

TEST(FilesFiller, TellsHowAReadingEnded) {
    struct Row {
        qxMessage error;
        Cells cells;
    };
    const auto text = [](const char* words) { return qxMessageText(std::string(words)); };
    const Row kRows[] = {
        {{ifdsweep::kTimeoutId, {text("5")}},
         {{"status", "timeout"},
          {"error_id", "ifdsweep:timeout"},
          {"error_args", "[5]"},
          {"error_text", "not finished within 5 s, the limit of --timeout"}}},
        {{ifdsweep::kWorkerDiedId, {text("signal 11")}},
         {{"status", "crashed"},
          {"error_id", "ifdsweep:workerDied"},
          {"error_args", "[signal 11]"},
          {"error_text", "the process that read the file ended: signal 11"}}},
        {{ifdsweep::kOutOfMemoryId, {text("the limit is 64 MiB (--memory)")}},
         {{"status", "memory"},
          {"error_id", "ifdsweep:outOfMemory"},
          {"error_args", "[the limit is 64 MiB (--memory)]"},
          {"error_text", "out of memory: the limit is 64 MiB (--memory)"}}},
        {{ifdsweep::kOpenFailureId, {text("\xE9.tif"), text("Permission denied")}},
         {{"status", "unreadable"},
          {"error_id", "Velmora:filesystem:openFailure"},
          {"error_args", "[\xEF\xBF\xBD.tif Permission denied]"},
          {"error_text", "cannot be opened: Permission denied"}}},
        {{ifdsweep::kReadFailedId,
          {qxMessageText(std::u16string(u"\xDC80 \xD83D\xDE00")), std::int64_t{-7}}},
         {{"status", "unreadable"},
          {"error_id", "Velmora:filesystem:readFailed"},
          {"error_args", "[\xEF\xBF\xBD \xF0\x9F\x98\x80 -7]"},
          {"error_text", "the file cannot be read at position -7: \xEF\xBF\xBD \xF0\x9F\x98\x80"}}},
    };
    for (const Row& row : kRows) {
        Outcome outcome = named("a.tif");
        outcome.error = row.error;
        Cells expected{{"file_id", "0"},      {"file_path", "a.tif"}, {"streams", "0"},
                       {"directories", "0"},  {"entries", "0"},       {"warnings", "0"},
                       {"warning_ids", "[]"}, {"reader", kReader}};
        expected.insert(row.cells.begin(), row.cells.end());
        EXPECT_EQ(rowOf(outcome), expected);
    }
}

TEST(FilesFiller, HasARowOfWhatCannotBeRead) {
    ifdsweep::Host host;
    const auto read = [&](const std::string& path) {
        return only(rowOf(ifdsweep::read(host, path)),
                    {"size", "format", "status", "error_id", "error_text", "streams"});
    };
    EXPECT_EQ(read("/no/such/file"), (Cells{{"status", "unreadable"},
                                            {"error_id", "Velmora:pixlore:ifdsweep:statFailure"},
                                            {"error_text", "the file does not exist"},
                                            {"streams", "0"}}));
    const fixture::TemporaryFile text("a.txt", fixture::bytesOf("just a text\n"));
    EXPECT_EQ(read(text.path()),
              (Cells{{"size", "12"},
                     {"status", "error"},
                     {"error_id", "Velmora:pixlore:ifdsweep:badEndianness"},
                     {"error_text",
                      "the TIFF header begins with the bytes 106 and 117, expected 73 73 (\"II\") "
                      "or 77 77 (\"MM\")"},
                     {"streams", "0"}}));
}

TEST(FilesFiller, HasNoRowOfAFileThatWasLeftAlone) {
    Outcome outcome = named("a.txt");
    outcome.isImage = false;
    EXPECT_EQ(fixture::cellsOf(packedOutcome(outcome), Layout::files), std::vector<Cells>());
}

TEST(FilesFiller, CountsAllStreamsOfAContainer) {
    const Bytes first = tiffOf({ascii(fixture::kMake, "one\0"sv)});
    const Bytes other = tiffOf({ascii(fixture::kMake, "two\0"sv), shorts(258, {})});
    const Bytes png = fixture::pngFile(
        {fixture::pngChunk("eXIf", first), fixture::pngChunk("eXIf", fixture::bytesOf("no TIFF")),
         fixture::pngChunk("eXIf", other), fixture::pngChunk("IEND", {})});
    const std::vector<std::string> names{"size",      "format",      "layout",   "byte_order",
                                         "container", "status",      "error_id", "streams",
                                         "entries",   "directories", "warnings"};
    EXPECT_EQ(only(rowOf(fixture::packed(png, {.streams = ifdsweep::StreamChoice::all})), names),
              (Cells{{"size", std::to_string(png.size())},
                     {"format", "png"},
                     {"container", "png"},
                     {"status", "error"},
                     {"error_id", "Velmora:pixlore:ifdsweep:badEndianness"},
                     {"streams", "2"},
                     {"entries", "3"},
                     {"directories", "2"},
                     {"warnings", "1"}}));
    EXPECT_EQ(only(rowOf(fixture::packed(png)), names), (Cells{{"size", std::to_string(png.size())},
                                                               {"format", "png"},
                                                               {"container", "png"},
                                                               {"status", "ok"},
                                                               {"streams", "1"},
                                                               {"entries", "1"},
                                                               {"directories", "1"},
                                                               {"warnings", "1"}}));
}

TEST(FilesFiller, FillsTheColumnsThatThereAreInAnyOrder) {
    const auto file =
        std::make_shared<const PackedFile>(fixture::packed(tiffOf({shorts(256, {4})})));
    const auto failed = std::make_shared<const PackedFile>(packedOutcome([] {
        Outcome outcome = named("b.tif");
        outcome.error = ifdsweep::inputFailure("not there");
        return outcome;
    }()));
    const auto rowsWith = [&](const std::vector<std::string>& names) {
        return fixture::cellsOf(
            {file, failed, file},
            ifdsweep::TableSchema::of(Layout::files, {ifdsweep::ColumnChoice::Which::named, names}),
            {}, 2);
    };
    const std::vector<Cells> whole = rowsWith([] {
        std::vector<std::string> names;
        for (const ifdsweep::Column& column : ifdsweep::allColumns(Layout::files)) {
            names.push_back(column.name);
        }
        return names;
    }());
    ASSERT_EQ(whole.size(), 3U);
    EXPECT_EQ(whole[1].at("file_id"), "1");
    EXPECT_EQ(whole[2].at("file_id"), "2");
    for (const ifdsweep::Column& column : ifdsweep::allColumns(Layout::files)) {
        const std::vector<Cells> alone = rowsWith({column.name});
        ASSERT_EQ(alone.size(), 3U) << column.name;
        for (std::size_t row = 0; row < alone.size(); ++row) {
            EXPECT_EQ(alone[row], only(whole[row], {column.name})) << column.name;
        }
    }
    EXPECT_EQ(rowsWith({"error_text", "status", "format"}),
              (std::vector<Cells>{{{"format", "tif"}, {"status", "ok"}},
                                  {{"error_text", "not there"}, {"status", "unreadable"}},
                                  {{"format", "tif"}, {"status", "ok"}}}));
}

}  // namespace

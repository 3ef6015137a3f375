// The rows of messages: where each arose, what it is about, and how many there are at most.

#include <cstdint>
#include <limits>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include <gtest/gtest.h>

#include "columns/table_cells.h"
#include "files/file_messages.h"
#include "ifdsweep/table_layout.h"
#include "pack/file_packer.h"
#include "pack/packed_files.h"
#include "read/messages.h"
#include "support/chunk_builder.h"
#include "support/tags.h"
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
using ifdsweep::FillLimits;
using ifdsweep::Layout;
using ifdsweep::Outcome;
using ifdsweep::PackedFile;
using Rows = std::vector<Cells>;

constexpr const char* kEmptyTagId = "Velmora:pixlore:ifdsweep:zeroComponentCount";
constexpr const char* kPastEndId = "Velmora:pixlore:ifdsweep:tagDataPastEOF";

Rows rowsOf(PackedFile file, const FillLimits& limits = {}) {
    return fixture::cellsOf(std::move(file), Layout::warnings, limits);
}

Rows rowsOf(const Outcome& outcome, const FillLimits& limits = {}) {
    ifdsweep::FilePacker packer;
    packer.begin();
    return rowsOf(packer.pack(outcome), limits);
}

Rows only(const Rows& rows, const std::vector<std::string>& names) {
    Rows some;
    for (const Cells& row : rows) {
        some.push_back(fixture::only(row, names));
    }
    return some;
}

class WarningsFillerTest : public fixture::TiffMatrix {};

INSTANTIATE_TEST_SUITE_P(EveryFormat, WarningsFillerTest, testing::ValuesIn(fixture::kFormats),
                         fixture::formatName);

TEST_P(WarningsFillerTest, ARowTellsWhereAWarningAroseAndWhatItIsAbout) {
    const Directory below{shorts(256, {1}), shorts(258, {})};
    const fixture::TiffFile file =
        fileOf({{shorts(256, {4}), pointer(fixture::kSubIfds, {{below}})},
                {ascii(fixture::kMake, "much"sv).withCount(1000000)}});
    const auto positionOf = [&](std::size_t directory, std::size_t entry) {
        return std::to_string(file.places.at(directory).entries.at(entry));
    };
    const Cells common{{"file_id", "0"},
                       {"file_path", fixture::kPackedName},
                       {"severity", "warning"},
                       {"texts", "[]"}};
    Cells first{{"seq", "0"},
                {"id", kEmptyTagId},
                {"dir_path", "0/SubIFDs[0]/0"},
                {"tag", "258"},
                {"offset", positionOf(1, 1)},
                {"ints", "[]"},
                {"texts", "[BitsPerSample]"},
                {"text", "tag \"BitsPerSample\" has 0 components, expected at least 1"}};
    Cells second{{"seq", "1"},
                 {"id", kPastEndId},
                 {"dir_path", "1"},
                 {"tag", "271"},
                 {"offset", positionOf(2, 0)},
                 {"ints", "[271 1000000]"},
                 {"text", "the value of tag 271, 1000000 bytes, reaches past the end of the file"}};
    first.insert(common.begin(), common.end());
    second.insert(common.begin(), common.end());
    EXPECT_EQ(rowsOf(fixture::packed(file.bytes)), (Rows{first, second}));
}

TEST_P(WarningsFillerTest, AFileWithoutMessagesHasNoRows) {
    EXPECT_EQ(rowsOf(fixture::packed(fileOf({{shorts(256, {4})}}).bytes)), Rows());
    Outcome alone;
    alone.isImage = false;
    EXPECT_EQ(rowsOf(alone), Rows());
}

TEST(WarningsFiller, HasArgumentsOfEveryKind) {
    constexpr std::int64_t kLeast = std::numeric_limits<std::int64_t>::min();
    Outcome outcome;
    outcome.warnings.push_back(
        {qxMessage(ifdsweep::kReadFailedId, {qxMessageText(std::string("\xC3\xA9 \xE9\n\0", 6)),
                                             kLeast, qxMessageText(std::u16string(u"\xDC80 \xE9")),
                                             std::int64_t{3}, qxMessageText(std::string())}),
         {}});
    EXPECT_EQ(only(rowsOf(outcome), {"ints", "texts", "text"}),
              (Rows{{{"ints", "[-9223372036854775808 3]"},
                     {"texts", "[\xC3\xA9 \xEF\xBF\xBD\n" + std::string(1, '\0') +
                                   " \xEF\xBF\xBD \xC3\xA9 ]"},
                     {"text",
                      "the file cannot be read at position -9223372036854775808: \xC3\xA9 "
                      "\xEF\xBF\xBD\n" +
                          std::string(1, '\0')}}}));
}

TEST(WarningsFiller, LeavesWhatIsNotKnownOfAPlaceNull) {
    const qxMessage message(ifdsweep::kStuckId, {});
    constexpr std::uint64_t kMost = std::numeric_limits<std::int64_t>::max();
    Outcome outcome;
    outcome.warnings = {{message, {}},
                        {message, {"0", std::uint16_t{0}, 0}},
                        {message, {"0/GPSInfo/0", std::uint16_t{65535}, kMost}},
                        {message, {"1", {}, kMost + 1}}};
    EXPECT_EQ(
        only(rowsOf(outcome), {"dir_path", "tag", "offset"}),
        (Rows{{},
              {{"dir_path", "0"}, {"tag", "0"}, {"offset", "0"}},
              {{"dir_path", "0/GPSInfo/0"}, {"tag", "65535"}, {"offset", std::to_string(kMost)}},
              {{"dir_path", "1"}}}));
}

TEST(WarningsFiller, HasTheErrorOfAStreamBehindItsWarnings) {
    fixture::TiffBuilder damaged({});
    damaged.add({ascii(fixture::kMake, "one\0"sv), shorts(258, {})});
    const Bytes exif = damaged.build().bytes;
    const Bytes png = fixture::pngFile(
        {fixture::pngChunk("eXIf", exif), fixture::pngChunk("eXIf", fixture::bytesOf("no TIFF")),
         fixture::pngChunk("eXIf", exif), fixture::pngChunk("IEND", {})});
    const PackedFile file = fixture::packed(png, {.streams = ifdsweep::StreamChoice::all});
    std::vector<std::string> streams;
    for (const auto& stream : file.streams()) {
        streams.emplace_back(file.textOf(stream.name));
    }
    ASSERT_EQ(streams.size(), 3U);
    const auto rowOf = [&](const char* number, const char* id, const char* severity,
                           std::size_t stream) {
        return Cells{{"seq", number},
                     {"id", id},
                     {"severity", severity},
                     {"container", "png"},
                     {"stream", streams[stream]}};
    };
    EXPECT_EQ(only(rowsOf(fixture::packed(png, {.streams = ifdsweep::StreamChoice::all})),
                   {"seq", "id", "severity", "container", "stream"}),
              (Rows{rowOf("0", kEmptyTagId, "warning", 0),
                    rowOf("1", "Velmora:pixlore:ifdsweep:badEndianness", "error", 1),
                    rowOf("2", kEmptyTagId, "warning", 2)}));
}

TEST(WarningsFiller, HasSoManyRowsOfAnIdAndOneThatCountsTheOthers) {
    const qxMessage stuck(ifdsweep::kStuckId, {});
    const qxMessage died(ifdsweep::kWorkerDiedId, {});
    const qxMessage failed(ifdsweep::kReadFailedId, {});
    Outcome outcome;
    outcome.warnings = {{died, {}},  {stuck, {}}, {stuck, {}}, {failed, {}},
                        {stuck, {}}, {died, {}},  {died, {}},  {stuck, {}}};
    outcome.error = died;
    Outcome other;
    other.warnings = {{stuck, {}}};
    outcome.others.push_back(std::move(other));
    struct Row {
        std::uint64_t limit;
        std::vector<std::string> lines;  ///< number, first letter behind the colon, more
    };
    const Row kRows[] = {
        {5, {"0 w", "1 s", "2 s", "3 r", "4 s", "5 w", "6 w", "7 s", "8 w!", "9 s"}},
        {4, {"0 w", "1 s", "2 s", "3 r", "4 s", "5 w", "6 w", "7 s", "8 w!", "- s 1"}},
        {2, {"0 w", "1 s", "2 s", "3 r", "5 w", "8 w!", "- s 3", "- w 1"}},
        {1, {"0 w", "1 s", "3 r", "8 w!", "- s 4", "- w 2"}},
        {0, {"- w 3", "- s 5", "- r 1", "- w! 1"}},
    };
    for (const Row& row : kRows) {
        std::vector<std::string> lines;
        for (const Cells& cells : rowsOf(outcome, {.warningsOfId = row.limit})) {
            const std::string& id = cells.at("id");
            const bool counts = cells.contains("repeat");
            EXPECT_EQ(cells.contains("seq"), !counts);
            EXPECT_EQ(cells.contains("text"), !counts);
            EXPECT_EQ(cells.contains("ints"), !counts);
            EXPECT_EQ(cells.at("file_id"), "0");
            lines.push_back((counts ? "-" : cells.at("seq")) + ' ' + id[id.rfind(':') + 1] +
                            (cells.at("severity") == "error" ? "!" : "") +
                            (counts ? ' ' + cells.at("repeat") : ""));
        }
        EXPECT_EQ(lines, row.lines) << row.limit;
    }
}

TEST(WarningsFiller, CountsEachFileAnew) {
    Outcome outcome;
    const qxMessage stuck(ifdsweep::kStuckId, {});
    for (int count = 0; count < 103; ++count) {
        outcome.warnings.push_back({stuck, {}});
    }
    ifdsweep::FilePacker packer;
    packer.begin();
    const auto file = std::make_shared<const PackedFile>(packer.pack(outcome));
    const Rows rows =
        fixture::cellsOf({file, file}, ifdsweep::TableSchema::of(Layout::warnings), {}, 64);
    ASSERT_EQ(rows.size(), 202U);
    for (const std::size_t first : {0U, 101U}) {
        EXPECT_EQ(rows[first].at("seq"), "0");
        EXPECT_EQ(rows[first + 99].at("seq"), "99");
        EXPECT_EQ(rows[first + 100], (Cells{{"file_id", first == 0 ? "0" : "1"},
                                            {"file_path", ""},
                                            {"id", "ifdsweep:stuck"},
                                            {"severity", "warning"},
                                            {"repeat", "3"}}));
    }
}

TEST(WarningsFiller, FillsTheColumnsThatThereAre) {
    Outcome outcome;
    const qxMessage failed(ifdsweep::kReadFailedId,
                           {qxMessageText(std::string("why")), std::int64_t{5}});
    outcome.file = "a.tif";
    outcome.stream.container = "png";
    outcome.stream.name = "one";
    outcome.warnings = {{failed, {"0", std::uint16_t{1}, 2}}, {failed, {}}, {failed, {}}};
    ifdsweep::FilePacker packer;
    packer.begin();
    const auto file = std::make_shared<const PackedFile>(packer.pack(outcome));
    const FillLimits limits{.warningsOfId = 2};
    const Rows whole =
        fixture::cellsOf({file}, ifdsweep::TableSchema::of(Layout::warnings), limits);
    ASSERT_EQ(whole.size(), 3U);
    for (const ifdsweep::Column& column : ifdsweep::allColumns(Layout::warnings)) {
        EXPECT_TRUE(whole[0].contains(column.name) || whole[2].contains(column.name))
            << column.name;
        EXPECT_EQ(fixture::cellsOf(
                      {file},
                      ifdsweep::TableSchema::of(
                          Layout::warnings, {ifdsweep::ColumnChoice::Which::named, {column.name}}),
                      limits),
                  only(whole, {column.name}))
            << column.name;
    }
}

}  // namespace

// The format of facts: every field type exactly, positions, defaults, what was dropped, warnings.

#include <algorithm>
#include <cstdint>
#include <limits>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include "ifdsweep/host.h"
#include "ifdsweep/read.h"
#include "ifdsweep/write.h"
#include "support/tags.h"
#include "support/tiff_builder.h"
#include "support/tiff_matrix.h"

namespace {

using namespace fixture;
using nlohmann::json;

constexpr std::string_view kName = "facts.tif";

/// The lines that the format makes of a file.
std::vector<json> factsOf(const TiffFile& file, ifdsweep::ReadOptions options = {}) {
    ifdsweep::Host host;
    host.serve(kName, file.bytes);
    std::string text;
    {
        ifdsweep::Writer writer({.format = ifdsweep::Format::facts}, text);
        writer.begin();
        options.offset = static_cast<double>(file.base);
        options.sink = writer.listenerFor(kName);
        writer.write(ifdsweep::read(host, kName, options));
        writer.end();
    }
    std::vector<json> lines;
    for (std::size_t start = 0; start < text.size();) {
        const std::size_t end = text.find('\n', start);
        lines.push_back(json::parse(text.substr(start, end - start)));
        start = end + 1;
    }
    return lines;
}

/// The lines of entries that stand in the file.
std::vector<json> storedIn(const std::vector<json>& lines) {
    std::vector<json> stored;
    for (const json& line : lines) {
        if (line.contains("entryOffset")) {
            stored.push_back(line);
        }
    }
    return stored;
}

class Facts : public TiffMatrix {
protected:
    /// A file of one directory, whose header does not lie at its start.
    [[nodiscard]] static TiffFile fileOf(Directory directory) {
        return TiffBuilder(format()).add(std::move(directory)).buildBehind(Bytes(6, 0));
    }
};

TEST_P(Facts, EveryTypeIsExact) {
    constexpr std::int64_t kMost = std::numeric_limits<std::int64_t>::max();
    constexpr std::int64_t kLeast = std::numeric_limits<std::int64_t>::min();
    struct Row {
        Entry entry;
        const char* type;
        json value;
    };
    const std::vector<Row> rows{
        {numbers(60001, kByte, {0, 255}), "BYTE", {0, 255}},
        {ascii(60002, std::string_view("caf\xC3\xA9\0", 6)), "ASCII", "caf\u00e9"},
        {ascii(60003, std::string_view("a\0b\0", 4)), "ASCII", std::string("a\0b", 3)},
        {ascii(60004, "open"), "ASCII", "open"},
        {ascii(60005, std::string_view("\xE9\0", 2)), "ASCII", {{"base64", "6QA="}}},
        {shorts(60006, {65535}), "SHORT", json::array({65535})},
        {longs(60007, {4294967295}), "LONG", json::array({4294967295U})},
        {numbers(60008, kRational, {1, 3, 4294967295, 0}), "RATIONAL", {{1, 3}, {4294967295U, 0}}},
        {numbers(60009, kSByte, {-128}), "SBYTE", json::array({-128})},
        {numbers(60010, kUndefined, {1, 2, 255}), "UNDEFINED", {{"base64", "AQL/"}}},
        {numbers(60011, kSShort, {-32768}), "SSHORT", json::array({-32768})},
        {numbers(60012, kSLong, {-2147483648}), "SLONG", json::array({-2147483648})},
        {numbers(60013, kSRational, {-1, 2}), "SRATIONAL", json::array({{-1, 2}})},
        {floats(60014, {0.1F}), "FLOAT", json::array({0.1})},
        {doubles(60015, {0.1, std::numeric_limits<double>::infinity()}),
         "DOUBLE",
         {0.1, "Infinity"}},
        {numbers(60016, kLong8, {kMost, -1}),
         "LONG8",
         {kMost, std::numeric_limits<std::uint64_t>::max()}},
        {numbers(60017, kSLong8, {kLeast}), "SLONG8", json::array({kLeast})},
    };
    Directory directory;
    for (const Row& row : rows) {
        directory.entries.push_back(row.entry);
    }
    const TiffFile file = fileOf(directory);
    const std::vector<json> stored = storedIn(factsOf(file));
    ASSERT_EQ(stored.size(), rows.size());
    for (std::size_t index = 0; index < rows.size(); ++index) {
        const json& line = stored[index];
        SCOPED_TRACE(line.dump());
        EXPECT_EQ(line["file"], kName);
        EXPECT_EQ(line["path"], "0");
        EXPECT_EQ(line["kind"], "TIFF");
        EXPECT_EQ(line["tag"], rows[index].entry.tag);
        EXPECT_FALSE(line.contains("name"));
        EXPECT_EQ(line["type"], rows[index].type);
        EXPECT_EQ(line["count"], rows[index].entry.count);
        EXPECT_EQ(line["entryOffset"], file.places[0].entries[index]);
        EXPECT_EQ(line["valueOffset"], file.places[0].data[index]);
        const std::size_t size = rows[index].entry.items.size() * rows[index].entry.itemSize;
        EXPECT_EQ(line["inline"], size <= format().offsetSize());
        EXPECT_EQ(line["value"], rows[index].value);
        EXPECT_FALSE(line.contains("droppedBy"));
    }
}

TEST_P(Facts, NamesDefaultsAndNestedDirectoriesAreTold) {
    const TiffFile file = fileOf(
        {shorts(259, {32773}), pointer(kExif, {{Directory{ascii(36867, "2026:11:22 12:00:00")}}})});
    const std::vector<json> lines = factsOf(file);
    ASSERT_GE(lines.size(), 3U);
    EXPECT_EQ(lines[0]["name"], "Compression");
    EXPECT_EQ(lines[0]["valueName"], "PackBits");
    // A pointer comes before what it leads to.
    EXPECT_EQ(lines[1]["tag"], kExif);
    EXPECT_EQ(lines[1]["value"], json::array({file.offsetOf(file.places[1].position)}));
    EXPECT_EQ(lines[2]["path"], "0/DigitalCamera/0");
    EXPECT_EQ(lines[2]["kind"], "Exif");
    EXPECT_EQ(lines[2]["name"], "DateTimeOriginal");
    EXPECT_EQ(lines[2]["value"], "2026:11:22 12:00:00");
    const auto fillOrder = std::find_if(lines.begin(), lines.end(),
                                        [](const json& line) { return line["tag"] == 266; });
    ASSERT_NE(fillOrder, lines.end());
    EXPECT_EQ((*fillOrder)["default"], true);
    EXPECT_EQ((*fillOrder)["value"], json::array({1}));
    EXPECT_EQ((*fillOrder)["path"], "0");
    EXPECT_FALSE(fillOrder->contains("entryOffset"));
}

TEST_P(Facts, DamageIsToldWithItsPlace) {
    TiffFile file = fileOf({shorts(60001, {7}).withType(99), longs(60002, {1, 2, 3, 4, 5})});
    file.setOffset(file.places[0].entries[1] + format().valuePosition(), 1U << 30U);
    const std::vector<json> lines = factsOf(file);
    const std::vector<json> stored = storedIn(lines);
    ASSERT_EQ(stored.size(), 2U);
    EXPECT_EQ(stored[0]["type"], 99);
    EXPECT_EQ(stored[0]["value"], nullptr);
    EXPECT_EQ(stored[0]["droppedBy"], "Velmora:pixlore:ifdsweep:unrecognizedTagFormatId");
    EXPECT_EQ(stored[1]["valueOffset"], (1U << 30U) + file.base);
    EXPECT_EQ(stored[1]["value"], nullptr);
    EXPECT_EQ(stored[1]["droppedBy"], "Velmora:pixlore:ifdsweep:tagDataPastEOF");
    ASSERT_GE(lines.size(), 2U);
    const json& warning = lines.back()["warning"];
    EXPECT_EQ(warning["id"], "Velmora:pixlore:ifdsweep:tagDataPastEOF");
    EXPECT_EQ(warning["path"], "0");
    EXPECT_EQ(warning["tag"], 60002);
    EXPECT_EQ(warning["offset"], file.places[0].entries[1]);
}

TEST_P(Facts, AValueThatIsTooLongIsDescribed) {
    const TiffFile file = fileOf({longs(60001, {1, 2, 3, 4})});
    ifdsweep::ReadOptions options;
    options.longestValue = 15;
    const std::vector<json> lines = factsOf(file, options);
    EXPECT_EQ(lines[0]["count"], 4);
    EXPECT_EQ(lines[0]["valueOffset"], file.places[0].data[0]);
    EXPECT_EQ(lines[0]["value"], nullptr);
    EXPECT_EQ(lines.back()["warning"]["id"], "ifdsweep:valuesNotLoaded");
    options.longestValue = 16;
    EXPECT_EQ(factsOf(file, options)[0]["value"], json::array({1, 2, 3, 4}));
}

TEST(FactsOfNoFile, TheErrorIsALine) {
    const std::vector<json> lines = factsOf({.bytes = Bytes{'n', 'o', 'n', 'e'}});
    ASSERT_EQ(lines.size(), 1U);
    EXPECT_EQ(lines[0]["file"], kName);
    EXPECT_EQ(lines[0]["error"]["id"], "Velmora:pixlore:ifdsweep:badEndianness");
}

TEST(FactsOfNoFile, ANameThatIsNoUtf8StandsAsBytesToo) {
    std::string text;
    ifdsweep::Writer writer({.format = ifdsweep::Format::facts}, text);
    ifdsweep::Outcome outcome;
    outcome.file = "a\xFF.tif";
    outcome.error.emplace("ifdsweep:other", std::vector<qxMessageArgument>{});
    writer.begin();
    writer.write(outcome);
    writer.end();
    EXPECT_EQ(text.find("{\"file\":\"a\uFFFD.tif\",\"fileBytes\":\"Yf8udGlm\",\"error\":"), 0U)
        << text;
}

IFDSWEEP_TIFF_MATRIX(Facts);

}  // namespace

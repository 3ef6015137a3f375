// Files that carry TIFF streams in another format, one or several: what each format writes of them.

#include <cstdint>
#include <span>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include "support/csv_reader.h"
#include "write/facts_writer.h"
#include "write/rendering.h"
#include "write/waiting_rows.h"

namespace {

using ifdsweep::DirectoryKind;
using ifdsweep::Format;
using ifdsweep::Outcome;
using ifdsweep::StreamOrigin;
using ifdsweep::TableRows;
using ifdsweep::WriteOptions;
using rendering::number;
using rendering::setField;

constexpr const char* kFile = "a.heic";

class Streams : public testing::Test {
protected:
    ~Streams() override { EXPECT_EQ(host.liveValues(), 0U); }

    /// A stream with one directory of one field.
    static Outcome streamOf(StreamOrigin origin, double offset, const char* field, double value) {
        Outcome outcome;
        outcome.file = kFile;
        outcome.initialOffset = offset;
        outcome.stream = std::move(origin);
        outcome.result = rendering::records(1, {field});
        setField(outcome.result, 0, field, number(value));
        return outcome;
    }

    static Outcome failedStream(StreamOrigin origin) {
        Outcome outcome;
        outcome.file = kFile;
        outcome.stream = std::move(origin);
        outcome.error.emplace("ifdsweep:bad", std::vector<qxMessageArgument>{});
        return outcome;
    }

    /// One stream that lies in the file as it is.
    static Outcome single() { return streamOf({"heif", "Exif item 3"}, 52, "Iso", 100); }

    /// Three: one as above with a warning, one that is embedded, one that could not be read.
    static Outcome several() {
        Outcome outcome = single();
        outcome.warnings.push_back({qxMessage("ifdsweep:odd", {}), {"0", {}, 8}});
        outcome.others.push_back(streamOf({"heif", "Exif item 4", true}, 6, "Gain", 2));
        outcome.others.push_back(failedStream({"heif", "Exif item 5"}));
        return outcome;
    }

    static std::string written(Format format, const Outcome& outcome,
                               const WriteOptions& options = {}) {
        return rendering::written(format, std::span(&outcome, 1), options, options.colour);
    }

    static std::string table(const Outcome& outcome, const WriteOptions& options) {
        const std::string lines = written(Format::csv, outcome, options);
        if (!options.columns.empty()) {
            return lines;
        }
        ifdsweep::WaitingRows rows(options);
        rows.write(lines);
        ifdsweep::StringSink assembled;
        rows.writeTable(assembled);
        return std::move(assembled.text);
    }

    ifdsweep::Host host;
    ifdsweep::Host::Scope scope{host};
};

const std::string kOdd =
    R"({"id":"ifdsweep:odd","arguments":[],"text":"ifdsweep:odd","path":"0","offset":8})";
const std::string kBad = R"({"id":"ifdsweep:bad","arguments":[],"text":"ifdsweep:bad"})";
const std::string kNothingElse = R"("warnings":[],"error":null})";

TEST_F(Streams, AFileThatIsTheStreamSaysNothingOfContainers) {
    Outcome plain = single();
    plain.stream = {};
    for (const Format format : {Format::text, Format::json, Format::ndjson, Format::typed}) {
        const std::string text = written(format, plain);
        EXPECT_EQ(text.find("ontainer"), std::string::npos) << text;
        EXPECT_EQ(text.find("tream"), std::string::npos) << text;
    }
    EXPECT_EQ(
        written(Format::ndjson, plain),
        R"({"file":"a.heic","initialOffset":52,"records":[{"Iso":100}],)" + kNothingElse + "\n");
}

TEST_F(Streams, JsonOfOneStreamHasTheMembersOfTheFile) {
    const std::string object =
        R"({"file":"a.heic","initialOffset":52,"container":"heif","stream":"Exif item 3",)"
        R"("records":[{"Iso":100}],)" +
        kNothingElse;
    EXPECT_EQ(written(Format::json, single()), "[\n" + object + "\n]\n");
    EXPECT_EQ(written(Format::json, single(), {.layout = ifdsweep::JsonLayout::compact}),
              "[" + object + "]\n");
    EXPECT_EQ(written(Format::ndjson, single()), object + "\n");

    Outcome embedded = single();
    embedded.stream.isEmbedded = true;
    EXPECT_EQ(written(Format::ndjson, embedded),
              R"({"file":"a.heic","initialOffset":52,"container":"heif","stream":"Exif item 3",)"
              R"("embedded":true,"records":[{"Iso":100}],)" +
                  kNothingElse + "\n");
}

TEST_F(Streams, JsonOfSeveralStreamsIsAnArrayOfThem) {
    const std::string object =
        R"({"file":"a.heic","streams":[)"
        R"({"container":"heif","stream":"Exif item 3","offset":52,"records":[{"Iso":100}],)"
        R"("warnings":[)" +
        kOdd + R"(],"error":null},)" +
        R"({"container":"heif","stream":"Exif item 4","offset":6,"embedded":true,)"
        R"("records":[{"Gain":2}],)" +
        kNothingElse +
        R"(,{"container":"heif","stream":"Exif item 5","offset":0,"records":[],)"
        R"("warnings":[],"error":)" +
        kBad + "}]}";
    EXPECT_EQ(written(Format::json, several()), "[\n" + object + "\n]\n");
    EXPECT_EQ(written(Format::ndjson, several()), object + "\n");
    const std::string pretty =
        written(Format::json, several(), {.layout = ifdsweep::JsonLayout::pretty});
    EXPECT_EQ(nlohmann::json::parse(pretty)[0], nlohmann::json::parse(object));
    EXPECT_TRUE(
        pretty.starts_with("[\n  {\n    \"file\": \"a.heic\",\n    \"streams\": [\n"
                           "      {\n        \"container\": \"heif\",\n"))
        << pretty;
}

TEST_F(Streams, AStreamIsALineOfNdjsonWhereStreamsAreTold) {
    const WriteOptions options{.tellStreams = true};
    EXPECT_EQ(written(Format::ndjson, several(), options),
              R"({"file":"a.heic","Stream":"Exif item 3","container":"heif","initialOffset":52,)"
              R"("records":[{"Iso":100}],"warnings":[)" +
                  kOdd + R"(],"error":null})" + "\n" +
                  R"({"file":"a.heic","Stream":"Exif item 4","container":"heif","embedded":true,)"
                  R"("initialOffset":6,"records":[{"Gain":2}],)" +
                  kNothingElse + "\n" +
                  R"({"file":"a.heic","Stream":"Exif item 5","container":"heif",)"
                  R"("initialOffset":0,"records":[],"warnings":[],"error":)" +
                  kBad + "}\n");
    Outcome plain = single();
    plain.stream = {};
    plain.file = "caf\xE9.tif";
    EXPECT_EQ(written(Format::ndjson, plain, options),
              "{\"file\":\"caf\uFFFD.tif\",\"fileBytes\":\"Y2Fm6S50aWY=\",\"Stream\":null,"
              "\"initialOffset\":52,\"records\":[{\"Iso\":100}]," +
                  kNothingElse + "\n");
    EXPECT_EQ(written(Format::json, several(), options), written(Format::json, several()));
}

TEST_F(Streams, TypedHasALineForEach) {
    const auto line = [](const std::string& origin, int offset, const std::string& rest) {
        return R"({"file":"a.heic","container":"heif","stream":)" + origin +
               R"(,"arguments":{"initialOffset":)" + std::to_string(offset) +
               R"(,"firstIfdIndex":0,"maxIfdCount":0},"result":)" + rest + "}\n";
    };
    const auto recordOf = [](const std::string& field, int value) {
        return R"({"class":"struct","size":[1,1],"fields":[")" + field +
               R"("],"data":[[{"class":"double","size":[1,1],"data":[)" + std::to_string(value) +
               "]}]]}";
    };
    EXPECT_EQ(written(Format::typed, several()),
              line(R"("Exif item 3")", 52,
                   recordOf("Iso", 100) +
                       R"(,"warnings":[{"id":"ifdsweep:odd","arguments":[]}],"error":null)") +
                  line(R"("Exif item 4","embedded":true)", 6,
                       recordOf("Gain", 2) + R"(,"warnings":[],"error":null)") +
                  line(R"("Exif item 5")", 0,
                       R"(null,"warnings":[],"error":{"id":"ifdsweep:bad","arguments":[]})"));
}

TEST_F(Streams, TheFactsSayOfWhichStreamTheyAre) {
    const Outcome outcome = several();
    const std::string lines = rendering::rendered([&](ifdsweep::Output& output) {
        ifdsweep::FactsWriter writer(output);
        ifdsweep::EntrySink& sink = *writer.listenerFor(kFile);
        const auto tell = [&sink](const char* stream, bool isEmbedded, std::uint16_t tag) {
            const ifdsweep::DirectoryFacts directory{
                DirectoryKind::exif, nullptr, 0, "", 0, 0, 8, 1};
            ifdsweep::EntryFacts entry{};
            entry.tag = tag;
            entry.fieldType = 1;
            entry.position = 10;
            entry.valuePosition = 18;
            entry.isInline = true;
            entry.isLoaded = true;
            sink.streamBegins({"heif", stream, isEmbedded});
            sink.directoryBegins(directory);
            sink.entry(directory, entry);
            sink.directoryEnds(directory, true);
        };
        tell("Exif item 3", false, 50001);
        tell("Exif item 4", true, 50002);
        EXPECT_TRUE(writer.shows(outcome));
        writer.writeFile(outcome);
    });
    const std::string start = R"({"file":"a.heic","container":"heif","stream":"Exif item )";
    const auto entry = [](const std::string& tag) {
        return R"(,"path":"0","kind":"Exif","tag":)" + tag +
               R"(,"type":"BYTE","count":0,"entryOffset":10,"valueOffset":18,"inline":true,)"
               R"("value":[]})"
               "\n";
    };
    EXPECT_EQ(lines, start + R"(3")" + entry("50001") +                      //
                         start + R"(4","embedded":true)" + entry("50002") +  //
                         start + R"(3","warning":)" + kOdd + "}\n" +         //
                         start + R"(5","error":)" + kBad + "}\n");
}

TEST_F(Streams, TheFactsAreShownForWhatAnyStreamHasToSay) {
    Outcome outcome = single();
    EXPECT_EQ(written(Format::facts, outcome), "");
    outcome.others.push_back(single());
    EXPECT_EQ(written(Format::facts, outcome), "");
    outcome.others[0].warningCounts.push_back({"ifdsweep:odd", 3});
    EXPECT_EQ(written(Format::facts, outcome),
              R"({"file":"a.heic","container":"heif","stream":"Exif item 3",)"
              R"("warning":{"id":"ifdsweep:odd","count":3}})"
              "\n");
}

TEST_F(Streams, RowsOfATableSayOfWhichStreamTheyAreIfAskedTo) {
    struct Row {
        const char* what;
        WriteOptions options;
        std::string table;
    };
    const Row rows[] = {
        {"all columns",
         {.tellStreams = true},
         "File,Stream,Directory,Iso,Gain\r\n"
         "a.heic,Exif item 3,0,100,\r\n"
         "a.heic,Exif item 4,0,,2\r\n"},
        {"fixed columns",
         {.columns = {"Gain"}, .tellStreams = true},
         "File,Stream,Directory,Gain\r\n"
         "a.heic,Exif item 3,0,\r\n"
         "a.heic,Exif item 4,0,2\r\n"},
        {"without being asked",
         {.columns = {"Gain"}},
         "File,Directory,Gain\r\n"
         "a.heic,0,\r\n"
         "a.heic,0,2\r\n"},
        {"nested",
         {.columns = {"Iso"}, .rows = TableRows::nested, .tellStreams = true},
         "File,Stream,Directory,Iso\r\n"
         "a.heic,Exif item 3,0,100\r\n"
         "a.heic,Exif item 4,0,\r\n"},
        // One row: of each field the first value that a stream has.
        {"a file",
         {.columns = {"Gain", "Iso"}, .rows = TableRows::file, .tellStreams = true},
         "File,Gain,Iso\r\n"
         "a.heic,2,100\r\n"},
        {"a file, all columns",
         {.rows = TableRows::file, .tellStreams = true},
         "File,Iso,Gain\r\n"
         "a.heic,100,2\r\n"},
    };
    for (const Row& row : rows) {
        EXPECT_EQ(table(several(), row.options), row.table) << row.what;
    }
    Outcome plain = single();
    plain.stream = {};
    EXPECT_EQ(table(plain, {.tellStreams = true}),
              "File,Stream,Directory,Iso\r\na.heic,,0,100\r\n");
}

TEST_F(Streams, ARowOfAFileHasTheValueOfTheFirstStreamThatHasIt) {
    Outcome outcome = single();
    outcome.others.push_back(streamOf({"heif", "Exif item 4"}, 6, "Iso", 7));
    EXPECT_EQ(table(outcome, {.rows = TableRows::file}), "File,Iso\r\na.heic,100\r\n");
    outcome.result.reset();
    EXPECT_EQ(table(outcome, {.rows = TableRows::file}), "File,Iso\r\na.heic,7\r\n");
    EXPECT_EQ(table(outcome, {}), "File,Directory,Iso\r\na.heic,0,7\r\n");
}

TEST_F(Streams, TextNamesTheContainer) {
    EXPECT_EQ(written(Format::text, single()),
              "a.heic\n"
              "  Container  HEIF, Exif item 3\n"
              "\n"
              "  Directory 0\n"
              "    Iso  100\n");
    Outcome embedded = single();
    embedded.stream.isEmbedded = true;
    const std::string note = "HEIF, Exif item 3 (embedded: positions are of the stream)";
    EXPECT_EQ(written(Format::text, embedded),
              "a.heic\n"
              "  Container  " +
                  note +
                  "\n"
                  "\n"
                  "  Directory 0\n"
                  "    Iso  100\n");
    // Who asks for fields gets these alone, and what their numbers mean.
    EXPECT_EQ(written(Format::text, single(), {.columns = {"Iso"}}),
              "a.heic\n\n  Directory 0\n    Iso  100\n");
    EXPECT_EQ(written(Format::text, embedded, {.columns = {"Iso"}}),
              "a.heic\n  Container  " + note + "\n\n  Directory 0\n    Iso  100\n");
    EXPECT_EQ(written(Format::text, single(), {.colour = ifdsweep::Colour::on}),
              "\x1b[1ma.heic\x1b[0m\n"
              "  \x1b[36mContainer\x1b[0m  HEIF, Exif item 3\n"
              "\n"
              "  \x1b[1;34mDirectory 0\x1b[0m\n"
              "    \x1b[36mIso\x1b[0m  100\n");
    EXPECT_EQ(written(Format::text, embedded, {.lineWidth = 40}),
              "a.heic\n"
              "  Container  HEIF, Exif item 3\n"
              "             (embedded: positions are of\n"
              "             the stream)\n"
              "\n"
              "  Directory 0\n"
              "    Iso  100\n");
}

TEST_F(Streams, TheContainerStandsInLineWithTheFieldsOfTheFile) {
    Outcome outcome = single();
    outcome.result = rendering::records(1, {"FormatSignature", "Iso"});
    setField(outcome.result, 0, "FormatSignature", rendering::text(u"x"));
    setField(outcome.result, 0, "Iso", number(1));
    EXPECT_EQ(written(Format::text, outcome),
              "a.heic\n"
              "  Container        HEIF, Exif item 3\n"
              "  FormatSignature  x\n"
              "\n"
              "  Directory 0\n"
              "    Iso  1\n");
    outcome.result = rendering::noRecords();
    EXPECT_EQ(written(Format::text, outcome),
              "a.heic\n"
              "  Container  HEIF, Exif item 3\n"
              "  no directories\n");
    outcome.result.reset();
    EXPECT_EQ(written(Format::text, outcome), "");
}

TEST_F(Streams, TextHasASectionForEach) {
    EXPECT_EQ(written(Format::text, several()),
              "a.heic\n"
              "\n"
              "  Stream 1 of 3: Exif item 3\n"
              "  Container  HEIF\n"
              "\n"
              "  Directory 0\n"
              "    Iso  100\n"
              "  warning: Directory 0: ifdsweep:odd (odd)\n"
              "\n"
              "  Stream 2 of 3: Exif item 4\n"
              "  Container  HEIF (embedded: positions are of the stream)\n"
              "\n"
              "  Directory 0\n"
              "    Gain  2\n"
              "\n"
              "  Stream 3 of 3: Exif item 5\n"
              "  error: ifdsweep:bad (bad)\n");
}

TEST_F(Streams, DirectoriesAreFoldedWithinAStream) {
    const auto pagesOf = [](const char* name) {
        Outcome outcome;
        outcome.file = kFile;
        outcome.stream = {"heif", name};
        outcome.result = rendering::records(3, {"Iso"});
        for (std::size_t page = 0; page < 3; ++page) {
            setField(outcome.result, page, "Iso", number(1));
        }
        return outcome;
    };
    Outcome outcome = pagesOf("one");
    outcome.others.push_back(pagesOf("two"));
    EXPECT_EQ(written(Format::text, outcome, {.columns = {"Iso"}}),
              "a.heic\n"
              "\n"
              "  Stream 1 of 2: one\n"
              "\n"
              "  Directory 0\n"
              "    Iso  1\n"
              "\n"
              "  Directories 1 and 2: as 0\n"
              "\n"
              "  Stream 2 of 2: two\n"
              "\n"
              "  Directory 0\n"
              "    Iso  1\n"
              "\n"
              "  Directories 1 and 2: as 0\n"
              "  (--all-directories shows each directory and warning)\n");
}

TEST_F(Streams, AContainerHasTheSizeThatItsStreamLacks) {
    Outcome outcome;
    outcome.file = kFile;
    outcome.stream = {"png", "eXIf"};
    outcome.result = rendering::records(1, {"Width", "Height", "BitDepth", "ColorType"});
    for (const char* const name : {"Width", "Height", "BitDepth"}) {
        setField(outcome.result, 0, name, number(0));
    }
    setField(outcome.result, 0, "ColorType", number(-1));
    EXPECT_EQ(written(Format::text, outcome),
              "a.heic\n"
              "  Container  PNG, eXIf\n"
              "\n"
              "  Directory 0\n"
              "    Width      not in this directory\n"
              "    Height     not in this directory\n"
              "    BitDepth   not in this directory\n"
              "    ColorType  not in this directory\n");
    outcome.stream = {};
    EXPECT_EQ(written(Format::text, outcome),
              "a.heic\n"
              "\n"
              "  Directory 0\n"
              "    Width      0\n"
              "    Height     0\n"
              "    BitDepth   0\n"
              "    ColorType  -1\n");
}

TEST_F(Streams, TheKindOfAStreamNamesItsUnknownTags) {
    struct Row {
        DirectoryKind kind;
        double tag;
        std::string line;
    };
    const Row rows[] = {
        {DirectoryKind::gps, 31, "31 (0x1f)  GPSHPositioningError  offset 9  value 5 m"},
        {DirectoryKind::primary, 31, "31 (0x1f)  offset 9  value 5"},
        {DirectoryKind::exif, 42037, "42037 (0xa435)  LensSerialNumber  offset 9  value 5"},
        {DirectoryKind::gps, 42037, "42037 (0xa435)  offset 9  value 5"},
    };
    for (const Row& row : rows) {
        auto unknown = rendering::records(1, {"ID", "Offset", "Value"});
        setField(unknown, 0, "ID", number(row.tag));
        setField(unknown, 0, "Offset", number(9));
        setField(unknown, 0, "Value", number(5));
        Outcome outcome;
        outcome.file = "a.cr3";
        outcome.stream = {"cr3", "CMT4", false, row.kind};
        outcome.result = rendering::records(1, {"UnknownTags"});
        setField(outcome.result, 0, "UnknownTags", std::move(unknown));
        EXPECT_EQ(written(Format::text, outcome),
                  "a.cr3\n  Container  CR3, CMT4\n\n  Directory 0\n    UnknownTags\n      " +
                      row.line + "\n");
    }
}

TEST_F(Streams, PositionsOfAStreamOfTheirOwnHaveTheirDirections) {
    Outcome outcome;
    outcome.file = "a.cr3";
    outcome.stream = {"cr3", "CMT4", false, DirectoryKind::gps};
    outcome.result = rendering::records(1, {"GPSLatitudeRef", "GPSLatitude"});
    setField(outcome.result, 0, "GPSLatitudeRef", rendering::text(u"S"));
    setField(outcome.result, 0, "GPSLatitude", rendering::numbers(1, 3, {51, 30, 0}));
    const std::string text = written(Format::text, outcome);
    EXPECT_NE(text.find("GPSLatitude     51\u00B0 30' 0\" S (-51.5)"), std::string::npos) << text;
}

TEST_F(Streams, NamesOfStreamsDoNothingToTheirReader) {
    const std::string name = "=1,\x1b[31m\n\u202E\xFF";
    Outcome outcome = streamOf({"heif", name}, 0, "Iso", 1);
    WriteOptions options{.tellStreams = true, .forTerminal = true};
    const std::vector<fixture::Row> rows = fixture::rowsOf(table(outcome, options));
    ASSERT_EQ(rows.size(), 2U);
    EXPECT_EQ(rows[1][1], R"('=1,\x1b[31m\n\u202e\xff)");
    const std::string inJson = R"(=1,\u001b[31m\n\u202e)"
                               "\uFFFD";
    for (const Format format : {Format::json, Format::ndjson, Format::typed}) {
        const std::string text = written(format, outcome, options);
        EXPECT_NE(text.find(inJson), std::string::npos) << text;
    }
    EXPECT_EQ(written(Format::text, outcome, options),
              "a.heic\n  Container  HEIF, =1,\\x1b[31m\\n\\u202e\\xff\n\n  Directory 0\n"
              "    Iso  1\n");
    outcome.others.push_back(failedStream({"heif", "two"}));
    EXPECT_NE(written(Format::text, outcome, options)
                  .find("\n  Stream 1 of 2: =1,\\x1b[31m\\n\\u202e\\xff\n"),
              std::string::npos);
}

}  // namespace

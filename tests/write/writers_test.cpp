// The three formats on values built by hand: every class and shape, empty and not finite.

#include <cmath>
#include <limits>
#include <span>
#include <sstream>
#include <string>
#include <vector>

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include "locate/locate_messages.h"
#include "read/messages.h"
#include "write/natural_json.h"
#include "write/rendering.h"
#include "write/text_value.h"
#include "write/typed_writer.h"

namespace {

using nlohmann::json;
using rendering::emptyText;
using rendering::noRecords;
using rendering::number;
using rendering::rendered;
using rendering::setField;

class Writers : public testing::Test {
protected:
    ~Writers() override { EXPECT_EQ(host.liveValues(), 0U); }

    ifdsweep::Host host;
    ifdsweep::Host::Scope scope{host};
};

std::string typed(const ifdsweep::ValueHandle& value) {
    return rendered(
        [&](ifdsweep::Output& output) { ifdsweep::appendTypedValue(output, value.get()); });
}

std::string natural(const ifdsweep::ValueHandle& value) {
    return rendered(
        [&](ifdsweep::Output& output) { ifdsweep::appendNaturalValue(output, value.get()); });
}

std::string shown(const ifdsweep::ValueHandle& value, const ifdsweep::TextLimits& limits = {}) {
    return rendered([&](ifdsweep::Output& output) {
        ifdsweep::appendTextValue(output, value.get(), ifdsweep::TextOrigin::tag, limits);
    });
}

std::string written(ifdsweep::Format format, const ifdsweep::Outcome& outcome,
                    ifdsweep::Colour colour = ifdsweep::Colour::off) {
    return rendering::written(format, std::span(&outcome, 1), {}, colour);
}

TEST_F(Writers, Numbers) {
    const auto scalar = number(2.5);
    EXPECT_EQ(typed(scalar), R"({"class":"double","size":[1,1],"data":[2.5]})");
    EXPECT_EQ(natural(scalar), "2.5");
    EXPECT_EQ(shown(scalar), "2.5");

    const auto row = rendering::numbers(1, 3, {8, 8, -1});
    EXPECT_EQ(typed(row), R"({"class":"double","size":[1,3],"data":[8,8,-1]})");
    EXPECT_EQ(natural(row), "[8,8,-1]");
    EXPECT_EQ(shown(row), "8 8 -1");

    const auto column = rendering::numbers(2, 1, {1, 2});
    EXPECT_EQ(typed(column), R"({"class":"double","size":[2,1],"data":[1,2]})");
    EXPECT_EQ(natural(column), "[[1],[2]]");
    EXPECT_EQ(shown(column), "1; 2");

    const auto matrix = rendering::numbers(2, 3, {1, 2, 3, 4, 5, 6});
    EXPECT_EQ(typed(matrix), R"({"class":"double","size":[2,3],"data":[1,2,3,4,5,6]})");
    EXPECT_EQ(natural(matrix), "[[1,3,5],[2,4,6]]");
    EXPECT_EQ(shown(matrix), "1 3 5; 2 4 6");
}

TEST_F(Writers, NumbersThatAreNotFinite) {
    constexpr double kNotANumber = std::numeric_limits<double>::quiet_NaN();
    constexpr double kInfinity = std::numeric_limits<double>::infinity();
    const auto row = rendering::numbers(1, 4, {kNotANumber, kInfinity, -kInfinity, -0.0});
    EXPECT_EQ(typed(row),
              R"({"class":"double","size":[1,4],"data":["NaN","Infinity","-Infinity",-0.0]})");
    EXPECT_EQ(natural(row), "[null,null,null,-0.0]");
    EXPECT_EQ(shown(row), "NaN Infinity -Infinity -0.0");
    EXPECT_EQ(natural(number(std::nan(""))), "null");
}

TEST_F(Writers, EmptyNumbers) {
    EXPECT_EQ(typed(noRecords()), R"({"class":"double","size":[0,0],"data":[]})");
    EXPECT_EQ(natural(noRecords()), "[]");
    EXPECT_EQ(shown(noRecords()), "(empty)");
    EXPECT_EQ(typed(rendering::numbers(1, 0, {})), R"({"class":"double","size":[1,0],"data":[]})");
    EXPECT_EQ(natural(rendering::numbers(1, 0, {})), "[]");
    EXPECT_EQ(natural(rendering::numbers(0, 3, {})), "[]");
}

TEST_F(Writers, Bytes) {
    const auto row = rendering::bytes({0, 9, 255});
    EXPECT_EQ(typed(row), R"({"class":"uint8","size":[1,3],"data":[0,9,255]})");
    EXPECT_EQ(natural(row), R"("AAn/")");
    EXPECT_EQ(shown(row), "0 9 255");
    EXPECT_EQ(natural(rendering::bytes({102})), R"("Zg==")");
    EXPECT_EQ(typed(rendering::bytes({})), R"({"class":"uint8","size":[1,0],"data":[]})");
    EXPECT_EQ(natural(rendering::bytes({})), R"("")");
}

TEST_F(Writers, Text) {
    const auto row = rendering::text(u"Z\xFFFCrich\n");
    EXPECT_EQ(typed(row), "{\"class\":\"char\",\"size\":[1,7],\"data\":\"Z\uFFFCrich\\n\"}");
    EXPECT_EQ(natural(row), R"("Zürich\n")");
    EXPECT_EQ(shown(row), R"(Zürich\n)");
    EXPECT_EQ(typed(emptyText()), R"({"class":"char","size":[0,0],"data":""})");
    EXPECT_EQ(typed(rendering::text(u"")), R"({"class":"char","size":[1,0],"data":""})");
    EXPECT_EQ(natural(emptyText()), R"("")");
    EXPECT_EQ(shown(emptyText()), R"("")");
}

TEST_F(Writers, TextOfBlanksIsSeen) {
    EXPECT_EQ(shown(rendering::text(u"   ")), R"("   ")");
    EXPECT_EQ(shown(rendering::text({u"\0\0", 2})), R"("")");
    EXPECT_EQ(shown(rendering::text({u"  \0", 3})), R"("  ")");
    EXPECT_EQ(shown(rendering::text(std::u16string(16, u' '))), '"' + std::string(16, ' ') + '"');
    EXPECT_EQ(shown(rendering::text(std::u16string(17, u' '))),
              '"' + std::string(16, ' ') + "\" … 17 characters");
    EXPECT_EQ(shown(rendering::text(u" x ")), " x ");
    EXPECT_EQ(shown(rendering::text(u"\t")), R"(\t)");
}

TEST_F(Writers, SeveralTextsAreAList) {
    const auto texts = [](std::u16string_view units) {
        return rendered([&](ifdsweep::Output& output) {
            ifdsweep::appendNaturalValue(output, rendering::text(units).get(),
                                         ifdsweep::TextOrigin::tag, ifdsweep::SeveralTexts::array);
        });
    };
    const std::u16string_view names{u"photographer\0editor", 19};
    EXPECT_EQ(shown(rendering::text(names)), R"("photographer", "editor")");
    EXPECT_EQ(texts(names), R"(["photographer","editor"])");
    EXPECT_EQ(natural(rendering::text(names)), R"("photographer\u0000editor")");

    const std::u16string_view gaps{u" \0a\0\0b\0\0", 8};
    EXPECT_EQ(shown(rendering::text(gaps)), R"(" ", "a", "", "b")");
    EXPECT_EQ(texts(gaps), R"([" ","a","","b"])");

    const std::u16string_view leading{u"\0a", 2};
    EXPECT_EQ(shown(rendering::text(leading)), R"("", "a")");
    EXPECT_EQ(texts(leading), R"(["","a"])");

    // The texts of a value are read in one way.
    const std::u16string_view latin{u"\xFFC3\xFFBC\0\xFFFC", 4};
    EXPECT_EQ(shown(rendering::text(latin)), R"("Ã¼", "ü")");
    EXPECT_EQ(texts(latin), R"(["Ã¼","ü"])");

    EXPECT_EQ(texts(u"one"), R"("one")");
    EXPECT_EQ(texts({u"one\0", 4}), R"("one\u0000")");
    EXPECT_EQ(texts(u""), R"("")");
}

TEST_F(Writers, AListOfTextsIsCutShort) {
    const auto three = rendering::text({u"abc\0def\0ghi", 11});
    EXPECT_EQ(shown(three, {2, 100}), R"("abc", "def" … 11 characters)");
    EXPECT_EQ(shown(three, {3, 100}), R"("abc", "def", "ghi")");
    EXPECT_EQ(shown(three, {3, 9}), R"("abc", "def", "ghi")");
    EXPECT_EQ(shown(three, {3, 5}), R"("abc", "de" … 11 characters)");
    EXPECT_EQ(shown(rendering::text(std::u16string(40, u'\0') + u'x'), {2, 100}),
              R"("", "" … 41 characters)");
}

TEST_F(Writers, ADocumentInBytesIsOneText) {
    const auto units = rendering::text({u"<\0x\0>\0", 6});
    EXPECT_EQ(rendered([&](ifdsweep::Output& output) {
                  ifdsweep::appendTextValue(output, units.get(), ifdsweep::TextOrigin::packet, {});
              }),
              R"(<\x00x\x00>\x00)");
    EXPECT_EQ(rendered([&](ifdsweep::Output& output) {
                  ifdsweep::appendNaturalValue(output, units.get(), ifdsweep::TextOrigin::packet,
                                               ifdsweep::SeveralTexts::array);
              }),
              R"("<\u0000x\u0000>\u0000")");
}

TEST_F(Writers, TextHasSixDigitsOfAFraction) {
    const auto row = rendering::numbers(1, 4, {1.0 / 3, 1e6 + 0.25, 1234567890123, -298.257223563});
    EXPECT_EQ(shown(row), "0.333333 1000000 1234567890123 -298.257");
    EXPECT_EQ(shown(row, {.digits = 3}), "0.333 1000000 1234567890123 -298");
    EXPECT_EQ(shown(row, {.digits = 0}),
              "0.3333333333333333 1000000.25 1234567890123 -298.257223563");
    EXPECT_EQ(natural(row), "[0.3333333333333333,1000000.25,1234567890123,-298.257223563]");
}

TEST_F(Writers, Cells) {
    const auto row = rendering::cells(rendering::text(u"a"), ifdsweep::ValueHandle(), number(3));
    EXPECT_EQ(typed(row), R"({"class":"cell","size":[1,3],"data":[)"
                          R"({"class":"char","size":[1,1],"data":"a"},null,)"
                          R"({"class":"double","size":[1,1],"data":[3]}]})");
    EXPECT_EQ(natural(row), R"(["a",null,3])");
    EXPECT_EQ(shown(row), "a, (empty), 3");
    EXPECT_EQ(typed(rendering::cells()), R"({"class":"cell","size":[1,0],"data":[]})");
    EXPECT_EQ(natural(rendering::cells()), "[]");
    EXPECT_EQ(natural(rendering::cells(number(1))), "[1]");
}

TEST_F(Writers, Records) {
    auto column = rendering::records(2, {"Width", "Artist"});
    setField(column, 0, "Width", number(7));
    setField(column, 1, "Artist", rendering::text(u"me"));
    EXPECT_EQ(typed(column),
              R"({"class":"struct","size":[2,1],"fields":["Width","Artist"],"data":[)"
              R"([{"class":"double","size":[1,1],"data":[7]},null],)"
              R"([null,{"class":"char","size":[1,2],"data":"me"}]]})");
    EXPECT_EQ(natural(column), R"([{"Width":7,"Artist":null},{"Width":null,"Artist":"me"}])");
    EXPECT_EQ(shown(column), "(2x1 records)");
    EXPECT_EQ(typed(ifdsweep::ValueHandle()), "null");
}

TEST_F(Writers, NamesOfFields) {
    const std::string longest(63, 'n');
    const std::string longer(64, 'n');
    const std::vector<const char*> names{
        "A_z09",       "",          "with space",        "quote\"",
        "back\\",      "line\nend", "\xC3\xA9t\xC3\xA9", longest.c_str(),
        longer.c_str()};
    for (const char* const name : names) {
        auto one = rendering::records(1, {name});
        setField(one, 0, name, number(7));
        EXPECT_EQ(json::parse(natural(one)), (json::array({{{name, 7}}}))) << name;
        EXPECT_EQ(json::parse(typed(one))["fields"], json::array({name})) << name;
    }
    auto all = rendering::records(1, names);
    const json read = json::parse(natural(all))[0];
    EXPECT_EQ(read.size(), names.size());
    for (const char* const name : names) {
        EXPECT_TRUE(read.contains(name)) << name;
    }
}

TEST_F(Writers, TheFileNameIsNotTakenForBytes) {
    auto column = rendering::records(1, {"Filename", "Artist"});
    setField(column, 0, "Filename", rendering::text(u"\uFF83"));
    setField(column, 0, "Artist", rendering::text(u"\uFF83"));
    EXPECT_EQ(natural(column), "[{\"Filename\":\"\uFF83\",\"Artist\":\"ƒ\"}]");
}

TEST_F(Writers, LongValuesAreCutWithTheirSize) {
    const ifdsweep::TextLimits limits{3, 4};
    EXPECT_EQ(shown(rendering::numbers(1, 3, {1, 2, 3}), limits), "1 2 3");
    EXPECT_EQ(shown(rendering::numbers(1, 4, {1, 2, 3, 4}), limits), "1 2 3 … 4 values, 1 to 4");
    EXPECT_EQ(shown(rendering::numbers(2, 2, {1, 2, 3, 4}), limits), "1 3; 2 … 2x2 values, 1 to 4");
    EXPECT_EQ(shown(rendering::bytes({1, 2, 3, 4}), limits), "1 2 3 … 4 bytes, 1 to 4");
    EXPECT_EQ(shown(rendering::text(u"abcde"), limits), "abcd … 5 characters");
}

TEST_F(Writers, MoreThanOneBuffer) {
    std::vector<double> values(100000);
    for (std::size_t index = 0; index < values.size(); ++index) {
        values[index] = static_cast<double>(index) / 8;
    }
    const auto row = rendering::numbers(1, values.size(), values);
    EXPECT_EQ(json::parse(natural(row)), values);
    EXPECT_EQ(json::parse(typed(row))["data"], values);
}

const char* const kExpectedTagDataFormat = "Velmora:pixlore:ifdsweep:expectedTagDataFormat";

ifdsweep::Outcome goodOutcome() {
    ifdsweep::Outcome outcome;
    outcome.file = "a\xFF.tif";
    outcome.initialOffset = 12;
    outcome.maxIfdCount = HUGE_VAL;
    outcome.result = rendering::records(1, {"Format", "Width", "UnknownTags"});
    setField(outcome.result, 0, "Format", rendering::text(u"tif"));
    setField(outcome.result, 0, "Width", number(7));
    auto unknown = rendering::records(1, {"ID", "Offset", "Value"});
    setField(unknown, 0, "ID", number(50000));
    setField(unknown, 0, "Offset", number(99));
    setField(unknown, 0, "Value", rendering::text(u"x\x1b"));
    setField(outcome.result, 0, "UnknownTags", std::move(unknown));
    const std::vector<qxMessageArgument> arguments{qxMessageText(std::string("Artist")),
                                                   qxMessageText(std::string("\xE9")),
                                                   std::int64_t{9223372036854775807}};
    outcome.warnings.push_back({qxMessage(kExpectedTagDataFormat, arguments), {}});
    return outcome;
}

ifdsweep::Outcome failedOutcome() {
    ifdsweep::Outcome outcome;
    outcome.file = "b.jpg";
    outcome.error.emplace(ifdsweep::kNoExifSegmentId,
                          std::vector<qxMessageArgument>{std::int64_t{20}});
    return outcome;
}

TEST_F(Writers, TypedLineOfAFile) {
    EXPECT_EQ(
        written(ifdsweep::Format::typed, goodOutcome()),
        R"({"file":"a\udcff.tif","fileBytes":"Yf8udGlm",)"
        R"("arguments":{"initialOffset":12,"firstIfdIndex":0,)"
        R"("maxIfdCount":"Infinity"},"result":{"class":"struct","size":[1,1],)"
        R"("fields":["Format","Width","UnknownTags"],"data":[[)"
        R"({"class":"char","size":[1,3],"data":"tif"},{"class":"double","size":[1,1],"data":[7]},)"
        R"({"class":"struct","size":[1,1],"fields":["ID","Offset","Value"],"data":[[)"
        R"({"class":"double","size":[1,1],"data":[50000]},)"
        R"({"class":"double","size":[1,1],"data":[99]},)"
        R"({"class":"char","size":[1,2],"data":"x\u001b"}]]}]]},)"
        R"("warnings":[{"id":"Velmora:pixlore:ifdsweep:expectedTagDataFormat",)"
        R"("arguments":["Artist","é",9223372036854775807]}],"error":null})"
        "\n");
}

TEST_F(Writers, TypedLineOfAFailure) {
    EXPECT_EQ(written(ifdsweep::Format::typed, failedOutcome()),
              R"({"file":"b.jpg","arguments":{"initialOffset":0,"firstIfdIndex":0,)"
              R"("maxIfdCount":0},"result":null,"warnings":[],)"
              R"("error":{"id":"ifdsweep:noExifSegment","arguments":[20]}})"
              "\n");
}

TEST_F(Writers, NaturalObjectOfAFile) {
    const json files = json::parse(written(ifdsweep::Format::json, goodOutcome()));
    ASSERT_EQ(files.size(), 1U);
    EXPECT_EQ(files[0]["file"], "a\uFFFD.tif");
    EXPECT_EQ(files[0]["fileBytes"], "Yf8udGlm");
    EXPECT_EQ(files[0]["initialOffset"], 12);
    EXPECT_EQ(files[0]["records"],
              json::parse(R"([{"Format":"tif","Width":7,)"
                          R"("UnknownTags":[{"ID":50000,"Offset":99,"Value":"x\u001b"}]}])"));
    EXPECT_EQ(files[0]["warnings"][0]["id"], kExpectedTagDataFormat);
    EXPECT_EQ(files[0]["warnings"][0]["arguments"],
              json::parse("[\"Artist\",\"\uFFFD\",9223372036854775807]"));
    EXPECT_FALSE(files[0]["warnings"][0]["text"].get<std::string>().empty());
    EXPECT_TRUE(files[0]["error"].is_null());
}

/// An outcome whose warnings arose in places that are known as far as each row says.
ifdsweep::Outcome placedOutcome() {
    ifdsweep::Outcome outcome;
    outcome.file = "a.tif";
    outcome.result = noRecords();
    const qxMessage message("ifdsweep:other", {});
    outcome.warnings = {{message, {"3/SubIFDs[0]/0", 273, 5000000000}},
                        {message, {"3", {}, 8}},
                        {message, {"0", {}, {}}},
                        {message, {}}};
    return outcome;
}

TEST_F(Writers, NaturalObjectsSayWhereAsFarAsItIsKnown) {
    const std::string other = R"({"id":"ifdsweep:other","arguments":[],"text":"ifdsweep:other")";
    const std::string warnings =
        R"("warnings":[)" + other + R"(,"path":"3/SubIFDs[0]/0","tag":273,"offset":5000000000},)" +
        other + R"(,"path":"3","offset":8},)" + other + R"(,"path":"0"},)" + other + "}]";
    for (const ifdsweep::Format format : {ifdsweep::Format::json, ifdsweep::Format::ndjson}) {
        const std::string text = written(format, placedOutcome());
        EXPECT_NE(text.find(warnings), std::string::npos) << text;
    }
}

TEST_F(Writers, TextSaysWhereAsFarAsItIsKnown) {
    EXPECT_EQ(written(ifdsweep::Format::text, placedOutcome(), ifdsweep::Colour::off),
              "a.tif\n  no directories\n"
              "  warning: Directory 3/SubIFDs[0]/0, tag 273: ifdsweep:other (other)\n"
              "  warning: Directory 3: ifdsweep:other (other)\n"
              "  warning: Directory 0: ifdsweep:other (other)\n"
              "  warning: ifdsweep:other (other)\n");
}

TEST_F(Writers, TypedLinesSayNothingOfPlaces) {
    ifdsweep::Outcome without = placedOutcome();
    for (ifdsweep::Warning& warning : without.warnings) {
        warning.place = {};
    }
    EXPECT_EQ(written(ifdsweep::Format::typed, placedOutcome()),
              written(ifdsweep::Format::typed, without));
}

TEST_F(Writers, NaturalObjectOfAFailure) {
    const json files = json::parse(written(ifdsweep::Format::json, failedOutcome()));
    EXPECT_EQ(files[0]["records"], json::array());
    EXPECT_EQ(files[0]["error"]["id"], "ifdsweep:noExifSegment");
    EXPECT_EQ(files[0]["error"]["arguments"], json::array({20}));
    EXPECT_EQ(files[0]["error"]["text"], ifdsweep::messageText(*failedOutcome().error));
}

TEST_F(Writers, NaturalObjectsBeginWithTheFile) {
    struct Row {
        const char* file;
        double initialOffset;
        const char* beginning;
    };
    const Row rows[] = {
        {"a.tif", 0, R"({"file":"a.tif","initialOffset":0,"records":)"},
        {"a.tif", 4294967304, R"({"file":"a.tif","initialOffset":4294967304,"records":)"},
        {"a.tif", std::nan(""), R"({"file":"a.tif","initialOffset":null,"records":)"},
        {"caf\xC3\xA9\n.tif", 0, R"({"file":"café\n.tif","initialOffset":0,"records":)"},
        {"caf\xE9.tif", 12,
         "{\"file\":\"caf\uFFFD.tif\",\"fileBytes\":\"Y2Fm6S50aWY=\",\"initialOffset\":12,"
         "\"records\":"},
        // U+FFFD itself gives its bytes back; a surrogate in three bytes is no UTF-8.
        {"\xEF\xBF\xBD", 0, "{\"file\":\"\uFFFD\",\"initialOffset\":0,\"records\":"},
        {"\xED\xA0\x80", 0,
         "{\"file\":\"\uFFFD\uFFFD\uFFFD\",\"fileBytes\":\"7aCA\",\"initialOffset\":0,"
         "\"records\":"},
    };
    for (const Row& row : rows) {
        for (const bool isFailed : {false, true}) {
            ifdsweep::Outcome outcome = isFailed ? failedOutcome() : goodOutcome();
            outcome.file = row.file;
            outcome.initialOffset = row.initialOffset;
            const std::string beginning = row.beginning;
            EXPECT_EQ(written(ifdsweep::Format::ndjson, outcome).substr(0, beginning.size()),
                      beginning);
            EXPECT_EQ(written(ifdsweep::Format::json, outcome).substr(2, beginning.size()),
                      beginning);
        }
    }
}

TEST_F(Writers, OneArrayForAllFiles) {
    const auto array = [](std::size_t files) {
        std::vector<ifdsweep::Outcome> outcomes;
        while (outcomes.size() < files) {
            outcomes.push_back(failedOutcome());
        }
        return json::parse(rendering::written(ifdsweep::Format::json, outcomes));
    };
    EXPECT_EQ(array(0), json::array());
    EXPECT_EQ(array(2).size(), 2U);
}

TEST_F(Writers, TheFrameOfAnOutputThatIsGoneOnWith) {
    const auto framed = [](std::uint64_t keptBytes) {
        return rendered([keptBytes](ifdsweep::Output& output) {
            ifdsweep::Framer framer(output, {"HEAD", "<", "|", ">"});
            framer.begin(keptBytes);
            for (const bool isShown : {false, true, true}) {
                framer.add(isShown, [&output] { output.append("file"); });
            }
            framer.end();
        });
    };
    EXPECT_EQ(framed(0), "HEAD<file|file>");
    EXPECT_EQ(framed(4), "<file|file>") << "no file was shown after the head";
    EXPECT_EQ(framed(9), "|file|file>");
}

TEST_F(Writers, TextOfAFile) {
    const std::string expectedStart = R"(a\xff.tif
  Format  tif

  Directory 0
    Width  7
    UnknownTags
      50000 (0xc350)  offset 99  value x\x1b
  warning: )";
    const std::string text = written(ifdsweep::Format::text, goodOutcome(), ifdsweep::Colour::off);
    EXPECT_EQ(text.substr(0, expectedStart.size()), expectedStart);
    EXPECT_NE(text.find("(expectedTagDataFormat)\n"), std::string::npos);
}

TEST_F(Writers, TextNamesPublicTagsInTheirKindOfDirectory) {
    const auto withTag = [](std::vector<const char*> fields, double id) {
        fields.insert(fields.begin(), "UnknownTags");
        auto tags = rendering::records(1, {"ID", "Offset", "Value"});
        setField(tags, 0, "ID", number(id));
        setField(tags, 0, "Offset", number(9));
        setField(tags, 0, "Value", number(7));
        auto records = rendering::records(1, fields);
        setField(records, 0, "UnknownTags", std::move(tags));
        return records;
    };
    auto exif = withTag({"InteroperabilityIFD"}, 42036);
    setField(exif, 0, "InteroperabilityIFD", withTag({}, 42034));
    ifdsweep::Outcome outcome;
    outcome.file = "a.tif";
    outcome.result = withTag({"GPSInfo", "DigitalCamera", "SubIFDs"}, 31);
    setField(outcome.result, 0, "GPSInfo", rendering::cells(withTag({}, 31), withTag({}, 42032)));
    setField(outcome.result, 0, "DigitalCamera", std::move(exif));
    setField(outcome.result, 0, "SubIFDs", rendering::cells(withTag({}, 40093)));
    const auto linesOf = [&](ifdsweep::Colour colour) {
        std::istringstream text(written(ifdsweep::Format::text, outcome, colour));
        std::vector<std::string> lines;
        for (std::string line; std::getline(text, line);) {
            if (line.find("(0x") != std::string::npos) {
                lines.push_back(line.substr(line.find_first_not_of(' ')));
            }
        }
        return lines;
    };
    EXPECT_EQ(
        linesOf(ifdsweep::Colour::off),
        (std::vector<std::string>{
            "31 (0x1f)  offset 9  value 7", "31 (0x1f)  GPSHPositioningError  offset 9  value 7 m",
            "42032 (0xa430)  offset 9  value 7", "42036 (0xa434)  LensModel  offset 9  value 7",
            "42034 (0xa432)  offset 9  value 7", "40093 (0x9c9d)  XPAuthor  offset 9  value 7"}));
    EXPECT_EQ(linesOf(ifdsweep::Colour::on)[1],
              "31 (0x1f)  \x1b[36mGPSHPositioningError\x1b[0m  offset 9  value 7 m");
}

TEST_F(Writers, TextPresentsPublicTagsAsItDoesFields) {
    auto tags = rendering::records(3, {"ID", "Offset", "Value"});
    setField(tags, 0, "ID", number(42034));
    setField(tags, 0, "Value", rendering::numbers(1, 4, {24, 70, 2.8, 2.8}));
    setField(tags, 1, "ID", number(40091));
    setField(tags, 1, "Value", rendering::numbers(1, 4, {'H', 0, 'i', 0}));
    setField(tags, 2, "ID", number(40092));
    setField(tags, 2, "Value", rendering::numbers(1, 3, {'H', 0, 'i'}));
    ifdsweep::Outcome outcome;
    outcome.file = "a.tif";
    outcome.result = rendering::records(1, {"UnknownTags"});
    setField(outcome.result, 0, "UnknownTags", std::move(tags));
    EXPECT_EQ(written(ifdsweep::Format::text, outcome), R"(a.tif

  Directory 0
    UnknownTags
      42034 (0xa432)  LensSpecification  offset (empty)  value 24-70 mm f/2.8
      40091 (0x9c9b)  XPTitle  offset (empty)  value Hi
      40092 (0x9c9c)  XPComment  offset (empty)  value 72 0 105
)");
}

TEST_F(Writers, TextIsColouredOnlyOnDemand) {
    EXPECT_EQ(written(ifdsweep::Format::text, goodOutcome(), ifdsweep::Colour::off).find('\x1b'),
              std::string::npos);
    EXPECT_EQ(written(ifdsweep::Format::text, goodOutcome(), ifdsweep::Colour::on)
                  .find("\x1b[1ma\\xff.tif\x1b[0m\n"),
              0U);
}

TEST_F(Writers, TextOfAFileWithoutDirectories) {
    ifdsweep::Outcome outcome;
    outcome.file = "empty.tif";
    outcome.result = noRecords();
    EXPECT_EQ(written(ifdsweep::Format::text, outcome, ifdsweep::Colour::off),
              "empty.tif\n  no directories\n");
    EXPECT_EQ(json::parse(written(ifdsweep::Format::json, outcome))[0]["records"], json::array());
}

TEST_F(Writers, TextOfAFailureIsItsWarnings) {
    EXPECT_EQ(written(ifdsweep::Format::text, failedOutcome(), ifdsweep::Colour::off), "");
    ifdsweep::Outcome outcome = failedOutcome();
    outcome.warnings = goodOutcome().warnings;
    EXPECT_EQ(
        written(ifdsweep::Format::text, outcome, ifdsweep::Colour::off).find("b.jpg\n  warning: "),
        0U);
}

TEST_F(Writers, TextIndentsNestedDirectories) {
    auto leaf = rendering::records(1, {"ExposureTime"});
    setField(leaf, 0, "ExposureTime", number(0.5));
    auto first = rendering::records(2, {"Width"});
    setField(first, 0, "Width", number(1));
    setField(first, 1, "Width", number(2));
    ifdsweep::Outcome outcome;
    outcome.file = "n.tif";
    outcome.result = rendering::records(1, {"SubIFDs", "DigitalCamera", "Artist"});
    setField(outcome.result, 0, "SubIFDs", rendering::cells(std::move(first)));
    setField(outcome.result, 0, "DigitalCamera", std::move(leaf));
    setField(outcome.result, 0, "Artist", rendering::text(u"me"));
    EXPECT_EQ(written(ifdsweep::Format::text, outcome, ifdsweep::Colour::off), R"(n.tif

  Directory 0
    Artist  me
    SubIFDs
      Directory 0/SubIFDs[0]/0
        Width  1
      Directory 0/SubIFDs[0]/1
        Width  2
    DigitalCamera
      Directory 0/DigitalCamera/0
        ExposureTime  0.5 s
)");
}

TEST_F(Writers, TextIsBrokenForATerminal) {
    ifdsweep::Outcome outcome = goodOutcome();
    setField(outcome.result, 0, "Width", rendering::numbers(1, 12, std::vector<double>(12, 12345)));
    outcome.warnings[0].place = {"0", 315, {}};
    ifdsweep::WriteOptions options;
    options.lineWidth = 40;
    EXPECT_EQ(rendering::written(ifdsweep::Format::text, std::span(&outcome, 1), options),
              R"(a\xff.tif
  Format  tif

  Directory 0
    Width  12345 12345 12345 12345 12345
           12345 12345 12345 12345 12345
           12345 12345
    UnknownTags
      50000 (0xc350)  offset 99
        value x\x1b
  warning: Directory 0, tag 315: tag
    "Artist" has field type \xe9,
    expected 9223372036854775807
    (expectedTagDataFormat)
)");
}

}  // namespace

// The layouts of JSON: indented, without line ends, an object per line.

#include <string>
#include <vector>

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include "write/indenting_sink.h"
#include "write/rendering.h"

namespace {

using nlohmann::json;
using rendering::rendered;

/// Dense JSON indented, handed over in pieces of a size.
std::string indented(const std::string& dense, std::size_t depth, std::size_t pieceSize) {
    return rendered([&](ifdsweep::Output& output) {
        ifdsweep::IndentingSink sink(output, depth);
        for (std::size_t begin = 0; begin < dense.size(); begin += pieceSize) {
            sink.write(std::string_view(dense).substr(begin, pieceSize));
        }
    });
}

TEST(IndentingSinks, LaysOutAsEveryoneDoes) {
    // The independent layout keeps the order of members too.
    for (const char* const dense :
         {R"({"a":1})", R"([])", R"({})", R"([[]])", R"([{}])", R"([[],[]])", R"({"a":{}})",
          R"([1,2,3])", R"({"a":[1,[2,{"b":null}]],"c":"d"})", R"("text")", R"(-1.5)",
          R"({"":[""],"[{,:}]":"[{,:}]"})", R"(["\"","\\","\\\"",":","a\\\\","\u0041"])",
          R"([true,false,null,[{"x":[]},{}],"\\"])"}) {
        const std::string expected = nlohmann::ordered_json::parse(dense).dump(2);
        for (const std::size_t pieceSize : {1UL, 2UL, 3UL, 1000UL}) {
            const std::string given = indented(dense, 0, pieceSize);
            // The library writes \u0041 as A.
            if (std::string(dense).find("\\u") == std::string::npos) {
                EXPECT_EQ(given, expected) << pieceSize;
            }
            EXPECT_EQ(json::parse(given), json::parse(dense)) << given;
        }
    }
}

TEST(IndentingSinks, StartsAtADepth) {
    EXPECT_EQ(indented(R"({"a":[1]})", 1, 1000), "  {\n    \"a\": [\n      1\n    ]\n  }");
}

ifdsweep::Outcome outcomeOf(const char* file) {
    ifdsweep::Outcome outcome;
    outcome.file = file;
    outcome.result = rendering::records(1, {"Width", "Artist"});
    rendering::setField(outcome.result, 0, "Width", rendering::numbers(1, 2, {1, 2}));
    rendering::setField(outcome.result, 0, "Artist", rendering::text(u"a, {\"b\"}: \\"));
    return outcome;
}

std::string written(ifdsweep::Format format, int files, ifdsweep::JsonLayout layout = {}) {
    std::vector<ifdsweep::Outcome> outcomes;
    for (int file = 0; file < files; ++file) {
        outcomes.push_back(outcomeOf("f.tif"));
    }
    ifdsweep::WriteOptions settings;
    settings.layout = layout;
    return rendering::written(format, outcomes, settings);
}

TEST(JsonLayout, AllLayoutsSayTheSame) {
    ifdsweep::Host host;
    const ifdsweep::Host::Scope scope(host);
    for (const int files : {0, 1, 2, 3}) {
        const auto pretty = written(ifdsweep::Format::json, files, ifdsweep::JsonLayout::pretty);
        const auto compact = written(ifdsweep::Format::json, files, ifdsweep::JsonLayout::compact);
        const auto perLine =
            written(ifdsweep::Format::json, files, ifdsweep::JsonLayout::filePerLine);
        const auto lines = written(ifdsweep::Format::ndjson, files);
        const json value = json::parse(perLine);
        ASSERT_EQ(value.size(), static_cast<std::size_t>(files));
        EXPECT_EQ(json::parse(pretty), value);
        EXPECT_EQ(json::parse(compact), value);
        EXPECT_EQ(compact.find('\n'), compact.size() - 1);
        EXPECT_EQ(std::count(lines.begin(), lines.end(), '\n'), files);
        EXPECT_EQ(std::count(perLine.begin(), perLine.end(), '\n'), files + 2);
        json parsedLines = json::array();
        std::size_t begin = 0;
        for (std::size_t end; (end = lines.find('\n', begin)) != std::string::npos;) {
            parsedLines.push_back(json::parse(lines.substr(begin, end - begin)));
            begin = end + 1;
        }
        EXPECT_EQ(parsedLines, value);
        if (files > 0) {
            EXPECT_EQ(pretty, nlohmann::ordered_json::parse(perLine).dump(2) + '\n');
        }
    }
}

}  // namespace

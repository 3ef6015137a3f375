#include "app/arguments.h"

#include <cmath>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "host/file_service.h"

namespace {

using Action = app::CommandLine::Action;

app::CommandLine parse(std::vector<const char*> words) {
    words.insert(words.begin(), "ifdsweep");
    return app::parseCommandLine(static_cast<int>(words.size()), words.data());
}

TEST(ArgumentsTest, defaults) {
    const auto line = parse({"a.tif"});
    ASSERT_EQ(line.action, Action::sweep) << line.text;
    EXPECT_FALSE(line.arguments.read.offset.has_value());
    EXPECT_EQ(line.arguments.read.first, 0);
    EXPECT_EQ(line.arguments.read.max, 0);
    EXPECT_EQ(line.arguments.output.format, app::Format::text);
    EXPECT_FALSE(line.arguments.read.readBudget.has_value());
    EXPECT_EQ(line.arguments.input.paths, std::vector<std::string>{"a.tif"});
}

TEST(ArgumentsTest, numbersAreTakenAsDoubles) {
    const std::pair<const char*, double> rows[] = {
        {"0", 0},
        {"2.9", 2.9},
        {"-1", -1},
        {"-1.9", -1.9},
        {"1e19", 1e19},
        {"+5", 5},
        {"1e400", INFINITY},
        {"inf", INFINITY},
        {"0x1F", 31},
        {"-inf", -INFINITY},
        {"18446744073709551616", 18446744073709551616.0}};
    for (const auto& [text, expected] : rows) {
        for (const std::string option : {"--offset", "--first", "--max"}) {
            const std::string joined = option + '=' + text;
            for (const auto& line :
                 {parse({option.c_str(), text, "f"}), parse({joined.c_str(), "f"}),
                  parse({"f", option.c_str(), text})}) {
                ASSERT_EQ(line.action, Action::sweep) << option << ' ' << text << ": " << line.text;
                const double given = option == "--offset"  ? *line.arguments.read.offset
                                     : option == "--first" ? line.arguments.read.first
                                                           : line.arguments.read.max;
                EXPECT_EQ(given, expected) << option << ' ' << text;
                EXPECT_EQ(line.arguments.input.paths, std::vector<std::string>{"f"});
            }
        }
    }
    EXPECT_TRUE(std::isnan(parse({"--max", "nan", "f"}).arguments.read.max));
}

TEST(ArgumentsTest, formats) {
    EXPECT_EQ(parse({"--format", "json", "f"}).arguments.output.format, app::Format::json);
    EXPECT_EQ(parse({"--format=typed", "f"}).arguments.output.format, app::Format::typed);
    EXPECT_EQ(parse({"--format", "text", "f"}).arguments.output.format, app::Format::text);
}

TEST(ArgumentsTest, readBudget) {
    EXPECT_EQ(parse({"--read-budget", "0", "f"}).arguments.read.readBudget, 0U);
    EXPECT_EQ(parse({"--read-budget", "1048576", "f"}).arguments.read.readBudget, 1048576U);
    EXPECT_EQ(parse({"--read-budget", "unlimited", "f"}).arguments.read.readBudget,
              host::kUnlimitedReads);
}

TEST(ArgumentsTest, everyFileNameComesThrough) {
    const std::vector<std::vector<const char*>> rows = {
        {"a", "b", "c"}, {"[a,b]"},      {"[]"}, {"\n[a]", "[a]", "\n\n[b,c]"},
        {"++", "%%"},    {"a,b", "a b"}, {""},   {"a\xFF\n"},
        {"[a", "b]"},    {"\n", "x]"},   {"-"},  {"."},
    };
    for (const auto& files : rows) {
        const auto line = parse(files);
        ASSERT_EQ(line.action, Action::sweep) << testing::PrintToString(files) << line.text;
        EXPECT_EQ(line.arguments.input.paths, std::vector<std::string>(files.begin(), files.end()));
    }
    EXPECT_EQ(parse({"--", "-1", "--max", "[x]"}).arguments.input.paths,
              (std::vector<std::string>{"-1", "--max", "[x]"}));
}

TEST(ArgumentsTest, wrongUsageIsToldWithTheOption) {
    const std::pair<std::vector<const char*>, const char*> rows[] = {
        {{}, "PATH"},
        {{"--max", "1"}, "PATH"},
        {{"--max"}, "--max"},
        {{"--max", "x", "f"}, "--max"},
        {{"--max", "1x", "f"}, "1x"},
        {{"--max", "", "f"}, "--max"},
        {{"--offset", " 1", "f"}, "--offset"},
        {{"--format", "xml", "f"}, "xml"},
        {{"--read-budget", "-1", "f"}, "--read-budget"},
        {{"--read-budget", "1.5", "f"}, "--read-budget"},
        {{"--bogus", "f"}, "--bogus"},
        {{"-x", "f"}, "-x"},
    };
    for (const auto& [words, mentioned] : rows) {
        const auto line = parse(words);
        EXPECT_EQ(line.action, Action::usage) << testing::PrintToString(words);
        EXPECT_NE(line.text.find(mentioned), std::string::npos) << line.text;
    }
}

TEST(ArgumentsTest, helpNamesEveryOption) {
    for (const char* const option : {"-h", "--help"}) {
        const auto line = parse({option});
        ASSERT_EQ(line.action, Action::print);
        for (const char* const mentioned :
             {"--help", "--version", "--offset", "--first", "--max", "--format", "--read-budget",
              "PATH", "Exit status", "ifdsweep:noExifSegment", "ifdsweep:badJpegSegment"}) {
            EXPECT_NE(line.text.find(mentioned), std::string::npos) << mentioned;
        }
    }
}

TEST(ArgumentsTest, version) {
    const auto line = parse({"--version"});
    EXPECT_EQ(line.action, Action::print);
    EXPECT_EQ(line.text, "ifdsweep 1.0.0\n");
}

}  // namespace

#include "cli/command_line.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <optional>
#include <sstream>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "cli/option_table.h"
#include "cli/reading_table.h"
#include "cli/run_description.h"
#include "ifdsweep/unlimited.h"

namespace {

using Action = ifdsweep::CommandLine::Action;

ifdsweep::CommandLine parse(std::vector<const char*> words) {
    words.insert(words.begin(), "ifdsweep");
    return ifdsweep::parseCommandLine(static_cast<int>(words.size()), words.data());
}

TEST(CommandLines, Defaults) {
    const auto line = parse({"a.tif"});
    ASSERT_EQ(line.action, Action::read) << line.text;
    EXPECT_FALSE(line.options.read.offset.has_value());
    EXPECT_EQ(line.options.read.first, 0);
    EXPECT_EQ(line.options.read.max, 0);
    EXPECT_EQ(line.options.output.format, ifdsweep::Format::text);
    EXPECT_FALSE(line.options.read.readBudget.has_value());
    EXPECT_EQ(line.options.input.paths, std::vector<std::string>{"a.tif"});
}

TEST(CommandLines, NumbersAreTakenAsDoubles) {
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
                ASSERT_EQ(line.action, Action::read) << option << ' ' << text << ": " << line.text;
                const double given = option == "--offset"  ? *line.options.read.offset
                                     : option == "--first" ? line.options.read.first
                                                           : line.options.read.max;
                EXPECT_EQ(given, expected) << option << ' ' << text;
                EXPECT_EQ(line.options.input.paths, std::vector<std::string>{"f"});
            }
        }
    }
    EXPECT_TRUE(std::isnan(parse({"--max", "nan", "f"}).options.read.max));
}

TEST(CommandLines, Formats) {
    EXPECT_EQ(parse({"--format", "json", "f"}).options.output.format, ifdsweep::Format::json);
    EXPECT_EQ(parse({"--format=typed", "f"}).options.output.format, ifdsweep::Format::typed);
    EXPECT_EQ(parse({"--format", "text", "f"}).options.output.format, ifdsweep::Format::text);
}

TEST(CommandLines, ValueBudget) {
    EXPECT_FALSE(parse({"f"}).options.read.valueBudget.has_value());
    EXPECT_EQ(parse({"--value-budget", "1048576", "f"}).options.read.valueBudget, 1048576U);
    EXPECT_EQ(parse({"--value-budget", "unlimited", "f"}).options.read.valueBudget,
              ifdsweep::kUnlimited);
    EXPECT_EQ(parse({"--value-budget", "unlimited", "f"}).options.read.readBudget, std::nullopt);
}

TEST(CommandLines, ReadBudget) {
    EXPECT_EQ(parse({"--read-budget", "0", "f"}).options.read.readBudget, 0U);
    EXPECT_EQ(parse({"--read-budget", "1048576", "f"}).options.read.readBudget, 1048576U);
    EXPECT_EQ(parse({"--read-budget", "unlimited", "f"}).options.read.readBudget,
              ifdsweep::kUnlimited);
}

TEST(CommandLines, Readings) {
    EXPECT_EQ(parse({"f"}).options.read.reading, ifdsweep::ReadingMode::full);
    EXPECT_EQ(parse({"--reading", "full", "f"}).options.read.reading, ifdsweep::ReadingMode::full);
    EXPECT_EQ(parse({"--reading=contract", "f"}).options.read.reading,
              ifdsweep::ReadingMode::contract);
}

TEST(CommandLines, TheLongestValueFollowsTheFormatUnlessItIsGiven) {
    constexpr std::uint64_t kAll = ifdsweep::kUnlimited;
    constexpr std::uint64_t kOfText = 65536;
    const std::pair<std::vector<const char*>, std::optional<std::uint64_t>> rows[] = {
        {{"f"}, kOfText},
        {{"--shorten", "1", "f"}, kOfText},
        {{"--shorten", "4096", "f"}, kOfText},
        {{"--shorten", "4097", "f"}, kOfText + 16},
        {{"--shorten", "18446744073709551615", "f"}, kAll / 16 * 16},
        {{"--shorten", "all", "f"}, std::nullopt},
        {{"--format", "json", "f"}, std::nullopt},
        {{"--format", "ndjson", "f"}, std::nullopt},
        {{"--format", "typed", "f"}, std::nullopt},
        {{"--format", "csv", "f"}, std::nullopt},
        {{"--reading", "contract", "f"}, std::nullopt},
        {{"--max-value", "0", "f"}, 0},
        {{"--max-value", "all", "f"}, kAll},
        {{"--max-value", "1000000", "--format", "json", "f"}, 1000000},
        {{"--max-value", "100", "--shorten", "4097", "f"}, 100},
        {{"--check", "f"}, {}},
        {{"--check", "--max-value", "100", "f"}, 100},
    };
    for (const auto& [words, expected] : rows) {
        const auto line = parse(words);
        ASSERT_EQ(line.action, Action::read) << line.text;
        EXPECT_EQ(line.options.read.longestValue, expected) << testing::PrintToString(words);
    }
}

TEST(CommandLines, EveryFileNameComesThrough) {
    const std::vector<std::vector<const char*>> rows = {
        {"a", "b", "c"}, {"[a,b]"},      {"[]"}, {"\n[a]", "[a]", "\n\n[b,c]"},
        {"++", "%%"},    {"a,b", "a b"}, {""},   {"a\xFF\n"},
        {"[a", "b]"},    {"\n", "x]"},   {"-"},  {"."},
    };
    for (const auto& files : rows) {
        const auto line = parse(files);
        ASSERT_EQ(line.action, Action::read) << testing::PrintToString(files) << line.text;
        EXPECT_EQ(line.options.input.paths, std::vector<std::string>(files.begin(), files.end()));
    }
    EXPECT_EQ(parse({"--", "-1", "--max", "[x]"}).options.input.paths,
              (std::vector<std::string>{"-1", "--max", "[x]"}));
}

TEST(CommandLines, WrongUsageIsToldWithTheOption) {
    const std::pair<std::vector<const char*>, const char*> rows[] = {
        {{}, "PATH"},
        {{"--max", "1"}, "PATH"},
        {{"--max"}, "--max"},
        {{"--max", "x", "f"}, "--max"},
        {{"--max", "1x", "f"}, "1x"},
        {{"--max", "", "f"}, "--max"},
        {{"--offset", " 1", "f"}, "--offset"},
        {{"--format", "xml", "f"},
         "expected text, json, ndjson, typed, csv, facts or packed, got xml"},
        {{"--read-budget", "-1", "f"}, "--read-budget"},
        {{"--value-budget", "-1", "f"}, "--value-budget"},
        {{"--read-budget", "1.5", "f"}, "--read-budget"},
        {{"--format", "JSON", "f"}, "JSON"},
        {{"--format", "", "f"}, "--format"},
        {{"--read-budget", "", "f"}, "--read-budget"},
        {{"--read-budget", "18446744073709551616", "f"}, "--read-budget"},
        {{"--files-from", "", "f"}, "--files-from"},
        {{"--files-from"}, "--files-from"},
        {{"--include", "", "f"}, "--include"},
        {{"--exclude", "", "f"}, "--exclude"},
        {{"--include", "[a", "f"}, "--include [a: [ without ] in the same part"},
        {{"--exclude", "{a,b", "f"}, "--exclude {a,b: { without }"},
        {{"--iglob", "thumbs/", "f"}, "--iglob thumbs/: a slash at the end is for folders"},
        {{"--output", "", "f"}, "--output"},
        {{"--failures", "", "f"}, "--failures"},
        {{"--resume", "", "f"}, "--resume"},
        {{"--tags", "Mkae", "f"}, "nearest: Make"},
        {{"--tags", "Make,65536", "f"}, "65536"},
        {{"--tags", "", "f"}, "--tags"},
        {{"--shorten", "0", "f"}, "--shorten"},
        {{"--digits", "0", "f"}, "1 to 17 or all, got 0"},
        {{"--digits", "18", "f"}, "1 to 17 or all, got 18"},
        {{"--digits", "-1", "f"}, "--digits"},
        {{"--digits", "", "f"}, "--digits"},
        {{"--shorten", "-1", "f"}, "--shorten"},
        {{"--shorten", "ALL", "f"}, "ALL"},
        {{"--warnings", "some", "f"}, "each, count or none, got some"},
        {{"--ignore", "outOfMemry", "f"}, "--ignore: no message has the id outOfMemry"},
        {{"--explain", "outOfMemry"}, "--explain: no message has the id outOfMemry"},
        {{"--explain"}, "--explain"},
        {{"--jobs", "0", "f"}, "1 to 1024, got 0"},
        {{"--jobs", "1025", "f"}, "1 to 1024, got 1025"},
        {{"--jobs", "2.5", "f"}, "2.5"},
        {{"--timeout", "0", "f"}, "above 0, got 0"},
        {{"--timeout", "-1", "f"}, "--timeout"},
        {{"--timeout", "nan", "f"}, "--timeout"},
        {{"--timeout", "soon", "f"}, "soon"},
        {{"--memory", "0", "f"}, "--memory"},
        {{"--memory", "8Q", "f"}, "a number of bytes (65536, 64K, 1.5GiB) above 0, got 8Q"},
        {{"--memory", "0.0001K", "f"}, "above 0, got 0.0001K"},
        {{"--timeout", "10M", "f"}, "a time (90, 90s, 10m, 1.5h, 500ms) above 0, got 10M"},
        {{"--color", "alway", "f"}, "auto, always or never, got alway; nearest: always"},
        {{"--colour=on", "f"}, "--color: expected auto, always or never, got on"},
        {{"--read-budget", "unlimted", "f"}, "or unlimited, got unlimted; nearest: unlimited"},
        {{"--format", "jsno", "f"}, "got jsno; nearest: json"},
        {{"--strict=maybe", "f"}, "--strict"},
        {{"--compact", "--pretty", "--format", "json", "f"}, "--compact and --pretty exclude"},
        {{"--pretty", "--compact", "--format", "json", "f"}, "--compact and --pretty exclude"},
        // Options that are each right and do not go together.
        {{"--files-from", "-", "-"}, "the standard input is either the image"},
        {{"--resume", "j", "-"}, "--resume goes without the image -"},
        {{"--compact", "f"}, "--compact and --pretty go with --format json"},
        {{"--pretty", "--format", "ndjson", "f"}, "--compact and --pretty go with --format json"},
        {{"--nested", "f"}, "--rows and --nested go with --format csv"},
        {{"--rows", "file", "--format", "json", "f"}, "--rows and --nested go with --format csv"},
        {{"--layout", "tags", "f"}, "--layout goes with --format csv"},
        {{"--layout", "pages", "--csv", "f"}, "files, images, tags or warnings, got pages"},
        {{"--layout", "tags", "--csv", "--rows", "file", "f"},
         "--layout and --rows exclude each other"},
        {{"--rows", "page", "--format", "csv", "f"}, "directory, file or nested, got page"},
        {{"--rows", "", "--format", "csv", "f"}, "directory, file or nested"},
        {{"--rows", "file", "--nested", "--format", "csv", "f"},
         "--rows file and nested exclude each other"},
        {{"--nested", "--rows", "directory", "--format", "csv", "f"},
         "--rows nested and directory exclude each other"},
        // Columns that nothing could fill.
        {{"--format", "csv", "--tags", "Make,SubIFDs", "f"},
         "--tags: SubIFDs holds directories, which have no cell: name their fields, or use "
         "--format json"},
        {{"--tags", "DigitalCamera", "--format", "csv", "f"}, "DigitalCamera holds directories"},
        {{"--tags", "34853", "--format", "csv", "f"}, "GPSInfo holds directories"},
        {{"--tags", "Make", "--format", "csv", "--tags", "0xA005", "f"},
         "InteroperabilityIFD holds directories"},
        {{"--nested", "--format", "csv", "--tags", "UnknownTags", "f"},
         "UnknownTags holds the tags that have no name, which have no cell: ask for their numbers, "
         "or use --format json"},
        {{"--format", "csv", "--tags", "GPS*", "--tags", "GPSInfo", "f"},
         "GPSInfo holds directories"},
        {{"--format", "csv", "--tags", "GPSInfo,GPS*", "--rows", "directory", "f"},
         "GPSInfo holds directories"},
        {{"--format", "csv", "--tags", "SubI*", "f"}, "SubIFDs holds directories"},
        {{"--format", "csv", "--tags", "Make,GPSLatitude", "--rows", "directory", "f"},
         "--tags: GPSLatitude stands in a nested directory: --rows file or nested"},
        {{"--rows", "directory", "--tags", "4096", "--format", "csv", "f"},
         "RelatedImageFileFormat stands in a nested directory"},
        {{"--rows", "directory", "--tags", "GPSL*", "--format", "csv", "f"},
         "stands in a nested directory: --rows file or nested"},
        {{"--raw-cells", "f"}, "--raw-cells goes with --format csv"},
        {{"--shorten", "3", "--format", "json", "f"}, "--shorten goes with --format text"},
        {{"--all-directories", "--format", "csv", "f"},
         "--all-directories goes with --format text"},
        {{"--digits", "3", "--format", "csv", "f"}, "--digits goes with --format text"},
        {{"--split-text", "f"}, "--split-text goes with --format json and ndjson"},
        {{"--split-text", "--format", "typed", "f"}, "--split-text goes with --format json"},
        {{"--resume", "j", "--format", "csv", "f"}, "needs --tags"},
        {{"--reading", "whole", "f"}, "full or contract, got whole"},
        {{"--reading", "", "f"}, "--reading"},
        {{"--max-value", "64Q", "f"}, "a number of bytes (65536, 64K, 1.5GiB) or all, got 64Q"},
        {{"--max-value", "-1", "f"}, "--max-value"},
        {{"--max-value", "1", "--reading", "contract", "f"},
         "--max-value goes with --reading full: the contract's reading loads every value"},
        {{"--reading", "contract", "--max-value", "all", "f"}, "--max-value goes with"},
        {{"--check", "--reading", "contract", "f"},
         "--check goes with --reading full: the contract's reading checks no image data"},
        {{"--streams", "every", "f"}, "--streams: expected first or all, got every"},
        {{"--streams", "all", "--reading", "contract", "f"},
         "--streams all goes with --reading full: the contract's reading reads one stream"},
        {{"--offset", "12", "--streams", "all", "f"},
         "--streams all and --offset exclude each other: there is one stream at a position"},
        {{"--bogus", "f"}, "--bogus"},
        {{"-x", "f"}, "-x"},
    };
    for (const auto& [words, mentioned] : rows) {
        const auto line = parse(words);
        EXPECT_EQ(line.action, Action::usage) << testing::PrintToString(words);
        EXPECT_NE(line.text.find(mentioned), std::string::npos) << line.text;
    }
}

TEST(CommandLines, WhatIsNoOptionIsToldWithTheNearestOne) {
    const std::pair<std::vector<const char*>, const char*> rows[] = {
        {{"--strit", "f"}, "no option --strit; nearest: --strict"},
        {{"--formats=json", "f"}, "no option --formats; nearest: --format"},
        {{"--FORMAT", "json", "f"}, "no option --FORMAT; nearest: --format"},
        {{"--out", "x", "f"}, "no option --out; nearest: --output"},
        {{"--read", "f"}, "no option --read; nearest: --reading, --read-budget"},
        {{"--threads", "2", "f"}, "no option --threads; nearest: --jobs"},
        {{"--xyzzy", "f"}, "no option --xyzzy"},
        {{"---", "f"}, "no option ---"},
        {{"-format", "json", "f"}, "no option -format; nearest: --format"},
        {{"-Tags=Make", "f"}, "no option -Tags; nearest: --tags"},
        {{"-output", "x", "f"}, "no option -output; nearest: --output"},
        {{"-strct", "f"}, "no option -s in -strct; nearest: --strict"},
        {{"-V"}, "no option -V; nearest: -v (--version)"},
        {{"-x", "f"}, "no option -x"},
        {{"-qx", "f"}, "no option -x in -qx"},
        {{"-qo=x", "f"}, "-o takes its value without an equals sign, got -qo=x"},
        {{"--no-color", "f"}, "no option --no-color; nearest: --color"},
        {{"-q=1", "f"}, "no option -= in -q=1"},
        {{"f", "--bogus", "--color"}, "no option --bogus"},
        {{"--strict=maybe", "f"}, "--strict takes no value, got maybe"},
        {{"--strict=false", "f"}, "--strict takes no value, got false"},
        {{"--strict=", "f"}, "--strict takes no value, got "},
        {{"f", "--max"}, "--max needs a value: N"},
        {{"f", "-o"}, "-o needs a value: FILE"},
        {{"f", "-qo"}, "-o needs a value: FILE"},
        {{"--format=", "f"}, "--format needs a value: FORMAT"},
        {{"--output", "--tags", "Make", "f"},
         "--output needs a value: FILE, got the option --tags"},
        {{"-o", "--max=1", "f"}, "-o needs a value: FILE, got the option --max=1"},
    };
    for (const auto& [words, complaint] : rows) {
        const auto line = parse(words);
        EXPECT_EQ(line.action, Action::usage) << testing::PrintToString(words);
        EXPECT_EQ(line.text, complaint) << testing::PrintToString(words);
    }
}

TEST(CommandLines, ShortOptions) {
    const auto line = parse({"-0qr", "-fjson", "-o", "o", "-tMake", "-t", "Model", "-j4", "f"});
    ASSERT_EQ(line.action, Action::read) << line.text;
    EXPECT_TRUE(line.options.input.nulSeparated);
    EXPECT_TRUE(line.options.input.recursive);
    EXPECT_FALSE(line.options.run.progress || line.options.run.summary);
    EXPECT_EQ(line.options.output.format, ifdsweep::Format::json);
    EXPECT_EQ(line.options.run.outputFile, "o");
    EXPECT_EQ(line.options.output.fields.size(), 2U);
    EXPECT_EQ(line.options.workers.jobs, 4U);
    EXPECT_EQ(line.options.input.paths, std::vector<std::string>{"f"});
    EXPECT_EQ(parse({"-v"}).text, parse({"--version"}).text);
    EXPECT_EQ(parse({"-qjq", "f"}).action, Action::usage);
    // What was a value or a path before there was -0 is one still.
    EXPECT_EQ(parse({"--max", "-0", "f"}).options.read.max, 0);
    EXPECT_EQ(parse({"--offset", "-0.5", "-0", "f"}).options.read.offset, -0.5);
    EXPECT_EQ(parse({"-10.tif"}).options.input.paths, std::vector<std::string>{"-10.tif"});
}

TEST(CommandLines, OfOptionsThatSayTheSameTheLastOneCounts) {
    using ifdsweep::Format;
    const auto format = [](const std::vector<const char*>& words) {
        return parse(words).options.output.format;
    };
    EXPECT_EQ(format({"--json", "f"}), Format::json);
    EXPECT_EQ(format({"--csv", "f"}), Format::csv);
    EXPECT_EQ(format({"--csv", "--json", "f"}), Format::json);
    EXPECT_EQ(format({"--json", "f", "--csv"}), Format::csv);
    EXPECT_EQ(format({"--json", "-ftext", "f"}), Format::text);
    EXPECT_EQ(format({"-fcsv", "--json", "f"}), Format::json);
    EXPECT_EQ(format({"--json", "-ftext", "--json", "f"}), Format::json);
    EXPECT_EQ(parse({"--json", "--pretty", "f"}).action, Action::read);
    EXPECT_TRUE(parse({"--no-recursive", "-r", "f"}).options.input.recursive);
    EXPECT_FALSE(parse({"-r", "--no-recursive", "f"}).options.input.recursive);
}

TEST(CommandLines, Colours) {
    using ifdsweep::ColourChoice;
    const auto colour = [](const std::vector<const char*>& words) {
        return parse(words).options.run.colour;
    };
    EXPECT_EQ(colour({"f"}), ColourChoice::automatic);
    EXPECT_EQ(colour({"--color", "always", "f"}), ColourChoice::always);
    EXPECT_EQ(colour({"--color=never", "f"}), ColourChoice::never);
    EXPECT_EQ(colour({"--colour", "always", "--color=auto", "f"}), ColourChoice::automatic);
    EXPECT_EQ(colour({"--colour=always", "f"}), ColourChoice::always);
    EXPECT_EQ(parse({"--", "--colour"}).options.input.paths, std::vector<std::string>{"--colour"});
}

TEST(RunDescriptions, TellOfColoursThatAreInTheOutput) {
    const std::pair<std::vector<const char*>, const char*> rows[] = {
        {{"f"}, "no --color always"},
        {{"--color", "never", "f"}, "no --color always"},
        {{"--color", "always", "f"}, "--color always"},
        {{"--color", "always", "--json", "f"}, "no --color always"},
    };
    for (const auto& [words, phrase] : rows) {
        const std::vector<std::string> phrases = ifdsweep::describeRun(parse(words).options);
        EXPECT_EQ(std::count(phrases.begin(), phrases.end(), phrase), 1)
            << testing::PrintToString(words);
    }
}

TEST(RunDescriptions, TellWhichStreamsAreRead) {
    const std::pair<std::vector<const char*>, const char*> rows[] = {
        {{"f"}, "--streams first"},
        {{"--streams", "first", "f"}, "--streams first"},
        {{"--streams", "first", "--offset", "12", "f"}, "--streams first"},
        {{"--streams", "first", "--reading", "contract", "f"}, "--streams first"},
        {{"--streams", "all", "f"}, "--streams all"},
    };
    for (const auto& [words, phrase] : rows) {
        const std::vector<std::string> phrases = ifdsweep::describeRun(parse(words).options);
        EXPECT_EQ(std::count(phrases.begin(), phrases.end(), phrase), 1)
            << testing::PrintToString(words);
    }
}

TEST(CommandLines, AComplaintIsOneLine) {
    for (const auto& words : std::vector<std::vector<const char*>>{
             {}, {"--max"}, {"--bogus"}, {"--format", "xml"}, {"--compact", "--pretty", "f"}}) {
        EXPECT_EQ(parse(words).text.find('\n'), std::string::npos) << parse(words).text;
    }
}

TEST(CommandLines, Input) {
    const ifdsweep::InputChoice none = parse({"f"}).options.input;
    EXPECT_TRUE(none.recursive);
    EXPECT_FALSE(none.nulSeparated || none.followLinks || none.everyFile);
    EXPECT_TRUE(none.listFile.empty() && none.included.empty() && none.excluded.empty());
    const auto line =
        parse({"--no-recursive", "--include", "*.tif", "--include", "*.jpg", "--exclude", "old",
               "--all", "--follow", "--files-from", "-", "--null", "--exclude=tmp"});
    ASSERT_EQ(line.action, Action::read) << line.text;
    const ifdsweep::InputChoice& input = line.options.input;
    EXPECT_FALSE(input.recursive);
    EXPECT_TRUE(input.everyFile);
    EXPECT_TRUE(input.followLinks);
    EXPECT_TRUE(input.nulSeparated);
    EXPECT_EQ(input.listFile, "-");
    ASSERT_EQ(input.included.size(), 2U);
    EXPECT_TRUE(input.included[0].matches("a.tif", false));
    EXPECT_FALSE(input.included[0].matches("a.TIF", false));
    EXPECT_TRUE(input.included[1].matches("a.jpg", false));
    ASSERT_EQ(input.excluded.size(), 2U);
    EXPECT_TRUE(input.excluded[0].matches("old", true));
    EXPECT_TRUE(input.excluded[1].matches("tmp", true));
    EXPECT_TRUE(input.paths.empty());
}

TEST(CommandLines, PatternsMayBeginWithABracketOrBeInAnyCase) {
    const auto line =
        parse({"--include", "[ab]", "--include=[a,b]", "--iglob", "*.JPG", "--iexclude=OLD", "f"});
    ASSERT_EQ(line.action, Action::read) << line.text;
    const ifdsweep::InputChoice& input = line.options.input;
    ASSERT_EQ(input.included.size(), 3U);
    EXPECT_TRUE(input.included[0].matches("b", false));
    EXPECT_TRUE(input.included[1].matches(",", false));
    EXPECT_TRUE(input.included[2].matches("a.jpg", false));
    ASSERT_EQ(input.excluded.size(), 1U);
    EXPECT_TRUE(input.excluded[0].matches("old", true));
}

TEST(CommandLines, Output) {
    const ifdsweep::OutputChoice none = parse({"f"}).options.output;
    EXPECT_EQ(none.layout, ifdsweep::JsonLayout::filePerLine);
    EXPECT_EQ(none.warnings, ifdsweep::WarningDetail::each);
    EXPECT_FALSE(none.shorten.has_value() || none.rawCells);
    EXPECT_EQ(none.rows, ifdsweep::TableRows::directory);
    EXPECT_FALSE(none.allDirectories || none.tellStreams);
    EXPECT_FALSE(parse({"--streams", "first", "f"}).options.output.tellStreams);
    EXPECT_TRUE(parse({"--streams", "all", "f"}).options.output.tellStreams);
    EXPECT_TRUE(parse({"--raw-cells", "--format", "csv", "f"}).options.output.rawCells);
    EXPECT_FALSE(none.digits.has_value() || none.splitTexts);
    EXPECT_TRUE(none.fields.empty() && none.ignored.empty());
    const auto line = parse({"--format", "csv", "--nested", "--output", "o", "--tags", "Make,50000",
                             "--tags", "Model,Make,50000", "--warnings", "count", "--ignore",
                             "readBudgetSpent", "--ignore", "ifdsweep:outOfMemory", "f"});
    ASSERT_EQ(line.action, Action::read) << line.text;
    const ifdsweep::OutputChoice& output = line.options.output;
    EXPECT_EQ(output.format, ifdsweep::Format::csv);
    EXPECT_EQ(output.rows, ifdsweep::TableRows::nested);
    EXPECT_EQ(line.options.run.outputFile, "o");
    ASSERT_EQ(output.fields.size(), 3U);
    EXPECT_EQ(output.fields[0].name, "Make");
    EXPECT_EQ(output.fields[1].unknownId, 50000);
    EXPECT_EQ(output.fields[2].name, "Model");
    EXPECT_EQ(output.warnings, ifdsweep::WarningDetail::count);
    EXPECT_EQ(output.ignored, (std::vector<std::string>{"Velmora:filesystem:readBudgetSpent",
                                                        "ifdsweep:outOfMemory"}));
    EXPECT_EQ(parse({"--warnings", "none", "f"}).options.output.warnings,
              ifdsweep::WarningDetail::none);
    EXPECT_EQ(parse({"--shorten", "3", "f"}).options.output.shorten, 3U);
    EXPECT_EQ(parse({"--shorten", "all", "f"}).options.output.shorten, 0U);
    EXPECT_TRUE(parse({"--all-directories", "f"}).options.output.allDirectories);
    EXPECT_EQ(parse({"--digits", "1", "f"}).options.output.digits, 1U);
    EXPECT_EQ(parse({"--digits", "17", "f"}).options.output.digits, 17U);
    EXPECT_EQ(parse({"--digits", "all", "f"}).options.output.digits, 0U);
    EXPECT_TRUE(parse({"--split-text", "--format", "json", "f"}).options.output.splitTexts);
    EXPECT_TRUE(parse({"--split-text", "--format", "ndjson", "f"}).options.output.splitTexts);
    EXPECT_EQ(parse({"--compact", "--format", "json", "f"}).options.output.layout,
              ifdsweep::JsonLayout::compact);
    EXPECT_EQ(parse({"--format", "json", "f", "--pretty"}).options.output.layout,
              ifdsweep::JsonLayout::pretty);
}

TEST(CommandLines, RowsFollowFromTheColumns) {
    using ifdsweep::TableRows;
    const std::pair<std::vector<const char*>, TableRows> rows[] = {
        {{}, TableRows::directory},
        {{"--tags", "Make,Width,50000"}, TableRows::directory},
        {{"--tags", "Make,DateTimeOriginal"}, TableRows::file},
        {{"--tags", "Make", "--tags", "33434"}, TableRows::file},
        {{"--tags", "42036"}, TableRows::file},
        {{"--tags", "GPSLatitude"}, TableRows::file},
        {{"--tags", "InteroperabilityIndex"}, TableRows::file},
        {{"--tags", "GPS*"}, TableRows::file},
        {{"--tags", "GPSLatitude", "--nested"}, TableRows::nested},
        {{"--tags", "GPSLatitude", "--rows", "nested", "--nested"}, TableRows::nested},
        {{"--tags", "FNumber", "--rows", "directory"}, TableRows::directory},
        {{"--tags", "Make", "--rows", "file"}, TableRows::file},
        {{"--rows", "file"}, TableRows::file},
    };
    for (const auto& [words, expected] : rows) {
        for (const bool isFormatFirst : {false, true}) {
            std::vector<const char*> all = words;
            all.insert(isFormatFirst ? all.begin() : all.end(), {"--format", "csv"});
            all.push_back("f");
            const auto line = parse(all);
            ASSERT_EQ(line.action, Action::read) << line.text;
            EXPECT_EQ(line.options.output.rows, expected) << testing::PrintToString(all);
        }
    }
    EXPECT_EQ(parse({"--tags", "FNumber", "--format", "json", "f"}).options.output.rows,
              TableRows::directory);
}

TEST(CommandLines, APatternLeavesOutWhatHasNoCell) {
    const auto fieldsOf = [](std::vector<const char*> words) {
        words.push_back("f");
        const auto line = parse(words);
        EXPECT_EQ(line.action, Action::read) << line.text;
        std::vector<std::string> names;
        for (const ifdsweep::ChosenField& field : line.options.output.fields) {
            names.push_back(field.name);
        }
        return names;
    };
    using Names = std::vector<std::string>;
    EXPECT_EQ(fieldsOf({"--format", "csv", "--tags", "GPSI*"}),
              (Names{"GPSImgDirectionRef", "GPSImgDirection"}));
    EXPECT_EQ(fieldsOf({"--format", "csv", "--rows", "directory", "--tags", "Make,GPS*"}),
              (Names{"Make"}));
    EXPECT_EQ(fieldsOf({"--tags", "Unk*,Sub[IF]*", "--format", "csv", "--tags", "Make"}),
              (Names{"SubFileType", "Make"}));
    EXPECT_EQ(fieldsOf({"--format", "json", "--tags", "GPSI*"}),
              (Names{"GPSInfo", "GPSImgDirectionRef", "GPSImgDirection"}));
}

TEST(CommandLines, SizesHaveUnits) {
    const auto line = parse({"--memory", "512M", "--max-value", "64K", "--read-budget", "1.5GiB",
                             "--value-budget", "100MB", "f"});
    EXPECT_EQ(line.options.workers.memory, std::uint64_t{512} << 20);
    EXPECT_EQ(line.options.read.longestValue, std::uint64_t{64} << 10);
    EXPECT_EQ(line.options.read.readBudget, std::uint64_t{3} << 29);
    EXPECT_EQ(line.options.read.valueBudget, std::uint64_t{100'000'000});
}

TEST(CommandLines, Run) {
    const ifdsweep::RunChoice none = parse({"f"}).options.run;
    const ifdsweep::WorkerChoice workers = parse({"f"}).options.workers;
    EXPECT_FALSE(workers.jobs || workers.timeout || workers.memory || none.strict);
    EXPECT_TRUE(none.progress && none.failureFile.empty() && none.journal.empty());
    const auto line = parse({"--jobs", "1024", "--timeout", "0.5", "--memory", "1", "--strict",
                             "--no-progress", "--failures", "x", "--resume", "j", "f"});
    ASSERT_EQ(line.action, Action::read) << line.text;
    const ifdsweep::RunChoice& run = line.options.run;
    EXPECT_EQ(line.options.workers.jobs, 1024U);
    EXPECT_EQ(line.options.workers.timeout, 0.5);
    EXPECT_EQ(line.options.workers.memory, 1U);
    EXPECT_TRUE(run.strict);
    EXPECT_FALSE(run.progress);
    EXPECT_EQ(run.failureFile, "x");
    EXPECT_EQ(run.journal, "j");
    EXPECT_EQ(parse({"--timeout", "inf", "f"}).options.workers.timeout, INFINITY);
}

TEST(CommandLines, InformationNeedsNoPath) {
    const auto tags = parse({"--list-tags"});
    EXPECT_EQ(tags.action, Action::print);
    EXPECT_NE(tags.text.find("271\tMake\tTIFF\n"), std::string::npos);
    const auto message = parse({"--explain", "outOfMemory"});
    EXPECT_EQ(message.action, Action::print);
    EXPECT_EQ(message.text.find("ifdsweep:outOfMemory\n  out of memory: {1}\n  "), 0U);
    EXPECT_EQ(parse({"--explain", "ifdsweep:outOfMemory"}).text, message.text);
}

TEST(CommandLines, HelpNamesEveryOption) {
    for (const char* const option : {"-h", "--help", "-rh"}) {
        const auto line = parse({option});
        ASSERT_EQ(line.action, Action::print);
        for (const ifdsweep::OptionRow& row : ifdsweep::optionTable()) {
            EXPECT_NE(line.text.find(std::string(row.name) + " "), std::string::npos) << row.name;
        }
        for (const char* const mentioned :
             {"PATH", "Exit status: 0 ", "1 some", "2 wrong usage", "3 a warning",
              "130 interrupted", "ifdsweep:noExifSegment", "ifdsweep:badJpegSegment"}) {
            EXPECT_NE(line.text.find(mentioned), std::string::npos) << mentioned;
        }
    }
}

TEST(CommandLines, HelpHasTheTableOfTheReadingsAndNoLineIsTooLong) {
    const std::string text = parse({"--help"}).text;
    const std::string table = ifdsweep::readingTableText();
    EXPECT_NE(text.find(table), std::string::npos);
    for (const ifdsweep::ReadingDifference& row : ifdsweep::readingDifferences()) {
        for (const std::string_view cell : {row.subject, row.full, row.contract}) {
            EXPECT_FALSE(cell.empty());
            for (std::size_t start = 0; start < cell.size();) {
                const std::size_t end = std::min(cell.find('\n', start), cell.size());
                EXPECT_NE(table.find(cell.substr(start, end - start)), std::string::npos) << cell;
                start = end + 1;
            }
        }
    }
    std::istringstream lines(text);
    for (std::string line; std::getline(lines, line);) {
        EXPECT_LE(line.size(), 100U) << line;
    }
}

TEST(CommandLines, HelpLiesWithinTheColumnsOfTheTerminal) {
    for (const std::size_t columns : {40U, 60U, 79U, 80U, 99U, 100U, 200U}) {
        const std::vector<const char*> words{"ifdsweep", "--help"};
        const std::string text = ifdsweep::parseCommandLine(2, words.data(), columns).text;
        std::istringstream lines(text);
        for (std::string line; std::getline(lines, line);) {
            EXPECT_LE(line.size(), std::min(columns, std::size_t{100})) << line;
        }
        for (const ifdsweep::OptionRow& row : ifdsweep::optionTable()) {
            EXPECT_NE(text.find(std::string(row.name) + (row.placeholder.empty() ? "" : " ") +
                                std::string(row.placeholder)),
                      std::string::npos)
                << row.name;
        }
        for (const char* const mentioned : {"pointerHoldsNoOffset", "archive/", "141 the"}) {
            EXPECT_NE(text.find(mentioned), std::string::npos) << mentioned << " at " << columns;
        }
    }
}

TEST(CommandHelp, WrapsLinesAtBlanks) {
    const auto wrapped = ifdsweep::wrappedLines;
    EXPECT_EQ(wrapped("", 10), "");
    EXPECT_EQ(wrapped("one two\n", 7), "one two\n");
    EXPECT_EQ(wrapped("one two\n", 6), "one\ntwo\n");
    EXPECT_EQ(wrapped("  one two\n\n  x\n", 6), "  one\n  two\n\n  x\n");
    EXPECT_EQ(wrapped("one      two\n", 9), "one\ntwo\n");
    EXPECT_EQ(wrapped("a longer-than-all b\n", 4), "a\nlonger-than-all\nb\n");
    EXPECT_EQ(wrapped("      deep text\n", 3), "      deep\n      text\n");
}

TEST(CommandLines, HelpAndVersionComeBeforeComplaintsAboutCombinations) {
    for (const char* const option : {"-h", "--help", "--version"}) {
        EXPECT_EQ(parse({"--compact", "--pretty", option}).action, Action::print) << option;
        EXPECT_EQ(parse({"--compact", option}).action, Action::print) << option;
    }
}

TEST(CommandLines, Version) {
    const auto line = parse({"--version"});
    EXPECT_EQ(line.action, Action::print);
    EXPECT_EQ(line.text, "ifdsweep 1.0.0\n");
}

}  // namespace

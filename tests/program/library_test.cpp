// The library from outside: what its face writes is what the program writes, byte for byte.

#include <bit>
#include <cstdint>
#include <filesystem>
#include <span>
#include <stdexcept>
#include <string>
#include <string_view>
#include <system_error>
#include <vector>

#include <fcntl.h>
#include <gtest/gtest.h>

#include "ifdsweep/read.h"
#include "ifdsweep/write.h"
#include "program/program_run.h"
#include "support/whole_file.h"

namespace {

namespace fs = std::filesystem;

using ifdsweep::Format;
using ifdsweep::JsonLayout;
using ifdsweep::Layout;
using ifdsweep::TableRows;
using ifdsweep::WriteOptions;

const fs::path kSamples = fs::current_path() / "samples";

struct Way {
    std::vector<std::string> arguments;
    WriteOptions options;
};

const std::vector<Way> kWays{
    {{"--format", "text"}, {.format = Format::text}},
    {{"--format", "json"}, {.format = Format::json}},
    {{"--format", "json", "--compact"}, {.format = Format::json, .layout = JsonLayout::compact}},
    {{"--format", "json", "--pretty"}, {.format = Format::json, .layout = JsonLayout::pretty}},
    {{"--format", "ndjson"}, {.format = Format::ndjson}},
    {{"--format", "typed"}, {.format = Format::typed}},
    {{"--format", "csv"}, {.format = Format::csv}},
    {{"--all-directories"}, {.format = Format::text, .allDirectories = true}},
    {{"--format", "csv", "--nested"}, {.format = Format::csv, .rows = TableRows::nested}},
    {{"--format", "csv", "--rows", "file"}, {.format = Format::csv, .rows = TableRows::file}},
    {{"--format", "csv", "--raw-cells"}, {.format = Format::csv, .rawCells = true}},
    {{"--format", "csv", "--layout", "files"}, {.format = Format::csv, .table = Layout::files}},
    {{"--format", "csv", "--layout", "tags"}, {.format = Format::csv, .table = Layout::tags}},
    {{"--format", "csv", "--streams", "all"}, {.format = Format::csv, .tellStreams = true}},
    {{"--format", "ndjson", "--streams", "all"}, {.format = Format::ndjson, .tellStreams = true}},
    {{"--format", "csv", "--tags", "Width,Height"},
     {.format = Format::csv, .columns = {"Width", "Height"}}},
};

/// What the library writes of files.
std::string written(const WriteOptions& options, const std::vector<std::string>& files) {
    std::string text;
    ifdsweep::Host host;
    ifdsweep::Writer writer(options, text);
    writer.begin();
    for (const std::string& file : files) {
        ifdsweep::ReadOptions asked;
        asked.streams =
            options.tellStreams ? ifdsweep::StreamChoice::all : ifdsweep::StreamChoice::first;
        asked.sink = writer.listenerFor(file);
        writer.write(ifdsweep::read(host, file, asked));
    }
    writer.end();
    EXPECT_EQ(host.liveValues(), 0U);
    return text;
}

class Library : public programrun::ProgramRun {};

TEST_F(Library, WritesWhatTheProgramWrites) {
    std::vector<std::string> files;
    for (const auto& entry : fs::directory_iterator(kSamples)) {
        if (entry.path().extension() == ".tif" || entry.path().extension() == ".jpg") {
            files.push_back(entry.path());
        }
    }
    ASSERT_GE(files.size(), 5U);
    files.push_back(kSamples / "README.md");
    files.push_back(in("missing.tif"));
    for (Way way : kWays) {
        const std::string expected = written(way.options, files);
        way.arguments.insert(way.arguments.end(), files.begin(), files.end());
        EXPECT_EQ(run(way.arguments).out, expected) << way.arguments[1] << ' ' << way.arguments[2];
    }
}

TEST_F(Library, HandsOnWhatTheSinkThrows) {
    ifdsweep::Host host;
    ifdsweep::Writer writer({}, [](std::string_view) { throw std::out_of_range("full"); });
    writer.begin();
    writer.write(ifdsweep::read(host, in("missing.tif").string()));
    EXPECT_THROW(writer.end(), std::out_of_range);
}

TEST_F(Library, ServesBytesASourceAndADescriptor) {
    const std::string path = kSamples / "rgb_strips.tif";
    const std::string bytes = fixture::readFile(path);
    const std::span<const std::uint8_t> span(std::bit_cast<const std::uint8_t*>(bytes.data()),
                                             bytes.size());
    ifdsweep::Host host;
    host.serve("bytes.tif", span);
    host.serveDescriptor("descriptor.tif", ::open(path.c_str(), O_RDONLY | O_CLOEXEC));
    for (const char* name : {"bytes.tif", "descriptor.tif"}) {
        const ifdsweep::Outcome outcome = ifdsweep::read(host, name);
        ASSERT_FALSE(outcome.error) << name;
        const ifdsweep::ValueView records(*outcome.result);
        ASSERT_EQ(records.kind(), ifdsweep::ValueKind::Struct);
        const auto width = records.field(0, "Width");
        ASSERT_TRUE(width) << name;
        EXPECT_EQ(width->doubles()[0], 64) << name;
        EXPECT_FALSE(records.field(0, "Nothing"));
        EXPECT_FALSE(records.field(1, "Width"));
        EXPECT_FALSE(records.cell(0));
        EXPECT_EQ(records.fieldName(records.fieldCount()), "");
    }
    EXPECT_THROW(host.serveDescriptor("closed.tif", -1), std::system_error);
    host.serveNothing();
    EXPECT_TRUE(ifdsweep::read(host, "bytes.tif").error);
}

}  // namespace

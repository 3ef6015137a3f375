// The built program from outside: arguments, standard output, error stream and exit status, kept as
// files in tests/program/golden/NAME, and what cannot be kept in files: full disks and closed
// pipes. IFDSWEEP_WRITE_GOLDEN=1 writes the files anew, for a look at the difference, and compares
// nothing.

#include <algorithm>
#include <array>
#include <cstdlib>
#include <filesystem>
#include <sstream>
#include <string>
#include <vector>

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include "program/program_files.h"
#include "program/program_run.h"
#include "support/whole_file.h"

namespace {

namespace fs = std::filesystem;
using namespace programrun;

using fixture::readFile;

class WholeProgram : public ProgramRun {
protected:
    void SetUp() override {
        ProgramRun::SetUp();
        programfiles::writeAll(folder / "in");
    }
};

const fs::path kGolden = "tests/program/golden";

std::vector<std::string> goldenNames() {
    std::vector<std::string> names;
    for (const auto& entry : fs::directory_iterator(kGolden)) {
        names.push_back(entry.path().filename().string());
    }
    std::sort(names.begin(), names.end());
    return names;
}

class Golden : public WholeProgram, public testing::WithParamInterface<std::string> {};

TEST_P(Golden, SaysWhatItSaid) {
    const fs::path kept = kGolden / GetParam();
    std::vector<std::string> arguments;
    std::istringstream lines(readFile(kept / "arguments"));
    for (std::string line; std::getline(lines, line);) {
        arguments.push_back(line);
    }
    const Ending given = run(arguments);
    const std::array<std::pair<const char*, std::string>, 3> parts{
        {{"stdout", given.out},
         {"stderr", given.error},
         {"status", std::to_string(given.status) + '\n'}}};
    if (std::getenv("IFDSWEEP_WRITE_GOLDEN") != nullptr) {
        for (const auto& [name, text] : parts) {
            fixture::writeFile(kept / name, text);
        }
        GTEST_SKIP() << "IFDSWEEP_WRITE_GOLDEN is set: " << kept << " was written, not compared";
    }
    for (const auto& [name, text] : parts) {
        EXPECT_EQ(text, readFile(kept / name)) << name;
    }
}

INSTANTIATE_TEST_SUITE_P(All, Golden, testing::ValuesIn(goldenNames()),
                         [](const auto& instance) { return instance.param; });

TEST(GoldenFiles, AreThere) {
    EXPECT_GE(goldenNames().size(), 12U);
}

TEST_F(WholeProgram, ABadFileCostsNoOther) {
    const Ending given = run({"--format", "json", "small.tif", "missing.tif", "plain.jpg",
                              "broken.jpg", "letter.txt", "empty.tif", "folder", "nested.tif"});
    EXPECT_EQ(given.status, 1);
    const auto files = nlohmann::json::parse(given.out);
    ASSERT_EQ(files.size(), 7U);  // the folder is empty
    EXPECT_TRUE(files[0]["error"].is_null());
    EXPECT_EQ(files[0]["records"].size(), 1U);
    for (std::size_t index = 1; index < 6; ++index) {
        EXPECT_FALSE(files[index]["error"].is_null()) << files[index];
    }
    EXPECT_EQ(files[2]["error"]["id"], "ifdsweep:noExifSegment");
    EXPECT_EQ(files[3]["error"]["id"], "ifdsweep:badJpegSegment");
    EXPECT_TRUE(files[6]["error"].is_null());
    EXPECT_EQ(files[6]["records"].size(), 2U);
    EXPECT_EQ(std::count(given.error.begin(), given.error.end(), '\n'),
              6);  // five failures and the summary
}

TEST_F(WholeProgram, EveryErrorIsOneLineThatBeginsWithTheProgram) {
    for (const char* const file : {"missing\n.tif", "plain.jpg", "letter.txt"}) {
        const Ending given = run({file});
        EXPECT_EQ(given.error.find("ifdsweep: "), 0U);
        EXPECT_EQ(given.error.find('\n'), given.error.size() - 1) << given.error;
        EXPECT_EQ(given.status, 1);
    }
}

TEST_F(WholeProgram, AFullDiskIsAnError) {
    const Ending given = run({"small.tif"}, "/dev/full");
    EXPECT_EQ(given.status, 1);
    EXPECT_EQ(given.error, "ifdsweep: cannot write the output: No space left on device\n");
    EXPECT_EQ(run({"--help"}, "/dev/full").status, 1);
}

TEST_F(WholeProgram, AClosedPipeEndsItQuietly) {
    const char* const pipeline =
        "$PROGRAM --format typed small.tif{,}{,}{,}{,}{,}{,}{,}{,} | head -c 1; "
        "exit ${PIPESTATUS[0]}";
    const Ending bySignal = shell(pipeline);
    EXPECT_EQ(bySignal.error, "");
    EXPECT_EQ(bySignal.status, 141);
    const Ending byError = shell(std::string("trap \"\" PIPE; ") + pipeline);
    EXPECT_EQ(byError.error, "");
    EXPECT_EQ(byError.status, 141);
}

TEST_F(WholeProgram, TheReadBudgetStopsAndSaysSo) {
    const Ending given = run({"--format", "json", "--read-budget", "200", "nested.tif"});
    EXPECT_EQ(given.status, 0) << given.error;
    const auto file = nlohmann::json::parse(given.out)[0];
    EXPECT_GE(file["records"].size(), 1U);
    const auto ids = file["warnings"];
    EXPECT_EQ(std::count_if(ids.begin(), ids.end(),
                            [](const auto& warning) {
                                return warning["id"] == "Velmora:filesystem:readBudgetSpent";
                            }),
              1)
        << file;
    const Ending whole = run({"--format", "json", "--read-budget", "unlimited", "nested.tif"});
    EXPECT_EQ(nlohmann::json::parse(whole.out)[0]["warnings"].size(), 0U);
}

}  // namespace

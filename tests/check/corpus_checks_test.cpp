// The checks on a folder of real files, of which tests/data/checks_of_corpus.tsv lists those that
// are damaged, with what is found: cut short, made by a fuzzer, or their pictures replaced by a
// text. All others are sound, and nothing may be found in them.

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>

#include <gtest/gtest.h>

#include "check/checked_file.h"
#include "ifdsweep/read.h"

namespace {

namespace fs = std::filesystem;

/// The ids of what is found, each once, between spaces; "-" for none.
std::string foundIds(const ifdsweep::Outcome& outcome) {
    std::string ids;
    for (const ifdsweep::Warning& warning : outcome.warnings) {
        const std::string id(ifdsweep::shortMessageId(warning.message.id()));
        if (checkedfile::isFinding(warning) && ids.find(id) == std::string::npos) {
            ids.append(ids.empty() ? "" : " ").append(id);
        }
    }
    return ids.empty() ? "-" : ids;
}

TEST(CorpusChecks, FindWhatIsDamagedAndNothingElse) {
    const char* const folder = std::getenv("IFDSWEEP_CORPUS");
    if (folder == nullptr) {
        GTEST_SKIP() << "IFDSWEEP_CORPUS names no folder of files to read";
    }
    std::ifstream table("tests/data/checks_of_corpus.tsv");
    std::string name;
    std::string ids;
    ifdsweep::Host host;
    std::size_t compared = 0;
    while (std::getline(table, name, '\t') && std::getline(table, ids)) {
        const fs::path path = fs::path(folder) / name;
        if (fs::exists(path)) {
            EXPECT_EQ(foundIds(ifdsweep::read(host, path.string(), {.check = true})), ids) << name;
            ++compared;
        }
    }
    EXPECT_GT(compared, 0U);
}

}  // namespace

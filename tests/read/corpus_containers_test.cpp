// The streams in a folder of real PNG, HEIF, CR3 and other such files, listed in
// tests/data/containers_of_corpus.tsv: file, container, and each stream with the number of its
// entries, or the error of a file or stream that cannot be read.

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>

#include <gtest/gtest.h>

#include "ifdsweep/entry_sink.h"
#include "ifdsweep/messages.h"
#include "ifdsweep/read.h"

namespace {

namespace fs = std::filesystem;

/// Counts the entries of each stream that the file itself holds and that are shown.
class EntryCounts final : public ifdsweep::EntrySink {
public:
    void streamBegins(const ifdsweep::StreamFacts& /*stream*/) override { counts.push_back(0); }
    void directoryBegins(const ifdsweep::DirectoryFacts& /*directory*/) override {}
    void directoryEnds(const ifdsweep::DirectoryFacts& /*directory*/, bool /*isKept*/) override {}
    void entry(const ifdsweep::DirectoryFacts& /*directory*/,
               const ifdsweep::EntryFacts& entry) override {
        if (counts.empty()) {
            counts.push_back(0);  // a file that is its own stream
        }
        counts.back() += entry.isDefault || !entry.droppedBy.empty() ? 0U : 1U;
    }
    void warning(const qxMessage& /*message*/, const ifdsweep::WarningFacts& /*place*/) override {}

    std::vector<std::size_t> counts{};
};

std::string orDash(const std::string& text) {
    return text.empty() ? "-" : text;
}

/// The row of a file without its name.
std::string rowOf(const std::string& path) {
    ifdsweep::Host host;
    EntryCounts counts;
    const ifdsweep::Outcome outcome =
        ifdsweep::read(host, path, {.streams = ifdsweep::StreamChoice::all, .sink = &counts});
    std::string row = orDash(outcome.stream.container);
    std::size_t number = 0;
    const auto addStream = [&](const ifdsweep::Outcome& each) {
        row.append("\t").append(orDash(each.stream.name)).append(": ");
        row.append(each.error ? std::string(ifdsweep::shortMessageId(each.error->id()))
                              : std::to_string(counts.counts.at(number)));
        ++number;
    };
    addStream(outcome);
    for (const ifdsweep::Outcome& other : outcome.others) {
        addStream(other);
    }
    return row;
}

TEST(CorpusContainers, GiveEveryStreamAndEntry) {
    const char* const folder = std::getenv("IFDSWEEP_CORPUS");
    if (folder == nullptr) {
        GTEST_SKIP() << "IFDSWEEP_CORPUS names no folder of files to read";
    }
    std::ifstream table("tests/data/containers_of_corpus.tsv");
    std::string name;
    std::string row;
    std::size_t compared = 0;
    while (std::getline(table, name, '\t') && std::getline(table, row)) {
        const fs::path path = fs::path(folder) / "containers" / name;
        if (fs::exists(path)) {
            EXPECT_EQ(rowOf(path.string()), row) << name;
            ++compared;
        }
    }
    EXPECT_GT(compared, 0U);
}

}  // namespace

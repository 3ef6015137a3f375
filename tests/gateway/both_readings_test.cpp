// Where nothing that the rules are about was met, both readings are the same: the samples, their
// mutations, and real files where IFDSWEEP_CORPUS names a folder of them.

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <iostream>
#include <random>

#include "support/entry_call.h"
#include "support/page_of_everything.h"
#include "support/same_in_both.h"
#include "support/whole_file.h"

namespace fixture {
namespace {

namespace fs = std::filesystem;

/// Where the TIFF stream of a file begins: in a JPEG behind the mark of its Exif data.
double streamOffset(const Bytes& bytes) {
    constexpr std::string_view kMark("Exif\0\0", 6);
    const auto found = std::search(bytes.begin(), bytes.end(), kMark.begin(), kMark.end());
    const bool isJpeg = bytes.size() > 2 && bytes[0] == 0xFF && bytes[1] == 0xD8;
    return !isJpeg || found == bytes.end()
               ? 0
               : static_cast<double>(found - bytes.begin()) + static_cast<double>(kMark.size());
}

/// How many files were compared, and how many were not because the rules are about them.
struct Tally {
    int compared = 0;
    int different = 0;
};

void compare(const std::string& name, const Bytes& bytes, Tally& tally) {
    const Numbers numbers{.initialOffset = streamOffset(bytes)};
    const Call contract = callEntryPoint(bytes, numbers);
    DifferenceFinder differences;
    ifdsweep::Reading reading;
    reading.sink = &differences;
    EXPECT_EQ(callReading(bytes, reading, numbers).text(), contract.text()) << name;
    const Call full = callReading(bytes, fullReading(), numbers);
    if (!contract.error.empty() || !headerFits(bytes, numbers.initialOffset)) {
        ++tally.different;
        return;
    }
    EXPECT_EQ(full.error, "") << name;
    if (!differences.isSame()) {
        ++tally.different;
        return;
    }
    ++tally.compared;
    EXPECT_EQ(full.text(), contract.text()) << name;
}

void compareFolder(const fs::path& folder, Tally& tally) {
    for (const fs::directory_entry& entry : fs::directory_iterator(folder)) {
        const std::string extension = entry.path().extension();
        constexpr std::uintmax_t kLargest = 32U << 20U;
        if (entry.is_regular_file() && extension != ".tsv" && extension != ".txt" &&
            extension != ".md" && entry.file_size() <= kLargest) {
            const std::string content = readFile(entry.path());
            compare(entry.path(), Bytes(content.begin(), content.end()), tally);
        }
    }
}

TEST(BothReadings, AreTheSameOnFilesWithoutASpecialCase) {
    Tally tally;
    for (const KindOfFile& kind : kKindsOfFile) {
        compare(kind.name, kind.make().bytes, tally);
    }
    EXPECT_GE(tally.compared, 4);
}

TEST(BothReadings, AreTheSameOnTheSamples) {
    Tally tally;
    compareFolder("samples", tally);
    EXPECT_GE(tally.compared, 4);
}

TEST(BothReadings, AreTheSameOnMutations) {
    // The same mutations every time: words of the table set to what counts, types and offsets are.
    std::mt19937 generator(12);
    const auto below = [&](std::size_t limit) {
        return std::uniform_int_distribution<std::size_t>(0, limit - 1)(generator);
    };
    constexpr std::array<std::uint64_t, 16> kWords{
        0, 1, 2, 3, 4, 7, 12, 13, 14, 16, 18, 255, 0x7FFF, 0xFFFF, 0x80000000, 0xFFFFFFFF};
    Tally tally;
    for (const KindOfFile& kind : kKindsOfFile) {
        const Bytes file = kind.make().bytes;
        for (int number = 0; number < 250; ++number) {
            Bytes mutated = file;
            for (std::size_t changes = 1 + below(3); changes > 0; --changes) {
                const std::size_t width = std::size_t{1} << below(3);
                setWord(mutated, below(mutated.size() - 8), width, kWords[below(kWords.size())],
                        below(2) == 0 ? ByteOrder::little : ByteOrder::big);
            }
            if (below(4) == 0) {
                mutated.resize(below(mutated.size()) + 1);
            }
            compare(kind.name + std::to_string(number), mutated, tally);
        }
    }
    EXPECT_GT(tally.compared, 100);
    EXPECT_GT(tally.different, 10);
}

TEST(BothReadings, AreTheSameOnTheCorpus) {
    const char* const folder = std::getenv("IFDSWEEP_CORPUS");
    if (folder == nullptr) {
        GTEST_SKIP() << "IFDSWEEP_CORPUS names no folder of files to read";
    }
    Tally tally;
    compareFolder(folder, tally);
    std::cout << tally.compared << " files read the same, " << tally.different
              << " that the rules are about\n";
    EXPECT_GT(tally.compared, tally.different);
}

}  // namespace
}  // namespace fixture

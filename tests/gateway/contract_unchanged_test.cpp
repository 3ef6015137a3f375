// The contract's reading as a whole: what it gives for damaged files is held to what it gave when
// this was recorded, to the byte. A value that changes here is a change of the contract.

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <map>
#include <string>
#include <string_view>
#include <vector>

#include <gtest/gtest.h>

#include "ifdsweep/host.h"
#include "ifdsweep/read.h"
#include "ifdsweep/write.h"

namespace {

namespace fs = std::filesystem;
using Bytes = std::vector<std::uint8_t>;

/// Numbers that are the same everywhere (xorshift64*).
class Numbers {
public:
    explicit Numbers(std::uint64_t seed) : state(seed) {}

    std::uint64_t below(std::uint64_t limit) {
        state ^= state >> 12U;
        state ^= state << 25U;
        state ^= state >> 27U;
        return state * 0x2545F4914F6CDD1DU % limit;
    }

private:
    std::uint64_t state;
};

Bytes bytesOf(const fs::path& path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

std::vector<fs::path> filesIn(const fs::path& folder) {
    std::vector<fs::path> files;
    for (const auto& entry : fs::directory_iterator(folder)) {
        if (entry.is_regular_file()) {
            files.push_back(entry.path());
        }
    }
    std::sort(files.begin(), files.end());
    return files;
}

/// The hash of all that the contract's reading gives (FNV-1a).
class Digest {
public:
    void add(const Bytes& file) {
        host.serveNothing();
        host.serve("a.tif", file);
        std::string line;
        ifdsweep::Writer writer({.format = ifdsweep::Format::typed}, line);
        ifdsweep::ReadOptions options;
        options.reading = ifdsweep::ReadingMode::contract;
        writer.begin();
        writer.write(ifdsweep::read(host, "a.tif", options));
        writer.end();
        for (const char byte : line) {
            hash = (hash ^ static_cast<unsigned char>(byte)) * 0x100000001B3U;
        }
    }

    [[nodiscard]] std::uint64_t value() const { return hash; }

private:
    ifdsweep::Host host;
    std::uint64_t hash = 0xCBF29CE484222325U;
};

/// A damaged copy: a few bytes replaced, bits turned, words put to the ends of their range, cuts.
Bytes damaged(Bytes file, Numbers& numbers) {
    constexpr std::array<std::uint64_t, 5> kHowOften{1, 1, 2, 4, 16};
    const std::uint64_t changes = kHowOften[numbers.below(kHowOften.size())];
    for (std::uint64_t change = 0; change < changes && !file.empty(); ++change) {
        const std::uint64_t place = numbers.below(file.size());
        switch (numbers.below(8)) {
            case 0:
                file.resize(place);
                break;
            case 1:
            case 2:
                std::fill_n(file.begin() + static_cast<std::ptrdiff_t>(place),
                            std::min<std::uint64_t>(4, file.size() - place),
                            numbers.below(2) == 0 ? 0x00 : 0xFF);
                break;
            case 3:
            case 4:
                file[place] = static_cast<std::uint8_t>(file[place] ^ (1U << numbers.below(8)));
                break;
            default:
                file[place] = static_cast<std::uint8_t>(numbers.below(256));
                break;
        }
    }
    return file;
}

/// What the reading of damaged copies of the samples comes to.
std::uint64_t digestOfDamagedSamples(int rounds) {
    std::vector<Bytes> samples;
    for (const fs::path& path : filesIn("samples")) {
        if (path.extension() == ".tif" || path.extension() == ".jpg") {
            samples.push_back(bytesOf(path));
        }
    }
    Numbers numbers(20261122);
    Digest digest;
    for (int round = 0; round < rounds; ++round) {
        const Bytes& sample = samples[numbers.below(samples.size())];
        digest.add(damaged(sample, numbers));
    }
    return digest.value();
}

constexpr int kRounds = 20'000;

TEST(Contract, IsWhatItWasForDamagedFiles) {
    EXPECT_EQ(digestOfDamagedSamples(kRounds), 0x1CE6EEA7734F0EBFU);
}

TEST(Contract, IsWhatItWasForTheCorpus) {
    const char* corpus = std::getenv("IFDSWEEP_CORPUS");
    if (corpus == nullptr || !fs::is_directory(corpus)) {
        GTEST_SKIP() << "IFDSWEEP_CORPUS names no folder";
    }
    std::ifstream table("tests/data/contract_of_corpus.tsv");
    std::string name;
    std::string expected;
    std::size_t compared = 0;
    while (table >> name >> expected) {
        const fs::path path = fs::path(corpus) / name;
        if (!fs::exists(path)) {
            continue;
        }
        Digest digest;
        digest.add(bytesOf(path));
        EXPECT_EQ(digest.value(), std::stoull(expected, nullptr, 16)) << name;
        ++compared;
    }
    EXPECT_GT(compared, 0U);
}
}  // namespace

// Real files, where IFDSWEEP_CORPUS names a folder of them with its MANIFEST.tsv: no value is left
// alive, and what libtiff reads of the undamaged ones is what we read.

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <map>
#include <sstream>
#include <string>
#include <string_view>
#include <vector>

#include "files/file_names.h"
#include "gateway/libtiff_reading.h"
#include "support/entry_call.h"
#include "support/record_dump.h"
#include "support/value_name_rows.h"
#include "support/whole_file.h"

namespace fixture {
namespace {

namespace fs = std::filesystem;

/// One row of the corpus' own list.
struct CorpusFile {
    std::string path;
    std::string version;  ///< "42", "43", "JPEG", or another magic number
    std::string special;  ///< what is unusual about it
};

std::vector<CorpusFile> corpusIn(const fs::path& folder) {
    std::ifstream manifest(folder / "MANIFEST.tsv");
    std::vector<CorpusFile> files;
    std::string line;
    std::getline(manifest, line);
    while (std::getline(manifest, line)) {
        std::vector<std::string> cells;
        std::istringstream row(line);
        for (std::string cell; std::getline(row, cell, '\t');) {
            cells.push_back(cell);
        }
        cells.resize(10);
        files.push_back({(folder / cells[0]).string(), cells[7], cells[9]});
    }
    return files;
}

class Corpus : public testing::Test {
protected:
    void SetUp() override {
        const char* const folder = std::getenv("IFDSWEEP_CORPUS");
        if (folder == nullptr) {
            GTEST_SKIP() << "IFDSWEEP_CORPUS names no folder of files to read";
        }
        files = corpusIn(folder);
        ASSERT_FALSE(files.empty()) << folder << " has no MANIFEST.tsv with files in it";
    }

    std::vector<CorpusFile> files;
};

/// Where the Exif segment of a JPEG begins its TIFF stream; 12 when there is none, to read rubbish.
double streamOffset(std::string_view bytes) {
    constexpr std::string_view kMark("Exif\0\0", 6);
    const std::size_t found = bytes.find(kMark);
    return found == std::string_view::npos ? 12 : static_cast<double>(found + kMark.size());
}

TEST_F(Corpus, EveryFileIsReadFromEveryPlausiblePosition) {
    for (const CorpusFile& file : files) {
        const std::u16string name = ifdsweep::fileNameFromSystem(file.path);
        const std::string bytes = readFile(file.path);
        ASSERT_FALSE(bytes.empty()) << file.path;
        for (const double offset : {0.0, streamOffset(bytes)}) {
            for (const double maximum : {0.0, 1.0}) {
                const Numbers numbers{.initialOffset = offset, .maxIfdCount = maximum};
                const Call given = callOnFile(name, numbers);
                EXPECT_EQ(given.error.empty(), !given.result.empty()) << file.path;
                EXPECT_EQ(given.error.rfind("exception", 0), std::string::npos) << file.path;
            }
        }
    }
}

/// The number behind a compression as the record shows it.
std::string compressionText(std::uint16_t compression) {
    for (const ValueNameRow& row : kValueNameRows) {
        if (row.tag == 259 && row.value == compression) {
            return '\'' + std::string(row.name) + '\'';
        }
    }
    return "'unknown'";
}

/// Whether the corpus' list says that libtiff and we may differ, since something is wrong or made
/// up by libtiff while reading.
bool isDamaged(const CorpusFile& file) {
    static const std::vector<std::string> kSigns{
        "past EOF",           "larger than file", "loop",          "crash", "fuzz",
        "unknown field type", "truncated",        "cut by EOF",    "wrong", "unexpected type",
        "duplicate",          "count 0",          "old-style JPEG"};
    return std::any_of(kSigns.begin(), kSigns.end(), [&](const std::string& sign) {
        return file.special.find(sign) != std::string::npos;
    });
}

/// All numbers of a row that must be the same.
void expectAll(const std::string& row, std::uint16_t number) {
    std::string text = row;
    std::replace_if(
        text.begin(), text.end(), [](char c) { return c == '[' || c == ']'; }, ' ');
    std::istringstream numbers(text);
    int count = 0;
    for (std::string each; numbers >> each; ++count) {
        EXPECT_EQ(each, std::to_string(number));
    }
    EXPECT_GT(count, 0) << row;
}

TEST_F(Corpus, BaselineNumbersAreThoseOfLibtiff) {
    int compared = 0;
    int unread = 0;
    for (const CorpusFile& file : files) {
        if ((file.version != "42" && file.version != "43") || isDamaged(file)) {
            continue;
        }
        SCOPED_TRACE(file.path);
        const std::vector<std::optional<Baseline>> expected = readBaseline(file.path);
        if (expected.empty()) {
            ++unread;  // no witness: libtiff wants a baseline field that the file lacks
            continue;
        }
        const Call given = callOnFile(ifdsweep::fileNameFromSystem(file.path));
        ASSERT_EQ(given.error, "");
        ASSERT_EQ(given.records.size(), expected.size());
        for (std::size_t i = 0; i < expected.size(); ++i) {
            // Of old-style JPEGs libtiff makes up bits and strips while it reads.
            if (!expected[i] || expected[i]->compression == COMPRESSION_OJPEG) {
                continue;
            }
            const Baseline& baseline = *expected[i];
            EXPECT_EQ(given.value("Width", i), std::to_string(baseline.width));
            EXPECT_EQ(given.value("Height", i), std::to_string(baseline.height));
            EXPECT_EQ(given.value("Compression", i), compressionText(baseline.compression));
            expectAll(given.value("BitsPerSample", i), baseline.bitsPerSample);
            const std::string kind = baseline.isTiled ? "Tile" : "Strip";
            EXPECT_EQ(given.value(kind + "Offsets", i), rowText(baseline.blockOffsets));
            if (!baseline.hasBogusByteCounts) {
                EXPECT_EQ(given.value(kind + "ByteCounts", i), rowText(baseline.blockByteCounts));
            }
        }
        ++compared;
    }
    std::cout << compared << " files compared with libtiff, " << unread << " that it cannot open\n";
    EXPECT_GT(compared, 10 * unread);
}

}  // namespace
}  // namespace fixture

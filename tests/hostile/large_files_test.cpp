// Good files of unusual size: limits that are there for hostile files do not reach them.

#include <algorithm>

#include "hostile/measured_call.h"
#include "support/record_dump.h"
#include "support/tags.h"
#include "support/temporary_file.h"
#include "support/tiff_matrix.h"

namespace fixture {
namespace {

constexpr std::size_t kMegabyte = 1000000;

const ifdsweep::Value* fieldOf(const ifdsweep::Value& records, std::size_t element,
                               const char* name) {
    const auto field = records.fieldIndex(name);
    return field ? records.field(element, *field) : nullptr;
}

class LargeFile : public TiffMatrix {};
IFDSWEEP_TIFF_MATRIX(LargeFile);

TEST_P(LargeFile, TenThousandEntriesInOneDirectory) {
    constexpr std::size_t kEntries = 10000;
    std::vector<Entry> entries;
    for (std::size_t i = 0; i < kEntries; ++i) {
        entries.push_back(
            longs(static_cast<std::uint16_t>(50000 + i), {static_cast<std::int64_t>(7 * i)}));
    }
    const Call given = inspect(
        fileOf({Directory(std::move(entries))}).bytes, {}, [&](const ifdsweep::Value& records) {
            const ifdsweep::Value* unknown = fieldOf(records, 0, "UnknownTags");
            ASSERT_NE(unknown, nullptr);
            // Some of the numbers between have a name: known and unknown tags make up all.
            std::size_t known = 0;
            for (std::size_t field = headNames().size(); field < records.fieldCount(); ++field) {
                known += records.field(0, field) != unknown ? 1U : 0U;
            }
            ASSERT_EQ(unknown->elementCount() + known, kEntries);
            for (std::size_t i = 0; i < unknown->elementCount(); ++i) {
                const double id = fieldOf(*unknown, i, "ID")->doubles()[0];
                ASSERT_EQ(fieldOf(*unknown, i, "Value")->doubles()[0], 7 * (id - 50000));
            }
        });
    EXPECT_EQ(given.text(), "struct 1x1\n");
}

TEST_P(LargeFile, FiveThousandDirectories) {
    constexpr std::size_t kPages = 5000;
    Chain chain;
    for (std::size_t page = 0; page < kPages; ++page) {
        chain.push_back({shorts(256, {static_cast<std::int64_t>(page)})});
    }
    const Call given = inspect(fileOf(chain).bytes, {}, [&](const ifdsweep::Value& records) {
        ASSERT_EQ(records.elementCount(), kPages);
        for (std::size_t page = 0; page < kPages; ++page) {
            ASSERT_EQ(fieldOf(records, page, "Width")->doubles()[0], static_cast<double>(page));
        }
    });
    EXPECT_EQ(given.text(), "struct 5000x1\n");
}

TEST_P(LargeFile, AValueOf150Megabytes) {
    constexpr std::uint64_t kSize = 150 * kMegabyte;
    const TiffFile file =
        fileOf({{numbers(kImageSourceData, kUndefined, std::vector<std::int64_t>(16, 1))
                     .withCount(kSize)}});
    const TemporaryFile onDisk("value.tif", file.bytes);
    onDisk.extend(file.places[0].data[0] + kSize);
    const Call given = inspectFile(onDisk.name(), {}, [&](const ifdsweep::Value& records) {
        const ifdsweep::Value* value = fieldOf(records, 0, "ImageSourceData");
        ASSERT_NE(value, nullptr);
        ASSERT_EQ(value->bytes().size(), kSize);
        EXPECT_EQ(value->bytes()[15], 1);
        EXPECT_EQ(value->bytes().back(), 0);
    });
    EXPECT_EQ(given.text(), "struct 1x1\n");
}

TEST_P(LargeFile, SixtyFourLevelsOfNesting) {
    for (const std::size_t levels : {63U, 64U, 65U}) {
        Directory directory{ascii(315, "deepest")};
        for (std::size_t level = 0; level < levels; ++level) {
            Directory outer{pointer(kSubIfds, {{std::move(directory)}})};
            directory = std::move(outer);
        }
        const Call given = callOf({directory});
        const bool isTooDeep = levels > 64;
        EXPECT_EQ(given.warnings,
                  isTooDeep ? Lines{"illegallyNestedIFD(330, 'Primary')"} : Lines{});
        std::string expected = isTooDeep ? "()" : "(Artist='deepest')";
        for (std::size_t level = 0; level < std::min<std::size_t>(levels, 64); ++level) {
            expected = "(SubIFDs={" + expected + "})";
        }
        EXPECT_EQ('(' + given.added() + ')', expected) << levels << " levels";
    }
}

TEST_P(LargeFile, ThreeThousandSubIfdsInOneTag) {
    constexpr std::size_t kChains = 3000;
    std::vector<Chain> chains;
    for (std::size_t i = 0; i < kChains; ++i) {
        chains.push_back({{shorts(256, {static_cast<std::int64_t>(i)})}});
    }
    const Call given = inspect(fileOf({{pointer(kSubIfds, std::move(chains))}}).bytes, {},
                               [&](const ifdsweep::Value& records) {
                                   const ifdsweep::Value* cells = fieldOf(records, 0, "SubIFDs");
                                   ASSERT_NE(cells, nullptr);
                                   ASSERT_EQ(cells->elementCount(), kChains);
                                   for (std::size_t i = 0; i < kChains; ++i) {
                                       ASSERT_EQ(fieldOf(*cells->cell(i), 0, "Width")->doubles()[0],
                                                 static_cast<double>(i));
                                   }
                               });
    EXPECT_EQ(given.text(), "struct 1x1\n");
}

class SharedProfile : public TiffMatrix {
protected:
    /// Pages that share a profile of a megabyte.
    static TiffFile sharing(std::size_t count) {
        Chain chain(count, {numbers(kIccProfile, kUndefined, {}).withCount(kMegabyte)});
        chain[0] = {numbers(kIccProfile, kUndefined, std::vector<std::int64_t>(kMegabyte, 1))};
        TiffFile file = fileOf(chain);
        for (const Place& place : file.places) {
            file.setOffset(place.entries[0] + file.format.valuePosition(),
                           file.offsetOf(file.places[0].data[0]));
        }
        return file;
    }

    static void expectAllRead(const TiffFile& file, const Preparation& prepare) {
        const Call given = callEntryPoint(file.bytes, {}, prepare);
        EXPECT_EQ(given.error, "");
        EXPECT_EQ(given.warnings, Lines{});
        ASSERT_EQ(given.records.size(), file.places.size());
        const std::string offset = std::to_string(file.offsetOf(file.places[0].data[0]));
        for (std::size_t page = 0; page < given.records.size(); ++page) {
            ASSERT_EQ(given.added(page), "ICCProfileOffset=" + offset);
        }
    }
};
IFDSWEEP_TIFF_MATRIX(SharedProfile);

// 256 KiB and 8 times the file: eight times the profile, and some.
TEST_P(SharedProfile, AsLongAsTheBudgetHolds) {
    expectAllRead(sharing(8), {});
}

TEST_P(SharedProfile, ByAnyNumberOfPagesWithoutABudget) {
    expectAllRead(sharing(200),
                  [](ifdsweep::Host& host) { host.setReadBudget(ifdsweep::kUnlimited); });
}

}  // namespace
}  // namespace fixture

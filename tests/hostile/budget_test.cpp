// The read budget through the whole call: it cuts what is read at any place, never makes an error
// of directories that are there, and says itself once.

#include <algorithm>
#include <set>

#include "support/tiff_matrix.h"

namespace fixture {
namespace {

Chain threePages() {
    const Directory page{ascii(271, "Example Optics"), shorts(60000, {7}),
                         pointer(330, {{{ascii(305, "Example Software")}}}),
                         pointer(34665, {{{ascii(36867, "2024:05:17 09:30:00")}}})};
    return {page, page, page};
}

Call calledWith(const TiffFile& file, std::uint64_t budget) {
    return callEntryPoint(file.bytes, {},
                          [&](ifdsweep::Host& host) { host.setReadBudget(budget); });
}

/// The bytes that a whole file counts, found by trying.
std::uint64_t enoughFor(const TiffFile& file) {
    std::uint64_t budget = 0;
    while (!calledWith(file, budget).warnings.empty() || !calledWith(file, budget).error.empty()) {
        ++budget;
    }
    return budget;
}

class ReadBudget : public TiffMatrix {
protected:
    ReadBudget() : file(fileOf(threePages(), kFar)) {}

    [[nodiscard]] Call calledWith(std::uint64_t budget) const {
        return fixture::calledWith(file, budget);
    }

    [[nodiscard]] std::string spent(std::uint64_t budget) const {
        return "Velmora:filesystem:readBudgetSpent(" + std::to_string(budget) + ", " +
               std::to_string(file.bytes.size()) + ')';
    }

    TiffFile file;
};
IFDSWEEP_TIFF_MATRIX(ReadBudget);

TEST_P(ReadBudget, CutsAnywhereWithoutAnError) {
    for (const std::size_t gap : {std::size_t{0}, kFar}) {
        file = fileOf(threePages(), gap);
        const std::uint64_t whole = enoughFor(file);
        std::size_t recordsBefore = 0;
        // The header is read first: without it there is nothing to lose.
        for (std::uint64_t budget = 80; budget < whole; ++budget) {
            const Call given = calledWith(budget);
            ASSERT_EQ(given.error, "") << "budget " << budget;
            ASSERT_FALSE(given.warnings.empty()) << "budget " << budget;
            ASSERT_EQ(given.warnings[0], spent(budget));
            ASSERT_EQ(std::count(given.warnings.begin(), given.warnings.end(), spent(budget)), 1);
            ASSERT_GE(given.records.size(), recordsBefore) << "budget " << budget;
            recordsBefore = given.records.size();
        }
        EXPECT_EQ(recordsBefore, 3U);
        EXPECT_EQ(calledWith(whole).records.size(), 3U);
    }
}

TEST_P(ReadBudget, DataAFewBytesAheadCostNoJump) {
    // The next offset and the gap lie between the table and the data.
    const std::size_t few = 16 - format().offsetSize();
    const auto enough = [](std::size_t gap) {
        return enoughFor(fileOf({{ascii(315, "0123456789"), shorts(60000, {7})}}, gap));
    };
    constexpr std::uint64_t kJump = 64;
    const std::uint64_t near = enough(few);
    EXPECT_EQ(near, enough(0) + few);
    EXPECT_EQ(enough(few + 2), near - 16 + kJump);
    EXPECT_EQ(enough(few + 200), near - 16 + kJump);
}

TEST_P(ReadBudget, TellsWhatItLeavesAtEveryCut) {
    // Each fresh access of the first page, and the warnings when the budget ends before it.
    const auto at = [](std::size_t position) { return '(' + std::to_string(position) + ')'; };
    const Place& page = file.places[0];
    const Place& sub = file.places[1];
    const Place& exif = file.places[2];
    const Format& widths = file.format;
    const std::string count = "numberOfDirectoryEntriesReadError";
    const std::string next = "nextIfdOffsetReadError";
    const auto value = [](const char* name, std::size_t position) {
        return std::string("unableToReadTiffTag('") + name + "', " + std::to_string(position) + ')';
    };
    constexpr std::uint64_t kJump = 64;
    const std::uint64_t countCost = kJump + widths.entryCountSize();
    const std::uint64_t nextCost = kJump + widths.offsetSize();

    struct Cut {
        std::uint64_t cost;  ///< of the access that the budget still allows
        Lines warnings;      ///< when it ends before this access
        std::string added;   ///< of the first page
    };
    const std::string make = "Make='Example Optics'";
    const std::string unknown = "UnknownTags=(ID=60000 Offset=0 Value=7)";
    const std::string subField = "SubIFDs={(Software='Example Software')}";
    const std::string subEmpty = "SubIFDs={()}";
    const std::string exifField = "DigitalCamera=(DateTimeOriginal='2024:05:17 09:30:00')";
    const std::vector<Cut> cuts{
        {countCost + 4 * widths.entrySize(), {count + at(page.position)}, "none"},
        {kJump + 14,
         {value("Make", page.data[0]), count + at(sub.position), count + at(exif.position),
          next + at(page.next)},
         unknown},
        {countCost + widths.entrySize(),
         {count + at(sub.position), count + at(exif.position), next + at(page.next)},
         make + ' ' + unknown},
        {kJump + 16,
         {value("Software", sub.data[0]), next + at(sub.next), count + at(exif.position),
          next + at(page.next)},
         make + ' ' + subEmpty + ' ' + unknown},
        {nextCost,
         {next + at(sub.next), count + at(exif.position), next + at(page.next)},
         make + ' ' + subField + ' ' + unknown},
        {countCost + widths.entrySize(),
         {count + at(exif.position), next + at(page.next)},
         make + ' ' + subField + ' ' + unknown},
        {kJump + 19,
         {value("DateTimeOriginal", exif.data[0]), next + at(page.next)},
         make + ' ' + subField + ' ' + unknown},
        {nextCost, {next + at(page.next)}, make + ' ' + subField + ' ' + exifField + ' ' + unknown},
    };
    // The first bytes, looked at twice, and the header.
    std::uint64_t counted = 2 + 4 + widths.headerSize() + (widths.isBig() ? kJump - 4 : 0);
    for (const Cut& cut : cuts) {
        // From one byte more than the access before needed to start, to what refuses this one.
        const Call given = calledWith(counted);
        Lines expected{spent(counted)};
        expected.insert(expected.end(), cut.warnings.begin(), cut.warnings.end());
        EXPECT_EQ(given.warnings, expected) << "budget " << counted;
        EXPECT_EQ(given.records.empty() ? "none" : given.added(), cut.added)
            << "budget " << counted;
        EXPECT_LE(given.records.size(), 1U);
        counted += cut.cost;
    }
}

TEST_P(ReadBudget, GivesAnyTableWhoseCountItGave) {
    // The table is larger than all that the budget has left.
    constexpr std::size_t kEntries = 500;
    const TiffFile wide =
        fileOf({{shorts(60000, {1})}, Directory(std::vector<Entry>(kEntries, shorts(60000, {1})))});
    const std::uint64_t first = 2 + 4 + wide.format.headerSize() + (wide.format.isBig() ? 60 : 0) +
                                64 + wide.format.entryCountSize() + wide.format.entrySize() + 64 +
                                wide.format.offsetSize();
    const Call given = callEntryPoint(wide.bytes, {},
                                      [&](ifdsweep::Host& host) { host.setReadBudget(first + 1); });
    EXPECT_EQ(given.error, "");
    EXPECT_EQ(given.records.size(), 2U);
    EXPECT_EQ(given.warnings,
              (Lines{"Velmora:filesystem:readBudgetSpent(" + std::to_string(first + 1) + ", " +
                         std::to_string(wide.bytes.size()) + ')',
                     "nextIfdOffsetReadError(" + std::to_string(wide.places[1].next) + ')'}));
}

TEST_P(ReadBudget, CanBeTakenAway) {
    const Call given = calledWith(ifdsweep::kUnlimited);
    EXPECT_EQ(given.warnings, Lines{});
    EXPECT_EQ(given.records.size(), 3U);
}

}  // namespace
}  // namespace fixture

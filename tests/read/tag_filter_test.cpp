// What is asked for when fields are chosen, and that reading by it shows what reading everything
// and choosing shows.

#include "read/tag_filter.h"

#include <algorithm>
#include <optional>
#include <random>
#include <set>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "host/host_parts.h"
#include "ifdsweep/read.h"
#include "ifdsweep/tag_list.h"
#include "read/field_selection.h"
#include "support/page_of_everything.h"
#include "support/tags.h"
#include "support/tiff_matrix.h"
#include "write/rendering.h"
#include "write/typed_writer.h"

namespace {

using fixture::ascii;
using fixture::Directory;
using fixture::numbers;
using fixture::pointer;
using fixture::shorts;
using ifdsweep::ChosenField;
using ifdsweep::DirectoryKind;

constexpr DirectoryKind kKinds[]{DirectoryKind::primary, DirectoryKind::gps,
                                 DirectoryKind::interoperability, DirectoryKind::exif};

using Tags = std::set<unsigned>;

Tags askedOf(const std::vector<ChosenField>& fields, DirectoryKind kind) {
    const ifdsweep::TagFilter filter = ifdsweep::tagFilter(fields);
    Tags tags;
    for (unsigned tag = 0; tag < 65536; ++tag) {
        if (filter.asksFor(kind, static_cast<std::uint16_t>(tag))) {
            tags.insert(tag);
        }
    }
    return tags;
}

struct Asked {
    const char* field;
    Tags primary;
    Tags exif;
    Tags gps;
    Tags interoperability;
};

TEST(TagFilters, AFieldAsksForWhatItIsMadeOf) {
    const Asked rows[]{{"Make", {271}, {271}, {}, {}},
                       {"Width", {256}, {256}, {}, {}},
                       {"Height", {257}, {257}, {}, {}},
                       {"BitDepth", {258, 277}, {}, {}, {}},
                       {"ColorType", {262}, {}, {}, {}},
                       {"BitsPerSample", {258, 277}, {258}, {}, {}},
                       {"MinSampleValue", {258, 277, 280}, {280}, {}, {}},
                       {"MaxSampleValue", {258, 277, 281}, {281}, {}, {}},
                       {"SubIFDs", {330}, {330}, {}, {}},
                       {"GPSLatitude", {}, {}, {2}, {}},
                       {"InteroperabilityIndex", {}, {}, {}, {1}},
                       {"FileSize", {}, {}, {}, {}}};
    for (const Asked& row : rows) {
        const std::vector<ChosenField> fields{{row.field, {}}};
        EXPECT_EQ(askedOf(fields, DirectoryKind::primary), row.primary) << row.field;
        EXPECT_EQ(askedOf(fields, DirectoryKind::exif), row.exif) << row.field;
        EXPECT_EQ(askedOf(fields, DirectoryKind::gps), row.gps) << row.field;
        EXPECT_EQ(askedOf(fields, DirectoryKind::interoperability), row.interoperability)
            << row.field;
    }
}

TEST(TagFilters, AnUnknownNumberIsAskedForEverywhere) {
    for (const DirectoryKind kind : kKinds) {
        EXPECT_EQ(askedOf({{"50000", 50000}}, kind), Tags{50000});
    }
}

TEST(TagFilters, APublicTagIsAskedForWhereItsNumberHasTheName) {
    for (const DirectoryKind kind : kKinds) {
        const bool isGps = kind == DirectoryKind::gps;
        const bool isTiff = kind == DirectoryKind::primary || kind == DirectoryKind::exif;
        EXPECT_EQ(askedOf({{"LensModel", 42036}}, kind), isTiff ? Tags{42036} : Tags{});
        EXPECT_EQ(askedOf({{"GPSHPositioningError", 31}}, kind), isGps ? Tags{31} : Tags{});
        EXPECT_EQ(askedOf({{"GPSHPositioningError", 31}, {"31", 31}}, kind), Tags{31});
    }
}

TEST(TagFilters, UnknownTagsAsksForAllThatHasNoName) {
    const std::vector<ChosenField> fields{{"UnknownTags", {}}};
    for (const DirectoryKind kind : kKinds) {
        const char* dictionary = kind == DirectoryKind::gps                ? "GPS"
                                 : kind == DirectoryKind::interoperability ? "Interoperability"
                                                                           : "TIFF";
        Tags unnamed;
        for (unsigned tag = 0; tag < 65536; ++tag) {
            unnamed.insert(unnamed.end(), tag);
        }
        for (const ifdsweep::TagListing& listing : ifdsweep::listTags()) {
            if (listing.dictionary == dictionary) {
                unnamed.erase(*listing.id);
            }
        }
        EXPECT_EQ(askedOf(fields, kind), unnamed);
    }
}

TEST(TagFilters, NeighboursAreNotAskedForAndNothingLiesBelow) {
    for (const unsigned tag : {0U, 511U, 512U, 1023U, 65535U}) {
        for (const DirectoryKind kind : kKinds) {
            ifdsweep::TagFilter filter;
            filter.ask(kind, 256);
            filter.ask(kind, static_cast<std::uint16_t>(tag));
            for (const DirectoryKind other : kKinds) {
                Tags asked;
                for (unsigned number = 0; number < 65536; ++number) {
                    if (filter.asksFor(other, static_cast<std::uint16_t>(number))) {
                        asked.insert(number);
                    }
                }
                EXPECT_EQ(asked, other == kind ? (Tags{256, tag}) : Tags{}) << tag;
                const bool leadsOn =
                    other == DirectoryKind::primary || other == DirectoryKind::exif;
                EXPECT_EQ(filter.asksBelow(other), leadsOn || other == kind) << tag;
            }
        }
    }
}

/// Reads files by a filter and without one.
class FilteredReading : public testing::Test {
protected:
    std::string shown(const fixture::Bytes& bytes, const std::vector<ChosenField>& fields,
                      const ifdsweep::TagFilter* filter) {
        filesOf(host).serve(u"a.tif", bytes);
        ifdsweep::Outcome outcome = ifdsweep::read(host, "a.tif", {.filter = filter});
        budgetIsSpent = std::any_of(outcome.warnings.begin(), outcome.warnings.end(),
                                    [](const ifdsweep::Warning& warning) {
                                        return warning.message.id().ends_with("BudgetSpent");
                                    });
        if (outcome.result == nullptr) {
            return std::string(outcome.error->id());
        }
        const ifdsweep::Host::Scope scope(host);
        const ifdsweep::ValueHandle chosen =
            ifdsweep::selectFields(std::move(outcome.result), fields);
        return rendering::rendered(
            [&](ifdsweep::Output& output) { ifdsweep::appendTypedValue(output, chosen.get()); });
    }

    void expectTheSame(const fixture::Bytes& bytes, const std::vector<ChosenField>& fields) {
        const ifdsweep::TagFilter filter = ifdsweep::tagFilter(fields);
        EXPECT_EQ(shown(bytes, fields, &filter), shown(bytes, fields, nullptr)) << fields[0].name;
    }

    static constexpr std::size_t kRounds = 4000;

    ifdsweep::Host host;
    bool budgetIsSpent = false;  ///< by the file read last
};

/// Pages that differ in what they lack, unnamed entries at every level, and pointers that hold no
/// offset.
fixture::Chain oddPages() {
    const Directory interop{ascii(1, "R98"), shorts(50000, {4})};
    const Directory gps{numbers(0, fixture::kByte, {2, 3, 0, 0}), shorts(50000, {3}),
                        shorts(256, {9})};
    const Directory exif{shorts(37383, {5}), shorts(50000, {2}), shorts(2, {6}),
                         pointer(fixture::kInterop, {{interop}})};
    const Directory sub{shorts(256, {3}), pointer(fixture::kGps, {{gps}})};
    return {{shorts(257, {2}), pointer(fixture::kSubIfds, {{sub}, {sub}})},
            {shorts(258, {4}), pointer(fixture::kExif, {{exif}})},
            {shorts(256, {4})},
            {shorts(277, {1, 2, 3}), shorts(50000, {1})},
            {numbers(fixture::kExif, fixture::kRational, {1, 2}),
             numbers(fixture::kGps, fixture::kAscii, {'x', 0}), shorts(262, {2})},
            {pointer(fixture::kGps, {{gps}}), shorts(280, {0, 0})}};
}

/// They, in a file of each format.
std::vector<fixture::Bytes> oddFiles() {
    std::vector<fixture::Bytes> files;
    for (const fixture::Format& format : fixture::kFormats) {
        fixture::TiffBuilder builder(format);
        for (const Directory& page : oddPages()) {
            builder.add(page);
        }
        files.push_back(builder.build().bytes);
    }
    return files;
}

TEST_F(FilteredReading, ShowsOfEachFieldWhatReadingEverythingShows) {
    std::vector<fixture::Bytes> files = oddFiles();
    for (const fixture::KindOfFile& kind : fixture::kKindsOfFile) {
        files.push_back(kind.make().bytes);
    }
    std::set<std::string_view> names;
    for (const ifdsweep::TagListing& listing : ifdsweep::listTags()) {
        names.insert(listing.name);
    }
    for (const fixture::Bytes& file : files) {
        for (const std::string_view name : names) {
            expectTheSame(file, {{std::string(name), {}}});
        }
        for (const std::uint16_t id : std::vector<std::uint16_t>{50000, 60000, 60001, 60002}) {
            expectTheSame(file, {{std::to_string(id), id}});
        }
        expectTheSame(file, {{"Make", {}}, {"UnknownTags", {}}, {"GPSVersionID", {}}});
    }
}

TEST_F(FilteredReading, ShowsTheSameOfDamagedFilesWhoseBudgetsLast) {
    const std::vector<fixture::Bytes> files = oddFiles();
    const std::vector<std::vector<ChosenField>> choices{
        {{"Make", {}}},        {{"Width", {}}, {"Height", {}}},
        {{"BitDepth", {}}},    {{"MaxSampleValue", {}}, {"ColorType", {}}},
        {{"UnknownTags", {}}}, {{"50000", 50000}},
        {{"GPSInfo", {}}},     {{"GPSVersionID", {}}},
        {{"SubIFDs", {}}},     {{"InteroperabilityIndex", {}}, {"LightSource", {}}}};
    std::mt19937 random(1);  // the same on every machine
    std::size_t compared = 0;
    for (std::size_t round = 0; round < kRounds; ++round) {
        fixture::Bytes bytes = files[random() % files.size()];
        for (std::size_t changes = 1 + random() % 4; changes > 0; --changes) {
            bytes[random() % bytes.size()] = static_cast<std::uint8_t>(random());
        }
        if (random() % 4 == 0) {
            bytes.resize(random() % bytes.size());
        }
        const std::vector<ChosenField>& fields = choices[random() % choices.size()];
        const ifdsweep::TagFilter filter = ifdsweep::tagFilter(fields);
        const std::string whole = shown(bytes, fields, nullptr);
        const bool isSpent = budgetIsSpent;
        const std::string filtered = shown(bytes, fields, &filter);
        if (isSpent || budgetIsSpent) {
            continue;
        }
        ++compared;
        ASSERT_EQ(filtered, whole) << "round " << round << ", " << fields[0].name;
    }
    EXPECT_GT(compared, kRounds / 2);
}

TEST_F(FilteredReading, SaysNothingOfWhatWasNotAskedFor) {
    fixture::TiffBuilder builder({fixture::Layout::big, fixture::ByteOrder::big});
    builder.add({shorts(256, {4}), ascii(fixture::kMake, "0123456789").withValueField(0x7FFFFFFF)});
    const fixture::Bytes bytes = builder.build().bytes;
    filesOf(host).serve(u"a.tif", bytes);
    const auto warningsWith = [&](const char* field, ifdsweep::ReadingMode reading) {
        const ifdsweep::TagFilter filter = ifdsweep::tagFilter({{field, {}}});
        return ifdsweep::read(host, "a.tif", {.reading = reading, .filter = &filter})
            .warnings.size();
    };
    EXPECT_EQ(warningsWith("Width", ifdsweep::ReadingMode::full), 0U);
    EXPECT_EQ(warningsWith("Make", ifdsweep::ReadingMode::full), 1U);
    EXPECT_EQ(warningsWith("Width", ifdsweep::ReadingMode::contract), 1U)
        << "the contract reads all";
}

}  // namespace

// Where warnings arise: the path as the text format prints it, the tag and the offset, also where
// the host gave warnings of its own or had no room for one.

#include <algorithm>
#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include <gtest/gtest.h>

#include "host/host_parts.h"
#include "ifdsweep/entry_sink.h"
#include "ifdsweep/messages.h"
#include "ifdsweep/read.h"
#include "ifdsweep/reading.h"
#include "support/tags.h"
#include "support/tiff_matrix.h"
#include "write/rendering.h"

namespace {

using fixture::ascii;
using fixture::Directory;
using fixture::Lines;
using fixture::longs;
using fixture::pointer;
using fixture::shorts;

/// An entry that is dropped with the warning `zeroComponentCount`, and kept apart by its tag.
fixture::Entry empty(std::uint16_t tag) {
    return shorts(tag, {});
}

/// Hears of everything, and keeps how often.
class CountingSink final : public ifdsweep::EntrySink {
public:
    explicit CountingSink(bool wantsEntries = true) : hears(wantsEntries) {}

    [[nodiscard]] bool hearsEntries() const noexcept override { return hears; }
    void directoryBegins(const ifdsweep::DirectoryFacts& directory) override {
        begun.push_back(directory.position);
    }
    void directoryEnds(const ifdsweep::DirectoryFacts&, bool) override { ++ended; }
    void entry(const ifdsweep::DirectoryFacts&, const ifdsweep::EntryFacts&) override { ++entries; }
    void warning(const qxMessage& message, const ifdsweep::WarningFacts&) override {
        warnings.emplace_back(ifdsweep::shortMessageId(message.id()));
    }

    std::vector<std::uint64_t> begun;
    std::size_t ended = 0;
    std::size_t entries = 0;
    Lines warnings;

private:
    bool hears;
};

class WarningPlaces : public fixture::TiffMatrix {
protected:
    ~WarningPlaces() override { EXPECT_EQ(host.liveValues(), 0U); }

    ifdsweep::Outcome read(const fixture::Bytes& bytes, const ifdsweep::ReadOptions& options = {}) {
        filesOf(host).serve(u"a.tif", bytes);
        return ifdsweep::read(host, "a.tif", options);
    }

    static std::string shown(const ifdsweep::Warning& warning) {
        const ifdsweep::WarningPlace& place = warning.place;
        return std::string(ifdsweep::shortMessageId(warning.message.id())) + ' ' +
               (place.path.empty() ? "-" : place.path) + ' ' +
               (place.tag ? std::to_string(*place.tag) : "-") + ' ' +
               (place.offset ? std::to_string(*place.offset) : "-");
    }

    static Lines shown(const ifdsweep::Outcome& outcome) {
        Lines lines;
        for (const ifdsweep::Warning& warning : outcome.warnings) {
            lines.push_back(shown(warning));
        }
        return lines;
    }

    /// A warning of an entry.
    static std::string at(const char* id, const char* path, std::uint16_t tag,
                          std::size_t position) {
        return std::string(id) + ' ' + path + ' ' + std::to_string(tag) + ' ' +
               std::to_string(position);
    }

    ifdsweep::Host host;
};

TEST_P(WarningPlaces, NameEveryDirectoryOnTheWay) {
    const Directory gps{empty(1)};
    const Directory exif{empty(33434), pointer(fixture::kInterop, {{{empty(1)}}})};
    const Directory sub{shorts(259, {1}), empty(60001)};
    const fixture::TiffFile file = fileOf(
        {{shorts(259, {1}), empty(60000)},
         {shorts(259, {1}), pointer(fixture::kSubIfds, {{sub}, {sub, sub}}),
          pointer(fixture::kExif, {{exif}}), pointer(fixture::kGps, {{gps}}), empty(60002)}});
    const auto& places = file.places;
    const char* const id = "zeroComponentCount";
    EXPECT_EQ(shown(read(file.bytes)),
              (Lines{at(id, "0", 60000, places[0].entries[1]),
                     at(id, "1/SubIFDs[0]/0", 60001, places[2].entries[1]),
                     at(id, "1/SubIFDs[1]/0", 60001, places[3].entries[1]),
                     at(id, "1/SubIFDs[1]/1", 60001, places[4].entries[1]),
                     at(id, "1/DigitalCamera/0", 33434, places[5].entries[0]),
                     at(id, "1/DigitalCamera/0/InteroperabilityIFD/0", 1, places[6].entries[0]),
                     at(id, "1/GPSInfo/0", 1, places[7].entries[0]),
                     at(id, "1", 60002, places[1].entries[4])}));
}

TEST_P(WarningPlaces, AreNoneOfTheContractsReading) {
    const fixture::TiffFile file = fileOf({{empty(60000), pointer(fixture::kGps, {{{empty(1)}}})}});
    for (const bool isTold : {false, true}) {
        CountingSink sink;
        const ifdsweep::Outcome outcome =
            read(file.bytes,
                 {.reading = ifdsweep::ReadingMode::contract, .sink = isTold ? &sink : nullptr});
        EXPECT_EQ(shown(outcome), (Lines{"zeroComponentCount - - -", "zeroComponentCount - - -"}));
        EXPECT_EQ(sink.warnings.size(), isTold ? 2U : 0U);
    }
}

TEST_P(WarningPlaces, AreNoneOfTheContractsReadingOfAFileThatFails) {
    const fixture::TiffFile file = fileOf({{empty(259)}, {shorts(256, {4}), shorts(257, {2})}});
    const fixture::Bytes cut(file.bytes.begin(), file.bytes.end() - 12);
    for (const bool isTold : {false, true}) {
        CountingSink sink;
        const ifdsweep::Outcome outcome = read(
            cut, {.reading = ifdsweep::ReadingMode::contract, .sink = isTold ? &sink : nullptr});
        ASSERT_TRUE(outcome.error);
        EXPECT_EQ(ifdsweep::shortMessageId(outcome.error->id()), "badIFDread");
        EXPECT_EQ(shown(outcome), (Lines{"zeroComponentCount - - -"}));
    }
}

TEST_P(WarningPlaces, OfADirectoryThatNeverBeganNameIt) {
    // Both pointers lead to the same place; the directories begin at the same address in memory.
    const std::uint16_t type = format().isBig() ? fixture::kLong8 : fixture::kLong;
    fixture::TiffFile file = fileOf({{shorts(259, {1}), pointer(fixture::kExif, {{}}, type),
                                      pointer(fixture::kGps, {{}}, type)}});
    const std::string position = ' ' + std::to_string(file.places[1].position);
    file.setOffset(file.places[0].data[2], file.offsetOf(file.places[1].position));
    const std::string next = " - " + std::to_string(file.places[0].next);
    file.setOffset(file.places[0].next, 0x7FFFFFF0);
    EXPECT_EQ(shown(read(file.bytes)),
              (Lines{"numDirectoryEntriesIsZero 0/DigitalCamera/0 -" + position,
                     "numDirectoryEntriesIsZero 0/GPSInfo/0 -" + position,
                     "nextIfdPointerOutOfRange 0" + next}));
}

TEST_P(WarningPlaces, BehindTheWalkAreNone) {
    const ifdsweep::Outcome outcome =
        read(fileOf({{ascii(fixture::kMake, "0123456789")}}).bytes, {.longestValue = 9});
    EXPECT_EQ(shown(outcome), (Lines{"valuesNotLoaded - - -"}));
}

TEST_P(WarningPlaces, TheHostsOwnWarningsHaveTheDirectoryAlone) {
    const fixture::TiffFile file = fileOf(
        {{shorts(259, {1}), empty(60000), ascii(fixture::kMake, "0123456789"), empty(60001)}},
        fixture::kFar);
    // From no budget at all to one that is enough: the host's warning comes before that of what it
    // refused, whatever that is.
    std::map<std::string, int> seen;
    for (std::uint64_t budget = 0; budget < 400; ++budget) {
        const ifdsweep::Outcome outcome = read(file.bytes, {.readBudget = budget});
        const Lines lines = shown(outcome);
        for (std::size_t index = 0; index < lines.size(); ++index) {
            if (!lines[index].starts_with("readBudgetSpent")) {
                continue;
            }
            ++seen[lines[index]];
            if (lines[index] == "readBudgetSpent 0 - -") {
                ASSERT_LT(index + 1, lines.size());
                EXPECT_EQ(lines[index + 1].find(" 0 "), lines[index + 1].find(' '))
                    << lines[index + 1];
            }
        }
    }
    EXPECT_GT(seen["readBudgetSpent 0 - -"], 0);
    EXPECT_EQ(seen.size(), seen.contains("readBudgetSpent - - -") ? 2U : 1U);
}

TEST_P(WarningPlaces, AWarningThatTheHostRefusedTakesNoPlaceOfAnother) {
    // Warnings enough to spend any budget, each with a tag of its own.
    std::vector<fixture::Entry> entries;
    for (std::uint16_t tag = 0; tag < 3000; ++tag) {
        entries.push_back(empty(static_cast<std::uint16_t>(40000 + tag)));
    }
    entries.push_back(shorts(259, {1}));
    const fixture::TiffFile file = fileOf({Directory(entries)});
    CountingSink sink;
    const ifdsweep::Outcome outcome = read(file.bytes, {.valueBudget = 100'000, .sink = &sink});
    EXPECT_EQ(std::count(sink.warnings.begin(), sink.warnings.end(), "zeroComponentCount"), 3000)
        << "the sink hears of all";
    ASSERT_LT(outcome.warnings.size(), 2000U);
    std::uint16_t tag = 40000;
    std::size_t own = 0;
    for (const ifdsweep::Warning& warning : outcome.warnings) {
        if (!warning.place.tag) {
            own += warning.message.id() == "Velmora:filesystem:valueBudgetSpent" ? 1U : 0U;
            continue;
        }
        ASSERT_EQ(warning.place.tag, tag++);
        ASSERT_EQ(warning.place.path, "0");
    }
    EXPECT_EQ(own, 1U);
}

TEST_P(WarningPlaces, TheHostsEarlierWarningsKeepTheirsToThemselves) {
    const fixture::TiffFile file = fileOf({{shorts(259, {1}), empty(60000)}});
    {
        const ifdsweep::Host::Scope scope(host);
        qxWarningMsgId(qxMessage("ifdsweep:earlier", {}));
    }
    EXPECT_EQ(
        shown(read(file.bytes)),
        (Lines{"earlier - - -", at("zeroComponentCount", "0", 60000, file.places[0].entries[1])}));
}

TEST_P(WarningPlaces, LongPathsCountAgainstTheBudget) {
    // At the deepest level there are warnings whose paths are much longer than they are.
    std::vector<fixture::Entry> deepest;
    for (std::uint16_t tag = 0; tag < 500; ++tag) {
        deepest.push_back(empty(static_cast<std::uint16_t>(50000 + tag)));
    }
    Directory directory(deepest);
    for (int level = 0; level < 60; ++level) {
        directory = Directory{shorts(259, {1}), pointer(fixture::kSubIfds, {{directory}})};
    }
    const fixture::Bytes bytes = fileOf({directory}).bytes;
    // What the call comes to is known to its sink.
    class Probe final : public ifdsweep::EntrySink {
    public:
        explicit Probe(const ifdsweep::Host& probed) : host(probed) {}
        [[nodiscard]] bool hearsEntries() const noexcept override { return false; }
        void directoryBegins(const ifdsweep::DirectoryFacts&) override {}
        void directoryEnds(const ifdsweep::DirectoryFacts&, bool) override {}
        void entry(const ifdsweep::DirectoryFacts&, const ifdsweep::EntryFacts&) override {}
        void warning(const qxMessage&, const ifdsweep::WarningFacts&) override {
            counted = host.countedValues();
        }

        std::uint64_t counted = 0;

    private:
        const ifdsweep::Host& host;
    };
    Probe placed(host);
    std::size_t pathSize = 0;
    for (const ifdsweep::Warning& warning : read(bytes, {.sink = &placed}).warnings) {
        pathSize += warning.place.path.size();
    }
    EXPECT_GT(pathSize, 500U * 60);
    // Without places, as the walk itself gives them.
    Probe bare(host);
    {
        const ifdsweep::Host::Scope scope(host);
        const ifdsweep::ValueHandle records(ifdsweep::readDirectories(
            u"a.tif", 0, 0, 0, {.rules = ifdsweep::ReadingRules::full(), .sink = &bare}));
    }
    EXPECT_EQ(placed.counted - bare.counted, 4 * (pathSize - 500 * 64));
}

TEST_P(WarningPlaces, AnotherSinkHearsEverything) {
    const fixture::TiffFile file =
        fileOf({{shorts(259, {1}), empty(60000), pointer(fixture::kGps, {{{empty(1)}}})}});
    for (const bool hears : {true, false}) {
        CountingSink sink(hears);
        const ifdsweep::Outcome outcome = read(file.bytes, {.sink = &sink});
        EXPECT_EQ(sink.begun,
                  (std::vector<std::uint64_t>{file.places[0].position, file.places[1].position}));
        EXPECT_EQ(sink.ended, 2U);
        EXPECT_EQ(sink.entries > 0, hears);
        EXPECT_EQ(sink.warnings, (Lines{"zeroComponentCount", "zeroComponentCount"}));
        EXPECT_EQ(outcome.warnings.size(), 2U);
    }
}

IFDSWEEP_TIFF_MATRIX(WarningPlaces);

}  // namespace

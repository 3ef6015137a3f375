// A file that fails while it is read: every read and every seek of a call in turn. Among the
// messages are those that no file on a sound file system leads to.

#include <functional>

#include "support/planned_faults.h"
#include "support/tags.h"
#include "support/tiff_matrix.h"

namespace fixture {
namespace {

/// Two pages: a value that lies away from its entry and a nested directory in the first, a text in
/// the second.
Chain twoPages() {
    return {{ascii(kMake, "Example Optics"), pointer(kSubIfds, {{{ascii(315, "sub")}}})},
            {ascii(315, "two")}};
}

/// Where things lie in the two pages.
struct Map {
    explicit Map(const TiffFile& file)
        : value(std::to_string(file.places[0].data[0])),
          nested(std::to_string(file.places[1].position)),
          nestedNext(std::to_string(file.places[1].next)),
          firstNext(std::to_string(file.places[0].next)),
          second(std::to_string(file.places[2].position)),
          secondNext(std::to_string(file.places[2].next)),
          first(std::to_string(file.places[0].position)) {}

    std::string value, nested, nestedNext, firstNext, second, secondNext, first;
};

/// What a call gives when one operation of it fails.
struct Expected {
    const char* operation;
    std::uint64_t number;
    std::uint64_t delivered;  ///< bytes of an access that still come; 0 for none, with an error
    std::string error;
    Lines warnings;
    Lines added;  ///< of every record
};

const char* const kWhole = "Make='Example Optics' SubIFDs={(Artist='sub')}";
const char* const kWithoutNested = "Make='Example Optics'";
const char* const kWithoutValue = "SubIFDs={(Artist='sub')}";
const char* const kSecond = "Artist='two'";

/// Sets of fields as the whole chain has them: the first record shows the second's fields empty.
Lines addedOf(const Call& given) {
    Lines lines;
    for (std::size_t element = 0; element < given.records.size(); ++element) {
        lines.push_back(given.added(element));
    }
    return lines;
}

/// The host's own warning of a read that fails where the expected one says, or at the beginning.
std::string failedAt(const Expected& expected) {
    std::string position = "0";
    if (!expected.warnings.empty()) {
        const std::string& warning = expected.warnings.front();
        const std::size_t begin = warning.find_last_of("( ") + 1;
        position = warning.substr(begin, warning.size() - 1 - begin);
    }
    return "Velmora:filesystem:readFailed('Input/output error', " + position + ')';
}

class Failure : public TiffMatrix {
protected:
    Failure() : file(fileOf(twoPages(), kFar)), map(file) {}

    [[nodiscard]] Call calledWith(const Fault& fault, const Numbers& numbers = {}) const {
        return callEntryPoint(file.bytes, numbers,
                              [&](ifdsweep::Host& host) { fixture::setFaultPlan(host, {fault}); });
    }

    void expect(const Expected& expected, const Fault& fault) const {
        const Call given = calledWith(fault);
        EXPECT_EQ(given.error, expected.error) << expected.operation;
        EXPECT_EQ(given.warnings, expected.warnings) << expected.operation;
        EXPECT_EQ(addedOf(given), expected.added) << expected.operation;
    }

    TiffFile file;
    Map map;
};
IFDSWEEP_TIFF_MATRIX(Failure);

TEST_P(Failure, OfEachReadInTurn) {
    const auto countUnread = [](const std::string& position) {
        return Lines{"numberOfDirectoryEntriesReadError(" + position + ')'};
    };
    const auto nextUnread = [](const std::string& position) {
        return Lines{"nextIfdOffsetReadError(" + position + ')'};
    };
    // The first two accesses look at what the file is. In a BigTIFF a seek parts the header.
    const std::uint64_t big = format().isBig() ? 1 : 0;
    const std::uint64_t count = file.format.entryCountSize();
    const Expected reads[] = {
        {"byte-order mark", 3, 1, "tiffHeaderReadFailure()", {}, {}},
        {"version", 3, 3, "tiffHeaderReadFailure()", {}, {}},
        {"first offset", 3 + big, 4 + 3 * big, "tiffHeaderReadFailure()", {}, {}},
        {"first count", 4 + big, 1, "", countUnread(map.first), {}},
        {"first table", 4 + big, count + 1, "badIFDread('IFD #1')", {}, {}},
        {"value",
         5 + big,
         1,
         "",
         {"unableToReadTiffTag('Make', " + map.value + ')'},
         {kWithoutValue, kSecond}},
        {"nested count", 6 + big, 1, "", countUnread(map.nested), {kWithoutNested, kSecond}},
        {"nested table", 6 + big, count + 1, "badIFDread('IFD #1')", {}, {}},
        {"nested next", 7 + big, 1, "", nextUnread(map.nestedNext), {kWhole, kSecond}},
        {"first next", 8 + big, 1, "", nextUnread(map.firstNext), {kWhole}},
        {"second count", 9 + big, 1, "", countUnread(map.second), {kWhole}},
        {"second table", 9 + big, count + 1, "badIFDread('IFD #1')", {}, {}},
        {"second next", 10 + big, 1, "", nextUnread(map.secondNext), {kWhole, kSecond}},
    };
    for (const Expected& expected : reads) {
        Fault fault{.operation = Fault::Operation::read,
                    .number = expected.number,
                    .effect = Fault::Effect::deliverShort,
                    .bytes = expected.delivered};
        expect(expected, fault);
        // One that fails at once gives nothing of what the access begins with.
        if (expected.delivered == 1) {
            fault.effect = Fault::Effect::fail;
            Expected told = expected;
            told.warnings.insert(told.warnings.begin(), failedAt(expected));
            expect(told, fault);
        }
    }
    const Call behindAll = calledWith({.operation = Fault::Operation::read, .number = 11 + big});
    EXPECT_EQ(addedOf(behindAll), (Lines{kWhole, kSecond})) << "there is no further access";
    EXPECT_EQ(behindAll.warnings, Lines{});
}

TEST_P(Failure, OfEachSeekInTurn) {
    const Lines nextLost{"badNextIfdPointerSeek()"};
    // In a BigTIFF a seek passes over the offset size.
    std::uint64_t number = format().isBig() ? 2 : 1;
    const Expected seeks[] = {
        {"first directory", number++, 0, "badTiffHeaderIfdOffset()", {}, {}},
        {"value", number++, 0, "", {"badTagDataOffsetSeek(271)"}, {kWithoutValue, kSecond}},
        {"nested directory",
         number++,
         0,
         "",
         {"badSubIfdSeek(" + map.nested + ')'},
         {kWithoutNested, kSecond}},
        {"nested next", number++, 0, "", nextLost, {kWhole, kSecond}},
        {"back from the nested directory", number++, 0, "", {}, {kWhole, kSecond}},
        {"first next", number++, 0, "", nextLost, {kWhole}},
        {"second directory", number++, 0, "", nextLost, {kWhole}},
        {"second next", number++, 0, "", nextLost, {kWhole, kSecond}},
    };
    for (const Expected& expected : seeks) {
        expect(expected, {.operation = Fault::Operation::seek, .number = expected.number});
    }
    const Call behindAll = calledWith({.operation = Fault::Operation::seek, .number = number});
    EXPECT_EQ(addedOf(behindAll), (Lines{kWhole, kSecond})) << "there is no further seek";
}

TEST_P(Failure, OfTheSeekToASkippedDirectory) {
    // First directory, its next offset, second directory: the one in between may fail, and the
    // offset is then read from where the stream stands.
    const std::uint64_t first = format().isBig() ? 2 : 1;
    for (const std::uint64_t number : {first, first + 2}) {
        const Call given = calledWith({.operation = Fault::Operation::seek, .number = number},
                                      {.firstIfdIndex = 1});
        EXPECT_EQ(given.error, "badTiffHeaderIfdOffset()") << "seek " << number;
        EXPECT_EQ(given.warnings, Lines{});
    }
}

TEST_P(Failure, OfAFileThatShrinksWhileItIsRead) {
    // Cut to its header just before a read: what was read stays.
    const auto shrunkAt = [&](std::uint64_t number) {
        return calledWith({.operation = Fault::Operation::read,
                           .number = number,
                           .effect = Fault::Effect::shrinkFile,
                           .bytes = 4});
    };
    const std::uint64_t big = format().isBig() ? 1 : 0;
    const Call atValue = shrunkAt(5 + big);
    EXPECT_EQ(atValue.error, "");
    EXPECT_EQ(atValue.warnings, (Lines{"unableToReadTiffTag('Make', " + map.value + ')',
                                       "numberOfDirectoryEntriesReadError(" + map.nested + ')',
                                       "nextIfdOffsetReadError(" + map.firstNext + ')'}));
    EXPECT_EQ(addedOf(atValue), (Lines{""}));
    const Call atSecond = shrunkAt(9 + big);
    EXPECT_EQ(atSecond.warnings, (Lines{"numberOfDirectoryEntriesReadError(" + map.second + ')'}));
    EXPECT_EQ(addedOf(atSecond), (Lines{kWhole}));
}

}  // namespace
}  // namespace fixture

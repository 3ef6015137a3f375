// A good file cut at every length, with every byte changed, with every read and every seek failing:
// what lies before the damage is read, the call ends with a result or an error of the catalogue, no
// value is left alive, and the same bytes give the same.

#include <algorithm>
#include <set>

#include "support/planned_faults.h"
#include "support/tiff_matrix.h"

namespace fixture {
namespace {

/// A page with values of all shapes and nested directories.
Directory richPage() {
    const Directory exif{numbers(33434, kRational, {1, 250}), ascii(36867, "2024:05:17 09:30:00"),
                         pointer(40965, {{{ascii(1, "R98")}}})};
    const Directory gps{numbers(0, kByte, {2, 3, 0, 0}),
                        numbers(2, kRational, {51, 1, 28, 1, 40, 1})};
    return {shorts(256, {40}),
            shorts(257, {30}),
            shorts(258, {8, 8, 8}),
            shorts(262, {2}),
            ascii(271, "Example Optics"),
            longs(273, {8, 16, 24}),
            shorts(320, {0, 1, 2, 3, 4, 5}),
            shorts(339, {1, 1, 1}),
            numbers(700, kByte, {'<', 'x', '>', 0, 0, 0, 0, 0, 0}),
            doubles(60000, {0.5, -1}),
            pointer(330, {{{ascii(315, "sub")}}}),
            pointer(34665, {{exif}}),
            pointer(34853, {{gps}})};
}

class Damage : public TiffMatrix {
protected:
    Damage()
        : file(fileOf({richPage(), richPage()})), whole(firstRecord(callEntryPoint(file.bytes))) {}

    /// What the first record holds, without the size of the file. Fields that only the second one
    /// fills are left out.
    static std::string firstRecord(const Call& given) {
        std::string text;
        for (const auto& [name, value] : given.records.at(0)) {
            if (name != "FileSize" && value != "empty") {
                text += name + '=' + value + ' ';
            }
        }
        return text;
    }

    /// Where the second page begins: everything of the first one lies before.
    [[nodiscard]] std::size_t secondPage() const {
        const auto behindFirst =
            std::find_if(file.places.begin() + 1, file.places.end(), [&](const Place& place) {
                return place.entries.size() == file.places[0].entries.size();
            });
        return behindFirst->position;
    }

    TiffFile file;
    std::string whole;
};
IFDSWEEP_TIFF_MATRIX(Damage);

/// Errors that damage may lead to; every other is none of the module's.
bool isExpected(const std::string& error) {
    static const std::set<std::string> kErrors{
        "",           "tiffHeaderReadFailure", "badEndianness",      "badTiffIfdOffset",
        "badIFDread", "badTagDataCount",       "unableToReadTagData"};
    return kErrors.count(error.substr(0, error.find('('))) == 1;
}

TEST_P(Damage, UndamagedItDrawsNoMessage) {
    const Call given = callEntryPoint(file.bytes);
    EXPECT_EQ(given.error, "");
    EXPECT_EQ(given.result, "struct 2x1");
    EXPECT_EQ(given.warnings, Lines{});
}

TEST_P(Damage, CutAtEveryLength) {
    std::size_t read = 0;
    for (std::size_t length = 0; length <= file.bytes.size(); ++length) {
        const Bytes cut = truncated(file.bytes, length);
        const Call given = callEntryPoint(cut);
        ASSERT_EQ(given.text(), callEntryPoint(cut).text()) << "cut at " << length;
        ASSERT_NE(given.error.empty(), given.result.empty()) << "cut at " << length;
        ASSERT_TRUE(isExpected(given.error)) << "cut at " << length << ": " << given.error;
        if (length >= secondPage() && given.error.empty()) {
            ASSERT_EQ(firstRecord(given), whole) << "cut at " << length;
            ++read;
        } else if (length >= secondPage()) {
            // The table of a directory that is cut is the one error that takes the rest with it.
            ASSERT_EQ(given.error, "badIFDread('IFD #1')") << "cut at " << length;
        }
        ASSERT_EQ(given.error.empty() && given.warnings.empty(), length == file.bytes.size())
            << "cut at " << length;
    }
    EXPECT_GT(read, 100U);
}

TEST_P(Damage, EveryByteChanged) {
    for (std::size_t position = 0; position < file.bytes.size(); ++position) {
        for (const int mask : {0x01, 0x80, 0xFF}) {
            const Call given =
                callEntryPoint(flipped(file.bytes, position, static_cast<std::uint8_t>(mask)));
            ASSERT_TRUE(isExpected(given.error)) << "at " << position << ": " << given.error;
            if (position >= secondPage() && given.error.empty()) {
                ASSERT_EQ(firstRecord(given), whole) << "at " << position;
            }
        }
    }
}

TEST_P(Damage, EveryReadAndSeekFails) {
    using Operation = fixture::Fault::Operation;
    using Effect = fixture::Fault::Effect;
    struct Kind {
        Operation operation;
        Effect effect;
    };
    const Kind kinds[]{
        {Operation::read, Effect::fail},       {Operation::read, Effect::deliverShort},
        {Operation::read, Effect::shrinkFile}, {Operation::seek, Effect::fail},
        {Operation::seek, Effect::shrinkFile},
    };
    for (const Kind& kind : kinds) {
        for (std::uint64_t number = 1; number <= 120; ++number) {
            const Call given = callEntryPoint(file.bytes, {}, [&](ifdsweep::Host& host) {
                fixture::setFaultPlan(host, {{kind.operation, number, kind.effect, 3}});
            });
            ASSERT_NE(given.error.empty(), given.result.empty()) << number;
            ASSERT_EQ(given.error.rfind("exception", 0), std::string::npos) << given.error;
        }
    }
}

}  // namespace
}  // namespace fixture

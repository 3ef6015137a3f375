// Whole integers: pointers and values of 8 bytes, pointers of other types.

#include <limits>
#include <utility>

#include "support/planned_faults.h"
#include "support/record_dump.h"
#include "support/rule_rows.h"
#include "support/tags.h"
#include "support/tiff_matrix.h"

namespace fixture {
namespace {

constexpr Rule kRule = &ifdsweep::ReadingRules::wholeIntegers;

/// A directory told apart by its Artist.
Directory named(std::string_view artist) {
    return {ascii(kArtist, artist)};
}

/// What the header gives when it is read as a directory, which no file here can hold.
const std::string kHeaderRead = "error badIFDread('IFD #1')";

std::string unreadable(std::uint64_t position) {
    return "numberOfDirectoryEntriesReadError(" +
           std::to_string(static_cast<std::int64_t>(position)) + ')';
}

std::string unsought(std::uint64_t position) {
    return "badSubIfdSeek(" + std::to_string(static_cast<std::int64_t>(position)) + ')';
}

/// The warning about a type of SubIFDs; none for those that the tag may have.
Lines typeWarning(std::string_view type) {
    return type.empty() ? Lines{}
                        : Lines{"expectedTagDataFormatMultiple('SubIFDs', 'TIFF_" +
                                std::string(type) + "', 'TIFF_IFD, TIFF_LONG, TIFF_IFD8')"};
}

Lines operator+(Lines lines, const Lines& more) {
    lines.insert(lines.end(), more.begin(), more.end());
    return lines;
}

struct Type {
    std::uint16_t code;
    const char* warned;  ///< its name, where SubIFDs may not have it
};

constexpr Type kEightBytes[] = {{kLong8, "LONG8"}, {kSLong8, "SLONG8"}, {kIfd8, ""}};

class PointerRules : public TiffMatrix {
protected:
    /// A file whose first directory points at nothing yet, with a second one behind it that only
    /// pointers lead to.
    static TiffFile aimed(const Entry& entry) {
        return fileOf({Directory{entry, ascii(kMake, "m")}.withNext(0), named("nested")});
    }
    static std::uint64_t targetOf(const TiffFile& file) {
        return file.offsetOf(file.places[1].position);
    }
    static void setPointer(TiffFile& file, std::size_t width, std::uint64_t value,
                           std::size_t index = 0) {
        setWord(file.bytes, file.places[0].data[0] + index * width, width, value,
                file.format.byteOrder);
    }
};
IFDSWEEP_TIFF_MATRIX(PointerRules);

TEST_P(PointerRules, EightBytesAreOneOffset) {
    for (const auto& [code, warned] : kEightBytes) {
        const Lines warning = typeWarning(warned);
        const Chain one{{pointer(kSubIfds, {{named("1")}}, code)}};
        const Lines shown = warning + Lines{"struct 1x1", "SubIFDs={(Artist='1')}"};
        expectBoth({"one", fileOf(one).bytes, shown, shown}, kRule);
        // By four-byte slots the second pointer is the upper half of the first.
        const Chain two{{pointer(kSubIfds, {{named("1")}, {named("2")}}, code)}};
        expectBoth({"two", fileOf(two).bytes, warning + Lines{kHeaderRead},
                    warning + Lines{"struct 1x1", "SubIFDs={(Artist='1'), (Artist='2')}"}},
                   kRule);
        const Chain three{{pointer(kSubIfds, {{named("1")}, {named("2")}, {named("3")}}, code)}};
        expectBoth(
            {"three", fileOf(three).bytes, warning + Lines{kHeaderRead},
             warning + Lines{"struct 1x1", "SubIFDs={(Artist='1'), (Artist='2'), (Artist='3')}"}},
            kRule);
    }
}

TEST_P(PointerRules, TheUpperHalfCounts) {
    for (const auto& [code, warned] : kEightBytes) {
        const Lines warning = typeWarning(warned);
        TiffFile file = aimed(numbers(kSubIfds, code, {0}));
        const std::uint64_t target = targetOf(file);
        const std::uint64_t size = file.bytes.size();
        const Lines seen{"struct 1x1", "Make='m' SubIFDs={(Artist='nested')}"};
        const Lines unseen{"struct 1x1", "Make='m'"};
        constexpr std::uint64_t kLow = 0xFFFFFFFF;
        constexpr std::uint64_t kTop = std::uint64_t{1} << 63U;
        struct Limit {
            std::uint64_t offset;
            Lines contract;
            Lines full;
        };
        const Limit limits[] = {
            {target, seen, seen},
            {size - 1, Lines{unreadable(size - 1)} + unseen, Lines{unreadable(size - 1)} + unseen},
            {size, Lines{unreadable(size)} + unseen, Lines{unreadable(size)} + unseen},
            {kLow, Lines{unreadable(kLow)} + unseen, Lines{unreadable(kLow)} + unseen},
            {kLow + 1, {kHeaderRead}, Lines{unreadable(kLow + 1)} + unseen},
            {kLow + 1 + target, seen, Lines{unreadable(kLow + 1 + target)} + unseen},
            {kTop - 1, Lines{unreadable(kLow)} + unseen, Lines{unreadable(kTop - 1)} + unseen},
            {kTop, {kHeaderRead}, Lines{unsought(kTop)} + unseen},
            {kTop + target, seen, Lines{unsought(kTop + target)} + unseen},
            {~std::uint64_t{0}, Lines{unreadable(kLow)} + unseen,
             Lines{unsought(~std::uint64_t{0})} + unseen},
        };
        for (const Limit& limit : limits) {
            setPointer(file, 8, limit.offset);
            expectBoth({std::to_string(limit.offset), file.bytes, warning + limit.contract,
                        warning + limit.full},
                       kRule);
        }
    }
}

TEST_P(PointerRules, EightBytesCountFromTheHeader) {
    TiffBuilder builder(format());
    TiffFile file =
        builder.add({numbers(kExif, kIfd8, {0}), ascii(kArtist, "x")})
            .buildBehind(format().isBig() ? Bytes(24, 'x') : Bytes{0x4D, 0x4D, 0, 42, 1, 2});
    const Numbers numbers{.initialOffset = static_cast<double>(file.base)};
    constexpr std::uint64_t kTop = std::uint64_t{1} << 63U;
    const Lines shown{"struct 1x1", "Artist='x'"};
    const std::uint64_t low = (kTop - file.base) & 0xFFFFFFFF;
    setPointer(file, 8, kTop - file.base - 1);
    expectBoth({"before", file.bytes, Lines{unreadable(low - 1 + file.base)} + shown,
                Lines{unreadable(kTop - 1)} + shown, numbers},
               kRule);
    setPointer(file, 8, kTop - file.base);
    expectBoth({"at", file.bytes, Lines{unreadable(low + file.base)} + shown,
                Lines{unsought(kTop)} + shown, numbers},
               kRule);
}

TEST_P(PointerRules, APointerThatCannotBeSoughtLosesItselfAlone) {
    TiffFile file = fileOf(
        {{pointer(kSubIfds, {{named("1")}, {named("2")}, {named("3")}, {named("4")}}, kIfd8)}});
    setPointer(file, 8, std::uint64_t{1} << 63U, 1);
    setPointer(file, 8, ~std::uint64_t{0}, 2);
    expectBoth({"two of four",
                file.bytes,
                {kHeaderRead},
                {unsought(std::uint64_t{1} << 63U), unsought(~std::uint64_t{0}), "struct 1x1",
                 "SubIFDs={(Artist='1'), (Artist='4')}"}});
}

TEST_P(PointerRules, ASeekThatFailsLosesOneChain) {
    const TiffFile file = fileOf({{pointer(kSubIfds, {{named("1")}, {named("2")}, {named("3")}})}});
    const auto withoutSeek = [&](const ifdsweep::Reading& reading, std::uint64_t number) {
        return callReading(file.bytes, reading, {}, [number](ifdsweep::Host& host) {
            setFaultPlan(host, {{.operation = Fault::Operation::seek, .number = number}});
        });
    };
    const auto isLost = [](const Call& given) {
        return given.warnings.size() == 1 && given.warnings[0].rfind("badSubIfdSeek(", 0) == 0;
    };
    std::vector<std::string> left;
    for (std::uint64_t number = 1; number < 30; ++number) {
        const Call contract = withoutSeek({}, number);
        const Call full = withoutSeek(fullReading(), number);
        EXPECT_EQ(isLost(full), isLost(contract)) << number;
        if (isLost(full)) {
            EXPECT_EQ(contract.added(), "") << number;
            left.push_back(full.added());
        }
    }
    EXPECT_EQ(left,
              (Lines{"SubIFDs={(Artist='2'), (Artist='3')}", "SubIFDs={(Artist='1'), (Artist='3')}",
                     "SubIFDs={(Artist='1'), (Artist='2')}"}));
}

TEST_P(PointerRules, TwoBytesAreOneOffset) {
    for (const auto& [code, warned] : {Type{kShort, "SHORT"}, Type{kSShort, "SSHORT"}}) {
        const Lines warning = typeWarning(warned);
        const Chain one{{pointer(kSubIfds, {{named("1")}}, code)}};
        const Lines shown = warning + Lines{"struct 1x1", "SubIFDs={(Artist='1')}"};
        expectBoth({"one", fileOf(one).bytes, shown, shown}, kRule);

        const TiffFile two = fileOf({{pointer(kSubIfds, {{named("1")}, {named("2")}}, code)}});
        const auto offsetOf = [](const TiffFile& file, std::size_t place) {
            return file.offsetOf(file.places[place].position);
        };
        const std::uint64_t both = offsetOf(two, 1) | offsetOf(two, 2) << 16U;
        expectBoth({"two", two.bytes, warning + Lines{unreadable(both), "struct 1x1", ""},
                    warning + Lines{"struct 1x1", "SubIFDs={(Artist='1'), (Artist='2')}"}},
                   kRule);

        const TiffFile three =
            fileOf({{pointer(kSubIfds, {{named("1")}, {named("2")}, {named("3")}}, code)}});
        const std::uint64_t firstTwo = offsetOf(three, 1) | offsetOf(three, 2) << 16U;
        expectBoth(
            {"three", three.bytes,
             warning + Lines{unreadable(firstTwo), "struct 1x1", "SubIFDs={(Artist='3')}"},
             warning + Lines{"struct 1x1", "SubIFDs={(Artist='1'), (Artist='2'), (Artist='3')}"}},
            kRule);
    }
}

/// Puts a directory of one inline entry at a position behind the file.
void appendDirectory(TiffFile& file, std::size_t position) {
    const Format& format = file.format;
    file.bytes.resize(position);
    const auto append = [&](std::size_t width, std::uint64_t value) {
        appendWord(file.bytes, width, value, format.byteOrder);
    };
    append(format.entryCountSize(), 1);
    append(2, kArtist);
    append(2, kAscii);
    append(format.offsetSize(), 1);
    file.bytes.push_back('z');
    file.bytes.resize(file.bytes.size() + format.offsetSize() - 1);
    append(format.offsetSize(), 0);
}

TEST_P(PointerRules, TwoBytesHaveNoSign) {
    for (const auto& [code, warned] : {Type{kShort, "SHORT"}, Type{kSShort, "SSHORT"}}) {
        for (const std::uint64_t position : {0x7FFEU, 0x8000U, 0xFFFFU}) {
            TiffFile file =
                fileOf({{numbers(kSubIfds, code, {static_cast<std::int64_t>(position)})}});
            appendDirectory(file, position);
            const Lines shown = typeWarning(warned) + Lines{"struct 1x1", "SubIFDs={(Artist='z')}"};
            expectBoth({std::to_string(position), file.bytes, shown, shown}, kRule);
        }
    }
}

TEST_P(PointerRules, FourBytesAreOneOffsetInBothReadings) {
    for (const auto& [code, warned] : {Type{kLong, ""}, Type{kSLong, "SLONG"}, Type{kIfd, ""}}) {
        const Lines warning = typeWarning(warned);
        const Chain chain{{pointer(kSubIfds, {{named("1")}, {named("2")}}, code)}};
        const Lines two = warning + Lines{"struct 1x1", "SubIFDs={(Artist='1'), (Artist='2')}"};
        expectBoth({"two", fileOf(chain).bytes, two, two}, kRule);
        for (const std::uint64_t offset : {0x7FFFFFFFU, 0x80000000U, 0xFFFFFFFFU}) {
            TiffFile file = aimed(numbers(kSubIfds, code, {static_cast<std::int64_t>(offset)}));
            const Lines past = warning + Lines{unreadable(offset), "struct 1x1", "Make='m'"};
            expectBoth({std::to_string(offset), file.bytes, past, past}, kRule);
        }
    }
}

TEST_P(PointerRules, SingleBytesFillSlotsOfFourInBothReadings) {
    for (const auto& [code, warned] :
         {Type{kByte, "BYTE"}, Type{kSByte, "SBYTE"}, Type{kUndefined, "UNDEFINED"}}) {
        for (std::size_t count = 1; count <= 9; ++count) {
            TiffFile file = aimed(numbers(kSubIfds, code, std::vector<std::int64_t>(count)));
            ASSERT_LT(targetOf(file), 256U);
            std::string cells;
            for (std::size_t slot = 0; slot < count; slot += 4) {
                setPointer(file, 1, targetOf(file), slot);
                cells += (slot > 0 ? ", " : "") + std::string("(Artist='nested')");
            }
            const Lines shown =
                typeWarning(warned) + Lines{"struct 1x1", "Make='m' SubIFDs={" + cells + "}"};
            expectBoth({std::to_string(count), file.bytes, shown, shown}, kRule);
        }
    }
}

struct NoOffset {
    Entry entry;
    std::vector<std::uint32_t> slots;  ///< what the contract follows: four bytes each, as numbers
    const char* type;
    const char* value;
};

/// A pointer tag of each type that holds no offsets.
std::vector<NoOffset> noOffsets(std::uint16_t tag) {
    return {
        {ascii(tag, std::string_view("ab\0\0", 4)), {0x6261}, "TIFF_ASCII", "'ab'"},
        {ascii(tag, std::string_view("\0a\0", 3)), {0x6100}, "TIFF_ASCII", "char(1x0)"},
        {ascii(tag, "more than inline"),
         {0x65726F6D, 0x61687420, 0x6E69206E, 0x656E696C},
         "TIFF_ASCII",
         "'more than inline'"},
        {numbers(tag, kRational, {100000, 3125}), {100000}, "TIFF_RATIONAL", "32"},
        {numbers(tag, kSRational, {-1, 4}), {0xFFFFFFFF}, "TIFF_SRATIONAL", "-0.25"},
        {floats(tag, {1.0F}), {0x3F800000}, "TIFF_FLOAT", "1"},
        {floats(tag, {1.0F, 1.5F}), {0x3F800000, 0x3FC00000}, "TIFF_FLOAT", "[1 1.5]"},
        {numbers(tag, kDouble, {0x4004000012345678}),
         {0x12345678},
         "TIFF_DOUBLE",
         "2.5000001356336803"},
    };
}

TEST_P(PointerRules, OtherTypesHoldNoOffsets) {
    for (const std::uint16_t tag : Codes{kSubIfds, kExif, kGps, kInterop}) {
        for (const NoOffset& each : noOffsets(tag)) {
            const TiffFile file = fileOf({{each.entry, ascii(kMake, "m")}});
            const Lines warning =
                tag == kSubIfds ? typeWarning(std::string_view(each.type).substr(5)) : Lines{};
            const std::size_t data = file.places[0].data[0];
            const bool isInline = data < file.places[0].next;
            const std::string offset = std::to_string(isInline ? 0 : file.offsetOf(data));
            const std::string id = std::to_string(tag);
            Lines followed;
            for (const std::uint32_t slot : each.slots) {
                followed.push_back(unreadable(slot));
            }
            expectBoth(
                {id + ' ' + each.type, file.bytes,
                 warning + followed + Lines{"struct 1x1", "Make='m'"},
                 warning + Lines{"ifdsweep:pointerHoldsNoOffset(" + id + ", '" + each.type + "')",
                                 "struct 1x1",
                                 "Make='m' UnknownTags=(ID=" + id + " Offset=" + offset +
                                     " Value=" + each.value + ')'}},
                kRule);
        }
    }
}

TEST_P(PointerRules, OtherTypesWithoutValuesLeaveNoTrace) {
    for (const auto& [code, warned] :
         {Type{kAscii, "ASCII"}, Type{kRational, "RATIONAL"}, Type{kSRational, "SRATIONAL"},
          Type{kFloat, "FLOAT"}, Type{kDouble, "DOUBLE"}, Type{kLong8, "LONG8"},
          Type{kShort, "SHORT"}}) {
        const TiffFile file = fileOf({{numbers(kSubIfds, code, {}), ascii(kMake, "m")}});
        const Lines shown = Lines{"zeroComponentCount('SubIFDs')"} + typeWarning(warned) +
                            Lines{"struct 1x1", "Make='m'"};
        expectBoth({warned, file.bytes, shown, shown}, kRule);
    }
}

TEST_P(PointerRules, OtherTypesStayWhereNoPointerMayStand) {
    const TiffFile file = fileOf({{pointer(kGps, {{{floats(kExif, {1.0F}), ascii(29, "g")}}})}});
    expectBoth({"in GPS",
                file.bytes,
                {"illegallyNestedIFD(34665, 'GPS')", "struct 1x1", "GPSInfo=(GPSDateStamp='g')"},
                {"ifdsweep:pointerHoldsNoOffset(34665, 'TIFF_FLOAT')", "struct 1x1",
                 "GPSInfo=(GPSDateStamp='g' UnknownTags=(ID=34665 Offset=0 Value=1))"}},
               kRule);
}

TEST_P(PointerRules, AnIllegalNestingDropsTheEntryInBothReadings) {
    for (const std::uint16_t code : Codes{kLong, kLong8, kShort, kByte}) {
        const TiffFile file = fileOf({{pointer(
            kGps, {{{pointer(kExif, {{named("1")}, {named("2")}}, code), ascii(29, "g")}}})}});
        const Lines shown{"illegallyNestedIFD(34665, 'GPS')", "struct 1x1",
                          "GPSInfo=(GPSDateStamp='g')"};
        expectBoth({std::to_string(code), file.bytes, shown, shown}, kRule);
    }
}

std::int32_t half(std::int64_t value, unsigned shift) {
    return static_cast<std::int32_t>(
        static_cast<std::uint32_t>(static_cast<std::uint64_t>(value) >> shift));
}

TEST_P(PointerRules, SignedEightByteValuesAreWhole) {
    constexpr std::int64_t kEdge = std::int64_t{1} << 31U;
    using Limits = std::numeric_limits<std::int64_t>;
    const std::int64_t values[] = {0,
                                   1,
                                   -1,
                                   kEdge - 1,
                                   kEdge,
                                   -kEdge,
                                   -kEdge - 1,
                                   2 * kEdge - 1,
                                   2 * kEdge,
                                   -2 * kEdge,
                                   Limits::max(),
                                   Limits::min(),
                                   std::int64_t{1} << 53U,
                                   (std::int64_t{1} << 53U) + 1};
    for (const std::int64_t value : values) {
        const auto shown = [](const TiffFile& file, const std::string& text) {
            const std::size_t data = file.places[0].data[0];
            const bool isInline = data < file.places[0].next;
            return Lines{"struct 1x1", "UnknownTags=(ID=60000 Offset=" +
                                           std::to_string(isInline ? 0 : file.offsetOf(data)) +
                                           " Value=" + text + ')'};
        };
        const auto whole = static_cast<double>(value);
        const TiffFile one = fileOf({{numbers(kUnknownTag, kSLong8, {value})}});
        expectBoth({std::to_string(value), one.bytes, shown(one, numberText(half(value, 0))),
                    shown(one, numberText(whole))},
                   kRule);
        const TiffFile two = fileOf({{numbers(kUnknownTag, kSLong8, {value, -7})}});
        expectBoth({std::to_string(value) + " and -7", two.bytes,
                    shown(two, rowText({static_cast<double>(half(value, 0)),
                                        static_cast<double>(half(value, 32))})),
                    shown(two, rowText({whole, -7}))},
                   kRule);
    }
}

TEST_P(PointerRules, UnsignedEightByteValuesAreWholeInBothReadings) {
    for (const std::uint64_t value :
         {std::uint64_t{0}, std::uint64_t{0xFFFFFFFF}, std::uint64_t{1} << 32U,
          std::uint64_t{1} << 63U, ~std::uint64_t{0}}) {
        const TiffFile file =
            fileOf({{numbers(kUnknownTag, kLong8, {static_cast<std::int64_t>(value)})}});
        const std::string text = "Value=" + numberText(static_cast<double>(value)) + ')';
        EXPECT_NE(callEntryPoint(file.bytes).added().find(text), std::string::npos);
        EXPECT_EQ(callReading(file.bytes, fullReading()).text(), callEntryPoint(file.bytes).text());
    }
}

}  // namespace
}  // namespace fixture

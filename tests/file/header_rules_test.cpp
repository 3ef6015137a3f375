// The version word of the header and the layout that it decides, whatever stands before.

#include "support/rule_rows.h"
#include "support/tags.h"
#include "support/tiff_matrix.h"

namespace fixture {
namespace {

constexpr Rule kRule = &ifdsweep::ReadingRules::headerDecidesLayout;

/// A chain whose table and values differ in the two layouts.
Chain pages() {
    return {{ascii(kArtist, "0123456789"), pointer(kExif, {{{ascii(kMake, "nested")}}})},
            {ascii(kArtist, "second")}};
}

const Lines kPages{"struct 2x1", "Artist='0123456789' DigitalCamera=(Make='nested')",
                   "Artist='second'"};

TiffFile written(Format format, const Bytes& prefix, std::optional<std::uint16_t> version = {}) {
    TiffBuilder builder(format);
    for (const Directory& page : pages()) {
        builder.add(page);
    }
    if (version) {
        builder.withVersion(*version);
    }
    return builder.buildBehind(prefix);
}

Numbers at(const TiffFile& file) {
    return {.initialOffset = static_cast<double>(file.base)};
}

class HeaderRules : public TiffMatrix {};
IFDSWEEP_TIFF_MATRIX(HeaderRules);

TEST_P(HeaderRules, TheHeaderDecidesBehindEveryPrefix) {
    struct Prefix {
        const char* name;
        Bytes bytes;
        bool isClassic;  ///< as the contract has it
    };
    const Prefix prefixes[] = {
        {"nothing", {}, !format().isBig()},
        {"text", Bytes(24, 'x'), false},
        {"classic little", {'I', 'I', 42, 0, 1, 2, 3, 4}, true},
        {"classic big", {'M', 'M', 0, 42, 1, 2}, true},
        {"BigTIFF little", {'I', 'I', 43, 0, 8, 0}, false},
        {"BigTIFF big", {'M', 'M', 0, 43}, false},
        {"a byte short of classic", {'M', 'M', 0, 41}, false},
        {"one byte", {'x'}, false},
    };
    for (const Prefix& prefix : prefixes) {
        const TiffFile file = written(format(), prefix.bytes);
        const Call contract = callEntryPoint(file.bytes, at(file));
        const bool isRight = prefix.isClassic != format().isBig();
        EXPECT_EQ(contract.outcome() == kPages, isRight) << prefix.name;
        for (const ifdsweep::Reading& reading : {fullReading(), readingBy(kRule)}) {
            const Call full = callReading(file.bytes, reading, at(file));
            EXPECT_EQ(full.outcome(), kPages) << prefix.name;
            EXPECT_EQ(full.value("Format"), "'tif'");
            if (isRight) {
                EXPECT_EQ(full.text(), contract.text()) << prefix.name;
            }
        }
    }
}

/// The warning about a word that does not tell the layout.
std::string guessed(unsigned word) {
    return "ifdsweep:layoutGuessed(" + std::to_string(word) + ')';
}

/// It, and after it what a reading gives.
Lines guessed(unsigned word, const Lines& outcome) {
    Lines lines{guessed(word)};
    lines.insert(lines.end(), outcome.begin(), outcome.end());
    return lines;
}

TEST_P(HeaderRules, AnyOtherWordLeavesItToWhatTheHeaderLeadsTo) {
    for (const std::uint16_t known : Codes{42, 43, 0x55, 0x4F52, 0x5352, 0x01BC, 0x4352}) {
        for (const int step : {-1, 1}) {
            const auto word = static_cast<std::uint16_t>(known + step);
            if (word == 42 || word == 43) {
                continue;
            }
            // Of those that the contract takes for a BigTIFF, a classic one leads past the end
            // then.
            for (const Bytes& prefix : {Bytes{}, Bytes(8, 'x')}) {
                const TiffFile file = written(format(), prefix, word);
                const Call full = callReading(file.bytes, fullReading(), at(file));
                EXPECT_EQ(full.outcome(), guessed(word, kPages)) << word;
                const Call contract = callEntryPoint(file.bytes, at(file));
                EXPECT_EQ(guessed(word) + '\n' + contract.text() == full.text(), format().isBig())
                    << word;
            }
            // Behind the first bytes of a classic one it stays that.
            const TiffFile file = written(format(), {'I', 'I', 42, 0}, word);
            const Call full = callReading(file.bytes, fullReading(), at(file));
            EXPECT_EQ(full.outcome() == guessed(word, kPages), !format().isBig()) << word;
            EXPECT_EQ(callReading(file.bytes, readingBy(kRule), at(file)).text(),
                      guessed(word) + '\n' + callEntryPoint(file.bytes, at(file)).text())
                << word;
        }
    }
}

TEST_P(HeaderRules, UnderAnotherWordABigTiffLeadsToTheEndAtMost) {
    TiffBuilder builder({Layout::big, format().byteOrder});
    builder.withVersion(0x012A).add({ascii(kArtist, "x")});
    const std::uint64_t size = builder.build().bytes.size();
    for (const std::uint64_t offset : {size - 1, size}) {
        const TiffFile file = builder.withFirstOffset(offset).build();
        const Lines shown{"numberOfDirectoryEntriesReadError(" + std::to_string(offset) + ')',
                          "double 0x0"};
        expectBoth({std::to_string(offset), file.bytes, shown, guessed(0x012A, shown)}, kRule);
    }
    const TiffFile file = builder.withFirstOffset(size + 1).build();
    EXPECT_EQ(callEntryPoint(file.bytes).error,
              "badTiffIfdOffset(" + std::to_string(size + 1) + ", " + std::to_string(size) + ')');
    // As a classic one it leads to where the offset stands, or nowhere.
    EXPECT_NE(callReading(file.bytes, fullReading()).error, callEntryPoint(file.bytes).error);
}

struct Relative {
    const char* name;
    std::uint16_t version;
    ByteOrder byteOrder;
    const char* signature;
};

constexpr Relative kRelatives[] = {
    {"Rw2", 0x0055, ByteOrder::little, "[73 73 85 0]"},
    {"OrfRo", 0x4F52, ByteOrder::little, "[73 73 82 79]"},
    {"OrfRs", 0x5352, ByteOrder::little, "[73 73 82 83]"},
    {"OrfOr", 0x4F52, ByteOrder::big, "[77 77 79 82]"},
    {"JpegXr", 0x01BC, ByteOrder::little, "[73 73 188 1]"},
    {"Dcp", 0x4352, ByteOrder::little, "[73 73 82 67]"},
};

class Relatives : public testing::TestWithParam<Relative> {};
INSTANTIATE_TEST_SUITE_P(Words, Relatives, testing::ValuesIn(kRelatives),
                         [](const auto& made) { return std::string(made.param.name); });

TEST_P(Relatives, KeepTheClassicLayout) {
    for (const Bytes& prefix : {Bytes{}, Bytes(16, 'x'), Bytes{'I', 'I', 43, 0}}) {
        const TiffFile file =
            written({Layout::classic, GetParam().byteOrder}, prefix, GetParam().version);
        const Call contract = callEntryPoint(file.bytes, at(file));
        EXPECT_NE(contract.outcome(), kPages);
        for (const ifdsweep::Reading& reading : {fullReading(), readingBy(kRule)}) {
            const Call full = callReading(file.bytes, reading, at(file));
            EXPECT_EQ(full.outcome(), kPages);
            EXPECT_EQ(full.value("Format"), "'tif'");
            EXPECT_EQ(full.value("FormatSignature"), GetParam().signature);
        }
    }
}

TEST_P(Relatives, ABigTiffUnderTheirWordIsOneWhereTheirLayoutLeadsNowhere) {
    // The word behind the version is 8: as an offset inside the file, or half a million.
    const TiffFile file = written({Layout::big, GetParam().byteOrder}, {}, GetParam().version);
    EXPECT_EQ(callEntryPoint(file.bytes).outcome(), kPages);
    const Call full = callReading(file.bytes, fullReading());
    EXPECT_EQ(full.outcome() == guessed(GetParam().version, kPages),
              GetParam().byteOrder == ByteOrder::big);
}

TEST_P(HeaderRules, TheLayoutOfTheWordHoldsUpToTheEndOfTheFile) {
    // Behind first bytes that say the other layout.
    const Bytes prefix = format().isBig() ? Bytes{'M', 'M', 0, 42, 1, 2} : Bytes(8, 'x');
    TiffBuilder builder(format());
    builder.add({ascii(kArtist, "x")});
    const std::uint64_t size = builder.buildBehind(prefix).bytes.size();
    for (const std::uint64_t target : {size - 1, size, size + 1}) {
        const TiffFile file = builder.withFirstOffset(target - prefix.size()).buildBehind(prefix);
        const Call contract = callEntryPoint(file.bytes, at(file));
        const Call full = callReading(file.bytes, fullReading(), at(file));
        if (target <= size) {
            EXPECT_EQ(full.outcome(),
                      (Lines{"numberOfDirectoryEntriesReadError(" + std::to_string(target) + ')',
                             "double 0x0"}));
        } else {
            EXPECT_EQ(callReading(file.bytes, readingBy(kRule), at(file)).text(),
                      guessed(format().isBig() ? 43 : 42) + '\n' + contract.text());
        }
    }
}

class StreamsInJpeg : public TiffMatrix {
protected:
    static TiffFile jpegOf(const Chain& chain) {
        TiffBuilder builder(format());
        for (const Directory& directory : chain) {
            builder.add(directory);
        }
        return builder.buildInJpeg();
    }
    static constexpr Numbers kNumbers{.initialOffset = 12};
};
IFDSWEEP_TIFF_MATRIX(StreamsInJpeg);

TEST_P(StreamsInJpeg, TheWidthsAreThoseOfTheHeader) {
    const TiffFile file = jpegOf(pages());
    const Call contract = callEntryPoint(file.bytes, kNumbers);
    for (const ifdsweep::Reading& reading : {fullReading(), readingBy(kRule)}) {
        const Call full = callReading(file.bytes, reading, kNumbers);
        EXPECT_EQ(full.outcome(), kPages);
        EXPECT_EQ(full.value("Format"), "'jpg'");
        EXPECT_EQ(full.value("FormatSignature"), "double(0x0)");
        EXPECT_EQ(full.value("ByteOrder"), "no field");
        EXPECT_EQ(full.value("Offset"), "no field");
        if (!format().isBig()) {
            EXPECT_EQ(full.text(), contract.text());
        }
    }
    EXPECT_EQ(contract.outcome() == kPages, !format().isBig());
}

TEST_P(StreamsInJpeg, TheSegmentHoldsFewerEntriesOfTwentyBytes) {
    const std::uint64_t most = format().isBig() ? 3276 : 5461;
    for (const std::uint64_t count : {most - 1, most, most + 1}) {
        Directory many;
        many.entries.assign(count, shorts(274, {1}));
        const TiffFile file = jpegOf({{ascii(kArtist, "a")}, many, {ascii(kArtist, "c")}});
        const Call full = callReading(file.bytes, fullReading(), kNumbers);
        if (count <= most) {
            EXPECT_EQ(full.result, "struct 3x1") << count;
            EXPECT_EQ(full.warnings, Lines{});
        } else {
            EXPECT_EQ(full.outcome(),
                      (Lines{"jpegApp1MaximumLengthExceeded(" + std::to_string(count) + ')',
                             "struct 1x1", "Artist='a'"}));
        }
    }
}

}  // namespace
}  // namespace fixture

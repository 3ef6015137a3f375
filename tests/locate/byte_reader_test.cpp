#include "locate/byte_reader.h"

#include <cerrno>
#include <limits>
#include <string>

#include <gtest/gtest.h>

#include "support/counted_bytes.h"

namespace {

using fixture::CountedBytes;
using ifdsweep::ByteReader;
using Bytes = std::vector<std::uint8_t>;

constexpr std::uint64_t kFarAway = std::numeric_limits<std::uint64_t>::max();

/// Bytes that count up from 0.
Bytes counting(std::size_t size) {
    Bytes bytes(size);
    for (std::size_t index = 0; index < size; ++index) {
        bytes[index] = static_cast<std::uint8_t>(index);
    }
    return bytes;
}

struct NumberCase {
    const char* name;
    std::uint64_t position;
    std::size_t size;
    std::optional<std::uint64_t> big;
    std::optional<std::uint64_t> little;
};

void PrintTo(const NumberCase& row, std::ostream* stream) {
    *stream << row.name;
}

// In a file of the bytes 0 to 9.
const NumberCase kNumbers[] = {
    {"ofNoBytes", 3, 0, 0, 0},
    {"ofNoBytesFarAway", kFarAway, 0, 0, 0},
    {"ofOneByte", 3, 1, 3, 3},
    {"ofTwoBytes", 3, 2, 0x0304, 0x0403},
    {"ofThreeBytes", 3, 3, 0x030405, 0x050403},
    {"ofFourBytes", 6, 4, 0x06070809, 0x09080706},
    {"ofEightBytes", 2, 8, 0x0203040506070809, 0x0908070605040302},
    {"cutByTheEnd", 7, 4, {}, {}},
    {"behindTheEnd", 10, 1, {}, {}},
    {"atTheLastPosition", kFarAway, 1, {}, {}},
    {"overTheLastPosition", kFarAway - 2, 8, {}, {}},
};

class ByteReaders : public testing::TestWithParam<NumberCase> {};

TEST_P(ByteReaders, ReadNumbersInBothByteOrders) {
    const CountedBytes file(counting(10));
    const NumberCase& row = GetParam();
    EXPECT_EQ(ByteReader(file).bigEndianAt(row.position, row.size), row.big);
    EXPECT_EQ(ByteReader(file).littleEndianAt(row.position, row.size), row.little);
}

INSTANTIATE_TEST_SUITE_P(All, ByteReaders, testing::ValuesIn(kNumbers),
                         [](const auto& instance) { return std::string(instance.param.name); });

TEST(ByteReaders, GiveAsMuchTextAsThereIs) {
    const CountedBytes file(Bytes{'a', 'b', 'c', 'd'});
    ByteReader reader(file);
    EXPECT_EQ(reader.textAt(0, 2), "ab");
    EXPECT_EQ(reader.textAt(1, 0), "");
    EXPECT_EQ(reader.textAt(2, 8), "cd");
    EXPECT_EQ(reader.textAt(4, 1), "");
    EXPECT_EQ(reader.textAt(kFarAway, 1), "");
    EXPECT_TRUE(reader.standsAt(1, "bc"));
    EXPECT_FALSE(reader.standsAt(1, "bd"));
    EXPECT_FALSE(reader.standsAt(3, "de"));
    EXPECT_FALSE(reader.hasFailed());
}

TEST(ByteReaders, AreTheSameAtEveryPlaceOfAWindow) {
    constexpr std::size_t kSize = 3 * ByteReader::kWindow;
    const Bytes bytes = counting(kSize);
    const CountedBytes file(bytes);
    ByteReader reader(file);
    // Forward and backward, so that numbers lie across the end and the begin of what is held.
    for (std::size_t step = 0; step + 8 <= kSize; ++step) {
        for (const std::size_t position : {step, kSize - 8 - step}) {
            std::uint64_t expected = 0;
            for (std::size_t index = 0; index < 8; ++index) {
                expected = expected << 8U | bytes[position + index];
            }
            ASSERT_EQ(reader.bigEndianAt(position, 8), expected) << position;
            ASSERT_EQ(reader.byteAt(position), bytes[position]) << position;
        }
    }
}

TEST(ByteReaders, ReadOnceWhatStandsInAWindow) {
    constexpr std::size_t kStart = 1000;
    const CountedBytes file(counting(2 * ByteReader::kWindow));
    ByteReader reader(file);
    for (std::size_t position = kStart; position < kStart + ByteReader::kWindow; ++position) {
        static_cast<void>(reader.byteAt(position));
        static_cast<void>(reader.textAt(position, 1));
    }
    EXPECT_EQ(reader.bigEndianAt(kStart + ByteReader::kWindow - 8, 8).has_value(), true);
    EXPECT_EQ(file.reads, 1U);
    static_cast<void>(reader.bigEndianAt(kStart + ByteReader::kWindow - 7, 8));
    EXPECT_EQ(file.reads, 2U);
}

constexpr std::uint64_t kLarge = 100000;

TEST(ByteReaders, ReadNoMoreAtFirstThanTheFirstBlockOfAFile) {
    for (const std::uint64_t position : {0U, 2U, 8U, 511U}) {
        const CountedBytes file(std::vector<std::uint8_t>(kLarge, 1));
        ByteReader reader(file);
        EXPECT_EQ(reader.byteAt(position), 1);
        EXPECT_EQ(file.delivered, ByteReader::kWindow - position);
        EXPECT_EQ(reader.byteAt(ByteReader::kWindow - 1), 1);
        EXPECT_EQ(file.reads, 1U);
    }
}

TEST(ByteReaders, ReadLittleAfterAJumpAndAWindowBehindThat) {
    struct Case {
        const char* name;
        std::uint64_t from;
        std::uint64_t to;
        std::size_t delivered;
    };
    constexpr std::size_t kWindow = ByteReader::kWindow;
    const Case cases[] = {
        {"theNextByte", 8192, 8192 + kWindow, kWindow},
        {"aWindowLeftOut", 8192, 8192 + 2 * kWindow, kWindow},
        {"moreThanAWindowLeftOut", 8192, 8192 + 2 * kWindow + 1, ByteReader::kWindowAfterJump},
        {"backByOne", 8192, 8191, kWindow},
        {"backByAWindow", 8192, 8192 - kWindow, kWindow},
        {"backByMoreThanAWindow", 8192, 8192 - kWindow - 1, ByteReader::kWindowAfterJump},
        {"backToTheBeginning", 8192, 0, ByteReader::kWindowAfterJump},
    };
    for (const Case& row : cases) {
        const CountedBytes file(std::vector<std::uint8_t>(kLarge, 1));
        ByteReader reader(file);
        static_cast<void>(reader.byteAt(row.from - kWindow));
        static_cast<void>(reader.byteAt(row.from));
        file.delivered = 0;
        EXPECT_EQ(reader.byteAt(row.to), 1) << row.name;
        EXPECT_EQ(file.delivered, row.delivered) << row.name;
        file.delivered = 0;
        EXPECT_EQ(reader.byteAt(row.to + row.delivered), 1) << row.name;
        EXPECT_EQ(file.delivered, kWindow) << row.name;
    }
}

TEST(ByteReaders, ReadOnceForEachWindowOfAFileAtMostForHopsOfAnyLength) {
    constexpr std::uint64_t kSize = std::uint64_t{1} << 20;
    for (std::uint64_t first = 1; first < 10000; first += 97) {
        for (const std::uint64_t second : {1U, 511U, 512U, 513U, 4096U, 4097U, 4608U, 4609U}) {
            const CountedBytes file(std::vector<std::uint8_t>(kSize, 1));
            ByteReader reader(file);
            bool isFirst = true;
            for (std::uint64_t place = 0; place < kSize; place += isFirst ? first : second) {
                static_cast<void>(reader.byteAt(place));
                isFirst = !isFirst;
            }
            EXPECT_LE(file.reads, kSize / ByteReader::kWindow + 3) << first << " and " << second;
        }
    }
}

TEST(ByteReaders, ReadNothingForANumberOfNoBytes) {
    const CountedBytes file(counting(10));
    ByteReader reader(file);
    EXPECT_EQ(reader.bigEndianAt(5, 0), 0U);
    EXPECT_EQ(reader.textAt(5, 0), "");
    EXPECT_EQ(file.reads, 0U);
}

/// A file that says more than it gives.
class FailingBytes final : public ifdsweep::ByteSource {
public:
    [[nodiscard]] std::uint64_t size() const noexcept override { return 100; }
    [[nodiscard]] std::ptrdiff_t read(std::uint64_t /*position*/,
                                      std::span<std::byte> /*target*/) const noexcept override {
        errno = EIO;
        return -1;
    }
};

TEST(ByteReaders, KnowThatAByteCouldNotBeRead) {
    const FailingBytes file;
    ByteReader reader(file);
    EXPECT_EQ(reader.byteAt(200), std::nullopt);
    EXPECT_FALSE(reader.hasFailed());
    EXPECT_EQ(reader.byteAt(20), std::nullopt);
    EXPECT_TRUE(reader.hasFailed());
    EXPECT_EQ(reader.bigEndianAt(20, 4), std::nullopt);
}

}  // namespace

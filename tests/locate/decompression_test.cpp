#include "locate/decompression.h"

#include <algorithm>
#include <string>
#include <string_view>
#include <vector>

#include <gtest/gtest.h>

#include "support/compressed_bytes.h"

namespace {

using ifdsweep::Decompressed;
using Bytes = std::vector<std::uint8_t>;
using End = Decompressed::End;

struct Format {
    const char* name;
    Decompressed (*decompress)(const ifdsweep::NextPiece&, std::uint64_t);
    Bytes (*compress)(std::span<const std::uint8_t>);
};

const Format kFormats[] = {
    {"zlib", ifdsweep::decompressZlib, fixture::zlibCompressed},
    {"Brotli", ifdsweep::decompressBrotli, fixture::brotliCompressed},
};

/// Text of which little is said twice.
Bytes noise(std::size_t size) {
    Bytes bytes(size);
    std::uint32_t state = 1;
    for (std::uint8_t& byte : bytes) {
        state = state * 1664525 + 1013904223;
        byte = static_cast<std::uint8_t>(state >> 24);
    }
    return bytes;
}

Decompressed inPieces(const Format& format, std::span<const std::uint8_t> packed,
                      std::size_t pieceSize, std::uint64_t mostBytes = 1U << 30U) {
    return format.decompress(
        [&] {
            const auto piece = packed.first(std::min(pieceSize, packed.size()));
            packed = packed.subspan(piece.size());
            return piece;
        },
        mostBytes);
}

TEST(Decompression, GivesBackWhatWasCompressedWhateverThePieces) {
    for (const Format& format : kFormats) {
        for (const std::size_t size : {0U, 1U, 100U, 16383U, 16384U, 16385U, 32768U, 100000U}) {
            for (const Bytes& bytes : {Bytes(size, 'x'), noise(size)}) {
                const Bytes packed = format.compress(bytes);
                for (const std::size_t pieceSize : {1U, 7U, 4096U, 1U << 20U}) {
                    SCOPED_TRACE(format.name + std::to_string(size));
                    const Decompressed result = inPieces(format, packed, pieceSize);
                    EXPECT_EQ(result.end, End::whole);
                    EXPECT_EQ(result.bytes, bytes);
                }
            }
        }
    }
}

TEST(Decompression, EndsAtTheLimitAndNoByteBefore) {
    for (const Format& format : kFormats) {
        for (const std::size_t size : {1U, 100U, 16384U, 100000U}) {
            const Bytes bytes = noise(size);
            const Bytes packed = format.compress(bytes);
            EXPECT_EQ(inPieces(format, packed, 4096, size).end, End::whole);
            EXPECT_EQ(inPieces(format, packed, 4096, size + 1).end, End::whole);
            const Decompressed shorter = inPieces(format, packed, 4096, size - 1);
            EXPECT_EQ(shorter.end, End::tooLong);
            EXPECT_EQ(shorter.bytes, Bytes(bytes.begin(), bytes.end() - 1));
            EXPECT_LE(shorter.bytes.capacity(), size - 1);
        }
    }
}

TEST(Decompression, LooksAtNothingBehindTheEnd) {
    for (const Format& format : kFormats) {
        Bytes packed = format.compress(noise(100));
        const Bytes again = packed;
        packed.insert(packed.end(), again.begin(), again.end());
        const Decompressed result = inPieces(format, packed, 4096);
        EXPECT_EQ(result.end, End::whole);
        EXPECT_EQ(result.bytes, noise(100));
    }
}

TEST(Decompression, KeepsWhatCameBeforeACut) {
    for (const Format& format : kFormats) {
        const Bytes bytes = noise(1000);
        const Bytes packed = format.compress(bytes);
        for (std::size_t size = 0; size < packed.size(); ++size) {
            const Decompressed result = inPieces(format, std::span(packed).first(size), 64);
            ASSERT_EQ(result.end, End::cut) << format.name << size;
            ASSERT_TRUE(std::equal(result.bytes.begin(), result.bytes.end(), bytes.begin()));
        }
    }
}

TEST(Decompression, TellsDamage) {
    Bytes wrongSum = fixture::zlibCompressed(noise(100));
    wrongSum.back() ^= 1;
    const std::pair<Bytes, const Format&> cases[] = {
        {wrongSum, kFormats[0]},
        {Bytes{'n', 'o', 'n', 'e'}, kFormats[0]},
        {Bytes{0x78, 0xBB, 0, 0, 0, 1, 3, 0}, kFormats[0]},  // with a dictionary that nobody has
        {Bytes{0xFF, 0xFF, 0xFF, 0xFF}, kFormats[1]},
        {fixture::brotliOfLargeWindow(noise(100)), kFormats[1]},
    };
    for (const auto& [packed, format] : cases) {
        EXPECT_EQ(inPieces(format, packed, 64).end, End::damaged);
    }
    EXPECT_EQ(inPieces(kFormats[0], wrongSum, 64).bytes, noise(100));
}

}  // namespace

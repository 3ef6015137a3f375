#include "locate/stream_opener.h"

#include <algorithm>
#include <array>
#include <cassert>
#include <cstddef>
#include <span>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "files/file_bytes.h"
#include "locate/decompression.h"
#include "locate/extent_reader.h"
#include "locate/locate_messages.h"
#include "locate/raw_profile.h"
#include "locate/stream_header.h"

namespace ifdsweep {
namespace {

/// What was put together, and what it has less than it should.
struct Assembled {
    std::vector<std::uint8_t> bytes{};
    std::optional<std::string> shortfall{};
    std::uint64_t cost = 0;  ///< as `OpenedStream::cost`
};

/// Step by step: what cannot be read, as beyond a budget, is not given memory either.
Assembled joinExtents(ExtentReader& reader) {
    constexpr std::size_t kStep = std::size_t{1} << 20U;
    Assembled joined;
    auto toCome = static_cast<std::size_t>(reader.bytesToCome());
    joined.bytes.reserve(toCome);
    while (toCome > 0) {
        const std::size_t before = joined.bytes.size();
        const std::size_t asked = std::min(toCome, kStep);
        joined.bytes.resize(before + asked);
        const std::size_t got = reader.read(std::span(joined.bytes).subspan(before));
        joined.bytes.resize(before + got);
        toCome = got < asked ? 0 : toCome - asked;
    }
    // Whether there would be more.
    std::array<std::uint8_t, 1> more;
    static_cast<void>(reader.read(more));
    joined.shortfall = reader.shortfall();
    return joined;
}

struct Decompressor {
    std::string_view name;
    Decompressed (*decompress)(const NextPiece&, std::uint64_t);
};

/// By `Compression`, from the first one on.
constexpr std::array<Decompressor, 2> kDecompressors{{
    {"zlib", decompressZlib},
    {"Brotli", decompressBrotli},
}};

Assembled decompressExtents(ExtentReader& reader, const Decompressor& decompressor,
                            std::uint64_t mostBytes) {
    std::array<std::uint8_t, 16384> piece;
    Decompressed unpacked = decompressor.decompress(
        [&] { return std::span(piece).first(reader.read(piece)); }, mostBytes);
    const std::string data = "its " + std::string(decompressor.name) + " data are ";
    std::optional<std::string> shortfall;
    switch (unpacked.end) {
        case Decompressed::End::whole:
            break;
        case Decompressed::End::cut:
            shortfall = reader.shortfall().value_or(data + "cut off");
            break;
        case Decompressed::End::damaged:
            shortfall = data + "damaged";
            break;
        case Decompressed::End::tooLong:
            shortfall = beyondTheMost();
            break;
    }
    return {.bytes = std::move(unpacked.bytes), .shortfall = std::move(shortfall)};
}

Assembled assemble(const ByteSource& file, const LocatedStream& stream, std::uint64_t mostBytes) {
    ExtentReader reader(file, stream.extents, mostBytes);
    Assembled assembled =
        stream.compression == Compression::none
            ? joinExtents(reader)
            : decompressExtents(reader,
                                kDecompressors[static_cast<std::size_t>(stream.compression) - 1],
                                mostBytes);
    assembled.cost = std::max<std::uint64_t>(reader.bytesRead(), assembled.bytes.size());
    if (stream.isRawProfile) {
        std::optional<std::string> shortfall = decodeRawProfile(assembled.bytes);
        if (!assembled.shortfall) {  // what was cut is not whole either
            assembled.shortfall = std::move(shortfall);
        }
    }
    return assembled;
}

/// Bytes of its own, as a file.
class AssembledBytes final : public ByteSource {
public:
    explicit AssembledBytes(std::vector<std::uint8_t> assembled) noexcept
        : memory(std::move(assembled)), bytes(memory) {}

    [[nodiscard]] std::uint64_t size() const noexcept override { return bytes.size(); }
    [[nodiscard]] std::ptrdiff_t read(std::uint64_t position,
                                      std::span<std::byte> target) const noexcept override {
        return bytes.read(position, target);
    }

private:
    std::vector<std::uint8_t> memory;
    MemoryBytes bytes;
};

}  // namespace

OpenedStream openStream(const ByteSource& file, const LocatedStream& stream,
                        std::uint64_t mostBytes) {
    assert(!stream.extents.empty());
    if (stream.extents.size() == 1 && stream.compression == Compression::none &&
        !stream.isRawProfile) {
        return {.position = findHeader(file, stream.extents.front(), stream.header)};
    }
    Assembled assembled = assemble(file, stream, mostBytes);
    OpenedStream opened{.cost = assembled.cost};
    if (assembled.shortfall) {
        opened.warning = streamIncomplete(stream.name, *assembled.shortfall);
    }
    const auto bytes = std::make_shared<AssembledBytes>(std::move(assembled.bytes));
    opened.position = findHeader(*bytes, {0, bytes->size()}, stream.header);
    opened.bytes = bytes;
    return opened;
}

}  // namespace ifdsweep

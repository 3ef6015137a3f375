#include "locate/decompression.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <memory>
#include <new>

#include <brotli/decode.h>

#define ZLIB_CONST  // zlib then takes constant bytes
#include <zlib.h>

namespace ifdsweep {
namespace {

enum class StepEnd : std::uint8_t { goesOn, ended, damaged };

/// A decoder at work. A step takes bytes from the front of `packed` and puts some into the front of
/// `room`; both then hold what is left. It goes on until one of them is empty.
class ZlibDecoder {
public:
    ZlibDecoder() {
        if (inflateInit(&stream) != Z_OK) {
            throw std::bad_alloc();
        }
    }
    ZlibDecoder(const ZlibDecoder&) = delete;
    ZlibDecoder& operator=(const ZlibDecoder&) = delete;
    ~ZlibDecoder() { static_cast<void>(inflateEnd(&stream)); }

    [[nodiscard]] StepEnd step(std::span<const std::uint8_t>& packed,
                               std::span<std::uint8_t>& room) {
        stream.next_in = packed.data();
        stream.avail_in = static_cast<uInt>(packed.size());
        stream.next_out = room.data();
        stream.avail_out = static_cast<uInt>(room.size());
        const int result = inflate(&stream, Z_NO_FLUSH);
        packed = packed.last(stream.avail_in);
        room = room.last(stream.avail_out);
        if (result == Z_MEM_ERROR) {
            throw std::bad_alloc();
        }
        if (result == Z_STREAM_END) {
            return StepEnd::ended;
        }
        // Z_BUF_ERROR only says that there was nothing to do.
        return result == Z_OK || result == Z_BUF_ERROR ? StepEnd::goesOn : StepEnd::damaged;
    }

private:
    z_stream stream{};
};

/// As `ZlibDecoder`.
class BrotliDecoder {
public:
    BrotliDecoder() : state(BrotliDecoderCreateInstance(nullptr, nullptr, nullptr)) {
        if (state == nullptr) {
            throw std::bad_alloc();
        }
    }

    [[nodiscard]] StepEnd step(std::span<const std::uint8_t>& packed,
                               std::span<std::uint8_t>& room) {
        std::size_t packedSize = packed.size();
        const std::uint8_t* nextPacked = packed.data();
        std::size_t roomSize = room.size();
        std::uint8_t* nextRoom = room.data();
        const BrotliDecoderResult result = BrotliDecoderDecompressStream(
            state.get(), &packedSize, &nextPacked, &roomSize, &nextRoom, nullptr);
        packed = packed.last(packedSize);
        room = room.last(roomSize);
        if (result == BROTLI_DECODER_RESULT_ERROR) {
            const BrotliDecoderErrorCode error = BrotliDecoderGetErrorCode(state.get());
            if (error <= BROTLI_DECODER_ERROR_ALLOC_CONTEXT_MODES &&
                error >= BROTLI_DECODER_ERROR_ALLOC_BLOCK_TYPE_TREES) {
                throw std::bad_alloc();
            }
            return StepEnd::damaged;
        }
        return result == BROTLI_DECODER_RESULT_SUCCESS ? StepEnd::ended : StepEnd::goesOn;
    }

private:
    struct Destroy {
        void operator()(BrotliDecoderState* decoder) const noexcept {
            BrotliDecoderDestroyInstance(decoder);
        }
    };

    std::unique_ptr<BrotliDecoderState, Destroy> state;
};

/// Appends as much as there is room for: the memory doubles, but not beyond the limit.
/// @return whether all of it went in
bool appendWithin(std::uint64_t mostBytes, std::span<const std::uint8_t> added,
                  std::vector<std::uint8_t>& bytes) {
    const auto taken =
        static_cast<std::size_t>(std::min<std::uint64_t>(added.size(), mostBytes - bytes.size()));
    const std::size_t size = bytes.size() + taken;
    if (size > bytes.capacity()) {
        bytes.reserve(static_cast<std::size_t>(
            std::min<std::uint64_t>(std::max(size, 2 * bytes.capacity()), mostBytes)));
    }
    bytes.insert(bytes.end(), added.begin(), added.begin() + static_cast<std::ptrdiff_t>(taken));
    return taken == added.size();
}

template <class Decoder>
Decompressed decompress(const NextPiece& next, std::uint64_t mostBytes) {
    using enum Decompressed::End;
    Decoder decoder;
    Decompressed result{{}, cut};
    std::array<std::uint8_t, 16384> memory;
    std::span<const std::uint8_t> packed = next();
    while (true) {
        std::span<std::uint8_t> room = memory;
        const StepEnd stepEnd = decoder.step(packed, room);
        const std::span came(memory.data(), memory.size() - room.size());
        if (!appendWithin(mostBytes, came, result.bytes)) {
            result.end = tooLong;
            return result;
        }
        if (stepEnd != StepEnd::goesOn) {
            result.end = stepEnd == StepEnd::ended ? whole : damaged;
            return result;
        }
        // As long as the room was filled there may be more to come of the same bytes.
        if (packed.empty() && !room.empty()) {
            packed = next();
            if (packed.empty()) {
                return result;
            }
        }
    }
}

}  // namespace

Decompressed decompressZlib(const NextPiece& next, std::uint64_t mostBytes) {
    return decompress<ZlibDecoder>(next, mostBytes);
}

Decompressed decompressBrotli(const NextPiece& next, std::uint64_t mostBytes) {
    return decompress<BrotliDecoder>(next, mostBytes);
}

}  // namespace ifdsweep

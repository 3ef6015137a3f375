#include "support/compressed_bytes.h"

#include <array>
#include <cstddef>
#include <cstdio>
#include <memory>
#include <stdexcept>

#include <brotli/encode.h>
#include <zlib.h>

namespace fixture {
namespace {

std::vector<std::uint8_t> brotli(std::span<const std::uint8_t> bytes, bool hasLargeWindow) {
    const std::unique_ptr<BrotliEncoderState, decltype(&BrotliEncoderDestroyInstance)> encoder(
        BrotliEncoderCreateInstance(nullptr, nullptr, nullptr), &BrotliEncoderDestroyInstance);
    BrotliEncoderSetParameter(encoder.get(), BROTLI_PARAM_QUALITY, 5);
    if (hasLargeWindow) {
        BrotliEncoderSetParameter(encoder.get(), BROTLI_PARAM_LARGE_WINDOW, BROTLI_TRUE);
        BrotliEncoderSetParameter(encoder.get(), BROTLI_PARAM_LGWIN, 30);
    }
    std::vector<std::uint8_t> packed;
    std::size_t left = bytes.size();
    const std::uint8_t* next = bytes.data();
    while (BrotliEncoderIsFinished(encoder.get()) == BROTLI_FALSE) {
        std::array<std::uint8_t, 4096> room;
        std::size_t free = room.size();
        std::uint8_t* nextFree = room.data();
        if (BrotliEncoderCompressStream(encoder.get(), BROTLI_OPERATION_FINISH, &left, &next, &free,
                                        &nextFree, nullptr) == BROTLI_FALSE) {
            throw std::runtime_error("the Brotli encoder failed");
        }
        packed.insert(packed.end(), room.data(), nextFree);
    }
    return packed;
}

}  // namespace

std::vector<std::uint8_t> zlibCompressed(std::span<const std::uint8_t> bytes) {
    uLongf size = compressBound(static_cast<uLong>(bytes.size()));
    std::vector<std::uint8_t> packed(size);
    if (compress(packed.data(), &size, bytes.data(), static_cast<uLong>(bytes.size())) != Z_OK) {
        throw std::runtime_error("zlib failed");
    }
    packed.resize(size);
    return packed;
}

std::vector<std::uint8_t> brotliCompressed(std::span<const std::uint8_t> bytes) {
    return brotli(bytes, false);
}

std::vector<std::uint8_t> brotliOfLargeWindow(std::span<const std::uint8_t> bytes) {
    return brotli(bytes, true);
}

std::string rawProfile(std::span<const std::uint8_t> bytes, std::string_view name) {
    constexpr std::size_t kBytesInLine = 36;
    constexpr std::string_view kDigits = "0123456789abcdef";
    std::array<char, 24> length{};
    std::snprintf(length.data(), length.size(), "%8zu\n", bytes.size());
    std::string text = "\n" + std::string(name) + "\n" + length.data();
    for (std::size_t place = 0; place < bytes.size(); ++place) {
        text += kDigits[bytes[place] >> 4U];
        text += kDigits[bytes[place] & 15U];
        if (place % kBytesInLine == kBytesInLine - 1) {
            text += '\n';
        }
    }
    return text + '\n';
}

}  // namespace fixture

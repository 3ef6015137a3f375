#include "support/tiff_stream.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <system_error>

namespace bench {
namespace {

constexpr std::uint64_t kAlignment = 8;

std::uint64_t aligned(std::uint64_t position) {
    return (position + kAlignment - 1) / kAlignment * kAlignment;
}

[[noreturn]] void fail(const std::string& what) {
    throw std::system_error(errno, std::generic_category(), what);
}

}  // namespace

ByteWriter::ByteWriter(const std::string& path) : file(std::fopen(path.c_str(), "wb")) {
    if (file == nullptr) {
        fail(path);
    }
}

void ByteWriter::word(std::size_t width, std::uint64_t value) {
    std::array<char, sizeof value> little{};
    for (std::size_t i = 0; i < width; ++i) {
        little[i] = static_cast<char>(value >> (8 * i));
    }
    bytes({little.data(), width});
}

void ByteWriter::bytes(std::string_view text) {
    if (std::fwrite(text.data(), 1, text.size(), file.get()) != text.size()) {
        fail("write");
    }
    written += text.size();
}

void ByteWriter::pattern(std::uint64_t size) {
    std::array<char, 65536> block{};
    std::uint32_t state = 1;
    while (size > 0) {
        for (char& byte : block) {
            state = state * 1664525U + 1013904223U;
            byte = static_cast<char>(state >> 24U);
        }
        const std::uint64_t piece = std::min<std::uint64_t>(size, block.size());
        bytes({block.data(), piece});
        size -= piece;
    }
}

void ByteWriter::finish() {
    if (std::fflush(file.get()) != 0) {
        fail("write");
    }
}

TiffStream::TiffStream(const std::string& path, fixture::Layout layout)
    : format{layout, fixture::ByteOrder::little}, output(path) {
    output.bytes("II");
    output.word(2, format.isBig() ? 43 : 42);
    if (format.isBig()) {
        output.word(2, 8);
        output.word(2, 0);
    }
    output.word(format.offsetSize(), format.headerSize());
}

void TiffStream::add(const std::vector<StreamEntry>& entries, Next next) {
    output.word(format.entryCountSize(), entries.size());
    // The data follow in the order of the entries, each at an aligned position.
    std::uint64_t end =
        aligned(output.position() + entries.size() * format.entrySize() + format.offsetSize());
    for (const StreamEntry& entry : entries) {
        output.word(2, entry.tag);
        output.word(2, entry.type);
        output.word(format.isBig() ? 8 : 4, entry.count);
        output.word(format.offsetSize(), entry.write ? end : entry.value);
        end = aligned(end + entry.dataSize);
    }
    output.word(format.offsetSize(), next == Next::directory ? end : 0);
    for (const StreamEntry& entry : entries) {
        if (entry.write) {
            output.word(aligned(output.position()) - output.position(), 0);
            entry.write(output);
        }
    }
    output.word(aligned(output.position()) - output.position(), 0);
}

}  // namespace bench

#include "locate/byte_reader.h"

#include <algorithm>
#include <cassert>
#include <span>

namespace ifdsweep {

static_assert(ByteReader::kLongestText <= ByteReader::kWindowAfterJump);

std::size_t ByteReader::windowAt(std::uint64_t position) const noexcept {
    const std::uint64_t distance =
        position < start ? start - position : position - start - std::min(position - start, length);
    if (distance > kWindow) {
        return kWindowAfterJump;
    }
    // What is behind a signature is looked at first: no byte more than the file's first block.
    return position < kWindowAfterJump ? kWindow - static_cast<std::size_t>(position) : kWindow;
}

void ByteReader::fetch(std::uint64_t position) {
    const std::span window = std::span(bytes).first(windowAt(position));
    const std::ptrdiff_t got = file.read(position, std::as_writable_bytes(window));
    start = position;
    length = static_cast<std::size_t>(std::max<std::ptrdiff_t>(got, 0));
    failed = failed || (length == 0 && position < file.size());
}

std::optional<std::uint8_t> ByteReader::byteAt(std::uint64_t position) {
    if (position < start || position - start >= length) {
        fetch(position);
        if (length == 0) {
            return std::nullopt;
        }
    }
    return static_cast<std::uint8_t>(bytes[static_cast<std::size_t>(position - start)]);
}

std::string_view ByteReader::textAt(std::uint64_t position, std::size_t count) {
    assert(count <= kLongestText);
    if (count == 0) {
        return {};
    }
    const bool isHeld = position >= start && position - start <= length &&
                        length - static_cast<std::size_t>(position - start) >= count;
    if (!isHeld) {
        fetch(position);
    }
    return std::string_view(bytes.data(), length)
        .substr(static_cast<std::size_t>(position - start), count);
}

std::optional<std::uint64_t> ByteReader::bigEndianAt(std::uint64_t position, std::size_t size) {
    const std::string_view digits = textAt(position, size);
    if (digits.size() < size) {
        return std::nullopt;
    }
    std::uint64_t number = 0;
    for (const char digit : digits) {
        number = number << 8U | static_cast<std::uint8_t>(digit);
    }
    return number;
}

std::optional<std::uint64_t> ByteReader::littleEndianAt(std::uint64_t position, std::size_t size) {
    const std::string_view digits = textAt(position, size);
    if (digits.size() < size) {
        return std::nullopt;
    }
    std::uint64_t number = 0;
    for (std::size_t place = size; place > 0; --place) {
        number = number << 8U | static_cast<std::uint8_t>(digits[place - 1]);
    }
    return number;
}

}  // namespace ifdsweep

#pragma once

// Packed values: numbers and texts one behind the other, for what processes of this program tell
// each other and for temporary files. Never kept beyond a run. Pure functions; any thread.

#include <cstdint>
#include <cstring>
#include <string>
#include <string_view>

namespace app::packed {

inline constexpr std::size_t kNumberSize = sizeof(std::uint64_t);

inline void putNumber(std::string& bytes, std::uint64_t number) {
    char raw[kNumberSize];
    std::memcpy(raw, &number, kNumberSize);
    bytes.append(raw, kNumberSize);
}

inline void putText(std::string& bytes, std::string_view text) {
    putNumber(bytes, text.size());
    bytes.append(text);
}

/// The number at the beginning of bytes that hold one.
[[nodiscard]] inline std::uint64_t numberAt(std::string_view bytes) {
    std::uint64_t number = 0;
    std::memcpy(&number, bytes.data(), kNumberSize);
    return number;
}

[[nodiscard]] inline std::uint64_t takeNumber(std::string_view& bytes) {
    const std::uint64_t number = numberAt(bytes);
    bytes.remove_prefix(kNumberSize);
    return number;
}

[[nodiscard]] inline std::string_view takeText(std::string_view& bytes) {
    const std::uint64_t size = takeNumber(bytes);
    const std::string_view text = bytes.substr(0, size);
    bytes.remove_prefix(size);
    return text;
}

/// Takes a text if it is there whole.
/// @return whether it was
[[nodiscard]] inline bool takeWholeText(std::string_view& bytes, std::string_view& text) {
    if (bytes.size() < kNumberSize || numberAt(bytes) > bytes.size() - kNumberSize) {
        return false;
    }
    text = takeText(bytes);
    return true;
}

}  // namespace app::packed

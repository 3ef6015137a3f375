#pragma once

// Packed values: numbers and texts one after the other, for what processes of this program tell
// each other and for temporary files. Never kept beyond a run. What unpacks them believes nothing:
// bytes that are not what they should be make it fail, and everything taken after that is empty.
//
// Ownership: an Unpacker refers to the caller's bytes. Pure functions and values; any thread.

#include <cassert>
#include <cstdint>
#include <cstring>
#include <string>
#include <string_view>

namespace ifdsweep {
namespace packed {

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
    assert(bytes.size() >= kNumberSize);
    std::uint64_t number = 0;
    std::memcpy(&number, bytes.data(), kNumberSize);
    return number;
}

/// Takes a text if it is there whole.
/// @return whether it was
[[nodiscard]] inline bool takeWholeText(std::string_view& bytes, std::string_view& text) {
    if (bytes.size() < kNumberSize || numberAt(bytes) > bytes.size() - kNumberSize) {
        return false;
    }
    text = bytes.substr(kNumberSize, numberAt(bytes));
    bytes.remove_prefix(kNumberSize + text.size());
    return true;
}

}  // namespace packed

class Unpacker {
public:
    explicit Unpacker(std::string_view packedBytes) : rest(packedBytes) {}

    /// A number of at most `most`; 0 when there is none.
    [[nodiscard]] std::uint64_t number(std::uint64_t most = ~std::uint64_t{0}) {
        if (rest.size() < packed::kNumberSize || packed::numberAt(rest) > most) {
            fail();
            return 0;
        }
        const std::uint64_t taken = packed::numberAt(rest);
        rest.remove_prefix(packed::kNumberSize);
        return taken;
    }

    [[nodiscard]] bool flag() { return number(1) != 0; }

    /// One of an enumeration's values, which count from 0.
    template <class Enumeration>
    [[nodiscard]] Enumeration choice(Enumeration last) {
        return static_cast<Enumeration>(number(static_cast<std::uint64_t>(last)));
    }

    /// A text; empty when there is none. It lies in the bytes that were given.
    [[nodiscard]] std::string_view text() {
        std::string_view taken;
        if (!packed::takeWholeText(rest, taken)) {
            fail();
        }
        return taken;
    }

    void fail() {
        failed = true;
        rest = {};
    }

    [[nodiscard]] bool hasFailed() const { return failed; }
    [[nodiscard]] bool isAtEnd() const { return rest.empty(); }

    /// Whether everything was what it should be, and nothing is left.
    [[nodiscard]] bool isWhole() const { return !failed && rest.empty(); }

private:
    std::string_view rest;
    bool failed = false;
};

}  // namespace ifdsweep

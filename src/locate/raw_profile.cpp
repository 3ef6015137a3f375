#include "locate/raw_profile.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cstddef>
#include <string_view>

#include "text/count_text.h"

namespace ifdsweep {
namespace {

/// Name and length take some tens of characters; a chunk's keyword, which has the name too, 79.
constexpr std::size_t kLongestHead = 256;

constexpr std::uint8_t kNoDigit = 16;
constexpr std::uint8_t kSpace = 17;

/// What each character stands for: the value of a digit, or one of the above.
constexpr std::array<std::uint8_t, 256> kMeanings = [] {
    std::array<std::uint8_t, 256> meanings{};
    meanings.fill(kNoDigit);
    for (const char space : {' ', '\t', '\r', '\n'}) {
        meanings[static_cast<std::uint8_t>(space)] = kSpace;
    }
    for (std::uint8_t digit = 0; digit < 16; ++digit) {
        meanings[static_cast<std::uint8_t>("0123456789abcdef"[digit])] = digit;
        meanings[static_cast<std::uint8_t>("0123456789ABCDEF"[digit])] = digit;
    }
    return meanings;
}();

struct ProfileHead {
    std::size_t size;                     ///< where the digits begin
    std::optional<std::uint64_t> length;  ///< nothing when the number is none
};

/// Reads name and length. Nothing where their lines do not end in time.
std::optional<ProfileHead> readHead(const std::vector<std::uint8_t>& bytes) {
    const std::size_t most = std::min<std::size_t>(bytes.size(), kLongestHead);
    const std::string text(bytes.begin(), bytes.begin() + static_cast<std::ptrdiff_t>(most));
    const std::size_t nameStart = text.starts_with('\n') ? 1 : 0;
    const std::size_t nameEnd = text.find('\n', nameStart);
    if (nameEnd == std::string_view::npos) {
        return std::nullopt;
    }
    const std::size_t lengthEnd = text.find('\n', nameEnd + 1);
    if (lengthEnd == std::string_view::npos) {
        return std::nullopt;
    }
    std::string_view line(text);
    line = line.substr(nameEnd + 1, lengthEnd - nameEnd - 1);
    line.remove_prefix(std::min(line.find_first_not_of(" \t"), line.size()));
    std::uint64_t length = 0;
    const auto [end, error] = std::from_chars(line.data(), line.data() + line.size(), length);
    return ProfileHead{lengthEnd + 1, error == std::errc() ? std::optional(length) : std::nullopt};
}

}  // namespace

std::optional<std::string> decodeRawProfile(std::vector<std::uint8_t>& bytes) {
    const std::optional<ProfileHead> head = readHead(bytes);
    if (!head) {
        bytes.clear();
        return "its profile does not begin with a name and a length";
    }
    // Two digits make a byte, which is written where both were read or before.
    std::size_t size = 0;
    std::uint8_t high = kNoDigit;
    bool isBroken = false;
    for (std::size_t place = head->size; place < bytes.size() && !isBroken; ++place) {
        const std::uint8_t meaning = kMeanings[bytes[place]];
        if (meaning == kSpace) {
            continue;
        }
        if (meaning == kNoDigit) {
            isBroken = true;
        } else if (high != kNoDigit) {
            bytes[size++] = static_cast<std::uint8_t>(high << 4U | meaning);
            high = kNoDigit;
        } else {
            high = meaning;
        }
    }
    bytes.resize(size);
    if (isBroken) {
        return "its profile has a character that is no hexadecimal digit";
    }
    if (high != kNoDigit) {
        return "its profile has an odd number of digits";
    }
    if (head->length != size) {
        return "its profile has " + countText(size, "byte", "bytes") + " where its length is " +
               (head->length ? std::to_string(*head->length) : "no number");
    }
    return std::nullopt;
}

}  // namespace ifdsweep

#pragma once

// Findings: what the checks of one directory found, each a warning with its place.
//
// Ownership: owns its messages. Threads: one at a time. Errors: std::bad_alloc alone.

#include <algorithm>
#include <array>
#include <cstdint>
#include <limits>
#include <optional>
#include <string>
#include <string_view>
#include <type_traits>
#include <utility>
#include <vector>

#include "ifdsweep/message_catalogue.h"
#include "ifdsweep/qx.h"

namespace ifdsweep {

struct Finding {
    qxMessage message;
    std::optional<std::uint16_t> tag;       ///< none for the directory or file as a whole
    std::optional<std::uint64_t> position;  ///< of the entry or directory, from the file's start
};

/// Where a finding is: an entry, or the directory.
struct FindingPlace {
    std::optional<std::uint16_t> tag{};
    std::optional<std::uint64_t> position{};
};

/// An argument of a message: a number that is not negative, or a text. A number of 2^63 or more,
/// which is past every file, is given as 2^63 - 1.
template <class Argument>
[[nodiscard]] qxMessageArgument checkArgument(const Argument& argument) {
    if constexpr (std::is_integral_v<Argument>) {
        constexpr auto kMost = static_cast<std::uint64_t>(std::numeric_limits<std::int64_t>::max());
        return static_cast<std::int64_t>(std::min<std::uint64_t>(argument, kMost));
    } else {
        return qxMessageText(std::string(argument));
    }
}

/// A message of the checks' catalogue with exactly the arguments of its row.
template <CheckMessageId message, class... Arguments>
[[nodiscard]] qxMessage checkMessage(const Arguments&... arguments) {
    constexpr std::array<char, sizeof...(Arguments)> kGiven{
        (std::is_integral_v<Arguments> ? 'i' : 't')...};
    static_assert(messageRow(message).message == message, "catalogue rows are in enum order");
    static_assert(messageRow(message).arguments == std::string_view(kGiven.data(), kGiven.size()),
                  "arguments differ in number or kind from the catalogue row");
    return {messageRow(message).id, {checkArgument(arguments)...}};
}

/// Adds a message at a place.
template <CheckMessageId message, class... Arguments>
void addFinding(std::vector<Finding>& findings, const FindingPlace& place,
                const Arguments&... arguments) {
    findings.push_back({checkMessage<message>(arguments...), place.tag, place.position});
}

}  // namespace ifdsweep

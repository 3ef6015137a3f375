#pragma once

// Other names: what standards and other programs call the tags that our fields and public tags are
// named after. They choose a field; nothing is ever shown under them. Constants; any thread.

#include <cstdint>
#include <span>
#include <string_view>

namespace ifdsweep {

struct OtherName {
    std::uint16_t number;    ///< of the tag
    std::string_view name;   ///< what others call it
    std::string_view field;  ///< the name of the field, or of the public tag
};

/// The other names that one source has, in ascending order of the numbers.
struct OtherNames {
    std::string_view source;
    std::span<const OtherName> rows;
};

/// All of them. No two names are alike in any case of their letters, and none is like the name of
/// another tag's field.
[[nodiscard]] std::span<const OtherNames> otherNames();

}  // namespace ifdsweep

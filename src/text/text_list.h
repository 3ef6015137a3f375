#pragma once

// Text list: the texts of one value, which end with a NUL each (TIFF 6.0 page 15). Plain functions
// over units of the caller; any thread.

#include <cstddef>
#include <string_view>

namespace ifdsweep {

/// A text without the NULs that end it: they make no text more.
[[nodiscard]] inline std::u16string_view withoutEndingNuls(std::u16string_view units) {
    return units.substr(0, units.find_last_not_of(u'\0') + 1);
}

/// Whether there is a NUL between texts.
[[nodiscard]] inline bool holdsSeveralTexts(std::u16string_view units) {
    return withoutEndingNuls(units).find(u'\0') != std::u16string_view::npos;
}

/// Takes the first text off, with the NUL that ends it.
[[nodiscard]] inline std::u16string_view takeText(std::u16string_view& units) {
    const std::size_t end = units.find(u'\0');
    const std::u16string_view text = units.substr(0, end);
    units.remove_prefix(end == std::u16string_view::npos ? units.size() : end + 1);
    return text;
}

}  // namespace ifdsweep

#pragma once

// UTF-8 text: texts of packed files that may be no text as columns have them, valid UTF-8 in any
// case. Plain functions; any thread.

#include <string>
#include <string_view>

namespace ifdsweep {

/// Bytes in UTF-8; every byte that is none becomes U+FFFD.
[[nodiscard]] std::string utf8OfBytes(std::string_view bytes);

/// The name of a file in UTF-16; a lone surrogate becomes U+FFFD.
[[nodiscard]] std::string utf8OfName(std::u16string_view name);

}  // namespace ifdsweep

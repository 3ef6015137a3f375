#pragma once

// File names: UTF-16 outside, the system's bytes inside. Bytes that are not valid UTF-8 travel as
// lone surrogates U+DC80 to U+DCFF, one each, and every byte string comes back unchanged.
// Pure functions; any thread.

#include <string>
#include <string_view>

namespace ifdsweep {

/// The UTF-16 form of a name in system bytes.
[[nodiscard]] std::u16string fileNameFromSystem(std::string_view systemBytes);

/// The system bytes of a UTF-16 name. A high surrogate directly before U+DC80 to U+DCFF is a pair
/// as any other; `fileNameFromSystem` never makes a lone high surrogate, so no byte is lost to it.
/// Lone surrogates that stand for no byte become the three bytes of their number, which is not
/// valid UTF-8 and so names no file whose name is.
[[nodiscard]] std::string fileNameToSystem(std::u16string_view name);

}  // namespace ifdsweep

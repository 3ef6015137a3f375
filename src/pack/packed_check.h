#pragma once

// Packed check: whether bytes are a packed file, so that nothing in it leads astray. Pure function;
// any thread.

#include <cstddef>
#include <span>

namespace ifdsweep {

/// @param bytes aligned for every type
[[nodiscard]] bool isPackedFile(std::span<const std::byte> bytes) noexcept;

}  // namespace ifdsweep

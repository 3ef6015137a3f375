#pragma once

// Keyed hash: SipHash-2-4 (Aumasson and Bernstein, 2012). Who does not know the key cannot choose
// texts of one hash. Plain functions; any thread.

#include <array>
#include <cstdint>
#include <string_view>

namespace ifdsweep {

using HashKey = std::array<std::uint64_t, 2>;

/// A key that nobody can foresee.
[[nodiscard]] HashKey makeHashKey();

[[nodiscard]] std::uint64_t keyedHash(std::string_view bytes, const HashKey& key);

}  // namespace ifdsweep

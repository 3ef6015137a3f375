#pragma once

// Message parts: what columns have of the messages of a packed file. Plain functions; any thread.
// Errors: std::bad_alloc.

#include <span>
#include <string>

#include "pack/packed_file.h"

namespace ifdsweep {

/// The message in words, in valid UTF-8.
[[nodiscard]] std::string messageWords(const PackedFile& file, const PackedMessageRow& message);

[[nodiscard]] std::span<const PackedArgumentRow> argumentsOf(
    const PackedFile& file, const PackedMessageRow& message) noexcept;

/// An argument in valid UTF-8; of a number its digits.
[[nodiscard]] std::string argumentWords(const PackedFile& file, const PackedArgumentRow& argument);

}  // namespace ifdsweep

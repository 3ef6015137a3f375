#pragma once

// Check messages: the texts of what the checks find. Constant data; any thread.

#include <span>

#include "host/message_texts.h"

namespace ifdsweep {

/// A row for each message of the checks' catalogue, in its order.
[[nodiscard]] std::span<const MessageTextRow> checkTexts() noexcept;

}  // namespace ifdsweep

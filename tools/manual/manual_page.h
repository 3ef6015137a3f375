#pragma once

// The manual page, in roff with the man macros. A pure function; any thread.

#include <string>
#include <string_view>

namespace ifdsweep::manual {

/// The page, made from the option table, the texts of --help and the message catalogue.
[[nodiscard]] std::string manualPage();

/// A text as roff shows it: no character of it is a command or changes its look.
[[nodiscard]] std::string roffText(std::string_view text);

}  // namespace ifdsweep::manual

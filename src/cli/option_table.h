#pragma once

// Option table: every option of the command with its help. The parser, --help, the manual page and
// the shell completions are all made from it. Constant data; any thread.

#include <cstdint>
#include <span>
#include <string_view>

namespace ifdsweep {

/// What completes the value of an option in a shell.
enum class ValueCompletion : std::uint8_t { none, words, file, tag, message, other };

struct OptionRow {
    std::string_view name;         ///< with its dashes
    std::string_view placeholder;  ///< of the value; empty when the option takes none
    std::string_view help;         ///< one or more lines
    std::string_view group;
    ValueCompletion value;
    std::string_view words;  ///< the values, between spaces, of `ValueCompletion::words`
};

/// Every option, group by group.
[[nodiscard]] std::span<const OptionRow> optionTable() noexcept;

/// The row of an option, which must be in the table.
[[nodiscard]] const OptionRow& optionRow(std::string_view name);

/// The parts of the help around the options.
extern const std::string_view kDescription;
extern const std::string_view kFooter;
extern const std::string_view kVersionText;

}  // namespace ifdsweep

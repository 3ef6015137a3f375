#pragma once

// Option table: every option of the command with its help. The parser, --help, the manual page and
// the shell completions are all made from it. Constant data; any thread.

#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace ifdsweep {

/// What completes the value of an option in a shell.
enum class ValueCompletion : std::uint8_t { none, words, file, tag, message, other };

/// A value that an option names.
struct OptionWord {
    std::string_view word;
    std::string_view help{};  ///< one or more lines; empty where the help of the option tells
};

struct OptionRow {
    std::string_view name;         ///< with its dashes
    std::string_view placeholder;  ///< of the value; empty when the option takes none
    std::string_view help;         ///< one or more lines, before those of the words
    std::string_view group;
    ValueCompletion value;
    std::span<const OptionWord> words{};  ///< the values of `ValueCompletion::words`
    bool isRepeatable = false;            ///< each adds to what was given before
    std::string_view shortName{};         ///< with its dash
};

/// Every option, group by group.
[[nodiscard]] std::span<const OptionRow> optionTable() noexcept;

/// The row of an option, which must be in the table.
[[nodiscard]] const OptionRow& optionRow(std::string_view name);

/// The help of an option with its lines joined; that of each of its words ("json: …") is a
/// paragraph.
[[nodiscard]] std::vector<std::string> helpParagraphs(const OptionRow& row);

/// The whole help of an option, with its lines.
[[nodiscard]] std::string helpText(const OptionRow& row);

/// The texts of the help around the options.
extern const std::string_view kDescription;
extern const std::string_view kJpegNote;
extern const std::string_view kQuantityNote;
extern const std::string_view kPatternsNote;
extern const std::string_view kExitStatusNote;
extern const std::string_view kExamples;
extern const std::string_view kVersionText;

}  // namespace ifdsweep

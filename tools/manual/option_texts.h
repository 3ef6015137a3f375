#pragma once

// Option texts: what the manual page and the completions of all shells take from the program's
// tables. Pure functions; any thread.

#include <string>
#include <string_view>
#include <vector>

#include "cli/option_table.h"
#include "read/messages.h"

namespace ifdsweep::manual {

/// The parts of a text between separators; none when the text is empty.
[[nodiscard]] std::vector<std::string_view> split(std::string_view text,
                                                  std::string_view separator);

/// A text with every occurrence of a part replaced.
[[nodiscard]] std::string replaced(std::string_view text, std::string_view part,
                                   std::string_view replacement);

/// The values that an option names; none when it names none.
[[nodiscard]] std::vector<std::string_view> wordsOf(const OptionRow& row);

/// The help of an option with its lines joined. A line that explains one of the option's words
/// ("json: …") begins a paragraph.
[[nodiscard]] std::vector<std::string> helpParagraphs(const OptionRow& row);

/// The help of an option on one line.
[[nodiscard]] std::string helpLine(const OptionRow& row);

/// Whether the option may be given more than once, each adding to what was given before.
[[nodiscard]] bool isRepeatable(const OptionRow& row);

/// Every name for --tags, each once.
[[nodiscard]] std::vector<std::string_view> tagNames();

/// A text between single quotes, as bash and zsh read it.
[[nodiscard]] std::string shellQuoted(std::string_view text);

}  // namespace ifdsweep::manual

#pragma once

// Option texts: what the manual page and the completions of all shells take from the program's
// tables. Pure functions; any thread.

#include <string>
#include <string_view>
#include <vector>

#include "cli/option_table.h"
#include "read/messages.h"

namespace ifdsweep::manual {

/// The pieces of a text between separators; none when the text is empty.
[[nodiscard]] std::vector<std::string_view> split(std::string_view text,
                                                  std::string_view separator);

/// Texts with a separator between them.
template <class Texts>
[[nodiscard]] std::string joined(const Texts& texts, std::string_view separator) {
    std::string all;
    for (const auto& text : texts) {
        all.append(all.empty() ? "" : separator).append(text);
    }
    return all;
}

/// A text with every occurrence of a piece replaced.
[[nodiscard]] std::string replaced(std::string_view text, std::string_view piece,
                                   std::string_view replacement);

/// The short name of an option, where it has one, and its name.
[[nodiscard]] std::vector<std::string_view> optionNames(const OptionRow& row);

/// The values that an option names, between spaces; empty when it names none.
[[nodiscard]] std::string wordList(const OptionRow& row);

/// The help of an option on one line.
[[nodiscard]] std::string helpLine(const OptionRow& row);

/// Every name for --tags, each once: of fields and public tags, then their other names.
[[nodiscard]] std::vector<std::string_view> tagNames();

/// A text between single quotes, as bash and zsh read it.
[[nodiscard]] std::string shellQuoted(std::string_view text);

}  // namespace ifdsweep::manual

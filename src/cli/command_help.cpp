#include "cli/command_help.h"

#include <algorithm>
#include <memory>

#include <CLI/App.hpp>
#include <CLI/Config.hpp>
#include <CLI/Formatter.hpp>

#include "cli/option_table.h"
#include "cli/reading_table.h"

namespace ifdsweep {
namespace {

constexpr std::size_t kRowColumns = 80;    // that the rows of the option table lie within
constexpr std::size_t kLeastColumns = 24;  // of a terminal that can show anything
constexpr std::size_t kTextColumn = 26;    // of the texts beside the options
constexpr std::size_t kTextBelow = 6;      // of the texts below them

/// Long names stand below each other, whether a short one stands before them or not, unless their
/// texts stand between them.
class OptionFormatter : public CLI::Formatter {
public:
    explicit OptionFormatter(bool hasTextsBeside) : isAligned(hasTextsBeside) {
        column_width(hasTextsBeside ? kTextColumn : kTextBelow);
    }

    std::string make_option_name(const CLI::Option* option, bool isPositional) const override {
        std::string names = Formatter::make_option_name(option, isPositional);
        if (isPositional) {
            return names;
        }
        const std::size_t comma = names.find(',');
        return comma == std::string::npos
                   ? (isAligned ? "    " : "") + names
                   : names.substr(0, comma + 1) + ' ' + names.substr(comma + 1);
    }

private:
    bool isAligned;
};

void appendWrapped(std::string& text, std::string_view line, std::size_t columns) {
    const std::size_t indent = std::min(line.find_first_not_of(' '), line.size());
    const std::size_t room = columns > indent ? columns - indent : 1;
    std::string_view rest = line.substr(indent);
    while (rest.size() > room) {
        std::size_t end = rest.rfind(' ', room);
        if (end == std::string_view::npos) {
            end = rest.find(' ');
        }
        const std::size_t next = rest.find_first_not_of(' ', end);
        if (next == std::string_view::npos) {
            break;
        }
        end = rest.find_last_not_of(' ', end) + 1;
        text.append(indent, ' ').append(rest.substr(0, end)).append("\n");
        rest.remove_prefix(next);
    }
    text.append(indent, ' ').append(rest).append("\n");
}

/// A paragraph on one line.
std::string flowed(std::string_view paragraph) {
    std::string line(paragraph);
    std::replace(line.begin(), line.end(), '\n', ' ');
    return line;
}

/// What stands below the options: the notes on quantities, patterns and JPEG files, the exit
/// status, the table of the readings and the examples.
std::string footer(bool isWide) {
    const auto paragraph = [isWide](std::string_view text) {
        return isWide ? std::string(text) : flowed(text);
    };
    std::string text = paragraph(kQuantityNote);
    text.append("\n\n").append(paragraph("Patterns: " + std::string(kPatternsNote)));
    text.append("\n\n").append(paragraph(kJpegNote));
    text.append("\n\n").append(paragraph("Exit status: " + std::string(kExitStatusNote)));
    text.append("\n\n").append(isWide ? readingTableText() : readingListText());
    return text.append("\nExamples:\n").append(kExamples);
}

void putTextsBelow(CLI::App& command) {
    for (CLI::Option* const option : command.get_options()) {
        if (!option->get_positional()) {
            std::string text;
            for (const std::string& paragraph : helpParagraphs(optionRow(option->get_name()))) {
                text.append(text.empty() ? "" : "\n").append(paragraph);
            }
            option->description(text);
        }
    }
}

}  // namespace

std::string commandHelp(CLI::App& command, std::size_t columns) {
    const bool isWide = columns >= kHelpColumns;
    const bool hasRoomBeside = columns >= kRowColumns;
    command.formatter(std::make_shared<OptionFormatter>(hasRoomBeside));
    command.footer(footer(isWide));
    if (!isWide) {
        command.description(flowed(kDescription));
    }
    if (!hasRoomBeside) {
        putTextsBelow(command);
    }
    return wrappedLines(command.help(), std::clamp(columns, kLeastColumns, kHelpColumns));
}

std::string wrappedLines(std::string_view text, std::size_t columns) {
    std::string wrapped;
    while (!text.empty()) {
        const std::string_view line = text.substr(0, text.find('\n'));
        text.remove_prefix(std::min(line.size() + 1, text.size()));
        appendWrapped(wrapped, line, columns);
    }
    return wrapped;
}

}  // namespace ifdsweep

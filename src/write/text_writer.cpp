#include "write/text_writer.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cstdint>
#include <iterator>
#include <utility>

#include "names/public_tags.h"
#include "present/present.h"
#include "read/directory_path.h"
#include "read/messages.h"
#include "text/count_text.h"
#include "text/letter_case.h"
#include "text/number_output.h"
#include "text/terminal_text.h"
#include "write/field_roles.h"
#include "write/outcome_streams.h"
#include "write/text_value.h"
#include "write/warning_folding.h"

namespace ifdsweep {
namespace {

Described describedBy(const StreamOrigin& stream) {
    return stream.container.empty() ? Described::itself : Described::container;
}

}  // namespace

TextWriter::TextWriter(Output& destination, const WriteOptions& options, LineWrapper* lineWrapper)
    : ResultWriter(destination),
      wrapper(lineWrapper),
      colour(options.colour),
      limits{options.shownElements, options.shownCharacters, options.shownDigits},
      asked(options.columns),
      foldsNothing(options.allDirectories),
      // Who names a field wants to see it.
      placement(options.columns.empty() ? Placement::ignored : Placement::counted),
      folding(placement) {}

bool TextWriter::isAsked(std::string_view name) const {
    return asked.empty() || isWhole || std::find(asked.begin(), asked.end(), name) != asked.end();
}

bool TextWriter::holdsAsked(std::string_view name, const Value& value) const {
    bool found = isAsked(name);
    if (found || !isNested(value)) {
        return found;
    }
    for (std::size_t element = 0; !found && element < value.elementCount(); ++element) {
        if (value.kind() == ValueKind::Cell) {
            const Value* const tree = value.cell(element);
            found = tree != nullptr && holdsAsked(name, *tree);
        } else {
            forEachField(value, element, [&](std::string_view inner, const Value& innerValue) {
                found = found || holdsAsked(inner, innerValue);
            });
        }
    }
    return found;
}

bool TextWriter::shows(const Outcome& outcome) const {
    return !outcome.others.empty() || outcome.result != nullptr || !outcome.warnings.empty() ||
           !outcome.warningCounts.empty();
}

void TextWriter::writeFile(const Outcome& outcome) {
    hasFolded = false;
    if (wrapper != nullptr) {
        wrapper->keepWhole();
    }
    appendStyled(Style::file, outcome.file);
    output.append('\n');
    if (outcome.others.empty()) {
        appendStream(outcome, true);
    } else {
        std::size_t number = 0;
        forEachStream(outcome, [&](const Outcome& stream) {
            appendStreamHeading(outcome, stream.stream, ++number);
            appendStream(stream, false);
        });
    }
    if (hasFolded) {
        appendHint();
    }
}

void TextWriter::appendStreamHeading(const Outcome& file, const StreamOrigin& stream,
                                     std::size_t number) {
    beginHeading(1);
    appendStyled(Style::directory, "Stream " + std::to_string(number) + " of " +
                                       std::to_string(1 + file.others.size()) + ": " + stream.name);
    output.append('\n');
}

void TextWriter::appendStream(const Outcome& stream, bool isOnly) {
    origin = stream.stream;
    folding = DirectoryFolding(placement);
    if (stream.result != nullptr) {
        const bool hasRecords = stream.result->kind() == ValueKind::Struct;
        appendFileFields(hasRecords ? stream.result.get() : nullptr, containerText(isOnly));
        if (hasRecords) {
            appendRecords(*stream.result, "", 1);
        } else {
            indent(1);
            output.append("no directories\n");
        }
    }
    appendWarnings(stream.warnings);
    for (const WarningCount& warning : stream.warningCounts) {
        appendWarningCount(warning);
    }
    if (stream.error && !isOnly) {
        appendMessage("error:", *stream.error, {});
    }
}

std::string TextWriter::containerText(bool isOnly) const {
    std::string text;
    if (origin.container.empty() || !(asked.empty() || origin.isEmbedded)) {
        return text;
    }
    std::transform(origin.container.begin(), origin.container.end(), std::back_inserter(text),
                   upperCase);
    if (isOnly) {
        text.append(", ").append(origin.name);
    }
    if (origin.isEmbedded) {
        text.append(" (embedded: positions are of the stream)");
    }
    return text;
}

void TextWriter::appendStyled(Style style, std::string_view text) {
    // Bold, bold blue, cyan, yellow: in the order of the styles.
    constexpr std::array<std::string_view, 4> kStart{"\x1b[1m", "\x1b[1;34m", "\x1b[36m",
                                                     "\x1b[33m"};
    if (colour == Colour::off) {
        appendTerminalText(output, text);
        return;
    }
    output.append(kStart[static_cast<std::size_t>(style)]);
    appendTerminalText(output, text);
    output.append("\x1b[0m");
}

void TextWriter::beginValue() {
    if (wrapper != nullptr) {
        output.flush();
        wrapper->hang();
    }
}

void WrappedTextWriter::writeFile(const Outcome& outcome) {
    writer.writeFile(outcome);
    lines.flush();
}

void TextWriter::appendFileFields(const Value* records, const std::string& container) {
    constexpr std::string_view kContainer = "Container";
    const auto forEachShown = [&](auto&& visit) {
        if (records == nullptr) {
            return;
        }
        forEachField(*records, 0, [&](std::string_view name, const Value& value) {
            // The heading is the name.
            if (isFileField(name) && name != kFileNameField && isAsked(name) &&
                value.elementCount() > 0) {
                visit(name, value);
            }
        });
    };
    std::size_t nameWidth = container.empty() ? 0 : kContainer.size();
    forEachShown([&](std::string_view name, const Value& /*value*/) {
        nameWidth = std::max(nameWidth, name.size());
    });
    if (!container.empty()) {
        appendName(kContainer, nameWidth, 1);
        appendTerminalText(output, container);
        output.append('\n');
    }
    forEachShown([&](std::string_view name, const Value& value) {
        appendField(*records, 0, name, value, nameWidth, 1);
    });
}

void TextWriter::appendRecords(const Value& records, const std::string& path, std::size_t depth) {
    const auto appendOne = [&](std::size_t element) {
        const std::string directory = childPath(path, std::to_string(element));
        beginHeading(depth);
        appendStyled(Style::directory, "Directory " + directory);
        output.append('\n');
        appendDirectory(records, element, directory, depth + 1);
    };
    if (foldsNothing) {
        for (std::size_t element = 0; element < records.elementCount(); ++element) {
            appendOne(element);
        }
        return;
    }
    for (const ChainPart& part : folding.partsOf(records)) {
        if (part.isFolded()) {
            beginHeading(depth);
            appendFolded(part, path);
        } else {
            appendOne(part.first);
        }
    }
}

void TextWriter::beginHeading(std::size_t depth) {
    if (depth == 1) {
        output.append('\n');
    }
    indent(depth);
}

void TextWriter::appendFolded(const ChainPart& part, const std::string& path) {
    hasFolded = true;
    appendStyled(Style::directory, foldedDirectories(part, path));
    output.append(": ");
    output.append(foldedLikeness(part, path));
    output.append('\n');
}

void TextWriter::appendDirectory(const Value& records, std::size_t element, const std::string& path,
                                 std::size_t depth) {
    const auto isPlain = [this](std::string_view name, const Value& value) {
        return !isFileField(name) && !isNested(value) && isAsked(name);
    };
    std::size_t nameWidth = 0;
    forEachField(records, element, [&](std::string_view name, const Value& value) {
        if (isPlain(name, value)) {
            nameWidth = std::max(nameWidth, name.size());
        }
    });
    forEachField(records, element, [&](std::string_view name, const Value& value) {
        if (isPlain(name, value)) {
            appendField(records, element, name, value, nameWidth, depth);
        }
    });
    // After the plain values, so that these stay one aligned block.
    forEachField(records, element, [&](std::string_view name, const Value& value) {
        if (isNested(value) && holdsAsked(name, value)) {
            appendNested(name, value, path, depth);
        }
    });
}

void TextWriter::appendNested(std::string_view name, const Value& value, const std::string& path,
                              std::size_t depth) {
    indent(depth);
    appendStyled(Style::name, name);
    output.append('\n');
    if (name == kUnknownTags) {
        appendUnknownTags(value, kindAtPath(path, origin.kind), depth + 1);
    } else {
        const bool wasWhole = std::exchange(isWhole, isWhole || isAsked(name));
        forEachTree(name, value, path, [&](const Value& tree, const std::string& treePath) {
            appendRecords(tree, treePath, depth + 1);
        });
        isWhole = wasWhole;
    }
}

void TextWriter::appendName(std::string_view name, std::size_t nameWidth, std::size_t depth) {
    indent(depth);
    appendStyled(Style::name, name);
    output.append(nameWidth - name.size() + 2, ' ');
    beginValue();
}

void TextWriter::appendField(const Value& records, std::size_t element, std::string_view name,
                             const Value& value, std::size_t nameWidth, std::size_t depth) {
    appendName(name, nameWidth, depth);
    if (!appendPresented(output, name, value, records, element, limits, describedBy(origin))) {
        appendTextValue(output, &value, fieldTextOrigin(name), limits);
    }
    output.append('\n');
}

void TextWriter::appendUnknownTags(const Value& tags, DirectoryKind kind, std::size_t depth) {
    const auto member = [&tags](std::size_t element, std::string_view name) -> const Value* {
        const auto field = tags.fieldIndex(name);
        return field ? tags.field(element, *field) : nullptr;
    };
    for (std::size_t element = 0; element < tags.elementCount(); ++element) {
        indent(depth);
        std::string_view name;
        const Value* id = member(element, "ID");
        appendTextValue(output, id, TextOrigin::tag, limits);
        if (id != nullptr && !id->doubles().empty() && id->doubles()[0] >= 0 &&
            id->doubles()[0] <= UINT16_MAX) {
            output.append(" (0x");
            const auto number = static_cast<std::uint16_t>(id->doubles()[0]);
            char* text = output.reserve(kNumberRoom);
            output.commit(std::to_chars(text, text + kNumberRoom, number, 16).ptr);
            output.append(')');
            name = publicTagName(kind, number);
            if (!name.empty()) {
                output.append("  ");
                appendStyled(Style::name, name);
            }
        }
        output.append("  offset ");
        appendTextValue(output, member(element, "Offset"), TextOrigin::tag, limits);
        output.append("  ");
        beginValue();
        output.append("value ");
        const Value* value = member(element, "Value");
        if (value == nullptr || !appendPresented(output, name, *value, tags, element, limits)) {
            appendTextValue(output, value, TextOrigin::tag, limits);
        }
        output.append('\n');
    }
}

void TextWriter::appendWarnings(const std::vector<Warning>& warnings) {
    WarningFolding kinds;
    for (const Warning& warning : warnings) {
        if (foldsNothing || kinds.shows(warning.message.id())) {
            appendMessage("warning:", warning.message, warning.place);
        }
    }
    for (const auto& [id, count] : kinds.kinds()) {
        if (count > WarningFolding::kShown) {
            hasFolded = true;
            indent(1);
            output.append("\u2026 and ");
            output.append(groupedCount(count - WarningFolding::kShown));
            output.append(" more of ");
            appendTerminalText(output, shortMessageId(id));
            output.append('\n');
        }
    }
}

void TextWriter::appendMessage(std::string_view kind, const qxMessage& message,
                               const WarningPlace& place) {
    indent(1);
    appendStyled(Style::warning, kind);
    output.append(' ');
    if (!place.path.empty()) {
        output.append("Directory ");
        appendTerminalText(output, place.path);
        if (place.tag) {
            output.append(", tag ");
            appendInteger(output, *place.tag);
        }
        output.append(": ");
    }
    appendTerminalText(output, messageText(message));
    output.append(" (");
    appendTerminalText(output, shortMessageId(message.id()));
    output.append(")\n");
}

void TextWriter::appendWarningCount(const WarningCount& warning) {
    indent(1);
    appendStyled(Style::warning, warning.count == 1 ? "warning:" : "warnings:");
    output.append(' ');
    appendInteger(output, static_cast<std::int64_t>(warning.count));
    output.append(" of ");
    appendTerminalText(output, shortMessageId(warning.id));
    output.append('\n');
}

void TextWriter::appendHint() {
    indent(1);
    output.append("(--all-directories shows each directory and warning)\n");
}

}  // namespace ifdsweep

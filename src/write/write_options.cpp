#include "write/write_options.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <optional>
#include <string>
#include <string_view>

#include "present/present.h"
#include "read/tag_choice.h"
#include "text/number_text.h"

namespace ifdsweep {

WriteOptions writeOptions(const OutputChoice& choice, Colour colour) {
    WriteOptions options;
    options.format = choice.format;
    options.layout = choice.layout;
    options.colour = colour;
    options.rows = choice.rows;
    options.table = choice.table;
    options.longestValue = choice.longestValue;
    options.tellStreams = choice.tellStreams;
    options.rawCells = choice.rawCells;
    options.allDirectories = choice.allDirectories;
    options.forTerminal = choice.toTerminal;
    options.lineWidth = choice.lineWidth;
    for (const ChosenField& field : choice.fields) {
        options.columns.push_back(field.name);
    }
    options.splitTexts = choice.splitTexts;
    if (choice.digits) {
        options.shownDigits =
            static_cast<unsigned>(std::min<std::uint64_t>(*choice.digits, kMostDigits));
    }
    if (choice.shorten) {
        constexpr std::uint64_t kAll = std::numeric_limits<std::size_t>::max();
        constexpr std::uint64_t kCharactersPerElement = 16;
        const std::uint64_t elements = *choice.shorten == 0 ? kAll : *choice.shorten;
        options.shownElements = elements;
        options.shownCharacters =
            std::min(elements, kAll / kCharactersPerElement) * kCharactersPerElement;
    }
    return options;
}

std::vector<ChosenField> neededFields(const OutputChoice& choice) {
    std::vector<ChosenField> fields = choice.fields;
    if (choice.format == Format::text) {
        for (const ChosenField& asked : choice.fields) {
            for (const std::string_view companion : companionFields(asked.name)) {
                addField(fields, {std::string(companion), std::nullopt});
            }
        }
    }
    return fields;
}

}  // namespace ifdsweep

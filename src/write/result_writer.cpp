#include "write/result_writer.h"

#include <algorithm>
#include <limits>

#include "write/csv_writer.h"
#include "write/json_writer.h"
#include "write/text_writer.h"
#include "write/typed_writer.h"

namespace ifdsweep {

WriterSettings writerSettings(const OutputChoice& choice) {
    WriterSettings settings;
    settings.layout = choice.layout;
    settings.nestedRows = choice.nestedRows;
    settings.toTerminal = choice.toTerminal;
    for (const ChosenField& field : choice.fields) {
        settings.columns.push_back(field.name);
    }
    if (choice.shorten) {
        constexpr std::uint64_t kAll = std::numeric_limits<std::size_t>::max();
        constexpr std::uint64_t kCharactersPerElement = 16;
        const std::uint64_t elements = *choice.shorten == 0 ? kAll : *choice.shorten;
        settings.limits.elements = elements;
        settings.limits.characters =
            std::min(elements, kAll / kCharactersPerElement) * kCharactersPerElement;
    }
    return settings;
}

Frame frameOf(Format format, const WriterSettings& settings) {
    switch (format) {
        case Format::json:
            return settings.layout == JsonLayout::compact ? Frame{"[", "", ",", "]\n"}
                                                          : Frame{"[", "\n", ",\n", "\n]\n"};
        case Format::text:
            return {"", "", "\n", ""};
        case Format::csv:
            return {settings.columns.empty() ? "" : csvHeader(settings.columns), "", "", ""};
        case Format::ndjson:
        case Format::typed:
            break;
    }
    return {};
}

std::unique_ptr<ResultWriter> makeResultWriter(Format format, Output& output, Colour colour,
                                               const WriterSettings& settings) {
    output.setForTerminal(settings.toTerminal);
    switch (format) {
        case Format::json:
            return std::make_unique<JsonWriter>(output, settings.layout);
        case Format::ndjson:
            return std::make_unique<LineWriter>(output);
        case Format::typed:
            return std::make_unique<TypedWriter>(output);
        case Format::csv:
            return std::make_unique<CsvWriter>(output, settings);
        case Format::text:
            break;
    }
    return std::make_unique<TextWriter>(output, colour, settings.limits);
}

}  // namespace ifdsweep

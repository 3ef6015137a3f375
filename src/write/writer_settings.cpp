#include "write/writer_settings.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <limits>

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

}  // namespace ifdsweep

#include "write/framer.h"

#include "write/csv_writer.h"

namespace ifdsweep {

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

}  // namespace ifdsweep

#include "write/result_writer.h"

#include "write/csv_writer.h"
#include "write/json_writer.h"
#include "write/ndjson_writer.h"
#include "write/text_writer.h"
#include "write/typed_writer.h"

namespace ifdsweep {

std::unique_ptr<ResultWriter> makeResultWriter(Format format, Output& output, Colour colour,
                                               const WriterSettings& settings) {
    output.setForTerminal(settings.toTerminal);
    switch (format) {
        case Format::json:
            return std::make_unique<JsonWriter>(output, settings.layout);
        case Format::ndjson:
            return std::make_unique<NdjsonWriter>(output);
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

#include "write/result_writer.h"

#include "write/csv_writer.h"
#include "write/facts_writer.h"
#include "write/json_writer.h"
#include "write/ndjson_writer.h"
#include "write/packed_writer.h"
#include "write/table_writer.h"
#include "write/text_writer.h"
#include "write/typed_writer.h"

namespace ifdsweep {

std::unique_ptr<ResultWriter> makeResultWriter(const WriteOptions& options, Output& output) {
    output.setForTerminal(options.forTerminal);
    const SeveralTexts texts = options.splitTexts ? SeveralTexts::array : SeveralTexts::string;
    switch (options.format) {
        case Format::json:
            return std::make_unique<JsonWriter>(output, options.layout, texts);
        case Format::ndjson:
            return std::make_unique<NdjsonWriter>(
                output, texts, options.tellStreams ? NdjsonLines::streams : NdjsonLines::files);
        case Format::typed:
            return std::make_unique<TypedWriter>(output);
        case Format::csv:
            if (options.table) {
                return std::make_unique<TableWriter>(output, options);
            }
            return std::make_unique<CsvWriter>(output, options);
        case Format::facts:
            return std::make_unique<FactsWriter>(output);
        case Format::packed:
            return std::make_unique<PackedWriter>(output);
        case Format::text:
            break;
    }
    if (options.lineWidth > 0) {
        return std::make_unique<WrappedTextWriter>(output, options);
    }
    return std::make_unique<TextWriter>(output, options);
}

}  // namespace ifdsweep

#include "write/framer.h"

#include "pack/packed_stream.h"
#include "write/csv_writer.h"
#include "write/table_writer.h"

namespace ifdsweep {

Frame frameOf(const WriteOptions& options) {
    switch (options.format) {
        case Format::json:
            return options.layout == JsonLayout::compact ? Frame{"[", "", ",", "]\n"}
                                                         : Frame{"[", "\n", ",\n", "\n]\n"};
        case Format::text:
            return {"", "", "\n", ""};
        case Format::csv:
            if (options.table) {
                return {tableHeader(*options.table), "", "", ""};
            }
            return {options.columns.empty() ? "" : csvHeader(options.columns, options), "", "", ""};
        case Format::packed:
            return {std::string(kPackedStreamHead), "", "", ""};
        case Format::ndjson:
        case Format::typed:
        case Format::facts:
            break;
    }
    return {};
}

}  // namespace ifdsweep

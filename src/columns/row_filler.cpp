#include "columns/row_filler.h"

#include "columns/fillers.h"

namespace ifdsweep {

std::unique_ptr<RowFiller> makeRowFiller(const TableSchema& schema,
                                         std::vector<ColumnBuilder>& columns,
                                         const FillLimits& limits) {
    switch (schema.layout) {
        case Layout::files:
            return makeFilesFiller(schema, columns, limits);
        case Layout::images:
            return makeImagesFiller(schema, columns, limits);
        case Layout::tags:
            return makeTagsFiller(schema, columns, limits);
        case Layout::warnings:
            break;
    }
    return makeWarningsFiller(schema, columns, limits);
}

}  // namespace ifdsweep

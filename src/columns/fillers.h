#pragma once

// The fillers of the four layouts. See row_filler.h.

#include <memory>
#include <vector>

#include "columns/row_filler.h"

namespace ifdsweep {

[[nodiscard]] std::unique_ptr<RowFiller> makeFilesFiller(const TableSchema& schema,
                                                         std::vector<ColumnBuilder>& columns,
                                                         const FillLimits& limits);
[[nodiscard]] std::unique_ptr<RowFiller> makeImagesFiller(const TableSchema& schema,
                                                          std::vector<ColumnBuilder>& columns,
                                                          const FillLimits& limits);
[[nodiscard]] std::unique_ptr<RowFiller> makeTagsFiller(const TableSchema& schema,
                                                        std::vector<ColumnBuilder>& columns,
                                                        const FillLimits& limits);
[[nodiscard]] std::unique_ptr<RowFiller> makeWarningsFiller(const TableSchema& schema,
                                                            std::vector<ColumnBuilder>& columns,
                                                            const FillLimits& limits);

}  // namespace ifdsweep

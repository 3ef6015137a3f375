#pragma once

// The tables of all columns that the layouts have (table_schema.h). Made once; any thread.

#include <span>

#include "columns/table_schema.h"

namespace ifdsweep {

[[nodiscard]] std::span<const Column> filesTable();
[[nodiscard]] std::span<const Column> imagesTable();
[[nodiscard]] std::span<const Column> tagsTable();
[[nodiscard]] std::span<const Column> warningsTable();

}  // namespace ifdsweep

#pragma once

// Arrow export: schemas, batches and streams of batches by the Arrow C data interface and the Arrow
// C stream interface. What is exported is the consumer's: it may be moved, its children one by one,
// and released on any thread; it keeps the buffers alive and nothing else.
//
// Errors: std::bad_alloc; then nothing was exported, and the structure is released. A stream tells
// errors by `errno` numbers and texts.

#include <functional>
#include <memory>
#include <optional>

#include "columns/arrow_c_data.h"
#include "columns/column_array.h"
#include "columns/table_schema.h"

namespace ifdsweep {

/// A table as a struct, each column a member that may be null, with `PARQUET:field_id`; the
/// table's metadata has its identity (`TableSchema::identity`).
/// @param schema filled; whatever it held is lost
void exportSchema(const TableSchema& table, ArrowSchema& schema);

/// A batch as a struct without null rows.
void exportBatch(ColumnBatch batch, ArrowArray& array);

/// The next batch, none at the end; what it throws is an error of the stream.
using BatchSource = std::function<std::optional<ColumnBatch>()>;

/// A stream, consumed once.
/// @param source called by whoever takes batches, on its threads, one at a time; freed at release
void exportStream(std::shared_ptr<const TableSchema> table, BatchSource source,
                  ArrowArrayStream& stream);

}  // namespace ifdsweep

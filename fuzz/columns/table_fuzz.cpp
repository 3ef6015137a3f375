// Tables of any files: whatever was read and packed, and whatever is taken for a packed file, makes
// tables whose arrays are lawful, with the same rows in batches of one row as in one batch.
//
// The input: a byte that chooses, then the packed file, or the file that is read and packed.

#include <array>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <utility>
#include <vector>

#include "columns/column_storage.h"
#include "columns/column_text.h"
#include "columns/table_reader.h"
#include "fuzz_input.h"
#include "fuzz_target.h"
#include "ifdsweep/host.h"
#include "ifdsweep/read.h"
#include "pack/file_packer.h"
#include "text/text_decoding.h"

namespace {

using ifdsweep::ColumnArray;
using ifdsweep::ColumnChoice;
using ifdsweep::ItemType;
using ifdsweep::Layout;
using ifdsweep::Storage;
using ifdsweep::TableSchema;
using FilePointer = std::shared_ptr<const ifdsweep::PackedFile>;

constexpr const char* kFileName = "fuzz.tif";

void requireLawful(const ColumnArray& array);

void requireLists(const ColumnArray& array) {
    std::size_t before = 0;
    for (std::size_t row = 0; row < array.length; ++row) {
        const auto [begin, end] = array.items(row);
        fuzz::require(begin == before && begin <= end, "lists follow one another");
        before = end;
    }
    fuzz::require(array.children[0].length == before, "all items are in lists");
    requireLawful(array.children[0]);
}

void requireTexts(const ColumnArray& array) {
    const bool isBinary = array.type.item == ItemType::binary;
    for (std::size_t row = 0; row < array.length; ++row) {
        fuzz::require(isBinary || array.isNull(row) || ifdsweep::isUtf8(array.text(row)),
                      "texts are UTF-8");
    }
}

void requireLawful(const ColumnArray& array) {
    std::size_t nulls = 0;
    for (std::size_t row = 0; row < array.length; ++row) {
        nulls += array.isNull(row) ? 1U : 0U;
    }
    fuzz::require(nulls == array.nullCount, "nulls are counted");
    switch (ifdsweep::storageOf(array.type)) {
        case Storage::lists:
            requireLists(array);
            break;
        case Storage::texts:
            requireTexts(array);
            break;
        case Storage::words:
            requireTexts(array);
            requireLawful(array.dictionary[0]);
            break;
        case Storage::structs:
            for (const ColumnArray& member : array.children) {
                fuzz::require(member.length == array.length, "members have a value for each row");
                requireLawful(member);
            }
            break;
        case Storage::bits:
        case Storage::integers:
        case Storage::reals:
            break;
    }
}

/// The rows of a table of a file that comes twice.
std::vector<std::string> rowsOf(const TableSchema& schema, const FilePointer& file,
                                std::size_t batchRows, const ifdsweep::FillLimits& limits) {
    int left = 2;
    ifdsweep::TableReader reader(
        schema, [&] { return left-- > 0 ? file : nullptr; }, {.rows = batchRows}, limits);
    std::vector<std::string> rows;
    while (const auto batch = reader.next()) {
        fuzz::require(batch->rows > 0 && batch->rows <= batchRows, "batches have rows");
        const std::size_t before = rows.size();
        rows.resize(before + batch->rows);
        for (const ColumnArray& column : batch->columns) {
            fuzz::require(column.length == batch->rows, "columns have a value for each row");
            requireLawful(column);
            for (std::size_t row = 0; row < batch->rows; ++row) {
                rows[before + row] += fixture::valueText(column, row) + '\n';
            }
        }
    }
    return rows;
}

void makeTables(const FilePointer& file, const ifdsweep::FillLimits& limits) {
    static const std::array<TableSchema, 4> kSchemas{
        TableSchema::of(Layout::files, {ColumnChoice::Which::all}),
        TableSchema::of(Layout::images, {ColumnChoice::Which::all}),
        TableSchema::of(Layout::tags, {ColumnChoice::Which::all}),
        TableSchema::of(Layout::warnings, {ColumnChoice::Which::all})};
    for (const TableSchema& schema : kSchemas) {
        fuzz::require(rowsOf(schema, file, 1, limits) == rowsOf(schema, file, 65'536, limits),
                      "rows are the same however they are divided");
    }
}

FilePointer readAndPacked(std::span<const std::uint8_t> bytes) {
    static ifdsweep::Host host;
    static ifdsweep::FilePacker packer;
    host.clear();
    host.serveNothing();
    host.serve(kFileName, bytes);
    ifdsweep::ReadOptions options{.streams = ifdsweep::StreamChoice::all, .readBudget = 1U << 16};
    options.sink = &packer;
    packer.begin();
    const ifdsweep::Outcome outcome = ifdsweep::read(host, kFileName, options);
    return std::make_shared<const ifdsweep::PackedFile>(packer.pack(outcome));
}

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    fuzz::FuzzInput input({data, size});
    const std::size_t choice = input.below(3);
    const ifdsweep::FillLimits few{.valueItems = 4, .valueBytes = 16, .warningsOfId = 2};
    const ifdsweep::FillLimits limits = choice == 2 ? few : ifdsweep::FillLimits();
    if (choice != 0) {
        makeTables(readAndPacked(input.rest()), limits);
    } else if (auto file = ifdsweep::PackedFile::parse(std::as_bytes(input.rest()))) {
        makeTables(std::make_shared<const ifdsweep::PackedFile>(std::move(*file)), limits);
    }
    return 0;
}

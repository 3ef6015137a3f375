#include <algorithm>
#include <atomic>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <variant>
#include <vector>

#include <nanobind/stl/optional.h>
#include <nanobind/stl/shared_ptr.h>
#include <nanobind/stl/string.h>
#include <nanobind/stl/string_view.h>
#include <nanobind/stl/variant.h>
#include <nanobind/stl/vector.h>

#include "column_values.h"
#include "columns/tables_reader.h"
#include "interpreter_lock.h"
#include "objects.h"
#include "read/image_signature.h"
#include "read_options.h"
#include "table_files.h"
#include "table_scan.h"
#include "texts.h"
#include "values.h"

namespace ifdsweep::python {
namespace {

using SchemaPointer = std::shared_ptr<const TableSchema>;

/// Longest value of a table, in bytes: what a builder has room for beside another batch's worth.
constexpr std::uint64_t kLongestValue = std::uint64_t{1} << 30;

/// Some rows of a table, and what they are rows of.
struct Batch {
    SchemaPointer schema;
    std::shared_ptr<const ColumnBatch> batch;
};

/// Which columns: "core", "all", or names.
using Choice = std::variant<std::string, std::vector<std::string>>;

ColumnChoice columnChoice(Choice&& choice) {
    using Which = ColumnChoice::Which;
    if (auto* names = std::get_if<std::vector<std::string>>(&choice)) {
        return {Which::named, std::move(*names)};
    }
    const std::string& word = std::get<std::string>(choice);
    if (word != "core" && word != "all") {
        refuseValue("columns", "expected \"core\", \"all\" or an iterable of names, got \"" +
                                   shownText(word) + "\"");
    }
    return {word == "all" ? Which::all : Which::core};
}

SchemaPointer tableSchema(std::string_view layoutName, Choice choice) {
    const std::optional<Layout> layout = layoutOfWord(layoutName);
    if (!layout) {
        refuseValue("layout", "expected \"images\", \"tags\", \"files\" or \"warnings\", got \"" +
                                  shownText(layoutName) + "\"");
    }
    try {
        return std::make_shared<const TableSchema>(
            TableSchema::of(*layout, columnChoice(std::move(choice))));
    } catch (const UnknownColumn& error) {
        refuseValue("columns", error.what());
    }
}

/// Name, type, number, meaning and source of every column.
nb::object columnRows(const TableSchema& schema) {
    return tupleOf(schema.columns.size(), [&schema](std::size_t number) {
        const Column& column = schema.columns[number];
        return nb::make_tuple(strOf(column.name), strOf(columnTypeWord(column.type)), column.id,
                              strOf(column.meaning), strOf(column.source));
    });
}

FillLimits fillLimits(std::optional<std::uint64_t> maxValue) {
    FillLimits limits;
    if (maxValue) {
        limits.valueBytes = limits.valueItems = std::min(*maxValue, kLongestValue);
    }
    return limits;
}

std::shared_ptr<TableScan> tableScan(const SchemaPointer& schema, std::unique_ptr<TableFiles> files,
                                     std::size_t batchRows, std::size_t batchBytes,
                                     std::optional<std::uint64_t> maxValue,
                                     std::int64_t firstFile) {
    return std::make_shared<TableScan>(schema, std::move(files), BatchLimits{batchRows, batchBytes},
                                       fillLimits(maxValue), firstFile);
}

std::optional<Batch> nextBatch(TableScan& scan) {
    std::optional<ColumnBatch> batch = scan.next();
    if (!batch) {
        return std::nullopt;
    }
    return Batch{scan.schema(), std::make_shared<const ColumnBatch>(std::move(*batch))};
}

const ColumnArray& columnOf(const Batch& batch, std::size_t number) {
    if (number >= batch.batch->columns.size()) {
        throw nb::index_error("the table has no such column");
    }
    return batch.batch->columns[number];
}

void addSchema(nb::module_& module) {
    nb::class_<TableSchema>(module, "TableSchema", "The columns of a table.")
        .def_prop_ro("columns", columnRows,
                     nb::sig("def columns(self) -> tuple[tuple[str, str, int, str, str], ...]"),
                     "Name, type, number, meaning and source of each.")
        .def(
            "with_plain_words",
            [](const TableSchema& schema) {
                return std::make_shared<const TableSchema>(schema.withPlainWords());
            },
            nb::sig("def with_plain_words(self) -> TableSchema"),
            "The same with texts in place of words.")
        .def_prop_ro("identity", &TableSchema::identity,
                     "A text that only equal schemas have in common.")
        .def("capsule", schemaCapsule, nb::sig("def capsule(self) -> object"),
             "The schema as an Arrow struct.");
    module.def("table_schema", tableSchema, nb::arg("layout"), nb::arg("columns"),
               nb::sig("def table_schema(layout: str, columns: str | list[str]) -> TableSchema"),
               "The columns of a layout; ValueError for an argument.");
}

void addBatch(nb::module_& module) {
    nb::class_<Batch>(module, "TableBatch", "Some rows of a table.")
        .def_prop_ro(
            "rows", [](const Batch& batch) { return batch.batch->rows; }, "How many.")
        .def(
            "capsule", [](const Batch& batch) { return batchCapsule(*batch.batch); },
            nb::sig("def capsule(self) -> object"), "The rows as an Arrow struct.")
        .def(
            "has_numbers",
            [](const Batch& batch, std::size_t number) {
                return areNumbers(columnOf(batch, number).type);
            },
            nb::arg("column"), "Whether NumPy has a type for the values of a column.")
        .def(
            "numbers",
            [](const Batch& batch, std::size_t number) {
                return numberArrays(columnOf(batch, number));
            },
            nb::arg("column"),
            nb::sig("def numbers(self, column: int) -> tuple[numpy.typing.NDArray[typing.Any], "
                    "numpy.typing.NDArray[typing.Any] | None]"),
            "The numbers of a column, and where they are null.")
        .def(
            "values",
            [](const Batch& batch, std::size_t number) {
                return valueList(columnOf(batch, number));
            },
            nb::arg("column"), nb::sig("def values(self, column: int) -> list[typing.Any]"),
            "The values of a column.");
}

/// The batches of several tables while their files are read, once, for threads of Python's.
class TablesScan {
public:
    TablesScan(std::vector<SchemaPointer> tableSchemas, std::vector<std::string> filePaths,
               std::vector<std::int64_t> fileIds, std::unique_ptr<TableFiles> tableFiles,
               const BatchLimits& batchLimits, const FillLimits& fillLimits)
        : schemas(std::move(tableSchemas)),
          paths(std::move(filePaths)),
          ids(std::move(fileIds)),
          files(std::move(tableFiles)),
          reader(
              schemasOf(schemas), [this] { return nextFile(); }, batchLimits, fillLimits) {}

    nb::object next() {
        std::optional<ifdsweep::TableBatch> batch = read();
        if (!batch) {
            return nb::none();
        }
        return nb::make_tuple(batch->table,
                              Batch{schemas[batch->table],
                                    std::make_shared<const ColumnBatch>(std::move(batch->rows))});
    }

    void close() noexcept {
        wasClosed = true;
        files->stop();
    }

private:
    static std::vector<TableSchema> schemasOf(const std::vector<SchemaPointer>& pointers) {
        std::vector<TableSchema> copies;
        copies.reserve(pointers.size());
        for (const SchemaPointer& schema : pointers) {
            copies.push_back(*schema);
        }
        return copies;
    }

    std::optional<ifdsweep::TableBatch> read() {
        const LockReleased released;
        const std::lock_guard guard(lock);
        return wasClosed ? std::nullopt : reader.next();
    }

    /// The next file, with the number that its path has.
    std::optional<NumberedFile> nextFile() {
        FilePointer file = files->next(TableFiles::Clock::time_point::max());
        if (!file) {
            return std::nullopt;
        }
        const std::string_view path = file->textOf(file->file().path);
        while (place < paths.size() && paths[place] != path) {
            ++place;
        }
        return NumberedFile{std::move(file), ids.at(place++)};
    }

    const std::vector<SchemaPointer> schemas;
    const std::vector<std::string> paths;
    const std::vector<std::int64_t> ids;
    const std::unique_ptr<TableFiles> files;
    std::mutex lock;  ///< of the members below
    TablesReader reader;
    std::size_t place = 0;  ///< of the path that is looked for
    std::atomic<bool> wasClosed{false};
};

/// @param folder what all paths begin with, and rows leave out
/// @param paths what follows it
/// @param ids one for each path: `file_id` of its rows
/// @param iterator gives the files; None: who asks for rows reads them
std::shared_ptr<TablesScan> tablesScan(std::vector<SchemaPointer> schemas, const nb::bytes& folder,
                                       const std::vector<nb::bytes>& paths,
                                       std::vector<std::int64_t> ids, ScanOptions options,
                                       const nb::object& iterator,
                                       const std::shared_ptr<const Interpreter>& interpreter,
                                       std::size_t batchRows, std::size_t batchBytes,
                                       std::optional<std::uint64_t> maxValue, bool rest) {
    if (ids.size() != paths.size()) {
        refuseValue("ids", "expected one for each path");
    }
    std::vector<std::string> names;
    names.reserve(paths.size());
    for (const nb::bytes& path : paths) {
        names.emplace_back(folder.c_str(), folder.size()).append(path.c_str(), path.size());
    }
    std::unique_ptr<TableFiles> files;
    if (iterator.is_none()) {
        options.input.paths = names;
        options.input.foundBefore = true;
        files = std::make_unique<ReadFiles>(std::move(options));
    } else {
        files = std::make_unique<IteratorFiles>(iterator, interpreter);
    }
    FillLimits limits = fillLimits(maxValue);
    if (rest) {
        limits.held = std::make_shared<std::vector<bool>>();
    }
    limits.pathBegin = folder.size();
    return std::make_shared<TablesScan>(std::move(schemas), std::move(names), std::move(ids),
                                        std::move(files), BatchLimits{batchRows, batchBytes},
                                        limits);
}

void addSeveral(nb::module_& module) {
    nb::class_<TablesScan>(module, "TablesScan",
                           "The batches of several tables while their files are read.")
        .def("next", &TablesScan::next, nb::sig("def next(self) -> tuple[int, TableBatch] | None"),
             "The next rows, and the place of their table among the schemas; None at the end.")
        .def("close", &TablesScan::close, "Ends the scan, also for who waits.");
    module.def(
        "several_tables", tablesScan, nb::arg("schemas"), nb::arg("folder"), nb::arg("paths"),
        nb::arg("ids"), nb::arg("options"), nb::arg("iterator").none(), nb::arg("interpreter"),
        nb::kw_only(), nb::arg("batch_rows"), nb::arg("batch_bytes"), nb::arg("max_value").none(),
        nb::arg("rest"),
        nb::sig("def several_tables(schemas: list[TableSchema], folder: bytes, paths: list[bytes], "
                "ids: list[int], options: ScanOptions, iterator: object | None, interpreter: "
                "Interpreter, *, batch_rows: int, batch_bytes: int, max_value: int | None, rest: "
                "bool) -> TablesScan"),
        "Several tables of files that were found in folders before, read once, by who asks for "
        "rows or an iterator. The paths are from the folder, and each has its `file_id`. With "
        "`rest`, `tags` has what `images`, which stands before, does not hold.");
}

void addScan(nb::module_& module) {
    nb::class_<Interpreter>(module, "Interpreter", "Whether the interpreter goes on.")
        .def(nb::init<>())
        .def("end", &Interpreter::end, "Tells that it ends.");
    nb::class_<TableScan>(module, "TableScan", "The batches of a table while its files are read.")
        .def("next", nextBatch, nb::sig("def next(self) -> TableBatch | None"),
             "The next rows; None at the end.")
        .def("close", &TableScan::close, "Ends the scan, also for who waits.")
        .def("check", &TableScan::check, "Raises what ended the scan, if anything did.")
        .def(
            "capsule",
            [](const std::shared_ptr<TableScan>& scan, bool isAsked) {
                return streamCapsule(scan,
                                     isAsked ? FailuresAre::askedFor : FailuresAre::toldAlone);
            },
            nb::kw_only(), nb::arg("is_asked"),
            nb::sig("def capsule(self, *, is_asked: bool) -> object"),
            "The rows that are left as an Arrow stream. With `is_asked`, `check` is called "
            "when it fails.");
    module.def(
        "thread_table",
        [](const SchemaPointer& schema, const ScanOptions& options, std::size_t batchRows,
           std::size_t batchBytes, std::optional<std::uint64_t> maxValue, std::int64_t firstFile) {
            return tableScan(schema, std::make_unique<ThreadFiles>(options), batchRows, batchBytes,
                             maxValue, firstFile);
        },
        nb::arg("schema"), nb::arg("options"), nb::kw_only(), nb::arg("batch_rows"),
        nb::arg("batch_bytes"), nb::arg("max_value").none(), nb::arg("first_file") = 0,
        "A table of files that threads read, from when it is asked for rows.");
    module.def(
        "iterator_table",
        [](const SchemaPointer& schema, const nb::object& files,
           const std::shared_ptr<const Interpreter>& interpreter, std::size_t batchRows,
           std::size_t batchBytes, std::optional<std::uint64_t> maxValue, std::int64_t firstFile) {
            return tableScan(schema, std::make_unique<IteratorFiles>(files, interpreter), batchRows,
                             batchBytes, maxValue, firstFile);
        },
        nb::arg("schema"), nb::arg("files"), nb::arg("interpreter"), nb::kw_only(),
        nb::arg("batch_rows"), nb::arg("batch_bytes"), nb::arg("max_value").none(),
        nb::arg("first_file") = 0,
        nb::sig("def iterator_table(schema: TableSchema, files: object, interpreter: Interpreter, "
                "*, batch_rows: int, batch_bytes: int, max_value: int | None, "
                "first_file: int = 0) -> TableScan"),
        "A table of the files of an iterator with `close`.");
}

}  // namespace

void addTableType(nb::module_& module) {
    addSchema(module);
    addBatch(module);
    addScan(module);
    addSeveral(module);
    module.attr("LONGEST_SIGNATURE") = kLongestSignature;
    module.def(
        "is_image",
        [](const nb::bytes& begin) {
            return imageFormatOf(std::string_view(begin.c_str(), begin.size())).has_value();
        },
        nb::arg("begin"), "Whether a file with these first bytes is an image.");
}

}  // namespace ifdsweep::python

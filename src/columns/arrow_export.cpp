#include "columns/arrow_export.h"

#include <array>
#include <cerrno>
#include <cstring>
#include <exception>
#include <new>
#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "columns/column_storage.h"

namespace ifdsweep {
namespace {

/// The structures below one: its children, and behind them its dictionary. What a consumer has
/// moved away says that it is released, and is left alone; the others end with the one above.
template <class Structure>
class Below {
public:
    Below(std::size_t children, bool dictionary)
        : structures(children + (dictionary ? 1U : 0U)),
          childCount(children),
          hasDictionary(dictionary) {
        pointers.reserve(structures.size());
        for (Structure& structure : structures) {
            pointers.push_back(&structure);
        }
    }
    Below(const Below&) = delete;
    Below& operator=(const Below&) = delete;
    ~Below() {
        for (Structure& structure : structures) {
            if (structure.release != nullptr) {
                structure.release(&structure);
            }
        }
    }

    [[nodiscard]] Structure& child(std::size_t number) noexcept { return structures[number]; }
    [[nodiscard]] Structure& dictionary() noexcept { return structures.back(); }

    void show(Structure& above) noexcept {
        above.n_children = static_cast<std::int64_t>(childCount);
        above.children = childCount == 0 ? nullptr : pointers.data();
        above.dictionary = hasDictionary ? pointers.back() : nullptr;
    }

private:
    std::vector<Structure> structures;
    std::vector<Structure*> pointers;
    std::size_t childCount;
    bool hasDictionary;
};

/// What a schema keeps alive.
struct SchemaParts {
    SchemaParts(std::size_t children, bool dictionary) : below(children, dictionary) {}

    std::string name;
    std::string metadata;
    Below<ArrowSchema> below;
};

/// What an array keeps alive.
struct ArrayParts {
    ArrayParts(std::size_t children, bool dictionary) : below(children, dictionary) {}

    std::array<ColumnBuffer, 3> owners;
    std::array<const void*, 3> buffers{};
    Below<ArrowArray> below;
};

/// Ends what a structure keeps alive, wherever it lies by now.
template <class Parts, class Structure>
void release(Structure* structure) noexcept {
    const std::unique_ptr<Parts> ended(static_cast<Parts*>(structure->private_data));
    structure->private_data = nullptr;
    structure->release = nullptr;
}

void giveAway(std::unique_ptr<SchemaParts> parts, const char* format, std::int64_t flags,
              ArrowSchema& schema) noexcept {
    parts->below.show(schema);
    schema.format = format;
    schema.name = parts->name.c_str();
    schema.metadata = parts->metadata.empty() ? nullptr : parts->metadata.data();
    schema.flags = flags;
    schema.release = release<SchemaParts, ArrowSchema>;
    schema.private_data = parts.release();
}

void giveAway(std::unique_ptr<ArrayParts> parts, std::size_t buffers, std::size_t length,
              std::size_t nullCount, ArrowArray& array) noexcept {
    parts->below.show(array);
    array.length = static_cast<std::int64_t>(length);
    array.null_count = static_cast<std::int64_t>(nullCount);
    array.offset = 0;
    array.n_buffers = static_cast<std::int64_t>(buffers);
    array.buffers = parts->buffers.data();
    array.release = release<ArrayParts, ArrowArray>;
    array.private_data = parts.release();
}

void appendNumber(std::string& text, std::size_t number) {
    const auto value = static_cast<std::int32_t>(number);
    std::array<char, sizeof value> bytes{};
    std::memcpy(bytes.data(), &value, sizeof value);
    text.append(bytes.data(), bytes.size());
}

/// Metadata of one key, as the format has it.
std::string metadataOf(std::string_view key, std::string_view value) {
    std::string metadata;
    appendNumber(metadata, 1);
    for (const std::string_view text : {key, value}) {
        appendNumber(metadata, text.size());
        metadata += text;
    }
    return metadata;
}

void exportType(const ColumnType& type, std::string_view name, std::string metadata,
                ArrowSchema& schema) {
    const Storage storage = storageOf(type);
    const bool isList = storage == Storage::lists;
    const auto members = isList ? std::span<const Member>() : membersOf(type.item);
    auto parts =
        std::make_unique<SchemaParts>(isList ? 1 : members.size(), storage == Storage::words);
    parts->name = name;
    parts->metadata = std::move(metadata);
    if (isList) {
        exportType({type.item}, "item", {}, parts->below.child(0));
    }
    for (std::size_t number = 0; number < members.size(); ++number) {
        const Member& member = members[number];
        exportType(member.type, member.name, {}, parts->below.child(number));
    }
    if (storage == Storage::words) {
        exportType({ItemType::utf8}, {}, {}, parts->below.dictionary());
    }
    giveAway(std::move(parts), isList ? "+l" : arrowFormat(type.item), ARROW_FLAG_NULLABLE, schema);
}

void exportColumn(ColumnArray column, ArrowArray& array) {
    auto parts = std::make_unique<ArrayParts>(column.children.size(), !column.dictionary.empty());
    parts->owners = std::move(column.buffers);
    for (std::size_t number = 0; number < parts->owners.size(); ++number) {
        parts->buffers[number] = parts->owners[number].bytes.get();
    }
    for (std::size_t number = 0; number < column.children.size(); ++number) {
        exportColumn(std::move(column.children[number]), parts->below.child(number));
    }
    if (!column.dictionary.empty()) {
        exportColumn(std::move(column.dictionary[0]), parts->below.dictionary());
    }
    giveAway(std::move(parts), bufferCount(column.type), column.length, column.nullCount, array);
}

/// A stream while it goes on. What it ended with is told as often as it is asked for.
class Stream {
public:
    Stream(std::shared_ptr<const TableSchema> tableSchema, BatchSource batchSource)
        : table(std::move(tableSchema)), source(std::move(batchSource)) {}

    int schema(ArrowSchema& schema) noexcept {
        schema = ArrowSchema{};
        return guarded([&] { exportSchema(*table, schema); });
    }

    int next(ArrowArray& array) noexcept {
        array = ArrowArray{};
        if (endedWith != 0 || source == nullptr) {
            return endedWith;
        }
        endedWith = guarded([&] {
            if (std::optional<ColumnBatch> batch = source()) {
                exportBatch(std::move(*batch), array);
            } else {
                source = nullptr;
            }
        });
        return endedWith;
    }

    [[nodiscard]] const char* lastError() const noexcept { return errorText; }

private:
    /// Does something, and turns what it throws into a number and a text.
    template <class Step>
    int guarded(const Step& step) noexcept {
        try {
            step();
            errorText = nullptr;
            return 0;
        } catch (const std::bad_alloc&) {
            errorText = "out of memory";
            return ENOMEM;
        } catch (const std::logic_error& error) {
            return failed(EINVAL, error.what());
        } catch (const std::exception& error) {
            return failed(EIO, error.what());
        } catch (...) {
            return failed(EIO, "unknown error");
        }
    }

    int failed(int number, const char* text) noexcept {
        try {
            ownedText = text;
            errorText = ownedText.c_str();
        } catch (const std::bad_alloc&) {
            errorText = "error without memory for its text";
        }
        return number;
    }

    std::shared_ptr<const TableSchema> table;
    BatchSource source;
    int endedWith = 0;
    std::string ownedText;
    const char* errorText = nullptr;
};

Stream& streamOf(ArrowArrayStream* stream) {
    return *static_cast<Stream*>(stream->private_data);
}

}  // namespace

void exportSchema(const TableSchema& table, ArrowSchema& schema) {
    schema = ArrowSchema{};
    auto parts = std::make_unique<SchemaParts>(table.columns.size(), false);
    parts->metadata = metadataOf("ifdsweep:schema", table.identity());
    for (std::size_t number = 0; number < table.columns.size(); ++number) {
        const Column& column = table.columns[number];
        exportType(column.type, column.name,
                   metadataOf("PARQUET:field_id", std::to_string(column.id)),
                   parts->below.child(number));
    }
    giveAway(std::move(parts), "+s", 0, schema);
}

void exportBatch(ColumnBatch batch, ArrowArray& array) {
    array = ArrowArray{};
    auto parts = std::make_unique<ArrayParts>(batch.columns.size(), false);
    for (std::size_t number = 0; number < batch.columns.size(); ++number) {
        exportColumn(std::move(batch.columns[number]), parts->below.child(number));
    }
    giveAway(std::move(parts), 1, batch.rows, 0, array);
}

void exportStream(std::shared_ptr<const TableSchema> table, BatchSource source,
                  ArrowArrayStream& stream) {
    stream = ArrowArrayStream{};
    auto owned = std::make_unique<Stream>(std::move(table), std::move(source));
    stream.get_schema = [](ArrowArrayStream* self, ArrowSchema* schema) {
        return streamOf(self).schema(*schema);
    };
    stream.get_next = [](ArrowArrayStream* self, ArrowArray* array) {
        return streamOf(self).next(*array);
    };
    stream.get_last_error = [](ArrowArrayStream* self) { return streamOf(self).lastError(); };
    stream.release = release<Stream, ArrowArrayStream>;
    stream.private_data = owned.release();
}

}  // namespace ifdsweep

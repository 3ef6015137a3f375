#include <algorithm>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "columns/fillers.h"
#include "columns/message_parts.h"
#include "columns/optional_column.h"
#include "columns/row_keys.h"
#include "columns/utf8_text.h"
#include "ifdsweep/message_catalogue.h"
#include "pack/file_status.h"
#include "text/text_decoding.h"

namespace ifdsweep {
namespace {

constexpr std::string_view kReader = "ifdsweep " IFDSWEEP_VERSION;
constexpr std::string_view kLayoutGuessedId = messageRow(ReadingMessageId::layoutGuessed).id;
constexpr double kBigTiffVersion = 43;

/// Microseconds, the earlier one of two.
std::int64_t microsecondsOf(std::int64_t nanoseconds) noexcept {
    constexpr std::int64_t kNanoseconds = 1000;
    return nanoseconds / kNanoseconds - (nanoseconds % kNanoseconds < 0 ? 1 : 0);
}

const PackedMessageRow* firstError(const PackedFile& file) {
    const auto streams = file.streams();
    const auto failed = std::find_if(streams.begin(), streams.end(),
                                     [](const auto& stream) { return stream.error != kNoRow; });
    return failed == streams.end() ? nullptr : &file.messages()[failed->error];
}

std::span<const PackedMessageRow> warningsOf(const PackedFile& file,
                                             const PackedStreamRow& stream) {
    return file.messages().subspan(stream.firstWarning, stream.warningCount);
}

/// The fields of the first directory of a file's main stream.
class FirstRecord {
public:
    explicit FirstRecord(const PackedFile& packedFile) : file(packedFile) {
        const std::uint32_t row = file.streams().front().records;
        if (row == kNoRow || file.values()[row].kind != PackedKind::records) {
            return;
        }
        const PackedArrayRow& array = file.arrays()[file.values()[row].content];
        records = array.rows > 0 && array.columns > 0 ? &array : nullptr;
    }

    /// The text of a field whose characters are ASCII; empty without one.
    [[nodiscard]] std::string text(std::string_view name) const {
        const PackedValueRow* const value = find(name, PackedKind::text);
        return value == nullptr ? std::string() : utf8OfName(file.unitsOf(arrayOf(*value)));
    }

    [[nodiscard]] std::optional<double> number(std::string_view name) const {
        const PackedValueRow* const value = find(name, PackedKind::number);
        return value == nullptr ? std::nullopt : std::optional(PackedFile::numberOf(*value));
    }

    /// Numbers that are no value of an entry; none without them.
    [[nodiscard]] std::span<const double> numbers(std::string_view name) const {
        const PackedValueRow* const value = find(name, PackedKind::numbers);
        return value == nullptr || value->isOfEntry != 0 ? std::span<const double>()
                                                         : file.doublesOf(arrayOf(*value));
    }

private:
    [[nodiscard]] const PackedValueRow* find(std::string_view name, PackedKind kind) const {
        const std::uint32_t row = records == nullptr ? kNoRow : file.findName(name);
        const auto field = row == kNoRow ? std::nullopt : file.findField(records->fields, row);
        const PackedValueRow* const value = field ? &file.fieldOf(*records, 0, *field) : nullptr;
        return value != nullptr && value->kind == kind ? value : nullptr;
    }

    [[nodiscard]] const PackedArrayRow& arrayOf(const PackedValueRow& value) const {
        return file.arrays()[value.content];
    }

    const PackedFile& file;
    const PackedArrayRow* records = nullptr;
};

class FilesFiller final : public RowFiller {
public:
    FilesFiller(const TableSchema& schema, std::vector<ColumnBuilder>& columns,
                const FillLimits& limits);

    void begin(std::shared_ptr<const PackedFile> nextFile, std::int64_t id) override;
    [[nodiscard]] bool fillRow(std::size_t row) override;

private:
    void setStamp(std::size_t row) const;
    void setFormat(std::size_t row) const;
    [[nodiscard]] std::string_view layoutOf(const FirstRecord& record) const;
    void setError(std::size_t row) const;
    void setCounts(std::size_t row) const;
    void setWarnings(std::size_t row);

    RowKeys keys;
    OptionalColumn pathBytes;
    OptionalColumn size;
    OptionalColumn modified;
    OptionalColumn modifiedNanoseconds;
    OptionalColumn changedNanoseconds;
    OptionalColumn inode;
    OptionalColumn format;
    OptionalColumn layout;
    OptionalColumn byteOrder;
    OptionalColumn status;
    OptionalColumn errorId;
    OptionalColumn errorArguments;
    OptionalColumn errorText;
    OptionalColumn streams;
    OptionalColumn directories;
    OptionalColumn entries;
    OptionalColumn warnings;
    OptionalColumn warningIds;
    OptionalColumn reader;

    std::shared_ptr<const PackedFile> file;
    std::vector<bool> isIdTold;  ///< by the rows of names
    bool isTold = false;
};

FilesFiller::FilesFiller(const TableSchema& schema, std::vector<ColumnBuilder>& columns,
                         const FillLimits& limits)
    : keys(schema, columns, limits.pathBegin),
      pathBytes(columnNamed(schema, columns, "path_bytes")),
      size(columnNamed(schema, columns, "size")),
      modified(columnNamed(schema, columns, "mtime")),
      modifiedNanoseconds(columnNamed(schema, columns, "mtime_ns")),
      changedNanoseconds(columnNamed(schema, columns, "ctime_ns")),
      inode(columnNamed(schema, columns, "inode")),
      format(columnNamed(schema, columns, "format")),
      layout(columnNamed(schema, columns, "layout")),
      byteOrder(columnNamed(schema, columns, "byte_order")),
      status(columnNamed(schema, columns, "status")),
      errorId(columnNamed(schema, columns, "error_id")),
      errorArguments(columnNamed(schema, columns, "error_args")),
      errorText(columnNamed(schema, columns, "error_text")),
      streams(columnNamed(schema, columns, "streams")),
      directories(columnNamed(schema, columns, "directories")),
      entries(columnNamed(schema, columns, "entries")),
      warnings(columnNamed(schema, columns, "warnings")),
      warningIds(columnNamed(schema, columns, "warning_ids")),
      reader(columnNamed(schema, columns, "reader")) {}

void FilesFiller::begin(std::shared_ptr<const PackedFile> nextFile, std::int64_t id) {
    file = std::move(nextFile);
    keys.begin(*file, id);
    isTold = file->streams().empty();  // it was left alone
}

bool FilesFiller::fillRow(std::size_t row) {
    if (std::exchange(isTold, true)) {
        return false;
    }
    keys.setStream(row, *file, file->streams().front());
    if (!isUtf8(keys.path())) {
        pathBytes.setText(row, keys.path());
    }
    setStamp(row);
    setFormat(row);
    status.setText(row, statusWord(statusOf(*file)));
    setError(row);
    setCounts(row);
    setWarnings(row);
    reader.setText(row, kReader);
    return true;
}

void FilesFiller::setStamp(std::size_t row) const {
    const PackedFileRow& stamp = file->file();
    if (stamp.hasStamp == 0) {
        return;
    }
    size.setUnsigned(row, stamp.size);
    modified.setInteger(row, microsecondsOf(stamp.modified));
    modifiedNanoseconds.setInteger(row, stamp.modified);
    changedNanoseconds.setInteger(row, stamp.changed);
    inode.setInteger(row, std::bit_cast<std::int64_t>(stamp.inode));
}

void FilesFiller::setFormat(std::size_t row) const {
    const FirstRecord record(*file);
    format.setUnlessEmpty(row, record.text("Format"));
    byteOrder.setUnlessEmpty(row, record.text("ByteOrder"));
    layout.setUnlessEmpty(row, layoutOf(record));
    // What is no file of the system's has the size of what was read.
    constexpr double kMost = 9007199254740992;  // 2^53
    const auto known = file->file().hasStamp != 0 ? std::nullopt : record.number("FileSize");
    if (known && *known >= 0 && *known <= kMost) {
        size.setInteger(row, static_cast<std::int64_t>(*known));
    }
}

/// The version word tells, unless the layout had to be guessed.
std::string_view FilesFiller::layoutOf(const FirstRecord& record) const {
    const std::span<const double> signature = record.numbers("FormatSignature");
    constexpr std::size_t kSignatureSize = 4;
    if (signature.size() != kSignatureSize) {
        return {};
    }
    const std::uint32_t guessed = file->findName(kLayoutGuessedId);
    const auto told = warningsOf(*file, file->streams().front());
    if (guessed != kNoRow && std::any_of(told.begin(), told.end(), [guessed](const auto& warning) {
            return warning.id == guessed;
        })) {
        return {};
    }
    // The other byte of the word is 0, in either order.
    return signature[2] + signature[3] == kBigTiffVersion ? "big" : "classic";
}

void FilesFiller::setError(std::size_t row) const {
    const PackedMessageRow* const error = firstError(*file);
    if (error == nullptr) {
        return;
    }
    errorId.setText(row, file->name(error->id));
    if (errorText) {
        errorText.setText(row, messageWords(*file, *error));
    }
    if (ColumnBuilder* const items = errorArguments.beginList(row)) {
        for (const PackedArgumentRow& argument : argumentsOf(*file, *error)) {
            items->appendText(argumentWords(*file, argument));
        }
    }
}

void FilesFiller::setCounts(std::size_t row) const {
    const auto all = file->streams();
    streams.setInteger(row, std::count_if(all.begin(), all.end(), [](const auto& stream) {
                           return stream.error == kNoRow || stream.directoryCount > 0;
                       }));
    directories.setUnsigned(row, file->directories().size());
    if (entries) {
        const auto told = file->entries();
        entries.setInteger(row, std::count_if(told.begin(), told.end(), [](const auto& entry) {
                               return entry.isDefault == 0;
                           }));
    }
}

void FilesFiller::setWarnings(std::size_t row) {
    ColumnBuilder* const ids = warningIds.beginList(row);
    isIdTold.assign(ids == nullptr ? 0 : file->names().size(), false);
    std::uint64_t count = 0;
    for (const PackedStreamRow& stream : file->streams()) {
        count += stream.warningCount;
        for (const PackedMessageRow& warning : warningsOf(*file, stream)) {
            if (ids != nullptr && !isIdTold[warning.id]) {
                isIdTold[warning.id] = true;
                ids->appendText(file->name(warning.id));
            }
        }
    }
    warnings.setUnsigned(row, count);
}

}  // namespace

std::unique_ptr<RowFiller> makeFilesFiller(const TableSchema& schema,
                                           std::vector<ColumnBuilder>& columns,
                                           const FillLimits& limits) {
    return std::make_unique<FilesFiller>(schema, columns, limits);
}

}  // namespace ifdsweep

#include <array>
#include <cstddef>
#include <cstdint>
#include <string_view>
#include <utility>
#include <vector>

#include "columns/fillers.h"
#include "columns/message_parts.h"
#include "columns/optional_column.h"
#include "columns/row_keys.h"
#include "columns/utf8_text.h"

namespace ifdsweep {
namespace {

enum class Severity : std::uint8_t { warning, error };

/// By their numbers.
constexpr std::array<std::string_view, 2> kSeverities{"warning", "error"};

class WarningsFiller final : public RowFiller {
public:
    WarningsFiller(const TableSchema& schema, std::vector<ColumnBuilder>& columns,
                   const FillLimits& limits);

    void begin(std::shared_ptr<const PackedFile> nextFile, std::int64_t id) override;
    [[nodiscard]] bool fillRow(std::size_t row) override;

private:
    /// A message, and where it stands.
    struct Told {
        const PackedStreamRow* stream;
        const PackedMessageRow* message;
        std::int64_t number;
        Severity severity;
    };

    /// Messages of one id that have no rows of their own.
    struct More {
        std::uint32_t id;
        std::uint64_t count;
        Severity severity;
    };

    [[nodiscard]] bool takeMessage(Told& told);
    [[nodiscard]] bool hasRow(const PackedMessageRow& message, Severity severity);
    void setMessage(std::size_t row, const Told& told);
    void setArguments(std::size_t row, const PackedMessageRow& message) const;
    void setId(std::size_t row, std::uint32_t messageId, Severity severityOfIt) const;
    void setMore(std::size_t row, const More& untold);

    const std::uint64_t rowsOfId;
    RowKeys keys;
    OptionalColumn sequence;
    OptionalColumn id;
    OptionalColumn severity;
    OptionalColumn directoryPath;
    OptionalColumn tag;
    OptionalColumn offset;
    OptionalColumn integers;
    OptionalColumn texts;
    OptionalColumn text;
    OptionalColumn repeat;

    std::shared_ptr<const PackedFile> file;
    std::size_t nextStream = 0;
    std::uint32_t nextWarning = 0;  ///< of that stream; one behind the last stands for its error
    std::int64_t nextNumber = 0;
    std::vector<std::uint64_t> counts;  ///< by the rows of names, of each severity
    std::vector<std::size_t> places;    ///< in `more`, the same
    std::vector<More> more;             ///< in the order in which they began
    std::size_t nextMore = 0;
};

WarningsFiller::WarningsFiller(const TableSchema& schema, std::vector<ColumnBuilder>& columns,
                               const FillLimits& limits)
    : rowsOfId(limits.warningsOfId),
      keys(schema, columns, limits.pathBegin),
      sequence(columnNamed(schema, columns, "seq")),
      id(columnNamed(schema, columns, "id")),
      severity(columnNamed(schema, columns, "severity")),
      directoryPath(columnNamed(schema, columns, "dir_path")),
      tag(columnNamed(schema, columns, "tag")),
      offset(columnNamed(schema, columns, "offset")),
      integers(columnNamed(schema, columns, "ints")),
      texts(columnNamed(schema, columns, "texts")),
      text(columnNamed(schema, columns, "text")),
      repeat(columnNamed(schema, columns, "repeat")) {}

void WarningsFiller::begin(std::shared_ptr<const PackedFile> nextFile, std::int64_t fileId) {
    file = std::move(nextFile);
    keys.begin(*file, fileId);
    nextStream = 0;
    nextWarning = 0;
    nextNumber = 0;
    counts.assign(file->messages().empty() ? 0 : kSeverities.size() * file->names().size(), 0);
    places.resize(counts.size());
    more.clear();
    nextMore = 0;
}

bool WarningsFiller::fillRow(std::size_t row) {
    for (Told told{}; takeMessage(told);) {
        if (hasRow(*told.message, told.severity)) {
            setMessage(row, told);
            return true;
        }
    }
    if (nextMore == more.size()) {
        return false;
    }
    setMore(row, more[nextMore++]);
    return true;
}

/// The next message: the warnings of a stream, its error, those of the next stream.
bool WarningsFiller::takeMessage(Told& told) {
    const auto streams = file->streams();
    for (; nextStream < streams.size(); ++nextStream, nextWarning = 0) {
        const PackedStreamRow& stream = streams[nextStream];
        const std::uint32_t number = nextWarning++;
        if (number < stream.warningCount) {
            told = {&stream, &file->messages()[stream.firstWarning + number], nextNumber++,
                    Severity::warning};
            return true;
        }
        if (number == stream.warningCount && stream.error != kNoRow) {
            told = {&stream, &file->messages()[stream.error], nextNumber++, Severity::error};
            return true;
        }
    }
    return false;
}

/// Counts a message; only the first ones of an id have rows of their own.
bool WarningsFiller::hasRow(const PackedMessageRow& message, Severity severityOfIt) {
    const std::size_t kind =
        kSeverities.size() * message.id + static_cast<std::size_t>(severityOfIt);
    const std::uint64_t count = ++counts[kind];
    if (count <= rowsOfId) {
        return true;
    }
    if (count - rowsOfId == 1) {
        places[kind] = more.size();
        more.push_back({message.id, 0, severityOfIt});
    }
    ++more[places[kind]].count;
    return false;
}

void WarningsFiller::setId(std::size_t row, std::uint32_t messageId, Severity severityOfIt) const {
    id.setText(row, file->name(messageId));
    severity.setText(row, kSeverities[static_cast<std::size_t>(severityOfIt)]);
}

void WarningsFiller::setMessage(std::size_t row, const Told& told) {
    const PackedMessageRow& message = *told.message;
    keys.setStream(row, *file, *told.stream);
    sequence.setInteger(row, told.number);
    setId(row, message.id, told.severity);
    directoryPath.setUnlessEmpty(row, file->textOf(message.path));
    if (message.hasTag != 0) {
        tag.setInteger(row, message.tag);
    }
    if (message.hasOffset != 0) {
        offset.setUnsigned(row, message.offset);
    }
    setArguments(row, message);
    if (text) {
        text.setText(row, messageWords(*file, message));
    }
}

void WarningsFiller::setArguments(std::size_t row, const PackedMessageRow& message) const {
    ColumnBuilder* const numbers = integers.beginList(row);
    ColumnBuilder* const words = texts.beginList(row);
    for (const PackedArgumentRow& argument : argumentsOf(*file, message)) {
        if (argument.kind != PackedArgumentKind::integer) {
            if (words != nullptr) {
                words->appendText(argumentWords(*file, argument));
            }
        } else if (numbers != nullptr) {
            numbers->appendInteger(argument.integer);
        }
    }
}

void WarningsFiller::setMore(std::size_t row, const More& untold) {
    keys.setFile(row);
    setId(row, untold.id, untold.severity);
    repeat.setUnsigned(row, untold.count);
}

}  // namespace

std::unique_ptr<RowFiller> makeWarningsFiller(const TableSchema& schema,
                                              std::vector<ColumnBuilder>& columns,
                                              const FillLimits& limits) {
    return std::make_unique<WarningsFiller>(schema, columns, limits);
}

}  // namespace ifdsweep

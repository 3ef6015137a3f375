#include "pack/packed_check.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <iterator>
#include <span>
#include <string_view>

#include "pack/field_types.h"
#include "pack/packed_layout.h"
#include "pack/packed_rows.h"
#include "read/messages.h"

namespace ifdsweep {
namespace {

/// The walk and its records nest less deep. Who shows values or paths may call himself.
constexpr std::size_t kMostLevels = 256;

constexpr std::uint32_t kKinds = 4;  ///< of directories

// Texts that are shown with each of many rows, in bytes: longer than any that is packed.
constexpr std::uint64_t kLongestName = 255;
constexpr std::uint64_t kLongestPath = 1U << 14U;        ///< of directories
constexpr std::uint64_t kLongestStreamName = 1U << 12U;  ///< and container

// More than any file has.
constexpr std::size_t kMostStreams = 1U << 10U;
constexpr std::uint32_t kMostFields = 1U << 13U;  ///< of a record

/// Whether a text has nothing but characters of ASCII that can be seen, as all names have.
bool isPrintable(std::string_view text) noexcept {
    return std::all_of(text.begin(), text.end(),
                       [](char letter) { return letter >= ' ' && letter <= '~'; });
}

/// Tables, each looked at from its first row to its last: what of a table belongs to the rows of
/// another stands in their order, so that the next row of it is known.
///
/// Whoever unpacks or shows a packed file needs memory in proportion to it. So bytes of the heap
/// belong to one row, and what rows share is either short, or shown by one of them again.
class Check {
public:
    explicit Check(std::span<const std::byte> checkedBytes) noexcept : bytes(checkedBytes) {}

    [[nodiscard]] bool isSound() noexcept {
        if (!hasLayout()) {
            return false;
        }
        takeTables();
        return namesAreSound() && indexIsSound() && fileIsSound() && fieldListsAreSound() &&
               streamsAreSound() && messagesAreSound() && argumentsAreSound() && isAllTaken();
    }

private:
    // The block.
    [[nodiscard]] bool hasLayout() noexcept;
    [[nodiscard]] bool gapsAreZero() const noexcept;
    void takeTables() noexcept;

    // References of any row.
    [[nodiscard]] bool isRun(const PackedRun& run, std::uint64_t alignment = 1) const noexcept {
        return run.begin <= heap.size() && run.size <= heap.size() - run.begin &&
               run.begin % alignment == 0;
    }
    /// Takes bytes of the heap for one row: those of all rows have room in it.
    [[nodiscard]] bool takeRun(const PackedRun& run, std::uint64_t alignment = 1) noexcept {
        const bool fits = isRun(run, alignment) && run.size <= heap.size() - takenBytes;
        takenBytes += fits ? run.size : 0;
        return fits;
    }
    /// Takes the bytes of an entry for a value that shows them again.
    [[nodiscard]] bool takeShown(const PackedEntryRow& entry) noexcept {
        const bool fits = entry.bytes.size <= heap.size() - shownBytes;
        shownBytes += fits ? entry.bytes.size : 0;
        return fits;
    }
    [[nodiscard]] bool isName(std::uint32_t row) const noexcept {
        return row == kNoRow || row < names.size();
    }
    [[nodiscard]] std::string_view nameText(std::uint32_t row) const noexcept {
        return {static_cast<const char*>(static_cast<const void*>(heap.data())) + names[row].begin,
                static_cast<std::size_t>(names[row].size)};
    }

    // Table by table.
    [[nodiscard]] bool namesAreSound() noexcept;
    [[nodiscard]] bool indexIsSound() const noexcept;
    [[nodiscard]] bool fileIsSound() noexcept;
    [[nodiscard]] bool fieldListsAreSound() const noexcept;
    [[nodiscard]] bool messagesAreSound() noexcept;
    [[nodiscard]] bool messageIsSound(std::size_t row) noexcept;
    [[nodiscard]] bool argumentsAreSound() noexcept;

    // The streams, with the rows that belong to each.
    [[nodiscard]] bool streamsAreSound() noexcept;
    [[nodiscard]] bool takeMessages(const PackedStreamRow& stream) noexcept;
    [[nodiscard]] bool takeDirectories(const PackedStreamRow& stream,
                                       std::uint32_t number) noexcept;
    [[nodiscard]] bool directoryIsSound(const PackedStreamRow& stream,
                                        const PackedDirectoryRow& directory) const noexcept;
    [[nodiscard]] bool comesAfter(std::uint32_t row, std::size_t& level) const noexcept;
    [[nodiscard]] bool takeEntries(const PackedStreamRow& stream) noexcept;
    [[nodiscard]] bool entryIsSound(const PackedStreamRow& stream, std::uint32_t row) noexcept;
    [[nodiscard]] bool ownEntriesAreSound(const PackedStreamRow& stream,
                                          std::uint32_t row) noexcept;

    // The records, with the rows of arrays.
    [[nodiscard]] bool takeRecords(std::uint32_t root) noexcept;
    [[nodiscard]] bool takeValue(std::uint32_t row) noexcept;
    [[nodiscard]] bool takeArray(std::uint32_t row) noexcept;
    [[nodiscard]] bool takeElements(const PackedValueRow& value, const PackedArrayRow& array,
                                    std::uint64_t count) noexcept;
    [[nodiscard]] bool takeParts(std::uint64_t begin, std::uint64_t count) noexcept;
    [[nodiscard]] bool takeRecordParts(const PackedArrayRow& array, std::uint64_t count,
                                       std::uint64_t fieldCount) noexcept;
    [[nodiscard]] bool takeDirectoriesOf(const PackedArrayRow& array, std::uint64_t count,
                                         std::uint32_t value) noexcept;
    [[nodiscard]] bool takeOfEntry(const PackedValueRow& value, std::uint64_t count) noexcept;
    [[nodiscard]] bool isAllTaken() const noexcept;

    template <class Row>
    void take(std::span<const Row>& rows, PackedTable table) const noexcept {
        const PackedPlace& place = head[table];
        rows = {static_cast<const Row*>(static_cast<const void*>(bytes.data() + place.begin)),
                static_cast<std::size_t>(place.count)};
    }

    std::span<const std::byte> bytes;
    PackedHead head{};
    std::span<const PackedStreamRow> streams{};
    std::span<const PackedDirectoryRow> directories{};
    std::span<const PackedEntryRow> entries{};
    std::span<const PackedValueRow> values{};
    std::span<const PackedArrayRow> arrays{};
    std::span<const PackedFieldsRow> fieldLists{};
    std::span<const std::uint32_t> fieldNames{};
    std::span<const std::uint32_t> elements{};
    std::span<const PackedNameRow> names{};
    std::span<const std::uint32_t> nameIndex{};
    std::span<const PackedMessageRow> messages{};
    std::span<const PackedArgumentRow> arguments{};
    std::span<const std::uint8_t> heap{};

    // The first rows that belong to nothing looked at so far.
    std::uint64_t nextMessage = 0;
    std::uint64_t nextDirectory = 0;
    std::uint64_t nextEntry = 0;
    std::uint64_t nextValue = 0;
    std::uint64_t nextArray = 0;
    std::uint64_t nextElement = 0;
    std::uint64_t nextArgument = 0;
    std::uint64_t takenBytes = 0;  ///< of the heap
    std::uint64_t shownBytes = 0;  ///< of entries, by values
    std::uint64_t emptyRecords = 0;
    // What the rows of directories say altogether.
    std::uint64_t ownedEntries = 0;
    std::uint64_t shownDirectories = 0;
};

bool Check::hasLayout() noexcept {
    if (bytes.size() < sizeof head) {
        return false;
    }
    std::memcpy(&head, bytes.data(), sizeof head);
    PackedHead expected;
    for (std::size_t table = 0; table < head.tables.size(); ++table) {
        const std::uint64_t count = head.tables[table].count;
        const bool isHeap = table == static_cast<std::size_t>(PackedTable::heap);
        // Fewer than bytes: what follows cannot wrap.
        if (count > bytes.size() || (count >= kNoRow && !isHeap)) {
            return false;
        }
        expected.tables[table].count = count;
    }
    layOut(expected);
    const auto isSamePlace = [](const PackedPlace& left, const PackedPlace& right) {
        return left.begin == right.begin;
    };
    return head.magic == expected.magic && head.version == expected.version &&
           head.size == expected.size && head.size == bytes.size() &&
           std::equal(head.tables.begin(), head.tables.end(), expected.tables.begin(),
                      isSamePlace) &&
           gapsAreZero();
}

bool Check::gapsAreZero() const noexcept {
    std::uint64_t end = sizeof head;
    for (std::size_t table = 0; table < head.tables.size(); ++table) {
        const PackedPlace& place = head.tables[table];
        const auto gap = bytes.subspan(end, place.begin - end);
        if (!std::all_of(gap.begin(), gap.end(),
                         [](std::byte byte) { return byte == std::byte{}; })) {
            return false;
        }
        end = place.begin + place.count * kPackedRowSizes[table];
    }
    return true;
}

void Check::takeTables() noexcept {
    take(streams, PackedTable::streams);
    take(directories, PackedTable::directories);
    take(entries, PackedTable::entries);
    take(values, PackedTable::values);
    take(arrays, PackedTable::arrays);
    take(fieldLists, PackedTable::fieldLists);
    take(fieldNames, PackedTable::fieldNames);
    take(elements, PackedTable::elements);
    take(names, PackedTable::names);
    take(nameIndex, PackedTable::nameIndex);
    take(messages, PackedTable::messages);
    take(arguments, PackedTable::arguments);
    take(heap, PackedTable::heap);
}

/// One after the other in the heap: so their length is in proportion to it.
bool Check::namesAreSound() noexcept {
    for (std::size_t row = 0; row < names.size(); ++row) {
        const bool follows =
            row == 0 || names[row].begin == names[row - 1].begin + names[row - 1].size;
        if (!follows || names[row].size > kLongestName || !takeRun(names[row]) ||
            !isPrintable(nameText(static_cast<std::uint32_t>(row)))) {
            return false;
        }
    }
    return true;
}

/// Every name is found from the cell at which the search for it begins, and no other has its text.
/// What was packed is found in two steps or so; many more would be an index made to be slow.
bool Check::indexIsSound() const noexcept {
    if (nameIndex.size() != nameCells(names.size())) {
        return false;
    }
    const auto taken =
        std::count_if(nameIndex.begin(), nameIndex.end(), [](auto row) { return row != kNoRow; });
    if (static_cast<std::size_t>(taken) != names.size()) {
        return false;
    }
    const std::size_t mask = nameIndex.size() - 1;
    std::size_t stepsLeft = 64 + 16 * names.size();
    for (std::uint32_t row = 0; row < names.size(); ++row) {
        const std::string_view text = nameText(row);
        std::size_t cell = static_cast<std::size_t>(hashOfName(text)) & mask;
        while (nameIndex[cell] != row) {
            const std::uint32_t other = nameIndex[cell];
            if (other >= names.size() || stepsLeft == 0 || nameText(other) == text) {
                return false;
            }
            --stepsLeft;
            cell = (cell + 1) & mask;
        }
    }
    return true;
}

bool Check::fileIsSound() noexcept {
    const PackedFileRow& file = head.file;
    return takeRun(file.path) && file.hasStamp <= 1 && file.isImage <= 1 &&
           streams.empty() == (file.isImage == 0) && streams.size() <= kMostStreams;
}

bool Check::fieldListsAreSound() const noexcept {
    std::uint64_t next = 0;
    for (const PackedFieldsRow& fields : fieldLists) {
        if (fields.first != next || fields.count > fieldNames.size() - next ||
            fields.count > kMostFields) {
            return false;
        }
        next += fields.count;
    }
    return next == fieldNames.size() &&
           std::all_of(fieldNames.begin(), fieldNames.end(),
                       [&](std::uint32_t row) { return row < names.size(); });
}

bool Check::streamsAreSound() noexcept {
    for (std::uint32_t number = 0; number < streams.size(); ++number) {
        const PackedStreamRow& stream = streams[number];
        const bool isSound =
            std::max(stream.container.size, stream.name.size) <= kLongestStreamName &&
            takeRun(stream.container) && takeRun(stream.name) && takeRun(stream.found) &&
            std::isfinite(stream.initialOffset) && stream.kind < kKinds && stream.isEmbedded <= 1 &&
            takeMessages(stream) && takeDirectories(stream, number) && takeEntries(stream) &&
            (stream.records == kNoRow || takeRecords(stream.records));
        if (!isSound) {
            return false;
        }
    }
    return true;
}

bool Check::takeMessages(const PackedStreamRow& stream) noexcept {
    if (stream.firstWarning != nextMessage || stream.warningCount > messages.size() - nextMessage) {
        return false;
    }
    nextMessage += stream.warningCount;
    if (stream.error == kNoRow) {
        return true;
    }
    const bool isNext = stream.error == nextMessage && nextMessage < messages.size();
    ++nextMessage;
    return isNext && stream.records == kNoRow;
}

bool Check::messagesAreSound() noexcept {
    for (std::size_t row = 0; row < messages.size(); ++row) {
        if (!messageIsSound(row)) {
            return false;
        }
    }
    return true;
}

/// Messages that follow each other may have one text of the path.
bool Check::messageIsSound(std::size_t row) noexcept {
    const PackedMessageRow& message = messages[row];
    const auto isShared = [&] {
        const PackedRun& before = messages[row - 1].path;
        return message.path.begin == before.begin && message.path.size == before.size;
    };
    const bool isKnown =
        message.id < names.size() && ((row > 0 && messages[row - 1].id == message.id) ||
                                      constantMessageId(nameText(message.id)) != nullptr);
    if (!isKnown || message.hasTag > 1 || message.hasOffset > 1 ||
        message.path.size > kLongestPath || !((row > 0 && isShared()) || takeRun(message.path)) ||
        message.firstArgument != nextArgument ||
        message.argumentCount > arguments.size() - nextArgument) {
        return false;
    }
    nextArgument += message.argumentCount;
    return true;
}

bool Check::argumentsAreSound() noexcept {
    return std::all_of(arguments.begin(), arguments.end(), [&](const PackedArgumentRow& argument) {
        switch (argument.kind) {
            case PackedArgumentKind::integer:
                return argument.unused == 0 && argument.text.begin == 0 && argument.text.size == 0;
            case PackedArgumentKind::bytes:
                return argument.unused == 0 && takeRun(argument.text);
            case PackedArgumentKind::units:
                return argument.unused == 0 && argument.text.size % 2 == 0 &&
                       takeRun(argument.text, 2);
        }
        return false;
    });
}

bool Check::takeDirectories(const PackedStreamRow& stream, std::uint32_t number) noexcept {
    if (stream.firstDirectory != nextDirectory ||
        stream.directoryCount > directories.size() - nextDirectory) {
        return false;
    }
    nextDirectory += stream.directoryCount;
    std::size_t level = 0;
    for (std::uint32_t row = stream.firstDirectory; row < nextDirectory; ++row) {
        const PackedDirectoryRow& directory = directories[row];
        const bool isFirst = row == stream.firstDirectory;
        if (directory.stream != number || !directoryIsSound(stream, directory) ||
            (isFirst ? directory.parent != kNoRow : !comesAfter(row, level))) {
            return false;
        }
    }
    return true;
}

bool Check::directoryIsSound(const PackedStreamRow& stream,
                             const PackedDirectoryRow& directory) const noexcept {
    const std::uint32_t end = directory.entriesUntilEnd;
    return isName(directory.pointerName) && directory.kind < kKinds && directory.isKept <= 1 &&
           directory.entriesBefore <= stream.entryCount &&
           (end == kNoRow || (directory.entriesBefore <= end && end <= stream.entryCount));
}

/// Whether a directory may begin after the one in the row before it: below it, or below one above
/// it after those between have ended. A directory that is gone past is none of those later.
/// @param level of the one before, and then of this one
bool Check::comesAfter(std::uint32_t row, std::size_t& level) const noexcept {
    const PackedDirectoryRow& directory = directories[row];
    std::uint32_t above = row - 1;
    if (directory.entriesBefore < directories[above].entriesBefore) {
        return false;
    }
    ++level;
    while (above != directory.parent) {
        if (above == kNoRow || directories[above].entriesUntilEnd > directory.entriesBefore) {
            return false;
        }
        above = directories[above].parent;
        --level;
    }
    return level < kMostLevels &&
           (above == kNoRow || directory.entriesUntilEnd <= directories[above].entriesUntilEnd);
}

bool Check::takeEntries(const PackedStreamRow& stream) noexcept {
    if (stream.firstEntry != nextEntry || stream.entryCount > entries.size() - nextEntry) {
        return false;
    }
    nextEntry += stream.entryCount;
    for (std::uint32_t row = stream.firstEntry; row < nextEntry; ++row) {
        if (!entryIsSound(stream, row)) {
            return false;
        }
    }
    for (std::uint32_t row = stream.firstDirectory; row < nextDirectory; ++row) {
        if (!ownEntriesAreSound(stream, row)) {
            return false;
        }
    }
    return true;
}

bool Check::entryIsSound(const PackedStreamRow& stream, std::uint32_t row) noexcept {
    const PackedEntryRow& entry = entries[row];
    const bool hasFlags = entry.isInline <= 1 && entry.isDefault <= 1 && entry.isLoaded <= 1 &&
                          std::all_of(std::begin(entry.unused), std::end(entry.unused),
                                      [](std::uint8_t byte) { return byte == 0; });
    const bool refers =
        entry.directory >= stream.firstDirectory && entry.directory < nextDirectory &&
        isName(entry.name) && isName(entry.valueName) && isName(entry.droppedBy) &&
        (entry.next == kNoRow || (entry.next > row && entry.next < nextEntry &&
                                  entries[entry.next].directory == entry.directory));
    if (!hasFlags || !refers || !takeRun(entry.bytes, sizeof(double))) {
        return false;
    }
    const std::size_t width =
        entry.isDefault != 0 ? sizeof(double) : fieldTypeWidth(entry.fieldType);
    if (entry.isDefault == 0 && (entry.isLoaded == 0 || width == 0)) {
        return entry.bytes.size == 0;
    }
    return entry.bytes.size % width == 0 && entry.bytes.size / width == entry.count;
}

/// The entries of a directory follow each other until none is left, as many as it says, and were
/// told between its beginning and its end. An entry names one directory: all steps are as many as
/// there are entries.
bool Check::ownEntriesAreSound(const PackedStreamRow& stream, std::uint32_t row) noexcept {
    const PackedDirectoryRow& directory = directories[row];
    std::uint32_t count = 0;
    std::uint32_t entry = directory.firstEntry;
    if (entry != kNoRow &&
        (entry < stream.firstEntry || entry >= nextEntry || entries[entry].directory != row ||
         entry - stream.firstEntry < directory.entriesBefore)) {
        return false;
    }
    for (; entry != kNoRow; entry = entries[entry].next) {
        if (entry - stream.firstEntry >= directory.entriesUntilEnd) {
            return false;
        }
        ++count;
    }
    ownedEntries += count;
    shownDirectories += directory.records != kNoRow ? 1 : 0;
    return count == directory.ownEntries;
}

bool Check::takeRecords(std::uint32_t root) noexcept {
    if (root != nextValue || nextValue >= values.size()) {
        return false;
    }
    ++nextValue;
    std::size_t levels = 0;
    std::uint64_t levelEnd = root;
    for (std::uint32_t row = root; row < nextValue; ++row) {
        if (row == levelEnd) {
            levelEnd = nextValue;
            ++levels;
        }
        if (levels > kMostLevels || !takeValue(row)) {
            return false;
        }
    }
    return true;
}

bool Check::takeValue(std::uint32_t row) noexcept {
    const PackedValueRow& value = values[row];
    const bool mayBeOfEntry = value.kind == PackedKind::number || value.kind == PackedKind::numbers;
    if (value.unused != 0 || value.isOfEntry > (mayBeOfEntry ? 1 : 0) ||
        (value.entry != kNoRow && value.entry >= entries.size())) {
        return false;
    }
    switch (value.kind) {
        case PackedKind::none:
            return value.content == 0;
        case PackedKind::number:
            return value.isOfEntry == 0 || takeOfEntry(value, 1);
        default:
            return value.kind <= PackedKind::records && takeArray(row);
    }
}

/// Only short texts may share an array row: parts would else lie in two arrays.
bool Check::takeArray(std::uint32_t row) noexcept {
    const PackedValueRow& value = values[row];
    if (value.content > nextArray || value.content >= arrays.size()) {
        return false;
    }
    const PackedArrayRow& array = arrays[static_cast<std::size_t>(value.content)];
    const std::uint64_t count = std::uint64_t{array.rows} * array.columns;
    const bool isPlain = array.fields == kNoRow && array.elements == kNoRow;
    // What is walked through has to be in proportion to the file.
    if (std::max({count, std::uint64_t{array.rows}, std::uint64_t{array.columns}}) > bytes.size() ||
        (!isPlain && value.kind != PackedKind::records)) {
        return false;
    }
    if (value.content < nextArray) {
        return value.kind == PackedKind::text && count <= kLongestSharedText &&
               isRun({array.begin, count * sizeof(char16_t)}, sizeof(double));
    }
    ++nextArray;
    switch (value.kind) {
        case PackedKind::cells:
            return takeParts(array.begin, count);
        case PackedKind::records:
            return array.fields < fieldLists.size() &&
                   takeRecordParts(array, count, fieldLists[array.fields].count) &&
                   takeDirectoriesOf(array, count, row);
        default:
            return takeElements(value, array, count);
    }
}

/// Takes what lies in the heap: elements of its own, or those of an entry.
bool Check::takeElements(const PackedValueRow& value, const PackedArrayRow& array,
                         std::uint64_t count) noexcept {
    const auto takeOwn = [&](std::size_t elementSize) {
        return takeRun({array.begin, count * elementSize}, sizeof(double));
    };
    switch (value.kind) {
        case PackedKind::numbers:
            return value.isOfEntry != 0 ? array.begin == 0 && takeOfEntry(value, count)
                                        : takeOwn(sizeof(double));
        case PackedKind::bytes: {
            const PackedEntryRow* entry = value.entry == kNoRow ? nullptr : &entries[value.entry];
            const bool isOfEntry =
                entry != nullptr && array.begin == entry->bytes.begin && count <= entry->bytes.size;
            return isOfEntry ? takeShown(*entry) : takeOwn(1);
        }
        default:
            return value.kind == PackedKind::text && takeOwn(sizeof(char16_t));
    }
}

bool Check::takeParts(std::uint64_t begin, std::uint64_t count) noexcept {
    if (begin != nextValue || count > values.size() - nextValue) {
        return false;
    }
    nextValue += count;
    return true;
}

bool Check::takeRecordParts(const PackedArrayRow& array, std::uint64_t count,
                            std::uint64_t fieldCount) noexcept {
    emptyRecords += fieldCount == 0 ? count : 0;
    return emptyRecords <= bytes.size() &&
           (fieldCount == 0 || count <= values.size() / fieldCount) &&
           takeParts(array.begin, count * fieldCount);
}

bool Check::takeDirectoriesOf(const PackedArrayRow& array, std::uint64_t count,
                              std::uint32_t value) noexcept {
    if (array.elements == kNoRow) {
        return true;
    }
    if (array.elements != nextElement || count > elements.size() - nextElement) {
        return false;
    }
    for (std::uint32_t element = 0; element < count; ++element, ++nextElement) {
        const std::uint32_t row = elements[static_cast<std::size_t>(nextElement)];
        if (row >= directories.size() || directories[row].records != value ||
            directories[row].element != element) {
            return false;
        }
    }
    return true;
}

bool Check::takeOfEntry(const PackedValueRow& value, std::uint64_t count) noexcept {
    if (value.entry == kNoRow) {
        return false;
    }
    const PackedEntryRow& entry = entries[value.entry];
    return entry.isLoaded != 0 && entry.isDefault == 0 && isIntegerType(entry.fieldType) &&
           entry.count == count && takeShown(entry);
}

bool Check::isAllTaken() const noexcept {
    return nextMessage == messages.size() && nextDirectory == directories.size() &&
           nextEntry == entries.size() && nextValue == values.size() &&
           nextArray == arrays.size() && nextElement == elements.size() &&
           nextArgument == arguments.size() && ownedEntries == entries.size() &&
           shownDirectories == elements.size();
}

}  // namespace

bool isPackedFile(std::span<const std::byte> bytes) noexcept {
    return Check(bytes).isSound();
}

}  // namespace ifdsweep

#include "pack/file_packer.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <iterator>
#include <limits>
#include <new>
#include <string>
#include <utility>
#include <vector>

#include <boost/variant.hpp>

#include "pack/heap_bytes.h"
#include "pack/large_memory.h"
#include "pack/packed_layout.h"
#include "pack/record_rows.h"
#include "pack/reused_rows.h"
#include "pack/unique_texts.h"
#include "pack/walk_rows.h"

namespace ifdsweep {
namespace {

/// Fills a block with its head and its tables, the gaps before which are zero.
PackedBlock blockOf(const PackedHead& head,
                    const std::array<const void*, kPackedRowSizes.size()>& sources) {
    if (head.size > std::numeric_limits<std::ptrdiff_t>::max()) {
        throw std::bad_alloc();
    }
    const auto size = static_cast<std::size_t>(head.size);
    PackedBlock block{std::make_unique_for_overwrite<std::byte[]>(size), size};
    preferLargePages(block.bytes.get(), size);
    std::byte* end = block.bytes.get();
    const auto put = [&](std::uint64_t begin, const void* bytes, std::uint64_t byteCount) {
        std::byte* target = block.bytes.get() + begin;
        end = std::fill_n(end, target - end, std::byte{0});
        if (byteCount > 0) {
            std::memcpy(end, bytes, static_cast<std::size_t>(byteCount));
        }
        end += byteCount;
    };
    put(0, &head, sizeof head);
    for (std::size_t table = 0; table < sources.size(); ++table) {
        const PackedPlace& place = head.tables[table];
        put(place.begin, sources[table], place.count * kPackedRowSizes[table]);
    }
    return block;
}

}  // namespace

class FilePacker::Parts {
public:
    void clear();
    [[nodiscard]] PackedFile pack(const Outcome& outcome);

    WalkRows& heard() { return walk; }

private:
    void addStream(const Outcome& outcome);
    [[nodiscard]] const WalkRows::Stream* takeHeard(const StreamOrigin& origin);
    void beginRows(PackedStreamRow& row, const WalkRows::Stream* heardOf) const;
    void addMessage(const qxMessage& message, const WarningPlace& place);
    void addArgument(const qxMessageArgument& argument);
    void endStreams();
    [[nodiscard]] PackedRun pathRun(std::string_view path);
    [[nodiscard]] PackedFileRow fileRow(const Outcome& outcome);
    void finishRows();
    [[nodiscard]] PackedBlock block(const Outcome& outcome);

    UniqueTexts names;
    HeapBytes heap;
    WalkRows walk{names, heap};
    RecordRows records{names, heap, walk};
    std::vector<PackedStreamRow> streams;
    std::vector<PackedMessageRow> messages;
    std::vector<PackedArgumentRow> arguments;
    std::vector<PackedNameRow> nameRows;
    std::vector<PackedFieldsRow> fieldLists;
    TableOf<PackedDirectoryRow> directories;
    std::size_t heardBefore = 0;  ///< streams of the walk that were taken
};

void FilePacker::Parts::clear() {
    names.begin();
    heap.clear();
    walk.clear();
    records.begin();
    streams.clear();
    emptyForReuse(messages);
    emptyForReuse(arguments);
    heardBefore = 0;
}

PackedFile FilePacker::Parts::pack(const Outcome& outcome) {
    if (outcome.isImage) {
        addStream(outcome);
        std::for_each(outcome.others.begin(), outcome.others.end(),
                      [&](const Outcome& other) { addStream(other); });
        endStreams();
    }
    return PackedFile(block(outcome));
}

/// What was heard of a stream; none where its walk never began.
const WalkRows::Stream* FilePacker::Parts::takeHeard(const StreamOrigin& origin) {
    const auto isIt = [&](const WalkRows::Stream& stream) {
        return stream.name == origin.name && stream.container == origin.container;
    };
    const auto found = std::find_if(walk.streams.begin() + static_cast<std::ptrdiff_t>(heardBefore),
                                    walk.streams.end(), isIt);
    if (found == walk.streams.end()) {
        return nullptr;
    }
    heardBefore = static_cast<std::size_t>(found - walk.streams.begin()) + 1;
    return &*found;
}

void FilePacker::Parts::addStream(const Outcome& outcome) {
    PackedStreamRow row;
    row.container = heap.addText(outcome.stream.container);
    row.name = heap.addText(outcome.stream.name);
    row.found = heap.addText(outcome.found);
    row.initialOffset = outcome.initialOffset;
    row.firstIfdIndex = outcome.firstIfdIndex;
    row.maxIfdCount = outcome.maxIfdCount;
    row.kind = static_cast<std::uint32_t>(outcome.stream.kind);
    row.isEmbedded = outcome.stream.isEmbedded ? 1 : 0;
    const WalkRows::Stream* heardOf = takeHeard(outcome.stream);
    beginRows(row, heardOf);
    row.firstWarning = nextRow(messages);
    for (const Warning& warning : outcome.warnings) {
        addMessage(warning.message, warning.place);
    }
    row.warningCount = nextRow(messages) - row.firstWarning;
    if (outcome.error) {
        row.error = nextRow(messages);
        addMessage(*outcome.error, {});
    } else if (outcome.result != nullptr) {
        row.records = records.add(*outcome.result, heardOf != nullptr ? heardOf->chain : kNoRow);
    }
    streams.push_back(row);
}

/// Where the directories and entries of a stream begin. Those of one that was not heard of begin,
/// none of them, where those of the next one do.
void FilePacker::Parts::beginRows(PackedStreamRow& row, const WalkRows::Stream* heardOf) const {
    if (streams.empty()) {
        return;
    }
    const bool isLast = heardBefore == walk.streams.size();
    const WalkRows::Stream* begin = heardOf != nullptr ? heardOf
                                    : isLast           ? nullptr
                                                       : &walk.streams[heardBefore];
    row.firstDirectory = begin != nullptr ? begin->firstDirectory : nextRow(walk.directories);
    row.firstEntry = begin != nullptr ? begin->firstEntry : nextRow(walk.entries);
}

/// Each stream ends where the next one begins; its directories then count from its first entry.
void FilePacker::Parts::endStreams() {
    std::uint32_t directoryEnd = nextRow(walk.directories);
    std::uint32_t entryEnd = nextRow(walk.entries);
    for (std::size_t number = streams.size(); number-- > 0;) {
        PackedStreamRow& stream = streams[number];
        stream.directoryCount = directoryEnd - stream.firstDirectory;
        stream.entryCount = entryEnd - stream.firstEntry;
        for (std::uint32_t row = stream.firstDirectory; row < directoryEnd; ++row) {
            PackedDirectoryRow& directory = walk.directories[row].row;
            directory.stream = static_cast<std::uint32_t>(number);
            directory.entriesBefore -= stream.firstEntry;
            if (directory.entriesUntilEnd != kNoRow) {
                directory.entriesUntilEnd -= stream.firstEntry;
            }
        }
        directoryEnd = stream.firstDirectory;
        entryEnd = stream.firstEntry;
    }
}

void FilePacker::Parts::addMessage(const qxMessage& message, const WarningPlace& place) {
    PackedMessageRow row;
    row.id = names.rowOf(message.id());
    row.path = pathRun(place.path);
    row.tag = place.tag.value_or(0);
    row.hasTag = place.tag ? 1 : 0;
    row.offset = place.offset.value_or(0);
    row.hasOffset = place.offset ? 1 : 0;
    row.firstArgument = nextRow(arguments);
    for (const qxMessageArgument& argument : message.arguments()) {
        addArgument(argument);
    }
    row.argumentCount = nextRow(arguments) - row.firstArgument;
    static_cast<void>(nextRow(messages));
    messages.push_back(row);
}

/// Messages about one directory, which follow each other, have one text of its path.
PackedRun FilePacker::Parts::pathRun(std::string_view path) {
    if (!messages.empty()) {
        const PackedRun& last = messages.back().path;
        if (last.size == path.size() && heap.holds(last.begin, path.data(), path.size())) {
            return last;
        }
    }
    return heap.addText(path);
}

void FilePacker::Parts::addArgument(const qxMessageArgument& argument) {
    PackedArgumentRow row;
    if (const auto* number = boost::get<std::int64_t>(&argument)) {
        row.integer = *number;
    } else {
        const auto& text = boost::get<qxMessageText>(argument);
        if (const auto* bytes = boost::get<std::string>(&text)) {
            row.kind = PackedArgumentKind::bytes;
            row.text = heap.addText(*bytes);
        } else {
            const auto& units = boost::get<std::u16string>(text);
            row.kind = PackedArgumentKind::units;
            row.text = heap.addElements(std::span<const char16_t>(units.data(), units.size()));
        }
    }
    static_cast<void>(nextRow(arguments));
    arguments.push_back(row);
}

PackedFileRow FilePacker::Parts::fileRow(const Outcome& outcome) {
    PackedFileRow row;
    row.path = heap.addText(outcome.file);
    row.isImage = outcome.isImage ? 1 : 0;
    if (outcome.stamp) {
        row.hasStamp = 1;
        row.size = outcome.stamp->size;
        row.modified = outcome.stamp->modified;
        row.changed = outcome.stamp->changed;
        row.inode = outcome.stamp->inode;
    }
    return row;
}

/// Puts the names' texts at the end of the heap, and what has to be changed for the block into rows
/// of its own.
void FilePacker::Parts::finishRows() {
    names.end();
    records.fieldLists.end();
    const std::uint64_t texts = heap.addElements(names.texts()).begin;
    nameRows.assign(names.rows().begin(), names.rows().end());
    for (PackedNameRow& name : nameRows) {
        name.begin += texts;
    }
    fieldLists.clear();
    for (const PackedRun& run : records.fieldLists.rows()) {
        fieldLists.push_back({static_cast<std::uint32_t>(run.begin / sizeof(std::uint32_t)),
                              static_cast<std::uint32_t>(run.size / sizeof(std::uint32_t))});
    }
    directories.clear();
    for (const WalkRows::Directory& directory : walk.directories) {
        directories.push_back(directory.row);
    }
}

PackedBlock FilePacker::Parts::block(const Outcome& outcome) {
    PackedHead head;
    head.file = fileRow(outcome);
    finishRows();
    std::array<const void*, kPackedRowSizes.size()> sources{};
    const auto take = [&](PackedTable table, const auto& rows) {
        sources[static_cast<std::size_t>(table)] = rows.data();
        head[table].count = std::size(rows) * sizeof rows[0] / packedRowSize(table);
    };
    take(PackedTable::streams, streams);
    take(PackedTable::directories, directories);
    take(PackedTable::entries, walk.entries);
    take(PackedTable::values, records.values);
    take(PackedTable::arrays, records.arrays);
    take(PackedTable::fieldLists, fieldLists);
    take(PackedTable::fieldNames, records.fieldLists.texts());
    take(PackedTable::elements, records.elements);
    take(PackedTable::names, nameRows);
    take(PackedTable::nameIndex, names.index());
    take(PackedTable::messages, messages);
    take(PackedTable::arguments, arguments);
    take(PackedTable::heap, heap.all());
    layOut(head);
    return blockOf(head, sources);
}

FilePacker::FilePacker() : parts(std::make_unique<Parts>()) {}

FilePacker::~FilePacker() = default;

void FilePacker::begin() {
    parts->clear();
}

void FilePacker::streamBegins(const StreamFacts& stream) {
    parts->heard().streamBegins(stream);
}

void FilePacker::directoryBegins(const DirectoryFacts& directory) {
    parts->heard().directoryBegins(directory);
}

void FilePacker::directoryEnds(const DirectoryFacts& directory, bool isKept) {
    parts->heard().directoryEnds(directory, isKept);
}

void FilePacker::entry(const DirectoryFacts& directory, const EntryFacts& entry) {
    parts->heard().entry(directory, entry);
}

void FilePacker::warning(const qxMessage& /*message*/, const WarningFacts& /*place*/) {
    parts->heard().warned();  // the outcome has them all, with their places
}

PackedFile FilePacker::pack(const Outcome& outcome) {
    return parts->pack(outcome);
}

}  // namespace ifdsweep

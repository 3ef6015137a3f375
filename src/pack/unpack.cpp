#include "pack/unpack.h"

#include <algorithm>
#include <deque>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "host/host_parts.h"
#include "pack/field_types.h"
#include "read/messages.h"
#include "values/value.h"
#include "values/value_store.h"

namespace ifdsweep {
namespace {

/// The values of a file, made again.
class ValueMaker {
public:
    ValueMaker(const PackedFile& packedFile, ValueStore& valueStore)
        : file(packedFile), store(valueStore), fieldNames(file.fieldLists().size()) {}

    /// A value with everything in it.
    [[nodiscard]] ValueHandle make(const PackedValueRow& row) {
        ValueHandle value(makeOne(row));
        while (!unfilled.empty()) {
            const Unfilled next = unfilled.back();
            unfilled.pop_back();
            fill(next);
        }
        return value;
    }

private:
    /// An array whose parts are not made yet.
    struct Unfilled {
        Value* array;  ///< owned by the one that it lies in
        const PackedArrayRow* row;
    };

    /// The names of a list of fields, as texts that end.
    struct FieldNames {
        std::vector<std::string> texts;
        std::vector<const char*> pointers;
    };

    [[nodiscard]] Value* makeOne(const PackedValueRow& row);
    [[nodiscard]] Value* makeNumbers(const PackedValueRow& row, const PackedArrayRow& array);
    [[nodiscard]] Value* makeText(const PackedArrayRow& array);
    [[nodiscard]] Value* makeUnfilled(PackedKind kind, const PackedArrayRow& array);
    void fill(const Unfilled& array);
    [[nodiscard]] const FieldNames& namesOf(std::uint32_t fields);

    /// The elements of an array that was made, to be filled.
    template <class Element>
    [[nodiscard]] static Element* elementsOf(Value& value) {
        return static_cast<Element*>(ValueStore::elements(value));
    }

    const PackedFile& file;
    ValueStore& store;
    std::vector<FieldNames> fieldNames;  ///< by field list; empty until they are needed
    std::vector<Unfilled> unfilled;
};

Value* ValueMaker::makeOne(const PackedValueRow& row) {
    if (row.kind == PackedKind::none) {
        return nullptr;
    }
    if (row.kind == PackedKind::number) {
        return store.createScalar(PackedFile::numberOf(row));
    }
    const PackedArrayRow& array = file.arrays()[static_cast<std::size_t>(row.content)];
    switch (row.kind) {
        case PackedKind::numbers:
            return makeNumbers(row, array);
        case PackedKind::text:
            return makeText(array);
        case PackedKind::bytes: {
            Value* value = store.createArray(ValueKind::Uint8, array.rows, array.columns);
            const auto bytes = file.bytesOf(array);
            std::copy(bytes.begin(), bytes.end(), elementsOf<std::uint8_t>(*value));
            return value;
        }
        default:
            return makeUnfilled(row.kind, array);
    }
}

Value* ValueMaker::makeNumbers(const PackedValueRow& row, const PackedArrayRow& array) {
    Value* value = store.createArray(ValueKind::Double, array.rows, array.columns);
    const std::span<double> target(elementsOf<double>(*value), value->elementCount());
    if (row.isOfEntry == 0) {
        const auto numbers = file.doublesOf(array);
        std::copy(numbers.begin(), numbers.end(), target.begin());
    } else {
        const PackedEntryRow& entry = file.entries()[row.entry];
        takeItems(target, entry.fieldType, file.bytesOf(entry.bytes));
    }
    return value;
}

Value* ValueMaker::makeText(const PackedArrayRow& array) {
    const std::u16string_view units = file.unitsOf(array);
    if (array.rows == 1) {
        return store.createText(units);
    }
    Value* value = store.createArray(ValueKind::Char, array.rows, array.columns);
    std::copy(units.begin(), units.end(), elementsOf<char16_t>(*value));
    return value;
}

Value* ValueMaker::makeUnfilled(PackedKind kind, const PackedArrayRow& array) {
    ValueHandle value(
        kind == PackedKind::cells
            ? store.createArray(ValueKind::Cell, array.rows, array.columns)
            : store.createRecords(array.rows, array.columns, namesOf(array.fields).pointers));
    unfilled.push_back({value.get(), &array});
    return value.release();
}

void ValueMaker::fill(const Unfilled& array) {
    const bool areCells = array.array->kind() == ValueKind::Cell;
    const PackedValueRow* part = file.values().data() + array.row->begin;
    for (std::size_t element = 0; element < array.array->elementCount(); ++element) {
        if (areCells) {
            ValueHandle value(makeOne(*part++));
            ValueStore::setCell(*array.array, element, value.get());
            static_cast<void>(value.release());
            continue;
        }
        for (const char* name : namesOf(array.row->fields).pointers) {
            ValueHandle value(makeOne(*part++));
            ValueStore::setField(*array.array, element, name, value.get());
            static_cast<void>(value.release());
        }
    }
}

const ValueMaker::FieldNames& ValueMaker::namesOf(std::uint32_t fields) {
    FieldNames& names = fieldNames[fields];
    const PackedFieldsRow& row = file.fieldLists()[fields];
    if (names.texts.size() < row.count) {
        for (const std::uint32_t name : file.fieldNames().subspan(row.first, row.count)) {
            names.texts.emplace_back(file.name(name));
        }
        for (const std::string& text : names.texts) {
            names.pointers.push_back(text.c_str());
        }
    }
    return names;
}

/// The messages of a file, made again.
class MessageMaker {
public:
    explicit MessageMaker(const PackedFile& packedFile) : file(packedFile) {}

    [[nodiscard]] qxMessage make(const PackedMessageRow& row) {
        std::vector<qxMessageArgument> arguments;
        arguments.reserve(row.argumentCount);
        for (const auto& argument :
             file.arguments().subspan(row.firstArgument, row.argumentCount)) {
            arguments.push_back(makeArgument(argument));
        }
        return {idOf(row.id), std::move(arguments)};
    }

    [[nodiscard]] Warning makeWarning(const PackedMessageRow& row) {
        Warning warning{make(row), {}};
        warning.place.path = file.textOf(row.path);
        if (row.hasTag != 0) {
            warning.place.tag = row.tag;
        }
        if (row.hasOffset != 0) {
            warning.place.offset = row.offset;
        }
        return warning;
    }

private:
    [[nodiscard]] qxMessageArgument makeArgument(const PackedArgumentRow& row) const {
        switch (row.kind) {
            case PackedArgumentKind::integer:
                return row.integer;
            case PackedArgumentKind::bytes:
                return qxMessageText(std::string(file.textOf(row.text)));
            case PackedArgumentKind::units:
                break;
        }
        return qxMessageText(std::u16string(file.unitsOf(row.text)));
    }

    /// The id of a name row, as a text that outlives the message.
    [[nodiscard]] const char* idOf(std::uint32_t name) {
        if (name != lastName) {
            lastId = constantMessageId(file.name(name));
            lastName = name;
        }
        if (lastId == nullptr) {
            throw std::logic_error("a packed file has a message that there is not");
        }
        return lastId;
    }

    const PackedFile& file;
    std::uint32_t lastName = kNoRow;  ///< most often that of the next message too
    const char* lastId = nullptr;
};

/// @param values null to leave the records out
Outcome streamOutcome(const PackedFile& file, const PackedStreamRow& row, MessageMaker& messages,
                      ValueMaker* values) {
    Outcome outcome;
    outcome.initialOffset = row.initialOffset;
    outcome.firstIfdIndex = row.firstIfdIndex;
    outcome.maxIfdCount = row.maxIfdCount;
    outcome.found = file.textOf(row.found);
    outcome.stream = {std::string(file.textOf(row.container)), std::string(file.textOf(row.name)),
                      row.isEmbedded != 0, static_cast<DirectoryKind>(row.kind)};
    outcome.warnings.reserve(row.warningCount);
    for (const auto& warning : file.messages().subspan(row.firstWarning, row.warningCount)) {
        outcome.warnings.push_back(messages.makeWarning(warning));
    }
    if (row.error != kNoRow) {
        outcome.error = messages.make(file.messages()[row.error]);
    }
    if (values != nullptr && row.records != kNoRow) {
        outcome.result = values->make(file.values()[row.records]);
    }
    return outcome;
}

/// What every outcome of a file has.
void setFile(const PackedFile& file, Outcome& outcome) {
    const PackedFileRow& row = file.file();
    outcome.file = file.textOf(row.path);
    outcome.isImage = row.isImage != 0;
    if (row.hasStamp != 0) {
        outcome.stamp = FileStamp{row.size, row.modified, row.changed, row.inode};
    }
}

Outcome fileOutcome(const PackedFile& file, ValueMaker* values) {
    MessageMaker messages(file);
    Outcome outcome;
    const auto streams = file.streams();
    if (!streams.empty()) {
        outcome = streamOutcome(file, streams.front(), messages, values);
        for (const PackedStreamRow& other : streams.subspan(1)) {
            outcome.others.push_back(streamOutcome(file, other, messages, values));
            setFile(file, outcome.others.back());
        }
    }
    setFile(file, outcome);
    return outcome;
}

DirectoryFacts factsOf(const PackedFile& file, const PackedDirectoryRow& row,
                       const DirectoryFacts* parent) {
    return {.kind = static_cast<DirectoryKind>(row.kind),
            .parent = parent,
            .pointerTag = row.pointerTag,
            .pointerName = file.name(row.pointerName),
            .chainIndex = static_cast<std::size_t>(row.chainIndex),
            .index = static_cast<std::size_t>(row.index),
            .position = row.position,
            .entryCount = row.entryCount};
}

/// The walk of one stream after the other, told again.
class Replay {
public:
    Replay(const PackedFile& packedFile, EntrySink& entrySink)
        : file(packedFile), sink(entrySink), tells(entrySink.hearsEntries()) {}

    void tell(const PackedStreamRow& stream);

private:
    /// A directory that began and has not ended.
    struct Open {
        std::uint32_t row;
        DirectoryFacts facts;
    };

    void begin(std::uint32_t row);
    void tellEntry(const PackedEntryRow& entry);

    /// Ends the directories below one; of that of no row, all.
    /// @return whether it is the innermost one then
    bool endBelow(std::uint32_t row);

    const PackedFile& file;
    EntrySink& sink;
    bool tells;
    std::deque<Open> open;  ///< on the way, which stay where they are
};

void Replay::tell(const PackedStreamRow& stream) {
    if (stream.container.size > 0) {
        sink.streamBegins(
            {file.textOf(stream.container), file.textOf(stream.name), stream.isEmbedded != 0});
    }
    std::uint32_t next = stream.firstDirectory;
    const std::uint32_t end = next + stream.directoryCount;
    for (std::uint32_t told = 0; told <= stream.entryCount; ++told) {
        while (next < end && file.directories()[next].entriesBefore <= told) {
            begin(next++);
        }
        if (told < stream.entryCount) {
            tellEntry(file.entries()[stream.firstEntry + told]);
        }
    }
    endBelow(kNoRow);
}

void Replay::begin(std::uint32_t row) {
    const PackedDirectoryRow& directory = file.directories()[row];
    if (endBelow(directory.parent)) {
        const DirectoryFacts* parent = open.empty() ? nullptr : &open.back().facts;
        open.push_back({row, factsOf(file, directory, parent)});
        sink.directoryBegins(open.back().facts);
    }
}

void Replay::tellEntry(const PackedEntryRow& entry) {
    if (endBelow(entry.directory) && tells) {
        sink.entry(open.back().facts, entryFacts(file, entry));
    }
}

bool Replay::endBelow(std::uint32_t row) {
    while (!open.empty() && open.back().row != row) {
        const PackedDirectoryRow& directory = file.directories()[open.back().row];
        if (directory.entriesUntilEnd != kNoRow) {  // otherwise the walk was given up before
            sink.directoryEnds(open.back().facts, directory.isKept != 0);
        }
        open.pop_back();
    }
    return row == kNoRow || !open.empty();
}

}  // namespace

EntryFacts entryFacts(const PackedFile& file, const PackedEntryRow& row) {
    EntryFacts facts{.tag = row.tag,
                     .name = file.name(row.name),
                     .fieldType = row.fieldType,
                     .count = row.count,
                     .position = row.position,
                     .valuePosition = row.valuePosition,
                     .isInline = row.isInline != 0,
                     .isDefault = row.isDefault != 0,
                     .isLoaded = row.isLoaded != 0,
                     .bytes = {},
                     .defaults = {},
                     .valueName = file.name(row.valueName),
                     .droppedBy = file.name(row.droppedBy)};
    const std::span<const std::uint8_t> bytes = file.bytesOf(row.bytes);
    if (facts.isDefault) {
        facts.defaults = {static_cast<const double*>(static_cast<const void*>(bytes.data())),
                          bytes.size() / sizeof(double)};
    } else {
        facts.bytes = bytes;
    }
    return facts;
}

Outcome unpackOutcome(const PackedFile& file, Host& host) {
    const Host::Scope scope(host);  // in a call that reads no file nothing is limited
    ValueMaker values(file, valuesOf(host));
    return fileOutcome(file, &values);
}

Outcome unpackMessages(const PackedFile& file) {
    return fileOutcome(file, nullptr);
}

qxMessage unpackMessage(const PackedFile& file, const PackedMessageRow& message) {
    return MessageMaker(file).make(message);
}

void replay(const PackedFile& file, EntrySink& sink) {
    Replay walk(file, sink);
    for (const PackedStreamRow& stream : file.streams()) {
        walk.tell(stream);
    }
}

}  // namespace ifdsweep

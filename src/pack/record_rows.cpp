#include "pack/record_rows.h"

#include <algorithm>
#include <bit>
#include <cstring>
#include <limits>
#include <new>
#include <span>

#include "pack/field_types.h"
#include "pack/reused_rows.h"

namespace ifdsweep {
namespace {

PackedKind kindOf(const Value& value) {
    switch (value.kind()) {
        case ValueKind::Double:
            return value.rows() == 1 && value.columns() == 1 ? PackedKind::number
                                                             : PackedKind::numbers;
        case ValueKind::Uint8:
            return PackedKind::bytes;
        case ValueKind::Char:
            return PackedKind::text;
        case ValueKind::Cell:
            return PackedKind::cells;
        case ValueKind::Struct:
            break;
    }
    return PackedKind::records;
}

/// Lists of more fields do not stay for the next file.
constexpr std::size_t kLongestKnownList = 1024;

std::uint32_t dimension(std::size_t size) {
    if (size > std::numeric_limits<std::uint32_t>::max()) {
        throw std::bad_alloc();
    }
    return static_cast<std::uint32_t>(size);
}

/// A hash of 8 bits of the length and the ends of a text.
std::size_t shortHashOf(std::u16string_view units) {
    std::array<std::uint64_t, 2> ends{};
    const std::size_t few = std::min<std::size_t>(units.size(), 4);
    std::memcpy(&ends[0], units.data(), few * sizeof(char16_t));
    std::memcpy(&ends[1], units.data() + units.size() - few, few * sizeof(char16_t));
    return static_cast<std::size_t>(
        (ends[0] * 31 + ends[1] * 7 + units.size()) * 0x9E3779B97F4A7C15U >> 56U);
}

}  // namespace

void RecordRows::begin() {
    emptyForReuse(values);
    emptyForReuse(arrays);
    fieldLists.begin();
    emptyForReuse(elements);
    emptyForReuse(pendings);
    emptyForReuse(lastEntries);
    recentTexts.fill(kNoRow);
    for (KnownList& known : knownLists) {
        if (known.names.size() > kLongestKnownList) {
            known = KnownList();
        }
    }
    ++files;
}

std::uint32_t RecordRows::add(const Value& records, std::uint32_t chain) {
    const std::uint32_t row = addRoom(1);
    values[row] = rowOf(&records, {.value = row, .chain = chain});
    for (std::size_t next = 0; next < pendings.size(); ++next) {
        addParts(Pending(pendings[next]));
    }
    pendings.clear();
    return row;
}

/// Makes room for values.
/// @return the row of the first
std::uint32_t RecordRows::addRoom(std::size_t count) {
    const std::uint32_t first = nextRow(values);
    if (count > kNoRow - first) {
        throw std::bad_alloc();
    }
    values.resize(first + count);
    return first;
}

PackedValueRow RecordRows::rowOf(const Value* value, const Place& place) {
    PackedValueRow row;
    row.entry = place.entry;
    row.kind = value == nullptr ? PackedKind::none : kindOf(*value);
    switch (row.kind) {
        case PackedKind::none:
            break;
        case PackedKind::number:
        case PackedKind::numbers:
            setNumbers(*value, row);
            break;
        case PackedKind::bytes:
            row.content = addArray(*value, bytesBegin(*value, place.entry));
            break;
        case PackedKind::text:
            row.content = textArray(*value);
            break;
        case PackedKind::cells:
        case PackedKind::records:
            row.content = addArray(*value, 0);
            pendings.push_back({value, place.value, place.chain, place.directory, place.field});
            break;
    }
    return row;
}

void RecordRows::setNumbers(const Value& value, PackedValueRow& row) {
    const std::span<const double> numbers = value.doubles();
    if (row.entry != kNoRow) {
        const PackedEntryRow& entry = walk.entries[row.entry];
        row.isOfEntry = entry.isLoaded != 0 && entry.count == numbers.size() &&
                                areItems(numbers, entry.fieldType, heap.bytesOf(entry.bytes))
                            ? 1
                            : 0;
    }
    row.content = row.kind == PackedKind::number ? std::bit_cast<std::uint64_t>(numbers[0])
                  : row.isOfEntry != 0           ? addArray(value, 0)
                                                 : addArray(value, heap.addElements(numbers).begin);
}

std::uint32_t RecordRows::addArray(const Value& value, std::uint64_t begin) {
    const std::uint32_t row = nextRow(arrays);
    PackedArrayRow& array = arrays.emplace_back();
    array.rows = dimension(value.rows());
    array.columns = dimension(value.columns());
    array.begin = begin;
    return row;
}

/// The bytes of an entry that a record shows as they are lie in the heap already.
std::uint64_t RecordRows::bytesBegin(const Value& value, std::uint32_t entry) {
    const std::span<const std::uint8_t> bytes = value.bytes();
    if (entry != kNoRow) {
        const PackedRun& run = walk.entries[entry].bytes;
        if (bytes.size() <= run.size && heap.holds(run.begin, bytes.data(), bytes.size())) {
            return run.begin;
        }
    }
    return heap.add(bytes).begin;
}

std::uint32_t RecordRows::textArray(const Value& value) {
    const std::u16string_view units = value.text();
    if (units.size() > kLongestSharedText) {
        return addArray(value, heap.addElements(std::span<const char16_t>(units)).begin);
    }
    std::uint32_t& recent = recentTexts[shortHashOf(units)];
    if (recent != kNoRow) {
        const PackedArrayRow& array = arrays[recent];
        if (array.rows == value.rows() && array.columns == value.columns() &&
            heap.holds(array.begin, units.data(), units.size() * sizeof(char16_t))) {
            return recent;
        }
    }
    const PackedRun run = heap.addElements(std::span<const char16_t>(units));
    recent = addArray(value, run.begin);
    return recent;
}

void RecordRows::addParts(const Pending& pending) {
    const auto array = static_cast<std::size_t>(values[pending.value].content);
    arrays[array].begin = values.size();
    if (pending.array->kind() == ValueKind::Cell) {
        addCells(pending);
    } else {
        addRecords(pending);
    }
}

void RecordRows::addCells(const Pending& pending) {
    const std::span<const Value* const> cells = pending.array->parts();
    if (pending.directory != kNoRow) {
        walk.shownChains(pending.directory, pending.field, shownChains);
    } else {
        shownChains.clear();
    }
    std::uint32_t row = addRoom(cells.size());
    for (std::size_t cell = 0; cell < cells.size(); ++cell, ++row) {
        values[row] =
            rowOf(cells[cell],
                  {.value = row, .chain = cell < shownChains.size() ? shownChains[cell] : kNoRow});
    }
}

std::uint32_t RecordRows::chainOfField(const Pending& pending) {
    if (pending.directory == kNoRow) {
        return pending.chain;
    }
    walk.shownChains(pending.directory, pending.field, shownChains);
    return shownChains.empty() ? kNoRow : shownChains.front();
}

void RecordRows::addRecords(const Pending& pending) {
    const auto array = static_cast<std::size_t>(values[pending.value].content);
    const KnownList& list = listOf(pending.array->fieldList());
    const std::size_t firstElement = elements.size();
    const bool areDirectories = takeDirectories(pending);
    arrays[array].fields = list.row;
    arrays[array].elements = areDirectories ? static_cast<std::uint32_t>(firstElement) : kNoRow;
    const std::span<const Value* const> parts = pending.array->parts();
    Place place{.value = addRoom(parts.size())};
    auto part = parts.begin();
    for (std::size_t element = firstElement; part != parts.end(); ++element) {
        if (areDirectories) {
            place.directory = elements[element];
            noteEntries(place.directory);
        }
        for (const std::uint32_t name : list.names) {
            place.field = name;
            place.entry = entryOf(place.directory, name);
            values[place.value] = rowOf(*part, place);
            ++place.value;
            ++part;
        }
    }
}

/// Pairs the records of a chain with its directories. Records that have no room in the budget are
/// those of the last directories; more records than directories are of something else.
bool RecordRows::takeDirectories(const Pending& pending) {
    const std::uint32_t chain = chainOfField(pending);
    const std::size_t count = pending.array->elementCount();
    if (chain == kNoRow || walk.chains[chain].isOdd || walk.chains[chain].keptCount < count) {
        return false;
    }
    std::uint32_t directory = walk.chains[chain].firstKept;
    for (std::uint32_t element = 0; element < count; ++element) {
        elements.push_back(directory);
        WalkRows::Directory& taken = walk.directories[directory];
        taken.row.records = pending.value;
        taken.row.element = element;
        directory = taken.nextKept;
    }
    return true;
}

void RecordRows::noteEntries(std::uint32_t directory) {
    if (lastEntries.size() < names.size()) {
        lastEntries.resize(names.size());
    }
    std::uint32_t row = walk.directories[directory].row.firstEntry;
    while (row != kNoRow) {
        const PackedEntryRow& entry = walk.entries[row];
        if (entry.name != kNoRow && entry.droppedBy == kNoRow) {
            lastEntries[entry.name] = {directory, row};
        }
        row = entry.next;
    }
}

std::uint32_t RecordRows::entryOf(std::uint32_t directory, std::uint32_t name) const {
    return directory != kNoRow && name < lastEntries.size() &&
                   lastEntries[name].directory == directory
               ? lastEntries[name].entry
               : kNoRow;
}

const RecordRows::KnownList& RecordRows::listOf(const std::shared_ptr<const FieldList>& fields) {
    KnownList& list = knownList(fields);
    if (list.file == files) {
        return list;
    }
    if (list.namesForgotten != names.forgotten()) {
        list.numbers.clear();
        for (std::size_t field = 0; field < fields->size(); ++field) {
            list.numbers.push_back(names.numberOf(fields->name(field)));
        }
        list.namesForgotten = names.forgotten();
    }
    list.names.clear();
    for (const std::uint32_t number : list.numbers) {
        list.names.push_back(names.rowOfNumber(number));
    }
    list.row =
        fieldLists.rowOf({static_cast<const char*>(static_cast<const void*>(list.names.data())),
                          list.names.size() * sizeof list.names[0]});
    list.file = files;
    return list;
}

RecordRows::KnownList& RecordRows::knownList(const std::shared_ptr<const FieldList>& fields) {
    for (KnownList& known : knownLists) {
        if (known.fields == fields) {
            return known;
        }
    }
    KnownList& list = knownLists[nextKnownList];
    nextKnownList = (nextKnownList + 1) % knownLists.size();
    list = KnownList();
    list.fields = fields;
    list.namesForgotten = names.forgotten() - 1;
    return list;
}

}  // namespace ifdsweep

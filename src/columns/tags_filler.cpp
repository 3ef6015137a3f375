#include <array>
#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "columns/entry_columns.h"
#include "columns/entry_items.h"
#include "columns/fillers.h"
#include "columns/optional_column.h"
#include "columns/row_keys.h"
#include "names/public_tags.h"

namespace ifdsweep {
namespace {

/// By the numbers of the kinds.
constexpr std::array<std::string_view, 4> kKindWords{"primary", "gps", "interoperability", "exif"};

/// Appends items one after the other, null for one that is none.
template <class Take, class Append>
void appendItems(const EntryItems& items, Take take, ColumnBuilder& list, Append append) {
    for (std::size_t index = 0; index < items.size(); ++index) {
        if (const auto item = (items.*take)(index)) {
            (list.*append)(*item);
        } else {
            list.appendNull();
        }
    }
}

class TagsFiller final : public RowFiller {
public:
    TagsFiller(const TableSchema& schema, std::vector<ColumnBuilder>& columns,
               const FillLimits& fillLimits);

    void begin(std::shared_ptr<const PackedFile> nextFile, std::int64_t id) override;
    [[nodiscard]] bool fillRow(std::size_t row) override;

private:
    [[nodiscard]] bool findEntry();
    void setEntry(std::size_t row, const PackedEntryRow& entry, DirectoryKind kind) const;
    void setStored(std::size_t row, const PackedEntryRow& entry) const;
    void setItems(std::size_t row, const EntryItems& items) const;
    void setIntegers(std::size_t row, const EntryItems& items) const;
    void setDigits(std::size_t row, const EntryItems& items) const;
    void setRationals(std::size_t row, const EntryItems& items) const;
    void setReals(std::size_t row, const EntryItems& items) const;
    void setCharacters(std::size_t row, const EntryItems& items) const;

    const FillLimits limits;
    RowKeys keys;
    OptionalColumn directoryKind;
    OptionalColumn ordinal;
    OptionalColumn tag;
    OptionalColumn name;
    OptionalColumn publicName;
    OptionalColumn type;
    OptionalColumn typeName;
    OptionalColumn count;
    OptionalColumn entryOffset;
    OptionalColumn valueOffset;
    OptionalColumn integers;
    OptionalColumn reals;
    OptionalColumn rationals;
    OptionalColumn text;
    OptionalColumn bytes;
    OptionalColumn firstNumber;
    OptionalColumn valueName;
    OptionalColumn stored;
    OptionalColumn loaded;
    OptionalColumn warningId;

    std::shared_ptr<const PackedFile> file;
    std::size_t directory = 0;
    std::uint32_t nextEntry = kNoRow;  ///< of that directory
    std::int64_t nextOrdinal = 0;
};

TagsFiller::TagsFiller(const TableSchema& schema, std::vector<ColumnBuilder>& columns,
                       const FillLimits& fillLimits)
    : limits(fillLimits),
      keys(schema, columns, fillLimits.pathBegin),
      directoryKind(columnNamed(schema, columns, "dir_kind")),
      ordinal(columnNamed(schema, columns, "ordinal")),
      tag(columnNamed(schema, columns, "tag")),
      name(columnNamed(schema, columns, "name")),
      publicName(columnNamed(schema, columns, "public_name")),
      type(columnNamed(schema, columns, "type")),
      typeName(columnNamed(schema, columns, "type_name")),
      count(columnNamed(schema, columns, "count")),
      entryOffset(columnNamed(schema, columns, "entry_offset")),
      valueOffset(columnNamed(schema, columns, "value_offset")),
      integers(columnNamed(schema, columns, "ints")),
      reals(columnNamed(schema, columns, "floats")),
      rationals(columnNamed(schema, columns, "rationals")),
      text(columnNamed(schema, columns, "text")),
      bytes(columnNamed(schema, columns, "bytes")),
      firstNumber(columnNamed(schema, columns, "first_number")),
      valueName(columnNamed(schema, columns, "value_name")),
      stored(columnNamed(schema, columns, "stored")),
      loaded(columnNamed(schema, columns, "loaded")),
      warningId(columnNamed(schema, columns, "warning_id")) {}

void TagsFiller::begin(std::shared_ptr<const PackedFile> nextFile, std::int64_t id) {
    file = std::move(nextFile);
    keys.begin(*file, id);
    directory = 0;
    nextEntry = file->directories().empty() ? kNoRow : file->directories().front().firstEntry;
    nextOrdinal = 0;
}

/// The entries of a directory, then those of the one that began after it.
bool TagsFiller::fillRow(std::size_t row) {
    while (findEntry()) {
        const std::uint32_t number = nextEntry;
        const PackedEntryRow& entry = file->entries()[number];
        nextEntry = entry.next;
        const std::int64_t place = nextOrdinal++;
        if (limits.held && (*limits.held)[number]) {
            continue;
        }
        const PackedDirectoryRow& owner = file->directories()[directory];
        keys.setDirectory(row, *file, owner);
        directoryKind.setText(row, kKindWords[owner.kind]);
        ordinal.setInteger(row, place);
        setEntry(row, entry, static_cast<DirectoryKind>(owner.kind));
        return true;
    }
    return false;
}

/// Goes to the next directory that has entries where this one has no more; false at the end.
bool TagsFiller::findEntry() {
    const std::span<const PackedDirectoryRow> directories = file->directories();
    while (nextEntry == kNoRow) {
        if (directory + 1 >= directories.size()) {
            return false;
        }
        nextEntry = directories[++directory].firstEntry;
        nextOrdinal = 0;
    }
    return true;
}

void TagsFiller::setEntry(std::size_t row, const PackedEntryRow& entry, DirectoryKind kind) const {
    tag.setInteger(row, entry.tag);
    const std::string_view known = file->name(entry.name);
    name.setUnlessEmpty(row, known);
    if (publicName && known.empty()) {
        publicName.setUnlessEmpty(row, publicTagName(kind, entry.tag));
    }
    const bool isStored = entry.isDefault == 0;
    if (isStored) {
        setStored(row, entry);
    }
    const EntryItems items(*file, entry);
    if (const auto first = items.number(0); first && items.kind() != ItemKind::bytes) {
        firstNumber.setNumber(row, *first);
    }
    const bool isHere = items.kind() != ItemKind::none && !isTooLong(items, limits);
    if (isHere) {
        setItems(row, items);
    }
    valueName.setUnlessEmpty(row, file->name(entry.valueName));
    stored.setInteger(row, isStored ? 1 : 0);
    loaded.setInteger(row, isHere ? 1 : 0);
    warningId.setUnlessEmpty(row, file->name(entry.droppedBy));
}

void TagsFiller::setStored(std::size_t row, const PackedEntryRow& entry) const {
    const std::string_view known = fieldTypeName(entry.fieldType);
    type.setInteger(row, entry.fieldType);
    typeName.setUnlessEmpty(row, known);
    count.setUnsigned(row, entry.count);
    entryOffset.setUnsigned(row, entry.position);
    if (entry.isInline == 0 && !known.empty()) {
        valueOffset.setUnsigned(row, entry.valuePosition);
    }
}

void TagsFiller::setItems(std::size_t row, const EntryItems& items) const {
    switch (items.kind()) {
        case ItemKind::none:
            break;
        case ItemKind::integers:
            setIntegers(row, items);
            break;
        case ItemKind::rationals:
            setRationals(row, items);
            break;
        case ItemKind::reals:
            setReals(row, items);
            break;
        case ItemKind::characters:
            setCharacters(row, items);
            break;
        case ItemKind::bytes:
            bytes.setText(row, items.bytes());
            break;
    }
}

void TagsFiller::setIntegers(std::size_t row, const EntryItems& items) const {
    for (std::size_t index = 0; index < items.size(); ++index) {
        if (!items.integer(index)) {
            setDigits(row, items);
            return;
        }
    }
    if (ColumnBuilder* const list = integers.beginList(row)) {
        appendItems(items, &EntryItems::integer, *list, &ColumnBuilder::appendInteger);
    }
}

void TagsFiller::setDigits(std::size_t row, const EntryItems& items) const {
    std::string digits;
    for (std::size_t index = 0; text && index < items.size(); ++index) {
        digits.append(index > 0 ? " " : "").append(items.digits(index));
    }
    text.setText(row, digits);
}

void TagsFiller::setRationals(std::size_t row, const EntryItems& items) const {
    ColumnBuilder* const list = rationals.beginList(row);
    for (std::size_t index = 0; list != nullptr && index < items.size(); ++index) {
        const EntryItems::Rational item = items.rational(index);
        const std::size_t place = list->size();
        list->setStruct(place);
        list->member(0).setInteger(place, item.numerator);
        list->member(1).setInteger(place, item.denominator);
    }
}

void TagsFiller::setReals(std::size_t row, const EntryItems& items) const {
    if (ColumnBuilder* const list = reals.beginList(row)) {
        appendItems(items, &EntryItems::number, *list, &ColumnBuilder::appendNumber);
    }
}

void TagsFiller::setCharacters(std::size_t row, const EntryItems& items) const {
    if (!text && !bytes) {
        return;
    }
    const CharacterText characters = characterText(items.bytes());
    text.setText(row, characters.text);
    if (!characters.wasUtf8) {
        bytes.setText(row, items.bytes());
    }
}

}  // namespace

std::unique_ptr<RowFiller> makeTagsFiller(const TableSchema& schema,
                                          std::vector<ColumnBuilder>& columns,
                                          const FillLimits& limits) {
    return std::make_unique<TagsFiller>(schema, columns, limits);
}

}  // namespace ifdsweep

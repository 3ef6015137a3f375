#include "pack/packed_file.h"

#include <algorithm>
#include <bit>
#include <cstring>
#include <utility>

#include "pack/large_memory.h"
#include "pack/packed_check.h"
#include "pack/packed_layout.h"

namespace ifdsweep {
namespace {

const PackedHead& headOf(const PackedBlock& block) noexcept {
    return *static_cast<const PackedHead*>(static_cast<const void*>(block.bytes.get()));
}

template <class Row>
std::span<const Row> rowsOf(const PackedBlock& block, PackedTable table) noexcept {
    const PackedPlace& place = headOf(block)[table];
    return {static_cast<const Row*>(static_cast<const void*>(block.bytes.get() + place.begin)),
            static_cast<std::size_t>(place.count)};
}

std::size_t elementCount(const PackedArrayRow& array) noexcept {
    return std::size_t{array.rows} * array.columns;
}

}  // namespace

PackedFile::PackedFile(PackedBlock packed) noexcept : block(std::move(packed)) {}

std::optional<PackedFile> PackedFile::parse(std::span<const std::byte> bytes) {
    PackedBlock copy;
    copy.bytes = std::make_unique_for_overwrite<std::byte[]>(bytes.size());
    copy.size = bytes.size();
    preferLargePages(copy.bytes.get(), copy.size);
    std::copy(bytes.begin(), bytes.end(), copy.bytes.get());
    PackedFile file(std::move(copy));
    return isPackedFile(file.bytes()) ? std::optional(std::move(file)) : std::nullopt;
}

const PackedFileRow& PackedFile::file() const noexcept {
    return headOf(block).file;
}

std::span<const PackedStreamRow> PackedFile::streams() const noexcept {
    return rowsOf<PackedStreamRow>(block, PackedTable::streams);
}

std::span<const PackedDirectoryRow> PackedFile::directories() const noexcept {
    return rowsOf<PackedDirectoryRow>(block, PackedTable::directories);
}

std::span<const PackedEntryRow> PackedFile::entries() const noexcept {
    return rowsOf<PackedEntryRow>(block, PackedTable::entries);
}

std::span<const PackedValueRow> PackedFile::values() const noexcept {
    return rowsOf<PackedValueRow>(block, PackedTable::values);
}

std::span<const PackedArrayRow> PackedFile::arrays() const noexcept {
    return rowsOf<PackedArrayRow>(block, PackedTable::arrays);
}

std::span<const PackedFieldsRow> PackedFile::fieldLists() const noexcept {
    return rowsOf<PackedFieldsRow>(block, PackedTable::fieldLists);
}

std::span<const std::uint32_t> PackedFile::fieldNames() const noexcept {
    return rowsOf<std::uint32_t>(block, PackedTable::fieldNames);
}

std::span<const std::uint32_t> PackedFile::elements() const noexcept {
    return rowsOf<std::uint32_t>(block, PackedTable::elements);
}

std::span<const PackedNameRow> PackedFile::names() const noexcept {
    return rowsOf<PackedNameRow>(block, PackedTable::names);
}

std::span<const PackedMessageRow> PackedFile::messages() const noexcept {
    return rowsOf<PackedMessageRow>(block, PackedTable::messages);
}

std::span<const PackedArgumentRow> PackedFile::arguments() const noexcept {
    return rowsOf<PackedArgumentRow>(block, PackedTable::arguments);
}

std::span<const std::uint8_t> PackedFile::bytesOf(const PackedRun& run) const noexcept {
    return rowsOf<std::uint8_t>(block, PackedTable::heap)
        .subspan(static_cast<std::size_t>(run.begin), static_cast<std::size_t>(run.size));
}

std::string_view PackedFile::textOf(const PackedRun& run) const noexcept {
    const std::span<const std::uint8_t> bytes = bytesOf(run);
    return {static_cast<const char*>(static_cast<const void*>(bytes.data())), bytes.size()};
}

std::u16string_view PackedFile::unitsOf(const PackedRun& run) const noexcept {
    const std::span<const std::uint8_t> bytes = bytesOf(run);
    return {static_cast<const char16_t*>(static_cast<const void*>(bytes.data())),
            bytes.size() / sizeof(char16_t)};
}

std::string_view PackedFile::name(std::uint32_t row) const noexcept {
    return row == kNoRow ? std::string_view() : textOf(names()[row]);
}

std::uint32_t PackedFile::findName(std::string_view text) const noexcept {
    const std::span<const std::uint32_t> index =
        rowsOf<std::uint32_t>(block, PackedTable::nameIndex);
    const std::size_t mask = index.size() - 1;
    std::size_t cell = static_cast<std::size_t>(hashOfName(text)) & mask;
    while (index[cell] != kNoRow && textOf(names()[index[cell]]) != text) {
        cell = (cell + 1) & mask;
    }
    return index[cell];
}

std::optional<std::uint32_t> PackedFile::findField(std::uint32_t fields,
                                                   std::uint32_t name) const noexcept {
    const PackedFieldsRow& row = fieldLists()[fields];
    const std::span<const std::uint32_t> list = fieldNames().subspan(row.first, row.count);
    const auto found = std::find(list.begin(), list.end(), name);
    return found == list.end() ? std::nullopt
                               : std::optional(static_cast<std::uint32_t>(found - list.begin()));
}

const PackedValueRow& PackedFile::fieldOf(const PackedArrayRow& records, std::uint32_t element,
                                          std::uint32_t field) const noexcept {
    const std::size_t fieldCount = fieldLists()[records.fields].count;
    return values()[static_cast<std::size_t>(records.begin) + element * fieldCount + field];
}

std::span<const double> PackedFile::doublesOf(const PackedArrayRow& array) const noexcept {
    const std::span<const std::uint8_t> bytes =
        bytesOf(PackedRun{array.begin, elementCount(array) * sizeof(double)});
    return {static_cast<const double*>(static_cast<const void*>(bytes.data())),
            elementCount(array)};
}

std::span<const std::uint8_t> PackedFile::bytesOf(const PackedArrayRow& array) const noexcept {
    return bytesOf(PackedRun{array.begin, elementCount(array)});
}

std::u16string_view PackedFile::unitsOf(const PackedArrayRow& array) const noexcept {
    return unitsOf(PackedRun{array.begin, elementCount(array) * sizeof(char16_t)});
}

double PackedFile::numberOf(const PackedValueRow& value) noexcept {
    return std::bit_cast<double>(value.content);
}

}  // namespace ifdsweep

#include "values.h"

#include <algorithm>
#include <cmath>

#include "exact_values.h"
#include "field_names.h"
#include "objects.h"
#include "texts.h"

namespace ifdsweep::python {
namespace {

/// One value of a field, with what it takes to see its numbers as the entry has them.
class FieldValue {
public:
    FieldValue(const FilePointer& packedFile, const PackedValueRow& fieldValue,
               const PackedDirectoryRow* itsDirectory, std::uint32_t fieldName)
        : file(packedFile), value(fieldValue), directory(itsDirectory), name(fieldName) {}

    [[nodiscard]] nb::object object() const {
        switch (value.kind) {
            case PackedKind::none:
                return nb::none();
            case PackedKind::number:
                return isExact() ? itemObject(*file, entry(), 0)
                                 : numberObject(PackedFile::numberOf(value),
                                                isWhole(PackedFile::numberOf(value)));
            case PackedKind::numbers:
                return numbers();
            case PackedKind::bytes: {
                const auto bytes = file->bytesOf(array());
                return nb::bytes(bytes.data(), bytes.size());
            }
            case PackedKind::text:
                return textObject(file->unitsOf(array()), file->name(name));
            case PackedKind::cells:
                return nested(array().rows, array().columns, [&](std::size_t index) {
                    return recordValue(file, file->values()[array().begin + index], directory,
                                       name);
                });
            case PackedKind::records:
                break;
        }
        return records();
    }

private:
    [[nodiscard]] const PackedArrayRow& array() const { return file->arrays()[value.content]; }
    [[nodiscard]] const PackedEntryRow& entry() const { return file->entries()[value.entry]; }
    [[nodiscard]] bool isExact() const { return value.isOfEntry != 0; }

    /// Whether a number that no entry of integers has is shown as one.
    [[nodiscard]] bool isWhole(double number) const {
        return std::trunc(number) == number && std::abs(number) < kExactIntegers && !isOfReals();
    }

    [[nodiscard]] bool isOfReals() const {
        const std::uint32_t row =
            directory == nullptr ? kNoRow : entryByName(*file, *directory, name);
        return row != kNoRow && hasReals(file->entries()[row]);
    }

    [[nodiscard]] nb::object numbers() const {
        const PackedArrayRow& elements = array();
        if (isExact() && elements.rows == 1) {
            return exactValue(file, entry());
        }
        if (isExact()) {
            return nested(elements.rows, elements.columns,
                          [&](std::size_t index) { return itemObject(*file, entry(), index); });
        }
        const auto doubles = file->doublesOf(elements);
        const bool areWhole =
            !isOfReals() && std::all_of(doubles.begin(), doubles.end(), [](double number) {
                return std::trunc(number) == number && std::abs(number) < kExactIntegers;
            });
        return nested(elements.rows, elements.columns,
                      [&](std::size_t index) { return numberObject(doubles[index], areWhole); });
    }

    static nb::object numberObject(double number, bool isWhole) {
        return isWhole ? nb::object(nb::int_(static_cast<std::int64_t>(number)))
                       : nb::object(nb::float_(number));
    }

    /// A row as a tuple, every other shape as a tuple of rows; nothing at all as an empty tuple.
    template <class Make>
    static nb::object nested(std::size_t rows, std::size_t columns, Make&& make) {
        if (rows == 1 || rows * columns == 0) {
            return tupleOf(rows * columns, make);
        }
        return tupleOf(rows, [&](std::size_t row) {
            return tupleOf(columns, [&](std::size_t column) { return make(column * rows + row); });
        });
    }

    [[nodiscard]] nb::object records() const {
        const PackedArrayRow& elements = array();
        const std::size_t count = std::size_t{elements.rows} * elements.columns;
        if (elements.elements != kNoRow) {
            return tupleOf(count, [&](std::size_t index) {
                return nb::cast(Directory{file, file->elements()[elements.elements + index]});
            });
        }
        const nb::object readOnly = nb::module_::import_("types").attr("MappingProxyType");
        return tupleOf(count, [&](std::size_t index) {
            return readOnly(plainRecord(elements, static_cast<std::uint32_t>(index)));
        });
    }

    /// A record that is no directory, such as that of an unknown tag.
    [[nodiscard]] nb::dict plainRecord(const PackedArrayRow& elements,
                                       std::uint32_t element) const {
        nb::dict fields;
        const PackedFieldsRow& list = file->fieldLists()[elements.fields];
        for (std::uint32_t field = 0; field < list.count; ++field) {
            const std::uint32_t fieldName = file->fieldNames()[list.first + field];
            fields[keyOf(*file, fieldName)] =
                recordValue(file, file->fieldOf(elements, element, field), nullptr, fieldName);
        }
        return fields;
    }

    const FilePointer& file;
    const PackedValueRow& value;
    const PackedDirectoryRow* directory;
    std::uint32_t name;
};

/// The last entry that was not dropped and has this name, or none.
std::uint32_t lastEntryNamed(const PackedFile& file, const PackedDirectoryRow& directory,
                             std::uint32_t name) {
    std::uint32_t found = kNoRow;
    for (std::uint32_t row = directory.firstEntry; row != kNoRow; row = file.entries()[row].next) {
        const PackedEntryRow& entry = file.entries()[row];
        if (entry.name == name && name != kNoRow && entry.droppedBy == kNoRow) {
            found = row;
        }
    }
    return found;
}

}  // namespace

nb::object recordValue(const FilePointer& file, const PackedValueRow& value,
                       const PackedDirectoryRow* directory, std::uint32_t name) {
    const RecursionGuard guard;
    return FieldValue(file, value, directory, name).object();
}

std::uint32_t entryByName(const PackedFile& file, const PackedDirectoryRow& directory,
                          std::uint32_t name) {
    const std::uint32_t found = lastEntryNamed(file, directory, name);
    if (found != kNoRow || name == kNoRow) {
        return found;
    }
    const std::string_view alias = aliasOf(file.name(name));
    return alias.empty() ? kNoRow : lastEntryNamed(file, directory, file.findName(alias));
}

}  // namespace ifdsweep::python

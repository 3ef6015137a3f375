#include "support/packed_walk.h"

#include <algorithm>
#include <bit>
#include <cstring>
#include <span>
#include <string_view>
#include <utility>
#include <vector>

#include <boost/variant.hpp>

#include "pack/field_types.h"
#include "values/value.h"

namespace fixture {
namespace {

using ifdsweep::kNoRow;
using ifdsweep::PackedArrayRow;
using ifdsweep::PackedDirectoryRow;
using ifdsweep::PackedEntryRow;
using ifdsweep::PackedFieldsRow;
using ifdsweep::PackedFile;
using ifdsweep::PackedKind;
using ifdsweep::PackedRun;
using ifdsweep::PackedStreamRow;
using ifdsweep::PackedValueRow;

class Walk {
public:
    explicit Walk(const PackedFile& packed) : file(packed) {}

    void take(std::uint64_t number) { sum = (sum ^ number) * 0x100000001B3U; }

    template <class Element>
    void takeAll(std::span<const Element> elements) {
        take(elements.size());
        for (const Element& element : elements) {
            if constexpr (sizeof(Element) == sizeof(double)) {
                take(std::bit_cast<std::uint64_t>(element));
            } else {
                take(static_cast<std::uint64_t>(element));
            }
        }
    }

    void takeRun(const PackedRun& run) { takeAll(file.bytesOf(run)); }

    void takeName(std::uint32_t row) {
        take(row);
        for (const char letter : file.name(row)) {
            take(static_cast<unsigned char>(letter));
        }
        if (row != kNoRow) {
            take(file.findName(file.name(row)));
        }
    }

    void takeMessage(std::uint32_t row) {
        const auto& message = file.messages()[row];
        takeName(message.id);
        takeRun(message.path);
        const auto given = file.arguments().subspan(message.firstArgument, message.argumentCount);
        for (const auto& argument : given) {
            take(static_cast<std::uint64_t>(argument.integer));
            if (argument.kind == ifdsweep::PackedArgumentKind::units) {
                const std::u16string_view units = file.unitsOf(argument.text);
                takeAll(std::span<const char16_t>(units));
            } else {
                takeRun(argument.text);
            }
        }
    }

    /// Its items, as many as it says and as wide as its type.
    void takeEntry(const PackedEntryRow& entry) {
        take(file.directories()[entry.directory].position);
        takeName(entry.name);
        takeName(entry.valueName);
        takeName(entry.droppedBy);
        const auto bytes = file.bytesOf(entry.bytes);
        takeAll(bytes);
        const std::size_t width =
            entry.isDefault != 0 ? sizeof(double) : ifdsweep::fieldTypeWidth(entry.fieldType);
        if (entry.isDefault == 0 && (entry.isLoaded == 0 || width == 0)) {
            return;
        }
        for (std::uint64_t item = 0; item < entry.count; ++item) {
            take(bytes.subspan(static_cast<std::size_t>(item) * width, width).front());
        }
    }

    void takeDirectory(const PackedDirectoryRow& directory) {
        std::uint32_t own = 0;
        for (std::uint32_t row = directory.firstEntry; row != kNoRow;
             row = file.entries()[row].next) {
            takeEntry(file.entries()[row]);
            ++own;
        }
        take(own == directory.ownEntries ? 1 : 0);
        takeName(directory.pointerName);
        if (directory.parent != kNoRow) {
            take(file.directories()[directory.parent].index);
        }
        if (directory.records != kNoRow) {
            const auto& records = file.arrays()[file.values()[directory.records].content];
            take(file.elements()[records.elements + directory.element]);
            take(file.fieldLists()[records.fields].count);
        }
    }

    /// A value with all that is in it, level by level.
    void takeValues(std::uint32_t root) {
        std::vector<const PackedValueRow*> values{&file.values()[root]};
        for (std::size_t next = 0; next < values.size(); ++next) {
            takeValue(*values[next], values);
        }
    }

    void takeValue(const PackedValueRow& value, std::vector<const PackedValueRow*>& further) {
        take(static_cast<std::uint64_t>(value.kind));
        if (value.entry != kNoRow) {
            take(file.entries()[value.entry].tag);
        }
        if (value.kind == PackedKind::none) {
            return;
        }
        if (value.kind == PackedKind::number) {
            take(std::bit_cast<std::uint64_t>(PackedFile::numberOf(value)));
            return;
        }
        const PackedArrayRow& array = file.arrays()[value.content];
        take(array.rows);
        take(array.columns);
        switch (value.kind) {
            case PackedKind::none:
            case PackedKind::number:
                break;
            case PackedKind::numbers:
                if (value.isOfEntry != 0) {
                    takeEntry(file.entries()[value.entry]);
                } else {
                    takeAll(file.doublesOf(array));
                }
                break;
            case PackedKind::bytes:
                takeAll(file.bytesOf(array));
                break;
            case PackedKind::text:
                takeAll(std::span<const char16_t>(file.unitsOf(array)));
                break;
            case PackedKind::cells:
                for (std::uint64_t cell = 0; cell < std::uint64_t{array.rows} * array.columns;
                     ++cell) {
                    further.push_back(&file.values()[array.begin + cell]);
                }
                break;
            case PackedKind::records:
                takeRecords(array, further);
                break;
        }
    }

    void takeRecords(const PackedArrayRow& array, std::vector<const PackedValueRow*>& further) {
        const PackedFieldsRow& fields = file.fieldLists()[array.fields];
        const std::uint64_t count = std::uint64_t{array.rows} * array.columns;
        for (std::uint64_t element = 0; element < count; ++element) {
            if (array.elements != kNoRow) {
                const std::uint32_t row = file.elements()[array.elements + element];
                take(file.directories()[row].position);
            }
            for (std::uint32_t field = 0; field < fields.count; ++field) {
                further.push_back(&file.fieldOf(array, static_cast<std::uint32_t>(element), field));
            }
        }
        for (std::uint32_t field = 0; field < fields.count; ++field) {
            takeName(file.fieldNames()[fields.first + field]);
        }
        if (fields.count > 0) {
            take(file.findField(array.fields, file.fieldNames()[fields.first]).value_or(kNoRow));
        }
    }

    void takeStream(const PackedStreamRow& stream) {
        takeRun(stream.container);
        takeRun(stream.name);
        takeRun(stream.found);
        for (std::uint32_t row = 0; row < stream.warningCount; ++row) {
            takeMessage(stream.firstWarning + row);
        }
        if (stream.error != kNoRow) {
            takeMessage(stream.error);
        }
        for (const auto& directory :
             file.directories().subspan(stream.firstDirectory, stream.directoryCount)) {
            takeDirectory(directory);
        }
        takeAll(std::span<const std::uint32_t>(&stream.firstEntry, 2));
        for (const auto& entry : file.entries().subspan(stream.firstEntry, stream.entryCount)) {
            take(file.directories()[entry.directory].stream);
        }
        if (stream.records != kNoRow) {
            takeValues(stream.records);
        }
    }

    void takeFile() {
        takeRun(file.file().path);
        take(file.file().size);
        for (const auto& stream : file.streams()) {
            takeStream(stream);
        }
        for (std::uint32_t row = 0; row < file.names().size(); ++row) {
            takeName(row);
        }
    }

    std::uint64_t sum = 0xCBF29CE484222325;

private:
    const PackedFile& file;
};

/// Packed values beside those that they were made of.
class Comparison {
public:
    explicit Comparison(const PackedFile& packed) : file(packed) {}

    std::optional<std::string> difference{};

    void require(bool holds, const std::string& place, std::string_view what) {
        if (!holds && !difference) {
            difference = place + ": " + std::string(what);
        }
    }

    void compare(const PackedValueRow& row, const ifdsweep::Value* value,
                 const std::string& place) {
        if (difference) {
            return;
        }
        if (value == nullptr) {
            require(row.kind == PackedKind::none, place, "there is a value");
            return;
        }
        if (row.kind == PackedKind::number) {
            const bool isSame = value->doubles().size() == 1 &&
                                std::bit_cast<std::uint64_t>(value->doubles()[0]) == row.content;
            require(isSame, place, "another number");
            return;
        }
        require(row.kind != PackedKind::none, place, "there is no value");
        if (row.kind == PackedKind::none) {
            return;
        }
        const PackedArrayRow& array = file.arrays()[row.content];
        require(array.rows == value->rows() && array.columns == value->columns(), place,
                "another size");
        if (difference) {
            return;
        }
        switch (row.kind) {
            case PackedKind::none:
            case PackedKind::number:
                break;
            case PackedKind::numbers:
                require(value->kind() == ifdsweep::ValueKind::Double &&
                            areSameNumbers(row, array, value->doubles()),
                        place, "other numbers");
                break;
            case PackedKind::bytes:
                require(value->kind() == ifdsweep::ValueKind::Uint8 &&
                            std::ranges::equal(file.bytesOf(array), value->bytes()),
                        place, "other bytes");
                break;
            case PackedKind::text:
                require(value->kind() == ifdsweep::ValueKind::Char &&
                            file.unitsOf(array) == value->text(),
                        place, "another text");
                break;
            case PackedKind::cells:
                require(value->kind() == ifdsweep::ValueKind::Cell, place, "no cells");
                for (std::size_t cell = 0; cell < value->elementCount() && !difference; ++cell) {
                    compare(file.values()[array.begin + cell], value->cell(cell),
                            place + '{' + std::to_string(cell) + '}');
                }
                break;
            case PackedKind::records:
                require(value->kind() == ifdsweep::ValueKind::Struct, place, "no records");
                compareRecords(array, *value, place);
                break;
        }
    }

private:
    bool areSameNumbers(const PackedValueRow& row, const PackedArrayRow& array,
                        std::span<const double> numbers) const {
        if (row.isOfEntry != 0) {
            const PackedEntryRow& entry = file.entries()[row.entry];
            return ifdsweep::areItems(numbers, entry.fieldType, file.bytesOf(entry.bytes));
        }
        const auto packed = file.doublesOf(array);
        return packed.size() == numbers.size() &&
               std::memcmp(packed.data(), numbers.data(), numbers.size_bytes()) == 0;
    }

    void compareRecords(const PackedArrayRow& array, const ifdsweep::Value& records,
                        const std::string& place) {
        const PackedFieldsRow& fields = file.fieldLists()[array.fields];
        require(fields.count == records.fieldCount(), place, "another number of fields");
        for (std::uint32_t field = 0; field < records.fieldCount() && !difference; ++field) {
            const std::uint32_t name = file.fieldNames()[fields.first + field];
            require(file.name(name) == records.fieldName(field), place, "another field");
            require(file.findName(records.fieldName(field)) == name, place, "name not found");
        }
        for (std::uint32_t element = 0; element < records.elementCount(); ++element) {
            for (std::uint32_t field = 0; field < records.fieldCount() && !difference; ++field) {
                compare(file.fieldOf(array, element, field), records.field(element, field),
                        place + '[' + std::to_string(element) + "]." +
                            std::string(records.fieldName(field)));
            }
        }
    }

    const PackedFile& file;
};

}  // namespace

std::uint64_t walkEverything(const PackedFile& file) {
    Walk walk(file);
    walk.takeFile();
    return walk.sum;
}

std::optional<std::string> packedDifference(const PackedFile& file,
                                            const ifdsweep::Outcome& outcome) {
    Comparison comparison(file);
    const auto compareStream = [&](const PackedStreamRow& row, const ifdsweep::Outcome& stream) {
        const std::string place = stream.stream.name.empty() ? "records" : stream.stream.name;
        comparison.require((row.records != kNoRow) == (stream.result != nullptr), place,
                           "records on one side alone");
        comparison.require((row.error != kNoRow) == stream.error.has_value(), place,
                           "an error on one side alone");
        comparison.require(row.warningCount == stream.warnings.size(), place,
                           "another number of warnings");
        if (row.records != kNoRow && !comparison.difference) {
            comparison.compare(file.values()[row.records], stream.result.get(), place);
        }
    };
    comparison.require(file.streams().size() == 1 + outcome.others.size(), "file",
                       "another number of streams");
    if (!comparison.difference) {
        compareStream(file.streams()[0], outcome);
        for (std::size_t other = 0; other < outcome.others.size(); ++other) {
            compareStream(file.streams()[other + 1], outcome.others[other]);
        }
    }
    return comparison.difference;
}

}  // namespace fixture

#include "read/field_selection.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <string>
#include <utility>

#include "ifdsweep/qx.h"
#include "read/directory_path.h"
#include "values/value_store.h"

namespace ifdsweep {
namespace {

ValueHandle makeRecords(const Value& likeThese, const std::vector<std::string>& names) {
    std::vector<const char*> pointers;
    pointers.reserve(names.size());
    for (const std::string& name : names) {
        pointers.push_back(name.c_str());
    }
    const std::array<std::size_t, 2> size{likeThese.rows(), likeThese.columns()};
    return ValueHandle(
        qxCreateStructArray(size.size(), size.data(), pointers.size(), pointers.data()));
}

/// A copy of the value of an unknown tag, a text or a double row, that is shown in two places.
ValueHandle copyOf(const Value& value) {
    const std::array<std::size_t, 2> size{value.rows(), value.columns()};
    if (value.kind() == ValueKind::Char) {
        ValueHandle copy(qxCreateCharArray(size.size(), size.data()));
        std::copy(value.text().begin(), value.text().end(), qxGetChars(copy.get()));
        return copy;
    }
    ValueHandle copy(qxCreateNumericArray(size.size(), size.data(), qxDOUBLE_CLASS, qxREAL));
    std::copy(value.doubles().begin(), value.doubles().end(), qxGetDoubles(copy.get()));
    return copy;
}

const Value* memberOf(const Value& records, std::size_t element, std::string_view name) {
    const auto field = records.fieldIndex(name);
    return field ? records.field(element, *field) : nullptr;
}

/// Whether a value is shown in a second place too.
enum class Shown : std::uint8_t { here, elsewhereToo };

/// The value of an unknown tag in a directory, moved out of it unless it is shown elsewhere too;
/// null when it has none.
ValueHandle unknownValue(Value& records, std::size_t element, std::uint16_t id, Shown shown) {
    const auto place = records.fieldIndex(kUnknownTags);
    ValueHandle tags = place ? ValueStore::takeField(records, element, *place) : nullptr;
    if (tags == nullptr) {
        return nullptr;
    }
    ValueHandle found;
    for (std::size_t tag = 0; tag < tags->elementCount(); ++tag) {
        const Value* number = memberOf(*tags, tag, "ID");
        if (number == nullptr || number->elementCount() != 1 || number->doubles()[0] != id) {
            continue;
        }
        if (const Value* value = memberOf(*tags, tag, "Value")) {
            found = shown == Shown::elsewhereToo
                        ? copyOf(*value)
                        : ValueStore::takeField(*tags, tag, *tags->fieldIndex("Value"));
        }
        break;
    }
    ValueStore::setField(records, element, kUnknownTags.data(), tags.release());
    return found;
}

/// Whether the unknown tag of a field is shown again: under another name or among all of them.
bool isShownAfter(const std::vector<ChosenField>& fields, std::size_t number) {
    const auto showsAll = [](const ChosenField& field) { return field.name == kUnknownTags; };
    const auto showsIt = [&](const ChosenField& field) {
        return field.unknownId == fields[number].unknownId;
    };
    const auto after = fields.begin() + static_cast<std::ptrdiff_t>(number) + 1;
    return std::any_of(fields.begin(), fields.end(), showsAll) ||
           std::any_of(after, fields.end(), showsIt);
}

ValueHandle selectFromRecords(ValueHandle records, DirectoryKind kind,
                              const std::vector<ChosenField>& fields);

/// What a value that holds records has of the chosen fields; null when that is nothing.
ValueHandle nestedSelection(ValueHandle value, DirectoryKind kind,
                            const std::vector<ChosenField>& fields) {
    if (value->kind() == ValueKind::Struct) {
        ValueHandle records = selectFromRecords(std::move(value), kind, fields);
        return records->fieldCount() > 0 ? std::move(records) : ValueHandle();
    }
    bool any = false;
    for (std::size_t index = 0; index < value->elementCount(); ++index) {
        ValueHandle tree = ValueStore::takeCell(*value, index);
        if (ValueHandle chosen = tree ? nestedSelection(std::move(tree), kind, fields) : nullptr) {
            qxSetCell(value.get(), index, chosen.release());
            any = true;
        }
    }
    return any ? std::move(value) : ValueHandle();
}

/// One field of the selection: its values, element by element, null where it is empty.
struct SelectedField {
    std::string name;
    std::vector<ValueHandle> values;
};

template <class MakeValue>
SelectedField selectField(const Value& records, std::string_view name, MakeValue&& makeValue) {
    SelectedField field{std::string(name), {}};
    field.values.reserve(records.elementCount());
    for (std::size_t element = 0; element < records.elementCount(); ++element) {
        field.values.push_back(makeValue(element));
    }
    return field;
}

/// Whether a field of any of the records is nested records.
bool holdsRecords(const Value& records, std::size_t field) {
    for (std::size_t element = 0; element < records.elementCount(); ++element) {
        const Value* value = records.field(element, field);
        if (value != nullptr && isNested(*value)) {
            return true;
        }
    }
    return false;
}

bool holdsAnything(const SelectedField& field) {
    return std::any_of(field.values.begin(), field.values.end(),
                       [](const ValueHandle& value) { return value != nullptr; });
}

ValueHandle selectFromRecords(ValueHandle records, DirectoryKind kind,
                              const std::vector<ChosenField>& fields) {
    std::vector<SelectedField> selected(fields.size());
    // Unknown tags first: they stand in a field that may be chosen, and is moved then.
    for (std::size_t number = 0; number < fields.size(); ++number) {
        const ChosenField& chosen = fields[number];
        if (chosen.unknownId && canOccurIn(kind, chosen)) {
            const Shown shown = isShownAfter(fields, number) ? Shown::elsewhereToo : Shown::here;
            selected[number] = selectField(*records, chosen.name, [&](std::size_t element) {
                return unknownValue(*records, element, *chosen.unknownId, shown);
            });
        }
    }
    for (std::size_t number = 0; number < fields.size(); ++number) {
        if (const auto source = records->fieldIndex(fields[number].name)) {
            selected[number] = selectField(*records, fields[number].name, [&](std::size_t element) {
                return ValueStore::takeField(*records, element, *source);
            });
        }
    }
    std::erase_if(selected, [&](const SelectedField& field) {
        return !records->fieldIndex(field.name) && !holdsAnything(field);
    });
    for (std::size_t source = 0; source < records->fieldCount(); ++source) {
        if (!holdsRecords(*records, source)) {
            continue;
        }
        const std::string_view name = records->fieldName(source);
        const bool isChosen = std::any_of(fields.begin(), fields.end(),
                                          [&](const auto& chosen) { return chosen.name == name; });
        if (isChosen || name == kUnknownTags) {
            continue;
        }
        SelectedField field = selectField(*records, name, [&](std::size_t element) {
            const Value* value = records->field(element, source);
            return value != nullptr && isNested(*value)
                       ? nestedSelection(ValueStore::takeField(*records, element, source),
                                         kindInField(name), fields)
                       : ValueHandle();
        });
        if (holdsAnything(field)) {
            selected.push_back(std::move(field));
        }
    }
    std::vector<std::string> names;
    names.reserve(selected.size());
    for (const SelectedField& field : selected) {
        names.push_back(field.name);
    }
    ValueHandle result = makeRecords(*records, names);
    for (SelectedField& field : selected) {
        for (std::size_t element = 0; element < field.values.size(); ++element) {
            if (field.values[element] != nullptr) {
                qxSetField(result.get(), element, field.name.c_str(),
                           field.values[element].release());
            }
        }
    }
    return result;
}

}  // namespace

ValueHandle selectFields(ValueHandle records, const std::vector<ChosenField>& fields,
                         DirectoryKind kind) {
    return records->kind() == ValueKind::Struct
               ? selectFromRecords(std::move(records), kind, fields)
               : std::move(records);
}

}  // namespace ifdsweep

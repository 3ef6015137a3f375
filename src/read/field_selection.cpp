#include "read/field_selection.h"

#include <algorithm>
#include <array>
#include <string>

#include "ifdsweep/qx.h"
#include "read/directory_path.h"

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

ValueHandle makeCells(const Value& likeThese) {
    const std::array<std::size_t, 2> size{likeThese.rows(), likeThese.columns()};
    return ValueHandle(qxCreateCellArray(size.size(), size.data()));
}

ValueHandle copyOf(const Value& value) {
    const std::array<std::size_t, 2> size{value.rows(), value.columns()};
    switch (value.kind()) {
        case ValueKind::Double: {
            ValueHandle copy(
                qxCreateNumericArray(size.size(), size.data(), qxDOUBLE_CLASS, qxREAL));
            std::copy(value.doubles().begin(), value.doubles().end(), qxGetDoubles(copy.get()));
            return copy;
        }
        case ValueKind::Uint8: {
            ValueHandle copy(qxCreateNumericArray(size.size(), size.data(), qxUINT8_CLASS, qxREAL));
            std::copy(value.bytes().begin(), value.bytes().end(), qxGetUint8s(copy.get()));
            return copy;
        }
        case ValueKind::Char: {
            ValueHandle copy(qxCreateCharArray(size.size(), size.data()));
            std::copy(value.text().begin(), value.text().end(), qxGetChars(copy.get()));
            return copy;
        }
        case ValueKind::Cell: {
            ValueHandle copy = makeCells(value);
            for (std::size_t index = 0; index < value.elementCount(); ++index) {
                if (const Value* content = value.cell(index)) {
                    qxSetCell(copy.get(), index, copyOf(*content).release());
                }
            }
            return copy;
        }
        case ValueKind::Struct:
            break;
    }
    std::vector<std::string> names;
    for (std::size_t field = 0; field < value.fieldCount(); ++field) {
        names.emplace_back(value.fieldName(field));
    }
    ValueHandle copy = makeRecords(value, names);
    for (std::size_t element = 0; element < value.elementCount(); ++element) {
        for (std::size_t field = 0; field < names.size(); ++field) {
            if (const Value* content = value.field(element, field)) {
                qxSetField(copy.get(), element, names[field].c_str(), copyOf(*content).release());
            }
        }
    }
    return copy;
}

const Value* memberOf(const Value& records, std::size_t element, std::string_view name) {
    const auto field = records.fieldIndex(name);
    return field ? records.field(element, *field) : nullptr;
}

/// The value of an unknown tag in a directory; null when it has none.
const Value* unknownValue(const Value& records, std::size_t element, std::uint16_t id) {
    const Value* tags = memberOf(records, element, kUnknownTags);
    for (std::size_t tag = 0; tags != nullptr && tag < tags->elementCount(); ++tag) {
        const Value* number = memberOf(*tags, tag, "ID");
        if (number != nullptr && number->elementCount() == 1 && number->doubles()[0] == id) {
            return memberOf(*tags, tag, "Value");
        }
    }
    return nullptr;
}

ValueHandle nestedSelection(const Value& value, const std::vector<ChosenField>& fields) {
    if (value.kind() == ValueKind::Struct) {
        ValueHandle records = selectFields(value, fields);
        return records->fieldCount() > 0 ? std::move(records) : ValueHandle();
    }
    ValueHandle cells = makeCells(value);
    bool any = false;
    for (std::size_t index = 0; index < value.elementCount(); ++index) {
        const Value* tree = value.cell(index);
        if (ValueHandle chosen = tree != nullptr ? nestedSelection(*tree, fields) : nullptr) {
            qxSetCell(cells.get(), index, chosen.release());
            any = true;
        }
    }
    return any ? std::move(cells) : ValueHandle();
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

bool holdsAnything(const SelectedField& field) {
    return std::any_of(field.values.begin(), field.values.end(),
                       [](const ValueHandle& value) { return value != nullptr; });
}

}  // namespace

ValueHandle selectFields(const Value& records, const std::vector<ChosenField>& fields) {
    if (records.kind() != ValueKind::Struct) {
        return copyOf(records);
    }
    std::vector<SelectedField> selected;
    const auto copyIfAny = [](const Value* value) {
        return value != nullptr ? copyOf(*value) : ValueHandle();
    };
    for (const ChosenField& chosen : fields) {
        const auto source = records.fieldIndex(chosen.name);
        if (source) {
            selected.push_back(selectField(records, chosen.name, [&](std::size_t element) {
                return copyIfAny(records.field(element, *source));
            }));
        } else if (chosen.unknownId) {
            SelectedField field = selectField(records, chosen.name, [&](std::size_t element) {
                return copyIfAny(unknownValue(records, element, *chosen.unknownId));
            });
            if (holdsAnything(field)) {
                selected.push_back(std::move(field));
            }
        }
    }
    for (std::size_t source = 0; source < records.fieldCount(); ++source) {
        const std::string_view name = records.fieldName(source);
        const bool isChosen = std::any_of(fields.begin(), fields.end(),
                                          [&](const auto& chosen) { return chosen.name == name; });
        if (isChosen || name == kUnknownTags) {
            continue;
        }
        SelectedField field = selectField(records, name, [&](std::size_t element) {
            const Value* value = records.field(element, source);
            return value != nullptr && isNested(*value) ? nestedSelection(*value, fields)
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
    ValueHandle result = makeRecords(records, names);
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

}  // namespace ifdsweep

#include "values/value.h"

#include "values/field_list.h"
#include "values/value_store.h"

const qxArray* qxArray::cell(std::size_t index) const noexcept {
    return valueKind == ifdsweep::ValueKind::Cell && index < elementCount() ? slots()[index]
                                                                            : nullptr;
}

std::size_t qxArray::fieldCount() const noexcept {
    return valueKind == ifdsweep::ValueKind::Struct ? slotBlock().fields->size() : 0;
}

std::string_view qxArray::fieldName(std::size_t fieldNumber) const noexcept {
    return valueKind == ifdsweep::ValueKind::Struct ? slotBlock().fields->name(fieldNumber)
                                                    : std::string_view();
}

bool qxArray::fieldNamesAreIdentifiers() const noexcept {
    return valueKind == ifdsweep::ValueKind::Struct && slotBlock().fields->areIdentifiers();
}

const qxArray* qxArray::field(std::size_t element, std::size_t fieldNumber) const noexcept {
    const std::size_t count = fieldCount();
    return fieldNumber < count && element < elementCount() ? slots()[element * count + fieldNumber]
                                                           : nullptr;
}

std::optional<std::size_t> qxArray::fieldIndex(std::string_view name) const noexcept {
    if (valueKind != ifdsweep::ValueKind::Struct) {
        return std::nullopt;
    }
    const ifdsweep::FieldList& fields = *slotBlock().fields;
    const std::size_t number = fields.find(name);
    return number < fields.size() ? std::optional(number) : std::nullopt;
}

namespace ifdsweep {

void ValueDeleter::operator()(Value* value) const noexcept {
    ValueStore::destroy(value);
}

}  // namespace ifdsweep

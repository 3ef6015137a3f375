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
namespace {

std::optional<ValueView> viewOf(const Value* value) noexcept {
    return value != nullptr ? std::optional<ValueView>(*value) : std::nullopt;
}

}  // namespace

void ValueDeleter::operator()(Value* value) const noexcept {
    ValueStore::destroy(value);
}

ValueKind ValueView::kind() const noexcept {
    return value->kind();
}

std::size_t ValueView::rows() const noexcept {
    return value->rows();
}

std::size_t ValueView::columns() const noexcept {
    return value->columns();
}

std::size_t ValueView::elementCount() const noexcept {
    return value->elementCount();
}

std::span<const double> ValueView::doubles() const noexcept {
    return value->doubles();
}

std::span<const std::uint8_t> ValueView::bytes() const noexcept {
    return value->bytes();
}

std::u16string_view ValueView::text() const noexcept {
    return value->text();
}

std::optional<ValueView> ValueView::cell(std::size_t index) const noexcept {
    return viewOf(value->cell(index));
}

std::size_t ValueView::fieldCount() const noexcept {
    return value->fieldCount();
}

std::string_view ValueView::fieldName(std::size_t fieldNumber) const noexcept {
    return fieldNumber < fieldCount() ? value->fieldName(fieldNumber) : std::string_view();
}

std::optional<ValueView> ValueView::field(std::size_t element,
                                          std::size_t fieldNumber) const noexcept {
    return viewOf(value->field(element, fieldNumber));
}

std::optional<ValueView> ValueView::field(std::size_t element,
                                          std::string_view name) const noexcept {
    const std::optional<std::size_t> number = value->fieldIndex(name);
    return number ? field(element, *number) : std::nullopt;
}

}  // namespace ifdsweep

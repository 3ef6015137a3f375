// The contract's functions, for the current host of the thread. They are all in this file, so that
// a program that uses one of them has them all for the modules that it loads, and they are visible
// to such modules whatever the visibility of the rest.

#pragma GCC visibility push(default)
#include "ifdsweep/qx.h"
#pragma GCC visibility pop

#include <algorithm>
#include <array>
#include <span>
#include <stdexcept>
#include <string>
#include <string_view>

#include "host/host_parts.h"
#include "values/value.h"
#include "values/value_store.h"

namespace {

using ifdsweep::HostParts;
using ifdsweep::Value;
using ifdsweep::ValueKind;
using ifdsweep::ValueStore;

struct Size {
    std::size_t rows = 0;
    std::size_t columns = 0;
};

Size sizeOf(std::size_t dimensionCount, const std::size_t* dimensions) {
    if (dimensionCount == 0) {
        return {};
    }
    if (dimensionCount != 2) {
        throw std::invalid_argument("values have two dimensions");
    }
    return {dimensions[0], dimensions[1]};
}

/// The elements of a value of one kind, for filling.
template <class Element>
Element* elementsOf(Value* value, ValueKind kind) {
    if (value == nullptr || value->kind() != kind) {
        throw std::invalid_argument("the value is of another class");
    }
    return static_cast<Element*>(ValueStore::elements(*value));
}

Value& required(Value* value) {
    if (value == nullptr) {
        throw std::invalid_argument("there is no value");
    }
    return *value;
}

ValueKind kindOf(qxClassID classId, qxComplexity complexity) {
    if (complexity != qxREAL || (classId != qxDOUBLE_CLASS && classId != qxUINT8_CLASS)) {
        throw std::invalid_argument("numeric arrays are real and double or unsigned 8-bit");
    }
    return classId == qxDOUBLE_CLASS ? ValueKind::Double : ValueKind::Uint8;
}

}  // namespace

void qxWarningMsgId(const qxMessage& message) {
    HostParts::current().warn(message);
}

void qxRaiseError(const qxMessage& message) {
    throw qxMessage(message);
}

std::u16string qxGetUString(const qxArray* text) {
    if (text == nullptr || text->kind() != ValueKind::Char) {
        throw std::invalid_argument("the value is not a text");
    }
    return std::u16string(text->text());
}

double qxGetScalar(const qxArray* number) {
    if (number != nullptr && !number->doubles().empty()) {
        return number->doubles().front();
    }
    if (number != nullptr && !number->bytes().empty()) {
        return number->bytes().front();
    }
    throw std::invalid_argument("the value holds no number");
}

qxArray* qxCreateUString(const char16_t* units, std::size_t length) {
    return HostParts::current().values().createText({units, length});
}

qxArray* qxCreateString(const char* text) {
    const std::string_view bytes = text;
    const auto widen = [bytes](char16_t* units) {
        std::transform(bytes.begin(), bytes.end(), units, [](char byte) {
            return static_cast<char16_t>(static_cast<unsigned char>(byte));
        });
    };
    ValueStore& values = HostParts::current().values();
    std::array<char16_t, 64> shortText;
    if (bytes.size() <= shortText.size()) {
        widen(shortText.data());
        return values.createText({shortText.data(), bytes.size()});
    }
    Value* value = values.createArray(ValueKind::Char, 1, bytes.size());
    widen(elementsOf<char16_t>(value, ValueKind::Char));
    return value;
}

qxArray* qxCreateCharArray(std::size_t dimensionCount, const std::size_t* dimensions) {
    const Size size = sizeOf(dimensionCount, dimensions);
    return HostParts::current().values().createArray(ValueKind::Char, size.rows, size.columns);
}

qxArray* qxCreateCellArray(std::size_t dimensionCount, const std::size_t* dimensions) {
    const Size size = sizeOf(dimensionCount, dimensions);
    return HostParts::current().values().createArray(ValueKind::Cell, size.rows, size.columns);
}

qxArray* qxCreateStructArray(std::size_t dimensionCount, const std::size_t* dimensions,
                             std::size_t fieldCount, const char* const* fieldNames) {
    const Size size = sizeOf(dimensionCount, dimensions);
    return HostParts::current().values().createRecords(size.rows, size.columns,
                                                       std::span(fieldNames, fieldCount));
}

qxArray* qxCreateDoubleScalar(double value) {
    return HostParts::current().values().createScalar(value);
}

qxArray* qxCreateNumericArray(std::size_t dimensionCount, const std::size_t* dimensions,
                              qxClassID classId, qxComplexity complexity) {
    const Size size = sizeOf(dimensionCount, dimensions);
    return HostParts::current().values().createArray(kindOf(classId, complexity), size.rows,
                                                     size.columns);
}

void qxSetField(qxArray* records, std::size_t index, const char* fieldName, qxArray* value) {
    ValueStore::setField(required(records), index, fieldName, value);
}

void qxSetCell(qxArray* cells, std::size_t index, qxArray* value) {
    ValueStore::setCell(required(cells), index, value);
}

void qxDestroyArray(qxArray* value) {
    ValueStore::destroy(value);
}

double* qxGetDoubles(qxArray* value) {
    return elementsOf<double>(value, ValueKind::Double);
}

std::uint8_t* qxGetUint8s(qxArray* value) {
    return elementsOf<std::uint8_t>(value, ValueKind::Uint8);
}

char16_t* qxGetChars(qxArray* value) {
    return elementsOf<char16_t>(value, ValueKind::Char);
}

qxFileStatus qxGetFileStatus(const std::u16string& path) {
    return HostParts::current().files().status(path);
}

bool qxFileExists(const std::u16string& path) {
    return HostParts::current().files().exists(path);
}

std::FILE* qxOpenFile(const std::u16string& path, const char* mode) {
    return HostParts::current().files().open(path, mode);
}

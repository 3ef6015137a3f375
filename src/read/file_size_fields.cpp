#include "read/file_size_fields.h"

#include <cstddef>
#include <string>
#include <string_view>

#include "ifdsweep/qx.h"
#include "read/directory_path.h"
#include "values/value_store.h"

namespace ifdsweep {
namespace {

constexpr std::string_view kFileSize = "FileSize";

void setInCells(Value& cells, std::uint64_t size) {
    for (std::size_t index = 0; index < cells.elementCount(); ++index) {
        if (ValueHandle tree = ValueStore::takeCell(cells, index)) {
            setFileSizes(*tree, size);
            ValueStore::setCell(cells, index, tree.release());
        }
    }
}

void setInElement(Value& records, std::size_t element, std::uint64_t size) {
    for (std::size_t field = 0; field < records.fieldCount(); ++field) {
        const Value* held = records.field(element, field);
        const std::string name(records.fieldName(field));
        const bool isSize = name == kFileSize;
        const bool isTree = held != nullptr && isNested(*held) && name != kUnknownTags;
        if (held == nullptr || !(isSize || isTree)) {
            continue;
        }
        ValueHandle value = ValueStore::takeField(records, element, field);
        if (isSize) {
            *qxGetDoubles(value.get()) = static_cast<double>(size);
        } else if (value->kind() == ValueKind::Struct) {
            setFileSizes(*value, size);
        } else {
            setInCells(*value, size);
        }
        ValueStore::setField(records, element, name.c_str(), value.release());
    }
}

}  // namespace

void setFileSizes(qxArray& records, std::uint64_t size) {
    if (records.kind() != ValueKind::Struct) {
        return;
    }
    for (std::size_t element = 0; element < records.elementCount(); ++element) {
        setInElement(records, element, size);
    }
}

}  // namespace ifdsweep

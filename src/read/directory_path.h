#pragma once

// Directory path: the way to a directory, such as `0/SubIFDs[1]/0`, and the walk over the records
// nested in a record. Templates over values of the caller; any thread.

#include <algorithm>
#include <cstddef>
#include <string>
#include <string_view>

#include "ifdsweep/entry_sink.h"
#include "values/value.h"

namespace ifdsweep {

/// Ends with a NUL.
inline constexpr std::string_view kUnknownTags = "UnknownTags";

/// Whether a value is shown as directories of its own: records, or cells with records.
[[nodiscard]] inline bool isNested(const Value& value) {
    return value.kind() == ValueKind::Struct ||
           (value.kind() == ValueKind::Cell && value.elementCount() > 0 &&
            value.cell(0) != nullptr && value.cell(0)->kind() == ValueKind::Struct);
}

/// The kind of the directories in a field that holds them.
[[nodiscard]] inline DirectoryKind kindInField(std::string_view name) {
    return name == "DigitalCamera"         ? DirectoryKind::exif
           : name == "GPSInfo"             ? DirectoryKind::gps
           : name == "InteroperabilityIFD" ? DirectoryKind::interoperability
                                           : DirectoryKind::primary;
}

/// The kind of the directory at the end of a path.
/// @param primaryKind that of the directories in the primary chain
[[nodiscard]] inline DirectoryKind kindAtPath(std::string_view path, DirectoryKind primaryKind) {
    if (path.find('/') == std::string_view::npos) {
        return primaryKind;
    }
    path = path.substr(0, std::min(path.rfind('/'), path.size()));
    const std::string_view field = path.substr(path.rfind('/') + 1);
    return kindInField(field.substr(0, field.find('[')));
}

[[nodiscard]] inline std::string childPath(const std::string& path, std::string_view name) {
    std::string child = path;
    if (!child.empty()) {
        child += '/';
    }
    return child.append(name);
}

/// Visits the fields of an element that have a value.
/// @param visit called with name and value
template <class Visit>
void forEachField(const Value& records, std::size_t element, Visit&& visit) {
    for (std::size_t field = 0; field < records.fieldCount(); ++field) {
        if (const Value* value = records.field(element, field)) {
            visit(records.fieldName(field), *value);
        }
    }
}

/// Visits the records in one field.
/// @param visit called with the records and the way to them
template <class Visit>
void forEachTree(std::string_view name, const Value& value, const std::string& path,
                 Visit&& visit) {
    if (value.kind() == ValueKind::Struct) {
        visit(value, childPath(path, name));
        return;
    }
    for (std::size_t index = 0; index < value.elementCount(); ++index) {
        if (const Value* tree = value.cell(index)) {
            const std::string member = std::string(name) + '[' + std::to_string(index) + ']';
            visit(*tree, childPath(path, member));
        }
    }
}

/// Visits the nested directories' records of an element.
template <class Visit>
void forEachNestedRecords(const Value& records, std::size_t element, const std::string& path,
                          Visit&& visit) {
    forEachField(records, element, [&](std::string_view name, const Value& value) {
        if (isNested(value) && name != kUnknownTags) {
            forEachTree(name, value, path, visit);
        }
    });
}

}  // namespace ifdsweep

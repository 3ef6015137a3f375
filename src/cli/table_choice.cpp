#include "cli/table_choice.h"

#include <algorithm>
#include <utility>

#include "read/field_places.h"

namespace ifdsweep {
namespace {

/// Why no row has a cell for a field; empty where one may.
std::string lackOfCells(const ChosenField& field, FieldPlace place,
                        std::optional<TableRows> askedRows) {
    switch (place) {
        case FieldPlace::directories:
            return field.name +
                   " holds directories, which have no cell: name their fields, or use --format "
                   "json";
        case FieldPlace::unknownTags:
            return field.name +
                   " holds the tags that have no name, which have no cell: ask for their numbers, "
                   "or use --format json";
        case FieldPlace::nestedDirectory:
            return askedRows == TableRows::directory
                       ? field.name + " stands in a nested directory: --rows file or nested"
                       : "";
        case FieldPlace::exifDirectory:
        case FieldPlace::anyDirectory:
            break;
    }
    return "";
}

}  // namespace

std::string settleTable(OutputChoice& output, std::optional<TableRows> askedRows) {
    if (output.format != Format::csv) {
        return askedRows ? "--rows and --nested go with --format csv" : "";
    }
    if (output.table) {
        return askedRows ? "--layout and --rows exclude each other" : "";
    }
    const FieldPlaces places;
    const bool hadFields = !output.fields.empty();
    std::string complaint;
    bool isNamed = false;  // by the user, not by a pattern
    std::erase_if(output.fields, [&](const ChosenField& field) {
        std::string lack = lackOfCells(field, places.of(field), askedRows);
        const bool hasNoCell = !lack.empty();
        if (hasNoCell && !isNamed) {
            complaint = "--tags: " + std::move(lack);
            isNamed = !field.byPattern;
        }
        return hasNoCell;
    });
    const auto isNested = [&places](const ChosenField& field) {
        return places.of(field) != FieldPlace::anyDirectory;
    };
    const bool anyNested = std::any_of(output.fields.begin(), output.fields.end(), isNested);
    output.rows = askedRows.value_or(anyNested ? TableRows::file : TableRows::directory);
    return isNamed || (hadFields && output.fields.empty()) ? complaint : "";
}

}  // namespace ifdsweep

#include "present/absent_fields.h"

#include <algorithm>

namespace ifdsweep {
namespace {

constexpr std::string_view kWidth = "Width";

/// Whether records have a field twice: a derived one, and one of the tag of the same name.
bool hasTwice(const Value& records, std::string_view name) {
    std::size_t count = 0;
    for (std::size_t field = 0; field < records.fieldCount(); ++field) {
        if (records.fieldName(field) == name) {
            ++count;
        }
    }
    return count > 1;
}

/// Whether the image is that of a container. A JPEG whose stream was named by its position is told
/// by the record.
bool isOfContainer(const PresentedField& field) {
    return field.described == Described::container || isText(field.sibling(kFormatField), "jpg");
}

/// Whether a directory in a container lacks a tag for certain. Of "Width", which is the name of the
/// derived field too, it is certain only while no directory of the chain has the tag.
bool lacksTag(const PresentedField& field, std::string_view tag) {
    return isOfContainer(field) &&
           (tag == kWidth ? !hasTwice(field.records, tag) : field.sibling(tag) == nullptr);
}

bool presentAbsent(Output& output, const PresentedField& field, std::string_view tag,
                   double inPlace) {
    const auto number = finiteNumber(field.value);
    if (number != inPlace || !lacksTag(field, tag)) {
        return false;
    }
    output.append("not in this directory");
    return true;
}

}  // namespace

bool presentAbsentZero(Output& output, const PresentedField& field, const PresenterParameter& tag) {
    return presentAbsent(output, field, tag.sibling, 0);
}

bool presentAbsentColorType(Output& output, const PresentedField& field,
                            const PresenterParameter& tag) {
    return presentAbsent(output, field, tag.sibling, -1);
}

}  // namespace ifdsweep

#pragma once

// Present: what people read beside or in place of a field's raw value. Exposure as photographers
// write it, codes with their words, positions in degrees, encoded texts as texts.
//
// Plain functions over an Output of the caller; any thread.

#include <cstddef>
#include <string_view>
#include <vector>

#include "io/output.h"
#include "present/presenter.h"
#include "text/text_limits.h"
#include "values/value.h"

namespace ifdsweep {

/// Appends a value as people read it.
/// @param value   the value of the field
/// @param records the directories that the field is from, for the fields beside it
/// @param element which of the directories
/// @param described what the directories' stream is about
/// @return false, with nothing appended, where the field has no presenter or its value is not what
///         the presenter is made for: the value is to be shown as it is
[[nodiscard]] bool appendPresented(Output& output, std::string_view fieldName, const Value& value,
                                   const Value& records, std::size_t element,
                                   const TextLimits& limits,
                                   Described described = Described::itself);

/// The fields beside a field that its presenter asks: the unit of a number, the direction of an
/// angle. Without them the value is shown as it is.
[[nodiscard]] std::vector<std::string_view> companionFields(std::string_view fieldName);

/// The fields that have a presenter, in the order of their names.
[[nodiscard]] std::vector<std::string_view> presentedFields();

}  // namespace ifdsweep

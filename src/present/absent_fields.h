#pragma once

// Absent fields: what the records of a JPEG file, and of a stream in any other container, have in
// place of a size that only the container tells. Presenters (see presenter.h).

#include <string_view>

#include "present/presenter.h"

namespace ifdsweep {

/// The field that tells of which format the file is.
inline constexpr std::string_view kFormatField = "Format";

/// "not in this directory" for the zero of such a directory without the tag: that of the
/// parameter's sibling, or of this field's own name where it names none.
bool presentAbsentZero(Output& output, const PresentedField& field, const PresenterParameter& tag);

/// The same for a colour type of -1.
bool presentAbsentColorType(Output& output, const PresentedField& field,
                            const PresenterParameter& tag);

}  // namespace ifdsweep

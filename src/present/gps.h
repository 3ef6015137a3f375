#pragma once

// GPS: positions, heights, times, directions and speeds, with what the field beside them says of
// them. Presenters (see presenter.h), by Exif 2.32 (CIPA DC-008-2019), 4.6.6.

#include <optional>
#include <span>

#include "present/presenter.h"

namespace ifdsweep {

/// Degrees, minutes and seconds, or hours, minutes and seconds, as degrees or hours. The last parts
/// may be absent. None unless the first is at most `most`, the others are below 60, and none is
/// negative or NaN.
[[nodiscard]] std::optional<double> sexagesimalNumber(std::span<const double> parts, double most);

/// A latitude or longitude, by the field with its direction: `51° 30' 40.12" N (51.511144)`. The
/// parameter's rows are the directions: north or east first, which is positive.
bool presentPosition(Output& output, const PresentedField& field,
                     const PresenterParameter& reference);

/// A height in metres: "12 m", "3 m below sea level".
bool presentAltitude(Output& output, const PresentedField& field,
                     const PresenterParameter& reference);

/// Hours, minutes and seconds: "09:30:05 UTC".
bool presentTimeOfDay(Output& output, const PresentedField& field, const PresenterParameter&);

/// A number with the unit that the field beside it tells: "79.6 km/h".
bool presentReferredMeasure(Output& output, const PresentedField& field,
                            const PresenterParameter& reference);

/// Degrees from north: "164° magnetic".
bool presentDirection(Output& output, const PresentedField& field,
                      const PresenterParameter& reference);

}  // namespace ifdsweep

#pragma once

// Exposure: times, apertures, focal lengths and exposure values as photographers write them.
// Presenters (see presenter.h).

#include "present/presenter.h"

namespace ifdsweep {

/// A time in seconds: "1/60 s (0.01667)", "0.5 s".
bool presentExposureTime(Output& output, const PresentedField& field, const PresenterParameter&);

/// A time as an APEX value: "1/125 s (6.966)".
bool presentShutterSpeed(Output& output, const PresentedField& field, const PresenterParameter&);

/// An f-number: "f/2.8".
bool presentFNumber(Output& output, const PresentedField& field, const PresenterParameter&);

/// An f-number as an APEX value: "f/2.8 (2.97)".
bool presentAperture(Output& output, const PresentedField& field, const PresenterParameter&);

/// A length in millimetres: "57.0 mm".
bool presentFocalLength(Output& output, const PresentedField& field, const PresenterParameter&);

/// An exposure bias: "+0.33 EV".
bool presentExposureBias(Output& output, const PresentedField& field, const PresenterParameter&);

/// The least and the largest focal length, and the least f-number at each: "24-70 mm f/2.8".
bool presentLens(Output& output, const PresentedField& field, const PresenterParameter&);

/// A distance in metres, for which some numbers are words: "2.5 m".
bool presentSubjectDistance(Output& output, const PresentedField& field, const PresenterParameter&);

}  // namespace ifdsweep

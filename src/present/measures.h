#pragma once

// Measures: numbers with their unit, and versions. Presenters (see presenter.h).

#include "present/presenter.h"

namespace ifdsweep {

/// A number and its unit, such as "21.5 °C".
bool presentMeasure(Output& output, const PresentedField& field, const PresenterParameter& unit);

/// A number above zero and its unit; zero is explained by the parameter's first words: "1.3x".
bool presentPositiveMeasure(Output& output, const PresentedField& field,
                            const PresenterParameter& unitAndZero);

/// A resolution, by the text or the number of the field that has its unit: "300 per inch".
bool presentResolution(Output& output, const PresentedField& field,
                       const PresenterParameter& units);

/// A count of bytes: "48,123 bytes".
bool presentFileSize(Output& output, const PresentedField& field, const PresenterParameter&);

/// Four digits of ASCII as a version: "2.32" of 0232.
bool presentDigitVersion(Output& output, const PresentedField& field, const PresenterParameter&);

/// Four bytes as a version: "2.3.0.0".
bool presentByteVersion(Output& output, const PresentedField& field, const PresenterParameter&);

}  // namespace ifdsweep

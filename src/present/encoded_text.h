#pragma once

// Encoded text: texts that a directory holds as bytes. Presenters (see presenter.h).

#include "present/presenter.h"

namespace ifdsweep {

/// A text behind the 8 bytes that tell its character code (Exif 2.32, 4.6.5, UserComment).
bool presentCodedText(Output& output, const PresentedField& field, const PresenterParameter&);

/// A text in UTF-16, the low byte of each unit first.
bool presentUtf16Text(Output& output, const PresentedField& field, const PresenterParameter&);

}  // namespace ifdsweep

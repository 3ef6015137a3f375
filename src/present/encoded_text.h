#pragma once

// Encoded text: texts that a directory holds as bytes, decoded, and presenters of them (see
// presenter.h).

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "present/presenter.h"
#include "text/natural_text.h"

namespace ifdsweep {

/// UTF-16 units, or bytes each as a unit, and which of both.
struct DecodedText {
    std::u16string units;
    TextForm form = TextForm::ascii;
};

/// Whether the bytes that tell the character code are there.
enum class CodePresence : std::uint8_t { required, optional };

/// A text behind the 8 bytes that tell its character code (Exif 2.32, 4.6.5, UserComment); none
/// where the code is not known, or is JIS.
/// @param bytes each as a unit
[[nodiscard]] std::optional<DecodedText> decodeCodedText(std::u16string_view bytes,
                                                         CodePresence presence);

/// A text in UTF-16, the low byte of each unit first; none where half a unit is left over.
/// @param bytes each as a unit
[[nodiscard]] std::optional<DecodedText> decodeUtf16Bytes(std::u16string_view bytes);

/// A text behind the 8 bytes that tell its character code (Exif 2.32, 4.6.5, UserComment).
bool presentCodedText(Output& output, const PresentedField& field, const PresenterParameter&);

/// A text in UTF-16, the low byte of each unit first.
bool presentUtf16Text(Output& output, const PresentedField& field, const PresenterParameter&);

}  // namespace ifdsweep

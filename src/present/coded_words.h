#pragma once

// Coded words: codes with the words that they stand for, in parentheses behind them, as in
// "6 (right top)". Presenters (see presenter.h).

#include "present/presenter.h"

namespace ifdsweep {

/// The words of a code; empty where there are none.
[[nodiscard]] std::string_view wordsOf(std::uint32_t code, std::span<const CodeWords> codes);

/// A code or several: "0 (unspecified)", "1 2 3 0 (Y, Cb, Cr, -)".
bool presentCodes(Output& output, const PresentedField& field, const PresenterParameter& words);

/// A code of which each bit says something; the words of 0 are for no bit at all.
bool presentBits(Output& output, const PresentedField& field, const PresenterParameter& words);

/// A text that is a code: "K (km/h)".
bool presentTextCode(Output& output, const PresentedField& field, const PresenterParameter& words);

/// What a flash did: "65 (fired, red-eye reduction)".
bool presentFlash(Output& output, const PresentedField& field, const PresenterParameter&);

}  // namespace ifdsweep

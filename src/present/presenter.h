#pragma once

// Presenter: a function that shows the value of a field, and what the presenters of all topics
// need. A presenter looks at the whole value first: it appends all that it shows and returns true,
// or returns false and appends nothing.
//
// Plain values over values of the caller; any thread.

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string_view>

#include "io/output.h"
#include "text/text_limits.h"
#include "values/value.h"

namespace ifdsweep {

/// What a TIFF stream describes.
enum class Described : std::uint8_t {
    itself,     ///< the images that it holds
    container,  ///< the image of the file that carries it
};

/// A field as a presenter sees it.
struct PresentedField {
    const Value& value;
    const Value& records;  ///< the directory, for the fields beside this one
    std::size_t element;
    const TextLimits& limits;
    Described described = Described::itself;

    /// The value of another field of the directory; null where it has none.
    [[nodiscard]] const Value* sibling(std::string_view name) const;
};

/// A number that stands for words.
struct CodeWords {
    std::uint32_t code;
    std::string_view words;
};

/// A text that stands for words.
struct TextWords {
    std::string_view text;
    std::string_view words;
};

/// What tells one use of a presenter from another; each uses some of it.
struct PresenterParameter {
    std::string_view unit{};     ///< behind the number
    std::string_view sibling{};  ///< the field that says how the value is meant
    std::span<const CodeWords> codes{};
    std::span<const TextWords> texts{};
};

using Presenter = bool (*)(Output& output, const PresentedField& field,
                           const PresenterParameter& parameter);

/// The numbers of a value that are all finite; none of any other value.
[[nodiscard]] std::span<const double> finiteNumbers(const Value& value);

/// The number of a value that is one finite number.
[[nodiscard]] std::optional<double> finiteNumber(const Value& value);

/// A number as an unsigned integer of 32 bits, if it is one.
[[nodiscard]] std::optional<std::uint32_t> codeOf(double number);

/// The code of a value that is one.
[[nodiscard]] std::optional<std::uint32_t> codeOf(const Value& value);

/// Whether a value is this text.
[[nodiscard]] bool isText(const Value* value, std::string_view text);

/// The words of a text; empty where there are none.
[[nodiscard]] std::string_view wordsOf(const Value* value, std::span<const TextWords> texts);

/// Appends a number that is the whole of what is shown, with the usual digits.
void appendWhole(Output& output, double number, const TextLimits& limits);

/// Appends a number in parentheses, behind a reading of it, which asks for fewer digits.
void appendBeside(Output& output, double number, const TextLimits& limits);

/// Appends words in parentheses, behind what they explain.
void appendWordsBeside(Output& output, std::string_view words);

/// Appends a number below 10^9 rounded to so many places behind the point, without the zeros at
/// the end.
void appendPlaces(Output& output, double number, int places);

/// Appends a number and a unit that another field tells, such as "300 per inch".
/// @return false, with nothing appended, where there is no number or the unit is not known
bool appendWithUnit(Output& output, const PresentedField& field, std::string_view between,
                    std::string_view unit);

}  // namespace ifdsweep

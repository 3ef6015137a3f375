#pragma once

// Host values as compact text, for expected values that fit on one line:
//   5  0.5  NaN            a 1-by-1 double         'text'           a character row
//   [1 2 3]  [1 2; 3 4]    a row, a matrix         {1, 'a'}         a cell row
//   uint8[1 2]             unsigned 8-bit row      (A=1 B='x')(A=2) a column of two records
//   double(1x0)            nothing in it, of that class and size
//   empty                  a field or cell that holds no value
// Records show the fields that hold a value; the fixed head of a primary record is left out.
// Characters outside printable ASCII are written \uXXXX. Stateless; any thread.

#include <string>
#include <string_view>
#include <vector>

#include "values/value.h"

namespace fixture {

[[nodiscard]] std::string dump(const ifdsweep::Value* value);

/// One number as `dump` writes it.
[[nodiscard]] std::string numberText(double value);

/// A double row as `dump` writes it.
[[nodiscard]] std::string rowText(const std::vector<double>& values);

/// Text in quotes as `dump` writes it.
[[nodiscard]] std::string quotedText(std::u16string_view text);

/// Class and size, such as "struct 2x1".
[[nodiscard]] std::string shapeText(const ifdsweep::Value& value);

/// The 35 names that every primary record of a TIFF file begins with.
[[nodiscard]] const std::vector<std::string>& headNames();

}  // namespace fixture

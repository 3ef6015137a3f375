#pragma once

// Texts: bytes and characters of packed files as Python has them.
//
// Threads: with the interpreter's lock. Errors: nb::python_error for lack of memory.

#include <string>
#include <string_view>
#include <utility>

#include <nanobind/nanobind.h>

#include "io/output.h"
#include "text/natural_text.h"

namespace ifdsweep::python {

namespace nb = nanobind;

/// Valid UTF-8 as a str.
[[nodiscard]] nb::str strOf(std::string_view utf8);

/// Bytes in UTF-8 as the JSON has them: every byte that is no UTF-8 becomes U+FFFD.
[[nodiscard]] nb::str utf8Str(std::string_view bytes);

/// A text in its natural reading, as the JSON has it: a lone surrogate becomes U+FFFD.
[[nodiscard]] nb::str naturalStr(std::u16string_view units, TextForm form);

/// The name of an object's type, for messages.
[[nodiscard]] std::string typeNameOf(nb::handle object);

/// Text of a tag as it is stored: in UTF-8 or Windows-1252.
[[nodiscard]] std::string decodedBytes(std::string_view bytes);

/// A text that is cut short after so many bytes, with nothing hidden in it: for representations.
[[nodiscard]] std::string shownText(std::string_view text, std::size_t limit = 72);

/// What a function writes to an Output.
template <class Write>
std::string written(Write&& write) {
    StringSink sink;
    Output output(sink);
    write(output);
    output.flush();
    return std::move(sink.text);
}

}  // namespace ifdsweep::python

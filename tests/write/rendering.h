#pragma once

// What a writer appends, as a string, and values to append: built through the contract as the
// module builds them. Needs a host scope of the test's for values; one thread.

#include <algorithm>
#include <array>
#include <cstdint>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "ifdsweep/host.h"
#include "ifdsweep/qx.h"
#include "io/output.h"
#include "values/value.h"
#include "write/framer.h"
#include "write/result_writer.h"

namespace rendering {

/// Everything that `append` gives to an output. The output is used again: there are tests with
/// millions of texts, and sanitizers take their time over each new buffer.
template <class Append>
std::string rendered(Append&& append) {
    static ifdsweep::StringSink sink;
    static ifdsweep::Output output(sink);
    sink.text.clear();
    output.discard();
    output.setForTerminal(false);
    append(output);
    output.flush();
    return sink.text;
}

/// Outcomes of files as a run puts them together.
template <class Outcomes>
std::string written(ifdsweep::Format format, const Outcomes& outcomes,
                    ifdsweep::WriteOptions options = {},
                    ifdsweep::Colour colour = ifdsweep::Colour::off) {
    options.format = format;
    options.colour = colour;
    return rendered([&](ifdsweep::Output& output) {
        const auto writer = ifdsweep::makeResultWriter(options, output);
        ifdsweep::Framer framer(output, ifdsweep::frameOf(options));
        framer.begin();
        for (const ifdsweep::Outcome& outcome : outcomes) {
            framer.add(writer->shows(outcome), [&] { writer->writeFile(outcome); });
        }
        framer.end();
    });
}

using Dimensions = std::array<std::size_t, 2>;

inline ifdsweep::ValueHandle numbers(std::size_t rows, std::size_t columns,
                                     const std::vector<double>& columnMajor) {
    const Dimensions size{rows, columns};
    ifdsweep::ValueHandle value(qxCreateNumericArray(2, size.data(), qxDOUBLE_CLASS, qxREAL));
    std::copy(columnMajor.begin(), columnMajor.end(), qxGetDoubles(value.get()));
    return value;
}

inline ifdsweep::ValueHandle number(double value) {
    return ifdsweep::ValueHandle(qxCreateDoubleScalar(value));
}

inline ifdsweep::ValueHandle bytes(const std::vector<std::uint8_t>& row) {
    const Dimensions size{1, row.size()};
    ifdsweep::ValueHandle value(qxCreateNumericArray(2, size.data(), qxUINT8_CLASS, qxREAL));
    std::copy(row.begin(), row.end(), qxGetUint8s(value.get()));
    return value;
}

inline ifdsweep::ValueHandle text(std::u16string_view units) {
    return ifdsweep::ValueHandle(qxCreateUString(units.data(), units.size()));
}

inline ifdsweep::ValueHandle emptyText() {
    const Dimensions size{0, 0};
    return ifdsweep::ValueHandle(qxCreateCharArray(2, size.data()));
}

inline ifdsweep::ValueHandle noRecords() {
    return ifdsweep::ValueHandle(qxCreateNumericArray(0, nullptr, qxDOUBLE_CLASS, qxREAL));
}

/// A 1-by-N cell array; a null handle leaves its cell empty.
template <class... Handles>
ifdsweep::ValueHandle cells(Handles... contents) {
    const Dimensions size{1, sizeof...(contents)};
    ifdsweep::ValueHandle value(qxCreateCellArray(2, size.data()));
    std::size_t index = 0;
    (qxSetCell(value.get(), index++, contents.release()), ...);
    return value;
}

inline ifdsweep::ValueHandle records(std::size_t count,
                                     const std::vector<const char*>& fieldNames) {
    const Dimensions size{count, 1};
    return ifdsweep::ValueHandle(
        qxCreateStructArray(2, size.data(), fieldNames.size(), fieldNames.data()));
}

inline void setField(const ifdsweep::ValueHandle& records, std::size_t element, const char* name,
                     ifdsweep::ValueHandle value) {
    qxSetField(records.get(), element, name, value.release());
}

}  // namespace rendering

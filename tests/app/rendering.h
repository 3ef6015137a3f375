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

#include "host/host.h"
#include "ifdsweep/qx.h"
#include "io/output.h"
#include "values/value.h"

namespace rendering {

/// Everything that `append` gives to an output.
template <class Append>
std::string rendered(Append&& append) {
    app::StringSink sink;
    app::Output output(sink);
    append(output);
    output.flush();
    return sink.text;
}

using Dimensions = std::array<std::size_t, 2>;

inline host::ValueHandle numbers(std::size_t rows, std::size_t columns,
                                 const std::vector<double>& columnMajor) {
    const Dimensions size{rows, columns};
    host::ValueHandle value(qxCreateNumericArray(2, size.data(), qxDOUBLE_CLASS, qxREAL));
    std::copy(columnMajor.begin(), columnMajor.end(), qxGetDoubles(value.get()));
    return value;
}

inline host::ValueHandle number(double value) {
    return host::ValueHandle(qxCreateDoubleScalar(value));
}

inline host::ValueHandle bytes(const std::vector<std::uint8_t>& row) {
    const Dimensions size{1, row.size()};
    host::ValueHandle value(qxCreateNumericArray(2, size.data(), qxUINT8_CLASS, qxREAL));
    std::copy(row.begin(), row.end(), qxGetUint8s(value.get()));
    return value;
}

inline host::ValueHandle text(std::u16string_view units) {
    return host::ValueHandle(qxCreateUString(units.data(), units.size()));
}

inline host::ValueHandle emptyText() {
    const Dimensions size{0, 0};
    return host::ValueHandle(qxCreateCharArray(2, size.data()));
}

inline host::ValueHandle noRecords() {
    return host::ValueHandle(qxCreateNumericArray(0, nullptr, qxDOUBLE_CLASS, qxREAL));
}

/// A 1-by-N cell array; a null handle leaves its cell empty.
template <class... Handles>
host::ValueHandle cells(Handles... contents) {
    const Dimensions size{1, sizeof...(contents)};
    host::ValueHandle value(qxCreateCellArray(2, size.data()));
    std::size_t index = 0;
    (qxSetCell(value.get(), index++, contents.release()), ...);
    return value;
}

inline host::ValueHandle records(std::size_t count, const std::vector<const char*>& fieldNames) {
    const Dimensions size{count, 1};
    return host::ValueHandle(
        qxCreateStructArray(2, size.data(), fieldNames.size(), fieldNames.data()));
}

inline void setField(const host::ValueHandle& records, std::size_t element, const char* name,
                     host::ValueHandle value) {
    qxSetField(records.get(), element, name, value.release());
}

}  // namespace rendering

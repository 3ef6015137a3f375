#pragma once

// The whole call for tests: bytes in memory in, everything that the host received out, as text that
// a test can state in one line. The host and its values live only inside the call; what is returned
// is plain text. Any thread, one call per thread.
//
// A call goes through the entry point or, where it is given a reading, through the second way in.

#include <cstddef>
#include <functional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "ifdsweep/host.h"
#include "ifdsweep/reading.h"
#include "support/byte_verbs.h"
#include "values/value.h"

namespace fixture {

/// The three numbers of the entry point.
struct Numbers {
    double initialOffset = 0;
    double firstIfdIndex = 0;
    double maxIfdCount = 0;
};

/// One element of the record array: field names and values, in order. A value is in the notation of
/// `dump`.
using Record = std::vector<std::pair<std::string, std::string>>;

/// What one call gave. Messages are written as `name(argument, ...)`, their common prefix left out.
struct Call {
    std::string result{};  ///< "struct 2x1", "double 0x0"; empty after an error
    std::vector<Record> records{};
    std::vector<std::string> warnings{};
    std::string error{};  ///< empty when the call returned

    /// A field of one element; "no field" when the record has none of that name.
    [[nodiscard]] std::string value(std::string_view field, std::size_t element = 0) const;
    /// Every field that holds a value, the fixed head of a primary record left out.
    [[nodiscard]] std::string added(std::size_t element = 0) const;
    /// The field names in order.
    [[nodiscard]] std::vector<std::string> names() const;
    /// Error, warnings and result in one line each, for comparisons as a whole.
    [[nodiscard]] std::string text() const;
    /// The warnings, then "error ..." or the shape of the result and what each record adds to its
    /// fixed head.
    [[nodiscard]] std::vector<std::string> outcome() const;
};

/// The name under which `callEntryPoint` serves the bytes.
inline constexpr const char16_t* kFileName = u"call.tif";

/// Prepares the host before the call: fault plans, budgets.
using Preparation = std::function<void(ifdsweep::Host&)>;

/// Calls the entry point on bytes in memory. Throws std::logic_error when a host value is left
/// alive afterwards.
[[nodiscard]] Call callEntryPoint(const Bytes& bytes, const Numbers& numbers = {},
                                  const Preparation& prepare = {});

/// The same by the second way in.
[[nodiscard]] Call callReading(const Bytes& bytes, const ifdsweep::Reading& reading,
                               const Numbers& numbers = {}, const Preparation& prepare = {});

/// The reading that follows every rule.
[[nodiscard]] inline ifdsweep::Reading fullReading() {
    ifdsweep::Reading reading;
    reading.rules = ifdsweep::ReadingRules::full();
    return reading;
}

/// Looks at a result while it lives.
using Inspection = std::function<void(const ifdsweep::Value&)>;

/// Calls the entry point on bytes in memory and hands its result to `inspect`; not called after an
/// error. The messages are returned, records are not.
Call inspect(const Bytes& bytes, const Numbers& numbers, const Inspection& inspection);

/// The same for a file on disk.
/// @param reading null: the entry point
Call inspectFile(const std::u16string& fileName, const Numbers& numbers,
                 const Inspection& inspection, const ifdsweep::Reading* reading = nullptr);

/// `callEntryPoint` for a file on disk.
[[nodiscard]] Call callOnFile(const std::u16string& fileName, const Numbers& numbers = {},
                              const Preparation& prepare = {});

/// `callReading` for a file on disk.
[[nodiscard]] Call readingOnFile(const std::u16string& fileName, const ifdsweep::Reading& reading,
                                 const Numbers& numbers = {}, const Preparation& prepare = {});

/// A message as text.
[[nodiscard]] std::string messageDump(const qxMessage& message);

}  // namespace fixture

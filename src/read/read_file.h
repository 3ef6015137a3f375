#pragma once

// Read file: one file read through the module's entry point, with everything that came of it.
//
// Ownership: an outcome owns its values, which are freed with it and must not outlive the host
// that it was read with.
//
// Threads: as the host, one at a time; several hosts on several threads are independent.

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "host/host.h"
#include "ifdsweep/qx.h"
#include "read/read_options.h"
#include "values/value.h"

namespace ifdsweep {

/// How often a file gave one kind of warning.
struct WarningCount {
    std::string_view id;
    std::uint64_t count = 0;
};

/// What came of one file: a result or an error, and in either case the warnings before it.
struct Outcome {
    std::string file;          ///< as named by the user, in system bytes
    double initialOffset = 0;  ///< as passed to the entry point; 0 when it was never called
    double firstIfdIndex = 0;
    double maxIfdCount = 0;
    ValueHandle result;  ///< null when there is an error
    std::vector<qxMessage> warnings;
    std::vector<WarningCount> warningCounts;  ///< shown in place of the warnings when it has any
    std::optional<qxMessage> error;
    bool isImage = true;  ///< false: left alone, there is no result and no error
};

/// Reads a file. Every failure, memory exhaustion included, becomes the error of the outcome.
/// Budgets of the options become the host's.
[[nodiscard]] Outcome read(Host& host, std::string_view file, const ReadOptions& options);

}  // namespace ifdsweep

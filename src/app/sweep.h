#pragma once

// Sweep: one file read through the module's entry point, with everything that came of it.
//
// Ownership: an outcome owns its values, which are freed with it and must not outlive the host
// that the sweep was made with.
//
// Threads: as the host, one at a time; several hosts on several threads are independent.

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "gateway/qx.h"
#include "host/host.h"
#include "host/value.h"

namespace app {

/// The three numbers of a call. An absent offset is found: 0, or that of the Exif data of a JPEG.
struct SweepNumbers {
    std::optional<double> initialOffset;
    double firstIfdIndex = 0;
    double maxIfdCount = 0;
};

/// Whether a file is read whatever it is, or only when its first bytes are those of an image.
enum class Sniff : std::uint8_t { off, on };

/// How often a file gave one kind of warning.
struct WarningCount {
    std::string_view id;
    std::uint64_t count = 0;
};

/// What came of one file: a result or an error, and in either case the warnings before it.
struct SweepOutcome {
    std::string file;          ///< as named by the user, in system bytes
    double initialOffset = 0;  ///< as passed to the entry point; 0 when it was never called
    double firstIfdIndex = 0;
    double maxIfdCount = 0;
    host::ValueHandle result;  ///< null when there is an error
    std::vector<qxMessage> warnings;
    std::vector<WarningCount> warningCounts;  ///< shown in place of the warnings when it has any
    std::optional<qxMessage> error;
    bool isImage = true;  ///< false: sniffed and left alone, there is no result and no error
};

/// Reads a file. Every failure, memory exhaustion included, becomes the error of the outcome.
[[nodiscard]] SweepOutcome sweep(host::Host& host, std::string_view file,
                                 const SweepNumbers& numbers, Sniff sniff = Sniff::off);

}  // namespace app

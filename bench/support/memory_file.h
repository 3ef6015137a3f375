#pragma once

// A built file that a host of its own serves from memory, to be read again and again.
// Ownership: owns the bytes and the host; outcomes must be gone before it is. One thread.

#include <stdexcept>
#include <utility>
#include <vector>

#include "host/host_parts.h"
#include "ifdsweep/host.h"
#include "ifdsweep/read.h"
#include "support/tiff_builder.h"

namespace bench {

class MemoryFile {
public:
    explicit MemoryFile(fixture::TiffFile tiffFile) : file(std::move(tiffFile)) {
        callHost.setReadBudget(ifdsweep::kUnlimited);
        filesOf(callHost).serve(kName, file.bytes);
    }

    /// The whole call. Throws std::runtime_error when it ends with an error.
    [[nodiscard]] ifdsweep::Outcome read() {
        ifdsweep::Outcome outcome =
            ifdsweep::read(callHost, kSystemName, {.reading = ifdsweep::ReadingMode::contract});
        if (outcome.error) {
            throw std::runtime_error(outcome.error->what());
        }
        return outcome;
    }

    [[nodiscard]] const fixture::TiffFile& tiff() const { return file; }
    [[nodiscard]] ifdsweep::Host& host() { return callHost; }

    /// The name under which the bytes are served.
    static constexpr const char16_t* kName = u"bench.tif";

private:
    static constexpr const char* kSystemName = "bench.tif";

    fixture::TiffFile file;
    ifdsweep::Host callHost;
};

/// A file of these directories.
[[nodiscard]] inline fixture::TiffFile fileOf(const fixture::Chain& chain, fixture::Format format) {
    fixture::TiffBuilder builder(format);
    for (const fixture::Directory& directory : chain) {
        builder.add(directory);
    }
    return builder.build();
}

inline constexpr fixture::Format kLittleBig{fixture::Layout::big, fixture::ByteOrder::little};
inline constexpr fixture::Format kSwappedClassic{fixture::Layout::classic, fixture::ByteOrder::big};

}  // namespace bench

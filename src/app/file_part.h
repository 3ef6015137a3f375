#pragma once

// File part: what the output shows of one file, kept until its turn comes: in memory while it is
// small, in a temporary file when it is not.
//
// Ownership: owns memory and file. Threads: one at a time.

#include <cstdint>
#include <string>
#include <string_view>

#include "app/descriptor.h"
#include "app/output.h"

namespace app {

struct FilePart {
    /// Most bytes that are kept in memory.
    static constexpr std::size_t kMostInMemory = std::size_t{1} << 20;

    std::string bytes;
    Descriptor spill;  ///< open when the part is there and not in memory
    std::uint64_t spillSize = 0;

    /// The memory that it takes while it waits. A part in a file counts as the most of one in
    /// memory, so that the open files are bounded too.
    [[nodiscard]] std::uint64_t weight() const {
        return spill.isOpen() ? kMostInMemory : bytes.size();
    }

    /// Appends the part to an output.
    void writeTo(Output& output) const;
};

/// Collects a part.
class FilePartSink final : public ByteSink {
public:
    void write(std::string_view bytes) override;

    FilePart part;
};

}  // namespace app

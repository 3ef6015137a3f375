#pragma once

// File part: what the output shows of one file, kept until its turn comes: in memory while it is
// small, in a temporary file when it is not.
//
// Ownership: owns memory and file. Threads: one at a time.

#include <cstdint>
#include <string>
#include <string_view>

#include "io/descriptor.h"
#include "io/output.h"

namespace ifdsweep {

struct FilePart {
    /// Most bytes that are kept in memory.
    static constexpr std::size_t kMostInMemory = std::size_t{1} << 20;

    std::string bytes;
    Descriptor spill;  ///< open when the part is there and not in memory
    std::uint64_t spillSize = 0;

    [[nodiscard]] std::uint64_t size() const { return spill.isOpen() ? spillSize : bytes.size(); }

    /// Appends the part to an output. Throws OutputError.
    void writeTo(Output& output) const;
};

/// Appends a piece of a file to an output. Throws OutputError, also when the file is shorter.
void appendPiece(int file, std::uint64_t position, std::uint64_t size, Output& output);

/// Collects a part.
class FilePartSink final : public ByteSink {
public:
    void write(std::string_view bytes) override;

    FilePart part;
};

}  // namespace ifdsweep

#pragma once

// Part spool: parts of the output that wait for their turn where they take no memory, one after
// the other in one temporary file. Its room is used again when the last of them has gone, so that
// it only has to be as large as what gathers after one slow file.
//
// Ownership: owns the file. Threads: one at a time.

#include <cstdint>
#include <optional>

#include "io/descriptor.h"
#include "io/output.h"
#include "workers/file_part.h"

namespace ifdsweep {

class PartSpool {
public:
    struct Place {
        std::uint64_t position = 0;
        std::uint64_t size = 0;
    };

    /// The most that is kept, if half of the free space is not less. What gathers after a file
    /// that takes the whole time limit is seldom more.
    static constexpr std::uint64_t kUsualMost = std::uint64_t{4} << 30;

    explicit PartSpool(std::uint64_t mostBytes = kUsualMost) : most(mostBytes) {}

    /// Whether a part can be kept, as far as that is known.
    [[nodiscard]] bool hasRoom() const { return !isFull && end < most; }

    /// Keeps a part.
    /// @return where; nothing when there is no room for it, and the part is still where it was
    [[nodiscard]] std::optional<Place> keep(const FilePart& part);

    /// Appends a part to an output. Throws OutputError.
    void write(const Place& place, Output& output) const;

    /// Lets go of a part.
    void release(const Place& place);

    /// Tries again what failed, for want of space or of a folder, when no part is kept.
    void tryAgain() { isFull = isFull && kept > 0; }

private:
    [[nodiscard]] bool isOpen();
    void clear();

    Descriptor file;
    std::uint64_t most;
    std::uint64_t end = 0;   ///< of the last part
    std::uint64_t kept = 0;  ///< bytes of parts that have not gone
    bool isFull = false;     ///< until the last has gone
};

}  // namespace ifdsweep

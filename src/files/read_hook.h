#pragma once

// Read hook: steps in before each read and seek of a file, to let it go wrong. Tests implement it;
// without one nothing is asked.
//
// Ownership: shared by the file service and the files opened with it. Threads: that of the host.

#include <cstdint>
#include <limits>

namespace ifdsweep {

/// What is to become of one operation; as constructed, nothing is different.
struct Interference {
    static constexpr std::uint64_t kNoLimit = std::numeric_limits<std::uint64_t>::max();

    bool fails = false;  ///< the operation fails; nothing is delivered, nothing moves
    std::uint64_t accessLimit = kNoLimit;  ///< bytes that the whole access delivers at most
    std::uint64_t fileLimit = kNoLimit;    ///< before it the file is cut to these bytes, for good
};

/// Operations are counted from 1 for each file that is looked at. Seeks are those that the module
/// makes, over all the streams of the file in one call; asking for the position is none. Reads are
/// counted by accesses: all that is read between two seeks of a stream, or before its first one.
class ReadHook {
public:
    ReadHook() = default;
    ReadHook(const ReadHook&) = delete;
    ReadHook& operator=(const ReadHook&) = delete;
    virtual ~ReadHook() = default;

    [[nodiscard]] virtual Interference beforeRead(std::uint64_t number) noexcept = 0;
    [[nodiscard]] virtual Interference beforeSeek(std::uint64_t number) noexcept = 0;
};

}  // namespace ifdsweep

#pragma once

// Planned failures of a file, for tests: which read or seek goes wrong, and how. Plain data.

#include <cstdint>
#include <vector>

namespace ifdsweep {

/// One planned failure. Seeks are counted from 1 as the module makes them, over all the streams of
/// the file in one call; asking for the position is not a seek. Reads are counted by accesses: all
/// that is read between two seeks of a stream, or before its first one, is one.
struct Fault {
    enum class Operation : std::uint8_t { read, seek };
    enum class Effect : std::uint8_t {
        fail,          ///< the operation fails; nothing is delivered, nothing moves
        deliverShort,  ///< the whole access delivers at most `bytes` bytes
        shrinkFile,    ///< before the operation the file is cut to `bytes` bytes, for good
    };

    Operation operation = Operation::read;
    std::uint64_t number = 1;
    Effect effect = Effect::fail;
    std::uint64_t bytes = 0;
};

using FaultPlan = std::vector<Fault>;

}  // namespace ifdsweep

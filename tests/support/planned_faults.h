#pragma once

// Planned faults: which read, seek or creation of a value of a host goes wrong, and how.
//
// Ownership: the host keeps the plan. Threads: as the host.

#include <cstdint>
#include <exception>
#include <vector>

#include "ifdsweep/host.h"

namespace ifdsweep {
class ValueStore;
}  // namespace ifdsweep

namespace fixture {

/// One planned failure. Operations are counted as for ifdsweep::ReadHook.
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

/// What goes wrong in every file opened from now on; an empty plan ends it.
void setFaultPlan(ifdsweep::Host& host, std::vector<Fault> plan);

/// Makes the `number`-th value creation from now on (1: the next) throw `error`, once.
void failValueCreation(ifdsweep::Host& host, std::uint64_t number, std::exception_ptr error);
void failValueCreation(ifdsweep::ValueStore& store, std::uint64_t number, std::exception_ptr error);

}  // namespace fixture

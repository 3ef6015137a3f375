#pragma once

// Creation hook: steps in before each value is made, to let it fail. Tests implement it; without
// one nothing is asked. Ownership: shared with the store. Threads: that of the store.

namespace ifdsweep {

class CreationHook {
public:
    CreationHook() = default;
    CreationHook(const CreationHook&) = delete;
    CreationHook& operator=(const CreationHook&) = delete;
    virtual ~CreationHook() = default;

    /// Called for every value; what it throws ends the creation.
    virtual void beforeCreation() = 0;
};

}  // namespace ifdsweep

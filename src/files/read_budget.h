#pragma once

// Read budget: what a call is given of one file, against a limit.
//
// An access is what is read between two seeks, or before the first one.
//
// Every byte taken counts, and every access after a seek counts `kFreshAccessCost` more, since a
// jump is what costs a hostile file nothing and the reader much. Only the beginning of such an
// access can be refused. What follows it without a seek is always delivered: a directory whose
// count was delivered gets its table too, because a table cut short would be an error that loses
// all directories before it. One access is at most the file's size, and so is the overshoot.
//
// A call whose values have spent their own budget (value_budget.h) is refused in the same way.
//
// A refused read costs no budget, and a list of pointers may hold millions of them: after
// `kMostRefusals` seeks fail too, which ends a list at its next pointer.
//
// Ownership: plain numbers; borrows the budget of values. Threads: one at a time.

#include <cstdint>
#include <utility>

#include "ifdsweep/unlimited.h"
#include "values/value_budget.h"

namespace ifdsweep {

class ReadBudget {
public:
    /// What a fresh access counts beside its bytes.
    static constexpr std::uint64_t kFreshAccessCost = 64;

    /// Refused reads before seeks fail: more than good files have pointers in a list, and no more
    /// than are refused in a second.
    static constexpr std::uint64_t kMostRefusals = 262144;

    /// @param budget the bytes to be delivered; `kUnlimited`: no limit
    /// @param values what the call's values come to; it outlives the budget
    ReadBudget(std::uint64_t budget, ValueBudget& values) noexcept
        : readLimit(budget), valueBudget(values) {}

    [[nodiscard]] std::uint64_t limit() const noexcept { return readLimit; }
    [[nodiscard]] std::uint64_t counted() const noexcept { return count; }

    /// Counts the beginning of a fresh access.
    /// @return whether it is refused
    [[nodiscard]] bool refuses() noexcept {
        const bool isSpent = count >= readLimit;
        if (isSpent || valueBudget.refuses()) {
            toTell = isSpent && !isTold;
            ++refusals;
            return true;
        }
        count += freshCost();
        return false;
    }

    /// Whether too many reads were refused for seeks to go on.
    [[nodiscard]] bool refusesSeeks() const noexcept { return refusals >= kMostRefusals; }

    void add(std::uint64_t bytes) noexcept { count += bytes; }

    /// Bytes that were counted and not taken.
    void takeBack(std::uint64_t bytes) noexcept { count -= bytes; }

    /// A fresh access that turned out to be none, with what it delivered.
    void takeBackAccess(std::uint64_t bytes) noexcept { count -= bytes + freshCost(); }

    /// Whether the budget was spent and nobody told of it.
    [[nodiscard]] bool hasRefusalToTell() const noexcept { return toTell; }

    /// Whether the budget was spent; tells so once.
    [[nodiscard]] bool takeRefusal() noexcept {
        const bool tell = std::exchange(toTell, false);
        isTold = isTold || tell;
        return tell;
    }

private:
    [[nodiscard]] std::uint64_t freshCost() const noexcept {
        return readLimit != kUnlimited ? kFreshAccessCost : 0;
    }

    std::uint64_t readLimit;
    ValueBudget& valueBudget;
    std::uint64_t count = 0;
    std::uint64_t refusals = 0;
    bool toTell = false;
    bool isTold = false;
};

}  // namespace ifdsweep

#pragma once

// What the values and warnings of one call come to, against a limit.
//
// What is counted is neither memory nor output but bounds both, by numbers that are the same on
// every machine: a value counts its own 16 bytes and four times those of its elements, because
// written out an element takes up to about so many times what it takes in memory; a text that other
// values share counts in full, because each is written out; a place for a value, a cell or a field,
// counts for its name and indentation; a record counts for the file's name besides.
//
// A spent budget is told of once. Fresh accesses to the file are refused from then on
// (opened_file.h), so that the call ends with what it has. What it still makes of what was read is
// bounded too: arrays of records and cells get as many elements as there is room for, and a quarter
// of the budget is always there for them, so that a record of what was read is handed over; of
// further warnings the first `kLastWarnings` are kept.
//
// Ownership: plain numbers. Threads: one thread at a time.

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <optional>
#include <utility>

namespace host {

/// A budget of a file and its size, told once it is spent.
struct SpentBudget {
    std::uint64_t budget;
    std::uint64_t fileSize;
};

class ValueBudget {
public:
    static constexpr std::uint64_t kUnlimited = std::numeric_limits<std::uint64_t>::max();

    /// What a byte of an element counts.
    static constexpr std::uint64_t kElementWeight = 4;

    /// What a place for a value counts, in a record or cell array.
    static constexpr std::uint64_t kPlaceCost = 72;

    /// What a warning counts beside its arguments: its memory, and in the output its id and text.
    static constexpr std::uint64_t kWarningCost = 768;

    /// Warnings that are kept once the budget is spent: what became of the directory in hand.
    static constexpr std::uint64_t kLastWarnings = 1024;

    /// Begins a call that reads a file.
    /// @param recordCost what a record counts for the file's name
    void begin(std::uint64_t budget, std::uint64_t sizeOfFile, std::uint64_t recordCost) noexcept {
        end();
        limit = budget;
        fileSize = sizeOfFile;
        nameCost = recordCost;
    }

    /// Ends it: nothing is limited until the next one. What is to be told is kept.
    void end() noexcept {
        std::optional<SpentBudget> kept = takeSpent();
        *this = ValueBudget();
        toTell = kept;
    }

    /// Forgets what was to be told.
    void forgetWhatIsToTell() noexcept { toTell.reset(); }

    [[nodiscard]] std::uint64_t counted() const noexcept { return count; }
    [[nodiscard]] std::uint64_t recordCost() const noexcept { return nameCost; }

    void add(std::uint64_t cost) noexcept { count += cost; }

    /// Whether a fresh access to the file is refused.
    [[nodiscard]] bool refuses() noexcept {
        if (count < limit) {
            return false;
        }
        tell();
        return true;
    }

    /// Counts an array of places as far as there is room for it.
    /// @param cost of each element
    /// @return how many of `wanted` elements it may have, at least one of them
    [[nodiscard]] std::size_t grant(std::size_t wanted, std::uint64_t cost) noexcept {
        const std::uint64_t left = std::max(leftOf(limit, count), leftOf(limit / 4, placeCount));
        std::size_t granted = wanted;
        if (wanted > 1 && cost > 0 && left / cost < wanted) {
            granted = std::max<std::size_t>(static_cast<std::size_t>(left / cost), 1);
            tell();
        }
        count += granted * cost;
        placeCount += granted * cost;
        return granted;
    }

    /// Counts a warning; false when it is one too many.
    [[nodiscard]] bool takesWarning(std::uint64_t argumentCost) noexcept {
        if (count >= limit && ++lastWarnings > kLastWarnings) {
            tell();
            return false;
        }
        count += kWarningCost + argumentCost;
        return true;
    }

    /// The budget that was spent, once.
    [[nodiscard]] std::optional<SpentBudget> takeSpent() noexcept {
        return std::exchange(toTell, std::nullopt);
    }

private:
    [[nodiscard]] static std::uint64_t leftOf(std::uint64_t whole, std::uint64_t used) noexcept {
        return whole > used ? whole - used : 0;
    }

    void tell() noexcept {
        if (!std::exchange(isTold, true)) {
            toTell = SpentBudget{limit, fileSize};
        }
    }

    std::uint64_t limit = kUnlimited;
    std::uint64_t fileSize = 0;
    std::uint64_t nameCost = 0;
    std::uint64_t count = 0;
    std::uint64_t placeCount = 0;
    std::uint64_t lastWarnings = 0;
    bool isTold = false;
    std::optional<SpentBudget> toTell;
};

}  // namespace host

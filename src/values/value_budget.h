#pragma once

// What the values and warnings of one call come to, against a limit.
//
// What is counted is neither memory nor output but bounds both, by numbers that are the same on
// every machine: a value counts its own 16 bytes and four times those of its elements, because
// written out an element takes up to about so many times what it takes in memory; a text that other
// values share counts in full, because each is written out; a place for a value, a cell or a field,
// counts for its name and indentation; a record that names the file counts for its name besides.
//
// A spent budget is told of once. Fresh accesses to the file are refused from then on
// (opened_file.h), so that the call ends with what it has. What it still makes of what was read is
// bounded too: arrays of records and cells get as many elements as there is room for, and a quarter
// of the budget is always there for them, so that a record of what was read is handed over; of
// further warnings the first `kLastWarnings` are kept.
//
// Beside it, the memory that values take is held to what there is for them, which a budget that
// grows with the file knows nothing of: reading ends while there still is room for the record.
//
// Ownership: plain numbers, and a function of the host's owner. Threads: one thread at a time.

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <utility>

#include "ifdsweep/unlimited.h"

namespace ifdsweep {

/// A budget of a file and its size, told once it is spent.
struct SpentBudget {
    std::uint64_t budget;
    std::uint64_t fileSize;
};

/// Asks how many bytes the values of a call may take. Must not throw.
using MemoryBound = std::function<std::uint64_t()>;

class ValueBudget {
public:
    /// What a byte of an element counts.
    static constexpr std::uint64_t kElementWeight = 4;

    /// What a place for a value counts, in a record or cell array.
    static constexpr std::uint64_t kPlaceCost = 72;

    /// What a warning counts beside its arguments: its memory, and in the output its id and text.
    static constexpr std::uint64_t kWarningCost = 768;

    /// Warnings that are kept once the budget is spent: what became of the directory in hand.
    static constexpr std::uint64_t kLastWarnings = 1024;

    /// What a value takes beside its elements, with what its maker has to know it by.
    static constexpr std::uint64_t kValueMemory = 32;

    /// What a directory takes that its reader has in hand. Every one begins with a fresh access to
    /// the file before which no value was made.
    static constexpr std::uint64_t kDirectoryMemory = 512;

    /// Memory that values may always take: to ask how much there is would cost small files time.
    static constexpr std::uint64_t kFreeMemory = std::uint64_t{256} << 20;

    /// Begins a call that reads a file.
    /// @param recordCost what a record counts for the file's name
    /// @param bound      of the memory; empty for none; kept until `end`
    void begin(std::uint64_t budget, std::uint64_t sizeOfFile, std::uint64_t recordCost,
               const MemoryBound& bound) noexcept {
        end();
        memoryBound = bound ? &bound : nullptr;
        limit = budget;
        fileSize = sizeOfFile;
        nameCost = recordCost;
    }

    /// Ends it: nothing is limited until the next one. What is to be told is kept.
    void end() noexcept {
        const std::optional<SpentBudget> kept = takeSpent();
        const std::optional<SpentBudget> keptMemory = takeSpentMemory();
        *this = ValueBudget();
        toTell = kept;
        memoryToTell = keptMemory;
    }

    /// Whether there is something to be told.
    [[nodiscard]] bool hasSomethingToTell() const noexcept { return toTell || memoryToTell; }

    /// Forgets what was to be told.
    void forgetWhatIsToTell() noexcept {
        toTell.reset();
        memoryToTell.reset();
    }

    [[nodiscard]] std::uint64_t counted() const noexcept { return count; }
    [[nodiscard]] std::uint64_t recordCost() const noexcept { return nameCost; }

    void add(std::uint64_t cost) noexcept { count += cost; }

    /// Counts a value by the bytes of its elements.
    void addValue(std::uint64_t valueSize, std::uint64_t elementBytes) noexcept {
        count += valueSize + kElementWeight * elementBytes;
        memory += kValueMemory + elementBytes;
        hasMadeValue = true;
    }

    /// Counts a fresh access to the file.
    /// @return whether it is refused
    [[nodiscard]] bool refuses() noexcept {
        memory += std::exchange(hasMadeValue, false) ? 0 : kDirectoryMemory;
        if (count >= limit) {
            tell();
            return true;
        }
        if (memory <= kFreeMemory || memory < mostMemory()) {
            return false;
        }
        tellOfMemory();
        return true;
    }

    /// Counts an array of places as far as there is room for it.
    /// @param cost  of each element
    /// @param bytes of each element
    /// @return how many of `wanted` elements it may have, at least one of them
    [[nodiscard]] std::size_t grant(std::size_t wanted, std::uint64_t cost,
                                    std::uint64_t bytes) noexcept {
        const std::uint64_t left = std::max(leftOf(limit, count), leftOf(limit / 4, placeCount));
        std::size_t granted = wanted;
        if (wanted > 1 && cost > 0 && left / cost < wanted) {
            granted = std::max<std::size_t>(static_cast<std::size_t>(left / cost), 1);
            tell();
        }
        // Half as much again is there for records, so that what was read can be handed over.
        if (granted > 1 && bytes > 0 && granted > kFreeMemory / bytes) {
            const std::uint64_t room = leftOf(mostMemory() + mostMemory() / 2, memory) / bytes;
            if (room < granted) {
                granted = std::max<std::size_t>(static_cast<std::size_t>(room), 1);
                tellOfMemory();
            }
        }
        memory += granted * bytes;
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

    /// The memory that was spent, once.
    [[nodiscard]] std::optional<SpentBudget> takeSpentMemory() noexcept {
        return std::exchange(memoryToTell, std::nullopt);
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

    void tellOfMemory() noexcept {
        if (!std::exchange(isMemoryTold, true)) {
            memoryToTell = SpentBudget{mostMemory(), fileSize};
        }
    }

    /// Asks for the bound once a call.
    [[nodiscard]] std::uint64_t mostMemory() noexcept {
        if (memoryBound != nullptr) {
            memoryLimit = std::min((*std::exchange(memoryBound, nullptr))(), kMostMemory);
        }
        return memoryLimit;
    }

    /// More than any machine has, and half as much again is still a number.
    static constexpr std::uint64_t kMostMemory = std::uint64_t{1} << 62;

    std::uint64_t limit = kUnlimited;
    std::uint64_t fileSize = 0;
    std::uint64_t nameCost = 0;
    std::uint64_t count = 0;
    std::uint64_t placeCount = 0;
    std::uint64_t lastWarnings = 0;
    bool isTold = false;
    std::optional<SpentBudget> toTell;
    const MemoryBound* memoryBound = nullptr;  ///< not yet asked
    std::uint64_t memoryLimit = kMostMemory;
    std::uint64_t memory = 0;
    bool hasMadeValue = false;  ///< since the last fresh access
    bool isMemoryTold = false;
    std::optional<SpentBudget> memoryToTell;
};

}  // namespace ifdsweep

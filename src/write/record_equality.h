#pragma once

// Record equality: which elements of a record array hold the same values. The fields of the file
// are left out, since they are the same everywhere; those of placement may differ or not; numbers
// are the same when they are shown the same, so that a NaN equals a NaN.
//
// Every value is hashed at most once and compared at most once with each other one that it is asked
// about, however deep it is nested.
//
// Ownership: borrows the records that it was asked about, which must stay as they are while it is
// used. Threads: one at a time.

#include <cstddef>
#include <cstdint>
#include <unordered_map>
#include <vector>

#include "values/value.h"
#include "write/field_roles.h"

namespace ifdsweep {

/// Whether fields of placement tell directories apart.
enum class Placement : std::uint8_t { ignored, counted };

class RecordEquality {
public:
    explicit RecordEquality(Placement rule) : placement(rule) {}

    /// A hash of the values that count of each element; equal elements have equal ones.
    [[nodiscard]] const std::vector<std::uint64_t>& hashes(const Value& records);

    /// Whether two elements hold the same values, and where their placement differs nevertheless.
    /// @param differing takes up the fields of placement that differ, when the elements are equal
    [[nodiscard]] bool areEqual(const Value& records, std::size_t one, std::size_t other,
                                PlacementSet& differing) const;

private:
    struct Element {
        const Value& records;
        std::size_t index;
    };

    [[nodiscard]] bool isPlacement(std::string_view name) const {
        return placement == Placement::ignored && placementOf(name) != 0;
    }
    [[nodiscard]] std::uint64_t hashOf(const Value* value, std::string_view name);
    [[nodiscard]] std::uint64_t hashOf(Element element);
    [[nodiscard]] bool areEqual(Element one, Element other, PlacementSet& differing) const;
    [[nodiscard]] bool areEqual(const Value* one, const Value* other,
                                PlacementSet& differing) const;

    Placement placement;
    std::unordered_map<const Value*, std::vector<std::uint64_t>> known;  ///< of nested chains
};

}  // namespace ifdsweep

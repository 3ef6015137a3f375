#pragma once

// Directory folding: how a chain is shown where directories are the same but for their placement.
// The first of each kind is shown whole; those after it that equal it are told of in a line for as
// many as follow each other, such as "Directories 1 to 19,999: as 0 but for Offset, StripOffsets".
//
// The work is linear in the values of the chain, but for a search of logarithmic time for each
// directory: an earlier equal one is found by its hash, and compared with that one alone.
//
// Ownership: borrows the records of one file, as RecordEquality does. Threads: one at a time.

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "values/value.h"
#include "write/field_roles.h"
#include "write/record_equality.h"

namespace ifdsweep {

/// A directory that is shown whole, or consecutive ones that equal some which are.
struct ChainPart {
    /// In which order they equal their models.
    enum class Order : std::uint8_t { inTurn, mixed };

    std::size_t first = 0;
    std::size_t last = 0;
    std::vector<std::size_t> models{};  ///< whom they equal, ascending; empty for one shown whole
    Order order = Order::inTurn;
    PlacementSet differing = 0;  ///< the fields in which some of them differ from their models

    [[nodiscard]] bool isFolded() const { return !models.empty(); }
};

class DirectoryFolding {
public:
    explicit DirectoryFolding(Placement placement) : equality(placement) {}

    /// A chain in parts, from its first directory to its last.
    [[nodiscard]] std::vector<ChainPart> partsOf(const Value& records);

private:
    RecordEquality equality;
};

/// Which directories a folded part has: "Directory 1", "Directories 1 to 19,999".
/// @param path the way to the chain, such as `0/SubIFDs[0]`
[[nodiscard]] std::string foldedDirectories(const ChainPart& part, const std::string& path);

/// What they are: "as 0 but for Offset", "as 0 to 2 in turn".
[[nodiscard]] std::string foldedLikeness(const ChainPart& part, const std::string& path);

}  // namespace ifdsweep

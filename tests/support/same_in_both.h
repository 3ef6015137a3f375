#pragma once

// The files on which the contract's reading and the full one are the same. Any thread.

#include <cstdint>
#include <span>

#include "ifdsweep/entry_sink.h"

namespace fixture {

/// Whether the header says the layout that the first bytes of the file say.
/// @param initialOffset of the call
[[nodiscard]] bool headerFits(std::span<const std::uint8_t> file, double initialOffset);

/// Finds what the two read in different ways, while the contract's reading goes on: whole integers
/// of 8 bytes, pointers of types that are no offset or half of one, and a nested directory too
/// large for its segment, which the contract drops with all that was read of its pointer.
class DifferenceFinder final : public ifdsweep::EntrySink {
public:
    void directoryBegins(const ifdsweep::DirectoryFacts& /*directory*/) override {}
    void directoryEnds(const ifdsweep::DirectoryFacts& /*directory*/, bool /*isKept*/) override {}
    void entry(const ifdsweep::DirectoryFacts& directory,
               const ifdsweep::EntryFacts& entry) override;
    void warning(const qxMessage& message, const ifdsweep::WarningFacts& place) override;

    /// Whether nothing of the kind was met.
    [[nodiscard]] bool isSame() const { return same; }

private:
    bool same = true;
};

}  // namespace fixture

#pragma once

// Place recorder: where each of a host's warnings arose, told by the walk that gave them.
//
// Ownership: borrows the host and the next sink. Threads: that of the walk.

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "host/host_parts.h"
#include "ifdsweep/entry_sink.h"
#include "ifdsweep/read.h"

namespace ifdsweep {

/// The way to a directory as the text format prints it, such as `0/SubIFDs[1]/0`.
[[nodiscard]] std::string pathOf(const DirectoryFacts& directory);

/// Appends to the way to a directory's parent how it goes on to the directory.
/// @param directory its parent is not looked at
/// @param path empty in the primary chain
void appendStep(const DirectoryFacts& directory, std::string& path);

/// Counts a text that is shown, such as a path, against the budget of values, as far as it is
/// longer than what an entry or a warning counts of itself.
void countShown(HostParts& host, std::uint64_t length);

class PlaceRecorder final : public EntrySink {
public:
    /// @param nextSink told everything too; null: nobody is
    PlaceRecorder(HostParts& hostParts, EntrySink* nextSink) noexcept
        : host(hostParts), next(nextSink), collectedBefore(hostParts.collectedCount()) {}

    /// As the next sink: entries are no places.
    [[nodiscard]] bool hearsEntries() const noexcept override {
        return next != nullptr && next->hearsEntries();
    }
    void streamBegins(const StreamFacts& stream) override;
    void directoryBegins(const DirectoryFacts& directory) override;
    void directoryEnds(const DirectoryFacts& directory, bool isKept) override;
    void entry(const DirectoryFacts& directory, const EntryFacts& entry) override;
    void warning(const qxMessage& message, const WarningFacts& place) override;

    /// The places of the host's warnings. Those that are not of the walk have none, and after it
    /// the places themselves may be missing.
    [[nodiscard]] std::vector<WarningPlace>& places() noexcept { return recorded; }

private:
    [[nodiscard]] const std::string& cachedPath(const DirectoryFacts& directory);

    HostParts& host;
    EntrySink* next;
    std::size_t collectedBefore;  ///< warnings that are not of this walk
    std::vector<WarningPlace> recorded;
    std::optional<DirectoryFacts> pathOwner;  ///< whose path is kept; its texts may be gone
    std::string path;
};

}  // namespace ifdsweep

#pragma once

// Image checker: hears a walk for the checks (check/directory_check.h), and tells what they found
// with its place. What a filter leaves out and the checks need is read for them, and kept from who
// asked for less.
//
// Ownership: borrows the host, the next sink and the filter. Threads: that of the walk.

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "check/directory_check.h"
#include "host/host_parts.h"
#include "ifdsweep/byte_source.h"
#include "ifdsweep/entry_sink.h"
#include "ifdsweep/read.h"
#include "ifdsweep/reading.h"

namespace ifdsweep {

/// A filter that asks for what the checks need too.
[[nodiscard]] TagFilter withCheckedTags(const TagFilter& filter);

class ImageChecker final : public EntrySink {
public:
    /// @param nextSink told all of the walk too, but for entries that the filter does not ask for
    /// @param tagsOfNext what the next sink is to hear of; null: everything
    /// @param roleOfFirst of the first directory of the walk
    ImageChecker(HostParts& hostParts, EntrySink& nextSink, const TagFilter* tagsOfNext,
                 const StreamExtent& streamExtent, DirectoryRole roleOfFirst) noexcept
        : host(hostParts),
          next(nextSink),
          asked(tagsOfNext),
          extent(streamExtent),
          firstRole(roleOfFirst) {}

    void directoryBegins(const DirectoryFacts& directory) override;
    void directoryEnds(const DirectoryFacts& directory, bool isKept) override;
    void entry(const DirectoryFacts& directory, const EntryFacts& entry) override;
    void warning(const qxMessage& message, const WarningFacts& place) override;

    /// Looks at the bytes that the checks want to see, once the walk has ended.
    void lookAtBytes(const ByteSource& file);

    /// What was found, in the order of the directories, then of the file as a whole.
    [[nodiscard]] std::vector<Warning> takeWarnings();

private:
    struct OpenDirectory {
        std::size_t number = 0;  ///< among those that have begun
        ImageFields fields{};
    };
    struct CheckedDirectory {
        std::size_t number;
        std::string path;
        DirectoryFindings found;
    };

    [[nodiscard]] bool isForNext(const DirectoryFacts& directory, std::uint16_t tag) const;
    void keepAffordable(std::vector<Finding>& findings, const std::string& path);

    HostParts& host;
    EntrySink& next;
    const TagFilter* asked;
    StreamExtent extent;
    DirectoryRole firstRole;
    std::size_t begun = 0;
    std::size_t probesLeft = kMostJpegProbes;
    std::vector<OpenDirectory> open;  ///< on the way of the walk
    std::vector<CheckedDirectory> checked;
};

}  // namespace ifdsweep

#pragma once

// File packer: listens to the reading of a file and packs what it heard together with the outcome.
// Its tables are used for one file after another, so that a small file costs one allocation.
//
// Ownership: owns what it heard until it packs it. Threads: one at a time.

#include <memory>
#include <span>
#include <string_view>

#include "ifdsweep/entry_sink.h"
#include "ifdsweep/read.h"
#include "pack/packed_file.h"

namespace ifdsweep {

class FilePacker final : public EntrySink {
public:
    FilePacker();
    ~FilePacker() override;

    /// Forgets what was heard; to be called before each file is read.
    void begin();

    void streamBegins(const StreamFacts& stream) override;
    void directoryBegins(const DirectoryFacts& directory) override;
    void directoryEnds(const DirectoryFacts& directory, bool isKept) override;
    void entry(const DirectoryFacts& directory, const EntryFacts& entry) override;
    void warning(const qxMessage& message, const WarningFacts& place) override;

    /// Packs the outcome of the file that was heard of. The outcome's values are not needed after
    /// that. Throws std::bad_alloc, also for what passes the numbers of rows.
    [[nodiscard]] PackedFile pack(const Outcome& outcome);

private:
    class Parts;
    const std::unique_ptr<Parts> parts;
};

}  // namespace ifdsweep

#pragma once

// Unpack: a packed file as those see it who saw it read: an outcome for writers, and the walk for
// sinks. What is written of either is what would have been written at once.
//
// Ownership: an outcome's values belong to the host. Threads: one at a time.

#include "ifdsweep/entry_sink.h"
#include "ifdsweep/host.h"
#include "ifdsweep/read.h"
#include "pack/packed_file.h"

namespace ifdsweep {

/// The outcome, with values of the host's. Throws std::bad_alloc.
[[nodiscard]] Outcome unpackOutcome(const PackedFile& file, Host& host);

/// The outcome without its records: messages, origins, stamp.
[[nodiscard]] Outcome unpackMessages(const PackedFile& file);

/// A warning or an error. Throws std::bad_alloc.
[[nodiscard]] qxMessage unpackMessage(const PackedFile& file, const PackedMessageRow& message);

/// An entry as a sink of the walk was told of it; its texts and bytes are those of the file.
[[nodiscard]] EntryFacts entryFacts(const PackedFile& file, const PackedEntryRow& entry);

/// Tells a sink of the directories and entries of the walk, in its order; of warnings it is not
/// told.
void replay(const PackedFile& file, EntrySink& sink);

}  // namespace ifdsweep

#pragma once

// Facts line: the parts of the line of JSON that tells of one entry exactly (facts_writer.h), and
// the names in it. Plain functions over an Output of the caller, which throw its OutputError; any
// thread.

#include <string_view>

#include "ifdsweep/entry_sink.h"
#include "ifdsweep/read.h"
#include "io/output.h"

namespace ifdsweep {

/// What a directory describes, in a word.
[[nodiscard]] std::string_view kindName(DirectoryKind kind) noexcept;

/// Appends the beginning of a line: a brace and the members of file and stream.
/// @param file in system bytes
void appendLineStart(Output& output, std::string_view file, const StreamOrigin& stream);

/// Appends the members that tell where an entry stands, each with a comma before it.
void appendDirectoryMembers(Output& output, std::string_view path, DirectoryKind kind);

/// Appends the members of the entry itself, each with a comma before it.
void appendEntryMembers(Output& output, const EntryFacts& entry);

}  // namespace ifdsweep

#pragma once

// Pager: long output on a terminal goes through a program that shows it a screenful at a time. The
// process splits in two before it has done anything: the first one starts the pager and waits, the
// second one does the work, with the pager as its standard output, and as its standard error too
// where that is the same terminal.
//
// Ownership: no process outlives the first one but by the user's wish (a pager in the background).
// Threads: the only one of the process.

#include <cstdint>
#include <optional>
#include <string_view>

namespace ifdsweep {

/// Whether the standard output is a terminal where a pager can be: the process's own, with the
/// process in its foreground, and no dumb one.
[[nodiscard]] bool hasTerminalForPager();

/// Whether a text needs no pager, since the terminal shows all of it at once.
[[nodiscard]] bool fitsTerminal(std::string_view text);

/// Whether work whose output nobody was shown can be done again. What came through the standard
/// input is gone then.
enum class WorkAgain : std::uint8_t { forbidden, allowed };

/// Starts the pager that IFDSWEEP_PAGER or PAGER names, else less; none where the name is empty or
/// cat. Returns in the process that goes on: nothing, with or without a pager between it and the
/// terminal. The first process waits for the pager and for the other one, whose exit status is
/// then returned in it; it passes SIGTERM and SIGHUP on to both, and leaves an interrupt to them.
/// Where a shell does not find the pager, the work is done again without it, or ends as one whose
/// output is closed.
[[nodiscard]] std::optional<int> splitForPager(WorkAgain workAgain);

}  // namespace ifdsweep

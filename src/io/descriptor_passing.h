#pragma once

// Descriptor passing: bytes with open files between the processes of this program.
//
// Ownership: files that come are the receiver's. Plain functions; any thread, one at a socket's
// end.

#include <cstddef>
#include <span>
#include <string_view>
#include <vector>

#include <sys/types.h>

#include "io/descriptor.h"

namespace ifdsweep {

/// Most files that go with one piece of bytes.
inline constexpr std::size_t kMostPassed = 2;

/// Sends bytes, as many as go, and with the first of them files.
/// @return how many went; -1 with errno when nothing did
[[nodiscard]] ssize_t sendWithFiles(int socket, std::string_view bytes, std::span<const int> files,
                                    int flags);

/// What came at once.
struct Received {
    ssize_t size = 0;  ///< bytes; 0 at the end, -1 with errno for none
    /// Those that came with the last of the bytes.
    std::vector<Descriptor> files;
    bool lostFiles = false;  ///< whether some came for which this process had no room
};

/// Receives bytes, up to the first with which files come.
/// @param most files
[[nodiscard]] Received receiveWithFiles(int socket, std::span<char> bytes, std::size_t most,
                                        int flags);

}  // namespace ifdsweep

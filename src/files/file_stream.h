#pragma once

// File stream: the stdio stream that the contract gives the module of a file, whose reading ahead
// and seeking back cost the file's budget nothing.
//
// What the C library reads ahead of the module counts until the next seek or the closing of the
// stream, when what was left unread is taken back.
//
// Ownership: a stream shares its file; the caller closes it. Threads: one at a time.

#include <cstdio>
#include <memory>

namespace ifdsweep {

class OpenedFile;

/// A stream on a file, at its beginning. Throws std::bad_alloc.
[[nodiscard]] std::FILE* openStream(std::shared_ptr<OpenedFile> file);

}  // namespace ifdsweep

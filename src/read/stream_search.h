#pragma once

// Stream search: what a file is by its first bytes, and the TIFF streams that it carries.
//
// Ownership: borrows the file for the call. Threads: any. Errors: std::bad_alloc alone.

#include <optional>
#include <vector>

#include "ifdsweep/byte_source.h"
#include "ifdsweep/qx.h"
#include "ifdsweep/read.h"
#include "locate/containers.h"

namespace ifdsweep {

/// What a search found.
struct StreamSearch {
    bool isImage = true;                   ///< false: to be left alone
    const Container* container = nullptr;  ///< null: the file itself is the stream, or none
    Located located{};                     ///< in the container

    /// Whether there is something to be read, whatever a byte says that could not be.
    [[nodiscard]] bool isFoundOut() const noexcept {
        return container != nullptr ? !located.streams.empty() : isImage;
    }
};

/// Looks at the first bytes of a file, and for the streams of a container unless their position is
/// given. If images alone are asked for, what is to be left alone is a file of another format, and
/// a container that is whole and has no stream.
[[nodiscard]] StreamSearch searchStreams(const ByteSource& file, const ReadOptions& options);

/// The error of a container without a stream; nothing where there is one, or the file is none.
[[nodiscard]] std::optional<qxMessage> errorOf(const StreamSearch& search);

/// What there is to say of a container beside the streams that are read of it, of a full reading.
[[nodiscard]] std::vector<qxMessage> warningsOf(const StreamSearch& search,
                                                const ReadOptions& options);

}  // namespace ifdsweep

#pragma once

// TiffStream writes TIFF files that are too large to be built in memory: one directory after the
// other, each followed by its data. Little-endian, no nested directories; everything smaller or
// more involved is built by `fixture::TiffBuilder`.
//
// Ownership: the stream owns its file. Threads: one at a time.

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "support/tiff_builder.h"

namespace bench {

/// Where the data of an entry are written to.
class ByteWriter {
public:
    /// Creates the file. Throws std::system_error when that fails, as every write does.
    explicit ByteWriter(const std::string& path);

    void word(std::size_t width, std::uint64_t value);
    void bytes(std::string_view text);
    /// `size` bytes of a fixed pattern that no compressor of pages finds equal.
    void pattern(std::uint64_t size);

    /// Bytes written so far.
    [[nodiscard]] std::uint64_t position() const { return written; }

    /// Writes what is buffered. Call it at the end; destruction reports nothing.
    void finish();

private:
    struct Closer {
        void operator()(std::FILE* stream) const noexcept { std::fclose(stream); }
    };

    std::unique_ptr<std::FILE, Closer> file;
    std::uint64_t written = 0;
};

/// One entry: a value that fits in the entry, or data that `write` puts out.
struct StreamEntry {
    std::uint16_t tag;
    std::uint16_t type;
    std::uint64_t count;
    std::uint64_t value;         ///< in the entry, when there is no `write`
    std::uint64_t dataSize = 0;  ///< bytes that `write` puts out
    std::function<void(ByteWriter&)> write = nullptr;
};

/// Whether another directory follows.
enum class Next : std::uint8_t { none, directory };

class TiffStream {
public:
    TiffStream(const std::string& path, fixture::Layout layout);

    /// Writes a directory and its data behind what is there.
    void add(const std::vector<StreamEntry>& entries, Next next);

    void finish() { output.finish(); }

private:
    fixture::Format format;
    ByteWriter output;
};

}  // namespace bench

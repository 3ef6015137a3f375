#pragma once

// An open TIFF stream as the readers of entries, directories and chains see it: its layout and byte
// order, primitive reads, seeks, the facts of its file, and the buffers that are used again for
// every entry and directory. `TagFile` opens it, reads its header and owns it. Every reader holds a
// plain pointer to it and reads its members; the buffers are theirs to use. One thread.
//
// Members are defined in tiff_stream.cpp and modification_date.cpp.

#include <array>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <utility>
#include <vector>

#include "adapter/messages.h"
#include "adapter/values.h"
#include "dict/ifd_type.h"
#include "ifdsweep/reading.h"
#include "stream/known_tag.h"
#include "stream/scratch_buffer.h"
#include "stream/walk_report.h"
#include "stream/wide.h"

namespace ifdsweep::module {

/// Layout of a file, decided by its first bytes.
enum class FileFormat : std::uint32_t {
    jpeg = 0,         ///< a JPEG whose Exif block holds a classic TIFF stream, or another carrier
    classicTiff = 1,  ///< TIFF 6.0
    bigTiff = 2,      ///< BigTIFF, and everything that is neither of the others
};

class TiffStream {
public:
    /// Nested directories lie at most so many levels below the primary chain. Real files nest
    /// three deep; a level takes about 1.2 KiB of stack (1,216 bytes measured in the release build,
    /// 1,440 in the debug build), so that all fit a thread of 128 KiB.
    static constexpr unsigned kMaximumNesting = 64;

    TiffStream(const TiffStream&) = delete;
    TiffStream& operator=(const TiffStream&) = delete;
    virtual ~TiffStream() = default;

    /// Reads the chain of nested directories that begins at the stream's position. Throws as
    /// `IFDTree`.
    /// @param records receives its record array, if it has a directory and is to be shown
    /// @return how many directories it has
    virtual std::size_t readChain(IFDtype_t_ kind, bool isShown, OwnedValue& records) = 0;

    // Primitive readers. Those of the stream return the number of items read, 1 or 0, and set
    // `out` to 0 when there is none.

    [[nodiscard]] std::size_t freadNextIfdOffset(std::uint64_t& out);
    [[nodiscard]] std::size_t freadNumDirectoryEntries(std::uint64_t& out);
    [[nodiscard]] std::uint64_t readTagDataOffset(const std::uint8_t* entry) const;
    [[nodiscard]] std::uint64_t readTagNumComponents(const std::uint8_t* entry) const;

    // The stream.

    /// Reads up to `itemCount` items; returns how many were read in full.
    [[nodiscard]] std::size_t read(void* out, std::size_t itemSize, std::size_t itemCount);

    /// Reads the entries of a directory, so many bytes, into the buffer of this level of nesting.
    /// When the file ends before them: the whole entries before its end if the rules read cut
    /// tables, nothing otherwise. No memory is taken for what the file cannot hold.
    [[nodiscard]] std::span<const std::uint8_t> readEntries(Wide size);

    /// Moves to a position from the start of the file. False when there is no such position or
    /// the move fails; the stream is then where it was.
    bool seekTo(Wide target);

    /// Moves to the data of a tag. Most data stand one after the other, and to read over the few
    /// bytes between them costs less than to seek. False as `seekTo`, the stream then anywhere.
    bool seekToData(Wide target);

    [[nodiscard]] std::uint64_t position() const;
    [[nodiscard]] std::uint64_t baseOffset() const {
        return static_cast<std::uint64_t>(tiffBaseOffset);
    }

    /// The modification time as "%d-%b-%Y %H:%M:%S", formatted once a call; empty when it cannot
    /// be formatted.
    [[nodiscard]] const std::string& modificationDate();

    /// Gives a warning with the arguments of its catalogue row, and tells the sink where; reading
    /// goes on.
    template <auto message, class... Arguments>
    [[gnu::always_inline]] inline void warn(Arguments&&... arguments);

    /// Keeps account of a value that is too long to be loaded.
    /// @param description its tag, field type, count and position
    void countLongValue(const std::string& description);

    /// Whether a description of one more of them is wanted: of the first few.
    [[nodiscard]] bool describesLongValues() const { return longValues < kDescribed; }

    /// Warns `valuesNotLoaded` when there were such values.
    void warnOfLongValues();

    struct StreamCloser {
        void operator()(std::FILE* stream) const noexcept { std::fclose(stream); }
    };

    using Stream = std::unique_ptr<std::FILE, StreamCloser>;

    const ReadingRules rules;
    const TagFilter* filter;  ///< not owned; null: everything is read
    const std::uint64_t longestValue;
    WalkReport report;
    const bool watched;  ///< entries are told of or passed over

    FileFormat fileFormat = FileFormat::bigTiff;
    const char* carrier;  ///< see `Reading::carrier`
    qxFileStatus fileStatus;
    Stream file;
    std::u16string filename;
    std::uint64_t maxIfdCount;
    std::uint64_t offsetSize = 8;  ///< bytes of an offset, and of data that fit in an entry
    bool needsByteSwap = false;
    std::uint64_t entrySize = 20;
    std::int64_t tiffBaseOffset = 0;  ///< file position of the header; all offsets start there
    std::uint64_t valueOffsetPosition = 12;
    std::uint64_t entryCountSize = 8;
    std::array<std::uint8_t, 2> headerByteOrder{};
    std::array<std::uint8_t, 2> headerVersion{};  ///< the version word in file order
    std::span<const char* const> defaultFieldNames;

    unsigned nestingDepth = 0;  ///< 0 while the primary chain is read
    ScratchBuffer dataBuffer;   ///< data of the entry that is being decoded
    /// Entries of the directory that is being read, one buffer for each level of nesting.
    std::array<ScratchBuffer, kMaximumNesting + 1> entryBuffers;
    /// Room for the tags of that directory, at each level.
    std::array<std::vector<KnownTag>, kMaximumNesting + 1> tagBuffers;

protected:
    /// Nothing is opened yet.
    TiffStream(std::u16string name, std::uint64_t maximumCount, const Reading& reading)
        : rules(reading.rules),
          filter(reading.filter),
          longestValue(reading.longestValue),
          report(reading.sink),
          watched(report.tellsEntries() || filter != nullptr),
          carrier(reading.carrier),
          filename(std::move(name)),
          maxIfdCount(maximumCount) {}

    /// Sets the widths of classic TIFF or BigTIFF; a JPEG has those of classic TIFF.
    void setLayout(FileFormat format);
    [[nodiscard]] std::uint64_t unsignedAt(const std::uint8_t* bytes, std::size_t width) const;
    bool moveForward(Wide distance);

private:
    static constexpr std::uint64_t kDescribed = 8;

    [[nodiscard]] std::size_t readUnsigned(std::size_t width, std::uint64_t& out);
    bool readOver(Wide byteCount);

    /// Where the stream is; unknown after a read that came short.
    std::optional<std::uint64_t> knownPosition = 0;
    std::optional<std::string> formattedDate;
    std::uint64_t longValues = 0;  ///< that were not loaded
    std::string longValueTexts;    ///< of the first of them
};

/// Gives a warning, of a stream if there is one. It has a frame of its own: a message would make
/// the frames of the readers, which recurse, several times as large.
template <auto message, class... Arguments>
[[gnu::noinline]] void warnOf(TiffStream* stream, Arguments&&... arguments) {
    const Message<message> warning(std::forward<Arguments>(arguments)...);
    qxWarningMsgId(warning);
    if (stream != nullptr && stream->report.isOn()) {
        stream->report.warned(warning, stream->needsByteSwap);
    }
}

template <auto message, class... Arguments>
inline void TiffStream::warn(Arguments&&... arguments) {
    warnOf<message>(this, std::forward<Arguments>(arguments)...);
}

}  // namespace ifdsweep::module

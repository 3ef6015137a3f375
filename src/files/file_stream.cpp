#include "files/file_stream.h"

#include <algorithm>
#include <cerrno>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <new>
#include <optional>
#include <span>
#include <utility>

#include <stdio_ext.h>
#include <sys/types.h>

#include "files/opened_file.h"

#ifndef __GLIBC__
#error "what a stream has read ahead is looked up in glibc's FILE: build with glibc"
#endif

namespace ifdsweep {

namespace {

// The C library's buffer of a stream. On every seek the library goes back to a multiple of a power
// of two below the place, `place & ~(size - 1)`, and reads ahead from there; with this size it only
// clears the one bit `kBufferBit` of the place.
constexpr std::size_t kBufferBit = std::size_t{64} * 1024;
constexpr std::size_t kBufferSize = kBufferBit + 1;

// What the library gets at once: little after a jump, more while reads go on in sequence.
constexpr std::size_t kFirstPiece = 512;

/// The state of one stream. Nothing in it throws: it is called from inside the C library.
struct Stream {
    using Access = OpenedFile::Access;

    explicit Stream(std::shared_ptr<OpenedFile> openedFile)
        : file(std::move(openedFile)),
          buffer(std::make_unique_for_overwrite<char[]>(kBufferSize)) {}

    [[nodiscard]] ssize_t read(std::span<std::byte> target) noexcept {
        if (std::exchange(cameShort, false) || target.empty()) {
            // The C library asks on for the rest of a read that came short; one answer is enough.
            return 0;
        }
        const Access before = access;
        const auto piece = target.first(std::min(target.size(), pieceSize));
        const ssize_t bytes = file->read(position, piece, access);
        const auto delivered = static_cast<std::size_t>(std::max<ssize_t>(bytes, 0));
        firstRead.reset();
        if (before.start == Access::Start::afterSeek) {
            firstRead = FirstRead{access.start == Access::Start::going, delivered};
        }
        pieceSize = std::min(2 * pieceSize, kBufferBit);
        position += delivered;
        cameShort = bytes > 0 && delivered < piece.size();
        return bytes;
    }

    [[nodiscard]] int seek(off64_t& offset, int origin) noexcept {
        if (origin == SEEK_CUR && offset == 0) {
            // Asks for the position, or moves to where the reading ahead has come.
            cameShort = false;
            offset = static_cast<off64_t>(position);
            return 0;
        }
        // The C library seeks in two steps when the bit of its buffer is set: it goes to the place
        // without the bit, reads, and goes on by what is missing. What was read in between is
        // thrown away unseen.
        const bool isSecondStep = origin == SEEK_CUR && firstRead &&
                                  offset == static_cast<off64_t>(kBufferBit - firstRead->bytes);
        if ((!isSecondStep && !file->seek()) || !move(offset, origin, isSecondStep)) {
            errno = EINVAL;
            return -1;
        }
        offset = static_cast<off64_t>(position);
        return 0;
    }

    /// What the C library has read ahead of its reader.
    [[nodiscard]] std::uint64_t unread() const noexcept {
        return static_cast<std::uint64_t>(handle->_IO_read_end - handle->_IO_read_ptr);
    }

    std::shared_ptr<OpenedFile> file;
    std::unique_ptr<char[]> buffer;  ///< the C library's
    std::FILE* handle = nullptr;

private:
    /// Begins an access at another position; false when that would leave 0 to 2^63 - 1.
    bool move(off64_t offset, int origin, bool isSecondStep) noexcept {
        const std::uint64_t base = origin == SEEK_SET   ? 0
                                   : origin == SEEK_CUR ? position
                                                        : file->size();
        // Base and offset are below 2^63, so their sum fits and only its range is to be tested.
        const std::uint64_t target = base + static_cast<std::uint64_t>(offset);
        if (target > static_cast<std::uint64_t>(std::numeric_limits<off64_t>::max())) {
            return false;
        }
        if (!isSecondStep) {
            file->budget().takeBack(unread());
        } else if (firstRead->begun) {
            file->takeBackAccess(firstRead->bytes);
        }
        position = target;
        access = Access{.start = Access::Start::afterSeek};
        firstRead.reset();
        pieceSize = kFirstPiece;
        cameShort = false;
        return true;
    }

    /// The last read, when it was the first one after a seek.
    struct FirstRead {
        bool begun;  ///< false when it was refused
        std::size_t bytes;
    };

    std::uint64_t position = 0;
    Access access;
    std::optional<FirstRead> firstRead;
    std::size_t pieceSize = kFirstPiece;
    bool cameShort = false;
};

Stream& streamOf(void* cookie) noexcept {
    return *static_cast<Stream*>(cookie);
}

ssize_t readStream(void* cookie, char* target, std::size_t length) noexcept {
    return streamOf(cookie).read(std::as_writable_bytes(std::span(target, length)));
}

int seekStream(void* cookie, off64_t* offset, int origin) noexcept {
    return streamOf(cookie).seek(*offset, origin);
}

int closeStream(void* cookie) noexcept {
    const std::unique_ptr<Stream> closed(&streamOf(cookie));
    closed->file->budget().takeBack(closed->unread());
    return 0;
}

}  // namespace

std::FILE* openStream(std::shared_ptr<OpenedFile> file) {
    auto stream = std::make_unique<Stream>(std::move(file));
    const cookie_io_functions_t operations{
        .read = readStream, .write = nullptr, .seek = seekStream, .close = closeStream};
    std::FILE* opened = ::fopencookie(stream.get(), "r", operations);
    if (opened == nullptr) {
        throw std::bad_alloc();
    }
    stream->handle = opened;
    static_cast<void>(std::setvbuf(opened, stream->buffer.get(), _IOFBF, kBufferSize));
    static_cast<void>(stream.release());  // the stream's close function frees it
    // One thread uses the stream: no lock is needed at every read.
    static_cast<void>(::__fsetlocking(opened, FSETLOCKING_BYCALLER));
    return opened;
}

}  // namespace ifdsweep

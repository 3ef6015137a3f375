#pragma once

// Descriptor: an open file descriptor that is closed with its owner. Temporary files: unlinked as
// soon as they are made, so that nothing is left of them however the program ends.
//
// Ownership: a Descriptor owns its number. Threads: one at a time.

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <utility>

#include <sys/types.h>
#include <unistd.h>

namespace ifdsweep {

class Descriptor {
public:
    Descriptor() = default;
    explicit Descriptor(int openDescriptor) noexcept : number(openDescriptor) {}
    Descriptor(Descriptor&& other) noexcept : number(other.release()) {}
    Descriptor& operator=(Descriptor&& other) noexcept {
        if (this != &other) {
            reset(other.release());
        }
        return *this;
    }
    ~Descriptor() { reset(); }

    [[nodiscard]] int get() const noexcept { return number; }
    [[nodiscard]] bool isOpen() const noexcept { return number >= 0; }
    [[nodiscard]] int release() noexcept { return std::exchange(number, -1); }
    void reset(int openDescriptor = -1) noexcept {
        if (number >= 0) {
            static_cast<void>(::close(number));
        }
        number = openDescriptor;
    }

private:
    int number = -1;
};

/// What tells one file or folder from every other.
using FileIdentity = std::pair<dev_t, ino_t>;

/// The identity of an open regular file; none for everything else.
[[nodiscard]] std::optional<FileIdentity> identityOf(int descriptor);

/// The system's text for a value of errno.
[[nodiscard]] std::string systemErrorText(int error);

/// Lets the process have as many open files as the system allows it.
void raiseDescriptorLimit();

/// How many open files the process may have.
[[nodiscard]] std::uint64_t descriptorLimit();

/// Makes a file without a name in TMPDIR (default: /tmp) for writing and reading. Throws
/// RunFailure.
[[nodiscard]] Descriptor makeTemporaryFile();

/// Reads bytes from a position. Returns how many, fewer than asked for only at the end or before a
/// failure, which the next read then shows; -1 with errno set when there were none.
[[nodiscard]] std::ptrdiff_t readAt(int descriptor, std::uint64_t position,
                                    std::span<std::byte> target) noexcept;

/// Reads at most `size` bytes from a position, all that there are; throws OutputError when the
/// system cannot.
[[nodiscard]] std::string readPiece(int descriptor, std::uint64_t position, std::size_t size);

}  // namespace ifdsweep

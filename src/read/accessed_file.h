#pragma once

// Accessed file: a file of the host's as those see it who look at its bytes by themselves, and the
// bytes of an embedded stream in its place.
//
// Ownership: `BytesOfFile` borrows the file, `EmbeddedBytes` shares it. Threads: one at a time.

#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <utility>

#include "files/opened_file.h"
#include "ifdsweep/byte_source.h"

namespace ifdsweep {

/// The bytes of a file of the host's. Each read is an access of its own, as after a seek.
class BytesOfFile final : public ByteSource {
public:
    explicit BytesOfFile(OpenedFile& openedFile) noexcept : file(openedFile) {}

    [[nodiscard]] std::uint64_t size() const noexcept override { return file.size(); }
    [[nodiscard]] std::ptrdiff_t read(std::uint64_t position,
                                      std::span<std::byte> target) const noexcept override {
        return file.readAccess(position, target);
    }

private:
    OpenedFile& file;
};

/// Shows the bytes of an embedded stream in place of those of its file while it lives.
class EmbeddedBytes {
public:
    EmbeddedBytes(std::shared_ptr<OpenedFile> openedFile,
                  const std::shared_ptr<const ByteSource>& bytes) noexcept
        : file(std::move(openedFile)), own(file->exchangeContent({bytes, bytes->size()})) {}
    EmbeddedBytes(const EmbeddedBytes&) = delete;
    EmbeddedBytes& operator=(const EmbeddedBytes&) = delete;
    ~EmbeddedBytes() { static_cast<void>(file->exchangeContent(std::move(own))); }

    /// What the status of the file reports when nothing stands in its place.
    [[nodiscard]] std::uint64_t reportedSizeOfFile() const noexcept { return own.reportedSize; }

private:
    std::shared_ptr<OpenedFile> file;
    OpenedFile::Content own;
};

}  // namespace ifdsweep

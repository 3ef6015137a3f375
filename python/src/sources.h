#pragma once

// Sources: where the bytes of a file come from that is no path.

#include <cstddef>
#include <cstdint>
#include <exception>
#include <span>

#include <nanobind/nanobind.h>

#include "ifdsweep/byte_source.h"

namespace ifdsweep::python {

namespace nb = nanobind;

/// Bytes of an object with the buffer protocol, not copied.
///
/// Ownership: holds the buffer, and with it the object. Threads: made and let go with the
/// interpreter's lock; its bytes may be read without. Errors: ValueError for bytes that do not lie
/// one after the other, or what the object raises.
class HeldBuffer {
public:
    explicit HeldBuffer(nb::handle object);
    ~HeldBuffer() { PyBuffer_Release(&view); }
    HeldBuffer(const HeldBuffer&) = delete;
    HeldBuffer& operator=(const HeldBuffer&) = delete;

    [[nodiscard]] std::span<const std::uint8_t> bytes() const noexcept {
        return {static_cast<const std::uint8_t*>(view.buf), static_cast<std::size_t>(view.len)};
    }

private:
    Py_buffer view{};
};

/// A binary file object that can be positioned, by its `seek` and `readinto` or `read`.
///
/// Ownership: holds the object, and gives it its position back when done. Threads: made and let go
/// with the interpreter's lock, which reading takes for calls of the object alone. Errors: what
/// the object raises, and TypeError and ValueError for what it should not have returned, end
/// reading and are thrown by `finish`.
class FileObjectSource final : public ByteSource {
public:
    explicit FileObjectSource(nb::object fileObject);
    ~FileObjectSource() override;

    [[nodiscard]] std::uint64_t size() const noexcept override { return byteCount; }
    [[nodiscard]] std::ptrdiff_t read(std::uint64_t position,
                                      std::span<std::byte> target) const noexcept override;

    /// Gives the object its position back; throws what went wrong, here or before.
    void finish();

private:
    [[nodiscard]] std::uint64_t seek(std::int64_t offset, int whence) const;
    [[nodiscard]] std::size_t readPiece(std::span<std::byte> target) const;

    nb::object file;
    nb::object readInto;  ///< none where the object has only `read`
    std::uint64_t ownPosition = 0;
    std::uint64_t byteCount = 0;
    bool isDone = false;
    /// What ended the reading; of the walk, which knows nothing of exceptions of sources.
    mutable std::exception_ptr failure;
};

/// Whether a file object can be positioned: what it says of itself, or else whether it has `seek`.
[[nodiscard]] bool isSeekable(nb::handle fileObject);

/// An attribute, or an invalid object where there is none. What else goes wrong is thrown.
[[nodiscard]] nb::object attributeOf(nb::handle object, const char* name);

}  // namespace ifdsweep::python

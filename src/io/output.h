#pragma once

// Output: the buffer between the writers and a file descriptor. Writers place short texts directly
// into its memory, so that a value costs no call and no heap block.
//
// Ownership: an Output owns its buffer and borrows its sink, which must outlive it. Nothing is
// flushed by destruction: whoever made the Output calls `flush` where a failure can be reported.
//
// Threads: one at a time.

#include <algorithm>
#include <cassert>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <exception>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <utility>

namespace ifdsweep {

/// A failed write; `systemError` is the value of errno.
class OutputError : public std::exception {
public:
    explicit OutputError(int errorNumber) : systemError(errorNumber) {}
    [[nodiscard]] const char* what() const noexcept override { return "output failed"; }

    const int systemError;
};

/// Thrown where an output ends early, because it was asked to.
struct OutputStopped {};

/// Writes bytes to a descriptor, waiting where it does not block, and takes off what was written.
/// Returns 0, or the value of errno. May be called in a signal handler.
[[nodiscard]] int writeBytes(int descriptor, std::string_view& bytes) noexcept;

/// Where the bytes of an Output go.
class ByteSink {
public:
    ByteSink() = default;
    ByteSink(const ByteSink&) = delete;
    ByteSink& operator=(const ByteSink&) = delete;
    virtual ~ByteSink() = default;

    /// Takes all the bytes, or throws OutputError.
    virtual void write(std::string_view bytes) = 0;
};

/// Writes to an open file descriptor, which it borrows.
class FileDescriptorSink final : public ByteSink {
public:
    /// @param bytesBefore bytes that the file holds already
    /// @param isStopped   whether the output is to end early, asked before each write; none: never
    explicit FileDescriptorSink(int fileDescriptor, std::uint64_t bytesBefore = 0,
                                std::function<bool()> isStopped = {})
        : descriptor(fileDescriptor), total(bytesBefore), stopped(std::move(isStopped)) {}

    /// Once it is stopped, writes no more than to the end of the line at hand and throws
    /// OutputStopped.
    void write(std::string_view bytes) override;

    /// The bytes before and those written.
    [[nodiscard]] std::uint64_t bytesWritten() const noexcept { return total; }

private:
    void writeAll(std::string_view bytes);

    int descriptor;
    std::uint64_t total;
    std::function<bool()> stopped;
};

/// Collects the bytes in memory.
class StringSink final : public ByteSink {
public:
    void write(std::string_view bytes) override { text.append(bytes); }

    std::string text;
};

class Output {
public:
    /// Bytes gathered before the sink is called; large enough that system calls do not count.
    static constexpr std::size_t kCapacity = std::size_t{128} * 1024;

    explicit Output(ByteSink& byteSink)
        : sink(byteSink), buffer(std::make_unique_for_overwrite<char[]>(kCapacity)) {}

    /// Memory for at least `size` bytes (at most kCapacity), to be taken up by `commit`.
    [[nodiscard]] char* reserve(std::size_t size) {
        assert(size <= kCapacity);
        if (size > kCapacity - used) {
            flush();
        }
        return buffer.get() + used;
    }

    /// Takes up what was placed between the last `reserve` and `end`.
    void commit(const char* end) {
        assert(end >= buffer.get() + used && end <= buffer.get() + kCapacity);
        used = static_cast<std::size_t>(end - buffer.get());
    }

    void append(char character) {
        *reserve(1) = character;
        ++used;
    }

    void append(std::string_view text) {
        if (text.size() > kCapacity - used) {
            appendLong(text);
            return;
        }
        used += text.copy(buffer.get() + used, text.size());
    }

    /// Appends `count` copies of a character.
    void append(std::size_t count, char character) {
        while (count > 0) {
            const std::size_t piece = std::min(count, kCapacity);
            std::memset(reserve(piece), character, piece);
            used += piece;
            count -= piece;
        }
    }

    /// Hands everything gathered to the sink.
    void flush();

    /// Forgets everything gathered.
    void discard() noexcept { used = 0; }

    /// Whether a terminal shows what is written, where characters that are not seen do things.
    [[nodiscard]] bool isForTerminal() const noexcept { return forTerminal; }
    void setForTerminal(bool isShown) noexcept { forTerminal = isShown; }

private:
    void appendLong(std::string_view text);

    ByteSink& sink;
    std::unique_ptr<char[]> buffer;
    std::size_t used = 0;
    bool forTerminal = false;
};

}  // namespace ifdsweep

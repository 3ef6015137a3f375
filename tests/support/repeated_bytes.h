#pragma once

// RepeatedBytes: a file of any size that takes no memory: some bytes, and behind them one piece
// again and again to the end. Reads are counted. It owns both. One thread.

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <span>
#include <utility>

#include "ifdsweep/byte_source.h"
#include "support/byte_verbs.h"

namespace fixture {

class RepeatedBytes final : public ifdsweep::ByteSource {
public:
    /// @param repeated not empty
    RepeatedBytes(Bytes first, Bytes repeated, std::uint64_t fileSize)
        : start(std::move(first)), pieces(std::move(repeated)), bytes(fileSize) {
        period = pieces.size();
        while (pieces.size() < kCopied) {
            pieces = joined({pieces, pieces});
        }
    }

    [[nodiscard]] std::uint64_t size() const noexcept override { return bytes; }
    [[nodiscard]] std::ptrdiff_t read(std::uint64_t position,
                                      std::span<std::byte> target) const noexcept override {
        ++reads;
        const std::uint64_t left = bytes - std::min(position, bytes);
        std::span rest =
            target.first(static_cast<std::size_t>(std::min<std::uint64_t>(left, target.size())));
        const auto got = static_cast<std::ptrdiff_t>(rest.size());
        while (!rest.empty()) {
            const std::span run =
                runAt(position).first(std::min(runAt(position).size(), rest.size()));
            std::memcpy(rest.data(), run.data(), run.size());
            position += run.size();
            rest = rest.subspan(run.size());
        }
        return got;
    }

    mutable std::size_t reads = 0;

private:
    /// Bytes in memory that are those of the file from a position on.
    [[nodiscard]] std::span<const std::uint8_t> runAt(std::uint64_t position) const noexcept {
        return position < start.size()
                   ? std::span(start).subspan(static_cast<std::size_t>(position))
                   : std::span(pieces).subspan(
                         static_cast<std::size_t>((position - start.size()) % period));
    }

    /// So many bytes at least are copied at a time, but for a piece's.
    static constexpr std::size_t kCopied = 8192;

    Bytes start;
    Bytes pieces;  ///< the piece many times
    std::size_t period = 0;
    std::uint64_t bytes;
};

}  // namespace fixture

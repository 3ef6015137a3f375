#pragma once

// Files that lead back into themselves, and what reading one may take. Values; any thread.

#include <cstddef>
#include <cstdint>
#include <vector>

#include "hostile/measured_call.h"
#include "support/tags.h"
#include "support/tiff_matrix.h"

namespace fixture {

[[nodiscard]] inline TiffFile build(Format format, const Chain& chain) {
    TiffBuilder builder(format);
    for (const Directory& directory : chain) {
        builder.add(directory);
    }
    return builder.build();
}

/// Bytes of an offset of a type.
[[nodiscard]] inline std::size_t offsetWidth(std::uint16_t type) {
    return numbers(kSubIfds, type, {0}).itemSize;
}

/// Directories that each lead to the next through a pointer tag, `width` times.
[[nodiscard]] inline TiffFile levels(Format format, std::size_t count, std::size_t width,
                                     std::uint16_t type = kLong) {
    const std::vector<std::int64_t> offsets(width, 0);
    Chain chain;
    for (std::size_t level = 0; level < count; ++level) {
        chain.push_back(Directory{numbers(kSubIfds, type, offsets)}.withNext(0));
    }
    chain.push_back(Directory{shorts(kUnknownTag, {1})}.withNext(0));
    TiffFile file = build(format, chain);
    const std::size_t size = offsetWidth(type);
    for (std::size_t level = 0; level < count; ++level) {
        for (std::size_t i = 0; i < width; ++i) {
            setWord(file.bytes, file.places[level].data[0] + size * i, size,
                    file.offsetOf(file.places[level + 1].position), format.byteOrder);
        }
    }
    return file;
}

/// A directory whose pointer tag leads to itself, `width` times.
[[nodiscard]] inline TiffFile pointsAtItself(Format format, std::uint16_t tag,
                                             std::uint16_t type = kLong, std::size_t width = 1) {
    const Entry entry = numbers(tag, type, std::vector<std::int64_t>(width, 0));
    TiffFile file = build(format, {{entry, shorts(kUnknownTag, {7})}});
    const std::size_t size = offsetWidth(type);
    for (std::size_t i = 0; i < width; ++i) {
        setWord(file.bytes, file.places[0].data[0] + size * i, size,
                file.offsetOf(file.places[0].position), format.byteOrder);
    }
    return file;
}

/// The default of the read budget.
[[nodiscard]] inline std::uint64_t readBudgetOf(std::uint64_t fileSize) {
    return (std::uint64_t{256} << 10U) + 8 * fileSize;
}

/// The default of the value budget.
[[nodiscard]] inline std::uint64_t valueBudgetOf(std::uint64_t fileSize) {
    return (std::uint64_t{64} << 20U) + 32 * fileSize;
}

/// A call takes no more of the system than the read budget tells: no more bytes, but for one
/// access, in few large reads and not in one for each jump.
inline void expectCheap(const MeasuredCall& call, const TiffFile& file) {
    const std::uint64_t size = file.bytes.size();
    EXPECT_LT(call.megabytes, kMostMegabytes);
    EXPECT_GT(call.reads.calls, 0U);
    EXPECT_LE(call.reads.bytes, readBudgetOf(size) + size);
    EXPECT_LE(call.reads.calls, 10 + readBudgetOf(size) / 65536);
}

}  // namespace fixture

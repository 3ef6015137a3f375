#include "locate/extent_reader.h"

#include <algorithm>

#include "locate/stream_opener.h"

namespace ifdsweep {
namespace {

constexpr const char* kPastTheEnd = "it reaches past the end of the file";

}  // namespace

Extent within(const ByteSource& file, const Extent& extent) noexcept {
    const std::uint64_t position = std::min(extent.position, file.size());
    return {position, std::min(extent.size, file.size() - position)};
}

std::string beyondTheMost() {
    return "it goes beyond the " + std::to_string(kMostAssembledBytes >> 20U) +
           " MiB that are put together of a file";
}

std::size_t ExtentReader::read(std::span<std::uint8_t> target) {
    std::size_t done = 0;
    while (done < target.size() && !extents.empty() && !problem) {
        done += readOnce(target.subspan(done));
    }
    return done;
}

std::size_t ExtentReader::readOnce(std::span<std::uint8_t> target) {
    const Extent& extent = extents.front();
    if (passed == extent.size) {
        extents = extents.subspan(1);
        passed = 0;
        return 0;
    }
    if (total == most) {
        problem = beyondTheMost();
        return 0;
    }
    const Extent present = within(file, extent);
    if (passed == present.size) {
        problem = kPastTheEnd;
        return 0;
    }
    const std::uint64_t asked =
        std::min({std::uint64_t{target.size()}, present.size - passed, most - total});
    const std::ptrdiff_t got =
        file.read(extent.position + passed,
                  std::as_writable_bytes(target.first(static_cast<std::size_t>(asked))));
    if (got <= 0) {
        problem = got == 0 ? kPastTheEnd : "it cannot be read";
        return 0;
    }
    passed += static_cast<std::uint64_t>(got);
    total += static_cast<std::uint64_t>(got);
    return static_cast<std::size_t>(got);
}

std::uint64_t ExtentReader::bytesToCome() const noexcept {
    std::uint64_t sum = 0;
    for (const Extent& extent : extents) {
        sum += std::min(within(file, extent).size, most - sum);
    }
    return sum;
}

}  // namespace ifdsweep

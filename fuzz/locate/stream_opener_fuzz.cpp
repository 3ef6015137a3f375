// The stream opener on any bytes, which choose how a stream lies in them: it gives the same twice,
// takes no more than it may, and what lies in the file costs a read or two.

#include <algorithm>
#include <vector>

#include "fuzz_input.h"
#include "fuzz_target.h"
#include "locate/stream_opener.h"
#include "support/counted_bytes.h"

namespace {

using ifdsweep::LocatedStream;
using ifdsweep::OpenedStream;

/// Small, so that the limit is met often.
constexpr std::uint64_t kMostBytes = 200000;

LocatedStream chooseStream(fuzz::FuzzInput& input) {
    LocatedStream stream;
    stream.name = "stream";
    const std::size_t choice = input.below(12);
    stream.compression = static_cast<ifdsweep::Compression>(choice % 3);
    stream.isRawProfile = choice / 3 % 2 != 0;
    stream.header = static_cast<ifdsweep::HeaderPlace>(choice / 6);
    const std::size_t extentCount = 1 + input.below(8);
    for (std::size_t number = 0; number < extentCount; ++number) {
        // Near the beginning, or anywhere.
        const std::size_t width = input.below(2) == 0 ? 1 : 8;
        const std::uint64_t position = input.word(width);
        const std::uint64_t size = input.word(width == 1 ? 2 : 8);
        stream.extents.push_back({position, size});
    }
    return stream;
}

std::vector<std::byte> contentOf(const OpenedStream& opened) {
    std::vector<std::byte> content;
    if (opened.bytes != nullptr) {
        content.resize(static_cast<std::size_t>(opened.bytes->size()));
        fuzz::require(opened.bytes->read(0, content) == std::ssize(content), "all can be read");
    }
    return content;
}

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    fuzz::FuzzInput input({data, size});
    const LocatedStream stream = chooseStream(input);
    const auto rest = input.rest();
    const fixture::CountedBytes file({rest.begin(), rest.end()});
    const OpenedStream opened = openStream(file, stream, kMostBytes);
    const std::size_t reads = file.reads;
    const OpenedStream again = openStream(file, stream, kMostBytes);
    fuzz::require(opened.position == again.position && opened.cost == again.cost &&
                      opened.warning.has_value() == again.warning.has_value() &&
                      contentOf(opened) == contentOf(again),
                  "the same result twice");
    const bool liesInFile = stream.extents.size() == 1 &&
                            stream.compression == ifdsweep::Compression::none &&
                            !stream.isRawProfile;
    fuzz::require(liesInFile == (opened.bytes == nullptr), "in memory if there is need");
    if (liesInFile) {
        fuzz::require(opened.position <= file.size(), "the header lies in the file");
        fuzz::require(reads <= 2 && !opened.warning && opened.cost == 0, "it costs little");
        return 0;
    }
    fuzz::require(opened.cost <= kMostBytes && opened.bytes->size() <= opened.cost,
                  "no more than it may take");
    fuzz::require(opened.position <= opened.bytes->size(), "the header lies in the bytes");
    fuzz::require(reads <= 2 * stream.extents.size() + kMostBytes / 16384 + 4,
                  "a read is a whole extent or many bytes");
    if (stream.compression == ifdsweep::Compression::none) {
        fuzz::require(opened.warning || opened.cost <= file.size() * stream.extents.size(),
                      "no byte that is not in the file");
    }
    return 0;
}

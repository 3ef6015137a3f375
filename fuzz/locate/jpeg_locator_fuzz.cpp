// The JPEG locator on any bytes: what it finds stands behind the Exif signature of an APP1 segment,
// and what it reads is in proportion to the file.

#include <algorithm>
#include <array>

#include "fuzz_input.h"
#include "fuzz_target.h"
#include "locate/locators.h"
#include "support/counted_bytes.h"

namespace {

ifdsweep::Located search(std::span<const std::uint8_t> file) {
    const fixture::CountedBytes bytes({file.begin(), file.end()});
    ifdsweep::ByteReader reader(bytes);
    ifdsweep::Located located = locateFirstExif(reader, ifdsweep::SearchDepth::first);
    fuzz::require(bytes.reads <= file.size() / ifdsweep::ByteReader::kWindow + 3,
                  "a read is a whole window");
    fuzz::require(bytes.delivered <= file.size(), "no byte is read twice");
    return located;
}

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::span file(data, size);
    const ifdsweep::Located found = search(file);
    const ifdsweep::Located again = search(file);
    fuzz::require(found.endedAt == again.endedAt && found.damagedAt == again.damagedAt,
                  "the same result twice");
    if (!found.streams.empty()) {
        constexpr std::array<std::uint8_t, 6> kSignature{'E', 'x', 'i', 'f', 0, 0};
        const std::uint64_t position = found.streams.front().extents.front().position;
        fuzz::require(position >= 12 && position <= size, "the header is in the file");
        const auto start = static_cast<std::size_t>(position) - 10;
        fuzz::require(data[start] == 0xFF && data[start + 1] == 0xE1, "it is in an APP1 segment");
        fuzz::require(std::equal(kSignature.begin(), kSignature.end(), data + start + 4),
                      "it follows the signature");
    } else if (!found.damagedAt) {
        const std::uint64_t position = found.endedAt;
        fuzz::require(position + 1 < size && data[position] == 0xFF &&
                          (data[position + 1] == 0xDA || data[position + 1] == 0xD9),
                      "image data or the end of the image comes first");
    }
    return 0;
}

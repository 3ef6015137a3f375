// The JPEG locator on any bytes: what it finds stands behind the Exif signature of an APP1 segment,
// and what it reads is in proportion to the file.

#include <algorithm>
#include <array>

#include "check/jpeg_segments.h"
#include "files/file_bytes.h"
#include "fuzz_input.h"
#include "fuzz_target.h"
#include "read/jpeg_locator.h"

namespace {

/// Bytes in memory, with the reads counted.
class CountedBytes final : public ifdsweep::ByteSource {
public:
    explicit CountedBytes(std::span<const std::uint8_t> fileBytes) : bytes(fileBytes) {}

    [[nodiscard]] std::uint64_t size() const noexcept override { return bytes.size(); }
    [[nodiscard]] std::ptrdiff_t read(std::uint64_t position,
                                      std::span<std::byte> target) const noexcept override {
        ++reads;
        const std::ptrdiff_t got = bytes.read(position, target);
        delivered += static_cast<std::size_t>(got);
        return got;
    }

    mutable std::size_t reads = 0;
    mutable std::size_t delivered = 0;

private:
    ifdsweep::MemoryBytes bytes;
};

ifdsweep::JpegSearch search(std::span<const std::uint8_t> file) {
    CountedBytes reader(file);
    const ifdsweep::JpegSearch result = ifdsweep::findExifHeader(reader);
    fuzz::require(reader.reads <= file.size() / ifdsweep::kJpegWindow + 3,
                  "a read is a whole window");
    fuzz::require(reader.delivered <= file.size(), "no byte is read twice");
    return result;
}

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using Outcome = ifdsweep::JpegSearch::Outcome;
    const std::span file(data, size);
    CountedBytes reader(file);
    const bool isJpeg = size >= 2 && data[0] == 0xFF && data[1] == 0xD8;
    fuzz::require(ifdsweep::beginsAsJpeg(reader) == isJpeg, "a JPEG file begins FF D8");
    const ifdsweep::JpegSearch found = search(file);
    const ifdsweep::JpegSearch again = search(file);
    fuzz::require(found.outcome == again.outcome && found.position == again.position,
                  "the same result twice");
    if (found.outcome == Outcome::found) {
        constexpr std::array<std::uint8_t, 6> kSignature{'E', 'x', 'i', 'f', 0, 0};
        fuzz::require(found.position >= 12 && found.position <= size, "the header is in the file");
        const auto start = static_cast<std::size_t>(found.position) - 10;
        fuzz::require(data[start] == 0xFF && data[start + 1] == 0xE1, "it is in an APP1 segment");
        fuzz::require(std::equal(kSignature.begin(), kSignature.end(), data + start + 4),
                      "it follows the signature");
    } else if (found.outcome == Outcome::noExif) {
        fuzz::require(found.position + 1 < size && data[found.position] == 0xFF &&
                          (data[found.position + 1] == 0xDA || data[found.position + 1] == 0xD9),
                      "image data or the end of the image comes first");
    }
    return 0;
}

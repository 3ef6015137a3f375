// What a file is by its first bytes.

#include <array>
#include <cstdint>

#include "file/tag_file.h"

namespace ifdsweep::module {

namespace {

/// The first `count` bytes of a file by its name; those that it lacks, all where there is none,
/// are 0.
template <std::size_t count>
struct LeadingBytes {
    explicit LeadingBytes(const std::u16string& filename) {
        const TagFile::Stream stream(qxOpenFile(filename, "r"));
        isWhole = stream && std::fread(bytes.data(), 1, count, stream.get()) == count;
    }

    std::array<std::uint8_t, count> bytes{};
    bool isWhole;
};

bool startsTiff(const std::u16string& filename, std::uint8_t version) {
    const LeadingBytes<4> leading(filename);
    return leading.isWhole && (leading.bytes == std::array<std::uint8_t, 4>{'M', 'M', 0, version} ||
                               leading.bytes == std::array<std::uint8_t, 4>{'I', 'I', version, 0});
}

}  // namespace

bool isJpeg(std::u16string filename) {
    return LeadingBytes<2>(filename).bytes == std::array<std::uint8_t, 2>{0xFF, 0xD8};
}

bool isClassicTiff(std::u16string filename) {
    return startsTiff(filename, 42);
}

bool isBigTiff(std::u16string filename) {
    return startsTiff(filename, 43);
}

}  // namespace ifdsweep::module

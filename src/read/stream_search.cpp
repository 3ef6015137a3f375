#include "read/stream_search.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <span>
#include <string_view>

#include "locate/locate_messages.h"
#include "read/image_signature.h"

namespace ifdsweep {
namespace {

SearchDepth depthOf(const ReadOptions& options) {
    return options.streams == StreamChoice::all ? SearchDepth::all : SearchDepth::first;
}

/// How a container is searched; null where a reading takes it for none.
Locator locatorOf(const Container& container, const ReadOptions& options) {
    return options.reading == ReadingMode::full ? container.locate : container.locateByContract;
}

constexpr std::size_t kShortSignature = 4;

std::string_view firstBytesOf(const ByteSource& file, std::span<char> target) {
    const std::ptrdiff_t got = file.read(0, std::as_writable_bytes(target));
    return {target.data(), static_cast<std::size_t>(std::max<std::ptrdiff_t>(got, 0))};
}

/// What the first bytes of a file say.
struct Signature {
    std::string_view bytes;
    std::optional<ImageFormat> format;
};

/// Reads as many bytes as it takes to tell the format. Four tell TIFF and JPEG: what they cost is
/// part of what a file's budget is spent on.
Signature signatureOf(const ByteSource& file, std::span<char, kLongestSignature> target) {
    const std::string_view start = firstBytesOf(file, target.first(kShortSignature));
    if (const auto format = imageFormatOf(start)) {
        return {start, format};
    }
    const std::string_view bytes = firstBytesOf(file, target);
    return {bytes, imageFormatOf(bytes)};
}

bool mayCarryStreams(std::optional<ImageFormat> format) {
    return format == ImageFormat::jpeg || format == ImageFormat::container;
}

/// Whether a file of a format is one for a reading.
bool isRead(std::optional<ImageFormat> format, ReadingMode reading) {
    return format && (reading == ReadingMode::full || format == ImageFormat::tiff ||
                      format == ImageFormat::jpeg);
}

}  // namespace

StreamSearch searchStreams(const ByteSource& file, const ReadOptions& options) {
    std::array<char, kLongestSignature> start{};
    const auto [firstBytes, format] = signatureOf(file, start);
    const bool isSearched = mayCarryStreams(format) && !options.offset;
    const Container* container = isSearched ? containerOf(firstBytes) : nullptr;
    const Locator locate = container == nullptr ? nullptr : locatorOf(*container, options);
    if (locate == nullptr) {
        return {.isImage = !options.imagesOnly || isRead(format, options.reading)};
    }
    ByteReader reader(file);
    StreamSearch search{.container = container, .located = locate(reader, depthOf(options))};
    search.isImage = !options.imagesOnly || !search.located.streams.empty() ||
                     search.located.damagedAt.has_value();
    return search;
}

std::optional<qxMessage> errorOf(const StreamSearch& search) {
    return search.container != nullptr && search.located.streams.empty()
               ? std::optional(search.container->noStream(*search.container, search.located))
               : std::nullopt;
}

std::vector<qxMessage> warningsOf(const StreamSearch& search, const ReadOptions& options) {
    std::vector<qxMessage> warnings;
    if (search.container == nullptr || options.reading != ReadingMode::full) {
        return warnings;
    }
    const Located& located = search.located;
    if (located.damagedAt) {
        warnings.push_back(containerDamaged(*search.container, located));
    }
    const std::uint64_t read = options.streams == StreamChoice::all ? located.streams.size() : 1;
    if (located.streamCount > read) {
        warnings.push_back(otherStreams(*search.container, located.streamCount - read));
    }
    return warnings;
}

}  // namespace ifdsweep

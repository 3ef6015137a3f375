#include <algorithm>
#include <array>
#include <optional>
#include <string_view>

#include "locate/chunk.h"
#include "locate/locators.h"
#include "locate/numbered_name.h"

namespace ifdsweep {
namespace {

constexpr std::uint64_t kRiffHeadSize = 8;  ///< "RIFF" and its size
constexpr std::uint64_t kFirstChunk = 12;   ///< behind "WEBP"
constexpr std::size_t kTypeSize = 4;
constexpr std::size_t kHeadSize = 8;  ///< type and size

bool isTypeLike(std::string_view type) {
    return std::all_of(type.begin(), type.end(),
                       [](char byte) { return byte >= ' ' && byte <= '~'; });
}

class WebpSearch {
public:
    WebpSearch(ByteReader& byteReader, SearchDepth searchDepth)
        : reader(byteReader), depth(searchDepth) {}

    [[nodiscard]] Located search();

private:
    void readRiffHead();
    /// The chunk that begins at a position; nothing where there is no room for one.
    [[nodiscard]] std::optional<Chunk> chunkAt(std::uint64_t position);
    /// Whether what stands there looks like a chunk that lies in the RIFF, be the file cut short.
    [[nodiscard]] bool fitsAt(std::uint64_t position);
    [[nodiscard]] std::uint64_t behind(const Chunk& chunk);
    [[nodiscard]] bool isLast(const Chunk& chunk) const;
    void searchIn(const Chunk& chunk);

    ByteReader& reader;
    SearchDepth depth;
    std::uint64_t riffEnd = 0;
    Located located;
};

/// What stands behind the end of the RIFF is none of the image. A RIFF that cannot hold its own
/// format is taken to go on to the end of the file: its writer never came back to its head.
void WebpSearch::readRiffHead() {
    const std::uint64_t end = reader.littleEndianAt(4, 4).value_or(0) + kRiffHeadSize;
    riffEnd = end < kFirstChunk ? reader.size() : end;
    if (end < kFirstChunk) {
        located.damage(0);
    }
}

std::optional<Chunk> WebpSearch::chunkAt(std::uint64_t position) {
    const std::uint64_t room = reader.size() - std::min(position, reader.size());
    const std::string_view head = reader.textAt(position, kHeadSize);
    if (room < kHeadSize || head.size() < kHeadSize) {
        return std::nullopt;
    }
    Chunk chunk;
    head.copy(chunk.type.data(), chunk.type.size());
    chunk.position = position;
    chunk.content = position + kHeadSize;
    const std::uint64_t size = reader.littleEndianAt(position + kTypeSize, 4).value_or(0);
    chunk.end = chunk.content + std::min(size, room - kHeadSize);
    chunk.isWhole = size <= room - kHeadSize && chunk.end <= riffEnd;
    return chunk;
}

bool WebpSearch::fitsAt(std::uint64_t position) {
    const std::string_view type = reader.textAt(position, kHeadSize).substr(0, kTypeSize);
    const auto size =
        isTypeLike(type) ? reader.littleEndianAt(position + kTypeSize, 4) : std::nullopt;
    return size && position + kHeadSize + *size <= riffEnd;
}

/// Where the next chunk is to be looked for. A chunk of an odd size has a byte behind it that fills
/// it up; it is missing if a chunk stands in its place, and none behind it.
std::uint64_t WebpSearch::behind(const Chunk& chunk) {
    const bool isOdd = chunk.size() % 2 != 0;
    const bool isUnpadded = isOdd && fitsAt(chunk.end) && !fitsAt(chunk.end + 1);
    return chunk.end + (isOdd && !isUnpadded ? 1 : 0);
}

/// Whether what is behind a chunk is not looked at: it is the first of the frames of an animation.
bool WebpSearch::isLast(const Chunk& chunk) const {
    return chunk.typeText() == "ANMF" && depth == SearchDepth::first && located.streamCount > 0;
}

void WebpSearch::searchIn(const Chunk& chunk) {
    if (!chunk.isWhole || !isTypeLike(chunk.typeText())) {
        located.damage(chunk.position);
    }
    if (chunk.typeText() != "EXIF") {
        return;
    }
    if (chunk.size() == 0) {
        located.damage(chunk.position);
        return;
    }
    located.add({.name = numberedName("EXIF", located.streamCount + 1),
                 .extents = {{chunk.content, chunk.size()}}});
}

Located WebpSearch::search() {
    readRiffHead();
    std::uint64_t place = kFirstChunk;
    while (place < riffEnd) {
        const auto chunk = chunkAt(place);
        if (!chunk) {
            located.damage(std::min(place, reader.size()));
            break;
        }
        ++located.pieceCount;
        if (isLast(*chunk)) {
            break;
        }
        searchIn(*chunk);
        place = chunk->isWhole ? behind(*chunk) : riffEnd;
    }
    located.endedAt = std::min(place, reader.size());
    return std::move(located);
}

}  // namespace

Located locateInWebp(ByteReader& reader, SearchDepth depth) {
    return WebpSearch(reader, depth).search();
}

}  // namespace ifdsweep

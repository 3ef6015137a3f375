#include <algorithm>
#include <array>
#include <optional>
#include <string_view>
#include <utility>

#include "locate/chunk.h"
#include "locate/locators.h"
#include "locate/numbered_name.h"
#include "text/letter_case.h"

namespace ifdsweep {
namespace {

using namespace std::string_view_literals;

constexpr std::uint64_t kSignatureSize = 8;
constexpr std::size_t kLengthSize = 4;
constexpr std::size_t kHeadSize = 8;  ///< length and type
// A CRC stands behind the data. It is not looked at: that would cost reading every chunk as a
// whole, and damage to a stream is met by who reads it.
constexpr std::uint64_t kCheckSumSize = 4;
constexpr std::uint64_t kLongestChunk = 0x7FFFFFFF;

/// What a stream lies in; those of one kind are read before those of the next. An APP1 profile may
/// hold something else than Exif data, most often XMP. Of a compressed one this is not known before
/// it is read: it comes last, and if it is read then the reading says what it found.
enum StreamKind : std::uint8_t { exifChunk, exifProfile, app1Profile };

constexpr std::array kNames{"eXIf"sv, "Raw profile type exif"sv, "Raw profile type APP1"sv};

// All names of profiles are as long: with the NUL behind it, a keyword is looked at once.
constexpr std::size_t kKeywordSize = 21;
static_assert(kNames[exifProfile].size() == kKeywordSize &&
              kNames[app1Profile].size() == kKeywordSize);

/// The text of a chunk, without its keyword.
struct ChunkText {
    std::uint64_t position;
    Compression compression;
};

std::optional<ChunkText> plainText(ByteReader& /*reader*/, std::uint64_t position,
                                   std::uint64_t /*end*/) {
    return ChunkText{position, Compression::none};
}

constexpr std::uint8_t kDeflate = 0;  // the only method that there is

std::optional<ChunkText> compressedText(ByteReader& reader, std::uint64_t position,
                                        std::uint64_t /*end*/) {
    return reader.byteAt(position) == kDeflate
               ? std::optional(ChunkText{position + 1, Compression::zlib})
               : std::nullopt;
}

/// The position behind a text that a NUL ends. No language and no translated keyword of these
/// profiles is long.
std::optional<std::uint64_t> behindText(ByteReader& reader, std::uint64_t position,
                                        std::uint64_t end) {
    const std::uint64_t room = end - std::min(position, end);
    const std::size_t size = reader
                                 .textAt(position, static_cast<std::size_t>(std::min<std::uint64_t>(
                                                       room, ByteReader::kLongestText)))
                                 .find('\0');
    return size == std::string_view::npos ? std::nullopt : std::optional(position + size + 1);
}

std::optional<ChunkText> internationalText(ByteReader& reader, std::uint64_t position,
                                           std::uint64_t end) {
    const auto isCompressed = reader.byteAt(position);
    const auto method = reader.byteAt(position + 1);
    if (!isCompressed || *isCompressed > 1 || (*isCompressed == 1 && method != kDeflate)) {
        return std::nullopt;
    }
    const auto language = behindText(reader, position + 2, end);
    const auto translated = language ? behindText(reader, *language, end) : std::nullopt;
    return translated
               ? std::optional(ChunkText{
                     *translated, *isCompressed == 1 ? Compression::zlib : Compression::none})
               : std::nullopt;
}

/// Whether the digits of a raw profile are those of Exif data; true as well where no digits are
/// found, for whoever decodes it to say why. It has two lines before them, name and length.
bool maybeExif(std::string_view profile) {
    profile.remove_prefix(profile.starts_with('\n') ? 1 : 0);
    for (int line = 0; line < 2; ++line) {
        const std::size_t size = profile.find('\n');
        if (size == std::string_view::npos) {
            return true;
        }
        profile.remove_prefix(size + 1);
    }
    constexpr std::array kBeginnings{"45786966"sv, "4949"sv, "4d4d"sv};  // "Exif", "II", "MM"
    return std::any_of(kBeginnings.begin(), kBeginnings.end(), [profile](std::string_view digits) {
        return equalInAnyCase(profile.substr(0, digits.size()), digits);
    });
}

class PngSearch {
public:
    PngSearch(ByteReader& byteReader, SearchDepth searchDepth)
        : reader(byteReader),
          depth(searchDepth),
          place(std::min(kSignatureSize, byteReader.size())) {}

    [[nodiscard]] Located search();

private:
    using ReadText = std::optional<ChunkText> (*)(ByteReader& reader, std::uint64_t position,
                                                  std::uint64_t end);

    /// A type of chunks that may hold a stream.
    struct Holder {
        std::string_view type;
        void (PngSearch::*searchIn)(const Chunk& chunk, ReadText readText);
        ReadText readText;
    };

    static const std::array<Holder, 6> kHolders;

    /// The chunk in hand; nothing, and damage, where none stands.
    [[nodiscard]] std::optional<Chunk> next();
    [[nodiscard]] bool isLast(const Chunk& chunk) const;
    void searchIn(const Chunk& chunk);
    void searchInExif(const Chunk& chunk, ReadText readText);
    void searchInText(const Chunk& chunk, ReadText readText);
    void add(StreamKind kind, Extent extent, Compression compression);

    ByteReader& reader;
    SearchDepth depth;
    std::uint64_t place;  ///< never behind the end of the file
    Located located;
    std::array<Located, kNames.size()> found;  ///< streams alone, by their kind
    bool hasExif = false;                      ///< whether one of them is known to hold Exif data
};

// clang-format off
constexpr std::array<PngSearch::Holder, 6> PngSearch::kHolders{{
    {"eXIf", &PngSearch::searchInExif, nullptr},
    {"exIf", &PngSearch::searchInExif, nullptr},  // in drafts, and compressed:
    {"zxIf", &PngSearch::searchInExif, nullptr},
    {"tEXt", &PngSearch::searchInText, plainText},
    {"zTXt", &PngSearch::searchInText, compressedText},
    {"iTXt", &PngSearch::searchInText, internationalText},
}};
// clang-format on

std::optional<Chunk> PngSearch::next() {
    const std::uint64_t room = reader.size() - std::min(place, reader.size());
    const std::string_view head = reader.textAt(place, kHeadSize);
    if (room < kHeadSize || head.size() < kHeadSize) {
        located.damage(place);
        return std::nullopt;
    }
    Chunk chunk;
    head.copy(chunk.type.data(), chunk.type.size(), kLengthSize);
    const std::uint64_t length = reader.bigEndianAt(place, kLengthSize).value_or(0);
    chunk.position = place;
    chunk.content = place + kHeadSize;
    chunk.end = chunk.content + std::min(length, room - kHeadSize);
    chunk.isWhole = length <= kLongestChunk && length + kHeadSize + kCheckSumSize <= room;
    place = chunk.isWhole ? chunk.end + kCheckSumSize : reader.size();
    return chunk;
}

/// Whether what is behind a chunk is not looked at: it is the last one, or image data, of which
/// there may be thousands of chunks.
bool PngSearch::isLast(const Chunk& chunk) const {
    return chunk.typeText() == "IEND" ||
           (chunk.typeText() == "IDAT" && depth == SearchDepth::first && hasExif);
}

void PngSearch::searchIn(const Chunk& chunk) {
    const bool hasType = std::all_of(chunk.type.begin(), chunk.type.end(), [](char letter) {
        return lowerCase(letter) >= 'a' && lowerCase(letter) <= 'z';
    });
    if (!chunk.isWhole || !hasType) {
        located.damage(chunk.position);
    }
    const auto* holder = std::find_if(kHolders.begin(), kHolders.end(), [&](const Holder& row) {
        return row.type == chunk.typeText();
    });
    if (holder != kHolders.end()) {
        (this->*holder->searchIn)(chunk, holder->readText);
    }
}

/// Data that begin with NUL are compressed: behind it and a length of 32 bits.
void PngSearch::searchInExif(const Chunk& chunk, ReadText /*readText*/) {
    constexpr std::uint64_t kCompressedHead = 5;
    const bool isCompressed = reader.byteAt(chunk.content) == 0;
    const std::uint64_t head = isCompressed ? kCompressedHead : 0;
    if (chunk.size() <= head) {
        located.damage(chunk.position);
        return;
    }
    add(exifChunk, {chunk.content + head, chunk.size() - head},
        isCompressed ? Compression::zlib : Compression::none);
}

void PngSearch::searchInText(const Chunk& chunk, ReadText readText) {
    // Writers differ in the case of keywords.
    const std::string_view keyword = reader.textAt(chunk.content, kKeywordSize + 1);
    const auto* name = std::find_if(kNames.begin(), kNames.end(), [&](std::string_view known) {
        return equalInAnyCase(keyword.substr(0, kKeywordSize), known);
    });
    if (name == kNames.end() || !keyword.ends_with('\0') || chunk.size() <= kKeywordSize) {
        return;
    }
    const auto kind = static_cast<StreamKind>(name - kNames.begin());
    const auto text = readText(reader, chunk.content + kKeywordSize + 1, chunk.end);
    if (!text || text->position >= chunk.end) {
        located.damage(chunk.position);
        return;
    }
    const Extent extent{text->position, chunk.end - text->position};
    constexpr std::uint64_t kEnoughForDigits = 128;
    if (kind == app1Profile && text->compression == Compression::none &&
        !maybeExif(reader.textAt(
            extent.position, static_cast<std::size_t>(std::min(extent.size, kEnoughForDigits))))) {
        return;
    }
    add(kind, extent, text->compression);
}

void PngSearch::add(StreamKind kind, Extent extent, Compression compression) {
    Located& kin = found[kind];
    kin.add({.name = numberedName(kNames[kind], kin.streamCount + 1),
             .extents = {extent},
             .compression = compression,
             .isRawProfile = kind != exifChunk});
    hasExif = hasExif || kind != app1Profile || compression == Compression::none;
}

Located PngSearch::search() {
    while (const auto chunk = next()) {
        ++located.pieceCount;
        if (isLast(*chunk)) {
            place = chunk->position;
            break;
        }
        searchIn(*chunk);
    }
    located.endedAt = place;
    for (Located& kin : found) {
        located.addAll(std::move(kin));
    }
    return std::move(located);
}

}  // namespace

Located locateInPng(ByteReader& reader, SearchDepth depth) {
    return PngSearch(reader, depth).search();
}

}  // namespace ifdsweep

#pragma once

// TiffBuilder writes TIFF files in memory for tests, fuzz seeds and benchmarks: both layouts, both
// byte orders, nested directories, and deliberate lies. It is a writer of its own: nothing of the
// module's is used. Directories and entries are plain values, owned by the builder that they were
// added to. Any thread, one builder per thread.

#include <cstddef>
#include <cstdint>
#include <initializer_list>
#include <optional>
#include <string_view>
#include <vector>

#include "support/byte_verbs.h"

namespace fixture {

enum class Layout : std::uint8_t { classic, big };

/// Layout and byte order of a file, with the widths that follow from the layout.
struct Format {
    Layout layout = Layout::classic;
    ByteOrder byteOrder = ByteOrder::little;

    [[nodiscard]] bool isBig() const { return layout == Layout::big; }
    [[nodiscard]] std::size_t entryCountSize() const { return isBig() ? 8 : 2; }
    [[nodiscard]] std::size_t entrySize() const { return isBig() ? 20 : 12; }
    [[nodiscard]] std::size_t offsetSize() const { return isBig() ? 8 : 4; }
    [[nodiscard]] std::size_t headerSize() const { return isBig() ? 16 : 8; }
    [[nodiscard]] std::size_t valuePosition() const { return isBig() ? 12 : 8; }
};

/// Tag or field type codes.
using Codes = std::vector<std::uint16_t>;

/// Field type codes of TIFF 6.0 and BigTIFF.
enum FieldType : std::uint16_t {
    kNoType = 0,
    kByte = 1,
    kAscii = 2,
    kShort = 3,
    kLong = 4,
    kRational = 5,
    kSByte = 6,
    kUndefined = 7,
    kSShort = 8,
    kSLong = 9,
    kSRational = 10,
    kFloat = 11,
    kDouble = 12,
    kIfd = 13,
    kLong8 = 16,
    kSLong8 = 17,
    kIfd8 = 18,
};

struct Directory;
using Chain = std::vector<Directory>;

/// One directory entry. The `withX` verbs replace what the file says and leave the data as is.
struct Entry {
    std::uint16_t tag = 0;
    std::uint16_t type = kByte;
    std::uint64_t count = 0;
    std::size_t itemSize = 1;                   ///< bytes of one item; half a rational
    std::vector<std::uint64_t> items;           ///< bit patterns, written in the file's byte order
    std::vector<Chain> chains;                  ///< nested chains; their offsets become the items
    std::optional<std::uint64_t> valueField{};  ///< written in place of the value or its offset

    [[nodiscard]] Entry withType(std::uint16_t code) const;
    [[nodiscard]] Entry withCount(std::uint64_t declared) const;
    [[nodiscard]] Entry withValueField(std::uint64_t field) const;
};

/// One directory: entries in the order given, and what it says about itself.
struct Directory {
    Directory() = default;
    Directory(std::initializer_list<Entry> list) : entries(list) {}
    explicit Directory(std::vector<Entry> list) : entries(std::move(list)) {}

    std::vector<Entry> entries{};
    std::optional<std::uint64_t> entryCount{};  ///< written in place of the number of entries
    std::optional<std::uint64_t> next{};        ///< written in place of the real next offset

    [[nodiscard]] Directory withEntryCount(std::uint64_t declared) const;
    [[nodiscard]] Directory withNext(std::uint64_t offset) const;
};

/// An entry of an integer type; for rationals numerators and denominators in turn.
[[nodiscard]] Entry numbers(std::uint16_t tag, std::uint16_t type,
                            const std::vector<std::int64_t>& values);
[[nodiscard]] Entry shorts(std::uint16_t tag, const std::vector<std::int64_t>& values);
[[nodiscard]] Entry longs(std::uint16_t tag, const std::vector<std::int64_t>& values);
[[nodiscard]] Entry floats(std::uint16_t tag, const std::vector<float>& values);
[[nodiscard]] Entry doubles(std::uint16_t tag, const std::vector<double>& values);
/// Exactly these bytes; a terminator only when the text holds one.
[[nodiscard]] Entry ascii(std::uint16_t tag, std::string_view text);
/// A pointer entry of one offset per chain. An empty chain becomes a directory without entries.
[[nodiscard]] Entry pointer(std::uint16_t tag, std::vector<Chain> chains,
                            std::uint16_t type = kLong);

/// Where one directory came to lie; all are file positions.
struct Place {
    std::size_t position = 0;            ///< the entry count
    std::vector<std::size_t> entries{};  ///< one per entry
    std::vector<std::size_t> data{};     ///< one per entry, inside the entry when inline
    std::size_t next = 0;                ///< the next-directory offset
};

/// A finished file.
struct TiffFile {
    Format format{};
    Bytes bytes{};
    std::size_t base = 0;  ///< file position of the TIFF header
    /// Every directory, each followed by those nested in it, entry by entry.
    std::vector<Place> places{};

    [[nodiscard]] std::uint64_t offsetOf(std::size_t position) const { return position - base; }
    /// Overwrites an offset-sized word.
    void setOffset(std::size_t position, std::uint64_t value);
};

class TiffBuilder {
public:
    explicit TiffBuilder(Format tiffFormat) : format(tiffFormat) {}

    /// Appends a directory to the primary chain.
    TiffBuilder& add(Directory directory);
    /// Replaces the version word.
    TiffBuilder& withVersion(std::uint16_t word);
    /// Replaces the offset of the first directory.
    TiffBuilder& withFirstOffset(std::uint64_t offset);
    /// Leaves so many bytes before the data of each entry.
    TiffBuilder& withGaps(std::size_t size);

    /// The file as it stands on disk.
    [[nodiscard]] TiffFile build() const;
    /// The same stream behind other bytes; offsets count from the TIFF header.
    [[nodiscard]] TiffFile buildBehind(const Bytes& prefix) const;
    /// The same stream in the Exif segment of a JPEG file.
    [[nodiscard]] TiffFile buildInJpeg() const;

private:
    Format format;
    Chain primary{};
    std::optional<std::uint16_t> version{};
    std::optional<std::uint64_t> firstOffset{};
    std::size_t gap = 0;
};

}  // namespace fixture

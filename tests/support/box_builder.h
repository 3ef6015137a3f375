#pragma once

// Box builder: writes boxes of the ISO base media file format and its kin in memory, and the boxes
// of a HEIF file that tell where its items lie. A writer of its own: nothing of the library's is
// used. Plain values and pure functions; any thread.

#include <cstddef>
#include <cstdint>
#include <initializer_list>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "support/byte_verbs.h"

namespace fixture {

/// A box: size, type, content.
[[nodiscard]] Bytes box(std::string_view type, const Bytes& content);
/// One with its size in 64 bits behind the type.
[[nodiscard]] Bytes largeBox(std::string_view type, const Bytes& content);
/// One of the size 0: it goes on to the end of what it lies in.
[[nodiscard]] Bytes openBox(std::string_view type, const Bytes& content);
/// One that says another size than it has; its header has 8 bytes.
[[nodiscard]] Bytes lyingBox(std::string_view type, std::uint32_t size, const Bytes& content);
/// One whose content begins with a version and 24 bits of flags.
[[nodiscard]] Bytes fullBox(std::string_view type, std::uint8_t version, std::uint32_t flags,
                            const Bytes& content);
/// One of the type "uuid".
/// @param uuid 16 bytes
[[nodiscard]] Bytes uuidBox(const Bytes& uuid, const Bytes& content);

/// The first box of a file: its major brand, then those that it is compatible with.
[[nodiscard]] Bytes fileTypeBox(std::string_view major,
                                std::initializer_list<std::string_view> compatible = {});

/// An item of a HEIF file, as `infe` tells of it.
struct ItemInfo {
    std::uint32_t id = 1;
    std::string type = "Exif";  ///< written by the versions 2 and 3; before, the item's name
    std::uint8_t version = 2;
    std::uint16_t protection = 0;
};

[[nodiscard]] Bytes itemInfoBox(const ItemInfo& item);

/// The list of them. A count is written in place of their number.
[[nodiscard]] Bytes itemInfosBox(std::uint8_t version, const std::vector<ItemInfo>& items,
                                 std::optional<std::uint64_t> count = {});

struct ItemExtent {
    std::uint64_t offset = 0;
    std::uint64_t length = 0;
    std::uint64_t index = 0;
};

/// Where an item lies, as `iloc` tells of it.
struct ItemLocation {
    std::uint32_t id = 1;
    std::vector<ItemExtent> extents{};
    std::uint64_t baseOffset = 0;
    std::uint16_t constructionMethod = 0;  ///< written by the versions 1 and 2
    std::uint16_t dataReference = 0;
    std::optional<std::uint16_t> extentCount{};  ///< written in place of their number
};

/// The version of `iloc` and the bytes of its numbers.
struct LocationForm {
    std::uint8_t version = 1;
    std::size_t offsetSize = 4;
    std::size_t lengthSize = 4;
    std::size_t baseOffsetSize = 4;
    std::size_t indexSize = 0;
};

[[nodiscard]] Bytes itemLocationsBox(const LocationForm& form,
                                     const std::vector<ItemLocation>& items,
                                     std::optional<std::uint64_t> count = {});

/// `pitm`, with the version that the id needs.
[[nodiscard]] Bytes primaryItemBox(std::uint32_t id);

/// One reference of `iref`: from one item to others.
struct ItemReference {
    std::string type = "cdsc";
    std::uint32_t from = 1;
    std::vector<std::uint32_t> to{};
};

/// @param version 0 for ids of 16 bits, 1 for 32
[[nodiscard]] Bytes itemReferencesBox(std::uint8_t version,
                                      const std::vector<ItemReference>& references);

/// `meta` of the version 0, around other boxes.
[[nodiscard]] Bytes metaBox(const Bytes& boxes);

}  // namespace fixture

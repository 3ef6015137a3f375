#include "support/box_builder.h"

namespace fixture {
namespace {

constexpr std::uint32_t kToTheEnd = 0;
constexpr std::uint32_t kLongSize = 1;

Bytes header(std::uint64_t size, std::string_view type) {
    return joined({bigEndian(4, size), bytesOf(type)});
}

/// How many bytes an id has in `iloc` and `iinf`: 2 or 4.
constexpr std::size_t idSize(bool isLong) {
    return isLong ? 4 : 2;
}

Bytes locationOf(const LocationForm& form, const ItemLocation& item) {
    Bytes bytes = bigEndian(idSize(form.version >= 2), item.id);
    if (form.version >= 1) {
        appendWord(bytes, 2, item.constructionMethod, ByteOrder::big);
    }
    appendWord(bytes, 2, item.dataReference, ByteOrder::big);
    appendWord(bytes, form.baseOffsetSize, item.baseOffset, ByteOrder::big);
    appendWord(bytes, 2, item.extentCount.value_or(item.extents.size()), ByteOrder::big);
    for (const ItemExtent& extent : item.extents) {
        appendWord(bytes, form.version >= 1 ? form.indexSize : 0, extent.index, ByteOrder::big);
        appendWord(bytes, form.offsetSize, extent.offset, ByteOrder::big);
        appendWord(bytes, form.lengthSize, extent.length, ByteOrder::big);
    }
    return bytes;
}

}  // namespace

Bytes box(std::string_view type, const Bytes& content) {
    return joined({header(8 + content.size(), type), content});
}

Bytes largeBox(std::string_view type, const Bytes& content) {
    return joined({header(kLongSize, type), bigEndian(8, 16 + content.size()), content});
}

Bytes openBox(std::string_view type, const Bytes& content) {
    return lyingBox(type, kToTheEnd, content);
}

Bytes lyingBox(std::string_view type, std::uint32_t size, const Bytes& content) {
    return joined({header(size, type), content});
}

Bytes fullBox(std::string_view type, std::uint8_t version, std::uint32_t flags,
              const Bytes& content) {
    return box(type, joined({{version}, bigEndian(3, flags), content}));
}

Bytes uuidBox(const Bytes& uuid, const Bytes& content) {
    return box("uuid", joined({uuid, content}));
}

Bytes fileTypeBox(std::string_view major, std::initializer_list<std::string_view> compatible) {
    Bytes content = joined({bytesOf(major), bigEndian(4, 0)});
    for (const std::string_view brand : compatible) {
        content = joined({content, bytesOf(brand)});
    }
    return box("ftyp", content);
}

Bytes itemInfoBox(const ItemInfo& item) {
    const Bytes id = bigEndian(idSize(item.version == 3), item.id);
    const Bytes protection = bigEndian(2, item.protection);
    const Bytes empty{0};  // a text that ends at once
    return fullBox("infe", item.version, 0,
                   item.version >= 2 ? joined({id, protection, bytesOf(item.type), empty})
                                     : joined({id, protection, bytesOf(item.type), empty, empty}));
}

Bytes itemInfosBox(std::uint8_t version, const std::vector<ItemInfo>& items,
                   std::optional<std::uint64_t> count) {
    Bytes content = bigEndian(idSize(version > 0), count.value_or(items.size()));
    for (const ItemInfo& item : items) {
        const Bytes entry = itemInfoBox(item);
        content.insert(content.end(), entry.begin(), entry.end());
    }
    return fullBox("iinf", version, 0, content);
}

Bytes itemLocationsBox(const LocationForm& form, const std::vector<ItemLocation>& items,
                       std::optional<std::uint64_t> count) {
    Bytes content{static_cast<std::uint8_t>(form.offsetSize << 4U | form.lengthSize),
                  static_cast<std::uint8_t>(form.baseOffsetSize << 4U |
                                            (form.version >= 1 ? form.indexSize : 0))};
    appendWord(content, idSize(form.version >= 2), count.value_or(items.size()), ByteOrder::big);
    for (const ItemLocation& item : items) {
        const Bytes entry = locationOf(form, item);
        content.insert(content.end(), entry.begin(), entry.end());
    }
    return fullBox("iloc", form.version, 0, content);
}

Bytes primaryItemBox(std::uint32_t id) {
    const bool isLong = id > 0xFFFF;
    return fullBox("pitm", isLong ? 1 : 0, 0, bigEndian(idSize(isLong), id));
}

Bytes itemReferencesBox(std::uint8_t version, const std::vector<ItemReference>& references) {
    const std::size_t size = idSize(version > 0);
    Bytes content;
    for (const ItemReference& reference : references) {
        Bytes ids = joined({bigEndian(size, reference.from), bigEndian(2, reference.to.size())});
        for (const std::uint32_t id : reference.to) {
            appendWord(ids, size, id, ByteOrder::big);
        }
        content = joined({content, box(reference.type, ids)});
    }
    return fullBox("iref", version, 0, content);
}

Bytes metaBox(const Bytes& boxes) {
    return fullBox("meta", 0, 0, boxes);
}

}  // namespace fixture

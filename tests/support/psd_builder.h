#pragma once

// PSD and PSB files in memory: the header, the colours, the image resources, and a little behind
// them. Sizes can lie on purpose. Pure functions; any thread.

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string_view>
#include <vector>

#include "support/byte_verbs.h"

namespace fixture {

struct PsdResource {
    std::uint16_t id = 0;
    Bytes data{};
    std::string_view name{};
    std::string_view signature = "8BIM";
    std::optional<std::uint32_t> size{};  ///< written in place of that of the data
};

struct PsdFile {
    std::uint16_t version = 1;
    Bytes colours{};
    std::vector<PsdResource> resources{};
    std::optional<std::uint32_t> coloursSize{};    ///< written in place of the real one
    std::optional<std::uint32_t> resourcesSize{};  ///< written in place of the real one
};

/// Names and data are padded to an even size.
[[nodiscard]] inline Bytes psdResource(const PsdResource& resource) {
    Bytes bytes(resource.signature.begin(), resource.signature.end());
    appendWord(bytes, 2, resource.id, ByteOrder::big);
    appendWord(bytes, 1, resource.name.size(), ByteOrder::big);
    bytes.insert(bytes.end(), resource.name.begin(), resource.name.end());
    bytes.resize(bytes.size() + (resource.name.size() + 1) % 2);
    appendWord(bytes, 4, resource.size.value_or(static_cast<std::uint32_t>(resource.data.size())),
               ByteOrder::big);
    bytes.insert(bytes.end(), resource.data.begin(), resource.data.end());
    bytes.resize(bytes.size() + resource.data.size() % 2);
    return bytes;
}

/// The first resource begins at position 34, behind colours of no size.
[[nodiscard]] inline Bytes psdOf(const PsdFile& file) {
    Bytes resources;
    for (const PsdResource& resource : file.resources) {
        const Bytes bytes = psdResource(resource);
        resources.insert(resources.end(), bytes.begin(), bytes.end());
    }
    constexpr std::size_t kHeader = 26;
    Bytes bytes{'8', 'B', 'P', 'S'};
    appendWord(bytes, 2, file.version, ByteOrder::big);
    bytes.resize(kHeader);
    const auto appendSection = [&](const Bytes& content, std::optional<std::uint32_t> size) {
        appendWord(bytes, 4, size.value_or(static_cast<std::uint32_t>(content.size())),
                   ByteOrder::big);
        bytes.insert(bytes.end(), content.begin(), content.end());
    };
    appendSection(file.colours, file.coloursSize);
    appendSection(resources, file.resourcesSize);
    appendWord(bytes, 4, 0, ByteOrder::big);  // no layers
    return bytes;
}

}  // namespace fixture

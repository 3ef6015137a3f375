#pragma once

// Public tags: names of tags that the dictionaries lack. A record keeps such a tag among its
// unknown tags and under its number; only what is shown to people, and what people ask for, has the
// name. Constants; any thread.

#include <cstdint>
#include <span>
#include <string_view>

#include "ifdsweep/entry_sink.h"

namespace ifdsweep {

struct PublicTag {
    std::uint16_t number;
    std::string_view name;
};

/// The public tags of a kind of directory, in ascending order of their numbers.
[[nodiscard]] std::span<const PublicTag> publicTags(DirectoryKind kind);

/// The public name of a tag in a kind of directory; empty when it has none, or when the dictionary
/// of the kind names it.
[[nodiscard]] std::string_view publicTagName(DirectoryKind kind, std::uint16_t tag);

}  // namespace ifdsweep

#include "columns/column_type.h"

#include <array>
#include <cstddef>

namespace ifdsweep {
namespace {

struct TypeRow {
    std::string_view word;
    std::string_view listWord;
    const char* format;
};

/// In the order of `ItemType`.
constexpr std::array<TypeRow, 12> kTypes{{
    {"int16", "list<int16>", "s"},
    {"int32", "list<int32>", "i"},
    {"int64", "list<int64>", "l"},
    {"float64", "list<float64>", "g"},
    {"boolean", "list<boolean>", "b"},
    {"utf8", "list<utf8>", "u"},
    {"binary", "list<binary>", "z"},
    {"word", "list<word>", "i"},
    {"time", "list<time>", "tsu:"},
    {"instant", "list<instant>", "tsu:UTC"},
    {"rational", "list<rational>", "+s"},
    {"unknownTag", "list<unknownTag>", "+s"},
}};
static_assert(kTypes.size() == static_cast<std::size_t>(ItemType::unknownTag) + 1);

}  // namespace

std::string_view columnTypeWord(const ColumnType& type) noexcept {
    const TypeRow& row = kTypes[static_cast<std::size_t>(type.item)];
    return type.isList ? row.listWord : row.word;
}

const char* arrowFormat(ItemType item) noexcept {
    return kTypes[static_cast<std::size_t>(item)].format;
}

}  // namespace ifdsweep

#include "columns/column_storage.h"

namespace ifdsweep {
namespace {

// clang-format off
constexpr std::array<Member, 2> kRational{{
    {"num", {ItemType::int64}},
    {"den", {ItemType::int64}},
}};

constexpr std::array<Member, 6> kUnknownTag{{
    {"tag",      {ItemType::int32}},
    {"type",     {ItemType::int32}},
    {"count",    {ItemType::int64}},
    {"position", {ItemType::int64}},
    {"text",     {ItemType::utf8}},
    {"numbers",  {ItemType::float64, true}},
}};
// clang-format on

}  // namespace

std::span<const Member> membersOf(ItemType item) noexcept {
    switch (item) {
        case ItemType::rational:
            return kRational;
        case ItemType::unknownTag:
            return kUnknownTag;
        default:
            return {};
    }
}

}  // namespace ifdsweep

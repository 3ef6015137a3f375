#pragma once

// What the field types and the rules about them must be, written out a second time. Constant data;
// any thread.

#include <array>
#include <cstdint>
#include <string_view>
#include <vector>

namespace fixture {

struct TypeRow {
    std::uint16_t code;
    std::string_view name;
    unsigned width;  ///< bytes of one component
};

// clang-format off
inline constexpr std::array<TypeRow, 17> kTypeRows{{
    {0, "TIFF_NOTYPE", 0},
    {1, "TIFF_BYTE", 1},
    {2, "TIFF_ASCII", 1},
    {3, "TIFF_SHORT", 2},
    {4, "TIFF_LONG", 4},
    {5, "TIFF_RATIONAL", 8},
    {6, "TIFF_SBYTE", 1},
    {7, "TIFF_UNDEFINED", 1},
    {8, "TIFF_SSHORT", 2},
    {9, "TIFF_SLONG", 4},
    {10, "TIFF_SRATIONAL", 8},
    {11, "TIFF_FLOAT", 4},
    {12, "TIFF_DOUBLE", 8},
    {13, "TIFF_IFD", 4},
    {16, "TIFF_LONG8", 8},
    {17, "TIFF_SLONG8", 8},
    {18, "TIFF_IFD8", 8},
}};
// clang-format on

/// Tags that must hold exactly one component.
inline constexpr std::array<std::uint16_t, 7> kSingleComponentTags{256, 257, 278, 322,
                                                                   323, 284, 277};

struct TypeRule {
    std::uint16_t tag;
    std::vector<std::uint16_t> accepted;  ///< field type codes
    std::string_view expected;            ///< as the warning lists them
};

/// Tags whose field type is checked; the warning is the "Multiple" one where the text has a comma.
// clang-format off
inline const std::vector<TypeRule> kTypeRules{
    {254, {4}, "TIFF_LONG"},
    {255, {3}, "TIFF_SHORT"},
    {256, {3, 4}, "TIFF_SHORT, TIFF_LONG"},
    {257, {3, 4}, "TIFF_SHORT, TIFF_LONG"},
    {258, {3}, "TIFF_SHORT"},
    {259, {3}, "TIFF_SHORT"},
    {262, {3}, "TIFF_SHORT"},
    {263, {3}, "TIFF_SHORT"},
    {266, {3}, "TIFF_SHORT"},
    {269, {2}, "TIFF_ASCII"},
    {270, {2}, "TIFF_ASCII"},
    {271, {2}, "TIFF_ASCII"},
    {272, {2}, "TIFF_ASCII"},
    {273, {3, 4, 16}, "TIFF_SHORT, TIFF_LONG, TIFF_LONG8"},
    {274, {3}, "TIFF_SHORT"},
    {277, {3}, "TIFF_SHORT"},
    {278, {3, 4}, "TIFF_SHORT, TIFF_LONG"},
    {279, {3, 4, 16}, "TIFF_SHORT, TIFF_LONG, TIFF_LONG8"},
    {280, {3}, "TIFF_SHORT"},
    {281, {3}, "TIFF_SHORT"},
    {282, {5}, "TIFF_RATIONAL"},
    {283, {5}, "TIFF_RATIONAL"},
    {284, {3}, "TIFF_SHORT"},
    {286, {5}, "TIFF_RATIONAL"},
    {287, {5}, "TIFF_RATIONAL"},
    {292, {4}, "TIFF_LONG"},
    {293, {4}, "TIFF_LONG"},
    {296, {3}, "TIFF_SHORT"},
    {297, {3}, "TIFF_SHORT"},
    {301, {3}, "TIFF_SHORT"},
    {305, {2}, "TIFF_ASCII"},
    {306, {2}, "TIFF_ASCII"},
    {315, {2}, "TIFF_ASCII"},
    {316, {2}, "TIFF_ASCII"},
    {317, {3}, "TIFF_SHORT"},
    {318, {5}, "TIFF_RATIONAL"},
    {319, {5}, "TIFF_RATIONAL"},
    {320, {3}, "TIFF_SHORT"},
    {321, {3}, "TIFF_SHORT"},
    {322, {3, 4}, "TIFF_SHORT, TIFF_LONG"},
    {323, {3, 4}, "TIFF_SHORT, TIFF_LONG"},
    {324, {3, 4, 16}, "TIFF_SHORT, TIFF_LONG, TIFF_LONG8"},
    {325, {3, 4, 16}, "TIFF_SHORT, TIFF_LONG, TIFF_LONG8"},
    {326, {3, 4}, "TIFF_SHORT, TIFF_LONG"},
    {327, {3}, "TIFF_SHORT"},
    {328, {3, 4}, "TIFF_SHORT, TIFF_LONG"},
    {330, {4, 13, 18}, "TIFF_IFD, TIFF_LONG, TIFF_IFD8"},
    {332, {3}, "TIFF_SHORT"},
    {333, {2}, "TIFF_ASCII"},
    {334, {3}, "TIFF_SHORT"},
    {336, {1, 3}, "TIFF_BYTE, TIFF_SHORT"},
    {338, {3}, "TIFF_SHORT"},
    {339, {3}, "TIFF_SHORT"},
    {343, {1}, "TIFF_BYTE"},
    {347, {7}, "TIFF_UNDEFINED"},
    {512, {3}, "TIFF_SHORT"},
    {513, {4}, "TIFF_LONG"},
    {514, {4}, "TIFF_LONG"},
    {515, {3}, "TIFF_SHORT"},
    {519, {4}, "TIFF_LONG"},
    {520, {4}, "TIFF_LONG"},
    {521, {4}, "TIFF_LONG"},
    {529, {5}, "TIFF_RATIONAL"},
    {530, {3}, "TIFF_SHORT"},
    {531, {3}, "TIFF_SHORT"},
    {532, {5}, "TIFF_RATIONAL"},
    {700, {1}, "TIFF_BYTE"},
    {33432, {2}, "TIFF_ASCII"},
};
// clang-format on

}  // namespace fixture

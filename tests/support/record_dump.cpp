#include "support/record_dump.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <optional>

namespace fixture {
namespace {

std::string_view className(ifdsweep::ValueKind kind) {
    switch (kind) {
        case ifdsweep::ValueKind::Double:
            return "double";
        case ifdsweep::ValueKind::Uint8:
            return "uint8";
        case ifdsweep::ValueKind::Char:
            return "char";
        case ifdsweep::ValueKind::Cell:
            return "cell";
        case ifdsweep::ValueKind::Struct:
            return "struct";
    }
    return "no class";
}

/// Column-major elements as rows: spaces between columns, semicolons between rows.
template <class Text>
std::string matrixText(const ifdsweep::Value& value, const Text& textOf) {
    std::string text;
    for (std::size_t row = 0; row < value.rows(); ++row) {
        for (std::size_t column = 0; column < value.columns(); ++column) {
            if (column > 0) {
                text += ' ';
            } else if (row > 0) {
                text += "; ";
            }
            text += textOf(column * value.rows() + row);
        }
    }
    return '[' + text + ']';
}

std::string cellText(const ifdsweep::Value& value) {
    std::string text;
    for (std::size_t i = 0; i < value.elementCount(); ++i) {
        text += (i > 0 ? ", " : "") + dump(value.cell(i));
    }
    return '{' + text + '}';
}

bool isHeadName(std::string_view name) {
    const auto& names = headNames();
    return std::find(names.begin(), names.end(), name) != names.end();
}

std::string recordText(const ifdsweep::Value& value) {
    const bool isPrimary = value.fieldIndex("Filename").has_value();
    std::string text;
    for (std::size_t element = 0; element < value.elementCount(); ++element) {
        std::string fields;
        for (std::size_t f = 0; f < value.fieldCount(); ++f) {
            const std::string name(value.fieldName(f));
            const ifdsweep::Value* field = value.field(element, f);
            if (field == nullptr || (isPrimary && isHeadName(name))) {
                continue;
            }
            fields += (fields.empty() ? "" : " ") + name + '=' + dump(field);
        }
        text += '(' + fields + ')';
    }
    return text;
}

}  // namespace

std::string numberText(double value) {
    if (std::isnan(value)) {
        return "NaN";
    }
    if (std::isinf(value)) {
        return value > 0 ? "Infinity" : "-Infinity";
    }
    constexpr double kExact = 9007199254740992.0;
    std::array<char, 64> digits{};
    const auto end =
        value == std::trunc(value) && std::fabs(value) <= kExact
            ? std::to_chars(digits.begin(), digits.end(), static_cast<std::int64_t>(value))
            : std::to_chars(digits.begin(), digits.end(), value);
    return {digits.data(), end.ptr};
}

std::string rowText(const std::vector<double>& values) {
    if (values.empty()) {
        return "double(1x0)";
    }
    std::string text;
    for (const double value : values) {
        text += (text.empty() ? "" : " ") + numberText(value);
    }
    return values.size() == 1 ? text : '[' + text + ']';
}

std::string quotedText(std::u16string_view units) {
    constexpr std::string_view kDigits = "0123456789ABCDEF";
    std::string text = "'";
    for (const char16_t unit : units) {
        if (unit >= 0x20 && unit < 0x7F && unit != u'\'' && unit != u'\\') {
            text += static_cast<char>(unit);
            continue;
        }
        text += "\\u";
        for (const int shift : {12, 8, 4, 0}) {
            text += kDigits[static_cast<std::size_t>(unit >> shift & 15)];
        }
    }
    return text + '\'';
}

std::string shapeText(const ifdsweep::Value& value) {
    return std::string(className(value.kind())) + ' ' + std::to_string(value.rows()) + 'x' +
           std::to_string(value.columns());
}

std::string dump(const ifdsweep::Value* value) {
    if (value == nullptr) {
        return "empty";
    }
    if (value->elementCount() == 0) {
        return std::string(className(value->kind())) + '(' + std::to_string(value->rows()) + 'x' +
               std::to_string(value->columns()) + ')';
    }
    switch (value->kind()) {
        case ifdsweep::ValueKind::Double: {
            const auto textOf = [&](std::size_t i) { return numberText(value->doubles()[i]); };
            return value->elementCount() == 1 ? textOf(0) : matrixText(*value, textOf);
        }
        case ifdsweep::ValueKind::Uint8:
            return "uint8" + matrixText(*value, [&](std::size_t i) {
                       return std::to_string(value->bytes()[i]);
                   });
        case ifdsweep::ValueKind::Char:
            return quotedText(value->text());
        case ifdsweep::ValueKind::Cell:
            return cellText(*value);
        case ifdsweep::ValueKind::Struct:
            return recordText(*value);
    }
    return "no class";
}

const std::vector<std::string>& headNames() {
    // clang-format off
    static const std::vector<std::string> kNames{
        "Filename", "FileModDate", "FileSize", "Format", "FormatVersion",
        "Width", "Height", "BitDepth", "ColorType", "FormatSignature", "ByteOrder",
        "NewSubFileType", "BitsPerSample", "Compression", "PhotometricInterpretation",
        "StripOffsets", "SamplesPerPixel", "RowsPerStrip", "StripByteCounts",
        "XResolution", "YResolution", "ResolutionUnit", "Colormap", "PlanarConfiguration",
        "TileWidth", "TileLength", "TileOffsets", "TileByteCounts",
        "Orientation", "FillOrder", "GrayResponseUnit", "MaxSampleValue", "MinSampleValue",
        "Thresholding", "Offset"};
    // clang-format on
    return kNames;
}

}  // namespace fixture

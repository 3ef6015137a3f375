// The checks of an entry's field type and component count.

#include <algorithm>

#include "support/tag_name_rows.h"
#include "support/tiff_matrix.h"
#include "support/type_rows.h"

namespace fixture {
namespace {

class FieldTypes : public TiffMatrix {};
IFDSWEEP_TIFF_MATRIX(FieldTypes);

std::string nameOfTag(std::uint16_t id) {
    const auto* row = std::find_if(kPrimaryRows.begin(), kPrimaryRows.end(),
                                   [&](const NameRow& each) { return each.id == id; });
    return row == kPrimaryRows.end() ? "" : std::string(row->name);
}

/// One component of any type; a pointer must lead somewhere, so it leads to itself.
Entry oneComponent(std::uint16_t tag, std::uint16_t type) {
    return numbers(tag, type,
                   type == kRational || type == kSRational ? std::vector<std::int64_t>{0x7F, 1}
                                                           : std::vector<std::int64_t>{0x7F});
}

/// The warnings about the field type alone.
Lines typeWarnings(const Call& given) {
    Lines lines;
    for (const std::string& warning : given.warnings) {
        if (warning.rfind("expectedTagDataFormat", 0) == 0) {
            lines.push_back(warning);
        }
    }
    return lines;
}

/// What a tag of a type must draw.
Lines expectedWarnings(std::uint16_t tag, const TypeRow& type, const std::string& name) {
    for (const TypeRule& rule : kTypeRules) {
        const auto& accepted = rule.accepted;
        if (rule.tag != tag ||
            std::find(accepted.begin(), accepted.end(), type.code) != accepted.end()) {
            continue;
        }
        const bool isMultiple = rule.expected.find(',') != std::string_view::npos;
        return {std::string("expectedTagDataFormat") + (isMultiple ? "Multiple" : "") + "('" +
                name + "', '" + std::string(type.name) + "', '" + std::string(rule.expected) +
                "')"};
    }
    return {};
}

TEST_P(FieldTypes, EveryTagIsCheckedAgainstItsRuleAndKept) {
    for (const TypeRow& type : kTypeRows) {
        if (type.code == kNoType) {
            continue;
        }
        for (unsigned id = 254; id <= 33450; ++id) {
            const auto tag = static_cast<std::uint16_t>(id);
            if (id > 800 && id != 33432) {
                continue;  // no rules there; `OtherTagsAreNeverChecked` has them all
            }
            const Call given = callOf({{oneComponent(tag, type.code)}});
            ASSERT_EQ(given.error, "") << id;
            EXPECT_EQ(typeWarnings(given), expectedWarnings(tag, type, nameOfTag(tag)))
                << id << ' ' << type.name;
        }
    }
}

TEST_P(FieldTypes, OtherTagsAreNeverChecked) {
    for (const TypeRow& type : kTypeRows) {
        if (type.code == kNoType) {
            continue;
        }
        Directory directory;
        for (unsigned id = 0; id <= 0xFFFF; ++id) {
            const auto tag = static_cast<std::uint16_t>(id);
            const bool isRuled = std::any_of(kTypeRules.begin(), kTypeRules.end(),
                                             [&](const TypeRule& rule) { return rule.tag == tag; });
            const bool isPointer = tag == 34665 || tag == 34853 || tag == 40965;
            if (!isRuled && !isPointer && directory.entries.size() < 65000) {
                directory.entries.push_back(oneComponent(tag, type.code));
            }
        }
        EXPECT_EQ(
            typeWarnings(inspect(fileOf({directory}).bytes, {}, [](const ifdsweep::Value&) {})),
            Lines{})
            << type.name;
    }
}

TEST_P(FieldTypes, GpsEntriesAreNeverChecked) {
    for (const TypeRow& type : kTypeRows) {
        if (type.code == kNoType) {
            continue;
        }
        Directory directory;
        for (std::uint16_t tag = 0; tag <= 30; ++tag) {
            directory.entries.push_back(oneComponent(tag, type.code));
        }
        EXPECT_EQ(typeWarnings(callOf({{pointer(34853, {{directory}})}})), Lines{});
    }
}

TEST_P(FieldTypes, TheIdAloneDecidesAndTheNameIsThatOfTheDirectory) {
    EXPECT_EQ(callOf({{pointer(34665, {{{shorts(270, {1})}}})}}).warnings,
              (Lines{"expectedTagDataFormat('ImageDescription', 'TIFF_SHORT', 'TIFF_ASCII')"}));
    EXPECT_EQ(callOf({{pointer(34853, {{{shorts(270, {1})}}})}}).warnings,
              (Lines{"expectedTagDataFormat('', 'TIFF_SHORT', 'TIFF_ASCII')"}));
    EXPECT_EQ(callOf({{pointer(40965, {{{shorts(270, {1})}}})}}).warnings,
              (Lines{"expectedTagDataFormat('', 'TIFF_SHORT', 'TIFF_ASCII')"}));
}

TEST_P(FieldTypes, StripOffsetsMayBeLong8AndWidthMayNot) {
    const Call given = callOf({{numbers(273, kLong8, {8}), numbers(256, kLong8, {640})}});
    EXPECT_EQ(given.value("StripOffsets"), "8");
    EXPECT_EQ(given.value("Width"), "640");
    EXPECT_EQ(given.warnings, (Lines{"expectedTagDataFormatMultiple('Width', 'TIFF_LONG8', "
                                     "'TIFF_SHORT, TIFF_LONG')"}));
}

TEST_P(FieldTypes, CopyrightStoredAsBytesWarnsAndIsDecoded) {
    const Call given = callOf({{numbers(33432, kByte, {65, 66})}});
    EXPECT_EQ(given.added(), "Copyright=[65 66]");
    EXPECT_EQ(given.warnings,
              (Lines{"expectedTagDataFormat('Copyright', 'TIFF_BYTE', 'TIFF_ASCII')"}));
}

TEST_P(FieldTypes, JpegTablesMustBeUndefined) {
    EXPECT_EQ(callOf({{numbers(347, kByte, {1})}}).warnings,
              (Lines{"expectedTagDataFormat('JPEGTables', 'TIFF_BYTE', 'TIFF_UNDEFINED')"}));
    EXPECT_EQ(callOf({{numbers(347, kUndefined, {1})}}).warnings, Lines{});
}

TEST_P(FieldTypes, Tag519IsCheckedUnderAnEmptyName) {
    EXPECT_EQ(callOf({{shorts(519, {1})}}).warnings,
              (Lines{"expectedTagDataFormat('', 'TIFF_SHORT', 'TIFF_LONG')"}));
}

TEST_P(FieldTypes, AWrongCountOfASingleValueEndsTheCall) {
    for (const std::uint16_t tag : kSingleComponentTags) {
        const std::string name = nameOfTag(tag);
        for (const std::uint64_t count : std::vector<std::uint64_t>{0, 2, 3, 70000}) {
            const Call given =
                callOf({{ascii(315, "before")}, {shorts(tag, {1}).withCount(count)}});
            EXPECT_EQ(given.error, "badTagDataCount(" + std::to_string(tag) + ", '" + name + "', " +
                                       std::to_string(count) + ", 1)");
            EXPECT_EQ(given.result, "");
            EXPECT_EQ(given.warnings,
                      count == 0 ? Lines{"zeroComponentCount('" + name + "')"} : Lines{});
        }
        EXPECT_EQ(callOf({{shorts(tag, {1})}}).error, "");
    }
}

TEST_P(FieldTypes, TheCountRuleHoldsInEveryKindOfDirectory) {
    for (const std::uint16_t pointerTag : Codes{330, 34665, 34853, 40965}) {
        const Call given = callOf({{pointer(pointerTag, {{{shorts(277, {1, 2, 3})}}})}});
        EXPECT_EQ(given.error, "badTagDataCount(277, 'SamplesPerPixel', 3, 1)");
    }
}

TEST_P(FieldTypes, AnUnrecognizedTypeGoesBeforeAWrongCount) {
    const Call given = callOf({{shorts(277, {1, 2, 3}).withType(14)}});
    EXPECT_EQ(given.error, "");
    EXPECT_EQ(given.warnings, (Lines{"unrecognizedTagFormatId(14)"}));
}

TEST_P(FieldTypes, AWrongCountGoesBeforeDataPastTheEnd) {
    const Call given = callOf({{longs(277, {1, 2, 3}).withCount(0x7FFFFFFF)}});
    EXPECT_EQ(given.error, "badTagDataCount(277, 'SamplesPerPixel', 2147483647, 1)");
    EXPECT_EQ(given.warnings, Lines{});
}

}  // namespace
}  // namespace fixture

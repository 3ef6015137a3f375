// Every possible tag id in every kind of directory.

#include <algorithm>
#include <map>
#include <set>

#include "support/record_dump.h"
#include "support/tag_name_rows.h"
#include "support/tags.h"
#include "support/tiff_matrix.h"

namespace fixture {
namespace {

class TagNames : public TiffMatrix {};
IFDSWEEP_TIFF_MATRIX(TagNames);

using Names = std::map<std::uint16_t, std::string>;

template <class Rows>
Names namesOf(const Rows& rows) {
    Names names;
    for (const NameRow& row : rows) {
        names.emplace(row.id, row.name);
    }
    return names;
}

/// 256 and 257 never become fields; pointers show only what they lead to.
bool isPlain(std::uint16_t id) {
    static const std::set<std::uint16_t> kOthers{256, 257, 330, kExif, kGps, kInterop};
    return kOthers.count(id) == 0;
}

/// Every plain id of a range in ascending order.
Directory plainIds(unsigned first, unsigned last) {
    Directory directory;
    for (unsigned id = first; id <= last; ++id) {
        const auto tag = static_cast<std::uint16_t>(id);
        if (isPlain(tag)) {
            directory.entries.push_back(shorts(tag, {1}));
        }
    }
    return directory;
}

std::set<std::string> fieldsBeyond(const std::vector<std::string>& fields) {
    const auto& head = headNames();
    std::set<std::string> names;
    for (const std::string& field : fields) {
        if (std::find(head.begin(), head.end(), field) == head.end()) {
            names.insert(field);
        }
    }
    return names;
}

/// The field names of a record array and the ids of its first element's unknown tags, in order.
struct Fields {
    Lines names{};
    std::vector<unsigned> unknownIds{};
};

Fields fieldsOf(const ifdsweep::Value& records) {
    Fields fields;
    for (std::size_t f = 0; f < records.fieldCount(); ++f) {
        fields.names.emplace_back(records.fieldName(f));
    }
    const auto unknownField = records.fieldIndex("UnknownTags");
    const ifdsweep::Value* unknown = unknownField ? records.field(0, *unknownField) : nullptr;
    for (std::size_t i = 0; unknown != nullptr && i < unknown->elementCount(); ++i) {
        fields.unknownIds.push_back(static_cast<unsigned>(
            unknown->field(i, unknown->fieldIndex("ID").value())->doubles()[0]));
    }
    return fields;
}

/// What the plain ids of a range must become, names in `head` standing at its beginning.
Fields expectedFields(const Names& names, unsigned first, unsigned last, const Lines& head) {
    Fields fields{head, {}};
    for (unsigned id = first; id <= last; ++id) {
        const auto name = names.find(static_cast<std::uint16_t>(id));
        if (!isPlain(static_cast<std::uint16_t>(id))) {
            continue;
        }
        if (name == names.end()) {
            fields.unknownIds.push_back(id);
        } else if (std::count(head.begin(), head.end(), name->second) == 0) {
            fields.names.push_back(name->second);
        }
    }
    if (!fields.unknownIds.empty()) {
        fields.names.emplace_back("UnknownTags");
    }
    return fields;
}

TEST_P(TagNames, EveryIdOfAPrimaryDirectoryIsAFieldOrUnknown) {
    const Names names = namesOf(kPrimaryRows);
    for (const unsigned first : {0U, 0x8000U}) {
        const unsigned last = first + 0x7FFF;
        const Fields expected = expectedFields(names, first, last, headNames());
        Fields seen;
        const Call given = inspect(fileOf({plainIds(first, last)}).bytes, {},
                                   [&](const ifdsweep::Value& result) { seen = fieldsOf(result); });
        EXPECT_EQ(given.error, "");
        EXPECT_EQ(seen.names, expected.names);
        EXPECT_EQ(seen.unknownIds, expected.unknownIds);
    }
}

TEST_P(TagNames, EveryIdOfANestedDirectoryIsAFieldOrUnknown) {
    struct Kind {
        std::uint16_t pointerTag;
        std::string field;
        Names names;
    };
    const std::vector<Kind> kinds{{kExif, "DigitalCamera", namesOf(kPrimaryRows)},
                                  {kGps, "GPSInfo", namesOf(kGpsRows)},
                                  {kInterop, "InteroperabilityIFD", namesOf(kInteropRows)}};
    for (const Kind& kind : kinds) {
        for (const unsigned first : {0U, 0x8000U}) {
            const unsigned last = first + 0x7FFF;
            const Fields expected = expectedFields(kind.names, first, last, {});
            Fields seen;
            const Call given =
                inspect(fileOf({{pointer(kind.pointerTag, {{plainIds(first, last)}})}}).bytes, {},
                        [&](const ifdsweep::Value& result) {
                            const ifdsweep::Value* nested =
                                result.field(0, result.fieldIndex(kind.field).value());
                            ASSERT_NE(nested, nullptr);
                            seen = fieldsOf(*nested);
                        });
            EXPECT_EQ(given.error, "");
            EXPECT_EQ(seen.names, expected.names);
            EXPECT_EQ(seen.unknownIds, expected.unknownIds);
        }
    }
}

TEST_P(TagNames, PointersHaveTheirNames) {
    const Call given = callOf(
        {{pointer(330, {{{shorts(60000, {1})}}}), pointer(kExif, {{{shorts(60000, {1})}}}),
          pointer(kGps, {{{shorts(60000, {1})}}}), pointer(kInterop, {{{shorts(60000, {1})}}})}});
    EXPECT_EQ(
        fieldsBeyond(given.names()),
        (std::set<std::string>{"SubIFDs", "DigitalCamera", "GPSInfo", "InteroperabilityIFD"}));
}

TEST_P(TagNames, TheFirstNameOf347Wins) {
    const Call given =
        callOf({{numbers(347, kUndefined, {1}), longs(519, {2}), shorts(65535, {3})}});
    EXPECT_EQ(given.added(),
              "JPEGTables=1 DCSHuesShiftValues=3 UnknownTags=(ID=519 Offset=0 Value=2)");
    EXPECT_EQ(given.warnings, Lines{});
}

TEST_P(TagNames, TheKindOfTheDirectoryDecidesTheName) {
    const Call given = callOf({{shorts(2, {7}), pointer(kGps, {{{shorts(2, {7})}}}),
                                pointer(kInterop, {{{shorts(2, {7})}}}),
                                pointer(kExif, {{{ascii(271, "M"), shorts(2, {7})}}})}});
    EXPECT_EQ(given.added(),
              "DigitalCamera=(Make='M' UnknownTags=(ID=2 Offset=0 Value=7)) "
              "GPSInfo=(GPSLatitude=7) InteroperabilityIFD=(InteroperabilityVersion=7) "
              "UnknownTags=(ID=2 Offset=0 Value=7)");
}

TEST_P(TagNames, Tag4096IsKnownToInteroperabilityAlone) {
    const Call given = callOf(
        {{pointer(kInterop, {{{ascii(4096, "JPEG")}}}), pointer(kGps, {{{shorts(4096, {7})}}})}});
    EXPECT_EQ(given.added(),
              "GPSInfo=(UnknownTags=(ID=4096 Offset=0 Value=7)) "
              "InteroperabilityIFD=(RelatedImageFileFormat='JPEG')");
}

}  // namespace
}  // namespace fixture

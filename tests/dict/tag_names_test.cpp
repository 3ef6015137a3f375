// The dictionaries against a list of their own, in both directions.

#include "dict/tag_names.h"

#include <gtest/gtest.h>

#include <map>
#include <string>

#include "support/tag_name_rows.h"

namespace fixture {
namespace {

using namespace ifdsweep::module;

template <class Rows>
void expectRows(const TextMap& dictionary, const Rows& rows) {
    std::map<unsigned, std::string> expected;
    for (const NameRow& row : rows) {
        expected.emplace(row.id, row.name);
    }
    ASSERT_EQ(expected.size(), rows.size());
    for (unsigned id = 0; id <= 0xFFFF; ++id) {
        const auto row = expected.find(id);
        EXPECT_EQ(search_map(&dictionary, static_cast<std::uint16_t>(id)),
                  row == expected.end() ? "unknown" : row->second)
            << id;
    }
    EXPECT_EQ(dictionary.size(), rows.size());
}

TEST(TagNames, PrimaryMapHasItsRowsAndNoOthers) {
    EXPECT_EQ(kPrimaryRows.size(), 272U);
    expectRows(primaryMap, kPrimaryRows);
}

TEST(TagNames, GpsMapHasItsRowsAndNoOthers) {
    EXPECT_EQ(kGpsRows.size(), 31U);
    expectRows(GPSmap, kGpsRows);
}

TEST(TagNames, InteropMapHasItsRowsAndNoOthers) {
    EXPECT_EQ(kInteropRows.size(), 5U);
    expectRows(interopMap, kInteropRows);
}

TEST(TagNames, TheKindChoosesTheDictionary) {
    EXPECT_EQ(&dictionaryOf(primaryIFD), &primaryMap);
    EXPECT_EQ(&dictionaryOf(exifIFD), &primaryMap);
    EXPECT_EQ(&dictionaryOf(GPSIFD), &GPSmap);
    EXPECT_EQ(&dictionaryOf(interopIFD), &interopMap);
    EXPECT_EQ(&dictionaryOf(static_cast<IFDtype_t_>(4)), &interopMap);
    EXPECT_EQ(&dictionaryOf(static_cast<IFDtype_t_>(99)), &interopMap);
}

TEST(TagNames, SearchInAnEmptyMapIsAlwaysUnknown) {
    const TextMap empty{};
    for (unsigned id = 0; id <= 0xFFFF; ++id) {
        ASSERT_STREQ(search_map(&empty, static_cast<std::uint16_t>(id)), "unknown");
    }
}

}  // namespace
}  // namespace fixture

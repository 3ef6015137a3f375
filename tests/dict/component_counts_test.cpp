// The tags that must hold one component, among all possible ids.

#include <gtest/gtest.h>

#include <algorithm>
#include <string>

#include "dict/tag_names.h"
#include "dict/tag_rules.h"
#include "ifdsweep/host.h"
#include "support/entry_call.h"
#include "support/type_rows.h"

namespace fixture {
namespace {

using namespace ifdsweep::module;

std::string errorOf(unsigned short id, unsigned long count) {
    try {
        validate_tag_against_number_of_components(id, count);
    } catch (const qxMessage& error) {
        return messageDump(error);
    }
    return "";
}

TEST(ComponentCounts, SevenTagsMustHoldOneAndNoOtherIsAsked) {
    ifdsweep::Host host;
    const ifdsweep::Host::Scope scope(host);
    for (unsigned each = 0; each <= 0xFFFF; ++each) {
        const auto id = static_cast<unsigned short>(each);
        const bool isRuled =
            std::count(kSingleComponentTags.begin(), kSingleComponentTags.end(), id) != 0;
        EXPECT_EQ(errorOf(id, 1), "");
        for (const unsigned long count : {0UL, 2UL, 4294967297UL}) {
            const std::string expected = isRuled ? "badTagDataCount(" + std::to_string(id) + ", '" +
                                                       std::string(search_map(&primaryMap, id)) +
                                                       "', " + std::to_string(count) + ", 1)"
                                                 : "";
            EXPECT_EQ(errorOf(id, count), expected);
        }
    }
}

TEST(ComponentCounts, TheErrorNamesTheTag) {
    ifdsweep::Host host;
    const ifdsweep::Host::Scope scope(host);
    EXPECT_EQ(errorOf(256, 2), "badTagDataCount(256, 'Width', 2, 1)");
    EXPECT_EQ(errorOf(257, 0), "badTagDataCount(257, 'Length', 0, 1)");
    EXPECT_EQ(errorOf(277, 3), "badTagDataCount(277, 'SamplesPerPixel', 3, 1)");
}

}  // namespace
}  // namespace fixture

// Values that the text format tells of in brief: long arrays, and documents in XML.

#include <cmath>
#include <limits>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "write/rendering.h"
#include "write/text_value.h"
#include "write/xml_summary.h"

namespace {

using rendering::numbers;

class TextSummaries : public testing::Test {
protected:
    ~TextSummaries() override { EXPECT_EQ(host.liveValues(), 0U); }

    ifdsweep::Host host;
    ifdsweep::Host::Scope scope{host};
};

constexpr std::size_t kAll = std::numeric_limits<std::size_t>::max();

std::string shown(const ifdsweep::ValueHandle& value, const ifdsweep::TextLimits& limits) {
    return rendering::rendered([&](ifdsweep::Output& output) {
        ifdsweep::appendTextValue(output, value.get(), ifdsweep::TextOrigin::tag, limits);
    });
}

TEST_F(TextSummaries, TellBetweenWhichNumbersALongArrayLies) {
    constexpr double kNotANumber = std::numeric_limits<double>::quiet_NaN();
    constexpr double kInfinity = std::numeric_limits<double>::infinity();
    struct Case {
        std::size_t rows;
        std::vector<double> columnMajor;
        const char* text;
    };
    const std::vector<Case> cases{
        {1, {4, 2, 9, 3}, "4 2 … 4 values, 2 to 9"},
        {1, {4, 2}, "4 2"},
        {1, {8, 8, 8}, "8 8 … 3 values, all 8"},
        {1, {8, 8, kNotANumber}, "8 8 … 3 values, 8 to 8"},
        {1, {kNotANumber, 8, 8}, "NaN 8 … 3 values, 8 to 8"},
        {1, {kNotANumber, kNotANumber, kNotANumber}, "NaN NaN … 3 values"},
        {1, {kNotANumber, 2.5, -1}, "NaN 2.5 … 3 values, -1 to 2.5"},
        {1, {1, kInfinity, -kInfinity}, "1 Infinity … 3 values, -Infinity to Infinity"},
        {3, {1, 2, 3, 4, 5, 6}, "1 4 … 3x2 values, 1 to 6"},
        {3, {7, 8, 9}, "7; 8 … 3x1 values, 7 to 9"},
    };
    for (const auto& [rows, columnMajor, text] : cases) {
        const auto value = numbers(rows, columnMajor.size() / rows, columnMajor);
        EXPECT_EQ(shown(value, {2, 100}), text);
    }
    EXPECT_EQ(shown(rendering::bytes({3, 200, 7}), {2, 100}), "3 200 … 3 bytes, 3 to 200");
    EXPECT_EQ(shown(numbers(1, 1234567, std::vector<double>(1234567, 1)), {1, 1}),
              "1 … 1,234,567 values, all 1");
}

TEST_F(TextSummaries, NameTheRootOfXml) {
    struct Case {
        std::u16string text;
        const char16_t* root;  // null: no XML
    };
    const std::vector<Case> cases{
        {u"<?xml version=\"1.0\"?><OME a=\"b\"/>", u"OME"},
        {u"<?xml version=\"1.0\"?>", u""},
        {u"<?xml version=\"1.0\"?><!-- <no> --><!DOCTYPE x><OME>", u"OME"},
        {u"<?xml version=\"1.0\"?><!-- <no>", u""},
        {u"<?xpacket begin='\xFFEF\xFFBB\xFFBF'?>\n<x:xmpmeta xmlns:x='y'>", u"x:xmpmeta"},
        {u"\xFEFF<a.b-c_d:e1>", u"a.b-c_d:e1"},
        {u"\xFFEF\xFFBB\xFFBF \r\n\t<a/> \n", u"a"},
        {std::u16string(u"\xEF\xBB\xBF<a/>\0\0", 9), u"a"},
        {u"<a", nullptr},
        {u"<a> is no element", nullptr},
        {u"< a>", nullptr},
        {u"<1>", nullptr},
        {u"<!-- a -->", nullptr},
        {u"a<b>", nullptr},
        {u"<", nullptr},
        {u"", nullptr},
        {u"\xFFEF", nullptr},
    };
    for (const auto& [text, root] : cases) {
        const auto found = ifdsweep::xmlRoot(text);
        const std::string bytes(text.begin(), text.end());
        ASSERT_EQ(found.has_value(), root != nullptr) << bytes;
        if (root != nullptr) {
            EXPECT_TRUE(*found == root) << bytes;
        }
    }
}

TEST_F(TextSummaries, ShowTheSizeOfXmlAndHowToSeeIt) {
    const ifdsweep::TextLimits usual;
    const std::u16string body(12345 - 11, u' ');
    const std::u16string document = u"<OME>" + body + u"</OME>";
    EXPECT_EQ(shown(rendering::text(document), usual),
              "XML, OME, 12,345 characters (--shorten all shows it)");
    EXPECT_EQ(shown(rendering::text(u"<?xml" + body), usual),
              "XML, 12,339 characters (--shorten all shows it)");
    EXPECT_EQ(shown(rendering::text(document), {kAll, kAll}),
              std::string(document.begin(), document.end()));
    EXPECT_EQ(shown(rendering::text(u"<Short>text</Short>"), usual), "<Short>text</Short>");
    EXPECT_EQ(shown(rendering::text(u"<" + std::u16string(100, u'n') + u">"), usual),
              "XML, " + std::string(64, 'n') + ", 102 characters (--shorten all shows it)");
}

TEST_F(TextSummaries, KnowXmlInBytes) {
    std::string document = "<OME>" + std::string(100, ' ') + "</OME>";
    const std::vector<double> spelled(document.begin(), document.end());
    EXPECT_EQ(shown(numbers(1, spelled.size(), spelled), {1, 256}),
              "XML, OME, 111 bytes (--shorten all shows them)");
    EXPECT_EQ(shown(rendering::bytes({document.begin(), document.end()}), {1, 256}),
              "XML, OME, 111 bytes (--shorten all shows them)");
    EXPECT_EQ(shown(numbers(3, spelled.size() / 3, spelled), {1, 256}),
              "60 … 3x37 values, 32 to 79");
    for (const double noByte : {60.5, 256.0, -1.0, std::nan("")}) {
        std::vector<double> broken = spelled;
        broken[50] = noByte;
        const std::string text = shown(numbers(1, broken.size(), broken), {1, 256});
        EXPECT_EQ(text.find("XML"), std::string::npos) << text;
    }
}

}  // namespace

// The texts of the checks' messages: one for each row of the catalogue, with its arguments.

#include "check/check_messages.h"

#include <cstddef>
#include <string>

#include <gtest/gtest.h>

#include "check/findings.h"
#include "ifdsweep/messages.h"
#include "support/placeholders.h"
#include "support/whole_file.h"

namespace {

using ifdsweep::CheckMessageId;
using ifdsweep::checkTexts;
using ifdsweep::kCheckCatalogue;

TEST(CheckMessages, EachHasATextInTheCataloguesOrder) {
    ASSERT_EQ(checkTexts().size(), kCheckCatalogue.size());
    for (std::size_t index = 0; index < kCheckCatalogue.size(); ++index) {
        EXPECT_EQ(static_cast<std::size_t>(kCheckCatalogue[index].message), index);
        EXPECT_EQ(checkTexts()[index].id, kCheckCatalogue[index].id);
        EXPECT_EQ(checkTexts()[index].arguments, kCheckCatalogue[index].arguments);
        EXPECT_EQ(kCheckCatalogue[index].severity, ifdsweep::MessageSeverity::warning);
    }
}

TEST(CheckMessages, EveryTextUsesEveryArgumentAndNoOther) {
    for (const ifdsweep::MessageTextRow& row : checkTexts()) {
        EXPECT_EQ(fixture::placeholdersIn(row.text), fixture::placeholdersFor(row.arguments.size()))
            << row.id;
    }
}

TEST(CheckMessages, TextsAreSentencesWithoutAFinalStop) {
    for (const ifdsweep::MessageTextRow& row : checkTexts()) {
        ASSERT_FALSE(row.text.empty()) << row.id;
        EXPECT_NE(row.text.back(), '.') << row.id;
        EXPECT_EQ(row.explanation.substr(row.explanation.size() - 1), ".") << row.id;
    }
}

TEST(CheckMessages, EachIsARowOfTheTableOfFormats) {
    const std::string page = fixture::readFile("docs/formats.md");
    std::size_t last = 0;
    for (const ifdsweep::MessageTextRow& row : checkTexts()) {
        const std::string start = "\n| `" + std::string(ifdsweep::shortMessageId(row.id)) + "` | ";
        const std::size_t place = page.find(start);
        ASSERT_NE(place, std::string::npos) << row.id;
        EXPECT_GT(place, last) << row.id << " is out of order";
        last = place;
    }
}

TEST(CheckMessages, HaveTheirArgumentsPutIn) {
    EXPECT_EQ(ifdsweep::messageText(ifdsweep::checkMessage<CheckMessageId::imageDataPastEOF>(
                  "strip", 3U, 2U, 8U, 1000U, 50U)),
              "2 of 8 strips reach past the end of the file, first strip 3: 50 bytes at position "
              "1000");
    EXPECT_EQ(ifdsweep::messageText(
                  ifdsweep::checkMessage<CheckMessageId::imageDataNotChecked>("{1} {2}")),
              "values too long to be loaded, so what they say is not checked: {1} {2}");
}

TEST(CheckMessages, ANumberPastEveryFileIsTheLargestThatThereIs) {
    const auto past = [](std::uint64_t number) {
        const qxMessage message =
            ifdsweep::checkMessage<CheckMessageId::jpegDataWithoutStart>(number);
        return boost::get<std::int64_t>(message.arguments()[0]);
    };
    EXPECT_EQ(past(0), 0);
    EXPECT_EQ(past(std::uint64_t{1} << 62), std::int64_t{1} << 62);
    EXPECT_EQ(past(0x7FFFFFFFFFFFFFFF), 0x7FFFFFFFFFFFFFFF);
    EXPECT_EQ(past(std::uint64_t{1} << 63), 0x7FFFFFFFFFFFFFFF);
    EXPECT_EQ(past(~std::uint64_t{0}), 0x7FFFFFFFFFFFFFFF);
}

}  // namespace

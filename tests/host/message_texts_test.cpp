#include "host/message_texts.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <set>
#include <string>

#include "adapter/messages.h"
#include "support/placeholders.h"

namespace {

using ifdsweep::findMessageText;
using ifdsweep::hostMessageText;
using ifdsweep::kMessageCatalogue;
using ifdsweep::kReadingCatalogue;
using ifdsweep::MessageId;
using ifdsweep::MessageRow;
using ifdsweep::MessageTextRow;
using ifdsweep::messageTexts;
using ifdsweep::ReadingMessageRow;
using ifdsweep::module::Message;

TEST(MessageTexts, EveryMessageOfTheModuleHasARowWithItsArguments) {
    for (const MessageRow& message : kMessageCatalogue) {
        const MessageTextRow* row = findMessageText(message.id);
        ASSERT_NE(row, nullptr) << message.id;
        EXPECT_EQ(row->arguments, message.arguments) << message.id;
    }
    for (const ReadingMessageRow& message : kReadingCatalogue) {
        const MessageTextRow* row = findMessageText(message.id);
        ASSERT_NE(row, nullptr) << message.id;
        EXPECT_EQ(row->arguments, message.arguments) << message.id;
    }
}

TEST(MessageTexts, EveryRowIsAMessageOfTheModuleOrTheHost) {
    std::set<std::string_view> known{
        ifdsweep::kOpenFailureId, ifdsweep::kReadBudgetSpentId,
        ifdsweep::kReadFailedId,  ifdsweep::kValueBudgetSpentId,
        ifdsweep::kMemorySpentId, "Velmora:pixlore:ifdsweep:badTiffTagOffsetDataRead"};
    for (const MessageRow& message : kMessageCatalogue) {
        known.insert(message.id);
    }
    for (const ReadingMessageRow& message : kReadingCatalogue) {
        known.insert(message.id);
    }
    std::set<std::string_view> found;
    for (const MessageTextRow& row : messageTexts()) {
        EXPECT_TRUE(known.contains(row.id)) << row.id;
        EXPECT_TRUE(found.insert(row.id).second) << row.id << " has two rows";
    }
    EXPECT_EQ(found.size(), known.size());
}

TEST(MessageTexts, ModuleRowsStandInTheContractsOrder) {
    ASSERT_GE(messageTexts().size(), kMessageCatalogue.size());
    for (std::size_t index = 0; index < kMessageCatalogue.size(); ++index) {
        EXPECT_EQ(messageTexts()[index].id, kMessageCatalogue[index].id);
    }
}

/// The arguments that are the file's name.
const std::map<std::string_view, char> kFileNames{{"Velmora:pixlore:ifdsweep:badEndianness", '3'},
                                                  {ifdsweep::kOpenFailureId, '1'}};

TEST(MessageTexts, EveryTextUsesEveryArgumentButTheFilesNameAndNoOther) {
    for (const MessageTextRow& row : messageTexts()) {
        std::set<char> expected = fixture::placeholdersFor(row.arguments.size());
        if (const auto fileName = kFileNames.find(row.id); fileName != kFileNames.end()) {
            expected.erase(fileName->second);  // who shows the text has said which file it is
        }
        EXPECT_EQ(fixture::placeholdersIn(row.text), expected) << row.id;
    }
}

TEST(MessageTexts, TextsAreWorded) {
    for (const MessageTextRow& row : messageTexts()) {
        ASSERT_FALSE(row.text.empty()) << row.id;
        EXPECT_TRUE(row.text.front() >= 'a' && row.text.front() <= 'z') << row.text;
        EXPECT_NE(row.text.back(), '.') << row.text;
        EXPECT_EQ(row.explanation.substr(row.explanation.size() - 1), ".") << row.id;
        ASSERT_FALSE(row.advice.empty()) << row.id;
        EXPECT_EQ(row.advice.back(), '.') << row.id;
    }
}

TEST(MessageTexts, BudgetTextNamesTheOption) {
    EXPECT_NE(findMessageText(ifdsweep::kReadBudgetSpentId)->text.find("--read-budget"),
              std::string_view::npos);
}

struct TextCase {
    const char* name;
    qxMessage message;
    std::string text;
};

class Texts : public testing::TestWithParam<TextCase> {};

TEST_P(Texts, HaveTheirArguments) {
    EXPECT_EQ(hostMessageText(GetParam().message), GetParam().text);
}

const TextCase kTexts[] = {
    {"None", Message<MessageId::statFailure>(), "the file does not exist"},
    {"Integers", Message<MessageId::badTiffIfdOffset>(-1, 20),
     "the first directory is at position -1, past the end of the file at 20"},
    {"FileName", Message<MessageId::badEndianness>(77, 73, u"\u00E9.tif"),
     "the TIFF header begins with the bytes 77 and 73, expected 73 73 (\"II\") "
     "or 77 77 (\"MM\")"},
    {"FileNameOfAnyBytes",
     qxMessage(ifdsweep::kOpenFailureId,
               {qxMessageText(std::u16string{0xDCE9}), qxMessageText(std::string("reason"))}),
     "cannot be opened: reason"},
    {"ArgumentsAreNotSearchedForPlaces",
     Message<MessageId::expectedTagDataFormat>("{2}", "{3}", "{1}"),
     "tag \"{2}\" has field type {3}, expected {1}"},
    {"ControlCharactersStay", Message<MessageId::badIFDread>("a\x1b\n"),
     "the file ends inside the entries of a\x1b\n"},
    {"MissingArgument", qxMessage("Velmora:pixlore:ifdsweep:badIFDread", {}),
     "the file ends inside the entries of "},
    {"UnknownId", qxMessage("Other:id", {std::int64_t{5}, qxMessageText(std::string("x"))}),
     "Other:id 5 x"},
};

INSTANTIATE_TEST_SUITE_P(Messages, Texts, testing::ValuesIn(kTexts),
                         [](const auto& testCase) { return std::string(testCase.param.name); });

}  // namespace

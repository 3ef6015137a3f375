// The messages as they are asked for: every id explains itself.

#include "read/messages.h"
#include "locate/locate_messages.h"

#include <set>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "check/check_messages.h"
#include "cli/command_line.h"
#include "host/message_texts.h"
#include "program/program_run.h"

namespace {

std::vector<std::string> allIds() {
    std::vector<std::string> ids;
    for (const ifdsweep::MessageTextRow& row : ifdsweep::messageTexts()) {
        ids.emplace_back(row.id);
    }
    for (const ifdsweep::MessageTextRow& row : ifdsweep::checkTexts()) {
        ids.emplace_back(row.id);
    }
    ids.insert(ids.end(),
               {ifdsweep::kNoExifSegmentId, ifdsweep::kBadJpegSegmentId, ifdsweep::kOutOfMemoryId,
                ifdsweep::kNoWorkerId, ifdsweep::kStuckId, ifdsweep::kUnexpectedFailureId,
                ifdsweep::kWorkerDiedId, ifdsweep::kTimeoutId, ifdsweep::kInputFailureId});
    return ids;
}

TEST(Explanations, EveryMessageByItsFullAndItsShortId) {
    std::set<std::string> shortIds;
    std::set<std::string> explanations;
    for (const std::string& id : allIds()) {
        const std::string shortId(ifdsweep::shortMessageId(id));
        EXPECT_EQ(shortId.find(':'), std::string::npos);
        EXPECT_TRUE(shortIds.insert(shortId).second) << id;
        for (const std::string& word : {id, shortId}) {
            const ifdsweep::MessageDescription description = ifdsweep::describeMessage(word);
            EXPECT_EQ(description.complaint, "") << word;
            EXPECT_EQ(description.id, id);
            const auto lines = programrun::linesOf(ifdsweep::explanationText(description));
            ASSERT_EQ(lines.size(), 4U) << word;
            EXPECT_EQ(lines[0], id);
            EXPECT_GT(lines[1].size(), 4U) << word;
            EXPECT_GT(lines[2].size(), 30U) << word;
            EXPECT_EQ(lines[2].back(), '.') << word;
            EXPECT_EQ(lines[3], "  What to do: " + std::string(description.advice)) << word;
            EXPECT_GT(description.advice.size(), 20U) << word;
            EXPECT_EQ(description.advice.back(), '.') << word;
        }
        EXPECT_TRUE(
            explanations.insert(std::string(ifdsweep::describeMessage(id).explanation)).second)
            << id << " is explained as another";
    }
}

TEST(Explanations, EveryArgumentIsExplained) {
    for (const std::string& id : allIds()) {
        const ifdsweep::MessageDescription description = ifdsweep::describeMessage(id);
        if (description.text.find("{1}") != std::string_view::npos) {
            EXPECT_NE(description.explanation.find("rgument"), std::string_view::npos) << id;
        }
    }
}

TEST(Explanations, AMisspeltIdIsToldTheNearest) {
    const auto complaint = [](const char* id) { return ifdsweep::describeMessage(id).complaint; };
    EXPECT_EQ(complaint("outOfMemry"), "no message has the id outOfMemry, nearest: outOfMemory");
    EXPECT_EQ(complaint("OUTOFMEMORY"), "no message has the id OUTOFMEMORY, nearest: outOfMemory");
    EXPECT_EQ(complaint("other:system:outOfMemory"),
              "no message has the id other:system:outOfMemory, nearest: outOfMemory");
    const std::string all = complaint("qqqqqqqqqqqqqqqqqqqqqqqqqqqq");
    for (const std::string& id : allIds()) {
        EXPECT_NE(all.find(ifdsweep::shortMessageId(id)), std::string::npos) << id;
    }
}

}  // namespace

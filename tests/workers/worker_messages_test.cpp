// What workers and the main process say to each other: what is said comes back, and nothing else
// is taken for a message, however little it differs.

#include "workers/worker_messages.h"

#include <cstdint>
#include <string>
#include <string_view>
#include <utility>

#include <gtest/gtest.h>

#include "io/packed.h"

namespace {

namespace packed = ifdsweep::packed;

/// A message without its size.
std::string_view bodyOf(std::string_view message) {
    return message.substr(packed::kNumberSize);
}

ifdsweep::WorkerSetup usualSetup() {
    ifdsweep::WorkerSetup setup;
    setup.mainProcess = 17;
    setup.memory = std::uint64_t{1} << 40;
    setup.hasStandardInput = true;
    setup.colour = ifdsweep::Colour::on;
    setup.task.read = {12.5, ifdsweep::StreamChoice::all,    1, 2, 300, 400,
                       true, ifdsweep::ReadingMode::contract};
    setup.task.read.longestValue = 500;
    setup.task.read.check = true;
    ifdsweep::OutputChoice& output = setup.task.output;
    output.format = ifdsweep::Format::csv;
    output.layout = ifdsweep::JsonLayout::compact;
    output.toTerminal = true;
    output.lineWidth = 80;
    output.fields = {{"Make", {}}, {"50000", 50000}};
    output.shorten = 0;
    output.digits = 9;
    output.splitTexts = true;
    output.rows = ifdsweep::TableRows::nested;
    output.table = ifdsweep::Layout::tags;
    output.longestValue = 600;
    output.tellStreams = true;
    output.rawCells = true;
    output.allDirectories = true;
    output.warnings = ifdsweep::WarningDetail::count;
    output.ignored = {"Velmora:a", "Velmora:b"};
    return setup;
}

std::string usualAnswer() {
    ifdsweep::FileReport report = ifdsweep::failureReport("why");
    report.directories = 3;
    report.warnings = {{"Velmora:a", 1}, {"Velmora:b", 300}};
    report.isShown = true;
    ifdsweep::FilePart part;
    part.bytes = "{}\n";
    return ifdsweep::packAnswer(9, report, part);
}

TEST(WorkerMessages, ASetupComesBack) {
    const ifdsweep::WorkerSetup sent = usualSetup();
    const auto back = ifdsweep::unpackSetup(bodyOf(ifdsweep::packSetup(sent)));
    ASSERT_TRUE(back);
    EXPECT_EQ(back->mainProcess, 17U);
    EXPECT_EQ(back->memory, std::uint64_t{1} << 40);
    EXPECT_TRUE(back->hasStandardInput);
    EXPECT_EQ(back->colour, ifdsweep::Colour::on);
    EXPECT_EQ(back->task.read.offset, 12.5);
    EXPECT_EQ(back->task.read.first, 1);
    EXPECT_EQ(back->task.read.max, 2);
    EXPECT_EQ(back->task.read.readBudget, 300U);
    EXPECT_EQ(back->task.read.valueBudget, 400U);
    EXPECT_TRUE(back->task.read.imagesOnly);
    EXPECT_EQ(back->task.read.reading, ifdsweep::ReadingMode::contract);
    EXPECT_EQ(back->task.read.longestValue, 500U);
    EXPECT_TRUE(back->task.read.check);
    const ifdsweep::OutputChoice& output = back->task.output;
    EXPECT_EQ(output.format, ifdsweep::Format::csv);
    EXPECT_EQ(output.layout, ifdsweep::JsonLayout::compact);
    EXPECT_TRUE(output.toTerminal);
    EXPECT_EQ(output.lineWidth, 80U);
    ASSERT_EQ(output.fields.size(), 2U);
    EXPECT_EQ(output.fields[0].name, "Make");
    EXPECT_FALSE(output.fields[0].unknownId);
    EXPECT_EQ(output.fields[1].unknownId, 50000);
    EXPECT_EQ(output.shorten, 0U);
    EXPECT_EQ(output.digits, 9U);
    EXPECT_TRUE(output.splitTexts);
    EXPECT_EQ(output.rows, ifdsweep::TableRows::nested);
    EXPECT_EQ(output.table, ifdsweep::Layout::tags);
    EXPECT_EQ(output.longestValue, 600U);
    EXPECT_TRUE(output.tellStreams);
    EXPECT_TRUE(output.rawCells);
    EXPECT_TRUE(output.allDirectories);
    EXPECT_EQ(output.warnings, ifdsweep::WarningDetail::count);
    EXPECT_EQ(output.ignored, sent.task.output.ignored);
    EXPECT_EQ(ifdsweep::packSetup(*back), ifdsweep::packSetup(sent));
}

TEST(WorkerMessages, ASetupOfDefaultsComesBack) {
    const std::string message = ifdsweep::packSetup({});
    const auto back = ifdsweep::unpackSetup(bodyOf(message));
    ASSERT_TRUE(back);
    EXPECT_FALSE(back->task.read.offset);
    EXPECT_EQ(back->task.read.reading, ifdsweep::ReadingMode::full);
    EXPECT_FALSE(back->task.read.longestValue);
    EXPECT_FALSE(back->task.read.check);
    EXPECT_FALSE(back->task.output.shorten);
    EXPECT_FALSE(back->task.output.digits);
    EXPECT_FALSE(back->task.output.splitTexts);
    EXPECT_FALSE(back->task.output.table);
    EXPECT_FALSE(back->task.output.longestValue);
    EXPECT_EQ(ifdsweep::packSetup(*back), message);
}

TEST(WorkerMessages, ARequestComesBack) {
    ifdsweep::InputFile file;
    file.path = std::string("a\0\n/\xFF", 5);
    file.imagesOnly = true;
    const auto back = ifdsweep::unpackRequest(bodyOf(ifdsweep::packRequest(5, file)));
    ASSERT_TRUE(back);
    EXPECT_EQ(back->number, 5U);
    EXPECT_EQ(back->file.path, file.path);
    EXPECT_EQ(back->file.imagesOnly, true);
}

TEST(WorkerMessages, AnAnswerComesBack) {
    const std::string message = usualAnswer();
    const auto back = ifdsweep::unpackAnswer(bodyOf(message));
    ASSERT_TRUE(back);
    EXPECT_EQ(back->number, 9U);
    EXPECT_EQ(back->report.ending, ifdsweep::FileReport::Ending::failed);
    EXPECT_EQ(back->report.failure, "why");
    EXPECT_EQ(back->report.directories, 3U);
    ASSERT_EQ(back->report.warnings.size(), 2U);
    EXPECT_EQ(back->report.warnings[1], (std::pair<std::string, std::uint64_t>("Velmora:b", 300)));
    EXPECT_TRUE(back->report.isShown);
    EXPECT_EQ(back->bytes, "{}\n");
    EXPECT_FALSE(back->spillSize);
}

TEST(WorkerMessages, AMessageCutAnywhereIsNone) {
    const auto expectNone = [](std::string_view message, auto unpack) {
        const std::string_view body = bodyOf(message);
        for (std::size_t size = 0; size < body.size(); ++size) {
            EXPECT_FALSE(unpack(body.substr(0, size))) << size;
        }
        EXPECT_FALSE(unpack(std::string(body) + '\0'));
        EXPECT_FALSE(unpack(std::string(body) + std::string(8, '\0')));
    };
    expectNone(usualAnswer(), ifdsweep::unpackAnswer);
    expectNone(ifdsweep::packSetup(usualSetup()), ifdsweep::unpackSetup);
    expectNone(ifdsweep::packRequest(1, ifdsweep::InputFile{.path = "path", .failure = {}}),
               ifdsweep::unpackRequest);
}

TEST(WorkerMessages, AFlippedBitGivesAnotherWholeMessageOrNone) {
    const std::string good(bodyOf(usualAnswer()));
    int none = 0;
    for (std::size_t at = 0; at < good.size() * 8; ++at) {
        std::string bytes = good;
        bytes[at / 8] = static_cast<char>(bytes[at / 8] ^ (1 << (at % 8)));
        const auto answer = ifdsweep::unpackAnswer(bytes);
        if (!answer) {
            ++none;
            continue;
        }
        // Whatever was taken is what was there: packed again it is the same.
        ifdsweep::FilePart part;
        part.bytes = answer->bytes;
        EXPECT_EQ(bodyOf(ifdsweep::packAnswer(answer->number, answer->report, part)), bytes) << at;
    }
    EXPECT_GT(none, 0);
}

struct BadAnswer {
    const char* name;
    std::uint64_t ending;
    std::uint64_t warnings;
    std::uint64_t isShown;
    std::uint64_t isInFile;
    std::uint64_t spillSize;
    std::size_t partSize;
};

std::string packed7(const BadAnswer& answer) {
    std::string bytes;
    packed::putNumber(bytes, 1);
    packed::putNumber(bytes, answer.ending);
    packed::putNumber(bytes, 0);
    packed::putText(bytes, "");
    packed::putNumber(bytes, answer.warnings);
    packed::putNumber(bytes, answer.isShown);
    packed::putNumber(bytes, answer.isInFile);
    packed::putNumber(bytes, answer.spillSize);
    packed::putText(bytes, std::string(answer.partSize, 'x'));
    return bytes;
}

TEST(WorkerMessages, AnswersThatMakeNoSenseAreNone) {
    constexpr std::size_t kMost = ifdsweep::FilePart::kMostInMemory;
    EXPECT_TRUE(ifdsweep::unpackAnswer(packed7({"good", 0, 0, 1, 0, 0, kMost})));
    EXPECT_TRUE(ifdsweep::unpackAnswer(packed7({"in a file", 2, 0, 1, 1, 5, 0})));
    for (const BadAnswer& answer : {
             BadAnswer{"no such ending", 3, 0, 1, 0, 0, 1},
             BadAnswer{"more warnings than bytes", 0, ~std::uint64_t{0}, 1, 0, 0, 1},
             BadAnswer{"neither shown nor not", 0, 0, 2, 0, 0, 1},
             BadAnswer{"a part that is not shown", 0, 0, 0, 0, 0, 1},
             BadAnswer{"a file that is not shown", 0, 0, 0, 1, 5, 0},
             BadAnswer{"in a file and here", 0, 0, 1, 1, 5, 1},
             BadAnswer{"more than is kept in memory", 0, 0, 1, 0, 0, kMost + 1},
         }) {
        EXPECT_FALSE(ifdsweep::unpackAnswer(packed7(answer))) << answer.name;
    }
}

}  // namespace

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

namespace packed = app::packed;

/// A message without its size.
std::string_view bodyOf(std::string_view message) {
    return message.substr(packed::kNumberSize);
}

app::WorkerSetup usualSetup() {
    app::WorkerSetup setup;
    setup.mainProcess = 17;
    setup.memory = std::uint64_t{1} << 40;
    setup.hasStandardInput = true;
    setup.colour = app::Colour::on;
    setup.task.read = {12.5, 1, 2, 300, 400, true};
    app::OutputChoice& output = setup.task.output;
    output.format = app::Format::csv;
    output.layout = app::JsonLayout::compact;
    output.toTerminal = true;
    output.fields = {{"Make", {}}, {"50000", 50000}};
    output.shorten = 0;
    output.nestedRows = true;
    output.warnings = app::WarningDetail::count;
    output.ignored = {"Velmora:a", "Velmora:b"};
    return setup;
}

std::string usualAnswer() {
    app::FileReport report = app::failureReport("why");
    report.directories = 3;
    report.warnings = {{"Velmora:a", 1}, {"Velmora:b", 300}};
    report.isShown = true;
    app::FilePart part;
    part.bytes = "{}\n";
    return app::packAnswer(9, report, part);
}

TEST(WorkerMessages, aSetupComesBack) {
    const app::WorkerSetup sent = usualSetup();
    const auto back = app::unpackSetup(bodyOf(app::packSetup(sent)));
    ASSERT_TRUE(back);
    EXPECT_EQ(back->mainProcess, 17U);
    EXPECT_EQ(back->memory, std::uint64_t{1} << 40);
    EXPECT_TRUE(back->hasStandardInput);
    EXPECT_EQ(back->colour, app::Colour::on);
    EXPECT_EQ(back->task.read.offset, 12.5);
    EXPECT_EQ(back->task.read.first, 1);
    EXPECT_EQ(back->task.read.max, 2);
    EXPECT_EQ(back->task.read.readBudget, 300U);
    EXPECT_EQ(back->task.read.valueBudget, 400U);
    EXPECT_TRUE(back->task.read.imagesOnly);
    const app::OutputChoice& output = back->task.output;
    EXPECT_EQ(output.format, app::Format::csv);
    EXPECT_EQ(output.layout, app::JsonLayout::compact);
    EXPECT_TRUE(output.toTerminal);
    ASSERT_EQ(output.fields.size(), 2U);
    EXPECT_EQ(output.fields[0].name, "Make");
    EXPECT_FALSE(output.fields[0].unknownId);
    EXPECT_EQ(output.fields[1].unknownId, 50000);
    EXPECT_EQ(output.shorten, 0U);
    EXPECT_TRUE(output.nestedRows);
    EXPECT_EQ(output.warnings, app::WarningDetail::count);
    EXPECT_EQ(output.ignored, sent.task.output.ignored);
    EXPECT_EQ(app::packSetup(*back), app::packSetup(sent));
}

TEST(WorkerMessages, aSetupOfDefaultsComesBack) {
    const std::string message = app::packSetup({});
    const auto back = app::unpackSetup(bodyOf(message));
    ASSERT_TRUE(back);
    EXPECT_FALSE(back->task.read.offset);
    EXPECT_FALSE(back->task.output.shorten);
    EXPECT_EQ(app::packSetup(*back), message);
}

TEST(WorkerMessages, aRequestComesBack) {
    app::InputFile file;
    file.path = std::string("a\0\n/\xFF", 5);
    file.imagesOnly = true;
    const auto back = app::unpackRequest(bodyOf(app::packRequest(5, file)));
    ASSERT_TRUE(back);
    EXPECT_EQ(back->number, 5U);
    EXPECT_EQ(back->file.path, file.path);
    EXPECT_EQ(back->file.imagesOnly, true);
}

TEST(WorkerMessages, anAnswerComesBack) {
    const std::string message = usualAnswer();
    const auto back = app::unpackAnswer(bodyOf(message));
    ASSERT_TRUE(back);
    EXPECT_EQ(back->number, 9U);
    EXPECT_EQ(back->report.ending, app::FileReport::Ending::failed);
    EXPECT_EQ(back->report.failure, "why");
    EXPECT_EQ(back->report.directories, 3U);
    ASSERT_EQ(back->report.warnings.size(), 2U);
    EXPECT_EQ(back->report.warnings[1], (std::pair<std::string, std::uint64_t>("Velmora:b", 300)));
    EXPECT_TRUE(back->report.isShown);
    EXPECT_EQ(back->bytes, "{}\n");
    EXPECT_FALSE(back->spillSize);
}

TEST(WorkerMessages, aMessageCutAnywhereIsNone) {
    const auto expectNone = [](std::string_view message, auto unpack) {
        const std::string_view body = bodyOf(message);
        for (std::size_t size = 0; size < body.size(); ++size) {
            EXPECT_FALSE(unpack(body.substr(0, size))) << size;
        }
        EXPECT_FALSE(unpack(std::string(body) + '\0'));
        EXPECT_FALSE(unpack(std::string(body) + std::string(8, '\0')));
    };
    expectNone(usualAnswer(), app::unpackAnswer);
    expectNone(app::packSetup(usualSetup()), app::unpackSetup);
    expectNone(app::packRequest(1, app::InputFile{.path = "path", .failure = {}}),
               app::unpackRequest);
}

TEST(WorkerMessages, aFlippedBitGivesAnotherWholeMessageOrNone) {
    const std::string good(bodyOf(usualAnswer()));
    int none = 0;
    for (std::size_t at = 0; at < good.size() * 8; ++at) {
        std::string bytes = good;
        bytes[at / 8] = static_cast<char>(bytes[at / 8] ^ (1 << (at % 8)));
        const auto answer = app::unpackAnswer(bytes);
        if (!answer) {
            ++none;
            continue;
        }
        // Whatever was taken is what was there: packed again it is the same.
        app::FilePart part;
        part.bytes = answer->bytes;
        EXPECT_EQ(bodyOf(app::packAnswer(answer->number, answer->report, part)), bytes) << at;
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

TEST(WorkerMessages, answersThatMakeNoSenseAreNone) {
    constexpr std::size_t kMost = app::FilePart::kMostInMemory;
    EXPECT_TRUE(app::unpackAnswer(packed7({"good", 0, 0, 1, 0, 0, kMost})));
    EXPECT_TRUE(app::unpackAnswer(packed7({"in a file", 2, 0, 1, 1, 5, 0})));
    for (const BadAnswer& answer : {
             BadAnswer{"no such ending", 3, 0, 1, 0, 0, 1},
             BadAnswer{"more warnings than bytes", 0, ~std::uint64_t{0}, 1, 0, 0, 1},
             BadAnswer{"neither shown nor not", 0, 0, 2, 0, 0, 1},
             BadAnswer{"a part that is not shown", 0, 0, 0, 0, 0, 1},
             BadAnswer{"a file that is not shown", 0, 0, 0, 1, 5, 0},
             BadAnswer{"in a file and here", 0, 0, 1, 1, 5, 1},
             BadAnswer{"more than is kept in memory", 0, 0, 1, 0, 0, kMost + 1},
         }) {
        EXPECT_FALSE(app::unpackAnswer(packed7(answer))) << answer.name;
    }
}

}  // namespace

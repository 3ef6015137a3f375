// The files and messages that a run keeps and passes on: packed values, reports, parts, the
// journal, the list of failures, the roles of files.

#include <cerrno>
#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include "app/failure_list.h"
#include "app/file_part.h"
#include "app/file_report.h"
#include "app/file_roles.h"
#include "app/journal.h"
#include "app/packed.h"
#include "app/progress.h"
#include "app/run_failure.h"
#include "program_run.h"
#include "rendering.h"
#include "temporary_folder.h"

namespace {

namespace fs = std::filesystem;
namespace packed = app::packed;
using programrun::contents;
using programrun::linesOf;
using programrun::write;

TEST(PackedTest, comesBack) {
    std::string bytes;
    packed::putNumber(bytes, 0);
    packed::putText(bytes, std::string_view("a\0b", 3));
    packed::putNumber(bytes, ~std::uint64_t{0});
    packed::putText(bytes, "");
    app::Unpacker rest(bytes);
    EXPECT_EQ(rest.number(), 0U);
    EXPECT_EQ(rest.text(), std::string_view("a\0b", 3));
    EXPECT_EQ(rest.number(), ~std::uint64_t{0});
    EXPECT_FALSE(rest.isWhole());
    EXPECT_EQ(rest.text(), "");
    EXPECT_TRUE(rest.isWhole());
}

TEST(PackedTest, nothingFollowsAFailure) {
    std::string bytes;
    packed::putNumber(bytes, 2);
    packed::putNumber(bytes, 7);
    app::Unpacker numbers(bytes);
    EXPECT_FALSE(numbers.flag());  // 2 is neither
    EXPECT_TRUE(numbers.hasFailed());
    EXPECT_EQ(numbers.number(), 0U);
    EXPECT_EQ(numbers.text(), "");
    EXPECT_FALSE(numbers.isWhole());
    app::Unpacker bounded(bytes);
    EXPECT_EQ(bounded.number(2), 2U);
    EXPECT_EQ(bounded.number(6), 0U);
    EXPECT_TRUE(bounded.hasFailed());
    app::Unpacker beyond("");
    EXPECT_EQ(beyond.number(), 0U);
    EXPECT_TRUE(beyond.hasFailed());
}

TEST(PackedTest, aTextIsTakenWholeOrNotAtAll) {
    std::string bytes;
    packed::putText(bytes, "text");
    for (std::size_t size = 0; size < bytes.size(); ++size) {
        std::string_view rest(bytes.data(), size);
        std::string_view text = "as before";
        EXPECT_FALSE(packed::takeWholeText(rest, text)) << size;
        EXPECT_EQ(rest.size(), size);
        EXPECT_EQ(text, "as before");
    }
    std::string huge;
    packed::putNumber(huge, ~std::uint64_t{0});
    std::string_view rest = huge;
    std::string_view text;
    EXPECT_FALSE(packed::takeWholeText(rest, text));
    rest = bytes;
    EXPECT_TRUE(packed::takeWholeText(rest, text));
    EXPECT_EQ(text, "text");
    EXPECT_TRUE(rest.empty());
}

TEST(FileReportTest, comesBack) {
    app::FileReport report = app::failureReport("why\n");
    report.directories = 7;
    report.warnings = {{"Velmora:a", 1}, {"Velmora:b", 300}};
    report.isShown = true;
    std::string bytes;
    app::packReport(bytes, report);
    packed::putText(bytes, "more");
    app::Unpacker rest(bytes);
    const app::FileReport back = app::unpackReport(rest);
    EXPECT_EQ(rest.text(), "more");
    EXPECT_TRUE(rest.isWhole());
    EXPECT_EQ(back.ending, app::FileReport::Ending::failed);
    EXPECT_EQ(back.failure, "why\n");
    EXPECT_EQ(back.directories, 7U);
    EXPECT_EQ(back.warnings, report.warnings);
    EXPECT_TRUE(back.isShown);
}

TEST(FilePartTest, staysInMemoryWhileItIsSmall) {
    constexpr std::size_t kMost = app::FilePart::kMostInMemory;
    const std::pair<std::vector<std::size_t>, bool> rows[] = {
        {{}, false},
        {{1, 2, 3}, false},
        {{kMost}, false},
        {{kMost - 1, 1}, false},
        {{kMost + 1}, true},
        {{kMost, 1}, true},
        {{1, kMost, kMost, 5}, true},
        {{3 * kMost + 7}, true},
    };
    for (const auto& [sizes, isSpilled] : rows) {
        app::FilePartSink sink;
        std::string expected;
        for (const std::size_t size : sizes) {
            const std::string piece(size, static_cast<char>('a' + expected.size() % 26));
            sink.write(piece);
            expected += piece;
        }
        EXPECT_EQ(sink.part.spill.isOpen(), isSpilled) << testing::PrintToString(sizes);
        EXPECT_EQ(sink.part.spillSize, isSpilled ? expected.size() : 0);
        EXPECT_LE(sink.part.bytes.size(), kMost);
        // It may be written more than once.
        for (int time = 0; time < 2; ++time) {
            EXPECT_TRUE(rendering::rendered(
                            [&](app::Output& output) { sink.part.writeTo(output); }) == expected);
        }
    }
}

TEST(FilePartTest, aSpillThatWasCutIsAnError) {
    app::FilePartSink sink;
    sink.write(std::string(2 * app::FilePart::kMostInMemory, 'x'));
    sink.part.spillSize += 1;
    EXPECT_THROW(rendering::rendered([&](app::Output& output) { sink.part.writeTo(output); }),
                 app::OutputError);
}

app::FileReport readReport(bool warned = false) {
    app::FileReport report;
    if (warned) {
        report.warnings.emplace_back("Velmora:a", 1);
    }
    return report;
}

class JournalTest : public testing::Test {
protected:
    void SetUp() override { write(path("a.tif"), "bytes"); }

    std::string path(const std::string& name) const { return folder / name; }

    app::InputFile input(const std::string& name, const std::string& failure = "") const {
        return {path(name), app::Sniff::off, failure};
    }

    std::optional<app::Journal::Ending> endingOf(const app::InputFile& file) const {
        std::string entry;
        return app::Journal(path("journal")).endingOf(file, entry);
    }

    /// Notes a file that is finished.
    void finish(const app::InputFile& file, const app::FileReport& report,
                std::uint64_t length) const {
        app::Journal journal(path("journal"));
        std::string entry;
        EXPECT_FALSE(journal.endingOf(file, entry).has_value());
        journal.add(report, entry, length);
        journal.commit();
    }

    TemporaryFolder folder;
};

TEST_F(JournalTest, tellsWhatIsFinished) {
    using Ending = app::Journal::Ending;
    app::FileReport skipped;
    skipped.ending = app::FileReport::Ending::skipped;
    const std::string odd = "odd \\ name\nwith a line end";
    for (const char* const name : {"b.tif", "c.tif", "d.tif"}) {
        write(path(name), "bytes");
    }
    write(path(odd), "bytes");
    EXPECT_EQ(app::Journal(path("journal")).outputLength(), 0U);
    finish(input("a.tif"), readReport(), 10);
    finish(input("b.tif"), readReport(true), 20);
    finish(input("c.tif"), app::failureReport("why"), 20);
    finish(input("d.tif"), skipped, 20);
    finish(input(odd), readReport(), 300);
    finish(input("none.tif"), app::failureReport("why"), 300);
    const app::Journal journal(path("journal"));
    EXPECT_EQ(journal.outputLength(), 300U);
    EXPECT_EQ(journal.finishedFiles(), 6U);
    EXPECT_EQ(endingOf(input("a.tif")), Ending::read);
    EXPECT_EQ(endingOf(input("b.tif")), Ending::warned);
    EXPECT_EQ(endingOf(input("c.tif")), Ending::failed);
    EXPECT_EQ(endingOf(input("d.tif")), Ending::skipped);
    EXPECT_EQ(endingOf(input(odd)), Ending::read);
    EXPECT_EQ(endingOf(input("none.tif")), Ending::failed);
    EXPECT_EQ(endingOf(input("e.tif")), std::nullopt);
    EXPECT_EQ(linesOf(contents(path("journal"))).size(), 7U);
}

TEST_F(JournalTest, aChangeOfSizeOrTimeIsSeen) {
    finish(input("a.tif"), readReport(), 10);
    ASSERT_TRUE(endingOf(input("a.tif")).has_value());
    const auto time = fs::last_write_time(path("a.tif"));
    fs::last_write_time(path("a.tif"), time + std::chrono::nanoseconds(1));
    EXPECT_FALSE(endingOf(input("a.tif")).has_value());
    fs::last_write_time(path("a.tif"), time);
    EXPECT_TRUE(endingOf(input("a.tif")).has_value());
    write(path("a.tif"), "other bytes");
    fs::last_write_time(path("a.tif"), time);
    EXPECT_FALSE(endingOf(input("a.tif")).has_value());
    fs::remove(path("a.tif"));
    EXPECT_FALSE(endingOf(input("a.tif")).has_value());
}

TEST_F(JournalTest, aPathThatCouldNotBeTriedIsFinishedWithItsReason) {
    finish(input("a.tif", "no permission"), app::failureReport("why"), 10);
    EXPECT_TRUE(endingOf(input("a.tif", "no permission")).has_value());
    EXPECT_FALSE(endingOf(input("a.tif", "a pipe")).has_value());
    EXPECT_FALSE(endingOf(input("a.tif")).has_value());
}

TEST_F(JournalTest, whatIsNotCommittedIsNotThere) {
    app::Journal journal(path("journal"));
    std::string entry;
    static_cast<void>(journal.endingOf(input("a.tif"), entry));
    journal.add(readReport(), entry, 10);
    EXPECT_FALSE(endingOf(input("a.tif")).has_value());
    journal.commit();
    EXPECT_TRUE(endingOf(input("a.tif")).has_value());
    journal.commit();
    EXPECT_EQ(app::Journal(path("journal")).finishedFiles(), 1U);
}

TEST_F(JournalTest, aLastLineThatIsCutIsDropped) {
    finish(input("a.tif"), readReport(), 10);
    finish(input("none.tif"), readReport(), 20);
    const std::string whole = contents(path("journal"));
    const std::size_t second = whole.rfind('\n', whole.size() - 2) + 1;
    const std::size_t first = whole.find('\n') + 1;
    for (std::size_t length = 0; length <= whole.size(); ++length) {
        write(path("journal"), whole.substr(0, length));
        const std::uint64_t expected = length < second ? 0U : length < whole.size() ? 1U : 2U;
        EXPECT_EQ(app::Journal(path("journal")).finishedFiles(), expected) << length;
        EXPECT_EQ(app::Journal(path("journal")).outputLength(), expected * 10);
        const std::size_t kept = length < second ? first : length < whole.size() ? second : length;
        EXPECT_EQ(contents(path("journal")), whole.substr(0, kept)) << length;
    }
}

TEST_F(JournalTest, manyLinesAreReadInPieces) {
    // More than the journal reads at a time.
    const std::string long1(200, 'n');
    {
        app::Journal journal(path("journal"));
        for (std::uint64_t number = 0; number < 12000; ++number) {
            std::string entry;
            static_cast<void>(
                journal.endingOf({long1 + std::to_string(number), app::Sniff::off, ""}, entry));
            journal.add(readReport(), entry, number);
        }
        journal.commit();
    }
    ASSERT_GT(fs::file_size(path("journal")), 2U << 20);
    const app::Journal journal(path("journal"));
    EXPECT_EQ(journal.finishedFiles(), 12000U);
    EXPECT_EQ(journal.outputLength(), 11999U);
    std::string entry;
    for (const int number : {0, 1, 5000, 11999}) {
        const app::InputFile file{long1 + std::to_string(number), app::Sniff::off, ""};
        EXPECT_TRUE(journal.endingOf(file, entry).has_value()) << number;
    }
    EXPECT_FALSE(journal.endingOf({long1 + "12000", app::Sniff::off, ""}, entry).has_value());
}

TEST_F(JournalTest, foreignFilesAreRefusedUntouched) {
    const std::string head = "ifdsweep journal 1\n";
    for (const std::string& foreign :
         {std::string("x"), std::string("x\n"), std::string(3U << 20, 'x'),
          std::string("ifdsweep journal 9\n"), head + "\n", head + "r\n", head + "x 1 2 3 a\n",
          head + "r1 2 3 a\n", head + "r -1 2 3 a\n", head + "r 1\n",
          head + "r 99999999999999999999 2 3 a\n"}) {
        write(path("journal"), foreign);
        EXPECT_THROW(app::Journal(path("journal")), app::RunFailure) << foreign.substr(0, 99);
        EXPECT_TRUE(contents(path("journal")) == foreign) << foreign.substr(0, 99);
    }
    EXPECT_THROW(app::Journal(folder.path().string()), app::RunFailure);
    EXPECT_THROW(app::Journal("/dev/null"), app::RunFailure);
}

class FailureListTest : public JournalTest {};

TEST_F(FailureListTest, linesAreReadBack) {
    using Mode = app::FailureList::Mode;
    {
        app::FailureList list(path("failed"), Mode::anew, false);
        list.add("a b.tif", "why\nand how");
        list.add("c#.tif", "");
    }
    EXPECT_EQ(contents(path("failed")), "a b.tif\t# why and how\nc#.tif\t# \n");
    app::FailureList(path("failed"), Mode::append, false).add("d.tif", "x\t# y");
    const auto lines = linesOf(contents(path("failed")));
    ASSERT_EQ(lines.size(), 3U);
    EXPECT_EQ(app::pathOfFailureLine(lines[0]), "a b.tif");
    EXPECT_EQ(app::pathOfFailureLine(lines[1]), "c#.tif");
    EXPECT_EQ(app::pathOfFailureLine(lines[2]), "d.tif");
    EXPECT_EQ(app::pathOfFailureLine("a.tif"), "a.tif");
    EXPECT_EQ(app::pathOfFailureLine("a # b\t#c"), "a # b\t#c");
    app::FailureList(path("failed"), Mode::anew, true).add("two\nlines", "why");
    EXPECT_EQ(contents(path("failed")), std::string("two\nlines\0", 10));
}

TEST_F(FailureListTest, namesThatALineCannotHold) {
    const app::FailureList lines(path("failed"), app::FailureList::Mode::anew, false);
    EXPECT_TRUE(lines.canHold("a\tb # c"));
    EXPECT_FALSE(lines.canHold("a\nb"));
    EXPECT_FALSE(lines.canHold("a\t# b"));
    const app::FailureList withNul(path("failed"), app::FailureList::Mode::anew, true);
    EXPECT_TRUE(withNul.canHold("a\nb\t# c"));
    EXPECT_THROW(app::FailureList(path("none/failed"), app::FailureList::Mode::anew, false),
                 app::RunFailure);
}

class FileRolesTest : public JournalTest {};

TEST_F(FileRolesTest, aFileHasOneRole) {
    write(path("b.tif"), "x");
    fs::create_hard_link(path("a.tif"), path("same.tif"));
    app::Arguments arguments;
    arguments.input.paths = {path("a.tif"), "-", folder.path().string(), path("none")};
    arguments.output.file = path("b.tif");
    arguments.run.failureFile = path("failed");
    arguments.run.journal = path("journal");
    EXPECT_NO_THROW(app::checkFileRoles(arguments));
    for (std::string* const name :
         {&arguments.output.file, &arguments.run.failureFile, &arguments.run.journal}) {
        const std::string before = *name;
        *name = path("same.tif");
        EXPECT_THROW(app::checkFileRoles(arguments), app::RunFailure);
        *name = before;
    }
    arguments.input.listFile = path("b.tif");
    EXPECT_THROW(app::checkFileRoles(arguments), app::RunFailure);
    arguments.input.listFile.clear();
    arguments.run.journal = path("failed");
    EXPECT_THROW(app::checkFileRoles(arguments), app::RunFailure);
    arguments.run.journal = path("./b.tif");
    EXPECT_THROW(app::checkFileRoles(arguments), app::RunFailure);
    // A device may be written in several ways.
    arguments.run.journal.clear();
    arguments.output.file = "/dev/null";
    arguments.run.failureFile = "/dev/null";
    EXPECT_NO_THROW(app::checkFileRoles(arguments));
}

TEST(ProgressTest, text) {
    using Seconds = std::chrono::duration<double>;
    EXPECT_EQ(app::Progress::text({0, 0}, Seconds(0), std::nullopt, 80), "0 files, 0/s, 0 failed");
    EXPECT_EQ(app::Progress::text({1, 1}, Seconds(2), std::nullopt, 80), "1 file, 1/s, 1 failed");
    EXPECT_EQ(app::Progress::text({500, 3}, Seconds(2), 2000, 80),
              "500 files of 2000, 250/s, 3 failed, 6 s left");
    EXPECT_EQ(app::Progress::text({2000, 3}, Seconds(2), 2000, 80),
              "2000 files of 2000, 1000/s, 3 failed");
    EXPECT_EQ(app::Progress::text({0, 0}, Seconds(2), 10, 80), "0 files of 10, 0/s, 0 failed");
}

TEST(ProgressTest, aSlowFileIsNamed) {
    const auto text = [](const std::string& name, std::chrono::seconds since, std::size_t columns) {
        app::RunState state;
        state.slowFile = name;
        state.slowSince = since;
        return app::Progress::text(state, std::chrono::seconds(0), std::nullopt, columns);
    };
    using std::chrono::seconds;
    const std::string start = "0 files, 0/s, 0 failed";
    EXPECT_EQ(text("a/b.tif", seconds(1), 80), start);
    EXPECT_EQ(text("a/b.tif", seconds(12), 80), start + "; a/b.tif takes 12 s");
    EXPECT_EQ(text("", seconds(12), 80), start);
    EXPECT_EQ(text("a\x1b[2J.tif", seconds(2), 80), start + "; a\\x1b[2J.tif takes 2 s");
    const std::string path = "/a/long/path/to/image_0001.tif";
    const std::string whole = start + "; " + path + " takes 12 s";
    EXPECT_EQ(text(path, seconds(12), whole.size()), whole);
    EXPECT_EQ(text(path, seconds(12), whole.size() - 1),
              start + "; ...ong/path/to/image_0001.tif takes 12 s");
    EXPECT_EQ(text(path, seconds(12), start.size() + 5), start);
    EXPECT_EQ(text(path, seconds(12), 7), "0 files");
    // Wide characters are not cut in two, and take two columns.
    std::string wide;
    for (int count = 0; count < 40; ++count) {
        wide += "\xE5\x9B\xBE";
    }
    EXPECT_EQ(text(wide, seconds(12), start.size() + 2 + 14 + 11),
              start + "; ..." + wide.substr(0, 15) + " takes 12 s");
}

}  // namespace

// The files that a run keeps: the journal, the list of failures, the roles of files; and what it
// says of itself while it goes on.

#include <cerrno>
#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include "io/run_failure.h"
#include "program/program_run.h"
#include "run/failure_list.h"
#include "run/file_roles.h"
#include "run/journal.h"
#include "run/keyed_hash.h"
#include "run/progress.h"
#include "support/temporary_folder.h"
#include "support/whole_file.h"
#include "walk/path_list.h"
#include "workers/file_report.h"

namespace {

namespace fs = std::filesystem;
using fixture::readFile;
using fixture::writeFile;
using programrun::linesOf;

ifdsweep::FileReport readReport(bool warned = false) {
    ifdsweep::FileReport report;
    if (warned) {
        report.warnings.emplace_back("Velmora:a", 1);
    }
    return report;
}

class JournalFile : public testing::Test {
protected:
    void SetUp() override { writeFile(path("a.tif"), "bytes"); }

    std::string path(const std::string& name) const { return folder / name; }

    ifdsweep::InputFile input(const std::string& name, const std::string& failure = "") const {
        return {path(name), false, failure};
    }

    std::optional<ifdsweep::Journal::Ending> endingOf(const ifdsweep::InputFile& file) const {
        std::string entry;
        return ifdsweep::Journal(path("journal"), kRun).endingOf(file, entry);
    }

    /// A journal that was begun, of a run with nothing in it.
    std::string emptyJournal() const {
        ifdsweep::Journal(path("journal"), kRun).begin();
        return readFile(path("journal"));
    }

    static void commit(ifdsweep::Journal& journal) {
        journal.commit([] {});
    }

    /// Notes a file that is finished.
    void finish(const ifdsweep::InputFile& file, const ifdsweep::FileReport& report,
                std::uint64_t length) const {
        ifdsweep::Journal journal(path("journal"), kRun);
        journal.begin();
        std::string entry;
        EXPECT_FALSE(journal.endingOf(file, entry).has_value());
        journal.add(report, entry, length, length / 10);
        commit(journal);
    }

    inline static const std::vector<std::string> kRun{"ifdsweep 1", "--format csv", "--max 2"};

    fixture::TemporaryFolder folder;
};

TEST_F(JournalFile, TellsWhatIsFinished) {
    using Ending = ifdsweep::Journal::Ending;
    ifdsweep::FileReport skipped;
    skipped.ending = ifdsweep::FileReport::Ending::skipped;
    const std::string odd = "odd \\ name\nwith a line end";
    for (const char* const name : {"b.tif", "c.tif", "d.tif"}) {
        writeFile(path(name), "bytes");
    }
    writeFile(path(odd), "bytes");
    EXPECT_EQ(ifdsweep::Journal(path("journal"), kRun).outputLength(), 0U);
    finish(input("a.tif"), readReport(), 10);
    finish(input("b.tif"), readReport(true), 20);
    finish(input("c.tif"), ifdsweep::failureReport("why"), 20);
    finish(input("d.tif"), skipped, 20);
    finish(input(odd), readReport(), 300);
    finish(input("none.tif"), ifdsweep::failureReport("why"), 300);
    const ifdsweep::Journal journal(path("journal"), kRun);
    EXPECT_EQ(journal.outputLength(), 300U);
    EXPECT_EQ(journal.finishedFiles(), 6U);
    EXPECT_EQ(endingOf(input("a.tif")), Ending::read);
    EXPECT_EQ(endingOf(input("b.tif")), Ending::warned);
    EXPECT_EQ(endingOf(input("c.tif")), Ending::failed);
    EXPECT_EQ(endingOf(input("d.tif")), Ending::skipped);
    EXPECT_EQ(endingOf(input(odd)), Ending::read);
    EXPECT_EQ(endingOf(input("none.tif")), Ending::failed);
    EXPECT_EQ(endingOf(input("e.tif")), std::nullopt);
    EXPECT_EQ(journal.listLength(), 30U);
    EXPECT_EQ(linesOf(readFile(path("journal"))).size(), 5U + 6);
}

TEST_F(JournalFile, AChangeOfSizeOrTimeIsSeen) {
    finish(input("a.tif"), readReport(), 10);
    ASSERT_TRUE(endingOf(input("a.tif")).has_value());
    const auto time = fs::last_write_time(path("a.tif"));
    fs::last_write_time(path("a.tif"), time + std::chrono::nanoseconds(1));
    EXPECT_FALSE(endingOf(input("a.tif")).has_value());
    fs::last_write_time(path("a.tif"), time);
    EXPECT_TRUE(endingOf(input("a.tif")).has_value());
    writeFile(path("a.tif"), "other bytes");
    fs::last_write_time(path("a.tif"), time);
    EXPECT_FALSE(endingOf(input("a.tif")).has_value());
    fs::remove(path("a.tif"));
    EXPECT_FALSE(endingOf(input("a.tif")).has_value());
}

TEST_F(JournalFile, APathThatCouldNotBeTriedIsFinishedWithItsReason) {
    finish(input("a.tif", "no permission"), ifdsweep::failureReport("why"), 10);
    EXPECT_TRUE(endingOf(input("a.tif", "no permission")).has_value());
    EXPECT_FALSE(endingOf(input("a.tif", "a pipe")).has_value());
    EXPECT_FALSE(endingOf(input("a.tif")).has_value());
}

TEST_F(JournalFile, WhatIsNotCommittedIsNotThere) {
    ifdsweep::Journal journal(path("journal"), kRun);
    journal.begin();
    std::string entry;
    static_cast<void>(journal.endingOf(input("a.tif"), entry));
    journal.add(readReport(), entry, 10, 0);
    EXPECT_FALSE(endingOf(input("a.tif")).has_value());
    commit(journal);
    EXPECT_TRUE(endingOf(input("a.tif")).has_value());
    commit(journal);
    EXPECT_EQ(ifdsweep::Journal(path("journal"), kRun).finishedFiles(), 1U);
}

TEST_F(JournalFile, ALastLineThatIsCutIsDropped) {
    const std::size_t first = emptyJournal().size();
    finish(input("a.tif"), readReport(), 10);
    finish(input("none.tif"), readReport(), 20);
    const std::string whole = readFile(path("journal"));
    const std::size_t second = whole.rfind('\n', whole.size() - 2) + 1;
    for (std::size_t length = 0; length <= whole.size(); ++length) {
        const std::uint64_t expected = length < second ? 0U : length < whole.size() ? 1U : 2U;
        // The rest is not there, or the power failed before it was.
        for (const std::size_t lost : {0U, 5000U}) {
            writeFile(path("journal"), whole.substr(0, length) + std::string(lost, '\0'));
            if (length < first && lost > 0) {
                continue;  // a head is on the disk before anything else is
            }
            ifdsweep::Journal journal(path("journal"), kRun);
            EXPECT_EQ(journal.finishedFiles(), expected) << length;
            EXPECT_EQ(journal.outputLength(), expected * 10);
            journal.begin();
            const std::size_t kept = length < second         ? first
                                     : length < whole.size() ? second
                                                             : length;
            EXPECT_EQ(readFile(path("journal")), whole.substr(0, kept)) << length;
        }
    }
}

TEST_F(JournalFile, NothingIsWrittenBeforeItBegins) {
    const std::string whole = emptyJournal() + "r 1 0 2 3 4 a\nr 5 0";
    writeFile(path("journal"), whole);
    EXPECT_EQ(ifdsweep::Journal(path("journal"), kRun).finishedFiles(), 1U);
    EXPECT_EQ(readFile(path("journal")), whole);
    fs::remove(path("journal"));
    EXPECT_EQ(ifdsweep::Journal(path("journal"), kRun).finishedFiles(), 0U);
    EXPECT_FALSE(fs::exists(path("journal")));
    // Nor is a link taken away that leads to no file yet.
    fs::create_symlink("elsewhere", path("link"));
    EXPECT_EQ(ifdsweep::Journal(path("link"), kRun).finishedFiles(), 0U);
    EXPECT_TRUE(fs::is_symlink(path("link")));
}

TEST_F(JournalFile, ItTellsWhereTheOutputIs) {
    {
        ifdsweep::Journal journal(path("journal"), kRun);
        EXPECT_FALSE(journal.output() || journal.list() || journal.whole());
        journal.noteOutput({{{7, 8}, -1, 9}, 100});
        journal.noteList({{9, 10}, 1, 2});
        journal.begin();
        EXPECT_EQ(journal.outputLength(), 100U);
    }
    EXPECT_EQ(ifdsweep::Journal(path("journal"), kRun).outputLength(), 100U);
    finish(input("a.tif"), readReport(), 150);
    {
        ifdsweep::Journal journal(path("journal"), kRun);
        EXPECT_TRUE(journal.output()->mark == (ifdsweep::FileMark{{7, 8}, -1, 9}));
        EXPECT_EQ(journal.output()->start, 100U);
        EXPECT_TRUE(journal.list() == (ifdsweep::FileMark{{9, 10}, 1, 2}));
        EXPECT_FALSE(journal.whole());
        journal.noteWhole(160);
    }
    finish(input("b.tif"), readReport(), 200);
    const ifdsweep::Journal journal(path("journal"), kRun);
    ASSERT_TRUE(journal.whole());
    EXPECT_TRUE(journal.whole()->output.mark == (ifdsweep::FileMark{{7, 8}, -1, 9}));
    EXPECT_EQ(journal.whole()->length, 150U);
    EXPECT_EQ(journal.whole()->size, 160U);
    EXPECT_EQ(journal.outputLength(), 200U);
}

TEST_F(JournalFile, AnotherRunIsRefusedWithWhatDiffers) {
    const std::string before = emptyJournal();
    const auto refusalOf = [this](std::vector<std::string> phrases) -> std::string {
        try {
            const ifdsweep::Journal journal(path("journal"), std::move(phrases));
        } catch (const ifdsweep::Refusal& refusal) {
            return refusal.what();
        }
        return "";
    };
    const auto differing = [this](const std::string& difference) {
        return "the journal " + path("journal") + " was begun with " + difference +
               "; run it as before, or remove the journal to start anew";
    };
    EXPECT_EQ(refusalOf(kRun), "");
    EXPECT_EQ(refusalOf({"ifdsweep 1", "--format ndjson", "--max 2"}),
              differing("--format csv, now --format ndjson"));
    EXPECT_EQ(refusalOf({"ifdsweep 1", "--format ndjson", "--max 3"}),
              differing("--format csv, --max 2, now --format ndjson, --max 3"));
    EXPECT_EQ(refusalOf({"ifdsweep 2", "--more", "--phrases"}),
              differing("ifdsweep 1, now ifdsweep 2"));
    EXPECT_EQ(readFile(path("journal")), before);
    writeFile(path("journal"), "ifdsweep journal 1\nr 1 2 3 a\n");
    EXPECT_NE(refusalOf(kRun).find("was begun by an older ifdsweep"), std::string::npos);
}

TEST_F(JournalFile, ADateFarAwayIsTwoNumbers) {
    // As nanoseconds, the year 2300 does not fit in 64 bits.
    const timespec time{10413792000, 123456789};
    const timespec times[2] = {time, time};
    ASSERT_EQ(::utimensat(AT_FDCWD, path("a.tif").c_str(), times, 0), 0);
    finish(input("a.tif"), readReport(), 10);
    EXPECT_TRUE(endingOf(input("a.tif")).has_value());
    EXPECT_NE(readFile(path("journal")).find("r 10 1 5 10413792000 123456789 "), std::string::npos);
    const timespec early{-7, 5};
    const timespec earlyTimes[2] = {early, early};
    ASSERT_EQ(::utimensat(AT_FDCWD, path("a.tif").c_str(), earlyTimes, 0), 0);
    finish(input("a.tif"), readReport(), 10);
    EXPECT_TRUE(endingOf(input("a.tif")).has_value());
}

TEST_F(JournalFile, FilesThatHaveChangedAreCounted) {
    finish(input("a.tif"), readReport(), 10);
    finish(input("none.tif"), ifdsweep::failureReport("why"), 10);
    ifdsweep::FileReport skipped;
    skipped.ending = ifdsweep::FileReport::Ending::skipped;
    writeFile(path("letter"), "Dear sir");
    finish(input("letter"), skipped, 10);
    for (const char* const name : {"a.tif", "none.tif", "letter", "new.tif"}) {
        writeFile(path(name), "changed since");
    }
    ifdsweep::Journal journal(path("journal"), kRun);
    journal.begin();
    for (const char* const name : {"a.tif", "none.tif", "letter", "new.tif"}) {
        std::string entry;
        EXPECT_FALSE(journal.endingOf(input(name), entry).has_value());
        journal.add(readReport(), entry, 20, 0);
    }
    EXPECT_EQ(journal.changedFiles().read, 1U);
    EXPECT_EQ(journal.changedFiles().failed, 1U);
}

TEST(KeyedHash, IsSipHash) {
    // The vectors of its authors: the key 00 01 ... 0f, the text 00 01 ... of each length.
    const ifdsweep::HashKey key{0x0706050403020100U, 0x0f0e0d0c0b0a0908U};
    std::string text;
    const std::pair<std::size_t, std::uint64_t> rows[] = {{0, 0x726fdb47dd0e0e31U},
                                                          {1, 0x74f839c593dc67fdU},
                                                          {7, 0xab0200f58b01d137U},
                                                          {8, 0x93f5f5799a932462U},
                                                          {15, 0xa129ca6149be45e5U}};
    for (const auto& [size, expected] : rows) {
        while (text.size() < size) {
            text.push_back(static_cast<char>(text.size()));
        }
        EXPECT_EQ(ifdsweep::keyedHash(text, key), expected) << size;
    }
    EXPECT_NE(ifdsweep::makeHashKey(), ifdsweep::makeHashKey());
}

TEST_F(JournalFile, ManyLinesAreReadInPieces) {
    // More than the journal reads at a time.
    const std::string long1(200, 'n');
    {
        ifdsweep::Journal journal(path("journal"), kRun);
        journal.begin();
        for (std::uint64_t number = 0; number < 12000; ++number) {
            std::string entry;
            static_cast<void>(journal.endingOf({long1 + std::to_string(number), false, ""}, entry));
            journal.add(readReport(), entry, number, 0);
        }
        commit(journal);
    }
    ASSERT_GT(fs::file_size(path("journal")), 2U << 20);
    ifdsweep::Journal journal(path("journal"), kRun);
    EXPECT_EQ(journal.finishedFiles(), 12000U);
    EXPECT_EQ(journal.outputLength(), 11999U);
    std::string entry;
    for (const int number : {0, 1, 5000, 11999}) {
        const ifdsweep::InputFile file{long1 + std::to_string(number), false, ""};
        EXPECT_TRUE(journal.endingOf(file, entry).has_value()) << number;
    }
    EXPECT_FALSE(journal.endingOf({long1 + "12000", false, ""}, entry).has_value());
}

TEST_F(JournalFile, ForeignFilesAreRefusedUntouched) {
    const std::string head = emptyJournal();
    for (const std::string& foreign : {std::string("x"),
                                       std::string("x\n"),
                                       std::string(3U << 20, 'x'),
                                       std::string("ifdsweep journal 9\n"),
                                       std::string("ifdsweep journal 2\nhello\n"),
                                       head.substr(0, head.size() - 1) + "--more\n\n",
                                       head + "\n",
                                       head + "r\n",
                                       head + "x 1 2 3 4 5 a\n",
                                       head + "r1 2 3 4 5 a\n",
                                       head + "r -1 2 3 4 5 a\n",
                                       head + "r 1\n",
                                       head + "r 1 2 3 4 5\n",
                                       head + "r 1 2 3 4 5 \n",
                                       head + "r 99999999999999999999 2 3 4 5 a\n",
                                       head + "o 1\n",
                                       head + "o 1 2 3 4 5 6\n",
                                       head + "l 1 x\n",
                                       head + "d 1\n",
                                       head + "o 1 2 3 4 5\nd x\n"}) {
        writeFile(path("journal"), foreign);
        EXPECT_THROW(ifdsweep::Journal(path("journal"), kRun), ifdsweep::Refusal)
            << foreign.substr(0, 99);
        EXPECT_TRUE(readFile(path("journal")) == foreign) << foreign.substr(0, 99);
    }
    EXPECT_THROW(ifdsweep::Journal(folder.path().string(), kRun), ifdsweep::RunFailure);
    EXPECT_THROW(ifdsweep::Journal("/dev/null", kRun), ifdsweep::Refusal);
}

class FailureListFile : public JournalFile {};

TEST_F(FailureListFile, LinesAreReadBack) {
    {
        ifdsweep::FailureList list(path("failed"), false, nullptr);
        list.begin();
        list.add("a b.tif", "why\nand how");
        list.add("c#.tif", "");
    }
    EXPECT_EQ(readFile(path("failed")), "a b.tif\t# why and how\nc#.tif\t# \n");
    const auto lines = linesOf(readFile(path("failed")));
    ASSERT_EQ(lines.size(), 2U);
    EXPECT_EQ(ifdsweep::pathOfFailureLine(lines[0]), "a b.tif");
    EXPECT_EQ(ifdsweep::pathOfFailureLine(lines[1]), "c#.tif");
    EXPECT_EQ(ifdsweep::pathOfFailureLine("d.tif\t# x\t# y"), "d.tif");
    EXPECT_EQ(ifdsweep::pathOfFailureLine("a.tif"), "a.tif");
    EXPECT_EQ(ifdsweep::pathOfFailureLine("a # b\t#c"), "a # b\t#c");
    ifdsweep::FailureList(path("failed"), true, nullptr).add("two\nlines", "why");
    EXPECT_EQ(readFile(path("failed")), std::string("two\nlines\0", 10));
}

TEST_F(FailureListFile, NamesThatALineCannotHold) {
    const ifdsweep::FailureList lines(path("failed"), false, nullptr);
    EXPECT_TRUE(lines.canHold("a\tb # c"));
    EXPECT_FALSE(lines.canHold("a\nb"));
    EXPECT_FALSE(lines.canHold("a\t# b"));
    const ifdsweep::FailureList withNul(path("failed"), true, nullptr);
    EXPECT_TRUE(withNul.canHold("a\nb\t# c"));
    EXPECT_THROW(ifdsweep::FailureList(path("none/failed"), false, nullptr), ifdsweep::RunFailure);
}

TEST_F(FailureListFile, AnOldListIsEmptiedLate) {
    writeFile(path("failed"), "old");
    {
        ifdsweep::FailureList refused(path("failed"), false, nullptr);
        refused.begin();
    }
    EXPECT_EQ(readFile(path("failed")), "old");
    ifdsweep::FailureList(path("failed"), false, nullptr).finish();
    EXPECT_EQ(readFile(path("failed")), "");
    { const ifdsweep::FailureList refused(path("new"), false, nullptr); }
    EXPECT_FALSE(fs::exists(path("new")));
}

class FileRoles : public JournalFile {};

TEST_F(FileRoles, AFileHasOneRole) {
    writeFile(path("b.tif"), "x");
    fs::create_hard_link(path("a.tif"), path("same.tif"));
    ifdsweep::RunOptions arguments;
    arguments.input.paths = {path("a.tif"), "-", folder.path().string(), path("none")};
    arguments.run.outputFile = path("b.tif");
    arguments.run.failureFile = path("failed");
    arguments.run.journal = path("journal");
    EXPECT_NO_THROW(ifdsweep::checkFileRoles(arguments));
    for (std::string* const name :
         {&arguments.run.outputFile, &arguments.run.failureFile, &arguments.run.journal}) {
        const std::string before = *name;
        *name = path("same.tif");
        EXPECT_THROW(ifdsweep::checkFileRoles(arguments), ifdsweep::Refusal);
        *name = before;
    }
    arguments.input.listFile = path("b.tif");
    EXPECT_THROW(ifdsweep::checkFileRoles(arguments), ifdsweep::Refusal);
    arguments.input.listFile.clear();
    arguments.run.journal = path("failed");
    EXPECT_THROW(ifdsweep::checkFileRoles(arguments), ifdsweep::Refusal);
    arguments.run.journal = path("./b.tif");
    EXPECT_THROW(ifdsweep::checkFileRoles(arguments), ifdsweep::Refusal);
    // A device may be written in several ways.
    arguments.run.journal.clear();
    arguments.run.outputFile = "/dev/null";
    arguments.run.failureFile = "/dev/null";
    EXPECT_NO_THROW(ifdsweep::checkFileRoles(arguments));
}

TEST(Progress, Text) {
    using Seconds = std::chrono::duration<double>;
    EXPECT_EQ(ifdsweep::Progress::text({0, 0}, Seconds(0), std::nullopt, 80),
              "0 files, 0/s, 0 failed");
    EXPECT_EQ(ifdsweep::Progress::text({1, 1}, Seconds(2), std::nullopt, 80),
              "1 file, 1/s, 1 failed");
    EXPECT_EQ(ifdsweep::Progress::text({500, 3}, Seconds(2), 2000, 80),
              "500 files of 2000, 250/s, 3 failed, 6 s left");
    EXPECT_EQ(ifdsweep::Progress::text({2000, 3}, Seconds(2), 2000, 80),
              "2000 files of 2000, 1000/s, 3 failed");
    EXPECT_EQ(ifdsweep::Progress::text({0, 0}, Seconds(2), 10, 80), "0 files of 10, 0/s, 0 failed");
}

TEST(Progress, ASlowFileIsNamed) {
    const auto text = [](const std::string& name, std::chrono::seconds since, std::size_t columns) {
        ifdsweep::RunState state;
        state.slowFile = name;
        state.slowSince = since;
        return ifdsweep::Progress::text(state, std::chrono::seconds(0), std::nullopt, columns);
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

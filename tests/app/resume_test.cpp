// Runs with a journal: what is finished and unchanged is left out, and nothing is lost or written
// twice when all processes are killed at any moment.

#include <algorithm>
#include <csignal>
#include <filesystem>
#include <random>
#include <string>
#include <vector>

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include "program_files.h"
#include "program_run.h"

namespace {

namespace fs = std::filesystem;
using programrun::contents;
using programrun::Ending;
using programrun::Launch;
using programrun::linesOf;
using programrun::Running;

class ResumeTest : public programrun::ProgramTest {
protected:
    [[nodiscard]] std::vector<std::string> resuming(const std::string& format,
                                                    const std::vector<std::string>& paths) const {
        std::vector<std::string> arguments{"--format", format,     "--resume",
                                           "journal",  "--output", "output"};
        if (format == "csv") {
            arguments.insert(arguments.end(), {"--tags", "Width,Make"});
        }
        arguments.insert(arguments.end(), paths.begin(), paths.end());
        return arguments;
    }

    /// Runs in a group of processes that is killed as one, a little further than the last time.
    /// @return the status
    [[nodiscard]] int runAndKill(const std::vector<std::string>& arguments,
                                 std::mt19937& random) const {
        const auto journalSize = [this] {
            std::error_code error;
            const auto size = fs::file_size(in("journal"), error);
            return error ? std::uintmax_t{0} : size;
        };
        const auto least =
            journalSize() + std::uniform_int_distribution<std::uintmax_t>(0, 4000)(random);
        Launch launch;
        launch.arguments = arguments;
        launch.prepare = [] { ::setpgid(0, 0); };
        Running program = start(launch);
        ::setpgid(program.process(), program.process());
        while (journalSize() < least && programrun::isRunning(program.process())) {
        }
        if (random() % 2 == 0) {
            ::usleep(std::uniform_int_distribution<useconds_t>(0, 300)(random));
        }
        ::kill(-program.process(), SIGKILL);
        return program.wait();
    }

    void forget() const {
        for (const char* const name : {"journal", "output", "output.part"}) {
            fs::remove(in(name));
        }
    }
};

TEST_F(ResumeTest, killedAtRandomTheOutputIsWholeInTheEnd) {
    fs::create_directories(in("many/folder"));
    programfiles::writeMany(in("many"), 700);
    programfiles::writeMany(in("many/folder"), 700);
    ASSERT_EQ(::mkfifo(in("pipe").c_str(), 0600), 0);
    std::mt19937 random(2026);
    for (const char* const format : {"ndjson", "csv", "json", "text", "typed"}) {
        const auto arguments = resuming(format, {"none", "many", "pipe"});
        ASSERT_EQ(run(arguments).status, 1);
        const std::string expected = contents(in("output"));
        const std::string journal = contents(in("journal"));
        ASSERT_GT(expected.size(), 5000U);
        EXPECT_EQ(linesOf(journal).size(), 1U + 1402);
        int killed = 0;
        int rounds = 0;
        while (killed < 8) {
            forget();
            int status = 128 + SIGKILL;
            while (status == 128 + SIGKILL) {
                ASSERT_LT(++rounds, 1000);
                status = runAndKill(arguments, random);
                killed += status == 128 + SIGKILL ? 1 : 0;
            }
            ASSERT_EQ(status, 1) << endingOf(status).error;
            ASSERT_EQ(contents(in("output")), expected) << format;
            ASSERT_EQ(contents(in("journal")), journal) << format;
            ASSERT_FALSE(fs::exists(in("output.part")));
        }
        forget();
    }
}

TEST_F(ResumeTest, cutAnywhereTheJournalGoesOn) {
    programfiles::writeMany(in(""), 20);
    ASSERT_EQ(run(resuming("ndjson", {"."})).status, 1);
    const std::string expected = contents(in("output"));
    const std::string journal = contents(in("journal"));
    fs::remove(in("output"));
    for (std::size_t length = 0; length <= journal.size(); length += 17) {
        programrun::write(in("journal"), journal.substr(0, length));
        programrun::write(in("output.part"), expected);  // more than the journal tells of
        const Ending given = run(resuming("ndjson", {"."}));
        ASSERT_EQ(given.status, 1) << length << given.error;
        ASSERT_EQ(contents(in("output")), expected) << length;
        ASSERT_EQ(contents(in("journal")), journal) << length;
        fs::remove(in("output"));
    }
}

TEST_F(ResumeTest, whatIsFinishedAndUnchangedIsLeftOut) {
    fs::create_directory(in("many"));
    programfiles::writeMany(in("many"), 10);
    ASSERT_EQ(run(resuming("ndjson", {"many"})).status, 0);
    const std::string before = contents(in("output"));
    const Ending again = run(resuming("ndjson", {"many"}));
    EXPECT_EQ(again.status, 0);
    EXPECT_EQ(again.error,
              "ifdsweep: 0 files read, 0 failed, 0 directories; finished before: 10 files\n");
    EXPECT_EQ(contents(in("output")), before);

    // Another size, another time, and a new one.
    programfiles::write(in("many/00001.tif"), programfiles::nestedImage());
    fs::last_write_time(in("many/00002.tif"),
                        fs::last_write_time(in("many/00002.tif")) + std::chrono::nanoseconds(1));
    programfiles::write(in("many/00011.tif"), programfiles::image(11));
    const Ending changed = run(resuming("ndjson", {"many"}));
    EXPECT_EQ(changed.error,
              "ifdsweep: 3 files read, 0 failed, 4 directories; finished before: 8 files\n");
    const std::string after = contents(in("output"));
    EXPECT_EQ(after.substr(0, before.size()), before);
    EXPECT_EQ(linesOf(after).size(), 13U);
}

TEST_F(ResumeTest, failuresAreFinishedTooUntilTheyChange) {
    programfiles::write(in("a.tif"), {'I', 'I', 42, 0});
    const std::vector<std::string> arguments{"--resume", "journal", "--strict", "a.tif", "b.tif"};
    EXPECT_EQ(run(arguments).status, 1);
    const Ending again = run(arguments);
    EXPECT_EQ(again.status, 1);
    EXPECT_EQ(again.error,
              "ifdsweep: 0 files read, 0 failed, 0 directories; finished before: 2 files\n");
    programfiles::write(in("a.tif"), programfiles::image(7));
    programfiles::write(in("b.tif"), programfiles::damagedImage());
    const Ending mended = run(arguments);
    EXPECT_EQ(mended.status, 3) << mended.error;
    EXPECT_NE(mended.out.find("b.tif"), std::string::npos);
    EXPECT_EQ(run(arguments).status, 3);  // the warnings before count
}

TEST_F(ResumeTest, aForeignFileIsLeftAsItIs) {
    programfiles::write(in("a.tif"), programfiles::image(7));
    const std::string image(1000, '\x01');  // without a line end
    for (const std::string& foreign :
         {std::string("hello"), std::string("hello\nworld\n"), image,
          std::string("ifdsweep journal 2\n"), std::string("ifdsweep journal 1\nr 1 2 3 4\nx\n"),
          std::string("ifdsweep journal 1\nr x 2 3 4\n"), std::string(" ")}) {
        programrun::write(in("journal"), foreign);
        const Ending given = run({"--resume", "journal", "--output", "output", "a.tif"});
        EXPECT_EQ(given.status, 1) << foreign;
        EXPECT_EQ(linesOf(given.error).size(), 1U) << given.error;
        EXPECT_NE(given.error.find("journal"), std::string::npos);
        EXPECT_EQ(contents(in("journal")), foreign);
        EXPECT_EQ(names(), (std::vector<std::string>{"a.tif", "journal"}));
    }
    EXPECT_EQ(run({"--resume", "/dev/null", "a.tif"}).error,
              "ifdsweep: the journal /dev/null is no file\n");
    EXPECT_EQ(run({"--resume", "none/journal", "a.tif"}).error,
              "ifdsweep: cannot open the journal none/journal: No such file or directory\n");
}

TEST_F(ResumeTest, anOutputThatIsNotTheJournalsIsRefused) {
    programfiles::write(in("a.tif"), programfiles::image(7));
    ASSERT_EQ(run(resuming("ndjson", {"a.tif"})).status, 0);
    programrun::write(in("output"), "short");
    const Ending given = run(resuming("ndjson", {"a.tif"}));
    EXPECT_EQ(given.status, 1);
    EXPECT_EQ(linesOf(given.error).size(), 1U);
    EXPECT_NE(given.error.find("output output is not the one that the journal tells of"),
              std::string::npos)
        << given.error;
    EXPECT_EQ(contents(in("output")), "short");
}

TEST_F(ResumeTest, theListOfFailuresIsGoneOnWith) {
    programfiles::write(in("a.tif"), {'I', 'I', 42, 0});
    const std::vector<std::string> arguments{"--resume", "journal", "--failures", "failed"};
    const auto with = [&arguments](std::vector<std::string> paths) {
        paths.insert(paths.begin(), arguments.begin(), arguments.end());
        return paths;
    };
    EXPECT_EQ(run(with({"a.tif"})).status, 1);
    EXPECT_EQ(run(with({"a.tif", "b.tif"})).status, 1);
    const auto lines = linesOf(contents(in("failed")));
    ASSERT_EQ(lines.size(), 2U);
    EXPECT_EQ(lines[0].find("a.tif\t# "), 0U);
    EXPECT_EQ(lines[1].find("b.tif\t# "), 0U);
}

}  // namespace

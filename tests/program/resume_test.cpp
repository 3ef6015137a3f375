// Runs with a journal: what is finished and unchanged is left out, and nothing is lost or written
// twice when all processes are killed at any moment.

#include <algorithm>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <functional>
#include <iterator>
#include <random>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include "program/program_files.h"
#include "program/program_run.h"
#include "support/whole_file.h"

namespace {

namespace fs = std::filesystem;
using namespace programrun;
using fixture::readFile;

class ResumedRuns : public ProgramRun {
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
        while (journalSize() < least && isRunning(program.process())) {
        }
        if (random() % 2 == 0) {
            ::usleep(std::uniform_int_distribution<useconds_t>(0, 300)(random));
        }
        program.sendToGroup(SIGKILL);
        return program.wait();
    }

    void forget() const {
        for (const char* const name : {"journal", "output", "output.part"}) {
            fs::remove(in(name));
        }
    }
};

TEST_F(ResumedRuns, KilledAtRandomTheOutputIsWholeInTheEnd) {
    fs::create_directories(in("many/folder"));
    programfiles::writeMany(in("many"), 700);
    programfiles::writeMany(in("many/folder"), 700);
    ASSERT_EQ(::mkfifo(in("pipe").c_str(), 0600), 0);
    std::mt19937 random(2026);
    for (const char* const format : {"ndjson", "csv", "json", "text", "typed"}) {
        const auto arguments = resuming(format, {"none", "many", "pipe"});
        ASSERT_EQ(run(arguments).status, 1);
        const std::string expected = readFile(in("output"));
        const std::string journal = readFile(in("journal"));
        ASSERT_GT(expected.size(), 5000U);
        const auto isOfAFile = [](const std::string& line) {
            return line.size() > 1 && line[1] == ' ' &&
                   std::string("rwfs").find(line[0]) != std::string::npos;
        };
        const auto files = [isOfAFile](const std::string& text) {
            std::vector<std::string> lines = linesOf(text);
            std::erase_if(lines, [isOfAFile](const auto& line) { return !isOfAFile(line); });
            return lines;
        };
        EXPECT_EQ(files(journal).size(), 1402U);
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
            ASSERT_EQ(readFile(in("output")), expected) << format;
            ASSERT_EQ(files(readFile(in("journal"))), files(journal)) << format;
            ASSERT_FALSE(fs::exists(in("output.part")));
        }
        forget();
    }
}

TEST_F(ResumedRuns, CutAnywhereTheJournalGoesOn) {
    programfiles::writeMany(in(""), 20);
    ASSERT_EQ(run(resuming("ndjson", {"."})).status, 1);
    const std::string expected = readFile(in("output"));
    const std::string journal = readFile(in("journal"));
    const std::size_t end = journal.rfind("d ");
    for (std::size_t length = journal.find("o "); length <= end; length += 17) {
        fixture::writeFile(in("journal"), journal.substr(0, length));
        fs::rename(in("output"), in("output.part"));  // it holds more than the journal tells of
        const bool isKnown = journal.find('\n', journal.find("\no ") + 1) < length;
        const Ending given = run(resuming("ndjson", {"."}));
        if (!isKnown) {
            ASSERT_EQ(given.status, 2) << length << given.error;
            fs::rename(in("output.part"), in("output"));
            continue;
        }
        ASSERT_EQ(given.status, 1) << length << given.error;
        ASSERT_EQ(readFile(in("output")), expected) << length;
        ASSERT_EQ(readFile(in("journal")), journal) << length;
    }
}

TEST_F(ResumedRuns, AFileThatIsNamedTwiceIsFinishedTwice) {
    programfiles::writePair(in("."));
    const auto twice = resuming("ndjson", {"a.tif", "b.tif", "a.tif"});
    ASSERT_EQ(run(twice).status, 0);
    const std::string expected = readFile(in("output"));
    const std::string journal = readFile(in("journal"));
    // As if the first run had ended behind its first file.
    const std::size_t second = journal.find("\nr ", journal.find("\nr ") + 1) + 1;
    fixture::writeFile(in("journal"), journal.substr(0, second));
    fs::rename(in("output"), in("output.part"));
    EXPECT_EQ(run(twice).status, 0);
    EXPECT_EQ(readFile(in("output")), expected);
    EXPECT_EQ(run(twice).error,
              "ifdsweep: 0 files read, 0 failed, 0 directories; finished before: 3 files\n");
}

TEST_F(ResumedRuns, WhatIsFinishedAndUnchangedIsLeftOut) {
    fs::create_directory(in("many"));
    programfiles::writeMany(in("many"), 10);
    ASSERT_EQ(run(resuming("ndjson", {"many"})).status, 0);
    const std::string before = readFile(in("output"));
    const std::string journal = readFile(in("journal"));
    struct stat status {};
    ASSERT_EQ(::stat(in("output").c_str(), &status), 0);
    const Ending again = run(resuming("ndjson", {"many"}));
    EXPECT_EQ(again.status, 0);
    EXPECT_EQ(again.error,
              "ifdsweep: 0 files read, 0 failed, 0 directories; finished before: 10 files\n");
    EXPECT_EQ(readFile(in("output")), before);
    EXPECT_EQ(readFile(in("journal")), journal);
    struct stat statusAfter {};
    ASSERT_EQ(::stat(in("output").c_str(), &statusAfter), 0);
    EXPECT_EQ(statusAfter.st_ino, status.st_ino);  // it was neither copied nor written to
    EXPECT_EQ(statusAfter.st_mtim.tv_sec, status.st_mtim.tv_sec);
    EXPECT_EQ(statusAfter.st_mtim.tv_nsec, status.st_mtim.tv_nsec);

    // Another size, another time, and a new one.
    programfiles::write(in("many/00001.tif"), programfiles::nestedImage());
    fs::last_write_time(in("many/00002.tif"),
                        fs::last_write_time(in("many/00002.tif")) + std::chrono::nanoseconds(1));
    programfiles::write(in("many/00011.tif"), programfiles::image(11));
    const Ending changed = run(resuming("ndjson", {"many"}));
    EXPECT_EQ(
        changed.error,
        "ifdsweep: 3 files read, 0 failed, 4 directories; finished before: 8 files; changed: 2 "
        "files have rows from before\n");
    const std::string after = readFile(in("output"));
    EXPECT_EQ(after.substr(0, before.size()), before);
    EXPECT_EQ(linesOf(after).size(), 13U);
}

TEST_F(ResumedRuns, FailuresAreFinishedTooUntilTheyChange) {
    programfiles::write(in("a.tif"), {'I', 'I', 42, 0});
    const std::string line =
        "$PROGRAM --resume journal --strict a.tif b.tif | cat; "
        "exit ${PIPESTATUS[0]}";
    EXPECT_EQ(shell(line).status, 1);
    const Ending again = shell(line);
    EXPECT_EQ(again.status, 1);
    EXPECT_EQ(again.error,
              "ifdsweep: 0 files read, 0 failed, 0 directories; finished before: 2 files, 2 "
              "failed\n");
    EXPECT_EQ(again.out, "");
    programfiles::write(in("a.tif"), programfiles::image(7));
    programfiles::write(in("b.tif"), programfiles::damagedImage());
    const Ending mended = shell(line);
    EXPECT_EQ(mended.status, 3) << mended.error;
    EXPECT_NE(mended.out.find("b.tif"), std::string::npos);
    EXPECT_EQ(shell(line).status, 3);  // the warnings before count
}

TEST_F(ResumedRuns, AForeignFileIsLeftAsItIs) {
    programfiles::write(in("a.tif"), programfiles::image(7));
    const std::string image(1000, '\x01');  // without a line end
    for (const std::string& foreign :
         {std::string("hello"), std::string("hello\nworld\n"), image,
          std::string("ifdsweep journal 3\n"), std::string("ifdsweep journal 1\nr 1 2 3 4\n"),
          std::string(" ")}) {
        fixture::writeFile(in("journal"), foreign);
        const Ending given = run({"--resume", "journal", "--output", "output", "a.tif"});
        EXPECT_EQ(given.status, 2) << foreign;
        EXPECT_EQ(linesOf(given.error).size(), 1U) << given.error;
        EXPECT_NE(given.error.find("journal"), std::string::npos);
        EXPECT_EQ(readFile(in("journal")), foreign);
        EXPECT_EQ(names(), (std::vector<std::string>{"a.tif", "journal"}));
    }
    EXPECT_EQ(run({"--resume", "/dev/null", "a.tif"}).error,
              "ifdsweep: the journal /dev/null is no file\n");
    EXPECT_EQ(run({"--resume", "none/journal", "a.tif"}).error,
              "ifdsweep: cannot open the journal none/journal: No such file or directory\n");
}

TEST_F(ResumedRuns, AnotherRunIsRefused) {
    programfiles::writePair(in("."));
    const std::vector<std::string> base{"--resume", "journal",    "--output",
                                        "output",   "--failures", "failed"};
    const auto with = [&base](std::vector<std::string> more) {
        more.insert(more.begin(), base.begin(), base.end());
        more.emplace_back("a.tif");
        return more;
    };
    ASSERT_EQ(run(with({"--format", "csv", "--tags", "Width", "--max", "1"})).status, 0);
    const std::vector<std::string> files{"output", "journal", "failed"};
    std::vector<std::string> before;
    std::transform(files.begin(), files.end(), std::back_inserter(before),
                   [this](const std::string& name) { return readFile(in(name)); });
    const auto namesBefore = names();
    const std::pair<std::vector<std::string>, std::string> rows[] = {
        {{"--format", "ndjson", "--tags", "Width", "--max", "1"},
         "--format csv, now --format ndjson"},
        {{"--format", "csv", "--tags", "Height", "--max", "1"}, "--tags Width, now --tags Height"},
        {{"--format", "csv", "--tags", "Width"}, "--max 1, now --max 0"},
        {{"--format", "csv", "--tags", "Width", "--max", "1", "--first", "1"},
         "--first 0, now --first 1"},
        {{"--format", "csv", "--tags", "Width", "--max", "1", "--nested"},
         "--rows directory, now --rows nested"},
        {{"--format", "csv", "--tags", "Width", "--max", "1", "--rows", "file"},
         "--rows directory, now --rows file"},
        {{"--format", "csv", "--tags", "Width", "--max", "1", "--raw-cells"},
         "no --raw-cells, now --raw-cells"},
        {{"--format", "csv", "--tags", "Width", "--max", "1", "--layout", "tags"},
         "no --layout, now --layout tags"},
        {{"--format", "csv", "--tags", "Width", "--max", "1", "--offset", "8"},
         "no --offset, now --offset 8"},
        {{"--format", "csv", "--tags", "Width", "--max", "1", "--streams", "all"},
         "--streams first, now --streams all"},
        {{"--format", "csv", "--tags", "Width", "--max", "1", "--read-budget", "unlimited"},
         "no --read-budget, now --read-budget unlimited"},
        {{"--format", "csv", "--tags", "Width", "--max", "1", "--value-budget", "unlimited"},
         "no --value-budget, now --value-budget unlimited"},
        {{"--format", "csv", "--tags", "Width", "--max", "1", "--reading", "contract"},
         "--reading full, now --reading contract"},
        {{"--format", "csv", "--tags", "Width", "--max", "1", "--max-value", "9"},
         "--max-value all, now --max-value 9"},
        {{"--format", "csv", "--tags", "Width", "--max", "1", "--ignore", "tagDataPastEOF"},
         "no --ignore, now --ignore Velmora:pixlore:ifdsweep:tagDataPastEOF"},
        {{"--format", "csv", "--tags", "Width", "--max", "1", "--check"},
         "no --check, now --check"},
        {{"--format", "csv", "--tags", "Width", "--max", "1", "--warnings", "none"},
         "--warnings each, now --warnings none"},
        {{"--format", "csv", "--tags", "Width", "--max", "1", "--all"}, "no --all, now --all"},
        {{"--format", "csv", "--tags", "Width", "--max", "1", "--null"}, "no --null, now --null"},
        {{"--format", "csv", "--tags", "Width", "--max", "1", "--output", "other"}, "--output "},
        {{"--format", "csv", "--tags", "Width", "--max", "1", "--failures", "other"},
         "--failures "},
    };
    for (const auto& [options, difference] : rows) {
        const Ending given = run(with(options));
        EXPECT_EQ(given.status, 2) << difference << given.error;
        EXPECT_NE(given.error.find("the journal journal was begun with " + difference),
                  std::string::npos)
            << given.error;
        EXPECT_EQ(names(), namesBefore);
        for (std::size_t index = 0; index < files.size(); ++index) {
            EXPECT_EQ(readFile(in(files[index])), before[index]) << difference;
        }
    }
    // The standard output in place of the file, and another time zone.
    const Ending given = run({"--resume", "journal", "--failures", "failed", "--format", "csv",
                              "--tags", "Width", "--max", "1", "a.tif"});
    EXPECT_EQ(given.status, 2);
    EXPECT_NE(given.error.find("now the standard output into a file"), std::string::npos);
    Launch launch;
    launch.arguments = with({"--format", "csv", "--tags", "Width", "--max", "1"});
    launch.prepare = [] { ::setenv("TZ", "Asia/Tokyo", 1); };
    EXPECT_NE(run(launch).error.find("TZ=UTC, now TZ=Asia/Tokyo"), std::string::npos);
    // What shapes no row may differ.
    EXPECT_EQ(run(with({"--format", "csv", "--tags", "Width", "--max", "1", "--jobs", "1",
                        "--timeout", "9", "b.tif"}))
                  .status,
              0);
}

TEST_F(ResumedRuns, AJournalHasOneRunAtATime) {
    programfiles::writePair(in("."));
    programfiles::write(in("slow.tif"), programfiles::endlessImage());
    Launch launch;
    launch.arguments = resuming("ndjson", {"--read-budget", "unlimited", "--value-budget",
                                           "unlimited", "a.tif", "slow.tif"});
    launch.prepare = [] { ::setpgid(0, 0); };
    Running first = start(launch);
    ASSERT_TRUE(
        comesTrue([&] { return readFile(in("journal")).find("\nr ") != std::string::npos; }));
    const std::string journal = readFile(in("journal"));
    const Ending second = run(resuming("ndjson", {"--read-budget", "unlimited", "--value-budget",
                                                  "unlimited", "a.tif", "slow.tif"}));
    EXPECT_EQ(second.status, 2);
    EXPECT_EQ(second.error, "ifdsweep: the journal journal is in use by process " +
                                std::to_string(first.process()) + '\n');
    EXPECT_EQ(readFile(in("journal")), journal);
    first.sendToGroup(SIGKILL);
    first.wait();
    // The lock has gone with the process.
    programfiles::write(in("slow.tif"), programfiles::image(9));
    EXPECT_EQ(run(resuming("ndjson", {"--read-budget", "unlimited", "--value-budget", "unlimited",
                                      "a.tif", "slow.tif"}))
                  .status,
              0);
    EXPECT_EQ(linesOf(readFile(in("output"))).size(), 2U);
}

TEST_F(ResumedRuns, AnUnfinishedOutputOfSomebodyElseIsLeftAsItIs) {
    programfiles::writePair(in("."));
    const auto arguments = resuming("ndjson", {"a.tif"});
    const std::string image = readFile(in("b.tif"));
    const std::pair<const char*, std::function<void()>> ways[] = {
        {"a text", [this] { fixture::writeFile(in("output.part"), std::string(5000, 'x')); }},
        {"empty", [this] { fixture::writeFile(in("output.part"), ""); }},
        {"an image", [this] { fs::copy(in("b.tif"), in("output.part")); }},
        {"a hard link", [this] { fs::create_hard_link(in("b.tif"), in("output.part")); }},
        {"a link", [this] { fs::create_symlink("b.tif", in("output.part")); }},
        {"a link to nothing", [this] { fs::create_symlink("nothing", in("output.part")); }},
    };
    // Before the first run, and while the journal tells of another file.
    for (const bool isBegun : {false, true}) {
        for (const auto& [name, make] : ways) {
            SCOPED_TRACE(name);
            forget();
            if (isBegun) {
                ASSERT_EQ(run(arguments).status, 0);
                std::string journal = readFile(in("journal"));
                fixture::writeFile(in("journal"), journal.substr(0, journal.rfind("d ")));
                fs::remove(in("output"));
            }
            make();
            const auto before = names();
            const std::string part = readFile(in("output.part"));
            const std::string journal = readFile(in("journal"));
            const Ending given = run(arguments);
            EXPECT_EQ(given.status, 2);
            EXPECT_EQ(linesOf(given.error).size(), 1U) << given.error;
            EXPECT_NE(given.error.find("output.part"), std::string::npos) << given.error;
            EXPECT_EQ(names(), before);
            EXPECT_TRUE(readFile(in("output.part")) == part);
            EXPECT_EQ(readFile(in("journal")), journal);
            EXPECT_TRUE(readFile(in("b.tif")) == image);
        }
    }
    EXPECT_FALSE(fs::exists(in("nothing")));
    forget();
    fs::create_directory(in("output.part"));
    EXPECT_EQ(run(arguments).status, 2);
    EXPECT_TRUE(fs::is_directory(in("output.part")));
}

TEST_F(ResumedRuns, TheStandardOutputIsGoneOnWithWhereItEnded) {
    fs::create_directory(in("many"));
    programfiles::writeMany(in("many"), 30);
    const std::string options = " --resume journal --format csv --tags Width,Make many ";
    fixture::writeFile(in("out"), "# a table\n");
    ASSERT_EQ(shell("$PROGRAM" + options + ">> out").status, 1);
    const std::string expected = readFile(in("out"));
    const std::string journal = readFile(in("journal"));
    EXPECT_EQ(expected.find("# a table\nFile,Directory,"), 0U);

    // Ended in the middle, with more in the file than the journal tells of.
    const std::size_t middle = journal.find('\n', journal.size() / 2) + 1;
    fixture::writeFile(in("journal"), journal.substr(0, middle));
    EXPECT_EQ(shell("$PROGRAM" + options + ">> out").status, 1);
    EXPECT_EQ(readFile(in("out")), expected);
    EXPECT_EQ(readFile(in("journal")), journal);
    EXPECT_EQ(shell("$PROGRAM" + options + ">> out").status, 1);  // nothing is to be done
    EXPECT_EQ(readFile(in("out")), expected);
    EXPECT_EQ(readFile(in("journal")), journal);

    // The shell has emptied it, somebody has written behind it, it is another file.
    const Ending emptied = shell("$PROGRAM" + options + "> out");
    EXPECT_EQ(emptied.status, 2);
    EXPECT_NE(emptied.error.find("the standard output holds 0 of the "), std::string::npos)
        << emptied.error;
    EXPECT_EQ(readFile(in("journal")), journal);
    fixture::writeFile(in("out"), expected + "more\n");
    EXPECT_EQ(shell("$PROGRAM" + options + ">> out").status, 2);
    EXPECT_EQ(readFile(in("out")), expected + "more\n");
    const Ending other = shell("$PROGRAM" + options + ">> other");
    EXPECT_EQ(other.status, 2);
    EXPECT_NE(other.error.find("is not the file that the journal"), std::string::npos);
    const Ending pipe = shell("$PROGRAM" + options + "| cat; exit ${PIPESTATUS[0]}");
    EXPECT_EQ(pipe.status, 2);
    EXPECT_NE(pipe.error.find("now the standard output into no file"), std::string::npos);
}

TEST_F(ResumedRuns, FramesAreWrittenOnceAroundWhatIsAdded) {
    fs::create_directory(in("many"));
    ASSERT_EQ(run(resuming("json", {"many"})).status, 0);  // nothing yet
    programfiles::writeMany(in("many"), 3);
    ASSERT_EQ(run(resuming("json", {"many"})).status, 0);
    programfiles::writeMany(in("many"), 6);
    const Ending given = run(resuming("json", {"many"}));
    EXPECT_EQ(given.status, 0);
    EXPECT_NE(given.error.find("finished before: 3 files"), std::string::npos) << given.error;
    const std::string added = readFile(in("output"));
    forget();
    ASSERT_EQ(run(resuming("json", {"many"})).status, 0);
    EXPECT_EQ(added, readFile(in("output")));
}

TEST_F(ResumedRuns, AnOutputThatIsNotTheJournalsIsRefused) {
    programfiles::write(in("a.tif"), programfiles::image(7));
    ASSERT_EQ(run(resuming("ndjson", {"a.tif"})).status, 0);
    const std::string whole = readFile(in("output"));
    for (const std::string& other : {std::string("short"), whole + "more\n", whole}) {
        fs::remove(in("output"));
        fixture::writeFile(in("output"), other);
        const Ending given = run(resuming("ndjson", {"a.tif"}));
        EXPECT_EQ(given.status, 2);
        EXPECT_EQ(linesOf(given.error).size(), 1U);
        EXPECT_NE(given.error.find("output output is not the one that the journal"),
                  std::string::npos)
            << given.error;
        EXPECT_EQ(readFile(in("output")), other);
        EXPECT_FALSE(fs::exists(in("output.part")));
    }
}

TEST_F(ResumedRuns, AnOutputThatGrewIsRefused) {
    programfiles::write(in("a.tif"), programfiles::image(7));
    ASSERT_EQ(run(resuming("ndjson", {"a.tif"})).status, 0);
    const std::string more = readFile(in("output")) + "more\n";
    fixture::writeFile(in("output"), more);  // the same file
    EXPECT_EQ(run(resuming("ndjson", {"a.tif"})).status, 2);
    EXPECT_EQ(readFile(in("output")), more);
}

TEST_F(ResumedRuns, TheListOfFailuresIsGoneOnWith) {
    programfiles::write(in("a.tif"), {'I', 'I', 42, 0});
    const std::vector<std::string> arguments{"--resume", "journal",    "--output",
                                             "output",   "--failures", "failed"};
    const auto with = [&arguments](std::vector<std::string> paths) {
        paths.insert(paths.begin(), arguments.begin(), arguments.end());
        return paths;
    };
    EXPECT_EQ(run(with({"a.tif"})).status, 1);
    EXPECT_EQ(run(with({"a.tif", "b.tif"})).status, 1);
    const auto lines = linesOf(readFile(in("failed")));
    ASSERT_EQ(lines.size(), 2U);
    EXPECT_EQ(lines[0].find("a.tif\t# "), 0U);
    EXPECT_EQ(lines[1].find("b.tif\t# "), 0U);

    // What stands behind the journal's end is written again, not twice.
    const std::string list = readFile(in("failed"));
    const std::string journal = readFile(in("journal"));
    fixture::writeFile(in("journal"), journal.substr(0, journal.rfind("f ")));
    fixture::writeFile(in("failed"), list + "half a li");
    EXPECT_EQ(run(with({"a.tif", "b.tif"})).status, 1);
    EXPECT_EQ(readFile(in("failed")), list);

    // Another list is left as it is.
    fs::rename(in("failed"), in("held"));
    fixture::writeFile(in("failed"), list);
    const Ending given = run(with({"a.tif", "b.tif", "c.tif"}));
    EXPECT_EQ(given.status, 2);
    EXPECT_NE(given.error.find("the list of failures failed is not the one"), std::string::npos);
    EXPECT_EQ(readFile(in("failed")), list);
}

}  // namespace

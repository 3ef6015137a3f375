// Where the output goes: files that appear when they are whole, devices, links, full disks.

#include <csignal>
#include <filesystem>
#include <string>
#include <vector>

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include "program/program_files.h"
#include "program/program_run.h"
#include "support/whole_file.h"

namespace {

namespace fs = std::filesystem;
using namespace programrun;
using fixture::readFile;

class OutputFiles : public ProgramRun {
protected:
    void SetUp() override {
        ProgramRun::SetUp();
        programfiles::writePair(in("."));
        before = names();
    }

    /// Expects a run to fail with one line, and nothing to be left behind.
    void expectRefusal(const std::vector<std::string>& arguments, const std::string& error,
                       int status = 1) const {
        const Ending given = run(arguments);
        EXPECT_EQ(given.status, status) << testing::PrintToString(arguments);
        EXPECT_EQ(given.error, "ifdsweep: " + error + '\n');
        EXPECT_EQ(given.out, "");
        EXPECT_EQ(names(), before) << testing::PrintToString(arguments);
    }

    std::vector<std::string> before;
};

TEST_F(OutputFiles, HoldsWhatTheStandardOutputWould) {
    for (const char* const format : {"text", "json", "ndjson", "typed", "csv"}) {
        const std::string expected = run({"--format", format, "a.tif", "b.tif"}).out;
        const Ending given = run({"--format", format, "--output", "table", "a.tif", "b.tif"});
        EXPECT_EQ(given.status, 0) << given.error;
        EXPECT_EQ(given.out, "");
        EXPECT_EQ(readFile(in("table")), expected) << format;
    }
}

TEST_F(OutputFiles, HasTheModeOfANewFile) {
    for (const mode_t mask : {0022U, 0077U, 0002U}) {
        Launch launch;
        launch.arguments = {"--output", "table", "a.tif"};
        launch.prepare = [mask] { ::umask(mask); };
        EXPECT_EQ(run(launch).status, 0);
        struct stat status {};
        ASSERT_EQ(::stat(in("table").c_str(), &status), 0);
        EXPECT_EQ(status.st_mode & 0777, 0666 & ~mask);
    }
}

TEST_F(OutputFiles, ALinkStaysALink) {
    fs::create_directory(in("elsewhere"));
    fixture::writeFile(in("elsewhere/table"), "old");
    fs::create_symlink("elsewhere/table", in("link"));
    EXPECT_EQ(run({"--format", "csv", "--output", "link", "a.tif"}).status, 0);
    EXPECT_TRUE(fs::is_symlink(in("link")));
    EXPECT_EQ(readFile(in("elsewhere/table")).find("File,Directory"), 0U);
    // A link to a file that is not there yet.
    fs::remove(in("elsewhere/table"));
    EXPECT_EQ(run({"--format", "csv", "--output", "link", "a.tif"}).status, 0);
    EXPECT_TRUE(fs::is_symlink(in("link")));
    EXPECT_EQ(readFile(in("elsewhere/table")).find("File,Directory"), 0U);
    EXPECT_EQ(std::distance(fs::directory_iterator(in("elsewhere")), {}), 1);
}

TEST_F(OutputFiles, ADeviceIsWrittenTo) {
    EXPECT_EQ(run({"--output", "/dev/null", "a.tif"}).status, 0);
    EXPECT_TRUE(fs::is_character_file("/dev/null"));
}

TEST_F(OutputFiles, APipeIsWrittenTo) {
    ASSERT_EQ(::mkfifo((folder / "pipe").c_str(), 0600), 0);
    const int reading = ::open((folder / "pipe").c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC);
    const Ending given = run(
        {"--format", "csv", "--tags", "Width", "--output", (folder / "pipe").string(), "a.tif"});
    EXPECT_EQ(given.status, 0) << given.error;
    std::string bytes(1000, '\0');
    const ssize_t got = ::read(reading, bytes.data(), bytes.size());
    ::close(reading);
    bytes.resize(static_cast<std::size_t>(std::max<ssize_t>(got, 0)));
    EXPECT_EQ(bytes, "File,Directory,Width\r\na.tif,0,7\r\n");
}

TEST_F(OutputFiles, AFullDeviceIsAnError) {
    for (const char* const format : {"text", "json", "csv"}) {
        expectRefusal({"--format", format, "--output", "/dev/full", "a.tif"},
                      "cannot write /dev/full: No space left on device");
        const Ending given = run({"--format", format, "a.tif", "b.tif"}, "/dev/full");
        EXPECT_EQ(given.status, 1);
        EXPECT_EQ(given.error, "ifdsweep: cannot write the output: No space left on device\n");
    }
}

TEST_F(OutputFiles, AFileThatCannotGetLargeEnoughDoesNotAppear) {
    fixture::writeFile(in("table"), "old");
    before = names();
    Launch launch;
    launch.arguments = {"--format", "typed", "--output", "table", "a.tif", "b.tif", "a.tif"};
    launch.prepare = [] {
        const rlimit limit{1000, 1000};
        ::setrlimit(RLIMIT_FSIZE, &limit);
    };
    const Ending given = run(launch);
    EXPECT_EQ(given.status, 1);
    EXPECT_EQ(given.error, "ifdsweep: cannot write table: File too large\n");
    EXPECT_EQ(readFile(in("table")), "old");
    EXPECT_EQ(names(), before);
}

TEST_F(OutputFiles, PlacesWhereNothingCanBeWritten) {
    expectRefusal({"--output", "/proc/table", "a.tif"},
                  "cannot write /proc/table: No such file or directory");
    expectRefusal({"--output", "none/table", "a.tif"},
                  "cannot write none/table: No such file or directory");
    expectRefusal({"--output", "a.tif/table", "a.tif"},
                  "cannot write a.tif/table: Not a directory");
    expectRefusal({"--output", "/proc", "a.tif"}, "cannot write /proc: Is a directory");
    expectRefusal({"--failures", "none/failed", "--output", "table", "a.tif"},
                  "cannot write none/failed: No such file or directory");
}

TEST_F(OutputFiles, AFolderWithoutPermission) {
    fs::create_directory(in("closed"));
    fs::permissions(in("closed"), fs::perms::owner_read | fs::perms::owner_exec);
    fs::permissions(folder, fs::perms::owner_all | fs::perms::others_exec);
    fs::permissions(folder / "tmp", fs::perms::all);
    fs::permissions(in(""), fs::perms::all);
    Launch launch;
    launch.arguments = {"--output", "closed/table", "a.tif"};
    launch.prepare = becomeOrdinary;
    const Ending given = run(launch);
    EXPECT_EQ(given.status, 1);
    EXPECT_EQ(given.error, "ifdsweep: cannot write closed/table: Permission denied\n");
}

TEST_F(OutputFiles, NothingIsBothReadAndWritten) {
    fixture::writeFile(in("list"), "a.tif\n");
    fs::create_hard_link(in("a.tif"), in("same.tif"));
    before = names();
    const std::string image = readFile(in("a.tif"));
    for (const char* const option : {"--output", "--failures", "--resume"}) {
        expectRefusal({option, "same.tif", "b.tif", "a.tif"},
                      "a.tif cannot be both read and written", 2);
        expectRefusal({option, "list", "--files-from", "list"},
                      "list cannot be both read and written", 2);
        EXPECT_EQ(readFile(in("a.tif")), image);
        EXPECT_EQ(readFile(in("list")), "a.tif\n");
    }
    expectRefusal({"--output", "new", "--failures", "new", "a.tif"},
                  "new cannot be written in two ways", 2);
    expectRefusal({"--output", "./new", "--failures", "new", "a.tif"},
                  "new cannot be written in two ways", 2);
    expectRefusal({"--output", "new", "--resume", "j", "--failures", "new.part", "a.tif"},
                  "new.part cannot be written in two ways", 2);
    expectRefusal({"--resume", "list", "--failures", "./list", "a.tif"},
                  "list cannot be written in two ways", 2);
    EXPECT_EQ(readFile(in("list")), "a.tif\n");
}

TEST_F(OutputFiles, TheOutputOfTheShellIsNoInput) {
    const Ending redirected = shell("$PROGRAM a.tif b.tif >> a.tif");
    EXPECT_EQ(redirected.status, 1);
    EXPECT_EQ(linesOf(redirected.error)[0],
              "ifdsweep: a.tif: this is also the output (inputFailure)");
}

TEST_F(OutputFiles, TheOutputInAFolderIsLeftOut) {
    fs::create_directory(in("inner"));
    const std::vector<std::string> arguments{"--all",      "--format", "ndjson",   "--output",
                                             "table",      ".",        "--resume", "inner/journal",
                                             "--failures", "failed"};
    EXPECT_EQ(run(arguments).error, "ifdsweep: 2 files read, 0 failed, 3 directories\n");
    EXPECT_EQ(run(arguments).error,
              "ifdsweep: 0 files read, 0 failed, 0 directories; finished before: 2 files\n");
}

TEST_F(OutputFiles, AClosedStandardOutputIsAnErrorAndNoOtherFile) {
    const Ending given = shell("$PROGRAM --resume journal --format ndjson a.tif b.tif >&-");
    EXPECT_EQ(given.status, 1);
    EXPECT_EQ(given.error, "ifdsweep: cannot write the output: Bad file descriptor\n");
    EXPECT_EQ(readFile(in("journal")).find('{'), std::string::npos);
    EXPECT_EQ(shell("$PROGRAM --output table a.tif b.tif >&- 2>&-").status, 0);
    EXPECT_EQ(readFile(in("table")), run({"a.tif", "b.tif"}).out);
}

}  // namespace

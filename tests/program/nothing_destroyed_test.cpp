// Whatever a run is told to write, no image and no input is written over: every way to reach one.

#include <algorithm>
#include <filesystem>
#include <map>
#include <string>
#include <vector>

#include <gtest/gtest.h>
#include <sys/stat.h>

#include "program/program_files.h"
#include "program/program_run.h"
#include "support/whole_file.h"

namespace {

namespace fs = std::filesystem;
using namespace programrun;
using fixture::readFile;

/// What a folder holds: the bytes of the files, the targets of the links.
std::map<std::string, std::string> stateOf(const fs::path& folder) {
    std::map<std::string, std::string> state;
    for (const auto& entry : fs::recursive_directory_iterator(folder)) {
        const std::string name = entry.path().string();
        if (entry.is_symlink()) {
            state[name] = "-> " + fs::read_symlink(entry.path()).string();
        } else if (entry.is_regular_file()) {
            struct stat status {};
            EXPECT_EQ(::stat(name.c_str(), &status), 0);
            state[name] = std::to_string(status.st_ino) + ' ' + readFile(entry.path());
        } else {
            state[name] = "folder";
        }
    }
    return state;
}

class NothingDestroyed : public ProgramRun {
protected:
    void SetUp() override {
        ProgramRun::SetUp();
        programfiles::writePair(in("."));
        fs::create_directory(in("archive"));
        programfiles::write(in("archive/scan.tif"), programfiles::image(3));
        programfiles::write(in("archive/big.tif"), programfiles::nestedImage());
        programfiles::write(in("archive/photo.jpg"), programfiles::photo());
        programfiles::write(in("archive/cut.tif"), {'M', 'M', 0, 42});
        fs::create_hard_link(in("archive/scan.tif"), in("hard"));
        fs::create_symlink("archive/scan.tif", in("link"));
        fs::create_symlink("link", in("link_to_link"));
        fixture::writeFile(in("list"), "archive/scan.tif\nletter.txt\n");
        fixture::writeFile(in("letter.txt"), "Dear sir");
        fixture::writeFile(in("failed"), "archive/scan.tif\t# why\n");
        before = stateOf(in(""));
    }

    void expectRefusal(const std::vector<std::string>& arguments, const std::string& error) const {
        const Ending given = run(arguments);
        const std::string told = testing::PrintToString(arguments);
        EXPECT_EQ(given.status, 2) << told << given.error;
        EXPECT_EQ(given.out, "") << told;
        EXPECT_EQ(linesOf(given.error).size(), 1U) << told << given.error;
        EXPECT_NE(given.error.find(error), std::string::npos) << told << given.error;
        EXPECT_TRUE(stateOf(in("")) == before) << told;
    }

    std::map<std::string, std::string> before;
};

TEST_F(NothingDestroyed, EveryWayToAnImage) {
    const std::string isImage = " is an image and is left as it is";
    const std::string isRead = " cannot be both read and written";
    struct Way {
        const char* name;
        std::string file;
        std::vector<std::string> inputs;
        std::string error;
    };
    const Way ways[] = {
        {"named", "a.tif", {"a.tif", "b.tif"}, "a.tif" + isRead},
        {"named by another way", "./a.tif", {"archive/../a.tif"}, isRead},
        {"a slip of the fingers", "a.tif", {"b.tif"}, "a.tif" + isImage},
        {"not read at all", "archive/big.tif", {"a.tif"}, "archive/big.tif" + isImage},
        {"found in a folder", "archive/scan.tif", {"archive"}, "archive/scan.tif" + isImage},
        {"JPEG", "archive/photo.jpg", {"archive"}, "archive/photo.jpg" + isImage},
        {"damaged", "archive/cut.tif", {"a.tif"}, "archive/cut.tif" + isImage},
        {"behind a link", "link", {"archive"}, "link" + isImage},
        {"behind two links", "link_to_link", {"a.tif"}, "link_to_link" + isImage},
        {"behind a link, named", "link", {"archive/scan.tif"}, isRead},
        {"behind a hard link", "hard", {"a.tif"}, "hard" + isImage},
        {"behind a hard link, named", "hard", {"archive/scan.tif"}, isRead},
        {"in a list", "archive/scan.tif", {"--files-from", "list"}, isRead},
        {"in a list, behind a link", "link", {"--files-from", "list"}, isRead},
        {"in a list of failures", "archive/scan.tif", {"--files-from", "failed"}, isRead},
        {"in a list, no image", "letter.txt", {"--files-from", "list"}, "letter.txt" + isRead},
        {"the list itself", "list", {"--files-from", "list"}, isRead},
        {"left out", "archive/scan.tif", {"--exclude", "scan*", "archive"}, isImage},
    };
    for (const Way& way : ways) {
        SCOPED_TRACE(way.name);
        for (const char* const option : {"--output", "--failures", "--resume"}) {
            std::vector<std::string> arguments{option, way.file};
            arguments.insert(arguments.end(), way.inputs.begin(), way.inputs.end());
            expectRefusal(arguments, way.error);
        }
    }
}

TEST_F(NothingDestroyed, ByAPatternOfTheShell) {
    const Ending given = shell("$PROGRAM --output *.tif");
    EXPECT_EQ(given.status, 2);
    EXPECT_EQ(given.error, "ifdsweep: a.tif is an image and is left as it is\n");
    EXPECT_TRUE(stateOf(in("")) == before);
}

TEST_F(NothingDestroyed, ByAListThatIsAPipe) {
    for (const char* const option : {"--output", "--failures"}) {
        const Ending given = shell(std::string("cat list | $PROGRAM --files-from - ") + option +
                                   " letter.txt --format ndjson");
        EXPECT_EQ(given.status, 2) << option;
        EXPECT_NE(given.error.find("letter.txt cannot be both read and written"), std::string::npos)
            << given.error;
        EXPECT_TRUE(stateOf(in("")) == before) << option;
    }
}

TEST_F(NothingDestroyed, WhatIsReadFromTheStandardInput) {
    for (const char* const line :
         {"$PROGRAM --format ndjson --files-from - --failures list <list",
          "$PROGRAM --format ndjson --files-from - --output list <list",
          "$PROGRAM --format ndjson --offset 8 --output letter.txt - <letter.txt"}) {
        const Ending given = shell(line);
        EXPECT_EQ(given.status, 2) << line;
        EXPECT_EQ(given.error, "ifdsweep: the standard input cannot be both read and written\n");
        EXPECT_TRUE(stateOf(in("")) == before) << line;
    }
}

TEST_F(NothingDestroyed, WhatIsPrintedIsWrittenInOneWay) {
    for (const char* const option : {"--failures", "--resume"}) {
        const Ending given =
            shell(std::string("$PROGRAM --format ndjson ") + option + " letter.txt . >>letter.txt");
        EXPECT_EQ(given.status, 2) << option;
        EXPECT_EQ(given.error, "ifdsweep: letter.txt cannot be written in two ways\n");
        EXPECT_TRUE(stateOf(in("")) == before) << option;
    }
}

TEST_F(NothingDestroyed, AFileThatMayBeAnImage) {
    programfiles::write(in("closed"), programfiles::image(3));
    fs::permissions(in("closed"), fs::perms::none);
    fs::permissions(folder, fs::perms::owner_all | fs::perms::others_exec);
    fs::permissions(in(""), fs::perms::all);
    fs::permissions(folder / "tmp", fs::perms::all);
    Launch launch;
    launch.arguments = {"--output", "closed", "a.tif"};
    launch.prepare = becomeOrdinary;
    const Ending given = run(launch);
    EXPECT_EQ(given.status, 2);
    EXPECT_EQ(given.error,
              "ifdsweep: closed may be an image and is left as it is: Permission denied\n");
    fs::permissions(in("closed"), fs::perms::owner_all);
    EXPECT_EQ(readFile(in("closed")), readFile(in("archive/scan.tif")));
}

TEST_F(NothingDestroyed, ATableIsReplaced) {
    for (const char* const old : {"", "File,Directory\r\n", "II", "\xFF", "MM*"}) {
        fixture::writeFile(in("table"), old);
        EXPECT_EQ(run({"--format", "csv", "--tags", "Width", "--output", "table", "a.tif"}).status,
                  0);
        EXPECT_EQ(readFile(in("table")), "File,Directory,Width\r\na.tif,0,7\r\n");
    }
}

TEST_F(NothingDestroyed, ALinkToTheOutputIsNoInput) {
    fs::create_directory(in("links"));
    fixture::writeFile(in("table"), "old");
    fs::create_symlink("../table", in("links/to_table"));
    const Ending given =
        run({"--all", "--format", "ndjson", "--output", "table", "links", "a.tif"});
    EXPECT_EQ(given.status, 0) << given.error;
    EXPECT_EQ(linesOf(readFile(in("table"))).size(), 1U);
}

}  // namespace

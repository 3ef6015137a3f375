// Which files are read: folders, patterns, links, lists.

#include "walk/input_files.h"

#include <cerrno>
#include <filesystem>
#include <set>
#include <string>
#include <vector>

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include "io/output.h"
#include "io/run_failure.h"
#include "program/program_run.h"
#include "support/temporary_folder.h"
#include "support/whole_file.h"
#include "walk/folder_listing.h"
#include "walk/path_list.h"

namespace {

namespace fs = std::filesystem;
using fixture::writeFile;
using Names = std::vector<std::string>;

class InputFileWalk : public testing::Test {
protected:
    void SetUp() override {
        for (const char* const name :
             {"b/2.tif", "b/1.tif", "b/c/3.jpg", "b/c/d/4.tif", "a.tif", "z/5.TIF", "ä.tif"}) {
            fs::create_directories((folder / name).parent_path());
            writeFile(folder / name, "x");
        }
    }

    /// The paths in their order, from the folder on; the failures behind "! ".
    Names found(ifdsweep::InputChoice choice,
                std::vector<ifdsweep::FileIdentity> written = {}) const {
        for (std::string& path : choice.paths) {
            path = path == "-" ? path : (folder / path).string();
        }
        ifdsweep::InputFiles files(choice, std::move(written));
        Names names;
        while (const auto file = files.next()) {
            const std::string prefix = folder.path().string() + '/';
            const bool isOurs = file->path.starts_with(prefix);
            const std::string name = isOurs ? file->path.substr(prefix.size()) : file->path;
            names.push_back(file->failure.empty() ? name : "! " + name + ": " + file->failure);
        }
        EXPECT_FALSE(files.next().has_value());
        return names;
    }

    static ifdsweep::InputChoice choose(Names paths) {
        ifdsweep::InputChoice choice;
        choice.paths = std::move(paths);
        return choice;
    }

    static std::vector<ifdsweep::Glob> globs(const Names& patterns) {
        return {patterns.begin(), patterns.end()};
    }

    ifdsweep::InputChoice chooseList(const std::string& lines, bool nulSeparated) const {
        writeFile(folder / "list", lines);
        ifdsweep::InputChoice choice;
        choice.listFile = (folder / "list").string();
        choice.nulSeparated = nulSeparated;
        return choice;
    }

    fixture::TemporaryFolder folder;
};

TEST_F(InputFileWalk, FilesThatWereFoundBeforeAreChosenLikeThoseInFolders) {
    ifdsweep::InputChoice choice = choose({"a.tif", "b", "nothing.tif"});
    choice.foundBefore = true;
    EXPECT_EQ(found(choice), (Names{"a.tif", "b", "nothing.tif"}));
    for (const bool everyFile : {false, true}) {
        choice.paths = {(folder / "a.tif").string()};
        choice.everyFile = everyFile;
        ifdsweep::InputFiles files(choice, {});
        EXPECT_EQ(files.next()->imagesOnly, !everyFile);
    }
}

TEST_F(InputFileWalk, FoldersAreWalkedDepthFirstInTheOrderOfBytes) {
    EXPECT_EQ(found(choose({""})), (Names{"a.tif", "b/1.tif", "b/2.tif", "b/c/3.jpg", "b/c/d/4.tif",
                                          "z/5.TIF", "ä.tif"}));
    EXPECT_EQ(found(choose({"z", "a.tif", "b/c"})),
              (Names{"z/5.TIF", "a.tif", "b/c/3.jpg", "b/c/d/4.tif"}));
}

TEST_F(InputFileWalk, AFolderIsLeftOutWhateverPathLeadsToIt) {
    fs::create_directory_symlink("b/c", folder / "link");
    ifdsweep::InputChoice choice = choose({folder.path().string()});
    choice.followLinks = true;
    struct stat status {};
    ASSERT_EQ(::stat((folder / "b/c").c_str(), &status), 0);
    ifdsweep::InputFiles files(choice, {});
    files.leaveOut({status.st_dev, status.st_ino});
    Names names;
    while (const auto file = files.next()) {
        names.push_back(file->path.substr(folder.path().string().size() + 1));
    }
    EXPECT_EQ(names, (Names{"a.tif", "b/1.tif", "b/2.tif", "z/5.TIF", "ä.tif"}));
}

TEST_F(InputFileWalk, AStepIsToldOfWhatIsNotRead) {
    ifdsweep::InputChoice choice = choose({(folder / "z").string()});
    choice.excluded = globs({"*.TIF"});
    ifdsweep::InputFiles files(choice, {});
    EXPECT_FALSE(files.isAtEnd());
    EXPECT_FALSE(files.step());  // the folder
    EXPECT_FALSE(files.isAtEnd());
    EXPECT_FALSE(files.step());  // what is left out of it
    EXPECT_FALSE(files.isAtEnd());
    EXPECT_FALSE(files.step());  // its end
    EXPECT_TRUE(files.isAtEnd());
    EXPECT_FALSE(files.step());
    EXPECT_FALSE(files.next());
}

TEST_F(InputFileWalk, SlashesBehindAFolderStayAsTheyAre) {
    EXPECT_EQ(found(choose({"z/"})), (Names{"z/5.TIF"}));
    EXPECT_EQ(found(choose({"z//"})), (Names{"z//5.TIF"}));
}

TEST_F(InputFileWalk, NotRecursiveIsOneLevel) {
    ifdsweep::InputChoice choice = choose({"", "b", "b/c/3.jpg"});
    choice.recursive = false;
    EXPECT_EQ(found(choice), (Names{"a.tif", "ä.tif", "b/1.tif", "b/2.tif", "b/c/3.jpg"}));
}

TEST_F(InputFileWalk, Patterns) {
    struct Case {
        Names included;
        Names excluded;
        Names expected;
    };
    const Case rows[] = {
        {{"*.tif"}, {}, {"a.tif", "b/1.tif", "b/2.tif", "b/c/d/4.tif", "ä.tif"}},
        {{"*.tif", "*.TIF"}, {"[12]*"}, {"a.tif", "b/c/d/4.tif", "z/5.TIF", "ä.tif"}},
        {{"?.jpg"}, {}, {"b/c/3.jpg"}},
        {{}, {"c"}, {"a.tif", "b/1.tif", "b/2.tif", "z/5.TIF", "ä.tif"}},
        {{}, {"b", "z"}, {"a.tif", "ä.tif"}},
        {{"b/c/**"}, {}, {"b/c/3.jpg", "b/c/d/4.tif"}},
        {{"/*.tif", "b/*/*.jpg"}, {}, {"a.tif", "b/c/3.jpg", "ä.tif"}},
        {{"*/*.tif"}, {}, {"b/1.tif", "b/2.tif"}},
        {{"**/*.{tif,jpg}"}, {"/?.tif", "d/"}, {"b/1.tif", "b/2.tif", "b/c/3.jpg"}},
        {{}, {"b/c"}, {"a.tif", "b/1.tif", "b/2.tif", "z/5.TIF", "ä.tif"}},
        {{}, {"b/c/*"}, {"a.tif", "b/1.tif", "b/2.tif", "z/5.TIF", "ä.tif"}},
        {{}, {"c/", "a.tif/"}, {"a.tif", "b/1.tif", "b/2.tif", "z/5.TIF", "ä.tif"}},
        {{"in/b/1.tif"}, {}, {}},
        {{"none"}, {}, {}},
    };
    for (const Case& row : rows) {
        ifdsweep::InputChoice choice = choose({""});
        choice.included = globs(row.included);
        choice.excluded = globs(row.excluded);
        EXPECT_EQ(found(choice), row.expected)
            << testing::PrintToString(row.included) << testing::PrintToString(row.excluded);
    }
}

TEST_F(InputFileWalk, PatternsAreForWhatIsFoundAlone) {
    ifdsweep::InputChoice choice = choose({"a.tif", "b/c"});
    choice.included = globs({"*.jpg"});
    choice.excluded = globs({"a*", "c"});
    EXPECT_EQ(found(choice), (Names{"a.tif", "b/c/3.jpg"}));
}

TEST_F(InputFileWalk, PatternsAreForThePathBelowEachFolderHoweverItIsNamed) {
    ifdsweep::InputChoice choice = choose({"b/c", "z//", "./b/../b"});
    choice.included = globs({"/d/*", "5.*", "/1.tif"});
    EXPECT_EQ(found(choice), (Names{"b/c/d/4.tif", "z//5.TIF", "./b/../b/1.tif"}));
    choice = choose({"b/c", "b"});
    choice.excluded = globs({"c/*"});
    EXPECT_EQ(found(choice), (Names{"b/c/3.jpg", "b/c/d/4.tif", "b/1.tif", "b/2.tif"}));
    choice = chooseList((folder / "b").string() + '\n', false);
    choice.included = globs({"/c/*"});
    EXPECT_EQ(found(choice), (Names{"b/c/3.jpg"}));
}

TEST_F(InputFileWalk, AFolderWithoutAnythingToIncludeIsNotEntered) {
    // A folder that was entered is not entered again when it is named.
    ifdsweep::InputChoice choice = choose({"", "z"});
    choice.included = globs({"/b/c/*", "/5.TIF"});
    EXPECT_EQ(found(choice), (Names{"b/c/3.jpg", "z/5.TIF"}));
    choice.included.emplace_back("**/4.tif");
    EXPECT_EQ(found(choice), (Names{"b/c/3.jpg", "b/c/d/4.tif"}));
}

TEST_F(InputFileWalk, LinksToFoldersAreFollowedOnDemand) {
    fs::create_symlink("../b/c", folder / "z/link");
    fs::create_symlink("../a.tif", folder / "z/file");
    EXPECT_EQ(found(choose({"z"})), (Names{"z/5.TIF", "z/file"}));
    ifdsweep::InputChoice choice = choose({(folder / "z").string()});
    choice.followLinks = true;
    EXPECT_EQ(found(choice), (Names{"z/5.TIF", "z/file", "z/link/3.jpg", "z/link/d/4.tif"}));
    // A link that was named is followed anyway.
    EXPECT_EQ(found(choose({"z/link"})), (Names{"z/link/3.jpg", "z/link/d/4.tif"}));
}

TEST_F(InputFileWalk, ALinkThatLeadsNowhereIsTried) {
    fs::create_symlink("nowhere", folder / "z/link");
    EXPECT_EQ(found(choose({"z"})), (Names{"z/5.TIF", "z/link"}));
}

TEST_F(InputFileWalk, NoFolderIsWalkedTwice) {
    const Names all = found(choose({""}));
    EXPECT_EQ(found(choose({"", "b", "z", "."})), all);
    fs::create_symlink("..", folder / "b/c/loop");
    fs::create_symlink(".", folder / "b/c/self");
    fs::create_symlink("../b", folder / "z/again");
    ifdsweep::InputChoice choice = choose({""});
    choice.followLinks = true;
    EXPECT_EQ(found(choice), all);
}

TEST_F(InputFileWalk, AFileIsReadAsOftenAsItIsNamed) {
    EXPECT_EQ(found(choose({"a.tif", "a.tif"})), (Names{"a.tif", "a.tif"}));
}

TEST_F(InputFileWalk, WhatIsFoundIsSniffedUnlessAllIsTried) {
    for (const bool all : {false, true}) {
        ifdsweep::InputChoice choice =
            choose({(folder / "z").string(), (folder / "a.tif").string()});
        choice.everyFile = all;
        ifdsweep::InputFiles files(choice, {});
        EXPECT_EQ(files.next()->imagesOnly, all ? false : true);
        EXPECT_EQ(files.next()->imagesOnly, false);
    }
}

TEST_F(InputFileWalk, WhatIsWrittenIsNotRead) {
    const int file = ::open((folder / "a.tif").c_str(), O_RDONLY | O_CLOEXEC);
    const auto identity = ifdsweep::identityOf(file);
    ::close(file);
    ASSERT_TRUE(identity.has_value());
    EXPECT_EQ(found(choose({"a.tif", "z"}), {*identity}),
              (Names{"! a.tif: this is also the output", "z/5.TIF"}));
    const Names others = found(choose({""}), {*identity});
    EXPECT_EQ(others.front(), "b/1.tif");
    EXPECT_EQ(others.size(), 6U);
}

TEST_F(InputFileWalk, ListsAreReadBehindTheCommandLine) {
    const std::string start = folder.path().string() + '/';
    ifdsweep::InputChoice choice =
        chooseList(start + "z\n" + start + "a.tif\n\n" + start + "b/1.tif\t# failed\n-", false);
    choice.paths = {"b/c"};
    const std::string list = "! list: line 3 of the list is empty";
    EXPECT_EQ(found(choice),
              (Names{"b/c/3.jpg", "b/c/d/4.tif", "z/5.TIF", "a.tif", list, "b/1.tif", "./-"}));
}

TEST_F(InputFileWalk, NulSeparatedListsTakeEveryName) {
    const std::string start = folder.path().string() + '/';
    writeFile(folder / "two\nlines\t# 1", "x");
    const std::string lines =
        start + "two\nlines\t# 1" + std::string(2, '\0') + start + "a.tif" + std::string(1, '\0');
    EXPECT_EQ(found(chooseList(lines, true)),
              (Names{"two\nlines\t# 1", "! list: line 2 of the list is empty", "a.tif"}));
}

TEST_F(InputFileWalk, AListThatCannotBeOpened) {
    ifdsweep::InputChoice choice;
    choice.listFile = (folder / "none").string();
    EXPECT_THROW(ifdsweep::InputFiles(choice, {}), ifdsweep::RunFailure);
}

TEST_F(InputFileWalk, StandardInputIsNoFileOfThatName) {
    writeFile(folder / "-", "x");
    EXPECT_EQ(found(choose({"-"})), (Names{"-"}));
}

TEST_F(InputFileWalk, AFolderListingTellsWhyItCannot) {
    EXPECT_EQ(ifdsweep::FolderListing((folder / "none").string()).error(), ENOENT);
    EXPECT_EQ(ifdsweep::FolderListing((folder / "a.tif").string()).error(), ENOTDIR);
    ifdsweep::FolderListing listing((folder / "b").string());
    EXPECT_EQ(listing.error(), 0);
    const auto first = listing.take();
    EXPECT_EQ(first.name, "1.tif");
    EXPECT_EQ(first.kind, ifdsweep::FolderListing::EntryKind::file);
    EXPECT_EQ(listing.take().name, "2.tif");
    EXPECT_FALSE(listing.isDone());
    EXPECT_EQ(listing.take().kind, ifdsweep::FolderListing::EntryKind::folder);
    EXPECT_TRUE(listing.isDone());
    const ifdsweep::FolderListing same((folder / "b/../b").string());
    EXPECT_EQ(same.identity(), listing.identity());
}

TEST_F(InputFileWalk, APathListGivesLinesOfEveryLength) {
    // Around the size of the pieces that it reads.
    std::string text;
    Names expected;
    for (const std::size_t size : {1UL, 65534UL, 1UL, 65535UL, 65536UL, 200000UL, 3UL}) {
        expected.emplace_back(size, static_cast<char>('a' + size % 26));
        text += expected.back() + '\n';
    }
    expected.emplace_back("end");
    writeFile(folder / "list", text + "end");
    ifdsweep::PathList list((folder / "list").string(), false);
    for (const std::string& line : expected) {
        ASSERT_TRUE(list.isReady());
        ASSERT_EQ(list.next(), line);
    }
    EXPECT_EQ(list.line(), expected.size());
    EXPECT_TRUE(list.isReady());
    EXPECT_EQ(list.next(), std::nullopt);
}

TEST_F(InputFileWalk, APathListThatIsStillWrittenIsNotWaitedFor) {
    const std::string pipe = folder / "pipe";
    ASSERT_EQ(::mkfifo(pipe.c_str(), 0600), 0);
    const int both = ::open(pipe.c_str(), O_RDWR | O_CLOEXEC);
    ifdsweep::PathList list(pipe, false);
    const int writing = ::open(pipe.c_str(), O_WRONLY | O_CLOEXEC);
    ::close(both);
    EXPECT_FALSE(list.isReady());
    ASSERT_EQ(::write(writing, "one\ntw", 6), 6);
    EXPECT_TRUE(list.isReady());
    EXPECT_EQ(list.next(), "one");
    EXPECT_FALSE(list.isReady());
    ASSERT_EQ(::write(writing, "o", 1), 1);
    EXPECT_FALSE(list.isReady());
    ::close(writing);
    EXPECT_TRUE(list.isReady());
    EXPECT_EQ(list.next(), "two");
    EXPECT_EQ(list.next(), std::nullopt);
}

TEST_F(InputFileWalk, AFolderIsNoPathList) {
    ifdsweep::PathList list((folder / "b").string(), false);
    EXPECT_THROW(static_cast<void>(list.next()), ifdsweep::OutputError);
}

}  // namespace

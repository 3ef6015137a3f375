// Files that carry TIFF streams, read by the built program: its status, its messages, folders, the
// standard input, and what is never written over. Alone and through workers.

#include <filesystem>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "program/program_files.h"
#include "program/program_run.h"
#include "support/jxl_file.h"
#include "support/whole_file.h"

namespace {

using namespace programrun;
using fixture::exifBox;
using fixture::jxlFile;

class StreamFiles : public ProgramRun {
protected:
    void SetUp() override {
        ProgramRun::SetUp();
        const fixture::Bytes good = exifBox(programfiles::image(4));
        const fixture::Bytes bad = exifBox(fixture::bytesOf("no stream"));
        std::filesystem::create_directory(in("photos"));
        programfiles::write(in("photos/one.jxl"), jxlFile({good}));
        programfiles::write(in("photos/bare.jxl"), jxlFile({}));
        programfiles::write(in("two.jxl"), jxlFile({good, exifBox(programfiles::image(5))}));
        programfiles::write(in("half.jxl"), jxlFile({good, bad}));
        programfiles::write(in("bad.jxl"), jxlFile({bad}));
        programfiles::write(in("warned.jxl"), jxlFile({good, exifBox(programfiles::damagedImage()),
                                                       exifBox(programfiles::damagedImage())}));
    }
};

TEST_F(StreamFiles, FailIfOneOfTheirStreamsDoesWhichIsNamed) {
    EXPECT_EQ(bothWays({"half.jxl"}).status, 0);
    const Ending half = bothWays({"--streams", "all", "half.jxl"});
    EXPECT_EQ(half.status, 1);
    EXPECT_EQ(half.error.find("ifdsweep: half.jxl: the TIFF header begins with"), 0U) << half.error;
    EXPECT_NE(half.error.find(" (Exif 2) (badEndianness)\n"), std::string::npos) << half.error;
    const Ending bad = bothWays({"--streams", "all", "bad.jxl"});
    EXPECT_EQ(bad.status, 1);
    EXPECT_EQ(bad.error.find("(Exif"), std::string::npos) << bad.error;
    const Ending listed = run({"--streams", "all", "--failures", "failed", "half.jxl", "two.jxl"});
    EXPECT_EQ(listed.status, 1);
    EXPECT_EQ(fixture::readFile(in("failed")).find("half.jxl\t# "), 0U);
    EXPECT_NE(listed.error.find("1 file read, 1 failed, 3 directories"), std::string::npos)
        << listed.error;
}

TEST_F(StreamFiles, OtherStreamsAreNoWarningForStrict) {
    EXPECT_EQ(bothWays({"--strict", "two.jxl"}).status, 0);
    EXPECT_EQ(bothWays({"--strict", "--streams", "all", "two.jxl"}).status, 0);
    EXPECT_EQ(bothWays({"--strict", "warned.jxl"}).status, 0);
    EXPECT_EQ(bothWays({"--strict", "--streams", "all", "warned.jxl"}).status, 3);
}

TEST_F(StreamFiles, WarningsOfEveryStreamAreIgnoredAndCounted) {
    const std::vector<std::string> all{"--format", "ndjson", "--streams", "all", "warned.jxl"};
    const auto with = [&](std::vector<std::string> more) {
        more.insert(more.end(), all.begin(), all.end());
        return bothWays(more);
    };
    const Ending each = with({});
    const std::string id = "expectedTagDataFormat";
    ASSERT_NE(each.out.find(id), each.out.rfind(id)) << each.out;
    EXPECT_EQ(with({"--ignore", id}).out.find(id), std::string::npos);
    EXPECT_EQ(with({"--warnings", "none"}).out.find(id), std::string::npos);
    EXPECT_EQ(with({"--ignore", id, "--ignore", "tagDataPastEOF", "--strict"}).status, 0);
}

TEST_F(StreamFiles, InFoldersAreFoundIfTheyHaveAStream) {
    const Ending given = run({"--format", "csv", "--tags", "Width", "photos"});
    EXPECT_EQ(given.status, 0) << given.error;
    EXPECT_EQ(given.out, "File,Directory,Width\r\nphotos/one.jxl,0,4\r\n");
    EXPECT_EQ(run({"--all", "photos"}).status, 1);
    const Ending named = run({"photos/bare.jxl"});
    EXPECT_EQ(named.status, 1);
    EXPECT_EQ(named.error,
              "ifdsweep: photos/bare.jxl: no Exif box in this JPEG XL file, 2 boxes "
              "(noTiffStream)\n");
    const Ending contract = run({"--reading", "contract", "photos/one.jxl"});
    EXPECT_EQ(contract.error,
              "ifdsweep: photos/one.jxl: a JPEG XL image, not a TIFF (badEndianness)\n");
}

TEST_F(StreamFiles, ComeFromTheStandardInput) {
    const std::string arguments = "--format csv --tags Width ";
    const Ending piped = shell("cat two.jxl | $PROGRAM " + arguments + "-");
    EXPECT_EQ(piped.status, 0) << piped.error;
    EXPECT_EQ(piped.out, "File,Directory,Width\r\n-,0,4\r\n");
    EXPECT_EQ(shell("$PROGRAM " + arguments + "- < two.jxl").out, piped.out);
}

TEST_F(StreamFiles, AreNeverWrittenOver) {
    const std::string before = fixture::readFile(in("photos/bare.jxl"));
    for (const char* const option : {"--output", "--failures", "--resume"}) {
        const Ending given = run({option, "photos/bare.jxl", "--json", "two.jxl"});
        EXPECT_EQ(given.status, 2);
        EXPECT_EQ(given.error, "ifdsweep: photos/bare.jxl is an image and is left as it is\n");
        EXPECT_EQ(fixture::readFile(in("photos/bare.jxl")), before);
    }
}

}  // namespace

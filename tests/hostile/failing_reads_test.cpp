// Files whose bytes the system does not deliver, through the whole program: every one of them is
// told of, whichever part of the program met the failure. `pread` is replaced in this program.

#include <algorithm>
#include <cerrno>
#include <filesystem>
#include <string>
#include <vector>

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include "hostile/captured_program.h"
#include "support/temporary_file.h"
#include "support/tiff_matrix.h"

namespace {

/// Files with this size are lost from their first byte, those with the other from byte 64 on.
constexpr off_t kLostSize = 50'001;
constexpr off_t kHalfLostSize = 50'003;
constexpr off_t kStillThere = 64;

}  // namespace

extern "C" ssize_t pread64(int file, void* target, size_t length, off64_t position) {
    struct stat status {};
    const bool isKnown = ::fstat(file, &status) == 0;
    if (isKnown && (status.st_size == kLostSize || status.st_size == kHalfLostSize)) {
        const off_t there = status.st_size == kLostSize ? 0 : kStillThere;
        if (position >= there) {
            errno = EIO;
            return -1;
        }
        length = std::min(length, static_cast<size_t>(there - position));
    }
    return ::syscall(SYS_pread64, file, target, length, position);
}

extern "C" ssize_t pread(int file, void* target, size_t length, off_t position) {
    return ::pread64(file, target, length, position);
}

namespace fixture {
namespace {

class FailingReads : public testing::Test {
protected:
    /// Writes a file of so many bytes that begins with these.
    void write(const std::string& name, const Bytes& bytes, off_t size) const {
        writeFile(folder / name, bytes);
        std::filesystem::resize_file(folder / name, static_cast<std::uintmax_t>(size));
    }

    [[nodiscard]] CapturedProgram runOn(const std::string& path) const {
        return runCaptured({"--format", "ndjson", path});
    }

    TemporaryFolder folder;
};

/// One directory, whose value lies behind the bytes that are still there.
TiffFile smallFile() {
    TiffBuilder builder({Layout::classic, ByteOrder::little});
    builder.add({shorts(256, {4}), ascii(271, "Example Optics")}).withGaps(64);
    return builder.build();
}

const char* const kFailed = "Velmora:filesystem:readFailed";

TEST_F(FailingReads, AFileOfAFolderWhoseBeginningCannotBeReadFailed) {
    write("lost.tif", smallFile().bytes, kLostSize);
    write("sound.tif", smallFile().bytes, 60'000);
    const CapturedProgram run = runOn(folder.path());
    EXPECT_EQ(run.status, 1);
    EXPECT_NE(run.errors.find("lost.tif"), std::string::npos) << run.errors;
    EXPECT_NE(run.errors.find("cannot be read at position 0: Input/output error"),
              std::string::npos)
        << run.errors;
    EXPECT_NE(run.output.find(kFailed), std::string::npos) << run.output;
    EXPECT_NE(run.output.find("Example Optics"), std::string::npos) << "the other file";
}

TEST_F(FailingReads, SoDidANamedFile) {
    write("lost.tif", smallFile().bytes, kLostSize);
    const CapturedProgram run = runOn(folder / "lost.tif");
    EXPECT_EQ(run.status, 1);
    EXPECT_NE(run.errors.find("(readFailed)"), std::string::npos) << run.errors;
}

TEST_F(FailingReads, SoDidAJpegFileWhoseSegmentsCannotBeRead) {
    Bytes start{0xFF, 0xD8, 0xFF, 0xE0, 0x40, 0x00};
    write("lost.jpg", start, kHalfLostSize);
    const CapturedProgram run = runOn(folder.path());
    EXPECT_EQ(run.status, 1);
    EXPECT_NE(run.errors.find("(readFailed)"), std::string::npos) << run.errors;
}

TEST_F(FailingReads, AValueThatCannotBeReadIsToldOfBesideTheRest) {
    const TiffFile file = smallFile();
    ASSERT_GE(file.places[0].data[1], static_cast<std::size_t>(kStillThere));
    write("part.tif", file.bytes, kHalfLostSize);
    const CapturedProgram run = runOn(folder.path());
    EXPECT_EQ(run.status, 0) << run.errors;
    EXPECT_NE(run.output.find(kFailed), std::string::npos) << run.output;
    EXPECT_NE(run.output.find("unableToReadTiffTag"), std::string::npos) << run.output;
    EXPECT_NE(run.output.find("\"Width\":4"), std::string::npos) << run.output;
}

}  // namespace
}  // namespace fixture

#include "ifdsweep/read.h"

#include <cstdint>
#include <ctime>
#include <exception>
#include <new>
#include <optional>
#include <stdexcept>
#include <string>

#include <fcntl.h>
#include <sys/stat.h>

#include <gtest/gtest.h>

#include "files/file_messages.h"
#include "host/host_parts.h"
#include "locate/locate_messages.h"
#include "read/messages.h"
#include "support/jxl_file.h"
#include "support/planned_faults.h"
#include "support/temporary_file.h"
#include "support/tiff_builder.h"

namespace {

fixture::TiffBuilder smallFile() {
    fixture::TiffBuilder builder({fixture::Layout::classic, fixture::ByteOrder::big});
    builder.add(fixture::Directory{fixture::shorts(256, {4}), fixture::shorts(257, {2})});
    return builder;
}

class FileReading : public testing::Test {
protected:
    ~FileReading() override { EXPECT_EQ(host.liveValues(), 0U); }

    ifdsweep::Outcome read(const fixture::Bytes& bytes, const ifdsweep::ReadOptions& numbers = {}) {
        filesOf(host).serve(u"a.tif", bytes);
        return ifdsweep::read(host, "a.tif", numbers);
    }

    ifdsweep::Host host;
};

TEST_F(FileReading, ReadsAFile) {
    const fixture::Bytes bytes = smallFile().build().bytes;
    const ifdsweep::Outcome outcome = read(bytes, {.first = 0.5, .max = 2.5});
    EXPECT_FALSE(outcome.error.has_value());
    ASSERT_NE(outcome.result, nullptr);
    EXPECT_EQ(outcome.result->rows(), 1U);
    EXPECT_EQ(outcome.file, "a.tif");
    EXPECT_EQ(outcome.initialOffset, 0);
    EXPECT_EQ(outcome.firstIfdIndex, 0.5);
    EXPECT_EQ(outcome.maxIfdCount, 2.5);
}

TEST_F(FileReading, FindsTheExifDataOfAJpegFileUnlessToldWhere) {
    const fixture::TiffFile file = smallFile().buildInJpeg();
    const ifdsweep::Outcome found = read(file.bytes);
    EXPECT_EQ(found.initialOffset, static_cast<double>(file.base));
    EXPECT_NE(found.result, nullptr);
    const ifdsweep::Outcome told = read(file.bytes, {.offset = 0.0});
    EXPECT_EQ(told.initialOffset, 0);
    ASSERT_TRUE(told.error.has_value());
    EXPECT_EQ(told.error->id(), "Velmora:pixlore:ifdsweep:badEndianness");
}

TEST_F(FileReading, AMissingFileIsAnErrorOfItsOwn) {
    const ifdsweep::Outcome outcome = ifdsweep::read(host, "/no/such/file", {});
    ASSERT_TRUE(outcome.error.has_value());
    EXPECT_EQ(outcome.error->id(), "Velmora:pixlore:ifdsweep:statFailure");
    EXPECT_EQ(outcome.result, nullptr);
}

/// The stamp that the file system gives of a path itself.
ifdsweep::FileStamp stampOf(const std::string& path) {
    struct stat status {};
    EXPECT_EQ(::stat(path.c_str(), &status), 0);
    constexpr std::int64_t kSecond = 1'000'000'000;
    return {static_cast<std::uint64_t>(status.st_size),
            status.st_mtim.tv_sec * kSecond + status.st_mtim.tv_nsec,
            status.st_ctim.tv_sec * kSecond + status.st_ctim.tv_nsec, status.st_ino};
}

void expectStamp(const std::optional<ifdsweep::FileStamp>& stamp,
                 const ifdsweep::FileStamp& expected) {
    ASSERT_TRUE(stamp.has_value());
    EXPECT_EQ(stamp->size, expected.size);
    EXPECT_EQ(stamp->modified, expected.modified);
    EXPECT_EQ(stamp->changed, expected.changed);
    EXPECT_EQ(stamp->inode, expected.inode);
}

void setModified(const std::string& path, const timespec& time) {
    const timespec times[2] = {time, time};
    ASSERT_EQ(::utimensat(AT_FDCWD, path.c_str(), times, 0), 0);
}

TEST_F(FileReading, TellsWhatTheSystemKnowsOfAFileToTheNanosecond) {
    const fixture::TemporaryFile file("a.tif", smallFile().build().bytes);
    setModified(file.path(), {1'700'000'000, 123'456'789});
    const ifdsweep::Outcome outcome = ifdsweep::read(host, file.path(), {});
    EXPECT_FALSE(outcome.error.has_value());
    expectStamp(outcome.stamp, stampOf(file.path()));
    EXPECT_EQ(outcome.stamp->modified, 1'700'000'000'123'456'789);
    const ifdsweep::Outcome told = ifdsweep::read(host, file.path(), {.offset = 0.0});
    expectStamp(told.stamp, stampOf(file.path()));
}

TEST_F(FileReading, TellsOfATimeBefore1970) {
    const fixture::TemporaryFile file("a.tif", smallFile().build().bytes);
    setModified(file.path(), {-2, 500'000'000});
    const ifdsweep::Outcome outcome = ifdsweep::read(host, file.path(), {});
    ASSERT_TRUE(outcome.stamp.has_value());
    EXPECT_EQ(outcome.stamp->modified, -1'500'000'000);
}

TEST_F(FileReading, TellsTheSameOfAFileThatCannotBeReadAndOfOneThatIsLeftAlone) {
    const fixture::TemporaryFile file("a.txt", fixture::Bytes(100, 'x'));
    const ifdsweep::Outcome failed = ifdsweep::read(host, file.path(), {});
    EXPECT_TRUE(failed.error.has_value());
    expectStamp(failed.stamp, stampOf(file.path()));
    const ifdsweep::Outcome left = ifdsweep::read(host, file.path(), {.imagesOnly = true});
    EXPECT_FALSE(left.isImage);
    expectStamp(left.stamp, stampOf(file.path()));
    fixture::setFaultPlan(host, {{.operation = fixture::Fault::Operation::read}});
    const ifdsweep::Outcome unread = ifdsweep::read(host, file.path(), {});
    ASSERT_TRUE(unread.error.has_value());
    EXPECT_EQ(unread.error->id(), ifdsweep::kReadFailedId);
    expectStamp(unread.stamp, stampOf(file.path()));
}

TEST_F(FileReading, TellsNothingOfWhatTheSystemWasNotAskedFor) {
    const fixture::TemporaryFile file("a.tif", smallFile().build().bytes);
    EXPECT_FALSE(read(smallFile().build().bytes).stamp.has_value());
    const int descriptor = ::open(file.path().c_str(), O_RDONLY | O_CLOEXEC);
    ASSERT_GE(descriptor, 0);
    host.serveDescriptor("served", descriptor);
    const ifdsweep::Outcome served = ifdsweep::read(host, "served", {});
    EXPECT_FALSE(served.error.has_value());
    EXPECT_FALSE(served.stamp.has_value());
    EXPECT_FALSE(ifdsweep::read(host, "/no/such/file", {}).stamp.has_value());
}

TEST_F(FileReading, EveryStreamOfAFileHasItsStamp) {
    const fixture::Bytes stream = smallFile().build().bytes;
    const fixture::TemporaryFile file(
        "two.jxl", fixture::jxlFile({fixture::exifBox(stream), fixture::exifBox(stream)}));
    const ifdsweep::Outcome outcome =
        ifdsweep::read(host, file.path(), {.streams = ifdsweep::StreamChoice::all});
    ASSERT_EQ(outcome.others.size(), 1U);
    expectStamp(outcome.stamp, stampOf(file.path()));
    expectStamp(outcome.others[0].stamp, stampOf(file.path()));
}

TEST_F(FileReading, ExhaustedMemoryCostsOneFile) {
    const fixture::Bytes bytes = smallFile().build().bytes;
    std::uint64_t creation = 0;
    ifdsweep::Outcome outcome;
    // Every value of the call in turn, the inputs too, until a call needs fewer.
    do {
        fixture::failValueCreation(host, ++creation, std::make_exception_ptr(std::bad_alloc()));
        outcome = read(bytes);
        if (outcome.error) {
            ASSERT_EQ(outcome.error->id(), ifdsweep::kOutOfMemoryId) << creation;
            ASSERT_EQ(outcome.result, nullptr);
            ASSERT_EQ(host.liveValues(), 0U) << creation;
        }
    } while (outcome.error);
    EXPECT_GT(creation, 10U);
}

TEST_F(FileReading, AnUnexpectedFailureSaysWhat) {
    fixture::failValueCreation(host, 7, std::make_exception_ptr(std::runtime_error("strange")));
    const ifdsweep::Outcome outcome = read(smallFile().build().bytes);
    ASSERT_TRUE(outcome.error.has_value());
    EXPECT_EQ(outcome.error->id(), ifdsweep::kUnexpectedFailureId);
    EXPECT_EQ(ifdsweep::messageText(*outcome.error), "unexpected failure: strange");
}

TEST_F(FileReading, WarningsBelongToTheirFile) {
    fixture::TiffBuilder builder = smallFile();
    builder.add(fixture::Directory{fixture::shorts(256, {4}), fixture::shorts(50000, {})});
    const ifdsweep::Outcome first = read(builder.build().bytes);
    EXPECT_EQ(first.warnings.size(), 1U);
    const ifdsweep::Outcome second = read(smallFile().build().bytes);
    EXPECT_EQ(second.warnings.size(), 0U);
}

TEST(OwnMessages, TextsOfTheProgramsOwn) {
    const auto text = [](const char* id, std::vector<qxMessageArgument> arguments) {
        return ifdsweep::messageText(qxMessage(id, std::move(arguments)));
    };
    EXPECT_EQ(text(ifdsweep::kOutOfMemoryId, {qxMessageText("the limit is 1 MiB")}),
              "out of memory: the limit is 1 MiB");
    EXPECT_NE(text(ifdsweep::kNoExifSegmentId, {std::int64_t{20}}).find("position 20 "),
              std::string::npos);
    EXPECT_NE(text(ifdsweep::kBadJpegSegmentId, {std::int64_t{20}}).find("position 20 "),
              std::string::npos);
}

}  // namespace

#include "ifdsweep/read.h"

#include <exception>
#include <new>
#include <stdexcept>
#include <string>

#include <gtest/gtest.h>

#include "host/host_parts.h"
#include "locate/locate_messages.h"
#include "read/messages.h"
#include "support/planned_faults.h"
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

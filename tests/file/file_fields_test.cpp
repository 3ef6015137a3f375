// The fields that every primary record begins with and the facts of the file in them.

#include <gtest/gtest.h>

#include <limits>

#include "file/tag_file.h"
#include "files/file_bytes.h"
#include "host/host_parts.h"
#include "support/record_dump.h"
#include "support/tiff_matrix.h"

namespace fixture {
namespace {

using namespace ifdsweep::module;

class FileFields : public TiffMatrix {
protected:
    /// Calls on a file with one tag that was modified at a moment (microseconds since 1970).
    static Call calledAt(std::int64_t modified) {
        const TiffFile file = fileOf({{ascii(315, "x")}});
        return callEntryPoint(file.bytes, {}, [&](ifdsweep::Host& host) {
            qxFileStatus status;
            status.type = qxFileType::regular;
            status.fileSize = file.bytes.size();
            status.timeStamps = {1, modified, 2};
            filesOf(host).serve(kFileName,
                                {std::make_shared<ifdsweep::MemoryBytes>(file.bytes), status});
        });
    }
};
IFDSWEEP_TIFF_MATRIX(FileFields);

TEST_P(FileFields, ThirtyFiveNamesInTheirOrder) {
    ASSERT_EQ(headNames().size(), 35U);
    EXPECT_EQ(headNames().front(), "Filename");
    EXPECT_EQ(headNames().back(), "Offset");
    EXPECT_EQ(callOf({{shorts(256, {1})}}).names(), headNames());
}

TEST_P(FileFields, TheListIsTheSameForEveryFormat) {
    const TiffFile tiff = fileOf({{ascii(315, "x")}});
    for (const Bytes& bytes : {tiff.bytes, Bytes{0xFF, 0xD8}, Bytes{}}) {
        ifdsweep::Host host;
        filesOf(host).serve(kFileName, bytes);
        const ifdsweep::Host::Scope scope(host);
        const TagFile file(kFileName, 0, 0, 0);
        const Lines names(file.defaultFieldNames.begin(), file.defaultFieldNames.end());
        EXPECT_EQ(names, headNames());
    }
}

TEST_P(FileFields, FileFactsAreThoseOfTheStatus) {
    const TiffFile file = fileOf({{ascii(315, "x")}});
    const Call given = callEntryPoint(file.bytes);
    EXPECT_EQ(given.value("Filename"), "'call.tif'");
    EXPECT_EQ(given.value("FileSize"), std::to_string(file.bytes.size()));
    EXPECT_EQ(given.value("Format"), "'tif'");
    EXPECT_EQ(given.value("FormatVersion"), "empty");
    EXPECT_EQ(given.value("FileModDate"), "'01-Jan-1970 00:00:00'");
    EXPECT_EQ(given.value("Offset"), std::to_string(file.places[0].position));
}

TEST_P(FileFields, TheHeaderIsShownInFileOrder) {
    const std::string version = format().isBig() ? "43" : "42";
    const Call given = callOf({{ascii(315, "x")}});
    if (format().byteOrder == ByteOrder::big) {
        EXPECT_EQ(given.value("FormatSignature"), "[77 77 0 " + version + ']');
        EXPECT_EQ(given.value("ByteOrder"), "'big-endian'");
    } else {
        EXPECT_EQ(given.value("FormatSignature"), "[73 73 " + version + " 0]");
        EXPECT_EQ(given.value("ByteOrder"), "'little-endian'");
    }
}

TEST_P(FileFields, TheSignatureIsThatOfTheStreamWhateverItsVersion) {
    TiffBuilder builder(Format{Layout::big, format().byteOrder});
    builder.withVersion(0x1234).add({ascii(315, "x")});
    const Call given =
        callEntryPoint(builder.buildBehind(Bytes(20, 'x')).bytes, {.initialOffset = 20});
    EXPECT_EQ(given.value("FormatSignature"),
              format().byteOrder == ByteOrder::big ? "[77 77 18 52]" : "[73 73 52 18]");
}

TEST_P(FileFields, TheModificationDateIsTheSecondTimeStamp) {
    constexpr std::int64_t kSecond = 1000000;
    EXPECT_EQ(calledAt(1700000000 * kSecond).value("FileModDate"), "'14-Nov-2023 22:13:20'");
    EXPECT_EQ(calledAt(1700000000 * kSecond + 999999).value("FileModDate"),
              "'14-Nov-2023 22:13:20'");
    EXPECT_EQ(calledAt(951782400 * kSecond).value("FileModDate"), "'29-Feb-2000 00:00:00'");
    EXPECT_EQ(calledAt(-1 * kSecond).value("FileModDate"), "'31-Dec-1969 23:59:59'");
    EXPECT_EQ(calledAt(-1).value("FileModDate"), "'31-Dec-1969 23:59:59'");
}

TEST_P(FileFields, ADateIsThatOfTheStampOrNone) {
    struct Case {
        std::int64_t microseconds;
        const char* date;  ///< null where there is none
    };
    // The first and the last moment of each calendar, and what lies next to them.
    const Case cases[] = {
        {std::numeric_limits<std::int64_t>::min(), nullptr},
        {-1096193779200000001, nullptr},
        {-1096193779200000000, "01-Jan--32767 00:00:00"},
        {-62167219200000001, "31-Dec--1 23:59:59"},
        {-62162121600000000, "29-Feb-0 00:00:00"},
        {-17987443200000001, "31-Dec-1399 23:59:59"},
        {-17987443200000000, "01-Jan-1400 00:00:00"},
        {253402300799999999, "31-Dec-9999 23:59:59"},
        {253402300800000000, "01-Jan-10000 00:00:00"},
        {971890963199999999, "31-Dec-32767 23:59:59"},
        {971890963200000000, nullptr},
        {2069991331200000000, nullptr},  // 1 June 67565
        {9012476102400000000, nullptr},  // 1 January 287564
        {qxFileStatus::kNotADateTime, nullptr},
        {std::numeric_limits<std::int64_t>::max(), nullptr},
    };
    for (const Case& each : cases) {
        const Call given = calledAt(each.microseconds);
        EXPECT_EQ(given.error, each.date == nullptr ? "strftimeFailure()" : "")
            << each.microseconds;
        if (each.date != nullptr) {
            EXPECT_EQ(given.value("FileModDate"), '\'' + std::string(each.date) + '\'');
        }
    }
}

TEST_P(FileFields, EveryDirectoryCarriesTheFileFacts) {
    const Call given = callOf({{ascii(315, "x")}, {ascii(315, "y")}});
    for (const char* field : {"Filename", "FileModDate", "FileSize", "Format", "FormatSignature",
                              "ByteOrder", "FormatVersion"}) {
        EXPECT_EQ(given.value(field, 1), given.value(field, 0));
    }
    EXPECT_NE(given.value("Offset", 1), given.value("Offset", 0));
}

TEST_P(FileFields, ANameOfAnyCharactersComesBack) {
    const TiffFile file = fileOf({{ascii(315, "x")}});
    const std::u16string name = u"\u00E9t\u00E9 \u6F22\xD83D\xDE00\xDC80.tif";
    const Call given =
        callOnFile(name, {}, [&](ifdsweep::Host& host) { filesOf(host).serve(name, file.bytes); });
    EXPECT_EQ(given.value("Filename"), quotedText(name));
}

}  // namespace
}  // namespace fixture

// What a worker hands back of a file: the report of it, and its part of the output.

#include "workers/file_part.h"

#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "io/packed.h"
#include "workers/file_report.h"
#include "write/rendering.h"

namespace {

namespace packed = ifdsweep::packed;

TEST(FileReport, ComesBack) {
    ifdsweep::FileReport report = ifdsweep::failureReport("why\n");
    report.directories = 7;
    report.warnings = {{"Velmora:a", 1}, {"Velmora:b", 300}};
    report.isShown = true;
    std::string bytes;
    ifdsweep::packReport(bytes, report);
    packed::putText(bytes, "more");
    ifdsweep::Unpacker rest(bytes);
    const ifdsweep::FileReport back = ifdsweep::unpackReport(rest);
    EXPECT_EQ(rest.text(), "more");
    EXPECT_TRUE(rest.isWhole());
    EXPECT_EQ(back.ending, ifdsweep::FileReport::Ending::failed);
    EXPECT_EQ(back.failure, "why\n");
    EXPECT_EQ(back.directories, 7U);
    EXPECT_EQ(back.warnings, report.warnings);
    EXPECT_TRUE(back.isShown);
}

TEST(FilePart, StaysInMemoryWhileItIsSmall) {
    constexpr std::size_t kMost = ifdsweep::FilePart::kMostInMemory;
    const std::pair<std::vector<std::size_t>, bool> rows[] = {
        {{}, false},
        {{1, 2, 3}, false},
        {{kMost}, false},
        {{kMost - 1, 1}, false},
        {{kMost + 1}, true},
        {{kMost, 1}, true},
        {{1, kMost, kMost, 5}, true},
        {{3 * kMost + 7}, true},
    };
    for (const auto& [sizes, isSpilled] : rows) {
        ifdsweep::FilePartSink sink;
        std::string expected;
        for (const std::size_t size : sizes) {
            const std::string piece(size, static_cast<char>('a' + expected.size() % 26));
            sink.write(piece);
            expected += piece;
        }
        EXPECT_EQ(sink.part.spill.isOpen(), isSpilled) << testing::PrintToString(sizes);
        EXPECT_EQ(sink.part.spillSize, isSpilled ? expected.size() : 0);
        EXPECT_LE(sink.part.bytes.size(), kMost);
        // It may be written more than once.
        for (int time = 0; time < 2; ++time) {
            EXPECT_TRUE(rendering::rendered([&](ifdsweep::Output& output) {
                            sink.part.writeTo(output);
                        }) == expected);
        }
    }
}

TEST(FilePart, ASpillThatWasCutIsAnError) {
    ifdsweep::FilePartSink sink;
    sink.write(std::string(2 * ifdsweep::FilePart::kMostInMemory, 'x'));
    sink.part.spillSize += 1;
    EXPECT_THROW(rendering::rendered([&](ifdsweep::Output& output) { sink.part.writeTo(output); }),
                 ifdsweep::OutputError);
}

}  // namespace

#include "io/output.h"

#include <cerrno>
#include <csignal>
#include <string>

#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include "io/descriptor.h"

namespace {

TEST(Outputs, KeepsOrderAcrossTheBuffer) {
    ifdsweep::StringSink sink;
    ifdsweep::Output output(sink);
    std::string expected;
    for (const std::size_t size :
         {1UL, ifdsweep::Output::kCapacity - 2, 5UL, ifdsweep::Output::kCapacity, 3UL,
          3 * ifdsweep::Output::kCapacity + 1}) {
        const std::string piece(size, static_cast<char>('a' + size % 26));
        output.append(piece);
        output.append('|');
        output.append(2, '-');
        expected += piece + "|--";
    }
    output.append(300000, '=');
    expected += std::string(300000, '=');
    output.flush();
    EXPECT_EQ(sink.text, expected);
}

TEST(Outputs, GivesTheSinkLargePiecesOnly) {
    struct CountingSink final : ifdsweep::ByteSink {
        void write(std::string_view) override { ++writes; }
        int writes = 0;
    } sink;
    ifdsweep::Output output(sink);
    for (std::size_t byte = 0; byte < 4 * ifdsweep::Output::kCapacity; ++byte) {
        output.append('x');
    }
    output.flush();
    EXPECT_EQ(sink.writes, 4);
    output.flush();  // nothing gathered, nothing written
    EXPECT_EQ(sink.writes, 4);
}

TEST(Outputs, ReservedMemoryIsTakenUpByCommit) {
    ifdsweep::StringSink sink;
    ifdsweep::Output output(sink);
    output.append("ab");
    char* text = output.reserve(10);
    *text++ = 'c';
    output.commit(text);
    output.append('d');
    output.flush();
    EXPECT_EQ(sink.text, "abcd");
}

int errorOfWriting(int descriptor) {
    ifdsweep::FileDescriptorSink sink(descriptor);
    ifdsweep::Output output(sink);
    output.append("text");
    try {
        output.flush();
    } catch (const ifdsweep::OutputError& failure) {
        output.flush();  // what could not be written is not tried again
        return failure.systemError;
    }
    return 0;
}

TEST(Outputs, AStoppedOutputEndsWithTheLineAtHand) {
    const ifdsweep::Descriptor file = ifdsweep::makeTemporaryFile();
    bool isStopped = false;
    ifdsweep::FileDescriptorSink sink(file.get(), 0, [&isStopped] { return isStopped; });
    sink.write("one\ntw");
    isStopped = true;
    sink.write("o");
    EXPECT_THROW(sink.write(" and a half\nthree\n"), ifdsweep::OutputStopped);
    EXPECT_EQ(ifdsweep::readPiece(file.get(), 0, 100), "one\ntwo and a half\n");
    EXPECT_EQ(sink.bytesWritten(), 19U);
}

TEST(Outputs, AFullDiskIsAnError) {
    const int descriptor = ::open("/dev/full", O_WRONLY | O_CLOEXEC);
    ASSERT_GE(descriptor, 0);
    EXPECT_EQ(errorOfWriting(descriptor), ENOSPC);
    ::close(descriptor);
}

TEST(Outputs, AClosedPipeIsAnErrorWhereSignalsAreIgnored) {
    int ends[2];
    ASSERT_EQ(::pipe(ends), 0);
    ::close(ends[0]);
    const auto previous = std::signal(SIGPIPE, SIG_IGN);
    EXPECT_EQ(errorOfWriting(ends[1]), EPIPE);
    std::signal(SIGPIPE, previous);
    ::close(ends[1]);
}

}  // namespace

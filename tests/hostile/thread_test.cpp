// Several threads, each with a host of its own, read different files and the same file at once.

#include <array>
#include <thread>

#include "support/temporary_file.h"
#include "support/tiff_matrix.h"

namespace fixture {
namespace {

constexpr std::size_t kThreads = 8;
constexpr std::size_t kRounds = 40;

TiffFile fileNumber(std::size_t number) {
    const auto value = static_cast<std::int64_t>(number);
    TiffBuilder builder(kFormats[number % kFormats.size()]);
    const Directory nested{ascii(315, "nested"), shorts(259, {value})};
    builder.add({shorts(256, {value}), shorts(258, {8, 8, 8}), shorts(262, {2}),
                 numbers(282, kRational, {value, 0}), pointer(330, {{nested}}),
                 pointer(34665, {{{shorts(37383, {value})}}}), shorts(60000, {value, value})});
    return builder.build();
}

/// Runs one function in every thread at once; it is given the number of the thread.
template <class Work>
void inThreads(const Work& work) {
    std::vector<std::thread> threads;
    for (std::size_t number = 0; number < kThreads; ++number) {
        threads.emplace_back([&work, number] { work(number); });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
}

/// What every thread saw, by its number; compared when all have ended.
using Seen = std::array<std::vector<std::string>, kThreads>;

TEST(Threads, ReadDifferentFilesAtOnce) {
    Seen seen;
    inThreads([&seen](std::size_t number) {
        for (std::size_t round = 0; round < kRounds; ++round) {
            const TiffFile file = fileNumber((number + round) % kThreads);
            seen[number].push_back(callEntryPoint(file.bytes).text());
        }
    });
    for (std::size_t number = 0; number < kThreads; ++number) {
        for (std::size_t round = 0; round < kRounds; ++round) {
            const TiffFile file = fileNumber((number + round) % kThreads);
            ASSERT_EQ(seen[number][round], callEntryPoint(file.bytes).text());
        }
    }
}

TEST(Threads, ReadTheSameFileAtOnce) {
    const TiffFile file = fileNumber(5);
    const TemporaryFile onDisk("shared.tif", file.bytes);
    Seen inMemory;
    Seen seen;
    inThreads([&](std::size_t number) {
        for (std::size_t round = 0; round < kRounds; ++round) {
            inMemory[number].push_back(callEntryPoint(file.bytes).text());
            seen[number].push_back(callOnFile(onDisk.name()).text());
        }
    });
    const std::string expectedInMemory = callEntryPoint(file.bytes).text();
    const std::string expected = callOnFile(onDisk.name()).text();
    EXPECT_NE(expected.find("struct 1x1"), std::string::npos);
    for (std::size_t number = 0; number < kThreads; ++number) {
        EXPECT_EQ(inMemory[number], std::vector<std::string>(kRounds, expectedInMemory));
        EXPECT_EQ(seen[number], std::vector<std::string>(kRounds, expected));
    }
}

}  // namespace
}  // namespace fixture

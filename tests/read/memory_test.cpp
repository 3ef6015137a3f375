// Memory that runs out at each place of a reading in turn: it is the error of one stream, and never
// leaves the reading.

#include <cstdint>
#include <cstdlib>
#include <new>
#include <string>

#include <gtest/gtest.h>

#include "host/host_parts.h"
#include "ifdsweep/messages.h"
#include "ifdsweep/read.h"
#include "read/messages.h"
#include "support/jxl_file.h"
#include "support/tiff_builder.h"

namespace {

/// Allocations of this thread until one fails; 0: none does.
thread_local std::uint64_t left = 0;

bool failsNow() noexcept {
    return left > 0 && --left == 0;
}

void* allocate(std::size_t size) {
    void* const memory = failsNow() ? nullptr : std::malloc(size > 0 ? size : 1);
    if (memory == nullptr) {
        throw std::bad_alloc();
    }
    return memory;
}

}  // namespace

void* operator new(std::size_t size) {
    return allocate(size);
}

void* operator new[](std::size_t size) {
    return allocate(size);
}

void operator delete(void* memory) noexcept {
    std::free(memory);
}

void operator delete[](void* memory) noexcept {
    std::free(memory);
}

void operator delete(void* memory, std::size_t) noexcept {
    std::free(memory);
}

void operator delete[](void* memory, std::size_t) noexcept {
    std::free(memory);
}

namespace {

using fixture::Bytes;
using fixture::shorts;
using ifdsweep::Outcome;

/// An image with a warning, and a directory in it.
Bytes image() {
    fixture::TiffBuilder builder({fixture::Layout::classic, fixture::ByteOrder::little});
    const fixture::Directory nested{shorts(256, {2})};
    builder.add(fixture::Directory{shorts(256, {4}), fixture::ascii(271, "a maker of cameras"),
                                   fixture::pointer(330, {{nested}}), shorts(60000, {})});
    return builder.build().bytes;
}

bool hasNoMemory(const Outcome& outcome) {
    return outcome.error && outcome.error->id() == ifdsweep::kOutOfMemoryId;
}

std::size_t streamsWithoutMemory(const Outcome& outcome) {
    std::size_t count = hasNoMemory(outcome) ? 1U : 0U;
    for (const Outcome& other : outcome.others) {
        count += hasNoMemory(other) ? 1U : 0U;
    }
    return count;
}

/// Whether every stream has its error or its records, and its own warning alone.
void expectWhole(const Outcome& outcome, std::uint64_t allocation) {
    EXPECT_EQ(outcome.result == nullptr, outcome.error.has_value()) << allocation;
    if (!hasNoMemory(outcome)) {
        ASSERT_EQ(outcome.warnings.size(), 1U) << allocation;
        EXPECT_EQ(ifdsweep::shortMessageId(outcome.warnings[0].message.id()), "zeroComponentCount")
            << allocation;
    }
}

TEST(FailingMemory, IsTheErrorOfAStream) {
    const Bytes file =
        fixture::jxlFile({fixture::exifBox(image()), fixture::compressedExifBox(image()),
                          fixture::exifBox(image())});
    std::uint64_t allocation = 0;
    bool hasFailed = true;
    while (hasFailed) {
        ifdsweep::Host host;
        filesOf(host).serve(u"a.jxl", file);
        const ifdsweep::ReadOptions options{.streams = ifdsweep::StreamChoice::all, .check = true};
        ASSERT_LT(++allocation, 100'000U);
        Outcome outcome;
        left = allocation;
        EXPECT_NO_THROW(outcome = ifdsweep::read(host, "a.jxl", options)) << allocation;
        hasFailed = left == 0;
        left = 0;
        ASSERT_EQ(streamsWithoutMemory(outcome), hasFailed ? 1U : 0U) << allocation;
        expectWhole(outcome, allocation);
        for (const Outcome& other : outcome.others) {
            expectWhole(other, allocation);
        }
        if (!hasFailed) {
            EXPECT_EQ(outcome.others.size(), 2U);
        }
    }
    EXPECT_GT(allocation, 100U);
}

}  // namespace

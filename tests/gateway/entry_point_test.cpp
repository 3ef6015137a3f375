// The whole call: its numbers, its result, and exceptions on the way.

#include <gtest/gtest.h>

#include <boost/numeric/conversion/cast.hpp>
#include <new>
#include <stdexcept>
#include <thread>

#include "support/planned_faults.h"
#include "support/tiff_matrix.h"

namespace fixture {
namespace {

class EntryPoint : public TiffMatrix {
protected:
    static Chain threePages() {
        return {{shorts(256, {1})}, {shorts(256, {2})}, {shorts(256, {3})}};
    }
};
IFDSWEEP_TIFF_MATRIX(EntryPoint);

TEST_P(EntryPoint, ZerosReadEveryDirectory) {
    EXPECT_EQ(callOf(threePages()).result, "struct 3x1");
}

TEST_P(EntryPoint, FractionsAreTruncated) {
    const Call given = callOf(threePages(), {.firstIfdIndex = 1.9, .maxIfdCount = 1.9});
    EXPECT_EQ(given.result, "struct 1x1");
    EXPECT_EQ(given.value("Width"), "2");
}

TEST_P(EntryPoint, NumbersAboveTheSignedRangeDoNotOverflow) {
    EXPECT_EQ(callOf(threePages(), {.maxIfdCount = 1e19}).result, "struct 3x1");
    EXPECT_EQ(callOf(threePages(), {.maxIfdCount = 1e300}).result, "struct 3x1");
}

TEST_P(EntryPoint, NoReadableDirectoryGivesAnEmptyDouble) {
    const Call given = callOf({Directory{}});
    EXPECT_EQ(given.result, "double 0x0");
    EXPECT_EQ(given.error, "");
}

TEST_P(EntryPoint, TwoCallsGiveTheSame) {
    const TiffFile file =
        fileOf({{ascii(315, "x"), shorts(320, {1, 2, 3}), pointer(34665, {{{ascii(271, "m")}}})}});
    EXPECT_EQ(callEntryPoint(file.bytes).text(), callEntryPoint(file.bytes).text());
}

TEST_P(EntryPoint, AFailedNumericConversionIsOutOfBounds) {
    const TiffFile file = fileOf({{ascii(315, "x"), pointer(34665, {{{ascii(271, "m")}}})}});
    int outOfBounds = 0;
    for (std::uint64_t creation = 5; creation <= 40; ++creation) {
        // The first four values are the inputs of the call.
        const Call given = callEntryPoint(file.bytes, {}, [&](ifdsweep::Host& host) {
            fixture::failValueCreation(host, creation,
                                       std::make_exception_ptr(boost::numeric::bad_numeric_cast()));
        });
        if (!given.error.empty()) {
            EXPECT_EQ(given.error, "Velmora:pixlore:validate:argumentOutOfBounds()");
            EXPECT_EQ(given.result, "");
            ++outOfBounds;
        }
    }
    EXPECT_GT(outOfBounds, 10);
}

TEST_P(EntryPoint, AnyOtherExceptionPassesUnchanged) {
    const TiffFile file = fileOf({{ascii(315, "x"), shorts(60000, {1}), shorts(339, {1, 2}),
                                   pointer(34665, {{{ascii(271, "m")}}}),
                                   pointer(330, {{{ascii(271, "m")}}, {{ascii(271, "m")}}})}});
    int failed = 0;
    for (std::uint64_t creation = 5; creation <= 200; ++creation) {
        const Call given = callEntryPoint(file.bytes, {}, [&](ifdsweep::Host& host) {
            fixture::failValueCreation(host, creation, std::make_exception_ptr(std::bad_alloc()));
        });
        if (!given.error.empty()) {
            EXPECT_EQ(given.error, std::string("exception ") + std::bad_alloc().what());
            ++failed;
        }
    }
    EXPECT_GT(failed, 40);
}

TEST_P(EntryPoint, ThreadsWithHostsOfTheirOwnReadAtOnce) {
    const TiffFile file = fileOf({{ascii(315, "x"), shorts(259, {5}), shorts(339, {1}),
                                   shorts(290, {3}), shorts(37384, {1})}});
    const std::string expected = callEntryPoint(file.bytes).text();
    std::vector<std::string> texts(4);
    std::vector<std::thread> threads;
    for (std::string& text : texts) {
        threads.emplace_back([&] {
            for (int i = 0; i < 50; ++i) {
                text = callEntryPoint(file.bytes).text();
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(texts, std::vector<std::string>(4, expected));
}

TEST_P(EntryPoint, LittleEqualsBig) {
    // The same directories in both byte orders give the same but for what speaks of the order.
    const auto textOf = [&](ByteOrder byteOrder) {
        TiffBuilder builder({format().layout, byteOrder});
        builder.add({shorts(256, {3}), numbers(282, kRational, {72, 1}), ascii(315, "an artist"),
                     doubles(60000, {0.5, 0.25}), pointer(34665, {{{ascii(271, "m")}}})});
        const Call given = callEntryPoint(builder.build().bytes);
        std::string text;
        for (const auto& [name, value] : given.records.at(0)) {
            if (name != "ByteOrder" && name != "FormatSignature") {
                text += name + '=' + value + '\n';
            }
        }
        return text;
    };
    EXPECT_EQ(textOf(ByteOrder::little), textOf(ByteOrder::big));
}

}  // namespace
}  // namespace fixture

// Memory that runs out: each request of a call fails in turn. The call ends with the exception that
// says so, nothing is lost, and the next call works.

#include <array>
#include <functional>
#include <new>
#include <ostream>

#include "hostile/captured_program.h"
#include "hostile/failing_memory.h"
#include "io/sanitized.h"
#include "support/page_of_everything.h"
#include "support/record_dump.h"
#include "support/temporary_file.h"
#include "support/tiff_matrix.h"

namespace fixture {
namespace {

/// One call on a host: its outcome as text, or nothing when memory ran out.
class Caller {
public:
    explicit Caller(const TiffFile& file, std::u16string fileName)
        : offset(static_cast<double>(file.base)), name(std::move(fileName)) {}

    /// Calls the entry point while a request fails. True when the call ended for want of memory.
    bool call(std::uint64_t failingRequest, Requests counted) {
        text.clear();
        ended = false;
        const ifdsweep::Host::Scope scope(host);
        const std::array<ifdsweep::ValueHandle, 2> inputs{
            ifdsweep::ValueHandle(qxCreateUString(name.data(), name.size())),
            ifdsweep::ValueHandle(qxCreateDoubleScalar(offset))};
        const ifdsweep::ValueHandle zero(qxCreateDoubleScalar(0));
        std::array<const qxArray*, 4> arguments{inputs[0].get(), inputs[1].get(), zero.get(),
                                                zero.get()};
        qxArray* output = nullptr;
        std::string error;
        bool outOfMemory = false;
        {
            const FailingRequest failing(failingRequest, counted);
            try {
                qxeFunction(1, &output, 4, arguments.data());
            } catch (const std::bad_alloc&) {
                outOfMemory = true;
            } catch (const qxMessage& message) {
                const FailingRequest none(0);
                error = messageDump(message);
            }
            ended = !failing.hasFailed();
        }
        const ifdsweep::ValueHandle result(output);
        EXPECT_EQ(host.liveValues(), 3U + (result == nullptr ? 0U : countOf(*result)));
        text = error + (result == nullptr ? "" : dump(result.get()));
        for (const qxMessage& warning : host.takeWarnings()) {
            text += '\n' + messageDump(warning);
        }
        return outOfMemory;
    }

    /// Whether the last call made fewer requests than would have failed.
    [[nodiscard]] bool madeAllRequests() const { return ended; }
    [[nodiscard]] const std::string& outcome() const { return text; }
    [[nodiscard]] ifdsweep::Host& usedHost() { return host; }

private:
    /// Values in a value, itself included.
    static std::size_t countOf(const ifdsweep::Value& value) {
        std::size_t count = 1;
        for (std::size_t element = 0; element < value.elementCount(); ++element) {
            if (const ifdsweep::Value* cell = value.cell(element)) {
                count += countOf(*cell);
            }
            for (std::size_t field = 0; field < value.fieldCount(); ++field) {
                if (const ifdsweep::Value* member = value.field(element, field)) {
                    count += countOf(*member);
                }
            }
        }
        return count;
    }

    ifdsweep::Host host;
    double offset;
    std::u16string name;
    std::string text;
    bool ended = false;
};

class AllocationFailure : public testing::TestWithParam<KindOfFile> {
protected:
    AllocationFailure() : file(GetParam().make()), onDisk("memory.tif", file.bytes) {}

    /// Fails request after request until the call makes no more of them.
    template <class Check>
    void failEachInTurn(Requests counted, const Check& check) {
        Caller reference(file, onDisk.name());
        ASSERT_FALSE(reference.call(0, counted));
        const std::string expected = reference.outcome();
        for (std::uint64_t number = 1;; ++number) {
            // A host that has served nothing yet makes all its requests anew.
            Caller caller(file, onDisk.name());
            const bool outOfMemory = caller.call(number, counted);
            if (caller.madeAllRequests()) {
                EXPECT_FALSE(outOfMemory);
                EXPECT_EQ(caller.outcome(), expected);
                EXPECT_GT(number, 3U) << "the call asks for memory";
                return;
            }
            check(number, outOfMemory, caller.outcome() == expected);
            ASSERT_FALSE(caller.call(0, counted)) << "the call after request " << number;
            ASSERT_EQ(caller.outcome(), expected) << "the call after request " << number;
            ASSERT_EQ(caller.usedHost().liveValues(), 0U);
        }
    }

    TiffFile file;
    TemporaryFile onDisk;
};

INSTANTIATE_TEST_SUITE_P(Files, AllocationFailure, testing::ValuesIn(kKindsOfFile),
                         [](const testing::TestParamInfo<KindOfFile>& made) {
                             return std::string(made.param.name);
                         });

TEST_P(AllocationFailure, EndsTheCallWithTheException) {
    failEachInTurn(Requests::operatorNew, [](std::uint64_t number, bool outOfMemory, bool) {
        ASSERT_TRUE(outOfMemory) << "request " << number;
    });
}

// The C library asks for memory too: for its streams, where failure ends the call, and for
// exceptions on their way, where it has a reserve and goes on.
TEST_P(AllocationFailure, InTheLibraryEndsTheCallOrChangesNothing) {
    std::size_t survived = 0;
    failEachInTurn(Requests::all, [&](std::uint64_t number, bool outOfMemory, bool isWhole) {
        ASSERT_TRUE(outOfMemory || isWhole) << "request " << number;
        survived += outOfMemory ? 0U : 1U;
    });
    EXPECT_TRUE(seesLibraryRequests() || survived == 0);
}

TEST(ProgramOutOfMemory, SaysSo) {
    // One file is read in the program's own process, which the test has a hand in.
    const TiffFile large = TiffBuilder(Format{})
                               .add({numbers(60000, kByte, std::vector<std::int64_t>(3000000, 1))})
                               .build();
    const TemporaryFile file("large.tif", large.bytes);
    const CapturedProgram program =
        runCaptured({"--memory", "1073741824", "--max-value", "all", file.path()},
                    [] { failRequestsAbove(8000000); });
    EXPECT_EQ(program.status, 1);
    const std::string reason =
        ifdsweep::kIsSanitized ? "the system gives no more" : "the limit is 1024 MiB (--memory)";
    EXPECT_EQ(program.errors,
              "ifdsweep: " + file.path() + ": out of memory: " + reason + " (outOfMemory)\n");
    EXPECT_EQ(program.output, "");
}

}  // namespace
}  // namespace fixture

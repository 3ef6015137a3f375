// What a level of nesting takes of a thread's stack: hosts start threads with small ones.

#include <array>
#include <cerrno>
#include <cstddef>
#include <cstring>
#include <system_error>

#include <pthread.h>
#include <sys/mman.h>
#include <unistd.h>

#include "host/host_parts.h"
#include "ifdsweep/host.h"
#include "support/record_dump.h"
#include "support/tiff_matrix.h"
#include "values/value.h"

namespace fixture {
namespace {

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
#define IFDSWEEP_LARGE_FRAMES
#elif defined(__has_feature)
#if __has_feature(address_sanitizer) || __has_feature(thread_sanitizer)
#define IFDSWEEP_LARGE_FRAMES
#endif
#endif

#ifdef IFDSWEEP_LARGE_FRAMES
// A sanitizer puts room around every variable: its frames are several times as large, and what the
// module promises of its own is looked at in the other builds.
constexpr std::size_t kStackSize = 1024 * 1024;
#else
constexpr std::size_t kStackSize = 128 * 1024;
#endif

/// A painted stack with a guard page below it, which tells how deep it was used.
class MeasuredStack {
public:
    explicit MeasuredStack(std::size_t stackSize)
        : size(stackSize),
          guard(static_cast<std::size_t>(::sysconf(_SC_PAGESIZE))),
          memory(static_cast<unsigned char*>(::mmap(nullptr, guard + size, PROT_READ | PROT_WRITE,
                                                    MAP_PRIVATE | MAP_ANONYMOUS, -1, 0))) {
        if (memory == MAP_FAILED || ::mprotect(memory, guard, PROT_NONE) != 0) {
            throw std::system_error(errno, std::generic_category(), "a stack");
        }
        std::memset(memory + guard, kPaint, size);
    }
    MeasuredStack(const MeasuredStack&) = delete;
    MeasuredStack& operator=(const MeasuredStack&) = delete;
    ~MeasuredStack() { ::munmap(memory, guard + size); }

    [[nodiscard]] void* begin() const { return memory + guard; }
    [[nodiscard]] std::size_t used() const {
        std::size_t unused = 0;
        while (unused < size && memory[guard + unused] == kPaint) {
            ++unused;
        }
        return size - unused;
    }

private:
    static constexpr unsigned char kPaint = 0xA5;

    std::size_t size;
    std::size_t guard;
    unsigned char* memory;
};

/// The call, with nothing around it that the module's host would not have.
struct Call {
    ifdsweep::Host& host;
    const std::array<const qxArray*, 4>& inputs;
    ifdsweep::ValueHandle result{};

    static void* run(void* call) {
        auto& self = *static_cast<Call*>(call);
        const ifdsweep::Host::Scope scope(self.host);
        qxArray* output = nullptr;
        qxeFunction(1, &output, 4, const_cast<const qxArray**>(self.inputs.data()));
        self.result.reset(output);
        return nullptr;
    }
};

class NestingStack : public TiffMatrix {
protected:
    /// The stack that a call takes on a file of so many levels, and whether it saw the deepest one.
    static std::size_t stackOf(int levels, std::uint16_t tag) {
        Chain chain{{ascii(315, "deepest")}};
        for (int level = 0; level < levels; ++level) {
            chain = {{pointer(tag, {chain})}};
        }
        const TiffFile file = fileOf(chain);
        ifdsweep::Host host;
        filesOf(host).serve(kFileName, file.bytes);
        const std::u16string name = kFileName;
        std::array<ifdsweep::ValueHandle, 4> values;
        std::array<const qxArray*, 4> inputs{};
        {
            const ifdsweep::Host::Scope scope(host);
            values[0].reset(qxCreateUString(name.data(), name.size()));
            inputs[0] = values[0].get();
            for (std::size_t i = 1; i < inputs.size(); ++i) {
                values[i].reset(qxCreateDoubleScalar(0));
                inputs[i] = values[i].get();
            }
        }
        Call call{host, inputs};
        const MeasuredStack stack(kStackSize);
        pthread_attr_t attributes;
        pthread_attr_init(&attributes);
        EXPECT_EQ(pthread_attr_setstack(&attributes, stack.begin(), kStackSize), 0);
        pthread_t thread{};
        EXPECT_EQ(pthread_create(&thread, &attributes, &Call::run, &call), 0);
        pthread_join(thread, nullptr);
        pthread_attr_destroy(&attributes);
        EXPECT_EQ(host.warnings().size(), levels > 64 ? 1U : 0U);
        EXPECT_NE(call.result, nullptr);
        if (levels <= 64 && call.result != nullptr) {
            EXPECT_NE(dump(call.result.get()).find("deepest"), std::string::npos);
        }
        return stack.used();
    }
};
IFDSWEEP_TIFF_MATRIX(NestingStack);

TEST_P(NestingStack, SixtyFourLevelsFitASmallThread) {
    for (const std::uint16_t tag : Codes{330, 34665}) {
        const std::size_t few = stackOf(4, tag);
        const std::size_t most = stackOf(64, tag);
        EXPECT_LT(most, kStackSize);
        EXPECT_LT(stackOf(65, tag), kStackSize);
        const std::size_t level = (most - few) / 60;
        RecordProperty("bytes a level, tag " + std::to_string(tag), static_cast<int>(level));
        RecordProperty("bytes in all, tag " + std::to_string(tag), static_cast<int>(most));
    }
#ifdef IFDSWEEP_LARGE_FRAMES
    GTEST_SKIP() << "all passed, but on a stack of 1 MiB: a sanitizer makes frames larger";
#endif
}

}  // namespace
}  // namespace fixture

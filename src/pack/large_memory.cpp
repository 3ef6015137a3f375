#include "pack/large_memory.h"

#include <sys/mman.h>

namespace ifdsweep {

void preferLargePages(void* begin, std::size_t size) noexcept {
    constexpr std::size_t kLargePage = std::size_t{2} << 20;
    std::size_t room = size;
    // Room for one page at least, which no other memory shares.
    if (std::align(kLargePage, kLargePage, begin, room) != nullptr) {
        static_cast<void>(madvise(begin, room / kLargePage * kLargePage, MADV_HUGEPAGE));
    }
}

}  // namespace ifdsweep

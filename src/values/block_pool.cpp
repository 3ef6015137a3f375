#include "values/block_pool.h"

#include <algorithm>
#include <new>
#include <utility>

#include <sys/mman.h>

#if defined(__SANITIZE_ADDRESS__)
#define IFDSWEEP_POISON_BLOCKS 1
#elif defined(__has_feature)
#if __has_feature(address_sanitizer)
#define IFDSWEEP_POISON_BLOCKS 1
#endif
#endif
#ifdef IFDSWEEP_POISON_BLOCKS
#include <sanitizer/asan_interface.h>
#endif

namespace ifdsweep {

namespace {

constexpr std::size_t kHugePage = std::size_t{2} * 1024 * 1024;

// From here on fresh pages cost more than the work on them, unless the system gives huge ones.
constexpr std::size_t kHugeBlock = std::size_t{4} * 1024 * 1024;

// A block that is not in use is not to be touched: the address sanitizer is told so.
void poison([[maybe_unused]] const void* block, [[maybe_unused]] std::size_t size) noexcept {
#ifdef IFDSWEEP_POISON_BLOCKS
    ASAN_POISON_MEMORY_REGION(block, size);
#endif
}

void unpoison([[maybe_unused]] const void* block, [[maybe_unused]] std::size_t size) noexcept {
#ifdef IFDSWEEP_POISON_BLOCKS
    ASAN_UNPOISON_MEMORY_REGION(block, size);
#endif
}

}  // namespace

void BlockPool::SlabDeleter::operator()(std::byte* slab) const noexcept {
    unpoison(slab, size);
    ::operator delete (slab, std::align_val_t{std::min(size, kHugePage)});
}

BlockPool::~BlockPool() = default;

void* BlockPool::allocateLarge(std::size_t size) {
    if (size < kHugeBlock) {
        return ::operator new(size);
    }
    void* block = ::operator new (size, std::align_val_t{kHugePage});
    // Whole huge pages only: asking for the last, broken one would make it resident in full. A
    // refusal costs time and nothing else.
    static_cast<void>(::madvise(block, size / kHugePage * kHugePage, MADV_HUGEPAGE));
    return block;
}

void* BlockPool::takeFree(std::size_t sizeClass) noexcept {
    FreeBlock* block = freeBlocks[sizeClass];
    unpoison(block, (sizeClass + 1) * kGranule);
    freeBlocks[sizeClass] = block->next;
    return block;
}

void* BlockPool::allocateNew(std::size_t sizeClass) {
    const std::size_t size = (sizeClass + 1) * kGranule;
    if (static_cast<std::size_t>(segmentEnd - fresh) < size) {
        if (segmentsLeft == 0) {
            addSlab();
        } else {
            --segmentsLeft;
            enterSegment(segmentEnd);
        }
    }
    // A segment without its head holds the largest small block many times over.
    void* block = fresh;
    fresh += size;
    unpoison(block, size);
    return block;
}

void BlockPool::release(void* block, std::size_t size) noexcept {
    if (size <= kLargestSmallBlock) {
        const std::size_t sizeClass = sizeClassOf(size);
        freeBlocks[sizeClass] = ::new (block) FreeBlock{freeBlocks[sizeClass]};
        poison(block, (sizeClass + 1) * kGranule);
    } else if (size < kHugeBlock) {
        ::operator delete(block);
    } else {
        ::operator delete (block, std::align_val_t{kHugePage});
    }
}

void* BlockPool::ownerOf(const void* smallBlock) noexcept {
    const std::byte* address = static_cast<const std::byte*>(smallBlock);
    const std::size_t inside = reinterpret_cast<std::uintptr_t>(smallBlock) % kSegmentSize;
    return static_cast<const Segment*>(static_cast<const void*>(address - inside))->owner;
}

void BlockPool::reset() noexcept {
    if (slabs.size() < 2) {
        return;  // a single small slab: its free lists serve as well
    }
    // The first slab stays for the next call, the memory of a large file goes back.
    slabs.erase(slabs.begin() + 1, slabs.end());
    freeBlocks.fill(nullptr);
    const Slab& first = slabs.front();
    poison(first.get(), first.get_deleter().size);
    segmentsLeft = first.get_deleter().size / kSegmentSize - 1;
    enterSegment(first.get());
}

void BlockPool::addSlab() {
    // From one segment, so that a small file pays for little, doubling to a huge page.
    const std::size_t size =
        slabs.empty() ? kSegmentSize : std::min(kLargestSlab, slabs.back().get_deleter().size * 2);
    std::byte* memory = static_cast<std::byte*>(::operator new (size, std::align_val_t{size}));
    Slab slab(memory, SlabDeleter{size});  // owned before the list grows, which may fail
    slabs.push_back(std::move(slab));
    if (size == kHugePage) {
        static_cast<void>(::madvise(memory, size, MADV_HUGEPAGE));
    }
    poison(memory, size);
    segmentsLeft = size / kSegmentSize - 1;
    enterSegment(memory);
}

void BlockPool::enterSegment(std::byte* segment) noexcept {
    // Keeps blocks at multiples of the granule, as the values want it.
    static_assert(sizeof(Segment) <= kGranule);
    unpoison(segment, kGranule);
    ::new (static_cast<void*>(segment)) Segment{owner};
    fresh = segment + kGranule;
    segmentEnd = segment + kSegmentSize;
}

}  // namespace ifdsweep

#pragma once

// Memory of host values: small blocks from slabs with a free list per size, large ones one by one.
//
// Ownership: the pool owns its slabs; every block must be given back while the pool lives. Any
// small block leads back to its pool's owner, so that a value needs no pointer to it.
//
// Threads: one thread at a time.

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

namespace ifdsweep {

class BlockPool {
public:
    /// @param poolOwner what `ownerOf` answers for every small block
    explicit BlockPool(void* poolOwner) noexcept : owner(poolOwner) {}
    ~BlockPool();
    BlockPool(const BlockPool&) = delete;
    BlockPool& operator=(const BlockPool&) = delete;

    /// The largest small block. Records of a hundred fields still are one.
    static constexpr std::size_t kLargestSmallBlock = 1024;

    /// A block of at least `size` bytes, 16-byte aligned, not cleared. Throws std::bad_alloc.
    [[nodiscard]] void* allocate(std::size_t size) {
        if (size > kLargestSmallBlock) {
            return allocateLarge(size);
        }
        const std::size_t sizeClass = sizeClassOf(size);
        if (freeBlocks[sizeClass] != nullptr) {
            return takeFree(sizeClass);
        }
        return allocateNew(sizeClass);
    }

    /// Gives a block back; `size` as it was asked for.
    void release(void* block, std::size_t size) noexcept;

    /// The owner of the pool that a small block came from.
    [[nodiscard]] static void* ownerOf(const void* smallBlock) noexcept;

    /// Forgets every small block at once; none may be in use.
    void reset() noexcept;

private:
    struct FreeBlock {
        FreeBlock* next;
    };

    /// Head of each segment: the slab is cut in pieces of this alignment, so that the head is
    /// found from any address inside.
    struct Segment {
        void* owner;
    };

    struct SlabDeleter {
        std::size_t size;
        void operator()(std::byte* slab) const noexcept;
    };
    using Slab = std::unique_ptr<std::byte, SlabDeleter>;

    static constexpr std::size_t kGranule = 16;  ///< sizes are multiples of it: that of a value
    static constexpr std::size_t kSegmentSize = std::size_t{64} * 1024;
    static constexpr std::size_t kLargestSlab =
        std::size_t{2} * 1024 * 1024;  ///< that of a huge page

    static constexpr std::size_t sizeClassOf(std::size_t size) noexcept {
        return size == 0 ? 0 : (size - 1) / kGranule;
    }

    [[nodiscard]] static void* allocateLarge(std::size_t size);
    [[nodiscard]] void* takeFree(std::size_t sizeClass) noexcept;
    [[nodiscard]] void* allocateNew(std::size_t sizeClass);
    void addSlab();
    void enterSegment(std::byte* segment) noexcept;

    void* owner;
    std::array<FreeBlock*, kLargestSmallBlock / kGranule> freeBlocks{};
    std::byte* fresh = nullptr;       ///< never used memory of the current segment
    std::byte* segmentEnd = nullptr;  ///< its end
    std::size_t segmentsLeft = 0;     ///< segments after it in the last slab
    std::vector<Slab> slabs;
};

}  // namespace ifdsweep

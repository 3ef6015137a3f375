#pragma once

// A reader's own memory for what passes through. It owns the memory, a span given out does not. One
// thread.

#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>

namespace ifdsweep::module {

/// Memory that is used again and again: it grows to the largest piece asked for and is not
/// cleared. Spans given out before hold until the next call of `take`.
class ScratchBuffer {
public:
    [[nodiscard]] std::span<std::uint8_t> take(std::size_t size) {
        if (size > capacity) {
            memory.reset();
            capacity = 0;
            memory = std::make_unique_for_overwrite<std::uint8_t[]>(size);
            capacity = size;
        }
        return {memory.get(), size};
    }

private:
    std::unique_ptr<std::uint8_t[]> memory;
    std::size_t capacity = 0;
};

}  // namespace ifdsweep::module

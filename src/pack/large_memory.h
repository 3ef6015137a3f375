#pragma once

// Large memory: tables and blocks of many megabytes lie in the system's large pages where it has
// them, since what a page of the usual size costs when it is first touched is more than what is
// written to it.
//
// Threads: any. Errors: std::bad_alloc.

#include <cstddef>
#include <memory>
#include <vector>

namespace ifdsweep {

/// Asks the system for large pages below memory that was not touched yet. Small memory is left
/// alone, and so is the system's refusal.
void preferLargePages(void* begin, std::size_t size) noexcept;

template <class Row>
struct LargeMemory {
    using value_type = Row;

    LargeMemory() = default;
    template <class Other>
    explicit LargeMemory(const LargeMemory<Other>& /*other*/) noexcept {}

    [[nodiscard]] Row* allocate(std::size_t count) {
        Row* rows = std::allocator<Row>().allocate(count);
        preferLargePages(rows, count * sizeof(Row));
        return rows;
    }
    void deallocate(Row* rows, std::size_t count) noexcept {
        std::allocator<Row>().deallocate(rows, count);
    }
    bool operator==(const LargeMemory& /*other*/) const = default;
};

/// A table that may grow to any size.
template <class Row>
using TableOf = std::vector<Row, LargeMemory<Row>>;

}  // namespace ifdsweep

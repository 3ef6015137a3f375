#pragma once

// Heap bytes: the heap of a packed file while it grows.
//
// Ownership: copies what is put in. Threads: one at a time. Errors: std::bad_alloc.

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <memory>
#include <span>
#include <string_view>
#include <utility>

#include "pack/large_memory.h"
#include "pack/packed_layout.h"

namespace ifdsweep {

class HeapBytes {
public:
    void clear() {
        constexpr std::size_t kMostKept = (std::size_t{1} << 20) / sizeof(Word);
        size = 0;
        if (room > kMostKept) {
            words.reset();
            room = 0;
        }
    }

    /// Copies bytes to a multiple of 8 and fills up with zeros; nothing lies at the beginning.
    PackedRun add(std::span<const std::uint8_t> added) {
        if (added.empty()) {
            return {};
        }
        const std::size_t count = (added.size() + sizeof(Word) - 1) / sizeof(Word);
        if (count > room - size) {
            grow(count);
        }
        const PackedRun run{size * sizeof(Word), added.size()};
        size += count;
        words[size - 1] = 0;
        copy(&words[size - count], added);
        return run;
    }

    /// Copies the elements of an array.
    template <class Element>
    PackedRun addElements(std::span<const Element> elements) {
        return add({static_cast<const std::uint8_t*>(static_cast<const void*>(elements.data())),
                    elements.size_bytes()});
    }

    PackedRun addText(std::string_view text) {
        return addElements(std::span<const char>(text.data(), text.size()));
    }

    /// Whether these bytes lie there, as many of them.
    [[nodiscard]] bool holds(std::uint64_t begin, const void* expected, std::size_t count) const {
        return areSameBytes(all().data() + begin, expected, count);
    }

    [[nodiscard]] std::span<const std::uint8_t> bytesOf(const PackedRun& run) const {
        return all().subspan(static_cast<std::size_t>(run.begin),
                             static_cast<std::size_t>(run.size));
    }
    [[nodiscard]] std::span<const std::uint8_t> all() const {
        return {static_cast<const std::uint8_t*>(static_cast<const void*>(words.get())),
                size * sizeof(Word)};
    }

private:
    using Word = std::uint64_t;

    void grow(std::size_t count) {
        const std::size_t wanted = std::max(2 * room, size + count);
        auto larger = std::make_unique_for_overwrite<Word[]>(wanted);
        preferLargePages(larger.get(), wanted * sizeof(Word));
        std::copy_n(words.get(), size, larger.get());
        words = std::move(larger);
        room = wanted;
    }

    /// The sizes that most values have are copied without a call.
    static void copy(Word* target, std::span<const std::uint8_t> bytes) {
        switch (bytes.size()) {
            case 2:
                std::memcpy(target, bytes.data(), 2);
                break;
            case 4:
                std::memcpy(target, bytes.data(), 4);
                break;
            case sizeof(Word):
                std::memcpy(target, bytes.data(), sizeof(Word));
                break;
            default:
                std::memcpy(target, bytes.data(), bytes.size());
        }
    }

    // No vector: it would fill with zeros what is overwritten.
    std::unique_ptr<Word[]> words;
    std::size_t size = 0;  ///< of words, as the next
    std::size_t room = 0;
};

}  // namespace ifdsweep

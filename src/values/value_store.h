#pragma once

// Creates, fills and frees the values of one host, and counts them.
//
// Ownership: the store owns the memory of its values; a created value belongs to the caller until
// it is stored in another one. Every function that throws leaves values as they were and takes
// ownership of nothing. A store that is destroyed before its values leaves them dangling.
//
// Threads: one thread at a time.

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <string_view>
#include <utility>

#include "values/block_pool.h"
#include "values/creation_hook.h"
#include "values/field_list.h"
#include "values/value.h"
#include "values/value_budget.h"

namespace ifdsweep {

class ValueStore {
public:
    /// @param valueBudget what values count against; it outlives the store
    explicit ValueStore(ValueBudget& valueBudget) : budget(valueBudget), pool(this) {}
    ~ValueStore() = default;
    ValueStore(const ValueStore&) = delete;
    ValueStore& operator=(const ValueStore&) = delete;

    /// An array of the given kind (not a record array); cells are empty, other elements
    /// unspecified. Throws std::bad_alloc when the elements cannot be had or counted.
    [[nodiscard]] Value* createArray(ValueKind kind, std::size_t rows, std::size_t columns);

    /// A record array with every field empty. Like a cell array it has fewer elements where the
    /// value budget has no room for all; what is put in the others is freed.
    [[nodiscard]] Value* createRecords(std::size_t rows, std::size_t columns,
                                       std::span<const char* const> fieldNames);

    /// A 1-by-1 double.
    [[nodiscard]] Value* createScalar(double number);

    /// A 1-by-length character row. Equal texts, such as the names of values and of the file that
    /// occur in every directory, share one block.
    [[nodiscard]] Value* createText(std::u16string_view units);

    /// The elements of a double, unsigned 8-bit or character array, for filling. Throws
    /// std::bad_alloc when they lie in a block that other texts share and cannot be copied.
    [[nodiscard]] static void* elements(Value& value);

    /// Puts a value, or nothing, in a cell and frees what was there. Throws std::invalid_argument
    /// when there is no such cell.
    static void setCell(Value& cells, std::size_t index, Value* value);

    /// Puts a value, or nothing, in a field of an element and frees what was there. Throws
    /// std::invalid_argument when there is no such element or field.
    static void setField(Value& records, std::size_t index, const char* fieldName, Value* value);

    /// Takes the value out of a cell, or out of a field of an element, which is empty then; null
    /// where there is none.
    [[nodiscard]] static ValueHandle takeCell(Value& cells, std::size_t index) noexcept;
    [[nodiscard]] static ValueHandle takeField(Value& records, std::size_t index,
                                               std::size_t fieldNumber) noexcept;

    /// Frees a value, of whatever store, with everything in it. Null is allowed.
    static void destroy(Value* value) noexcept;

    /// Values created and not yet freed.
    [[nodiscard]] std::size_t liveValues() const noexcept { return live; }

    /// Steps in before every creation from now on; null ends it.
    void setCreationHook(std::shared_ptr<CreationHook> creationHook) noexcept {
        hook = std::move(creationHook);
    }

private:
    /// Head of the block of a text that values share; the units follow it.
    struct SharedText {
        std::uint32_t users;
        std::uint32_t length;

        [[nodiscard]] char16_t* units() noexcept {
            return static_cast<char16_t*>(static_cast<void*>(this + 1));
        }
        [[nodiscard]] std::u16string_view text() noexcept { return {units(), length}; }
        [[nodiscard]] static SharedText* of(const Value& value) noexcept {
            return static_cast<SharedText*>(value.content.block) - 1;
        }
    };

    using FieldListPointer = std::shared_ptr<const FieldList>;

    [[nodiscard]] Value* newValue(ValueKind kind, std::size_t rows, std::size_t columns,
                                  std::size_t contentSize, std::size_t countedSize);
    [[nodiscard]] Value* newSlots(ValueKind kind, std::size_t rows, std::size_t columns,
                                  FieldListPointer fields);
    [[nodiscard]] const FieldListPointer& shareFields(std::span<const char* const> fieldNames);
    /// @param countedSize bytes of elements that count against the budget
    [[nodiscard]] Value* newNode(ValueKind kind, Value::Shape shape, std::size_t elementCount,
                                 std::size_t countedSize);
    [[nodiscard]] static bool isCutOff(const Value& array, std::size_t index) noexcept;
    [[nodiscard]] SharedText*& recentText(std::u16string_view units) noexcept;
    [[nodiscard]] SharedText* newSharedText(std::u16string_view units);
    void releaseShared(SharedText* shared) noexcept;
    static void unshare(Value& value);
    [[nodiscard]] static std::span<std::byte> blockOf(const Value& value) noexcept;
    static void replace(Value*& slot, Value* value) noexcept;
    static void freeOne(Value* value) noexcept;

    ValueBudget& budget;
    BlockPool pool;
    std::size_t live = 0;
    std::shared_ptr<CreationHook> hook;
    /// Lists made last: nearly every record array of a file has one of a few lists.
    std::array<FieldListPointer, 8> recentFields;
    std::size_t nextRecent = 0;
    /// Shared texts by hash; a text that loses its place to another is shared no further. Not
    /// owned: a text that goes leaves its place.
    std::array<SharedText*, 256> recentTexts{};
};

}  // namespace ifdsweep

#include "values/value_store.h"

#include <algorithm>
#include <cstring>
#include <memory>
#include <new>
#include <stdexcept>
#include <tuple>
#include <utility>

namespace ifdsweep {

namespace {

std::size_t elementSize(ValueKind kind) noexcept {
    switch (kind) {
        case ValueKind::Double:
            return sizeof(double);
        case ValueKind::Uint8:
            return sizeof(std::uint8_t);
        case ValueKind::Char:
            return sizeof(char16_t);
        case ValueKind::Cell:
        case ValueKind::Struct:
            break;
    }
    return sizeof(Value*);
}

constexpr std::size_t kInPlace = 8;  // the room for elements inside a value

// The most elements or bytes that a value can have: half of what a process can address.
constexpr std::size_t kLargest = std::size_t{1} << 46;

/// The product of two sizes; std::bad_alloc when no memory can be that large, so that the sum with
/// a block's head cannot wrap either.
std::size_t checkedProduct(std::size_t first, std::size_t second) {
    std::size_t product = 0;
    if (__builtin_mul_overflow(first, second, &product) || product > kLargest) {
        throw std::bad_alloc();
    }
    return product;
}

// As long as the name of a file can be, which every record of it has. Longer texts are hardly ever
// the same.
constexpr std::size_t kLongestShared = 4096;

/// A hash of the ends and the length of a text that does not fit in place.
std::size_t hashOf(std::u16string_view units) noexcept {
    std::uint64_t first = 0;
    std::uint64_t last = 0;
    std::memcpy(&first, units.data(), sizeof first);
    std::memcpy(&last, units.data() + units.size() - 4, sizeof last);
    return static_cast<std::size_t>((first * 31 + last * 7 + units.size()) * 0x9E3779B97F4A7C15U >>
                                    56U);
}

}  // namespace

Value* ValueStore::createArray(ValueKind kind, std::size_t rows, std::size_t columns) {
    if (kind == ValueKind::Cell) {
        return newSlots(kind, rows, columns, nullptr);
    }
    const std::size_t size = checkedProduct(checkedProduct(rows, columns), elementSize(kind));
    return newValue(kind, rows, columns, size, size);
}

Value* ValueStore::createRecords(std::size_t rows, std::size_t columns,
                                 std::span<const char* const> fieldNames) {
    return newSlots(ValueKind::Struct, rows, columns, shareFields(fieldNames));
}

Value* ValueStore::createScalar(double number) {
    Value* value = newNode(ValueKind::Double, Value::Shape::row, 1, sizeof number);
    ::new (value->content.bytes) double(number);
    return value;
}

Value* ValueStore::createText(std::u16string_view units) {
    if (units.size() * sizeof(char16_t) <= kInPlace || units.size() > kLongestShared) {
        Value* value = createArray(ValueKind::Char, 1, units.size());
        std::copy(units.begin(), units.end(), static_cast<char16_t*>(elements(*value)));
        return value;
    }
    Value* value =
        newNode(ValueKind::Char, Value::Shape::row, units.size(), units.size() * sizeof(char16_t));
    SharedText*& recent = recentText(units);
    if (recent == nullptr || recent->text() != units) {
        try {
            recent = newSharedText(units);
        } catch (...) {
            freeOne(value);
            throw;
        }
    }
    ++recent->users;
    value->content.block = recent->units();
    value->inPlace = false;
    value->isShared = true;
    return value;
}

ValueStore::SharedText*& ValueStore::recentText(std::u16string_view units) noexcept {
    static_assert(std::tuple_size_v<decltype(recentTexts)> == 256, "a hash has 8 bits");
    return recentTexts[hashOf(units)];
}

ValueStore::SharedText* ValueStore::newSharedText(std::u16string_view units) {
    void* block = pool.allocate(sizeof(SharedText) + units.size() * sizeof(char16_t));
    auto* shared = ::new (block) SharedText{0, static_cast<std::uint32_t>(units.size())};
    std::uninitialized_copy(units.begin(), units.end(), shared->units());
    return shared;
}

void ValueStore::releaseShared(SharedText* shared) noexcept {
    if (--shared->users > 0) {
        return;
    }
    SharedText*& recent = recentText(shared->text());
    if (recent == shared) {
        recent = nullptr;
    }
    pool.release(shared, sizeof(SharedText) + shared->length * sizeof(char16_t));
}

void ValueStore::unshare(Value& value) {
    auto* store = static_cast<ValueStore*>(BlockPool::ownerOf(&value));
    SharedText* shared = SharedText::of(value);
    void* own = store->pool.allocate(shared->length * sizeof(char16_t));
    std::uninitialized_copy_n(shared->units(), shared->length, static_cast<char16_t*>(own));
    value.content.block = own;
    value.isShared = false;
    store->releaseShared(shared);
}

void* ValueStore::elements(Value& value) {
    if (value.isShared) {
        unshare(value);
    }
    return value.inPlace ? static_cast<void*>(value.content.bytes) : value.content.block;
}

bool ValueStore::isCutOff(const Value& array, std::size_t index) noexcept {
    return array.isCut && index >= array.elementCount();
}

void ValueStore::setCell(Value& cells, std::size_t index, Value* value) {
    if (cells.kind() == ValueKind::Cell && isCutOff(cells, index)) {
        return destroy(value);
    }
    if (cells.kind() != ValueKind::Cell || index >= cells.elementCount()) {
        throw std::invalid_argument("no such cell");
    }
    replace(cells.slots()[index], value);
}

void ValueStore::setField(Value& records, std::size_t index, const char* fieldName, Value* value) {
    if (records.kind() == ValueKind::Struct && isCutOff(records, index)) {
        return destroy(value);
    }
    if (records.kind() != ValueKind::Struct || index >= records.elementCount()) {
        throw std::invalid_argument("no such element");
    }
    Value::SlotBlock& block = records.slotBlock();
    const std::size_t fieldCount = block.fields->size();
    const std::size_t number = block.fields->findAfter(block.lastField, fieldName);
    if (number == fieldCount) {
        throw std::invalid_argument("no such field");
    }
    block.lastField = number;
    replace(records.slots()[index * fieldCount + number], value);
}

ValueHandle ValueStore::takeCell(Value& cells, std::size_t index) noexcept {
    return ValueHandle(cells.cell(index) == nullptr ? nullptr
                                                    : std::exchange(cells.slots()[index], nullptr));
}

ValueHandle ValueStore::takeField(Value& records, std::size_t index,
                                  std::size_t fieldNumber) noexcept {
    if (records.field(index, fieldNumber) == nullptr) {
        return nullptr;
    }
    return ValueHandle(
        std::exchange(records.slots()[index * records.fieldCount() + fieldNumber], nullptr));
}

void ValueStore::replace(Value*& slot, Value* value) noexcept {
    Value* former = std::exchange(slot, value);
    if (former != nullptr && former != value) {
        destroy(former);
    }
}

void ValueStore::destroy(Value* value) noexcept {
    if (value == nullptr) {
        return;
    }
    ValueStore* store = static_cast<ValueStore*>(BlockPool::ownerOf(value));
    // The arrays still to be freed form a list through their own blocks: no recursion, however
    // deep the nesting, and no memory.
    Value* pending = nullptr;
    constexpr std::size_t kAhead = 16;  // values on their way from memory while others are freed
    const auto freeOrQueue = [&pending](Value* part) noexcept {
        if (part->hasSlots()) {
            part->slotBlock().nextToFree = std::exchange(pending, part);
        } else {
            freeOne(part);
        }
    };
    freeOrQueue(value);
    while (pending != nullptr) {
        Value* array = std::exchange(pending, pending->slotBlock().nextToFree);
        const std::span<Value*> parts = array->slots();
        for (std::size_t i = 0; i < parts.size(); ++i) {
            if (i + kAhead < parts.size()) {
                __builtin_prefetch(parts[i + kAhead], 1);
            }
            if (Value* part = parts[i]; part != nullptr) {
                freeOrQueue(part);
            }
        }
        freeOne(array);
    }
    if (store->live == 0) {
        store->recentTexts.fill(nullptr);  // every one has gone; the pool forgets their blocks
        store->pool.reset();
    }
}

void ValueStore::freeOne(Value* value) noexcept {
    ValueStore* store = static_cast<ValueStore*>(BlockPool::ownerOf(value));
    if (value->isShared) {
        store->releaseShared(SharedText::of(*value));
    } else if (!value->inPlace) {
        const std::span<std::byte> block = blockOf(*value);
        if (value->hasSlots()) {
            std::destroy_at(&value->slotBlock());
        }
        store->pool.release(block.data(), block.size());
    }
    store->pool.release(value, sizeof(Value));
    --store->live;
}

std::span<std::byte> ValueStore::blockOf(const Value& value) noexcept {
    const std::size_t headSize = Value::headSizeOf(value.shape);
    const std::size_t contentSize =
        value.hasSlots() ? sizeof(Value::SlotBlock) + value.slotBlock().slotCount * sizeof(Value*)
                         : value.elementCount() * elementSize(value.kind());
    return {static_cast<std::byte*>(value.content.block) - headSize, headSize + contentSize};
}

Value* ValueStore::newValue(ValueKind kind, std::size_t rows, std::size_t columns,
                            std::size_t contentSize, std::size_t countedSize) {
    const Value::Shape shape = Value::shapeOf(rows, columns);
    Value* value = newNode(kind, shape, rows * columns, countedSize);
    const bool isMatrix = shape == Value::Shape::matrix;
    if (contentSize <= kInPlace && !isMatrix) {
        return value;
    }
    const std::size_t headSize = Value::headSizeOf(shape);
    try {
        value->content.block =
            static_cast<std::byte*>(pool.allocate(headSize + contentSize)) + headSize;
    } catch (...) {
        freeOne(value);
        throw;
    }
    value->inPlace = false;
    if (isMatrix) {
        ::new (&value->dimensions()) Value::Dimensions{rows, columns};
    }
    return value;
}

Value* ValueStore::newNode(ValueKind kind, Value::Shape shape, std::size_t elementCount,
                           std::size_t countedSize) {
    static_assert(sizeof(Value) == 16, "four values share a cache line");
    static_assert(sizeof(Value::Content) == kInPlace);
    static_assert(kLargest <= Value::kLengthMask);
    if (hook != nullptr) {
        hook->beforeCreation();
    }
    Value* value = ::new (pool.allocate(sizeof(Value))) Value(kind, shape, elementCount);
    ++live;
    budget.addValue(sizeof(Value), countedSize);
    return value;
}

Value* ValueStore::newSlots(ValueKind kind, std::size_t rows, std::size_t columns,
                            FieldListPointer fields) {
    // Only records of directories with an image name the file.
    const bool namesFile = fields != nullptr && fields->name(0) == "Filename";
    const std::size_t fieldCount = fields != nullptr ? fields->size() : 1;
    const std::size_t wanted = checkedProduct(rows, columns);
    static_cast<void>(checkedProduct(checkedProduct(wanted, fieldCount), sizeof(Value*)));
    const std::size_t granted = budget.grant(
        wanted, fieldCount * ValueBudget::kPlaceCost + (namesFile ? budget.recordCost() : 0),
        fieldCount * sizeof(Value*));
    if (granted < wanted) {
        const bool isRow = rows == 1;
        rows = isRow ? 1 : granted;
        columns = isRow ? granted : 1;
    }
    const std::size_t slotCount = granted * fieldCount;
    Value* value =
        newValue(kind, rows, columns, sizeof(Value::SlotBlock) + slotCount * sizeof(Value*), 0);
    value->isCut = granted < wanted;
    ::new (value->content.block)
        Value::SlotBlock{std::move(fields), slotCount, fieldCount, nullptr};
    std::uninitialized_fill_n(value->slots().data(), slotCount, nullptr);
    return value;
}

const ValueStore::FieldListPointer& ValueStore::shareFields(
    std::span<const char* const> fieldNames) {
    for (const FieldListPointer& recent : recentFields) {
        if (recent != nullptr && recent->matches(fieldNames)) {
            return recent;
        }
    }
    auto fields = std::make_shared<const FieldList>(fieldNames);
    budget.add(fields->memory());
    FieldListPointer& place = recentFields[nextRecent];
    nextRecent = (nextRecent + 1) % recentFields.size();
    place = std::move(fields);
    return place;
}

}  // namespace ifdsweep

#include "write/record_equality.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cmath>
#include <functional>
#include <numeric>
#include <span>
#include <string_view>
#include <utility>

#include "read/directory_path.h"

namespace ifdsweep {
namespace {

/// Takes a word into a hash. Files may be made to collide; then they are shown unfolded, no more.
std::uint64_t mixed(std::uint64_t hash, std::uint64_t word) {
    constexpr std::uint64_t kOddFactor = 0x9E3779B97F4A7C15;  // 2^64 by the golden ratio
    return std::rotl((hash ^ word) * kOddFactor, 32);  // what is low comes from all the others
}

/// The bits of a number, one for all that are shown the same.
std::uint64_t bitsOf(double number) {
    constexpr std::uint64_t kNotANumber = 0x7FF8000000000000;
    return std::isnan(number) ? kNotANumber : std::bit_cast<std::uint64_t>(number);
}

std::uint64_t hashOfNumbers(std::span<const double> numbers) {
    if (numbers.size() == 1) {
        return bitsOf(numbers[0]);  // as nearly all are
    }
    // Several at a time: one step waits for the one before it.
    std::array<std::uint64_t, 4> hashes{1, 2, 3, 4};
    std::size_t index = 0;
    for (; index + hashes.size() <= numbers.size(); index += hashes.size()) {
        for (std::size_t lane = 0; lane < hashes.size(); ++lane) {
            hashes[lane] = mixed(hashes[lane], bitsOf(numbers[index + lane]));
        }
    }
    for (; index < numbers.size(); ++index) {
        hashes[0] = mixed(hashes[0], bitsOf(numbers[index]));
    }
    return mixed(mixed(mixed(hashes[0], hashes[1]), hashes[2]), hashes[3]);
}

bool areEqualNumbers(std::span<const double> one, std::span<const double> other) {
    return std::equal(one.begin(), one.end(), other.begin(), other.end(),
                      [](double a, double b) { return bitsOf(a) == bitsOf(b); });
}

std::uint64_t hashOfBytes(std::span<const std::uint8_t> bytes) {
    return std::accumulate(bytes.begin(), bytes.end(), std::uint64_t{0}, mixed);
}

}  // namespace

const std::vector<std::uint64_t>& RecordEquality::hashes(const Value& records) {
    if (const auto found = known.find(&records); found != known.end()) {
        return found->second;
    }
    std::vector<std::uint64_t> elements;
    elements.reserve(records.elementCount());
    for (std::size_t element = 0; element < records.elementCount(); ++element) {
        elements.push_back(hashOf({records, element}));
    }
    return known.emplace(&records, std::move(elements)).first->second;
}

std::uint64_t RecordEquality::hashOf(Element element) {
    std::uint64_t hash = 0;
    const Value& records = element.records;
    for (std::size_t field = 0; field < records.fieldCount(); ++field) {
        const Value* const value = records.field(element.index, field);
        const std::string_view name = records.fieldName(field);
        if (value != nullptr && !isFileField(name)) {
            hash = mixed(hash, field);
            hash = isPlacement(name) ? hash : mixed(hash, hashOf(value, name));
        }
    }
    return hash;
}

std::uint64_t RecordEquality::hashOf(const Value* value, std::string_view name) {
    if (value == nullptr) {
        return 0;
    }
    std::uint64_t hash = mixed(static_cast<std::uint64_t>(value->kind()) + 1, value->rows());
    hash = mixed(hash, value->columns());
    switch (value->kind()) {
        case ValueKind::Double:
            return mixed(hash, hashOfNumbers(value->doubles()));
        case ValueKind::Uint8:
            return mixed(hash, hashOfBytes(value->bytes()));
        case ValueKind::Char:
            return mixed(hash, std::hash<std::u16string_view>()(value->text()));
        case ValueKind::Cell:
            for (std::size_t cell = 0; cell < value->elementCount(); ++cell) {
                hash = mixed(hash, hashOf(value->cell(cell), name));
            }
            return hash;
        case ValueKind::Struct:
            break;
    }
    // A chain of one directory has nothing to be folded, and unknown tags are no directories.
    if (value->elementCount() > 1 && name != kUnknownTags) {
        for (const std::uint64_t element : hashes(*value)) {
            hash = mixed(hash, element);
        }
        return hash;
    }
    for (std::size_t element = 0; element < value->elementCount(); ++element) {
        hash = mixed(hash, hashOf({*value, element}));
    }
    return hash;
}

bool RecordEquality::areEqual(const Value& records, std::size_t one, std::size_t other,
                              PlacementSet& differing) const {
    PlacementSet found = 0;
    if (!areEqual(Element{records, one}, Element{records, other}, found)) {
        return false;
    }
    differing |= found;
    return true;
}

bool RecordEquality::areEqual(Element one, Element other, PlacementSet& differing) const {
    if (one.records.fieldCount() != other.records.fieldCount()) {
        return false;
    }
    for (std::size_t field = 0; field < one.records.fieldCount(); ++field) {
        const Value* const value = one.records.field(one.index, field);
        const Value* const otherValue = other.records.field(other.index, field);
        if (value == nullptr && otherValue == nullptr) {
            continue;
        }
        const std::string_view name = one.records.fieldName(field);
        if (value == nullptr || otherValue == nullptr || name != other.records.fieldName(field)) {
            return false;
        }
        if (isFileField(name)) {
            continue;
        }
        if (!isPlacement(name)) {
            if (!areEqual(value, otherValue, differing)) {
                return false;
            }
        } else if (PlacementSet ignored = 0; !areEqual(value, otherValue, ignored)) {
            differing |= placementOf(name);
        }
    }
    return true;
}

bool RecordEquality::areEqual(const Value* one, const Value* other, PlacementSet& differing) const {
    if (one == nullptr || other == nullptr) {
        return one == other;
    }
    if (one->kind() != other->kind() || one->rows() != other->rows() ||
        one->columns() != other->columns()) {
        return false;
    }
    switch (one->kind()) {
        case ValueKind::Double:
            return areEqualNumbers(one->doubles(), other->doubles());
        case ValueKind::Uint8: {
            const auto bytes = one->bytes();
            const auto otherBytes = other->bytes();
            return std::equal(bytes.begin(), bytes.end(), otherBytes.begin(), otherBytes.end());
        }
        case ValueKind::Char:
            return one->text() == other->text();
        case ValueKind::Cell:
            for (std::size_t cell = 0; cell < one->elementCount(); ++cell) {
                if (!areEqual(one->cell(cell), other->cell(cell), differing)) {
                    return false;
                }
            }
            return true;
        case ValueKind::Struct:
            break;
    }
    for (std::size_t element = 0; element < one->elementCount(); ++element) {
        if (!areEqual(Element{*one, element}, Element{*other, element}, differing)) {
            return false;
        }
    }
    return true;
}

}  // namespace ifdsweep

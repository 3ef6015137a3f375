#pragma once

// Entry items: the value of a packed entry as typed numbers and texts, by its field type. Plain
// functions; any thread. An entry whose value is not there has no items.

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "pack/packed_file.h"

namespace ifdsweep {

/// What the items of a field type are. Those of a default are `reals`.
enum class ItemKind : std::uint8_t { none, integers, rationals, reals, characters, bytes };

/// The name of a field type in TIFF 6.0 and BigTIFF, such as "SHORT"; empty for an unknown one.
[[nodiscard]] std::string_view fieldTypeName(std::uint16_t fieldType) noexcept;

/// The items of one entry. Borrows the file.
class EntryItems {
public:
    EntryItems(const PackedFile& file, const PackedEntryRow& entry) noexcept;

    [[nodiscard]] ItemKind kind() const noexcept;
    [[nodiscard]] std::size_t size() const noexcept { return count; }

    /// An item as a signed number, also one of `reals` that is whole, and one of `bytes`; none for
    /// a LONG8 of 2^63 and more, for other kinds, and behind the last.
    [[nodiscard]] std::optional<std::int64_t> integer(std::size_t index) const noexcept;

    /// An item as a double; of a rational the quotient, none where the denominator is 0.
    [[nodiscard]] std::optional<double> number(std::size_t index) const noexcept;

    struct Rational {
        std::int64_t numerator = 0;
        std::int64_t denominator = 0;
    };
    /// An item of `rationals`.
    [[nodiscard]] Rational rational(std::size_t index) const noexcept;

    /// The digits of an item of `integers`.
    [[nodiscard]] std::string digits(std::size_t index) const;

    /// All bytes, as they lie in memory.
    [[nodiscard]] std::string_view bytes() const noexcept;

private:
    const std::uint8_t* begin = nullptr;
    std::size_t count = 0;
    std::uint16_t type = 0;
};

/// Bytes as valid UTF-8, without NULs at the end: UTF-8 where they are that, else Windows-1252.
struct CharacterText {
    std::string text;
    bool wasUtf8 = true;
};
[[nodiscard]] CharacterText characterText(std::string_view bytes);

/// A text in UTF-16 whose units have the low byte first (XPTitle), as UTF-8 without NULs at the
/// end; none where half a unit is left over.
[[nodiscard]] std::optional<std::string> wideText(std::string_view bytes);

/// A text behind 8 bytes that tell its character code (UserComment), the same.
[[nodiscard]] std::optional<std::string> codedText(std::string_view bytes);

/// Microseconds since 1970 of "2026:11:23 10:00:00", also with dashes, and a T between date and
/// time. None for what is no date.
[[nodiscard]] std::optional<std::int64_t> clockTime(std::string_view text) noexcept;

/// Whether a date is left open: nothing but blanks, zeros and signs between them.
[[nodiscard]] bool isOpenClock(std::string_view text) noexcept;

/// Minutes of "+01:00", "-0330" and "Z"; none for others.
[[nodiscard]] std::optional<std::int64_t> zoneMinutes(std::string_view text) noexcept;

}  // namespace ifdsweep

#pragma once

// Packed file: what came of one file, in one block of memory that is never changed: the outcome
// with its records, messages and stamp, and every directory and entry of the walk, exact to the
// byte. It needs no host, can be read on several threads at once, sent from one process to another
// and stored, for programs of the same version.
//
// Ownership: owns its block; spans and texts that it gives are valid as long as it is.
// Threads: any. Errors: std::bad_alloc; `parse` gives none for bytes that are no packed file.

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <string_view>

#include "pack/packed_rows.h"

namespace ifdsweep {

/// A block of bytes, aligned for every type.
struct PackedBlock {
    std::unique_ptr<std::byte[]> bytes;
    std::size_t size = 0;
};

class PackedFile {
public:
    /// Takes what a `FilePacker` made.
    explicit PackedFile(PackedBlock packed) noexcept;

    /// Copies what may be a packed file, of whatever origin; none when it is not one to the last
    /// byte: then no row leads out of its table, no run out of the heap, and the parts of an array
    /// are its own, stand behind it, and are nested at most 256 deep, as are directories.
    [[nodiscard]] static std::optional<PackedFile> parse(std::span<const std::byte> bytes);

    PackedFile(PackedFile&&) noexcept = default;
    PackedFile& operator=(PackedFile&&) noexcept = default;

    /// All of it, as `parse` takes it. Equal bytes are equal contents, and the other way round.
    [[nodiscard]] std::span<const std::byte> bytes() const noexcept {
        return {block.bytes.get(), block.size};
    }

    [[nodiscard]] const PackedFileRow& file() const noexcept;
    [[nodiscard]] std::span<const PackedStreamRow> streams() const noexcept;
    [[nodiscard]] std::span<const PackedDirectoryRow> directories() const noexcept;
    [[nodiscard]] std::span<const PackedEntryRow> entries() const noexcept;
    [[nodiscard]] std::span<const PackedValueRow> values() const noexcept;
    [[nodiscard]] std::span<const PackedArrayRow> arrays() const noexcept;
    [[nodiscard]] std::span<const PackedFieldsRow> fieldLists() const noexcept;
    [[nodiscard]] std::span<const std::uint32_t> fieldNames() const noexcept;
    [[nodiscard]] std::span<const std::uint32_t> elements() const noexcept;
    [[nodiscard]] std::span<const PackedNameRow> names() const noexcept;
    [[nodiscard]] std::span<const PackedMessageRow> messages() const noexcept;
    [[nodiscard]] std::span<const PackedArgumentRow> arguments() const noexcept;

    /// Bytes of the heap.
    [[nodiscard]] std::span<const std::uint8_t> bytesOf(const PackedRun& run) const noexcept;
    [[nodiscard]] std::string_view textOf(const PackedRun& run) const noexcept;
    [[nodiscard]] std::u16string_view unitsOf(const PackedRun& run) const noexcept;

    /// The text of a name row; empty for `kNoRow`.
    [[nodiscard]] std::string_view name(std::uint32_t row) const noexcept;

    /// The name row of a text; `kNoRow` when it does not occur. In constant time.
    [[nodiscard]] std::uint32_t findName(std::string_view text) const noexcept;

    /// The number of a field in a list of fields, by its name row; none when it is not there.
    [[nodiscard]] std::optional<std::uint32_t> findField(std::uint32_t fields,
                                                         std::uint32_t name) const noexcept;

    /// The value of a field of one of the records of an array row.
    [[nodiscard]] const PackedValueRow& fieldOf(const PackedArrayRow& records,
                                                std::uint32_t element,
                                                std::uint32_t field) const noexcept;

    /// The elements of `numbers` that has its own (not `isOfEntry`), `bytes` and `text`.
    [[nodiscard]] std::span<const double> doublesOf(const PackedArrayRow& array) const noexcept;
    [[nodiscard]] std::span<const std::uint8_t> bytesOf(const PackedArrayRow& array) const noexcept;
    [[nodiscard]] std::u16string_view unitsOf(const PackedArrayRow& array) const noexcept;

    /// The double of a `number`.
    [[nodiscard]] static double numberOf(const PackedValueRow& value) noexcept;

private:
    PackedBlock block;
};

}  // namespace ifdsweep

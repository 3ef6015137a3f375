#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <limits>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "columns/directory_paths.h"
#include "columns/entry_columns.h"
#include "columns/entry_items.h"
#include "columns/fillers.h"
#include "columns/row_keys.h"
#include "columns/tag_targets.h"
#include "pack/field_types.h"
#include "pack/reused_rows.h"
#include "present/gps.h"

namespace ifdsweep {
namespace {

using Kind = DirectoryKind;

// TIFF 6.0 sections 8 and 15, its supplement for JPEG; Exif 2.32, 4.6.6.
constexpr std::uint16_t kStripOffsets = 273;
constexpr std::uint16_t kStripByteCounts = 279;
constexpr std::uint16_t kTileOffsets = 324;
constexpr std::uint16_t kTileByteCounts = 325;
constexpr std::uint16_t kJpegLength = 514;
constexpr std::uint16_t kLatitudeRef = 1;
constexpr std::uint16_t kLatitude = 2;
constexpr std::uint16_t kLongitudeRef = 3;
constexpr std::uint16_t kLongitude = 4;
constexpr std::uint16_t kAltitudeRef = 5;
constexpr std::uint16_t kAltitude = 6;

/// The directories that columns of an image directory are made of, and how many there are.
struct Family {
    std::uint32_t exif = kNoRow;
    std::uint32_t gps = kNoRow;
    std::uint32_t interoperability = kNoRow;
    std::uint32_t exifCount = 0;
    std::uint32_t gpsCount = 0;
};

/// Tags of which a column tells that something became of them.
class TagNotes {
public:
    explicit TagNotes(ColumnBuilder* noteColumn) : column(noteColumn) {}

    void begin(std::size_t nextRow) {
        row = nextRow;
        isBegun = false;
    }

    void add(std::uint16_t tag) {
        if (column == nullptr || (isBegun && last == tag)) {
            return;
        }
        if (!std::exchange(isBegun, true)) {
            column->beginList(row);
        }
        column->items().appendInteger(tag);
        last = tag;
    }

private:
    ColumnBuilder* column;
    std::size_t row = 0;
    std::uint16_t last = 0;
    bool isBegun = false;
};

/// Degrees of at most three numbers; none unless each is there and in its range.
std::optional<double> degreesOf(const EntryItems& items, double most) {
    std::array<double, 3> parts{};
    if (items.size() > parts.size()) {
        return std::nullopt;
    }
    for (std::size_t index = 0; index < items.size(); ++index) {
        const auto number = items.number(index);
        if (!number) {
            return std::nullopt;
        }
        parts[index] = *number;
    }
    const auto degrees = sexagesimalNumber(std::span(parts).first(items.size()), most);
    return degrees && *degrees <= most ? degrees : std::nullopt;
}

class ImagesFiller final : public RowFiller {
public:
    ImagesFiller(const TableSchema& schema, std::vector<ColumnBuilder>& tableColumns,
                 const FillLimits& fillLimits);

    void begin(std::shared_ptr<const PackedFile> nextFile, std::int64_t id) override;
    [[nodiscard]] bool fillRow(std::size_t row) override;

private:
    void setPlace(std::size_t row, const PackedDirectoryRow& directory);
    void setRecordFields(std::size_t row, const PackedDirectoryRow& directory);
    void setDataSizes(std::size_t row);
    void setPosition(std::size_t row);
    void setCoordinate(ColumnBuilder* column, std::size_t row, std::uint16_t tag,
                       std::uint16_t reference, std::string_view directions, double most);
    void setAltitude(std::size_t row);
    void setUnknown(std::size_t row, const PackedDirectoryRow& directory);
    void appendUnknown(const PackedEntryRow& entry, FillLimits& room);
    void chooseEntries(const PackedDirectoryRow& directory, const Family& family);
    void setTags(std::size_t row);
    [[nodiscard]] TagNotes* notesOf(Taken taken) noexcept;
    void hold(const PackedEntryRow& entry);
    [[nodiscard]] Taken setTag(std::size_t row, const PackedEntryRow& entry, std::size_t column);
    [[nodiscard]] std::optional<std::int64_t> sumOf(std::uint16_t tag) const;

    const FillLimits limits;
    std::vector<ColumnBuilder>& columns;
    std::vector<TagValue> takes;  ///< of each column
    TagTargets targets;
    RowKeys keys;
    ColumnBuilder* parentPath;
    ColumnBuilder* page;
    ColumnBuilder* depth;
    ColumnBuilder* offset;
    ColumnBuilder* entryCount;
    ColumnBuilder* bitDepth;
    ColumnBuilder* colorType;
    ColumnBuilder* partCount;
    ColumnBuilder* dataBytes;
    ColumnBuilder* exifCount;
    ColumnBuilder* gpsCount;
    ColumnBuilder* latitude;
    ColumnBuilder* longitude;
    ColumnBuilder* altitude;
    ColumnBuilder* unknown;
    TagNotes defaults;
    TagNotes misfits;
    TagNotes invalids;
    TagNotes describeds;

    std::shared_ptr<const PackedFile> file;
    std::vector<Family> families;  ///< by the number of the directory
    std::size_t nextDirectory = 0;
    std::uint32_t bitDepthName = kNoRow;
    std::uint32_t colorTypeName = kNoRow;
};

ImagesFiller::ImagesFiller(const TableSchema& schema, std::vector<ColumnBuilder>& tableColumns,
                           const FillLimits& fillLimits)
    : limits(fillLimits),
      columns(tableColumns),
      targets(schema),
      keys(schema, tableColumns, fillLimits.pathBegin),
      parentPath(columnNamed(schema, tableColumns, "parent_path")),
      page(columnNamed(schema, tableColumns, "page")),
      depth(columnNamed(schema, tableColumns, "depth")),
      offset(columnNamed(schema, tableColumns, "dir_offset")),
      entryCount(columnNamed(schema, tableColumns, "entry_count")),
      bitDepth(columnNamed(schema, tableColumns, "BitDepth")),
      colorType(columnNamed(schema, tableColumns, "ColorType")),
      partCount(columnNamed(schema, tableColumns, "strip_or_tile_count")),
      dataBytes(columnNamed(schema, tableColumns, "data_bytes")),
      exifCount(columnNamed(schema, tableColumns, "exif_directories")),
      gpsCount(columnNamed(schema, tableColumns, "gps_directories")),
      latitude(columnNamed(schema, tableColumns, "latitude")),
      longitude(columnNamed(schema, tableColumns, "longitude")),
      altitude(columnNamed(schema, tableColumns, "altitude")),
      unknown(columnNamed(schema, tableColumns, "unknown")),
      defaults(columnNamed(schema, tableColumns, "default_tags")),
      misfits(columnNamed(schema, tableColumns, "misfit_tags")),
      invalids(columnNamed(schema, tableColumns, "invalid_tags")),
      describeds(columnNamed(schema, tableColumns, "described_tags")) {
    for (const Column& column : schema.columns) {
        takes.push_back(column.takes);
    }
    for (const std::uint16_t tag :
         {kStripOffsets, kStripByteCounts, kTileOffsets, kTileByteCounts, kJpegLength}) {
        targets.watch(Kind::primary, tag);
    }
    for (const std::uint16_t tag :
         {kLatitudeRef, kLatitude, kLongitudeRef, kLongitude, kAltitudeRef, kAltitude}) {
        targets.watch(Kind::gps, tag);
    }
}

void ImagesFiller::begin(std::shared_ptr<const PackedFile> nextFile, std::int64_t id) {
    file = std::move(nextFile);
    keys.begin(*file, id);
    nextDirectory = 0;
    if (limits.held) {
        limits.held->assign(file->entries().size(), false);
    }
    bitDepthName = file->findName("BitDepth");
    colorTypeName = file->findName("ColorType");
    const std::span<const PackedDirectoryRow> directories = file->directories();
    emptyForReuse(families);
    families.resize(directories.size());
    for (std::uint32_t number = 0; number < directories.size(); ++number) {
        const PackedDirectoryRow& directory = directories[number];
        if (directory.isKept == 0 || directory.parent == kNoRow) {
            continue;
        }
        Family& family = families[directory.parent];
        const auto join = [number](std::uint32_t& first) {
            first = first == kNoRow ? number : first;
        };
        switch (static_cast<Kind>(directory.kind)) {
            case Kind::exif:
                join(family.exif);
                ++family.exifCount;
                break;
            case Kind::gps:
                join(family.gps);
                ++family.gpsCount;
                break;
            case Kind::interoperability:
                join(family.interoperability);
                break;
            case Kind::primary:
                break;
        }
    }
}

bool ImagesFiller::fillRow(std::size_t row) {
    const std::span<const PackedDirectoryRow> directories = file->directories();
    const auto isImage = [](const PackedDirectoryRow& directory) {
        return directory.isKept != 0 && static_cast<Kind>(directory.kind) == Kind::primary;
    };
    while (nextDirectory < directories.size() && !isImage(directories[nextDirectory])) {
        ++nextDirectory;
    }
    if (nextDirectory == directories.size()) {
        return false;
    }
    const PackedDirectoryRow& directory = directories[nextDirectory];
    const Family& family = families[nextDirectory];
    ++nextDirectory;
    for (TagNotes* notes : {&defaults, &misfits, &invalids, &describeds}) {
        notes->begin(row);
    }
    keys.setDirectory(row, *file, directory);
    setPlace(row, directory);
    if (exifCount != nullptr) {
        exifCount->setInteger(row, family.exifCount);
    }
    if (gpsCount != nullptr) {
        gpsCount->setInteger(row, family.gpsCount);
    }
    setRecordFields(row, directory);
    chooseEntries(directory, family);
    setTags(row);
    setDataSizes(row);
    setPosition(row);
    setUnknown(row, directory);
    return true;
}

void ImagesFiller::setPlace(std::size_t row, const PackedDirectoryRow& directory) {
    const auto set = [row](ColumnBuilder* column, std::uint64_t number) {
        if (column != nullptr && std::in_range<std::int64_t>(number)) {
            column->setInteger(row, static_cast<std::int64_t>(number));
        }
    };
    set(page, directory.index);
    set(offset, directory.position);
    set(entryCount, directory.entryCount);
    std::uint64_t levels = 0;
    for (std::uint32_t parent = directory.parent; parent != kNoRow;
         parent = file->directories()[parent].parent) {
        ++levels;
    }
    set(depth, levels);
    if (parentPath != nullptr && directory.parent != kNoRow) {
        parentPath->setText(row, directoryPath(*file, file->directories()[directory.parent]));
    }
}

void ImagesFiller::setRecordFields(std::size_t row, const PackedDirectoryRow& directory) {
    if (directory.records == kNoRow) {
        return;
    }
    const PackedArrayRow& records = file->arrays()[file->values()[directory.records].content];
    const auto fieldOf = [&](std::uint32_t name) -> const PackedValueRow* {
        const auto field = name == kNoRow ? std::nullopt : file->findField(records.fields, name);
        return field ? &file->fieldOf(records, directory.element, *field) : nullptr;
    };
    const PackedValueRow* const bits = bitDepth != nullptr ? fieldOf(bitDepthName) : nullptr;
    if (bits != nullptr && bits->kind == PackedKind::number) {
        const double number = PackedFile::numberOf(*bits);
        if (number >= 0 && number <= std::numeric_limits<std::int32_t>::max()) {
            bitDepth->setInteger(row, static_cast<std::int64_t>(number));
        }
    }
    const PackedValueRow* const type = colorType != nullptr ? fieldOf(colorTypeName) : nullptr;
    if (type != nullptr && type->kind == PackedKind::text) {
        const std::u16string_view units = file->unitsOf(file->arrays()[type->content]);
        std::string word(units.size(), '?');
        std::transform(units.begin(), units.end(), word.begin(),
                       [](char16_t unit) { return unit < 0x80 ? static_cast<char>(unit) : '?'; });
        colorType->setText(row, word);
    }
}

void ImagesFiller::chooseEntries(const PackedDirectoryRow& directory, const Family& family) {
    const std::span<const PackedDirectoryRow> directories = file->directories();
    targets.clear();
    targets.choose(*file, directory, Kind::primary);
    // TIFF/EP and DNG have the tags of Exif in a primary directory.
    targets.choose(*file, family.exif == kNoRow ? directory : directories[family.exif], Kind::exif);
    if (family.gps != kNoRow) {
        targets.choose(*file, directories[family.gps], Kind::gps);
    }
    const std::uint32_t ofExif =
        family.exif == kNoRow ? kNoRow : families[family.exif].interoperability;
    const std::uint32_t interoperability = ofExif == kNoRow ? family.interoperability : ofExif;
    if (interoperability != kNoRow) {
        targets.choose(*file, directories[interoperability], Kind::interoperability);
    }
}

void ImagesFiller::setTags(std::size_t row) {
    targets.forEach(*file, [&](const PackedEntryRow& entry, std::span<const std::size_t> numbers) {
        if (entry.isDefault != 0 && !numbers.empty()) {
            defaults.add(entry.tag);
        }
        bool isWhole = false;
        bool isNoted = false;
        for (const std::size_t column : numbers) {
            const Taken taken = setTag(row, entry, column);
            isWhole = isWhole || taken == Taken::whole;
            if (TagNotes* const notes = notesOf(taken)) {
                notes->add(entry.tag);
                isNoted = true;
            }
        }
        if (isWhole && !isNoted) {
            hold(entry);
        }
    });
}

/// The tags of which the same became; null for what is not told of.
TagNotes* ImagesFiller::notesOf(Taken taken) noexcept {
    switch (taken) {
        case Taken::misfit:
            return &misfits;
        case Taken::invalid:
            return &invalids;
        case Taken::described:
            return &describeds;
        case Taken::whole:
        case Taken::partly:
        case Taken::nothing:
            break;
    }
    return nullptr;
}

/// Tells that columns hold the value of an entry.
void ImagesFiller::hold(const PackedEntryRow& entry) {
    if (limits.held) {
        (*limits.held)[static_cast<std::size_t>(&entry - file->entries().data())] = true;
    }
}

Taken ImagesFiller::setTag(std::size_t row, const PackedEntryRow& entry, std::size_t column) {
    const EntryItems items(*file, entry);
    if (items.kind() == ItemKind::none) {
        return fieldTypeWidth(entry.fieldType) > 0 ? Taken::described : Taken::misfit;
    }
    if (entry.droppedBy != kNoRow) {
        return Taken::misfit;
    }
    if (items.size() == 0) {
        return Taken::nothing;
    }
    if (isTooLong(items, limits)) {
        return Taken::described;
    }
    return takeValue(takes[column],
                     {items, entry, file->name(entry.valueName), columns[column], row});
}

std::optional<std::int64_t> ImagesFiller::sumOf(std::uint16_t tag) const {
    const PackedEntryRow* const entry = targets.chosen(*file, Kind::primary, tag);
    if (entry == nullptr || entry->isDefault != 0) {
        return std::nullopt;
    }
    const EntryItems items(*file, *entry);
    std::int64_t sum = 0;
    for (std::size_t index = 0; index < items.size(); ++index) {
        const auto size = items.integer(index);
        if (!size || *size < 0 || __builtin_add_overflow(sum, *size, &sum)) {
            return std::nullopt;
        }
    }
    return items.size() > 0 ? std::optional(sum) : std::nullopt;
}

void ImagesFiller::setDataSizes(std::size_t row) {
    const auto stored = [this](std::uint16_t tag) {
        const PackedEntryRow* const entry = targets.chosen(*file, Kind::primary, tag);
        return entry != nullptr && entry->isDefault == 0 ? entry : nullptr;
    };
    const PackedEntryRow* const tiles = stored(kTileOffsets);
    const PackedEntryRow* const parts = tiles != nullptr ? tiles : stored(kStripOffsets);
    if (partCount != nullptr && parts != nullptr && std::in_range<std::int64_t>(parts->count)) {
        partCount->setInteger(row, static_cast<std::int64_t>(parts->count));
    }
    if (dataBytes == nullptr) {
        return;
    }
    const auto listed = sumOf(tiles != nullptr ? kTileByteCounts : kStripByteCounts);
    const auto stream = sumOf(kJpegLength);
    std::int64_t sum = 0;
    if ((listed || (stream && parts == nullptr)) &&
        !__builtin_add_overflow(listed.value_or(0), stream.value_or(0), &sum)) {
        dataBytes->setInteger(row, sum);
    }
}

void ImagesFiller::setCoordinate(ColumnBuilder* column, std::size_t row, std::uint16_t tag,
                                 std::uint16_t reference, std::string_view directions,
                                 double most) {
    const PackedEntryRow* const entry = targets.chosen(*file, Kind::gps, tag);
    const PackedEntryRow* const direction = targets.chosen(*file, Kind::gps, reference);
    if (column == nullptr || entry == nullptr || direction == nullptr) {
        return;
    }
    const auto degrees = degreesOf(EntryItems(*file, *entry), most);
    const EntryItems letters(*file, *direction);
    const std::size_t side = letters.size() > 0 && isOneByteWide(letters)
                                 ? directions.find(letters.bytes().front())
                                 : std::string_view::npos;
    if (degrees && side != std::string_view::npos) {
        column->setNumber(row, side == 0 || *degrees == 0 ? *degrees : -*degrees);
    }
}

void ImagesFiller::setAltitude(std::size_t row) {
    const PackedEntryRow* const entry = targets.chosen(*file, Kind::gps, kAltitude);
    if (altitude == nullptr || entry == nullptr) {
        return;
    }
    const PackedEntryRow* const reference = targets.chosen(*file, Kind::gps, kAltitudeRef);
    const EntryItems items(*file, *entry);
    const auto metres = items.size() == 1 ? items.number(0) : std::nullopt;
    const auto side = reference != nullptr ? EntryItems(*file, *reference).integer(0)
                                           : std::optional<std::int64_t>(0);
    if (metres && std::isfinite(*metres) && side && (*side == 0 || *side == 1)) {
        altitude->setNumber(row, *side == 0 || *metres == 0 ? *metres : -*metres);
    }
}

void ImagesFiller::setPosition(std::size_t row) {
    constexpr double kPole = 90;
    constexpr double kHalfTurn = 180;
    setCoordinate(latitude, row, kLatitude, kLatitudeRef, "NS", kPole);
    setCoordinate(longitude, row, kLongitude, kLongitudeRef, "EW", kHalfTurn);
    setAltitude(row);
}

void ImagesFiller::setUnknown(std::size_t row, const PackedDirectoryRow& directory) {
    if (unknown == nullptr) {
        return;
    }
    bool isBegun = false;
    FillLimits room = limits;  // for all of them together, which are one value
    const std::span<const PackedEntryRow> entries = file->entries();
    for (std::uint32_t number = directory.firstEntry; number != kNoRow;
         number = entries[number].next) {
        if (file->name(entries[number].name).empty()) {
            if (!std::exchange(isBegun, true)) {
                unknown->beginList(row);
            }
            appendUnknown(entries[number], room);
        }
    }
}

/// Appends an entry, with its text or numbers as long as there is room.
void ImagesFiller::appendUnknown(const PackedEntryRow& entry, FillLimits& room) {
    ColumnBuilder& shown = unknown->items();
    const std::size_t row = shown.size();
    shown.setStruct(row);
    enum class Member : std::size_t { tag, type, count, position, text, numbers };
    const auto memberOf = [&shown](Member member) -> ColumnBuilder& {
        return shown.member(static_cast<std::size_t>(member));
    };
    const auto set = [&memberOf, row](Member member, std::uint64_t value) {
        if (std::in_range<std::int64_t>(value)) {
            memberOf(member).setInteger(row, static_cast<std::int64_t>(value));
        }
    };
    set(Member::tag, entry.tag);
    set(Member::type, entry.fieldType);
    set(Member::count, entry.count);
    set(Member::position, entry.valuePosition);
    const EntryItems items(*file, entry);
    const bool isText = items.kind() == ItemKind::characters;
    std::uint64_t& left = isText ? room.valueBytes : room.valueItems;
    if (items.kind() == ItemKind::none || items.size() > left) {
        return;
    }
    left -= items.size();
    if (isText) {
        memberOf(Member::text).setText(row, characterText(items.bytes()).text);
        return;
    }
    ColumnBuilder& list = memberOf(Member::numbers);
    list.beginList(row);
    for (std::size_t index = 0; index < items.size(); ++index) {
        if (const auto value = items.number(index)) {
            list.items().appendNumber(*value);
        } else {
            list.items().appendNull();
        }
    }
}

}  // namespace

std::unique_ptr<RowFiller> makeImagesFiller(const TableSchema& schema,
                                            std::vector<ColumnBuilder>& columns,
                                            const FillLimits& limits) {
    return std::make_unique<ImagesFiller>(schema, columns, limits);
}

}  // namespace ifdsweep

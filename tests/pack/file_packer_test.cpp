// What a packed file holds of a file that was read: rows as they were told, values as they are, and
// which of them go together.

#include "pack/file_packer.h"

#include <algorithm>
#include <cstring>
#include <string>
#include <string_view>
#include <vector>

#include <gtest/gtest.h>

#include "ifdsweep/host.h"
#include "io/sanitized.h"
#include "pack/packed_files.h"
#include "read/field_selection.h"
#include "read/messages.h"
#include "support/chunk_builder.h"
#include "support/packed_walk.h"
#include "support/tags.h"
#include "support/tiff_builder.h"
#include "support/tiff_matrix.h"

namespace {

using fixture::ascii;
using fixture::Bytes;
using fixture::Directory;
using fixture::longs;
using fixture::numbers;
using fixture::packed;
using fixture::Packing;
using fixture::pointer;
using fixture::shorts;
using ifdsweep::kNoRow;
using ifdsweep::PackedArrayRow;
using ifdsweep::PackedDirectoryRow;
using ifdsweep::PackedEntryRow;
using ifdsweep::PackedFile;
using ifdsweep::PackedKind;
using ifdsweep::PackedValueRow;
using Lines = std::vector<std::string>;

Bytes tiff(std::initializer_list<Directory> directories, fixture::Format format = {}) {
    fixture::TiffBuilder builder(format);
    for (const Directory& directory : directories) {
        builder.add(directory);
    }
    return builder.build().bytes;
}

std::string pathOf(const PackedFile& file, std::uint32_t row) {
    const PackedDirectoryRow& directory = file.directories()[row];
    const std::string index = std::to_string(directory.index);
    if (directory.parent == kNoRow) {
        return index;
    }
    return pathOf(file, directory.parent) + '/' + std::string(file.name(directory.pointerName)) +
           '[' + std::to_string(directory.chainIndex) + "]/" + index;
}

const PackedArrayRow& arrayOf(const PackedFile& file, const PackedValueRow& value) {
    return file.arrays()[value.content];
}

/// The value of a field of the record of a directory.
const PackedValueRow& fieldOf(const PackedFile& file, std::uint32_t directory,
                              std::string_view name) {
    const PackedDirectoryRow& row = file.directories()[directory];
    const PackedArrayRow& records = arrayOf(file, file.values()[row.records]);
    return file.fieldOf(records, row.element,
                        file.findField(records.fields, file.findName(name)).value());
}

/// The directories that records show, record by record: of the main stream's records, then of the
/// records below them.
Lines shownDirectories(const PackedFile& file) {
    Lines lines;
    for (const PackedValueRow& value : file.values()) {
        if (value.kind == PackedKind::records && arrayOf(file, value).elements != kNoRow) {
            const PackedArrayRow& array = arrayOf(file, value);
            for (std::uint32_t element = 0; element < array.rows; ++element) {
                const std::uint32_t row = file.elements()[array.elements + element];
                EXPECT_EQ(&file.values()[file.directories()[row].records], &value);
                EXPECT_EQ(file.directories()[row].element, element);
                lines.push_back(pathOf(file, row));
            }
        }
    }
    return lines;
}

/// Of an entry whose elements a field's numbers are its tag, of others none.
std::string source(const PackedFile& file, std::string_view field) {
    const PackedValueRow& value = fieldOf(file, 0, field);
    return value.isOfEntry != 0 ? std::to_string(file.entries()[value.entry].tag) : "own";
}

const Directory kSmall{shorts(256, {4})};
const Directory kNamed{ascii(271, std::string_view("maker\0", 6))};

TEST(FilePacker, PacksRecordsAsTheyAre) {
    for (const fixture::Format format : fixture::kFormats) {
        const Directory exif{numbers(33434, fixture::kRational, {1, 250}),
                             pointer(40965, {{{ascii(1, std::string_view("R98\0", 4))}}})};
        const Directory page{shorts(258, {8, 8, 8}),
                             ascii(270, std::string_view("text\0", 5)),
                             numbers(282, fixture::kRational, {72, 1}),
                             shorts(320, {0, 1, 2, 3, 4, 5}),
                             pointer(330, {{kSmall, kNamed}, {kNamed}}),
                             shorts(339, {1, 2, 3}),
                             pointer(34665, {{exif}}),
                             numbers(37724, fixture::kByte, {1, 2, 3, 4, 5, 6, 7, 8, 9}),
                             shorts(60000, {7, 8})};
        Packing packing;
        const PackedFile file = packing.pack(tiff({page, kSmall, page}, format));
        EXPECT_EQ(fixture::packedDifference(file, packing.outcome), std::nullopt);
        EXPECT_EQ(shownDirectories(file).size(), 13U);
    }
}

TEST(FilePacker, PacksWhatIsKnownOfTheFile) {
    Packing packing;
    packing.read(tiff({kSmall}));
    packing.outcome.stamp = ifdsweep::FileStamp{10, -20, 30, 40};
    const PackedFile file = packing.packer.pack(packing.outcome);
    EXPECT_EQ(file.textOf(file.file().path), "packed.tif");
    EXPECT_EQ(file.file().hasStamp, 1U);
    EXPECT_EQ(file.file().size, 10U);
    EXPECT_EQ(file.file().modified, -20);
    EXPECT_EQ(file.file().changed, 30);
    EXPECT_EQ(file.file().inode, 40U);
    EXPECT_EQ(file.file().isImage, 1U);
}

TEST(FilePacker, LeavesNothingOfAFileThatIsLeftAlone) {
    const PackedFile file = packed(fixture::bytesOf("just a text"), {.imagesOnly = true});
    EXPECT_EQ(file.textOf(file.file().path), "packed.tif");
    EXPECT_EQ(file.file().isImage, 0U);
    EXPECT_TRUE(file.streams().empty());
    EXPECT_TRUE(file.values().empty());
}

TEST(FilePacker, PacksAnErrorAndWhatWasFoundInstead) {
    const PackedFile file = packed(fixture::bytesOf("just a text\n"));
    ASSERT_EQ(file.streams().size(), 1U);
    const auto& stream = file.streams()[0];
    EXPECT_EQ(file.textOf(stream.found), "a text file");
    EXPECT_EQ(stream.records, kNoRow);
    ASSERT_NE(stream.error, kNoRow);
    EXPECT_EQ(file.name(file.messages()[stream.error].id),
              "Velmora:pixlore:ifdsweep:badEndianness");
}

TEST(FilePacker, PacksEntriesAsTheyWereTold) {
    const Bytes bytes =
        tiff({{ascii(271, std::string_view("maker\0", 6)), shorts(259, {32773}),
               shorts(262, {2, 3}).withCount(0), numbers(60000, fixture::kLong8, {-1, 2})}});
    const PackedFile file = packed(bytes);
    const auto entries = file.entries();
    ASSERT_GE(entries.size(), 4U);
    EXPECT_EQ(file.name(entries[0].name), "Make");
    EXPECT_EQ(entries[0].fieldType, fixture::kAscii);
    EXPECT_EQ(entries[0].count, 6U);
    EXPECT_EQ(entries[0].position, 10U);
    EXPECT_EQ(entries[0].isInline, 0U);
    EXPECT_EQ(entries[0].isLoaded, 1U);
    EXPECT_EQ(file.textOf(entries[0].bytes), std::string_view("maker\0", 6));
    EXPECT_EQ(file.name(entries[1].valueName), "PackBits");
    EXPECT_EQ(entries[1].isInline, 1U);
    EXPECT_EQ(file.name(entries[2].droppedBy), "");
    EXPECT_EQ(entries[2].bytes.size, 0U);
    EXPECT_EQ(entries[3].name, kNoRow);
    EXPECT_EQ(entries[3].bytes.size, 16U);
    for (const PackedEntryRow& entry : entries) {
        EXPECT_EQ(entry.bytes.begin % 8, 0U);
    }
    // The defaults follow, with their numbers.
    const PackedEntryRow& last = entries.back();
    EXPECT_EQ(last.isDefault, 1U);
    EXPECT_EQ(last.bytes.size, last.count * sizeof(double));
}

TEST(FilePacker, ChainsTheEntriesOfADirectoryAroundThoseBelowIt) {
    const PackedFile file = packed(
        tiff({{shorts(256, {1}), pointer(34665, {{{shorts(34850, {2})}}}), shorts(34864, {1})}}));
    ASSERT_EQ(file.directories().size(), 2U);
    const PackedDirectoryRow& outer = file.directories()[0];
    std::vector<std::uint16_t> tags;
    for (std::uint32_t row = outer.firstEntry; row != kNoRow; row = file.entries()[row].next) {
        if (file.entries()[row].isDefault == 0) {
            tags.push_back(file.entries()[row].tag);
        }
        EXPECT_EQ(file.entries()[row].directory, 0U);
    }
    EXPECT_EQ(tags, (std::vector<std::uint16_t>{256, 34665, 34864}));
    const PackedDirectoryRow& inner = file.directories()[1];
    EXPECT_EQ(inner.parent, 0U);
    EXPECT_EQ(inner.pointerTag, 34665U);
    EXPECT_EQ(inner.entriesBefore, 2U);
    EXPECT_EQ(inner.entriesUntilEnd, 3U);
    EXPECT_EQ(inner.ownEntries, 1U);
    EXPECT_EQ(outer.entriesBefore, 0U);
    EXPECT_EQ(outer.entriesUntilEnd, file.entries().size());
    EXPECT_EQ(inner.isKept, 1U);
}

TEST(FilePacker, PairsRecordsWithTheDirectoriesThatTheyShow) {
    const Directory dropped{shorts(256, {})};
    const Directory exif{shorts(34850, {2})};
    const Directory outer{pointer(330, {{kNamed, kNamed}, {}, {kNamed}}), pointer(34665, {{exif}})};
    EXPECT_EQ(shownDirectories(packed(tiff({outer, kNamed, outer}))),
              (Lines{"0", "1", "2", "0/DigitalCamera[0]/0", "2/DigitalCamera[0]/0",
                     "0/SubIFDs[0]/0", "0/SubIFDs[0]/1", "0/SubIFDs[1]/0", "2/SubIFDs[0]/0",
                     "2/SubIFDs[0]/1", "2/SubIFDs[1]/0"}));
}

TEST(FilePacker, PairsTheRecordsOfTheLastPointerThatLeadsAnywhere) {
    const auto exif = [](std::int64_t program) {
        return pointer(34665, {{{shorts(34850, {program})}}});
    };
    const PackedFile file = packed(tiff({{exif(1), exif(2), pointer(34665, {{}})}}));
    EXPECT_EQ(shownDirectories(file), (Lines{"0", "0/DigitalCamera[0]/0"}));
    ASSERT_EQ(file.directories().size(), 3U);
    EXPECT_EQ(file.directories()[1].records, kNoRow);
    EXPECT_NE(file.directories()[2].records, kNoRow);
}

TEST(FilePacker, PairsWhatAFieldSelectionLeaves) {
    Packing packing;
    packing.read(
        tiff({{ascii(271, std::string_view("maker\0", 6)), pointer(330, {{kSmall}, {kNamed}}),
               pointer(34665, {{{shorts(34850, {2})}}})}}));
    {
        const ifdsweep::Host::Scope scope(packing.host);
        packing.outcome.result =
            ifdsweep::selectFields(std::move(packing.outcome.result), {{"Make", {}}});
    }
    const PackedFile file = packing.packer.pack(packing.outcome);
    EXPECT_EQ(fixture::packedDifference(file, packing.outcome), std::nullopt);
    EXPECT_EQ(shownDirectories(file), (Lines{"0", "0/SubIFDs[1]/0"}));
}

TEST(FilePacker, SaysWhichNumbersAreThoseOfAnEntry) {
    const PackedFile file =
        packed(tiff({{shorts(258, {8, 8, 8}), longs(273, {8, 4294967295}),
                      numbers(282, fixture::kRational, {72, 1}), shorts(277, {3}),
                      shorts(320, {1, 2, 3}), fixture::floats(340, {1.0F}), longs(278, {9}),
                      numbers(278, fixture::kRational, {9, 1})}}));
    EXPECT_EQ(source(file, "BitsPerSample"), "258");
    EXPECT_EQ(source(file, "StripOffsets"), "273");
    EXPECT_EQ(source(file, "SamplesPerPixel"), "277");
    EXPECT_EQ(source(file, "XResolution"), "own");
    EXPECT_EQ(source(file, "Colormap"), "own");
    EXPECT_EQ(source(file, "SMinSampleValue"), "own");
    EXPECT_EQ(source(file, "Orientation"), "own");
    EXPECT_EQ(source(file, "FileSize"), "own");
    // The entry that a number of it comes from is the last.
    EXPECT_EQ(source(file, "RowsPerStrip"), "own");
}

TEST(FilePacker, SaysWhichEntryAFieldIsOf) {
    const PackedFile file = packed(tiff({{numbers(282, fixture::kRational, {72, 1})}}));
    const std::uint32_t resolution = fieldOf(file, 0, "XResolution").entry;
    ASSERT_NE(resolution, kNoRow);
    EXPECT_EQ(file.entries()[resolution].fieldType, fixture::kRational);
    const std::uint32_t orientation = fieldOf(file, 0, "SamplesPerPixel").entry;
    ASSERT_NE(orientation, kNoRow);
    EXPECT_EQ(file.entries()[orientation].isDefault, 1U);
    EXPECT_EQ(fieldOf(file, 0, "FileSize").entry, kNoRow);
}

TEST(FilePacker, FindsNamesAndNoOthers) {
    const PackedFile file = packed(tiff({kNamed}));
    ASSERT_FALSE(file.names().empty());
    for (std::uint32_t row = 0; row < file.names().size(); ++row) {
        EXPECT_EQ(file.findName(file.name(row)), row);
    }
    EXPECT_EQ(file.findName("Mak"), kNoRow);
    EXPECT_EQ(file.findName(""), kNoRow);
    EXPECT_EQ(file.name(kNoRow), "");
}

TEST(FilePacker, PacksWarningsWithTheirPlaces) {
    const PackedFile file = packed(
        tiff({kSmall, {numbers(282, fixture::kRational, {1, 0}), shorts(258, {}).withType(99)}}));
    ASSERT_EQ(file.messages().size(), 2U);
    const auto& message = file.messages()[0];
    EXPECT_EQ(file.name(message.id), "Velmora:pixlore:ifdsweep:badTagValueDivisionByZero");
    EXPECT_EQ(file.textOf(message.path), "1");
    EXPECT_EQ(message.hasTag, 1U);
    EXPECT_EQ(message.tag, 282U);
    EXPECT_EQ(message.hasOffset, 1U);
    ASSERT_EQ(message.argumentCount, 1U);
    EXPECT_EQ(file.textOf(file.arguments()[message.firstArgument].text), "XResolution");
    const auto& second = file.messages()[1];
    EXPECT_EQ(file.arguments()[second.firstArgument].integer, 99);
    EXPECT_EQ(second.path.begin, message.path.begin);
    EXPECT_EQ(file.name(file.entries()[file.directories()[1].firstEntry + 1].droppedBy),
              "Velmora:pixlore:ifdsweep:unrecognizedTagFormatId");
}

TEST(FilePacker, PacksTheStreamsOfAContainerEachWithItsRows) {
    const Bytes exif = tiff({kNamed, kSmall});
    const Bytes other = tiff({{shorts(258, {}).withType(99)}, kNamed, kNamed});
    const Bytes png = fixture::pngFile({fixture::pngChunk("eXIf", exif),
                                        fixture::pngChunk("eXIf", fixture::bytesOf("no TIFF")),
                                        fixture::pngChunk("eXIf", other)});
    Packing packing;
    const PackedFile file = packing.pack(png, {.streams = ifdsweep::StreamChoice::all});
    EXPECT_EQ(fixture::packedDifference(file, packing.outcome), std::nullopt);
    Lines lines;
    for (const auto& stream : file.streams()) {
        lines.push_back(
            std::string(file.textOf(stream.container)) + ' ' +
            std::string(file.textOf(stream.name)) + ' ' + std::to_string(stream.firstDirectory) +
            '+' + std::to_string(stream.directoryCount) + (stream.error != kNoRow ? " error" : ""));
    }
    EXPECT_EQ(lines, (Lines{"png eXIf 0+2", "png eXIf 2 2+0 error", "png eXIf 3 2+3"}));
    EXPECT_EQ(file.directories()[2].stream, 2U);
    EXPECT_EQ(file.directories()[2].entriesBefore, 0U);
}

TEST(FilePacker, StoresEqualTextsAndFieldListsOnce) {
    fixture::TiffBuilder builder({});
    for (int page = 0; page < 100; ++page) {
        builder.add({ascii(305, std::string_view("software of many pages\0", 23)),
                     pointer(330, {{kNamed}})});
    }
    Packing packing;
    const PackedFile file = packing.pack(builder.build().bytes);
    EXPECT_EQ(fixture::packedDifference(file, packing.outcome), std::nullopt);
    const auto textRow = [&](std::uint32_t directory, std::string_view name) {
        return fieldOf(file, directory, name).content;
    };
    EXPECT_EQ(textRow(0, "Software"), textRow(2, "Software"));
    EXPECT_EQ(textRow(0, "Filename"), textRow(198, "Filename"));
    EXPECT_EQ(file.fieldLists().size(), 2U);
}

TEST(FilePacker, StoresTextsThatAreLongerThanNamesForEachThatHasThem) {
    const auto rowsOf = [](std::size_t length) {
        const Directory page{ascii(305, std::string(length, 's') + '\0')};
        const PackedFile file = packed(tiff({page, page}));
        return std::pair{fieldOf(file, 0, "Software").content,
                         fieldOf(file, 1, "Software").content};
    };
    const auto [first, second] = rowsOf(4096);
    EXPECT_EQ(first, second);
    const auto [longer, another] = rowsOf(4097);
    EXPECT_NE(longer, another);
}

TEST(FilePacker, PacksTheSameFileToTheSameBytes) {
    const Bytes page = tiff(
        {{ascii(271, std::string_view("maker\0", 6)), pointer(330, {{kSmall, kNamed}, {kNamed}}),
          numbers(60000, fixture::kByte, {1, 2, 3})}});
    const PackedFile first = packed(page);
    Packing packing;
    static_cast<void>(packing.pack(tiff({kNamed, kSmall, {shorts(300, {1, 2, 3})}})));
    static_cast<void>(packing.pack(fixture::bytesOf("II*")));
    const PackedFile second = packing.pack(page);
    EXPECT_TRUE(std::ranges::equal(first.bytes(), second.bytes()));
}

TEST(FilePacker, PacksEveryFileAsIfItWereTheFirst) {
    // The names of the second end early, those of the third go on otherwise, the fourth has many.
    std::vector<fixture::Entry> many;
    for (const std::uint16_t tag :
         fixture::Codes{254, 256, 257, 258, 259, 262, 266, 269, 270, 271, 272, 305}) {
        many.push_back(shorts(tag, {1}));
    }
    const std::vector<Bytes> files{
        tiff({kNamed, {ascii(272, std::string_view("model\0", 6)), shorts(258, {8, 8, 8})}}),
        tiff({kNamed}),
        tiff({kNamed, {ascii(305, std::string_view("x\0", 2)), pointer(34665, {{kSmall}})}}),
        tiff({Directory(many), {pointer(330, {{kSmall}, {kNamed}})}}),
        fixture::bytesOf("no image")};
    Packing packing;
    for (const Bytes& before : files) {
        for (const Bytes& bytes : files) {
            static_cast<void>(packing.pack(before));
            const PackedFile file = packing.pack(bytes);
            EXPECT_TRUE(std::ranges::equal(file.bytes(), packed(bytes).bytes()));
            EXPECT_TRUE(PackedFile::parse(file.bytes()));
        }
    }
}

TEST(FilePacker, PairsTheFirstDirectoriesWhereTheBudgetHasNoRoomForMoreRecords) {
    fixture::TiffBuilder builder({});
    for (int page = 0; page < 200; ++page) {
        builder.add(kNamed);
    }
    Packing packing;
    const PackedFile file = packing.pack(builder.build().bytes, {.valueBudget = 50000});
    const PackedArrayRow& records = arrayOf(file, file.values()[file.streams()[0].records]);
    ASSERT_GT(records.rows, 0U);
    ASSERT_LT(records.rows, file.directories().size());
    ASSERT_NE(records.elements, kNoRow);
    for (std::uint32_t row = 0; row < file.directories().size(); ++row) {
        EXPECT_EQ(file.directories()[row].records != kNoRow, row < records.rows);
        EXPECT_EQ(file.directories()[row].element, row < records.rows ? row : 0);
    }
    EXPECT_TRUE(PackedFile::parse(file.bytes()));
}

TEST(FilePacker, PairsNothingWhereALaterPointerMayHaveBeenDropped) {
    // A pointer is told before it is followed. If it is dropped after that, there is a warning, and
    // the record has what the pointer before it leads to.
    const auto exif = [](fixture::Entry entry) { return pointer(34665, {{{std::move(entry)}}}); };
    const fixture::Entry sound = shorts(34850, {1});
    const fixture::Entry warned = numbers(33434, fixture::kRational, {1, 0});
    EXPECT_EQ(shownDirectories(packed(tiff({{exif(sound), exif(warned)}}))), Lines{"0"});
    EXPECT_EQ(shownDirectories(packed(tiff({{exif(warned), exif(sound)}}))),
              (Lines{"0", "0/DigitalCamera[0]/0"}));
    EXPECT_EQ(shownDirectories(packed(tiff({{exif(warned)}}))),
              (Lines{"0", "0/DigitalCamera[0]/0"}));
}

TEST(FilePacker, ShowsImageSourceDataWhereTheEntryHasIt) {
    const PackedFile file =
        packed(tiff({{numbers(37724, fixture::kByte, {1, 2, 3, 4, 5, 6, 7, 8, 9})}}));
    const PackedValueRow& value = fieldOf(file, 0, "ImageSourceData");
    ASSERT_EQ(value.kind, PackedKind::bytes);
    ASSERT_NE(value.entry, kNoRow);
    EXPECT_EQ(arrayOf(file, value).begin, file.entries()[value.entry].bytes.begin);
}

TEST(FilePacker, KeepsNoEntryThatThereIsNoMemoryFor) {
    if (ifdsweep::kIsSanitized) {
        GTEST_SKIP() << "a sanitizer takes this for a mistake";
    }
    constexpr std::size_t kMoreThanThereIs = std::size_t{1} << 62U;
    const std::uint8_t byte = 0;
    const ifdsweep::DirectoryFacts directory{};
    ifdsweep::EntryFacts entry{};
    entry.tag = 60000;
    entry.fieldType = fixture::kByte;
    entry.count = kMoreThanThereIs;
    entry.isLoaded = true;
    entry.bytes = {&byte, kMoreThanThereIs};
    ifdsweep::FilePacker packer;
    packer.begin();
    packer.directoryBegins(directory);
    EXPECT_ANY_THROW(packer.entry(directory, entry));
    ifdsweep::Outcome outcome;
    outcome.error = qxMessage(ifdsweep::kOutOfMemoryId, {});
    const PackedFile file = packer.pack(outcome);
    EXPECT_TRUE(file.entries().empty());
    EXPECT_EQ(file.directories().size(), 1U);
    EXPECT_TRUE(PackedFile::parse(file.bytes()));
}

TEST(FilePacker, GoesOnWhereTheWalkBrokeOff) {
    // The error comes inside the second directory, whose table is cut.
    Bytes bytes = tiff({kNamed, {shorts(256, {1}), shorts(257, {2})}});
    bytes.resize(bytes.size() - 20);
    Packing packing;
    const PackedFile file = packing.pack(bytes, {.reading = ifdsweep::ReadingMode::contract});
    ASSERT_EQ(file.streams().size(), 1U);
    EXPECT_NE(file.streams()[0].error, kNoRow);
    EXPECT_EQ(file.directories().size(), 1U);
    EXPECT_EQ(file.directories()[0].records, kNoRow);
}

}  // namespace

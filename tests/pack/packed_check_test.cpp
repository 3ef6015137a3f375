// Bytes that may be a packed file: what was packed is taken, and what is taken can be walked to its
// last row.

#include "pack/packed_check.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <functional>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "pack/packed_files.h"
#include "pack/packed_layout.h"
#include "support/chunk_builder.h"
#include "support/packed_walk.h"
#include "support/tiff_builder.h"

namespace {

using fixture::ascii;
using fixture::Directory;
using fixture::numbers;
using fixture::pointer;
using fixture::shorts;
using ifdsweep::kNoRow;
using ifdsweep::PackedFile;
using ifdsweep::PackedHead;
using ifdsweep::PackedTable;
using Block = std::vector<std::byte>;

Block blockOf(const PackedFile& file) {
    return {file.bytes().begin(), file.bytes().end()};
}

/// A file with every kind of value and message, in two streams and a third that fails.
Block everything() {
    const Directory exif{numbers(33434, fixture::kRational, {1, 250}), shorts(34850, {2})};
    const Directory page{shorts(258, {8, 8, 8}).withCount(2),
                         ascii(271, std::string_view("maker\0", 6)),
                         ascii(272, std::string_view("maker\0", 6)),
                         numbers(282, fixture::kRational, {72, 1}),
                         numbers(283, fixture::kRational, {1, 0, 2, 1}),
                         pointer(330, {{exif, exif}, {{shorts(256, {1})}}}),
                         shorts(339, {1, 2}),
                         pointer(34665, {{exif}}),
                         numbers(37724, fixture::kByte, {1, 2, 3, 4, 5, 6, 7, 8, 9}),
                         shorts(60000, {7, 8}),
                         shorts(60001, {1}).withType(99)};
    const auto stream = fixture::TiffBuilder({}).add(page).add(exif).build().bytes;
    const auto png = fixture::pngFile({fixture::pngChunk("eXIf", stream),
                                       fixture::pngChunk("eXIf", fixture::bytesOf("no TIFF")),
                                       fixture::pngChunk("eXIf", stream)});
    return blockOf(fixture::packed(png, {.streams = ifdsweep::StreamChoice::all}));
}

/// One of a table's rows, to be damaged.
template <class Row>
Row& rowOf(Block& block, PackedTable table, std::size_t number = 0) {
    const auto& head = *static_cast<PackedHead*>(static_cast<void*>(block.data()));
    return static_cast<Row*>(static_cast<void*>(block.data() + head[table].begin))[number];
}

/// The first value of a kind that satisfies a condition.
ifdsweep::PackedValueRow& valueOf(
    Block& block, ifdsweep::PackedKind kind,
    const std::function<bool(const ifdsweep::PackedValueRow&)>& isIt = [](const auto&) {
        return true;
    }) {
    auto& head = *static_cast<PackedHead*>(static_cast<void*>(block.data()));
    for (std::size_t row = 0; row < head[PackedTable::values].count; ++row) {
        auto& value = rowOf<ifdsweep::PackedValueRow>(block, PackedTable::values, row);
        if (value.kind == kind && isIt(value)) {
            return value;
        }
    }
    throw std::logic_error("no such value");
}

ifdsweep::PackedArrayRow& arrayOf(Block& block, const ifdsweep::PackedValueRow& value) {
    return rowOf<ifdsweep::PackedArrayRow>(block, PackedTable::arrays, value.content);
}

TEST(PackedCheck, TakesWhatWasPackedAsItIs) {
    const Block block = everything();
    const auto file = PackedFile::parse(block);
    ASSERT_TRUE(file);
    EXPECT_TRUE(std::ranges::equal(file->bytes(), block));
    EXPECT_EQ(fixture::walkEverything(*file), fixture::walkEverything(*PackedFile::parse(block)));
}

TEST(PackedCheck, TakesFilesThatHaveNothing) {
    EXPECT_TRUE(PackedFile::parse(blockOf(fixture::packed({}))));
    EXPECT_TRUE(PackedFile::parse(
        blockOf(fixture::packed(fixture::bytesOf("a text"), {.imagesOnly = true}))));
}

TEST(PackedCheck, TakesNothingThatIsCutOrLonger) {
    Block block = everything();
    for (std::size_t size = 0; size < block.size(); ++size) {
        EXPECT_FALSE(PackedFile::parse(std::span(block).first(size))) << size;
    }
    block.push_back(std::byte{0});
    EXPECT_FALSE(PackedFile::parse(block));
}

TEST(PackedCheck, LeadsNowhereWhateverByteIsChanged) {
    const Block block = everything();
    std::size_t taken = 0;
    for (std::size_t position = 0; position < block.size(); ++position) {
        for (const int mask : {0x01, 0x02, 0x04, 0x08, 0x10, 0x20, 0x40, 0x80, 0xFF}) {
            Block changed = block;
            changed[position] ^= static_cast<std::byte>(mask);
            if (const auto file = PackedFile::parse(changed)) {
                static_cast<void>(fixture::walkEverything(*file));
                ++taken;
            }
        }
    }
    // Bytes of values, positions and texts may be any.
    EXPECT_GT(taken, 0U);
    EXPECT_LT(taken, block.size() * 9);
}

TEST(PackedCheck, LeadsNowhereWhateverWordIsExchangedForAnother) {
    const Block block = everything();
    for (std::size_t position = sizeof(PackedHead); position + 4 <= block.size(); position += 4) {
        for (const std::uint32_t word : {0U, 1U, 2U, 255U, 0x7FFFFFFFU, 0xFFFFFFFEU, kNoRow}) {
            Block changed = block;
            std::memcpy(changed.data() + position, &word, sizeof word);
            if (const auto file = PackedFile::parse(changed)) {
                static_cast<void>(fixture::walkEverything(*file));
            }
        }
    }
}

struct Damage {
    const char* name;
    std::function<void(Block&)> apply;
};

class DamagedFile : public testing::TestWithParam<Damage> {};

TEST_P(DamagedFile, IsNoPackedFile) {
    Block block = everything();
    GetParam().apply(block);
    EXPECT_FALSE(PackedFile::parse(block));
}

PackedHead& headOf(Block& block) {
    return *static_cast<PackedHead*>(static_cast<void*>(block.data()));
}

template <class Row, auto member, class Number>
std::function<void(Block&)> set(PackedTable table, std::size_t row, Number number) {
    return [=](Block& block) {
        rowOf<Row>(block, table, row).*member =
            static_cast<std::remove_reference_t<decltype(rowOf<Row>(block, table, row).*member)>>(
                number);
    };
}

using ifdsweep::PackedArgumentRow;
using ifdsweep::PackedDirectoryRow;
using ifdsweep::PackedEntryRow;
using ifdsweep::PackedKind;
using ifdsweep::PackedMessageRow;
using ifdsweep::PackedStreamRow;
using ifdsweep::PackedValueRow;

constexpr auto kOfEntry = [](const PackedValueRow& value) { return value.isOfEntry != 0; };
constexpr auto kOwn = [](const PackedValueRow& value) { return value.isOfEntry == 0; };

const std::vector<Damage> kDamages{
    {"AnotherVersion", [](Block& block) { ++headOf(block).version; }},
    {"AnotherByteOrder", [](Block& block) { headOf(block).magic = 0x69666473'7061636B; }},
    {"ATableElsewhere", [](Block& block) { headOf(block)[PackedTable::values].begin += 8; }},
    {"AStreamOfRowsOfAnother",
     set<PackedStreamRow, &PackedStreamRow::firstDirectory>(PackedTable::streams, 2, 0)},
    {"AStreamWithRecordsOfAnother",
     set<PackedStreamRow, &PackedStreamRow::records>(PackedTable::streams, 2, 0)},
    {"RecordsBesideAnError",
     [](Block& block) {
         auto& failed = rowOf<PackedStreamRow>(block, PackedTable::streams, 1);
         auto& later = rowOf<PackedStreamRow>(block, PackedTable::streams, 2);
         failed.records = later.records;
         later.records = kNoRow;
     }},
    {"ADirectoryAboveItself",
     set<PackedDirectoryRow, &PackedDirectoryRow::parent>(PackedTable::directories, 1, 1)},
    {"ADirectoryBelowOneThatEnded",
     [](Block& block) {
         rowOf<PackedDirectoryRow>(block, PackedTable::directories, 3).parent = 1;
     }},
    {"ADirectoryOfAnotherStream",
     set<PackedDirectoryRow, &PackedDirectoryRow::stream>(PackedTable::directories, 0, 2)},
    {"ADirectoryThatOtherRecordsShow",
     set<PackedDirectoryRow, &PackedDirectoryRow::element>(PackedTable::directories, 0, 1)},
    {"ADirectoryThatNoRecordsShowAndSaysSo",
     [](Block& block) {
         rowOf<std::uint32_t>(block, PackedTable::elements, 0) =
             rowOf<std::uint32_t>(block, PackedTable::elements, 1);
     }},
    {"ADirectoryThatLacksAnEntry",
     set<PackedDirectoryRow, &PackedDirectoryRow::ownEntries>(PackedTable::directories, 0, 1)},
    {"AnEntryAfterItself", set<PackedEntryRow, &PackedEntryRow::next>(PackedTable::entries, 3, 3)},
    {"AnEntryBackToAnEarlierOne",
     set<PackedEntryRow, &PackedEntryRow::next>(PackedTable::entries, 3, 0)},
    {"AnEntryOfNoDirectory",
     set<PackedEntryRow, &PackedEntryRow::directory>(PackedTable::entries, 3, kNoRow)},
    {"AnEntryOfMoreItemsThanBytes",
     set<PackedEntryRow, &PackedEntryRow::count>(PackedTable::entries, 1, 7)},
    {"AnEntryOfItemsWithoutNumber",
     set<PackedEntryRow, &PackedEntryRow::count>(PackedTable::entries, 1, ~std::uint64_t{0})},
    {"AValueThatIsItsOwnPart",
     [](Block& block) { arrayOf(block, valueOf(block, PackedKind::records)).begin = 0; }},
    {"AValueThatAnotherHasToo",
     [](Block& block) {
         auto& first = valueOf(block, PackedKind::cells);
         auto& second = valueOf(block, PackedKind::cells,
                                [&](const auto& value) { return value.content != first.content; });
         arrayOf(block, second).begin = arrayOf(block, first).begin;
     }},
    {"AnArrayOfTwoValues",
     [](Block& block) {
         auto& numbers = valueOf(block, PackedKind::numbers, kOwn);
         valueOf(block, PackedKind::text).content = numbers.content + 1000;
     }},
    {"MoreRecordsThanThereAre",
     [](Block& block) { arrayOf(block, valueOf(block, PackedKind::records)).rows = 3; }},
    {"RecordsWithoutNumber",
     [](Block& block) {
         arrayOf(block, valueOf(block, PackedKind::records)) = {kNoRow, kNoRow, 1, 0, kNoRow};
     }},
    {"RecordsOfNoFieldList",
     [](Block& block) { arrayOf(block, valueOf(block, PackedKind::records)).fields = kNoRow; }},
    {"ATextThatEndsBehindTheHeap",
     [](Block& block) { arrayOf(block, valueOf(block, PackedKind::text)).columns = 0xFFFFF; }},
    {"ATextThatBeginsBehindTheHeap",
     [](Block& block) {
         arrayOf(block, valueOf(block, PackedKind::text)).begin = ~std::uint64_t{7};
     }},
    {"NumbersBetweenMultiplesOfEight",
     [](Block& block) { arrayOf(block, valueOf(block, PackedKind::numbers, kOwn)).begin += 4; }},
    {"NumbersOfAnEntryThatHasOthers",
     [](Block& block) {
         auto& value = valueOf(block, PackedKind::numbers, kOfEntry);
         arrayOf(block, value).columns += 1;
     }},
    {"ANumberOfNoEntry",
     [](Block& block) { valueOf(block, PackedKind::number, kOfEntry).entry = kNoRow; }},
    {"ATextOfAnEntry", [](Block& block) { valueOf(block, PackedKind::text).isOfEntry = 1; }},
    {"AValueOfNoKind",
     [](Block& block) { valueOf(block, PackedKind::text).kind = static_cast<PackedKind>(7); }},
    {"AFieldWithoutAName",
     [](Block& block) { rowOf<std::uint32_t>(block, PackedTable::fieldNames, 5) = kNoRow; }},
    {"AMessageWithoutAnId",
     set<PackedMessageRow, &PackedMessageRow::id>(PackedTable::messages, 0, kNoRow)},
    {"AMessageWithArgumentsOfAnother",
     set<PackedMessageRow, &PackedMessageRow::firstArgument>(PackedTable::messages, 1, 0)},
    {"AnArgumentOfNoKind",
     set<PackedArgumentRow, &PackedArgumentRow::kind>(PackedTable::arguments, 0, 3)},
    {"TwoNamesOfOneText",
     [](Block& block) {
         auto& index = rowOf<std::uint32_t>(block, PackedTable::nameIndex);
         std::uint32_t* cells = &index;
         std::uint32_t* taken =
             std::find_if(cells, cells + 256, [](auto row) { return row != kNoRow; });
         std::uint32_t* other =
             std::find_if(taken + 1, cells + 256, [](auto row) { return row != kNoRow; });
         *other = *taken;
     }},
    {"AnIndexWithoutAFreeCell",
     [](Block& block) {
         std::fill_n(&rowOf<std::uint32_t>(block, PackedTable::nameIndex), 256, 0U);
     }},
};

INSTANTIATE_TEST_SUITE_P(PackedCheck, DamagedFile, testing::ValuesIn(kDamages),
                         [](const auto& tested) { return tested.param.name; });

TEST(PackedCheck, TakesTheDeepestFiles) {
    fixture::Chain chain{{shorts(256, {1})}};
    for (int level = 0; level < 64; ++level) {
        chain = {{pointer(330, {chain})}};
    }
    EXPECT_TRUE(PackedFile::parse(
        blockOf(fixture::packed(fixture::TiffBuilder({}).add(chain[0]).build().bytes))));
}

TEST(PackedCheck, TakesNoValuesThatNestDeeperThanFiles) {
    const auto isTaken = [](int levels) {
        ifdsweep::Host host;
        const ifdsweep::Host::Scope scope(host);
        ifdsweep::ValueHandle value(qxCreateDoubleScalar(1));
        for (int level = 1; level < levels; ++level) {
            const std::size_t one[] = {1, 1};
            ifdsweep::ValueHandle cell(qxCreateCellArray(2, one));
            qxSetCell(cell.get(), 0, value.release());
            value = std::move(cell);
        }
        ifdsweep::Outcome outcome;
        outcome.result = std::move(value);
        ifdsweep::FilePacker packer;
        return PackedFile::parse(blockOf(packer.pack(outcome))).has_value();
    };
    EXPECT_TRUE(isTaken(256));
    EXPECT_FALSE(isTaken(257));
}

}  // namespace

// Bytes that may be a packed file: what was packed is taken, and what is taken can be walked to its
// last row.

#include "pack/packed_check.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <functional>
#include <iterator>
#include <limits>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "ifdsweep/message_catalogue.h"
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
    {"AStreamAtNoNumber", set<PackedStreamRow, &PackedStreamRow::initialOffset>(
                              PackedTable::streams, 0, std::numeric_limits<double>::quiet_NaN())},
    {"AStreamAtInfinity", set<PackedStreamRow, &PackedStreamRow::initialOffset>(
                              PackedTable::streams, 0, std::numeric_limits<double>::infinity())},
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
    {"AMessageThatThereIsNot",
     [](Block& block) {
         rowOf<PackedMessageRow>(block, PackedTable::messages, 0).id =
             rowOf<std::uint32_t>(block, PackedTable::fieldNames, 5);
     }},
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

// What is shown of a packed file is in proportion to it: nothing long lies there once and is shown
// for many.
class LongParts : public testing::Test {
protected:
    void expectNone(const std::function<void()>& change) {
        ASSERT_TRUE(PackedFile::parse(block));
        change();
        EXPECT_FALSE(PackedFile::parse(block));
    }

    [[nodiscard]] PackedEntryRow& entry(std::uint16_t tag) {
        const auto& table = headOf(block)[PackedTable::entries];
        auto* const first = &rowOf<PackedEntryRow>(block, PackedTable::entries);
        return *std::find_if(first, first + table.count,
                             [tag](const auto& row) { return row.tag == tag; });
    }

    /// The first text of a length.
    [[nodiscard]] PackedValueRow& text(std::uint32_t length) {
        return valueOf(block, PackedKind::text,
                       [&](const auto& value) { return arrayOf(block, value).columns == length; });
    }

    Block block = [] {
        const auto letters = [](char letter, std::size_t count) {
            return ascii(270, std::string(count - 1, letter) + '\0');
        };
        const std::vector<std::int64_t> many(10'000, 77);
        const std::vector<std::int64_t> some(1000, 77);
        const std::vector<std::int64_t> few(9, 77);
        return blockOf(fixture::packed(
            fixture::TiffBuilder({})
                .add({letters('a', 5000), numbers(273, fixture::kLong, many),
                      numbers(279, fixture::kLong, few), shorts(60000, some), shorts(60001, few)})
                .add({letters('b', 300)})
                .add({letters('b', 300)})
                .build()
                .bytes));
    }();
};

TEST_F(LongParts, AreNotThoseOfTwoEntries) {
    expectNone([&] {
        entry(60001).count = entry(60000).count;
        entry(60001).bytes = entry(60000).bytes;
    });
}

TEST_F(LongParts, AreNotThoseOfTwoArrays) {
    expectNone([&] { arrayOf(block, text(299)) = arrayOf(block, text(4999)); });
}

TEST_F(LongParts, AreNotThoseOfAnEntryThatTwoValuesShow) {
    const auto& numbers = [&](std::uint32_t count) -> PackedValueRow& {
        return valueOf(block, PackedKind::numbers, [&](const PackedValueRow& value) {
            return kOfEntry(value) && arrayOf(block, value).columns == count;
        });
    };
    expectNone([&] {
        auto& few = numbers(9);
        auto& many = numbers(10'000);
        few.entry = many.entry;
        arrayOf(block, few).columns = 10'000;
    });
}

TEST_F(LongParts, AreNotTheTextOfTwoValues) {
    expectNone([&] { std::swap(arrayOf(block, text(4999)), arrayOf(block, text(299))); });
}

/// Whether an outcome is packed to a packed file.
bool isTaken(const ifdsweep::Outcome& outcome) {
    ifdsweep::FilePacker packer;
    return PackedFile::parse(blockOf(packer.pack(outcome))).has_value();
}

/// Records with all fields empty.
ifdsweep::ValueHandle records(std::size_t count, const std::vector<std::string>& fields) {
    std::vector<const char*> names;
    std::transform(fields.begin(), fields.end(), std::back_inserter(names),
                   [](const std::string& name) { return name.c_str(); });
    const std::size_t dimensions[] = {1, count};
    return ifdsweep::ValueHandle(qxCreateStructArray(2, dimensions, names.size(), names.data()));
}

/// Whether records of such fields are taken.
bool areFieldsTaken(const std::vector<std::string>& fields) {
    ifdsweep::Host host;
    const ifdsweep::Host::Scope scope(host);
    ifdsweep::Outcome outcome;
    outcome.result = records(1, fields);
    return isTaken(outcome);
}

TEST(PackedCheck, TakesNoNamesThatAreLongerThanAnyThereIs) {
    EXPECT_TRUE(areFieldsTaken({"short", std::string(255, 'x')}));
    EXPECT_FALSE(areFieldsTaken({"short", std::string(256, 'x')}));
}

TEST(PackedCheck, TakesNoNamesThatAreNoPlainText) {
    EXPECT_TRUE(areFieldsTaken({"a~"}));
    EXPECT_FALSE(areFieldsTaken({"a\x7F"}));
    EXPECT_FALSE(areFieldsTaken({"a\n"}));
    EXPECT_FALSE(areFieldsTaken({"a\xC3\xA9"}));
}

TEST(PackedCheck, TakesNoRecordsOfMoreFieldsThanThereAre) {
    std::vector<std::string> fields;
    for (int field = 0; field < 1 << 13; ++field) {
        fields.push_back("field" + std::to_string(field));
    }
    EXPECT_TRUE(areFieldsTaken(fields));
    fields.emplace_back("another");
    EXPECT_FALSE(areFieldsTaken(fields));
}

TEST(PackedCheck, TakesNoRecordsWithoutFieldsOutOfProportion) {
    const auto areTaken = [](std::size_t count) {
        constexpr std::size_t kCells = 100;
        ifdsweep::Host host;
        const ifdsweep::Host::Scope scope(host);
        const std::size_t dimensions[] = {1, kCells};
        ifdsweep::Outcome outcome;
        outcome.result = ifdsweep::ValueHandle(qxCreateCellArray(2, dimensions));
        for (std::size_t cell = 0; cell < kCells; ++cell) {
            qxSetCell(outcome.result.get(), cell, records(count, {}).release());
        }
        return isTaken(outcome);
    };
    EXPECT_TRUE(areTaken(10));
    EXPECT_FALSE(areTaken(1000));
}

TEST(PackedCheck, TakesNoTextsBesideRowsThatAreLongerThanAnyThereIs) {
    const auto withPath = [](std::size_t size) {
        ifdsweep::Outcome outcome;
        ifdsweep::Warning warning{{ifdsweep::messageRow(ifdsweep::MessageId::statFailure).id, {}},
                                  {}};
        warning.place.path.assign(size, '0');
        outcome.warnings.push_back(std::move(warning));
        return outcome;
    };
    const auto withStream = [](std::size_t container, std::size_t name) {
        ifdsweep::Outcome outcome;
        outcome.stream.container.assign(container, 'c');
        outcome.stream.name.assign(name, 'n');
        return outcome;
    };
    EXPECT_TRUE(isTaken(withPath(1 << 14)));
    EXPECT_FALSE(isTaken(withPath((1 << 14) + 1)));
    EXPECT_TRUE(isTaken(withStream(4096, 4096)));
    EXPECT_FALSE(isTaken(withStream(4097, 1)));
    EXPECT_FALSE(isTaken(withStream(1, 4097)));
}

TEST(PackedCheck, TakesNoMoreStreamsThanFilesHave) {
    ifdsweep::Outcome outcome;
    outcome.others.resize(1023);
    EXPECT_TRUE(isTaken(outcome));
    outcome.others.resize(1024);
    EXPECT_FALSE(isTaken(outcome));
}

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

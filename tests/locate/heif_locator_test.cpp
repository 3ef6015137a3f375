#include <algorithm>
#include <array>
#include <limits>
#include <ostream>
#include <set>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "locate/containers.h"
#include "locate/locators.h"
#include "support/box_builder.h"
#include "support/counted_bytes.h"
#include "support/located_text.h"
#include "support/repeated_bytes.h"

namespace {

using namespace fixture;
using ifdsweep::ByteReader;
using ifdsweep::SearchDepth;

ifdsweep::Located search(const ifdsweep::ByteSource& file, SearchDepth depth = SearchDepth::all) {
    ByteReader reader(file);
    return ifdsweep::locateInHeif(reader, depth);
}

/// What is found, and where the search ended unless that is the end of the file.
std::string found(const Bytes& file, SearchDepth depth = SearchDepth::all) {
    std::string text = locatedText(search(CountedBytes(file), depth));
    const std::string ended = ", ended at " + std::to_string(file.size());
    const auto place = text.find(ended);
    return place == text.npos ? text : text.erase(place, ended.size());
}

// What most files here begin with: 128 bytes. The data stand at 28 to 128. What stands in the box
// meta behind them begins at 140.
const Bytes kStart = joined({fileTypeBox("heic", {"mif1"}), box("mdat", Bytes(100, 0x5A))});

Bytes heif(std::initializer_list<Bytes> boxes) {
    return joined({kStart, metaBox(joined(boxes))});
}

/// A file with the item 1, an image, and the item 2, of the type Exif; the entries of `iloc` begin
/// at 212.
Bytes located(const std::vector<ItemLocation>& locations, const LocationForm& form = {}) {
    return heif({itemInfosBox(0, {{.id = 1, .type = "hvc1"}, {.id = 2}}),
                 itemLocationsBox(form, locations)});
}

struct Case {
    const char* name;
    Bytes file;
    const char* found;
};

void PrintTo(const Case& row, std::ostream* stream) {
    *stream << row.name;
}

const Bytes kItem2 = itemInfosBox(0, {{.id = 2}});  // 35 bytes
const Bytes kItem2At40 = itemLocationsBox({}, {{.id = 2, .extents = {{40, 20}}}});
constexpr std::uint64_t kFarAway = std::numeric_limits<std::uint64_t>::max();
constexpr LocationForm kWide{1, 8, 8, 8, 8};

const Case kPlaces[] = {
    {"onePiece", located({{.id = 1, .extents = {{28, 5}}}, {.id = 2, .extents = {{40, 20}}}}),
     "Exif item 2: 40+20 behind-offset\npieces 2"},
    {"behindABase", located({{.id = 2, .extents = {{40, 20}}, .baseOffset = 30}}),
     "Exif item 2: 70+20 behind-offset\npieces 2"},
    {"severalPieces", located({{.id = 2, .extents = {{90, 10}, {40, 20}, {28, 2}}}}),
     "Exif item 2: 90+10 40+20 28+2 behind-offset\npieces 2"},
    {"neighboursAreOnePiece", located({{.id = 2, .extents = {{40, 5}, {45, 5}, {60, 5}, {65, 1}}}}),
     "Exif item 2: 40+10 60+6 behind-offset\npieces 2"},
    {"overlappingPieces", located({{.id = 2, .extents = {{40, 20}, {40, 20}, {50, 20}}}}),
     "Exif item 2: 40+20 40+20 50+20 behind-offset\npieces 2"},
    {"noLengthIsToTheEnd", located({{.id = 2, .extents = {{40, 0}}}}),
     "Exif item 2: 40+192 behind-offset\npieces 2"},
    {"oneByteAtTheEnd", located({{.id = 2, .extents = {{231, 1}}}}),
     "Exif item 2: 231+1 behind-offset\npieces 2"},
    {"oneByteTooLong", located({{.id = 2, .extents = {{231, 2}}}}),
     "Exif item 2: 231+1 behind-offset\npieces 2, damaged at 212"},
    {"farTooLong", located({{.id = 2, .extents = {{40, kFarAway}}}}, kWide),
     "Exif item 2: 40+212 behind-offset\npieces 2, damaged at 212"},
    {"behindTheEnd", located({{.id = 2, .extents = {{232, 1}}}}), "pieces 2, damaged at 212"},
    {"behindTheEndWithoutLength", located({{.id = 2, .extents = {{232, 0}}}}),
     "pieces 2, damaged at 212"},
    {"secondPieceBehindTheEnd", located({{.id = 2, .extents = {{40, 20}, {500, 20}, {30, 5}}}}),
     "Exif item 2: 40+20 30+5 behind-offset\npieces 2, damaged at 212"},
    {"sumBeyondAllNumbers",
     located({{.id = 2, .extents = {{kFarAway - 10, 5}}, .baseOffset = 51}}, kWide),
     "pieces 2, damaged at 212"},
    {"baseBeyondAllNumbers",
     located({{.id = 2, .extents = {{40, 5}}, .baseOffset = kFarAway}}, kWide),
     "pieces 2, damaged at 212"},
    {"noPiece", located({{.id = 2}}), "pieces 2, damaged at 212"},
    {"inAnotherFile", located({{.id = 2, .extents = {{40, 20}}, .dataReference = 1}}), "pieces 2"},
    {"ofOtherItems", located({{.id = 2, .extents = {{0, 20}}, .constructionMethod = 2}}),
     "pieces 2, damaged at 212"},
    {"byAnUnknownMethod", located({{.id = 2, .extents = {{0, 20}}, .constructionMethod = 15}}),
     "pieces 2, damaged at 212"},
    {"reservedBitsOfTheMethod",
     located({{.id = 2, .extents = {{40, 2}}, .constructionMethod = 0xFFF0}}),
     "Exif item 2: 40+2 behind-offset\npieces 2"},
    {"methodWithoutItsBox", located({{.id = 2, .extents = {{0, 20}}, .constructionMethod = 1}}),
     "pieces 2, damaged at 212"},
    {"firstOfTwoPlaces",
     located({{.id = 2, .extents = {{40, 20}}}, {.id = 2, .extents = {{60, 20}}}}),
     "Exif item 2: 40+20 behind-offset\npieces 2"},
    {"noPlace", located({{.id = 1, .extents = {{40, 20}}}}), "pieces 2, damaged at 175"},
    {"noPlaces", heif({kItem2}), "pieces 1, damaged at 154"},
    {"noItems", heif({kItem2At40}), "pieces 0"},
    {"nothing", fileTypeBox("heic"), "pieces 0"},
    {"emptyMeta", heif({}), "pieces 0"},
    {"metaTooShort", joined({kStart, box("meta", {0, 0})}), "pieces 0"},
    {"otherItems", heif({itemInfosBox(0, {{.type = "hvc1"}, {.type = "mime"}}), kItem2At40}),
     "pieces 2"},
    {"protectedItem", heif({itemInfosBox(0, {{.id = 2, .protection = 1}}), kItem2At40}),
     "pieces 1, damaged at 154"},
    {"itemTwice", heif({itemInfosBox(0, {{.id = 2}, {.id = 2}}), kItem2At40}),
     "Exif item 2: 40+20 behind-offset\npieces 2"},
    {"itemCutInItsType",
     heif({fullBox("iinf", 0, 0, joined({bigEndian(2, 1), fullBox("infe", 2, 0, Bytes(6, 0))})),
           kItem2At40}),
     "pieces 1, damaged at 154"},
    {"itemsWithoutType",
     heif({itemInfosBox(0, {{.id = 2, .version = 0}, {.id = 2, .version = 1}}), kItem2At40}),
     "pieces 2"},
    {"itemOfAnUnknownVersion", heif({itemInfosBox(0, {{.id = 2, .version = 4}}), kItem2At40}),
     "pieces 1"},
    {"listOfItemsInTwoBoxes",
     heif({kItem2, itemInfosBox(0, {{.id = 3}}),
           itemLocationsBox({},
                            {{.id = 3, .extents = {{50, 1}}}, {.id = 2, .extents = {{40, 1}}}})}),
     "Exif item 2: 40+1 behind-offset\nExif item 3: 50+1 behind-offset\npieces 2"},
    {"placesBeforeItems", heif({kItem2At40, kItem2}), "Exif item 2: 40+20 behind-offset\npieces 1"},
    {"firstOfTwoBoxesOfPlaces",
     heif({kItem2, kItem2At40, itemLocationsBox({}, {{.id = 2, .extents = {{60, 20}}}})}),
     "Exif item 2: 40+20 behind-offset\npieces 1"},
    {"placesOfAnUnknownVersion", heif({kItem2, itemLocationsBox({.version = 3}, {{.id = 2}})}),
     "pieces 1, damaged at 175"},
    {"placesWithOddSizes", heif({kItem2, itemLocationsBox({.offsetSize = 3}, {{.id = 2}})}),
     "pieces 1, damaged at 175"},
    {"fewerItemsThanCounted", heif({itemInfosBox(0, {{.id = 2}}, 0xFFFF), kItem2At40}),
     "Exif item 2: 40+20 behind-offset\npieces 1"},
    {"moreItemsThanCounted", heif({itemInfosBox(0, {{.id = 2}}, 0), kItem2At40}),
     "Exif item 2: 40+20 behind-offset\npieces 1"},
    {"fewerPlacesThanCounted",
     heif({itemInfosBox(0, {{.id = 2}, {.id = 3}}),
           itemLocationsBox({}, {{.id = 2, .extents = {{40, 20}}}}, 0xFFFF)}),
     "Exif item 2: 40+20 behind-offset\npieces 2, damaged at 232"},
    {"morePlacesThanCounted",
     heif({kItem2, itemLocationsBox({}, {{.id = 2, .extents = {{40, 20}}}}, 0)}),
     "pieces 1, damaged at 154"},
    {"fewerPiecesThanCounted", located({{.id = 2, .extents = {{40, 20}}, .extentCount = 0xFFFF}}),
     "Exif item 2: 40+20 behind-offset\npieces 2, damaged at 212"},
    {"fewerPiecesOfAnotherItemThanCounted",
     located({{.id = 1, .extents = {{40, 20}}, .extentCount = 0xFFFF}}),
     "pieces 2, damaged at 212"},
    {"boxInMetaCut", heif({kItem2, kItem2At40, lyingBox("iprp", 500, {1})}),
     "Exif item 2: 40+20 behind-offset\npieces 1, damaged at 211"},
    {"itemCut", heif({itemInfosBox(0, {{.id = 2}}, {}), lyingBox("free", 7, {}), kItem2At40}),
     "pieces 1, damaged at 175"},
};

class HeifPlaces : public testing::TestWithParam<Case> {};

TEST_P(HeifPlaces, AreFoundAsFarAsTheyAreInTheFile) {
    EXPECT_EQ(found(GetParam().file), GetParam().found);
}

INSTANTIATE_TEST_SUITE_P(All, HeifPlaces, testing::ValuesIn(kPlaces),
                         [](const auto& instance) { return std::string(instance.param.name); });

TEST(HeifLocators, SeekItemsInTheirOwnBoxOfData) {
    const Bytes file = heif(
        {kItem2,
         itemLocationsBox({}, {{.id = 2, .extents = {{1, 2}, {4, 0}}, .constructionMethod = 1}}),
         box("idat", Bytes(10, 0x5A)), box("idat", Bytes(20, 0x5A))});
    EXPECT_EQ(found(file), "Exif item 2: 228+2 231+6 behind-offset\npieces 1");
    const Bytes before = heif(
        {box("idat", Bytes(10, 0x5A)), kItem2,
         itemLocationsBox(
             {},
             {{.id = 2, .extents = {{8, 3}, {0, 1}}, .baseOffset = 1, .constructionMethod = 1}})});
    EXPECT_EQ(found(before), "Exif item 2: 157+1 149+1 behind-offset\npieces 1, damaged at 209");
    const Bytes behindItsEnd = heif(
        {kItem2, itemLocationsBox({}, {{.id = 2, .extents = {{10, 1}}, .constructionMethod = 1}}),
         box("idat", Bytes(10, 0x5A))});
    EXPECT_EQ(found(behindItsEnd), "pieces 1, damaged at 191");
}

/// All versions of `iloc` with all sizes of its numbers.
std::vector<LocationForm> allForms() {
    constexpr std::array<std::size_t, 3> kSizes{0, 4, 8};
    std::vector<LocationForm> forms;
    for (std::size_t number = 0; number < 3 * 81; ++number) {
        forms.push_back({static_cast<std::uint8_t>(number / 81), kSizes[number / 27 % 3],
                         kSizes[number / 9 % 3], kSizes[number / 3 % 3], kSizes[number % 3]});
    }
    return forms;
}

std::string textOf(const LocationForm& form) {
    return "version " + std::to_string(form.version) + " sizes " + std::to_string(form.offsetSize) +
           ' ' + std::to_string(form.lengthSize) + ' ' + std::to_string(form.baseOffsetSize) + ' ' +
           std::to_string(form.indexSize);
}

/// Reads the lists in a form of `iloc`, as items of a version that `iinf` of another lists.
void expectFound(const LocationForm& form, std::uint8_t itemVersion, std::uint8_t listVersion) {
    const std::uint32_t id = itemVersion == 3 && form.version == 2 ? 70000 : 700;
    const Bytes file =
        heif({itemInfosBox(listVersion, {{.id = 9, .type = "hvc1", .version = itemVersion},
                                         {.id = id, .version = itemVersion}}),
              itemLocationsBox(form, {{.id = 9, .extents = {{1, 2, 3}, {4, 5, 6}}, .baseOffset = 7},
                                      {.id = id, .extents = {{30, 20, 9}}, .baseOffset = 40}})});
    const std::uint64_t position =
        (form.offsetSize > 0 ? 30U : 0U) + (form.baseOffsetSize > 0 ? 40U : 0U);
    const std::uint64_t size = form.lengthSize > 0 ? 20 : file.size() - position;
    EXPECT_EQ(found(file), "Exif item " + std::to_string(id) + ": " + std::to_string(position) +
                               '+' + std::to_string(size) + " behind-offset\npieces 2")
        << textOf(form);
}

TEST(HeifLocators, ReadTheListsInEveryForm) {
    constexpr std::array<std::uint8_t, 2> kItemVersions{2, 3};
    constexpr std::array<std::uint8_t, 3> kListVersions{0, 1, 2};
    for (const LocationForm& form : allForms()) {
        for (const std::uint8_t itemVersion : kItemVersions) {
            for (const std::uint8_t listVersion : kListVersions) {
                expectFound(form, itemVersion, listVersion);
            }
        }
    }
}

/// Where these items lie: each in a byte of its own.
std::vector<ItemLocation> places(std::initializer_list<std::uint32_t> ids) {
    std::vector<ItemLocation> locations;
    for (const std::uint32_t id : ids) {
        locations.push_back({.id = id, .extents = {{30 + id, 1}}});
    }
    return locations;
}

/// The numbers of the items found, in their order.
std::string idsFound(const Bytes& file) {
    std::string text;
    for (const auto& stream : search(CountedBytes(file)).streams) {
        text += (text.empty() ? "" : " ") + stream.name.substr(std::string("Exif item ").size());
    }
    return text;
}

TEST(HeifLocators, KeepTheOrderOfItemsButPutTheMainOneFirst) {
    const Bytes items =
        itemInfosBox(0, {{.id = 9}, {.id = 2}, {.id = 7}, {.id = 1, .type = "hvc1"}});
    const Bytes locations = itemLocationsBox({}, places({1, 2, 7, 9}));
    const auto ids = [&](const Bytes& primary, const Bytes& references) {
        return idsFound(heif({primary, items, locations, references}));
    };
    EXPECT_EQ(ids({}, {}), "9 2 7");
    EXPECT_EQ(ids(primaryItemBox(1), {}), "9 2 7");
    for (const std::uint8_t version : {std::uint8_t{0}, std::uint8_t{1}}) {
        const auto references = [&](const std::vector<ItemReference>& list) {
            return itemReferencesBox(version, list);
        };
        EXPECT_EQ(ids(primaryItemBox(1), references({{"cdsc", 7, {1}}})), "7 9 2");
        EXPECT_EQ(ids({}, references({{"cdsc", 7, {1}}})), "9 2 7");
        EXPECT_EQ(ids(primaryItemBox(1), references({{"cdsc", 2, {5}}, {"cdsc", 7, {4, 1}}})),
                  "7 9 2");
        EXPECT_EQ(ids(primaryItemBox(1), references({{"cdsc", 7, {1}}, {"cdsc", 2, {1}}})),
                  "2 7 9");
        EXPECT_EQ(ids(primaryItemBox(1), references({{"thmb", 7, {1}}, {"cdsc", 1, {7}}})),
                  "9 2 7");
        EXPECT_EQ(ids(primaryItemBox(1), references({{"cdsc", 7, {}}, {"cdsc", 60, {1}}})),
                  "9 2 7");
    }
    // A count of references that lies says nothing of the item 0, which nobody named.
    EXPECT_EQ(
        ids(primaryItemBox(0), fullBox("iref", 0, 0, box("cdsc", bigEndian(4, 7U << 16U | 3U)))),
        "9 2 7");
    EXPECT_EQ(ids(primaryItemBox(70000), itemReferencesBox(1, {{"cdsc", 2, {70000}}})), "2 9 7");
}

const Bytes kWholeMeta = metaBox(joined({kItem2, kItem2At40}));  // 83 bytes
const std::string kItem2Found = "Exif item 2: 40+20 behind-offset\n";

TEST(HeifLocators, FindTheirBoxWhereverItStands) {
    EXPECT_EQ(found(joined({kStart, box("free", {}), kWholeMeta, box("mdat", {})})),
              kItem2Found + "pieces 1");
    EXPECT_EQ(
        found(joined({kStart, largeBox("meta", Bytes(kWholeMeta.begin() + 8, kWholeMeta.end()))})),
        kItem2Found + "pieces 1");
    EXPECT_EQ(
        found(joined({kStart, openBox("meta", Bytes(kWholeMeta.begin() + 8, kWholeMeta.end()))})),
        kItem2Found + "pieces 1");
    EXPECT_EQ(found(joined({kStart, box("moov", joined({box("mvhd", {}), kWholeMeta}))})),
              kItem2Found + "pieces 1");
    EXPECT_EQ(found(joined({kStart, box("moov", box("trak", kWholeMeta))})),
              kItem2Found + "pieces 1");
    // Elsewhere no item is told of.
    EXPECT_EQ(found(joined({kStart, box("trak", kWholeMeta)})), "pieces 0");
    EXPECT_EQ(found(joined({kStart, box("moov", box("moov", kWholeMeta))})), "pieces 0");
    EXPECT_EQ(found(joined({kStart, metaBox(kWholeMeta)})), "pieces 0");
}

TEST(HeifLocators, NameTheItemsOfEachBoxApart) {
    const Bytes file =
        joined({kStart, kWholeMeta, box("moov", joined({kWholeMeta, box("trak", kWholeMeta)}))});
    EXPECT_EQ(found(file),
              "Exif item 2: 40+20 behind-offset\n"
              "Exif item 2 of meta 2: 40+20 behind-offset\n"
              "Exif item 2 of meta 3: 40+20 behind-offset\n"
              "pieces 3");
}

TEST(HeifLocators, EndAtTheImageDataOnceAStreamIsFound) {
    const Bytes data = box("mdat", {});
    const Bytes file =
        joined({fileTypeBox("heic"), data, kWholeMeta, kWholeMeta, data, kWholeMeta});
    EXPECT_EQ(search(CountedBytes(file), SearchDepth::first).streams.size(), 2U);
    EXPECT_EQ(search(CountedBytes(file), SearchDepth::first).endedAt, 16 + 8 + 2 * 83);
    EXPECT_EQ(search(CountedBytes(file), SearchDepth::all).streams.size(), 3U);
    EXPECT_EQ(search(CountedBytes(file), SearchDepth::all).endedAt, file.size());
}

TEST(HeifLocators, SearchWhatThereIsOfAFileThatIsCut) {
    const Bytes file = joined({fileTypeBox("heic"), kWholeMeta, box("mdat", Bytes(50, 0))});
    EXPECT_EQ(found(truncated(file, file.size() - 1), SearchDepth::first),
              kItem2Found + "pieces 1, ended at 99, damaged at 99");
    EXPECT_EQ(found(truncated(file, 50)), "pieces 1, damaged at 42");
    constexpr std::size_t kEndOfMeta = 99;
    for (std::size_t size = 0; size < file.size(); ++size) {
        const auto result = search(CountedBytes(truncated(file, size)));
        const bool isAtTheEndOfABox = size == 0 || size == 16 || size == kEndOfMeta;
        EXPECT_EQ(result.damagedAt.has_value(), !isAtTheEndOfABox) << size;
        EXPECT_EQ(result.streams.empty(), size < kEndOfMeta) << size;
    }
}

/// Extents lie in the file and are not empty, names are unique, reads are in proportion.
void expectSound(const Bytes& file, const std::string& what) {
    const CountedBytes source(file);
    const auto result = search(source);
    std::set<std::string> names;
    for (const auto& stream : result.streams) {
        EXPECT_TRUE(names.insert(stream.name).second) << what;
        EXPECT_FALSE(stream.extents.empty()) << what;
        for (const ifdsweep::Extent& extent : stream.extents) {
            EXPECT_LT(extent.position, file.size()) << what;
            EXPECT_GT(extent.size, 0U) << what;
            EXPECT_LE(extent.size, file.size() - extent.position) << what;
        }
    }
    EXPECT_LE(source.reads, 4U) << what;
}

TEST(HeifLocators, AreSoundWhateverAByteSays) {
    const Bytes file = joined(
        {fileTypeBox("heic", {"mif1"}), box("mdat", Bytes(40, 0)),
         metaBox(joined(
             {primaryItemBox(1), itemInfosBox(0, {{.id = 1, .type = "hvc1"}, {.id = 2}, {.id = 3}}),
              itemReferencesBox(0, {{"cdsc", 2, {1}}}),
              itemLocationsBox(kWide, {{.id = 3, .extents = {{30, 4}, {40, 4}}},
                                       {.id = 2, .extents = {{2, 4}}, .constructionMethod = 1}}),
              box("idat", Bytes(8, 0))})),
         box("moov", box("trak", kWholeMeta))});
    for (std::size_t position = 0; position < file.size(); ++position) {
        for (int value = 0; value < 256; ++value) {
            Bytes damaged = file;
            damaged[position] = static_cast<std::uint8_t>(value);
            expectSound(damaged, std::to_string(position) + " is " + std::to_string(value));
        }
        for (const std::size_t width : {2U, 4U, 8U}) {
            if (position + width <= file.size()) {
                Bytes damaged = file;
                setWord(damaged, position, width, kFarAway, ByteOrder::big);
                expectSound(damaged, std::to_string(position) + " is full");
            }
        }
    }
}

TEST(HeifLocators, TakeSoManyPiecesOfAnItemAndNoMore) {
    for (const std::size_t count : {4095U, 4096U, 4097U, 65535U}) {
        std::vector<ItemExtent> extents;
        for (std::size_t index = 0; index < count; ++index) {
            extents.push_back({28 + 2 * (index % 40), 1});
        }
        const auto result = search(CountedBytes(located({{.id = 2, .extents = extents}})));
        ASSERT_EQ(result.streams.size(), 1U);
        EXPECT_EQ(result.streams[0].extents.size(), std::min<std::size_t>(count, 4096));
        EXPECT_EQ(result.damagedAt.has_value(), count > 4096);
    }
}

TEST(HeifLocators, TakePiecesThatAreNowhereStatedOnce) {
    constexpr LocationForm kNothing{1, 0, 0, 0, 0};
    EXPECT_EQ(found(located({{.id = 2, .extentCount = 1}}, kNothing)),
              "Exif item 2: 0+220 behind-offset\npieces 2");
    EXPECT_EQ(found(located({{.id = 2, .extentCount = 65535}}, kNothing)),
              "Exif item 2: 0+220 behind-offset\npieces 2, damaged at 212");
}

TEST(HeifLocators, TellOfSoManyItemsAndCountTheOthers) {
    for (const std::uint32_t count : {255U, 256U, 257U, 1000U}) {
        std::vector<ItemInfo> items;
        std::vector<ItemLocation> locations;
        for (std::uint32_t id = 1; id <= count; ++id) {
            items.push_back({.id = id});
            locations.push_back({.id = id, .extents = {{40, 20}}});
        }
        const auto result =
            search(CountedBytes(heif({itemInfosBox(0, items), itemLocationsBox({}, locations)})));
        EXPECT_EQ(result.streams.size(), std::min<std::size_t>(count, 256));
        EXPECT_EQ(result.streamCount, count);
        EXPECT_EQ(result.pieceCount, count);
        EXPECT_EQ(result.damagedAt, std::nullopt);
    }
}

constexpr std::uint64_t kLarge = 100'000'000;
constexpr std::uint64_t kLessLarge = 20'000'000;

/// Searches a file that begins so and then repeats a piece to its end. A read begins where the last
/// one cut something, and that is short.
ifdsweep::Located searchLarge(const Bytes& start, const Bytes& piece,
                              std::uint64_t size = kLessLarge) {
    constexpr std::uint64_t kMostReadAgain = 128;
    const RepeatedBytes file(start, piece, size);
    auto result = search(file);
    EXPECT_LE(file.reads, size / (ByteReader::kWindow - kMostReadAgain) + 8);
    return result;
}

TEST(HeifLocators, ReadEachByteOfALargeFileOnce) {
    const auto boxes = searchLarge(fileTypeBox("heic"), box("free", {}), kLarge);
    EXPECT_EQ(boxes.pieceCount, 0U);
    EXPECT_EQ(boxes.damagedAt, std::nullopt);
    // Many boxes with items, all of them empty.
    EXPECT_TRUE(searchLarge(fileTypeBox("heic"), box("meta", {})).streams.empty());
    EXPECT_TRUE(searchLarge(fileTypeBox("heic"), box("moov", {})).streams.empty());
    // Many small ones that each hold a stream.
    const auto metas = searchLarge(kStart, kWholeMeta);
    EXPECT_EQ(metas.streams.size(), 256U);
    EXPECT_EQ(metas.streamCount, (kLessLarge - kStart.size()) / kWholeMeta.size());

    const Bytes openMeta = openBox("meta", Bytes(4, 0));
    const Bytes openItems = openBox("iinf", joined({Bytes{1, 0, 0, 0}, bigEndian(4, 1'000'000)}));
    for (const ItemInfo& item : {ItemInfo{.type = "hvc1"}, ItemInfo{}, ItemInfo{.version = 0}}) {
        const Bytes entry = itemInfoBox(item);
        const Bytes start = joined({kStart, openMeta, openItems});
        const auto items = searchLarge(start, entry);
        const std::uint64_t whole = (kLessLarge - start.size()) / entry.size();
        EXPECT_TRUE(items.pieceCount == whole || items.pieceCount == whole + 1);  // the last is cut
        EXPECT_TRUE(items.streams.empty());
    }
}

TEST(HeifLocators, PassOverThePlacesOfOtherItems) {
    // 65,535 pieces of no bytes, for every item: that makes more pieces than one can count.
    const Bytes zeroes = joined({Bytes{0, 0, 0, 0}, bigEndian(2, 0), bigEndian(4, 16'000'000)});
    const Bytes entry =
        joined({bigEndian(4, 1), bigEndian(2, 0), bigEndian(2, 0), bigEndian(2, 65535)});
    Bytes header = zeroes;
    header[0] = 2;
    const Bytes start =
        joined({kStart, openBox("meta", Bytes(4, 0)), kItem2, openBox("iloc", header)});
    EXPECT_EQ(searchLarge(start, entry).damagedAt.has_value(), true);  // no place for the item 2
    // Pieces that have bytes are not read.
    Bytes wide = joined({Bytes{2, 0, 0, 0, 0x88, 0}, bigEndian(4, 16'000'000)});
    const Bytes wideStart =
        joined({kStart, openBox("meta", Bytes(4, 0)), kItem2, openBox("iloc", wide)});
    const RepeatedBytes file(wideStart, joined({entry, Bytes(65535 * 16, 0)}), kLarge);
    EXPECT_TRUE(search(file).streams.empty());
    EXPECT_LE(file.reads, kLarge / (65535 * 16) + 8);
}

TEST(HeifLocators, CountAMillionExifItems) {
    constexpr std::uint32_t kItems = 1'000'000;
    Bytes items;
    Bytes locations = joined({Bytes{2, 0, 0, 0, 0x44, 0}, bigEndian(4, kItems)});
    for (std::uint32_t id = 1; id <= kItems; ++id) {
        const Bytes item = itemInfoBox({.id = id, .version = 3});
        items.insert(items.end(), item.begin(), item.end());
        appendWord(locations, 4, id, ByteOrder::big);
        appendWord(locations, 4, 0, ByteOrder::big);
        appendWord(locations, 2, 1, ByteOrder::big);
        appendWord(locations, 8, std::uint64_t{40} << 32U | 20U, ByteOrder::big);
    }
    const CountedBytes file(
        heif({box("iloc", locations),
              openBox("iinf", joined({Bytes{1, 0, 0, 0}, bigEndian(4, kItems), items}))}));
    const auto result = search(file);
    EXPECT_EQ(result.streams.size(), 256U);
    EXPECT_EQ(result.streamCount, kItems);
    EXPECT_EQ(result.pieceCount, kItems);
    EXPECT_EQ(result.damagedAt, std::nullopt);
    EXPECT_LE(file.reads, file.size() / ByteReader::kWindow + 8);
}

/// As cameras and telephones write them: the lists at the front, image and Exif data behind them.
Bytes ordinaryFile(bool hasPlacesFirst) {
    std::vector<ItemInfo> items;
    std::vector<ItemLocation> locations;
    for (std::uint32_t id = 1; id <= 49; ++id) {
        items.push_back({.id = id, .type = "hvc1"});
        locations.push_back({.id = id, .extents = {{5000 + id, 1}}});
    }
    items.push_back({.id = 50});
    locations.push_back({.id = 50, .extents = {{900'000, 2000}}});
    const Bytes itemList = itemInfosBox(0, items);
    const Bytes places = itemLocationsBox({}, locations);
    const Bytes meta = metaBox(joined(
        {fullBox("hdlr", 0, 0, Bytes(22, 0)), primaryItemBox(49), hasPlacesFirst ? places : Bytes(),
         itemList, itemReferencesBox(0, {{"cdsc", 50, {49}}}), box("iprp", Bytes(2000, 0)),
         hasPlacesFirst ? Bytes() : places}));
    return joined({fileTypeBox("heic", {"mif1", "heic"}), meta, box("mdat", Bytes(1'000'000, 0))});
}

TEST(HeifLocators, CostTwoReadsForAnOrdinaryFile) {
    for (const bool hasPlacesFirst : {false, true}) {
        for (const SearchDepth depth : {SearchDepth::first, SearchDepth::all}) {
            const CountedBytes file(ordinaryFile(hasPlacesFirst));
            const auto result = search(file, depth);
            ASSERT_EQ(result.streams.size(), 1U);
            EXPECT_EQ(result.streams[0].extents[0].position, 900'000U);
            EXPECT_LE(file.reads, 2U);
        }
    }
}

struct BrandCase {
    const char* name;
    Bytes fileType;
    const char* container;
};

void PrintTo(const BrandCase& row, std::ostream* stream) {
    *stream << row.name;
}

const BrandCase kBrands[] = {
    {"heic", fileTypeBox("heic"), "heif"},
    {"heix", fileTypeBox("heix"), "heif"},
    {"heim", fileTypeBox("heim"), "heif"},
    {"heis", fileTypeBox("heis"), "heif"},
    {"hevc", fileTypeBox("hevc"), "heif"},
    {"hevx", fileTypeBox("hevx"), "heif"},
    {"hevm", fileTypeBox("hevm"), "heif"},
    {"hevs", fileTypeBox("hevs"), "heif"},
    {"avci", fileTypeBox("avci"), "heif"},
    {"avcs", fileTypeBox("avcs"), "heif"},
    {"vvic", fileTypeBox("vvic"), "heif"},
    {"vvis", fileTypeBox("vvis"), "heif"},
    {"j2ki", fileTypeBox("j2ki"), "heif"},
    {"j2is", fileTypeBox("j2is"), "heif"},
    {"jpeg", fileTypeBox("jpeg"), "heif"},
    {"jpgs", fileTypeBox("jpgs"), "heif"},
    {"miaf", fileTypeBox("miaf"), "heif"},
    {"mif1", fileTypeBox("mif1"), "heif"},
    {"mif2", fileTypeBox("mif2"), "heif"},
    {"mif3", fileTypeBox("mif3"), "heif"},
    {"msf1", fileTypeBox("msf1"), "heif"},
    {"avif", fileTypeBox("avif"), "avif"},
    {"avis", fileTypeBox("avis"), "avif"},
    {"crx", fileTypeBox("crx ", {"crx ", "isom"}), "cr3"},
    {"compatibleFirst", fileTypeBox("abcd", {"heic"}), "heif"},
    {"compatibleFourth", fileTypeBox("abcd", {"efgh", "miaf", "iso8", "mif1"}), "heif"},
    {"compatibleTooLate", fileTypeBox("abcd", {"efgh", "miaf", "iso8", "iso9", "mif1"}), ""},
    {"compatibleAvif", fileTypeBox("abcd", {"MA1B", "avif"}), "avif"},
    {"compatibleAcrossTwoBrands", fileTypeBox("abcd", {"abhe", "icab"}), ""},
    {"minorVersionIsNoBrand", box("ftyp", bytesOf("abcdheic")), ""},
    {"unknown", fileTypeBox("abcd", {"efgh"}), ""},
    {"mp4", fileTypeBox("mp42", {"isom", "mp42"}), ""},
    {"iso", fileTypeBox("isom", {"isom", "avc1"}), ""},
    {"isoCompatible", fileTypeBox("isom", {"isom", "mif1"}), ""},
    {"quickTime", fileTypeBox("qt  ", {"qt  "}), ""},
    {"quickTimeCompatible", fileTypeBox("qt  ", {"qt  ", "heic"}), ""},
    {"m4v", fileTypeBox("M4V ", {"M4A ", "mp42"}), ""},
    {"3gp", fileTypeBox("3gp4", {"isom", "3gp4"}), ""},
};

class HeifBrands : public testing::TestWithParam<BrandCase> {};

TEST_P(HeifBrands, TellImagesFromVideos) {
    const Bytes& bytes = GetParam().fileType;
    const std::string start(
        bytes.begin(), bytes.begin() + static_cast<std::ptrdiff_t>(std::min<std::size_t>(
                                           bytes.size(), ifdsweep::kLongestContainerSignature)));
    const ifdsweep::Container* container = ifdsweep::containerOf(start);
    EXPECT_EQ(container == nullptr ? "" : container->name, GetParam().container);
    EXPECT_EQ(ifdsweep::mayBeContainer(start), container != nullptr);
}

INSTANTIATE_TEST_SUITE_P(All, HeifBrands, testing::ValuesIn(kBrands),
                         [](const auto& instance) { return std::string(instance.param.name); });

}  // namespace

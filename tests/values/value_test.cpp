#include "values/value.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <limits>
#include <new>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "ifdsweep/unlimited.h"
#include "support/planned_faults.h"
#include "values/value_store.h"

namespace {

using ifdsweep::Value;
using ifdsweep::ValueHandle;
using ifdsweep::ValueKind;
using ifdsweep::ValueStore;

class Values : public testing::Test {
protected:
    void TearDown() override { EXPECT_EQ(store.liveValues(), 0U); }

    [[nodiscard]] ValueHandle records(std::size_t count, std::vector<const char*> names) {
        return ValueHandle(store.createRecords(count, 1, names));
    }

    ifdsweep::ValueBudget budget;
    ValueStore store{budget};
};

TEST_F(Values, CountTheirElementsFourfoldAndSharedTextsInFull) {
    const auto counted = [this](const auto& make) {
        const std::uint64_t before = budget.counted();
        const ValueHandle value(make());
        return budget.counted() - before;
    };
    EXPECT_EQ(counted([&] { return store.createScalar(1); }), 16U + 4 * 8);
    EXPECT_EQ(counted([&] { return store.createArray(ValueKind::Uint8, 1, 1000); }), 16U + 4000);
    EXPECT_EQ(counted([&] { return store.createArray(ValueKind::Char, 1, 100); }), 16U + 800);
    EXPECT_EQ(counted([&] { return store.createArray(ValueKind::Cell, 1, 100); }), 16U + 7200);
    const ValueHandle first(store.createText(u"Two's complement signed integer"));
    for (int use = 0; use < 3; ++use) {
        EXPECT_EQ(counted([&] { return store.createText(u"Two's complement signed integer"); }),
                  16U + 8 * 31);
    }
}

TEST_F(Values, LongTextsThatAreEqualShareABlock) {
    const std::u16string name(3765, u'\x01');
    const ValueHandle first(store.createText(name));
    const ValueHandle second(store.createText(name));
    EXPECT_EQ(first->text().data(), second->text().data());
    EXPECT_EQ(second->text(), name);
    static_cast<char16_t*>(ValueStore::elements(*second))[0] = u'b';
    EXPECT_EQ(first->text(), name) << "until one of them is filled anew";
}

TEST_F(Values, ArraysAreCutToTheBudget) {
    constexpr std::uint64_t kPlace = ifdsweep::ValueBudget::kPlaceCost;
    const std::vector<const char*> names{"Filename", "B"};
    struct Case {
        std::uint64_t limit;
        std::size_t kept;
    };
    // A record of two fields counts two places and 10 for the file's name, which it has.
    constexpr std::uint64_t kRecord = 2 * kPlace + 10;
    static_cast<void>(records(1, names));  // the list of fields counts when it is made
    for (const auto& [limit, kept] :
         {Case{5 * kRecord - 1, 4}, Case{5 * kRecord, 5}, Case{100 * kRecord, 5}, Case{1, 1}}) {
        budget.begin(limit, 1000, 10, {});
        const ValueHandle made = records(5, names);
        EXPECT_EQ(made->rows(), std::max(kept, std::size_t{1})) << limit;
        EXPECT_EQ(made->columns(), 1U);
        const std::size_t before = store.liveValues();
        for (std::size_t element = 0; element < 5; ++element) {
            ValueStore::setField(*made, element, "B", store.createScalar(1));
        }
        EXPECT_EQ(store.liveValues() - before, made->rows()) << "the others are freed";
        const std::optional<ifdsweep::SpentBudget> spent = budget.takeSpent();
        ASSERT_EQ(spent.has_value(), made->rows() < 5) << limit;
        if (spent) {
            EXPECT_EQ(spent->budget, limit);
            EXPECT_EQ(spent->fileSize, 1000U);
            EXPECT_NO_THROW(ValueStore::setField(*made, 77, "B", nullptr));
        } else {
            EXPECT_THROW(ValueStore::setField(*made, 5, "B", nullptr), std::invalid_argument);
        }
        budget.end();
    }
    budget.begin(10 * kPlace, 1000, 0, {});
    const ValueHandle cells(store.createArray(ValueKind::Cell, 1, 20));
    EXPECT_EQ(cells->columns(), 10U);
    EXPECT_EQ(cells->rows(), 1U);
    ValueStore::setCell(*cells, 15, store.createScalar(1));
    budget.end();
}

TEST_F(Values, AMatrixThatIsCutIsAColumn) {
    budget.begin(1, 1000, 0, {});
    const ValueHandle cells(store.createArray(ValueKind::Cell, 2, 5));
    EXPECT_EQ(cells->elementCount(), 1U);
    EXPECT_EQ(cells->rows(), 1U);
    EXPECT_EQ(cells->columns(), 1U);
    ValueStore::setCell(*cells, 4, store.createScalar(1));
    budget.end();
}

TEST_F(Values, OnlyRecordsThatNameTheFileCountItsName) {
    const auto costOf = [this](const std::vector<const char*>& names) {
        static_cast<void>(records(1, names));  // the list of fields counts when it is made
        budget.begin(1000000, 1000, 5000, {});
        const ValueHandle made = records(10, names);
        const std::uint64_t cost = budget.counted();
        budget.end();
        return cost;
    };
    EXPECT_EQ(costOf({"Filename", "Width"}) - costOf({"ID", "Value"}), 10U * 5000U);
}

TEST_F(Values, AQuarterOfTheBudgetIsAlwaysThereForRecords) {
    budget.begin(4000, 1000, 0, {});
    budget.add(5000);
    EXPECT_TRUE(budget.refuses());
    const ValueHandle made = records(100, {"A"});
    EXPECT_EQ(made->rows(), 1000U / ifdsweep::ValueBudget::kPlaceCost);
}

TEST_F(Values, MemoryEndsReadingWhileThereIsRoomForTheRecords) {
    constexpr std::uint64_t kMebibyte = std::uint64_t{1} << 20;
    int asked = 0;
    const ifdsweep::MemoryBound bound = [&asked] {
        ++asked;
        return 512 * kMebibyte;
    };
    budget.begin(ifdsweep::kUnlimited, 1000, 0, bound);
    budget.addValue(16, 255 * kMebibyte);
    EXPECT_FALSE(budget.refuses());
    EXPECT_EQ(asked, 0) << "small calls do not ask";
    budget.addValue(16, 256 * kMebibyte);
    EXPECT_FALSE(budget.refuses());
    budget.addValue(16, kMebibyte);
    EXPECT_TRUE(budget.refuses());
    EXPECT_EQ(asked, 1);
    const std::optional<ifdsweep::SpentBudget> spent = budget.takeSpentMemory();
    ASSERT_TRUE(spent);
    EXPECT_EQ(spent->budget, 512 * kMebibyte);
    EXPECT_EQ(spent->fileSize, 1000U);
    EXPECT_FALSE(budget.takeSpent());
    // Half as much again is there for records: 256 MiB, less what the accesses counted.
    EXPECT_LT(budget.grant(300 * kMebibyte, 0, 1), 256 * kMebibyte);
    budget.begin(ifdsweep::kUnlimited, 1000, 0, bound);
    EXPECT_EQ(budget.grant(300 * kMebibyte, 0, 1), 300 * kMebibyte);
    EXPECT_GT(budget.grant(600 * kMebibyte, 0, 1), 467 * kMebibyte);
    EXPECT_FALSE(budget.takeSpentMemory() && budget.takeSpentMemory()) << "told once";
    budget.end();
}

TEST_F(Values, TheLastWarningsOfASpentBudgetAreKept) {
    constexpr std::uint64_t kBefore = 5;
    budget.begin(kBefore * ifdsweep::ValueBudget::kWarningCost, 1000, 0, {});
    std::uint64_t kept = 0;
    for (int warning = 0; warning < 5000; ++warning) {
        kept += budget.takesWarning(0) ? 1U : 0U;
    }
    EXPECT_EQ(kept, kBefore + ifdsweep::ValueBudget::kLastWarnings);
    EXPECT_TRUE(budget.takeSpent().has_value());
    EXPECT_FALSE(budget.takeSpent().has_value()) << "told once";
}

TEST_F(Values, ScalarHoldsItsNumber) {
    const ValueHandle value(store.createScalar(2.5));
    EXPECT_EQ(value->kind(), ValueKind::Double);
    EXPECT_EQ(value->rows(), 1U);
    EXPECT_EQ(value->columns(), 1U);
    ASSERT_EQ(value->doubles().size(), 1U);
    EXPECT_EQ(value->doubles()[0], 2.5);
    EXPECT_TRUE(value->bytes().empty());
    EXPECT_TRUE(value->text().empty());
    EXPECT_EQ(value->cell(0), nullptr);
    EXPECT_EQ(value->fieldCount(), 0U);
    EXPECT_EQ(value->field(0, 0), nullptr);
    EXPECT_EQ(value->fieldIndex("a"), std::nullopt);
}

TEST_F(Values, ArraysOfEverySizeHoldTheirElements) {
    // From inside the value over small blocks to blocks of their own and huge ones.
    for (const std::size_t count :
         {std::size_t{0}, std::size_t{1}, std::size_t{2}, std::size_t{4}, std::size_t{5},
          std::size_t{8}, std::size_t{9}, std::size_t{128}, std::size_t{129}, std::size_t{100'000},
          std::size_t{524'288}, std::size_t{600'000}}) {
        const ValueHandle value(store.createArray(ValueKind::Double, 1, count));
        double* elements = static_cast<double*>(ValueStore::elements(*value));
        for (std::size_t index = 0; index < count; ++index) {
            elements[index] = static_cast<double>(index);
        }
        ASSERT_EQ(value->doubles().size(), count);
        ASSERT_TRUE(count == 0 || value->doubles()[count - 1] == static_cast<double>(count - 1));

        const ValueHandle bytes(store.createArray(ValueKind::Uint8, count, 1));
        std::fill_n(static_cast<std::uint8_t*>(ValueStore::elements(*bytes)), count,
                    std::uint8_t{7});
        ASSERT_EQ(bytes->bytes().size(), count);
        ASSERT_TRUE(count == 0 || bytes->bytes().back() == 7);

        const ValueHandle text(store.createText(std::u16string(count, u'x')));
        ASSERT_EQ(text->text(), std::u16string(count, u'x'));
        ASSERT_EQ(text->rows(), 1U);
    }
}

TEST_F(Values, EveryShapeKeepsItsDimensions) {
    constexpr std::array<std::pair<std::size_t, std::size_t>, 13> kShapes{
        {{0, 0},
         {0, 1},
         {1, 0},
         {1, 1},
         {0, 5},
         {5, 0},
         {1, 5},
         {5, 1},
         {2, 2},
         {3, 100},
         {100, 3},
         {0, std::size_t{1} << 60},
         {70'000, 3}}};
    constexpr std::array kKinds{ValueKind::Double, ValueKind::Uint8, ValueKind::Char,
                                ValueKind::Cell, ValueKind::Struct};
    constexpr std::array kNames{"A", "B"};
    for (const auto& [rows, columns] : kShapes) {
        for (const ValueKind kind : kKinds) {
            const ValueHandle value(kind == ValueKind::Struct
                                        ? store.createRecords(rows, columns, kNames)
                                        : store.createArray(kind, rows, columns));
            if (kind == ValueKind::Double || kind == ValueKind::Uint8) {
                const std::size_t size = kind == ValueKind::Double ? sizeof(double) : 1;
                std::fill_n(static_cast<std::uint8_t*>(ValueStore::elements(*value)),
                            rows * columns * size, std::uint8_t{0xFF});
            }
            if (kind == ValueKind::Cell && rows * columns > 0) {
                ValueStore::setCell(*value, rows * columns - 1, store.createScalar(1));
                EXPECT_NE(value->cell(rows * columns - 1), nullptr);
            }
            EXPECT_EQ(value->rows(), rows);
            EXPECT_EQ(value->columns(), columns);
            EXPECT_EQ(value->elementCount(), rows * columns);
        }
    }
}

TEST_F(Values, EqualShortTextsShareABlockUntilOneIsFilled) {
    const std::u16string word = u"BlackIsZero";
    const ValueHandle first(store.createText(word));
    ValueHandle second(store.createText(word));
    const ValueHandle other(store.createText(u"BlackIsZera"));
    EXPECT_EQ(first->text().data(), second->text().data());
    EXPECT_NE(first->text().data(), other->text().data());
    static_cast<char16_t*>(ValueStore::elements(*first))[0] = u'b';
    EXPECT_EQ(first->text(), u"blackIsZero");
    EXPECT_EQ(second->text(), word);
    const char16_t* block = second->text().data();
    const ValueHandle third(store.createText(word));
    second.reset();
    EXPECT_EQ(third->text().data(), block);
    EXPECT_EQ(third->text(), word);
}

TEST_F(Values, ASharedTextThatIsGoneIsMadeAnew) {
    const std::u16string longest(64, u'x');
    for (int round = 0; round < 3; ++round) {
        // More texts than there are places for them, so that some lose theirs.
        std::vector<ValueHandle> kept;
        for (int number = 0; number < 1000; ++number) {
            std::u16string text = u"number " + std::u16string(1, static_cast<char16_t>(number));
            kept.emplace_back(store.createText(text));
            kept.emplace_back(store.createText(text));
            ASSERT_EQ(kept.back()->text(), text);
        }
        kept.emplace_back(store.createText(longest));
        kept.erase(kept.begin(), kept.begin() + 999);
        EXPECT_EQ(kept.back()->text(), longest);
        EXPECT_EQ(kept.front()->text().size(), 8U);
    }
}

TEST_F(Values, CellsOwnTheirValues) {
    const ValueHandle cells(store.createArray(ValueKind::Cell, 1, 3));
    EXPECT_EQ(cells->cell(0), nullptr);
    Value* first = store.createScalar(1);
    ValueStore::setCell(*cells, 0, first);
    ValueStore::setCell(*cells, 2, store.createScalar(3));
    EXPECT_EQ(cells->cell(0), first);
    EXPECT_EQ(cells->cell(1), nullptr);
    EXPECT_EQ(cells->cell(2)->doubles()[0], 3);
    EXPECT_EQ(cells->cell(3), nullptr);
    EXPECT_EQ(store.liveValues(), 3U);
    ValueStore::setCell(*cells, 2, nullptr);
    EXPECT_EQ(cells->cell(2), nullptr);
    EXPECT_EQ(store.liveValues(), 2U);
    EXPECT_THROW(ValueStore::setCell(*cells, 3, nullptr), std::invalid_argument);
    EXPECT_THROW(ValueStore::setCell(*first, 0, nullptr), std::invalid_argument);
}

TEST_F(Values, FieldsStartEmptyAndKeepTheirOrder) {
    const ValueHandle value = records(2, {"B", "A", "C"});
    EXPECT_EQ(value->fieldCount(), 3U);
    EXPECT_EQ(value->fieldName(0), "B");
    EXPECT_EQ(value->fieldName(2), "C");
    EXPECT_EQ(value->fieldName(3), "");
    EXPECT_EQ(value->fieldIndex("A"), 1U);
    EXPECT_EQ(value->fieldIndex("D"), std::nullopt);
    for (std::size_t field = 0; field < 4; ++field) {
        EXPECT_EQ(value->field(0, field), nullptr);
    }
}

TEST_F(Values, FieldsAreSetInAnyOrder) {
    const ValueHandle value = records(3, {"A", "B", "C"});
    const std::array<std::array<const char*, 3>, 3> orders{
        {{"C", "A", "B"}, {"C", "A", "B"}, {"B", "B", "A"}}};
    for (std::size_t element = 0; element < 3; ++element) {
        for (std::size_t step = 0; step < 3; ++step) {
            ValueStore::setField(*value, element, orders[element][step],
                                 store.createScalar(static_cast<double>(step)));
        }
    }
    const auto number = [&value](std::size_t element, const char* name) {
        return value->field(element, value->fieldIndex(name).value())->doubles()[0];
    };
    EXPECT_EQ(number(0, "C"), 0);
    EXPECT_EQ(number(0, "A"), 1);
    EXPECT_EQ(number(1, "B"), 2);
    EXPECT_EQ(number(2, "B"), 1);
    EXPECT_EQ(number(2, "A"), 2);
    EXPECT_EQ(value->field(2, 2), nullptr);
    EXPECT_EQ(value->field(3, 0), nullptr);
}

TEST_F(Values, ReplacingAFieldFreesWhatItHeld) {
    const ValueHandle value = records(1, {"A"});
    ValueStore::setField(*value, 0, "A", store.createScalar(1));
    ValueStore::setField(*value, 0, "A", store.createScalar(2));
    EXPECT_EQ(store.liveValues(), 2U);
    EXPECT_EQ(value->field(0, 0)->doubles()[0], 2);
    ValueStore::setField(*value, 0, "A", nullptr);
    EXPECT_EQ(value->field(0, 0), nullptr);
    EXPECT_EQ(store.liveValues(), 1U);
}

TEST_F(Values, SettingAFieldToItsOwnValueKeepsIt) {
    const ValueHandle value = records(1, {"A"});
    Value* number = store.createScalar(1);
    ValueStore::setField(*value, 0, "A", number);
    ValueStore::setField(*value, 0, "A", number);
    EXPECT_EQ(value->field(0, 0)->doubles()[0], 1);
}

TEST_F(Values, AbsentFieldsAndElementsAreRefused) {
    const ValueHandle value = records(1, {"A"});
    const ValueHandle number(store.createScalar(1));
    EXPECT_THROW(ValueStore::setField(*value, 0, "B", number.get()), std::invalid_argument);
    EXPECT_THROW(ValueStore::setField(*value, 1, "A", number.get()), std::invalid_argument);
    EXPECT_THROW(ValueStore::setField(*number, 0, "A", nullptr), std::invalid_argument);
    EXPECT_EQ(number->doubles()[0], 1);
}

TEST_F(Values, NamesAreCopied) {
    std::string name = "First";
    const ValueHandle value = records(1, {name.c_str()});
    name = "Other";
    EXPECT_EQ(value->fieldName(0), "First");
    EXPECT_THROW(ValueStore::setField(*value, 0, name.c_str(), nullptr), std::invalid_argument);
}

TEST_F(Values, NamesAreIdentifiersOrNot) {
    const std::string longest(63, 'n');
    const std::string longer(64, 'n');
    const std::pair<const char*, bool> rows[]{
        {"A", true},
        {"z", true},
        {"_", true},
        {"Tag_09", true},
        {longest.c_str(), true},
        {longer.c_str(), false},
        {"@", false},
        {"[", false},
        {"`", false},
        {"{", false},
        {"/", false},
        {":", false},
        {"a b", false},
        {"\"", false},
        {"\xC3\xA9", false},
        {"\x7F", false},
        {"\n", false},
    };
    for (const auto& [name, is] : rows) {
        EXPECT_EQ(records(1, {"Width", name})->fieldNamesAreIdentifiers(), is) << name;
    }
}

TEST_F(Values, ManyFieldListsLiveSideBySide) {
    std::vector<ValueHandle> all;
    for (int list = 0; list < 40; ++list) {
        const std::string own = "Field" + std::to_string(list % 20);
        all.push_back(records(1, {"Common", own.c_str()}));
    }
    for (std::size_t list = 0; list < all.size(); ++list) {
        EXPECT_EQ(all[list]->fieldName(1), "Field" + std::to_string(list % 20));
        EXPECT_EQ(all[list]->fieldIndex("Field" + std::to_string(list % 20)), 1U);
    }
}

TEST_F(Values, RecordsWithoutFieldsOrElements) {
    const ValueHandle noFields = records(4, {});
    EXPECT_EQ(noFields->fieldCount(), 0U);
    EXPECT_EQ(noFields->elementCount(), 4U);
    EXPECT_THROW(ValueStore::setField(*noFields, 0, "A", nullptr), std::invalid_argument);
    const ValueHandle noElements = records(0, {"A"});
    EXPECT_EQ(noElements->elementCount(), 0U);
    EXPECT_EQ(noElements->fieldName(0), "A");
}

TEST_F(Values, RepeatedNamesMeanTheFirst) {
    const ValueHandle value = records(1, {"A", "A"});
    EXPECT_EQ(value->fieldIndex("A"), 0U);
}

TEST_F(Values, DeepNestingIsFreedWithoutRecursion) {
    const std::array names{"A"};
    ValueHandle outer(store.createScalar(0));
    for (int level = 0; level < 200'000; ++level) {
        ValueHandle holder;
        if (level % 2 == 0) {
            holder.reset(store.createRecords(1, 1, names));
            ValueStore::setField(*holder, 0, "A", outer.release());
        } else {
            holder.reset(store.createArray(ValueKind::Cell, 1, 1));
            ValueStore::setCell(*holder, 0, outer.release());
        }
        outer = std::move(holder);
    }
    EXPECT_EQ(store.liveValues(), 200'001U);
}

TEST_F(Values, ValuesOfTwoStoresMayMeet) {
    ValueStore other(budget);
    const ValueHandle cells(store.createArray(ValueKind::Cell, 1, 1));
    ValueStore::setCell(*cells, 0, other.createScalar(1));
    EXPECT_EQ(other.liveValues(), 1U);
    EXPECT_EQ(store.liveValues(), 1U);
    ValueStore::setCell(*cells, 0, nullptr);
    EXPECT_EQ(other.liveValues(), 0U);
}

TEST_F(Values, MemoryIsUsedAgain) {
    const void* first = nullptr;
    for (int round = 0; round < 3; ++round) {
        const ValueHandle cells(store.createArray(ValueKind::Cell, 1, 50'000));
        for (std::size_t cell = 0; cell < 50'000; ++cell) {
            ValueStore::setCell(*cells, cell, store.createScalar(static_cast<double>(cell)));
        }
        EXPECT_EQ(cells->cell(49'999)->doubles()[0], 49'999);
        EXPECT_TRUE(first == nullptr || first == cells.get());
        first = cells.get();
    }
}

struct SizeCase {
    const char* name;
    ValueKind kind;
    std::size_t rows;
    std::size_t columns;
};

class ImpossibleSizes : public testing::TestWithParam<SizeCase> {};

TEST_P(ImpossibleSizes, AreBadAlloc) {
    ifdsweep::ValueBudget budget;
    ValueStore store(budget);
    const std::array names{"A", "B"};
    const auto create = [&] {
        const auto& [name, kind, rows, columns] = GetParam();
        return kind == ValueKind::Struct ? store.createRecords(rows, columns, names)
                                         : store.createArray(kind, rows, columns);
    };
    EXPECT_THROW(static_cast<void>(create()), std::bad_alloc);
    EXPECT_EQ(store.liveValues(), 0U);
    const ValueHandle next(store.createScalar(1));
    EXPECT_EQ(store.liveValues(), 1U);
}

constexpr std::size_t kMost = std::numeric_limits<std::size_t>::max();
constexpr std::size_t kHalf = std::size_t{1} << 32;

const SizeCase kImpossible[] = {
    {"ProductWrapsToZero", ValueKind::Double, kHalf, kHalf},
    {"ProductWrapsToSmall", ValueKind::Uint8, kHalf + 1, kHalf},
    {"BytesWrap", ValueKind::Double, kMost / 8 + 2, 1},
    {"CharBytesWrap", ValueKind::Char, kMost / 2 + 2, 1},
    {"TooManyBytes", ValueKind::Uint8, kMost, 1},
    {"TooManyDoubles", ValueKind::Double, std::size_t{1} << 56, 1},
    {"Cells", ValueKind::Cell, kHalf, kHalf},
    {"CellBytesWrap", ValueKind::Cell, kMost / 8 + 1, 1},
    {"RecordSlotsWrap", ValueKind::Struct, kMost / 2 + 1, 1},
    {"RecordBytesWrap", ValueKind::Struct, kMost / 16 + 1, 1},
};

INSTANTIATE_TEST_SUITE_P(Sizes, ImpossibleSizes, testing::ValuesIn(kImpossible),
                         [](const auto& testCase) { return std::string(testCase.param.name); });

TEST_F(Values, PlannedCreationFailureComesOnce) {
    fixture::failValueCreation(store, 3, std::make_exception_ptr(std::range_error("planned")));
    const ValueHandle first(store.createScalar(1));
    const ValueHandle second(store.createText(u"a text of its own block"));
    EXPECT_THROW(static_cast<void>(store.createArray(ValueKind::Cell, 2, 2)), std::range_error);
    EXPECT_EQ(store.liveValues(), 2U);
    const ValueHandle third(store.createScalar(3));
    EXPECT_EQ(third->doubles()[0], 3);
}

}  // namespace

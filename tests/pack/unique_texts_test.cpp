#include "pack/unique_texts.h"

#include <algorithm>
#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

namespace {

using ifdsweep::UniqueTexts;
using Texts = std::vector<std::string>;
using Rows = std::vector<std::uint32_t>;

/// The rows of texts in a file of their own.
Rows rowsOf(UniqueTexts& unique, const Texts& texts) {
    unique.begin();
    Rows rows;
    for (const std::string& text : texts) {
        rows.push_back(unique.rowOf(text));
    }
    unique.end();
    return rows;
}

/// What a file has after it ended.
Texts textsOf(const UniqueTexts& unique) {
    Texts texts;
    for (const ifdsweep::PackedNameRow& run : unique.rows()) {
        texts.emplace_back(unique.texts().data() + run.begin, run.size);
    }
    return texts;
}

TEST(UniqueTexts, CountEachTextOnceInItsFileWhateverTheFilesBeforeHad) {
    const std::vector<std::pair<Texts, Rows>> files{{{"a", "b", "a", "c"}, {0, 1, 0, 2}},
                                                    {{"c", "a"}, {0, 1}},
                                                    {{"a", "b", "a", "c"}, {0, 1, 0, 2}},
                                                    {{"b", "b", "d", "a"}, {0, 0, 1, 2}},
                                                    {{}, {}},
                                                    {{"a", "b", "a", "c"}, {0, 1, 0, 2}}};
    UniqueTexts unique;
    for (const auto& [texts, rows] : files) {
        EXPECT_EQ(rowsOf(unique, texts), rows);
        UniqueTexts alone;
        static_cast<void>(rowsOf(alone, texts));
        EXPECT_EQ(textsOf(unique), textsOf(alone));
        EXPECT_TRUE(std::ranges::equal(unique.index(), alone.index()));
        EXPECT_EQ(unique.size(), alone.size());
    }
}

TEST(UniqueTexts, KnowATextByItsNumberInLaterFiles) {
    UniqueTexts unique;
    unique.begin();
    const std::uint32_t number = unique.numberOf("known");
    EXPECT_EQ(unique.size(), 0U);
    EXPECT_EQ(unique.rowOfNumber(number), 0U);
    unique.begin();
    EXPECT_EQ(unique.rowOf("other"), 0U);
    EXPECT_EQ(unique.rowOfNumber(number), 1U);
    EXPECT_EQ(unique.rowOf("known"), 1U);
}

TEST(UniqueTexts, AreForgottenWhereTheyAreManyOrLong) {
    Texts many;
    for (int number = 0; number < 2000; ++number) {
        many.push_back(std::to_string(number));
    }
    struct Case {
        Texts texts;
        bool areForgotten;
    };
    const std::vector<Case> cases{
        {{"few"}, false}, {many, true}, {{std::string(std::size_t{1} << 20, 'x')}, true}};
    for (const Case& each : cases) {
        UniqueTexts unique;
        const std::uint64_t before = unique.forgotten();
        EXPECT_EQ(rowsOf(unique, each.texts).back(), each.texts.size() - 1);
        EXPECT_EQ(textsOf(unique), each.texts);
        EXPECT_EQ(unique.forgotten(), before);
        EXPECT_EQ(rowsOf(unique, {"few", "more"}), (Rows{0, 1}));
        EXPECT_EQ(unique.forgotten() != before, each.areForgotten);
    }
}

}  // namespace

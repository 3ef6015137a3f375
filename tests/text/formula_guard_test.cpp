// The guard against formulas: what a spreadsheet would run, and what it would not.

#include "text/formula_guard.h"

#include <cstddef>
#include <string>
#include <string_view>

#include <gtest/gtest.h>

namespace {

struct Row {
    std::string_view text;
    std::string_view guarded;
};

TEST(FormulaGuards, WhatBeginsAsAFormulaGetsAnApostrophe) {
    const Row rows[] = {
        {"", ""},
        {"=cmd|' /C calc'!A0", "'=cmd|' /C calc'!A0"},
        {"+1", "'+1"},
        {"-1", "'-1"},
        {"@SUM(1)", "'@SUM(1)"},
        {"＝1", "'＝1"},
        {"＋1", "'＋1"},
        {"－1", "'－1"},
        {"＠1", "'＠1"},
        {" =1", "' =1"},
        {"\xC2\xA0\xE3\x80\x80=1", "'\xC2\xA0\xE3\x80\x80=1"},
        {"\"=1\"", "'\"=1\""},
        {"' \" '+1", "'' \" '+1"},
        {"=", "="},
        {"'-", "'-"},
        {"--", "'--"},
        {"- ", "'- "},
        {"a=1", "a=1"},
        {"1-2", "1-2"},
        {"2024:05:06", "2024:05:06"},
        {"'tis", "'tis"},
        {" ", " "},
        {"'", "'"},
        {"\\t=1", "\\t=1"},    // an escape, which is no white space
        {"\xE9=1", "\xE9=1"},  // no UTF-8
        {"−1", "−1"},          // the minus sign of typesetting is no operator
    };
    for (const Row& row : rows) {
        std::string text(row.text);
        ifdsweep::guardFormulas(text);
        EXPECT_EQ(text, row.guarded);
        EXPECT_EQ(ifdsweep::beginsAsFormula(row.text), row.text != row.guarded) << row.text;
    }
}

TEST(FormulaGuards, ASemicolonMayEndACell) {
    const Row rows[] = {
        {"a;b; c;", "a;b; c;"},
        {"a;=1", "a\\x3b=1"},
        {"a; \"=1;b;;+2;-", "a\\x3b \"=1;b;\\x3b+2;-"},
        {"=1;2", "'=1;2"},
        {"=1;＝2", "'=1\\x3b＝2"},
        {";@;", "\\x3b@;"},
    };
    for (const Row& row : rows) {
        std::string text(row.text);
        ifdsweep::guardFormulas(text);
        EXPECT_EQ(text, row.guarded);
    }
}

/// The text that was guarded: what beside the escapes of terminal text a reader has to undo.
std::string unguarded(std::string_view cell) {
    std::string text(cell);
    if (text.starts_with('\'') && ifdsweep::beginsAsFormula(cell.substr(1))) {
        text.erase(0, 1);
    }
    for (std::size_t at = 0; (at = text.find("\\x3b", at)) != std::string::npos;) {
        text.replace(at, 4, ";");
    }
    return text;
}

TEST(FormulaGuards, EveryTextComesBack) {
    constexpr std::string_view kCharacters = "='\" ;-a";
    constexpr std::size_t kTexts = 7 * 7 * 7 * 7 * 7 * 7;
    for (std::size_t number = 0; number < kTexts; ++number) {
        std::string text;
        for (std::size_t rest = number; rest > 0; rest /= kCharacters.size()) {
            text.push_back(kCharacters[rest % kCharacters.size()]);
        }
        std::string guarded = text;
        ifdsweep::guardFormulas(guarded);
        ASSERT_EQ(unguarded(guarded), text);
        ASSERT_TRUE(guarded.starts_with('\'') || !ifdsweep::beginsAsFormula(guarded)) << text;
        for (std::size_t at = 0; (at = guarded.find(';', at)) != std::string::npos; ++at) {
            ASSERT_FALSE(ifdsweep::beginsAsFormula(std::string_view(guarded).substr(at + 1)))
                << text;
        }
    }
}

}  // namespace

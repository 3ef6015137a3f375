// Patterns for paths: what they match, what they cannot match below, what is wrong with them.

#include "walk/glob.h"

#include <chrono>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

namespace {

using ifdsweep::BadGlob;
using ifdsweep::Glob;
using ifdsweep::LetterCase;

struct Match {
    std::string pattern;
    std::vector<std::string> matching;
    std::vector<std::string> others;
    LetterCase letters = LetterCase::distinct;
};

const Match kMatches[]{
    // A pattern without a slash is for the name.
    {"*.tif", {"a.tif", "b/c/a.tif", ".tif", "a.tif.tif"}, {"a.tiff", "a.TIF", "a.tif/b"}},
    {"a.tif", {"a.tif", "b/a.tif"}, {"ba.tif", "a.tif/b"}},
    {"*", {"a", ".hidden", "b/c"}, {}},
    {"?.jpg", {"1.jpg", "b/\xC3\xA4.jpg", "\xE2\x82\xAC.jpg", "\xFF.jpg"}, {".jpg", "12.jpg"}},
    {"a**b", {"ab", "axyb"}, {"abc"}},
    {"*a*b*", {"ab", "xaxbx", "aab"}, {"ba", "a", "b"}},
    // One with a slash is for the path.
    {"b/*.tif", {"b/a.tif"}, {"a.tif", "b/c/a.tif", "c/b/a.tif"}},
    {"/a.tif", {"a.tif"}, {"b/a.tif"}},
    {"./a.tif", {"a.tif"}, {"b/a.tif"}},
    {"./b//./c/*", {"b/c/x"}, {"b/x"}},
    {"*/a", {"b/a"}, {"a", "b/c/a"}},
    {"b?c/x", {}, {"b/c/x"}},
    {"b[!x]c", {"bxxc/bac"}, {"b/c"}},
    // Any number of folders.
    {"**/a", {"a", "b/a", "b/c/a"}, {"a/b", "ba"}},
    {"b/**/a", {"b/a", "b/c/a", "b/c/d/a"}, {"a", "c/b/a", "b/a/c"}},
    {"b/**", {"b/a", "b/c/d"}, {"b", "c/b/a"}},
    {"**", {"a", "b/c"}, {}},
    {"/**/", {}, {"a"}},
    {"**/b/**/c/*.tif",
     {"b/c/a.tif", "x/b/y/z/c/a.tif", "b/b/c/c/a.tif"},
     {"c/b/a.tif", "b/c/d/a.tif"}},
    {"photos/**/*.jpg", {"photos/2023/a.jpg", "photos/a.jpg"}, {"videos/photos/a.jpg"}},
    {"**/**/a", {"a", "b/a"}, {"b"}},
    {"b/**c/a", {"b/c/a", "b/xc/a"}, {"b/x/c/a"}},
    // Classes.
    {"[abc]", {"a", "c"}, {"d", "ab"}},
    {"[a-cx]", {"b", "x"}, {"d", "-"}},
    {"[!a-c]", {"d", "A", "\xC3\xA4"}, {"a", "b"}},
    {"[^a-c]", {"d", "^"}, {"a"}},
    {"[]a]", {"]", "a"}, {"b"}},
    {"[!]a]", {"b"}, {"]", "a"}},
    {"[a-]", {"a", "-"}, {"b"}},
    {"[-a]", {"a", "-"}, {"b"}},
    {"[\\]\\-\\\\]", {"]", "-", "\\"}, {"a"}},
    {"[*?{,}]", {"*", "?", "{", ",", "}"}, {"a"}},
    {"[\xC3\xA4-\xC3\xBC]", {"\xC3\xB6"}, {"o", "\xC3\xA0"}},
    {"[[:digit:]x-]", {"5", "x", "-"}, {"a", ":", "d"}},
    {"[![:alpha:][:digit:]]", {"_"}, {"a", "Z", "9"}},
    {"[[:upper:]]", {"A"}, {"a", "\xC3\x84"}},
    {"[[:a]", {"[", ":", "a"}, {"]"}},
    // Alternatives.
    {"*.{tif,tiff}", {"a.tif", "b/a.tiff"}, {"a.ti", "a.tif,tiff"}},
    {"a{,b,{c,d}e}f", {"af", "abf", "acef", "adef"}, {"af,", "aef", "aceff"}},
    {"{a,b}{1,2}", {"a1", "a2", "b1", "b2"}, {"a", "1"}},
    {"{a}", {"a"}, {"{a}"}},
    {"a{}", {"a"}, {"a{}"}},
    {"{b/*,c}.tif", {"b/a.tif", "c.tif", "d/c.tif"}, {"a.tif", "d/b/a.tif"}},
    {"{,a}", {"a"}, {""}},
    {"{[,],x}", {",", "x"}, {"[", "]", "{"}},
    {"a,b}", {"a,b}"}, {"a"}},
    // A backslash.
    {"\\*\\?\\[\\{\\\\", {"*?[{\\"}, {"ab[{\\"}},
    {"\\{a,b\\}", {"{a,b}"}, {"a"}},
    {"{a\\,b,c}", {"a,b", "c"}, {"a"}},
    {"\\a", {"a"}, {"\\a"}},
    // Letters in any case.
    {"*.{JPG,tif}", {"a.jpg", "A.Jpg", "b/a.TIF"}, {"a.jpgx"}, LetterCase::any},
    {"[a-c]", {"B", "b"}, {"D"}, LetterCase::any},
    {"[!a-c]", {"D"}, {"B", "b"}, LetterCase::any},
    {"Photos/**", {"photos/a", "PHOTOS/b/c"}, {"a"}, LetterCase::any},
    {"\xC3\xA4", {"\xC3\xA4"}, {"\xC3\x84"}, LetterCase::any},
    // Bytes that are no UTF-8 are themselves.
    {"\xFF*", {"\xFF", "\xFF\xC3"}, {"\xC3\xBF"}},
    {"[\xC3]?", {"\xC3x"}, {"\xC3\xA4"}},
    {"??", {"\xE2\x82", "\xC0\x80"}, {"\xC3\xA4"}},
};

TEST(Globs, MatchWhatTheySay) {
    for (const Match& row : kMatches) {
        const Glob glob(row.pattern, row.letters);
        for (const std::string& path : row.matching) {
            EXPECT_TRUE(glob.matches(path, false)) << row.pattern << " and " << path;
        }
        for (const std::string& path : row.others) {
            EXPECT_FALSE(glob.matches(path, false)) << row.pattern << " and " << path;
        }
    }
}

TEST(Globs, ASlashAtTheEndIsForFolders) {
    for (const char* const pattern : {"c/", "b/c/", "**/c/", "/b/**/c//", "{c,d}/"}) {
        const Glob glob(pattern);
        EXPECT_TRUE(glob.isForFolders()) << pattern;
        EXPECT_TRUE(glob.matches("b/c", true)) << pattern;
        EXPECT_FALSE(glob.matches("b/c", false)) << pattern;
    }
    const Glob either("{a/,b}");
    EXPECT_FALSE(either.isForFolders());
    EXPECT_FALSE(either.matches("a", false));
    EXPECT_TRUE(either.matches("a", true));
    EXPECT_TRUE(either.matches("b", false));
    EXPECT_TRUE(Glob("b").matches("b", true));
}

TEST(Globs, AFolderBelowWhichNothingCanMatchIsKnown) {
    struct Case {
        const char* pattern;
        std::vector<std::string> possible;
        std::vector<std::string> impossible;
    };
    const Case rows[]{
        {"*.tif", {"a", "a/b/c"}, {}},
        {"photos/**/*.jpg", {"photos", "photos/2023"}, {"videos", "videos/photos"}},
        {"/a.tif", {}, {"a.tif", "b"}},
        {"a/b/*.tif", {"a", "a/b"}, {"b", "a/c", "a/b/c"}},
        {"**/a/b", {"x", "x/y"}, {}},
        {"{a/*,b/*}", {"a", "b"}, {"c", "a/b"}},
    };
    for (const Case& row : rows) {
        const Glob glob(row.pattern);
        for (const std::string& folder : row.possible) {
            EXPECT_TRUE(glob.mayMatchBelow(folder)) << row.pattern << " and " << folder;
        }
        for (const std::string& folder : row.impossible) {
            EXPECT_FALSE(glob.mayMatchBelow(folder)) << row.pattern << " and " << folder;
        }
    }
}

std::string complaintOf(const std::string& pattern) {
    try {
        static_cast<void>(Glob(pattern));
    } catch (const BadGlob& wrong) {
        return wrong.what();
    }
    return "";
}

TEST(Globs, ABadPatternIsToldWhatIsWrong) {
    const std::string bracket =
        "[ without ] in the same part; behind a backslash it is the character itself";
    const std::string brace = "{ without }; behind a backslash it is the character itself";
    const std::string backslash = "a backslash with nothing behind it";
    const std::string many = "its braces stand for more than 1000 patterns or 1048576 bytes";
    const std::string nothing = "it names nothing";
    const std::pair<std::string, std::string> rows[]{
        {"[a", bracket},
        {"[]", bracket},
        {"[!]", bracket},
        {"[a\\]", bracket},
        {"[a/b]", bracket},
        {"x/{[a}", bracket},
        {"{a", brace},
        {"{a,{b}", brace},
        {"a\\", backslash},
        {"a\\/b", backslash},
        {"[z-a]", "a range in [] that ends before it begins"},
        {"[[:letter:]]", "no class of characters is [:letter:]"},
        {"../a", "\"..\": a pattern is for what lies below the folders that are named"},
        {"", nothing},
        {"/", nothing},
        {"./", nothing},
        {"{,}", nothing},
        {"{0,1,2,3,4,5,6,7,8,9}{0,1,2,3,4,5,6,7,8,9}{0,1,2,3,4,5,6,7,8,9}{0,1}", many},
        {std::string(100'000, '{') + std::string(100'000, '}'), many},
    };
    for (const auto& [pattern, complaint] : rows) {
        EXPECT_EQ(complaintOf(pattern), complaint) << pattern.substr(0, 80);
    }
    EXPECT_EQ(complaintOf("{0,1,2,3,4,5,6,7,8,9}{0,1,2,3,4,5,6,7,8,9}{0,1,2,3,4,5,6,7,8,9}"), "");
}

std::string times(int count, const std::string& text) {
    std::string all;
    for (int time = 0; time < count; ++time) {
        all += text;
    }
    return all;
}

TEST(Globs, NoPatternTakesLongWithAnyPath) {
    const auto begin = std::chrono::steady_clock::now();
    const std::string name = times(255, "a");
    const std::string path = times(2000, "a/") + "a";
    for (const std::string& pattern :
         {times(10'000, "*"), times(10'000, "*a") + 'b', times(100, "*a") + 'b',
          times(50, "[a-z]*") + 'b', times(1000, "**/a/") + 'b', times(1000, "**/*a*a*/") + 'b'}) {
        const Glob glob(pattern);
        EXPECT_EQ(glob.matches(name, false), pattern.back() == '*');
        EXPECT_EQ(glob.matches(path, false), pattern.back() == '*');
        EXPECT_FALSE(glob.matches(path + 'c', false) && pattern.back() != '*');
        EXPECT_TRUE(glob.mayMatchBelow(path));
    }
    EXPECT_FALSE(Glob("**/a/*/a/*b/a").matches(path, false));
    EXPECT_FALSE(Glob("**/" + times(100, "a/") + "b/a").matches(path, false));
    EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::seconds(10));
}

}  // namespace

#include "manual/manual_page.h"

#include <algorithm>
#include <cctype>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <string_view>
#include <vector>

#include <gtest/gtest.h>
#include <unistd.h>

#include "cli/reading_table.h"
#include "manual/bash_completion.h"
#include "manual/fish_completion.h"
#include "manual/option_texts.h"
#include "manual/zsh_completion.h"
#include "read/tag_choice.h"
#include "support/temporary_folder.h"
#include "support/whole_file.h"

namespace {

using namespace ifdsweep;

/// What groff prints for a page: to its standard output, and as complaints.
struct Rendering {
    std::string text;
    std::string complaints;
};

Rendering render(const std::string& page) {
    const fixture::TemporaryFolder folder;
    fixture::writeFile(folder / "page.1", page);
    const std::string command = "cd '" + folder.path().string() +
                                "' && groff -man -ww -Tascii -P-c -P-b -P-u -P-o page.1 "
                                ">text 2>complaints";
    EXPECT_EQ(std::system(command.c_str()), 0);
    return {fixture::readFile(folder / "text"), fixture::readFile(folder / "complaints")};
}

/// A text with one space for every run of white space.
std::string squeezed(std::string_view text) {
    std::string result;
    for (const char letter : text) {
        const bool isSpace = std::isspace(static_cast<unsigned char>(letter)) != 0;
        if (!isSpace) {
            result += letter;
        } else if (!result.empty() && result.back() != ' ') {
            result += ' ';
        }
    }
    return result;
}

const Rendering& renderedManual() {
    static const Rendering kRendering = [] {
        Rendering made = render(ifdsweep::manual::manualPage());
        made.text = squeezed(made.text);
        return made;
    }();
    return kRendering;
}

void expectInManual(std::string_view text) {
    EXPECT_NE(renderedManual().text.find(squeezed(text)), std::string::npos) << text;
}

TEST(ManualPage, GivesGroffNothingToWarnOf) {
    EXPECT_EQ(renderedManual().complaints, "");
}

TEST(ManualPage, ShowsEveryOptionWithItsHelp) {
    for (const OptionRow& row : optionTable()) {
        const std::string shortName(row.shortName);
        expectInManual(shortName + (shortName.empty() ? "" : ", ") + std::string(row.name) + ' ' +
                       std::string(row.placeholder) + (row.placeholder.empty() ? "" : " ") +
                       std::string(row.help));
    }
}

TEST(ManualPage, ShowsTheTextsAroundTheOptions) {
    expectInManual(kDescription);
    expectInManual(kQuantityNote);
    expectInManual(kJpegNote);
    expectInManual(kExitStatusNote);
    for (const std::string_view line : ifdsweep::manual::split(kExamples, "\n")) {
        expectInManual(line);
    }
}

TEST(ManualPage, ExplainsEveryMessage) {
    for (const MessageDescription& message : describeMessages()) {
        expectInManual(std::string(shortMessageId(message.id)) + ' ' +
                       std::string(message.explanation));
    }
}

TEST(ManualPage, HasEverySectionInOrder) {
    std::string_view rest = renderedManual().text;
    for (const std::string_view section :
         {"NAME", "SYNOPSIS", "DESCRIPTION", "OPTIONS", "MESSAGES", "PATTERNS", "EXIT STATUS",
          "ENVIRONMENT", "FILES", "EXAMPLES", "SEE ALSO"}) {
        const std::size_t place = rest.find(section);
        ASSERT_NE(place, std::string_view::npos) << section;
        rest.remove_prefix(place);
    }
}

TEST(ManualPage, NamesTheEnvironment) {
    const std::string_view text = renderedManual().text;
    const std::size_t begin = text.find("ENVIRONMENT");
    const std::string_view section = text.substr(begin, text.find("FILES", begin) - begin);
    for (const std::string_view name :
         {" IFDSWEEP_PAGER ", " PAGER ", " LESS ", " NO_COLOR ", " TERM ", " TMPDIR ", " TZ "}) {
        EXPECT_NE(section.find(name), std::string_view::npos) << name << section;
    }
}

TEST(RoffText, IsShownAsItIs) {
    for (const std::string_view text : {".br starts no request", "'br neither", "a\\fBb\\nc\\",
                                        "`quotes' \"and\" ^hats~", "--dashes - and-hyphens"}) {
        const Rendering rendering =
            render(".TH T 1\n.nh\n.SH S\n" + ifdsweep::manual::roffText(text) + '\n');
        EXPECT_EQ(rendering.complaints, "");
        EXPECT_NE(squeezed(rendering.text).find(text), std::string::npos) << rendering.text;
    }
}

TEST(OptionTexts, SplitAtSeparators) {
    EXPECT_EQ(ifdsweep::manual::split("", ","), std::vector<std::string_view>());
    EXPECT_EQ(ifdsweep::manual::split("a", ","), std::vector<std::string_view>{"a"});
    EXPECT_EQ(ifdsweep::manual::split("a, b", ", "), (std::vector<std::string_view>{"a", "b"}));
}

TEST(OptionTexts, BeginAParagraphForEachWord) {
    constexpr OptionWord kWords[]{{"up", "to\nthe top"}, {"down", "to it"}, {"on"}};
    const OptionRow row{"--way", "WAY", "where\nto go", "", ValueCompletion::words, kWords};
    EXPECT_EQ(helpText(row), "where\nto go\nup: to\nthe top\ndown: to it");
    EXPECT_EQ(ifdsweep::manual::wordList(row), "up down on");
    EXPECT_EQ(helpParagraphs(row),
              (std::vector<std::string>{"where to go", "up: to the top", "down: to it"}));
    EXPECT_EQ(ifdsweep::manual::helpLine(row), "where to go; up: to the top; down: to it");
}

TEST(OptionTexts, QuoteForTheShell) {
    EXPECT_EQ(ifdsweep::manual::shellQuoted("it's $HOME"), "'it'\\''s $HOME'");
}

TEST(OptionTexts, KnowWhichOptionsRepeat) {
    std::vector<std::string_view> names;
    for (const OptionRow& row : optionTable()) {
        if (row.isRepeatable) {
            names.push_back(row.name);
        }
        EXPECT_TRUE(row.isRepeatable || row.help.find("repeatable") == std::string_view::npos);
    }
    EXPECT_EQ(names, (std::vector<std::string_view>{"--include", "--iglob", "--exclude",
                                                    "--iexclude", "--tags", "--ignore"}));
}

/// An id that is like no other makes the program name all there are.
TEST(OptionTexts, HoldEveryMessage) {
    constexpr std::string_view kBefore = "the ids are: ";
    const std::string complaint = describeMessage("?").complaint;
    const std::size_t list = complaint.find(kBefore);
    ASSERT_NE(list, std::string::npos) << complaint;
    std::vector<std::string> expected;
    for (const auto id :
         ifdsweep::manual::split(std::string_view(complaint).substr(list + kBefore.size()), ", ")) {
        expected.emplace_back(id);
    }
    std::vector<std::string> found;
    for (const MessageDescription& message : describeMessages()) {
        EXPECT_EQ(message.complaint, "");
        found.emplace_back(shortMessageId(message.id));
    }
    EXPECT_EQ(found, expected);
}

TEST(Readme, NamesEveryOption) {
    const std::string readme = fixture::readFile("README.md");
    for (const OptionRow& row : optionTable()) {
        const std::string value = row.placeholder.empty() ? "" : ' ' + std::string(row.placeholder);
        EXPECT_NE(readme.find('`' + std::string(row.name) + value + '`'), std::string::npos)
            << row.name;
        if (!row.shortName.empty()) {
            EXPECT_NE(readme.find('`' + std::string(row.shortName) + "`, `" +
                                  std::string(row.name) + value + '`'),
                      std::string::npos)
                << row.shortName;
        }
    }
}

TEST(Formats, HaveTheTableOfTheReadings) {
    const std::string formats = fixture::readFile("docs/formats.md");
    std::string table;
    for (const ifdsweep::ReadingDifference& row : ifdsweep::readingDifferences()) {
        for (const std::string_view cell : {row.subject, row.full, row.contract}) {
            table += "| " + ifdsweep::manual::replaced(cell, "\n", " ") + ' ';
        }
        table += "|\n";
    }
    EXPECT_NE(formats.find("| --- | --- | --- |\n" + table + '\n'), std::string::npos) << table;
}

TEST(Formats, ShowTheListOfNamesAsItIs) {
    const std::string formats = fixture::readFile("docs/formats.md");
    const std::string list = '\n' + tagListText();
    std::size_t shown = 0;
    for (const std::string_view line : ifdsweep::manual::split(formats, "\n")) {
        if (line.starts_with("    ") && line.find('\t') != std::string_view::npos) {
            ++shown;
            EXPECT_NE(list.find('\n' + std::string(line.substr(4)) + '\n'), std::string::npos)
                << line;
        }
    }
    EXPECT_GT(shown, 0U);
}

TEST(ManualPages, HaveTheTableOfTheReadings) {
    const std::string page = ifdsweep::manual::manualPage();
    const auto inRoff = [](std::string_view text) {
        return ifdsweep::manual::roffText(ifdsweep::manual::replaced(text, "\n", " "));
    };
    for (const ifdsweep::ReadingDifference& row : ifdsweep::readingDifferences()) {
        const std::string entry = ".TP\n" + inRoff(row.subject) + "\nfull: " + inRoff(row.full) +
                                  "\n.br\ncontract: " + inRoff(row.contract) + '\n';
        EXPECT_NE(page.find(entry), std::string::npos) << entry;
    }
}

struct Shell {
    const char* name;
    std::string (*completion)();
    std::string_view beforeOption;  ///< what stands before an option's name
    std::size_t dashes;             ///< of its name that the file leaves out
    std::string_view beforeShort;   ///< what stands before a short name
    std::string_view afterFlag;     ///< and behind it
    std::string_view afterValue;    ///< and behind one that takes a value
};

std::string optionIn(const Shell& shell, const OptionRow& row) {
    return std::string(shell.beforeOption) + std::string(row.name.substr(shell.dashes));
}

class Completion : public testing::TestWithParam<Shell> {};

TEST_P(Completion, HoldsEveryOption) {
    const std::string text = GetParam().completion();
    for (const OptionRow& row : optionTable()) {
        EXPECT_NE(text.find(optionIn(GetParam(), row)), std::string::npos) << row.name;
        if (!row.shortName.empty()) {
            const std::string name =
                std::string(GetParam().beforeShort) +
                std::string(row.shortName.substr(GetParam().dashes / 2)) +
                std::string(row.placeholder.empty() ? GetParam().afterFlag : GetParam().afterValue);
            EXPECT_NE(text.find(name), std::string::npos) << row.shortName;
        }
    }
}

TEST_P(Completion, HoldsEveryTagAndMessage) {
    const std::string text = GetParam().completion();
    for (const std::string_view name : ifdsweep::manual::tagNames()) {
        EXPECT_NE(text.find(name), std::string::npos) << name;
    }
    for (const MessageDescription& message : describeMessages()) {
        EXPECT_NE(text.find(shortMessageId(message.id)), std::string::npos) << message.id;
    }
}

INSTANTIATE_TEST_SUITE_P(
    Shells, Completion,
    testing::Values(Shell{"bash", ifdsweep::manual::bashCompletion, "", 0, "", " --", " --"},
                    Shell{"zsh", ifdsweep::manual::zshCompletion, "", 0, "", "[", "+["},
                    Shell{"fish", ifdsweep::manual::fishCompletion, "-l ", 2, "-s ", " -l ",
                          " -l "}),
    [](const auto& test) { return std::string(test.param.name); });

/// The lists of words in the files for bash and fish are not quoted word by word.
TEST(CompletionWords, NeedNoQuotes) {
    const auto isPlain = [](std::string_view word) {
        return std::all_of(word.begin(), word.end(), [](char letter) {
            return std::isalnum(static_cast<unsigned char>(letter)) != 0 || letter == '_';
        });
    };
    for (const std::string_view name : ifdsweep::manual::tagNames()) {
        EXPECT_TRUE(isPlain(name)) << name;
    }
    for (const OptionRow& row : optionTable()) {
        for (const auto& [word, help] : row.words) {
            EXPECT_TRUE(isPlain(word)) << word;
        }
    }
}

}  // namespace

#include "manual/manual_page.h"

#include <algorithm>
#include <utility>
#include <vector>

#include "cli/reading_table.h"
#include "manual/option_texts.h"

namespace ifdsweep::manual {
namespace {

constexpr std::pair<std::string_view, std::string_view> kEnvironment[]{
    {"IFDSWEEP_PAGER",
     "The pager of the text format, of --help and of the lists, where the standard output is a "
     "terminal: a command with its arguments. None when it is empty or cat."},
    {"PAGER", "The same where IFDSWEEP_PAGER is not set; less when neither is."},
    {"LESS", "Set to FRX for the pager when it is not set, and LV to -c."},
    {"NO_COLOR", "When set and not empty, the text format shows no colours."},
    {"TERM", "Colours appear on a terminal only, and not on a dumb one."},
    {"TMPDIR",
     "The folder for results that must wait and for the standard input, in files without a name; "
     "/tmp when not set."},
    {"TZ",
     "The time zone of FileModDate, which is in local time. A run is resumed in the same one "
     "only."},
};

std::string bold(std::string_view text) {
    return "\\fB" + roffText(text) + "\\fP";
}

std::string italic(std::string_view text) {
    return "\\fI" + roffText(text) + "\\fP";
}

class Page {
public:
    void section(std::string_view name) { line(".SH " + std::string(name)); }
    void subsection(std::string_view name) { line(".SS " + roffText(name)); }
    void paragraph(std::string_view words) {
        line(".PP");
        line(roffText(replaced(words, "\n", " ")));
    }

    /// A term, in roff already, with its explanation.
    void term(std::string_view name, const std::vector<std::string>& paragraphs) {
        line(".TP");
        line(name);
        for (std::size_t index = 0; index < paragraphs.size(); ++index) {
            if (index > 0) {
                line(".br");
            }
            line(roffText(paragraphs[index]));
        }
    }

    void asItStands(std::string_view lines) {
        line(".PP");
        line(".nf");
        for (const std::string_view each : split(lines, "\n")) {
            line(roffText(each.substr(std::min(each.find_first_not_of(' '), each.size()))));
        }
        line(".fi");
    }

    void line(std::string_view words) { text.append(words).append("\n"); }

    std::string text;
};

void addOptions(Page& page) {
    page.section("OPTIONS");
    page.paragraph(
        "A value stands behind its option as the next argument, after an equals sign or right "
        "behind a short name (-fjson). Short options without a value may stand together (-qr). "
        "Of an option that is given several times, and of --format, --json and --csv, the last "
        "one counts, unless it is repeatable. After -- come paths alone.");
    std::string_view group;
    for (const OptionRow& row : optionTable()) {
        if (row.group != group) {
            group = row.group;
            page.subsection(group);
        }
        const std::string shortForm = row.shortName.empty() ? "" : bold(row.shortName) + ", ";
        page.term(shortForm + bold(row.name) +
                      (row.placeholder.empty() ? "" : ' ' + italic(row.placeholder)),
                  helpParagraphs(row));
    }
}

void addMessages(Page& page) {
    page.section("MESSAGES");
    page.paragraph(
        "A warning says what was left out of a file whose other fields are shown; an error ends "
        "its file only. Both carry an id that never changes its meaning. --explain shows one of "
        "them, by its short or full id:");
    for (const MessageDescription& message : describeMessages()) {
        page.term(bold(shortMessageId(message.id)),
                  {std::string(message.explanation), std::string(message.advice)});
    }
}

}  // namespace

std::string roffText(std::string_view text) {
    constexpr std::pair<char, std::string_view> kEscapes[]{
        {'\\', "\\(rs"}, {'-', "\\-"},   {'\'', "\\(aq"}, {'`', "\\(ga"},
        {'^', "\\(ha"},  {'~', "\\(ti"}, {'"', "\\(dq"}};
    // A full stop at the start of a line would make it a request.
    std::string result = text.starts_with('.') ? "\\&" : "";
    for (const char letter : text) {
        const auto* escape =
            std::find_if(std::begin(kEscapes), std::end(kEscapes),
                         [letter](const auto& row) { return row.first == letter; });
        if (escape == std::end(kEscapes)) {
            result += letter;
        } else {
            result += escape->second;
        }
    }
    return result;
}

std::string manualPage() {
    Page page;
    page.line(".TH IFDSWEEP 1 \"\" \"" + roffText(kVersionText) + "\" \"User Commands\"");
    page.line(".nh\n.ad l");
    page.section("NAME");
    page.line("ifdsweep \\- read every tag of TIFF, BigTIFF and JPEG files");
    page.section("SYNOPSIS");
    page.line(bold("ifdsweep") + " [" + italic("OPTION") + " ...] [" + italic("PATH") + " ...]");

    page.section("DESCRIPTION");
    page.paragraph(kDescription);
    page.paragraph(kJpegNote);
    addOptions(page);
    page.subsection("Quantities");
    page.paragraph(kQuantityNote);
    addMessages(page);

    page.section("PATTERNS");
    page.paragraph(kPatternsNote);

    page.section("READINGS");
    page.paragraph("Where --reading full and --reading contract differ:");
    for (const ReadingDifference& row : readingDifferences()) {
        page.term(roffText(replaced(row.subject, "\n", " ")),
                  {"full: " + replaced(row.full, "\n", " "),
                   "contract: " + replaced(row.contract, "\n", " ")});
    }

    page.section("EXIT STATUS");
    page.paragraph(kExitStatusNote);
    page.section("ENVIRONMENT");
    for (const auto& [name, meaning] : kEnvironment) {
        page.term(bold(name), {std::string(meaning)});
    }
    page.section("FILES");
    page.paragraph("There are no configuration files, and no file that is read is ever changed.");
    page.section("EXAMPLES");
    page.asItStands(kExamples);
    page.paragraph("docs/cookbook.md in the documentation folder answers thirty questions.");
    page.section("SEE ALSO");
    page.line(".BR jq (1),\n.BR tiffinfo (1)");
    return page.text;
}

}  // namespace ifdsweep::manual

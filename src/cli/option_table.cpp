#include "cli/option_table.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <iterator>
#include <stdexcept>
#include <string>

#include "run/run_options.h"
#include "write/output_choice.h"

namespace ifdsweep {
namespace {

constexpr std::string_view kInput = "Choosing files";
constexpr std::string_view kRead = "Reading";
constexpr std::string_view kOutput = "Output";
constexpr std::string_view kMessages = "Warnings and failures";
constexpr std::string_view kRun = "Many files";
constexpr std::string_view kHelp = "Help";

constexpr OptionWord kFormatWords[]{{"text", "for reading (default)"},
                                    {"json", "an array with an object per file, natural values"},
                                    {"ndjson", "the same objects, one per line"},
                                    {"typed",
                                     "a line of JSON per file, with the class and size\n"
                                     "of every value"},
                                    {"csv", "a table (RFC 4180), its rows as --rows says"},
                                    {"facts",
                                     "a line of JSON per entry: field type, position,\n"
                                     "exact value"},
                                    {"packed",
                                     "a block per file, for the Python package of the\n"
                                     "same version"}};
constexpr OptionWord kReadingWords[]{{"full", "all that the file holds (default)"},
                                     {"contract", "what the module gives; see the table below"}};
constexpr OptionWord kStreamWords[]{{"first", "the main one; a warning tells of others (default)"},
                                    {"all", "each, one after the other"}};
constexpr OptionWord kRowsWords[]{{"directory", "a directory of the primary chain (default)"},
                                  {"file",
                                   "a file, with the first value that it or a nested\n"
                                   "directory has of each field (default with --tags of\n"
                                   "Exif, GPS or Interoperability fields)"},
                                  {"nested", "a directory, nested ones too"}};
constexpr OptionWord kLayoutWords[]{{"files", "a file"},
                                    {"images", "a directory that describes an image"},
                                    {"tags", "an entry of any directory"},
                                    {"warnings", "a warning or error"}};
constexpr OptionWord kDetailWords[]{{"each"}, {"count"}, {"none"}};
constexpr OptionWord kColourWords[]{{"auto"}, {"always"}, {"never"}};
// Words stand in the order of the enumerations that they are the words of.
static_assert(std::size(kFormatWords) == static_cast<std::size_t>(Format::packed) + 1);
static_assert(std::size(kReadingWords) == static_cast<std::size_t>(ReadingMode::contract) + 1);
static_assert(std::size(kStreamWords) == static_cast<std::size_t>(StreamChoice::all) + 1);
static_assert(std::size(kRowsWords) == static_cast<std::size_t>(TableRows::nested) + 1);
static_assert(std::size(kLayoutWords) == static_cast<std::size_t>(Layout::warnings) + 1);
static_assert(std::size(kDetailWords) == static_cast<std::size_t>(WarningDetail::none) + 1);
static_assert(std::size(kColourWords) == static_cast<std::size_t>(ColourChoice::never) + 1);
constexpr OptionWord kUnlimitedWord[]{{"unlimited"}};
constexpr OptionWord kAllWord[]{{"all"}};
constexpr std::span<const OptionWord> kNoWords;

constexpr bool kRepeatable = true;

// clang-format off
constexpr std::array kOptions{
    OptionRow{"--recursive", "", "go down into the folders of a folder (default)", kInput, ValueCompletion::none, kNoWords, !kRepeatable, "-r"},
    OptionRow{"--no-recursive", "", "do not go down into the folders of a folder", kInput, ValueCompletion::none},
    OptionRow{"--include", "GLOB", "of the files found in folders, only those that match\n(see Patterns); repeatable", kInput, ValueCompletion::other, kNoWords, kRepeatable},
    OptionRow{"--iglob", "GLOB", "as --include, in upper or lower case; repeatable", kInput, ValueCompletion::other, kNoWords, kRepeatable},
    OptionRow{"--exclude", "GLOB", "leave out files and folders of folders that match;\nrepeatable", kInput, ValueCompletion::other, kNoWords, kRepeatable},
    OptionRow{"--iexclude", "GLOB", "as --exclude, in upper or lower case; repeatable", kInput, ValueCompletion::other, kNoWords, kRepeatable},
    OptionRow{"--all", "", "try every file of a folder, not only those that begin\nas TIFF, BigTIFF, RW2, ORF, JPEG XR, DCP, JPEG, PNG,\nWebP, HEIF, AVIF, JPEG XL, JPEG 2000, PSD, RAF or CR3", kInput, ValueCompletion::none},
    OptionRow{"--follow", "", "follow symbolic links to folders; no folder is walked\ntwice", kInput, ValueCompletion::none},
    OptionRow{"--files-from", "FILE", "read more paths from FILE, one per line; - is the\nstandard input", kInput, ValueCompletion::file},
    OptionRow{"--null", "", "the paths of --files-from and --failures end with NUL", kInput, ValueCompletion::none, kNoWords, !kRepeatable, "-0"},

    OptionRow{"--offset", "N", "byte position of the TIFF stream in the file\n(default: 0, or where the file's format has it)", kRead, ValueCompletion::other},
    OptionRow{"--streams", "WHICH", "of the TIFF streams that a PNG, HEIF, JPEG or other such\nfile carries", kRead, ValueCompletion::words, kStreamWords},
    OptionRow{"--first", "N", "directories of the primary chain to skip (default: 0)", kRead, ValueCompletion::other},
    OptionRow{"--max", "N", "most directories of the primary chain to read\n(default: 0, no limit)", kRead, ValueCompletion::other},
    OptionRow{"--reading", "RULES", "", kRead, ValueCompletion::words, kReadingWords},
    OptionRow{"--max-value", "SIZE", "longest value that is loaded, or \"all\"; of a longer one\nthe field is empty and a warning names it (default: all;\nformat text: 64 KiB, or what --shorten shows)", kRead, ValueCompletion::words, kAllWord},
    OptionRow{"--read-budget", "SIZE", "bytes that may be read of each file, with 64 for every\njump, or \"unlimited\" (default: 256 KiB and 8 times the\nfile's size)", kRead, ValueCompletion::words, kUnlimitedWord},
    OptionRow{"--value-budget", "SIZE", "bytes that each file's values and warnings may come to,\nor \"unlimited\" (default: 64 MiB and 32 times the\nfile's size)", kRead, ValueCompletion::words, kUnlimitedWord},

    OptionRow{"--format", "FORMAT", "", kOutput, ValueCompletion::words, kFormatWords, !kRepeatable, "-f"},
    OptionRow{"--json", "", "the same as --format json; of several formats the last\none counts", kOutput, ValueCompletion::none},
    OptionRow{"--csv", "", "the same as --format csv", kOutput, ValueCompletion::none},
    OptionRow{"--output", "FILE", "write to FILE, which appears when it is whole", kOutput, ValueCompletion::file, kNoWords, !kRepeatable, "-o"},
    OptionRow{"--tags", "NAME,...", "only these fields, in this order: names in any case\n(see --list-tags), numbers (270, 0x10e) or\npatterns (gps*), in nested records too; others are\nneither read nor checked", kOutput, ValueCompletion::tag, kNoWords, kRepeatable, "-t"},
    OptionRow{"--rows", "ROWS", "csv: what a row is", kOutput, ValueCompletion::words, kRowsWords},
    OptionRow{"--nested", "", "csv: another name of --rows nested", kOutput, ValueCompletion::none},
    OptionRow{"--layout", "TABLE", "csv: a table of typed columns, the same for whatever\nfiles; what a row is", kOutput, ValueCompletion::words, kLayoutWords},
    OptionRow{"--raw-cells", "", "csv: text as it is in files and pipes, not made safe for\nspreadsheets and terminals", kOutput, ValueCompletion::none},
    OptionRow{"--shorten", "N", "text: show N values of an array, 16 N characters of a\ntext, or \"all\" (default: 16)", kOutput, ValueCompletion::words, kAllWord},
    OptionRow{"--digits", "N", "text: at most N significant digits of a number that is no\ninteger, 1 to 17, or \"all\" (default: 6)", kOutput, ValueCompletion::words, kAllWord},
    OptionRow{"--split-text", "", "json, ndjson: several texts in one tag as an array", kOutput, ValueCompletion::none},
    OptionRow{"--all-directories", "", "text: show each of several equal directories, and each\nwarning", kOutput, ValueCompletion::none},
    OptionRow{"--compact", "", "json: without line ends", kOutput, ValueCompletion::none},
    OptionRow{"--pretty", "", "json: indented", kOutput, ValueCompletion::none},
    OptionRow{"--color", "WHEN", "text: auto: colours on a terminal (default; not if\nNO_COLOR is set or TERM is dumb), always: in pipes and\nfiles too, never", kOutput, ValueCompletion::words, kColourWords},
    OptionRow{"--no-pager", "", "text: on a terminal, do not show it through a pager\n(IFDSWEEP_PAGER, else PAGER, else less)", kOutput, ValueCompletion::none},

    OptionRow{"--warnings", "DETAIL", "each: every warning (default), count: how many of each\nkind, none", kMessages, ValueCompletion::words, kDetailWords},
    OptionRow{"--ignore", "ID", "leave out warnings of this id, short or full;\nrepeatable", kMessages, ValueCompletion::message, kNoWords, kRepeatable},
    OptionRow{"--check", "", "warn of strips, tiles and JPEG data that do not lie inside\nthe file or do not add up", kMessages, ValueCompletion::none},
    OptionRow{"--strict", "", "exit status 3 when a warning was given that is not\nignored", kMessages, ValueCompletion::none},
    OptionRow{"--failures", "FILE", "write the paths that failed, with the reasons, to FILE,\nfor --files-from", kMessages, ValueCompletion::file},

    OptionRow{"--jobs", "N", "worker processes (default: as many as there are cores)", kRun, ValueCompletion::other, kNoWords, !kRepeatable, "-j"},
    OptionRow{"--timeout", "TIME", "most time for one file (default: 10m)", kRun, ValueCompletion::other},
    OptionRow{"--memory", "SIZE", "most memory for one file (default: 8 GiB, less where the\nmachine has less for each worker)", kRun, ValueCompletion::other},
    OptionRow{"--resume", "FILE", "keep a journal in FILE; the same run started again with\nit leaves out what is finished and unchanged; another\nrun is refused", kRun, ValueCompletion::file},
    OptionRow{"--no-progress", "", "show no progress on a terminal", kRun, ValueCompletion::none},
    OptionRow{"--quiet", "", "no progress and no summary; files that fail are still\ntold", kRun, ValueCompletion::none, kNoWords, !kRepeatable, "-q"},

    OptionRow{"--list-tags", "", "print every name for --tags: number, name,\ndictionary, other names of the same field", kHelp, ValueCompletion::none},
    OptionRow{"--explain", "ID", "print what a message means and what to do", kHelp, ValueCompletion::message},
    OptionRow{"--help", "", "print this help", kHelp, ValueCompletion::none, kNoWords, !kRepeatable, "-h"},
    OptionRow{"--version", "", "print the version", kHelp, ValueCompletion::none, kNoWords, !kRepeatable, "-v"},
};
// clang-format on

}  // namespace

std::span<const OptionRow> optionTable() noexcept {
    return kOptions;
}

const OptionRow& optionRow(std::string_view name) {
    const auto row = std::find_if(kOptions.begin(), kOptions.end(),
                                  [name](const OptionRow& option) { return option.name == name; });
    if (row == kOptions.end()) {
        throw std::logic_error("no row for the option " + std::string(name));
    }
    return *row;
}

std::vector<std::string> helpParagraphs(const OptionRow& row) {
    std::vector<std::string> paragraphs;
    if (!row.help.empty()) {
        paragraphs.emplace_back(row.help);
    }
    for (const OptionWord& word : row.words) {
        if (!word.help.empty()) {
            paragraphs.push_back(std::string(word.word).append(": ").append(word.help));
        }
    }
    for (std::string& paragraph : paragraphs) {
        std::replace(paragraph.begin(), paragraph.end(), '\n', ' ');
    }
    return paragraphs;
}

std::string helpText(const OptionRow& row) {
    std::string text(row.help);
    for (const OptionWord& word : row.words) {
        if (!word.help.empty()) {
            text.append(text.empty() ? "" : "\n").append(word.word).append(": ").append(word.help);
        }
    }
    return text;
}

constexpr std::string_view kDescriptionText =
    "Reads every tag of every directory of TIFF, BigTIFF and JPEG (Exif) files and prints the\n"
    "records: all fields by name, nested Exif, GPS, Interoperability and SubIFDs directories, and\n"
    "the tags that have no name. Damage is reported and everything else is still shown. Folders\n"
    "are searched for such files; - is one image from the standard input.";
constinit const std::string_view kDescription = kDescriptionText;

constexpr std::string_view kJpegNoteText =
    "In a JPEG file, the directories are those of its Exif segment; a JPEG file without one\n"
    "cannot be read (ifdsweep:noExifSegment, ifdsweep:badJpegSegment).";
constinit const std::string_view kJpegNote = kJpegNoteText;

constexpr std::string_view kQuantityText =
    "A SIZE is a number of bytes, or has a unit: 64K, 512M, 1.5GiB are powers of 1024, 100MB is\n"
    "powers of 1000. A TIME is a number of seconds, or has a unit: 500ms, 90s, 10m, 1.5h, 1d.";
constinit const std::string_view kQuantityNote = kQuantityText;
constexpr std::string_view kPatternsText =
    "GLOB without a slash is for the name of a file or folder, with one for its path\n"
    "below the folder that was named, which a leading / stands for. * is any characters but a\n"
    "slash, ? is one, ** as a whole part any number of folders, [a-z] one of these, [!a-z] one\n"
    "of no such, {tif,tiff} either; a backslash takes the next character as it is. A slash at\n"
    "the end is for folders alone. What is named itself is read whatever the patterns say.";
constinit const std::string_view kPatternsNote = kPatternsText;

constexpr std::string_view kExitStatusText =
    "0 all files were read, 1 some file could not be read (the others still are) or\n"
    "the output failed, 2 wrong usage, 3 a warning was given and --strict, 130 interrupted\n"
    "(129 hung up, 143 terminated), 141 the reader of the output has gone.";
constinit const std::string_view kExitStatusNote = kExitStatusText;

constexpr std::string_view kExamplesText =
    "  ifdsweep photo.jpg scan.tif              every tag, for reading\n"
    "  ifdsweep --max 1 slide.tif               the first directory alone\n"
    "  ifdsweep --format json *.tif | jq '.[].records[0].Width'\n"
    "  ifdsweep --format csv --tags Make,Model,DateTime --output table.csv archive/\n"
    "  ifdsweep --include 'photos/**/*.{tif,tiff}' --exclude thumbs/ archive\n";
constinit const std::string_view kExamples = kExamplesText;

constinit const std::string_view kVersionText = "ifdsweep " IFDSWEEP_VERSION;

}  // namespace ifdsweep

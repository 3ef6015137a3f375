#include "cli/option_table.h"

#include <algorithm>
#include <array>
#include <stdexcept>
#include <string>

namespace ifdsweep {
namespace {

constexpr std::string_view kInput = "Choosing files";
constexpr std::string_view kRead = "Reading";
constexpr std::string_view kOutput = "Output";
constexpr std::string_view kMessages = "Warnings and failures";
constexpr std::string_view kRun = "Many files";
constexpr std::string_view kHelp = "Help";

// clang-format off
constexpr std::array kOptions{
    OptionRow{"--no-recursive", "", "do not go down into the folders of a folder", kInput, ValueCompletion::none, ""},
    OptionRow{"--include", "GLOB", "of the files found in folders, only those whose name\nmatches (the whole path if GLOB has a slash); repeatable", kInput, ValueCompletion::other, ""},
    OptionRow{"--exclude", "GLOB", "leave out files and folders whose name matches;\nrepeatable", kInput, ValueCompletion::other, ""},
    OptionRow{"--all", "", "try every file of a folder, not only those that begin\nas TIFF, BigTIFF or JPEG with Exif", kInput, ValueCompletion::none, ""},
    OptionRow{"--follow", "", "follow symbolic links to folders; no folder is walked\ntwice", kInput, ValueCompletion::none, ""},
    OptionRow{"--files-from", "FILE", "read more paths from FILE, one per line; - is the\nstandard input", kInput, ValueCompletion::file, ""},
    OptionRow{"--null", "", "the paths of --files-from and --failures end with NUL", kInput, ValueCompletion::none, ""},

    OptionRow{"--offset", "N", "byte position of the TIFF stream in the file\n(default: 0; in a JPEG file, that of its Exif data)", kRead, ValueCompletion::other, ""},
    OptionRow{"--first", "N", "directories of the primary chain to skip (default: 0)", kRead, ValueCompletion::other, ""},
    OptionRow{"--max", "N", "most directories of the primary chain to read\n(default: 0, no limit)", kRead, ValueCompletion::other, ""},
    OptionRow{"--read-budget", "BYTES", "bytes that may be read of each file, with 64 for every\njump, or \"unlimited\" (default: 256 KiB and 8 times the\nfile's size)", kRead, ValueCompletion::words, "unlimited"},
    OptionRow{"--value-budget", "BYTES", "bytes that each file's values and warnings may come to,\nor \"unlimited\" (default: 64 MiB and 32 times the\nfile's size)", kRead, ValueCompletion::words, "unlimited"},

    OptionRow{"--format", "FORMAT", "text: for reading (default)\njson: an array with an object per file, natural values\nndjson: the same objects, one per line\ntyped: a line of JSON per file, with the class and size\nof every value\ncsv: a row per directory (RFC 4180)", kOutput, ValueCompletion::words, "text json ndjson typed csv"},
    OptionRow{"--output", "FILE", "write to FILE, which appears when it is whole", kOutput, ValueCompletion::file, ""},
    OptionRow{"--tags", "NAME,...", "only these fields, in this order: names, numbers (270,\n0x10e) or patterns (GPS*), in nested records too", kOutput, ValueCompletion::tag, ""},
    OptionRow{"--nested", "", "csv: a row for each nested directory too", kOutput, ValueCompletion::none, ""},
    OptionRow{"--shorten", "N", "text: show N values of an array, 16 N characters of a\ntext, or \"all\" (default: 16)", kOutput, ValueCompletion::words, "all"},
    OptionRow{"--compact", "", "json: without line ends", kOutput, ValueCompletion::none, ""},
    OptionRow{"--pretty", "", "json: indented", kOutput, ValueCompletion::none, ""},

    OptionRow{"--warnings", "DETAIL", "each: every warning (default), count: how many of each\nkind, none", kMessages, ValueCompletion::words, "each count none"},
    OptionRow{"--ignore", "ID", "leave out warnings of this id, short or full;\nrepeatable", kMessages, ValueCompletion::message, ""},
    OptionRow{"--strict", "", "exit status 3 when a warning was given that is not\nignored", kMessages, ValueCompletion::none, ""},
    OptionRow{"--failures", "FILE", "write the paths that failed, with the reasons, to FILE,\nfor --files-from", kMessages, ValueCompletion::file, ""},

    OptionRow{"--jobs", "N", "worker processes (default: as many as there are cores)", kRun, ValueCompletion::other, ""},
    OptionRow{"--timeout", "SECONDS", "most time for one file (default: 600)", kRun, ValueCompletion::other, ""},
    OptionRow{"--memory", "BYTES", "most memory for one file (default: 8 GiB, less where the\nmachine has less for each worker)", kRun, ValueCompletion::other, ""},
    OptionRow{"--resume", "FILE", "keep a journal in FILE; the same run started again with\nit leaves out what is finished and unchanged; another\nrun is refused", kRun, ValueCompletion::file, ""},
    OptionRow{"--no-progress", "", "show no progress on a terminal", kRun, ValueCompletion::none, ""},

    OptionRow{"--list-tags", "", "print every name for --tags, with number and dictionary", kHelp, ValueCompletion::none, ""},
    OptionRow{"--explain", "ID", "print what a message means and what to do", kHelp, ValueCompletion::message, ""},
    OptionRow{"--help", "", "print this help", kHelp, ValueCompletion::none, ""},
    OptionRow{"--version", "", "print the version", kHelp, ValueCompletion::none, ""},
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

constexpr std::string_view kDescriptionText =
    "Reads every tag of every directory of TIFF, BigTIFF and JPEG (Exif) files and prints the\n"
    "records: all fields by name, nested Exif, GPS, Interoperability and SubIFDs directories, and\n"
    "the tags that have no name. Damage is reported and everything else is still shown. Folders\n"
    "are searched for such files; - is one image from the standard input.";
constinit const std::string_view kDescription = kDescriptionText;

constexpr std::string_view kFooterText =
    "In a JPEG file, the directories are those of its Exif segment; a JPEG file without one\n"
    "cannot be read (ifdsweep:noExifSegment, ifdsweep:badJpegSegment).\n"
    "\n"
    "Exit status: 0 all files were read, 1 some file could not be read (the others still are) or\n"
    "the output failed, 2 wrong usage, 3 a warning was given and --strict, 130 interrupted\n"
    "(129 hung up, 143 terminated), 141 the reader of the output has gone.\n"
    "\n"
    "Examples:\n"
    "  ifdsweep photo.jpg scan.tif              every tag, for reading\n"
    "  ifdsweep --max 1 slide.tif               the first directory alone\n"
    "  ifdsweep --format json *.tif | jq '.[].records[0].Width'\n"
    "  ifdsweep --format csv --tags Make,Model,DateTime --output table.csv archive/\n";
constinit const std::string_view kFooter = kFooterText;

constinit const std::string_view kVersionText = "ifdsweep " IFDSWEEP_VERSION;

}  // namespace ifdsweep

#include "run/run_summary.h"

#include <cstdint>
#include <string>

#include "read/messages.h"
#include "text/count_text.h"
#include "text/error_stream.h"

namespace ifdsweep {
namespace {

/// Files with rows from before and from now in the output.
std::uint64_t changedFiles(Format format, const Journal* journal) {
    if (journal == nullptr) {
        return 0;
    }
    const auto& changed = journal->changedFiles();
    const bool showsFailures = format != Format::csv && format != Format::text;
    return changed.read + (showsFailures ? changed.failed : 0);
}

void printWhatIsKept(const RunOptions& options, const RunOutput& output, const Journal* journal) {
    if (journal != nullptr) {
        printError({"what is finished is kept; run the same command again to go on"});
    } else if (!options.run.outputFile.empty() && !output.identities().empty()) {
        printError({"nothing was kept, ", options.run.outputFile,
                    " is as it was; with --resume a run can be gone on with"});
    } else if (options.output.hasOpenColumns()) {
        printError({"a table whose columns are not chosen with --tags is printed at the end"});
    } else if (options.output.format == Format::packed) {
        printError({"what was printed may end inside a file"});
    } else if (options.output.layout == JsonLayout::compact) {
        printError({"what was printed ends with a whole file"});
    } else {
        printError({"what was printed is whole lines"});
    }
}

}  // namespace

void printSummary(const RunOptions& options, const RunTally& tally, const RunOutput& output,
                  const Journal* journal, int signal) {
    if (signal == 0 && (tally.passed() == 1 || !options.run.summary)) {
        return;
    }
    std::string text = tally.text();
    if (tally.passed() == 0 && signal == 0) {
        text += options.input.included.empty() ? "; there is no file in what was named"
                                               : "; no file matches --include or --iglob";
    }
    if (const auto changed = changedFiles(options.output.format, journal); changed > 0) {
        text +=
            "; changed: " + countText(changed, "file has rows", "files have rows") + " from before";
    }
    printError({signal != 0 ? "interrupted: " : "", text});
    for (const auto& [id, count] : tally.warnings()) {
        printError({"  ", countText(count, "warning", "warnings"), " ", shortMessageId(id)});
    }
    if (signal != 0) {
        printWhatIsKept(options, output, journal);
    }
}

}  // namespace ifdsweep

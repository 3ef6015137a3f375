#include "run/run_log.h"

#include "io/descriptor.h"
#include "io/exit_status.h"
#include "text/counted.h"
#include "text/error_stream.h"

namespace ifdsweep {

RunLog::RunLog(const RunOptions& runOptions, RunOutput& runOutput, Journal* runJournal,
               const Disk& disk)
    : options(runOptions),
      output(runOutput),
      journal(runJournal),
      framer(output.stream(), frameOf(options.output.format, writerSettings(options.output))) {
    if (!options.run.failureFile.empty()) {
        failures.emplace(options.run.failureFile, options.input.nulSeparated, journal, disk);
    }
}

void RunLog::begin() {
    // The journal knows a file before it is written to, so that no other is taken for it.
    output.note();
    if (failures) {
        failures->note();
    }
    if (journal != nullptr) {
        journal->begin();
    }
    output.begin();
    if (failures) {
        failures->begin();
    }
    if (!output.isWhole()) {
        framer.begin(output.keptBytes());
    }
}

void RunLog::prepare() {
    if (output.isWhole()) {
        commitAtOnce();  // what was added so far shows nothing and needs no other output
        framer.begin(output.keptBytes());
    }
}

void RunLog::account(const InputFile& file, const FileReport& report,
                     const std::string& journalEntry) {
    ++runState.passed;
    switch (report.ending) {
        case FileReport::Ending::skipped:
            ++filesSkipped;
            break;
        case FileReport::Ending::read:
            ++filesRead;
            break;
        case FileReport::Ending::failed:
            ++runState.failed;
            tellFailure(file, report);
            break;
    }
    directories += report.directories;
    for (const auto& [id, count] : report.warnings) {
        warnings[id] += count;
    }
    if (journal != nullptr) {
        output.stream().flush();
        journal->add(report, journalEntry, output.bytesWritten(),
                     failures ? failures->length() : journal->listLength());
    }
}

void RunLog::leaveOut(Journal::Ending ending) {
    ++runState.passed;
    ++filesBefore;
    failedBefore += ending == Journal::Ending::failed ? 1 : 0;
    anyWarnedBefore |= ending == Journal::Ending::warned;
}

void RunLog::tellFailure(const InputFile& file, const FileReport& report) {
    output.stream().flush();  // so that both streams, shown together, keep the order of the files
    printError({file.path, ": ", report.failure});
    if (!failures || !file.isPath) {
        return;
    }
    if (!failures->canHold(file.path)) {
        printError({file.path,
                    ": not in the list of failures, whose lines cannot hold this name; "
                    "--null can"});
        return;
    }
    try {
        failures->add(file.path, report.failure);
    } catch (const OutputError& error) {
        printError(
            {"cannot write ", options.run.failureFile, ": ", systemErrorText(error.systemError)});
        failures.reset();
    }
}

void RunLog::commit() {
    if (journal != nullptr && journal->isDue()) {
        commitAtOnce();
    }
}

void RunLog::commitAtOnce() {
    if (journal == nullptr) {
        return;
    }
    journal->commit([this] {
        output.sync();
        if (failures) {
            failures->sync();
        }
    });
}

void RunLog::settle() {
    commitAtOnce();
    if (failures) {
        failures->finish();
    }
}

void RunLog::end() {
    output.stream().flush();
    settle();
    if (!output.isWhole()) {
        framer.end();
    }
    output.complete();
}

std::uint64_t RunLog::changedFiles() const {
    if (journal == nullptr) {
        return 0;
    }
    const auto& changed = journal->changedFiles();
    const Format format = options.output.format;
    const bool showsFailures = format != Format::csv && format != Format::text;
    return changed.read + (showsFailures ? changed.failed : 0);
}

void RunLog::summarize(int signal) const {
    if (filesRead + runState.failed + filesBefore + filesSkipped == 1 && signal == 0) {
        return;
    }
    std::string text = counted(filesRead, "file", "files") + " read, " +
                       std::to_string(runState.failed) + " failed, " +
                       counted(directories, "directory", "directories");
    if (filesSkipped > 0) {
        text += "; no images: " + counted(filesSkipped, "file", "files");
    }
    if (filesBefore > 0) {
        text += "; finished before: " + counted(filesBefore, "file", "files");
        text += failedBefore > 0 ? ", " + std::to_string(failedBefore) + " failed" : "";
    }
    if (const std::uint64_t changed = changedFiles(); changed > 0) {
        text +=
            "; changed: " + counted(changed, "file has rows", "files have rows") + " from before";
    }
    printError({signal != 0 ? "interrupted: " : "", text});
    for (const auto& [id, count] : warnings) {
        printError({"  ", counted(count, "warning", "warnings"), " ", id});
    }
    if (signal != 0) {
        tellWhatIsKept();
    }
}

void RunLog::tellWhatIsKept() const {
    const OutputChoice& choice = options.output;
    if (journal != nullptr) {
        printError({"what is finished is kept; run the same command again to go on"});
    } else if (!options.run.outputFile.empty() && !output.identities().empty()) {
        printError({"nothing was kept, ", options.run.outputFile,
                    " is as it was; with --resume a run can be gone on with"});
    } else if (choice.hasOpenColumns()) {
        printError({"a table whose columns are not chosen with --tags is printed at the end"});
    } else if (choice.layout == JsonLayout::compact) {
        printError({"what was printed ends with a whole file"});
    } else {
        printError({"what was printed is whole lines"});
    }
}

int RunLog::exitStatus(int signal) const {
    if (signal != 0) {
        return kSignalBase + signal;
    }
    if (runState.failed > 0 || failedBefore > 0) {
        return kSomeFailed;
    }
    const bool warned = !warnings.empty() || anyWarnedBefore;
    return options.run.strict && warned ? kSomeWarned : kAllRead;
}

}  // namespace ifdsweep

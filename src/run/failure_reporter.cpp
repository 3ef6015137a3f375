#include "run/failure_reporter.h"

#include "io/descriptor.h"
#include "io/output.h"
#include "text/error_stream.h"

namespace ifdsweep {

FailureReporter::FailureReporter(const RunOptions& runOptions, Journal* runJournal,
                                 const Disk& disk)
    : options(runOptions) {
    if (!options.run.failureFile.empty()) {
        list.emplace(options.run.failureFile, options.input.nulSeparated, runJournal, disk);
    }
}

void FailureReporter::note() {
    if (list) {
        list->note();
    }
}

void FailureReporter::begin() {
    if (list) {
        list->begin();
    }
}

void FailureReporter::sync() {
    if (list) {
        list->sync();
    }
}

void FailureReporter::finish() {
    if (list) {
        list->finish();
    }
}

void FailureReporter::report(const InputFile& file, std::string_view reason) {
    printError({file.path, ": ", reason});
    if (!list || !file.isPath) {
        return;
    }
    if (!list->canHold(file.path)) {
        printError({file.path,
                    ": not in the list of failures, whose lines cannot hold this name; "
                    "--null can"});
        return;
    }
    try {
        list->add(file.path, reason);
    } catch (const OutputError& error) {
        printError(
            {"cannot write ", options.run.failureFile, ": ", systemErrorText(error.systemError)});
        list.reset();
    }
}

std::optional<FileIdentity> FailureReporter::listFile() const {
    return list ? list->identity() : std::nullopt;
}

std::optional<std::uint64_t> FailureReporter::listLength() const {
    return list ? std::optional(list->length()) : std::nullopt;
}

}  // namespace ifdsweep

#include "run/run_assembly.h"
#include "write/write_options.h"

namespace ifdsweep {

RunAssembly::RunAssembly(const RunOptions& runOptions, RunOutput& runOutput, Journal* runJournal,
                         const Disk& disk)
    : output(runOutput),
      journal(runJournal),
      framer(output.stream(), frameOf(writeOptions(runOptions.output))),
      failures(runOptions, journal, disk) {}

void RunAssembly::begin() {
    // The journal knows a file before it is written to, so that no other is taken for it.
    output.note();
    failures.note();
    if (journal != nullptr) {
        journal->begin();
    }
    output.begin();
    failures.begin();
    if (!output.isWhole()) {
        framer.begin(output.keptBytes());
    }
}

void RunAssembly::makeReady() {
    if (output.isWhole()) {
        commitAtOnce();  // what was added so far shows nothing and needs no other output
        framer.begin(output.keptBytes());
    }
}

void RunAssembly::account(const InputFile& file, const FileReport& report,
                          const std::string& journalEntry) {
    runTally.add(report);
    if (report.ending == FileReport::Ending::failed) {
        // Both streams, shown together, keep the order of the files.
        output.stream().flush();
        failures.report(file, report.failure);
    }
    if (journal != nullptr) {
        output.stream().flush();
        journal->add(report, journalEntry, output.bytesWritten(),
                     failures.listLength().value_or(journal->listLength()));
    }
}

void RunAssembly::commit() {
    if (journal != nullptr && journal->isDue()) {
        commitAtOnce();
    }
}

void RunAssembly::commitAtOnce() {
    if (journal == nullptr) {
        return;
    }
    journal->commit([this] {
        output.sync();
        failures.sync();
    });
}

void RunAssembly::settle() {
    commitAtOnce();
    failures.finish();
}

void RunAssembly::end() {
    output.stream().flush();
    settle();
    if (!output.isWhole()) {
        framer.end();
    }
    output.complete();
}

}  // namespace ifdsweep

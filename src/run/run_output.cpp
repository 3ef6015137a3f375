#include "run/run_output.h"

#include <utility>

#include "write/write_options.h"

namespace ifdsweep {
namespace {

std::optional<WaitingRows> waitingRowsOf(const OutputChoice& choice,
                                         const std::function<bool()>& isStopped) {
    return choice.hasOpenColumns()
               ? std::optional<WaitingRows>(std::in_place, writeOptions(choice), isStopped)
               : std::nullopt;
}

}  // namespace

// A table is written whole: where rows wait, they are what is stopped.
RunOutput::RunOutput(const RunOptions& options, Journal* runJournal,
                     std::function<bool()> isStopped, const Disk& disk)
    : file(options.run.outputFile, runJournal, disk),
      rows(waitingRowsOf(options.output, isStopped)),
      sink(file.descriptor(), file.keptLength(),
           rows ? std::function<bool()>() : std::move(isStopped)),
      goingOn(file, sink),
      output(rows ? static_cast<ByteSink&>(*rows) : goingOn) {}

void RunOutput::complete() {
    output.flush();
    if (rows) {
        rows->writeTable(goingOn);
    }
}

}  // namespace ifdsweep

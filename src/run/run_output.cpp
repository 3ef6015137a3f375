#include "run/run_output.h"

#include <utility>

#include "write/csv_writer.h"

namespace ifdsweep {
namespace {

Descriptor makeRowFile(const OutputChoice& choice) {
    return choice.hasOpenColumns() ? makeTemporaryFile() : Descriptor();
}

}  // namespace

RunOutput::RunOutput(const RunOptions& options, Journal* runJournal,
                     std::function<bool()> isStopped, const Disk& disk)
    : file(options.run.outputFile, runJournal, disk),
      rows(makeRowFile(options.output)),
      sink(rows.isOpen() ? rows.get() : file.descriptor(), file.keptLength(), std::move(isStopped)),
      goingOn(file, sink),
      output(goingOn) {}

void RunOutput::complete() {
    output.flush();
    if (rows.isOpen()) {
        FileDescriptorSink destination(file.descriptor());
        Output table(destination);
        assembleCsv(rows.get(), table);
        table.flush();
    }
}

}  // namespace ifdsweep

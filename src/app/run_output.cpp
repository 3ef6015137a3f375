#include "app/run_output.h"

#include "app/csv_writer.h"

namespace app {
namespace {

Descriptor makeRowFile(const OutputChoice& choice) {
    const bool waits = choice.format == Format::csv && choice.fields.empty();
    return waits ? makeTemporaryFile() : Descriptor();
}

}  // namespace

RunOutput::RunOutput(const OutputChoice& choice, std::optional<std::uint64_t> keptLength,
                     const Interruption& interruption)
    : file(choice.file, keptLength),
      rows(makeRowFile(choice)),
      sink(rows.isOpen() ? rows.get() : file.descriptor(), keptLength.value_or(0), &interruption),
      output(sink) {}

void RunOutput::complete() {
    output.flush();
    if (rows.isOpen()) {
        FileDescriptorSink destination(file.descriptor());
        Output table(destination);
        assembleCsv(rows.get(), table);
        table.flush();
    }
}

}  // namespace app

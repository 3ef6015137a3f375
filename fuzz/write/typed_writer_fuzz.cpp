// The typed writer on arbitrary outcomes: what it writes reads back as the same values, and does
// nothing to a terminal.

#include "arbitrary_outcome.h"
#include "fuzz_target.h"
#include "written_output.h"

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    ifdsweep::Host host;
    {
        fuzz::FuzzInput input(std::span(data, size));
        const ifdsweep::Outcome outcome = fuzz::arbitraryOutcome(host, input);
        const std::string lines = fuzz::written(ifdsweep::Format::typed, outcome);
        fuzz::requireTypedReadsBack(lines, outcome);
        fuzz::requireTerminalSafe(lines);
        fuzz::require(lines == fuzz::written(ifdsweep::Format::typed, outcome),
                      "the same lines twice");
    }
    fuzz::require(host.liveValues() == 0, "every value is freed");
    return 0;
}

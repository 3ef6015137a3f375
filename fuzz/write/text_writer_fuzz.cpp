// The text writer on arbitrary outcomes: nothing in its output controls a terminal, and colour
// changes nothing but colour.

#include "arbitrary_outcome.h"
#include "fuzz_target.h"
#include "written_output.h"

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    ifdsweep::Host host;
    {
        fuzz::FuzzInput input(std::span(data, size));
        const ifdsweep::Outcome outcome = fuzz::arbitraryOutcome(host, input);
        const std::string text = fuzz::written(ifdsweep::Format::text, outcome);
        fuzz::requireTerminalSafe(text);
        const std::string coloured =
            fuzz::written(ifdsweep::Format::text, outcome, ifdsweep::Colour::on);
        fuzz::require(fuzz::withoutColours(coloured) == text, "colour changes nothing else");
    }
    fuzz::require(host.liveValues() == 0, "every value is freed");
    return 0;
}

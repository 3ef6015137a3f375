// The JSON writer on arbitrary outcomes: what it writes is valid JSON that does nothing to a
// terminal, whatever the values hold.

#include <algorithm>
#include <string>

#include "arbitrary_outcome.h"
#include "fuzz_target.h"
#include "written_output.h"

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    ifdsweep::Host host;
    {
        fuzz::FuzzInput input(std::span(data, size));
        const ifdsweep::Outcome outcome = fuzz::arbitraryOutcome(host, input);
        const std::string text = fuzz::written(ifdsweep::Format::json, outcome);
        fuzz::requireNaturalJson(text, outcome);
        fuzz::requireTerminalSafe(text);
        ifdsweep::WriteOptions rows;
        rows.forTerminal = true;
        rows.tellStreams = true;
        const std::string lines = fuzz::written(ifdsweep::Format::ndjson, outcome, rows);
        fuzz::requireJsonLines(lines);
        fuzz::requireTerminalSafe(lines);
        fuzz::require(std::count(lines.begin(), lines.end(), '\n') ==
                          static_cast<std::ptrdiff_t>(1 + outcome.others.size()),
                      "a stream is a line");
        fuzz::require(text == fuzz::written(ifdsweep::Format::json, outcome),
                      "the same text twice");
    }
    fuzz::require(host.liveValues() == 0, "every value is freed");
    return 0;
}

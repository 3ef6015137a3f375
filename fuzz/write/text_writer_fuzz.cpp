// The text writer on arbitrary outcomes: nothing in its output controls a terminal, colour changes
// nothing but colour, and broken lines are the same but for white space.

#include <string>

#include "arbitrary_outcome.h"
#include "fuzz_target.h"
#include "written_output.h"

namespace {

/// What is shown, but for white space.
std::string inkOf(std::string text) {
    std::erase_if(text, [](char character) { return character == ' ' || character == '\n'; });
    return text;
}

}  // namespace

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
        for (const std::size_t columns : {1U, 24U, 40U, 200U}) {
            ifdsweep::WriteOptions options;
            options.lineWidth = columns;
            const std::string broken =
                fuzz::written(ifdsweep::Format::text, outcome, options, ifdsweep::Colour::on);
            fuzz::require(inkOf(broken) == inkOf(coloured), "a broken line loses nothing");
            fuzz::requireTerminalSafe(fuzz::withoutColours(broken));
        }
    }
    fuzz::require(host.liveValues() == 0, "every value is freed");
    return 0;
}

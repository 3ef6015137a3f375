// call_timer [-n COUNT] [--full] FILE...: the call itself on each file, the module and the host's
// values without any text, and what it took: milliseconds (median of COUNT), peak memory, reads.
// It reads as the contract has it, or in full.

#include <cstdio>
#include <cstdlib>
#include <string_view>

#include "ifdsweep/host.h"
#include "ifdsweep/read.h"
#include "support/call_report.h"

int main(int argumentCount, char** arguments) {
    int firstFile = 1;
    int repetitions = 1;
    if (argumentCount > 2 && std::string_view(arguments[1]) == "-n") {
        repetitions = std::atoi(arguments[2]);
        firstFile = 3;
    }
    auto reading = ifdsweep::ReadingMode::contract;
    if (firstFile < argumentCount && std::string_view(arguments[firstFile]) == "--full") {
        reading = ifdsweep::ReadingMode::full;
        ++firstFile;
    }
    if (firstFile >= argumentCount || repetitions < 1) {
        std::fputs("usage: call_timer [-n COUNT] [--full] FILE...\n", stderr);
        return 2;
    }
    int failures = 0;
    bench::reportCalls(repetitions, [&] {
        ifdsweep::Host host;
        for (int i = firstFile; i < argumentCount; ++i) {
            const ifdsweep::Outcome outcome =
                ifdsweep::read(host, arguments[i], {.reading = reading});
            if (outcome.error) {
                std::fprintf(stderr, "call_timer: %s: %s\n", arguments[i], outcome.error->what());
                ++failures;
            }
        }
    });
    return failures == 0 ? 0 : 1;
}

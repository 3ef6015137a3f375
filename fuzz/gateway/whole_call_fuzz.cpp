// The whole call on bytes in memory, and everything that is made of its result.
//
// The input: a byte for layout and byte order, a byte for each of the three numbers, a byte for the
// read budget, then the TIFF stream. Its first bytes are put right for the layout, so that no
// mutation is lost on them; one layout leaves them as they are.
//
// The full reading is held to the same, also with checks, and where nothing that it reads in
// another way was met, to the same bytes.

#include <algorithm>
#include <array>
#include <cstdio>
#include <limits>
#include <string>
#include <utility>
#include <vector>

#include "fuzz_input.h"
#include "fuzz_target.h"
#include "host/host_parts.h"
#include "ifdsweep/host.h"
#include "ifdsweep/message_catalogue.h"
#include "ifdsweep/read.h"
#include "ifdsweep/reading.h"
#include "ifdsweep/write.h"
#include "read/messages.h"
#include "support/same_in_both.h"
#include "written_output.h"

namespace {

using Bytes = std::vector<std::uint8_t>;

constexpr const char16_t* kFileName = u"fuzz.tif";

enum class Layout : std::uint8_t { classic, big, jpeg, asIs };

/// In what ways a file is read.
struct Kind {
    ifdsweep::ReadingMode reading;
    bool check;
};

constexpr std::array kKinds{Kind{ifdsweep::ReadingMode::full, false},
                            Kind{ifdsweep::ReadingMode::full, true},
                            Kind{ifdsweep::ReadingMode::contract, false}};

/// The file that an input stands for.
Bytes fileOf(fuzz::FuzzInput& input, std::uint8_t code) {
    const auto layout = static_cast<Layout>(code % 4);
    const bool isBigEndian = code / 4 % 2 == 1;
    Bytes file;
    if (layout == Layout::jpeg) {
        file = {0xFF, 0xD8, 0xFF, 0xE1, 0xFF, 0xFF, 'E', 'x', 'i', 'f', 0, 0};
    }
    const std::size_t header = file.size();
    const auto stream = input.rest();
    file.insert(file.end(), stream.begin(), stream.end());
    if (layout != Layout::asIs && stream.size() >= 4) {
        const std::uint8_t version = layout == Layout::big ? 43 : 42;
        const std::uint8_t mark = isBigEndian ? 'M' : 'I';
        file[header] = file[header + 1] = mark;
        file[header + 2] = isBigEndian ? 0 : version;
        file[header + 3] = isBigEndian ? version : 0;
    }
    return file;
}

double numberOf(std::uint8_t code) {
    constexpr std::array kSpecial{1e18,  1e19,      -1.0,
                                  -1.9,  2.9,       1e300,
                                  4e9,   9.2234e18, std::numeric_limits<double>::quiet_NaN(),
                                  -1e300};
    const std::size_t place = 255U - code;
    return place < kSpecial.size() ? kSpecial[place] : static_cast<double>(code);
}

ifdsweep::ReadOptions numbersOf(fuzz::FuzzInput& input) {
    ifdsweep::ReadOptions numbers;
    // 0, which most inputs have: the program finds the stream.
    if (const std::uint8_t offset = input.byte(); offset != 0) {
        numbers.offset = numberOf(static_cast<std::uint8_t>(offset - 1));
    }
    numbers.first = numberOf(input.byte());
    numbers.max = numberOf(input.byte());
    return numbers;
}

ifdsweep::Outcome readOnce(ifdsweep::Host& host, const ifdsweep::ReadOptions& numbers) {
    ifdsweep::Outcome outcome = ifdsweep::read(host, "fuzz.tif", numbers);
    fuzz::require(!outcome.error || (outcome.error->id() != ifdsweep::kUnexpectedFailureId &&
                                     outcome.error->id() != ifdsweep::kOutOfMemoryId),
                  "no exception but the module's messages reaches the host");
    fuzz::require(outcome.error.has_value() == (outcome.result == nullptr),
                  "a call ends with a result or with an error");
    return outcome;
}

/// The entry point's result.
ifdsweep::ValueHandle enter(const ifdsweep::Outcome& numbers) {
    const std::u16string name(kFileName);
    const std::array inputs{ifdsweep::ValueHandle(qxCreateUString(name.data(), name.size())),
                            ifdsweep::ValueHandle(qxCreateDoubleScalar(numbers.initialOffset)),
                            ifdsweep::ValueHandle(qxCreateDoubleScalar(numbers.firstIfdIndex)),
                            ifdsweep::ValueHandle(qxCreateDoubleScalar(numbers.maxIfdCount))};
    std::array<const qxArray*, inputs.size()> arguments{};
    std::transform(inputs.begin(), inputs.end(), arguments.begin(),
                   [](const ifdsweep::ValueHandle& input) { return input.get(); });
    qxArray* output = nullptr;
    qxeFunction(1, &output, inputs.size(), arguments.data());
    return ifdsweep::ValueHandle(output);
}

/// What a reading alone gives for the numbers of an outcome; without one, the entry point.
ifdsweep::Outcome readBy(ifdsweep::Host& host, const ifdsweep::Outcome& numbers,
                         const ifdsweep::Reading* reading) {
    ifdsweep::Outcome outcome;
    outcome.file = numbers.file;
    outcome.initialOffset = numbers.initialOffset;
    outcome.firstIfdIndex = numbers.firstIfdIndex;
    outcome.maxIfdCount = numbers.maxIfdCount;
    (void)host.takeWarnings();
    try {
        const ifdsweep::Host::Scope scope(host);
        outcome.result = reading == nullptr
                             ? enter(numbers)
                             : ifdsweep::ValueHandle(ifdsweep::readDirectories(
                                   kFileName, numbers.initialOffset, numbers.firstIfdIndex,
                                   numbers.maxIfdCount, *reading));
    } catch (const qxMessage& message) {
        outcome.error = message;
    }
    for (qxMessage& warning : host.takeWarnings()) {
        outcome.warnings.push_back({std::move(warning), {}});
    }
    return outcome;
}

/// Checks all that is made of an outcome; returns it lossless.
std::string checked(const ifdsweep::Outcome& outcome) {
    std::string line = fuzz::written(ifdsweep::Format::typed, outcome);
    fuzz::requireTypedReadsBack(line, outcome);
    fuzz::requireNaturalJson(fuzz::written(ifdsweep::Format::json, outcome), outcome);
    fuzz::requireTerminalSafe(fuzz::written(ifdsweep::Format::text, outcome));
    return line;
}

bool isFinding(const ifdsweep::Warning& warning) {
    return std::any_of(
        ifdsweep::kCheckCatalogue.begin(), ifdsweep::kCheckCatalogue.end(),
        [&](const ifdsweep::CheckMessageRow& row) { return warning.message.id() == row.id; });
}

/// Checks the facts that are written while a file is read.
void requireFacts(ifdsweep::Host& host, ifdsweep::ReadOptions numbers) {
    std::string text;
    ifdsweep::Writer writer({.format = ifdsweep::Format::facts}, text);
    writer.begin();
    numbers.sink = writer.listenerFor("fuzz.tif");
    writer.write(readOnce(host, numbers));
    writer.end();
    fuzz::requireJsonLines(text);
}

/// Whether an outcome may lack something for want of budget.
bool isShort(const ifdsweep::Outcome& outcome) {
    return std::any_of(outcome.warnings.begin(), outcome.warnings.end(),
                       [](const ifdsweep::Warning& warning) {
                           return warning.message.id().starts_with("Velmora:filesystem:");
                       });
}

/// Holds a reading with checks to one without: what is found comes behind all else, and changes
/// nothing unless the bytes that are looked at spend the budget.
void requireChecks(ifdsweep::Host& host, ifdsweep::ReadOptions numbers) {
    numbers.reading = ifdsweep::ReadingMode::full;
    const ifdsweep::Outcome without = readOnce(host, numbers);
    numbers.check = true;
    ifdsweep::Outcome with = readOnce(host, numbers);
    const auto firstFound = std::find_if(with.warnings.begin(), with.warnings.end(), isFinding);
    fuzz::require(std::all_of(firstFound, with.warnings.end(), isFinding),
                  "what the checks find comes last");
    if (isShort(with)) {
        return;
    }
    with.warnings.erase(firstFound, with.warnings.end());
    fuzz::require(fuzz::written(ifdsweep::Format::json, with) ==
                      fuzz::written(ifdsweep::Format::json, without),
                  "what the checks find is all that they change");
}

/// Holds the second way in to the entry point, and the full reading to both.
void requireReadings(ifdsweep::Host& host, const ifdsweep::Outcome& numbers, const Bytes& file) {
    const ifdsweep::Outcome contract = readBy(host, numbers, nullptr);
    const std::string expected = fuzz::written(ifdsweep::Format::typed, contract);
    fixture::DifferenceFinder differences;
    ifdsweep::Reading reading;
    reading.sink = &differences;
    fuzz::require(
        fuzz::written(ifdsweep::Format::typed, readBy(host, numbers, &reading)) == expected,
        "a reading without rules is the entry point's, whoever listens");
    reading = {};
    reading.rules = ifdsweep::ReadingRules::full();
    const ifdsweep::Outcome full = readBy(host, numbers, &reading);
    const std::string line = fuzz::written(ifdsweep::Format::typed, full);
    fuzz::requireTypedReadsBack(line, full);
    fuzz::require(full.error.has_value() == (full.result == nullptr),
                  "a full reading ends with a result or with an error");
    if (contract.error || !fixture::headerFits(file, contract.initialOffset)) {
        return;
    }
    fuzz::require(!full.error, "a full reading gives no error where the entry point gives none");
    if (differences.isSame() && line != expected) {
        std::fprintf(stderr, "contract:\n%s\nfull:\n%s\n", expected.c_str(), line.c_str());
    }
    fuzz::require(!differences.isSame() || line == expected, "both readings give the same");
}

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    fuzz::FuzzInput input(std::span(data, size));
    const std::uint8_t layout = input.byte();
    ifdsweep::ReadOptions numbers = numbersOf(input);
    // Small, so that a loop ends soon, and of every size, so that it ends anywhere.
    const std::uint64_t budget =
        std::uint64_t{20} * input.byte() + std::uint64_t{4096} * input.below(2);
    const Bytes file = fileOf(input, layout);
    // One host for all inputs: its read cache is large, and nothing of a call may stay in it.
    static ifdsweep::Host host;
    host.clear();
    host.setReadBudget(budget);
    filesOf(host).serve(kFileName, file);
    for (const Kind& kind : kKinds) {
        numbers.reading = kind.reading;
        numbers.check = kind.check;
        const std::string first = checked(readOnce(host, numbers));
        fuzz::require(fuzz::written(ifdsweep::Format::typed, readOnce(host, numbers)) == first,
                      "the same result twice");
        requireFacts(host, numbers);
        fuzz::require(host.liveValues() == 0, "every value is freed");
        // Overshoot: one read at most, which is at most the file.
        fuzz::require(host.countedBytes() <= budget + file.size() + 128, "the budget holds");
    }
    requireChecks(host, numbers);
    requireReadings(host, readOnce(host, numbers), file);
    return 0;
}

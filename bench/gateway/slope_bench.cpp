// The whole call on inputs doubled from 1,000 to over 1,000,000 of one thing, and the slope of
// each: nothing may grow faster than the input. One iteration a size; inputs are built outside the
// time.

#include <benchmark/benchmark.h>

#include <cstddef>
#include <cstdint>
#include <vector>

#include "support/memory_file.h"
#include "support/slope_reporter.h"

namespace {

constexpr std::int64_t kFewest = 1000;
constexpr std::int64_t kMost = 1'024'000;

void callOnFile(benchmark::State& state, fixture::TiffFile input) {
    bench::MemoryFile file(std::move(input));
    for (auto _ : state) {
        ifdsweep::Outcome outcome = file.read();
        benchmark::DoNotOptimize(outcome.result.get());
    }
    state.SetComplexityN(state.range(0));
    state.SetItemsProcessed(state.iterations() * state.range(0));
}

std::size_t sizeOf(const benchmark::State& state) {
    return static_cast<std::size_t>(state.range(0));
}

fixture::TiffFile oneDirectory(std::vector<fixture::Entry> entries) {
    return bench::fileOf({fixture::Directory(std::move(entries))}, bench::kLittleBig);
}

void directories(benchmark::State& state) {
    callOnFile(state, bench::fileOf(fixture::Chain(sizeOf(state),
                                                   fixture::Directory{fixture::shorts(256, {640})}),
                                    bench::kLittleBig));
}

void entries(benchmark::State& state) {
    callOnFile(state, oneDirectory(std::vector<fixture::Entry>(sizeOf(state),
                                                               fixture::shorts(34855, {400}))));
}

/// Every directory fills the fields of 24 tags; the number of fields filled is what is doubled.
void fields(benchmark::State& state) {
    constexpr std::size_t kFieldsPerDirectory = 24;
    constexpr std::uint16_t kFirstTag = 50706;  // a run of tags that are all named
    fixture::Directory directory;
    for (std::uint16_t i = 0; i < kFieldsPerDirectory; ++i) {
        directory.entries.push_back(
            fixture::shorts(static_cast<std::uint16_t>(kFirstTag + i), {i}));
    }
    callOnFile(state, bench::fileOf(fixture::Chain(sizeOf(state) / kFieldsPerDirectory, directory),
                                    bench::kLittleBig));
}

void unknownTags(benchmark::State& state) {
    callOnFile(state, oneDirectory(std::vector<fixture::Entry>(sizeOf(state),
                                                               fixture::longs(65000, {400}))));
}

void nestedTrees(benchmark::State& state) {
    const fixture::Chain tree{fixture::Directory{fixture::shorts(259, {1})}};
    callOnFile(
        state,
        oneDirectory({fixture::pointer(330, std::vector<fixture::Chain>(sizeOf(state), tree))}));
}

void warnings(benchmark::State& state) {
    callOnFile(state, oneDirectory(
                          std::vector<fixture::Entry>(sizeOf(state), fixture::shorts(34855, {}))));
}

void doubled(benchmark::internal::Benchmark* benchmark) {
    benchmark->RangeMultiplier(2)
        ->Range(kFewest, kMost)
        ->Iterations(1)
        ->Unit(benchmark::kMillisecond);
}

BENCHMARK(directories)->Apply(doubled);
BENCHMARK(entries)->Apply(doubled);
BENCHMARK(fields)->Apply(doubled);
BENCHMARK(unknownTags)->Apply(doubled);
BENCHMARK(nestedTrees)->Apply(doubled);
BENCHMARK(warnings)->Apply(doubled);

}  // namespace

int main(int argumentCount, char** arguments) {
    benchmark::Initialize(&argumentCount, arguments);
    if (benchmark::ReportUnrecognizedArguments(argumentCount, arguments)) {
        return 2;
    }
    bench::SlopeReporter reporter;
    benchmark::RunSpecifiedBenchmarks(&reporter);
    return 0;
}

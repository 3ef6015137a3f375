// The whole call, with the record that it hands over.

#include <benchmark/benchmark.h>

#include <cstddef>
#include <cstdint>

#include "support/memory_file.h"
#include "workloads/photographs.h"

namespace {

void callOn(benchmark::State& state, fixture::Directory (*directory)(std::size_t)) {
    fixture::Chain chain;
    for (std::int64_t i = 0; i < state.range(0); ++i) {
        chain.push_back(directory(static_cast<std::size_t>(i)));
    }
    bench::MemoryFile file(bench::fileOf(chain, bench::kSwappedClassic));
    for (auto _ : state) {
        ifdsweep::Outcome outcome = file.read();
        benchmark::DoNotOptimize(outcome.result.get());
    }
    state.SetItemsProcessed(state.iterations() * state.range(0));
}

void pageRecord(benchmark::State& state) {
    callOn(state, bench::page);
}
BENCHMARK(pageRecord)->Arg(1)->Arg(100)->Arg(10'000);

void photographRecord(benchmark::State& state) {
    callOn(state, bench::photograph);
}
BENCHMARK(photographRecord)->Arg(1)->Arg(100)->Arg(1000);

/// One large array.
void arrayRecord(benchmark::State& state) {
    const std::vector<std::int64_t> offsets(static_cast<std::size_t>(state.range(0)), 123'456'789);
    bench::MemoryFile file(
        bench::fileOf({fixture::Directory{fixture::longs(324, offsets)}}, bench::kSwappedClassic));
    for (auto _ : state) {
        ifdsweep::Outcome outcome = file.read();
        benchmark::DoNotOptimize(outcome.result.get());
    }
    state.SetItemsProcessed(state.iterations() * state.range(0));
}
BENCHMARK(arrayRecord)->Arg(1000)->Arg(1'000'000);

}  // namespace

// Each writer on the same records: what text costs once the record is there.

#include <benchmark/benchmark.h>

#include <cstdint>

#include "support/memory_file.h"
#include "support/no_sink.h"
#include "workloads/photographs.h"
#include "write/framer.h"
#include "write/result_writer.h"

namespace {

void write(benchmark::State& state, ifdsweep::Format format, const fixture::Chain& chain) {
    bench::MemoryFile file(bench::fileOf(chain, bench::kSwappedClassic));
    const ifdsweep::Outcome outcome = file.read();
    bench::NoSink sink;
    ifdsweep::Output output(sink);
    const auto writer = ifdsweep::makeResultWriter({.format = format}, output);
    for (auto _ : state) {
        ifdsweep::Framer framer(output, ifdsweep::frameOf({.format = format}));
        framer.begin();
        framer.add(writer->shows(outcome), [&] { writer->writeFile(outcome); });
        framer.end();
        output.flush();
    }
    state.SetItemsProcessed(state.iterations() * state.range(0));
}

void photographs(benchmark::State& state, ifdsweep::Format format) {
    fixture::Chain chain;
    for (std::int64_t i = 0; i < state.range(0); ++i) {
        chain.push_back(bench::photograph(static_cast<std::size_t>(i)));
    }
    write(state, format, chain);
}
BENCHMARK_CAPTURE(photographs, text, ifdsweep::Format::text)->Arg(1)->Arg(100);
BENCHMARK_CAPTURE(photographs, json, ifdsweep::Format::json)->Arg(1)->Arg(100);
BENCHMARK_CAPTURE(photographs, typed, ifdsweep::Format::typed)->Arg(1)->Arg(100);

void numbers(benchmark::State& state, ifdsweep::Format format) {
    const std::vector<std::int64_t> offsets(static_cast<std::size_t>(state.range(0)), 123'456'789);
    write(state, format, {fixture::Directory{fixture::longs(324, offsets)}});
}
BENCHMARK_CAPTURE(numbers, json, ifdsweep::Format::json)->Arg(1'000'000);
BENCHMARK_CAPTURE(numbers, typed, ifdsweep::Format::typed)->Arg(1'000'000);

}  // namespace

// What it costs to pack a file beside reading it: files as cameras write them, and stacks.

#include <benchmark/benchmark.h>

#include <cstdint>

#include "ifdsweep/host.h"
#include "ifdsweep/read.h"
#include "pack/file_packer.h"
#include "support/deaf_sink.h"
#include "support/memory_file.h"
#include "workloads/photographs.h"

namespace {

/// What is made of a file beside its outcome.
enum class Kept : std::uint8_t {
    outcome,
    nothing,  ///< of what a sink is told, so that what telling costs can be seen
    packedFile,
};

fixture::Chain chainOf(std::int64_t directories, fixture::Directory (*make)(std::size_t)) {
    fixture::Chain chain;
    for (std::int64_t number = 0; number < directories; ++number) {
        chain.push_back(make(static_cast<std::size_t>(number)));
    }
    return chain;
}

/// Reads a file in full, and packs what came of it or not.
void read(benchmark::State& state, fixture::Directory (*make)(std::size_t), Kept kept) {
    const fixture::TiffFile file =
        bench::fileOf(chainOf(state.range(0), make), bench::kSwappedClassic);
    ifdsweep::Host host;
    host.setReadBudget(ifdsweep::kUnlimited);
    host.serve("bench.tif", file.bytes);
    ifdsweep::FilePacker packer;
    fixture::DeafSink deaf;
    const bool packs = kept == Kept::packedFile;
    ifdsweep::ReadOptions options;
    options.sink = packs ? &packer : kept == Kept::nothing ? &deaf : options.sink;
    std::size_t size = 0;
    for (auto _ : state) {
        packer.begin();
        const ifdsweep::Outcome outcome = ifdsweep::read(host, "bench.tif", options);
        if (packs) {
            const ifdsweep::PackedFile packed = packer.pack(outcome);
            size = packed.bytes().size();
            benchmark::DoNotOptimize(packed.bytes().data());
        }
        benchmark::DoNotOptimize(outcome.result.get());
    }
    state.SetItemsProcessed(state.iterations() * state.range(0));
    state.counters["packed"] = static_cast<double>(size);
}

BENCHMARK_CAPTURE(read, photograph, bench::photograph, Kept::outcome)->Arg(1)->Arg(100);
BENCHMARK_CAPTURE(read, photographTold, bench::photograph, Kept::nothing)->Arg(1)->Arg(100);
BENCHMARK_CAPTURE(read, photographPacked, bench::photograph, Kept::packedFile)->Arg(1)->Arg(100);
BENCHMARK_CAPTURE(read, page, bench::page, Kept::outcome)->Arg(1)->Arg(100)->Arg(100000);
BENCHMARK_CAPTURE(read, pageTold, bench::page, Kept::nothing)->Arg(1)->Arg(100)->Arg(100000);
BENCHMARK_CAPTURE(read, pagePacked, bench::page, Kept::packedFile)->Arg(1)->Arg(100)->Arg(100000);

}  // namespace

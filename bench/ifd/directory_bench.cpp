// One directory, and chains of directories: read without making the record.

#include <benchmark/benchmark.h>

#include <cstdint>

#include "file/tag_file.h"
#include "support/memory_file.h"
#include "workloads/photographs.h"

namespace {

using namespace ifdsweep::module;

/// Opens and reads the file; `items` is what is counted per second.
void readChains(benchmark::State& state, const fixture::Chain& chain, std::int64_t items) {
    bench::MemoryFile memory(bench::fileOf(chain, bench::kSwappedClassic));
    for (auto _ : state) {
        const ifdsweep::Host::Scope scope(memory.host());
        TagFile tagFile(bench::MemoryFile::kName, 0, 0, 0);
        tagFile.readThroughTagFile();
        benchmark::DoNotOptimize(tagFile.ifdTree.size());
    }
    state.SetItemsProcessed(state.iterations() * items);
}

/// One directory of so many entries.
void directory(benchmark::State& state) {
    readChains(state,
               {fixture::Directory(std::vector<fixture::Entry>(
                   static_cast<std::size_t>(state.range(0)), fixture::shorts(34855, {400})))},
               state.range(0));
}
BENCHMARK(directory)->Arg(10)->Arg(100)->Arg(10'000);

/// A chain of so many directories, as a scanner writes them.
void chain(benchmark::State& state) {
    fixture::Chain pages;
    for (std::int64_t i = 0; i < state.range(0); ++i) {
        pages.push_back(bench::page(static_cast<std::size_t>(i)));
    }
    readChains(state, pages, state.range(0));
}
BENCHMARK(chain)->Arg(1)->Arg(100)->Arg(10'000);

/// The same with an Exif and a GPS directory each.
void nestedChain(benchmark::State& state) {
    fixture::Chain pages;
    for (std::int64_t i = 0; i < state.range(0); ++i) {
        pages.push_back(bench::photograph(static_cast<std::size_t>(i)));
    }
    readChains(state, pages, state.range(0));
}
BENCHMARK(nestedChain)->Arg(1)->Arg(100)->Arg(1000);

}  // namespace

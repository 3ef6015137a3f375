// Primitive reads: byte order, entry fields, and the small reads of the stream.

#include <benchmark/benchmark.h>

#include <cstdint>
#include <vector>

#include "file/tag_file.h"
#include "stream/raw2native.h"
#include "support/memory_file.h"
#include "workloads/photographs.h"

namespace {

using namespace ifdsweep::module;

void raw2nativeSwapped(benchmark::State& state) {
    const auto itemSize = static_cast<std::size_t>(state.range(0));
    const auto itemCount = static_cast<std::size_t>(state.range(1));
    std::vector<std::uint8_t> buffer(itemSize * itemCount);
    for (auto _ : state) {
        raw2native(buffer.data(), itemSize, itemCount, true);
        benchmark::ClobberMemory();
    }
    state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(buffer.size()));
}
BENCHMARK(raw2nativeSwapped)->ArgsProduct({{2, 4, 8}, {1, 1'000'000}});

/// A file whose header has been read, on the host that serves it.
struct OpenFile {
    bench::MemoryFile memory{bench::fileOf({bench::page(1)}, bench::kSwappedClassic)};
    ifdsweep::Host::Scope scope{memory.host()};
    TagFile tagFile{bench::MemoryFile::kName, 0, 0, 0};

    OpenFile() { tagFile.readThroughTiffHeader(); }
};

void readTagFields(benchmark::State& state) {
    OpenFile open;
    const fixture::TiffFile& tiff = open.memory.tiff();
    const std::uint8_t* entry = tiff.bytes.data() + tiff.places.front().entries.front();
    for (auto _ : state) {
        benchmark::DoNotOptimize(open.tagFile.readTagNumComponents(entry));
        benchmark::DoNotOptimize(open.tagFile.readTagDataOffset(entry));
    }
}
BENCHMARK(readTagFields);

void seekAndReadEntryCount(benchmark::State& state) {
    OpenFile open;
    const std::size_t place = open.memory.tiff().places.front().position;
    std::uint64_t count = 0;
    for (auto _ : state) {
        benchmark::DoNotOptimize(open.tagFile.seekTo(place));
        benchmark::DoNotOptimize(open.tagFile.freadNumDirectoryEntries(count));
    }
}
BENCHMARK(seekAndReadEntryCount);

void openAndReadHeader(benchmark::State& state) {
    bench::MemoryFile memory(bench::fileOf({bench::page(1)}, bench::kSwappedClassic));
    for (auto _ : state) {
        const ifdsweep::Host::Scope scope(memory.host());
        TagFile tagFile(bench::MemoryFile::kName, 0, 0, 0);
        tagFile.readThroughTiffHeader();
    }
}
BENCHMARK(openAndReadHeader);

}  // namespace

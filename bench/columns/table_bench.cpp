// What it costs to make tables of packed files, and to give them away: photographs one by one, and
// the pages of a stack. An item is a file, or a page.

#include <benchmark/benchmark.h>

#include <cstdint>
#include <memory>
#include <optional>

#include "columns/arrow_export.h"
#include "columns/table_reader.h"
#include "ifdsweep/host.h"
#include "ifdsweep/read.h"
#include "pack/file_packer.h"
#include "support/memory_file.h"
#include "workloads/photographs.h"

namespace {

using ifdsweep::Layout;

std::shared_ptr<const ifdsweep::PackedFile> packedChain(std::int64_t directories,
                                                        fixture::Directory (*make)(std::size_t)) {
    fixture::Chain chain;
    for (std::int64_t number = 0; number < directories; ++number) {
        chain.push_back(make(static_cast<std::size_t>(number)));
    }
    const fixture::TiffFile file = bench::fileOf(chain, bench::kSwappedClassic);
    ifdsweep::Host host;
    host.setReadBudget(ifdsweep::kUnlimited);
    host.serve("bench.tif", file.bytes);
    ifdsweep::FilePacker packer;
    packer.begin();
    ifdsweep::ReadOptions options;
    options.sink = &packer;
    const ifdsweep::Outcome outcome = ifdsweep::read(host, "bench.tif", options);
    return std::make_shared<const ifdsweep::PackedFile>(packer.pack(outcome));
}

/// Makes a table of a file that comes again and again, so many times in an iteration.
void table(benchmark::State& state, Layout layout, ifdsweep::ColumnChoice::Which columns,
           std::int64_t directories, fixture::Directory (*make)(std::size_t)) {
    const auto file = packedChain(directories, make);
    const auto schema =
        std::make_shared<const ifdsweep::TableSchema>(ifdsweep::TableSchema::of(layout, {columns}));
    const std::int64_t files = state.range(0);
    std::int64_t left = 0;
    ifdsweep::TableReader reader(*schema, [&] { return left-- > 0 ? file : nullptr; });
    std::size_t bytes = 0;
    for (auto _ : state) {
        left = files;
        bytes = 0;
        while (std::optional<ifdsweep::ColumnBatch> batch = reader.next()) {
            bytes += batch->byteCount();
            ArrowArray array;
            ifdsweep::exportBatch(std::move(*batch), array);
            benchmark::DoNotOptimize(array.children);
            array.release(&array);
        }
    }
    const std::int64_t items = state.iterations() * files * directories;
    state.SetItemsProcessed(items);
    state.counters["bytes"] = static_cast<double>(bytes) / static_cast<double>(files * directories);
}

using Which = ifdsweep::ColumnChoice::Which;

// clang-format off
BENCHMARK_CAPTURE(table, files, Layout::files, Which::core, 1, bench::photograph)->Arg(1)->Arg(10000);
BENCHMARK_CAPTURE(table, images, Layout::images, Which::core, 1, bench::photograph)->Arg(1)->Arg(10000);
BENCHMARK_CAPTURE(table, imagesAll, Layout::images, Which::all, 1, bench::photograph)->Arg(1)->Arg(10000);
BENCHMARK_CAPTURE(table, tags, Layout::tags, Which::core, 1, bench::photograph)->Arg(1)->Arg(10000);
BENCHMARK_CAPTURE(table, warnings, Layout::warnings, Which::core, 1, bench::photograph)->Arg(1)->Arg(10000);
BENCHMARK_CAPTURE(table, imagesOfStack, Layout::images, Which::core, 1000, bench::page)->Arg(1)->Arg(10);
BENCHMARK_CAPTURE(table, tagsOfStack, Layout::tags, Which::core, 1000, bench::page)->Arg(1)->Arg(10);
// clang-format on

}  // namespace

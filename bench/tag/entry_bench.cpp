// One entry, from its raw form to its host value: every field type, in the entry and out of line.

#include <benchmark/benchmark.h>

#include <array>
#include <cstdint>
#include <string>
#include <vector>

#include "file/tag_file.h"
#include "support/memory_file.h"
#include "tag/tiff_tag.h"

namespace {

using namespace ifdsweep::module;

constexpr std::uint16_t kUncheckedTag = 34855;
constexpr std::int64_t kOne = 1;
constexpr std::int64_t kMany = 1000;

void decodeEntry(benchmark::State& state, const fixture::Entry& entry) {
    bench::MemoryFile memory(bench::fileOf({fixture::Directory{entry}}, bench::kSwappedClassic));
    const ifdsweep::Host::Scope scope(memory.host());
    TagFile tagFile(bench::MemoryFile::kName, 0, 0, 0);
    tagFile.readThroughTiffHeader();
    const fixture::TiffFile& tiff = memory.tiff();
    const std::uint8_t* raw = tiff.bytes.data() + tiff.places.front().entries.front();
    for (auto _ : state) {
        TiffTag tag(&tagFile, raw, primaryIFD);
        benchmark::DoNotOptimize(tag.getQxArray().get());
    }
    state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(entry.count));
}

struct NamedType {
    const char* name;
    std::uint16_t code;
};

constexpr std::array<NamedType, 15> kTypes{{
    {"byte", fixture::kByte},
    {"ascii", fixture::kAscii},
    {"short", fixture::kShort},
    {"long", fixture::kLong},
    {"rational", fixture::kRational},
    {"sbyte", fixture::kSByte},
    {"undefined", fixture::kUndefined},
    {"sshort", fixture::kSShort},
    {"slong", fixture::kSLong},
    {"srational", fixture::kSRational},
    {"float", fixture::kFloat},
    {"double", fixture::kDouble},
    {"long8", fixture::kLong8},
    {"slong8", fixture::kSLong8},
    {"named", fixture::kShort},  // a value that is shown as text
}};

void registerTypes() {
    for (const NamedType& type : kTypes) {
        const bool isRational = type.code == fixture::kRational || type.code == fixture::kSRational;
        const bool isNamed = std::string(type.name) == "named";
        constexpr std::uint16_t kLightSource = 37384;
        for (const std::int64_t count : {kOne, kMany}) {
            const auto words = static_cast<std::size_t>(isRational ? 2 * count : count);
            const fixture::Entry entry =
                fixture::numbers(isNamed ? kLightSource : kUncheckedTag, type.code,
                                 std::vector<std::int64_t>(words, 3));
            benchmark::RegisterBenchmark(
                (std::string("entry/") + type.name + '/' + std::to_string(count)).c_str(),
                [entry](benchmark::State& state) { decodeEntry(state, entry); });
        }
    }
}

}  // namespace

int main(int argumentCount, char** arguments) {
    benchmark::Initialize(&argumentCount, arguments);
    if (benchmark::ReportUnrecognizedArguments(argumentCount, arguments)) {
        return 2;
    }
    registerTypes();
    benchmark::RunSpecifiedBenchmarks();
    return 0;
}

// guard_call CASE SIZE: one call, or one call and its output, on an input of the given size. Its
// instructions are counted inside the function `guardedWork` alone; the difference between two
// sizes, divided by the difference of the sizes, is what one more costs.

#include <array>
#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <string_view>
#include <vector>

#include "support/memory_file.h"
#include "support/no_sink.h"
#include "workloads/photographs.h"
#include "write/framer.h"
#include "write/result_writer.h"

namespace {

using Build = fixture::TiffFile (*)(std::size_t size);

/// What is written of the outcome.
enum class Written : bool { nothing, result };

struct Case {
    std::string_view name;
    Build build;
    Written written;
    ifdsweep::Format format;
};

fixture::TiffFile repeated(std::size_t size, fixture::Directory (*directory)(std::size_t)) {
    fixture::Chain chain;
    for (std::size_t i = 0; i < size; ++i) {
        chain.push_back(directory(i));
    }
    return bench::fileOf(chain, bench::kSwappedClassic);
}

fixture::TiffFile pages(std::size_t size) {
    return repeated(size, bench::page);
}

fixture::TiffFile photographs(std::size_t size) {
    return repeated(size, bench::photograph);
}

fixture::TiffFile subIfds(std::size_t size) {
    return bench::fileOf({{fixture::Directory{fixture::pointer(
                             330, std::vector<fixture::Chain>(
                                      size, {fixture::Directory{fixture::shorts(259, {1})}}))}}},
                         bench::kLittleBig);
}

fixture::TiffFile entries(std::size_t size, const fixture::Entry& entry) {
    return bench::fileOf({fixture::Directory(std::vector<fixture::Entry>(size, entry))},
                         bench::kLittleBig);
}

fixture::TiffFile knownEntries(std::size_t size) {
    return entries(size, fixture::shorts(34855, {400}));
}

fixture::TiffFile unknownEntries(std::size_t size) {
    return entries(size, fixture::longs(65000, {400}));
}

fixture::TiffFile namedEntries(std::size_t size) {
    return entries(size, fixture::shorts(37384, {3}));
}

fixture::TiffFile rationalEntries(std::size_t size) {
    return entries(size, fixture::numbers(37378, fixture::kRational, {28, 10, 40, 10, 56, 10}));
}

fixture::TiffFile asciiEntries(std::size_t size) {
    return entries(size, bench::text(271, "A maker of some name"));
}

fixture::TiffFile droppedEntries(std::size_t size) {
    return entries(size, fixture::numbers(34855, fixture::kShort, {}));
}

fixture::TiffFile values(std::size_t size) {
    return bench::fileOf(
        {fixture::Directory{fixture::longs(324, std::vector<std::int64_t>(size, 123'456'789))}},
        bench::kLittleBig);
}

// clang-format off
constexpr std::array<Case, 14> kCases{{
    {"directory",        pages,           Written::nothing, ifdsweep::Format::json},
    {"photograph",       photographs,     Written::nothing, ifdsweep::Format::json},
    {"nested directory", subIfds,         Written::nothing, ifdsweep::Format::json},
    {"known entry",      knownEntries,    Written::nothing, ifdsweep::Format::json},
    {"unknown entry",    unknownEntries,  Written::nothing, ifdsweep::Format::json},
    {"named value",      namedEntries,    Written::nothing, ifdsweep::Format::json},
    {"rational entry",   rationalEntries, Written::nothing, ifdsweep::Format::json},
    {"ascii entry",      asciiEntries,    Written::nothing, ifdsweep::Format::json},
    {"warned entry",     droppedEntries,  Written::nothing, ifdsweep::Format::json},
    {"value",            values,          Written::nothing, ifdsweep::Format::json},
    {"json photograph",  photographs,     Written::result,  ifdsweep::Format::json},
    {"typed photograph", photographs,     Written::result,  ifdsweep::Format::typed},
    {"text photograph",  photographs,     Written::result,  ifdsweep::Format::text},
    {"json value",       values,          Written::result,  ifdsweep::Format::json},
}};
// clang-format on

}  // namespace

/// Callgrind counts what happens in here; hence a plain name and a call of its own.
extern "C" __attribute__((noinline)) void guardedWork(bench::MemoryFile& input, const Case& work) {
    const ifdsweep::Outcome outcome = input.read();
    if (work.written == Written::result) {
        bench::NoSink sink;
        ifdsweep::Output output(sink);
        const auto writer = ifdsweep::makeResultWriter({.format = work.format}, output);
        ifdsweep::Framer framer(output, ifdsweep::frameOf({.format = work.format}));
        framer.begin();
        framer.add(writer->shows(outcome), [&] { writer->writeFile(outcome); });
        framer.end();
        output.flush();
    }
}

int main(int argumentCount, char** arguments) {
    if (argumentCount == 2 && std::string_view(arguments[1]) == "--list") {
        for (const Case& each : kCases) {
            std::puts(each.name.data());
        }
        return 0;
    }
    if (argumentCount != 3) {
        std::fputs("usage: guard_call --list | CASE SIZE\n", stderr);
        return 2;
    }
    try {
        for (const Case& each : kCases) {
            if (each.name == arguments[1]) {
                bench::MemoryFile input(each.build(std::strtoul(arguments[2], nullptr, 10)));
                guardedWork(input, each);
                return 0;
            }
        }
        std::fprintf(stderr, "guard_call: no case %s\n", arguments[1]);
    } catch (const std::exception& failure) {
        std::fprintf(stderr, "guard_call: %s\n", failure.what());
    }
    return 1;
}

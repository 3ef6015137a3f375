// Packed files of any bytes: what is taken for one can be walked to its last row. And what is
// packed of a file of any bytes is one, holds what was read and gives it back, and is the same the
// next time.
//
// The input: a byte that chooses, then the packed file, or the file that is read and packed.

#include <algorithm>
#include <array>
#include <optional>
#include <span>
#include <string>

#include "fuzz_input.h"
#include "fuzz_target.h"
#include "ifdsweep/host.h"
#include "ifdsweep/read.h"
#include "ifdsweep/write.h"
#include "pack/file_packer.h"
#include "pack/packed_file.h"
#include "pack/unpack.h"
#include "support/packed_walk.h"
#include "written_output.h"

namespace {

using ifdsweep::PackedFile;

constexpr const char* kFileName = "fuzz.tif";

/// A format of what is made of a packed file again.
std::string writtenAgain(const PackedFile& file, ifdsweep::Format format) {
    ifdsweep::Host host;
    std::string text;
    ifdsweep::Writer writer({.format = format}, text);
    writer.begin();
    if (auto* listener = writer.listenerFor(kFileName)) {
        ifdsweep::replay(file, *listener);
    }
    writer.write(ifdsweep::unpackOutcome(file, host));
    writer.end();
    return text;
}

void walkIfPacked(std::span<const std::uint8_t> bytes) {
    if (const auto file = PackedFile::parse(std::as_bytes(bytes))) {
        static_cast<void>(fixture::walkEverything(*file));
        static_cast<void>(writtenAgain(*file, ifdsweep::Format::json));
        static_cast<void>(writtenAgain(*file, ifdsweep::Format::facts));
    }
}

/// Reads a file and packs it.
/// @param packer of whatever files before
PackedFile packed(ifdsweep::Host& host, ifdsweep::FilePacker& packer,
                  ifdsweep::ReadOptions options) {
    options.sink = &packer;
    packer.begin();
    const ifdsweep::Outcome outcome = ifdsweep::read(host, kFileName, options);
    PackedFile file = packer.pack(outcome);
    fuzz::require(!outcome.isImage || !fixture::packedDifference(file, outcome),
                  "it holds what was read");
    for (const auto format : {ifdsweep::Format::json, ifdsweep::Format::typed}) {
        fuzz::require(
            writtenAgain(file, format) == fuzz::written(format, outcome, ifdsweep::WriteOptions()),
            "what is made of it again is what was read");
    }
    return file;
}

void packAndWalk(std::span<const std::uint8_t> bytes, ifdsweep::ReadOptions options) {
    // One host and packer for all inputs: they are made to be used again.
    static ifdsweep::Host host;
    static ifdsweep::FilePacker packer;
    host.clear();
    host.setValueBudget(std::nullopt);
    host.serveNothing();
    host.serve(kFileName, bytes);
    const PackedFile file = packed(host, packer, options);
    const auto copy = PackedFile::parse(file.bytes());
    fuzz::require(copy.has_value(), "what is packed is a packed file");
    static_cast<void>(fixture::walkEverything(*copy));
    // A host counts a list of fields against a budget when it is new to it.
    ifdsweep::FilePacker another;
    fuzz::require(options.valueBudget ||
                      std::ranges::equal(packed(host, another, options).bytes(), file.bytes()),
                  "the same file, the same bytes");
}

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    fuzz::FuzzInput input({data, size});
    constexpr std::array kWays{
        ifdsweep::ReadOptions{.streams = ifdsweep::StreamChoice::all, .readBudget = 1U << 16},
        ifdsweep::ReadOptions{.streams = ifdsweep::StreamChoice::all,
                              .readBudget = 1U << 16,
                              .valueBudget = 1U << 13,
                              .longestValue = 16},
        ifdsweep::ReadOptions{.readBudget = 1U << 16, .reading = ifdsweep::ReadingMode::contract}};
    const std::size_t choice = input.below(1 + kWays.size());
    if (choice == 0) {
        walkIfPacked(input.rest());
    } else {
        packAndWalk(input.rest(), kWays[choice - 1]);
    }
    return 0;
}

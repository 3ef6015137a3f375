// The lists of --files-from: the names joined again are the list, whether it is a file or comes
// through a pipe piece by piece, and a name that came whole is not waited for.

#include <string>
#include <vector>

#include <fcntl.h>
#include <unistd.h>

#include "fuzz_input.h"
#include "fuzz_target.h"
#include "memory_file.h"
#include "walk/path_list.h"

namespace {

constexpr std::size_t kPipeRoom = 4096;

/// All names that can be had, or those alone that need no waiting.
void takeNames(ifdsweep::PathList& list, bool waiting, std::vector<std::string>& names) {
    while (waiting || list.isReady()) {
        auto name = list.next();
        if (!name) {
            return;
        }
        names.push_back(std::move(*name));
        fuzz::require(list.line() == names.size(), "names are counted");
    }
}

void requireJoined(const std::vector<std::string>& names, char end, const std::string& bytes) {
    std::string joined;
    for (const std::string& name : names) {
        fuzz::require(name.find(end) == std::string::npos, "a name ends at its end");
        joined.append(name).push_back(end);
    }
    const bool isEnded = bytes.empty() || bytes.back() == end;
    fuzz::require(joined == (isEnded ? bytes : bytes + end), "the names joined are the list");
}

std::vector<std::string> fromPipe(const std::string& bytes, std::size_t cut, bool nulSeparated) {
    int ends[2] = {-1, -1};
    fuzz::require(::pipe2(ends, O_CLOEXEC) == 0, "a pipe can be made");
    const ifdsweep::Descriptor out(ends[0]);
    ifdsweep::Descriptor in(ends[1]);
    const std::string_view first = std::string_view(bytes).substr(0, cut);
    const std::string_view second = std::string_view(bytes).substr(cut);
    ifdsweep::PathList list("/proc/self/fd/" + std::to_string(out.get()), nulSeparated);
    std::vector<std::string> names;
    fuzz::require(ifdsweep::systemDisk().write(in.get(), first) == 0, "a pipe can be written");
    takeNames(list, false, names);
    requireJoined(names, nulSeparated ? '\0' : '\n',
                  std::string(first.substr(0, first.rfind(nulSeparated ? '\0' : '\n') + 1)));
    fuzz::require(ifdsweep::systemDisk().write(in.get(), second) == 0, "a pipe can be written");
    in.reset();
    takeNames(list, true, names);
    return names;
}

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    fuzz::FuzzInput input(std::span(data, size));
    const bool nulSeparated = input.below(2) == 1;
    const std::size_t copies = 1 + input.below(64);  // lists longer than what is read at once
    const std::size_t cut = input.word(2);
    const auto rest = input.rest();
    const std::string piece(rest.begin(), rest.end());
    const char end = nulSeparated ? '\0' : '\n';
    if (piece.size() < kPipeRoom) {
        requireJoined(fromPipe(piece, cut % (piece.size() + 1), nulSeparated), end, piece);
    }
    std::string bytes;
    for (std::size_t copy = 0; copy < copies; ++copy) {
        bytes += piece;
    }
    const fuzz::MemoryFile file(bytes);
    ifdsweep::PathList list(file.path(), nulSeparated);
    std::vector<std::string> names;
    takeNames(list, true, names);
    requireJoined(names, end, bytes);
    return 0;
}

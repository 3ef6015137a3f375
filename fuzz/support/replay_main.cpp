// Runs a fuzz target once on every file of the folders and files that are named, without libFuzzer.

#include <algorithm>
#include <cstdio>
#include <exception>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <vector>

#include "fuzz_target.h"

namespace {

namespace fs = std::filesystem;

std::vector<fs::path> filesIn(const fs::path& path) {
    if (!fs::is_directory(path)) {
        return {path};
    }
    std::vector<fs::path> files;
    for (const fs::directory_entry& entry : fs::directory_iterator(path)) {
        if (entry.is_regular_file()) {
            files.push_back(entry.path());
        }
    }
    std::sort(files.begin(), files.end());
    return files;
}

void replay(const fs::path& path) {
    std::ifstream file(path, std::ios::binary);
    const std::vector<char> content{std::istreambuf_iterator<char>(file), {}};
    // Heap memory of exactly the input's size: a read behind it is seen by the sanitizers.
    const std::vector<std::uint8_t> bytes(content.begin(), content.end());
    std::fprintf(stderr, "%s\n", path.c_str());
    LLVMFuzzerTestOneInput(bytes.data(), bytes.size());
}

}  // namespace

int main(int argumentCount, char** arguments) {
    try {
        std::size_t count = 0;
        for (int index = 1; index < argumentCount; ++index) {
            if (!fs::exists(arguments[index])) {
                std::fprintf(stderr, "%s: no such file or folder\n", arguments[index]);
                return 2;
            }
            for (const fs::path& path : filesIn(arguments[index])) {
                replay(path);
                ++count;
            }
        }
        std::printf("%zu inputs replayed\n", count);
        return count > 0 ? 0 : 2;
    } catch (const std::exception& failure) {
        std::fprintf(stderr, "replay: %s\n", failure.what());
        return 1;
    }
}

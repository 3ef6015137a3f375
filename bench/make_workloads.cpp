// make_workloads FOLDER NAME...: writes the workloads of the whole-process comparisons. A name is
// followed by "=SIZE" to write another size than the one that the comparisons use.

#include <array>
#include <cstddef>
#include <cstdio>
#include <exception>
#include <filesystem>
#include <string>
#include <string_view>

#include "workloads/workloads.h"

namespace {

struct Workload {
    std::string_view name;
    void (*write)(const std::filesystem::path&, std::size_t size);
    std::size_t size;
    std::string_view file;  ///< name of the one file; empty when the workload is a folder
};

constexpr std::array<Workload, 8> kWorkloads{{
    {"W1", [](const std::filesystem::path& path, std::size_t) { bench::writeOneFile(path); }, 1,
     ""},
    {"W2", bench::writeFileTree, 10'000, ""},
    {"W2j", bench::writeJpegTree, 2'000, ""},
    {"W3", bench::writeStack, 100'000, "stack.tif"},
    {"W4", bench::writeSlide, 4'000'000, "slide.tif"},
    {"W5", bench::writeBlobs, 1'000'000, "blobs.tif"},
    {"W6", bench::writeNested, 5'000, "nested.tif"},
    {"W7", bench::writeWideDirectory, 50'000, "wide.tif"},
}};

/// Writes one workload into a folder of its name; false when there is none of that name.
bool write(const std::filesystem::path& folder, const std::string& argument) {
    const std::size_t equals = argument.find('=');
    const std::string name = argument.substr(0, equals);
    for (const Workload& workload : kWorkloads) {
        if (workload.name == name) {
            const std::size_t size = equals == std::string::npos
                                         ? workload.size
                                         : std::stoul(argument.substr(equals + 1));
            const std::filesystem::path place = folder / argument;
            std::filesystem::create_directories(place);
            workload.write(workload.file.empty() ? place : place / workload.file, size);
            return true;
        }
    }
    return false;
}

}  // namespace

int main(int argumentCount, char** arguments) {
    if (argumentCount < 3) {
        std::fputs("usage: make_workloads FOLDER NAME[=SIZE]...\n", stderr);
        return 2;
    }
    try {
        for (int i = 2; i < argumentCount; ++i) {
            if (!write(arguments[1], arguments[i])) {
                std::fprintf(stderr, "make_workloads: no workload %s\n", arguments[i]);
                return 2;
            }
        }
    } catch (const std::exception& failure) {
        std::fprintf(stderr, "make_workloads: %s\n", failure.what());
        return 1;
    }
    return 0;
}

// Writes the manual page and the completions; part of the build, not installed.
//
// Usage: ifdsweep_make_manual FOLDER

#include <cstdio>
#include <exception>
#include <fstream>
#include <stdexcept>
#include <string>

#include "manual/bash_completion.h"
#include "manual/fish_completion.h"
#include "manual/manual_page.h"
#include "manual/zsh_completion.h"

namespace {

void writeFile(const std::string& path, const std::string& text) {
    std::ofstream file(path, std::ios::binary);
    file << text << std::flush;
    if (!file) {
        throw std::runtime_error("cannot write " + path);
    }
}

}  // namespace

int main(int argumentCount, char** arguments) {
    if (argumentCount != 2) {
        std::fputs("usage: ifdsweep_make_manual FOLDER\n", stderr);
        return 2;
    }
    try {
        const std::string folder = std::string(arguments[1]) + '/';
        writeFile(folder + "ifdsweep.1", ifdsweep::manual::manualPage());
        writeFile(folder + "ifdsweep.bash", ifdsweep::manual::bashCompletion());
        writeFile(folder + "_ifdsweep", ifdsweep::manual::zshCompletion());
        writeFile(folder + "ifdsweep.fish", ifdsweep::manual::fishCompletion());
    } catch (const std::exception& error) {
        std::fprintf(stderr, "ifdsweep_make_manual: %s\n", error.what());
        return 1;
    }
    return 0;
}

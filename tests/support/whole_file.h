#pragma once

// Whole files of tests: written and read in one go. Nothing is kept; any thread.

#include <filesystem>
#include <fstream>
#include <iterator>
#include <stdexcept>
#include <string>
#include <string_view>

#include "support/byte_verbs.h"

namespace fixture {

/// The bytes of a file; none when there is no such file.
[[nodiscard]] inline std::string readFile(const std::filesystem::path& path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

/// Writes a file of this text. Throws std::runtime_error when that fails.
inline void writeFile(const std::filesystem::path& path, std::string_view text) {
    std::ofstream file(path, std::ios::binary);
    if (!file.write(text.data(), static_cast<std::streamsize>(text.size())).flush()) {
        throw std::runtime_error("cannot write " + path.string());
    }
}

/// The same of these bytes.
inline void writeFile(const std::filesystem::path& path, const Bytes& bytes) {
    writeFile(path, std::string_view(reinterpret_cast<const char*>(bytes.data()), bytes.size()));
}

}  // namespace fixture

#pragma once

// A file on disk that is gone with the object. Owns its folder; one thread.

#include <cstdint>
#include <filesystem>
#include <fstream>
#include <stdexcept>
#include <string>

#include "files/file_names.h"
#include "support/byte_verbs.h"
#include "support/temporary_folder.h"

namespace fixture {

/// Writes a file of these bytes. Throws std::runtime_error when that fails.
inline void writeFile(const std::filesystem::path& path, const Bytes& bytes) {
    std::ofstream file(path, std::ios::binary);
    file.write(std::string(bytes.begin(), bytes.end()).data(),
               static_cast<std::streamsize>(bytes.size()));
    if (!file.flush()) {
        throw std::runtime_error("cannot write " + path.string());
    }
}

class TemporaryFile {
public:
    /// @param name file name in system bytes, without folder
    TemporaryFile(const std::string& name, const Bytes& bytes) : location(folder / name) {
        writeFile(location, bytes);
    }

    /// Makes the file so long; what is new is zeros, which take no room on disk.
    void extend(std::uint64_t size) const { std::filesystem::resize_file(location, size); }

    [[nodiscard]] const std::string& path() const { return location; }
    [[nodiscard]] std::u16string name() const { return ifdsweep::fileNameFromSystem(location); }

private:
    TemporaryFolder folder;
    std::string location;
};

}  // namespace fixture

#pragma once

// A file on disk that is gone with the object. Owns its folder; one thread.

#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <stdexcept>
#include <string>

#include "files/file_names.h"
#include "support/byte_verbs.h"

namespace fixture {

class TemporaryFile {
public:
    /// @param name file name in system bytes, without folder
    TemporaryFile(const std::string& name, const Bytes& bytes) : folder(makeFolder()) {
        location = folder + '/' + name;
        std::ofstream file(location, std::ios::binary);
        file.write(std::string(bytes.begin(), bytes.end()).data(),
                   static_cast<std::streamsize>(bytes.size()));
        if (!file.flush()) {
            throw std::runtime_error("cannot write " + location);
        }
    }
    TemporaryFile(const TemporaryFile&) = delete;
    TemporaryFile& operator=(const TemporaryFile&) = delete;
    ~TemporaryFile() {
        std::error_code ignored;
        std::filesystem::remove_all(folder, ignored);
    }

    /// Makes the file so long; what is new is zeros, which take no room on disk.
    void extend(std::uint64_t size) const { std::filesystem::resize_file(location, size); }

    [[nodiscard]] const std::string& path() const { return location; }
    [[nodiscard]] std::u16string name() const { return ifdsweep::fileNameFromSystem(location); }

private:
    static std::string makeFolder() {
        std::string pattern = std::filesystem::temp_directory_path().string() + "/hostileXXXXXX";
        if (::mkdtemp(pattern.data()) == nullptr) {
            throw std::runtime_error("cannot make a folder like " + pattern);
        }
        return pattern;
    }

    std::string folder;
    std::string location;
};

}  // namespace fixture

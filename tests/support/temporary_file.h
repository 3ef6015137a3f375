#pragma once

// A file on disk that is gone with the object. Owns its folder; one thread.

#include <cstdint>
#include <filesystem>
#include <string>

#include "files/file_names.h"
#include "support/byte_verbs.h"
#include "support/temporary_folder.h"
#include "support/whole_file.h"

namespace fixture {

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

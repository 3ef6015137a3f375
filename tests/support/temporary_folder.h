#pragma once

// A folder of a test's own, removed with everything in it. One thread.

#include <cstdlib>
#include <filesystem>
#include <stdexcept>
#include <string>

namespace fixture {

class TemporaryFolder {
public:
    TemporaryFolder() {
        std::string pattern = (std::filesystem::temp_directory_path() / "ifdsweep_XXXXXX").string();
        if (::mkdtemp(pattern.data()) == nullptr) {
            throw std::runtime_error("cannot make the folder " + pattern);
        }
        folder = pattern;
    }
    TemporaryFolder(const TemporaryFolder&) = delete;
    TemporaryFolder& operator=(const TemporaryFolder&) = delete;
    ~TemporaryFolder() {
        std::error_code error;
        std::filesystem::remove_all(folder, error);
    }

    [[nodiscard]] const std::filesystem::path& path() const { return folder; }
    [[nodiscard]] std::filesystem::path operator/(const std::string& name) const {
        return folder / name;
    }

private:
    std::filesystem::path folder;
};

}  // namespace fixture

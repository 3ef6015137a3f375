#pragma once

// Output file: where the output goes. A file of a name is written beside it and takes the name
// when it is whole; until then the name is untouched, and what is not finished is removed. With a
// journal, the unfinished file NAME.part is kept for the run that goes on with it.
//
// Ownership: owns what it opened. Threads: one at a time.

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "app/descriptor.h"

namespace app {

class OutputFile {
public:
    /// @param path         empty for the standard output
    /// @param keptLength   with a journal: how much of the output is finished
    /// Throws RunFailure.
    OutputFile(const std::string& path, std::optional<std::uint64_t> keptLength);
    ~OutputFile();
    OutputFile(const OutputFile&) = delete;
    OutputFile& operator=(const OutputFile&) = delete;

    [[nodiscard]] int descriptor() const noexcept;

    /// What is written, when it is a regular file: the file of the name as it was, and the new one.
    [[nodiscard]] std::vector<FileIdentity> identities() const { return written; }

    /// Gives a whole file its name. Throws RunFailure.
    void finish();

private:
    void openTemporary();
    void openPart(std::uint64_t keptLength);
    void addIdentity(int file);

    std::string name;
    std::string temporary;  ///< its name; empty when the output has no file of its own
    Descriptor file;
    std::vector<FileIdentity> written;
    bool isKept = false;
};

}  // namespace app

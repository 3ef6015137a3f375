#pragma once

// MemoryFile: a regular file that lies in memory and is gone with its owner, for what reads files
// by their names.
//
// Ownership: owns its file. Threads: one at a time.

#include <string>
#include <string_view>

#include <sys/mman.h>
#include <unistd.h>

#include "fuzz_target.h"
#include "io/descriptor.h"
#include "io/disk.h"

namespace fuzz {

class MemoryFile {
public:
    explicit MemoryFile(std::string_view bytes = {}) {
        require(file.isOpen(), "a file in memory can be made");
        require(ifdsweep::systemDisk().write(file.get(), bytes) == 0, "it can be written");
    }

    [[nodiscard]] int descriptor() const { return file.get(); }

    /// A name by which it can be opened while it lives.
    [[nodiscard]] std::string path() const { return "/proc/self/fd/" + std::to_string(file.get()); }

    [[nodiscard]] std::string contents() const {
        return ifdsweep::readPiece(file.get(), 0,
                                   static_cast<std::size_t>(::lseek(file.get(), 0, SEEK_END)));
    }

private:
    ifdsweep::Descriptor file{::memfd_create("fuzz", MFD_CLOEXEC)};
};

}  // namespace fuzz

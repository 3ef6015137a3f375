#pragma once

// Packed files of files in memory, for tests. A host lives as long as what was read with it.

#include <string>

#include "ifdsweep/host.h"
#include "ifdsweep/read.h"
#include "pack/file_packer.h"
#include "pack/packed_file.h"
#include "support/byte_verbs.h"

namespace fixture {

inline constexpr const char* kPackedName = "packed.tif";

/// One file after another, packed by one packer.
class Packing {
public:
    /// Reads bytes and packs what came of them. The outcome stays until the next are read.
    [[nodiscard]] ifdsweep::PackedFile pack(const Bytes& bytes,
                                            ifdsweep::ReadOptions options = {}) {
        read(bytes, options);
        return packer.pack(outcome);
    }

    void read(const Bytes& bytes, ifdsweep::ReadOptions options = {}) {
        outcome = ifdsweep::Outcome();
        host.serveNothing();
        host.serve(kPackedName, bytes);
        packer.begin();
        options.sink = &packer;
        outcome = ifdsweep::read(host, kPackedName, options);
    }

    ifdsweep::Host host{};
    ifdsweep::FilePacker packer{};
    ifdsweep::Outcome outcome{};
};

/// What `bytes` are packed to, by a packer of their own.
[[nodiscard]] inline ifdsweep::PackedFile packed(const Bytes& bytes,
                                                 const ifdsweep::ReadOptions& options = {}) {
    Packing packing;
    return packing.pack(bytes, options);
}

}  // namespace fixture

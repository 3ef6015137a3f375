#pragma once

// Packing reader: one file after another, each read into a packed file, with the fields that are
// asked for.
//
// Ownership: owns its host; a packed file needs neither. Threads: one at a time; readers of their
// own on different threads are independent. Errors: std::bad_alloc.

#include <atomic>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "ifdsweep/host.h"
#include "ifdsweep/read.h"
#include "pack/packed_file.h"
#include "read/tag_choice.h"
#include "walk/input_file.h"

namespace ifdsweep {

/// Thrown where the reading of a file ends early, because it was asked to.
struct ReadingStopped {};

class PackingReader {
public:
    /// @param readOptions without sink and filter
    /// @param chosenFields those that are read; empty: all
    /// @param isStopped set by any thread to end a reading at its next directory or entry; none
    ///                  where each is finished
    PackingReader(const ReadOptions& readOptions, std::vector<ChosenField> chosenFields,
                  const std::atomic<bool>* isStopped = nullptr);
    ~PackingReader();
    PackingReader(const PackingReader&) = delete;
    PackingReader& operator=(const PackingReader&) = delete;

    /// The host, to serve files of one's own.
    [[nodiscard]] Host& host() noexcept;

    /// Reads a file of the system's or one that the host serves. What cannot be packed for lack of
    /// memory has that as its error. Throws ReadingStopped.
    /// @param path in system bytes
    /// @param imagesOnly leaves a file alone that does not begin as an image (`isImage`)
    [[nodiscard]] PackedFile read(std::string_view path, bool imagesOnly = false);

    /// The packed file of a path that cannot even be tried.
    [[nodiscard]] PackedFile fail(std::string_view path, const qxMessage& error);

private:
    class Parts;
    const std::unique_ptr<Parts> parts;
};

/// Reads one file of many; used by one thread.
using FileReader = std::function<PackedFile(const InputFile&)>;

/// Reads what was found, or packs why it cannot be.
[[nodiscard]] FileReader inputReader(std::shared_ptr<PackingReader> reader);

}  // namespace ifdsweep

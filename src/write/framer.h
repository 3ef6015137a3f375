#pragma once

// Framer: puts what a format has before, between and after files around the files that are shown.
// What is written of a file depends on that file alone; so files can be written by different
// processes, and whoever puts them together has the framer.
//
// Ownership: borrows its output. Threads: one at a time.

#include <cstdint>
#include <string>
#include <string_view>
#include <utility>

#include "ifdsweep/write.h"
#include "io/output.h"

namespace ifdsweep {

/// What a format has around the files.
struct Frame {
    std::string head;          ///< before everything, even when there is no file
    std::string_view first;    ///< before the first file that is shown
    std::string_view between;  ///< before every other
    std::string_view tail;     ///< after everything
};

/// The frame of a format.
[[nodiscard]] Frame frameOf(const WriteOptions& options);

class Framer {
public:
    Framer(Output& framedOutput, Frame frameOfFormat)
        : output(framedOutput), frame(std::move(frameOfFormat)) {}

    /// Before the first file. Throws OutputError, as the others do.
    /// @param keptBytes what the output holds already, framed up to some file
    void begin(std::uint64_t keptBytes = 0) {
        anyShown = keptBytes > frame.head.size();
        if (keptBytes == 0) {
            output.append(frame.head);
        }
    }

    /// One file.
    /// @param isShown   whether the format shows anything of it
    /// @param writeFile called to write it, when it is shown
    template <class WriteFile>
    void add(bool isShown, WriteFile&& writeFile) {
        if (isShown) {
            output.append(std::exchange(anyShown, true) ? frame.between : frame.first);
            writeFile();
        }
    }

    /// After the last file.
    void end() { output.append(frame.tail); }

private:
    Output& output;
    Frame frame;
    bool anyShown = false;
};

}  // namespace ifdsweep

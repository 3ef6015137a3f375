#pragma once

// Result writer: turns outcomes into one format of output, in the order in which they come.
//
// What a file becomes depends on that file alone; what stands before the first file, between two
// and behind the last is the frame of the format. So files can be written by different processes
// and put together by one.
//
// Ownership: a writer borrows its output. Threads: one at a time.

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "io/output.h"
#include "read/read_file.h"
#include "write/output_choice.h"
#include "write/text_value.h"

namespace ifdsweep {

/// Settings of the formats.
struct WriterSettings {
    JsonLayout layout = JsonLayout::filePerLine;
    TextLimits limits;
    bool nestedRows = false;
    std::vector<std::string> columns;  ///< of CSV; empty: all fields that occur
    bool toTerminal = false;           ///< JSON and CSV show hidden characters
};

/// What stands around the files.
struct Frame {
    std::string head;          ///< before everything, even when there is no file
    std::string_view first;    ///< before the first file that is shown
    std::string_view between;  ///< before every other
    std::string_view tail;     ///< behind everything
};

/// What stands around the files of a format.
[[nodiscard]] Frame frameOf(Format format, const WriterSettings& settings = {});

class ResultWriter {
public:
    ResultWriter(Output& destination, const Frame& frameOfFormat)
        : output(destination), frame(frameOfFormat) {}
    ResultWriter(const ResultWriter&) = delete;
    ResultWriter& operator=(const ResultWriter&) = delete;
    virtual ~ResultWriter() = default;

    /// Before the first outcome.
    void begin() { output.append(frame.head); }

    /// One file with what stands before it.
    void write(const Outcome& outcome) {
        if (shows(outcome)) {
            output.append(std::exchange(first, false) ? frame.first : frame.between);
            writeFile(outcome);
        }
    }

    /// After the last outcome.
    void end() { output.append(frame.tail); }

    /// Whether the format shows anything of a file.
    [[nodiscard]] virtual bool shows(const Outcome&) const { return true; }

    /// One file that is shown, alone.
    virtual void writeFile(const Outcome& outcome) = 0;

protected:
    Output& output;

private:
    Frame frame;
    bool first = true;
};

/// The settings that a command line asks for.
[[nodiscard]] WriterSettings writerSettings(const OutputChoice& choice);

/// The writer of a format.
[[nodiscard]] std::unique_ptr<ResultWriter> makeResultWriter(Format format, Output& output,
                                                             Colour colour,
                                                             const WriterSettings& settings = {});

}  // namespace ifdsweep

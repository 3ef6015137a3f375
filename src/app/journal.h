#pragma once

// Journal: which files are finished, so that a run started again goes on where the last one ended,
// however it ended. Behind a first line that says what it is, a line for each file, written only
// after its output was:
//
//   ENDING LENGTH SIZE MODIFIED PATH
//
// ENDING is r (read), w (read with warnings), f (failed) or s (skipped), MODIFIED are nanoseconds,
// LENGTH is that of the output behind the file; line feeds and backslashes in a path are escaped.
// Behind a path that could not even be tried stands, with size and time 0, the reason. A last line
// that is cut short is dropped.
//
// Ownership: owns its file; keeps 16 bytes of each finished file. Threads: one at a time.

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "app/descriptor.h"
#include "app/file_report.h"
#include "app/input_file.h"

namespace app {

class Journal {
public:
    /// How a file was finished.
    enum class Ending : std::uint8_t { read, warned, failed, skipped };

    /// Opens a journal, or begins it; every other file is left as it is. Throws RunFailure.
    explicit Journal(const std::string& path);

    /// The length of the output behind the last finished file; 0 before the first.
    [[nodiscard]] std::uint64_t outputLength() const noexcept { return lastLength; }
    [[nodiscard]] std::uint64_t finishedFiles() const noexcept { return finished.size(); }
    [[nodiscard]] std::optional<FileIdentity> identity() const { return identityOf(file.get()); }

    /// Looks at a file as it is now; remembers what `add` will write of it.
    /// @return how it was finished; none when it was not, or has changed since
    [[nodiscard]] std::optional<Ending> endingOf(const InputFile& input, std::string& entry) const;

    /// Notes a file that is finished, to be written by `commit`.
    /// @param entry as `endingOf` gave it
    void add(const FileReport& report, std::string_view entry, std::uint64_t length);

    /// Writes what was noted. Throws RunFailure.
    void commit();

private:
    /// Two hashes of an entry, the ending in the lowest bits of the second.
    using Finished = std::pair<std::uint64_t, std::uint64_t>;

    void load();
    void loadLines();
    [[nodiscard]] bool loadLine(std::string_view line);
    void append(std::string_view bytes);
    void cutBehind(std::uint64_t length);

    std::string name;
    Descriptor file;
    std::vector<Finished> finished;  ///< sorted
    std::string pending;
    std::uint64_t lastLength = 0;
};

}  // namespace app

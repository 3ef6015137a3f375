#pragma once

// Facts writer: one line of JSON per entry, exact: integers as integers, rationals as two integers,
// text as text or base64, positions from the start of the file, or of a stream that does not lie in
// it in one piece.
//
//   {"file", "container", "stream", "path", "kind", "tag", "name", "type", "count", "entryOffset",
//   "valueOffset",
//    "inline", "value"}
//
// of which a file that is itself the stream lacks "container" and "stream".
//
// It hears of the entries while the file is read, so that no file is too large for it; warnings and
// errors follow as lines of their own, stream by stream.
//
// Ownership: borrows its output. Threads: one at a time.

#include <exception>
#include <string>
#include <string_view>
#include <vector>

#include "ifdsweep/entry_sink.h"
#include "write/result_writer.h"

namespace ifdsweep {

class FactsWriter final : public ResultWriter, private EntrySink {
public:
    using ResultWriter::ResultWriter;

    [[nodiscard]] EntrySink* listenerFor(std::string_view fileName) override;
    [[nodiscard]] bool shows(const Outcome& outcome) const override;

    /// Throws what kept an entry from being written.
    void writeFile(const Outcome& outcome) override;

private:
    void streamBegins(const StreamFacts& stream) override;
    void directoryBegins(const DirectoryFacts& directory) override;
    void directoryEnds(const DirectoryFacts& directory, bool isKept) override;
    void entry(const DirectoryFacts& directory, const EntryFacts& entry) override;
    void warning(const qxMessage& message, const WarningFacts& place) override;

    /// Calls a function that writes, unless one failed before it. The walk knows nothing of
    /// outputs: a failure waits until the file is written.
    template <class Write>
    void attempt(Write&& write);

    /// The beginning of a line of a stream.
    [[nodiscard]] std::string startOfLine(const StreamOrigin& stream) const;
    void writeMessages(const Outcome& stream);

    std::string file;       ///< in system bytes
    std::string lineStart;  ///< of the stream at hand
    /// The members of an entry that tell of its directory, for each directory on the way.
    std::vector<std::string> paths;
    bool hasLines = false;
    std::exception_ptr failure;
};

}  // namespace ifdsweep

#pragma once

// Facts writer: one line of JSON per entry, exact: integers as integers, rationals as two integers,
// text as text or base64, positions from the start of the file.
//
//   {"file", "path", "kind", "tag", "name", "type", "count", "entryOffset", "valueOffset",
//    "inline", "value"}
//
// It hears of the entries while the file is read, so that no file is too large for it; warnings and
// the error follow as lines of their own.
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
    void directoryBegins(const DirectoryFacts& directory) override;
    void directoryEnds(const DirectoryFacts& directory, bool isKept) override;
    void entry(const DirectoryFacts& directory, const EntryFacts& entry) override;
    void warning(const qxMessage& message, const WarningFacts& place) override;

    /// Calls a function that writes, unless one failed before it. The walk knows nothing of
    /// outputs: a failure waits until the file is written.
    template <class Write>
    void attempt(Write&& write);

    std::string file;  ///< the beginning of a line with its name, as JSON
    /// The members of an entry that tell of its directory, for each directory on the way.
    std::vector<std::string> paths;
    bool hasLines = false;
    std::exception_ptr failure;
};

}  // namespace ifdsweep
